// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>

#include "decoding/log_header.h"
#include "decoding/range_decoders.h"
#include "encoder/range_encoder.h"
#include "gnss/constants.h"

using namespace decoding;
using namespace encoding;

namespace {

constexpr double kC = gnss::kSpeedOfLight;
constexpr double kL1 = 1575420000.0, kL1Wavelength = kC / kL1; // GPS L1: Hz, m

RangeSignal gpsL1(int satellite, double pseudorange) {
    RangeSignal s;
    s.system = SystemGps;
    s.satellite = satellite;
    s.signal = signalForRinexCode(SystemGps, "1C");
    s.pseudorange = pseudorange;
    s.carrierPhase = -pseudorange * kL1 / kC;
    s.doppler = 1000;
    s.cn0 = 45;
    return s;
}

std::vector<RangeObservation> decodeAll(const EncodedRangeLog& log) {
    LogHeader header{};
    EXPECT_EQ(readLogHeader(log.frame.data(), uint32_t(log.frame.size()), header), 0);
    RangeCursor cursor{};
    std::vector<RangeObservation> out;
    RangeObservation o{};
    if (header.messageId == LogRangeCmp2) {
        EXPECT_EQ(openRangeCmp2(log.frame.data(), header, cursor, 0), 0);
        int rc;
        while ((rc = nextRangeCmp2(cursor, &o)) == RangeCmp2Record)
            out.push_back(o);
        EXPECT_EQ(rc, RangeCmp2End);
    } else if (header.messageId == LogRangeCmp) {
        EXPECT_EQ(openRangeCmp(log.frame.data(), header, cursor, 0), 0);
        for (int32_t i = 0; i < cursor.count; ++i)
            if (decodeRangeCmp(cursor, i, &o) == 0) out.push_back(o);
    } else {
        EXPECT_EQ(openRange(log.frame.data(), header, cursor, 0), 0);
        for (int32_t i = 0; i < cursor.count; ++i)
            if (decodeRange(cursor, i, &o) == 0) out.push_back(o);
    }
    return out;
}

} // namespace

TEST(RangeEncoder, RinexCodeResolvesToARowThatDecodesBackUnderTheSearchMode) {
    const SignalInfo* p0 = signalForRinexCode(SystemGlonass, "2P", 0);
    ASSERT_NE(p0, nullptr);
    EXPECT_EQ(p0->signalType, 5);
    EXPECT_EQ(signalForRinexCode(SystemGlonass, "2P", 2), nullptr);
    const SignalInfo* c2 = signalForRinexCode(SystemGlonass, "2C", 2);
    ASSERT_NE(c2, nullptr);
    EXPECT_EQ(c2->signalType, 1);
    EXPECT_EQ(signalForRinexCode(SystemGps, "1W"), nullptr);
    EXPECT_EQ(signalForRinexCode(SystemGps, "2L"), nullptr);
    // Of the two GPS "1L" rows the one with a compressed code is preferred.
    ASSERT_NE(signalForRinexCode(SystemGps, "1L"), nullptr);
    EXPECT_EQ(signalForRinexCode(SystemGps, "1L")->compressedCode, 15);
    EXPECT_EQ(signalForRinexCode(SystemNone, "1C"), nullptr);
}

TEST(RangeEncoder, BoardSatelliteNumbersAddTheOffsetMinusOne) {
    EXPECT_EQ(boardSatelliteNumber(SystemGps, 5), 5);
    EXPECT_EQ(boardSatelliteNumber(SystemGlonass, 1), 38);
    EXPECT_EQ(boardSatelliteNumber(SystemSbas, 23), 142);
    EXPECT_EQ(boardSatelliteNumber(SystemBeidou, 1), 161);
    EXPECT_EQ(boardSatelliteNumber(SystemQzss, 1), 193);
    EXPECT_EQ(systemOfLetter('C'), SystemBeidou);
    EXPECT_EQ(systemOfLetter('X'), SystemNone);
}

TEST(RangeEncoder, StatusFieldsDecodeBackFromRange) {
    RangeSignal s = gpsL1(3, 21000000);
    s.system = SystemGalileo;
    s.signal = signalForRinexCode(SystemGalileo, "8Q");
    s.trackingState = 19;
    s.channel = 13;
    s.grouped = true;
    s.phaseLocked = false;
    s.parityKnown = true;
    s.codeLocked = false;
    const std::vector<RangeObservation> o = decodeAll(encodeRange({}, {s}));
    ASSERT_EQ(o.size(), 1u);
    EXPECT_EQ(o[0].trackingState, 19);
    EXPECT_EQ(o[0].channel, 13);
    EXPECT_EQ(o[0].grouped, 1);
    EXPECT_EQ(o[0].phaseLocked, 0);
    EXPECT_EQ(o[0].parityKnown, 1);
    EXPECT_EQ(o[0].codeLocked, 0);
    EXPECT_STREQ(o[0].signalInfo->rinexCode, "8Q");
}

TEST(RangeEncoder, CompressedLogsClampCn0To20Through51) {
    const double cn0[] = {15, 60, 35.4};
    const double expected[] = {20, 51, 35};
    const bool clamped[] = {true, true, false};
    for (int i = 0; i < 3; ++i) {
        RangeSignal s = gpsL1(7, 22000000);
        s.cn0 = cn0[i];
        for (const EncodedRangeLog& log : {encodeRangeCmp({}, {s}), encodeRangeCmp2({}, {s})}) {
            EXPECT_EQ(log.outcomes[0].cn0Clamped, clamped[i]);
            const std::vector<RangeObservation> o = decodeAll(log);
            ASSERT_EQ(o.size(), 1u);
            EXPECT_EQ(o[0].cn0, expected[i]);
        }
    }
}

TEST(RangeEncoder, RangeCmp2OmitsASignal128MetresOrMoreAboveTheSatellitesLowest) {
    RangeSignal low = gpsL1(9, 20000000.5);
    RangeSignal high = gpsL1(9, 20000000.5 + 200);
    high.signal = signalForRinexCode(SystemGps, "2W");
    const EncodedRangeLog log = encodeRangeCmp2({}, {high, low});
    EXPECT_FALSE(log.outcomes[0].encoded);
    EXPECT_FALSE(log.outcomes[0].omittedReason.empty());
    EXPECT_TRUE(log.outcomes[1].encoded);
    EXPECT_EQ(log.encodedCount(), 1);
    const std::vector<RangeObservation> o = decodeAll(log);
    ASSERT_EQ(o.size(), 1u);
    EXPECT_STREQ(o[0].signalInfo->rinexCode, "1C");
}

TEST(RangeEncoder, SignalWithoutCompressedCodeIsLeftOutOfRangeCmp2Only) {
    RangeSignal p = gpsL1(4, 21000000);
    p.signal = &satSystemInfo(SystemGps)->signalRows[1]; // "2P", no compressed code
    EXPECT_FALSE(encodeRangeCmp2({}, {p}).outcomes[0].encoded);
    EXPECT_TRUE(encodeRangeCmp({}, {p}).outcomes[0].encoded);
    EXPECT_TRUE(encodeRange({}, {p}).outcomes[0].encoded);
}

TEST(RangeEncoder, RangeCmp2ShiftsThePhaseByWholeCyclesNextToThePseudorange) {
    RangeSignal s = gpsL1(11, 23000000.25);
    s.carrierPhase += 1234567.375; // an ambiguity far outside the 512 m phase-range window
    const EncodedRangeLog log = encodeRangeCmp2({}, {s});
    ASSERT_TRUE(log.outcomes[0].encoded);
    const double shift = log.outcomes[0].phaseShiftCycles;
    EXPECT_EQ(shift, std::round(shift));
    const std::vector<RangeObservation> o = decodeAll(log);
    ASSERT_EQ(o.size(), 1u);
    EXPECT_NEAR(o[0].carrierPhase, s.carrierPhase + shift, 0.5 / 2048 / kL1Wavelength + 1e-6);
    EXPECT_NEAR(-o[0].carrierPhase * kL1Wavelength, s.pseudorange, 2 * kL1Wavelength);
}

TEST(RangeEncoder, RangeCmp2WithAnchorsKeepsThePhaseContinuousThroughALock) {
    // A phase that follows the range exactly and a pseudorange with a metre of noise: moved to
    // each epoch's pseudorange the phase would jump by whole cycles; anchored it does not.
    PhaseAnchors anchors;
    double firstShift = 0;
    for (int epoch = 0; epoch < 20; ++epoch) {
        const double range = 23000000.0 + 700.0 * epoch;
        RangeSignal s = gpsL1(11, range + (epoch % 2 ? 0.9 : -0.9));
        s.carrierPhase = -range / kL1Wavelength + 1234567.0; // an ambiguity far outside the window
        s.lockTime = 100.0 + epoch;
        const EncodedRangeLog log = encodeRangeCmp2Anchored({}, {s}, anchors);
        ASSERT_TRUE(log.outcomes[0].encoded);
        const double shift = log.outcomes[0].phaseShiftCycles;
        if (epoch == 0) firstShift = shift;
        EXPECT_EQ(shift, firstShift) << "epoch " << epoch;
        const std::vector<RangeObservation> o = decodeAll(log);
        ASSERT_EQ(o.size(), 1u);
        EXPECT_NEAR(o[0].carrierPhase, s.carrierPhase + shift, 0.5 / 2048 / kL1Wavelength + 1e-6);
        // The range sits the anchor's distance above the pseudorange it started from.
        EXPECT_NEAR(-o[0].carrierPhase * kL1Wavelength - range, PhaseAnchors::kPhaseAnchorAbove, 2.0);
    }
    // Without anchors the same noise moves the phase by whole cycles.
    RangeSignal a = gpsL1(11, 23000000.0 + 0.9), b = gpsL1(11, 23000000.0 - 0.9);
    a.carrierPhase = b.carrierPhase = -23000000.0 / kL1Wavelength;
    EXPECT_NE(encodeRangeCmp2({}, {a}).outcomes[0].phaseShiftCycles,
              encodeRangeCmp2({}, {b}).outcomes[0].phaseShiftCycles);
}

TEST(RangeEncoder, RangeCmp2AnchorsStartAgainWithALockOrOutsideTheWindow) {
    PhaseAnchors anchors;
    RangeSignal s = gpsL1(5, 21000000.0);
    s.lockTime = 50;
    const double first = encodeRangeCmp2Anchored({}, {s}, anchors).outcomes[0].phaseShiftCycles;
    // A new lock (its time starts again) with a new ambiguity: a new shift.
    s.carrierPhase -= 777.0;
    s.lockTime = 1;
    const double relocked = encodeRangeCmp2Anchored({}, {s}, anchors).outcomes[0].phaseShiftCycles;
    EXPECT_EQ(relocked, first + 777.0);
    // The same lock whose range left the 512 m window: shifted back into it.
    s.lockTime = 2;
    s.carrierPhase += 600.0 / kL1Wavelength; // the range 600 m lower
    const EncodedRangeLog log = encodeRangeCmp2Anchored({}, {s}, anchors);
    ASSERT_TRUE(log.outcomes[0].encoded);
    const std::vector<RangeObservation> o = decodeAll(log);
    ASSERT_EQ(o.size(), 1u);
    EXPECT_NEAR(-o[0].carrierPhase * kL1Wavelength - s.pseudorange, PhaseAnchors::kPhaseAnchorAbove,
                kL1Wavelength);
}

TEST(RangeEncoder, RangeCmp2GroupsSignalsBySatelliteInOrderOfAppearance) {
    RangeSignal a1 = gpsL1(1, 20000000), b1 = gpsL1(2, 21000000), a2 = gpsL1(1, 20000003);
    a2.signal = signalForRinexCode(SystemGps, "5Q");
    a2.doppler = 1000 * 1176450000.0 / kL1;
    const std::vector<RangeObservation> o = decodeAll(encodeRangeCmp2({}, {a1, b1, a2}));
    ASSERT_EQ(o.size(), 3u);
    EXPECT_EQ(o[0].satellite, 1);
    EXPECT_EQ(o[1].satellite, 1);
    EXPECT_STREQ(o[1].signalInfo->rinexCode, "5Q");
    EXPECT_EQ(o[2].satellite, 2);
}

TEST(RangeEncoder, SixteenthSignalOfASatelliteIsLeftOutOfRangeCmp2) {
    std::vector<RangeSignal> signals(16, gpsL1(6, 20000000));
    const EncodedRangeLog log = encodeRangeCmp2({}, signals);
    EXPECT_EQ(log.encodedCount(), 15);
    EXPECT_FALSE(log.outcomes[15].encoded);
}

TEST(RangeEncoder, SatelliteNumberBeyondTheByteIsLeftOutOfCompressedLogs) {
    RangeSignal s = gpsL1(1, 20000000);
    s.system = SystemBeidou;
    s.signal = signalForRinexCode(SystemBeidou, "2I");
    s.satellite = 96; // board number 256
    EXPECT_FALSE(encodeRangeCmp({}, {s}).outcomes[0].encoded);
    EXPECT_FALSE(encodeRangeCmp2({}, {s}).outcomes[0].encoded);
    EXPECT_TRUE(encodeRange({}, {s}).outcomes[0].encoded);
}
