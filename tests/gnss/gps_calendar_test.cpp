// SPDX-License-Identifier: MIT
// The GPS calendar against known dates and against a day-by-day count of the calendar.
#include <gtest/gtest.h>

#include <cstdint>

#include "gnss/gps_calendar.h"

namespace {

using namespace gnss;

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int monthLength(int year, int month) {
    static const int lengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : lengths[month - 1];
}

void nextDay(CivilDate& d) {
    if (++d.day <= monthLength(d.year, d.month)) return;
    d.day = 1;
    if (++d.month <= 12) return;
    d.month = 1;
    ++d.year;
}

TEST(GpsCalendar, KnownDays) {
    EXPECT_EQ(daysFromCivil(1970, 1, 1), 0);
    EXPECT_EQ(daysFromCivil(1980, 1, 6), kGpsEpochDays);
    EXPECT_EQ(daysFromCivil(1969, 12, 31), -1);
    EXPECT_EQ(daysFromCivil(2000, 3, 1), 11017);
    const CivilDate d = civilFromDays(-1);
    EXPECT_EQ(d.year, 1969);
    EXPECT_EQ(d.month, 12);
    EXPECT_EQ(d.day, 31);
}

TEST(GpsCalendar, EveryDayFrom1899To2101) {
    CivilDate d{1899, 1, 1};
    int64_t days = daysFromCivil(1899, 1, 1);
    int dayInYear = 1;
    while (d.year < 2101) {
        const CivilDate back = civilFromDays(days);
        ASSERT_EQ(back.year, d.year) << days;
        ASSERT_EQ(back.month, d.month) << days;
        ASSERT_EQ(back.day, d.day) << days;
        ASSERT_EQ(daysFromCivil(d.year, d.month, d.day), days);
        ASSERT_EQ(dayOfYear(d), dayInYear) << d.year << "-" << d.month << "-" << d.day;
        const int year = d.year;
        nextDay(d);
        ++days;
        dayInYear = d.year == year ? dayInYear + 1 : 1;
    }
}

TEST(GpsCalendar, DayOfYear) {
    EXPECT_EQ(dayOfYear({2018, 1, 1}), 1);
    EXPECT_EQ(dayOfYear({2018, 7, 19}), 200);
    EXPECT_EQ(dayOfYear({2018, 12, 31}), 365);
    EXPECT_EQ(dayOfYear({2020, 12, 31}), 366);
    EXPECT_EQ(dayOfYear({1900, 3, 1}), 60);
    EXPECT_EQ(dayOfYear({2000, 3, 1}), 61);
}

TEST(GpsCalendar, WeeksAndDaysOfWeek) {
    GpsWeekDay w = gpsWeekDay({1980, 1, 6});
    EXPECT_EQ(w.week, 0);
    EXPECT_EQ(w.day, 0);
    w = gpsWeekDay({2018, 7, 29});
    EXPECT_EQ(w.week, 2012);
    EXPECT_EQ(w.day, 0);
    w = gpsWeekDay({2018, 7, 28});
    EXPECT_EQ(w.week, 2011);
    EXPECT_EQ(w.day, 6);
    // Before the origin the week is negative and the day still 0..6.
    w = gpsWeekDay({1980, 1, 5});
    EXPECT_EQ(w.week, -1);
    EXPECT_EQ(w.day, 6);
    // Week 1024 began on 1999-08-22 and week 2048 on 2019-04-07.
    EXPECT_EQ(gpsWeekDay({1999, 8, 22}).week, 1024);
    EXPECT_EQ(gpsWeekDay({2019, 4, 7}).week, 2048);
    EXPECT_EQ(gpsWeekDay({2019, 4, 6}).week, 2047);
}

TEST(GpsCalendar, CalendarOfGpsTime) {
    CalendarTime t = gpsCalendar(0, 0);
    EXPECT_EQ(t.year, 1980);
    EXPECT_EQ(t.month, 1);
    EXPECT_EQ(t.day, 6);
    EXPECT_EQ(t.hour, 0);

    // Thursday of week 2011, 00:05:30.250.
    t = gpsCalendar(2011, 4 * kMillisecondsPerDay + 330250);
    EXPECT_EQ(t.year, 2018);
    EXPECT_EQ(t.month, 7);
    EXPECT_EQ(t.day, 26);
    EXPECT_EQ(t.hour, 0);
    EXPECT_EQ(t.minute, 5);
    EXPECT_EQ(t.second, 30);
    EXPECT_EQ(t.millisecond, 250);

    // A count before the week's start falls on the last millisecond of the week before.
    t = gpsCalendar(2012, -1);
    EXPECT_EQ(t.year, 2018);
    EXPECT_EQ(t.month, 7);
    EXPECT_EQ(t.day, 28);
    EXPECT_EQ(t.hour, 23);
    EXPECT_EQ(t.minute, 59);
    EXPECT_EQ(t.second, 59);
    EXPECT_EQ(t.millisecond, 999);

    // And one past the week's end into the next week.
    t = gpsCalendar(2011, kMillisecondsPerWeek + 1000);
    EXPECT_EQ(t.day, 29);
    EXPECT_EQ(t.second, 1);
}

TEST(GpsCalendar, MillisecondsSince1970) {
    EXPECT_EQ(gpsMilliseconds(0, 0), 315964800000LL);
    EXPECT_EQ(gpsMilliseconds(2012, 0), daysFromCivil(2018, 7, 29) * kMillisecondsPerDay);
    const CalendarTime t = calendarFromMilliseconds(-1);
    EXPECT_EQ(t.year, 1969);
    EXPECT_EQ(t.month, 12);
    EXPECT_EQ(t.day, 31);
    EXPECT_EQ(t.hour, 23);
    EXPECT_EQ(t.minute, 59);
    EXPECT_EQ(t.second, 59);
    EXPECT_EQ(t.millisecond, 999);
}

TEST(GpsCalendar, FloorDivide) {
    EXPECT_EQ(floorDivide(7, 7), 1);
    EXPECT_EQ(floorDivide(6, 7), 0);
    EXPECT_EQ(floorDivide(-1, 7), -1);
    EXPECT_EQ(floorDivide(-7, 7), -1);
    EXPECT_EQ(floorDivide(-8, 7), -2);
}

} // namespace
