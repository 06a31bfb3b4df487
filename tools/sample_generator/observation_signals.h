// SPDX-License-Identifier: MIT
#pragma once
// RINEX observations of one epoch as the board's range-log signals.
#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "encoder/range_encoder.h"
#include "rinex_input/rinex_obs_reader.h"

namespace sample_generator {

struct SignalSkips {
    std::map<std::string, size_t> noTableRow; // "G 1W" -> signals with no row in the signal table
    std::map<std::string, size_t> other;      // reason -> signals
};

class SignalBuilder {
public:
    explicit SignalBuilder(const rinex_input::ObsHeader& header) : header_(header) {}

    // One RangeSignal per satellite signal with any of C, L, D, S, in the header's type order.
    // Lock times run on from the earlier epochs given to the same builder.
    std::vector<encoding::RangeSignal> signalsOf(const rinex_input::ObsEpoch& epoch, SignalSkips& skips);

private:
    using Key = std::tuple<char, int, std::string>;
    struct Lock {
        double start = 0;    // s, continuous GPS time
        double lastSeen = 0; // s
    };
    const rinex_input::ObsHeader& header_;
    std::map<Key, Lock> locks_;
    double previousEpoch_ = -1;
};

} // namespace sample_generator
