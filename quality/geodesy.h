// SPDX-License-Identifier: MIT
#pragma once
// Earth-fixed coordinates, geodetic latitude/longitude/height (WGS 84) and local directions.
#include "quality/broadcast_orbits.h"

namespace quality {

struct Geodetic {
    double lat = 0, lon = 0, height = 0; // rad, rad, m
};

Geodetic toGeodetic(const Vec3& ecef);
// East, north, up of a difference vector at a geodetic position.
Vec3 toEnu(const Vec3& delta, const Geodetic& at);
// Azimuth and elevation (rad) of a satellite seen from a receiver.
void azimuthElevation(const Vec3& receiver, const Geodetic& at, const Vec3& satellite, double& azimuth,
                      double& elevation);
// The sines and cosines of a position's latitude and longitude, for many directions seen
// from one place: the same numbers as toEnu and azimuthElevation, without their four
// trigonometric calls each.
struct LocalFrame {
    explicit LocalFrame(const Geodetic& at);
    double sl, cl, so, co;
};
Vec3 toEnu(const Vec3& delta, const LocalFrame& at);
void azimuthElevation(const Vec3& receiver, const LocalFrame& at, const Vec3& satellite, double& azimuth,
                      double& elevation);
double distance(const Vec3& a, const Vec3& b);

} // namespace quality
