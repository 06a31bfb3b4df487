// SPDX-License-Identifier: MIT
#pragma once
// The observation epochs of the window that the options cut out of a RINEX file.
#include <cstddef>
#include <string>
#include <vector>

#include "rinex_input/rinex_obs_reader.h"

namespace sample_generator {

struct ObservationWindow {
    rinex_input::ObsHeader header;
    std::vector<rinex_input::ObsEpoch> epochs; // flags 0 and 1 only
    size_t otherRecords = 0;                   // event and cycle-slip records passed over
};

// start: empty, "YYYY-MM-DDTHH:MM:SS", "YYYY-MM-DD HH:MM:SS" or "HH:MM:SS" (on the day of the
// file's first epoch), seconds may have decimals. Reads no further than the window's end.
// Throws UsageError for a malformed start, std::runtime_error for an unreadable file or an
// empty window.
ObservationWindow readWindow(const std::string& path, const std::string& start, size_t maxEpochs);

} // namespace sample_generator
