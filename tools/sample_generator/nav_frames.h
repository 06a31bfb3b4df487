// SPDX-License-Identifier: MIT
#pragma once
// Broadcast navigation records as the board's ephemeris frames.
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "decoding/iono_utc.h"
#include "encoder/board_frame.h"
#include "rinex_input/rinex_nav_reader.h"

namespace sample_generator {

struct StampedFrame {
    encoding::FrameStamp stamp;
    uint16_t messageId = 0;
    encoding::Bytes frame;
};

// GPSEPHEM, GLOEPHEMERIS, GALINAVEPHEMERIS / GALFNAVEPHEMERIS and BDSEPHEMERIS frames stamped
// with their transmission time, in order of that time (file order among equal stamps). At
// most perSatellite records per satellite and Galileo message kind (0: all). Records that
// cannot be encoded are counted in skipped by reason.
std::vector<StampedFrame> ephemerisFrames(const rinex_input::NavFile& nav, int leapSeconds,
                                          size_t perSatellite, std::map<std::string, size_t>& skipped);

// The header's GPS ionosphere, GPS-UTC and leap-second values; nothing when it has none.
std::optional<decoding::IonoUtcParameters> ionoUtcOf(const rinex_input::NavHeader& header);

} // namespace sample_generator
