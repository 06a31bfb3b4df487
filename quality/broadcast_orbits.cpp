// SPDX-License-Identifier: MIT
#include "quality/broadcast_orbits.h"

#include <cmath>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace quality {

bool isBeidouGeo(int number) {
    return number <= 5 || number >= 59;
}

namespace {

double muOf(char system) {
    switch (system) {
    case 'E': return gnss::kEarthGravitation;
    case 'C': return gnss::kBeidouGravitation;
    default: return gnss::kGpsGravitation;
    }
}

double rotationOf(char system) {
    return system == 'C' ? gnss::kBeidouEarthRotationRate : gnss::kEarthRotationRate;
}

// The eccentric anomaly at tk from the reference time, with its sine and cosine, by Newton's
// method: a step of d leaves an error below e d^2, so once a step is under 1e-9 rad the
// anomaly is exact to the double's precision, and so are the sine and cosine turned on by it.
double eccentricAnomaly(const KeplerEphemeris& eph, double tk, double& a, double& sinE, double& cosE) {
    a = eph.sqrtA * eph.sqrtA;
    const double n = std::sqrt(muOf(eph.system) / (a * a * a)) + eph.deltaN;
    const double m = eph.m0 + n * tk;
    double e = m;
    for (int i = 0; i < 30; ++i) {
        sinE = std::sin(e);
        cosE = std::cos(e);
        const double step = (e - eph.e * sinE - m) / (1 - eph.e * cosE);
        e -= step;
        if (std::fabs(step) < 1e-9) {
            const double sinStep = -step, cosStep = 1 - step * step / 2;
            const double turned = sinE * cosStep + cosE * sinStep;
            cosE = cosE * cosStep - sinE * sinStep;
            sinE = turned;
            break;
        }
    }
    return e;
}

double clockPolynomial(const KeplerEphemeris& eph, double t) {
    const double dt = t - eph.toc;
    return eph.af0 + eph.af1 * dt + eph.af2 * dt * dt;
}

} // namespace

double keplerClock(const KeplerEphemeris& eph, double t) {
    double a = 0, sinE = 0, cosE = 1;
    eccentricAnomaly(eph, t - eph.toe, a, sinE, cosE);
    return clockPolynomial(eph, t) + gnss::kRelativityF * eph.e * eph.sqrtA * sinE;
}

SatelliteState keplerState(const KeplerEphemeris& eph, double t) {
    SatelliteState s;
    const double tk = t - eph.toe;
    double a = 0, sinE = 0, cosE = 1;
    eccentricAnomaly(eph, tk, a, sinE, cosE);
    // The argument of latitude phi = v + omega and its corrections by sines and cosines
    // alone: the true anomaly v from E, phi by the sum of angles, u = phi + du with du of a
    // few 1e-5 rad, where two terms of the series are exact.
    const double denominator = 1 - eph.e * cosE;
    const double sinV = std::sqrt(1 - eph.e * eph.e) * sinE / denominator;
    const double cosV = (cosE - eph.e) / denominator;
    const double sinOmega = std::sin(eph.omega), cosOmega = std::cos(eph.omega);
    const double sinPhi = sinV * cosOmega + cosV * sinOmega;
    const double cosPhi = cosV * cosOmega - sinV * sinOmega;
    const double s2 = 2 * sinPhi * cosPhi, c2 = cosPhi * cosPhi - sinPhi * sinPhi;
    const double du = eph.cus * s2 + eph.cuc * c2;
    const double sinDu = du - du * du * du / 6, cosDu = 1 - du * du / 2;
    const double sinU = sinPhi * cosDu + cosPhi * sinDu;
    const double cosU = cosPhi * cosDu - sinPhi * sinDu;
    const double r = a * denominator + eph.crs * s2 + eph.crc * c2;
    const double i = eph.i0 + eph.idot * tk + eph.cis * s2 + eph.cic * c2;
    const double sinI = std::sin(i), cosI = std::cos(i);
    const double xp = r * cosU, yp = r * sinU;
    const double we = rotationOf(eph.system);
    if (eph.system == 'C' && isBeidouGeo(eph.number)) {
        const double node = eph.omega0 + eph.omegaDot * tk - we * eph.toeOfWeek;
        const double sinNode = std::sin(node), cosNode = std::cos(node);
        const double xg = xp * cosNode - yp * cosI * sinNode;
        const double yg = xp * sinNode + yp * cosI * cosNode;
        const double zg = yp * sinI;
        const double f = -5.0 * gnss::kPi / 180.0;
        const double sinF = std::sin(f), cosF = std::cos(f);
        const double y1 = yg * cosF + zg * sinF;
        const double z1 = -yg * sinF + zg * cosF;
        const double z = we * tk;
        const double sinZ = std::sin(z), cosZ = std::cos(z);
        s.position = {xg * cosZ + y1 * sinZ, -xg * sinZ + y1 * cosZ, z1};
    } else {
        const double node = eph.omega0 + (eph.omegaDot - we) * tk - we * eph.toeOfWeek;
        const double sinNode = std::sin(node), cosNode = std::cos(node);
        s.position = {xp * cosNode - yp * cosI * sinNode, xp * sinNode + yp * cosI * cosNode, yp * sinI};
    }
    s.clock = clockPolynomial(eph, t) + gnss::kRelativityF * eph.e * eph.sqrtA * sinE;
    s.groupDelay = eph.groupDelay;
    return s;
}

namespace {

void derivative(const double* y, const Vec3& acc, double* dy) {
    const double x = y[0], yy = y[1], z = y[2];
    const double r2 = x * x + yy * yy + z * z;
    const double r = std::sqrt(r2);
    const double r3 = r2 * r, r5 = r3 * r2;
    const double mu = gnss::kGlonassGravitation, a2 = gnss::kGlonassEarthRadius * gnss::kGlonassEarthRadius, we = gnss::kEarthRotationRate;
    const double j = 1.5 * gnss::kGlonassJ2 * mu * a2 / r5;
    const double zz = 5 * z * z / r2;
    dy[0] = y[3];
    dy[1] = y[4];
    dy[2] = y[5];
    dy[3] = -mu * x / r3 - j * x * (1 - zz) + we * we * x + 2 * we * y[4] + acc[0];
    dy[4] = -mu * yy / r3 - j * yy * (1 - zz) + we * we * yy - 2 * we * y[3] + acc[1];
    dy[5] = -mu * z / r3 - j * z * (3 - zz) + acc[2];
}

void rungeKutta(double* y, const Vec3& acc, double h) {
    double k1[6], k2[6], k3[6], k4[6], t[6];
    derivative(y, acc, k1);
    for (int i = 0; i < 6; ++i) t[i] = y[i] + 0.5 * h * k1[i];
    derivative(t, acc, k2);
    for (int i = 0; i < 6; ++i) t[i] = y[i] + 0.5 * h * k2[i];
    derivative(t, acc, k3);
    for (int i = 0; i < 6; ++i) t[i] = y[i] + h * k3[i];
    derivative(t, acc, k4);
    for (int i = 0; i < 6; ++i) y[i] += h / 6 * (k1[i] + 2 * k2[i] + 2 * k3[i] + k4[i]);
}

} // namespace

SatelliteState glonassState(const GlonassEphemeris& eph, double t, GlonassCache* cache) {
    double y[6] = {eph.position[0], eph.position[1], eph.position[2],
                   eph.velocity[0], eph.velocity[1], eph.velocity[2]};
    double from = eph.toc;
    if (cache && cache->eph == &eph && std::fabs(t - cache->time) < std::fabs(t - eph.toc)) {
        for (int i = 0; i < 3; ++i) {
            y[i] = cache->position[size_t(i)];
            y[i + 3] = cache->velocity[size_t(i)];
        }
        from = cache->time;
    }
    double left = t - from;
    while (std::fabs(left) > 1e-9) {
        const double h = std::fabs(left) > 60 ? (left > 0 ? 60 : -60) : left;
        rungeKutta(y, eph.acceleration, h);
        left -= h;
    }
    if (cache) {
        cache->eph = &eph;
        cache->time = t;
        cache->position = {y[0], y[1], y[2]};
        cache->velocity = {y[3], y[4], y[5]};
    }
    SatelliteState s;
    s.position = {y[0], y[1], y[2]};
    s.clock = glonassClock(eph, t);
    return s;
}

double glonassClock(const GlonassEphemeris& eph, double t) {
    return eph.clockBias + eph.relativeFreq * (t - eph.toc);
}

} // namespace quality
