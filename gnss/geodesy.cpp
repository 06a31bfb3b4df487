// SPDX-License-Identifier: MIT
#include "gnss/geodesy.h"

#include <cmath>

#include "gnss/constants.h"

namespace gnss {

namespace {
constexpr double kA = kWgs84SemiMajorAxis;
constexpr double kE2 = kWgs84EccentricitySquared;
} // namespace

Ecef ecefOf(const Geodetic& p) {
    const double s = std::sin(p.latitude);
    const double n = kA / std::sqrt(1.0 - kE2 * s * s);
    return {(n + p.height) * std::cos(p.latitude) * std::cos(p.longitude),
            (n + p.height) * std::cos(p.latitude) * std::sin(p.longitude), (n * (1.0 - kE2) + p.height) * s};
}

Geodetic geodeticOf(const Ecef& xyz) {
    const double r = std::sqrt(xyz[0] * xyz[0] + xyz[1] * xyz[1]);
    Geodetic g;
    g.longitude = std::atan2(xyz[1], xyz[0]);
    if (r < 1e-9) { // on the axis
        g.latitude = xyz[2] >= 0 ? kPi / 2 : -kPi / 2;
        g.height = std::fabs(xyz[2]) - kA * std::sqrt(1.0 - kE2);
        return g;
    }
    // Fixed-point iteration on the latitude: below a micrometre after a few steps, done once
    // a step moves it by less than 1e-14 rad; the height then from the latitude reached.
    double lat = std::atan2(xyz[2], r * (1.0 - kE2));
    for (int i = 0; i < 10; ++i) {
        const double s = std::sin(lat);
        const double n = kA / std::sqrt(1.0 - kE2 * s * s);
        const double h = r / std::cos(lat) - n;
        const double next = std::atan2(xyz[2], r * (1.0 - kE2 * n / (n + h)));
        const bool settled = std::fabs(next - lat) < 1e-14;
        lat = next;
        if (settled) break;
    }
    const double s = std::sin(lat);
    const double h = r / std::cos(lat) - kA / std::sqrt(1.0 - kE2 * s * s);
    g.latitude = lat;
    g.height = h;
    return g;
}

LocalFrame::LocalFrame(const Geodetic& at)
    : sinLatitude(std::sin(at.latitude)), cosLatitude(std::cos(at.latitude)), sinLongitude(std::sin(at.longitude)),
      cosLongitude(std::cos(at.longitude)) {}

Ecef enuOf(const Ecef& d, const LocalFrame& f) {
    const double sl = f.sinLatitude, cl = f.cosLatitude, so = f.sinLongitude, co = f.cosLongitude;
    return {-so * d[0] + co * d[1], -sl * co * d[0] - sl * so * d[1] + cl * d[2],
            cl * co * d[0] + cl * so * d[1] + sl * d[2]};
}

Ecef enuOf(const Ecef& from, const LocalFrame& at, const Ecef& target) {
    return enuOf({target[0] - from[0], target[1] - from[1], target[2] - from[2]}, at);
}

double elevationOf(const Ecef& enu) {
    return std::atan2(enu[2], std::sqrt(enu[0] * enu[0] + enu[1] * enu[1]));
}

double azimuthOf(const Ecef& enu) {
    const double azimuth = std::atan2(enu[0], enu[1]);
    return azimuth < 0 ? azimuth + 2 * kPi : azimuth;
}

void azimuthElevation(const Ecef& from, const LocalFrame& at, const Ecef& target, double& azimuth,
                      double& elevation) {
    const Ecef enu = enuOf(from, at, target);
    elevation = elevationOf(enu);
    azimuth = azimuthOf(enu);
}

double distance(const Ecef& a, const Ecef& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

} // namespace gnss
