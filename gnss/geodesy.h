// SPDX-License-Identifier: MIT
#pragma once
// Earth-centred coordinates and WGS 84 latitude, longitude and height, and the local
// directions (east, north, up; azimuth and elevation) at a point.
#include <array>

namespace gnss {

using Ecef = std::array<double, 3>; // m

struct Geodetic {
    double latitude = 0;  // rad
    double longitude = 0; // rad
    double height = 0;    // m above the ellipsoid
};

Ecef ecefOf(const Geodetic& position);
Geodetic geodeticOf(const Ecef& position);

// The directions at a position: the sines and cosines of its latitude and longitude, made
// once for the many directions seen from one place.
struct LocalFrame {
    LocalFrame() = default;
    explicit LocalFrame(const Geodetic& at);
    double sinLatitude = 0, cosLatitude = 1, sinLongitude = 0, cosLongitude = 1;
};
// East, north, up of a difference vector.
Ecef enuOf(const Ecef& delta, const LocalFrame& at);
// East, north, up of a target seen from a point.
Ecef enuOf(const Ecef& from, const LocalFrame& at, const Ecef& target);
// Elevation (rad) and azimuth (0 to 2 pi, clockwise from north) of an east, north, up vector.
double elevationOf(const Ecef& enu);
double azimuthOf(const Ecef& enu);
// Azimuth (0 to 2 pi, clockwise from north) and elevation (rad) of a target seen from a point.
void azimuthElevation(const Ecef& from, const LocalFrame& at, const Ecef& target, double& azimuth,
                      double& elevation);
double distance(const Ecef& a, const Ecef& b);

} // namespace gnss
