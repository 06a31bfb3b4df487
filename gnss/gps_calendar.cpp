// SPDX-License-Identifier: MIT
#include "gnss/gps_calendar.h"

namespace gnss {

// Counted in 400-year eras of 146097 days from 0000-03-01, so that the leap day ends a year.
int64_t daysFromCivil(int64_t year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const int64_t era = floorDivide(year, 400);
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfMarchYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfMarchYear;
    return era * 146097 + dayOfEra - 719468;
}

CivilDate civilFromDays(int64_t days) {
    const int64_t z = days + 719468;
    const int64_t era = floorDivide(z, 146097);
    const int64_t dayOfEra = z - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfMarchYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthIndex = (5 * dayOfMarchYear + 2) / 153;
    CivilDate d;
    d.day = int(dayOfMarchYear - (153 * monthIndex + 2) / 5 + 1);
    d.month = int(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    d.year = int(yearOfEra + era * 400 + (d.month <= 2 ? 1 : 0));
    return d;
}

int dayOfYear(const CivilDate& date) {
    return int(daysFromCivil(date.year, date.month, date.day) - daysFromCivil(date.year, 1, 1) + 1);
}

GpsWeekDay gpsWeekDay(int64_t days) {
    const int64_t sinceOrigin = days - kGpsEpochDays;
    GpsWeekDay w;
    w.week = floorDivide(sinceOrigin, kDaysPerWeek);
    w.day = int(sinceOrigin - w.week * kDaysPerWeek);
    return w;
}

GpsWeekDay gpsWeekDay(const CivilDate& date) {
    return gpsWeekDay(daysFromCivil(date.year, date.month, date.day));
}

CalendarTime calendarFromMilliseconds(int64_t milliseconds) {
    const int64_t days = floorDivide(milliseconds, kMillisecondsPerDay);
    int64_t rest = milliseconds - days * kMillisecondsPerDay;
    const CivilDate date = civilFromDays(days);
    CalendarTime t;
    t.year = date.year;
    t.month = date.month;
    t.day = date.day;
    t.hour = int(rest / 3600000);
    rest %= 3600000;
    t.minute = int(rest / 60000);
    rest %= 60000;
    t.second = int(rest / 1000);
    t.millisecond = int(rest % 1000);
    return t;
}

CalendarTime gpsCalendar(int64_t week, int64_t millisecondsOfWeek) {
    return calendarFromMilliseconds(gpsMilliseconds(week, millisecondsOfWeek));
}

int64_t fullWeek(uint32_t week, int64_t logWeek) {
    int64_t modulus = 0;
    if (week < 256)
        modulus = 256;
    else if (week < 1024)
        modulus = 1024;
    if (modulus == 0 || logWeek < modulus) return week;
    int64_t full = logWeek - ((logWeek - int64_t(week)) % modulus + modulus) % modulus;
    if (logWeek - full > modulus / 2) full += modulus;
    return full;
}

} // namespace gnss
