// SPDX-License-Identifier: MIT
#include "decoding/checksum.h"
#include "decoding/checksum_fold.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

TEST(Crc32, SingleBytesGiveTheReflectedTableEntries) {
    // 0x80 shifts seven times without feedback, then once with it: the polynomial itself.
    const uint8_t b80 = 0x80, b01 = 0x01;
    EXPECT_EQ(decoding::crc32(0, &b80, 1), 0xEDB88320u);
    EXPECT_EQ(decoding::crc32(0, &b01, 1), 0x77073096u);
}

TEST(Crc32, MatchesStandardCheckValueWithInitialRegisterFoldedIntoData) {
    // The usual CRC-32 of "123456789" is 0xCBF43926 with register 0xFFFFFFFF and a final
    // inversion. A register start of all ones equals inverting the first four bytes, so
    // with start 0 and no final inversion the same text gives the complement.
    uint8_t text[] = "123456789";
    for (int i = 0; i < 4; ++i)
        text[i] ^= 0xFF;
    EXPECT_EQ(decoding::crc32(0, text, 9), 0xCBF43926u ^ 0xFFFFFFFFu);
}

TEST(Crc32, SeedIsIgnored) {
    const uint8_t data[] = {1, 2, 3};
    EXPECT_EQ(decoding::crc32(0x12345678u, data, 3), decoding::crc32(0, data, 3));
}

TEST(Crc32, ZeroLengthGivesZero) {
    const uint8_t data[] = {1};
    EXPECT_EQ(decoding::crc32(0xDEADBEEFu, data, 0), 0u);
}

TEST(Crc32, MessageFollowedByItsLittleEndianCrcSumsToZero) {
    Bytes m = {'#', 'l', 'o', 'g', 0x00, 0xFF, 0x10};
    const uint32_t crc = decoding::crc32(0, m.data(), uint32_t(m.size()));
    for (int i = 0; i < 4; ++i)
        m.push_back(uint8_t(crc >> (8 * i)));
    EXPECT_EQ(decoding::crc32(0, m.data(), uint32_t(m.size())), 0u);
}

TEST(Crc24q, LowestBitOfASingleByteGivesThePolynomial) {
    // 0x01 shifts seven times to the top bit, then feeds back once.
    const uint8_t b01 = 0x01, b02 = 0x02;
    const uint32_t poly = 0x864CFBu;
    EXPECT_EQ(decoding::crc24q(0, &b01, 1), poly);
    // 0x02 feeds back at the seventh shift; the polynomial's own top bit feeds back again.
    EXPECT_EQ(decoding::crc24q(0, &b02, 1), ((poly << 1) & 0xFFFFFFu) ^ poly);
}

TEST(Crc24q, CheckValueOfDigitsString) {
    // Catalogue check value of this CRC (polynomial 0x864CFB, start 0, MSB first, no inversion).
    const char* text = "123456789";
    EXPECT_EQ(decoding::crc24q(0, reinterpret_cast<const uint8_t*>(text), 9), 0xCDE703u);
}

TEST(Crc24q, ZeroLengthReturnsSeed) {
    const uint8_t data[] = {1};
    EXPECT_EQ(decoding::crc24q(0xABCDEFu, data, 0), 0xABCDEFu);
}

TEST(Crc24q, FrameFollowedByItsBigEndianCrcSumsToZero) {
    Bytes m = {0xD3, 0x00, 0x02, 0x3E, 0xD0};
    const uint32_t crc = decoding::crc24q(0, m.data(), uint32_t(m.size()));
    m.push_back(uint8_t(crc >> 16));
    m.push_back(uint8_t(crc >> 8));
    m.push_back(uint8_t(crc));
    EXPECT_EQ(decoding::crc24q(0, m.data(), uint32_t(m.size())), 0u);
}

TEST(UbxChecksum, RunningSumsOfBytesAndOfSums) {
    // a: 1, 3, 6; b: 1, 4, 10.
    const uint8_t data[] = {1, 2, 3};
    EXPECT_EQ(decoding::ubxChecksum(0, data, 3), 0x0A06u);
}

TEST(UbxChecksum, SumsWrapModulo256) {
    const uint8_t data[] = {0xFF, 0xFF};
    // a: 0xFF, 0xFE; b: 0xFF, 0xFD.
    EXPECT_EQ(decoding::ubxChecksum(0, data, 2), 0xFDFEu);
}

TEST(UbxChecksum, SeedContinuesAnEarlierSum) {
    const uint8_t data[] = {1, 2, 3, 4, 5};
    const uint32_t first = decoding::ubxChecksum(0, data, 2);
    EXPECT_EQ(decoding::ubxChecksum(first, data + 2, 3), decoding::ubxChecksum(0, data, 5));
}

TEST(UbxChecksum, ZeroLengthReturnsSeed) {
    const uint8_t data[] = {1};
    EXPECT_EQ(decoding::ubxChecksum(0x1234u, data, 0), 0x1234u);
}

} // namespace

namespace {

// The definition, one bit at a time: reflected polynomial, start 0, no final inversion.
uint32_t bitwiseCrc32(const uint8_t* data, size_t length) {
    uint32_t c = 0;
    for (size_t i = 0; i < length; ++i) {
        c ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
    }
    return c;
}

} // namespace

TEST(Crc32, AgreesWithTheBitwiseDefinitionForEveryLengthAndAlignment) {
    // Lengths around the eight-byte steps and tails, at every start offset of a word.
    Bytes data(300);
    uint32_t x = 2463534242u;
    for (uint8_t& b : data) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b = uint8_t(x);
    }
    for (size_t offset = 0; offset < 8; ++offset)
        for (size_t length = 0; length + offset <= data.size(); ++length)
            ASSERT_EQ(decoding::crc32(0, data.data() + offset, uint32_t(length)),
                      bitwiseCrc32(data.data() + offset, length))
                << "offset " << offset << " length " << length;
}

namespace {

Bytes randomBytes(size_t size, uint32_t seed) {
    Bytes data(size);
    uint32_t x = seed;
    for (uint8_t& b : data) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b = uint8_t(x >> 7);
    }
    return data;
}

// Polynomials in the usual order (bit i: coefficient of x^i), for checking the folding
// constants by a route of their own: plain long division.
uint64_t normalPolynomial() {
    uint64_t p = uint64_t(1) << 32;
    for (int j = 0; j < 32; ++j)
        if (decoding::detail::kCrc32Polynomial & (1u << j)) p |= uint64_t(1) << (31 - j);
    return p;
}

// x^k mod P by long division of x^k, one dividend bit at a time.
uint32_t powerModByDivision(unsigned k) {
    const uint64_t p = normalPolynomial();
    uint64_t r = 0;
    for (unsigned degree = k + 1; degree-- > 0;) {
        r = (r << 1) | (degree == k ? 1 : 0);
        if (r >> 32) r ^= p;
    }
    return uint32_t(r);
}

// A remainder of degree below 32 as a multiplier operand: bit j holds x^(32-j).
uint64_t asOperand(uint32_t normal) {
    uint64_t out = 0;
    for (int i = 0; i < 32; ++i)
        if (normal & (1u << i)) out |= uint64_t(1) << (32 - i);
    return out;
}

// Carry-less product of two polynomials of degree below 64 and 33, low 64 bits enough here.
uint64_t clmulLow(uint64_t a, uint64_t b) {
    uint64_t out = 0;
    for (int i = 0; i < 64; ++i)
        if (b & (uint64_t(1) << i)) out ^= a << i;
    return out;
}

uint64_t reverse33(uint64_t v) {
    uint64_t out = 0;
    for (int i = 0; i <= 32; ++i)
        if (v & (uint64_t(1) << i)) out |= uint64_t(1) << (32 - i);
    return out;
}

} // namespace

TEST(Crc32Fold, ConstantsAreTheRemaindersOfTheirPowers) {
    const auto& k = decoding::detail::kFold;
    EXPECT_EQ(k.by512First, asOperand(powerModByDivision(544)));
    EXPECT_EQ(k.by512Second, asOperand(powerModByDivision(480)));
    EXPECT_EQ(k.by128First, asOperand(powerModByDivision(160)));
    EXPECT_EQ(k.by128Second, asOperand(powerModByDivision(96)));
    EXPECT_EQ(k.to96, asOperand(powerModByDivision(96)));
    EXPECT_EQ(k.to64, asOperand(powerModByDivision(64)));
    EXPECT_EQ(k.polynomial, reverse33(normalPolynomial()));
}

TEST(Crc32Fold, BarrettQuotientTimesThePolynomialLeavesARemainderBelowIt) {
    // mu = floor(x^64 / P): x^64 - mu·P has degree below 32.
    const uint64_t mu = reverse33(decoding::detail::kFold.barrett);
    const uint64_t product = clmulLow(normalPolynomial(), mu); // degree 64: bit 64 drops out
    EXPECT_EQ(product >> 32, 0u) << std::hex << product;
    EXPECT_EQ(mu >> 32, 1u); // degree exactly 32
}

TEST(Crc32Fold, EveryLengthAndAlignmentAgreesWithTheTables) {
    // Both the dispatching function and the folding path itself (below the length from
    // which crc32 chooses it too), every start offset of a 16-byte load.
    const Bytes data = randomBytes(2048 + 16, 0x9E3779B9u);
    const bool fold = decoding::detail::crc32FoldSupported();
    for (size_t offset = 0; offset < 16; ++offset)
        for (uint32_t length = 0; length <= 2048; ++length) {
            const uint8_t* p = data.data() + offset;
            const uint32_t expected = decoding::crc32Portable(0, p, length);
            ASSERT_EQ(decoding::crc32(0, p, length), expected) << "offset " << offset << " length " << length;
            if (fold) {
                ASSERT_EQ(decoding::detail::crc32Folded(p, length), expected)
                    << "offset " << offset << " length " << length;
            }
        }
}

TEST(Crc32Fold, AgreesOnAFewMegabytesAndOnTheirValidFrame) {
    Bytes data = randomBytes(5 * 1024 * 1024 + 7, 12345u);
    const uint32_t expected = decoding::crc32Portable(0, data.data(), uint32_t(data.size()));
    EXPECT_EQ(decoding::crc32(0, data.data(), uint32_t(data.size())), expected);
    EXPECT_EQ(decoding::crc32(0, data.data() + 3, uint32_t(data.size() - 3)),
              decoding::crc32Portable(0, data.data() + 3, uint32_t(data.size() - 3)));
    // With its CRC appended the whole sums to zero, as a frame does.
    for (int i = 0; i < 4; ++i)
        data.push_back(uint8_t(expected >> (8 * i)));
    EXPECT_EQ(decoding::crc32(0, data.data(), uint32_t(data.size())), 0u);
}

TEST(Crc32Fold, AllOnesAndZerosAgree) {
    // Runs of equal bytes over several blocks, where a wrong constant could cancel out.
    for (const uint8_t fill : {uint8_t(0x00), uint8_t(0xFF), uint8_t(0x80), uint8_t(0x01)})
        for (const uint32_t length : {64u, 65u, 127u, 128u, 1000u, 4096u}) {
            const Bytes data(length, fill);
            EXPECT_EQ(decoding::crc32(0, data.data(), length), bitwiseCrc32(data.data(), length))
                << "fill " << int(fill) << " length " << length;
        }
}

TEST(Crc32Fold, DispatchChoosesTheFoldWhereTheProcessorHasIt) {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    __builtin_cpu_init();
    if (!__builtin_cpu_supports("pclmul") || !__builtin_cpu_supports("sse4.1"))
        GTEST_SKIP() << "no carry-less multiply on this processor";
    EXPECT_TRUE(decoding::crc32UsesCarrylessMultiply());
    EXPECT_TRUE(decoding::detail::crc32FoldSupported());
#else
    EXPECT_FALSE(decoding::crc32UsesCarrylessMultiply());
#endif
}
