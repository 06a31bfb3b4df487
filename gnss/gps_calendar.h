// SPDX-License-Identifier: MIT
#pragma once
// The GPS calendar: civil dates, days of the year, GPS weeks and times of week. Counted
// without leap seconds: every writer and reader here puts GPS time on the calendar as if it
// were UTC, and shifts by the leap seconds itself where a record needs it.
#include <cstdint>

namespace gnss {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kMillisecondsPerDay = kSecondsPerDay * 1000;
constexpr int64_t kDaysPerWeek = 7;
constexpr int64_t kSecondsPerWeek = kSecondsPerDay * kDaysPerWeek;
constexpr int64_t kMillisecondsPerWeek = kSecondsPerWeek * 1000;
// GPS week 0 began on 1980-01-06, day 3657 counted from 1970-01-01.
constexpr int64_t kGpsEpochDays = 3657;
constexpr int64_t kGpsEpochMilliseconds = kGpsEpochDays * kMillisecondsPerDay;

// a / b rounded towards minus infinity (b > 0).
constexpr int64_t floorDivide(int64_t a, int64_t b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0);
}

struct CivilDate {
    int year = 1970;
    int month = 1; // 1..12
    int day = 1;   // 1..31
};

struct CalendarTime {
    int year = 1970;
    int month = 1;       // 1..12
    int day = 1;         // 1..31
    int hour = 0;        // 0..23
    int minute = 0;      // 0..59
    int second = 0;      // 0..59
    int millisecond = 0; // 0..999
};

// A GPS week and a day of that week (0 = Sunday .. 6).
struct GpsWeekDay {
    int64_t week = 0;
    int day = 0;
};

// Days from 1970-01-01 of a proleptic Gregorian date, and back.
int64_t daysFromCivil(int64_t year, int month, int day);
CivilDate civilFromDays(int64_t days);
// 1 for January 1st .. 366.
int dayOfYear(const CivilDate& date);

// The GPS week and day of the week of a day counted from 1970-01-01.
GpsWeekDay gpsWeekDay(int64_t days);
// The same of a civil date.
GpsWeekDay gpsWeekDay(const CivilDate& date);

// Milliseconds since 1970-01-01 of a GPS week and a millisecond count in that week (which
// may lie outside the week: it then counts into the weeks around).
constexpr int64_t gpsMilliseconds(int64_t week, int64_t millisecondsOfWeek) {
    return week * kMillisecondsPerWeek + millisecondsOfWeek + kGpsEpochMilliseconds;
}

// Calendar of a millisecond count since 1970-01-01.
CalendarTime calendarFromMilliseconds(int64_t milliseconds);
// Calendar of a GPS week and millisecond count in that week.
CalendarTime gpsCalendar(int64_t week, int64_t millisecondsOfWeek);

// A week number that may come truncated to 8 or 10 bits (a UTC reference week): the full
// week nearest logWeek, the full week of the log that carried it.
int64_t fullWeek(uint32_t week, int64_t logWeek);

} // namespace gnss
