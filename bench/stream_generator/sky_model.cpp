// SPDX-License-Identifier: MIT
#include "stream_generator/sky_model.h"

#include <algorithm>
#include <cmath>

#include "gnss/geodesy.h"
#include "quality/point_positioning.h"
#include "sample_generator/position_degrees.h"

namespace bench {

namespace {

using gnss::kPi;
constexpr double kDegree = kPi / 180.0;
constexpr double kGpsL1 = gnss::kFrequencyL1;

// Frequency channels of the 24 GLONASS slots: antipodal slots share a channel.
constexpr int kGlonassChannels[24] = {1,  -4, 5, 6,  1, -4, 5, 6, -2, -7, 0, -1,
                                      -2, -7, 0, -1, 4, -3, 3, 2, 4,  -3, 3, 2};

const decoding::SignalInfo* row(decoding::SatSystem system, const char* code) {
    return encoding::signalForRinexCode(system, code, 0);
}

double dot(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double distance(const Vec3& a, const Vec3& b) {
    const double dx = a[0] - b[0], dy = a[1] - b[1], dz = a[2] - b[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// Walker-like constellation: planes evenly spread in node, satellites evenly in each plane,
// neighbouring planes shifted so that satellites do not line up.
void addConstellation(std::vector<Satellite>& out, decoding::SatSystem system, char letter, int firstNumber,
                      int planes, int perPlane, double radiusKm, double inclinationDeg,
                      double nodeOffsetDeg) {
    for (int p = 0; p < planes; ++p) {
        for (int s = 0; s < perPlane; ++s) {
            Satellite sat;
            sat.system = system;
            sat.letter = letter;
            sat.number = firstNumber + p * perPlane + s;
            sat.radius = radiusKm * 1000.0;
            sat.inclination = inclinationDeg * kDegree;
            sat.node = (nodeOffsetDeg + 360.0 * p / planes) * kDegree;
            sat.phase = (360.0 * s / perPlane + 360.0 * p / (planes * perPlane) * 3.0) * kDegree;
            out.push_back(sat);
        }
    }
}

void addGeostationary(std::vector<Satellite>& out, decoding::SatSystem system, char letter, int number,
                      double longitudeDeg) {
    Satellite sat;
    sat.system = system;
    sat.letter = letter;
    sat.number = number;
    sat.radius = 42164000.0;
    sat.geostationary = true;
    sat.longitude = longitudeDeg * kDegree;
    out.push_back(sat);
}

// Signal strength offsets by band: the second civil bands are weaker, the modern ones stronger.
double bandOffset(const decoding::SignalInfo& signal) {
    switch (signal.rinexCode[0]) {
    case '1':
        return 2.0;
    case '2':
        return signal.frequency < 1500000000u ? -3.0 : 1.0; // BeiDou B1 sits in band 2
    case '5':
        return 1.5;
    case '6':
        return -1.0;
    default:
        return 0.0;
    }
}

double carrierOf(const Satellite& sat, const decoding::SignalInfo& signal) {
    if (sat.system == decoding::SystemGlonass)
        return decoding::glonassAdjustedFrequency(signal.frequency, sat.glonassChannel);
    return signal.frequency;
}

// The satellite at the transmission of the signal received at t, in the Earth-fixed frame of
// the reception (the Earth turns while the signal travels), and the range it travels.
double signalRange(const Satellite& sat, const Vec3& antenna, double t, Vec3& transmitter) {
    double travel = 0.075;
    for (int i = 0; i < 3; ++i) {
        const Vec3 q = sat.position(t - travel);
        const double a = kEarthRotation * travel;
        const double ca = std::cos(a), sa = std::sin(a);
        transmitter = {q[0] * ca + q[1] * sa, -q[0] * sa + q[1] * ca, q[2]};
        travel = distance(transmitter, antenna) / kSpeedOfLight;
    }
    return travel * kSpeedOfLight;
}

double signalRange(const Satellite& sat, const Vec3& antenna, double t) {
    Vec3 unused;
    return signalRange(sat, antenna, t, unused);
}

} // namespace

double Noise::uniform() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return double((state_ * 0x2545F4914F6CDD1Dull) >> 11) * (1.0 / 9007199254740992.0);
}

double Noise::gaussian() {
    // Box-Muller; one value per call is plenty for a generator.
    const double u1 = std::max(uniform(), 1e-300);
    const double u2 = uniform();
    return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * kPi * u2);
}

int Noise::integer(int low, int high) {
    return low + int(uniform() * (high - low + 1));
}

double Satellite::meanMotion() const {
    return std::sqrt(kEarthGravitation / (radius * radius * radius));
}

Vec3 Satellite::position(double t) const {
    if (geostationary) return {radius * std::cos(longitude), radius * std::sin(longitude), 0.0};
    const double u = phase + meanMotion() * t;
    const double cu = std::cos(u), su = std::sin(u);
    const double cn = std::cos(node), sn = std::sin(node);
    const double ci = std::cos(inclination), si = std::sin(inclination);
    const double x = radius * (cu * cn - su * ci * sn);
    const double y = radius * (cu * sn + su * ci * cn);
    const double z = radius * su * si;
    const double theta = kEarthRotation * t;
    const double ct = std::cos(theta), st = std::sin(theta);
    return {x * ct + y * st, -x * st + y * ct, z};
}

Vec3 Satellite::velocity(double t) const {
    if (geostationary) return {0.0, 0.0, 0.0};
    const double n = meanMotion();
    const double u = phase + n * t;
    const double cu = std::cos(u), su = std::sin(u);
    const double cn = std::cos(node), sn = std::sin(node);
    const double ci = std::cos(inclination), si = std::sin(inclination);
    // Inertial velocity, turned into the Earth-fixed frame, less the frame's own turning.
    const double vx = radius * n * (-su * cn - cu * ci * sn);
    const double vy = radius * n * (-su * sn + cu * ci * cn);
    const double vz = radius * n * cu * si;
    const double theta = kEarthRotation * t;
    const double ct = std::cos(theta), st = std::sin(theta);
    const Vec3 p = position(t);
    return {vx * ct + vy * st + kEarthRotation * p[1], -vx * st + vy * ct - kEarthRotation * p[0], vz};
}

double Satellite::codeDelay(const decoding::SignalInfo& signal) const {
    switch (system) {
    case decoding::SystemGps:
    case decoding::SystemGalileo: {
        const double ratio = kGpsL1 / double(signal.frequency);
        return groupDelay * ratio * ratio;
    }
    case decoding::SystemBeidou:
        return signal.rinexCode[0] == '2' ? groupDelay : signal.rinexCode[0] == '7' ? groupDelay2 : 0.0;
    default:
        return 0.0;
    }
}

SkyModel::SkyModel(const SkyOptions& options) : options_(options), noise_(options.seed) {
    const auto xyz = sample_generator::ecefOf(
        sample_generator::PositionDegrees{options.latitude, options.longitude, options.height});
    antenna_ = {xyz[0], xyz[1], xyz[2]};
    const double lat = options.latitude * kDegree, lon = options.longitude * kDegree;
    up_ = {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};

    using decoding::SatSystem;
    addConstellation(satellites_, decoding::SystemGps, 'G', 1, 6, 5, 26559.7, 55.0, 0.0);
    addConstellation(satellites_, decoding::SystemGlonass, 'R', 1, 3, 8, 25508.0, 64.8, 20.0);
    addGeostationary(satellites_, decoding::SystemSbas, 'S', 23, 31.5);
    addGeostationary(satellites_, decoding::SystemSbas, 'S', 26, 25.0);
    addGeostationary(satellites_, decoding::SystemSbas, 'S', 36, 5.0);
    addConstellation(satellites_, decoding::SystemGalileo, 'E', 1, 3, 8, 29600.0, 56.0, 40.0);
    addConstellation(satellites_, decoding::SystemBeidou, 'C', 19, 3, 8, 27906.0, 55.0, 70.0);

    // Signals, and clocks and group delays of the size real satellites show, different for each.
    for (Satellite& sat : satellites_) {
        const int n = sat.number;
        switch (sat.system) {
        case decoding::SystemGps:
            sat.signals = {row(sat.system, "1C"), row(sat.system, "2W")};
            if (sat.number % 3 != 0) sat.signals.push_back(row(sat.system, "5Q"));
            sat.clockBias = 1.0e-5 * (n % 11 - 5);
            sat.clockDrift = 1.0e-12 * (n % 7 - 3);
            sat.groupDelay = 1.0e-9 * (n % 9 - 4);
            break;
        case decoding::SystemGlonass:
            sat.glonassChannel = kGlonassChannels[(sat.number - 1) % 24];
            sat.signals = {row(sat.system, "1C"), row(sat.system, "2C")};
            sat.clockBias = -2.0e-5 * (n % 5 - 2);
            sat.clockDrift = 9.1e-13;
            break;
        case decoding::SystemSbas:
            sat.signals = {row(sat.system, "1C"), row(sat.system, "5I")};
            break;
        case decoding::SystemGalileo:
            sat.signals = {row(sat.system, "1C"), row(sat.system, "5Q"), row(sat.system, "7Q")};
            sat.clockBias = -2.0e-4 + 1.0e-5 * (n % 9);
            sat.clockDrift = -7.1e-12;
            sat.groupDelay = 2.0e-9 + 1.0e-10 * (n % 5);
            break;
        case decoding::SystemBeidou:
            sat.signals = {row(sat.system, "2I"), row(sat.system, "6I")};
            if (sat.number % 2 == 0) sat.signals.push_back(row(sat.system, "7I"));
            sat.clockBias = 1.0e-4 * (n % 7 - 3);
            sat.clockDrift = 1.2e-11;
            sat.groupDelay = 4.5e-9;
            sat.groupDelay2 = -2.1e-9;
            break;
        default:
            break;
        }
        sat.signals.erase(std::remove(sat.signals.begin(), sat.signals.end(), nullptr), sat.signals.end());
    }
    tracks_.resize(satellites_.size());
}

double SkyModel::elevation(const Satellite& satellite, double t) const {
    const Vec3 p = satellite.position(t);
    const Vec3 los = {p[0] - antenna_[0], p[1] - antenna_[1], p[2] - antenna_[2]};
    return std::asin(std::clamp(dot(los, up_) / std::sqrt(dot(los, los)), -1.0, 1.0)) / kDegree;
}

EpochSignals SkyModel::observe(double t) {
    EpochSignals epoch;
    int channel = 0;
    const gnss::Geodetic geodetic{options_.latitude * kDegree, options_.longitude * kDegree, options_.height};
    const gnss::LocalFrame frame(geodetic);
    const double secondsOfWeek = std::fmod(options_.startSecondsOfWeek + t, 604800.0);
    for (size_t i = 0; i < satellites_.size(); ++i) {
        const Satellite& sat = satellites_[i];
        Track& track = tracks_[i];
        const double elevationDeg = elevation(sat, t);
        if (elevationDeg < options_.elevationMask) {
            track.locked = false;
            continue;
        }
        if (!track.locked) {
            track.locked = true;
            // Satellites already up at the start have been tracked for a while.
            track.lockStart = t == 0 ? -noise_.uniform() * 900.0 : t;
            track.ambiguity.assign(sat.signals.size(), 0.0);
            for (double& n : track.ambiguity)
                n = noise_.integer(-2000, 2000);
        }

        Vec3 transmitter{};
        const double range = signalRange(sat, antenna_, t, transmitter);
        constexpr double h = 0.01;
        const double rangeRate =
            (signalRange(sat, antenna_, t + h) - signalRange(sat, antenna_, t - h)) / (2 * h);
        // The satellite clock as read at transmission.
        const double satelliteClock = kSpeedOfLight * sat.clock(t - range / kSpeedOfLight);
        const double satelliteDrift = kSpeedOfLight * sat.clockDrift;
        const double sinEl = std::sin(elevationDeg * kDegree);
        double azimuth = 0, lineElevation = 0;
        gnss::azimuthElevation(antenna_, frame, transmitter, azimuth, lineElevation);
        const double ionoL1 = quality::klobucharDelay(kKlobucharAlpha, kKlobucharBeta, secondsOfWeek,
                                                      geodetic.latitude, geodetic.longitude, azimuth,
                                                      std::max(lineElevation, 0.0));
        const double tropo = 2.4 / (sinEl + 0.02);
        const double codeSigma = 0.25 + 0.6 * (1.0 - sinEl);

        for (size_t k = 0; k < sat.signals.size(); ++k) {
            const decoding::SignalInfo& signal = *sat.signals[k];
            const double f = carrierOf(sat, signal);
            const double lambda = kSpeedOfLight / f;
            const double iono = ionoL1 * (kGpsL1 / f) * (kGpsL1 / f);

            encoding::RangeSignal r;
            r.system = sat.system;
            r.satellite = sat.number;
            r.glonassChannel = sat.glonassChannel;
            r.signal = &signal;
            r.pseudorange = range - satelliteClock + kSpeedOfLight * sat.codeDelay(signal) + iono + tropo +
                            codeSigma * noise_.gaussian();
            r.pseudorangeStd = codeSigma;
            const double phaseCycles =
                (range - satelliteClock - iono + tropo) / lambda + track.ambiguity[k] + 0.01 * noise_.gaussian();
            r.carrierPhase = -phaseCycles; // the board logs the negated phase
            r.carrierPhaseStd = 0.005;
            r.doppler = -(rangeRate - satelliteDrift) / lambda + 0.03 * noise_.gaussian();
            r.cn0 =
                std::clamp(34.0 + 14.0 * sinEl + bandOffset(signal) + 0.4 * noise_.gaussian(), 30.0, 50.0);
            r.lockTime = t - track.lockStart;
            r.channel = uint8_t(channel % 16);
            epoch.signals.push_back(r);
        }
        ++channel;
        ++epoch.satellites;
    }
    return epoch;
}

} // namespace bench
