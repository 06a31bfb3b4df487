// SPDX-License-Identifier: MIT
#include "decoding/log_header.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "decoding/byte_order.h"
#include "encoder/board_frame.h"

namespace {

using encoding::Bytes;

TEST(LogHeader, FrameFromEncoderYieldsAllFields) {
    const Bytes body(44, 7);
    const Bytes frame = encoding::boardFrame(1273, encoding::FrameStamp{2301, 518400123, 160}, body);
    decoding::LogHeader h{};
    ASSERT_EQ(decoding::readLogHeader(frame.data(), uint32_t(frame.size()), h), 0);
    EXPECT_EQ(h.headerLength, 28);
    EXPECT_EQ(h.messageId, 1273);
    EXPECT_EQ(h.messageLength, 44);
    EXPECT_EQ(h.timeStatus, 160);
    EXPECT_EQ(h.week, 2301);
    EXPECT_EQ(h.milliseconds, 518400123u);
}

TEST(LogHeader, FieldsAreReadAtTheirOffsetsLittleEndian) {
    uint8_t frame[24] = {0xAA, 0x44, 0x12, 20,   0x34, 0x12, 0xFF, 0xFF, 0x00, 0x00, 0xFF, 0xFF,
                         0xFF, 0x82, 0x09, 0x08, 0x04, 0x03, 0x02, 0x01, 0,    0,    0,    0};
    decoding::LogHeader h{};
    ASSERT_EQ(decoding::readLogHeader(frame, 24, h), 0);
    EXPECT_EQ(h.headerLength, 20);
    EXPECT_EQ(h.messageId, 0x1234);
    EXPECT_EQ(h.messageLength, 0);
    EXPECT_EQ(h.timeStatus, 0x82);
    EXPECT_EQ(h.week, 0x0809);
    EXPECT_EQ(h.milliseconds, 0x01020304u);
}

TEST(LogHeader, FrameOf23BytesWithValidSyncIsRejected) {
    const Bytes frame = encoding::boardFrame(43, {}, Bytes(0));
    decoding::LogHeader h{};
    EXPECT_EQ(decoding::readLogHeader(frame.data(), 23, h), -1);
}

TEST(LogHeader, WrongSyncByteIsRejected) {
    for (int i = 0; i < 3; ++i) {
        Bytes frame = encoding::boardFrame(43, {}, Bytes(4));
        frame[i] ^= 0x04;
        decoding::LogHeader h{};
        EXPECT_EQ(decoding::readLogHeader(frame.data(), uint32_t(frame.size()), h), -1) << "byte " << i;
    }
}

TEST(LogHeader, LengthsDisagreeingWithA24ByteFrameYieldMinusTwo) {
    // Header length 20 + message length 4 + 4 = 28, not 24.
    uint8_t frame[24] = {0xAA, 0x44, 0x12, 20, 43, 0, 0, 0, 4, 0};
    decoding::LogHeader h{};
    EXPECT_EQ(decoding::readLogHeader(frame, 24, h), -2);
    EXPECT_EQ(h.headerLength, 20);
    EXPECT_EQ(h.messageId, 43);
    EXPECT_EQ(h.messageLength, 4);
}

TEST(LogHeader, FrameLongerThanItsHeaderSaysYieldsMinusTwo) {
    Bytes frame = encoding::boardFrame(101, {}, Bytes(10));
    frame.push_back(0);
    decoding::LogHeader h{};
    EXPECT_EQ(decoding::readLogHeader(frame.data(), uint32_t(frame.size()), h), -2);
}

TEST(ShortLogHeader, ValidShortFrameYieldsIdAndLength) {
    uint8_t frame[15] = {0xAA, 0x44, 0x16, 0, 0x2B, 0x01, 3, 0};
    decoding::ShortLogHeader h{};
    ASSERT_EQ(decoding::readShortLogHeader(frame, 15, h), 0);
    EXPECT_EQ(h.messageId, 0x012B);
    EXPECT_EQ(h.messageLength, 3);
}

TEST(ShortLogHeader, ShortOrWrongSyncFrameIsRejected) {
    uint8_t frame[12] = {0xAA, 0x44, 0x16, 0, 1, 0, 0, 0};
    decoding::ShortLogHeader h{};
    EXPECT_EQ(decoding::readShortLogHeader(frame, 7, h), -1);
    frame[2] = 0x12;
    EXPECT_EQ(decoding::readShortLogHeader(frame, 12, h), -1);
}

TEST(ShortLogHeader, LengthOtherThanMessagePlusTwelveYieldsMinusTwo) {
    uint8_t frame[16] = {0xAA, 0x44, 0x16, 0, 1, 0, 3, 0};
    decoding::ShortLogHeader h{};
    EXPECT_EQ(decoding::readShortLogHeader(frame, 16, h), -2);
    EXPECT_EQ(decoding::readShortLogHeader(frame, 14, h), -2);
}

TEST(ByteOrder, LittleEndianIntegersAreAssembledLowByteFirst) {
    const uint8_t b[9] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
    // Odd start address: no alignment is assumed.
    EXPECT_EQ(decoding::readU16(b + 1), 0x0201);
    EXPECT_EQ(decoding::readU32(b + 1), 0x04030201u);
    EXPECT_EQ(decoding::readU64(b + 1), 0x0807060504030201ull);
}

TEST(ByteOrder, BigEndianIntegersAreAssembledHighByteFirst) {
    const uint8_t b[5] = {0x00, 0x01, 0x02, 0x03, 0x04};
    EXPECT_EQ(decoding::readU16Be(b + 1), 0x0102);
    EXPECT_EQ(decoding::readU32Be(b + 1), 0x01020304u);
}

TEST(ByteOrder, SignedValuesComeFromReinterpretingUnsignedReads) {
    const uint8_t b[4] = {0xFE, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(int16_t(decoding::readU16(b)), -2);
    EXPECT_EQ(int32_t(decoding::readU32(b)), -2);
}

TEST(ByteOrder, FloatsAreIeeeBitPatterns) {
    // 1.0f = 0x3F800000, -2.5 = 0xC004000000000000.
    const uint8_t f32le[4] = {0x00, 0x00, 0x80, 0x3F};
    const uint8_t f64le[8] = {0, 0, 0, 0, 0, 0, 0x04, 0xC0};
    const uint8_t f32be[4] = {0x3F, 0x80, 0x00, 0x00};
    const uint8_t f64be[8] = {0xC0, 0x04, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(decoding::readF32(f32le), 1.0);
    EXPECT_EQ(decoding::readF64(f64le), -2.5);
    EXPECT_EQ(decoding::readF32Be(f32be), 1.0);
    EXPECT_EQ(decoding::readF64Be(f64be), -2.5);
    // 0.1f widened keeps the single-precision value.
    const uint8_t tenth[4] = {0xCD, 0xCC, 0xCC, 0x3D};
    EXPECT_EQ(decoding::readF32(tenth), double(0.1f));
}

TEST(ByteOrder, WritersStoreInTheNamedOrder) {
    uint8_t b[8] = {};
    decoding::writeU16(b, 0xA1B2);
    EXPECT_EQ(b[0], 0xB2);
    EXPECT_EQ(b[1], 0xA1);
    decoding::writeU32(b, 0x01020304u);
    EXPECT_EQ(std::memcmp(b, "\x04\x03\x02\x01", 4), 0);
    decoding::writeU64(b, 0x0102030405060708ull);
    EXPECT_EQ(std::memcmp(b, "\x08\x07\x06\x05\x04\x03\x02\x01", 8), 0);
    decoding::writeU16Be(b, 0xA1B2);
    EXPECT_EQ(b[0], 0xA1);
    EXPECT_EQ(b[1], 0xB2);
    decoding::writeU32Be(b, 0x01020304u);
    EXPECT_EQ(std::memcmp(b, "\x01\x02\x03\x04", 4), 0);
}

} // namespace
