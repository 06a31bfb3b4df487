#pragma once
// Calendar of a millisecond count since 1970-01-01, without leap seconds (GPS time is
// written as if it were UTC, which is what the observation records expect).
#include <cstdint>

namespace rinex {

struct CalendarTime {
    int year;
    int month;  // 1..12
    int day;    // 1..31
    int hour;   // 0..23
    int minute; // 0..59
    int second; // 0..59
    int millisecond;
};

constexpr int64_t kGpsEpochMilliseconds = 315964800000LL; // 1980-01-06 in ms since 1970
constexpr int64_t kWeekMilliseconds = 604800000LL;

// Milliseconds since 1970 of a GPS week and millisecond of week.
inline int64_t gpsMilliseconds(int week, uint32_t millisecondsOfWeek) {
    return int64_t(week) * kWeekMilliseconds + int64_t(millisecondsOfWeek) + kGpsEpochMilliseconds;
}

CalendarTime calendarFromMilliseconds(int64_t milliseconds);

} // namespace rinex
