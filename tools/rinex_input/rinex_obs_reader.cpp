// SPDX-License-Identifier: MIT
#include "rinex_input/rinex_obs_reader.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "gnss/gps_calendar.h"

namespace rinex_input {

namespace {

// Fixed-column field; columns beyond the end of a trimmed line read as blanks.
std::string column(const std::string& line, size_t pos, size_t len) {
    if (pos >= line.size()) return std::string();
    return line.substr(pos, len);
}

std::string trim(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return std::string();
    const size_t e = s.find_last_not_of(" \t");
    return s.substr(b, e - b + 1);
}

bool isBlank(const std::string& s) {
    return trim(s).empty();
}

double number(const std::string& field, double fallback = 0) {
    const std::string t = trim(field);
    if (t.empty()) return fallback;
    char* end = nullptr;
    const double v = std::strtod(t.c_str(), &end);
    return end && *end == '\0' ? v : fallback;
}

int integer(const std::string& field, int fallback = 0) {
    const std::string t = trim(field);
    if (t.empty()) return fallback;
    char* end = nullptr;
    const long v = std::strtol(t.c_str(), &end, 10);
    return end && *end == '\0' ? int(v) : fallback;
}

std::vector<std::string> tokens(const std::string& s) {
    std::istringstream in(s);
    std::vector<std::string> out;
    std::string t;
    while (in >> t)
        out.push_back(t);
    return out;
}

ObsTime headerTime(const std::string& content) {
    ObsTime t;
    t.year = integer(column(content, 0, 6));
    t.month = integer(column(content, 6, 6));
    t.day = integer(column(content, 12, 6));
    t.hour = integer(column(content, 18, 6));
    t.minute = integer(column(content, 24, 6));
    t.second = number(column(content, 30, 13));
    t.timeSystem = trim(column(content, 48, 3));
    return t;
}

[[noreturn]] void fail(int lineNumber, const std::string& what) {
    throw std::runtime_error("RINEX observation line " + std::to_string(lineNumber) + ": " + what);
}

} // namespace

int ObsHeader::typeIndex(char system, const std::string& type) const {
    const auto it = obsTypes.find(system);
    if (it == obsTypes.end()) return -1;
    for (size_t i = 0; i < it->second.size(); ++i)
        if (it->second[i] == type) return int(i);
    return -1;
}

const SatelliteObs* ObsEpoch::find(char system, int number) const {
    for (const SatelliteObs& s : satellites)
        if (s.system == system && s.number == number) return &s;
    return nullptr;
}

void gpsWeekOfCalendar(const ObsTime& time, int& week, double& secondsOfWeek) {
    const gnss::GpsWeekDay day = gnss::gpsWeekDay({time.year, time.month, time.day});
    week = int(day.week);
    secondsOfWeek = double(day.day) * double(gnss::kSecondsPerDay) + time.hour * 3600.0 + time.minute * 60.0 +
                    time.second;
}

bool ObsReader::getLine(std::string& line) {
    if (!std::getline(in_, line)) return false;
    ++lineNumber_;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}

ObsReader::ObsReader(std::istream& in) : in_(in) {
    std::string line;
    char typesSystem = 0;
    size_t typesExpected = 0;
    bool first = true;
    for (;;) {
        if (!getLine(line)) fail(lineNumber_, "header without END OF HEADER");
        const std::string label = trim(column(line, 60, 20));
        const std::string content = column(line, 0, 60);
        if (first) {
            if (label != "RINEX VERSION / TYPE") fail(lineNumber_, "first line is not RINEX VERSION / TYPE");
            header_.version = number(column(content, 0, 9));
            header_.fileType = column(content, 20, 1).empty() ? ' ' : content[20];
            header_.satelliteSystem = column(content, 40, 1).empty() ? ' ' : content[40];
            if (header_.version < 3.0 || header_.fileType != 'O')
                fail(lineNumber_, "not a RINEX 3 observation file");
            first = false;
        }
        if (label == "END OF HEADER") break;
        header_.lines.emplace_back(label, content);

        if (label == "PGM / RUN BY / DATE") {
            header_.program = trim(column(content, 0, 20));
            header_.runBy = trim(column(content, 20, 20));
            header_.date = trim(column(content, 40, 20));
        } else if (label == "MARKER NAME") {
            header_.markerName = trim(content);
        } else if (label == "MARKER NUMBER") {
            header_.markerNumber = trim(column(content, 0, 20));
        } else if (label == "MARKER TYPE") {
            header_.markerType = trim(column(content, 0, 20));
        } else if (label == "OBSERVER / AGENCY") {
            header_.observer = trim(column(content, 0, 20));
            header_.agency = trim(column(content, 20, 40));
        } else if (label == "REC # / TYPE / VERS") {
            header_.receiverNumber = trim(column(content, 0, 20));
            header_.receiverType = trim(column(content, 20, 20));
            header_.receiverVersion = trim(column(content, 40, 20));
        } else if (label == "ANT # / TYPE") {
            header_.antennaNumber = trim(column(content, 0, 20));
            header_.antennaType = trim(column(content, 20, 20));
        } else if (label == "APPROX POSITION XYZ") {
            for (int i = 0; i < 3; ++i)
                header_.approxPosition[i] = number(column(content, 14 * i, 14));
            header_.hasApproxPosition = true;
        } else if (label == "ANTENNA: DELTA H/E/N") {
            for (int i = 0; i < 3; ++i)
                header_.antennaDeltaHen[i] = number(column(content, 14 * i, 14));
        } else if (label == "SYS / # / OBS TYPES") {
            if (!isBlank(column(content, 0, 1))) {
                typesSystem = content[0];
                typesExpected = size_t(integer(column(content, 3, 3)));
                header_.obsTypes[typesSystem].clear();
            } else if (!typesSystem) {
                fail(lineNumber_, "SYS / # / OBS TYPES continuation without a system");
            }
            for (const std::string& t : tokens(column(content, 6, 54)))
                if (header_.obsTypes[typesSystem].size() < typesExpected)
                    header_.obsTypes[typesSystem].push_back(t);
        } else if (label == "INTERVAL") {
            header_.interval = number(column(content, 0, 10));
        } else if (label == "TIME OF FIRST OBS") {
            header_.firstObs = headerTime(content);
            header_.hasFirstObs = true;
        } else if (label == "TIME OF LAST OBS") {
            header_.lastObs = headerTime(content);
            header_.hasLastObs = true;
        } else if (label == "LEAP SECONDS") {
            header_.leapSeconds = integer(column(content, 0, 6));
            header_.hasLeapSeconds = true;
        } else if (label == "SIGNAL STRENGTH UNIT") {
            header_.signalStrengthUnit = trim(column(content, 0, 20));
        } else if (label == "GLONASS SLOT / FRQ #") {
            // The first line starts with the count in columns 1..3; pairs follow from column 5.
            const std::vector<std::string> t = tokens(column(content, 4, 56));
            for (size_t i = 0; i + 1 < t.size(); i += 2)
                if (t[i].size() == 3 && t[i][0] == 'R')
                    header_.glonassSlots[integer(t[i].substr(1))] = integer(t[i + 1]);
        } else if (label == "COMMENT") {
            const size_t end = content.find_last_not_of(' ');
            header_.comments.push_back(end == std::string::npos ? std::string() : content.substr(0, end + 1));
        }
    }
}

bool ObsReader::next(ObsEpoch& epoch) {
    std::string line;
    do {
        if (!getLine(line)) return false;
    } while (isBlank(line));
    if (line[0] != '>') fail(lineNumber_, "epoch record expected");

    epoch = ObsEpoch{};
    epoch.time.year = integer(column(line, 2, 4));
    epoch.time.month = integer(column(line, 7, 2));
    epoch.time.day = integer(column(line, 10, 2));
    epoch.time.hour = integer(column(line, 13, 2));
    epoch.time.minute = integer(column(line, 16, 2));
    epoch.time.second = number(column(line, 18, 11));
    epoch.flag = integer(column(line, 31, 1));
    const int count = integer(column(line, 32, 3), -1);
    if (count < 0) fail(lineNumber_, "epoch record without a count");
    epoch.clockOffset = number(column(line, 41, 15));

    gpsWeekOfCalendar(epoch.time, epoch.week, epoch.secondsOfWeek);
    long long ms = std::llround(epoch.secondsOfWeek * 1000.0);
    if (ms >= gnss::kMillisecondsPerWeek) {
        ms -= gnss::kMillisecondsPerWeek;
        epoch.week += 1;
        epoch.secondsOfWeek -= double(gnss::kSecondsPerWeek);
    }
    epoch.msOfWeek = uint32_t(ms);

    for (int i = 0; i < count; ++i) {
        if (!getLine(line)) fail(lineNumber_, "file ends inside an epoch");
        if (epoch.flag >= 2 && epoch.flag <= 5) {
            epoch.eventRecords.push_back(line);
            continue;
        }
        SatelliteObs sat;
        sat.system = line.empty() ? ' ' : line[0];
        sat.number = integer(column(line, 1, 2), -1);
        if (sat.number < 0) fail(lineNumber_, "satellite line without a satellite number");
        const auto types = header_.obsTypes.find(sat.system);
        const size_t n = types == header_.obsTypes.end() ? 0 : types->second.size();
        sat.values.resize(n);
        for (size_t k = 0; k < n; ++k) {
            const size_t at = 3 + 16 * k;
            ObsValue& v = sat.values[k];
            const std::string field = column(line, at, 14);
            v.present = !isBlank(field);
            v.value = number(field);
            v.lli = integer(column(line, at + 14, 1), -1);
            v.ssi = integer(column(line, at + 15, 1), -1);
        }
        epoch.satellites.push_back(std::move(sat));
    }
    return true;
}

ObsFile readObsFile(const std::string& path, size_t maxEpochs) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    ObsReader reader(in);
    ObsFile file;
    file.header = reader.header();
    ObsEpoch epoch;
    while (file.epochs.size() < maxEpochs && reader.next(epoch))
        file.epochs.push_back(std::move(epoch));
    return file;
}

} // namespace rinex_input
