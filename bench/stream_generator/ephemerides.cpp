// SPDX-License-Identifier: MIT
#include "stream_generator/ephemerides.h"

#include <cmath>

#include "decoding/log_header.h"
#include "encoder/nav_encoder.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace bench {

namespace {

using gnss::kBeidouWeekOffset;
using gnss::kPi;
constexpr double kSecondsPerWeek = double(gnss::kSecondsPerWeek);
constexpr double kBeidouTimeOffset = gnss::kBeidouSecondsBehindGps;
constexpr double kGlonassAheadOfUtc = gnss::kGlonassSecondsAheadOfUtc;
constexpr double kSecondsPerDay = double(gnss::kSecondsPerDay);

double wrapAngle(double a) {
    return a - 2.0 * kPi * std::floor((a + kPi) / (2.0 * kPi));
}

// Keplerian elements of a circular model orbit at the reference time.
struct Elements {
    double sqrtA, m0, omega, omega0, i0, n;
};

Elements elementsOf(const Satellite& sat, double tModel, double toeSeconds) {
    Elements e;
    e.sqrtA = std::sqrt(sat.radius);
    e.n = sat.meanMotion();
    e.omega = 0.3;
    e.m0 = wrapAngle(sat.phase + e.n * tModel - e.omega);
    // The node's Earth-fixed longitude at toe, written as the broadcast form expects it.
    e.omega0 = wrapAngle(sat.node - kEarthRotation * tModel + kEarthRotation * toeSeconds);
    e.i0 = sat.inclination;
    return e;
}

// Reference time of the record valid at model time t: the start of its update period.
double referenceTime(const StreamClock& clock, double t, double period, double& tModelAtReference,
                     int& week) {
    double sow = 0;
    clock.at(t, week, sow);
    const double reference = std::floor(sow / period) * period;
    tModelAtReference = t - (sow - reference);
    return reference;
}

encoding::Bytes gpsFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int week = 0;
    if (period <= 0) period = 7200.0;
    const double toe = referenceTime(clock, t, period, tRef, week);
    const Elements el = elementsOf(sat, tRef, toe);
    decoding::GpsEphemeris e{};
    e.satellite = uint32_t(sat.number);
    double sow = 0;
    clock.at(t, week, sow);
    e.tow = std::floor(sow / 6.0) * 6.0;
    e.health = 0;
    e.iode1 = e.iode2 = e.iodc = uint32_t(toe / period) % 256;
    e.week = e.zWeek = uint32_t(week);
    e.toe = toe;
    e.toc = toe;
    e.a = sat.radius;
    e.deltaN = 4.3e-9;
    e.m0 = el.m0;
    e.eccentricity = 0.0042 + 0.0003 * (sat.number % 7);
    e.omega = el.omega;
    e.cuc = -1.2e-6;
    e.cus = 8.1e-6;
    e.crc = 215.5;
    e.crs = -21.3;
    e.cic = 5.6e-8;
    e.cis = -3.7e-8;
    e.i0 = el.i0;
    e.iDot = 2.1e-10;
    e.omega0 = el.omega0;
    e.omegaDot = -8.0e-9;
    e.tgd = -1.1e-8;
    e.af0 = 1.0e-5 * (sat.number % 11 - 5);
    e.af1 = -3.4e-12;
    e.af2 = 0;
    e.antiSpoofing = 1;
    e.correctedMeanMotion = el.n + e.deltaN;
    e.uraVariance = 4.0;
    return encoding::encodeLogFrame(e, clock.stamp(t));
}

encoding::Bytes glonassFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int week = 0;
    if (period <= 0) period = 1800.0;
    // Records are referred to the middle of their interval (30 minutes usually).
    const double reference = referenceTime(clock, t, period, tRef, week) + period / 2;
    tRef += period / 2;
    decoding::GlonassEphemeris e{};
    e.slot = uint16_t(sat.number + 37);
    e.frequency = uint16_t(sat.glonassChannel + 7);
    e.satelliteType = 1;
    e.week = uint16_t(week);
    e.referenceTime = uint32_t(std::llround(reference * 1000.0));
    e.timeOffset = uint32_t(gnss::kGlonassSecondsAheadOfUtc - kLeapSeconds);
    const double moscow = reference - kLeapSeconds + kGlonassAheadOfUtc;
    e.issue = uint32_t(std::fmod(moscow, kSecondsPerDay) / 900.0);
    e.dayNumber = uint16_t(1 + int(std::floor(moscow / kSecondsPerDay)) % 1461);
    e.health = 0;
    const Vec3 p = sat.position(tRef), v = sat.velocity(tRef);
    e.x = p[0];
    e.y = p[1];
    e.z = p[2];
    e.vx = v[0];
    e.vy = v[1];
    e.vz = v[2];
    e.ax = e.ay = 0;
    e.az = -2.8e-6;
    e.tauN = 2.0e-5 * (sat.number % 5 - 2);
    e.deltaTauN = 0;
    e.gammaN = 9.1e-13;
    e.tk = uint32_t(std::fmod(moscow - 900.0 - 30.0, kSecondsPerDay));
    e.pFlags = 0;
    e.ft = 2;
    e.ageOfData = 0;
    e.flags = 0;
    return encoding::encodeLogFrame(e, clock.stamp(t));
}

encoding::Bytes galileoFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int week = 0;
    if (period <= 0) period = 600.0;
    const double toe = referenceTime(clock, t, period, tRef, week);
    const Elements el = elementsOf(sat, tRef, toe);
    decoding::GalileoInavEphemeris e{};
    e.satellite = uint32_t(sat.number);
    e.iodNav = uint16_t(uint32_t(toe / period) % 1024);
    e.sisaIndex = 107;
    e.inavSource = 1;
    e.toe = uint32_t(toe);
    e.toc = uint32_t(toe);
    e.m0 = el.m0;
    e.deltaN = 3.1e-9;
    e.eccentricity = 0.0002 + 0.0001 * (sat.number % 5);
    e.sqrtA = el.sqrtA;
    e.i0 = el.i0;
    e.iDot = -1.5e-10;
    e.omega0 = el.omega0;
    e.omega = el.omega;
    e.omegaDot = -5.6e-9;
    e.cuc = 3.4e-6;
    e.cus = 7.2e-6;
    e.crc = 180.2;
    e.crs = 70.4;
    e.cic = 2.2e-8;
    e.cis = -1.9e-8;
    e.af0 = -2.0e-4 + 1.0e-5 * (sat.number % 9);
    e.af1 = -7.1e-12;
    e.af2 = 0;
    e.bgdE5aE1 = 2.3e-9;
    e.bgdE5bE1 = 2.6e-9;
    return encoding::encodeLogFrame(e, clock.stamp(t));
}

encoding::Bytes beidouFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int week = 0;
    if (period <= 0) period = 3600.0;
    const double toeGps = referenceTime(clock, t, period, tRef, week);
    double toe = toeGps - kBeidouTimeOffset; // BeiDou time, aligned to whole hours of BeiDou time
    int beidouWeek = week - kBeidouWeekOffset;
    if (toe < 0) {
        toe += kSecondsPerWeek;
        --beidouWeek;
    }
    const Elements el = elementsOf(sat, tRef, toeGps);
    decoding::BeidouEphemeris e{};
    e.satellite = uint32_t(sat.number);
    e.week = uint32_t(beidouWeek);
    e.ura = 2.0;
    e.health = 0;
    e.tgd1 = 4.5e-9;
    e.tgd2 = -2.1e-9;
    e.aodc = uint32_t(toe / period) % 32;
    e.toc = uint32_t(toe);
    e.a0 = 3.0e-4 * ((sat.number % 7) - 3) / 3.0;
    e.a1 = 1.2e-11;
    e.a2 = 0;
    e.aode = e.aodc;
    e.toe = uint32_t(toe);
    e.sqrtA = el.sqrtA;
    e.eccentricity = 0.0006 + 0.0001 * (sat.number % 4);
    e.omega = el.omega;
    e.deltaN = 3.9e-9;
    e.m0 = el.m0;
    e.omega0 = el.omega0;
    e.omegaDot = -6.7e-9;
    e.i0 = el.i0;
    e.iDot = 1.7e-10;
    e.cuc = -2.6e-6;
    e.cus = 9.5e-6;
    e.crc = 160.6;
    e.crs = -40.2;
    e.cic = -8.4e-9;
    e.cis = 3.1e-8;
    return encoding::encodeLogFrame(e, clock.stamp(t));
}

} // namespace

void StreamClock::at(double t, int& week, double& secondsOfWeek) const {
    const double total = startSeconds + t;
    const double weeks = std::floor(total / kSecondsPerWeek);
    week = this->week + int(weeks);
    secondsOfWeek = total - weeks * kSecondsPerWeek;
}

encoding::FrameStamp StreamClock::stamp(double t) const {
    int w = 0;
    double sow = 0;
    at(t, w, sow);
    encoding::FrameStamp s;
    s.week = uint16_t(w);
    s.milliseconds = uint32_t(std::llround(sow * 1000.0));
    if (s.milliseconds >= 604800000u) { // rounding up to the next week
        s.milliseconds -= 604800000u;
        ++s.week;
    }
    return s;
}

encoding::Bytes ephemerisFrame(const Satellite& satellite, const StreamClock& clock, double t,
                               double period) {
    switch (satellite.system) {
    case decoding::SystemGps:
        return gpsFrame(satellite, clock, t, period);
    case decoding::SystemGlonass:
        return glonassFrame(satellite, clock, t, period);
    case decoding::SystemGalileo:
        return galileoFrame(satellite, clock, t, period);
    case decoding::SystemBeidou:
        return beidouFrame(satellite, clock, t, period);
    default:
        return {};
    }
}

encoding::Bytes ionoUtcFrame(const StreamClock& clock, double t) {
    decoding::IonoUtcParameters p{};
    const double alpha[4] = {1.1176e-8, 7.4506e-9, -5.9605e-8, -5.9605e-8};
    const double beta[4] = {90112.0, 0.0, -196608.0, -65536.0};
    for (int i = 0; i < 4; ++i) {
        p.alpha[i] = alpha[i];
        p.beta[i] = beta[i];
    }
    int week = 0;
    double sow = 0;
    clock.at(t, week, sow);
    p.utcWeek = uint32_t(week);
    p.utcTime = 61440;
    p.a0 = 1.86264514923e-9;
    p.a1 = 8.881784197e-16;
    p.leapWeek = 1929;
    p.leapDay = 7;
    p.leapSeconds = kLeapSeconds;
    p.leapSecondsFuture = kLeapSeconds;
    return encoding::encodeLogFrame(p, clock.stamp(t), decoding::LogIonUtc);
}

encoding::Bytes positionFrame(const SkyOptions& sky, const StreamClock& clock, double t) {
    decoding::PositionSolution p{};
    p.solutionStatus = 0;
    p.positionType = 16; // single point
    p.latitude = sky.latitude + 1e-6 * std::sin(t / 97.0);
    p.longitude = sky.longitude + 1e-6 * std::cos(t / 83.0);
    p.height = sky.height - 48.2;
    p.undulation = 48.2f;
    p.datumId = 61;
    p.latitudeStd = 1.1f;
    p.longitudeStd = 0.9f;
    p.heightStd = 2.3f;
    p.solutionAge = 0;
    p.satellitesTracked = 38;
    p.satellitesInSolution = 32;
    return encoding::encodeLogFrame(p, clock.stamp(t));
}

encoding::Bytes timeFrame(const StreamClock& clock, double t) {
    decoding::TimeSolution s{};
    s.clockStatus = 0;
    s.receiverClockOffset = 1.2e-9;
    s.utcOffset = -double(kLeapSeconds);
    // The calendar fields are informative only; the converter takes the offset.
    s.utcYear = 2024;
    s.utcMonth = 2;
    s.utcDay = 8;
    s.utcStatus = 1;
    return encoding::encodeLogFrame(s, clock.stamp(t));
}

} // namespace bench
