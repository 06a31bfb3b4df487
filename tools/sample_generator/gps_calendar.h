#pragma once
// Calendar of a GPS week and milliseconds of week, counted without leap seconds.
#include <cstdint>
#include <string>

namespace sample_generator {

struct Calendar {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
};

Calendar calendarOf(int week, int64_t millisecondsOfWeek);
// "2018-07-19 00:05:30"
std::string calendarText(const Calendar& c);

} // namespace sample_generator
