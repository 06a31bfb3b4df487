// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>

#include "decoding/log_header.h"
#include "decoding/range_decoders.h"
#include "encoder/board_frame.h"
#include "gnss/constants.h"
#include "support/board_frames.h"

using namespace decoding;
using encoding::BodyWriter;
using encoding::Bytes;

namespace {

constexpr double kC = gnss::kSpeedOfLight;
constexpr double k2Pow22 = 4194304.0;
constexpr double k2Pow23 = 8388608.0;

using Frame = testsupport::DecodedFrame;
using testsupport::frameOf;

uint32_t statusWord(uint32_t system, uint32_t signalType) {
    return (1u << 10) | (1u << 11) | (1u << 12) | (system << 16) | (signalType << 21);
}

// Raw field values of one 24-byte record.
struct CmpRecord {
    uint32_t status = statusWord(SystemGps, 0);
    int32_t doppler = 0;      // 1/256 Hz, 28 bits
    uint64_t pseudorange = 0; // 1/128 m, 36 bits
    int32_t phase = 0;        // 1/256 cycle
    uint8_t pseudorangeStdIndex = 0;
    uint8_t phaseStdIndex = 0;
    uint8_t satellite = 1;
    uint32_t lock = 0;    // 1/32 s, 21 bits
    uint32_t cn0 = 0;     // dB-Hz minus 20, 5 bits
    uint32_t channel = 0; // raw, 6 bits
};

Bytes cmpBody(const std::vector<CmpRecord>& records, uint32_t count) {
    BodyWriter w(4);
    w.u32(0, count);
    size_t at = 4;
    for (const CmpRecord& r : records) {
        w.u32(at, r.status)
            .u32(at + 4, (uint32_t(r.doppler) & 0x0FFFFFFF) | uint32_t((r.pseudorange & 0x0F) << 28))
            .u32(at + 8, uint32_t(r.pseudorange >> 4))
            .u32(at + 12, uint32_t(r.phase))
            .u8(at + 16, uint8_t(r.pseudorangeStdIndex | (r.phaseStdIndex << 4)))
            .u8(at + 17, r.satellite)
            .u32(at + 18, r.lock | (r.cn0 << 21) | (r.channel << 26))
            .u16(at + 22, 0);
        at += 24;
    }
    return w.bytes();
}

Bytes cmpBody(const std::vector<CmpRecord>& records) {
    return cmpBody(records, uint32_t(records.size()));
}

int decodeOne(const CmpRecord& r, RangeObservation& o, uint32_t mode = 0) {
    const Frame f = frameOf(LogRangeCmp, cmpBody({r}));
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp(f.bytes.data(), f.header, cursor, mode), 0);
    return decodeRangeCmp(cursor, 0, &o);
}

// Phase word as logged: the low 32 bits of the phase in 1/256 cycle.
int32_t loggedPhase(double cycles) {
    return int32_t(uint32_t(int64_t(std::llround(cycles * 256.0))));
}

} // namespace

TEST(RangeCmp, BodyOfNRecordsWithCountNDecodesNRecords) {
    std::vector<CmpRecord> records(4);
    for (int i = 0; i < 4; ++i) {
        records[i].satellite = uint8_t(10 + i);
        records[i].pseudorange = uint64_t(2000000000) + uint64_t(i); // 15625000 m + i/128
        records[i].cn0 = uint32_t(20 + i);
    }
    const Frame f = frameOf(LogRangeCmp, cmpBody(records));
    ASSERT_EQ(f.header.messageLength, 4 + 24 * 4);
    RangeCursor cursor{};
    ASSERT_EQ(openRangeCmp(f.bytes.data(), f.header, cursor, 0), 0);
    EXPECT_EQ(cursor.count, 4);
    EXPECT_EQ(cursor.first, f.bytes.data() + f.header.headerLength + 4);
    for (int i = 0; i < 4; ++i) {
        RangeObservation o{};
        ASSERT_EQ(decodeRangeCmp(cursor, i, &o), 0);
        EXPECT_EQ(o.satellite, 10 + i);
        EXPECT_EQ(o.pseudorange, 15625000.0 + i / 128.0);
        EXPECT_EQ(o.cn0, 40.0 + i);
    }
}

TEST(RangeCmp, CountOneAboveTheRecordsInTheBodyIsInconsistent) {
    const Frame f = frameOf(LogRangeCmp, cmpBody(std::vector<CmpRecord>(3), 4));
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp(f.bytes.data(), f.header, cursor, 0), -2);
}

TEST(RangeCmp, OtherMessageIdIsRefused) {
    const Frame f = frameOf(LogRange, cmpBody(std::vector<CmpRecord>(1)));
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(RangeCmp, BodyThatIsNotFourPlusWholeRecordsIsRefused) {
    Bytes body = cmpBody(std::vector<CmpRecord>(2));
    body.resize(body.size() + 12, 0);
    const Frame f = frameOf(LogRangeCmp, body);
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(RangeCmp, IndexOutsideTheRecordsOrMissingRecordFails) {
    const Frame f = frameOf(LogRangeCmp, cmpBody(std::vector<CmpRecord>(1)));
    RangeCursor cursor{};
    ASSERT_EQ(openRangeCmp(f.bytes.data(), f.header, cursor, 0), 0);
    RangeObservation o{};
    EXPECT_EQ(decodeRangeCmp(cursor, -1, &o), -1);
    EXPECT_EQ(decodeRangeCmp(cursor, 1, &o), -1);
    EXPECT_EQ(decodeRangeCmp(cursor, 0, nullptr), -1);
}

TEST(RangeCmp, PackedFieldsAreScaledAsListed) {
    // A BeiDou GEO satellite: its pseudorange needs the bits above 32 of the 36-bit field.
    CmpRecord r;
    r.status = statusWord(SystemBeidou, 0);
    r.satellite = 165;
    r.pseudorange = 5184014319ull; // 40500111.8671875 m
    r.doppler = -1234567;
    const double pseudorange = 5184014319.0 / 128.0;
    const double truePhase = -std::round(pseudorange * 1561098000.0 / kC) - 2000.25;
    r.phase = loggedPhase(truePhase);
    r.pseudorangeStdIndex = 6;
    r.phaseStdIndex = 3;
    r.lock = 123456;
    r.cn0 = 31;
    r.channel = 0;

    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.satellite, 5);
    EXPECT_EQ(o.pseudorange, 40500111.8671875);
    EXPECT_EQ(o.doppler, -1234567 / 256.0);
    EXPECT_EQ(o.carrierPhase, truePhase);
    EXPECT_EQ(o.pseudorangeStd, 0.57);
    EXPECT_EQ(o.carrierPhaseStd, 4 / 512.0);
    EXPECT_EQ(o.lockTime, 123456 / 32.0);
    EXPECT_EQ(o.cn0, 51.0);
    EXPECT_EQ(o.glonassFrequency, 0);
    ASSERT_NE(o.signalInfo, nullptr);
    EXPECT_STREQ(o.signalInfo->rinexCode, "2I");
}

TEST(RangeCmp, DopplerUsesTheFull28BitTwosComplementRange) {
    CmpRecord r;
    r.doppler = 0x07FFFFFF;
    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.doppler, 0x07FFFFFF / 256.0);
    r.doppler = -0x08000000;
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.doppler, -0x08000000 / 256.0);
}

TEST(RangeCmp, StandardDeviationIndexesSelectTheListedValues) {
    const double pseudorangeStd[16] = {0.05,  0.075, 0.113, 0.169, 0.253, 0.38, 0.57, 0.854,
                                       1.281, 2.375, 4.75,  9.5,   19.0,  38.0, 76.0, 152.0};
    for (uint8_t i = 0; i < 16; ++i) {
        CmpRecord r;
        r.pseudorangeStdIndex = i;
        r.phaseStdIndex = uint8_t(15 - i);
        RangeObservation o{};
        ASSERT_EQ(decodeOne(r, o), 0);
        EXPECT_EQ(o.pseudorangeStd, pseudorangeStd[i]);
        EXPECT_EQ(o.carrierPhaseStd, (16 - i) / 512.0);
    }
}

TEST(RangeCmp, PhaseRolloverIsCorrectedByMultipleOf2Pow23) {
    const double pseudorange = 20000000.0;
    CmpRecord r;
    r.pseudorange = uint64_t(pseudorange * 128);
    const double truePhase = -std::round(pseudorange * 1575420000.0 / kC) + 1234.5;
    r.phase = loggedPhase(truePhase);
    const double logged = r.phase / 256.0;
    // The logged phase alone disagrees with the pseudorange by far more than 2^22 cycles.
    ASSERT_GT(std::fabs(pseudorange * 1575420000.0 / kC + logged), k2Pow22);

    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.carrierPhase, truePhase);
    const double turns = (o.carrierPhase - logged) / k2Pow23;
    EXPECT_NE(turns, 0.0);
    EXPECT_EQ(turns, std::round(turns));
}

TEST(RangeCmp, PhaseThatAgreesWithThePseudorangeIsKept) {
    CmpRecord r;
    r.pseudorange = 1000 * 128; // 1000 m: about 5255 cycles at L1
    r.phase = loggedPhase(-5000.25);
    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.carrierPhase, -5000.25);
}

TEST(RangeCmp, GlonassRolloverUsesTheChannelAdjustedCarrier) {
    // Channel -7: the carrier is 1602 MHz - 7 x 562.5 kHz. At 4e5 km the unadjusted carrier
    // would place the phase more than half a rollover away and pick the wrong multiple.
    const double pseudorange = 400000000.0;
    const double adjusted = 1602000000.0 - 7 * 562500.0;
    const double truePhase = -std::round(pseudorange * adjusted / kC) + 100.5;
    ASSERT_NE(std::round((pseudorange * 1602000000.0 / kC + truePhase) / k2Pow23), 0.0);

    CmpRecord r;
    r.status = statusWord(SystemGlonass, 0);
    r.satellite = 45;
    r.channel = 0;
    r.pseudorange = uint64_t(pseudorange * 128);
    r.phase = loggedPhase(truePhase);
    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.glonassFrequency, -7);
    EXPECT_EQ(o.carrierPhase, truePhase);
}

TEST(RangeCmp, GlonassSlot45BecomesSatellite8AndRawChannel7BecomesZero) {
    CmpRecord r;
    r.status = statusWord(SystemGlonass, 0);
    r.satellite = 45;
    r.channel = 7;
    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.satellite, 8);
    EXPECT_EQ(o.glonassFrequency, 0);
}

TEST(RangeCmp, GlonassSignalType5Is2PForwardAnd2CInMode2) {
    CmpRecord r;
    r.status = statusWord(SystemGlonass, 5);
    r.satellite = 45;
    r.channel = 7;
    RangeObservation forward{}, backward{};
    ASSERT_EQ(decodeOne(r, forward, 0), 0);
    ASSERT_EQ(decodeOne(r, backward, 2), 0);
    EXPECT_STREQ(forward.signalInfo->rinexCode, "2P");
    EXPECT_STREQ(backward.signalInfo->rinexCode, "2C");
}

TEST(RangeCmp, StatusWordIsSplitLikeRange) {
    CmpRecord r;
    r.status = 9u | (6u << 5) | (1u << 11) | (3u << 16) | (1u << 20) | (12u << 21);
    RangeObservation o{};
    ASSERT_EQ(decodeOne(r, o), 0);
    EXPECT_EQ(o.trackingState, 9);
    EXPECT_EQ(o.channel, 6);
    EXPECT_EQ(o.phaseLocked, 0);
    EXPECT_EQ(o.parityKnown, 1);
    EXPECT_EQ(o.codeLocked, 0);
    EXPECT_EQ(o.system, 3);
    EXPECT_EQ(o.grouped, 1);
    EXPECT_STREQ(o.signalInfo->rinexCode, "5Q");
}

TEST(RangeCmp, UnknownSignalTypeFails) {
    CmpRecord r;
    r.status = statusWord(SystemGalileo, 3); // Galileo has no type 3
    RangeObservation o{};
    EXPECT_EQ(decodeOne(r, o), -1);
}

TEST(RangeCmp, SystemSevenFailsForWantOfASignalRow) {
    CmpRecord r;
    r.status = statusWord(7, 0);
    RangeObservation o{};
    EXPECT_EQ(decodeOne(r, o), -1);
    EXPECT_EQ(o.systemInfo, nullptr);
}
