// SPDX-License-Identifier: MIT
#include "decoding/iono_utc.h"

#include <gtest/gtest.h>

#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"

using decoding::IonoUtcParameters;
using encoding::boardFrame;
using encoding::BodyWriter;
using encoding::FrameStamp;

namespace {

encoding::Bytes laidOutBody(size_t size) {
    BodyWriter w(size);
    for (int i = 0; i < 4; ++i)
        w.f64(8 * i, 1.5e-8 * (i + 1));
    for (int i = 0; i < 4; ++i)
        w.f64(32 + 8 * i, -6.5e4 * (i + 1));
    w.u32(64, 2012).u32(68, 61440).f64(72, -7.5e-10).f64(80, 2.5e-15);
    w.u32(88, 1929).u32(92, 7).u32(96, 18).u32(100, uint32_t(-19)).u32(104, 0xA5A5);
    return w.bytes();
}

} // namespace

TEST(IonoUtcDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 1000, 180};
    IonoUtcParameters r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(8, stamp, laidOutBody(108)), decoding::decodeIonoUtc, r), 0);
    navtest::expectFrameHeader(r.header, 8, 108, stamp);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(r.alpha[i], 1.5e-8 * (i + 1)) << i;
        EXPECT_EQ(r.beta[i], -6.5e4 * (i + 1)) << i;
    }
    EXPECT_EQ(r.utcWeek, 2012u);
    EXPECT_EQ(r.utcTime, 61440u);
    EXPECT_EQ(r.a0, -7.5e-10);
    EXPECT_EQ(r.a1, 2.5e-15);
    EXPECT_EQ(r.leapWeek, 1929u);
    EXPECT_EQ(r.leapDay, 7u);
    EXPECT_EQ(int32_t(r.leapSeconds), 18);
    EXPECT_EQ(int32_t(r.leapSecondsFuture), -19);
    EXPECT_EQ(r.last, 0xA5A5u);
}

TEST(IonoUtcDecoder, AcceptsAllFourIonosphereUtcIds) {
    for (uint16_t id : {uint16_t(6), uint16_t(8), uint16_t(2010)}) {
        IonoUtcParameters r;
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutBody(108)), decoding::decodeIonoUtc, r), 0)
            << "id " << id;
        EXPECT_EQ(r.header.messageId, id);
        EXPECT_EQ(r.utcWeek, 2012u);
    }
}

TEST(IonoUtcDecoder, FrameWithId1347DecodesThoughTheWriterNeverRoutesIt) {
    IonoUtcParameters r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(1347, {}, laidOutBody(108)), decoding::decodeIonoUtc, r), 0);
    EXPECT_EQ(r.header.messageId, 1347);
    EXPECT_EQ(r.alpha[0], 1.5e-8);
    EXPECT_EQ(r.last, 0xA5A5u);
}

TEST(IonoUtcDecoder, OtherMessageIdIsRefused) {
    IonoUtcParameters r;
    for (uint16_t id : {uint16_t(7), uint16_t(9), uint16_t(1590), uint16_t(2124)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutBody(108)), decoding::decodeIonoUtc, r), -1)
            << "id " << id;
}

TEST(IonoUtcDecoder, BodyOf107BytesIsRefusedWhateverTheId) {
    IonoUtcParameters r;
    for (uint16_t id : {uint16_t(6), uint16_t(8), uint16_t(2010), uint16_t(1347), uint16_t(7)})
        EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(id, 107), decoding::decodeIonoUtc, r), -1)
            << "id " << id;
}

TEST(IonoUtcDecoder, BodyOf108BytesDecodes) {
    IonoUtcParameters r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(8, 108), decoding::decodeIonoUtc, r), 0);
}

TEST(IonoUtcEncoder, RoundTripKeepsEveryFieldUnderEachId) {
    const IonoUtcParameters in = navtest::distinctIonoUtc();
    const FrameStamp stamp{2011, 5000, 180};
    for (uint16_t id : {uint16_t(6), uint16_t(8), uint16_t(2010), uint16_t(1347)}) {
        const auto frame = encoding::encodeLogFrame(in, stamp, id);
        EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 108u + 4u);
        IonoUtcParameters out;
        ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeIonoUtc, out), 0) << "id " << id;
        navtest::expectFrameHeader(out.header, id, 108, stamp);
        navtest::expectSameBody(in, out);
    }
}

TEST(IonoUtcEncoder, DefaultIdIsIonUtc) {
    const auto frame = encoding::encodeLogFrame(navtest::distinctIonoUtc(), FrameStamp{});
    decoding::LogHeader h{};
    ASSERT_EQ(decoding::readLogHeader(frame.data(), uint32_t(frame.size()), h), 0);
    EXPECT_EQ(h.messageId, 8);
}
