// SPDX-License-Identifier: MIT
#pragma once
// Cycle-slip detection thresholds on dual-frequency arcs.
//
// Geometry-free combination GF = lambda1 L1 - lambda2 L2 (m): the next value is predicted by
// extrapolating the last two (the ionosphere drifts smoothly); a slip when the prediction is
// missed by more than 0.05 m plus 1 mm per second of step, at most 0.15 m. One cycle on the
// first frequency alone moves GF by about 0.19 m, on the second by about 0.24 m.
//
// Melbourne-Wuebbena wide lane (cycles): a slip when a value leaves the arc's running mean by
// more than four times the arc's standard deviation, and never less than 2 cycles (4 cycles
// while the arc has fewer than five values and its spread is unknown).
#include <algorithm>

namespace quality {

inline double geometryFreeThreshold(double step) {
    return std::min(0.15, 0.05 + 0.001 * std::max(0.0, step));
}

// Whether a wide-lane value `deviation` cycles from the running mean of an arc of `count`
// values, whose squared deviations from their mean sum to m2, is a slip: compared squared,
// without a root or a division (it runs for every satellite epoch).
inline bool beyondWideLaneThreshold(double deviation, double m2, long count) {
    const double d2 = deviation * deviation;
    if (count < 5) return d2 > 16.0;                       // 4 cycles
    return d2 > 4.0 && d2 * double(count - 1) > 16.0 * m2; // 2 cycles, 4 sigma
}

} // namespace quality
