// SPDX-License-Identifier: MIT
#include "rinex_input/rinex_nav_reader.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace rinex_input {

namespace {

using gnss::kBeidouGravitation;
using gnss::kBeidouSecondsBehindGps;
using gnss::kBeidouWeekOffset;
using gnss::kGpsGravitation;
constexpr double kSecondsPerWeek = double(gnss::kSecondsPerWeek);

[[noreturn]] void fail(int lineNumber, const std::string& what) {
    throw std::runtime_error("RINEX navigation line " + std::to_string(lineNumber) + ": " + what);
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return std::string();
    const size_t last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

// Columns [begin, begin + width) of a line, shorter or empty past its end.
std::string field(const std::string& line, size_t begin, size_t width) {
    if (begin >= line.size()) return std::string();
    return line.substr(begin, width);
}

std::optional<int> parseInteger(const std::string& text, int lineNumber) {
    const std::string t = trimmed(text);
    if (t.empty()) return std::nullopt;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(t.c_str(), &end, 10);
    if (errno != 0 || *end != '\0') fail(lineNumber, "not an integer: '" + t + "'");
    return int(value);
}

int requiredInteger(const std::string& text, int lineNumber, const char* what) {
    const std::optional<int> value = parseInteger(text, lineNumber);
    if (!value) fail(lineNumber, std::string("missing ") + what);
    return *value;
}

std::optional<double> number(const std::string& text, int lineNumber) {
    try {
        return parseNavNumber(text);
    } catch (const std::runtime_error& e) {
        fail(lineNumber, e.what());
    }
}

void requireSystem(const NavRecord& record, char system) {
    if (record.system != system)
        throw std::invalid_argument(std::string("navigation record of system '") + record.system +
                                    "' where '" + system + "' was expected");
}

double valueOr0(const std::optional<double>& value) {
    return value ? *value : 0.0;
}

// Integer quantities are written as floating values; wraps like a C conversion for
// values outside the unsigned range.
uint32_t asU32(const std::optional<double>& value) {
    if (!value || !(std::fabs(*value) < 9e18)) return 0u;
    return uint32_t(int64_t(std::llround(*value)));
}

uint16_t asU16(const std::optional<double>& value) {
    return uint16_t(asU32(value));
}

void setStamp(decoding::LogHeader& header, uint16_t messageId, WeekSeconds time) {
    const WeekSeconds t = normalised(time);
    header.messageId = messageId;
    header.week = uint16_t(t.week);
    header.milliseconds = uint32_t(std::llround(t.seconds * 1000.0));
}

double correctedMeanMotion(double gravitation, double a, double deltaN) {
    return a > 0 ? std::sqrt(gravitation / (a * a * a)) + deltaN : deltaN;
}

size_t expectedOrbitLines(char system, double version) {
    switch (system) {
    case 'R':
        return version >= 3.05 ? 4 : 3;
    case 'S':
        return 3;
    default:
        return 7;
    }
}

void parseHeaderLine(const std::string& line, const std::string& label, int lineNumber, NavHeader& header) {
    if (label == "RINEX VERSION / TYPE") {
        const std::optional<double> version = number(field(line, 0, 9), lineNumber);
        if (!version) fail(lineNumber, "missing RINEX version");
        header.version = *version;
        const std::string type = field(line, 20, 1);
        if (type != "N") fail(lineNumber, "not a navigation file");
        const std::string system = field(line, 40, 1);
        header.system = system.empty() ? ' ' : system[0];
    } else if (label == "IONOSPHERIC CORR") {
        IonoCorrection correction;
        correction.type = trimmed(field(line, 0, 4));
        for (size_t i = 0; i < 4; ++i)
            correction.values[i] = valueOr0(number(field(line, 5 + 12 * i, 12), lineNumber));
        header.ionoCorrections.push_back(correction);
    } else if (label == "TIME SYSTEM CORR") {
        TimeSystemCorrection correction;
        correction.type = trimmed(field(line, 0, 4));
        correction.a0 = valueOr0(number(field(line, 5, 17), lineNumber));
        correction.a1 = valueOr0(number(field(line, 22, 16), lineNumber));
        correction.referenceTime = parseInteger(field(line, 38, 7), lineNumber).value_or(0);
        correction.referenceWeek = parseInteger(field(line, 45, 5), lineNumber).value_or(0);
        header.timeCorrections.push_back(correction);
    } else if (label == "LEAP SECONDS") {
        LeapSeconds leap;
        leap.current = requiredInteger(field(line, 0, 6), lineNumber, "leap seconds");
        leap.future = parseInteger(field(line, 6, 6), lineNumber);
        leap.week = parseInteger(field(line, 12, 6), lineNumber);
        leap.day = parseInteger(field(line, 18, 6), lineNumber);
        leap.system = trimmed(field(line, 24, 3));
        header.leapSeconds = leap;
    }
}

NavRecord parseFirstLine(const std::string& line, int lineNumber) {
    NavRecord record;
    record.lineNumber = lineNumber;
    record.system = line[0];
    record.satellite = requiredInteger(field(line, 1, 2), lineNumber, "satellite number");
    NavEpoch& e = record.epoch;
    e.year = requiredInteger(field(line, 4, 4), lineNumber, "year");
    e.month = requiredInteger(field(line, 9, 2), lineNumber, "month");
    e.day = requiredInteger(field(line, 12, 2), lineNumber, "day");
    e.hour = requiredInteger(field(line, 15, 2), lineNumber, "hour");
    e.minute = requiredInteger(field(line, 18, 2), lineNumber, "minute");
    e.second = requiredInteger(field(line, 21, 2), lineNumber, "second");
    if (e.month < 1 || e.month > 12 || e.day < 1 || e.day > 31 || e.hour > 23 || e.minute > 59 ||
        e.second > 60)
        fail(lineNumber, "epoch out of range");
    for (size_t i = 0; i < 3; ++i)
        record.values.push_back(number(field(line, 23 + 19 * i, 19), lineNumber));
    return record;
}

void parseOrbitLine(const std::string& line, int lineNumber, NavRecord& record) {
    for (size_t i = 0; i < 4; ++i)
        record.values.push_back(number(field(line, 4 + 19 * i, 19), lineNumber));
}

// "> EPH G02 LNAV": A1,1X,A3,1X,A3,1X,A4. An EPH record follows as in 3.x; ION, STO and EOP
// bodies are collected into `special`.
void parseLeadLine(const std::string& line, int lineNumber, NavFile& file, NavSpecialRecord*& special,
                   std::string& message, bool& ephemerisDue) {
    if (line.size() < 9 || line[1] != ' ' || line[5] != ' ' || (line.size() > 9 && line[9] != ' '))
        fail(lineNumber, "malformed lead line");
    const std::string type = field(line, 2, 3);
    const std::string satellite = field(line, 6, 3);
    if (satellite.size() != 3 || !std::isupper(static_cast<unsigned char>(satellite[0])))
        fail(lineNumber, "malformed satellite in lead line");
    const int number = requiredInteger(satellite.substr(1), lineNumber, "satellite number");
    const std::string messageType = trimmed(field(line, 10, 4));
    if (line.size() > 14 && !trimmed(line.substr(14)).empty())
        fail(lineNumber, "text after the message type");
    special = nullptr;
    ephemerisDue = false;
    if (type == "EPH") {
        message = messageType;
        ephemerisDue = true;
        return;
    }
    if (type != "ION" && type != "STO" && type != "EOP")
        fail(lineNumber, "unknown record type '" + type + "'");
    NavSpecialRecord record;
    record.type = type;
    record.system = satellite[0];
    record.satellite = number;
    record.message = messageType;
    record.lineNumber = lineNumber;
    file.special.push_back(record);
    special = &file.special.back();
}

// Body lines of ION, STO and EOP records: the first holds the epoch in columns 5-23.
void parseSpecialLine(const std::string& line, int lineNumber, NavSpecialRecord& record) {
    if (line.compare(0, 4, "    ") != 0) fail(lineNumber, "body line not indented by four blanks");
    const bool first = record.values.empty() && record.epoch.year == 0;
    if (first) {
        NavEpoch& e = record.epoch;
        e.year = requiredInteger(field(line, 4, 4), lineNumber, "year");
        e.month = requiredInteger(field(line, 9, 2), lineNumber, "month");
        e.day = requiredInteger(field(line, 12, 2), lineNumber, "day");
        e.hour = requiredInteger(field(line, 15, 2), lineNumber, "hour");
        e.minute = requiredInteger(field(line, 18, 2), lineNumber, "minute");
        e.second = requiredInteger(field(line, 21, 2), lineNumber, "second");
        if (e.month < 1 || e.month > 12 || e.day < 1 || e.day > 31 || e.hour > 23 || e.minute > 59 ||
            e.second > 60)
            fail(lineNumber, "epoch out of range");
        if (record.type == "STO") {
            record.timeOffsetCode = trimmed(field(line, 24, 18));
            record.sbasId = trimmed(field(line, 43, 18));
            record.utcId = trimmed(field(line, 62, 18));
            return;
        }
        for (size_t i = 0; i < 3; ++i)
            record.values.push_back(number(field(line, 23 + 19 * i, 19), lineNumber));
        return;
    }
    for (size_t i = 0; i < 4; ++i)
        record.values.push_back(number(field(line, 4 + 19 * i, 19), lineNumber));
}

} // namespace

const IonoCorrection* NavHeader::ionoCorrection(const std::string& type) const {
    for (const IonoCorrection& c : ionoCorrections)
        if (c.type == type) return &c;
    return nullptr;
}

const TimeSystemCorrection* NavHeader::timeCorrection(const std::string& type) const {
    for (const TimeSystemCorrection& c : timeCorrections)
        if (c.type == type) return &c;
    return nullptr;
}

std::optional<double> NavRecord::clock(int index) const {
    if (index < 0 || index > 2 || size_t(index) >= values.size()) return std::nullopt;
    return values[size_t(index)];
}

std::optional<double> NavRecord::orbit(int line, int column) const {
    if (line < 1 || column < 0 || column > 3) return std::nullopt;
    const size_t index = 3 + 4 * size_t(line - 1) + size_t(column);
    return index < values.size() ? values[index] : std::nullopt;
}

std::optional<double> parseNavNumber(const std::string& text) {
    std::string t = trimmed(text);
    if (t.empty()) return std::nullopt;
    for (char& c : t)
        if (c == 'D' || c == 'd') c = 'E';
    char* end = nullptr;
    const double value = std::strtod(t.c_str(), &end);
    if (end == t.c_str() || *end != '\0' || !std::isfinite(value))
        throw std::runtime_error("not a number: '" + trimmed(text) + "'");
    return value;
}

NavFile readNav(std::istream& in) {
    NavFile file;
    std::string line;
    int lineNumber = 0;
    bool headerDone = false;
    while (std::getline(in, line)) {
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (lineNumber == 1 && line.find("RINEX VERSION / TYPE") == std::string::npos)
            fail(lineNumber, "no RINEX VERSION / TYPE line");
        const std::string label = trimmed(field(line, 60, 20));
        parseHeaderLine(line, label, lineNumber, file.header);
        if (label == "END OF HEADER") {
            headerDone = true;
            break;
        }
    }
    if (!headerDone) fail(lineNumber, "no END OF HEADER");
    if (file.header.version < 3.0 || file.header.version >= 5.0) fail(1, "not a RINEX 3 or 4 file");
    const bool leadLines = file.header.version >= 4.0;

    NavRecord* current = nullptr;
    NavSpecialRecord* special = nullptr;
    std::string message; // of the lead line before an EPH record
    bool ephemerisDue = false;
    size_t expected = 0;
    while (std::getline(in, line)) {
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (trimmed(line).empty()) continue;
        if (leadLines && line[0] == '>') {
            parseLeadLine(line, lineNumber, file, special, message, ephemerisDue);
            current = nullptr;
            continue;
        }
        if (special != nullptr) {
            parseSpecialLine(line, lineNumber, *special);
            continue;
        }
        if (leadLines && line[0] != ' ') {
            if (!ephemerisDue) fail(lineNumber, "record without a lead line");
            ephemerisDue = false;
        }
        if (line[0] == ' ') {
            if (!current) fail(lineNumber, "broadcast-orbit line without a record");
            if (current->orbitLines() >= expected) fail(lineNumber, "too many broadcast-orbit lines");
            parseOrbitLine(line, lineNumber, *current);
            continue;
        }
        file.records.push_back(parseFirstLine(line, lineNumber));
        current = &file.records.back();
        current->message = message;
        expected = expectedOrbitLines(current->system, file.header.version);
    }
    // Records cut short keep their missing values absent.
    return file;
}

NavFile readNavFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    return readNav(in);
}

WeekSeconds weekSecondsOf(const NavEpoch& epoch) {
    const gnss::GpsWeekDay day = gnss::gpsWeekDay({epoch.year, epoch.month, epoch.day});
    WeekSeconds t;
    t.week = int(day.week);
    t.seconds = double(day.day * gnss::kSecondsPerDay + epoch.hour * 3600 + epoch.minute * 60 + epoch.second);
    return t;
}

WeekSeconds normalised(WeekSeconds time) {
    const double weeks = std::floor(time.seconds / kSecondsPerWeek);
    if (!(std::fabs(weeks) < 1e6)) return time; // nonsense input: leave it alone
    time.week += int(weeks);
    time.seconds -= weeks * kSecondsPerWeek;
    // a tiny negative value can round up to a whole week
    if (time.seconds >= kSecondsPerWeek) {
        time.seconds -= kSecondsPerWeek;
        ++time.week;
    }
    return time;
}

decoding::GpsEphemeris toGpsEphemeris(const NavRecord& r) {
    requireSystem(r, 'G');
    decoding::GpsEphemeris e{};
    e.satellite = uint32_t(r.satellite);
    e.toc = weekSecondsOf(r.epoch).seconds;
    e.af0 = valueOr0(r.clock(0));
    e.af1 = valueOr0(r.clock(1));
    e.af2 = valueOr0(r.clock(2));
    e.iode1 = e.iode2 = asU32(r.orbit(1, 0));
    e.crs = valueOr0(r.orbit(1, 1));
    e.deltaN = valueOr0(r.orbit(1, 2));
    e.m0 = valueOr0(r.orbit(1, 3));
    e.cuc = valueOr0(r.orbit(2, 0));
    e.eccentricity = valueOr0(r.orbit(2, 1));
    e.cus = valueOr0(r.orbit(2, 2));
    const double sqrtA = valueOr0(r.orbit(2, 3));
    e.a = sqrtA * sqrtA;
    e.toe = valueOr0(r.orbit(3, 0));
    e.cic = valueOr0(r.orbit(3, 1));
    e.omega0 = valueOr0(r.orbit(3, 2));
    e.cis = valueOr0(r.orbit(3, 3));
    e.i0 = valueOr0(r.orbit(4, 0));
    e.crc = valueOr0(r.orbit(4, 1));
    e.omega = valueOr0(r.orbit(4, 2));
    e.omegaDot = valueOr0(r.orbit(4, 3));
    e.iDot = valueOr0(r.orbit(5, 0));
    e.week = e.zWeek = asU32(r.orbit(5, 2));
    const double accuracy = valueOr0(r.orbit(6, 0));
    e.uraVariance = accuracy * accuracy;
    e.health = asU32(r.orbit(6, 1));
    e.tgd = valueOr0(r.orbit(6, 2));
    e.iodc = asU32(r.orbit(6, 3));
    e.tow = valueOr0(r.orbit(7, 0));
    e.correctedMeanMotion = correctedMeanMotion(kGpsGravitation, e.a, e.deltaN);
    setStamp(e.header, decoding::LogGpsEphem, {int(e.week), e.tow});
    return e;
}

decoding::GlonassEphemeris toGlonassEphemeris(const NavRecord& r, int leapSeconds) {
    requireSystem(r, 'R');
    decoding::GlonassEphemeris e{};
    e.slot = uint16_t(r.satellite + 37);
    const WeekSeconds utc = weekSecondsOf(r.epoch);
    const WeekSeconds gps = normalised({utc.week, utc.seconds + leapSeconds});
    e.week = uint16_t(gps.week);
    e.referenceTime = uint32_t(std::llround(gps.seconds * 1000.0));
    e.timeOffset = uint32_t(gnss::kGlonassSecondsAheadOfUtc - leapSeconds);
    e.tauN = -valueOr0(r.clock(0));
    e.gammaN = valueOr0(r.clock(1));
    // The converter writes the message frame time as
    // ((leap + reference time ms) / 86400000) * 86400 + tk - 10800, with leap = -leapSeconds.
    const double frameTime = valueOr0(r.clock(2));
    const uint32_t day = uint32_t(e.referenceTime - uint32_t(leapSeconds)) / 86400000u;
    e.tk = uint32_t(std::llround(frameTime) - int64_t(day) * gnss::kSecondsPerDay +
                    gnss::kGlonassSecondsAheadOfUtc);
    e.x = valueOr0(r.orbit(1, 0)) * 1000.0;
    e.vx = valueOr0(r.orbit(1, 1)) * 1000.0;
    e.ax = valueOr0(r.orbit(1, 2)) * 1000.0;
    e.health = asU32(r.orbit(1, 3));
    e.y = valueOr0(r.orbit(2, 0)) * 1000.0;
    e.vy = valueOr0(r.orbit(2, 1)) * 1000.0;
    e.ay = valueOr0(r.orbit(2, 2)) * 1000.0;
    e.frequency = uint16_t(int(std::llround(valueOr0(r.orbit(2, 3)))) + 7);
    e.z = valueOr0(r.orbit(3, 0)) * 1000.0;
    e.vz = valueOr0(r.orbit(3, 1)) * 1000.0;
    e.az = valueOr0(r.orbit(3, 2)) * 1000.0;
    e.ageOfData = asU32(r.orbit(3, 3));
    e.deltaTauN = valueOr0(r.orbit(4, 1));
    e.ft = asU32(r.orbit(4, 2));
    // Interval number and day number count in Moscow time (UTC + 3 h).
    const int64_t moscowSeconds =
        int64_t(utc.week) * gnss::kSecondsPerWeek + int64_t(utc.seconds) + gnss::kGlonassSecondsAheadOfUtc;
    e.issue = uint32_t((moscowSeconds % gnss::kSecondsPerDay) / 900);
    // The day number counts from January 1st of the last leap year.
    const int64_t moscowDays = gnss::kGpsEpochDays + moscowSeconds / gnss::kSecondsPerDay;
    const int year = gnss::civilFromDays(moscowDays).year;
    e.dayNumber = uint16_t(moscowDays - gnss::daysFromCivil(year - year % 4, 1, 1) + 1);
    setStamp(e.header, decoding::LogGloEphemeris, {utc.week, frameTime + leapSeconds});
    return e;
}

bool isGalileoFnav(const NavRecord& record) {
    return (asU32(record.orbit(5, 1)) & 0x2u) != 0;
}

uint8_t sisaIndexOf(double metres) {
    auto sisa = [](int n) {
        if (n <= 49) return n * 0.01;
        if (n <= 74) return 0.5 + (n - 50) * 0.02;
        if (n <= 99) return 1.0 + (n - 75) * 0.04;
        return 2.0 + (n - 100) * 0.16;
    };
    if (!(metres >= 0)) return 255;
    for (int n = 0; n <= 125; ++n)
        if (std::fabs(sisa(n) - metres) < 0.004) return uint8_t(n);
    return 255;
}

namespace {

// The orbit part shared by both Galileo records.
template <class Record> void fillGalileo(const NavRecord& r, Record& e, uint16_t messageId) {
    requireSystem(r, 'E');
    e.satellite = uint32_t(r.satellite);
    e.toc = uint32_t(std::llround(weekSecondsOf(r.epoch).seconds));
    e.af0 = valueOr0(r.clock(0));
    e.af1 = valueOr0(r.clock(1));
    e.af2 = valueOr0(r.clock(2));
    e.iodNav = asU16(r.orbit(1, 0));
    e.crs = valueOr0(r.orbit(1, 1));
    e.deltaN = valueOr0(r.orbit(1, 2));
    e.m0 = valueOr0(r.orbit(1, 3));
    e.cuc = valueOr0(r.orbit(2, 0));
    e.eccentricity = valueOr0(r.orbit(2, 1));
    e.cus = valueOr0(r.orbit(2, 2));
    e.sqrtA = valueOr0(r.orbit(2, 3));
    e.toe = asU32(r.orbit(3, 0));
    e.cic = valueOr0(r.orbit(3, 1));
    e.omega0 = valueOr0(r.orbit(3, 2));
    e.cis = valueOr0(r.orbit(3, 3));
    e.i0 = valueOr0(r.orbit(4, 0));
    e.crc = valueOr0(r.orbit(4, 1));
    e.omega = valueOr0(r.orbit(4, 2));
    e.omegaDot = valueOr0(r.orbit(4, 3));
    e.iDot = valueOr0(r.orbit(5, 0));
    e.sisaIndex = sisaIndexOf(r.orbit(6, 0) ? *r.orbit(6, 0) : -1.0);
    e.bgdE5aE1 = valueOr0(r.orbit(6, 2));
    // The converter takes the week and the transmission time from the frame stamp.
    setStamp(e.header, messageId, {int(asU32(r.orbit(5, 2))), valueOr0(r.orbit(7, 0))});
}

} // namespace

decoding::GalileoInavEphemeris toGalileoInavEphemeris(const NavRecord& r) {
    decoding::GalileoInavEphemeris e{};
    fillGalileo(r, e, decoding::LogGalInavEphemeris);
    const uint32_t health = asU32(r.orbit(6, 1));
    e.e1bDvs = uint8_t(health & 1u);
    e.e1bHealth = uint8_t((health >> 1) & 3u);
    e.e5bDvs = uint8_t((health >> 6) & 1u);
    e.e5bHealth = uint8_t((health >> 7) & 3u);
    e.bgdE5bE1 = valueOr0(r.orbit(6, 3));
    return e;
}

decoding::GalileoFnavEphemeris toGalileoFnavEphemeris(const NavRecord& r) {
    decoding::GalileoFnavEphemeris e{};
    fillGalileo(r, e, decoding::LogGalFnavEphemeris);
    const uint32_t health = asU32(r.orbit(6, 1));
    e.e5aDvs = uint8_t((health >> 3) & 1u);
    e.e5aHealth = uint8_t((health >> 4) & 3u);
    return e;
}

namespace {

// The orbit part shared by both BeiDou records; the times of toe and toc are set by the caller.
template <class Record> void fillBeidou(const NavRecord& r, Record& e) {
    requireSystem(r, 'C');
    e.satellite = uint32_t(r.satellite);
    e.a0 = valueOr0(r.clock(0));
    e.a1 = valueOr0(r.clock(1));
    e.a2 = valueOr0(r.clock(2));
    e.aode = asU32(r.orbit(1, 0));
    e.crs = valueOr0(r.orbit(1, 1));
    e.deltaN = valueOr0(r.orbit(1, 2));
    e.m0 = valueOr0(r.orbit(1, 3));
    e.cuc = valueOr0(r.orbit(2, 0));
    e.eccentricity = valueOr0(r.orbit(2, 1));
    e.cus = valueOr0(r.orbit(2, 2));
    e.cic = valueOr0(r.orbit(3, 1));
    e.omega0 = valueOr0(r.orbit(3, 2));
    e.cis = valueOr0(r.orbit(3, 3));
    e.i0 = valueOr0(r.orbit(4, 0));
    e.crc = valueOr0(r.orbit(4, 1));
    e.omega = valueOr0(r.orbit(4, 2));
    e.omegaDot = valueOr0(r.orbit(4, 3));
    e.iDot = valueOr0(r.orbit(5, 0));
    e.week = asU32(r.orbit(5, 2));
    e.health = asU32(r.orbit(6, 1));
    e.tgd1 = valueOr0(r.orbit(6, 2));
    e.tgd2 = valueOr0(r.orbit(6, 3));
    e.aodc = asU32(r.orbit(7, 1));
}

WeekSeconds beidouTransmissionInGps(const NavRecord& r) {
    return {int(asU32(r.orbit(5, 2))) + kBeidouWeekOffset, valueOr0(r.orbit(7, 0)) + kBeidouSecondsBehindGps};
}

} // namespace

decoding::BeidouEphemeris toBeidouEphemeris(const NavRecord& r) {
    decoding::BeidouEphemeris e{};
    fillBeidou(r, e);
    // The epoch is BeiDou time written as a calendar: its seconds of week are toc.
    e.toc = uint32_t(std::llround(weekSecondsOf(r.epoch).seconds));
    e.toe = asU32(r.orbit(3, 0));
    e.sqrtA = valueOr0(r.orbit(2, 3));
    e.ura = valueOr0(r.orbit(6, 0));
    setStamp(e.header, decoding::LogBdsEphemeris, beidouTransmissionInGps(r));
    return e;
}

decoding::Bd2Ephemeris toBd2Ephemeris(const NavRecord& r) {
    decoding::Bd2Ephemeris e{};
    fillBeidou(r, e);
    e.toc = weekSecondsOf(r.epoch).seconds;
    e.toe = valueOr0(r.orbit(3, 0));
    const double sqrtA = valueOr0(r.orbit(2, 3));
    e.a = sqrtA * sqrtA;
    const double accuracy = valueOr0(r.orbit(6, 0));
    e.uraVariance = accuracy * accuracy;
    e.tow = valueOr0(r.orbit(7, 0));
    e.week2 = e.week;
    e.correctedMeanMotion = correctedMeanMotion(kBeidouGravitation, e.a, e.deltaN);
    setStamp(e.header, decoding::LogBd2Ephem, beidouTransmissionInGps(r));
    return e;
}

decoding::IonoUtcParameters toIonoUtcParameters(const NavHeader& header) {
    decoding::IonoUtcParameters p{};
    p.header.messageId = decoding::LogIonUtc;
    if (const IonoCorrection* a = header.ionoCorrection("GPSA"))
        for (int i = 0; i < 4; ++i)
            p.alpha[i] = a->values[size_t(i)];
    if (const IonoCorrection* b = header.ionoCorrection("GPSB"))
        for (int i = 0; i < 4; ++i)
            p.beta[i] = b->values[size_t(i)];
    if (const TimeSystemCorrection* utc = header.timeCorrection("GPUT")) {
        p.a0 = utc->a0;
        p.a1 = utc->a1;
        p.utcTime = uint32_t(utc->referenceTime);
        p.utcWeek = uint32_t(utc->referenceWeek);
    }
    if (header.leapSeconds) {
        const LeapSeconds& leap = *header.leapSeconds;
        p.leapSeconds = uint32_t(leap.current);
        p.leapSecondsFuture = uint32_t(leap.future.value_or(leap.current));
        p.leapWeek = uint32_t(leap.week.value_or(0));
        p.leapDay = uint32_t(leap.day.value_or(0));
    }
    return p;
}

} // namespace rinex_input
