// SPDX-License-Identifier: MIT
#include "rinex/epoch_line.h"

#include <cstdio>
#include <cstring>

namespace rinex {

namespace {

void putTwoDigits(char* p, int v) {
    p[0] = char('0' + v / 10);
    p[1] = char('0' + v % 10);
}

} // namespace

int formatEpochLine(char* line, int capacity, const gnss::CalendarTime& c, int second, int millisecond,
                    int satellites) {
    const auto twoDigits = [](int v) { return v >= 0 && v <= 99; };
    if (!(c.year >= 0 && c.year <= 9999 && twoDigits(c.month) && twoDigits(c.day) && twoDigits(c.hour) &&
          twoDigits(c.minute) && twoDigits(second) && millisecond >= 0 && millisecond <= 999 &&
          satellites >= 0 && satellites <= 999 && capacity > 58))
        return std::snprintf(line, size_t(capacity),
                             "> %04d %02d %02d %02d %02d %2d.%03d0000  0%3d       0.000000000000\r\n", c.year,
                             c.month, c.day, c.hour, c.minute, second, millisecond, satellites);
    static const char kTemplate[] = "> yyyy mm dd hh mm ss.sss0000  0sss       0.000000000000\r\n";
    std::memcpy(line, kTemplate, sizeof kTemplate - 1);
    putTwoDigits(line + 2, c.year / 100);
    putTwoDigits(line + 4, c.year % 100);
    putTwoDigits(line + 7, c.month);
    putTwoDigits(line + 10, c.day);
    putTwoDigits(line + 13, c.hour);
    putTwoDigits(line + 16, c.minute);
    putTwoDigits(line + 19, second);
    if (second < 10) line[19] = ' ';
    line[22] = char('0' + millisecond / 100);
    putTwoDigits(line + 23, millisecond % 100);
    line[32] = satellites >= 100 ? char('0' + satellites / 100) : ' ';
    line[33] = satellites >= 10 ? char('0' + satellites / 10 % 10) : ' ';
    line[34] = char('0' + satellites % 10);
    line[sizeof kTemplate - 1] = '\0';
    return int(sizeof kTemplate - 1);
}

} // namespace rinex
