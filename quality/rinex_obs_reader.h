// SPDX-License-Identifier: MIT
#pragma once
// Streaming reader of RINEX 3.02-3.05 observation files: the header, then one epoch at a
// time into a reused Epoch. A malformed record is reported and skipped; reading goes on at
// the next epoch line, so that a damaged file still gives what it holds.
#include <array>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

#include "quality/observations.h"

namespace quality {

class RinexObsReader {
public:
    explicit RinexObsReader(std::istream& in) : in_(in) {}
    // False with a message when the input is not a RINEX 3 observation file.
    bool readHeader(ObservationHeader& header, std::string& error);
    // Next epoch; false at the end of the input.
    bool next(Epoch& epoch);
    // Problems met so far (at most a few dozen kept; problemCount() counts all).
    const std::vector<std::string>& problems() const { return problems_; }
    size_t problemCount() const { return problemCount_; }
    // Lines read so far (after readHeader: the header's, END OF HEADER included).
    long lineNumber() const { return lineNumber_; }

private:
    std::istream& in_;
    ObservationHeader header_;
    // Column of each header observation type, per system index (see systemIndex).
    struct Column {
        char type, band, attribute;
    };
    std::vector<Column> columns_[8];
    std::string line_;
    bool pending_ = false; // line_ holds an epoch line read ahead
    long lineNumber_ = 0;
    double lastTime_ = 0;
    std::vector<std::string> problems_;
    size_t problemCount_ = 0;

    bool getLine();
    void problem(const std::string& what);
    bool parseSatellite(SatelliteObservations& sat);
};

// The systems the check knows, in the order of their indexes.
constexpr int kSystemCount = 7;
inline constexpr char kSystemLetters[kSystemCount + 1] = "GRECJIS";

namespace detail {
// systemIndex of every byte, made by the compiler.
constexpr std::array<int8_t, 256> systemIndexTable() {
    std::array<int8_t, 256> table{};
    for (auto& index : table)
        index = kSystemCount;
    for (int i = 0; i < kSystemCount; ++i)
        table[uint8_t(kSystemLetters[i])] = int8_t(i);
    return table;
}
inline constexpr std::array<int8_t, 256> kSystemIndex = systemIndexTable();
} // namespace detail

// 0..6 for G R E C J I S, 7 for anything else. Inline: the check asks for every line.
inline int systemIndex(char system) {
    return detail::kSystemIndex[uint8_t(system)];
}

} // namespace quality
