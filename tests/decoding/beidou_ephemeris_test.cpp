// SPDX-License-Identifier: MIT
#include "decoding/beidou_ephemeris.h"

#include <gtest/gtest.h>

#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"

using decoding::Bd2Ephemeris;
using decoding::BeidouEphemeris;
using encoding::boardFrame;
using encoding::BodyWriter;
using encoding::FrameStamp;

namespace {

constexpr uint16_t kBd2EphemId = 1047;
constexpr uint16_t kBdsEphemerisId = 1696;

encoding::Bytes laidOutBd2Body(size_t size) {
    BodyWriter w(size);
    w.u32(0, 12).f64(4, 601218.0).u32(12, 1).u32(16, 3).u32(20, 0xDEADBEEF).u32(24, 655).u32(28, 656);
    // toe, A, Δn, M0, e, ω, Cuc, Cus, Crc, Crs, Cic, Cis, i0, IDOT, Ω0, Ω̇: 16 doubles from 32
    for (int i = 0; i < 16; ++i)
        w.f64(32 + 8 * i, 700.25 + i);
    w.u32(160, 17);
    // toc, TGD1, a0, a1, a2, TGD2: 6 doubles from 164
    for (int i = 0; i < 6; ++i)
        w.f64(164 + 8 * i, -0.75 - i);
    w.u32(212, 1).f64(216, 1.2e-4).f64(224, 4.0);
    return w.bytes();
}

encoding::Bytes laidOutBdsBody(size_t size) {
    BodyWriter w(size);
    w.u32(0, 29).u32(4, 655).f64(8, 2.0).u32(16, 1).f64(20, -2.2e-9).f64(28, 1.4e-8).u32(36, 3);
    w.u32(40, 601200).f64(44, -3.2e-5).f64(52, -4.3e-11).f64(60, 1.0e-19).u32(68, 4).u32(72, 601200);
    // √A, e, ω, Δn, M0, Ω0, Ω̇, i0, IDOT, Cuc, Cus, Crc, Crs, Cic, Cis: 15 doubles from 76
    for (int i = 0; i < 15; ++i)
        w.f64(76 + 8 * i, 5282.5 + i);
    return w.bytes();
}

} // namespace

TEST(Bd2EphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 601232000, 180};
    Bd2Ephemeris r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kBd2EphemId, stamp, laidOutBd2Body(232)),
                                   decoding::decodeBd2Ephemeris, r),
              0);
    navtest::expectFrameHeader(r.header, kBd2EphemId, 232, stamp);
    EXPECT_EQ(r.satellite, 12u);
    EXPECT_EQ(r.tow, 601218.0);
    EXPECT_EQ(r.health, 1u);
    EXPECT_EQ(r.aode, 3u);
    EXPECT_EQ(r.week, 655u);
    EXPECT_EQ(r.week2, 656u);
    const double orbit[] = {r.toe, r.a,   r.deltaN, r.m0,  r.eccentricity, r.omega, r.cuc,    r.cus,
                            r.crc, r.crs, r.cic,    r.cis, r.i0,           r.iDot,  r.omega0, r.omegaDot};
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(orbit[i], 700.25 + i) << "orbit value " << i;
    EXPECT_EQ(r.aodc, 17u);
    const double clock[] = {r.toc, r.tgd1, r.a0, r.a1, r.a2, r.tgd2};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(clock[i], -0.75 - i) << "clock value " << i;
    EXPECT_EQ(r.antiSpoofing, 1u);
    EXPECT_EQ(r.correctedMeanMotion, 1.2e-4);
    EXPECT_EQ(r.uraVariance, 4.0);
}

TEST(Bd2EphemerisDecoder, BodyOf232BytesDecodesAnd231IsRefused) {
    Bd2Ephemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kBd2EphemId, 232), decoding::decodeBd2Ephemeris, r),
              0);
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kBd2EphemId, 231), decoding::decodeBd2Ephemeris, r),
              -1);
}

TEST(Bd2EphemerisDecoder, OtherMessageIdIsRefused) {
    Bd2Ephemeris r;
    for (uint16_t id : {uint16_t(7), uint16_t(1696), uint16_t(3000)})
        EXPECT_EQ(
            navtest::decodeFrame(boardFrame(id, {}, laidOutBd2Body(232)), decoding::decodeBd2Ephemeris, r),
            -1)
            << "id " << id;
}

TEST(Bd2EphemerisEncoder, RoundTripKeepsEveryField) {
    const Bd2Ephemeris in = navtest::distinctBd2Ephemeris();
    const FrameStamp stamp{2011, 601232000, 170};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 232u + 4u);
    Bd2Ephemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeBd2Ephemeris, out), 0);
    navtest::expectFrameHeader(out.header, kBd2EphemId, 232, stamp);
    navtest::expectSameBody(in, out);
}

TEST(BeidouEphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 601232000, 180};
    BeidouEphemeris r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kBdsEphemerisId, stamp, laidOutBdsBody(196)),
                                   decoding::decodeBeidouEphemeris, r),
              0);
    navtest::expectFrameHeader(r.header, kBdsEphemerisId, 196, stamp);
    EXPECT_EQ(r.satellite, 29u);
    EXPECT_EQ(r.week, 655u);
    EXPECT_EQ(r.ura, 2.0);
    EXPECT_EQ(r.health, 1u);
    EXPECT_EQ(r.tgd1, -2.2e-9);
    EXPECT_EQ(r.tgd2, 1.4e-8);
    EXPECT_EQ(r.aodc, 3u);
    EXPECT_EQ(r.toc, 601200u);
    EXPECT_EQ(r.a0, -3.2e-5);
    EXPECT_EQ(r.a1, -4.3e-11);
    EXPECT_EQ(r.a2, 1.0e-19);
    EXPECT_EQ(r.aode, 4u);
    EXPECT_EQ(r.toe, 601200u);
    const double orbit[] = {r.sqrtA, r.eccentricity, r.omega, r.deltaN, r.m0,  r.omega0, r.omegaDot, r.i0,
                            r.iDot,  r.cuc,          r.cus,   r.crc,    r.crs, r.cic,    r.cis};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(orbit[i], 5282.5 + i) << "orbit value " << i;
}

TEST(BeidouEphemerisDecoder, BodyOf196BytesDecodesAnd195IsRefused) {
    BeidouEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kBdsEphemerisId, 196),
                                   decoding::decodeBeidouEphemeris, r),
              0);
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kBdsEphemerisId, 195),
                                   decoding::decodeBeidouEphemeris, r),
              -1);
}

TEST(BeidouEphemerisDecoder, OtherMessageIdIsRefused) {
    BeidouEphemeris r;
    for (uint16_t id : {uint16_t(7), uint16_t(1047), uint16_t(3000)})
        EXPECT_EQ(
            navtest::decodeFrame(boardFrame(id, {}, laidOutBdsBody(196)), decoding::decodeBeidouEphemeris, r),
            -1)
            << "id " << id;
}

TEST(BeidouEphemerisEncoder, RoundTripKeepsEveryField) {
    const BeidouEphemeris in = navtest::distinctBeidouEphemeris();
    const FrameStamp stamp{2012, 18000, 180};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 196u + 4u);
    BeidouEphemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeBeidouEphemeris, out), 0);
    navtest::expectFrameHeader(out.header, kBdsEphemerisId, 196, stamp);
    navtest::expectSameBody(in, out);
}
