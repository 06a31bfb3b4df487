// SPDX-License-Identifier: MIT
#pragma once
// Fixed-column fields of RINEX lines.
#include <cstddef>
#include <cstdint>
#include <string>

namespace quality {

// Columns [pos, pos + len) of a line; missing columns read as nothing.
std::string field(const std::string& line, size_t pos, size_t len);
std::string trimmed(const std::string& s);
// A number, 'D' exponents accepted; false for blank or garbage text.
bool parseNumber(const std::string& text, double& value);
bool parseNumber(const char* text, size_t length, double& value);
// parseNumber(field(line, pos, len), value) without copying the field.
bool numberAt(const std::string& line, size_t pos, size_t len, double& value);
double numberOr(const std::string& text, double fallback);

enum class FieldKind { Blank, Number, Bad };
// Allocation-free parse of a fixed-width numeric field (e.g. F14.3).
FieldKind parseFixed(const char* p, size_t len, double& value);
// What parseFixed reads from the three-decimal text of thousandths/1000 (with a "-" when
// negative), computed without the text: the check fed by a conversion gets the same
// numbers as the check that reads the written file.
// Inline: a conversion's check calls it for every value.
extern const double* const kThreeDecimalFractions; // ".000" to ".999" as parseFixed sums them
inline double fixedThreeDecimals(uint64_t thousandths, bool negative) {
    // Whole digits accumulate exactly in parseFixed; the sum is the same one. A field holds
    // less than 2^63 thousandths: the signed conversion is exact and cheaper.
    const double whole = double(int64_t(thousandths / 1000));
    const double value = whole + kThreeDecimalFractions[thousandths % 1000];
    return negative ? -value : value;
}

} // namespace quality
