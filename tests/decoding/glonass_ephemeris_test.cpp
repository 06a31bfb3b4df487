// SPDX-License-Identifier: MIT
#include "decoding/glonass_ephemeris.h"

#include <gtest/gtest.h>

#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"

using decoding::GlonassEphemeris;
using encoding::boardFrame;
using encoding::BodyWriter;
using encoding::FrameStamp;

namespace {

constexpr uint16_t kGloEphemerisId = 723;

encoding::Bytes laidOutBody(size_t size) {
    BodyWriter w(size);
    w.u16(0, 38).u16(2, 13).u8(4, 2).u8(5, 0xEE).u16(6, 2011).u32(8, 602118000).u32(12, 10782);
    w.u16(16, 1307).u8(18, 0xEE).u8(19, 0xEE).u32(20, 9).u32(24, 1);
    // x, y, z, vx, vy, vz, ax, ay, az, τn, Δτn, γn: 12 doubles from offset 28
    for (int i = 0; i < 12; ++i)
        w.f64(28 + 8 * i, -2.5 + i);
    w.u32(124, 93600).u32(128, 3).u32(132, 4).u32(136, 5).u32(140, 6);
    return w.bytes();
}

} // namespace

TEST(GlonassEphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 602130000, 180};
    GlonassEphemeris r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kGloEphemerisId, stamp, laidOutBody(144)),
                                   decoding::decodeGlonassEphemeris, r),
              0);
    navtest::expectFrameHeader(r.header, kGloEphemerisId, 144, stamp);
    EXPECT_EQ(r.slot, 38);
    EXPECT_EQ(r.frequency, 13);
    EXPECT_EQ(r.satelliteType, 2);
    EXPECT_EQ(r.week, 2011);
    EXPECT_EQ(r.referenceTime, 602118000u);
    EXPECT_EQ(r.timeOffset, 10782u);
    EXPECT_EQ(r.dayNumber, 1307);
    EXPECT_EQ(r.issue, 9u);
    EXPECT_EQ(r.health, 1u);
    const double values[] = {r.x,  r.y,  r.z,  r.vx,   r.vy,        r.vz,
                             r.ax, r.ay, r.az, r.tauN, r.deltaTauN, r.gammaN};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(values[i], -2.5 + i) << "value " << i;
    EXPECT_EQ(r.tk, 93600u);
    EXPECT_EQ(r.pFlags, 3u);
    EXPECT_EQ(r.ft, 4u);
    EXPECT_EQ(r.ageOfData, 5u);
    EXPECT_EQ(r.flags, 6u);
}

TEST(GlonassEphemerisDecoder, BodyOf144BytesDecodes) {
    GlonassEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGloEphemerisId, 144),
                                   decoding::decodeGlonassEphemeris, r),
              0);
}

TEST(GlonassEphemerisDecoder, BodyOf143BytesIsRefused) {
    GlonassEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGloEphemerisId, 143),
                                   decoding::decodeGlonassEphemeris, r),
              -1);
}

TEST(GlonassEphemerisDecoder, OtherMessageIdIsRefused) {
    GlonassEphemeris r;
    for (uint16_t id : {uint16_t(7), uint16_t(1696), uint16_t(724)})
        EXPECT_EQ(
            navtest::decodeFrame(boardFrame(id, {}, laidOutBody(144)), decoding::decodeGlonassEphemeris, r),
            -1)
            << "id " << id;
}

TEST(GlonassEphemerisEncoder, RoundTripKeepsEveryField) {
    const GlonassEphemeris in = navtest::distinctGlonassEphemeris();
    const FrameStamp stamp{2011, 601218000, 160};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 144u + 4u);
    GlonassEphemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeGlonassEphemeris, out), 0);
    navtest::expectFrameHeader(out.header, kGloEphemerisId, 144, stamp);
    navtest::expectSameBody(in, out);
}

TEST(GlonassEphemerisEncoder, LeavesTheUnreadBytesZero) {
    const auto body = encoding::encodeLogBody(navtest::distinctGlonassEphemeris());
    ASSERT_EQ(body.size(), 144u);
    EXPECT_EQ(body[5], 0);
    EXPECT_EQ(body[18], 0);
    EXPECT_EQ(body[19], 0);
}
