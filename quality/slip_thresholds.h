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

inline double wideLaneThreshold(double sigma, long count) {
    if (count < 5) return 4.0;
    return std::max(2.0, 4.0 * sigma);
}

} // namespace quality
