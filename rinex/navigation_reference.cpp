// SPDX-License-Identifier: MIT
#include "rinex/navigation_reference.h"

#include <cmath>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace rinex {

namespace {

qint64 fromWeekSeconds(qint64 week, double seconds) {
    if (week < 0 || week > 99999 || !(std::fabs(seconds) <= 1e9)) return kUnknownReference;
    return gnss::gpsMilliseconds(week, qint64(std::llround(seconds * 1000.0)));
}

// The Galileo logs carry no week: the frame's, moved by one when the reference time lies
// more than half a week away from the frame time.
qint64 galileoTime(const decoding::LogHeader& header, double toe) {
    qint64 week = header.week;
    const double difference = toe - header.milliseconds / 1000.0;
    if (difference > 302400.0)
        --week;
    else if (difference < -302400.0)
        ++week;
    return fromWeekSeconds(week, toe);
}

} // namespace

qint64 referenceTime(const decoding::GpsEphemeris& eph) {
    return fromWeekSeconds(eph.week, eph.toe);
}

qint64 referenceTime(const decoding::GlonassEphemeris& eph) {
    return fromWeekSeconds(eph.week, eph.referenceTime / 1000.0);
}

qint64 referenceTime(const decoding::Bd2Ephemeris& eph) {
    return fromWeekSeconds(qint64(eph.week) + gnss::kBeidouWeekOffset, eph.toe);
}

qint64 referenceTime(const decoding::BeidouEphemeris& eph) {
    return fromWeekSeconds(qint64(eph.week) + gnss::kBeidouWeekOffset, eph.toe);
}

qint64 referenceTime(const decoding::GalileoEphemeris& eph) {
    return galileoTime(eph.header, eph.toe);
}

qint64 referenceTime(const decoding::GalileoInavEphemeris& eph) {
    return galileoTime(eph.header, eph.toe);
}

qint64 referenceTime(const decoding::GalileoFnavEphemeris& eph) {
    return galileoTime(eph.header, eph.toe);
}

} // namespace rinex
