// SPDX-License-Identifier: MIT
#pragma once
// Broadcast records of the synthetic sky as the board's ephemeris, ionosphere/UTC, position
// and time frames. The orbital elements describe the model's circular orbits well enough to
// look plausible; nothing reads them back to compute positions.
#include <cstdint>

#include "encoder/board_frame.h"
#include "stream_generator/sky_model.h"

namespace bench {

constexpr int kLeapSeconds = 18;

// GPS time of the stream's start; model time t is seconds after it.
struct StreamClock {
    int week = 2300;
    double startSeconds = 345600.0; // seconds of week

    // Week and seconds of week at model time t.
    void at(double t, int& week, double& secondsOfWeek) const;
    encoding::FrameStamp stamp(double t) const;
};

// The system's ephemeris frame for the satellite at model time t (GPSEPHEM, GLOEPHEMERIS,
// GALINAVEPHEMERIS or BDSEPHEMERIS); an empty frame for systems without one (SBAS). The
// reference time steps with the system's usual update period, so repeats of an unchanged
// record carry the same reference time. A positive period replaces the usual one for every
// system (a board that logs on change with a short period writes a new record each round).
encoding::Bytes ephemerisFrame(const Satellite& satellite, const StreamClock& clock, double t,
                               double period = 0);

encoding::Bytes ionoUtcFrame(const StreamClock& clock, double t);
encoding::Bytes positionFrame(const SkyOptions& sky, const StreamClock& clock, double t);
encoding::Bytes timeFrame(const StreamClock& clock, double t);

} // namespace bench
