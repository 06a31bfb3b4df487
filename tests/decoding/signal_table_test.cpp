// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "decoding/signal_table.h"

using namespace decoding;

namespace {

struct ExpectedRow {
    int system;
    int type;
    int compressed;
    int slot;
    const char* code;
    const char* name;
    uint32_t frequency;
};

// The listed table, in order, duplicates included.
const ExpectedRow kRows[] = {
    {0, 0, 1, 0, "1C", "L1(C/A)", 1575420000},   {0, 5, 255, 1, "2P", "L2(P)", 1227600000},
    {0, 9, 4, 1, "2W", "L2(Z)", 1227600000},     {0, 14, 7, 2, "5Q", "L5(Q)", 1176450000},
    {0, 16, 15, 0, "1L", "L1(CP)", 1575420000},  {0, 17, 5, 1, "2S", "L2(CM)", 1227600000},
    {0, 3, 255, 0, "1L", "L1(CP)", 1575420000},  {0, 6, 255, 2, "5Q", "L5(Q)", 1176450000},
    {0, 11, 255, 0, "1S", "L1(CD)", 1575420000}, {1, 0, 1, 0, "1C", "G1(C/A)", 1602000000},
    {1, 1, 3, 1, "2C", "G2(C/A)", 1246000000},   {1, 5, 4, 1, "2P", "G2(P)", 1246000000},
    {1, 6, 6, 2, "3Q", "G3(Q)", 1202025000},     {1, 5, 4, 1, "2C", "G2(C/A)", 1246000000},
    {2, 0, 1, 255, "1C", "L1(C/A)", 1575420000}, {2, 6, 2, 255, "5I", "L5(I)", 1176450000},
    {3, 2, 1, 0, "1C", "E1(C)", 1575420000},     {3, 6, 12, 4, "6B", "E6(B)", 1278750000},
    {3, 7, 5, 4, "6C", "E6(C)", 1278750000},     {3, 12, 2, 1, "5Q", "E5a(Q)", 1176450000},
    {3, 17, 3, 2, "7Q", "E5b(Q)", 1207140000},   {3, 20, 4, 3, "8Q", "E5(Q)", 1191795000},
    {3, 1, 255, 0, "1B", "E1(B)", 1575420000},   {4, 0, 1, 0, "2I", "B1(I)", 1561098000},
    {4, 1, 3, 1, "7I", "B2(I)", 1207140000},     {4, 2, 13, 2, "6I", "B3(I)", 1268520000},
    {4, 4, 2, 0, "2I", "B1(I)", 1561098000},     {4, 5, 4, 1, "7I", "B2(I)", 1207140000},
    {4, 6, 14, 2, "6I", "B3(I)", 1268520000},    {4, 6, 16, 2, "6I", "B3(I)", 1268520000},
    {4, 7, 19, 255, "1P", "B1C(P)", 1575420000}, {4, 9, 20, 255, "5P", "B2A(P)", 1176450000},
    {4, 8, 19, 255, "1P", "B1C(P)", 1575420000}, {4, 12, 20, 255, "5P", "B2A(P)", 1176450000},
    {4, 17, 3, 1, "7I", "B2(I)", 1207140000},    {4, 21, 13, 2, "6I", "B3(I)", 1268520000},
    {5, 0, 1, 0, "1C", "L1(C/A)", 1575420000},   {5, 14, 4, 2, "5Q", "L5(Q)", 1176450000},
    {5, 16, 8, 0, "1L", "L1(CP)", 1575420000},   {5, 17, 3, 1, "2S", "L2(CM)", 1227600000},
    {5, 27, 11, 3, "6L", "L6(P)", 1278750000},   {6, 0, 1, 2, "5A", "L5(ASPS)", 1176450000},
};

const SatSystemInfo& system(uint32_t value) {
    const SatSystemInfo* info = satSystemInfo(value);
    EXPECT_NE(info, nullptr);
    return *info;
}

} // namespace

TEST(SignalTable, SystemValuesZeroToSixHaveLettersGRSECJI) {
    const char letters[] = "GRSECJI";
    for (uint32_t s = 0; s < 7; ++s)
        EXPECT_EQ(system(s).letter, letters[s]) << s;
}

TEST(SignalTable, SystemSevenAndAboveHaveNoDescriptor) {
    EXPECT_EQ(satSystemInfo(7), nullptr);
    EXPECT_EQ(satSystemInfo(8), nullptr);
    EXPECT_EQ(satSystemInfo(0xFFFFFFFFu), nullptr);
}

TEST(SignalTable, SystemDescriptorsCarryReferenceFrequencyOffsetsAndRowCounts) {
    struct {
        double reference;
        int32_t numbering;
        int16_t channel;
        int32_t rows;
    } const expected[] = {{1575420000, 1, 0, 9}, {1602000000, 38, -7, 5},  {1575420000, 120, 0, 2},
                          {1575420000, 1, 0, 7}, {1561098000, 161, 0, 13}, {1575420000, 193, 0, 5},
                          {1176450000, 1, 0, 1}};
    for (uint32_t s = 0; s < 7; ++s) {
        SCOPED_TRACE(s);
        EXPECT_EQ(system(s).referenceFrequency, expected[s].reference);
        EXPECT_EQ(system(s).numberingOffset, expected[s].numbering);
        EXPECT_EQ(system(s).frequencyOffset, expected[s].channel);
        EXPECT_EQ(system(s).signalCount, expected[s].rows);
    }
}

TEST(SignalTable, EveryRowIsListedInTableOrderWithItsColumns) {
    size_t k = 0;
    for (uint32_t s = 0; s < 7; ++s) {
        const SatSystemInfo& info = system(s);
        for (int32_t i = 0; i < info.signalCount; ++i, ++k) {
            ASSERT_LT(k, std::size(kRows));
            const ExpectedRow& e = kRows[k];
            const SignalInfo& row = info.signalRows[i];
            SCOPED_TRACE(testing::Message() << "row " << k);
            EXPECT_EQ(int(s), e.system);
            EXPECT_EQ(row.signalType, e.type);
            EXPECT_EQ(row.compressedCode, e.compressed);
            EXPECT_EQ(row.frequencySlot, e.slot);
            EXPECT_STREQ(row.rinexCode, e.code);
            EXPECT_STREQ(row.name, e.name);
            EXPECT_EQ(row.frequency, e.frequency);
        }
    }
    EXPECT_EQ(k, 42u);
}

TEST(SignalTable, QuarterCycleCorrectionIsZeroForEveryRow) {
    for (uint32_t s = 0; s < 7; ++s)
        for (int32_t i = 0; i < system(s).signalCount; ++i)
            EXPECT_EQ(system(s).signalRows[i].quarterCycles, 0);
}

TEST(SignalTable, PackedCodeTellsEveryRowApartIncludingDuplicates) {
    std::set<uint32_t> codes;
    size_t rows = 0;
    for (uint32_t s = 0; s < 7; ++s)
        for (int32_t i = 0; i < system(s).signalCount; ++i, ++rows)
            codes.insert(system(s).signalRows[i].packedCode);
    EXPECT_EQ(codes.size(), rows);
}

TEST(SignalTable, GlonassType5Is2PSearchingForwardsAnd2CSearchingBackwards) {
    const SignalInfo* forward = findSignalByType(system(SystemGlonass), 5, 0);
    const SignalInfo* backward = findSignalByType(system(SystemGlonass), 5, 2);
    ASSERT_NE(forward, nullptr);
    ASSERT_NE(backward, nullptr);
    EXPECT_STREQ(forward->rinexCode, "2P");
    EXPECT_STREQ(forward->name, "G2(P)");
    EXPECT_STREQ(backward->rinexCode, "2C");
    EXPECT_EQ(forward, &system(SystemGlonass).signalRows[2]);
    EXPECT_EQ(backward, &system(SystemGlonass).signalRows[4]);
}

TEST(SignalTable, SearchModesOtherThanTwoSearchForwards) {
    for (uint32_t mode : {0u, 1u, 3u, 100u}) {
        const SignalInfo* row = findSignalByType(system(SystemGlonass), 5, mode);
        ASSERT_NE(row, nullptr);
        EXPECT_STREQ(row->rinexCode, "2P") << mode;
    }
}

TEST(SignalTable, BeidouType6GetsCompressedCode14ForwardsAnd16Backwards) {
    const SignalInfo* forward = findSignalByType(system(SystemBeidou), 6, 0);
    const SignalInfo* backward = findSignalByType(system(SystemBeidou), 6, 2);
    ASSERT_NE(forward, nullptr);
    ASSERT_NE(backward, nullptr);
    EXPECT_EQ(forward->compressedCode, 14);
    EXPECT_EQ(backward->compressedCode, 16);
}

TEST(SignalTable, CompressedCodeSearchFollowsTheSearchDirection) {
    const SatSystemInfo& beidou = system(SystemBeidou);
    const SignalInfo* forward = findSignalByCompressedCode(beidou, 13, 0);
    const SignalInfo* backward = findSignalByCompressedCode(beidou, 13, 2);
    ASSERT_NE(forward, nullptr);
    ASSERT_NE(backward, nullptr);
    EXPECT_EQ(forward->signalType, 2);
    EXPECT_EQ(backward->signalType, 21);

    const SignalInfo* glonassForward = findSignalByCompressedCode(system(SystemGlonass), 4, 0);
    const SignalInfo* glonassBackward = findSignalByCompressedCode(system(SystemGlonass), 4, 2);
    ASSERT_NE(glonassForward, nullptr);
    ASSERT_NE(glonassBackward, nullptr);
    EXPECT_STREQ(glonassForward->rinexCode, "2P");
    EXPECT_STREQ(glonassBackward->rinexCode, "2C");
}

TEST(SignalTable, UnlistedTypesAndCodesFindNoRow) {
    EXPECT_EQ(findSignalByType(system(SystemGps), 1, 0), nullptr);
    EXPECT_EQ(findSignalByType(system(SystemGps), 1, 2), nullptr);
    EXPECT_EQ(findSignalByType(system(SystemNavic), 6, 0), nullptr);
    EXPECT_EQ(findSignalByCompressedCode(system(SystemGps), 2, 0), nullptr);
    EXPECT_EQ(findSignalByCompressedCode(system(SystemSbas), 3, 2), nullptr);
}

TEST(SignalTable, NoCompressedCodeMarkerIsNeverMatched) {
    // GPS rows 2P, 1L (type 3), 5Q (type 6) and 1S carry 255 = none.
    EXPECT_EQ(findSignalByCompressedCode(system(SystemGps), 255, 0), nullptr);
    EXPECT_EQ(findSignalByCompressedCode(system(SystemGps), 255, 2), nullptr);
}

TEST(SignalTable, GlonassFrequencyIsAdjustedOnlyForTheTwoFdmaBands) {
    EXPECT_EQ(glonassAdjustedFrequency(1602000000, -7), 1602000000.0 - 7 * 562500.0);
    EXPECT_EQ(glonassAdjustedFrequency(1602000000, 6), 1605375000.0);
    EXPECT_EQ(glonassAdjustedFrequency(1246000000, 6), 1248625000.0);
    EXPECT_EQ(glonassAdjustedFrequency(1246000000, -7), 1246000000.0 - 7 * 437500.0);
    EXPECT_EQ(glonassAdjustedFrequency(1202025000, 3), 1202025000.0);
    EXPECT_EQ(glonassAdjustedFrequency(1575420000, 3), 1575420000.0);
}

TEST(SignalTable, TypeLookupIsTheFirstMatchingRowInTheSearchDirection) {
    // Every system, type and search mode against a search of the rows written out here; a
    // copy of a descriptor (not one of the table's) is searched the same way.
    int found = 0;
    for (uint32_t s = 0; s < 7; ++s) {
        const SatSystemInfo& info = system(SatSystem(s));
        const SatSystemInfo copy = info;
        for (uint32_t mode = 0; mode < 4; ++mode)
            for (uint32_t type = 0; type < 40; ++type) {
                const SignalInfo* expected = nullptr;
                for (int32_t k = 0; k < info.signalCount; ++k) {
                    const int32_t i = mode == 2 ? info.signalCount - 1 - k : k;
                    if (info.signalRows[i].signalType == type) {
                        expected = &info.signalRows[i];
                        break;
                    }
                }
                EXPECT_EQ(findSignalByType(info, type, mode), expected) << s << " " << mode << " " << type;
                EXPECT_EQ(findSignalByType(copy, type, mode), expected) << s << " " << mode << " " << type;
                found += expected != nullptr;
            }
    }
    EXPECT_GT(found, 100);
}
