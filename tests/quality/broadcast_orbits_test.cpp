// SPDX-License-Identifier: MIT
// The Keplerian orbit and clock against the textbook evaluation of the same elements:
// fixed-point Kepler iteration, the true anomaly by atan2 and every angle by its own sine
// and cosine. The library's form avoids most of those; it must agree to well below a
// micrometre and a femtosecond.
#include <gtest/gtest.h>

#include <cmath>

#include "gnss/constants.h"
#include "quality/broadcast_orbits.h"

namespace {

using quality::KeplerEphemeris;

double mu(char system) {
    switch (system) {
    case 'E':
        return gnss::kEarthGravitation;
    case 'C':
        return gnss::kBeidouGravitation;
    default:
        return gnss::kGpsGravitation;
    }
}

double rotation(char system) {
    return system == 'C' ? gnss::kBeidouEarthRotationRate : gnss::kEarthRotationRate;
}

quality::SatelliteState textbook(const KeplerEphemeris& eph, double t) {
    const double tk = t - eph.toe;
    const double a = eph.sqrtA * eph.sqrtA;
    const double n = std::sqrt(mu(eph.system) / (a * a * a)) + eph.deltaN;
    const double m = eph.m0 + n * tk;
    double ea = m;
    for (int i = 0; i < 200; ++i)
        ea = m + eph.e * std::sin(ea);
    const double v = std::atan2(std::sqrt(1 - eph.e * eph.e) * std::sin(ea), std::cos(ea) - eph.e);
    const double phi = v + eph.omega;
    const double u = phi + eph.cus * std::sin(2 * phi) + eph.cuc * std::cos(2 * phi);
    const double r =
        a * (1 - eph.e * std::cos(ea)) + eph.crs * std::sin(2 * phi) + eph.crc * std::cos(2 * phi);
    const double i = eph.i0 + eph.idot * tk + eph.cis * std::sin(2 * phi) + eph.cic * std::cos(2 * phi);
    const double xp = r * std::cos(u), yp = r * std::sin(u);
    const double we = rotation(eph.system);
    // The orbital plane turned into the Earth-fixed frame by rotation matrices: by i about x,
    // then by the node about z; a BeiDou geostationary orbit's frame then by 5 degrees about x
    // and back by the Earth's rotation since the reference time about z.
    const auto turnX = [](const quality::Vec3& v, double angle) {
        return quality::Vec3{v[0], std::cos(angle) * v[1] - std::sin(angle) * v[2],
                             std::sin(angle) * v[1] + std::cos(angle) * v[2]};
    };
    const auto turnZ = [](const quality::Vec3& v, double angle) {
        return quality::Vec3{std::cos(angle) * v[0] - std::sin(angle) * v[1],
                             std::sin(angle) * v[0] + std::cos(angle) * v[1], v[2]};
    };
    const bool geostationary = eph.system == 'C' && quality::isBeidouGeo(eph.number);
    const double node = geostationary ? eph.omega0 + eph.omegaDot * tk - we * eph.toeOfWeek
                                      : eph.omega0 + (eph.omegaDot - we) * tk - we * eph.toeOfWeek;
    quality::SatelliteState s;
    s.position = turnZ(turnX({xp, yp, 0}, i), node);
    if (geostationary) s.position = turnZ(turnX(s.position, 5.0 * gnss::kPi / 180.0), -we * tk);
    const double dt = t - eph.toc;
    s.clock =
        eph.af0 + eph.af1 * dt + eph.af2 * dt * dt + gnss::kRelativityF * eph.e * eph.sqrtA * std::sin(ea);
    return s;
}

// Elements of the kinds of orbit the systems fly (values of real broadcast records, rounded),
// with corrections of realistic size.
KeplerEphemeris orbit(char system, int number, double sqrtA, double e, double i0) {
    KeplerEphemeris eph;
    eph.system = system;
    eph.number = number;
    eph.toc = eph.toe = 2000 * 604800.0 + 7200;
    eph.toeOfWeek = 7200;
    eph.af0 = -3.1e-4;
    eph.af1 = -6.8e-12;
    eph.af2 = 1e-19;
    eph.sqrtA = sqrtA;
    eph.e = e;
    eph.i0 = i0;
    eph.m0 = 2.1;
    eph.deltaN = 4.5e-9;
    eph.omega = -1.9;
    eph.omega0 = 0.7;
    eph.omegaDot = -8.1e-9;
    eph.idot = 2.4e-10;
    eph.cuc = -1.4e-6;
    eph.cus = 7.9e-6;
    eph.crc = 221.0;
    eph.crs = -28.4;
    eph.cic = 5.6e-8;
    eph.cis = -1.3e-7;
    return eph;
}

void expectSame(const KeplerEphemeris& eph) {
    for (double dt = -7200; dt <= 7200; dt += 97.3) {
        for (double m0 : {-3.0, -1.2, 0.0, 0.4, 2.1, 3.1}) {
            KeplerEphemeris e = eph;
            e.m0 = m0;
            const double t = e.toe + dt;
            const quality::SatelliteState got = quality::keplerState(e, t);
            const quality::SatelliteState want = textbook(e, t);
            for (int k = 0; k < 3; ++k)
                ASSERT_NEAR(got.position[size_t(k)], want.position[size_t(k)], 1e-6)
                    << eph.system << eph.number << " axis " << k << " at " << dt << " s, M0 " << m0;
            ASSERT_NEAR(got.clock, want.clock, 1e-15) << eph.system << eph.number << " at " << dt;
            ASSERT_EQ(quality::keplerClock(e, t), got.clock);
        }
    }
}

TEST(BroadcastOrbits, GpsOrbitAgreesWithTheTextbookForm) {
    expectSame(orbit('G', 5, 5153.7, 0.0183, 0.963));
}

TEST(BroadcastOrbits, GalileoOrbitAgreesWithTheTextbookForm) {
    expectSame(orbit('E', 11, 5440.6, 0.0002, 0.977));
}

TEST(BroadcastOrbits, BeidouGeostationaryAndInclinedOrbitsAgreeWithTheTextbookForm) {
    expectSame(orbit('C', 3, 6493.4, 0.0006, 0.012));
    expectSame(orbit('C', 8, 6493.3, 0.0061, 0.958));
    expectSame(orbit('C', 25, 5282.6, 0.0009, 0.964));
}

TEST(BroadcastOrbits, EccentricQzssOrbitAgreesWithTheTextbookForm) {
    expectSame(orbit('J', 2, 6493.4, 0.0751, 0.716));
}

TEST(BroadcastOrbits, FarMoreEccentricOrbitStillAgrees) {
    // Newton's steps converge for any ellipse; no navigation orbit comes near this one.
    expectSame(orbit('J', 7, 6493.4, 0.6, 0.716));
}

} // namespace
