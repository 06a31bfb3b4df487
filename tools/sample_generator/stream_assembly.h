// SPDX-License-Identifier: MIT
#pragma once
// The whole data file: header, then the frames and text lines in stream order.
#include <vector>

#include "encoder/board_frame.h"
#include "rinex_input/rinex_nav_reader.h"
#include "rinex_input/rinex_obs_reader.h"
#include "sample_generator/options.h"
#include "sample_generator/summary.h"

namespace sample_generator {

struct Sample {
    encoding::Bytes bytes;
    Summary summary;
};

// Builds the file from the window's epochs (nav may be null). Order: file header; IONUTC
// stamped at the first epoch; the ephemerides (all here, or merged by transmission time);
// then per epoch the PSRPOS and TIME logs (first epoch, then every fixEvery epochs), the
// range log and the PPK sentences that follow it. Throws UsageError when a PPK occupation
// does not fit in the window.
Sample assembleSample(const Options& options, const rinex_input::ObsHeader& header,
                      const std::vector<rinex_input::ObsEpoch>& epochs, const rinex_input::NavFile* nav);

// Reads the files the options name and assembles the sample.
Sample generateSample(const Options& options);

} // namespace sample_generator
