// SPDX-License-Identifier: MIT
// Fixed-width number forms: the exponent form of navigation records and headers and the
// 14-character observation field.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "rinex/number_format.h"

namespace {

std::string exponent(double value, int decimals = 12) {
    char out[128];
    std::memset(out, 'x', sizeof out);
    const int n = rinex::formatExponent(out, sizeof out, value, decimals);
    EXPECT_EQ(out[n], '\0');
    return std::string(out, static_cast<size_t>(n));
}

std::string fixed14(double value) {
    char out[20];
    std::memset(out, '#', sizeof out);
    rinex::formatFixed14(out, value);
    // Exactly 14 characters: nothing written past them.
    for (size_t i = 14; i < sizeof out; ++i)
        EXPECT_EQ(out[i], '#') << "byte " << i;
    return std::string(out, 14);
}

TEST(FormatExponent, ZeroHasZeroMantissaAndExponentPlus00) {
    EXPECT_EQ(exponent(0.0), " 0.000000000000D+00");
}

TEST(FormatExponent, SmallValueHasNegativeExponent) {
    EXPECT_EQ(exponent(1.5e-9), " 0.150000000000D-08");
    EXPECT_EQ(exponent(-1.5e-9), "-0.150000000000D-08");
}

TEST(FormatExponent, MantissaLiesBetweenATenthAndOne) {
    EXPECT_EQ(exponent(1.0), " 0.100000000000D+01");
    EXPECT_EQ(exponent(0.1), " 0.100000000000D+00");
    EXPECT_EQ(exponent(52.0), " 0.520000000000D+02");
    EXPECT_EQ(exponent(-104.375), "-0.104375000000D+03");
    EXPECT_EQ(exponent(597600.0), " 0.597600000000D+06");
}

TEST(FormatExponent, MantissaIsRoundedToTheDecimals) {
    // 0.5153785652161 -> 12 decimals, 13th digit 1 rounds down.
    EXPECT_EQ(exponent(5153.785652161), " 0.515378565216D+04");
    // 0.1136868377216 -> 13th digit 6 rounds up.
    EXPECT_EQ(exponent(-1.136868377216e-11), "-0.113686837722D-10");
}

TEST(FormatExponent, RecordFieldIsNineteenWide) {
    for (double v : {0.0, 1.0, -1.0, 3.5e-300, 1.23456789e17, -9.87e-12, 604800.0})
        EXPECT_EQ(exponent(v).size(), 19u) << v;
}

TEST(FormatExponent, IonosphereFieldIsTwelveWideWithFiveDecimals) {
    EXPECT_EQ(exponent(4.6566e-09, 5), " 0.46566D-08");
    EXPECT_EQ(exponent(77824.0, 5), " 0.77824D+05");
    EXPECT_EQ(exponent(-65536.0, 5), "-0.65536D+05");
    EXPECT_EQ(exponent(0.0, 5), " 0.00000D+00");
}

TEST(FormatExponent, NoValueIsBlankOfTheFieldWidth) {
    EXPECT_EQ(exponent(rinex::kNoValue), std::string(19, ' '));
    EXPECT_EQ(exponent(rinex::kNoValue, 5), std::string(12, ' '));
}

TEST(FormatExponent, BelowTenToTheMinus99KeepsItsOwnValueAndPlus00) {
    EXPECT_EQ(exponent(1e-100), " 0.000000000000D+00");
    EXPECT_EQ(exponent(-1e-200), "-0.000000000000D+00");
}

TEST(FormatExponent, NegativeZeroKeepsItsSign) {
    EXPECT_EQ(exponent(-0.0), "-0.000000000000D+00");
}

TEST(FormatExponent, ExponentStopsAt99) {
    const std::string largest = exponent(9.5e98);
    EXPECT_EQ(largest, " 0.950000000000D+99");
    // The smallest value with its own exponent.
    const std::string tiny = exponent(1e-99);
    EXPECT_EQ(tiny.substr(tiny.size() - 4), "D-98");
}

TEST(FormatExponent, BeyondTwoExponentDigitsIsBlankOfTheFieldWidth) {
    // 1e120 could only be divided down to 1e21 before the exponent reaches 99: no form of
    // the field's width exists, and a wider one would push the rest of the line out of its
    // columns (and out of the line buffer).
    EXPECT_EQ(exponent(1e120), std::string(19, ' '));
    EXPECT_EQ(exponent(-1e99), std::string(19, ' '));
    EXPECT_EQ(exponent(1.7e308, 5), std::string(12, ' '));
}

TEST(FormatExponent, NotFiniteIsBlankOfTheFieldWidth) {
    EXPECT_EQ(exponent(std::numeric_limits<double>::infinity()), std::string(19, ' '));
    EXPECT_EQ(exponent(-std::numeric_limits<double>::infinity()), std::string(19, ' '));
    EXPECT_EQ(exponent(std::numeric_limits<double>::quiet_NaN(), 5), std::string(12, ' '));
}

TEST(FormatExponent, BoundedByTheCapacity) {
    char out[10];
    std::memset(out, 'x', sizeof out);
    const int n = rinex::formatExponent(out, sizeof out, 1.5e-9, 12);
    EXPECT_EQ(n, 9);
    EXPECT_EQ(std::string(out), " 0.150000");
}

TEST(FormatFixed14, RightAlignedWithThreeDecimals) {
    EXPECT_EQ(fixed14(0.0), "         0.000");
    EXPECT_EQ(fixed14(1.5), "         1.500");
    EXPECT_EQ(fixed14(23619095.45), "  23619095.450");
}

TEST(FormatFixed14, NegativeValueHasMinusBeforeFirstDigit) {
    EXPECT_EQ(fixed14(-1.5), "        -1.500");
    EXPECT_EQ(fixed14(-0.25), "        -0.250");
    EXPECT_EQ(fixed14(-123456789.125), "-123456789.125");
}

TEST(FormatFixed14, HalfAThousandthRoundsAwayFromZero) {
    // 1.0625 is exact in binary: 1062.5 + 0.5 truncates to 1063 (a correctly rounding
    // printf would give 1.062).
    EXPECT_EQ(fixed14(1.0625), "         1.063");
    EXPECT_EQ(fixed14(-1.0625), "        -1.063");
    EXPECT_EQ(fixed14(2.0004), "         2.000");
    EXPECT_EQ(fixed14(0.0004), "         0.000");
    // The sign follows the value, not the rounded digits.
    EXPECT_EQ(fixed14(-0.0004), "        -0.000");
}

TEST(FormatFixed14, LargestValuesThatFit) {
    EXPECT_EQ(fixed14(9999999999.5), "9999999999.500");
    EXPECT_EQ(fixed14(-999999999.5), "-999999999.500");
}

TEST(FormatFixed14, TooLargeIsBlank) {
    EXPECT_EQ(fixed14(1e10), std::string(14, ' '));
    EXPECT_EQ(fixed14(-1e9), std::string(14, ' '));
    EXPECT_EQ(fixed14(1e300), std::string(14, ' '));
    EXPECT_EQ(fixed14(-1e300), std::string(14, ' '));
}

TEST(FormatFixed14, NotFiniteIsBlank) {
    EXPECT_EQ(fixed14(std::numeric_limits<double>::quiet_NaN()), std::string(14, ' '));
    EXPECT_EQ(fixed14(std::numeric_limits<double>::infinity()), std::string(14, ' '));
    EXPECT_EQ(fixed14(-std::numeric_limits<double>::infinity()), std::string(14, ' '));
}

TEST(FormatFixed14, AgreesWithPrintfWhereNoTieIsInvolved) {
    // Values k/8 + 0.0001: never half way between two thousandths, so a correctly rounding
    // printf("%14.3f") and the truncation rule must agree.
    for (int k = -80000; k <= 80000; k += 7) {
        const double v = k / 8.0 + (k < 0 ? -0.0001 : 0.0001);
        char expected[32];
        std::snprintf(expected, sizeof expected, "%14.3f", v);
        ASSERT_EQ(fixed14(v), std::string(expected)) << v;
    }
}

// The rule itself, one digit at a time: |v| * 1000 + 0.5 truncated, right aligned.
std::string fixed14ByDigits(double value) {
    std::string out(14, ' ');
    const bool negative = value < 0;
    const double scaled = std::fabs(value) * 1000.0 + 0.5;
    if (!std::isfinite(value) || !(scaled < (negative ? 1e12 : 1e13))) return out;
    uint64_t n = static_cast<uint64_t>(scaled);
    int at = 14;
    for (int i = 0; i < 3; ++i, n /= 10)
        out[size_t(--at)] = char('0' + n % 10);
    out[size_t(--at)] = '.';
    do {
        out[size_t(--at)] = char('0' + n % 10);
        n /= 10;
    } while (n != 0);
    if (negative) out[size_t(--at)] = '-';
    return out;
}

TEST(FormatFixed14, MatchesTheDigitByDigitRuleAcrossMagnitudes) {
    // Every digit count of the whole part, both signs, whole parts above 2^32 included.
    uint64_t x = 88172645463325252ull;
    for (int i = 0; i < 200000; ++i) {
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        const double mantissa = double(x >> 11) / 9007199254740992.0; // [0, 1)
        const double v = mantissa * std::pow(10.0, i % 15 - 4) * (i % 2 ? -1.0 : 1.0);
        ASSERT_EQ(fixed14(v), fixed14ByDigits(v)) << v;
    }
    for (const double v : {4294967.295, 4294967.296, 4294967296.0, 9999999999.9994, 999999999.9994,
                           -999999999.9994, 99.9995, 9.9995, 0.0995})
        EXPECT_EQ(fixed14(v), fixed14ByDigits(v)) << v;
}

TEST(FormatFixed14, MatchesTheDigitByDigitRuleAtEveryDigitCount) {
    // Each place where the whole part gains a digit, from both sides, with both signs, and
    // whole parts whose inner digits are zeros.
    for (int digits = 0; digits <= 10; ++digits) {
        const double power = std::pow(10.0, digits);
        for (const double v : {power, power - 0.0004, power - 0.0006, power + 0.001, power * 1.000000001,
                               power + 1.0, 2 * power, 9 * power + 0.5}) {
            EXPECT_EQ(fixed14(v), fixed14ByDigits(v)) << v;
            EXPECT_EQ(fixed14(-v), fixed14ByDigits(-v)) << -v;
        }
    }
    EXPECT_EQ(fixed14(100000001.0), " 100000001.000");
    EXPECT_EQ(fixed14(-100000001.0), "-100000001.000");
    EXPECT_EQ(fixed14(1000000000.0), "1000000000.000");
    EXPECT_EQ(fixed14(10.0), "        10.000");
}

} // namespace
