#include "rinex/gps_calendar.h"

namespace rinex {

namespace {

int64_t floorDiv(int64_t a, int64_t b) {
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

} // namespace

CalendarTime calendarFromMilliseconds(int64_t milliseconds) {
    const int64_t days = floorDiv(milliseconds, 86400000LL);
    int64_t rest = milliseconds - days * 86400000LL;

    // Days since 1970 to a proleptic Gregorian date, counted in 400-year eras from 0000-03-01.
    const int64_t z = days + 719468;
    const int64_t era = floorDiv(z, 146097);
    const int64_t dayOfEra = z - era * 146097;
    const int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthIndex = (5 * dayOfYear + 2) / 153;

    CalendarTime t{};
    t.day = int(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    t.month = int(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    t.year = int(yearOfEra + era * 400 + (t.month <= 2 ? 1 : 0));
    t.hour = int(rest / 3600000);
    rest %= 3600000;
    t.minute = int(rest / 60000);
    rest %= 60000;
    t.second = int(rest / 1000);
    t.millisecond = int(rest % 1000);
    return t;
}

} // namespace rinex
