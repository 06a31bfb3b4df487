#pragma once
// Physical and system constants the quality check needs, in one place.
namespace quality {

constexpr double kSpeedOfLight = 299792458.0;        // m/s
constexpr double kPi = 3.1415926535897932;           // as used by the broadcast orbit algorithms
constexpr double kEarthRotation = 7.2921151467e-5;   // rad/s (GPS, Galileo, GLONASS)
constexpr double kEarthRotationBds = 7.292115e-5;    // rad/s
constexpr double kMuGps = 3.986005e14;               // m^3/s^2
constexpr double kMuGalileo = 3.986004418e14;        // m^3/s^2
constexpr double kMuBds = 3.986004418e14;            // m^3/s^2
constexpr double kMuGlonass = 3.9860044e14;          // m^3/s^2
constexpr double kRelativityF = -4.442807633e-10;    // s/m^0.5, -2 sqrt(mu)/c^2
constexpr double kGlonassEarthRadius = 6378136.0;    // m
constexpr double kGlonassJ2 = 1.0826257e-3;
constexpr double kWgs84A = 6378137.0;                // m
constexpr double kWgs84F = 1.0 / 298.257223563;

constexpr double kSecondsPerWeek = 604800.0;
constexpr double kBdsOffsetSeconds = 14.0;           // GPS time minus BeiDou time
constexpr int kBdsWeekOffset = 1356;                 // GPS week of BeiDou week 0

// Carrier frequencies, Hz.
constexpr double kFreqL1 = 1575.42e6;
constexpr double kFreqL2 = 1227.60e6;
constexpr double kFreqL5 = 1176.45e6;
constexpr double kFreqE6 = 1278.75e6;
constexpr double kFreqE5b = 1207.14e6;
constexpr double kFreqE5 = 1191.795e6;
constexpr double kFreqB1I = 1561.098e6;
constexpr double kFreqB3 = 1268.52e6;
constexpr double kFreqG1 = 1602.0e6;
constexpr double kFreqG1Step = 0.5625e6;
constexpr double kFreqG2 = 1246.0e6;
constexpr double kFreqG2Step = 0.4375e6;
constexpr double kFreqG3 = 1202.025e6;

} // namespace quality
