// SPDX-License-Identifier: MIT
#include "rinex/marker_types.h"

const QList<QByteArray> MarkerTypeNames = {
    "GEODETIC",   "NON_GEODETIC",  "NON_PHYSICAL", "SPACEBORNE", "GROUND_CRAFT", "WATER_CRAFT", "AIRBORNE",
    "FIXED_BUOY", "FLOATING_BUOY", "FLOATING_ICE", "GLACIER",    "BALLISTIC",    "ANIMAL",      "HUMAN",
};
