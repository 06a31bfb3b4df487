// SPDX-License-Identifier: MIT
// Single-point positioning of pseudoranges simulated at a known position from real broadcast
// ephemerides: receiver clock, satellite clocks and group delays, light time, Earth
// rotation, ionosphere, troposphere and noise as a receiver would see them.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "quality/compressed_input.h"
#include "gnss/geodesy.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "quality/gnss_time.h"
#include "quality/navigation.h"
#include "quality/point_positioning.h"
#include "quality/quality_check.h"
#include "test_files.h"

using namespace quality;

namespace {

Vec3 ecefOf(double latDeg, double lonDeg, double height) {
    const double lat = latDeg * gnss::kPi / 180, lon = lonDeg * gnss::kPi / 180;
    const double e2 = gnss::kWgs84Flattening * (2 - gnss::kWgs84Flattening);
    const double n = gnss::kWgs84SemiMajorAxis / std::sqrt(1 - e2 * std::sin(lat) * std::sin(lat));
    return {(n + height) * std::cos(lat) * std::cos(lon), (n + height) * std::cos(lat) * std::sin(lon),
            (n * (1 - e2) + height) * std::sin(lat)};
}

struct Simulator {
    const Navigation& nav;
    Vec3 truth;
    double receiverClock = 3.2e-4; // s
    std::mt19937 random{7};
    std::normal_distribution<double> noise{0.0, 0.5};
    int outlierEvery = 0; // every n-th satellite line gets +80 m

    void epoch(double time, Epoch& e) {
        e.time = time;
        e.flag = 0;
        e.satelliteCount = 0;
        const gnss::Geodetic g = gnss::geodeticOf(truth);
        int line = 0;
        for (const auto& [system, number] : nav.satellites()) {
            if (system != 'G' && system != 'E' && system != 'C' && system != 'R') continue;
            const double trueReceive = time - receiverClock;
            double tau = 0.075;
            SatelliteState s;
            Vec3 rotated{};
            bool ok = true;
            for (int i = 0; i < 5 && ok; ++i) {
                ok = nav.state(system, number, trueReceive - tau, s);
                const double th = gnss::kEarthRotationRate * tau;
                rotated = {s.position[0] * std::cos(th) + s.position[1] * std::sin(th),
                           -s.position[0] * std::sin(th) + s.position[1] * std::cos(th), s.position[2]};
                tau = gnss::distance(rotated, truth) / gnss::kSpeedOfLight;
            }
            if (!ok) continue;
            double az, el;
            gnss::azimuthElevation(truth, gnss::LocalFrame(g), rotated, az, el);
            if (el < 12 * gnss::kPi / 180) continue;
            double f = system == 'C' ? double(gnss::kFrequencyB1) : double(gnss::kFrequencyL1);
            if (system == 'R') f = double(gnss::kFrequencyG1) + nav.glonass(number, trueReceive)->channel * gnss::kChannelStepG1;
            const double iono = (double(gnss::kFrequencyL1) / f) * (double(gnss::kFrequencyL1) / f) *
                                klobucharDelay(nav.alpha(), nav.beta(), secondsOfWeek(time), g.latitude, g.longitude, az, el);
            double p = gnss::distance(rotated, truth) + gnss::kSpeedOfLight * (receiverClock - (s.clock - s.groupDelay)) + iono +
                       troposphereDelay(g.height, el) + noise(random);
            if (outlierEvery && ++line % outlierEvery == 0) p += 80;
            if (e.satellites.size() <= e.satelliteCount) e.satellites.emplace_back();
            SatelliteObservations& so = e.satellites[e.satelliteCount++];
            so.system = system;
            so.number = number;
            so.observations = {{'C', system == 'C' ? '2' : '1', system == 'C' ? 'I' : 'C', p, 0}};
        }
    }
};

Navigation stationNavigation() {
    Navigation nav;
    std::string error;
    auto in = openInput(testfiles::esbcNav(), error);
    EXPECT_TRUE(in && nav.read(*in, error)) << error;
    return nav;
}

} // namespace

TEST(SimulatedPosition, KnownPositionWithinFiveMetres) {
    const Navigation nav = stationNavigation();
    ASSERT_TRUE(nav.hasKlobuchar());
    Simulator sim{nav, ecefOf(47.3, 8.5, 520.0)};
    QualityCheck check;
    check.setHeader(ObservationHeader{}); // no header position: the solution starts from nothing
    check.setNavigation(&nav);
    Epoch e;
    const double t0 = gpsSecondsOf(2020, 6, 25, 0, 0, 0);
    for (int k = 0; k < 60; ++k) {
        sim.epoch(t0 + 30.0 * k, e);
        ASSERT_GT(e.satelliteCount, 20u);
        check.addEpoch(e);
    }
    const Report r = check.finish();
    ASSERT_TRUE(r.position.valid);
    EXPECT_EQ(r.position.epochs, 60);
    EXPECT_LT(gnss::distance(r.position.mean, sim.truth), 5.0);
    EXPECT_LT(gnss::distance(r.position.mean, sim.truth), 0.5); // noise only: the models match
    EXPECT_NEAR(r.position.lat, 47.3, 1e-5);
    EXPECT_NEAR(r.position.lon, 8.5, 1e-5);
    EXPECT_NEAR(r.position.height, 520.0, 1.0);
    EXPECT_GT(r.position.satellitesMean, 20);
}

TEST(SimulatedPosition, EachSystemAloneAndOutliersRejected) {
    const Navigation nav = stationNavigation();
    int rejected = 0;
    for (char system : {'G', 'E', 'C', 'R'}) {
        SCOPED_TRACE(std::string(1, system));
        Simulator sim{nav, ecefOf(52.0, 4.4, 30.0)};
        sim.outlierEvery = 9;
        PointPositioning spp(nav, 10.0);
        Epoch e;
        const double t0 = gpsSecondsOf(2020, 6, 25, 1, 0, 0);
        int solved = 0;
        for (int k = 0; k < 10; ++k) {
            sim.epoch(t0 + 30.0 * k, e);
            size_t kept = 0;
            for (size_t i = 0; i < e.satelliteCount; ++i)
                if (e.satellites[i].system == system) std::swap(e.satellites[kept++], e.satellites[i]);
            e.satelliteCount = kept;
            PositionFix fix;
            if (e.satelliteCount < 6 || !spp.solve(e, nullptr, fix)) continue;
            ++solved;
            rejected += fix.rejected;
            EXPECT_LT(gnss::distance(fix.position, sim.truth), 5.0);
        }
        EXPECT_GT(solved, 5);
    }
    EXPECT_GT(rejected, 10); // the 80 m errors were found and left out
}
