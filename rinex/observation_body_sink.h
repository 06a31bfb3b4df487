// SPDX-License-Identifier: MIT
#pragma once
// Where the writer also hands the observation file's body as it writes it (after the
// reserved header, before the header is written in place at close), so that it can be
// compressed on the way instead of read back. Plain C++: the receiving side needs no Qt.
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace rinex {

// Observation types per system letter, as SYS / # / OBS TYPES counts them.
using ObservationTypeCounts = std::vector<std::pair<char, int>>;

class ObservationBodySink {
public:
    virtual ~ObservationBodySink() = default;
    // Before the first epoch record's bytes (only event records may come before): the RINEX
    // major version, the types the header would list if no new signal turned up from here
    // on, and the observation file (as named at open). Not called for a file without epochs.
    virtual void begin(int majorVersion, const ObservationTypeCounts& types, const std::string& observationPath) = 0;
    // Body bytes in file order, from the decoding thread or the output thread (never both at
    // once).
    virtual void body(const char* data, size_t size) = 0;
    // At close, after the last body byte: the types the header lists.
    virtual void end(const ObservationTypeCounts& types) = 0;
};

} // namespace rinex
