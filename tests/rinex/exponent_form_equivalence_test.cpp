// SPDX-License-Identifier: MIT
// The exponent form is written without printf; these tests compare it with printf's "%.Nf"
// of the same mantissa over many values, so that every navigation byte stays the same.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "rinex/number_format.h"

namespace {

// The form built with printf: mantissa scaled into [0.1, 1) by repeated steps of ten, then
// "%c%.<decimals>fD%c%02d"; blank for no value, not finite or beyond two exponent digits.
std::string printfForm(double value, int decimals, size_t capacity = 128) {
    const int width = decimals + 7;
    const std::string blank(size_t(std::min<int>(width, int(capacity) - 1)), ' ');
    if (value == rinex::kNoValue) return blank;
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
    if (!(mantissa < 1.0)) return blank;
    char format[32];
    std::snprintf(format, sizeof format, "%%c%%.%dfD%%c%%02d", decimals);
    std::vector<char> out(capacity);
    const int n = std::snprintf(out.data(), capacity, format, sign, mantissa, exponent < 0 ? '-' : '+',
                                exponent < 0 ? -exponent : exponent);
    return std::string(out.data(), size_t(std::min<int>(n, int(capacity) - 1)));
}

std::string directForm(double value, int decimals, size_t capacity = 128) {
    std::vector<char> out(capacity + 1, 'x');
    const int n = rinex::formatExponent(out.data(), capacity, value, decimals);
    EXPECT_EQ(out[size_t(n)], '\0');
    EXPECT_EQ(out[capacity], 'x'); // nothing beyond the capacity
    return std::string(out.data(), size_t(n));
}

void expectSame(double value, int decimals) {
    ASSERT_EQ(directForm(value, decimals), printfForm(value, decimals))
        << "value " << std::hexfloat << value << " decimals " << decimals;
}

const std::vector<double>& edgeValues() {
    static const std::vector<double> values = {
        0.0, -0.0, 1.0, -1.0, 0.1, 0.5, 0.25, 10.0, 100.0, 9.9999999995, 9.99999999995, 0.99999999999949996,
        0.9999999999995, 0.99999999999950006, 0.999995, 0.9999949999999, 0.9999950000001, 0.12345678901249999,
        0.1234567890125, 0.5 + std::ldexp(1.0, -13), 0.5 + 3 * std::ldexp(1.0, -13),
        0.1 + std::ldexp(1.0, -40),
        // Reference values as boards give them.
        1.5e-9, -3.4e-12, 2.1e-10, 26560000.0, 5153.7, 0.0042, 604800.0, 345600.0, 4.0, 2300.0,
        // Bounds of the two exponent digits and the blank field.
        1e-99, -1e-99, 9.99e-100, 1.0000000000000001e-99, 1e-98, 9.9999999999e98, 1e99, -1e99, 1e98,
        0.99999999999999999e99, 1e100, 1e-100, 1e-200, 1e-300, 1e300, -1e300, 1.7e308,
        std::numeric_limits<double>::max(), std::numeric_limits<double>::min(),
        std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::denorm_min(),
        std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN()};
    return values;
}

TEST(ExponentFormEquivalence, EdgeValuesAtEveryDecimalCount) {
    for (int decimals = 0; decimals <= 20; ++decimals)
        for (double v : edgeValues()) {
            expectSame(v, decimals);
            expectSame(std::nextafter(v, 0.0), decimals);
            expectSame(std::nextafter(v, 2.0 * v + 1.0), decimals);
        }
}

TEST(ExponentFormEquivalence, RoundingTiesGoToTheEvenDigit) {
    // Mantissas whose scaled value ends in exactly one half at 12 and 5 decimals: for odd k,
    // (1/8 + k/2^13) * 10^12 and (1/8 + k/2^6) * 10^5 are odd multiples of 1/2, and so is
    // (1/2 + k/2^14) * 10^12 for k = 2 mod 4.
    for (int k = 1; k < 4000; ++k) {
        expectSame(0.125 + k * std::ldexp(1.0, -13), 12);
        expectSame(0.125 + k * std::ldexp(1.0, -6), 5);
        expectSame(-(0.5 + k * std::ldexp(1.0, -14)), 12);
    }
    // Halves of the last decimal written as decimal text: the nearest doubles either side.
    for (int k = 0; k < 20000; ++k) {
        const double tie = (1e11 + k * 4999999.0 + 0.5) / 1e12;
        expectSame(tie, 12);
        expectSame(std::nextafter(tie, 0.0), 12);
        expectSame(std::nextafter(tie, 1.0), 12);
    }
}

TEST(ExponentFormEquivalence, RandomBitPatterns) {
    std::mt19937_64 random(20261123);
    for (int i = 0; i < 400000; ++i) {
        uint64_t bits = random();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        expectSame(v, 12);
        if (i % 4 == 0) expectSame(v, 5);
    }
}

TEST(ExponentFormEquivalence, RandomValuesOfNavigationMagnitudes) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    std::uniform_int_distribution<int> power(-20, 12);
    for (int i = 0; i < 400000; ++i) {
        const double v = unit(random) * std::pow(10.0, power(random));
        expectSame(v, 12);
        if (i % 4 == 0) expectSame(v, 5);
    }
    // Whole numbers as records hold them (weeks, times of week, flags).
    for (int v = -1000; v <= 700000; v += 7)
        expectSame(double(v), 12);
}

TEST(ExponentFormEquivalence, CapacityCutsLikePrintf) {
    for (size_t capacity = 1; capacity <= 24; ++capacity)
        for (double v : {0.0, -1.5e-9, 123.456, 1e300, 9.9999999999995e-1})
            for (int decimals : {5, 12})
                EXPECT_EQ(directForm(v, decimals, capacity), printfForm(v, decimals, capacity))
                    << v << " capacity " << capacity;
}

} // namespace
