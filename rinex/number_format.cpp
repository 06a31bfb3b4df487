// SPDX-License-Identifier: MIT
#include "rinex/number_format.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace rinex {

namespace {

// "00" to "99": the observation writer formats millions of values, two digits per step.
constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

void putPair(char* p, uint32_t v) {
    std::memcpy(p, kDigitPairs + 2 * v, 2);
}

// ".000" to ".999": the point and the three decimals of a value in one copy.
struct Decimals {
    char text[1000][4];
};

constexpr Decimals makeDecimals() {
    Decimals d{};
    for (int i = 0; i < 1000; ++i) {
        d.text[i][0] = '.';
        d.text[i][1] = static_cast<char>('0' + i / 100);
        d.text[i][2] = static_cast<char>('0' + i / 10 % 10);
        d.text[i][3] = static_cast<char>('0' + i % 10);
    }
    return d;
}

constexpr Decimals kDecimals = makeDecimals();

} // namespace

void formatFixed14(char* out, double value) {
    formatFixed14(out, value < 0, fixed14Thousandths(value));
}

void formatFixed14(char* out, bool negative, int64_t thousandths) {
    std::memset(out, ' ', 14);
    if (thousandths < 0) return;
    const uint64_t n = static_cast<uint64_t>(thousandths);
    uint64_t whole = n / 1000;
    std::memcpy(out + 10, kDecimals.text[n - whole * 1000], 4);
    char* p = out + 10;
    // Below 10^10: at most one step in 64 bits before the rest fits 32 bits.
    while (whole > 0xFFFFFFFFu) {
        p -= 2;
        putPair(p, static_cast<uint32_t>(whole % 100));
        whole /= 100;
    }
    uint32_t w = static_cast<uint32_t>(whole);
    while (w >= 100) {
        p -= 2;
        putPair(p, w % 100);
        w /= 100;
    }
    if (w >= 10) {
        p -= 2;
        putPair(p, w);
    } else {
        *--p = static_cast<char>('0' + w);
    }
    if (negative) *--p = '-';
}

namespace {

// Writes value (finite, 0 <= value < 1) with the given count of decimals (1 to 17) as
// "D.ddd", rounded like printf: from the exact binary value, ties to the even last digit.
// The result can be "1.000..." when the value rounds up. Returns the characters written.
// Count is int, or std::integral_constant for the counts the records use: a constant count
// turns the division by 10^decimals into a multiplication.
template <typename Count>
int fixedFraction(char* out, double value, Count count) {
    const int decimals = count;
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int biased = int(bits >> 52 & 0x7FF);
    const uint64_t fraction = bits & ((uint64_t(1) << 52) - 1);
    // value = significand * 2^-shift exactly.
    const uint64_t significand = biased == 0 ? fraction : fraction | uint64_t(1) << 52;
    const int shift = biased == 0 ? 1074 : 1075 - biased;
    uint64_t scale = 1;
    for (int i = 0; i < decimals; ++i)
        scale *= 10;
    // significand * 10^decimals < 2^53 * 2^57: the product is exact in 128 bits.
    const unsigned __int128 product = static_cast<unsigned __int128>(significand) * scale;
    uint64_t q = 0;
    if (shift < 120) {
        q = static_cast<uint64_t>(product >> shift);
        const unsigned __int128 rest = product & ((static_cast<unsigned __int128>(1) << shift) - 1);
        const unsigned __int128 half = static_cast<unsigned __int128>(1) << (shift - 1);
        if (rest > half || (rest == half && (q & 1) != 0)) ++q;
    } // else the value is below 2^-10 * 10^-decimals: it rounds to 0
    const uint64_t whole = q / scale;
    uint64_t digits = q - whole * scale;
    out[0] = static_cast<char>('0' + whole);
    out[1] = '.';
    char* p = out + 2 + decimals;
    int left = decimals;
    if (decimals == 12) {
        // Two halves of six digits: two short chains of divisions instead of one long one.
        const uint32_t high = static_cast<uint32_t>(digits / 1000000);
        const uint32_t low = static_cast<uint32_t>(digits - uint64_t(high) * 1000000);
        putPair(p - 12, high / 10000);
        putPair(p - 10, high / 100 % 100);
        putPair(p - 8, high % 100);
        putPair(p - 6, low / 10000);
        putPair(p - 4, low / 100 % 100);
        putPair(p - 2, low % 100);
        return decimals + 2;
    }
    while (left >= 2) {
        p -= 2;
        putPair(p, static_cast<uint32_t>(digits % 100));
        digits /= 100;
        left -= 2;
    }
    if (left == 1) *--p = static_cast<char>('0' + digits);
    return decimals + 2;
}

int blankField(char* out, size_t capacity, int width) {
    const int n = width < static_cast<int>(capacity) ? width : static_cast<int>(capacity) - 1;
    std::memset(out, ' ', static_cast<size_t>(n));
    out[n] = 0;
    return n;
}

} // namespace

int formatExponent(char* out, size_t capacity, double value, int decimals) {
    if (capacity == 0) return 0;
    const int width = decimals + 7;
    if (value == kNoValue) return blankField(out, capacity, width);

    // The sign goes in its own character so that -0.0 keeps its minus like any other
    // negative value and the field keeps its width.
    const char sign = std::signbit(value) ? '-' : ' ';
    double mantissa = std::fabs(value);
    int exponent = 0;
    if (mantissa >= 1e-99) {
        while (mantissa >= 1.0 && exponent < 99) {
            mantissa /= 10.0;
            ++exponent;
        }
        while (mantissa < 0.1 && exponent > -99) {
            mantissa *= 10.0;
            --exponent;
        }
    }
    // Beyond two exponent digits (or not a number) the value has no form of this width: it
    // is left blank like a missing value, so that the line keeps its columns.
    if (!(mantissa < 1.0)) return blankField(out, capacity, width);

    const int absExponent = exponent < 0 ? -exponent : exponent;
    char buffer[32];
    int n = 0;
    if (decimals >= 1 && decimals <= 17) {
        // Navigation files hold millions of these: written directly, not through printf, and
        // straight into out when it has room (copying bytes just stored piece by piece stalls
        // until the stores have landed).
        char* const text = capacity > size_t(width) ? out : buffer;
        text[n++] = sign;
        if (decimals == 12)
            n += fixedFraction(text + n, mantissa, std::integral_constant<int, 12>());
        else if (decimals == 5)
            n += fixedFraction(text + n, mantissa, std::integral_constant<int, 5>());
        else
            n += fixedFraction(text + n, mantissa, decimals);
        text[n++] = 'D';
        text[n++] = exponent < 0 ? '-' : '+';
        putPair(text + n, static_cast<uint32_t>(absExponent));
        n += 2;
        if (text == out) {
            out[n] = 0;
            return n;
        }
    } else {
        char format[32];
        std::snprintf(format, sizeof format, "%%c%%.%dfD%%c%%02d", decimals < 0 ? 0 : decimals);
        const int written = std::snprintf(buffer, sizeof buffer, format, sign, mantissa,
                                          exponent < 0 ? '-' : '+', absExponent);
        if (written < 0) {
            out[0] = 0;
            return 0;
        }
        n = written < static_cast<int>(sizeof buffer) ? written : static_cast<int>(sizeof buffer) - 1;
    }
    const int kept = n < static_cast<int>(capacity) ? n : static_cast<int>(capacity) - 1;
    std::memcpy(out, buffer, static_cast<size_t>(kept));
    out[kept] = 0;
    return kept;
}

} // namespace rinex
