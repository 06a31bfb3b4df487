// SPDX-License-Identifier: MIT
#pragma once
// WGS 84 conversions between Earth-centred coordinates and latitude, longitude, height.
#include <array>

namespace sample_generator {

struct Geodetic {
    double latitude = 0;  // degrees
    double longitude = 0; // degrees
    double height = 0;    // metres above the ellipsoid
};

Geodetic geodeticOf(const std::array<double, 3>& xyz);
std::array<double, 3> cartesianOf(const Geodetic& position);

} // namespace sample_generator
