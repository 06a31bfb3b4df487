// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "decoding/log_header.h"
#include "decoding/range_decoders.h"
#include "encoder/board_frame.h"
#include "support/board_frames.h"

using namespace decoding;
using encoding::BodyWriter;
using encoding::Bytes;

namespace {

using Frame = testsupport::DecodedFrame;
using testsupport::frameOf;

uint32_t status(uint32_t system, uint32_t signalType, bool phaseLocked = true, bool parityKnown = true,
                bool codeLocked = true) {
    return (uint32_t(phaseLocked) << 10) | (uint32_t(parityKnown) << 11) | (uint32_t(codeLocked) << 12) |
           (system << 16) | (signalType << 21);
}

struct Record {
    uint16_t satellite = 1;
    uint16_t channel = 0;
    double pseudorange = 20000000.0;
    float pseudorangeStd = 0.5f;
    double carrierPhase = -105000000.0;
    float carrierPhaseStd = 0.01f;
    float doppler = 1000.0f;
    float cn0 = 45.0f;
    float lockTime = 100.0f;
    uint32_t status = 0;
};

// Body: count, then 44-byte records laid out field by field.
Bytes rangeBody(const std::vector<Record>& records, uint32_t count) {
    BodyWriter w(4);
    w.u32(0, count);
    size_t at = 4;
    for (const Record& r : records) {
        w.u16(at, r.satellite)
            .u16(at + 2, r.channel)
            .f64(at + 4, r.pseudorange)
            .f32(at + 12, r.pseudorangeStd)
            .f64(at + 16, r.carrierPhase)
            .f32(at + 24, r.carrierPhaseStd)
            .f32(at + 28, r.doppler)
            .f32(at + 32, r.cn0)
            .f32(at + 36, r.lockTime)
            .u32(at + 40, r.status);
        at += 44;
    }
    return w.bytes();
}

Bytes rangeBody(const std::vector<Record>& records) {
    return rangeBody(records, uint32_t(records.size()));
}

RangeObservation decodeOne(const Record& r, uint32_t mode = 0, int* result = nullptr) {
    const Frame f = frameOf(LogRange, rangeBody({r}));
    RangeCursor cursor{};
    EXPECT_EQ(openRange(f.bytes.data(), f.header, cursor, mode), 0);
    RangeObservation o{};
    const int rc = decodeRange(cursor, 0, &o);
    if (result)
        *result = rc;
    else
        EXPECT_EQ(rc, 0);
    return o;
}

} // namespace

TEST(Range, BodyOfNRecordsWithCountNDecodesNRecords) {
    std::vector<Record> records(3);
    for (int i = 0; i < 3; ++i) {
        records[i].satellite = uint16_t(5 + i);
        records[i].pseudorange = 21000000.125 + i;
        records[i].pseudorangeStd = 0.25f * (i + 1);
        records[i].carrierPhase = -110356789.5 - i;
        records[i].carrierPhaseStd = 0.0078125f;
        records[i].doppler = -1234.5f + i;
        records[i].cn0 = 40.25f + i;
        records[i].lockTime = 12.5f * (i + 1);
        records[i].status = status(SystemGps, 0);
    }
    const Frame f = frameOf(LogRange, rangeBody(records));
    ASSERT_EQ(f.header.messageLength, 4 + 44 * 3);
    RangeCursor cursor{};
    ASSERT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), 0);
    EXPECT_EQ(cursor.count, 3);
    EXPECT_EQ(cursor.first, f.bytes.data() + f.header.headerLength + 4);
    EXPECT_EQ(cursor.header.messageId, LogRange);
    EXPECT_EQ(cursor.header.week, 2010);
    EXPECT_EQ(cursor.header.milliseconds, 345600000u);
    for (int i = 0; i < 3; ++i) {
        RangeObservation o{};
        ASSERT_EQ(decodeRange(cursor, i, &o), 0);
        EXPECT_EQ(o.satellite, 5 + i);
        EXPECT_EQ(o.glonassFrequency, 0);
        EXPECT_EQ(o.pseudorange, 21000000.125 + i);
        EXPECT_EQ(o.pseudorangeStd, 0.25 * (i + 1));
        EXPECT_EQ(o.carrierPhase, -110356789.5 - i);
        EXPECT_EQ(o.carrierPhaseStd, 0.0078125);
        EXPECT_EQ(o.doppler, -1234.5 + i);
        EXPECT_EQ(o.cn0, 40.25 + i);
        EXPECT_EQ(o.lockTime, 12.5 * (i + 1));
        ASSERT_NE(o.systemInfo, nullptr);
        EXPECT_EQ(o.systemInfo->letter, 'G');
        ASSERT_NE(o.signalInfo, nullptr);
        EXPECT_STREQ(o.signalInfo->rinexCode, "1C");
    }
}

TEST(Range, CountOneAboveTheRecordsInTheBodyIsInconsistent) {
    const Frame f = frameOf(LogRange, rangeBody(std::vector<Record>(2), 3));
    RangeCursor cursor{};
    EXPECT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), -2);
}

TEST(Range, CountBelowTheRecordsInTheBodyIsInconsistent) {
    const Frame f = frameOf(LogRange, rangeBody(std::vector<Record>(2), 1));
    RangeCursor cursor{};
    EXPECT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), -2);
}

TEST(Range, EmptyLogWithCountZeroOpensWithNoRecords) {
    const Frame f = frameOf(LogRange, rangeBody({}));
    RangeCursor cursor{};
    ASSERT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), 0);
    RangeObservation o{};
    EXPECT_EQ(decodeRange(cursor, 0, &o), -1);
}

TEST(Range, OtherMessageIdIsRefused) {
    const Frame f = frameOf(LogRangeCmp, rangeBody(std::vector<Record>(1)));
    RangeCursor cursor{};
    EXPECT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(Range, BodyThatIsNotFourPlusWholeRecordsIsRefused) {
    Bytes body = rangeBody(std::vector<Record>(1));
    body.push_back(0);
    const Frame f = frameOf(LogRange, body);
    RangeCursor cursor{};
    EXPECT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(Range, BodyWithoutRoomForTheCountIsRefused) {
    const Frame f = frameOf(LogRange, Bytes{});
    RangeCursor cursor{};
    EXPECT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), -1);
}

TEST(Range, IndexOutsideTheRecordsOrMissingRecordFails) {
    const Frame f = frameOf(LogRange, rangeBody(std::vector<Record>(2)));
    RangeCursor cursor{};
    ASSERT_EQ(openRange(f.bytes.data(), f.header, cursor, 0), 0);
    RangeObservation o{};
    EXPECT_EQ(decodeRange(cursor, -1, &o), -1);
    EXPECT_EQ(decodeRange(cursor, 2, &o), -1);
    EXPECT_EQ(decodeRange(cursor, 0, nullptr), -1);
    EXPECT_EQ(decodeRange(cursor, 1, &o), 0);
}

TEST(Range, GlonassSlot45BecomesSatellite8AndRawChannel7BecomesZero) {
    Record r;
    r.satellite = 45;
    r.channel = 7;
    r.status = status(SystemGlonass, 0);
    const RangeObservation o = decodeOne(r);
    EXPECT_EQ(o.satellite, 8);
    EXPECT_EQ(o.glonassFrequency, 0);
    ASSERT_NE(o.systemInfo, nullptr);
    EXPECT_EQ(o.systemInfo->letter, 'R');
}

TEST(Range, GlonassRawChannelZeroBecomesMinusSeven) {
    Record r;
    r.satellite = 38;
    r.channel = 0;
    r.status = status(SystemGlonass, 0);
    const RangeObservation o = decodeOne(r);
    EXPECT_EQ(o.satellite, 1);
    EXPECT_EQ(o.glonassFrequency, -7);
}

TEST(Range, GlonassSignalType5Is2PForwardAnd2CInMode2) {
    Record r;
    r.satellite = 45;
    r.channel = 7;
    r.status = status(SystemGlonass, 5);
    const RangeObservation forward = decodeOne(r, 0);
    const RangeObservation backward = decodeOne(r, 2);
    ASSERT_NE(forward.signalInfo, nullptr);
    ASSERT_NE(backward.signalInfo, nullptr);
    EXPECT_STREQ(forward.signalInfo->rinexCode, "2P");
    EXPECT_STREQ(backward.signalInfo->rinexCode, "2C");
}

TEST(Range, SatellitesAreRenumberedFromTheirSystemsOffset) {
    struct {
        uint32_t system;
        uint16_t raw;
        uint16_t expected;
    } const cases[] = {
        {SystemGps, 5, 5},     {SystemGalileo, 30, 30}, {SystemNavic, 7, 7},     {SystemSbas, 120, 1},
        {SystemSbas, 138, 19}, {SystemBeidou, 161, 1},  {SystemBeidou, 197, 37}, {SystemQzss, 193, 1},
        {SystemQzss, 199, 7},  {SystemGlonass, 61, 24}, {SystemGlonass, 20, 20}, // below the offset:
                                                                                 // unchanged
    };
    for (const auto& c : cases) {
        Record r;
        r.satellite = c.raw;
        r.channel = c.system == SystemGlonass ? 7 : 0;
        r.status = status(c.system, 0);
        EXPECT_EQ(decodeOne(r).satellite, c.expected) << "system " << c.system << " raw " << c.raw;
    }
}

TEST(Range, StatusWordBitFieldsAreSplitAsListed) {
    // Every field non-trivial, and the bits that are not kept (9, 13..15, 19, 26..31) set.
    const uint32_t word = 21u              // tracking state, bits 0..4
                          | (11u << 5)     // channel, bits 5..8
                          | (1u << 9)      // not kept
                          | (1u << 10)     // phase locked
                          | (0u << 11)     // parity unknown
                          | (1u << 12)     // code locked
                          | (7u << 13)     // not kept
                          | (3u << 16)     // Galileo
                          | (1u << 19)     // not kept
                          | (1u << 20)     // grouped
                          | (17u << 21)    // E5b(Q)
                          | (0x3Fu << 26); // not kept
    Record r;
    r.satellite = 11;
    r.status = word;
    const RangeObservation o = decodeOne(r);
    EXPECT_EQ(o.trackingState, 21);
    EXPECT_EQ(o.channel, 11);
    EXPECT_EQ(o.phaseLocked, 1);
    EXPECT_EQ(o.parityKnown, 0);
    EXPECT_EQ(o.codeLocked, 1);
    EXPECT_EQ(o.system, 3);
    EXPECT_EQ(o.grouped, 1);
    EXPECT_EQ(o.signalType, 17);
    ASSERT_NE(o.signalInfo, nullptr);
    EXPECT_STREQ(o.signalInfo->rinexCode, "7Q");
    EXPECT_EQ(o.systemInfo->letter, 'E');
}

TEST(Range, FlagsAreReadFromBits10To12Independently) {
    for (int bits = 0; bits < 8; ++bits) {
        Record r;
        r.status = status(SystemGps, 0, bits & 1, bits & 2, bits & 4);
        const RangeObservation o = decodeOne(r);
        EXPECT_EQ(o.phaseLocked, (bits & 1) ? 1 : 0);
        EXPECT_EQ(o.parityKnown, (bits & 2) ? 1 : 0);
        EXPECT_EQ(o.codeLocked, (bits & 4) ? 1 : 0);
    }
}

TEST(Range, SystemSevenIsDeliveredWithoutDescriptorsOrRenumbering) {
    Record r;
    r.satellite = 150;
    r.channel = 3;
    r.status = status(7, 0);
    const RangeObservation o = decodeOne(r);
    EXPECT_EQ(o.system, 7);
    EXPECT_EQ(o.systemInfo, nullptr);
    EXPECT_EQ(o.signalInfo, nullptr);
    EXPECT_EQ(o.satellite, 150);
    EXPECT_EQ(o.glonassFrequency, 3);
    EXPECT_EQ(o.pseudorange, r.pseudorange);
}

TEST(Range, UnknownSignalTypeIsDeliveredWithoutSignalRow) {
    Record r;
    r.satellite = 12;
    r.status = status(SystemGps, 1); // GPS has no type 1
    int rc = -99;
    const RangeObservation o = decodeOne(r, 0, &rc);
    EXPECT_EQ(rc, 0);
    ASSERT_NE(o.systemInfo, nullptr);
    EXPECT_EQ(o.systemInfo->letter, 'G');
    EXPECT_EQ(o.signalInfo, nullptr);
    EXPECT_EQ(o.signalType, 1);
    EXPECT_EQ(o.satellite, 12);
}
