// SPDX-License-Identifier: MIT
#include "rinex/rinex2_header_lines.h"

#include <QDateTime>
#include <cstdio>

namespace rinex {

const char* const kRinex2NavigationComment = "GALILEO/BEIDOU NAV DATA: NO RINEX 2.11 FILE, NOT WRITTEN";
const char* const kRinex2NavigationMessage =
    "RINEX 2.11 has no Galileo or BeiDou navigation file: their navigation records are not written";

int formatRinex2RunByLine(char* line, size_t capacity, const QByteArray& program, const QByteArray& runBy) {
    static const char* const kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                          "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDate date = now.date();
    const QTime time = now.time();
    char stamp[24];
    std::snprintf(stamp, sizeof stamp, "%02d-%s-%02d %02d:%02d", date.day(), kMonths[(date.month() + 11) % 12],
                  date.year() % 100, time.hour(), time.minute());
    return std::snprintf(line, capacity, "%-20s%-20s%-20s%-20s\r\n", program.left(20).constData(),
                         runBy.left(20).constData(), stamp, "PGM / RUN BY / DATE");
}

} // namespace rinex
