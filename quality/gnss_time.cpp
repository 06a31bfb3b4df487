// SPDX-License-Identifier: MIT
#include "quality/gnss_time.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace quality {

double gpsSecondsOf(int year, int month, int day, int hour, int minute, double second) {
    const int64_t days = gnss::daysFromCivil(year, month, day) - gnss::kGpsEpochDays;
    return double(days) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
}

std::string isoTime(double gpsSeconds) {
    const double rounded = std::round(gpsSeconds * 1000.0) / 1000.0;
    const int64_t days = int64_t(std::floor(rounded / 86400.0));
    double rest = rounded - double(days) * 86400.0;
    const gnss::CivilDate date = gnss::civilFromDays(days + gnss::kGpsEpochDays);
    const int y = date.year, m = date.month, d = date.day;
    const int hour = int(rest / 3600.0);
    rest -= hour * 3600.0;
    const int minute = int(rest / 60.0);
    rest -= minute * 60.0;
    char text[48];
    if (std::fabs(rest - std::round(rest)) < 5e-4)
        std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", y, m, d, hour, minute,
                      int(std::round(rest)));
    else
        std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%06.3fZ", y, m, d, hour, minute, rest);
    return text;
}

double secondsOfWeek(double gpsSeconds) {
    return gpsSeconds - std::floor(gpsSeconds / double(gnss::kSecondsPerWeek)) * double(gnss::kSecondsPerWeek);
}

int weekOf(double gpsSeconds) {
    return int(std::floor(gpsSeconds / double(gnss::kSecondsPerWeek)));
}

int gpsMinusUtcAt(double gpsSeconds) {
    static const struct {
        int year, month, value;
    } table[] = {{2017, 1, 18}, {2015, 7, 17}, {2012, 7, 16}, {2009, 1, 15}, {2006, 1, 14}, {1999, 1, 13}};
    for (const auto& e : table)
        if (gpsSeconds >= gpsSecondsOf(e.year, e.month, 1, 0, 0, 0)) return e.value;
    return 13;
}

} // namespace quality
