// SPDX-License-Identifier: MIT
#include "rinex/rinex2_file_name.h"

#include <QDateTime>
#include <cstdio>

#include "gnss/gps_calendar.h"

namespace rinex {

char rinex2Session(qint64 first, qint64 span) {
    const gnss::CalendarTime t = gnss::calendarFromMilliseconds(first);
    const bool midnight = t.hour == 0 && t.minute == 0 && t.second == 0 && t.millisecond == 0;
    if (midnight && span >= gnss::kMillisecondsPerDay) return '0';
    return char('a' + t.hour);
}

QString rinex2ShortName(const LongNameFacts& facts, char type) {
    qint64 start = facts.firstEpoch != 0 ? facts.firstEpoch : facts.navigationFirst;
    qint64 span = 0;
    if (facts.firstEpoch != 0) span = facts.lastEpoch - facts.firstEpoch + facts.interval;
    if (start == 0) start = QDateTime::currentMSecsSinceEpoch();
    const gnss::CalendarTime t = gnss::calendarFromMilliseconds(start);
    const int day = t.year >= 0 && t.year <= 9999 ? gnss::dayOfYear({t.year, t.month, t.day}) : 0;
    char text[32];
    std::snprintf(text, sizeof text, "%s%03d%c.%02d%c", stationField(facts.markerName).toLower().constData(), day,
                  rinex2Session(start, span), ((t.year % 100) + 100) % 100, type);
    return QString::fromLatin1(text);
}

} // namespace rinex
