// SPDX-License-Identifier: MIT
#include "decoding/checksum.h"

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
