// SPDX-License-Identifier: MIT
// Numbers of RINEX text fields: the parser without strtod must give strtod's value, bit for
// bit, for every form it takes on, and leave every other form to strtod.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "quality/text_fields.h"
#include "support/strtod_number.h"

namespace {

uint64_t bitsOf(double v) {
    uint64_t b;
    std::memcpy(&b, &v, sizeof b);
    return b;
}

void expectSame(const std::string& text) {
    double expected = 0, got = 0;
    const bool ok = testsupport::strtodNumber(text, expected);
    ASSERT_EQ(quality::parseNumber(text, got), ok) << "'" << text << "'";
    if (ok) {
        EXPECT_EQ(bitsOf(got), bitsOf(expected)) << "'" << text << "': " << got << " vs " << expected;
    }
}

} // namespace

TEST(NumberFields, NavigationFormMatchesStrtodBitForBit) {
    std::mt19937_64 random(20261123);
    char text[64];
    for (int i = 0; i < 400000; ++i) {
        const uint64_t mantissa = random() % 1000000000000ull; // twelve digits
        const int exponent = int(random() % 41) - 20;
        const char sign = random() % 2 ? '-' : ' ';
        std::snprintf(text, sizeof text, "%c0.%012lluD%+03d", sign, static_cast<unsigned long long>(mantissa),
                      exponent);
        expectSame(text);
    }
}

TEST(NumberFields, ShortAndOddFormsMatchStrtod) {
    for (const char* text :
         {"0", "-0", "+0", "-0.000000000000D+00", " 0.000000000000D+00", "12", "  7  ", "\t3\t", "5.", ".5", "+.5",
          "-.5e-3", "1e22", "1e23", "1e-22", "1e-23", "123456789012345", "1234567890123456", "0.1234567890123456",
          "9007199254740993", "1.5E0005", "1.5E00005", "1e9253857019", "1e-99999999999999999999", "1e00000000000000000001", "1e", "1e+", "1d3", "1D-3", "0x10", "inf", "nan", "-", "+",
          ".", "", "   ", "1 2", "1.2.3", "--1", "1e-400", "1e400", "0.000000000000000000000000001",
          "00000000000000000000000000000000000000012", "0000000000000000000000000000000000000001",
          "  -0.459053372000D-03", "0.298023223877D-07", "-0.277294742540D+01", "0.100000000000D+01", "2018",
          "-1", "63", "3.05", "30.000", "-7"})
        expectSame(text);
}

TEST(NumberFields, FieldsAreTakenFromTheirColumns) {
    const std::string line = "G01 2018 07 28 19 50 00 0.672190060141D-02-0.109139364213D-10";
    double v = 0;
    ASSERT_TRUE(quality::numberAt(line, 1, 2, v));
    EXPECT_EQ(v, 1.0);
    ASSERT_TRUE(quality::numberAt(line, 23, 19, v));
    EXPECT_EQ(v, 0.672190060141e-2);
    ASSERT_TRUE(quality::numberAt(line, 42, 19, v));
    EXPECT_EQ(v, -0.109139364213e-10);
    EXPECT_TRUE(quality::numberAt(line, 55, 40, v)); // cut at the line's end: "13D-10"
    EXPECT_EQ(v, 13e-10);
    EXPECT_FALSE(quality::numberAt(line, line.size(), 5, v));
    EXPECT_FALSE(quality::numberAt(line, 1000, 5, v));
}
