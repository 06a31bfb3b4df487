// SPDX-License-Identifier: MIT
#pragma once
// Broadcast ephemerides and the satellite position and clock they give: Keplerian elements
// (GPS, QZSS, Galileo, BeiDou including its geostationary satellites) and GLONASS state
// vectors integrated through the Earth's field.
#include <array>
#include <vector>

namespace quality {

using Vec3 = std::array<double, 3>;

struct KeplerEphemeris {
    char system = 'G';
    int number = 0;
    double toc = 0;   // clock reference, GPS seconds
    double toe = 0;   // orbit reference, GPS seconds
    double toeOfWeek = 0; // orbit reference in the system's own seconds of week
    double af0 = 0, af1 = 0, af2 = 0;
    double crs = 0, deltaN = 0, m0 = 0, cuc = 0, e = 0, cus = 0, sqrtA = 0;
    double cic = 0, omega0 = 0, cis = 0, i0 = 0, crc = 0, omega = 0, omegaDot = 0, idot = 0;
    double groupDelay = 0; // s, applied to the first-frequency code (TGD, BGD, TGD1)
    bool healthy = true;
    bool galileoFnav = false;
};

struct GlonassEphemeris {
    int number = 0;
    double toc = 0;            // reference time, GPS seconds
    double clockBias = 0;      // s (the record's -tau)
    double relativeFreq = 0;   // gamma
    Vec3 position{}, velocity{}, acceleration{}; // m, m/s, m/s^2 (PZ-90 Earth-fixed)
    int channel = 0;
    bool healthy = true;
};

struct SatelliteState {
    Vec3 position{}; // Earth-fixed at transmission time, m
    double clock = 0; // satellite clock offset, s (relativity included, group delay not)
    double groupDelay = 0;
};

// Position and clock at GPS time t of a Keplerian ephemeris.
SatelliteState keplerState(const KeplerEphemeris& eph, double t);
// Clock only (for the transmission-time iteration).
double keplerClock(const KeplerEphemeris& eph, double t);

// GLONASS: integrates from the reference time (or from a cached state of the same record).
struct GlonassCache {
    const GlonassEphemeris* eph = nullptr;
    double time = 0;
    Vec3 position{}, velocity{};
};
SatelliteState glonassState(const GlonassEphemeris& eph, double t, GlonassCache* cache = nullptr);
// The clock of glonassState alone: it needs no integration.
double glonassClock(const GlonassEphemeris& eph, double t);

// BeiDou geostationary satellites use another orbit rotation.
bool isBeidouGeo(int number);

} // namespace quality
