// SPDX-License-Identifier: MIT
// Cycle slips: loss-of-lock flags and jumps found by the geometry-free and wide-lane checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "quality/quality_check.h"
#include "quality/slip_thresholds.h"
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

TEST(Slips, WideLaneThresholdIsFourSigmaAndAtLeastTwoCycles) {
    // The squared comparison against the threshold written with the root: four standard
    // deviations of the arc so far, never below 2 cycles, 4 cycles while the arc is short.
    auto rooted = [](double deviation, double m2, long count) {
        if (count < 5) return std::fabs(deviation) > 4.0;
        return std::fabs(deviation) > std::max(2.0, 4.0 * std::sqrt(m2 / double(count - 1)));
    };
    int slips = 0, checked = 0;
    for (long count : {1L, 2L, 4L, 5L, 6L, 30L, 1000L})
        for (double sigma : {0.0, 0.1, 0.45, 0.5, 0.55, 1.0, 3.0})
            for (double deviation = -15.0; deviation <= 15.0; deviation += 0.0625) {
                const double m2 = sigma * sigma * double(count - 1);
                EXPECT_EQ(quality::beyondWideLaneThreshold(deviation, m2, count),
                          rooted(deviation, m2, count))
                    << "deviation " << deviation << " sigma " << sigma << " count " << count;
                slips += quality::beyondWideLaneThreshold(deviation, m2, count);
                ++checked;
            }
    EXPECT_GT(slips, checked / 4); // both sides of the threshold were met
    EXPECT_LT(slips, checked * 3 / 4);
    // The edges themselves: 2 cycles, 4 sigma and 4 cycles are not yet slips.
    EXPECT_FALSE(quality::beyondWideLaneThreshold(2.0, 0.0, 10));
    EXPECT_TRUE(quality::beyondWideLaneThreshold(2.001, 0.0, 10));
    EXPECT_FALSE(quality::beyondWideLaneThreshold(-4.0, 9.0, 10)); // sigma 1
    EXPECT_TRUE(quality::beyondWideLaneThreshold(-4.001, 9.0, 10));
    EXPECT_FALSE(quality::beyondWideLaneThreshold(4.0, 0.0, 3));
    EXPECT_TRUE(quality::beyondWideLaneThreshold(4.001, 0.0, 3));
}
