// SPDX-License-Identifier: MIT
#include "gnss/geodesy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "gnss/constants.h"

namespace {

using gnss::kDegree;

TEST(Geodesy, EquatorAndPolesLieOnTheEllipsoid) {
    const gnss::Ecef equator = gnss::ecefOf({0, 0, 0});
    EXPECT_DOUBLE_EQ(equator[0], gnss::kWgs84SemiMajorAxis);
    EXPECT_DOUBLE_EQ(equator[1], 0);
    EXPECT_DOUBLE_EQ(equator[2], 0);
    const double b = gnss::kWgs84SemiMajorAxis * (1 - gnss::kWgs84Flattening);
    const gnss::Geodetic north = gnss::geodeticOf({0, 0, b + 10});
    EXPECT_DOUBLE_EQ(north.latitude, gnss::kPi / 2);
    EXPECT_NEAR(north.height, 10, 1e-6);
    const gnss::Geodetic south = gnss::geodeticOf({0, 0, -b});
    EXPECT_DOUBLE_EQ(south.latitude, -gnss::kPi / 2);
    EXPECT_NEAR(south.height, 0, 1e-6);
}

TEST(Geodesy, RoundTripKeepsPositionsToAMicrometre) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> lat(-89.9, 89.9), lon(-180, 180), height(-500, 20000);
    for (int i = 0; i < 10000; ++i) {
        const gnss::Geodetic p{lat(random) * kDegree, lon(random) * kDegree, height(random)};
        const gnss::Ecef xyz = gnss::ecefOf(p);
        const gnss::Geodetic back = gnss::geodeticOf(xyz);
        EXPECT_NEAR(gnss::distance(gnss::ecefOf(back), xyz), 0, 1e-6);
        EXPECT_NEAR(back.height, p.height, 1e-6);
    }
}

TEST(Geodesy, LocalDirections) {
    const gnss::Geodetic at{45 * kDegree, 10 * kDegree, 100};
    const gnss::Ecef here = gnss::ecefOf(at);
    const gnss::Ecef up = gnss::ecefOf({at.latitude, at.longitude, at.height + 1000});
    const gnss::LocalFrame frame(at);
    const gnss::Ecef enu = gnss::enuOf({up[0] - here[0], up[1] - here[1], up[2] - here[2]}, frame);
    EXPECT_NEAR(enu[0], 0, 1e-6);
    EXPECT_NEAR(enu[1], 0, 1e-6);
    EXPECT_NEAR(enu[2], 1000, 1e-6);
    double azimuth = 0, elevation = 0;
    gnss::azimuthElevation(here, frame, up, azimuth, elevation);
    EXPECT_NEAR(elevation, gnss::kPi / 2, 1e-9);
    // A point a little to the west at the same height: azimuth about 270 degrees, elevation
    // just below the horizon (the Earth curves away).
    const gnss::Ecef west = gnss::ecefOf({at.latitude, at.longitude - 0.01 * kDegree, at.height});
    gnss::azimuthElevation(here, frame, west, azimuth, elevation);
    EXPECT_NEAR(azimuth / kDegree, 270, 0.01);
    EXPECT_LT(elevation, 0);
    EXPECT_GT(elevation, -0.01 * kDegree);
}

} // namespace
