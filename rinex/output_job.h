// SPDX-License-Identifier: MIT
#pragma once
// What the writer hands to its output thread: one finished epoch or one decoded navigation
// record, in binary form, to be formatted and written there.
#include <variant>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "rinex/rinex3xx.h"

struct NavigationRecord {
    int file = 0;         // index of the navigation file that takes it
    qint64 reference = 0; // reference time of an ephemeris, for the long names' span
    std::variant<decoding::GpsEphemeris, decoding::GlonassEphemeris, decoding::Bd2Ephemeris,
                 decoding::BeidouEphemeris, decoding::GalileoEphemeris, decoding::GalileoInavEphemeris,
                 decoding::GalileoFnavEphemeris, decoding::IonoUtcParameters>
        record;
};

struct OutputJob {
    enum Kind { Epoch, Navigation };
    Kind kind = Epoch;
    EpochWorkArea epoch; // entries, week and milliseconds only
    NavigationRecord navigation;
};
