// SPDX-License-Identifier: MIT
#pragma once
// A position as receivers report it: latitude and longitude in degrees, ellipsoidal height.
#include "gnss/constants.h"
#include "gnss/geodesy.h"

namespace sample_generator {

struct PositionDegrees {
    double latitude = 0;  // degrees
    double longitude = 0; // degrees
    double height = 0;    // metres above the ellipsoid
};

inline gnss::Ecef ecefOf(const PositionDegrees& p) {
    return gnss::ecefOf({p.latitude * gnss::kDegree, p.longitude * gnss::kDegree, p.height});
}

inline PositionDegrees positionDegreesOf(const gnss::Ecef& xyz) {
    const gnss::Geodetic g = gnss::geodeticOf(xyz);
    return {g.latitude / gnss::kDegree, g.longitude / gnss::kDegree, g.height};
}

} // namespace sample_generator
