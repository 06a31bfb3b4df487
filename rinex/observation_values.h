// SPDX-License-Identifier: MIT
#pragma once
// What every observation record version does to a value before it is printed: the fold of
// phases beyond the 14-character field and the signal-strength digit.
#include <algorithm>
#include <cmath>

namespace rinex {

constexpr double kPhaseFold = 1000000000.0;

// Keeps the value within the 14-character form: one billion is taken off (or added) and
// flagged with "1" in the loss-of-lock position.
inline double foldObservation(double value, char& lossOfLock) {
    if (value >= kPhaseFold) {
        lossOfLock = '1';
        return value - kPhaseFold;
    }
    if (value <= -kPhaseFold) {
        lossOfLock = '1';
        return value + kPhaseFold;
    }
    return value;
}

// C/N0 in dB-Hz to the 1-9 signal-strength digit (C/N0 / 6, rounded).
inline int signalStrengthDigit(float cn0) {
    const double x = double(cn0) / 6.0;
    // The usual range without a library call; x + 0.5 is exact there, so truncating it
    // rounds half away from zero like lround.
    if (x >= 1.5 && x < 8.5) return int(x + 0.5);
    if (x >= 8.5 && x < 9223372036854775808.0) return 9;
    const long digit = std::lround(x); // below 1.5, not a number, or beyond a long
    return int(std::min(9L, std::max(1L, digit)));
}

} // namespace rinex
