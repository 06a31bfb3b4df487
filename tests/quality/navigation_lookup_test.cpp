// SPDX-License-Identifier: MIT
// The record that applies at a time: the healthy one nearest in reference time (within 3 h,
// GLONASS 1 h), the later one in the file among equally near ones, Galileo I/NAV before
// F/NAV. The lookup searches around the time in an ordered index; a plain scan of every
// record in file order is the oracle here, over many records with ties and unhealthy ones.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "quality/navigation.h"

namespace {

using quality::GlonassEphemeris;
using quality::KeplerEphemeris;
using quality::Navigation;

constexpr double kT0 = 1.2e9; // GPS seconds, some day in 2018

const KeplerEphemeris* scan(const std::vector<KeplerEphemeris>& list, char system, double t) {
    const KeplerEphemeris* best = nullptr;
    for (int pass = 0; pass < 2 && !best; ++pass) {
        double bestAge = 3 * 3600.0;
        for (const KeplerEphemeris& e : list) {
            if (!e.healthy) continue;
            if (system == 'E' && e.galileoFnav != (pass == 1)) continue;
            const double age = std::fabs(t - e.toe);
            if (age <= bestAge) {
                bestAge = age;
                best = &e;
            }
        }
        if (system != 'E') break;
    }
    return best;
}

const GlonassEphemeris* scan(const std::vector<GlonassEphemeris>& list, double t) {
    const GlonassEphemeris* best = nullptr;
    double bestAge = 3600.0;
    for (const GlonassEphemeris& g : list) {
        if (!g.healthy) continue;
        const double age = std::fabs(t - g.toc);
        if (age <= bestAge) {
            bestAge = age;
            best = &g;
        }
    }
    return best;
}

// The record's identity: af0 (clockBias for GLONASS) holds its insertion number.
double idOf(const KeplerEphemeris* e) {
    return e ? e->af0 : -1;
}
double idOf(const GlonassEphemeris* g) {
    return g ? g->clockBias : -1;
}

} // namespace

TEST(NavigationLookup, PicksWhatAScanOfEveryRecordPicks) {
    std::mt19937_64 random(7);
    for (const char system : {'G', 'E', 'C'}) {
        Navigation navigation;
        std::vector<KeplerEphemeris> kept; // as the navigation keeps them: first of equal records
        for (int i = 0; i < 3000; ++i) {
            KeplerEphemeris e;
            e.system = system;
            e.number = 5;
            // Reference times on a 15-minute grid over two days, so that many are equal and
            // many are equally far from a time on either side; now and then an odd one.
            e.toe = kT0 + 900.0 * double(random() % 192) + (random() % 10 == 0 ? double(random() % 900) : 0.0);
            e.toc = e.toe + double(random() % 4);
            e.healthy = random() % 5 != 0;
            e.galileoFnav = system == 'E' && random() % 3 == 0;
            e.af0 = double(i);
            bool duplicate = false;
            for (const KeplerEphemeris& k : kept)
                duplicate |= k.toe == e.toe && k.toc == e.toc && k.galileoFnav == e.galileoFnav;
            if (!duplicate) kept.push_back(e);
            navigation.add(e);
        }
        for (int q = 0; q < 20000; ++q) {
            // Times on the grid, half-way between, and anywhere, inside and around the span.
            const double t = kT0 - 4 * 3600.0 + (q % 3 == 0   ? 450.0 * double(random() % 400)
                                                  : q % 3 == 1 ? 900.0 * double(random() % 200)
                                                               : double(random() % 200000000) / 1000.0);
            ASSERT_EQ(idOf(navigation.kepler(system, 5, t)), idOf(scan(kept, system, t)))
                << system << " at " << (t - kT0);
        }
        EXPECT_EQ(navigation.kepler(system, 6, kT0), nullptr);
        EXPECT_EQ(navigation.kepler(system, 5, std::nan("")), nullptr);
    }
}

TEST(NavigationLookup, GlonassPicksWhatAScanPicks) {
    std::mt19937_64 random(11);
    Navigation navigation;
    std::vector<GlonassEphemeris> kept;
    for (int i = 0; i < 2000; ++i) {
        GlonassEphemeris g;
        g.number = 9;
        g.toc = kT0 + 1800.0 * double(random() % 96) + (random() % 7 == 0 ? 0.5 : 0.0);
        g.healthy = random() % 4 != 0;
        g.clockBias = double(i);
        bool duplicate = false;
        for (const GlonassEphemeris& k : kept)
            duplicate |= k.toc == g.toc;
        if (!duplicate) kept.push_back(g);
        navigation.add(g);
    }
    for (int q = 0; q < 20000; ++q) {
        const double t = kT0 - 7200.0 + (q % 2 ? 900.0 * double(random() % 400) : double(random() % 200000000) / 1000.0);
        ASSERT_EQ(idOf(navigation.glonass(9, t)), idOf(scan(kept, t))) << (t - kT0);
    }
}

TEST(NavigationLookup, RecordsAddedLaterAreFound) {
    Navigation navigation;
    KeplerEphemeris e;
    e.system = 'G';
    e.number = 3;
    e.toe = e.toc = kT0;
    e.af0 = 1;
    navigation.add(e);
    EXPECT_EQ(idOf(navigation.kepler('G', 3, kT0 + 100)), 1);
    e.toe = e.toc = kT0 + 200;
    e.af0 = 2;
    navigation.add(e);
    EXPECT_EQ(idOf(navigation.kepler('G', 3, kT0 + 150)), 2);
    // A record whose reference time is not a number is never the one.
    e.toe = std::numeric_limits<double>::quiet_NaN();
    e.af0 = 3;
    navigation.add(e);
    EXPECT_EQ(idOf(navigation.kepler('G', 3, kT0 + 150)), 2);
}

TEST(NavigationLookup, ARepeatIsKeptOnceAndTimesThatAreNoNumberNeverRepeat) {
    Navigation navigation;
    const auto addedTwice = [&](const auto& record) {
        const size_t before = navigation.recordCount();
        navigation.add(record);
        navigation.add(record);
        return navigation.recordCount() - before;
    };
    KeplerEphemeris e;
    e.system = 'E';
    e.number = 4;
    e.toe = 0.0;
    e.toc = kT0;
    EXPECT_EQ(addedTwice(e), 1u);
    e.toe = -0.0; // equal to 0.0: the same record
    EXPECT_EQ(addedTwice(e), 0u);
    e.galileoFnav = true; // the other message
    EXPECT_EQ(addedTwice(e), 1u);
    e.toe = std::nan("");
    EXPECT_EQ(addedTwice(e), 2u);
    GlonassEphemeris g;
    g.number = 4;
    g.toc = kT0;
    EXPECT_EQ(addedTwice(g), 1u);
    g.toc = std::nan("");
    EXPECT_EQ(addedTwice(g), 2u);
}
