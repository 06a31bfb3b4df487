// SPDX-License-Identifier: MIT
#include "quality/geodesy.h"

#include <cmath>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace quality {

Geodetic toGeodetic(const Vec3& p) {
    const double a = gnss::kWgs84SemiMajorAxis, f = gnss::kWgs84Flattening, e2 = f * (2 - f);
    const double r = std::sqrt(p[0] * p[0] + p[1] * p[1]);
    Geodetic g;
    g.lon = std::atan2(p[1], p[0]);
    double lat = std::atan2(p[2], r * (1 - e2));
    double h = 0;
    for (int i = 0; i < 10; ++i) {
        const double s = std::sin(lat);
        const double n = a / std::sqrt(1 - e2 * s * s);
        h = r / std::cos(lat) - n;
        if (r < 1.0) { // on the axis
            h = std::fabs(p[2]) - a * std::sqrt(1 - e2);
            break;
        }
        lat = std::atan2(p[2], r * (1 - e2 * n / (n + h)));
    }
    g.lat = lat;
    g.height = h;
    return g;
}

LocalFrame::LocalFrame(const Geodetic& at)
    : sl(std::sin(at.lat)), cl(std::cos(at.lat)), so(std::sin(at.lon)), co(std::cos(at.lon)) {}

Vec3 toEnu(const Vec3& d, const LocalFrame& f) {
    const double sl = f.sl, cl = f.cl, so = f.so, co = f.co;
    return {-so * d[0] + co * d[1], -sl * co * d[0] - sl * so * d[1] + cl * d[2],
            cl * co * d[0] + cl * so * d[1] + sl * d[2]};
}

Vec3 toEnu(const Vec3& d, const Geodetic& at) {
    return toEnu(d, LocalFrame(at));
}

void azimuthElevation(const Vec3& receiver, const Geodetic& at, const Vec3& satellite, double& azimuth,
                      double& elevation) {
    azimuthElevation(receiver, LocalFrame(at), satellite, azimuth, elevation);
}

void azimuthElevation(const Vec3& receiver, const LocalFrame& at, const Vec3& satellite, double& azimuth,
                      double& elevation) {
    const Vec3 d{satellite[0] - receiver[0], satellite[1] - receiver[1], satellite[2] - receiver[2]};
    const Vec3 enu = toEnu(d, at);
    const double horizontal = std::sqrt(enu[0] * enu[0] + enu[1] * enu[1]);
    elevation = std::atan2(enu[2], horizontal);
    azimuth = std::atan2(enu[0], enu[1]);
    if (azimuth < 0) azimuth += 2 * gnss::kPi;
}

double distance(const Vec3& a, const Vec3& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

} // namespace quality
