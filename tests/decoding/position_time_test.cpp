// SPDX-License-Identifier: MIT
#include "decoding/position_time.h"

#include <gtest/gtest.h>

#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"

using decoding::PositionSolution;
using decoding::TimeSolution;
using encoding::boardFrame;
using encoding::BodyWriter;
using encoding::FrameStamp;

namespace {

constexpr uint16_t kPsrPosId = 47;
constexpr uint16_t kTimeId = 101;

encoding::Bytes laidOutPsrPosBody(size_t size) {
    BodyWriter w(size);
    w.u32(0, 0).u32(4, 16).f64(8, 40.678).f64(16, -115.7).f64(24, 1683.25).f32(32, -17.5f).u32(36, 61);
    w.f32(40, 1.25f).f32(44, 2.5f).f32(48, 3.75f).u8(52, 'A').u8(53, 'B').u8(54, 'C').u8(55, 'D');
    w.f32(56, 4.5f).f32(60, 5.5f).u8(64, 31).u8(65, 27);
    for (size_t i = 66; i <= 70; ++i)
        w.u8(i, 0xEE);
    w.u8(71, 0x33);
    return w.bytes();
}

encoding::Bytes laidOutTimeBody(size_t size, uint32_t utcStatus) {
    BodyWriter w(size);
    w.u32(0, 2).f64(4, -1.25e-7).f64(12, 3.5e-9).f64(20, -18.0).u32(28, 2018).u8(32, 7).u8(33, 29);
    w.u8(34, 13).u8(35, 45).u32(36, 30500).u32(40, utcStatus);
    return w.bytes();
}

} // namespace

TEST(PsrPosDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2012, 49530000, 180};
    PositionSolution r;
    ASSERT_EQ(
        navtest::decodeFrame(boardFrame(kPsrPosId, stamp, laidOutPsrPosBody(72)), decoding::decodePsrPos, r),
        0);
    navtest::expectFrameHeader(r.header, kPsrPosId, 72, stamp);
    EXPECT_EQ(r.solutionStatus, 0u);
    EXPECT_EQ(r.positionType, 16u);
    EXPECT_EQ(r.latitude, 40.678);
    EXPECT_EQ(r.longitude, -115.7);
    EXPECT_EQ(r.height, 1683.25);
    EXPECT_EQ(r.undulation, -17.5f);
    EXPECT_EQ(r.datumId, 61u);
    EXPECT_EQ(r.latitudeStd, 1.25f);
    EXPECT_EQ(r.longitudeStd, 2.5f);
    EXPECT_EQ(r.heightStd, 3.75f);
    EXPECT_EQ(r.stationId[0], 'A');
    EXPECT_EQ(r.stationId[1], 'B');
    EXPECT_EQ(r.stationId[2], 'C');
    EXPECT_EQ(r.stationId[3], 'D');
    EXPECT_EQ(r.differentialAge, 4.5f);
    EXPECT_EQ(r.solutionAge, 5.5f);
    EXPECT_EQ(r.satellitesTracked, 31);
    EXPECT_EQ(r.satellitesInSolution, 27);
    EXPECT_EQ(r.signalMask, 0x33);
}

TEST(PsrPosDecoder, BodyOfExactly72BytesDecodes) {
    PositionSolution r;
    EXPECT_EQ(
        navtest::decodeFrame(boardFrame(kPsrPosId, {}, laidOutPsrPosBody(72)), decoding::decodePsrPos, r), 0);
    EXPECT_EQ(r.signalMask, 0x33);
}

TEST(PsrPosDecoder, BodyOf71BytesIsRefused) {
    PositionSolution r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kPsrPosId, 71), decoding::decodePsrPos, r), -1);
}

TEST(PsrPosDecoder, OtherMessageIdIsRefused) {
    PositionSolution r;
    for (uint16_t id : {uint16_t(42), uint16_t(101), uint16_t(48)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutPsrPosBody(72)), decoding::decodePsrPos, r),
                  -1)
            << "id " << id;
}

TEST(PsrPosDecoder, RefusedFrameStillLeavesItsHeaderInTheRecord) {
    const FrameStamp stamp{2012, 1234, 100};
    PositionSolution r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(42, stamp, laidOutPsrPosBody(72)), decoding::decodePsrPos, r),
              -1);
    EXPECT_EQ(r.header.messageId, 42);
    EXPECT_EQ(r.header.week, 2012);
    EXPECT_EQ(r.header.milliseconds, 1234u);
    ASSERT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kPsrPosId, 71), decoding::decodePsrPos, r), -1);
    EXPECT_EQ(r.header.messageId, kPsrPosId);
    EXPECT_EQ(r.header.messageLength, 71);
}

TEST(PsrPosEncoder, RoundTripKeepsEveryField) {
    const PositionSolution in = navtest::distinctPositionSolution();
    const FrameStamp stamp{2012, 49530000, 180};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 72u + 4u);
    PositionSolution out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodePsrPos, out), 0);
    navtest::expectFrameHeader(out.header, kPsrPosId, 72, stamp);
    navtest::expectSameBody(in, out);
}

TEST(TimeDecoder, ReadsEveryFieldFromItsBodyOffset) {
    const FrameStamp stamp{2012, 49548500, 180};
    TimeSolution r;
    ASSERT_EQ(
        navtest::decodeFrame(boardFrame(kTimeId, stamp, laidOutTimeBody(44, 1)), decoding::decodeTime, r), 0);
    navtest::expectFrameHeader(r.header, kTimeId, 44, stamp);
    EXPECT_EQ(r.clockStatus, 2u);
    EXPECT_EQ(r.receiverClockOffset, -1.25e-7);
    EXPECT_EQ(r.receiverClockOffsetStd, 3.5e-9);
    EXPECT_EQ(r.utcOffset, -18.0);
    EXPECT_EQ(r.utcYear, 2018u);
    EXPECT_EQ(r.utcMonth, 7);
    EXPECT_EQ(r.utcDay, 29);
    EXPECT_EQ(r.utcHour, 13);
    EXPECT_EQ(r.utcMinute, 45);
    EXPECT_EQ(r.utcMilliseconds, 30500u);
    EXPECT_EQ(r.utcStatus, 1u);
}

TEST(TimeDecoder, InvalidUtcStatusZeroStillDecodes) {
    TimeSolution r;
    ASSERT_EQ(navtest::decodeFrame(boardFrame(kTimeId, {}, laidOutTimeBody(44, 0)), decoding::decodeTime, r),
              0);
    EXPECT_EQ(r.utcStatus, 0u);
    EXPECT_EQ(r.utcYear, 2018u);
}

TEST(TimeDecoder, BodyOf44BytesDecodesAnd43IsRefused) {
    TimeSolution r;
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kTimeId, 44), decoding::decodeTime, r), 0);
    EXPECT_EQ(navtest::decodeFrame(navtest::zeroBodyFrame(kTimeId, 43), decoding::decodeTime, r), -1);
}

TEST(TimeDecoder, OtherMessageIdIsRefused) {
    TimeSolution r;
    for (uint16_t id : {uint16_t(47), uint16_t(102), uint16_t(8)})
        EXPECT_EQ(navtest::decodeFrame(boardFrame(id, {}, laidOutTimeBody(44, 1)), decoding::decodeTime, r),
                  -1)
            << "id " << id;
}

TEST(TimeEncoder, RoundTripKeepsEveryField) {
    const TimeSolution in = navtest::distinctTimeSolution();
    const FrameStamp stamp{2012, 49548500, 180};
    const auto frame = encoding::encodeLogFrame(in, stamp);
    EXPECT_EQ(frame.size(), encoding::kBoardHeaderLength + 44u + 4u);
    TimeSolution out;
    ASSERT_EQ(navtest::decodeFrame(frame, decoding::decodeTime, out), 0);
    navtest::expectFrameHeader(out.header, kTimeId, 44, stamp);
    navtest::expectSameBody(in, out);
}
