// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

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

using Frame = testsupport::DecodedFrame;
using testsupport::frameOf;

// Raw fields of a 14-byte satellite block.
struct SatBlock {
    uint8_t channel = 0;
    uint8_t satellite = 1;
    uint8_t rawChannel = 0;  // 4 bits
    uint32_t systemCode = 0; // 5 bits
    uint32_t pseudorangeBase = 20000000;
    int32_t dopplerBase = 0; // 21 bits
    uint32_t signalCount = 1;
};

// Raw fields of a 16-byte signal block.
struct SigBlock {
    uint32_t code = 1;
    bool phaseLocked = true, parityKnown = true, codeLocked = true;
    uint32_t lockMs = 0;
    uint32_t cn0 = 0; // dB-Hz minus 20
    uint32_t pseudorangeStdIndex = 0, phaseStdIndex = 0;
    uint32_t pseudorangeDifference = 0; // 1/128 m, 14 bits
    uint32_t phaseRangeDifference = 0;  // 1/2048 m, 20 bits
    int32_t dopplerDifference = 0;      // 1/256 Hz, 17 bits
};

class Body {
public:
    Body& satellite(const SatBlock& s) {
        const uint32_t doppler = uint32_t(s.dopplerBase) & 0x1FFFFF;
        // Bits 13..15 of bytes 8..9 are set to show that they are not part of the base.
        w_.u8(at_, s.channel)
            .u8(at_ + 1, s.satellite)
            .u16(at_ + 2, uint16_t((s.rawChannel & 0x0F) | (s.systemCode << 4)))
            .u16(at_ + 4, 0)
            .u16(at_ + 6, uint16_t(s.pseudorangeBase & 0xFFFF))
            .u16(at_ + 8, uint16_t(((s.pseudorangeBase >> 16) & 0x1FFF) | 0xE000))
            .u16(at_ + 10, uint16_t(doppler & 0xFFFF))
            .u16(at_ + 12, uint16_t((doppler >> 16) | (s.signalCount << 5)));
        at_ += 14;
        return *this;
    }
    Body& signal(const SigBlock& s) {
        const uint32_t w0 = (s.code & 0x1F) | (uint32_t(s.phaseLocked) << 5) |
                            (uint32_t(s.parityKnown) << 6) | (uint32_t(s.codeLocked) << 7) | (s.lockMs << 8);
        const uint32_t w1 =
            s.cn0 | (s.pseudorangeStdIndex << 5) | (s.phaseStdIndex << 9) | (s.pseudorangeDifference << 13);
        w_.u32(at_, w0).u32(at_ + 4, w1).u32(at_ + 8, s.phaseRangeDifference);
        w_.u32(at_ + 12, uint32_t(s.dopplerDifference) & 0x1FFFF);
        at_ += 16;
        return *this;
    }
    Body& raw(size_t n) {
        for (size_t i = 0; i < n; ++i)
            w_.u8(at_++, 0);
        return *this;
    }
    // Body with the block byte count in front; count < 0 writes the true count.
    Bytes bytes(int64_t count = -1) {
        w_.u32(0, count < 0 ? uint32_t(at_ - 4) : uint32_t(count));
        return w_.bytes();
    }

private:
    BodyWriter w_{4};
    size_t at_ = 4;
};

struct Walk {
    Frame frame;
    RangeCursor cursor{};
};

Walk open(const Bytes& body, uint32_t mode = 0) {
    Walk w;
    w.frame = frameOf(LogRangeCmp2, body);
    EXPECT_EQ(openRangeCmp2(w.frame.bytes.data(), w.frame.header, w.cursor, mode), 0);
    return w;
}

RangeObservation single(const SatBlock& sat, const SigBlock& sig, uint32_t mode = 0) {
    Walk w = open(Body().satellite(sat).signal(sig).bytes(), mode);
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record);
    return o;
}

} // namespace

TEST(RangeCmp2, OpeningKeepsTheBlockByteCountAndStartsBeforeTheFirstBlock) {
    SatBlock sat;
    sat.signalCount = 2;
    Walk w = open(Body().satellite(sat).signal({}).signal({}).bytes());
    EXPECT_EQ(w.cursor.count, 14 + 2 * 16);
    EXPECT_EQ(w.cursor.first, w.frame.bytes.data() + w.frame.header.headerLength + 4);
    EXPECT_EQ(w.cursor.position, 0u);
    EXPECT_EQ(w.cursor.currentSatellite, -1);
    EXPECT_EQ(w.cursor.header.messageId, LogRangeCmp2);
}

TEST(RangeCmp2, OtherMessageIdIsRefused) {
    const Frame f = frameOf(LogRangeCmp, Body().satellite({}).signal({}).bytes());
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp2(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(RangeCmp2, BlockByteCountBelow15IsRefused) {
    const Frame f = frameOf(LogRangeCmp2, Body().raw(14).bytes());
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp2(f.bytes.data(), f.header, cursor, 0), -2);
}

TEST(RangeCmp2, BlockByteCountOf15Opens) {
    const Frame f = frameOf(LogRangeCmp2, Body().raw(15).bytes());
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp2(f.bytes.data(), f.header, cursor, 0), 0);
}

TEST(RangeCmp2, BlockByteCountBeyondTheBodyIsRefused) {
    const Frame f = frameOf(LogRangeCmp2, Body().satellite({}).signal({}).bytes(14 + 16 + 1));
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp2(f.bytes.data(), f.header, cursor, 0), -2);
}

TEST(RangeCmp2, BodyWithoutRoomForTheCountIsRefused) {
    const Frame f = frameOf(LogRangeCmp2, Bytes{0, 0});
    RangeCursor cursor{};
    EXPECT_EQ(openRangeCmp2(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(RangeCmp2, SignalsAreReturnedSatelliteBySatelliteThenEndOfData) {
    SatBlock gps;
    gps.satellite = 5;
    gps.signalCount = 2;
    SatBlock galileo;
    galileo.satellite = 9;
    galileo.systemCode = 5;
    SigBlock l1, l2w, e1;
    l2w.code = 4;
    Walk w = open(Body().satellite(gps).signal(l1).signal(l2w).satellite(galileo).signal(e1).bytes());

    const struct {
        char letter;
        int satellite;
        const char* code;
    } expected[] = {{'G', 5, "1C"}, {'G', 5, "2W"}, {'E', 9, "1C"}};
    for (const auto& e : expected) {
        RangeObservation o{};
        ASSERT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record);
        ASSERT_NE(o.systemInfo, nullptr);
        ASSERT_NE(o.signalInfo, nullptr);
        EXPECT_EQ(o.systemInfo->letter, e.letter);
        EXPECT_EQ(o.satellite, e.satellite);
        EXPECT_STREQ(o.signalInfo->rinexCode, e.code);
    }
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2End);
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2End);
}

TEST(RangeCmp2, BlockFieldsAreScaledAsListed) {
    SatBlock sat;
    sat.channel = 201;
    sat.satellite = 12;
    sat.pseudorangeBase = 0x1ABCDEF; // uses the base's bits above 16
    sat.dopplerBase = -1500;
    SigBlock sig;
    sig.code = 1;
    sig.phaseLocked = true;
    sig.parityKnown = false;
    sig.codeLocked = true;
    sig.lockMs = 98765;
    sig.cn0 = 27;
    sig.pseudorangeStdIndex = 3;
    sig.phaseStdIndex = 4;
    sig.pseudorangeDifference = 5000;
    sig.phaseRangeDifference = 123456;
    sig.dopplerDifference = -300;
    const RangeObservation o = single(sat, sig);

    EXPECT_EQ(o.channel, 201);
    EXPECT_EQ(o.satellite, 12);
    EXPECT_EQ(o.glonassFrequency, 0);
    EXPECT_EQ(o.system, SystemGps);
    EXPECT_EQ(o.signalType, 1);
    EXPECT_EQ(o.phaseLocked, 1);
    EXPECT_EQ(o.parityKnown, 0);
    EXPECT_EQ(o.codeLocked, 1);
    EXPECT_EQ(o.trackingState, 0);
    EXPECT_EQ(o.grouped, 0);
    EXPECT_DOUBLE_EQ(o.lockTime, 98.765);
    EXPECT_EQ(o.cn0, 47.0);
    EXPECT_EQ(o.pseudorangeStd, double(0.066f));
    EXPECT_EQ(o.carrierPhaseStd, double(0.01239f));
    EXPECT_EQ(o.pseudorange, 0x1ABCDEF + 5000 / 128.0);
    EXPECT_DOUBLE_EQ(o.carrierPhase, -(0x1ABCDEF + 123456 / 2048.0) * 1575420000.0 / kC);
    EXPECT_DOUBLE_EQ(o.doppler, -300 / 256.0 - 1500);
    EXPECT_STREQ(o.signalInfo->rinexCode, "1C");
}

TEST(RangeCmp2, DopplerIsScaledFromTheReferenceToTheSignalCarrier) {
    SatBlock sat;
    sat.dopplerBase = 2000;
    SigBlock l2w;
    l2w.code = 4;
    l2w.dopplerDifference = 128;
    const RangeObservation o = single(sat, l2w);
    EXPECT_DOUBLE_EQ(o.doppler, 2000.5 * 1227600000.0 / 1575420000.0);
    EXPECT_DOUBLE_EQ(o.carrierPhase, -20000000.0 * 1227600000.0 / kC);
}

TEST(RangeCmp2, DopplerBaseAndDifferenceAreTwosComplement) {
    const struct {
        int32_t base;
        int32_t difference;
    } cases[] = {{-1, -1}, {-1048576, -65536}, {1048575, 65535}, {0, 0}};
    for (const auto& c : cases) {
        SatBlock sat;
        sat.dopplerBase = c.base;
        SigBlock sig;
        sig.dopplerDifference = c.difference;
        EXPECT_EQ(single(sat, sig).doppler, c.base + c.difference / 256.0) << c.base << " " << c.difference;
    }
}

TEST(RangeCmp2, PseudorangeAndPhaseRangeDifferencesAreUnsigned) {
    SatBlock sat;
    sat.pseudorangeBase = 0x1FFFFFFF; // the largest 29-bit base
    SigBlock sig;
    sig.pseudorangeDifference = 0x3FFF;
    sig.phaseRangeDifference = 0xFFFFF;
    const RangeObservation o = single(sat, sig);
    EXPECT_EQ(o.pseudorange, 0x1FFFFFFF + 0x3FFF / 128.0);
    EXPECT_DOUBLE_EQ(o.carrierPhase, -(0x1FFFFFFF + 0xFFFFF / 2048.0) * 1575420000.0 / kC);
}

TEST(RangeCmp2, StandardDeviationIndexesSelectTheListedValues) {
    const float pseudorange[16] = {0.02f,  0.03f,  0.045f, 0.066f, 0.099f, 0.148f, 0.22f,  0.329f,
                                   0.491f, 0.732f, 1.092f, 1.629f, 2.43f,  3.625f, 5.409f, 9.999f};
    const float phase[16] = {0.00391f, 0.00521f, 0.00696f, 0.00929f, 0.01239f, 0.01654f, 0.02208f, 0.02947f,
                             0.03933f, 0.05249f, 0.07006f, 0.0935f,  0.1248f,  0.16656f, 0.2223f,  9.99999f};
    for (uint32_t i = 0; i < 16; ++i) {
        SigBlock sig;
        sig.pseudorangeStdIndex = i;
        sig.phaseStdIndex = 15 - i;
        const RangeObservation o = single({}, sig);
        EXPECT_EQ(o.pseudorangeStd, double(pseudorange[i]));
        EXPECT_EQ(o.carrierPhaseStd, double(phase[15 - i]));
    }
}

TEST(RangeCmp2, SystemCodesMapToTheirSystems) {
    const struct {
        uint32_t code;
        char letter;
        uint8_t system;
        uint8_t raw;
        uint16_t satellite;
    } cases[] = {{0, 'G', 0, 7, 7},    {1, 'R', 1, 45, 8},  {2, 'S', 2, 133, 14}, {5, 'E', 3, 30, 30},
                 {6, 'C', 4, 170, 10}, {7, 'J', 5, 194, 2}, {9, 'I', 6, 3, 3}};
    for (const auto& c : cases) {
        SatBlock sat;
        sat.systemCode = c.code;
        sat.satellite = c.raw;
        sat.rawChannel = c.code == 1 ? 7 : 0;
        const RangeObservation o = single(sat, {}); // compressed code 1 exists in every system
        ASSERT_NE(o.systemInfo, nullptr) << c.code;
        EXPECT_EQ(o.systemInfo->letter, c.letter);
        EXPECT_EQ(o.system, c.system);
        EXPECT_EQ(o.satellite, c.satellite);
        EXPECT_EQ(o.glonassFrequency, 0);
    }
}

TEST(RangeCmp2, CodeWithoutASystemIsSkippedAndTheWalkGoesOn) {
    for (uint32_t code : {3u, 4u, 8u, 10u, 31u}) {
        SatBlock unknown;
        unknown.systemCode = code;
        unknown.signalCount = 2;
        SatBlock gps;
        gps.satellite = 17;
        Walk w = open(Body().satellite(unknown).signal({}).signal({}).satellite(gps).signal({}).bytes());
        RangeObservation o{};
        EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2UnknownSystem) << code;
        EXPECT_EQ(o.systemInfo, nullptr);
        EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2UnknownSystem) << code;
        ASSERT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record) << code;
        EXPECT_EQ(o.satellite, 17);
        EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2End);
    }
}

TEST(RangeCmp2, CompressedCodeWithoutARowIsSkippedAndTheWalkGoesOn) {
    SatBlock gps;
    gps.signalCount = 2;
    SigBlock unknown;
    unknown.code = 2; // GPS has no compressed code 2
    SigBlock l1;
    Walk w = open(Body().satellite(gps).signal(unknown).signal(l1).bytes());
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2UnknownSignal);
    EXPECT_NE(o.systemInfo, nullptr);
    EXPECT_EQ(o.signalInfo, nullptr);
    ASSERT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record);
    EXPECT_STREQ(o.signalInfo->rinexCode, "1C");
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2End);
}

TEST(RangeCmp2, TruncatedSatelliteBlockReturnsMinusOne) {
    Walk w = open(Body().satellite({}).signal({}).raw(10).bytes());
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record);
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Truncated);
}

TEST(RangeCmp2, TruncatedSignalBlockReturnsMinusOne) {
    SatBlock sat;
    sat.signalCount = 2;
    Walk w = open(Body().satellite(sat).signal({}).raw(15).bytes());
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record);
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Truncated);
}

TEST(RangeCmp2, SatelliteBlockWithoutSignalsReturnsMinusTwo) {
    SatBlock empty;
    empty.signalCount = 0;
    Walk w = open(Body().satellite(empty).signal({}).bytes());
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2NoSignals);
}

TEST(RangeCmp2, MissingRecordFailsWithoutMovingTheWalk) {
    Walk w = open(Body().satellite({}).signal({}).bytes());
    EXPECT_EQ(nextRangeCmp2(w.cursor, nullptr), -1);
    EXPECT_EQ(w.cursor.position, 0u);
    RangeObservation o{};
    EXPECT_EQ(nextRangeCmp2(w.cursor, &o), RangeCmp2Record);
}

TEST(RangeCmp2, GlonassSlotChannelAndCarrierFollowTheFrequencyChannel) {
    SatBlock sat;
    sat.systemCode = 1;
    sat.satellite = 45;
    sat.rawChannel = 0;
    sat.dopplerBase = 900;
    SigBlock g2;
    g2.code = 3; // G2(C/A)
    g2.phaseRangeDifference = 2048;
    const RangeObservation o = single(sat, g2);
    EXPECT_EQ(o.satellite, 8);
    EXPECT_EQ(o.glonassFrequency, -7);
    EXPECT_STREQ(o.signalInfo->rinexCode, "2C");
    EXPECT_DOUBLE_EQ(o.carrierPhase, -(20000000.0 + 1.0) * (1246000000.0 - 7 * 437500.0) / kC);
    // Doppler scales by the band's base carriers, not the channel's.
    EXPECT_DOUBLE_EQ(o.doppler, 900.0 * 1246000000.0 / 1602000000.0);
}

TEST(RangeCmp2, GlonassCompressedCode4Is2PForwardAnd2CInMode2) {
    SatBlock sat;
    sat.systemCode = 1;
    sat.satellite = 45;
    sat.rawChannel = 7;
    SigBlock sig;
    sig.code = 4;
    EXPECT_STREQ(single(sat, sig, 0).signalInfo->rinexCode, "2P");
    EXPECT_STREQ(single(sat, sig, 2).signalInfo->rinexCode, "2C");
}
