// SPDX-License-Identifier: MIT
// The observation file among the files a conversion wrote.
#include <gtest/gtest.h>

#include "quality/check_files.h"

TEST(ConversionFiles, ShortNamesPlainAndGzip) {
    EXPECT_EQ(quality::observationFileOf({"out/site.24N", "out/site.24O", "out/site.24G"}), "out/site.24O");
    EXPECT_EQ(quality::observationFileOf({"out/site.24N.gz", "out/site.24O.gz"}), "out/site.24O.gz");
    EXPECT_EQ(quality::observationFileOf({"site.24O", "site.24P"}), "site.24O");
}

TEST(ConversionFiles, LongNames) {
    EXPECT_EQ(quality::observationFileOf({"CEBR00XXX_R_20182000000_30M_MN.rnx.gz",
                                          "CEBR00XXX_R_20182000000_30M_30S_MO.rnx.gz"}),
              "CEBR00XXX_R_20182000000_30M_30S_MO.rnx.gz");
    // A folder whose name ends in O does not make a navigation file an observation file.
    EXPECT_EQ(quality::observationFileOf({"RINEXO/CEBR00XXX_R_20182000000_30M_GN.rnx"}), "");
}

TEST(ConversionFiles, CompactRinexAndNoObservationFile) {
    EXPECT_EQ(quality::observationFileOf({"site.24D", "site.24N"}), "");
    EXPECT_EQ(quality::observationFileOf({"CEBR00XXX_R_20182000000_30M_30S_MO.crx"}), "");
    quality::Report report;
    std::string error;
    EXPECT_FALSE(quality::checkConversionFiles({"site.24N"}, quality::Options{}, report, error));
    EXPECT_EQ(error, "no observation file to check");
}
