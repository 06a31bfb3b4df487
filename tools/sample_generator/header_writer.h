// SPDX-License-Identifier: MIT
#pragma once
// The data file's header: the 512-byte legacy record and the "#key=value" text header.
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "encoder/board_frame.h"
#include "rinex_input/rinex_obs_reader.h"
#include "sample_generator/position_degrees.h"
#include "sample_generator/options.h"

namespace sample_generator {

// The converter reads the key header from a block of this size; the header is padded to it.
constexpr size_t kKeyHeaderBlock = 1024;
constexpr size_t kLegacyHeaderSize = 512;
constexpr char kKeyHeaderMagic[] = "#file=GNSS DATA FILE\r\n";
constexpr char kLegacyHeaderMagic[] = "QVT-GPS COLLECTED DATA\nS/N:";

struct HeaderValues {
    // Key header texts by key without '#'; an empty text is not written.
    std::map<std::string, std::string> texts;
    // The numbers behind the texts, for the legacy record, the position fix and PPK sentences.
    std::optional<PositionDegrees> position; // the antenna, as the receiver reports it
    std::optional<std::array<double, 3>> xyz; // the marker (antenna height below), Earth-centred
    double antennaHeight = 0;                 // metres
};

// Values from the RINEX header (receiver, marker, approximate position, antenna and its
// height), then the overrides (key without '#' -> text). A position given in the overrides
// replaces the RINEX one only when all three of its numbers read.
HeaderValues headerValuesOf(const rinex_input::ObsHeader& header,
                            const std::map<std::string, std::string>& overrides);

encoding::Bytes keyHeader(const HeaderValues& values, std::vector<std::string>& warnings);
// first and last: the times of the first and last epoch written (recording date and times).
encoding::Bytes legacyHeader(const HeaderValues& values, const rinex_input::ObsTime& first,
                             const rinex_input::ObsTime& last, std::vector<std::string>& warnings);
// "both": the legacy record followed by the key header.
encoding::Bytes fileHeader(HeaderKind kind, const HeaderValues& values, const rinex_input::ObsTime& first,
                           const rinex_input::ObsTime& last, std::vector<std::string>& warnings);

} // namespace sample_generator
