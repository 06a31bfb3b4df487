// SPDX-License-Identifier: MIT
#include "quality/point_positioning.h"

#include <algorithm>
#include <cmath>

#include "gnss/geodesy.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "quality/gnss_time.h"

namespace quality {

namespace {

constexpr int kMaxUnknowns = 7; // position and four system clocks

// Code to position with, per system, in order of preference (band, attribute).
const char* preferredCodes(char system) {
    switch (system) {
    case 'G': return "1C1W1X1L1S1P";
    case 'J': return "1C1X1L1S";
    case 'E': return "1C1X1B";
    case 'C': return "2I2X2Q1I1Q";
    case 'R': return "1C1P";
    default: return "";
    }
}

int clockIndexOf(char system) {
    switch (system) {
    case 'G':
    case 'J': return 0;
    case 'R': return 1;
    case 'E': return 2;
    case 'C': return 3;
    default: return -1;
    }
}

// Solves the symmetric positive-definite system n x = b (n is u x u) by Cholesky; false if singular.
bool choleskySolve(double n[kMaxUnknowns][kMaxUnknowns], double* b, int u) {
    double l[kMaxUnknowns][kMaxUnknowns] = {};
    for (int i = 0; i < u; ++i)
        for (int j = 0; j <= i; ++j) {
            double s = n[i][j];
            for (int k = 0; k < j; ++k)
                s -= l[i][k] * l[j][k];
            if (i == j) {
                if (s <= 1e-12) return false;
                l[i][i] = std::sqrt(s);
            } else {
                l[i][j] = s / l[j][j];
            }
        }
    for (int i = 0; i < u; ++i) {
        double s = b[i];
        for (int k = 0; k < i; ++k)
            s -= l[i][k] * b[k];
        b[i] = s / l[i][i];
    }
    for (int i = u - 1; i >= 0; --i) {
        double s = b[i];
        for (int k = i + 1; k < u; ++k)
            s -= l[k][i] * b[k];
        b[i] = s / l[i][i];
    }
    return true;
}

} // namespace

double klobucharDelay(const std::array<double, 4>& alpha, const std::array<double, 4>& beta, double sow,
                      double lat, double lon, double azimuth, double elevation) {
    return klobucharDelay(alpha, beta, sow, lat, lon, std::cos(azimuth), std::sin(azimuth), elevation);
}

double klobucharDelay(const std::array<double, 4>& alpha, const std::array<double, 4>& beta, double sow,
                      double lat, double lon, double cosAzimuth, double sinAzimuth, double elevation) {
    const double e = elevation / gnss::kPi; // semicircles
    const double psi = 0.0137 / (e + 0.11) - 0.022;
    double phiI = lat / gnss::kPi + psi * cosAzimuth;
    phiI = std::max(-0.416, std::min(0.416, phiI));
    const double lambdaI = lon / gnss::kPi + psi * sinAzimuth / std::cos(phiI * gnss::kPi);
    const double phiM = phiI + 0.064 * std::cos((lambdaI - 1.617) * gnss::kPi);
    double t = 4.32e4 * lambdaI + sow;
    t -= std::floor(t / 86400.0) * 86400.0;
    const double obliquity = 0.53 - e;
    const double f = 1.0 + 16.0 * obliquity * obliquity * obliquity;
    double amp = alpha[0] + phiM * (alpha[1] + phiM * (alpha[2] + phiM * alpha[3]));
    double per = beta[0] + phiM * (beta[1] + phiM * (beta[2] + phiM * beta[3]));
    if (amp < 0) amp = 0;
    if (per < 72000) per = 72000;
    const double x = 2 * gnss::kPi * (t - 50400.0) / per;
    const double delay = std::fabs(x) < 1.57 ? f * (5e-9 + amp * (1 - x * x / 2 + x * x * x * x / 24)) : f * 5e-9;
    return gnss::kSpeedOfLight * delay;
}

Troposphere::Troposphere(double height) {
    const double h = std::max(-500.0, std::min(height, 10000.0));
    pressure = 1013.25 * std::pow(1 - 2.2557e-5 * h, 5.2568);
    temperature = 15.0 - 6.5e-3 * h + 273.15;
    const double humidity = 0.5 * std::exp(-6.396e-4 * h);
    vapour = 6.108 * humidity * std::exp((17.15 * temperature - 4684.0) / (temperature - 38.45));
}

double Troposphere::delay(double elevation) const {
    if (elevation <= 0) return 0;
    return delayAtSine(std::sin(elevation));
}

double Troposphere::delayAtSine(double sinElevation) const {
    if (sinElevation <= 0) return 0;
    // Saastamoinen's zenith delay over the cosine of the zenith angle.
    return 0.002277 / sinElevation * (pressure + (1255.0 / temperature + 0.05) * vapour);
}

double troposphereDelay(double height, double elevation) {
    if (elevation <= 0) return 0;
    return Troposphere(height).delay(elevation);
}

PointPositioning::PointPositioning(const Navigation& navigation, double elevationMaskDeg)
    : nav_(navigation), mask_(elevationMaskDeg * gnss::kPi / 180.0) {}

bool PointPositioning::solve(const Epoch& epoch, const Vec3* guess, PositionFix& fix) {
    candidates_.clear();
    for (size_t i = 0; i < epoch.satelliteCount; ++i) {
        const SatelliteObservations& sat = epoch.satellites[i];
        const int clockIndex = clockIndexOf(sat.system);
        if (clockIndex < 0) continue;
        const char* codes = preferredCodes(sat.system);
        double p = 0;
        char band = 0;
        for (const char* c = codes; *c && !band; c += 2)
            for (const Observation& o : sat.observations)
                if (o.type == 'C' && o.band == c[0] && o.attribute == c[1] && o.value > 1.5e7 && o.value < 5e7) {
                    p = o.value;
                    band = o.band;
                    break;
                }
        if (!band) continue;
        double frequency = double(gnss::kFrequencyL1);
        if (sat.system == 'C') frequency = double(gnss::kFrequencyB1);
        // The satellite's clock at the signal's nominal transmission time gives the true one:
        // only there is the orbit needed.
        const double t0 = epoch.time - p / gnss::kSpeedOfLight;
        double clock0 = 0;
        if (!nav_.clock(sat.system, sat.number, t0, clock0)) continue;
        if (sat.system == 'R') {
            int channel = 0;
            const auto it = channels_.find(sat.number);
            if (it != channels_.end())
                channel = it->second;
            else if (const GlonassEphemeris* g = nav_.glonass(sat.number, t0))
                channel = g->channel;
            frequency = channel >= -7 && channel <= 6 ? double(gnss::kFrequencyG1) + channel * gnss::kChannelStepG1 : double(gnss::kFrequencyG1);
        }
        const double t1 = t0 - clock0;
        SatelliteState s;
        if (!nav_.state(sat.system, sat.number, t1, s, orbits_)) continue;
        candidates_.push_back({sat.system, sat.number, clockIndex, p, frequency, s.position,
                               s.clock - s.groupDelay, true, 0});
    }
    if (candidates_.size() < 4) return false;

    Vec3 x{};
    bool haveStart = false;
    if (guess && std::sqrt((*guess)[0] * (*guess)[0] + (*guess)[1] * (*guess)[1] + (*guess)[2] * (*guess)[2]) > 6.0e6) {
        x = *guess;
        haveStart = true;
    }
    double clocks[4] = {};
    int used = 0;
    double pdop = 0, rms = 0;
    int rejected = 0;
    for (;;) {
        if (!iterate(epoch.time, x, clocks, used, pdop, rms, haveStart)) return false;
        haveStart = true;
        // Outliers: the largest residual goes while the fit is poor and redundancy allows.
        Candidate* worst = nullptr;
        for (Candidate& c : candidates_)
            if (c.used && (!worst || std::fabs(c.residual) > std::fabs(worst->residual))) worst = &c;
        int systems = 0;
        bool seen[4] = {};
        for (const Candidate& c : candidates_)
            if (c.used && !seen[c.clockIndex]) {
                seen[c.clockIndex] = true;
                ++systems;
            }
        const bool poor = worst && (std::fabs(worst->residual) > 30.0 || rms > 10.0);
        if (!poor) break;
        if (used - 1 < 3 + systems + 1 || rejected >= 8) return false;
        worst->used = false;
        ++rejected;
    }
    const gnss::Geodetic g = gnss::geodeticOf(x);
    if (pdop <= 0 || pdop > 30 || g.height < -1000 || g.height > 20000) return false;
    fix.position = x;
    fix.pdop = pdop;
    fix.satellites = used;
    fix.rejected = rejected;
    fix.residualRms = rms;
    return true;
}

bool PointPositioning::iterate(double time, Vec3& x, double* clocks, int& used, double& pdop, double& rms,
                               bool haveStart) {
    const double sow = secondsOfWeek(time);
    double lastStep = HUGE_VAL;
    for (int iteration = 0; iteration < 12; ++iteration) {
        // The elevations and the atmosphere's delays follow the position until it moves by
        // less than a metre: after that they change by far less than the step that ends the
        // iterations.
        const bool onEarth = std::sqrt(x[0] * x[0] + x[1] * x[1] + x[2] * x[2]) > 6.0e6;
        const bool correct = lastStep > 1.0 && onEarth;
        // Per iteration, not per satellite: the receiver's frame and its troposphere.
        gnss::Geodetic g;
        gnss::LocalFrame frame;
        Troposphere troposphere;
        if (correct) {
            g = gnss::geodeticOf(x);
            frame = gnss::LocalFrame(g);
            troposphere = Troposphere(g.height);
        }
        double n[kMaxUnknowns][kMaxUnknowns] = {};
        double q[kMaxUnknowns][kMaxUnknowns] = {};
        double b[kMaxUnknowns] = {};
        int column[4] = {-1, -1, -1, -1};
        int unknowns = 3;
        used = 0;
        // Rows: kept in candidates_ (residual), the design row rebuilt below.
        for (Candidate& c : candidates_) {
            if (!c.used && haveStart) continue;
            const double range0 = gnss::distance(c.position, x);
            // The Earth's rotation during the signal's flight: a few microradians, where two
            // terms of the series are exact to the double's precision.
            const double theta = gnss::kEarthRotationRate * range0 / gnss::kSpeedOfLight;
            const double cosTheta = 1 - theta * theta / 2, sinTheta = theta - theta * theta * theta / 6;
            const Vec3 sat{c.position[0] * cosTheta + c.position[1] * sinTheta,
                           -c.position[0] * sinTheta + c.position[1] * cosTheta, c.position[2]};
            const double range = gnss::distance(sat, x);
            double elevation = gnss::kPi / 2;
            double iono = 0, tropo = 0;
            if (onEarth) {
                if (correct) {
                    const gnss::Ecef enu = gnss::enuOf(x, frame, sat);
                    const double horizontal = std::sqrt(enu[0] * enu[0] + enu[1] * enu[1]);
                    c.elevation = std::atan2(enu[2], horizontal);
                    const double up = enu[2] / std::sqrt(horizontal * horizontal + enu[2] * enu[2]);
                    c.iono = 0;
                    if (nav_.hasKlobuchar()) {
                        // The azimuth's cosine and sine straight from north and east.
                        const double cosAzimuth = horizontal > 0 ? enu[1] / horizontal : 1;
                        const double sinAzimuth = horizontal > 0 ? enu[0] / horizontal : 0;
                        const double scale = (double(gnss::kFrequencyL1) / c.frequency) *
                                             (double(gnss::kFrequencyL1) / c.frequency);
                        c.iono =
                            scale * klobucharDelay(nav_.alpha(), nav_.beta(), sow, g.latitude, g.longitude,
                                                   cosAzimuth, sinAzimuth, std::max(c.elevation, 0.0));
                    }
                    c.tropo = troposphere.delayAtSine(up);
                    const double s = std::max(up, 0.1); // the elevation's sine
                    c.weight = s * s;
                }
                elevation = c.elevation;
                if (elevation < mask_ && iteration > 0) {
                    c.residual = 0;
                    continue;
                }
                iono = c.iono;
                tropo = c.tropo;
            }
            if (column[c.clockIndex] < 0) column[c.clockIndex] = unknowns++;
            const int k = column[c.clockIndex];
            const double h[3] = {(x[0] - sat[0]) / range, (x[1] - sat[1]) / range, (x[2] - sat[2]) / range};
            const double predicted = range + clocks[c.clockIndex] - gnss::kSpeedOfLight * c.clock + iono + tropo;
            c.residual = c.pseudorange - predicted;
            const double w = onEarth ? c.weight : 1.0;
            // The row holds h and a 1 in the clock's column: only those entries add anything.
            const int at[4] = {0, 1, 2, k};
            const double row[4] = {h[0], h[1], h[2], 1};
            for (int i = 0; i < 4; ++i) {
                b[at[i]] += w * row[i] * c.residual;
                for (int j = 0; j < 4; ++j) {
                    n[at[i]][at[j]] += w * row[i] * row[j];
                    q[at[i]][at[j]] += row[i] * row[j];
                }
            }
            ++used;
        }
        if (used < unknowns) return false;
        if (!choleskySolve(n, b, unknowns)) return false;
        for (int i = 0; i < 3; ++i)
            x[size_t(i)] += b[i];
        for (int s = 0; s < 4; ++s)
            if (column[s] >= 0) clocks[s] += b[column[s]];
        const double step = std::sqrt(b[0] * b[0] + b[1] * b[1] + b[2] * b[2]);
        lastStep = step;
        if (step < 1e-3 && iteration > 0 && onEarth) {
            // PDOP from the unweighted geometry: the position block of (H^T H)^-1.
            double trace = 0;
            for (int axis = 0; axis < 3; ++axis) {
                double e[kMaxUnknowns] = {};
                e[axis] = 1;
                double m[kMaxUnknowns][kMaxUnknowns];
                for (int i = 0; i < kMaxUnknowns; ++i)
                    for (int j = 0; j < kMaxUnknowns; ++j)
                        m[i][j] = q[i][j];
                if (!choleskySolve(m, e, unknowns)) return false;
                trace += e[axis];
            }
            pdop = std::sqrt(trace);
            double sum = 0;
            int count = 0;
            for (const Candidate& c : candidates_)
                if (c.used && c.residual != 0) {
                    sum += c.residual * c.residual;
                    ++count;
                }
            // The mask may have dropped satellites: they stay out of the fit from now on.
            for (Candidate& c : candidates_)
                if (c.used && c.residual == 0) c.used = false;
            rms = count ? std::sqrt(sum / count) : 0;
            return true;
        }
    }
    return false;
}

} // namespace quality
