#include "rinex/number_format.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace rinex {

void formatFixed14(char* out, double value) {
    std::memset(out, ' ', 14);
    if (!std::isfinite(value)) return;
    const bool negative = value < 0;
    const double scaled = std::fabs(value) * 1000.0 + 0.5;
    // 10 places before the point, one of them taken by the sign when negative.
    if (!(scaled < (negative ? 1e12 : 1e13))) return;
    uint64_t n = static_cast<uint64_t>(scaled);
    char* p = out + 14;
    for (int i = 0; i < 3; ++i) {
        *--p = static_cast<char>('0' + n % 10);
        n /= 10;
    }
    *--p = '.';
    do {
        *--p = static_cast<char>('0' + n % 10);
        n /= 10;
    } while (n != 0);
    if (negative) *--p = '-';
}

int formatExponent(char* out, size_t capacity, double value, int decimals) {
    if (capacity == 0) return 0;
    const int width = decimals + 7;
    if (value == kNoValue) {
        const int n = width < static_cast<int>(capacity) ? width : static_cast<int>(capacity) - 1;
        std::memset(out, ' ', static_cast<size_t>(n));
        out[n] = 0;
        return n;
    }
    char format[32];
    std::snprintf(format, sizeof format, "%%c%%.%dfD%%c%%02d", decimals);

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
    if (!(mantissa < 1.0)) {
        const int n = width < static_cast<int>(capacity) ? width : static_cast<int>(capacity) - 1;
        std::memset(out, ' ', static_cast<size_t>(n));
        out[n] = 0;
        return n;
    }
    const int written = std::snprintf(out, capacity, format, sign, mantissa, exponent < 0 ? '-' : '+',
                                      exponent < 0 ? -exponent : exponent);
    if (written < 0) {
        out[0] = 0;
        return 0;
    }
    return written < static_cast<int>(capacity) ? written : static_cast<int>(capacity) - 1;
}

} // namespace rinex
