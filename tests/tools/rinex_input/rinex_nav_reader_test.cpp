// SPDX-License-Identifier: MIT
#include "rinex_input/rinex_nav_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <stdexcept>

using rinex_input::NavFile;
using rinex_input::NavRecord;

namespace {

const std::string kSubset =
    std::string(VELMOOR_TEST_DATA) + "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx";

const NavFile& subset() {
    static const NavFile file = rinex_input::readNavFile(kSubset);
    return file;
}

// The record of a satellite with the given epoch hour and minute (and, for Galileo, kind).
const NavRecord& record(char system, int satellite, int hour, int minute, int galileoFnav = -1) {
    for (const NavRecord& r : subset().records)
        if (r.system == system && r.satellite == satellite && r.epoch.hour == hour &&
            r.epoch.minute == minute &&
            (galileoFnav < 0 || rinex_input::isGalileoFnav(r) == (galileoFnav == 1)))
            return r;
    throw std::runtime_error("record not in the subset");
}

const char* kMinimalHeader =
    "     3.03           N: GNSS NAV DATA    M: MIXED            RINEX VERSION / TYPE\n"
    "                                                            END OF HEADER\n";

} // namespace

TEST(RinexNavReader, ReadsVersionAndSystem) {
    EXPECT_DOUBLE_EQ(subset().header.version, 3.03);
    EXPECT_EQ(subset().header.system, 'M');
}

TEST(RinexNavReader, ReadsIonosphericCorrections) {
    const auto* a = subset().header.ionoCorrection("GPSA");
    const auto* b = subset().header.ionoCorrection("GPSB");
    const auto* gal = subset().header.ionoCorrection("GAL");
    ASSERT_TRUE(a && b && gal);
    EXPECT_DOUBLE_EQ(a->values[0], 4.6566E-09);
    EXPECT_DOUBLE_EQ(a->values[1], 1.4901E-08);
    EXPECT_DOUBLE_EQ(a->values[2], -5.9605E-08);
    EXPECT_DOUBLE_EQ(a->values[3], -5.9605E-08);
    EXPECT_DOUBLE_EQ(b->values[0], 7.7824E+04);
    EXPECT_DOUBLE_EQ(b->values[3], -3.2768E+05);
    EXPECT_DOUBLE_EQ(gal->values[0], 4.9250E+01);
    EXPECT_DOUBLE_EQ(gal->values[2], 4.0283E-03);
    EXPECT_EQ(subset().header.ionoCorrection("BDSA"), nullptr);
}

TEST(RinexNavReader, ReadsTimeSystemCorrections) {
    const auto* gput = subset().header.timeCorrection("GPUT");
    ASSERT_NE(gput, nullptr);
    EXPECT_DOUBLE_EQ(gput->a0, -7.5669959188E-10);
    EXPECT_DOUBLE_EQ(gput->a1, 0.0);
    EXPECT_EQ(gput->referenceTime, 11696);
    EXPECT_EQ(gput->referenceWeek, 2012);
    const auto* gpga = subset().header.timeCorrection("GPGA");
    ASSERT_NE(gpga, nullptr);
    EXPECT_EQ(gpga->referenceTime, 86400);
}

TEST(RinexNavReader, ReadsLeapSecondsWithoutAnnouncedChange) {
    ASSERT_TRUE(subset().header.leapSeconds.has_value());
    EXPECT_EQ(subset().header.leapSeconds->current, 18);
    EXPECT_FALSE(subset().header.leapSeconds->future.has_value());
    EXPECT_FALSE(subset().header.leapSeconds->week.has_value());
}

TEST(RinexNavReader, ReadsEveryRecordWithItsOrbitLines) {
    int count[128] = {};
    for (const NavRecord& r : subset().records) {
        ++count[int(r.system)];
        EXPECT_EQ(r.orbitLines(), r.system == 'R' ? 3u : 7u) << r.system << r.satellite;
    }
    EXPECT_EQ(count['G'], 3);
    EXPECT_EQ(count['R'], 4);
    EXPECT_EQ(count['E'], 6);
    EXPECT_EQ(count['C'], 5);
    EXPECT_EQ(subset().records.size(), 18u);
}

TEST(RinexNavReader, ReadsFirstLineAndOrbitValuesOfAGpsRecord) {
    const NavRecord& r = subset().records.front();
    EXPECT_EQ(r.system, 'G');
    EXPECT_EQ(r.satellite, 2);
    EXPECT_EQ(r.epoch.year, 2018);
    EXPECT_EQ(r.epoch.month, 7);
    EXPECT_EQ(r.epoch.day, 28);
    EXPECT_EQ(r.epoch.hour, 22);
    EXPECT_EQ(r.epoch.minute, 0);
    EXPECT_EQ(r.epoch.second, 0);
    EXPECT_DOUBLE_EQ(*r.clock(0), 4.452886059880E-05);
    EXPECT_DOUBLE_EQ(*r.clock(1), -1.136868377216E-11);
    EXPECT_DOUBLE_EQ(*r.clock(2), 0.0);
    EXPECT_DOUBLE_EQ(*r.orbit(1, 0), 52.0);
    EXPECT_DOUBLE_EQ(*r.orbit(2, 3), 5.153785652161E+03);
    EXPECT_DOUBLE_EQ(*r.orbit(6, 2), -2.048909664154E-08);
    EXPECT_DOUBLE_EQ(*r.orbit(7, 0), 5.904180000000E+05);
    EXPECT_DOUBLE_EQ(*r.orbit(7, 1), 4.0);
}

TEST(RinexNavReader, FieldsMissingAtTheEndOfShortLinesAreAbsent) {
    const NavRecord& gps = subset().records.front();
    EXPECT_FALSE(gps.orbit(7, 2).has_value());
    EXPECT_FALSE(gps.orbit(7, 3).has_value());
    const NavRecord& gal = record('E', 2, 23, 20, 0);
    EXPECT_DOUBLE_EQ(*gal.orbit(5, 2), 2011.0);
    EXPECT_FALSE(gal.orbit(5, 3).has_value());
    EXPECT_TRUE(gal.orbit(7, 0).has_value());
    EXPECT_FALSE(gal.orbit(7, 1).has_value());
    EXPECT_FALSE(gal.orbit(8, 0).has_value());
}

TEST(RinexNavReader, BlankFieldInsideALineIsAbsent) {
    std::istringstream in(
        std::string(kMinimalHeader) +
        "G05 2018 07 28 22 00 00-3.941357135773E-06                    0.000000000000E+00\n");
    const NavFile file = rinex_input::readNav(in);
    ASSERT_EQ(file.records.size(), 1u);
    EXPECT_TRUE(file.records[0].clock(0).has_value());
    EXPECT_FALSE(file.records[0].clock(1).has_value());
    EXPECT_TRUE(file.records[0].clock(2).has_value());
    EXPECT_EQ(file.records[0].orbitLines(), 0u);
}

TEST(RinexNavReader, NumbersTakeDOrEExponents) {
    EXPECT_DOUBLE_EQ(*rinex_input::parseNavNumber(" 1.500000000000D-09"), 1.5e-9);
    EXPECT_DOUBLE_EQ(*rinex_input::parseNavNumber("-2.5d+03"), -2500.0);
    EXPECT_DOUBLE_EQ(*rinex_input::parseNavNumber(" 1.500000000000E-09"), 1.5e-9);
    EXPECT_FALSE(rinex_input::parseNavNumber("                   ").has_value());
    const auto negativeZero = rinex_input::parseNavNumber("-0.000000000000E+00");
    ASSERT_TRUE(negativeZero.has_value());
    EXPECT_TRUE(std::signbit(*negativeZero));
    EXPECT_THROW(rinex_input::parseNavNumber("1.5X-09"), std::runtime_error);
}

TEST(RinexNavReader, RefusesARinex2File) {
    std::istringstream in("     2.11           N: GPS NAV DATA                         RINEX VERSION / TYPE\n"
                          "                                                            END OF HEADER\n");
    EXPECT_THROW(rinex_input::readNav(in), std::runtime_error);
}

TEST(RinexNavReader, RefusesAFileWithoutEndOfHeader) {
    std::istringstream in(
        "     3.03           N: GNSS NAV DATA    M: MIXED            RINEX VERSION / TYPE\n");
    EXPECT_THROW(rinex_input::readNav(in), std::runtime_error);
}

TEST(RinexNavReader, ReportsTheLineOfABadNumber) {
    std::istringstream in(
        std::string(kMinimalHeader) +
        "G05 2018 07 28 22 00 00-3.941357135773E-06 5.684341886081E-13 0.000000000000E+00\n"
        "     2.000000000000E+01-4.7281250000X0E+01 4.738054501845E-09 6.848047300315E-01\n");
    try {
        rinex_input::readNav(in);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_NE(std::string(e.what()).find("line 4"), std::string::npos) << e.what();
    }
}

TEST(RinexNavReader, AcceptsCarriageReturnLineEnds) {
    std::istringstream in(
        "     3.03           N: GNSS NAV DATA    M: MIXED            RINEX VERSION / TYPE\r\n"
        "    18                                                      LEAP SECONDS\r\n"
        "                                                            END OF HEADER\r\n"
        "G05 2018 07 28 22 00 00-3.941357135773E-06 5.684341886081E-13 0.000000000000E+00\r\n");
    const NavFile file = rinex_input::readNav(in);
    ASSERT_EQ(file.records.size(), 1u);
    EXPECT_EQ(file.header.leapSeconds->current, 18);
    EXPECT_DOUBLE_EQ(*file.records[0].clock(2), 0.0);
}

TEST(GnssWeekTime, CalendarToGpsWeekAndSeconds) {
    // Week 0 starts on 1980-01-06; week 2012 on 2018-07-29 (the day the subset's toe of 0 refers to).
    auto ws = rinex_input::weekSecondsOf({1980, 1, 6, 0, 0, 0});
    EXPECT_EQ(ws.week, 0);
    EXPECT_EQ(ws.seconds, 0.0);
    ws = rinex_input::weekSecondsOf({2018, 7, 29, 0, 0, 0});
    EXPECT_EQ(ws.week, 2012);
    EXPECT_EQ(ws.seconds, 0.0);
    ws = rinex_input::weekSecondsOf({2018, 7, 28, 22, 0, 0});
    EXPECT_EQ(ws.week, 2011);
    EXPECT_EQ(ws.seconds, 6 * 86400.0 + 22 * 3600.0);
}

TEST(GnssWeekTime, NormalisingMovesWholeWeeks) {
    auto t = rinex_input::normalised({2012, -7182.0});
    EXPECT_EQ(t.week, 2011);
    EXPECT_EQ(t.seconds, 604800.0 - 7182.0);
    t = rinex_input::normalised({655, 604800.0 + 10.0});
    EXPECT_EQ(t.week, 656);
    EXPECT_EQ(t.seconds, 10.0);
    // the subset's C16 record carries a transmission time of 6.0485151e8 s
    t = rinex_input::normalised({2011, 6.048515100000E+08});
    EXPECT_EQ(t.week, 2011 + 1000);
    EXPECT_EQ(t.seconds, 604851510.0 - 1000 * 604800.0);
}

TEST(GalileoSisa, MetresBackToIndexFollowsTheFourRanges) {
    EXPECT_EQ(rinex_input::sisaIndexOf(0.0), 0);
    EXPECT_EQ(rinex_input::sisaIndexOf(0.49), 49);
    EXPECT_EQ(rinex_input::sisaIndexOf(0.5), 50);
    EXPECT_EQ(rinex_input::sisaIndexOf(0.98), 74);
    EXPECT_EQ(rinex_input::sisaIndexOf(1.0), 75);
    EXPECT_EQ(rinex_input::sisaIndexOf(1.96), 99);
    EXPECT_EQ(rinex_input::sisaIndexOf(2.0), 100);
    EXPECT_EQ(rinex_input::sisaIndexOf(3.12), 107);
    EXPECT_EQ(rinex_input::sisaIndexOf(6.0), 125);
    EXPECT_EQ(rinex_input::sisaIndexOf(-1.0), 255);
    EXPECT_EQ(rinex_input::sisaIndexOf(3.13), 255);
}

TEST(RecordConversion, GpsRecordTakesTheWritersInverseMapping) {
    const auto e = rinex_input::toGpsEphemeris(record('G', 2, 22, 0));
    EXPECT_EQ(e.header.messageId, 7);
    EXPECT_EQ(e.satellite, 2u);
    EXPECT_EQ(e.af0, 4.452886059880E-05);
    EXPECT_EQ(e.iode1, 52u);
    EXPECT_EQ(e.iode2, 52u);
    EXPECT_EQ(e.crs, -1.043750000000E+02);
    EXPECT_EQ(e.a, 5.153785652161E+03 * 5.153785652161E+03);
    EXPECT_EQ(e.toe, 5.976000000000E+05);
    EXPECT_EQ(e.omegaDot, -8.127124241632E-09);
    EXPECT_EQ(e.iDot, -9.928985010651E-11);
    EXPECT_EQ(e.week, 2011u);
    EXPECT_EQ(e.uraVariance, 4.0);
    EXPECT_EQ(e.health, 0u);
    EXPECT_EQ(e.tgd, -2.048909664154E-08);
    EXPECT_EQ(e.iodc, 52u);
    EXPECT_EQ(e.tow, 5.904180000000E+05);
    EXPECT_EQ(e.toc, 597600.0);
    // the frame is stamped with the transmission time
    EXPECT_EQ(e.header.week, 2011);
    EXPECT_EQ(e.header.milliseconds, 590418000u);
    // what the writer gives back: √A and √variance
    EXPECT_DOUBLE_EQ(std::sqrt(e.a), 5.153785652161E+03);
    EXPECT_DOUBLE_EQ(std::sqrt(e.uraVariance), 2.0);
}

TEST(RecordConversion, GpsTransmissionTimeBeforeTheToeWeekStampsThePreviousWeek) {
    const auto e = rinex_input::toGpsEphemeris(record('G', 2, 0, 0));
    EXPECT_EQ(e.tow, -7182.0);
    EXPECT_EQ(e.week, 2012u);
    EXPECT_EQ(e.header.week, 2011);
    EXPECT_EQ(e.header.milliseconds, (604800u - 7182u) * 1000u);
}

TEST(RecordConversion, GlonassRecordTakesTheWritersInverseMapping) {
    const NavRecord& rinex = record('R', 1, 23, 15);
    const auto e = rinex_input::toGlonassEphemeris(rinex, 18);
    EXPECT_EQ(e.header.messageId, 723);
    EXPECT_EQ(e.slot, 1 + 37);
    EXPECT_EQ(e.frequency, 1 + 7);
    EXPECT_EQ(e.tauN, -2.973526716232E-05);
    EXPECT_EQ(e.gammaN, 0.0);
    EXPECT_EQ(e.x, -1.718954052734E+04 * 1000.0);
    EXPECT_EQ(e.vy, -9.117212295532E-01 * 1000.0);
    EXPECT_EQ(e.az, 1.862645149231E-09 * 1000.0);
    EXPECT_EQ(e.health, 0u);
    EXPECT_EQ(e.ageOfData, 0u);
    // 2018-07-28 is the Saturday of GPS week 2011; 23:15:00 UTC is 23:15:18 GPS time.
    EXPECT_EQ(e.week, 2011);
    EXPECT_EQ(e.referenceTime, (6u * 86400u + 23u * 3600u + 15u * 60u + 18u) * 1000u);
    EXPECT_EQ(e.timeOffset, 10782u);
    // 23:15 UTC is 02:15 Moscow time on 2018-07-29: 15-minute interval 9 of the day, and
    // day 941 of the four-year interval whose day 1 is 2016-01-01 (366 + 365 + 209 days on).
    EXPECT_EQ(e.issue, 9u);
    EXPECT_EQ(e.dayNumber, 941);
}

TEST(RecordConversion, GlonassRecordsGiveBackWhatTheWriterWrites) {
    int checked = 0;
    for (const NavRecord& rinex : subset().records) {
        if (rinex.system != 'R') continue;
        const auto e = rinex_input::toGlonassEphemeris(rinex, 18);
        // the writer's leap seconds: offset - 10800 when the offset lies in 10702..10799
        ASSERT_GE(e.timeOffset, 10702u);
        ASSERT_LE(e.timeOffset, 10799u);
        const int leap = int(e.timeOffset) - 10800;
        EXPECT_EQ(int(e.slot) - 37, rinex.satellite);
        EXPECT_EQ(int(e.frequency) - 7, int(*rinex.orbit(2, 3)));
        EXPECT_EQ(-e.tauN, *rinex.clock(0));
        // epoch: week and reference time + leap seconds x 1000, as a calendar
        const auto epoch = rinex_input::weekSecondsOf(rinex.epoch);
        EXPECT_EQ(e.week, epoch.week);
        EXPECT_EQ(int64_t(e.referenceTime) + leap * 1000, int64_t(epoch.seconds * 1000));
        // message frame time, with the leap seconds added unscaled
        const uint32_t day = uint32_t(int64_t(e.referenceTime) + leap) / 86400000u;
        EXPECT_EQ(double(day) * 86400 + double(e.tk) - 10800, *rinex.clock(2)) << "R" << rinex.satellite;
        EXPECT_DOUBLE_EQ(e.y * 0.001, *rinex.orbit(2, 0));
        ++checked;
    }
    EXPECT_EQ(checked, 4);
}

TEST(RecordConversion, GalileoInavHealthSplitsIntoSignalFlags) {
    const NavRecord& rinex = record('E', 14, 22, 40, 0);
    ASSERT_EQ(*rinex.orbit(6, 1), 455.0);
    const auto e = rinex_input::toGalileoInavEphemeris(rinex);
    EXPECT_EQ(e.header.messageId, 1309);
    EXPECT_EQ(e.e1bDvs, 1);
    EXPECT_EQ(e.e1bHealth, 3);
    EXPECT_EQ(e.e5bDvs, 1);
    EXPECT_EQ(e.e5bHealth, 3);
    // the writer's I/NAV health word gives back the written value
    EXPECT_EQ(e.e1bDvs | e.e1bHealth << 1 | e.e5bDvs << 6 | e.e5bHealth << 7, 455);
    EXPECT_EQ(e.sisaIndex, 107);
    EXPECT_EQ(e.iodNav, 104);
    EXPECT_EQ(e.toe, 600000u);
    EXPECT_EQ(e.toc, 600000u);
    EXPECT_EQ(e.sqrtA, 5.289367303848E+03);
    EXPECT_EQ(e.bgdE5aE1, 3.282912075520E-08);
    EXPECT_EQ(e.bgdE5bE1, 3.678724169731E-08);
    // week and transmission time travel in the frame stamp
    EXPECT_EQ(e.header.week, 2011);
    EXPECT_EQ(e.header.milliseconds, 600666000u);
}

TEST(RecordConversion, GalileoFnavHealthSplitsIntoSignalFlags) {
    const NavRecord& rinex = record('E', 14, 22, 40, 1);
    ASSERT_EQ(*rinex.orbit(6, 1), 56.0);
    ASSERT_EQ(*rinex.orbit(5, 1), 258.0);
    const auto e = rinex_input::toGalileoFnavEphemeris(rinex);
    EXPECT_EQ(e.header.messageId, 1310);
    EXPECT_EQ(e.e5aDvs, 1);
    EXPECT_EQ(e.e5aHealth, 3);
    EXPECT_EQ(e.e5aDvs << 3 | e.e5aHealth << 4, 56);
    EXPECT_EQ(e.sisaIndex, 107);
}

TEST(RecordConversion, GalileoDataSourceSelectsTheNavigationMessage) {
    EXPECT_FALSE(rinex_input::isGalileoFnav(record('E', 2, 23, 20, 0)));
    EXPECT_TRUE(rinex_input::isGalileoFnav(record('E', 2, 23, 20, 1)));
    EXPECT_EQ(*record('E', 2, 23, 20, 0).orbit(5, 1), 517.0);
    EXPECT_EQ(*record('E', 2, 23, 20, 1).orbit(5, 1), 258.0);
}

TEST(RecordConversion, BeidouRecordTakesTheWritersInverseMapping) {
    const NavRecord& rinex = record('C', 7, 23, 0);
    const auto e = rinex_input::toBeidouEphemeris(rinex);
    EXPECT_EQ(e.header.messageId, 1696);
    EXPECT_EQ(e.satellite, 7u);
    EXPECT_EQ(e.week, 655u);
    // the epoch is toc in BeiDou time: week 655 + 1356 as a GPS week
    EXPECT_EQ(e.toc, 601200u);
    EXPECT_EQ(e.toe, 601200u);
    EXPECT_EQ(e.a0, 4.760944284499E-05);
    EXPECT_EQ(e.aode, 1u);
    EXPECT_EQ(e.sqrtA, 6.493573324203E+03);
    EXPECT_EQ(e.ura, 2.0);
    EXPECT_EQ(e.tgd1, 1.440000000000E-08);
    EXPECT_EQ(e.tgd2, 8.000000000000E-10);
    EXPECT_EQ(e.aodc, 0u);
    // the writer's transmission time: stamp seconds - 14
    EXPECT_EQ(e.header.week, 655 + 1356);
    EXPECT_EQ(e.header.milliseconds / 1000.0 - 14, 6.012180000000E+05);
}

TEST(RecordConversion, Bd2RecordCarriesSemiMajorAxisAndVariance) {
    const NavRecord& rinex = record('C', 20, 23, 0);
    const auto e = rinex_input::toBd2Ephemeris(rinex);
    EXPECT_EQ(e.header.messageId, 1047);
    EXPECT_EQ(e.a, 5.282626909256E+03 * 5.282626909256E+03);
    EXPECT_EQ(e.uraVariance, 4.0);
    EXPECT_EQ(e.tow, 6.012180000000E+05);
    EXPECT_EQ(e.toe, 6.012000000000E+05);
    EXPECT_EQ(e.toc, 601200.0);
    EXPECT_EQ(e.health, 1u);
    EXPECT_EQ(e.aodc, 10u);
    EXPECT_EQ(e.aode, 10u);
}

TEST(RecordConversion, RecordOfAnotherSystemIsRefused) {
    EXPECT_THROW(rinex_input::toGpsEphemeris(record('R', 1, 23, 15)), std::invalid_argument);
    EXPECT_THROW(rinex_input::toGlonassEphemeris(record('G', 2, 22, 0), 18), std::invalid_argument);
    EXPECT_THROW(rinex_input::toGalileoInavEphemeris(record('C', 7, 23, 0)), std::invalid_argument);
    EXPECT_THROW(rinex_input::toBeidouEphemeris(record('E', 2, 23, 20, 0)), std::invalid_argument);
}

TEST(RecordConversion, HeaderGivesIonosphereAndUtcParameters) {
    const auto p = rinex_input::toIonoUtcParameters(subset().header);
    EXPECT_EQ(p.header.messageId, 8);
    EXPECT_EQ(p.alpha[0], 4.6566E-09);
    EXPECT_EQ(p.alpha[3], -5.9605E-08);
    EXPECT_EQ(p.beta[1], 4.9152E+04);
    EXPECT_EQ(p.a0, -7.5669959188E-10);
    EXPECT_EQ(p.utcTime, 11696u);
    EXPECT_EQ(p.utcWeek, 2012u);
    EXPECT_EQ(p.leapSeconds, 18u);
    EXPECT_EQ(p.leapSecondsFuture, 18u);
}
