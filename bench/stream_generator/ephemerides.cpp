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

// Keplerian elements of a circular model orbit at the reference time, for a receiver that
// computes the mean motion with the system's gravitational constant mu and turns the Earth
// at the system's rate earthRotation. The model's orbit plane is fixed in inertial space, so
// the node moves only by the difference between the model's and the system's Earth rotation.
struct Elements {
    double sqrtA, m0, omega, omega0, i0, deltaN, omegaDot, n;
};

Elements elementsOf(const Satellite& sat, double tModel, double toeOfWeek, double mu, double earthRotation) {
    Elements e;
    e.sqrtA = std::sqrt(sat.radius);
    e.n = sat.meanMotion();
    e.deltaN = e.n - std::sqrt(mu / (sat.radius * sat.radius * sat.radius));
    e.omega = 0.3; // any perigee does for a circle; the mean anomaly takes the rest
    e.m0 = wrapAngle(sat.phase + e.n * tModel - e.omega);
    // The node's Earth-fixed longitude at toe plus the turn the receiver takes off for toe.
    e.omega0 = wrapAngle(sat.node - kEarthRotation * tModel + earthRotation * toeOfWeek);
    e.omegaDot = earthRotation - kEarthRotation;
    e.i0 = sat.inclination;
    return e;
}

// Reference time of the record valid at model time t: the start of its update period in the
// system's own seconds of week (offset seconds behind GPS time), whole seconds.
double referenceTime(const StreamClock& clock, double t, double period, double offset, double& tModelAtReference,
                     int& week) {
    double sow = 0;
    clock.at(t, week, sow);
    sow -= offset;
    if (sow < 0) {
        sow += kSecondsPerWeek;
        --week;
    }
    const double reference = std::floor(std::floor(sow / period) * period);
    tModelAtReference = t - (sow - reference);
    return reference;
}

encoding::Bytes gpsFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int week = 0;
    if (period <= 0) period = 7200.0;
    const double toe = referenceTime(clock, t, period, 0, tRef, week);
    const Elements el = elementsOf(sat, tRef, toe, gnss::kGpsGravitation, kEarthRotation);
    decoding::GpsEphemeris e{};
    e.satellite = uint32_t(sat.number);
    double sow = 0;
    int frameWeek = 0;
    clock.at(t, frameWeek, sow);
    e.tow = std::floor(sow / 6.0) * 6.0;
    e.health = 0;
    e.iode1 = e.iode2 = e.iodc = uint32_t(toe / period) % 256;
    e.week = e.zWeek = uint32_t(week);
    e.toe = toe;
    e.toc = toe;
    e.a = sat.radius;
    e.deltaN = el.deltaN;
    e.m0 = el.m0;
    e.eccentricity = 0;
    e.omega = el.omega;
    e.i0 = el.i0;
    e.iDot = 0;
    e.omega0 = el.omega0;
    e.omegaDot = el.omegaDot;
    e.tgd = sat.groupDelay;
    e.af0 = sat.clock(tRef);
    e.af1 = sat.clockDrift;
    e.af2 = 0;
    e.antiSpoofing = 1;
    e.correctedMeanMotion = el.n;
    e.uraVariance = 4.0;
    return encoding::encodeLogFrame(e, clock.stamp(t));
}

// Acceleration that the receiver's integration (central field and J2 of the GLONASS frame)
// lacks to follow the model's pure central field at p: the broadcast lunisolar term.
Vec3 glonassCorrection(const Vec3& p) {
    const double r2 = p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
    const double r = std::sqrt(r2);
    const double r3 = r2 * r, r5 = r3 * r2;
    const double a2 = gnss::kGlonassEarthRadius * gnss::kGlonassEarthRadius;
    const double j = 1.5 * gnss::kGlonassJ2 * gnss::kGlonassGravitation * a2 / r5;
    const double zz = 5 * p[2] * p[2] / r2;
    const double central = (gnss::kGlonassGravitation - kEarthGravitation) / r3;
    return {p[0] * (central + j * (1 - zz)), p[1] * (central + j * (1 - zz)), p[2] * (central + j * (3 - zz))};
}

encoding::Bytes glonassFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int utcWeek = 0;
    if (period <= 0) period = 1800.0;
    // Records are referred to the middle of their interval (30 minutes usually) on the UTC
    // grid, as the system's frames are.
    const double half = std::floor(period / 2);
    const double utcReference = referenceTime(clock, t, period, kLeapSeconds, tRef, utcWeek) + half;
    tRef += half;
    // The board gives the reference time in GPS time.
    int week = utcWeek;
    double boardReference = utcReference + kLeapSeconds;
    if (boardReference < 0) {
        boardReference += kSecondsPerWeek;
        --week;
    } else if (boardReference >= kSecondsPerWeek) {
        boardReference -= kSecondsPerWeek;
        ++week;
    }
    decoding::GlonassEphemeris e{};
    e.slot = uint16_t(sat.number + 37);
    e.frequency = uint16_t(sat.glonassChannel + 7);
    e.satelliteType = 1;
    e.week = uint16_t(week);
    e.referenceTime = uint32_t(std::llround(boardReference * 1000.0));
    e.timeOffset = uint32_t(gnss::kGlonassSecondsAheadOfUtc - kLeapSeconds);
    const double moscow = utcReference + kGlonassAheadOfUtc;
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
    const Vec3 a = glonassCorrection(p);
    e.ax = a[0];
    e.ay = a[1];
    e.az = a[2];
    // The clock is -tauN + gammaN (t - tb).
    e.tauN = -sat.clock(tRef);
    e.deltaTauN = 0;
    e.gammaN = sat.clockDrift;
    e.tk = uint32_t(std::fmod(moscow - 900.0 - 30.0 + kSecondsPerDay, kSecondsPerDay));
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
    const double toe = referenceTime(clock, t, period, 0, tRef, week);
    const Elements el = elementsOf(sat, tRef, toe, kEarthGravitation, kEarthRotation);
    decoding::GalileoInavEphemeris e{};
    e.satellite = uint32_t(sat.number);
    e.iodNav = uint16_t(uint32_t(toe / period) % 1024);
    e.sisaIndex = 107;
    e.inavSource = 1;
    e.toe = uint32_t(toe);
    e.toc = uint32_t(toe);
    e.m0 = el.m0;
    e.deltaN = el.deltaN;
    e.eccentricity = 0;
    e.sqrtA = el.sqrtA;
    e.i0 = el.i0;
    e.iDot = 0;
    e.omega0 = el.omega0;
    e.omega = el.omega;
    e.omegaDot = el.omegaDot;
    e.af0 = sat.clock(tRef);
    e.af1 = sat.clockDrift;
    e.af2 = 0;
    // Delays that scale with the inverse square of the frequency give both group delays alike.
    e.bgdE5aE1 = sat.groupDelay;
    e.bgdE5bE1 = sat.groupDelay;
    return encoding::encodeLogFrame(e, clock.stamp(t));
}

encoding::Bytes beidouFrame(const Satellite& sat, const StreamClock& clock, double t, double period) {
    double tRef = 0;
    int week = 0;
    if (period <= 0) period = 3600.0;
    // BeiDou time, aligned to whole periods of BeiDou time.
    const double toe = referenceTime(clock, t, period, kBeidouTimeOffset, tRef, week);
    const int beidouWeek = week - kBeidouWeekOffset;
    const Elements el = elementsOf(sat, tRef, toe, gnss::kBeidouGravitation, gnss::kBeidouEarthRotationRate);
    decoding::BeidouEphemeris e{};
    e.satellite = uint32_t(sat.number);
    e.week = uint32_t(beidouWeek);
    e.ura = 2.0;
    e.health = 0;
    e.tgd1 = sat.groupDelay;
    e.tgd2 = sat.groupDelay2;
    e.aodc = uint32_t(toe / period) % 32;
    e.toc = uint32_t(toe);
    e.a0 = sat.clock(tRef);
    e.a1 = sat.clockDrift;
    e.a2 = 0;
    e.aode = e.aodc;
    e.toe = uint32_t(toe);
    e.sqrtA = el.sqrtA;
    e.eccentricity = 0;
    e.omega = el.omega;
    e.deltaN = el.deltaN;
    e.m0 = el.m0;
    e.omega0 = el.omega0;
    e.omegaDot = el.omegaDot;
    e.i0 = el.i0;
    e.iDot = 0;
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
    for (size_t i = 0; i < 4; ++i) {
        p.alpha[i] = kKlobucharAlpha[i];
        p.beta[i] = kKlobucharBeta[i];
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
