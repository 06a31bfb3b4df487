// SPDX-License-Identifier: MIT
#include "rinex/navigation_writer.h"

#include <QDateTime>
#include <QIODevice>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "rinex/number_format.h"
#include "rinex/rinex2_navigation.h"
#include "rinex/rinex4_navigation.h"
#include "velmoor/versions.h"

namespace rinex {

namespace {

constexpr int kLineCapacity = 160;

qint64 roundedMilliseconds(double seconds) {
    return static_cast<qint64>(std::llround(seconds * 1000.0));
}

// A record whose week or reference time lies far outside any real one (or is not a number)
// is damaged: it has no calendar date that fits the record, and it is not written.
bool plausibleEpoch(qint64 week, double seconds) {
    return week >= 0 && week <= 99999 && std::fabs(seconds) <= 1e9;
}

bool isOpen(const QIODevice* file) {
    return file != nullptr && file->isOpen();
}

qint64 writeLine(QIODevice* file, const char* line, int length) {
    if (length <= 0) return 0;
    const qint64 n = file->write(line, length);
    return n > 0 ? n : 0;
}

// One record's lines, gathered so that the record reaches the file in one write.
struct RecordText {
    char text[8 * kLineCapacity];
    int used = 0;
    bool damaged = false; // a field that does not fit its columns: the record is not written
    bool rinex2 = false;  // RINEX 2.11 line layouts (rinex2_navigation.h)

    void append(const char* line, int length) {
        if (length <= 0 || used + length > static_cast<int>(sizeof text)) return;
        std::memcpy(text + used, line, static_cast<size_t>(length));
        used += length;
    }
};

void putTwoDigits(char* p, int v) {
    p[0] = static_cast<char>('0' + v / 10);
    p[1] = static_cast<char>('0' + v % 10);
}

// "X%02d %04d %02d %02d %02d %02d %02d" and three values.
void appendFirstLine(RecordText& record, char system, int satellite, const gnss::CalendarTime& c, double v0,
                     double v1, double v2) {
    char line[kLineCapacity];
    int n;
    if (record.rinex2) {
        n = formatRinex2FirstLine(line, sizeof line - 2, satellite, c, v0, v1, v2);
        if (n == 0) {
            record.damaged = true;
            return;
        }
        line[n++] = '\r';
        line[n++] = '\n';
        record.append(line, n);
        return;
    }
    const auto twoDigits = [](int v) { return v >= 0 && v <= 99; };
    if (twoDigits(satellite) && c.year >= 0 && c.year <= 9999 && twoDigits(c.month) && twoDigits(c.day) &&
        twoDigits(c.hour) && twoDigits(c.minute) && twoDigits(c.second)) {
        // Every record starts so: written directly, not through printf.
        line[0] = system;
        putTwoDigits(line + 1, satellite);
        line[3] = ' ';
        putTwoDigits(line + 4, c.year / 100);
        putTwoDigits(line + 6, c.year % 100);
        const int rest[5] = {c.month, c.day, c.hour, c.minute, c.second};
        for (int i = 0; i < 5; ++i) {
            line[8 + 3 * i] = ' ';
            putTwoDigits(line + 9 + 3 * i, rest[i]);
        }
        n = 23;
    } else {
        // A satellite number of more than two digits would shift every column of the line.
        if (!twoDigits(satellite)) {
            record.damaged = true;
            return;
        }
        n = std::snprintf(line, sizeof line, "%c%02d %04d %02d %02d %02d %02d %02d", system, satellite,
                          c.year, c.month, c.day, c.hour, c.minute, c.second);
    }
    const double values[3] = {v0, v1, v2};
    for (double v : values)
        n += formatExponent(line + n, sizeof line - static_cast<size_t>(n), v, 12);
    n += std::snprintf(line + n, sizeof line - static_cast<size_t>(n), "\r\n");
    record.append(line, n);
}

void appendOrbitLine(RecordText& record, double v0, double v1, double v2, double v3) {
    char line[kLineCapacity];
    const double values[4] = {v0, v1, v2, v3};
    if (record.rinex2) {
        int n = formatRinex2OrbitLine(line, sizeof line - 2, values);
        line[n++] = '\r';
        line[n++] = '\n';
        record.append(line, n);
        return;
    }
    std::memcpy(line, "    ", 4);
    int n = 4;
    for (double v : values)
        n += formatExponent(line + n, sizeof line - static_cast<size_t>(n), v, 12);
    line[n++] = '\r';
    line[n++] = '\n';
    record.append(line, n);
}

qint64 writeRecord(QIODevice* file, const RecordText& record) {
    if (record.damaged) return 0;
    return writeLine(file, record.text, record.used);
}

// RINEX 4.00 records start with a lead line naming record type, satellite and message.
void appendLeadLine(RecordText& record, Version version, char system, int satellite, const char* message) {
    if (version != Version::V400) return;
    char line[kLineCapacity];
    record.append(line, formatLeadLine(line, sizeof line, "EPH", system, satellite, message));
}

// 4.00 records end each line after its last value, as receivers' own 4.00 files do.
qint64 writeRecord(QIODevice* file, RecordText& record, Version version) {
    if (version == Version::V400) record.used = trimLineEnds(record.text, record.used);
    return writeRecord(file, record);
}

// Signal-in-space accuracy index to metres.
double sisaMetres(unsigned index) {
    if (index <= 49) return index * 0.01;
    if (index <= 74) return 0.5 + (index - 50) * 0.02;
    if (index <= 99) return 1.0 + (index - 75) * 0.04;
    if (index <= 125) return 2.0 + (index - 100) * 0.16;
    return -1.0;
}

// The Galileo logs carry no week: take the frame's, moved by one week when toc lies
// more than half a week away from the frame time.
qint64 galileoWeek(const decoding::LogHeader& header, double toc) {
    qint64 week = header.week;
    const double difference = toc - header.milliseconds / 1000.0;
    if (difference > 302400.0)
        --week;
    else if (difference < -302400.0)
        ++week;
    return week;
}

struct GalileoRecord {
    unsigned satellite;
    qint64 week;
    double toc;
    double af0, af1, af2;
    double iodNav, crs, deltaN, m0;
    double cuc, eccentricity, cus, sqrtA;
    double toe, cic, omega0, cis;
    double i0, crc, omega, omegaDot;
    double iDot, dataSources;
    double sisa, health, bgdE5aE1, bgdE5bE1;
    double transmission;
};

struct BeidouRecord {
    unsigned satellite;
    qint64 week;
    double toc;
    double a0, a1, a2;
    double aode, crs, deltaN, m0;
    double cuc, eccentricity, cus, sqrtA;
    double toe, cic, omega0, cis;
    double i0, crc, omega, omegaDot;
    double iDot;
    double accuracy, health, tgd1, tgd2;
    double transmission, aodc;
};

qint64 writeGalileoRecord(QIODevice* file, QMap<quint32, double>& lastToe, const GalileoRecord& r,
                          Version version) {
    if (!isOpen(file)) return 0;
    const auto last = lastToe.constFind(r.satellite);
    if (last != lastToe.constEnd() && last.value() == r.toe) return 0;
    if (!plausibleEpoch(r.week, r.toc)) return 0;
    const gnss::CalendarTime c = gnss::gpsCalendar(r.week, roundedMilliseconds(r.toc));
    RecordText record;
    // Bit 1 of the data sources marks F/NAV, bits 0 and 2 I/NAV.
    appendLeadLine(record, version, 'E', static_cast<int>(r.satellite),
                   (static_cast<unsigned>(r.dataSources) & 2u) != 0 ? "FNAV" : "INAV");
    appendFirstLine(record, 'E', static_cast<int>(r.satellite), c, r.af0, r.af1, r.af2);
    appendOrbitLine(record, r.iodNav, r.crs, r.deltaN, r.m0);
    appendOrbitLine(record, r.cuc, r.eccentricity, r.cus, r.sqrtA);
    appendOrbitLine(record, r.toe, r.cic, r.omega0, r.cis);
    appendOrbitLine(record, r.i0, r.crc, r.omega, r.omegaDot);
    appendOrbitLine(record, r.iDot, r.dataSources, static_cast<double>(r.week), kNoValue);
    appendOrbitLine(record, r.sisa, r.health, r.bgdE5aE1, r.bgdE5bE1);
    appendOrbitLine(record, r.transmission, kNoValue, kNoValue, kNoValue);
    const qint64 bytes = writeRecord(file, record, version);
    lastToe.insert(r.satellite, r.toe);
    return bytes;
}

qint64 writeBeidouRecord(QIODevice* file, QMap<quint32, double>& lastToe, const BeidouRecord& r,
                         Version version) {
    if (!isOpen(file)) return 0;
    const auto last = lastToe.constFind(r.satellite);
    if (last != lastToe.constEnd() && last.value() == r.toe) return 0;
    const qint64 week = r.week + gnss::kBeidouWeekOffset;
    if (!plausibleEpoch(week, r.toc)) return 0;
    // BeiDou week 0 began in GPS week 1356: this gives the calendar of BeiDou time.
    const gnss::CalendarTime c = gnss::gpsCalendar(week, roundedMilliseconds(r.toc));
    RecordText record;
    appendLeadLine(record, version, 'C', static_cast<int>(r.satellite), beidouMessageType(r.satellite));
    appendFirstLine(record, 'C', static_cast<int>(r.satellite), c, r.a0, r.a1, r.a2);
    appendOrbitLine(record, r.aode, r.crs, r.deltaN, r.m0);
    appendOrbitLine(record, r.cuc, r.eccentricity, r.cus, r.sqrtA);
    appendOrbitLine(record, r.toe, r.cic, r.omega0, r.cis);
    appendOrbitLine(record, r.i0, r.crc, r.omega, r.omegaDot);
    appendOrbitLine(record, r.iDot, kNoValue, static_cast<double>(r.week), kNoValue);
    appendOrbitLine(record, r.accuracy, r.health, r.tgd1, r.tgd2);
    appendOrbitLine(record, r.transmission, r.aodc, kNoValue, kNoValue);
    const qint64 bytes = writeRecord(file, record, version);
    lastToe.insert(r.satellite, r.toe);
    return bytes;
}

unsigned beidouNumber(uint32_t satellite) {
    return satellite >= 161 ? satellite - 160 : satellite;
}

bool sameIonosphere(const IonoUtcSlot& a, const IonoUtcSlot& b) {
    for (int i = 0; i < 4; ++i) {
        if (a.alpha[i] != b.alpha[i] || a.beta[i] != b.beta[i]) return false;
    }
    return true;
}

qint64 writeIonosphereLine(QIODevice* file, const char* label, const double values[4]) {
    char line[kLineCapacity];
    int n = std::snprintf(line, sizeof line, "%s ", label);
    for (int i = 0; i < 4; ++i)
        n += formatExponent(line + n, sizeof line - static_cast<size_t>(n), values[i], 5);
    // The label is padded to its 20 columns like every other header label, so the line
    // covers exactly one reserved line and leaves no fragment of the reservation behind.
    n +=
        std::snprintf(line + n, sizeof line - static_cast<size_t>(n), "       %-20s\r\n", "IONOSPHERIC CORR");
    return writeLine(file, line, n);
}

void writeIonosphereHeader(QIODevice* file, const char* alphaLabel, const char* betaLabel,
                           const char* timeSystem, const IonoUtcSlot& first, const IonoUtcSlot& latest) {
    if (!first.valid) return;
    writeIonosphereLine(file, alphaLabel, first.alpha);
    writeIonosphereLine(file, betaLabel, first.beta);
    // Values from the stream that do not fit their six-character fields leave the line out.
    const auto fits = [](qint32 v) { return v >= -99999 && v <= 999999; };
    if (fits(first.leapSeconds) && fits(first.leapSecondsFuture) && fits(first.week) && fits(first.day)) {
        char line[kLineCapacity];
        const int n =
            std::snprintf(line, sizeof line, "%6d%6d%6d%6d%s%33s%-20s\r\n", first.leapSeconds,
                          first.leapSecondsFuture, first.week, first.day, timeSystem, "", "LEAP SECONDS");
        writeLine(file, line, n);
    }
    if (latest.valid && !sameIonosphere(first, latest)) {
        writeIonosphereLine(file, alphaLabel, latest.alpha);
        writeIonosphereLine(file, betaLabel, latest.beta);
    }
}

} // namespace

qint64 reserveNavigationHeader(QIODevice* file, const char* systemText) {
    if (!isOpen(file)) return 0;
    char line[kLineCapacity];
    qint64 bytes = 0;
    file->seek(0);
    for (int i = 0; i < kNavigationReservedLines; ++i) {
        const int n = std::snprintf(line, sizeof line, "%60s%-20s\r\n", "", "COMMENT");
        bytes += writeLine(file, line, n);
    }
    int n = std::snprintf(line, sizeof line, "%60s%-20s\r\n", "", "END OF HEADER");
    bytes += writeLine(file, line, n);
    const qint64 end = file->pos();
    file->seek(40);
    n = std::snprintf(line, sizeof line, "%s", systemText != nullptr ? systemText : "");
    bytes += writeLine(file, line, n);
    file->seek(end);
    return bytes;
}

int formatRunByLine(char* line, size_t capacity, const QByteArray& program, const QByteArray& runBy) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDate date = now.date();
    const QTime time = now.time();
    return std::snprintf(line, capacity, "%-20s%-20s%04d%02d%02d %02d%02d%02d UTC %-20s\r\n", program.constData(),
                         runBy.constData(), date.year(), date.month(), date.day(), time.hour(), time.minute(),
                         time.second(), "PGM / RUN BY / DATE");
}

bool writeNavigationHeader(QIODevice* file, char kind, const NavigationHeaderInfo& info) {
    if (!isOpen(file) || file->size() < 3 * kHeaderLineBytes) return false;
    if (info.version == Version::V400) return writeNavigationHeader400(file, kind, info);
    if (isRinex2(info.version)) return writeNavigationHeader211(file, kind, info);
    file->seek(0);

    char line[kLineCapacity];
    int n = std::snprintf(line, sizeof line, "     3.%02d%11s%-20s%-20s%-20s\r\n", info.minorVersion, "",
                          "N: GNSS NAV DATA", "M", "RINEX VERSION / TYPE");
    writeLine(file, line, n);

    n = formatRunByLine(line, sizeof line, info.program, info.runBy);
    writeLine(file, line, n);

    switch (kind) {
    case 'N':
        writeIonosphereHeader(file, "GPSA", "GPSB", "GPS", info.first, info.latest);
        break;
    case 'C':
        // 3.05 names BeiDou time "BDT".
        writeIonosphereHeader(file, "BDSA", "BDSB", atLeast305(info.version) ? "BDT" : "BDS",
                              info.beidouFirst, info.beidouLatest);
        break;
    case 'G':
        // From 3.05 on a GLONASS-only file carries no LEAP SECONDS.
        if (info.leapSeconds != kUnknownLeapSeconds && !atLeast305(info.version)) {
            n = std::snprintf(line, sizeof line, "%6d%54s%-20s\r\n", -info.leapSeconds, "", "LEAP SECONDS");
            writeLine(file, line, n);
        }
        break;
    case 'P': // the mixed file: GPS ionosphere and leap seconds
        writeIonosphereHeader(file, "GPSA", "GPSB", "GPS", info.first, info.latest);
        if (!info.first.valid && info.leapSeconds != kUnknownLeapSeconds) {
            n = std::snprintf(line, sizeof line, "%6d%54s%-20s\r\n", -info.leapSeconds, "", "LEAP SECONDS");
            writeLine(file, line, n);
        }
        break;
    default:
        break;
    }

    n = std::snprintf(line, sizeof line, "CONVERTER VERSION = %-40s%-20s\r\n", VELMOOR_CONVERTER_VERSION,
                      "COMMENT");
    writeLine(file, line, n);
    file->seek(file->size());
    return true;
}

void NavigationWriter::reset() {
    gpsIonoUtc_ = IonoUtcState{};
    beidouIonoUtc_ = IonoUtcState{};
    gpsToe_.clear();
    glonassTime_.clear();
    galileoToe_.clear();
    beidouToe_.clear();
}

qint64 NavigationWriter::writeGps(QIODevice* file, const decoding::GpsEphemeris& eph) {
    if (!isOpen(file)) return 0;
    const auto last = gpsToe_.constFind(eph.satellite);
    if (last != gpsToe_.constEnd() && last.value() == eph.toe) return 0;
    // Subframes of two different uploads: the record would mix two ephemerides.
    if (eph.iode1 != eph.iode2) return 0;
    if (!plausibleEpoch(eph.week, eph.toe)) return 0;

    const gnss::CalendarTime c = gnss::gpsCalendar(eph.week, roundedMilliseconds(eph.toe));
    RecordText record;
    record.rinex2 = isRinex2(version_);
    appendLeadLine(record, version_, 'G', static_cast<int>(eph.satellite), "LNAV");
    appendFirstLine(record, 'G', static_cast<int>(eph.satellite), c, eph.af0, eph.af1, eph.af2);
    appendOrbitLine(record, eph.iode1, eph.crs, eph.deltaN, eph.m0);
    appendOrbitLine(record, eph.cuc, eph.eccentricity, eph.cus, std::sqrt(eph.a));
    appendOrbitLine(record, eph.toe, eph.cic, eph.omega0, eph.cis);
    appendOrbitLine(record, eph.i0, eph.crc, eph.omega, eph.omegaDot);
    appendOrbitLine(record, eph.iDot, 0.0, eph.week, 0.0);
    appendOrbitLine(record, std::sqrt(eph.uraVariance), eph.health, eph.tgd, eph.iodc);
    appendOrbitLine(record, eph.tow, 4.0, kNoValue, kNoValue);
    qint64 bytes = writeRecord(file, record, version_);
    gpsToe_.insert(eph.satellite, eph.toe);
    if (gpsIonoUtc_.pending) bytes += flushIonoUtc(file, 'G');
    return bytes;
}

qint64 NavigationWriter::writeGlonass(QIODevice* file, const decoding::GlonassEphemeris& eph,
                                      qint32& leapSeconds) {
    if (!isOpen(file)) return 0;
    const auto last = glonassTime_.constFind(eph.slot);
    if (last != glonassTime_.constEnd() && last.value() == eph.referenceTime) return 0;

    // GLONASS time runs 3 h ahead of UTC; the offset to GPS time holds the leap seconds.
    // Only offsets that give 1 to 98 leap seconds are believed.
    if (leapSeconds == kUnknownLeapSeconds && eph.timeOffset >= 10702 && eph.timeOffset <= 10799)
        leapSeconds = static_cast<qint32>(eph.timeOffset) - gnss::kGlonassSecondsAheadOfUtc;

    const gnss::CalendarTime c =
        gnss::gpsCalendar(eph.week, static_cast<qint64>(eph.referenceTime) + leapSeconds * 1000LL);
    // Message frame time: the record's day in seconds plus tk, which counts in Moscow time
    // (UTC + 3 h). The day comes from the reference time plus the leap seconds taken as
    // milliseconds, not seconds, in 32-bit unsigned arithmetic. That is the rule of this
    // field in the files the writer makes, and their readers (tools/rinex_input) undo it
    // the same way, so it stays; it gives another day than UTC only in the leap seconds
    // around midnight.
    const uint32_t day = (static_cast<uint32_t>(leapSeconds) + eph.referenceTime) / 86400000u;
    double frameTime = day * 86400.0 + eph.tk - double(gnss::kGlonassSecondsAheadOfUtc);

    RecordText record;
    record.rinex2 = isRinex2(version_);
    // 2.11 counts the frame time in seconds of the UTC day, not of the week.
    if (record.rinex2) {
        frameTime = std::fmod(frameTime, double(gnss::kSecondsPerDay));
        if (frameTime < 0) frameTime += double(gnss::kSecondsPerDay);
    }
    appendLeadLine(record, version_, 'R', static_cast<int>(eph.slot) - 37, "FDMA");
    appendFirstLine(record, 'R', static_cast<int>(eph.slot) - 37, c, -eph.tauN, eph.gammaN, frameTime);
    appendOrbitLine(record, eph.x * 0.001, eph.vx * 0.001, eph.ax * 0.001, eph.health);
    appendOrbitLine(record, eph.y * 0.001, eph.vy * 0.001, eph.ay * 0.001,
                    static_cast<int>(eph.frequency) - 7);
    appendOrbitLine(record, eph.z * 0.001, eph.vz * 0.001, eph.az * 0.001, eph.ageOfData);
    // From 3.05 on: status flags, L1/L2 group delay difference, accuracy index, health flags.
    // The board's flag words have no documented bit layout, so both flag fields stay blank.
    if (atLeast305(version_)) appendOrbitLine(record, kNoValue, eph.deltaTauN, eph.ft, kNoValue);
    const qint64 bytes = writeRecord(file, record, version_);
    glonassTime_.insert(eph.slot, eph.referenceTime);
    return bytes;
}

namespace {

// Both BeiDou logs name their clock and orbit fields alike; they differ in how they give
// sqrt(A), the accuracy and the transmission time.
template <typename Ephemeris> BeidouRecord beidouOrbit(const Ephemeris& eph) {
    BeidouRecord r;
    r.satellite = beidouNumber(eph.satellite);
    r.week = eph.week;
    r.toc = eph.toc;
    r.a0 = eph.a0;
    r.a1 = eph.a1;
    r.a2 = eph.a2;
    r.aode = eph.aode;
    r.crs = eph.crs;
    r.deltaN = eph.deltaN;
    r.m0 = eph.m0;
    r.cuc = eph.cuc;
    r.eccentricity = eph.eccentricity;
    r.cus = eph.cus;
    r.toe = eph.toe;
    r.cic = eph.cic;
    r.omega0 = eph.omega0;
    r.cis = eph.cis;
    r.i0 = eph.i0;
    r.crc = eph.crc;
    r.omega = eph.omega;
    r.omegaDot = eph.omegaDot;
    r.iDot = eph.iDot;
    r.health = eph.health;
    r.tgd1 = eph.tgd1;
    r.tgd2 = eph.tgd2;
    r.aodc = eph.aodc;
    return r;
}

} // namespace

qint64 NavigationWriter::writeBd2(QIODevice* file, const decoding::Bd2Ephemeris& eph) {
    BeidouRecord r = beidouOrbit(eph);
    r.sqrtA = std::sqrt(eph.a);
    r.accuracy = std::sqrt(eph.uraVariance);
    r.transmission = eph.tow;
    qint64 bytes = writeBeidouRecord(file, beidouToe_, r, version_);
    if (bytes > 0 && beidouIonoUtc_.pending) bytes += flushIonoUtc(file, 'C');
    return bytes;
}

qint64 NavigationWriter::writeBeidou(QIODevice* file, const decoding::BeidouEphemeris& eph) {
    BeidouRecord r = beidouOrbit(eph);
    r.sqrtA = eph.sqrtA;
    r.accuracy = eph.ura;
    // BeiDou time runs 14 s behind GPS time.
    double transmission = eph.header.milliseconds / 1000.0 - gnss::kBeidouSecondsBehindGps;
    if (transmission < 0) transmission += double(gnss::kSecondsPerWeek);
    r.transmission = transmission;
    qint64 bytes = writeBeidouRecord(file, beidouToe_, r, version_);
    if (bytes > 0 && beidouIonoUtc_.pending) bytes += flushIonoUtc(file, 'C');
    return bytes;
}

namespace {

// The three Galileo logs name their orbit fields alike; only the clock set, the data
// sources, the health bits and the group delays differ.
template <typename Ephemeris> GalileoRecord galileoOrbit(const Ephemeris& eph, double toc) {
    GalileoRecord r;
    r.satellite = eph.satellite;
    r.toc = toc;
    r.week = galileoWeek(eph.header, toc);
    r.iodNav = eph.iodNav;
    r.crs = eph.crs;
    r.deltaN = eph.deltaN;
    r.m0 = eph.m0;
    r.cuc = eph.cuc;
    r.eccentricity = eph.eccentricity;
    r.cus = eph.cus;
    r.sqrtA = eph.sqrtA;
    r.toe = eph.toe;
    r.cic = eph.cic;
    r.omega0 = eph.omega0;
    r.cis = eph.cis;
    r.i0 = eph.i0;
    r.crc = eph.crc;
    r.omega = eph.omega;
    r.omegaDot = eph.omegaDot;
    r.iDot = eph.iDot;
    r.sisa = sisaMetres(eph.sisaIndex);
    r.transmission = eph.header.milliseconds / 1000.0;
    return r;
}

} // namespace

qint64 NavigationWriter::writeGalileo(QIODevice* file, const decoding::GalileoEphemeris& eph) {
    const bool inav = eph.inavReceived != 0;
    GalileoRecord r = galileoOrbit(eph, inav ? eph.inavToc : eph.fnavToc);
    r.af0 = inav ? eph.inavAf0 : eph.fnavAf0;
    r.af1 = inav ? eph.inavAf1 : eph.fnavAf1;
    r.af2 = inav ? eph.inavAf2 : eph.fnavAf2;
    r.dataSources = inav ? 517.0 : 258.0;
    r.health = eph.e1bDvs | eph.e1bHealth << 1 | eph.e5aDvs << 3 | eph.e5aHealth << 4 | eph.e5bDvs << 6 |
               eph.e5bHealth << 7;
    r.bgdE5aE1 = eph.bgdE5aE1;
    r.bgdE5bE1 = eph.bgdE5bE1;
    return writeGalileoRecord(file, galileoToe_, r, version_);
}

qint64 NavigationWriter::writeGalileoInav(QIODevice* file, const decoding::GalileoInavEphemeris& eph) {
    GalileoRecord r = galileoOrbit(eph, eph.toc);
    r.af0 = eph.af0;
    r.af1 = eph.af1;
    r.af2 = eph.af2;
    r.dataSources = 517.0;
    r.health = eph.e1bDvs | eph.e1bHealth << 1 | eph.e5bDvs << 6 | eph.e5bHealth << 7;
    r.bgdE5aE1 = eph.bgdE5aE1;
    r.bgdE5bE1 = eph.bgdE5bE1;
    return writeGalileoRecord(file, galileoToe_, r, version_);
}

qint64 NavigationWriter::writeGalileoFnav(QIODevice* file, const decoding::GalileoFnavEphemeris& eph) {
    GalileoRecord r = galileoOrbit(eph, eph.toc);
    r.af0 = eph.af0;
    r.af1 = eph.af1;
    r.af2 = eph.af2;
    r.dataSources = 258.0;
    r.health = eph.e5aDvs << 3 | eph.e5aHealth << 4;
    r.bgdE5aE1 = eph.bgdE5aE1;
    r.bgdE5bE1 = 0.0; // F/NAV carries no E5b group delay
    return writeGalileoRecord(file, galileoToe_, r, version_);
}

} // namespace rinex
