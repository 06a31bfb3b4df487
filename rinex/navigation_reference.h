// SPDX-License-Identifier: MIT
#pragma once
// Reference time of each navigation record, in milliseconds since 1970 counted in GPS time,
// so that a time window can select the records. kUnknownReference when the record's week or
// reference time cannot be a real one.
#include <QtGlobal>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"

namespace rinex {

constexpr qint64 kUnknownReference = -0x7fffffffffffffffLL;

qint64 referenceTime(const decoding::GpsEphemeris& eph);
qint64 referenceTime(const decoding::GlonassEphemeris& eph);
qint64 referenceTime(const decoding::Bd2Ephemeris& eph);
qint64 referenceTime(const decoding::BeidouEphemeris& eph);
qint64 referenceTime(const decoding::GalileoEphemeris& eph);
qint64 referenceTime(const decoding::GalileoInavEphemeris& eph);
qint64 referenceTime(const decoding::GalileoFnavEphemeris& eph);

} // namespace rinex
