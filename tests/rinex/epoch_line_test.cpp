// SPDX-License-Identifier: MIT
// The epoch line is written without printf; it must give printf's bytes for every field value.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "rinex/epoch_line.h"

namespace {

std::string printfLine(int capacity, const gnss::CalendarTime& c, int second, int millisecond, int satellites,
                       int* result) {
    char line[600];
    std::memset(line, 'x', sizeof line);
    *result = std::snprintf(line, size_t(capacity),
                            "> %04d %02d %02d %02d %02d %2d.%03d0000  0%3d       0.000000000000\r\n", c.year,
                            c.month, c.day, c.hour, c.minute, second, millisecond, satellites);
    return std::string(line, sizeof line);
}

std::string directLine(int capacity, const gnss::CalendarTime& c, int second, int millisecond, int satellites,
                       int* result) {
    char line[600];
    std::memset(line, 'x', sizeof line);
    *result = rinex::formatEpochLine(line, capacity, c, second, millisecond, satellites);
    return std::string(line, sizeof line);
}

void expectSame(int capacity, const gnss::CalendarTime& c, int second, int millisecond, int satellites) {
    int expectedResult = 0, result = 0;
    const std::string expected = printfLine(capacity, c, second, millisecond, satellites, &expectedResult);
    const std::string actual = directLine(capacity, c, second, millisecond, satellites, &result);
    ASSERT_EQ(result, expectedResult);
    // The whole buffer: the line, its terminating 0 and nothing written beyond.
    ASSERT_EQ(actual, expected) << c.year << "-" << c.month << "-" << c.day << " " << c.hour << ":"
                                << c.minute << ":" << second << "." << millisecond << " sats " << satellites;
}

TEST(EpochLine, EveryTimeOfDayAndMillisecondAsPrintf) {
    gnss::CalendarTime c{2026, 11, 23, 0, 0, 0, 0};
    for (int hour = 0; hour < 24; ++hour)
        for (int minute = 0; minute < 60; ++minute)
            for (int second = 0; second < 60; ++second) {
                c.hour = hour;
                c.minute = minute;
                expectSame(512, c, second, (hour * 3600 + minute * 60 + second) % 1000, 32);
            }
    for (int millisecond = 0; millisecond < 1000; ++millisecond)
        expectSame(512, c, 7, millisecond, 5);
}

TEST(EpochLine, EveryDateAndSatelliteCountAsPrintf) {
    gnss::CalendarTime c{1980, 1, 6, 0, 0, 0, 0};
    for (int year = 0; year <= 10000; year += 7) {
        c.year = year;
        for (int month = 1; month <= 12; ++month) {
            c.month = month;
            c.day = 1 + (year + month) % 31;
            expectSame(512, c, month * 4, year % 1000, year % 1200);
        }
    }
    for (int satellites = 0; satellites <= 1100; ++satellites)
        expectSame(512, c, 59, 999, satellites);
}

TEST(EpochLine, OutOfRangeFieldsAndShortBuffersAsPrintf) {
    const gnss::CalendarTime c{2026, 11, 23, 12, 30, 0, 0};
    for (int v : {-1000, -100, -10, -1, 100, 1000, 123456789}) {
        expectSame(512, gnss::CalendarTime{v, 11, 23, 12, 30, 0, 0}, 5, 5, 5);
        expectSame(512, gnss::CalendarTime{2026, v, 23, 12, 30, 0, 0}, 5, 5, 5);
        expectSame(512, gnss::CalendarTime{2026, 11, v, 12, 30, 0, 0}, 5, 5, 5);
        expectSame(512, gnss::CalendarTime{2026, 11, 23, v, 30, 0, 0}, 5, 5, 5);
        expectSame(512, gnss::CalendarTime{2026, 11, 23, 12, v, 0, 0}, 5, 5, 5);
        expectSame(512, c, v, 5, 5);
        expectSame(512, c, 5, v, 5);
        expectSame(512, c, 5, 5, v);
    }
    for (int capacity = 1; capacity <= 64; ++capacity)
        expectSame(capacity, c, 5, 5, 5);
}

} // namespace
