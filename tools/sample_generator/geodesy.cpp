// SPDX-License-Identifier: MIT
#include "sample_generator/geodesy.h"

#include <cmath>

#include "gnss/constants.h"

namespace sample_generator {

namespace {
constexpr double kA = gnss::kWgs84SemiMajorAxis;
constexpr double kE2 = gnss::kWgs84EccentricitySquared;
using gnss::kPi;
} // namespace

Geodetic geodeticOf(const std::array<double, 3>& xyz) {
    const double x = xyz[0], y = xyz[1], z = xyz[2];
    const double p = std::hypot(x, y);
    Geodetic g;
    g.longitude = std::atan2(y, x) * 180.0 / kPi;
    if (p < 1e-9) { // on the axis
        g.latitude = z >= 0 ? 90.0 : -90.0;
        g.height = std::fabs(z) - kA * std::sqrt(1.0 - kE2);
        return g;
    }
    // Fixed-point iteration on the latitude; converges to below a micrometre in a few steps.
    double lat = std::atan2(z, p * (1.0 - kE2));
    double h = 0;
    for (int i = 0; i < 10; ++i) {
        const double s = std::sin(lat);
        const double n = kA / std::sqrt(1.0 - kE2 * s * s);
        h = p / std::cos(lat) - n;
        lat = std::atan2(z, p * (1.0 - kE2 * n / (n + h)));
    }
    g.latitude = lat * 180.0 / kPi;
    g.height = h;
    return g;
}

std::array<double, 3> cartesianOf(const Geodetic& position) {
    const double lat = position.latitude * kPi / 180.0, lon = position.longitude * kPi / 180.0;
    const double s = std::sin(lat);
    const double n = kA / std::sqrt(1.0 - kE2 * s * s);
    return {(n + position.height) * std::cos(lat) * std::cos(lon),
            (n + position.height) * std::cos(lat) * std::sin(lon), (n * (1.0 - kE2) + position.height) * s};
}

} // namespace sample_generator
