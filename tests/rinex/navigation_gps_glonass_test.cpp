// SPDX-License-Identifier: MIT
// GPS and GLONASS navigation records written from hand-made ephemeris records.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "navigation_test_support.h"
#include "rinex/navigation_writer.h"

using namespace navwritertest;

namespace {

// ---------------------------------------------------------------- GPS

TEST(NavigationGps, RecordText) {
    Output out;
    rinex::NavigationWriter writer;
    const qint64 bytes = writer.writeGps(out.device(), elkoG02());
    const QByteArray expected =
        "G02 2018 07 28 22 00 00 0.445288605988D-04-0.113686837722D-10 0.000000000000D+00\r\n"
        "     0.520000000000D+02-0.104375000000D+03 0.483948729836D-08-0.198238709369D+01\r\n"
        "    -0.514462590218D-05 0.179613517830D-01 0.324286520481D-05 0.515378565216D+04\r\n"
        "     0.597600000000D+06 0.325962901115D-06 0.246775273302D+01 0.670552253723D-07\r\n"
        "     0.951161288074D+00 0.305375000000D+03-0.184316386601D+01-0.812712424163D-08\r\n"
        "    -0.992898501065D-10 0.000000000000D+00 0.201100000000D+04 0.000000000000D+00\r\n"
        "     0.200000000000D+01 0.000000000000D+00-0.204890966415D-07 0.520000000000D+02\r\n"
        "     0.590418000000D+06 0.400000000000D+01" +
        QByteArray(38, ' ') + "\r\n";
    EXPECT_EQ(out.data(), expected);
    EXPECT_EQ(bytes, expected.size());
}

TEST(NavigationGps, SameEphemerisTwiceGivesOneRecord) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
    const int size = out.data().size();
    EXPECT_EQ(writer.writeGps(out.device(), elkoG02()), 0);
    EXPECT_EQ(out.data().size(), size);
    EXPECT_EQ(recordsOf(out.data()).size(), 1u);
}

TEST(NavigationGps, NewToeOrOtherSatelliteIsWritten) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GpsEphemeris e = elkoG02();
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
    e.satellite = 5;
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
    e.satellite = 2;
    e.toe = 7200.0;
    e.week = 2012;
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1].epoch, "G05 2018 07 28 22 00 00");
    EXPECT_EQ(records[2].epoch, "G02 2018 07 29 02 00 00");
}

TEST(NavigationGps, DifferingIssuesOfDataAreNotWritten) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GpsEphemeris e = elkoG02();
    e.iode2 = 53;
    EXPECT_EQ(writer.writeGps(out.device(), e), 0);
    EXPECT_TRUE(out.data().isEmpty());
    // Not remembered either: the agreeing record with the same toe is written after it.
    e.iode2 = 52;
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
}

TEST(NavigationGps, ResetForgetsTheWrittenRecords) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
    writer.reset();
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
}

TEST(NavigationGps, ClosedFileGetsNothing) {
    QByteArray data;
    QBuffer closed(&data);
    rinex::NavigationWriter writer;
    EXPECT_EQ(writer.writeGps(&closed, elkoG02()), 0);
    EXPECT_EQ(writer.writeGps(nullptr, elkoG02()), 0);
    EXPECT_TRUE(data.isEmpty());
    // Nothing was remembered: an open file gets the record.
    Output out;
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
}

TEST(NavigationGps, AccuracyIsTheSquareRootOfTheVariance) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GpsEphemeris e = elkoG02();
    e.uraVariance = 2.25;
    e.health = 63;
    writer.writeGps(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    expectNear(records[0].lines[6][0], 1.5, "accuracy");
    expectNear(records[0].lines[6][1], 63.0, "health");
}

// ---------------------------------------------------------------- GLONASS

TEST(NavigationGlonass, RecordWithKnownOffsetSetsLeapSeconds) {
    Output out;
    rinex::NavigationWriter writer;
    qint32 leap = 99;
    const qint64 bytes = writer.writeGlonass(out.device(), elkoR04(), leap);
    EXPECT_EQ(leap, -18);
    const QByteArray expected =
        "R04 2018 07 28 20 15 00 0.270264223218D-03 0.909494701773D-12 0.590400000000D+06\r\n"
        "     0.993472949219D+04-0.526034355164D+00 0.000000000000D+00 0.000000000000D+00\r\n"
        "     0.599105712891D+04 0.306259155273D+01 0.000000000000D+00 0.600000000000D+01\r\n"
        "     0.227362685547D+05-0.578964233398D+00-0.279396772385D-08 0.000000000000D+00\r\n";
    EXPECT_EQ(out.data(), expected);
    EXPECT_EQ(bytes, expected.size());

    // The header then prints the negated value.
    Output header;
    rinex::reserveNavigationHeader(header.device(), "R: GLONASS");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.leapSeconds = leap;
    rinex::writeNavigationHeader(header.device(), 'G', info);
    EXPECT_EQ(linesOf(header.data())[2], "    18" + std::string(54, ' ') + "LEAP SECONDS        ");
}

TEST(NavigationGlonass, OffsetRangeForLeapSeconds) {
    for (uint32_t offset : {10701u, 10702u, 10799u, 10800u, 0u}) {
        Output out;
        rinex::NavigationWriter writer;
        decoding::GlonassEphemeris e = elkoR04();
        e.timeOffset = offset;
        qint32 leap = 99;
        writer.writeGlonass(out.device(), e, leap);
        const qint32 expected = offset >= 10702 && offset <= 10799 ? static_cast<qint32>(offset) - 10800 : 99;
        EXPECT_EQ(leap, expected) << offset;
    }
}

TEST(NavigationGlonass, KnownLeapSecondsAreKept) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GlonassEphemeris e = elkoR04();
    e.timeOffset = 10783;
    qint32 leap = -18;
    writer.writeGlonass(out.device(), e, leap);
    EXPECT_EQ(leap, -18);
    EXPECT_EQ(recordsOf(out.data())[0].epoch, "R04 2018 07 28 20 15 00");
}

TEST(NavigationGlonass, UnknownLeapSecondsAdd99SecondsToTheEpoch) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GlonassEphemeris e = elkoR04();
    e.timeOffset = 0;
    qint32 leap = 99;
    writer.writeGlonass(out.device(), e, leap);
    EXPECT_EQ(leap, 99);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    // 20:15:18 + 99 s
    EXPECT_EQ(records[0].epoch, "R04 2018 07 28 20 16 57");
}

TEST(NavigationGlonass, MessageFrameTimeAddsLeapSecondsToMilliseconds) {
    // Reference time 50 s before the end of Friday: the epoch moves into Saturday by the
    // 99 s, but the frame time's day is taken from the count plus 99 milliseconds.
    Output out;
    rinex::NavigationWriter writer;
    decoding::GlonassEphemeris e = elkoR04();
    e.timeOffset = 0;
    e.referenceTime = 6u * 86400000u - 50000u;
    e.tk = 86340;
    qint32 leap = 99;
    writer.writeGlonass(out.device(), e, leap);
    std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].epoch, "R04 2018 07 28 00 00 49");
    expectNear(records[0].lines[0][2], 5 * 86400.0 + 86340 - 10800, "frame time");

    // With leap seconds -18 just after midnight: the epoch goes back into Friday, the
    // frame time's day stays Saturday (18 ms back only).
    Output known;
    rinex::NavigationWriter second;
    e.referenceTime = 6u * 86400000u + 10000u;
    e.tk = 10810;
    leap = -18;
    second.writeGlonass(known.device(), e, leap);
    records = recordsOf(known.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].epoch, "R04 2018 07 27 23 59 52");
    expectNear(records[0].lines[0][2], 6 * 86400.0 + 10810 - 10800, "frame time");
}

TEST(NavigationGlonass, DuplicateKeyedBySlotAndReferenceTime) {
    Output out;
    rinex::NavigationWriter writer;
    qint32 leap = 99;
    decoding::GlonassEphemeris e = elkoR04();
    EXPECT_GT(writer.writeGlonass(out.device(), e, leap), 0);
    EXPECT_EQ(writer.writeGlonass(out.device(), e, leap), 0);
    e.tauN = 1e-5; // other values do not matter
    EXPECT_EQ(writer.writeGlonass(out.device(), e, leap), 0);
    e.referenceTime += 1800000;
    EXPECT_GT(writer.writeGlonass(out.device(), e, leap), 0);
    e.slot = 5 + 37;
    EXPECT_GT(writer.writeGlonass(out.device(), e, leap), 0);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1].epoch, "R04 2018 07 28 20 45 00");
    EXPECT_EQ(records[2].epoch, "R05 2018 07 28 20 45 00");
}

TEST(NavigationGlonass, ChannelAndAgeOfData) {
    Output out;
    rinex::NavigationWriter writer;
    qint32 leap = -18;
    decoding::GlonassEphemeris e = elkoR04();
    e.frequency = 0; // channel -7
    e.ageOfData = 3;
    e.health = 1;
    writer.writeGlonass(out.device(), e, leap);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 4u);
    expectNear(records[0].lines[1][3], 1.0, "health");
    expectNear(records[0].lines[2][3], -7.0, "channel");
    expectNear(records[0].lines[3][3], 3.0, "age of data");
}

} // namespace
