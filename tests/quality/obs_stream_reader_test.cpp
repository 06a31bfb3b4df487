// SPDX-License-Identifier: MIT
// The streaming observation reader: header, epochs, and damaged input.
#include <gtest/gtest.h>

#include <sstream>

#include "quality/compressed_input.h"
#include "quality/gnss_time.h"
#include "quality/rinex_obs_reader.h"
#include "test_files.h"

using namespace quality;

namespace {

const char kHeader[] =
    "     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n"
    "PT01                                                        MARKER NAME\n"
    "  4846664.9180  -370195.2000  4116929.5260                  APPROX POSITION XYZ\n"
    "G    4 C1C L1C D1C S1C                                      SYS / # / OBS TYPES\n"
    "    30.000                                                  INTERVAL\n"
    "                                                            END OF HEADER\n";

std::string satelliteLine(const char* id, double c, double l, int lli) {
    char b[128];
    std::snprintf(b, sizeof b, "%s%14.3f  %14.3f%d %14.3f  %14.3f  ", id, c, l, lli, -1234.5, 45.25);
    return b;
}

} // namespace

TEST(RinexObsReader, ReadsTheHeaderAndEpochs) {
    std::string text = kHeader;
    text += "> 2018 07 19 00 05 30.0000000  0  2\n" + satelliteLine("G05", 21000000.123, 110000000.5, 1) + "\n" +
            satelliteLine("G12", 22000000.5, 115000000.25, 0) + "\n";
    text += "> 2018 07 19 00 06 00.0000000  0  1\n" + satelliteLine("G05", 21000100.0, 110000500.0, 0) + "\n";
    std::istringstream in(text);
    RinexObsReader reader(in);
    ObservationHeader h;
    std::string error;
    ASSERT_TRUE(reader.readHeader(h, error)) << error;
    EXPECT_EQ(h.markerName, "PT01");
    EXPECT_TRUE(h.hasApproxPosition);
    EXPECT_DOUBLE_EQ(h.approxPosition[1], -370195.2);
    EXPECT_EQ(h.interval, 30);
    ASSERT_EQ(h.obsTypes.at('G').size(), 4u);
    Epoch e;
    ASSERT_TRUE(reader.next(e));
    EXPECT_DOUBLE_EQ(e.time, gpsSecondsOf(2018, 7, 19, 0, 5, 30));
    ASSERT_EQ(e.satelliteCount, 2u);
    EXPECT_EQ(e.satellites[0].number, 5);
    ASSERT_EQ(e.satellites[0].observations.size(), 4u);
    EXPECT_NEAR(e.satellites[0].observations[0].value, 21000000.123, 1e-6);
    EXPECT_EQ(e.satellites[0].observations[1].type, 'L');
    EXPECT_EQ(e.satellites[0].observations[1].lli, 1);
    EXPECT_NEAR(e.satellites[0].observations[2].value, -1234.5, 1e-9);
    ASSERT_TRUE(reader.next(e));
    EXPECT_EQ(e.satelliteCount, 1u);
    EXPECT_FALSE(reader.next(e));
    EXPECT_EQ(reader.problemCount(), 0u);
}

TEST(RinexObsReader, SkipsDamagedRecordsAndGoesOn) {
    std::string text = kHeader;
    text += "> 2018 07 19 00 05 30.0000000  0  3\n" + satelliteLine("G05", 21000000.0, 110000000.0, 0) + "\n";
    // two satellite lines missing: the next epoch line comes early
    text += "> 2018 07 19 00 06 00.0000000  0  2\n" + satelliteLine("G05", 21000000.0, 110000000.0, 0) + "\n" +
            "G12  garbage-garbage\n";
    text += "> 2018 13 99 00 06 30.0000000  0  1\n" + satelliteLine("G05", 1, 1, 0) + "\n";
    text += "> 2018 07 19 00 07 00.0000000  0  1\n" + satelliteLine("G05", 21000000.0, 110000000.0, 0) + "\n";
    text += "> 2018 07 19 00 07 30.0000000  0  2\n" + satelliteLine("G05", 21000000.0, 110000000.0, 0).substr(0, 20);
    std::istringstream in(text);
    RinexObsReader reader(in);
    ObservationHeader h;
    std::string error;
    ASSERT_TRUE(reader.readHeader(h, error)) << error;
    std::vector<double> times;
    std::vector<size_t> counts;
    Epoch e;
    while (reader.next(e)) {
        times.push_back(e.time);
        counts.push_back(e.satelliteCount);
    }
    ASSERT_EQ(times.size(), 3u);
    EXPECT_DOUBLE_EQ(times[0], gpsSecondsOf(2018, 7, 19, 0, 6, 0));
    EXPECT_EQ(counts[0], 1u); // the garbage line is dropped
    EXPECT_DOUBLE_EQ(times[1], gpsSecondsOf(2018, 7, 19, 0, 7, 0));
    EXPECT_DOUBLE_EQ(times[2], gpsSecondsOf(2018, 7, 19, 0, 7, 30));
    EXPECT_GE(reader.problemCount(), 4u);
}

TEST(RinexObsReader, RefusesOtherFiles) {
    for (const char* text : {"", "hello\n", "     2.11           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n",
                             "     3.04           NAVIGATION DATA     M                   RINEX VERSION / TYPE\n",
                             "     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n"}) {
        std::istringstream in(text);
        RinexObsReader reader(in);
        ObservationHeader h;
        std::string error;
        EXPECT_FALSE(reader.readHeader(h, error)) << text;
        EXPECT_FALSE(error.empty());
    }
}

TEST(RinexObsReader, ReadsACompressedStationFile) {
    std::string error;
    auto in = openInput(testfiles::esbcObs(), error);
    ASSERT_TRUE(in) << error;
    RinexObsReader reader(*in);
    ObservationHeader h;
    ASSERT_TRUE(reader.readHeader(h, error)) << error;
    EXPECT_EQ(h.markerName, "ESBC00DNK");
    EXPECT_EQ(h.glonassChannels.at(2), -4);
    EXPECT_EQ(h.obsTypes.at('R').size(), 20u);
    Epoch e;
    int epochs = 0;
    while (reader.next(e))
        ++epochs;
    EXPECT_EQ(epochs, 60);
    EXPECT_EQ(reader.problemCount(), 0u);
}

TEST(RinexObsReader, EventWithoutEpochTakesTheLastEpochsTime) {
    std::string text = kHeader;
    text += "> 2018 07 19 00 05 30.0000000  0  1\n" + satelliteLine("G05", 21000000.0, 110000000.0, 0) + "\n";
    text += ">                              3  2\n"
            "PT01                                                        MARKER NAME\n"
            "MK-0001                                                     MARKER NUMBER\n";
    std::istringstream in(text);
    RinexObsReader reader(in);
    ObservationHeader h;
    std::string error;
    ASSERT_TRUE(reader.readHeader(h, error)) << error;
    Epoch e;
    ASSERT_TRUE(reader.next(e));
    ASSERT_TRUE(reader.next(e));
    EXPECT_EQ(e.flag, 3);
    EXPECT_DOUBLE_EQ(e.time, gpsSecondsOf(2018, 7, 19, 0, 5, 30));
    ASSERT_EQ(e.eventLines.size(), 2u);
    EXPECT_EQ(e.eventLines[1].substr(0, 7), "MK-0001");
    EXPECT_FALSE(reader.next(e));
    EXPECT_EQ(reader.problemCount(), 0u);
}

TEST(RinexObsReader, SystemIndexOfEveryByte) {
    const std::string letters = "GRECJIS";
    for (int b = 0; b < 256; ++b) {
        const char c = char(b);
        const size_t at = letters.find(c);
        const int expected = at != std::string::npos ? int(at) : 7;
        EXPECT_EQ(systemIndex(c), expected) << "byte " << b;
    }
    EXPECT_EQ(systemIndex('G'), 0);
    EXPECT_EQ(systemIndex('S'), 6);
    EXPECT_EQ(systemIndex('g'), 7);
}
