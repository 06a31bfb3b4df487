// SPDX-License-Identifier: MIT
// Completeness: observations above the elevation mask over the epochs at which the broadcast
// orbits put each satellite above it.
#include <gtest/gtest.h>

#include "station_file_support.h"

TEST(Completeness, StationTracksWhatIsInView) {
    const quality::Report r = station::check(true);
    ASSERT_TRUE(r.hasCompleteness);
    // A geodetic receiver under open sky tracks every satellite in view on its main signals.
    EXPECT_GT(r.systems.at('G').signals.at("1C").completeness, 0.97);
    EXPECT_LE(r.systems.at('G').signals.at("1C").completeness, 1.0);
    EXPECT_GT(r.systems.at('E').signals.at("1C").completeness, 0.97);
    // Not every GPS satellite sends L5.
    EXPECT_LT(r.systems.at('G').signals.at("5Q").completeness, 0.7);
    // No orbits, no completeness (SBAS and QZSS have no records in the file).
    EXPECT_FALSE(r.systems.at('S').signals.at("1C").hasCompleteness);
}

TEST(Completeness, MissingObservationsLowerIt) {
    const quality::Report full = station::check(true);
    // GPS observations dropped at every other epoch.
    const quality::Report half = station::check(true, [](int k, quality::Epoch& e) {
        if (k % 2) {
            size_t kept = 0;
            for (size_t i = 0; i < e.satelliteCount; ++i)
                if (e.satellites[i].system != 'G') std::swap(e.satellites[kept++], e.satellites[i]);
            e.satelliteCount = kept;
        }
        return true;
    });
    const double f = full.systems.at('G').signals.at("1C").completeness;
    const double h = half.systems.at('G').signals.at("1C").completeness;
    EXPECT_NEAR(h, f / 2, 0.02);
    EXPECT_NEAR(half.systems.at('E').signals.at("1C").completeness,
                full.systems.at('E').signals.at("1C").completeness, 1e-12);
}

TEST(Completeness, NotComputedWithoutNavigation) {
    const quality::Report r = station::check(false);
    EXPECT_FALSE(r.hasCompleteness);
    EXPECT_FALSE(r.systems.at('G').signals.at("1C").hasCompleteness);
}
