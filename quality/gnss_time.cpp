#include "quality/gnss_time.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "quality/gnss_constants.h"

namespace quality {

namespace {

int64_t daysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = unsigned(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + int64_t(doe) - 719468;
}

void civilFromDays(int64_t z, int& y, int& m, int& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = unsigned(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = int(doy - (153 * mp + 2) / 5 + 1);
    m = int(mp < 10 ? mp + 3 : mp - 9);
    y = int(int64_t(yoe) + era * 400 + (m <= 2));
}

const int64_t kGpsEpochDays = daysFromCivil(1980, 1, 6);

} // namespace

double gpsSecondsOf(int year, int month, int day, int hour, int minute, double second) {
    const int64_t days = daysFromCivil(year, unsigned(month), unsigned(day)) - kGpsEpochDays;
    return double(days) * 86400.0 + hour * 3600.0 + minute * 60.0 + second;
}

std::string isoTime(double gpsSeconds) {
    const double rounded = std::round(gpsSeconds * 1000.0) / 1000.0;
    const int64_t days = int64_t(std::floor(rounded / 86400.0));
    double rest = rounded - double(days) * 86400.0;
    int y, m, d;
    civilFromDays(days + kGpsEpochDays, y, m, d);
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
    return gpsSeconds - std::floor(gpsSeconds / kSecondsPerWeek) * kSecondsPerWeek;
}

int weekOf(double gpsSeconds) {
    return int(std::floor(gpsSeconds / kSecondsPerWeek));
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
