// SPDX-License-Identifier: MIT
#pragma once
// Physical and GNSS constants shared by the decoders, the writer, the generators and the tests.
#include <cstdint>

namespace gnss {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;                // rad
constexpr double kSpeedOfLight = 299792458.0;          // m/s
constexpr double kEarthRotationRate = 7.2921151467e-5; // rad/s
// Earth's gravitational constant GM, m^3/s^2; the broadcast orbits of BeiDou and Galileo
// use this value, those of GPS an older, rounder one.
constexpr double kEarthGravitation = 3.986004418e14;
constexpr double kBeidouGravitation = kEarthGravitation;
constexpr double kGpsGravitation = 3.986005e14;
// GLONASS orbits: their own GM, Earth radius and second zonal harmonic (PZ-90).
constexpr double kGlonassGravitation = 3.9860044e14;
constexpr double kGlonassEarthRadius = 6378136.0; // m
constexpr double kGlonassJ2 = 1.0826257e-3;
// BeiDou orbits turn the Earth at a slightly rounder rate.
constexpr double kBeidouEarthRotationRate = 7.292115e-5; // rad/s
// The satellite clock's relativistic term: F = -2 sqrt(GM) / c^2, s/m^0.5.
constexpr double kRelativityF = -4.442807633e-10;

// The WGS 84 ellipsoid of the receiver positions.
constexpr double kWgs84SemiMajorAxis = 6378137.0; // m
constexpr double kWgs84Flattening = 1.0 / 298.257223563;
constexpr double kWgs84EccentricitySquared = kWgs84Flattening * (2.0 - kWgs84Flattening);

// Carrier frequencies, Hz.
constexpr uint32_t kFrequencyL1 = 1575420000u;  // GPS L1, Galileo E1, BeiDou B1C, QZSS, SBAS
constexpr uint32_t kFrequencyL2 = 1227600000u;  // GPS L2, QZSS L2
constexpr uint32_t kFrequencyL5 = 1176450000u;  // GPS L5, Galileo E5a, BeiDou B2a, QZSS, NavIC
constexpr uint32_t kFrequencyE6 = 1278750000u;  // Galileo E6, QZSS L6
constexpr uint32_t kFrequencyE5b = 1207140000u; // Galileo E5b, BeiDou B2
constexpr uint32_t kFrequencyE5 = 1191795000u;  // Galileo E5 (a+b)
constexpr uint32_t kFrequencyB1 = 1561098000u;  // BeiDou B1
constexpr uint32_t kFrequencyB3 = 1268520000u;  // BeiDou B3
// GLONASS bands: a base frequency plus the satellite's channel k times a step.
constexpr uint32_t kFrequencyG1 = 1602000000u;
constexpr uint32_t kFrequencyG2 = 1246000000u;
constexpr uint32_t kFrequencyG3 = 1202025000u; // one frequency for all channels
constexpr double kChannelStepG1 = 562500.0;
constexpr double kChannelStepG2 = 437500.0;

// System times.
constexpr int kBeidouWeekOffset = 1356;          // GPS week in which BeiDou week 0 began
constexpr int kBeidouSecondsBehindGps = 14;      // BeiDou time = GPS time - 14 s
constexpr int kGlonassSecondsAheadOfUtc = 10800; // GLONASS time is Moscow time, UTC + 3 h

} // namespace gnss
