// SPDX-License-Identifier: MIT
#pragma once
// Fixed-width number forms of RINEX records, written without printf on the hot path.
#include <cstddef>

namespace rinex {

// Observation value: 14 characters, 3 decimals, from |v| * 1000 + 0.5 truncated, right
// aligned with "-" before the first digit. A value that does not fit 14 characters (or is
// not finite) is written as 14 blanks: a missing value is better than a wrong one.
// Writes exactly 14 characters and no terminating 0.
void formatFixed14(char* out, double value);

// Navigation exponent form "%c%.<decimals>fD%c%02d": sign character ("-" or blank),
// mantissa 0.ddd with 0.1 <= |m| < 1, "D", exponent sign, two exponent digits. Width 19 with
// 12 decimals for records, 12 with 5 for ionosphere values. The value 1e300 (no value) is
// written as width blanks, and so is a value that is not finite or whose magnitude needs
// more than two exponent digits (1e99 and above). A negative zero keeps its minus sign. Returns the
// characters written (excluding the terminating 0).
int formatExponent(char* out, size_t capacity, double value, int decimals);

constexpr double kNoValue = 1e300;

} // namespace rinex
