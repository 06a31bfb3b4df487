// SPDX-License-Identifier: MIT
#include "decoding/galileo_ephemeris.h"

#include <gtest/gtest.h>

#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"

using decoding::GalileoEphemeris;
using decoding::GalileoFnavEphemeris;
using decoding::GalileoInavEphemeris;
using encoding::boardFrame;
using encoding::BodyWriter;
using encoding::FrameStamp;

namespace {

constexpr uint16_t kGalEphemerisId = 1122;
constexpr uint16_t kGalInavId = 1309;
constexpr uint16_t kGalFnavId = 1310;

encoding::Bytes laidOutGalBody(size_t size) {
    BodyWriter w(size);
    w.u32(0, 14).u32(4, 1).u32(8, 1);
    // E1b, E5a, E5b health, E1b, E5a, E5b DVS, SISA index, reserved
    for (int i = 0; i < 8; ++i)
        w.u8(12 + i, uint8_t(0x31 + i));
    w.u32(20, 104).u32(24, 600000);
    // √A, Δn, M0, e, ω, Cuc, Cus, Crc, Crs, Cic, Cis, i0, IDOT, Ω0, Ω̇: 15 doubles from 28
    for (int i = 0; i < 15; ++i)
        w.f64(28 + 8 * i, 5440.125 + i);
    w.u32(148, 600060).f64(152, -1.5).f64(160, -2.5).f64(168, -3.5);
    w.u32(176, 600120).f64(180, 1.5).f64(188, 2.5).f64(196, 3.5).f64(204, 4.5).f64(212, 5.5);
    return w.bytes();
}

encoding::Bytes laidOutInavBody(size_t size) {
    BodyWriter w(size);
    w.u32(0, 2);
    // E5b health, E5b DVS, reserved, reserved, E1b health, E1b DVS, reserved, reserved
    for (int i = 0; i < 8; ++i)
        w.u8(4 + i, uint8_t(0x41 + i));
    w.u16(12, 0x0108).u8(14, 107).u8(15, 0x55).u32(16, 602400).u32(20, 602460);
    // M0, Δn, e, √A, i0, IDOT, Ω0, ω, Ω̇, Cuc, Cus, Crc, Crs, Cic, Cis, af0, af1, af2,
    // BGD E5a/E1, BGD E5b/E1: 20 doubles from 24
    for (int i = 0; i < 20; ++i)
        w.f64(24 + 8 * i, -0.0625 * (i + 1));
    return w.bytes();
}

encoding::Bytes laidOutFnavBody(size_t size) {
    BodyWriter w(size);
    w.u32(0, 3);
    // E5a health, E5a DVS, reserved, reserved
    for (int i = 0; i < 4; ++i)
        w.u8(4 + i, uint8_t(0x61 + i));
    w.u16(8, 0x0109).u8(10, 108).u8(11, 0x66).u32(12, 603000).u32(16, 603060);
    // M0 .. af2 as for I/NAV, then BGD E5a/E1: 19 doubles from 20
    for (int i = 0; i < 19; ++i)
        w.f64(20 + 8 * i, 0.03125 * (i + 1));
    return w.bytes();
}

} // namespace

TEST(GalileoEphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 600666000, 180};
    GalileoEphemeris r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kGalEphemerisId, stamp, laidOutGalBody(220)),
                                   decoding::decodeGalileoEphemeris, r),
              0);
    navtest::expectFrameHeader(r.header, kGalEphemerisId, 220, stamp);
    EXPECT_EQ(r.satellite, 14u);
    EXPECT_EQ(r.fnavReceived, 1u);
    EXPECT_EQ(r.inavReceived, 1u);
    const uint8_t bytes[] = {r.e1bHealth, r.e5aHealth, r.e5bHealth, r.e1bDvs,
                             r.e5aDvs,    r.e5bDvs,    r.sisaIndex, r.reserved};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(bytes[i], 0x31 + i) << "byte " << i;
    EXPECT_EQ(r.iodNav, 104u);
    EXPECT_EQ(r.toe, 600000u);
    const double orbit[] = {r.sqrtA, r.deltaN, r.m0,  r.eccentricity, r.omega, r.cuc,    r.cus,     r.crc,
                            r.crs,   r.cic,    r.cis, r.i0,           r.iDot,  r.omega0, r.omegaDot};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(orbit[i], 5440.125 + i) << "orbit value " << i;
    EXPECT_EQ(r.fnavToc, 600060u);
    EXPECT_EQ(r.fnavAf0, -1.5);
    EXPECT_EQ(r.fnavAf1, -2.5);
    EXPECT_EQ(r.fnavAf2, -3.5);
    EXPECT_EQ(r.inavToc, 600120u);
    EXPECT_EQ(r.inavAf0, 1.5);
    EXPECT_EQ(r.inavAf1, 2.5);
    EXPECT_EQ(r.inavAf2, 3.5);
    EXPECT_EQ(r.bgdE5aE1, 4.5);
    EXPECT_EQ(r.bgdE5bE1, 5.5);
}

TEST(GalileoEphemerisDecoder, BodyOf220BytesDecodesAnd219IsRefused) {
    GalileoEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGalEphemerisId, 220),
                                   decoding::decodeGalileoEphemeris, r),
              0);
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGalEphemerisId, 219),
                                   decoding::decodeGalileoEphemeris, r),
              -1);
}

TEST(GalileoEphemerisDecoder, OtherMessageIdIsRefused) {
    GalileoEphemeris r;
    for (uint16_t id : {uint16_t(1309), uint16_t(1310), uint16_t(7)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutGalBody(220)),
                                       decoding::decodeGalileoEphemeris, r),
                  -1)
            << "id " << id;
}

TEST(GalileoEphemerisEncoder, RoundTripKeepsEveryField) {
    const GalileoEphemeris in = navtest::distinctGalileoEphemeris();
    const FrameStamp stamp{2011, 600666000, 180};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 220u + 4u);
    GalileoEphemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeGalileoEphemeris, out), 0);
    navtest::expectFrameHeader(out.header, kGalEphemerisId, 220, stamp);
    navtest::expectSameBody(in, out);
}

TEST(GalileoInavEphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 603066000, 180};
    GalileoInavEphemeris r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kGalInavId, stamp, laidOutInavBody(184)),
                                   decoding::decodeGalileoInavEphemeris, r),
              0);
    navtest::expectFrameHeader(r.header, kGalInavId, 184, stamp);
    EXPECT_EQ(r.satellite, 2u);
    const uint8_t bytes[] = {r.e5bHealth, r.e5bDvs, r.reserved1, r.reserved2,
                             r.e1bHealth, r.e1bDvs, r.reserved3, r.reserved4};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(bytes[i], 0x41 + i) << "byte " << i;
    EXPECT_EQ(r.iodNav, 0x0108);
    EXPECT_EQ(r.sisaIndex, 107);
    EXPECT_EQ(r.inavSource, 0x55);
    EXPECT_EQ(r.toe, 602400u);
    EXPECT_EQ(r.toc, 602460u);
    const double values[] = {r.m0,    r.deltaN,   r.eccentricity, r.sqrtA, r.i0,       r.iDot,    r.omega0,
                             r.omega, r.omegaDot, r.cuc,          r.cus,   r.crc,      r.crs,     r.cic,
                             r.cis,   r.af0,      r.af1,          r.af2,   r.bgdE5aE1, r.bgdE5bE1};
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(values[i], -0.0625 * (i + 1)) << "value " << i;
}

TEST(GalileoInavEphemerisDecoder, BodyOf184BytesDecodesAnd183IsRefused) {
    GalileoInavEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGalInavId, 184),
                                   decoding::decodeGalileoInavEphemeris, r),
              0);
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGalInavId, 183),
                                   decoding::decodeGalileoInavEphemeris, r),
              -1);
}

TEST(GalileoInavEphemerisDecoder, OtherMessageIdIsRefused) {
    GalileoInavEphemeris r;
    for (uint16_t id : {uint16_t(1122), uint16_t(1310), uint16_t(7)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutInavBody(184)),
                                       decoding::decodeGalileoInavEphemeris, r),
                  -1)
            << "id " << id;
}

TEST(GalileoInavEphemerisEncoder, RoundTripKeepsEveryField) {
    const GalileoInavEphemeris in = navtest::distinctGalileoInavEphemeris();
    const FrameStamp stamp{2011, 603066000, 180};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 184u + 4u);
    GalileoInavEphemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeGalileoInavEphemeris, out), 0);
    navtest::expectFrameHeader(out.header, kGalInavId, 184, stamp);
    navtest::expectSameBody(in, out);
}

TEST(GalileoFnavEphemerisDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2011, 603740000, 180};
    GalileoFnavEphemeris r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kGalFnavId, stamp, laidOutFnavBody(172)),
                                   decoding::decodeGalileoFnavEphemeris, r),
              0);
    navtest::expectFrameHeader(r.header, kGalFnavId, 172, stamp);
    EXPECT_EQ(r.satellite, 3u);
    const uint8_t bytes[] = {r.e5aHealth, r.e5aDvs, r.reserved1, r.reserved2};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(bytes[i], 0x61 + i) << "byte " << i;
    EXPECT_EQ(r.iodNav, 0x0109);
    EXPECT_EQ(r.sisaIndex, 108);
    EXPECT_EQ(r.reserved3, 0x66);
    EXPECT_EQ(r.toe, 603000u);
    EXPECT_EQ(r.toc, 603060u);
    const double values[] = {r.m0,    r.deltaN,   r.eccentricity, r.sqrtA, r.i0,      r.iDot, r.omega0,
                             r.omega, r.omegaDot, r.cuc,          r.cus,   r.crc,     r.crs,  r.cic,
                             r.cis,   r.af0,      r.af1,          r.af2,   r.bgdE5aE1};
    for (int i = 0; i < 19; ++i)
        EXPECT_EQ(values[i], 0.03125 * (i + 1)) << "value " << i;
}

TEST(GalileoFnavEphemerisDecoder, BodyOf172BytesDecodesAnd171IsRefused) {
    GalileoFnavEphemeris r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGalFnavId, 172),
                                   decoding::decodeGalileoFnavEphemeris, r),
              0);
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kGalFnavId, 171),
                                   decoding::decodeGalileoFnavEphemeris, r),
              -1);
}

TEST(GalileoFnavEphemerisDecoder, OtherMessageIdIsRefused) {
    GalileoFnavEphemeris r;
    for (uint16_t id : {uint16_t(1122), uint16_t(1309), uint16_t(7)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutFnavBody(172)),
                                       decoding::decodeGalileoFnavEphemeris, r),
                  -1)
            << "id " << id;
}

TEST(GalileoFnavEphemerisEncoder, RoundTripKeepsEveryField) {
    const GalileoFnavEphemeris in = navtest::distinctGalileoFnavEphemeris();
    const FrameStamp stamp{2011, 603740000, 180};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 172u + 4u);
    GalileoFnavEphemeris out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeGalileoFnavEphemeris, out), 0);
    navtest::expectFrameHeader(out.header, kGalFnavId, 172, stamp);
    navtest::expectSameBody(in, out);
}
