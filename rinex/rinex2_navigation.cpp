// SPDX-License-Identifier: MIT
#include "rinex/rinex2_navigation.h"

#include <QIODevice>
#include <cstdio>

#include "rinex/number_format.h"
#include "rinex/rinex2_header_lines.h"
#include "velmoor/versions.h"

namespace rinex {

namespace {

constexpr int kLineCapacity = 160;

qint64 put(QIODevice* file, const char* line, int length) {
    if (length <= 0) return 0;
    const qint64 n = file->write(line, length);
    return n > 0 ? n : 0;
}

bool fitsSix(qint64 v) {
    return v >= -99999 && v <= 999999;
}

} // namespace

int formatRinex2FirstLine(char* out, size_t capacity, int satellite, const gnss::CalendarTime& c, double v0,
                          double v1, double v2) {
    const auto twoDigits = [](int v) { return v >= 0 && v <= 99; };
    if (!(twoDigits(satellite) && c.year >= 0 && twoDigits(c.month) && twoDigits(c.day) && twoDigits(c.hour) &&
          twoDigits(c.minute) && twoDigits(c.second)))
        return 0;
    int n = std::snprintf(out, capacity, "%2d %02d %2d %2d %2d %2d%5.1f", satellite, c.year % 100, c.month, c.day,
                          c.hour, c.minute, double(c.second));
    if (n != 22 || size_t(n) >= capacity) return 0;
    for (double v : {v0, v1, v2})
        n += formatExponent(out + n, capacity - size_t(n), v, 12);
    return n;
}

int formatRinex2OrbitLine(char* out, size_t capacity, const double values[4]) {
    if (capacity < 4) return 0;
    int n = std::snprintf(out, capacity, "   ");
    for (int i = 0; i < 4; ++i)
        n += formatExponent(out + n, capacity - size_t(n), values[i], 12);
    return n;
}

bool writeNavigationHeader211(QIODevice* file, char kind, const NavigationHeaderInfo& info) {
    file->seek(0);
    char line[kLineCapacity];
    int n = std::snprintf(line, sizeof line, "%9s%11s%-20s%-20s%-20s\r\n", "2.11", "",
                          kind == 'G' ? "GLONASS NAV DATA" : "N: GPS NAV DATA", "", "RINEX VERSION / TYPE");
    put(file, line, n);
    put(file, line, formatRinex2RunByLine(line, sizeof line, info.program, info.runBy));
    n = std::snprintf(line, sizeof line, "CONVERTER VERSION = %-40s%-20s\r\n", VELMOOR_CONVERTER_VERSION,
                      "COMMENT");
    put(file, line, n);

    qint64 leap = kUnknownLeapSeconds;
    if (info.leapSeconds != kUnknownLeapSeconds) leap = -qint64(info.leapSeconds);
    if (kind == 'N' && info.first.valid) {
        const IonoUtcSlot& s = info.first;
        const char* labels[2] = {"ION ALPHA", "ION BETA"};
        const double* values[2] = {s.alpha, s.beta};
        for (int k = 0; k < 2; ++k) {
            n = std::snprintf(line, sizeof line, "  ");
            for (int i = 0; i < 4; ++i)
                n += formatExponent(line + n, sizeof line - size_t(n), values[k][i], 5);
            n += std::snprintf(line + n, sizeof line - size_t(n), "%10s%-20s\r\n", "", labels[k]);
            put(file, line, n);
        }
        // The reference week is the full GPS week, never the broadcast's truncated one.
        if (s.utcWeek >= 0 && s.utcWeek <= 999999999 && s.utcTime <= 999999999) {
            n = std::snprintf(line, sizeof line, "   ");
            n += formatExponent(line + n, sizeof line - size_t(n), s.a0, 12);
            n += formatExponent(line + n, sizeof line - size_t(n), s.a1, 12);
            n += std::snprintf(line + n, sizeof line - size_t(n), "%9d%9d %-20s\r\n", int(s.utcTime),
                               int(s.utcWeek), "DELTA-UTC: A0,A1,T,W");
            put(file, line, n);
        }
        leap = s.leapSeconds;
    }
    if (leap != kUnknownLeapSeconds && fitsSix(leap)) {
        n = std::snprintf(line, sizeof line, "%6d%54s%-20s\r\n", int(leap), "", "LEAP SECONDS");
        put(file, line, n);
    }
    file->seek(file->size());
    return true;
}

} // namespace rinex
