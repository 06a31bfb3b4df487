// SPDX-License-Identifier: MIT
// Cycle slips: loss-of-lock flags and jumps found by the geometry-free and wide-lane checks.
#include <gtest/gtest.h>

#include <functional>

#include "quality/quality_check.h"
#include "synthetic_arc.h"

namespace {

quality::Report run(const std::function<void(int, synthetic::Arc&)>& inject, int epochs = 200) {
    quality::QualityCheck check;
    check.setHeader(synthetic::header());
    quality::Epoch epoch;
    for (int k = 0; k < epochs; ++k) {
        synthetic::Arc arc;
        inject(k, arc);
        arc.fill(k, epoch);
        check.addEpoch(epoch);
    }
    return check.finish();
}

} // namespace

TEST(Slips, CleanArcHasNone) {
    const quality::Report r = run([](int, synthetic::Arc&) {});
    ASSERT_EQ(r.satellites.size(), 1u);
    EXPECT_EQ(r.satellites[0].slips, 0);
    EXPECT_EQ(r.systems.at('G').slips, 0);
}

TEST(Slips, JumpOnTheFirstFrequencyIsFoundByBothCombinations) {
    const quality::Report r = run([](int k, synthetic::Arc& a) {
        if (k >= 50) a.cycles1 = 10;
    });
    ASSERT_EQ(r.satellites.size(), 1u);
    EXPECT_EQ(r.satellites[0].slips, 1);
    EXPECT_EQ(r.satellites[0].gfSlips, 1);
    EXPECT_EQ(r.satellites[0].mwSlips, 1);
    EXPECT_EQ(r.satellites[0].lliSlips, 0);
    ASSERT_EQ(r.satellites[0].slipTimes.size(), 1u);
    EXPECT_DOUBLE_EQ(r.satellites[0].slipTimes[0], synthetic::Arc{}.time(50));
}

TEST(Slips, SingleCycleJumpsAreFound) {
    const quality::Report r = run([](int k, synthetic::Arc& a) {
        if (k >= 60) a.cycles1 = 1;   // GF moves by about 0.19 m
        if (k >= 120) a.cycles2 = -1; // and by about 0.24 m
    });
    EXPECT_EQ(r.satellites[0].slips, 2);
    EXPECT_EQ(r.satellites[0].gfSlips, 2);
}

TEST(Slips, JumpsHiddenFromTheGeometryFreeCombinationAreFoundByTheWideLane) {
    // (18, 14) cycles: the geometry-free combination moves 6 mm (hidden in its threshold),
    // the wide lane 4 cycles.
    const quality::Report r = run([](int k, synthetic::Arc& a) {
        if (k >= 100) {
            a.cycles1 = 18;
            a.cycles2 = 14;
        }
    });
    EXPECT_EQ(r.satellites[0].slips, 1);
    EXPECT_EQ(r.satellites[0].mwSlips, 1);
    EXPECT_EQ(r.satellites[0].gfSlips, 0);
}

TEST(Slips, LossOfLockFlagsCount) {
    const quality::Report r = run([](int k, synthetic::Arc& a) {
        if (k == 30 || k == 90 || k == 91) a.lli = 1;
        if (k == 150) a.lli = 2; // half-cycle ambiguity only: not a slip
    });
    EXPECT_EQ(r.satellites[0].lliSlips, 3);
    EXPECT_EQ(r.satellites[0].slips, 3);
    EXPECT_EQ(r.satellites[0].gfSlips, 0);
    EXPECT_EQ(r.systems.at('G').slips, 3);
}

TEST(Slips, AGapStartsANewArcWithoutASlip) {
    quality::QualityCheck check;
    check.setHeader(synthetic::header());
    quality::Epoch epoch;
    for (int k = 0; k < 200; ++k) {
        if (k >= 80 && k < 90) continue;
        synthetic::Arc arc;
        if (k >= 90) arc.cycles1 = 25; // the receiver re-acquired with another ambiguity
        arc.fill(k, epoch);
        check.addEpoch(epoch);
    }
    const quality::Report r = check.finish();
    EXPECT_EQ(r.satellites[0].slips, 0);
    ASSERT_EQ(r.satellites[0].runs.size(), 2u);
}
