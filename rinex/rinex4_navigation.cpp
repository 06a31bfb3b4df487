// SPDX-License-Identifier: MIT
#include "rinex/rinex4_navigation.h"

#include <QIODevice>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "rinex/number_format.h"
#include "velmoor/versions.h"

namespace rinex {

namespace {

constexpr int kLineCapacity = 160;
// 4.00 "unknown" transmission time.
constexpr double kUnknownTransmission = 0.999999999999e9;

qint64 put(QIODevice* file, const char* line, int length) {
    if (length <= 0) return 0;
    const qint64 n = file->write(line, length);
    return n > 0 ? n : 0;
}

// "    yyyy mm dd hh mm ss" in columns 1-23; false when the date does not fit.
bool formatEpoch(char* out, size_t capacity, int64_t millisecondsSince1970) {
    const gnss::CalendarTime c = gnss::calendarFromMilliseconds(millisecondsSince1970);
    if (c.year < 0 || c.year > 9999) return false;
    return std::snprintf(out, capacity, "    %04d %02d %02d %02d %02d %02d", c.year, c.month, c.day, c.hour,
                         c.minute, c.second) == 23;
}

// Four values of a "4X,4D19.12" line; kNoValue leaves a field blank.
int formatValues(char* out, size_t capacity, const double* values, int count) {
    int n = 0;
    for (int i = 0; i < count; ++i)
        n += formatExponent(out + n, capacity - size_t(n), values[i], 12);
    return n;
}

int endLine(char* line, int n) {
    n = trimLineEnds(line, n);
    line[n++] = '\r';
    line[n++] = '\n';
    return n;
}

bool sameIonosphere(const decoding::IonoUtcParameters& a, const decoding::IonoUtcParameters& b) {
    for (int i = 0; i < 4; ++i)
        if (a.alpha[i] != b.alpha[i] || a.beta[i] != b.beta[i]) return false;
    return true;
}

bool sameUtc(const decoding::IonoUtcParameters& a, const decoding::IonoUtcParameters& b) {
    return a.a0 == b.a0 && a.a1 == b.a1 && a.utcWeek == b.utcWeek && a.utcTime == b.utcTime;
}

} // namespace

int formatLeadLine(char* out, size_t capacity, const char* type, char system, int satellite,
                   const char* message) {
    const int n = std::snprintf(out, capacity, "> %-3s %c%02d %s\r\n", type, system, satellite, message);
    return n > 0 && size_t(n) < capacity ? n : 0;
}

int trimLineEnds(char* text, int length) {
    int out = 0;
    int lineStart = 0;
    for (int i = 0; i < length; ++i) {
        if (text[i] == '\r' && i + 1 < length && text[i + 1] == '\n') {
            while (out > lineStart && text[out - 1] == ' ')
                --out;
            text[out++] = '\r';
            text[out++] = '\n';
            ++i;
            lineStart = out;
            continue;
        }
        text[out++] = text[i];
    }
    while (out > lineStart && text[out - 1] == ' ')
        --out;
    return out;
}

const char* beidouMessageType(unsigned satellite) {
    const bool geo = (satellite >= 1 && satellite <= 5) || (satellite >= 59 && satellite <= 63);
    return geo ? "D2" : "D1";
}

bool writeNavigationHeader400(QIODevice* file, char kind, const NavigationHeaderInfo& info) {
    if (file == nullptr || !file->isOpen() || file->size() < 246) return false;
    file->seek(0);

    const char* system = "M: MIXED";
    switch (kind) {
    case 'N':
        system = "G: GPS";
        break;
    case 'G':
        system = "R: GLONASS";
        break;
    case 'L':
        system = "E: GALILEO";
        break;
    case 'C':
        system = "C: BDS";
        break;
    default:
        break;
    }

    char line[kLineCapacity];
    int n = std::snprintf(line, sizeof line, "%9s%11s%-20s%-20s%-20s\r\n", "4.00", "", "N: GNSS NAV DATA",
                          system, "RINEX VERSION / TYPE");
    put(file, line, n);

    n = formatRunByLine(line, sizeof line, info.program, info.runBy);
    put(file, line, n);

    // GPS leap seconds: in the GPS and mixed files (GPS time); the GLONASS-only file carries
    // none, and the Galileo and BeiDou files have no value in their own time.
    if (kind == 'N' || kind == 'P') {
        const auto fits = [](qint32 v) { return v >= -99999 && v <= 999999; };
        const IonoUtcSlot& utc = info.first;
        if (utc.valid && fits(utc.leapSeconds) && fits(utc.leapSecondsFuture) && fits(utc.week) &&
            fits(utc.day)) {
            n = std::snprintf(line, sizeof line, "%6d%6d%6d%6d%-3s%33s%-20s\r\n", utc.leapSeconds,
                              utc.leapSecondsFuture, utc.week, utc.day, "GPS", "", "LEAP SECONDS");
            put(file, line, n);
        } else if (info.leapSeconds != kUnknownLeapSeconds && fits(-info.leapSeconds)) {
            n = std::snprintf(line, sizeof line, "%6d%54s%-20s\r\n", -info.leapSeconds, "", "LEAP SECONDS");
            put(file, line, n);
        }
    }

    n = std::snprintf(line, sizeof line, "CONVERTER VERSION = %-40s%-20s\r\n", VELMOOR_CONVERTER_VERSION, "COMMENT");
    put(file, line, n);
    file->seek(file->size());
    return true;
}

qint64 NavigationWriter::writeIonoUtc(QIODevice* file, const decoding::IonoUtcParameters& parameters) {
    if (version_ != Version::V400 || file == nullptr || !file->isOpen()) return 0;
    char system = 0;
    IonoUtcState* state = nullptr;
    if (parameters.header.messageId == decoding::LogIonUtc ||
        parameters.header.messageId == decoding::LogIonUtcU) {
        system = 'G';
        state = &gpsIonoUtc_;
    } else if (parameters.header.messageId == decoding::LogBd2IonUtc) {
        system = 'C';
        state = &beidouIonoUtc_;
    } else {
        return 0;
    }
    if (state->haveWritten && sameIonosphere(state->written, parameters) &&
        sameUtc(state->written, parameters))
        return 0;
    state->pending = true;
    state->waiting = parameters;
    return flushIonoUtc(file, system); // waits until an ephemeris names the broadcaster
}

qint64 NavigationWriter::flushIonoUtc(QIODevice* file, char system) {
    IonoUtcState& state = system == 'G' ? gpsIonoUtc_ : beidouIonoUtc_;
    const QMap<quint32, double>& satellites = system == 'G' ? gpsToe_ : beidouToe_;
    // The lowest satellite number with a record in the file (damaged numbers write none).
    int satellite = 0;
    for (auto it = satellites.cbegin(); it != satellites.cend() && satellite == 0; ++it)
        if (it.key() >= 1 && it.key() <= 99) satellite = int(it.key());
    if (!state.pending || satellite == 0) return 0;
    state.pending = false;
    const qint64 bytes = writeIonoUtcRecords(file, system, satellite, state.waiting);
    state.written = state.waiting;
    state.haveWritten = true;
    return bytes;
}

qint64 NavigationWriter::writeIonoUtcRecords(QIODevice* file, char system, int satellite,
                                             const decoding::IonoUtcParameters& p) {
    const char* message = system == 'G' ? "LNAV" : "D1D2";
    const decoding::LogHeader& h = p.header;
    // Epoch of the ION record: the log's receiver time, whole seconds, in the system's time.
    int64_t logMs = gnss::gpsMilliseconds(int64_t(h.week), int64_t(h.milliseconds)) / 1000 * 1000;
    if (system == 'C') logMs -= gnss::kBeidouSecondsBehindGps * 1000;

    char text[8 * kLineCapacity];
    int used = 0;
    char line[kLineCapacity];
    qint64 bytes = 0;

    // Klobuchar: alpha0-2 / alpha3, beta0-2 / beta3 (the region field is QZSS-only: blank).
    if (formatEpoch(line, sizeof line, logMs)) {
        used += formatLeadLine(text + used, sizeof text - size_t(used), "ION", system, satellite, message);
        int n = 23;
        n += formatValues(line + n, sizeof line - size_t(n), p.alpha, 3);
        n = endLine(line, n);
        std::memcpy(text + used, line, size_t(n));
        used += n;
        const double second[4] = {p.alpha[3], p.beta[0], p.beta[1], p.beta[2]};
        std::memcpy(line, "    ", 4);
        n = 4 + formatValues(line + 4, sizeof line - 4, second, 4);
        n = endLine(line, n);
        std::memcpy(text + used, line, size_t(n));
        used += n;
        std::memcpy(line, "    ", 4);
        n = 4 + formatValues(line + 4, sizeof line - 4, p.beta + 3, 1);
        n = endLine(line, n);
        std::memcpy(text + used, line, size_t(n));
        used += n;
    }

    // Time offset to UTC: epoch = the polynomial's reference time (week and seconds), in the
    // system's own time; A2 is not broadcast (0); the transmission time is not in the log.
    const int64_t logWeek = system == 'C' ? int64_t(h.week) - gnss::kBeidouWeekOffset : int64_t(h.week);
    const int64_t week = gnss::fullWeek(p.utcWeek, logWeek);
    const bool plausible =
        week >= 0 && week <= 99999 && p.utcTime <= 604800u && std::isfinite(p.a0) && std::isfinite(p.a1);
    if (plausible) {
        const int64_t gpsWeek = system == 'C' ? week + gnss::kBeidouWeekOffset : week;
        const int64_t referenceMs =
            gpsWeek * gnss::kMillisecondsPerWeek + int64_t(p.utcTime) * 1000 + gnss::kGpsEpochMilliseconds;
        char epoch[kLineCapacity];
        if (formatEpoch(epoch, sizeof epoch, referenceMs)) {
            used +=
                formatLeadLine(text + used, sizeof text - size_t(used), "STO", system, satellite, message);
            int n =
                std::snprintf(line, sizeof line, "%s %-18s %-18s %-18s", epoch,
                              system == 'G' ? "GPUT" : "BDUT", "", system == 'G' ? "UTC(USNO)" : "UTC(NTSC)");
            n = endLine(line, n);
            std::memcpy(text + used, line, size_t(n));
            used += n;
            const double values[4] = {kUnknownTransmission, p.a0, p.a1, 0.0};
            std::memcpy(line, "    ", 4);
            n = 4 + formatValues(line + 4, sizeof line - 4, values, 4);
            n = endLine(line, n);
            std::memcpy(text + used, line, size_t(n));
            used += n;
        }
    }
    bytes += put(file, text, used);
    return bytes;
}

} // namespace rinex
