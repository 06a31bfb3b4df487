// SPDX-License-Identifier: MIT
#include "quality/text_fields.h"

#include <cmath>
#include <cstdlib>

namespace quality {

std::string field(const std::string& line, size_t pos, size_t len) {
    if (pos >= line.size()) return std::string();
    return line.substr(pos, len);
}

std::string trimmed(const std::string& s) {
    const size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return std::string();
    return s.substr(b, s.find_last_not_of(" \t") - b + 1);
}

bool parseNumber(const std::string& text, double& value) {
    std::string t = trimmed(text);
    if (t.empty() || t.size() > 40) return false;
    for (char& c : t)
        if (c == 'D' || c == 'd') c = 'E';
    char* end = nullptr;
    const double v = std::strtod(t.c_str(), &end);
    if (end == t.c_str() || *end != '\0' || !std::isfinite(v)) return false;
    value = v;
    return true;
}

double numberOr(const std::string& text, double fallback) {
    double v = 0;
    return parseNumber(text, v) ? v : fallback;
}

FieldKind parseFixed(const char* p, size_t len, double& value) {
    size_t i = 0;
    while (i < len && p[i] == ' ')
        ++i;
    if (i == len) return FieldKind::Blank;
    bool negative = false;
    if (p[i] == '-' || p[i] == '+') {
        negative = p[i] == '-';
        ++i;
    }
    double whole = 0, fraction = 0, scale = 1;
    bool digits = false, point = false;
    for (; i < len && p[i] != ' '; ++i) {
        const char c = p[i];
        if (c >= '0' && c <= '9') {
            digits = true;
            if (point) {
                scale *= 0.1;
                fraction += (c - '0') * scale;
            } else {
                whole = whole * 10 + (c - '0');
            }
        } else if (c == '.' && !point) {
            point = true;
        } else {
            return FieldKind::Bad;
        }
    }
    for (; i < len; ++i)
        if (p[i] != ' ') return FieldKind::Bad;
    if (!digits) return FieldKind::Bad;
    value = negative ? -(whole + fraction) : whole + fraction;
    return FieldKind::Number;
}

namespace {

// The decimals' part of parseFixed for ".000" to ".999", computed by its own steps: the
// scale is multiplied by 0.1 per digit.
struct ThreeDecimals {
    double fraction[1000];
    ThreeDecimals() {
        for (int i = 0; i < 1000; ++i) {
            const int digits[3] = {i / 100, i / 10 % 10, i % 10};
            double f = 0, scale = 1;
            for (const int d : digits) {
                scale *= 0.1;
                f += d * scale;
            }
            fraction[i] = f;
        }
    }
};

const ThreeDecimals kThreeDecimals;

} // namespace

extern const double* const kThreeDecimalFractions = kThreeDecimals.fraction;

} // namespace quality
