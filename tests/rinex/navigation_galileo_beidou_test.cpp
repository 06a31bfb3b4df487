// SPDX-License-Identifier: MIT
// Galileo and BeiDou navigation records written from hand-made ephemeris records.
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

// ---------------------------------------------------------------- Galileo

TEST(NavigationGalileo, InavRecordText) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GalileoInavEphemeris e = inav(9, 603000, 2011, 603740000);
    e.e1bDvs = 1;
    e.e1bHealth = 3;
    e.e5bDvs = 1;
    e.e5bHealth = 3;
    writer.writeGalileoInav(out.device(), e);
    const QByteArray expected =
        "E09 2018 07 28 23 30 00 0.672176067019D-02-0.108428821477D-10 0.000000000000D+00\r\n"
        "     0.109000000000D+03 0.277812500000D+02 0.341335646571D-08 0.169303771761D+01\r\n"
        "     0.141933560371D-05 0.464390148409D-03 0.850111246109D-05 0.544061898994D+04\r\n"
        "     0.603000000000D+06 0.596046447754D-07-0.207967263083D+01-0.108033418655D-06\r\n"
        "     0.958404251075D+00 0.153468750000D+03-0.975353574591D+00-0.557594654627D-08\r\n"
        "     0.538951020902D-09 0.517000000000D+03 0.201100000000D+04" +
        QByteArray(19, ' ') +
        "\r\n"
        "     0.312000000000D+01 0.455000000000D+03-0.349245965481D-08-0.395812094212D-08\r\n"
        "     0.603740000000D+06" +
        QByteArray(57, ' ') + "\r\n";
    EXPECT_EQ(out.data(), expected);
}

TEST(NavigationGalileo, FnavDataSourcesHealthAndGroupDelays) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GalileoFnavEphemeris e = fnav(24, 593400, 2011, 594140000);
    e.e5aDvs = 1;
    e.e5aHealth = 2;
    writer.writeGalileoFnav(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    EXPECT_EQ(records[0].epoch, "E24 2018 07 28 20 50 00");
    expectNear(records[0].lines[5][1], 258.0, "data sources");
    expectNear(records[0].lines[6][1], 1 << 3 | 2 << 4, "health");
    expectNear(records[0].lines[6][2], -3.492459654808e-09, "BGD E5a/E1");
    expectNear(records[0].lines[6][3], 0.0, "BGD E5b/E1");
    expectNear(records[0].lines[7][0], 594140.0, "transmission time");
}

TEST(NavigationGalileo, WeekRollover) {
    struct Case {
        uint16_t headerWeek;
        uint32_t headerMs;
        uint32_t toc;
        double week;
        const char* epoch;
    };
    const Case cases[] = {
        // Frame early in week 2012, clock reference late in week 2011.
        {2012, 1000000, 603000, 2011, "E09 2018 07 28 23 30 00"},
        // Frame late in week 2011, clock reference early in week 2012.
        {2011, 604000000, 600, 2012, "E09 2018 07 29 00 10 00"},
        // Just under half a week apart: no change.
        {2011, 302400000, 604800 - 1, 2011, "E09 2018 07 28 23 59 59"},
        // Half a week apart exactly, either way: no change.
        {2012, 1000000, 303400, 2012, "E09 2018 08 01 12 16 40"},
        {2011, 400000000, 97600, 2011, "E09 2018 07 23 03 06 40"},
        {2011, 400000000, 97599, 2012, "E09 2018 07 30 03 06 39"},
    };
    for (const Case& c : cases) {
        Output out;
        rinex::NavigationWriter writer;
        decoding::GalileoInavEphemeris e = inav(9, c.toc, c.headerWeek, c.headerMs);
        writer.writeGalileoInav(out.device(), e);
        const std::vector<Record> records = recordsOf(out.data());
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].epoch, c.epoch) << c.toc;
        expectNear(records[0].lines[5][2], c.week, "week");
    }
}

TEST(NavigationGalileo, SisaIndexToMetres) {
    const struct {
        uint8_t index;
        double metres;
    } cases[] = {{0, 0.0},   {1, 0.01},  {49, 0.49},  {50, 0.5},  {74, 0.98},  {75, 1.0},
                 {99, 1.96}, {100, 2.0}, {107, 3.12}, {125, 6.0}, {126, -1.0}, {255, -1.0}};
    for (const auto& c : cases) {
        Output out;
        rinex::NavigationWriter writer;
        decoding::GalileoInavEphemeris e = inav(9, 603000, 2011, 603740000);
        e.sisaIndex = c.index;
        writer.writeGalileoInav(out.device(), e);
        const std::vector<Record> records = recordsOf(out.data());
        ASSERT_EQ(records.size(), 1u);
        ASSERT_TRUE(records[0].lines[6][0].has_value());
        EXPECT_NEAR(*records[0].lines[6][0], c.metres, 1e-11) << int(c.index);
    }
}

TEST(NavigationGalileo, DuplicateAcrossInavAndFnav) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeGalileoInav(out.device(), inav(9, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(writer.writeGalileoFnav(out.device(), fnav(9, 603000, 2011, 603800000)), 0);
    EXPECT_GT(writer.writeGalileoFnav(out.device(), fnav(9, 603600, 2011, 603800000)), 0);
    EXPECT_GT(writer.writeGalileoInav(out.device(), inav(11, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(recordsOf(out.data()).size(), 3u);
}

decoding::GalileoEphemeris combined(bool inavReceived) {
    const decoding::GalileoInavEphemeris i = inav(14, 589800, 2011, 591003000);
    decoding::GalileoEphemeris e{};
    e.header = i.header;
    e.header.messageId = 1122;
    e.satellite = 14;
    e.fnavReceived = 1;
    e.inavReceived = inavReceived ? 1 : 0;
    e.e1bHealth = 1;
    e.e5aHealth = 2;
    e.e5bHealth = 3;
    e.e1bDvs = 1;
    e.e5aDvs = 0;
    e.e5bDvs = 1;
    e.sisaIndex = 50;
    e.iodNav = 77;
    e.toe = 589800;
    e.sqrtA = i.sqrtA;
    e.deltaN = i.deltaN;
    e.m0 = i.m0;
    e.eccentricity = i.eccentricity;
    e.omega = i.omega;
    e.cuc = i.cuc;
    e.cus = i.cus;
    e.crc = i.crc;
    e.crs = i.crs;
    e.cic = i.cic;
    e.cis = i.cis;
    e.i0 = i.i0;
    e.iDot = i.iDot;
    e.omega0 = i.omega0;
    e.omegaDot = i.omegaDot;
    e.fnavToc = 589200;
    e.fnavAf0 = 1e-3;
    e.fnavAf1 = 2e-12;
    e.fnavAf2 = 0.0;
    e.inavToc = 589800;
    e.inavAf0 = 3e-3;
    e.inavAf1 = 4e-12;
    e.inavAf2 = 0.0;
    e.bgdE5aE1 = 5e-9;
    e.bgdE5bE1 = 6e-9;
    return e;
}

TEST(NavigationGalileo, CombinedLogUsesInavClockWhenReceived) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeGalileo(out.device(), combined(true));
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    EXPECT_EQ(records[0].epoch, "E14 2018 07 28 19 50 00");
    expectNear(records[0].lines[0][0], 3e-3, "af0");
    expectNear(records[0].lines[0][1], 4e-12, "af1");
    expectNear(records[0].lines[1][0], 77.0, "IODnav");
    expectNear(records[0].lines[2][3], 5440.618989944, "sqrt(A)");
    expectNear(records[0].lines[3][0], 589800.0, "toe");
    expectNear(records[0].lines[5][1], 517.0, "data sources");
    expectNear(records[0].lines[6][0], 0.5, "SISA");
    // E1b DVS 1, E1b health 1, E5a DVS 0, E5a health 2, E5b DVS 1, E5b health 3.
    expectNear(records[0].lines[6][1], 1 | 1 << 1 | 0 << 3 | 2 << 4 | 1 << 6 | 3 << 7, "health");
    expectNear(records[0].lines[6][2], 5e-9, "BGD E5a/E1");
    expectNear(records[0].lines[6][3], 6e-9, "BGD E5b/E1");
    expectNear(records[0].lines[7][0], 591003.0, "transmission time");
}

TEST(NavigationGalileo, CombinedLogUsesFnavClockOtherwise) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeGalileo(out.device(), combined(false));
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].epoch, "E14 2018 07 28 19 40 00");
    expectNear(records[0].lines[0][0], 1e-3, "af0");
    expectNear(records[0].lines[0][1], 2e-12, "af1");
    expectNear(records[0].lines[5][1], 258.0, "data sources");
}

// ---------------------------------------------------------------- BeiDou

TEST(NavigationBeidou, RecordText) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeBeidou(out.device(), elkoC16());
    const QByteArray expected =
        "C16 2018 07 28 06 46 32-0.942095648497D-03-0.179690484714D-08-0.120888542232D-16\r\n"
        "     0.400000000000D+01 0.144562500000D+03 0.330442335678D-08-0.273503360513D+01\r\n"
        "     0.172331929207D-04 0.282352941111D+00-0.531366094947D-04 0.115651764679D+04\r\n"
        "     0.148032000000D+06 0.344668515027D-04 0.813118098387D+00 0.157970935106D-04\r\n"
        "     0.177407585103D+01 0.106014062500D+04 0.813118098387D+00 0.775449800597D-06\r\n"
        "    -0.282261757335D-08" +
        QByteArray(19, ' ') + " 0.655000000000D+03" + QByteArray(19, ' ') +
        "\r\n"
        "     0.800000000000D+01 0.100000000000D+01 0.360000000000D-08 0.144000000000D-07\r\n"
        "     0.148032000000D+06 0.200000000000D+01" +
        QByteArray(38, ' ') + "\r\n";
    EXPECT_EQ(out.data(), expected);
}

TEST(NavigationBeidou, TransmissionTimeWrapsIntoThePreviousWeek) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::BeidouEphemeris e = elkoC16();
    e.header.milliseconds = 5000;
    writer.writeBeidou(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    expectNear(records[0].lines[7][0], 604800.0 - 9.0, "transmission time");
}

TEST(NavigationBeidou, FirstFormRenumbersSatellitesAndTakesSquareRoots) {
    Output out;
    rinex::NavigationWriter writer;
    const decoding::Bd2Ephemeris e = bd2From(elkoC16(), 176);
    writer.writeBd2(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    EXPECT_EQ(records[0].epoch, "C16 2018 07 28 06 46 32");
    expectNear(records[0].lines[2][3], 1156.51764679, "sqrt(A)");
    expectNear(records[0].lines[6][0], 8.0, "accuracy");
    expectNear(records[0].lines[7][0], 148032.0, "transmission time");
    expectNear(records[0].lines[7][1], 2.0, "AODC");
}

TEST(NavigationBeidou, NumbersBelow161AreKept) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeBd2(out.device(), bd2From(elkoC16(), 63));
    writer.writeBd2(out.device(), bd2From(elkoC16(), 161));
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].epoch.substr(0, 3), "C63");
    EXPECT_EQ(records[1].epoch.substr(0, 3), "C01");
}

TEST(NavigationBeidou, DuplicateAcrossBothFormsAfterRenumbering) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeBeidou(out.device(), elkoC16()), 0);
    EXPECT_EQ(writer.writeBd2(out.device(), bd2From(elkoC16(), 176)), 0);
    decoding::BeidouEphemeris next = elkoC16();
    next.toe += 3600;
    EXPECT_GT(writer.writeBeidou(out.device(), next), 0);
    EXPECT_EQ(writer.writeBeidou(out.device(), next), 0);
    EXPECT_EQ(recordsOf(out.data()).size(), 2u);
}

TEST(NavigationBeidou, ClosedFileGetsNothing) {
    QByteArray data;
    QBuffer closed(&data);
    rinex::NavigationWriter writer;
    EXPECT_EQ(writer.writeBeidou(&closed, elkoC16()), 0);
    EXPECT_EQ(writer.writeBd2(&closed, bd2From(elkoC16(), 176)), 0);
    EXPECT_EQ(writer.writeGalileoInav(&closed, inav(9, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(writer.writeGalileoFnav(&closed, fnav(9, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(writer.writeGalileo(&closed, combined(true)), 0);
    qint32 leap = 99;
    EXPECT_EQ(writer.writeGlonass(&closed, elkoR04(), leap), 0);
    EXPECT_EQ(leap, 99);
    EXPECT_TRUE(data.isEmpty());
}

} // namespace
