// SPDX-License-Identifier: MIT
#pragma once
// One GPS satellite's dual-frequency observations from a smooth geometry and ionosphere,
// for injecting slips, gaps and code errors with known sizes.
#include <cmath>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "quality/gnss_time.h"
#include "quality/observations.h"

namespace synthetic {

constexpr double kLambda1 = gnss::kSpeedOfLight / double(gnss::kFrequencyL1);
constexpr double kLambda2 = gnss::kSpeedOfLight / double(gnss::kFrequencyL2);

struct Arc {
    double start = quality::gpsSecondsOf(2020, 6, 25, 0, 0, 0);
    double interval = 30;
    int number = 7;
    // Injections (added to the clean values).
    double codeError1 = 0; // m on C1C
    double codeError2 = 0; // m on C2W
    double cycles1 = 0;    // cycles on L1C
    double cycles2 = 0;    // cycles on L2W
    int lli = 0;

    double time(int k) const { return start + interval * k; }

    void fill(int k, quality::Epoch& epoch) const {
        const double t = interval * k;
        const double range = 2.2e7 + 400.0 * t - 0.02 * t * t / 2;
        const double iono = 4.0 + 1.5 * std::sin(t / 3000.0); // m on L1
        const double gamma = (double(gnss::kFrequencyL1) / double(gnss::kFrequencyL2)) * (double(gnss::kFrequencyL1) / double(gnss::kFrequencyL2));
        epoch.time = time(k);
        epoch.flag = 0;
        epoch.satelliteCount = 1;
        epoch.satellites.resize(1);
        quality::SatelliteObservations& s = epoch.satellites[0];
        s.system = 'G';
        s.number = number;
        s.observations = {
            {'C', '1', 'C', range + iono + codeError1, 0},
            {'L', '1', 'C', (range - iono) / kLambda1 + 1234567 + cycles1, lli},
            {'S', '1', 'C', 45.0, 0},
            {'C', '2', 'W', range + gamma * iono + codeError2, 0},
            {'L', '2', 'W', (range - gamma * iono) / kLambda2 - 7654321 + cycles2, 0},
            {'S', '2', 'W', 38.0, 0},
        };
    }
};

inline quality::ObservationHeader header() {
    quality::ObservationHeader h;
    h.version = 3.04;
    h.interval = 30;
    h.obsTypes['G'] = {"C1C", "L1C", "S1C", "C2W", "L2W", "S2W"};
    return h;
}

} // namespace synthetic
