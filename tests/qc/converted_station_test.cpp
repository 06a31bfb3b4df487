// SPDX-License-Identifier: MIT
// End to end: real station observations and the same day's broadcast ephemerides become a
// receiver data file with two PPK occupations (the sample generator), are converted in each
// PPK mode, and velmoor-qc reports the station's known position and the occupations.
#include <gtest/gtest.h>

#include <stdlib.h>
#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

namespace {

const std::string kData = std::string(VELMOOR_TEST_DATA) + "/rinex/";
// The station's published position (its header's APPROX POSITION XYZ).
const double kEsbc[3] = {3582105.2910, 532589.7313, 5232754.8054};

int run(const std::string& command) {
    return std::system((command + " > /dev/null 2>&1").c_str());
}

[[maybe_unused]] void gunzip(const std::string& from, const std::string& to) {
    gzFile in = gzopen(from.c_str(), "rb");
    ASSERT_NE(in, nullptr);
    std::ofstream out(to, std::ios::binary);
    char buffer[65536];
    int n;
    while ((n = gzread(in, buffer, sizeof buffer)) > 0)
        out.write(buffer, n);
    gzclose(in);
}

double distanceToStation(const nlohmann::json& p) {
    const double dx = p["x"].get<double>() - kEsbc[0], dy = p["y"].get<double>() - kEsbc[1],
                 dz = p["z"].get<double>() - kEsbc[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

class ConvertedStation : public ::testing::Test {
protected:
    void SetUp() override {
#ifndef VELMOOR_CONVERT
        GTEST_SKIP() << "velmoor-convert is not built (VELMOOR_WITH_QT=OFF)";
#endif
    }
    static void SetUpTestSuite() {
#ifdef VELMOOR_CONVERT
        char pattern[] = "/tmp/velmoor-qc-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
        gunzip(kData + "ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz", dir + "/obs.rnx");
        gunzip(kData + "ESBC00DNK_R_20201770000_03H_MN.rnx.gz", dir + "/nav.rnx");
        // Occupations: PT01 from the range log of epoch 10 with 8 samples, PT02 from epoch 30 with 6.
        ASSERT_EQ(run(std::string(VELMOOR_MAKE_SAMPLE) + " " + dir + "/obs.rnx " + dir +
                      "/nav.rnx --ppk 10:8:PT01 --ppk 30:6:PT02 -o " + dir + "/esbc.dat"),
                  0);
#endif
    }
    static void TearDownTestSuite() {
        if (!dir.empty()) run("rm -rf " + dir);
    }

#ifdef VELMOOR_CONVERT
    static nlohmann::json convertAndCheck(const std::string& mode) {
        const std::string out = dir + "/" + mode + ".20O";
        EXPECT_EQ(run(std::string(VELMOOR_CONVERT) + " -q --mode " + mode + " -o " + out + " " + dir + "/esbc.dat"), 0);
        const std::string stem = out.substr(0, out.size() - 1);
        const std::string json = dir + "/" + mode + ".json";
        EXPECT_EQ(run(std::string(VELMOOR_QC) + " --json " + json + " " + out + " " + stem + "N " + stem + "G " +
                      stem + "L " + stem + "C"),
                  0);
        std::ifstream in(json);
        return nlohmann::json::parse(in);
    }
#else
    static nlohmann::json convertAndCheck(const std::string&) { return {}; }
#endif

    static std::string dir;
};

std::string ConvertedStation::dir;

} // namespace

TEST_F(ConvertedStation, EveryEpochPositionedAtTheStation) {
    const nlohmann::json j = convertAndCheck("none");
    EXPECT_EQ(j["epochs"], 60);
    EXPECT_EQ(j["interval_s"], 30.0);
    EXPECT_EQ(j["first"], "2020-06-25T00:00:00Z");
    EXPECT_EQ(j["last"], "2020-06-25T00:29:30Z");
    EXPECT_TRUE(j["gaps"].empty());
    ASSERT_TRUE(j["position"].is_object());
    EXPECT_EQ(j["position"]["epochs"], 60);
    EXPECT_LT(distanceToStation(j["position"]), 5.0);
    EXPECT_LT(j["position"]["header_offset_m"].get<double>(), 5.0);
    EXPECT_NEAR(j["position"]["lat"].get<double>(), 55.4936, 1e-3);
    for (const char* system : {"G", "R", "E", "C"}) {
        EXPECT_GT(j["satellites"][system].get<int>(), 5) << system;
        EXPECT_GT(j["completeness"][system].size(), 0u) << system;
    }
    EXPECT_TRUE(j["occupations"].empty()); // mode none writes no events
}

TEST_F(ConvertedStation, OnlyModeHoldsTheOccupations) {
    const nlohmann::json j = convertAndCheck("only");
    EXPECT_EQ(j["epochs"], 14);
    ASSERT_EQ(j["occupations"].size(), 2u);
    const auto& a = j["occupations"][0];
    EXPECT_EQ(a["name"], "PT01");
    EXPECT_EQ(a["number"], "MK-0001");
    EXPECT_EQ(a["epochs"], 8);
    EXPECT_EQ(a["start"], "2020-06-25T00:05:30Z");
    EXPECT_EQ(a["end"], "2020-06-25T00:09:00Z");
    EXPECT_GT(a["sats_min"].get<int>(), 30);
    EXPECT_GE(a["sats_mean"].get<double>(), a["sats_min"].get<double>());
    EXPECT_LT(distanceToStation(a), 5.0);
    const auto& b = j["occupations"][1];
    EXPECT_EQ(b["name"], "PT02");
    EXPECT_EQ(b["epochs"], 6);
    EXPECT_EQ(b["start"], "2020-06-25T00:15:30Z");
    EXPECT_LT(distanceToStation(b), 5.0);
}

TEST_F(ConvertedStation, MixModeHoldsTheTrackAndTheOccupations) {
    const nlohmann::json j = convertAndCheck("mix");
    EXPECT_EQ(j["epochs"], 60);
    ASSERT_EQ(j["occupations"].size(), 2u);
    EXPECT_EQ(j["occupations"][0]["name"], "PT01");
    EXPECT_EQ(j["occupations"][0]["epochs"], 8);
    EXPECT_EQ(j["occupations"][1]["name"], "PT02");
    EXPECT_EQ(j["occupations"][1]["epochs"], 6);
    EXPECT_LT(distanceToStation(j["position"]), 5.0);
}
