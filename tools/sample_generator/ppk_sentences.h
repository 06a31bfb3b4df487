// SPDX-License-Identifier: MIT
#pragma once
// "$PPK" marker sentences, each a whole line ending in "*hh\r\n".
#include <array>
#include <cstdint>
#include <string>

#include "sample_generator/position_degrees.h"

namespace sample_generator {

struct MarkerOccupation {
    int id1 = 1, id2 = 1; // the two identifiers that every sentence of the occupation repeats
    int index = 1;        // running number of the occupation in the file
    std::string name, number;
    double antennaHeight = 0;    // m
    PositionDegrees ground; // the marker itself: reference point minus the antenna height
    std::array<double, 3> xyz{}; // m
};

std::string markerBegin(const MarkerOccupation& m);
// sample: 1 for the first sample of the occupation, then 2, 3, ...
std::string markerSample(const MarkerOccupation& m, int sample, int week, uint32_t millisecondsOfWeek);
std::string markerEnd(const MarkerOccupation& m);

} // namespace sample_generator
