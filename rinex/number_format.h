// SPDX-License-Identifier: MIT
#pragma once
// Fixed-width number forms of RINEX records, written without printf on the hot path.
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace rinex {

// Observation value: 14 characters, 3 decimals, from |v| * 1000 + 0.5 truncated, right
// aligned with "-" before the first digit. A value that does not fit 14 characters (or is
// not finite) is written as 14 blanks: a missing value is better than a wrong one.
// Writes exactly 14 characters and no terminating 0.
void formatFixed14(char* out, double value);
// The magnitude of a value in thousandths as that form rounds it, or -1 when the form is
// blank: what a reader of the field gets, without the text.
inline int64_t fixed14Thousandths(double value) {
    const bool negative = value < 0;
    const double scaled = std::fabs(value) * 1000.0 + 0.5;
    // 10 places before the point, one of them taken by the sign when negative. The test
    // is false for infinities and NaN too. The limit by index: a branch on the sign would
    // follow the data.
    static constexpr double kLimit[2] = {1e13, 1e12};
    if (!(scaled < kLimit[negative])) return -1;
    // Below 10^13 the signed conversion is exact and cheaper than the unsigned one.
    return static_cast<int64_t>(scaled);
}
// The form from fixed14Thousandths of a value and its sign.
void formatFixed14(char* out, bool negative, int64_t thousandths);

// Navigation exponent form "%c%.<decimals>fD%c%02d": sign character ("-" or blank),
// mantissa 0.ddd with 0.1 <= |m| < 1, "D", exponent sign, two exponent digits. Width 19 with
// 12 decimals for records, 12 with 5 for ionosphere values. The value 1e300 (no value) is
// written as width blanks, and so is a value that is not finite or whose magnitude needs
// more than two exponent digits (1e99 and above). A negative zero keeps its minus sign. Returns the
// characters written (excluding the terminating 0).
int formatExponent(char* out, size_t capacity, double value, int decimals);

constexpr double kNoValue = 1e300;

} // namespace rinex
