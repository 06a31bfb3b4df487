// SPDX-License-Identifier: MIT
// Multipath: the code-minus-carrier combinations recover injected code errors.
#include <gtest/gtest.h>

#include <cmath>

#include "quality/quality_check.h"
#include "synthetic_arc.h"

TEST(Multipath, SinusoidOnTheFirstCodeGivesItsRms) {
    quality::QualityCheck check;
    check.setHeader(synthetic::header());
    quality::Epoch epoch;
    const double amplitude = 0.8;
    for (int k = 0; k < 480; ++k) { // 4 h at 30 s, 16 periods of 15 min
        synthetic::Arc arc;
        arc.codeError1 = amplitude * std::sin(2 * M_PI * k * 30.0 / 900.0);
        arc.fill(k, epoch);
        check.addEpoch(epoch);
    }
    const quality::Report r = check.finish();
    const auto& mp = r.systems.at('G').multipathRms;
    ASSERT_EQ(mp.count('1'), 1u);
    ASSERT_EQ(mp.count('2'), 1u);
    EXPECT_NEAR(mp.at('1'), amplitude / std::sqrt(2.0), 0.01);
    EXPECT_LT(mp.at('2'), 1e-3); // the second code is clean
}

TEST(Multipath, MeanIsRemovedPerArc) {
    // A constant code bias per arc (different in each) is no multipath.
    quality::QualityCheck check;
    check.setHeader(synthetic::header());
    quality::Epoch epoch;
    for (int k = 0; k < 300; ++k) {
        if (k >= 100 && k < 110) continue; // a gap splits the arcs
        synthetic::Arc arc;
        arc.codeError2 = k < 100 ? 3.0 : -5.0;
        arc.codeError2 += k % 2 ? 0.3 : -0.3; // alternating: rms 0.3
        arc.fill(k, epoch);
        check.addEpoch(epoch);
    }
    const quality::Report r = check.finish();
    EXPECT_NEAR(r.systems.at('G').multipathRms.at('2'), 0.3, 0.01);
    EXPECT_LT(r.systems.at('G').multipathRms.at('1'), 1e-3);
}
