#include "sample_generator/gps_calendar.h"

#include <cstdio>

namespace sample_generator {

namespace {
// Civil date of a day count from 1970-01-01 (proleptic Gregorian).
void civilOfDays(int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    d = int(doy - (153 * mp + 2) / 5 + 1);
    m = int(mp < 10 ? mp + 3 : mp - 9);
    y = int(yoe + era * 400 + (m <= 2 ? 1 : 0));
}
} // namespace

Calendar calendarOf(int week, int64_t millisecondsOfWeek) {
    constexpr int64_t kGpsEpochDays = 3657; // 1980-01-06 after 1970-01-01
    int64_t ms = int64_t(week) * 604800000LL + millisecondsOfWeek;
    int64_t days = ms / 86400000LL;
    int64_t msOfDay = ms % 86400000LL;
    if (msOfDay < 0) msOfDay += 86400000LL, --days;
    Calendar c;
    civilOfDays(kGpsEpochDays + days, c.year, c.month, c.day);
    c.hour = int(msOfDay / 3600000);
    c.minute = int(msOfDay / 60000 % 60);
    c.second = int(msOfDay / 1000 % 60);
    c.millisecond = int(msOfDay % 1000);
    return c;
}

std::string calendarText(const Calendar& c) {
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", c.year, c.month, c.day, c.hour,
                  c.minute, c.second);
    return text;
}

} // namespace sample_generator
