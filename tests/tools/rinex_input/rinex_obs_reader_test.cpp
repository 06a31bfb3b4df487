// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "rinex_input/rinex_obs_reader.h"

using namespace rinex_input;

namespace {

const std::string kFile =
    std::string(VELMOOR_TEST_DATA) + "/rinex/CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx";

std::string headerLine(const std::string& content, const std::string& label) {
    std::string line = content;
    line.resize(60, ' ');
    return line + label + "\n";
}

std::string smallHeader(char fileType = 'O') {
    return headerLine(std::string("     3.04           ") + fileType + "BSERVATION DATA    G",
                      "RINEX VERSION / TYPE") +
           headerLine("G    4 C1C L1C D1C S1C", "SYS / # / OBS TYPES") + headerLine("", "END OF HEADER");
}

const ObsValue& valueOf(const ObsHeader& header, const SatelliteObs& sat, const std::string& type) {
    const int k = header.typeIndex(sat.system, type);
    EXPECT_GE(k, 0) << type;
    static const ObsValue none;
    return k >= 0 && size_t(k) < sat.values.size() ? sat.values[k] : none;
}

} // namespace

TEST(ObsReader, HeaderFieldsOfTheStationFileAreRead) {
    const ObsFile f = readObsFile(kFile);
    const ObsHeader& h = f.header;
    EXPECT_DOUBLE_EQ(h.version, 3.03);
    EXPECT_EQ(h.fileType, 'O');
    EXPECT_EQ(h.satelliteSystem, 'M');
    EXPECT_EQ(h.markerName, "CEBR");
    EXPECT_EQ(h.markerNumber, "13408M001");
    EXPECT_EQ(h.observer, "AUTOMATIC");
    EXPECT_EQ(h.agency, "ESA/ESOC");
    EXPECT_EQ(h.receiverNumber, "3001288");
    EXPECT_EQ(h.receiverVersion, "2.9.5-extref1");
    EXPECT_EQ(h.antennaNumber, "5163");
    ASSERT_TRUE(h.hasApproxPosition);
    EXPECT_DOUBLE_EQ(h.approxPosition[0], 4846664.918);
    EXPECT_DOUBLE_EQ(h.approxPosition[1], -370195.2);
    EXPECT_DOUBLE_EQ(h.approxPosition[2], 4116929.526);
    EXPECT_DOUBLE_EQ(h.antennaDeltaHen[0], 0.178);
    EXPECT_DOUBLE_EQ(h.interval, 30.0);
    ASSERT_TRUE(h.hasFirstObs);
    EXPECT_EQ(h.firstObs.year, 2018);
    EXPECT_EQ(h.firstObs.month, 7);
    EXPECT_EQ(h.firstObs.day, 19);
    EXPECT_EQ(h.firstObs.timeSystem, "GPS");
    EXPECT_TRUE(h.hasLastObs);
    EXPECT_FALSE(h.hasLeapSeconds);
    EXPECT_EQ(h.signalStrengthUnit, "DBHZ");
    EXPECT_EQ(h.comments.size(), 2u);
}

TEST(ObsReader, ObservationTypesContinueOverContinuationLines) {
    const ObsHeader h = readObsFile(kFile, 0).header;
    ASSERT_EQ(h.obsTypes.size(), 5u);
    EXPECT_EQ(h.obsTypes.at('G').size(), 18u);
    EXPECT_EQ(h.obsTypes.at('E').size(), 16u);
    EXPECT_EQ(h.obsTypes.at('S').size(), 4u);
    EXPECT_EQ(h.obsTypes.at('R').size(), 16u);
    EXPECT_EQ(h.obsTypes.at('C').size(), 8u);
    EXPECT_EQ(h.obsTypes.at('G').front(), "C1C");
    EXPECT_EQ(h.obsTypes.at('G')[13], "S2L");
    EXPECT_EQ(h.obsTypes.at('G').back(), "S5Q");
    EXPECT_EQ(h.typeIndex('R', "C3Q"), 12);
    EXPECT_EQ(h.typeIndex('R', "C9Z"), -1);
    EXPECT_EQ(h.typeIndex('J', "C1C"), -1);
}

TEST(ObsReader, GlonassSlotsGiveEachSlotItsFrequencyChannel) {
    const ObsHeader h = readObsFile(kFile, 0).header;
    EXPECT_EQ(h.glonassSlots.size(), 25u);
    EXPECT_EQ(h.glonassSlots.at(1), 1);
    EXPECT_EQ(h.glonassSlots.at(2), -4);
    EXPECT_EQ(h.glonassSlots.at(10), -7);
    EXPECT_EQ(h.glonassSlots.at(24), 2);
    EXPECT_EQ(h.glonassSlots.at(26), -5);
    EXPECT_EQ(h.glonassSlots.count(25), 0u);
}

TEST(ObsReader, EpochTimesBecomeGpsWeekAndMillisecondsOfWeek) {
    const ObsFile f = readObsFile(kFile);
    ASSERT_EQ(f.epochs.size(), 3u);
    // 2018-07-19 is the Thursday of GPS week 2010 (which began on Sunday 2018-07-15).
    EXPECT_EQ(f.epochs[0].week, 2010);
    EXPECT_EQ(f.epochs[0].msOfWeek, 4u * 86400000u);
    EXPECT_EQ(f.epochs[1].msOfWeek, 4u * 86400000u + 30000u);
    EXPECT_EQ(f.epochs[2].msOfWeek, 4u * 86400000u + 60000u);
    EXPECT_EQ(f.epochs[2].time.minute, 1);
    EXPECT_EQ(f.epochs[0].flag, 0);
    EXPECT_EQ(f.epochs[0].satellites.size(), 38u);
}

TEST(ObsReader, GpsWeekStartsAtTheGpsEpoch) {
    ObsTime t;
    t.year = 1980, t.month = 1, t.day = 6;
    int week = -1;
    double seconds = -1;
    gpsWeekOfCalendar(t, week, seconds);
    EXPECT_EQ(week, 0);
    EXPECT_EQ(seconds, 0.0);
    t.year = 1999, t.month = 8, t.day = 22, t.hour = 0, t.minute = 0, t.second = 1.5;
    gpsWeekOfCalendar(t, week, seconds);
    EXPECT_EQ(week, 1024);
    EXPECT_EQ(seconds, 1.5);
}

TEST(ObsReader, SatelliteValuesFollowTheHeaderTypes) {
    const ObsFile f = readObsFile(kFile, 1);
    const SatelliteObs* g28 = f.epochs[0].find('G', 28);
    ASSERT_NE(g28, nullptr);
    EXPECT_EQ(g28->values.size(), 18u);
    const ObsValue& c1c = valueOf(f.header, *g28, "C1C");
    EXPECT_TRUE(c1c.present);
    EXPECT_DOUBLE_EQ(c1c.value, 23074455.907);
    EXPECT_EQ(c1c.lli, -1);
    EXPECT_EQ(c1c.ssi, 7);
    const ObsValue& l1c = valueOf(f.header, *g28, "L1C");
    EXPECT_DOUBLE_EQ(l1c.value, 121257095.718);
    EXPECT_EQ(l1c.lli, 0);
    EXPECT_EQ(l1c.ssi, 7);
    EXPECT_DOUBLE_EQ(valueOf(f.header, *g28, "D1C").value, 2477.620);
    EXPECT_DOUBLE_EQ(valueOf(f.header, *g28, "S1W").value, 26.0);
    EXPECT_DOUBLE_EQ(valueOf(f.header, *g28, "L2W").value, 94486055.885);
    EXPECT_DOUBLE_EQ(valueOf(f.header, *g28, "D2W").value, 1930.616);
    // The line ends before the L2C and L5 columns.
    EXPECT_FALSE(valueOf(f.header, *g28, "C2L").present);
    EXPECT_FALSE(valueOf(f.header, *g28, "S5Q").present);
}

TEST(ObsReader, BlankFieldsAreAbsent) {
    const ObsFile f = readObsFile(kFile, 1);
    const SatelliteObs* e27 = f.epochs[0].find('E', 27);
    ASSERT_NE(e27, nullptr);
    EXPECT_FALSE(valueOf(f.header, *e27, "C1C").present);
    EXPECT_FALSE(valueOf(f.header, *e27, "S1C").present);
    EXPECT_TRUE(valueOf(f.header, *e27, "C5Q").present);
    EXPECT_DOUBLE_EQ(valueOf(f.header, *e27, "C5Q").value, 27817160.985);
    const SatelliteObs* c05 = f.epochs[0].find('C', 5);
    ASSERT_NE(c05, nullptr);
    EXPECT_TRUE(valueOf(f.header, *c05, "C2I").present);
    EXPECT_FALSE(valueOf(f.header, *c05, "L2I").present);
}

TEST(ObsReader, MaxEpochsLimitsTheEpochsRead) {
    EXPECT_EQ(readObsFile(kFile, 2).epochs.size(), 2u);
    EXPECT_EQ(readObsFile(kFile, 0).epochs.size(), 0u);
}

TEST(ObsReader, EventEpochKeepsItsSpecialRecordsAndNoSatellites) {
    std::istringstream in(smallHeader() + "> 2020 01 02 03 04  5.5000000  4  2\n" +
                          headerLine("first comment", "COMMENT") + headerLine("second comment", "COMMENT") +
                          "> 2020 01 02 03 04  6.0000000  0  1       0.000000000123\n"
                          "G01  20000000.000 5 100000000.00012       -10.500 5        31.000\n");
    ObsReader reader(in);
    ObsEpoch epoch;
    ASSERT_TRUE(reader.next(epoch));
    EXPECT_EQ(epoch.flag, 4);
    EXPECT_TRUE(epoch.satellites.empty());
    ASSERT_EQ(epoch.eventRecords.size(), 2u);
    EXPECT_EQ(epoch.eventRecords[1].substr(0, 14), "second comment");
    EXPECT_DOUBLE_EQ(epoch.time.second, 5.5);
    ASSERT_TRUE(reader.next(epoch));
    EXPECT_EQ(epoch.flag, 0);
    EXPECT_DOUBLE_EQ(epoch.clockOffset, 1.23e-10);
    ASSERT_EQ(epoch.satellites.size(), 1u);
    EXPECT_EQ(epoch.satellites[0].values[1].lli, 1);
    EXPECT_EQ(epoch.satellites[0].values[1].ssi, 2);
    EXPECT_DOUBLE_EQ(epoch.satellites[0].values[2].value, -10.5);
    EXPECT_FALSE(reader.next(epoch));
}

TEST(ObsReader, CrLfLineEndsAreAccepted) {
    std::string text = smallHeader() + "> 2020 01 02 03 04  5.0000000  0  1\n"
                                       "G07  20000000.000 5\n";
    std::string crlf;
    for (char c : text)
        crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
    std::istringstream in(crlf);
    ObsReader reader(in);
    ObsEpoch epoch;
    ASSERT_TRUE(reader.next(epoch));
    ASSERT_EQ(epoch.satellites.size(), 1u);
    EXPECT_EQ(epoch.satellites[0].number, 7);
    EXPECT_EQ(epoch.satellites[0].values[0].ssi, 5);
    EXPECT_FALSE(epoch.satellites[0].values[1].present);
}

TEST(ObsReader, NavigationFileIsRefused) {
    std::istringstream in(smallHeader('N'));
    EXPECT_THROW(ObsReader reader(in), std::runtime_error);
}

TEST(ObsReader, HeaderWithoutEndIsRefused) {
    std::istringstream in(headerLine("     3.04           OBSERVATION DATA    G", "RINEX VERSION / TYPE"));
    EXPECT_THROW(ObsReader reader(in), std::runtime_error);
}

TEST(ObsReader, EpochCutShortIsRefused) {
    std::istringstream in(smallHeader() + "> 2020 01 02 03 04  5.0000000  0  2\n"
                                          "G07  20000000.000 5\n");
    ObsReader reader(in);
    ObsEpoch epoch;
    EXPECT_THROW(reader.next(epoch), std::runtime_error);
}

TEST(ObsReader, MissingFileIsRefused) {
    EXPECT_THROW(readObsFile(std::string(VELMOOR_TEST_DATA) + "/rinex/no-such-file.rnx"), std::runtime_error);
}
