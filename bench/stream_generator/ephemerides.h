// SPDX-License-Identifier: MIT
#pragma once
// Broadcast records of the synthetic sky as the board's ephemeris, ionosphere/UTC, position
// and time frames. They describe the model: Keplerian elements of its circular orbits (exact
// for GPS, Galileo and BeiDou), GLONASS state vectors whose lunisolar term cancels the
// Earth's flattening that the receiver integrates, the satellite clocks and group delays in
// the observations, and the ionosphere coefficients of the delay the observations carry. A
// receiver's point positioning from them finds the model's antenna.
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
