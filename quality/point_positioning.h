// SPDX-License-Identifier: MIT
#pragma once
// Single-point positioning of one epoch from first-frequency pseudoranges and broadcast
// ephemerides: satellite clock and group delay, relativity, Earth rotation during the signal
// travel, broadcast (Klobuchar) ionosphere scaled to each frequency, a standard-atmosphere
// troposphere, an elevation mask, one receiver clock per system, and rejection of outliers.
#include <array>
#include <map>
#include <vector>

#include "quality/broadcast_orbits.h"
#include "quality/navigation.h"
#include "quality/observations.h"

namespace quality {

struct PositionFix {
    Vec3 position{};
    double pdop = 0;
    int satellites = 0; // used
    int rejected = 0;   // outliers removed
    double residualRms = 0; // m
};

class PointPositioning {
public:
    PointPositioning(const Navigation& navigation, double elevationMaskDeg);
    void setGlonassChannels(const std::map<int, int>& channels) { channels_ = channels; }
    // Solves an observation epoch; guess (may be null) starts the iteration.
    bool solve(const Epoch& epoch, const Vec3* guess, PositionFix& fix);

private:
    struct Candidate {
        char system;
        int number;
        int clockIndex;
        double pseudorange;
        double frequency;
        Vec3 position;
        double clock; // s, group delay applied
        bool used;
        double residual;
        // The elevation and the atmosphere's delays, as last computed.
        double elevation = 0, iono = 0, tropo = 0, weight = 1;
    };
    const Navigation& nav_;
    double mask_;
    std::map<int, int> channels_;
    std::vector<Candidate> candidates_;
    Navigation::OrbitCache orbits_; // its own: fixes do not depend on other users of the orbits

    bool iterate(double time, Vec3& x, double* clocks, int& used, double& pdop, double& rms, bool haveStart);
};

// Ionospheric delay (m) on L1 from the broadcast coefficients.
double klobucharDelay(const std::array<double, 4>& alpha, const std::array<double, 4>& beta, double gpsSecondsOfWeek,
                      double lat, double lon, double azimuth, double elevation);
// The same with the azimuth's cosine and sine.
double klobucharDelay(const std::array<double, 4>& alpha, const std::array<double, 4>& beta,
                      double gpsSecondsOfWeek, double latitude, double longitude, double cosAzimuth,
                      double sinAzimuth, double elevation);
// Slant tropospheric delay (m) of a standard atmosphere.
double troposphereDelay(double height, double elevation);
// The same delay for many elevations at one height: the height's terms computed once.
struct Troposphere {
    Troposphere() = default;
    explicit Troposphere(double height);
    double delay(double elevation) const;
    // The same from the elevation's sine.
    double delayAtSine(double sinElevation) const;
    double pressure = 0, temperature = 0, vapour = 0;
};

} // namespace quality
