// SPDX-License-Identifier: MIT
#include "quality/rinex_obs_reader.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "quality/gnss_time.h"
#include "quality/text_fields.h"

namespace quality {

bool RinexObsReader::getLine() {
    if (!std::getline(in_, line_)) return false;
    ++lineNumber_;
    if (!line_.empty() && line_.back() == '\r') line_.pop_back();
    return true;
}

void RinexObsReader::problem(const std::string& what) {
    ++problemCount_;
    if (problems_.size() < 20) problems_.push_back("line " + std::to_string(lineNumber_) + ": " + what);
}

bool RinexObsReader::readHeader(ObservationHeader& header, std::string& error) {
    header = ObservationHeader{};
    char typesSystem = 0;
    size_t typesExpected = 0;
    bool first = true;
    for (;;) {
        if (!getLine()) {
            error = first ? "empty input" : "the header has no END OF HEADER line";
            return false;
        }
        const std::string label = trimmed(field(line_, 60, 20));
        const std::string content = field(line_, 0, 60);
        if (first) {
            if (label != "RINEX VERSION / TYPE") {
                error = "not a RINEX file (no RINEX VERSION / TYPE line first)";
                return false;
            }
            header.version = numberOr(field(content, 0, 9), 0);
            const char type = content.size() > 20 ? content[20] : ' ';
            if (header.version < 3.0 || header.version >= 4.0 || type != 'O') {
                error = "not a RINEX 3 observation file";
                return false;
            }
            first = false;
        }
        if (label == "END OF HEADER") break;
        if (lineNumber_ > 5000) {
            error = "the header has no END OF HEADER line";
            return false;
        }
        if (label == "MARKER NAME") {
            header.markerName = trimmed(content);
        } else if (label == "MARKER NUMBER") {
            header.markerNumber = trimmed(field(content, 0, 20));
        } else if (label == "REC # / TYPE / VERS") {
            header.receiverType = trimmed(field(content, 20, 20));
        } else if (label == "ANT # / TYPE") {
            header.antennaType = trimmed(field(content, 20, 20));
        } else if (label == "APPROX POSITION XYZ") {
            bool ok = true;
            for (int i = 0; i < 3; ++i) {
                double v = 0;
                ok = ok && numberAt(content, 14 * size_t(i), 14, v) && std::isfinite(v);
                header.approxPosition[size_t(i)] = v;
            }
            header.hasApproxPosition = ok;
        } else if (label == "SYS / # / OBS TYPES") {
            if (!content.empty() && content[0] != ' ') {
                typesSystem = content[0];
                typesExpected = size_t(std::max(0.0, numberOr(field(content, 3, 3), 0)));
                header.obsTypes[typesSystem].clear();
            }
            if (typesSystem) {
                std::istringstream words(field(content, 6, 54));
                std::string t;
                while (words >> t)
                    if (header.obsTypes[typesSystem].size() < typesExpected && t.size() == 3)
                        header.obsTypes[typesSystem].push_back(t);
            }
        } else if (label == "INTERVAL") {
            header.interval = numberOr(field(content, 0, 10), 0);
            if (!(header.interval > 0) || !std::isfinite(header.interval)) header.interval = 0;
        } else if (label == "LEAP SECONDS") {
            double v = 0;
            if (numberAt(content, 0, 6, v) && v >= 0 && v < 100) header.leapSeconds = int(v);
        } else if (label == "GLONASS SLOT / FRQ #") {
            std::istringstream words(field(content, 4, 56));
            std::string slot, channel;
            while (words >> slot >> channel)
                if (slot.size() == 3 && slot[0] == 'R') {
                    double s = 0, k = 0;
                    if (parseNumber(slot.substr(1), s) && parseNumber(channel, k) && k >= -7 && k <= 6)
                        header.glonassChannels[int(s)] = int(k);
                }
        }
    }
    for (const auto& [system, types] : header.obsTypes) {
        auto& cols = columns_[systemIndex(system)];
        cols.clear();
        for (const std::string& t : types)
            cols.push_back({t[0], t[1], t[2]});
    }
    header_ = header;
    return true;
}

bool RinexObsReader::parseSatellite(SatelliteObservations& sat) {
    if (line_.size() < 3) return false;
    sat.system = line_[0];
    double number = 0;
    if (!numberAt(line_, 1, 2, number) || number < 1 || number > 63) return false;
    sat.number = int(number);
    sat.observations.clear();
    const int s = systemIndex(sat.system);
    if (s == 7) return false;
    const auto& cols = columns_[s];
    for (size_t k = 0; k < cols.size(); ++k) {
        const size_t at = 3 + 16 * k;
        if (at >= line_.size()) break;
        const size_t len = std::min<size_t>(14, line_.size() - at);
        double v = 0;
        const FieldKind kind = parseFixed(line_.data() + at, len, v);
        if (kind == FieldKind::Blank) continue;
        if (kind == FieldKind::Bad) return false;
        Observation o;
        o.type = cols[k].type;
        o.band = cols[k].band;
        o.attribute = cols[k].attribute;
        o.value = v;
        const size_t lliAt = at + 14;
        o.lli = lliAt < line_.size() && line_[lliAt] >= '0' && line_[lliAt] <= '9' ? line_[lliAt] - '0' : 0;
        sat.observations.push_back(o);
    }
    return true;
}

bool RinexObsReader::next(Epoch& epoch) {
    for (;;) {
        if (!pending_) {
            do {
                if (!getLine()) return false;
            } while (line_.find_first_not_of(' ') == std::string::npos);
        }
        pending_ = false;
        if (line_[0] != '>') {
            problem("epoch line expected");
            continue;
        }
        double v[8];
        const size_t at[8] = {2, 7, 10, 13, 16, 18, 31, 32};
        const size_t len[8] = {4, 2, 2, 2, 2, 11, 1, 3};
        bool ok = line_.size() >= 35 && numberAt(line_, 31, 1, v[6]) &&
                  numberAt(line_, 32, 3, v[7]) && v[6] >= 0 && v[6] <= 6 && v[7] >= 0 && v[7] <= 999;
        // Events may leave the epoch blank: they then belong to the last epoch's time.
        const bool blankTime = ok && v[6] >= 2 && v[6] <= 5 && trimmed(field(line_, 1, 28)).empty();
        for (int i = 0; ok && !blankTime && i < 6; ++i)
            ok = numberAt(line_, at[i], len[i], v[i]);
        if (ok && !blankTime)
            ok = v[0] >= 1980 && v[0] < 2200 && v[1] >= 1 && v[1] <= 12 && v[2] >= 1 && v[2] <= 31 &&
                 v[3] >= 0 && v[3] < 24 && v[4] >= 0 && v[4] < 60 && v[5] >= 0 && v[5] < 61;
        if (!ok) {
            problem("malformed epoch line, epoch skipped");
            continue;
        }
        epoch.flag = int(v[6]);
        epoch.time = blankTime ? lastTime_ : gpsSecondsOf(int(v[0]), int(v[1]), int(v[2]), int(v[3]), int(v[4]), v[5]);
        lastTime_ = epoch.time;
        const int count = int(v[7]);
        epoch.satelliteCount = 0;
        epoch.eventLines.clear();
        bool broken = false;
        for (int i = 0; i < count; ++i) {
            if (!getLine()) {
                problem("the file ends inside an epoch");
                broken = true;
                break;
            }
            if (!line_.empty() && line_[0] == '>') {
                problem("epoch with fewer lines than announced, skipped");
                pending_ = true;
                broken = true;
                break;
            }
            if (epoch.flag >= 2 && epoch.flag <= 5) {
                if (epoch.eventLines.size() < 64) epoch.eventLines.push_back(line_);
                continue;
            }
            if (epoch.satellites.size() <= epoch.satelliteCount) epoch.satellites.emplace_back();
            if (parseSatellite(epoch.satellites[epoch.satelliteCount]))
                ++epoch.satelliteCount;
            else
                problem("malformed satellite line, satellite skipped");
        }
        if (broken) {
            if (epoch.flag >= 2 && epoch.flag <= 5) return true; // keep what the event holds
            if (!pending_ && epoch.satelliteCount == 0) return false;
            if (pending_) continue;
        }
        return true;
    }
}

} // namespace quality
