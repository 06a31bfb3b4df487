// SPDX-License-Identifier: MIT
#include "quality/text_fields.h"

#include <algorithm>
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

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

constexpr double kExactPowers10[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The common forms ([sign] digits [. digits] [E|D [sign] digits], up to 15 significant
// digits, a power of ten within 10^+-22) need no strtod: the digits make an exact integer,
// the power of ten is exact, and one multiplication or division by it rounds correctly, so
// the result is strtod's, bit for bit. False for any other form (strtod decides those).
bool parseSimple(const char* p, const char* end, double& value) {
    bool negative = false;
    if (p < end && (*p == '-' || *p == '+')) negative = *p++ == '-';
    uint64_t mantissa = 0;
    int significant = 0, scale = 0, digits = 0;
    for (; p < end && unsigned(*p - '0') < 10; ++p, ++digits)
        if (mantissa != 0 || *p != '0') {
            mantissa = mantissa * 10 + unsigned(*p - '0');
            ++significant;
        }
    if (p < end && *p == '.')
        for (++p; p < end && unsigned(*p - '0') < 10; ++p, ++digits) {
            --scale;
            if (mantissa != 0 || *p != '0') {
                mantissa = mantissa * 10 + unsigned(*p - '0');
                ++significant;
            }
        }
    if (digits == 0 || significant > 15) return false;
    if (p < end && (*p == 'E' || *p == 'e' || *p == 'D' || *p == 'd')) {
        ++p;
        bool negativeExponent = false;
        if (p < end && (*p == '-' || *p == '+')) negativeExponent = *p++ == '-';
        int exponent = 0, exponentDigits = 0;
        for (; p < end && unsigned(*p - '0') < 10; ++p, ++exponentDigits)
            if (exponentDigits < 5) exponent = exponent * 10 + (*p - '0');
        if (exponentDigits == 0 || exponentDigits > 4) return false;
        scale += negativeExponent ? -exponent : exponent;
    }
    if (p != end) return false;
    double x = double(mantissa); // exact: below 10^15
    if (mantissa != 0) {
        if (scale > 22 || scale < -22) return false;
        x = scale >= 0 ? x * kExactPowers10[scale] : x / kExactPowers10[-scale];
    }
    value = negative ? -x : x;
    return true;
}

} // namespace

bool parseNumber(const char* text, size_t length, double& value) {
    const char* begin = text;
    const char* end = text + length;
    while (begin < end && isBlank(*begin))
        ++begin;
    while (end > begin && isBlank(end[-1]))
        --end;
    const size_t size = size_t(end - begin);
    if (size == 0 || size > 40) return false;
    if (parseSimple(begin, end, value)) return true;
    char t[41];
    for (size_t i = 0; i < size; ++i)
        t[i] = begin[i] == 'D' || begin[i] == 'd' ? 'E' : begin[i];
    t[size] = '\0';
    char* stop = nullptr;
    const double v = std::strtod(t, &stop);
    if (stop == t || *stop != '\0' || !std::isfinite(v)) return false;
    value = v;
    return true;
}

bool parseNumber(const std::string& text, double& value) {
    return parseNumber(text.data(), text.size(), value);
}

bool numberAt(const std::string& line, size_t pos, size_t len, double& value) {
    if (pos >= line.size()) return false;
    return parseNumber(line.data() + pos, std::min(len, line.size() - pos), value);
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
