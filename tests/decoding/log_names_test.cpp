// SPDX-License-Identifier: MIT
#include "decoding/log_names.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

TEST(LogNames, IonUtcVariantIdResolves) {
    EXPECT_STREQ(decoding::logName(6), "IONUTC_U");
}

TEST(LogNames, UnknownIdHasEmptyName) {
    EXPECT_STREQ(decoding::logName(9999), "");
    EXPECT_STREQ(decoding::logName(0), "");
}

TEST(LogNames, EveryTabledIdResolvesToItsName) {
    const std::vector<std::pair<uint32_t, const char*>> table = {
        {42, "BESTPOS"},
        {99, "BESTVEL"},
        {971, "HEADING"},
        {1335, "HEADING2"},
        {47, "PSRPOS"},
        {174, "PSRDOP"},
        {101, "TIME"},
        {175, "REFSTATION"},
        {43, "RANGE"},
        {140, "RANGECMP"},
        {1273, "RANGECMP2"},
        {48, "SATVIS"},
        {1043, "SATVIS2"},
        {215, "RTKDATA"},
        {1194, "BESTSATS"},
        {1047, "BD2EPHEM"},
        {3000, "BD3EPHEM"},
        {1696, "BDSEPHEMERIS"},
        {1122, "GALEPHEMERIS"},
        {1309, "GALINAVEPHEMERIS"},
        {1310, "GALFNAVEPHEMERIS"},
        {7, "GPSEPHEM"},
        {2123, "NAVICEPHEMERIS"},
        {1336, "QZSSEPHEMERIS"},
        {723, "GLOEPHEMERIS"},
        {8, "IONUTC"},
        {6, "IONUTC_U"},
        {2010, "BD2IONUTC"},
        {1347, "QZSSIONUTC"},
        {1590, "BDSIONO"},
        {2124, "NAVICIONO"},
    };
    ASSERT_EQ(table.size(), 31u);
    for (const auto& row : table)
        EXPECT_STREQ(decoding::logName(row.first), row.second) << row.first;
}

TEST(LogNames, IdIsComparedAsAWholeNumber) {
    // 43 + 65536 shares the low 16 bits of RANGE.
    EXPECT_STREQ(decoding::logName(43 + 65536), "");
}

TEST(SolutionStatusNames, ValuesUpToSixteenHaveNames) {
    EXPECT_STREQ(decoding::solutionStatusName(0), "SOL_COMPUTED");
    EXPECT_STREQ(decoding::solutionStatusName(7), "V_H_LIMIT");
    EXPECT_STREQ(decoding::solutionStatusName(12), "Reserved");
    EXPECT_STREQ(decoding::solutionStatusName(16), "ANTENNA_WARNING");
}

TEST(SolutionStatusNames, SeventeenAndAboveAreUnknow) {
    EXPECT_STREQ(decoding::solutionStatusName(17), "UNKNOW");
    EXPECT_STREQ(decoding::solutionStatusName(0xFFFFFFFFu), "UNKNOW");
}

TEST(PositionTypeNames, ValueOutsideTableIsNoneWithQualityZero) {
    EXPECT_STREQ(decoding::positionTypeName(57), "NONE");
    EXPECT_EQ(decoding::positionTypeQuality(57), 0);
    EXPECT_EQ(decoding::positionTypeQuality(3), 0);
}

TEST(PositionTypeNames, NamesAndQualitiesFollowTheTable) {
    EXPECT_STREQ(decoding::positionTypeName(0), "NONE");
    EXPECT_STREQ(decoding::positionTypeName(16), "SINGLE");
    EXPECT_EQ(decoding::positionTypeQuality(16), 1);
    EXPECT_STREQ(decoding::positionTypeName(50), "NARROW_INT");
    EXPECT_EQ(decoding::positionTypeQuality(50), 4);
    EXPECT_STREQ(decoding::positionTypeName(34), "NARROW_FLOAT");
    EXPECT_EQ(decoding::positionTypeQuality(34), 5);
    EXPECT_STREQ(decoding::positionTypeName(1), "FIXEDPOS");
    EXPECT_EQ(decoding::positionTypeQuality(1), 7);
    EXPECT_STREQ(decoding::positionTypeName(65), "OMNISTAR_XP");
    EXPECT_EQ(decoding::positionTypeQuality(65), 9);
}

TEST(PositionTypeNames, InsRowsKeepTheirTabledSpellingAndQuality) {
    EXPECT_STREQ(decoding::positionTypeName(55), "INS_RTKFIXED");
    EXPECT_EQ(decoding::positionTypeQuality(55), 3);
    EXPECT_STREQ(decoding::positionTypeName(56), "INS_RTKFLOA");
    EXPECT_EQ(decoding::positionTypeQuality(56), 4);
}

TEST(PositionTypeNames, NameLooksUpValueOnlyForComputedSolutions) {
    EXPECT_EQ(decoding::positionTypeFromName("SOL_COMPUTED", "NARROW_INT"), 50u);
    EXPECT_EQ(decoding::positionTypeFromName("SOL_COMPUTED", "INS_RTKFLOA"), 56u);
    EXPECT_EQ(decoding::positionTypeFromName("SOL_COMPUTED", "INS_RTKFLOAT"), 0u);
    EXPECT_EQ(decoding::positionTypeFromName("SOL_COMPUTED", "narrow_int"), 0u);
    EXPECT_EQ(decoding::positionTypeFromName("INSUFFICIENT_OBS", "NARROW_INT"), 0u);
}

TEST(SatelliteStatusNames, TabledValuesHaveNamesAndOthersAreEmpty) {
    EXPECT_STREQ(decoding::satelliteStatusName(0), "GOOD");
    EXPECT_STREQ(decoding::satelliteStatusName(6), "ELEVATION_ERROR");
    EXPECT_STREQ(decoding::satelliteStatusName(15), "UNKNOWN");
    EXPECT_STREQ(decoding::satelliteStatusName(26), "SUPPLEMENTARY");
    EXPECT_STREQ(decoding::satelliteStatusName(99), "NA");
    EXPECT_STREQ(decoding::satelliteStatusName(102), "NO_AMBIGUITY");
    EXPECT_STREQ(decoding::satelliteStatusName(3), "");
    EXPECT_STREQ(decoding::satelliteStatusName(14), "");
    EXPECT_STREQ(decoding::satelliteStatusName(103), "");
}

} // namespace
