// SPDX-License-Identifier: MIT
#include "decoding/gps_ephemeris.h"

#include <gtest/gtest.h>

#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"

using decoding::GpsEphemeris;
using encoding::boardFrame;
using encoding::BodyWriter;
using encoding::FrameStamp;

namespace {

constexpr uint16_t kGpsEphemId = 7;

// A body with every field written at the offset the log layout gives it.
encoding::Bytes laidOutBody(size_t size) {
    BodyWriter w(size);
    w.u32(0, 23).f64(4, 345618.0).u32(12, 0x3F).u32(16, 81).u32(20, 82).u32(24, 2011).u32(28, 2012);
    // toe .. Ω̇: 16 doubles from offset 32
    for (int i = 0; i < 16; ++i)
        w.f64(32 + 8 * i, 1000.5 + i);
    w.u32(160, 337)
        .f64(164, 352800.0)
        .f64(172, -1.1e-8)
        .f64(180, 2.5e-4)
        .f64(188, -3.5e-12)
        .f64(196, 4.5e-19);
    w.u32(204, 1).f64(208, 1.46e-4).f64(216, 5.76);
    return w.bytes();
}

} // namespace

TEST(GpsEphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    FrameStamp stamp{2011, 345620000, 180};
    const auto frame = boardFrame(kGpsEphemId, stamp, laidOutBody(224));
    GpsEphemeris r;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeGpsEphemeris, r), 0);
    navtest::expectFrameHeader(r.header, kGpsEphemId, 224, stamp);
    EXPECT_EQ(r.satellite, 23u);
    EXPECT_EQ(r.tow, 345618.0);
    EXPECT_EQ(r.health, 0x3Fu);
    EXPECT_EQ(r.iode1, 81u);
    EXPECT_EQ(r.iode2, 82u);
    EXPECT_EQ(r.week, 2011u);
    EXPECT_EQ(r.zWeek, 2012u);
    const double orbit[] = {r.toe, r.a,   r.deltaN, r.m0,  r.eccentricity, r.omega, r.cuc,    r.cus,
                            r.crc, r.crs, r.cic,    r.cis, r.i0,           r.iDot,  r.omega0, r.omegaDot};
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(orbit[i], 1000.5 + i) << "orbit value " << i;
    EXPECT_EQ(r.iodc, 337u);
    EXPECT_EQ(r.toc, 352800.0);
    EXPECT_EQ(r.tgd, -1.1e-8);
    EXPECT_EQ(r.af0, 2.5e-4);
    EXPECT_EQ(r.af1, -3.5e-12);
    EXPECT_EQ(r.af2, 4.5e-19);
    EXPECT_EQ(r.antiSpoofing, 1u);
    EXPECT_EQ(r.correctedMeanMotion, 1.46e-4);
    EXPECT_EQ(r.uraVariance, 5.76);
}

TEST(GpsEphemerisDecoder, BodyOf224BytesDecodes) {
    GpsEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGpsEphemId, 224), decoding::decodeGpsEphemeris, r),
              0);
}

TEST(GpsEphemerisDecoder, BodyOf223BytesIsRefused) {
    GpsEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGpsEphemId, 223), decoding::decodeGpsEphemeris, r),
              -1);
}

TEST(GpsEphemerisDecoder, LongerBodyDecodesItsLeadingFields) {
    GpsEphemeris r;
    ASSERT_EQ(
        navtest::decodeFrame(boardFrame(kGpsEphemId, {}, laidOutBody(240)), decoding::decodeGpsEphemeris, r),
        0);
    EXPECT_EQ(r.satellite, 23u);
    EXPECT_EQ(r.uraVariance, 5.76);
}

TEST(GpsEphemerisDecoder, OtherMessageIdIsRefused) {
    GpsEphemeris r;
    for (uint16_t id : {uint16_t(8), uint16_t(723), uint16_t(1047)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutBody(224)), decoding::decodeGpsEphemeris, r),
                  -1)
            << "id " << id;
}

TEST(GpsEphemerisEncoder, RoundTripKeepsEveryField) {
    const GpsEphemeris in = navtest::distinctGpsEphemeris();
    const FrameStamp stamp{2012, 7182000, 170};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 224u + 4u);
    GpsEphemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeGpsEphemeris, out), 0);
    navtest::expectFrameHeader(out.header, kGpsEphemId, 224, stamp);
    navtest::expectSameBody(in, out);
}
