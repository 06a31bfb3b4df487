// SPDX-License-Identifier: MIT
// The JSON report: every documented key with its type, from the bundled station data.
#include <gtest/gtest.h>

#include "json_report.h"
#include "quality/check_files.h"

namespace {

const std::string kData = std::string(VELMOOR_TEST_DATA) + "/rinex/";

nlohmann::json report(const std::vector<std::string>& nav) {
    quality::Report r;
    std::string error;
    EXPECT_TRUE(quality::checkFiles(kData + "ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz", nav, quality::Options{}, r,
                                    error))
        << error;
    return qc::jsonReport(r);
}

} // namespace

TEST(JsonReport, HoldsTheDocumentedKeys) {
    nlohmann::json j = report({kData + "ESBC00DNK_R_20201770000_03H_MN.rnx.gz"});
    EXPECT_EQ(j["epochs"], 60);
    EXPECT_EQ(j["interval_s"], 30.0);
    EXPECT_EQ(j["first"], "2020-06-25T00:00:00Z");
    EXPECT_EQ(j["last"], "2020-06-25T00:29:30Z");
    EXPECT_TRUE(j["gaps"].is_array());
    for (const char* s : {"G", "R", "E", "C", "S"}) {
        SCOPED_TRACE(s);
        EXPECT_TRUE(j["satellites"][s].is_number_integer());
        EXPECT_TRUE(j["observations"][s].is_object());
        EXPECT_TRUE(j["cn0_mean"][s].is_object());
        EXPECT_TRUE(j["slips"][s].is_number_integer());
    }
    EXPECT_GT(j["observations"]["G"]["C1C"].get<long>(), 500);
    EXPECT_GT(j["completeness"]["G"]["1C"].get<double>(), 0.9);
    EXPECT_GT(j["cn0_mean"]["E"]["1C"].get<double>(), 30.0);
    EXPECT_GT(j["multipath_rms_m"]["G"]["1"].get<double>(), 0.05);
    EXPECT_LT(j["multipath_rms_m"]["G"]["1"].get<double>(), 2.0);
    EXPECT_TRUE(j["multipath_rms_m"]["G"]["2"].is_number());
    auto& p = j["position"];
    for (const char* k : {"x", "y", "z", "lat", "lon", "height", "rms_3d_m", "pdop_median", "header_offset_m"})
        EXPECT_TRUE(p[k].is_number()) << k;
    EXPECT_EQ(p["epochs"], 60);
    EXPECT_TRUE(j["occupations"].is_array());
}

TEST(JsonReport, WithoutNavigationThePositionIsNull) {
    nlohmann::json j = report({});
    EXPECT_EQ(j["epochs"], 60);
    EXPECT_TRUE(j["position"].is_null());
    EXPECT_TRUE(j["completeness"].empty());
    EXPECT_FALSE(j["messages"].empty());
}

TEST(JsonReport, UnreadableNavigationIsAMessageNotAFailure) {
    nlohmann::json j = report({kData + "no-such-file.rnx", kData + "CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx"});
    EXPECT_EQ(j["epochs"], 60);
    EXPECT_TRUE(j["position"].is_null());
    EXPECT_GE(j["messages"].size(), 2u);
}
