// SPDX-License-Identifier: MIT
#pragma once
// A synthetic sky for benchmark streams: multi-system constellations on circular orbits seen
// from one static antenna, giving observations that are mutually consistent (pseudorange,
// carrier phase and Doppler follow the same geometry) without any recorded data. The ranges
// follow the signal's travel time and the Earth's rotation during it; satellite clocks, code
// group delays and the ionosphere are the ones the broadcast records describe, so a receiver
// positions itself from the stream as it would from real data.
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "decoding/signal_table.h"
#include "encoder/range_encoder.h"
#include "gnss/constants.h"

namespace bench {

using Vec3 = std::array<double, 3>;

using gnss::kEarthGravitation;
using gnss::kSpeedOfLight;
constexpr double kEarthRotation = gnss::kEarthRotationRate;

// The ionosphere of the sky: the broadcast coefficients, and the delay they give is the one
// the observations carry.
constexpr std::array<double, 4> kKlobucharAlpha = {1.1176e-8, 7.4506e-9, -5.9605e-8, -5.9605e-8};
constexpr std::array<double, 4> kKlobucharBeta = {90112.0, 0.0, -196608.0, -65536.0};

// One satellite on a circular orbit, fixed in an inertial frame.
struct Satellite {
    decoding::SatSystem system = decoding::SystemGps;
    char letter = 'G';
    int number = 0;         // RINEX satellite number
    int glonassChannel = 0; // frequency channel k (GLONASS only)
    double radius = 0;      // m
    double inclination = 0; // rad
    double node = 0;        // right ascension of the ascending node at t = 0, rad
    double phase = 0;       // argument of latitude at t = 0, rad
    bool geostationary = false;
    double longitude = 0; // rad, geostationary satellites only
    std::vector<const decoding::SignalInfo*> signals;
    // Satellite clock: offset at t = 0 (s) and its drift (s/s).
    double clockBias = 0;
    double clockDrift = 0;
    // Code group delays, s. GPS and Galileo: the delay on L1/E1, other bands scaled by the
    // inverse square of their frequency (so any two-frequency ionosphere-free clock is the
    // broadcast one). BeiDou: B1I (first) and B2I (second); B3I, the clock's reference, has none.
    double groupDelay = 0;
    double groupDelay2 = 0;

    double meanMotion() const;
    // Earth-fixed position at t seconds after the model's start.
    Vec3 position(double t) const;
    // Earth-fixed velocity, m/s.
    Vec3 velocity(double t) const;
    // Satellite clock offset at t, s.
    double clock(double t) const { return clockBias + clockDrift * t; }
    // Group delay of a code signal, s.
    double codeDelay(const decoding::SignalInfo& signal) const;
};

struct SkyOptions {
    double latitude = 47.3;      // degrees
    double longitude = 8.5;      // degrees
    double height = 520.0;       // m
    double elevationMask = 10.0; // degrees
    uint64_t seed = 1;
    double startSecondsOfWeek = 345600.0; // GPS seconds of week at t = 0 (the ionosphere's local time)
};

// Deterministic noise source (xorshift64*), so a given seed always yields the same stream.
class Noise {
public:
    explicit Noise(uint64_t seed) : state_(seed ? seed : 0x9E3779B97F4A7C15ull) {}
    double uniform();               // [0, 1)
    double gaussian();              // mean 0, sigma 1
    int integer(int low, int high); // inclusive

private:
    uint64_t state_;
};

// All signals visible at one epoch, ordered by system, satellite and signal.
struct EpochSignals {
    std::vector<encoding::RangeSignal> signals;
    int satellites = 0;
};

class SkyModel {
public:
    explicit SkyModel(const SkyOptions& options);

    const std::vector<Satellite>& satellites() const { return satellites_; }
    const Vec3& antenna() const { return antenna_; }
    const SkyOptions& options() const { return options_; }

    // Observations at t seconds after the start (t increasing from call to call: lock times
    // and phase ambiguities run on while a satellite stays above the mask).
    EpochSignals observe(double t);

    // Elevation of a satellite at t, degrees.
    double elevation(const Satellite& satellite, double t) const;

private:
    struct Track {
        bool locked = false;
        double lockStart = 0;
        std::vector<double> ambiguity; // whole cycles, per signal
    };

    SkyOptions options_;
    Vec3 antenna_{};
    Vec3 up_{};
    std::vector<Satellite> satellites_;
    std::vector<Track> tracks_;
    Noise noise_;
};

} // namespace bench
