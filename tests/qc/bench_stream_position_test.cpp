// SPDX-License-Identifier: MIT
// The benchmark streams' broadcast records describe their synthetic sky (orbits, satellite
// clocks, group delays, ionosphere): the converter's quality check positions a stream at the
// model's antenna, for each range log and with records that change every round.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "gnss/constants.h"
#include "gnss/geodesy.h"

namespace {

int run(const std::string& command) {
    return std::system((command + " > /dev/null 2>&1").c_str());
}

// The generator's antenna (its default site).
gnss::Ecef antenna() {
    return gnss::ecefOf({47.3 * gnss::kDegree, 8.5 * gnss::kDegree, 520.0});
}

class BenchStreamPosition : public ::testing::Test {
protected:
    void SetUp() override {
#if !defined(VELMOOR_CONVERT) || !defined(VELMOOR_BENCH_STREAM)
        GTEST_SKIP() << "velmoor-convert is not built (VELMOOR_WITH_QT=OFF)";
#else
        char pattern[] = "/tmp/velmoor-bench-position-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
#endif
    }
    void TearDown() override {
        if (!dir_.empty()) run("rm -rf " + dir_);
    }

    // Generates a stream with the arguments, converts it with the check and returns the report.
    nlohmann::json check(const std::string& arguments) {
#if defined(VELMOOR_CONVERT) && defined(VELMOOR_BENCH_STREAM)
        const std::string input = dir_ + "/bench.dat", json = dir_ + "/bench.json";
        run("rm -f " + dir_ + "/bench.*"); // the converter overwrites nothing
        EXPECT_EQ(run(std::string(VELMOOR_BENCH_STREAM) + " " + arguments + " -o " + input), 0);
        EXPECT_EQ(run(std::string(VELMOOR_CONVERT) + " -q --qc-json " + json + " -o " + dir_ + "/bench.24O " + input),
                  0);
        std::ifstream in(json);
        return nlohmann::json::parse(in);
#else
        (void)arguments;
        return {};
#endif
    }

    static double distanceToAntenna(const nlohmann::json& p) {
        const gnss::Ecef a = antenna();
        return gnss::distance({p["x"].get<double>(), p["y"].get<double>(), p["z"].get<double>()}, a);
    }

    std::string dir_;
};

TEST_F(BenchStreamPosition, RangeCmpAtOneHertz) {
    const nlohmann::json j = check("--log rangecmp --rate 1 --size-mb 2");
    ASSERT_TRUE(j["position"].is_object());
    const auto& p = j["position"];
    EXPECT_GE(p["epochs"].get<int>(), 25);
    EXPECT_LT(distanceToAntenna(p), 1.0);
    EXPECT_LT(p["rms_3d_m"].get<double>(), 2.0);
    EXPECT_LT(p["pdop_median"].get<double>(), 2.0);
    // The header's position is the marker, the antenna height (1.5 m) below the antenna.
    EXPECT_NEAR(p["header_offset_m"].get<double>(), 1.5, 0.5);
    for (const char* system : {"G", "R", "E", "C"}) {
        EXPECT_GT(j["satellites"][system].get<int>(), 5) << system;
        EXPECT_GT(j["completeness"][system].size(), 0u) << system;
    }
}

TEST_F(BenchStreamPosition, RangeWithRecordsChangingEveryRound) {
    const nlohmann::json j = check("--log range --rate 1 --size-mb 2 --nav-every 60 --nav-update 60");
    ASSERT_TRUE(j["position"].is_object());
    EXPECT_GE(j["position"]["epochs"].get<int>(), 10);
    EXPECT_LT(distanceToAntenna(j["position"]), 1.0);
}

TEST_F(BenchStreamPosition, EveryLogKeepsItsPhasesContinuous) {
    // The model's phases have no slips: the check finds next to none in any of the logs (a
    // phase moved to each epoch's noisy pseudorange would slip almost every epoch).
    for (const char* log : {"range", "rangecmp", "rangecmp2"}) {
        const nlohmann::json j = check(std::string("--log ") + log + " --rate 1 --size-mb 2");
        ASSERT_TRUE(j["slips"].is_object()) << log;
        for (const char* system : {"G", "R", "E", "C"}) {
            long observations = 0;
            for (const auto& [code, count] : j["observations"][system].items())
                if (code[0] == 'L') observations += count.get<long>();
            ASSERT_GT(observations, 1000) << log << " " << system;
            EXPECT_LT(j["slips"][system].get<long>() * 1000, observations) << log << " " << system;
        }
    }
}

TEST_F(BenchStreamPosition, RangeCmp2AtTwentyHertz) {
    const nlohmann::json j = check("--log rangecmp2 --rate 20 --size-mb 2");
    ASSERT_TRUE(j["position"].is_object());
    EXPECT_GE(j["position"]["epochs"].get<int>(), 1);
    EXPECT_LT(distanceToAntenna(j["position"]), 3.0);
}

} // namespace
