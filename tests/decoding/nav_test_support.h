// SPDX-License-Identifier: MIT
#pragma once
// Shared by the ephemeris, ionosphere/UTC, position and time decoder tests: running a
// decoder on an encoded frame, records with a distinct value in every field, and
// field-by-field comparison (floating values compared bit for bit).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/position_time.h"
#include "encoder/board_frame.h"

namespace navtest {

// Reads the frame's header and hands the frame to the decoder; a header that does not
// read gives 100 plus its own code, so that it cannot pass for a decoder result.
template <class Record, class Decoder>
int decodeFrame(const encoding::Bytes& frame, Decoder decode, Record& record) {
    decoding::LogHeader header{};
    const int headerResult = decoding::readLogHeader(frame.data(), uint32_t(frame.size()), header);
    if (headerResult != 0) return 100 + headerResult;
    return decode(frame.data(), header, record);
}

// A frame around a body of zeros of the given size.
inline encoding::Bytes zeroBodyFrame(uint16_t messageId, size_t bodySize) {
    return encoding::boardFrame(messageId, encoding::FrameStamp{}, encoding::Bytes(bodySize, 0));
}

inline bool same(double a, double b) {
    uint64_t x, y;
    std::memcpy(&x, &a, 8);
    std::memcpy(&y, &b, 8);
    return x == y;
}
inline bool same(float a, float b) {
    uint32_t x, y;
    std::memcpy(&x, &a, 4);
    std::memcpy(&y, &b, 4);
    return x == y;
}
inline bool same(uint32_t a, uint32_t b) {
    return a == b;
}
inline bool same(uint16_t a, uint16_t b) {
    return a == b;
}
inline bool same(uint8_t a, uint8_t b) {
    return a == b;
}

#define NAV_EXPECT_FIELD(expected, actual, field)                                                            \
    EXPECT_TRUE(::navtest::same((expected).field, (actual).field))                                           \
        << #field << ": expected " << +(expected).field << ", got " << +(actual).field

// Hands out a different value on every call, with no zero byte in the integers and a
// different magnitude and sign pattern in the floating values.
class Distinct {
public:
    double f64() {
        ++n_;
        const double sign = (n_ % 2) ? 1.0 : -1.0;
        double scale = 1.0;
        for (uint32_t i = 0; i < n_ % 9; ++i)
            scale *= 10.0;
        return sign * (n_ + 0.125 + n_ / 1024.0) * scale / 10000.0;
    }
    float f32() { return float(f64()); }
    uint32_t u32() { return 0x01030201u * ++n_; }
    uint16_t u16() { return uint16_t(0x0101u * ++n_); }
    uint8_t u8() { return uint8_t(++n_); }

private:
    uint32_t n_ = 0;
};

inline decoding::GpsEphemeris distinctGpsEphemeris() {
    Distinct d;
    decoding::GpsEphemeris r{};
    r.satellite = d.u32();
    r.tow = d.f64();
    r.health = d.u32();
    r.iode1 = d.u32();
    r.iode2 = d.u32();
    r.week = d.u32();
    r.zWeek = d.u32();
    r.toe = d.f64();
    r.a = d.f64();
    r.deltaN = d.f64();
    r.m0 = d.f64();
    r.eccentricity = d.f64();
    r.omega = d.f64();
    r.cuc = d.f64();
    r.cus = d.f64();
    r.crc = d.f64();
    r.crs = d.f64();
    r.cic = d.f64();
    r.cis = d.f64();
    r.i0 = d.f64();
    r.iDot = d.f64();
    r.omega0 = d.f64();
    r.omegaDot = d.f64();
    r.iodc = d.u32();
    r.toc = d.f64();
    r.tgd = d.f64();
    r.af0 = d.f64();
    r.af1 = d.f64();
    r.af2 = d.f64();
    r.antiSpoofing = d.u32();
    r.correctedMeanMotion = d.f64();
    r.uraVariance = d.f64();
    return r;
}

inline void expectSameBody(const decoding::GpsEphemeris& e, const decoding::GpsEphemeris& a) {
    NAV_EXPECT_FIELD(e, a, satellite);
    NAV_EXPECT_FIELD(e, a, tow);
    NAV_EXPECT_FIELD(e, a, health);
    NAV_EXPECT_FIELD(e, a, iode1);
    NAV_EXPECT_FIELD(e, a, iode2);
    NAV_EXPECT_FIELD(e, a, week);
    NAV_EXPECT_FIELD(e, a, zWeek);
    NAV_EXPECT_FIELD(e, a, toe);
    NAV_EXPECT_FIELD(e, a, a);
    NAV_EXPECT_FIELD(e, a, deltaN);
    NAV_EXPECT_FIELD(e, a, m0);
    NAV_EXPECT_FIELD(e, a, eccentricity);
    NAV_EXPECT_FIELD(e, a, omega);
    NAV_EXPECT_FIELD(e, a, cuc);
    NAV_EXPECT_FIELD(e, a, cus);
    NAV_EXPECT_FIELD(e, a, crc);
    NAV_EXPECT_FIELD(e, a, crs);
    NAV_EXPECT_FIELD(e, a, cic);
    NAV_EXPECT_FIELD(e, a, cis);
    NAV_EXPECT_FIELD(e, a, i0);
    NAV_EXPECT_FIELD(e, a, iDot);
    NAV_EXPECT_FIELD(e, a, omega0);
    NAV_EXPECT_FIELD(e, a, omegaDot);
    NAV_EXPECT_FIELD(e, a, iodc);
    NAV_EXPECT_FIELD(e, a, toc);
    NAV_EXPECT_FIELD(e, a, tgd);
    NAV_EXPECT_FIELD(e, a, af0);
    NAV_EXPECT_FIELD(e, a, af1);
    NAV_EXPECT_FIELD(e, a, af2);
    NAV_EXPECT_FIELD(e, a, antiSpoofing);
    NAV_EXPECT_FIELD(e, a, correctedMeanMotion);
    NAV_EXPECT_FIELD(e, a, uraVariance);
}

inline decoding::GlonassEphemeris distinctGlonassEphemeris() {
    Distinct d;
    decoding::GlonassEphemeris r{};
    r.slot = d.u16();
    r.frequency = d.u16();
    r.satelliteType = d.u8();
    r.week = d.u16();
    r.referenceTime = d.u32();
    r.timeOffset = d.u32();
    r.dayNumber = d.u16();
    r.issue = d.u32();
    r.health = d.u32();
    r.x = d.f64();
    r.y = d.f64();
    r.z = d.f64();
    r.vx = d.f64();
    r.vy = d.f64();
    r.vz = d.f64();
    r.ax = d.f64();
    r.ay = d.f64();
    r.az = d.f64();
    r.tauN = d.f64();
    r.deltaTauN = d.f64();
    r.gammaN = d.f64();
    r.tk = d.u32();
    r.pFlags = d.u32();
    r.ft = d.u32();
    r.ageOfData = d.u32();
    r.flags = d.u32();
    return r;
}

inline void expectSameBody(const decoding::GlonassEphemeris& e, const decoding::GlonassEphemeris& a) {
    NAV_EXPECT_FIELD(e, a, slot);
    NAV_EXPECT_FIELD(e, a, frequency);
    NAV_EXPECT_FIELD(e, a, satelliteType);
    NAV_EXPECT_FIELD(e, a, week);
    NAV_EXPECT_FIELD(e, a, referenceTime);
    NAV_EXPECT_FIELD(e, a, timeOffset);
    NAV_EXPECT_FIELD(e, a, dayNumber);
    NAV_EXPECT_FIELD(e, a, issue);
    NAV_EXPECT_FIELD(e, a, health);
    NAV_EXPECT_FIELD(e, a, x);
    NAV_EXPECT_FIELD(e, a, y);
    NAV_EXPECT_FIELD(e, a, z);
    NAV_EXPECT_FIELD(e, a, vx);
    NAV_EXPECT_FIELD(e, a, vy);
    NAV_EXPECT_FIELD(e, a, vz);
    NAV_EXPECT_FIELD(e, a, ax);
    NAV_EXPECT_FIELD(e, a, ay);
    NAV_EXPECT_FIELD(e, a, az);
    NAV_EXPECT_FIELD(e, a, tauN);
    NAV_EXPECT_FIELD(e, a, deltaTauN);
    NAV_EXPECT_FIELD(e, a, gammaN);
    NAV_EXPECT_FIELD(e, a, tk);
    NAV_EXPECT_FIELD(e, a, pFlags);
    NAV_EXPECT_FIELD(e, a, ft);
    NAV_EXPECT_FIELD(e, a, ageOfData);
    NAV_EXPECT_FIELD(e, a, flags);
}

inline decoding::IonoUtcParameters distinctIonoUtc() {
    Distinct d;
    decoding::IonoUtcParameters r{};
    for (double& v : r.alpha)
        v = d.f64();
    for (double& v : r.beta)
        v = d.f64();
    r.utcWeek = d.u32();
    r.utcTime = d.u32();
    r.a0 = d.f64();
    r.a1 = d.f64();
    r.leapWeek = d.u32();
    r.leapDay = d.u32();
    r.leapSeconds = d.u32();
    r.leapSecondsFuture = d.u32();
    r.last = d.u32();
    return r;
}

inline void expectSameBody(const decoding::IonoUtcParameters& e, const decoding::IonoUtcParameters& a) {
    for (int i = 0; i < 4; ++i) {
        NAV_EXPECT_FIELD(e, a, alpha[i]) << " (index " << i << ")";
        NAV_EXPECT_FIELD(e, a, beta[i]) << " (index " << i << ")";
    }
    NAV_EXPECT_FIELD(e, a, utcWeek);
    NAV_EXPECT_FIELD(e, a, utcTime);
    NAV_EXPECT_FIELD(e, a, a0);
    NAV_EXPECT_FIELD(e, a, a1);
    NAV_EXPECT_FIELD(e, a, leapWeek);
    NAV_EXPECT_FIELD(e, a, leapDay);
    NAV_EXPECT_FIELD(e, a, leapSeconds);
    NAV_EXPECT_FIELD(e, a, leapSecondsFuture);
    NAV_EXPECT_FIELD(e, a, last);
}

inline decoding::Bd2Ephemeris distinctBd2Ephemeris() {
    Distinct d;
    decoding::Bd2Ephemeris r{};
    r.satellite = d.u32();
    r.tow = d.f64();
    r.health = d.u32();
    r.aode = d.u32();
    r.week = d.u32();
    r.week2 = d.u32();
    r.toe = d.f64();
    r.a = d.f64();
    r.deltaN = d.f64();
    r.m0 = d.f64();
    r.eccentricity = d.f64();
    r.omega = d.f64();
    r.cuc = d.f64();
    r.cus = d.f64();
    r.crc = d.f64();
    r.crs = d.f64();
    r.cic = d.f64();
    r.cis = d.f64();
    r.i0 = d.f64();
    r.iDot = d.f64();
    r.omega0 = d.f64();
    r.omegaDot = d.f64();
    r.aodc = d.u32();
    r.toc = d.f64();
    r.tgd1 = d.f64();
    r.a0 = d.f64();
    r.a1 = d.f64();
    r.a2 = d.f64();
    r.tgd2 = d.f64();
    r.antiSpoofing = d.u32();
    r.correctedMeanMotion = d.f64();
    r.uraVariance = d.f64();
    return r;
}

inline void expectSameBody(const decoding::Bd2Ephemeris& e, const decoding::Bd2Ephemeris& a) {
    NAV_EXPECT_FIELD(e, a, satellite);
    NAV_EXPECT_FIELD(e, a, tow);
    NAV_EXPECT_FIELD(e, a, health);
    NAV_EXPECT_FIELD(e, a, aode);
    NAV_EXPECT_FIELD(e, a, week);
    NAV_EXPECT_FIELD(e, a, week2);
    NAV_EXPECT_FIELD(e, a, toe);
    NAV_EXPECT_FIELD(e, a, a);
    NAV_EXPECT_FIELD(e, a, deltaN);
    NAV_EXPECT_FIELD(e, a, m0);
    NAV_EXPECT_FIELD(e, a, eccentricity);
    NAV_EXPECT_FIELD(e, a, omega);
    NAV_EXPECT_FIELD(e, a, cuc);
    NAV_EXPECT_FIELD(e, a, cus);
    NAV_EXPECT_FIELD(e, a, crc);
    NAV_EXPECT_FIELD(e, a, crs);
    NAV_EXPECT_FIELD(e, a, cic);
    NAV_EXPECT_FIELD(e, a, cis);
    NAV_EXPECT_FIELD(e, a, i0);
    NAV_EXPECT_FIELD(e, a, iDot);
    NAV_EXPECT_FIELD(e, a, omega0);
    NAV_EXPECT_FIELD(e, a, omegaDot);
    NAV_EXPECT_FIELD(e, a, aodc);
    NAV_EXPECT_FIELD(e, a, toc);
    NAV_EXPECT_FIELD(e, a, tgd1);
    NAV_EXPECT_FIELD(e, a, a0);
    NAV_EXPECT_FIELD(e, a, a1);
    NAV_EXPECT_FIELD(e, a, a2);
    NAV_EXPECT_FIELD(e, a, tgd2);
    NAV_EXPECT_FIELD(e, a, antiSpoofing);
    NAV_EXPECT_FIELD(e, a, correctedMeanMotion);
    NAV_EXPECT_FIELD(e, a, uraVariance);
}

inline decoding::BeidouEphemeris distinctBeidouEphemeris() {
    Distinct d;
    decoding::BeidouEphemeris r{};
    r.satellite = d.u32();
    r.week = d.u32();
    r.ura = d.f64();
    r.health = d.u32();
    r.tgd1 = d.f64();
    r.tgd2 = d.f64();
    r.aodc = d.u32();
    r.toc = d.u32();
    r.a0 = d.f64();
    r.a1 = d.f64();
    r.a2 = d.f64();
    r.aode = d.u32();
    r.toe = d.u32();
    r.sqrtA = d.f64();
    r.eccentricity = d.f64();
    r.omega = d.f64();
    r.deltaN = d.f64();
    r.m0 = d.f64();
    r.omega0 = d.f64();
    r.omegaDot = d.f64();
    r.i0 = d.f64();
    r.iDot = d.f64();
    r.cuc = d.f64();
    r.cus = d.f64();
    r.crc = d.f64();
    r.crs = d.f64();
    r.cic = d.f64();
    r.cis = d.f64();
    return r;
}

inline void expectSameBody(const decoding::BeidouEphemeris& e, const decoding::BeidouEphemeris& a) {
    NAV_EXPECT_FIELD(e, a, satellite);
    NAV_EXPECT_FIELD(e, a, week);
    NAV_EXPECT_FIELD(e, a, ura);
    NAV_EXPECT_FIELD(e, a, health);
    NAV_EXPECT_FIELD(e, a, tgd1);
    NAV_EXPECT_FIELD(e, a, tgd2);
    NAV_EXPECT_FIELD(e, a, aodc);
    NAV_EXPECT_FIELD(e, a, toc);
    NAV_EXPECT_FIELD(e, a, a0);
    NAV_EXPECT_FIELD(e, a, a1);
    NAV_EXPECT_FIELD(e, a, a2);
    NAV_EXPECT_FIELD(e, a, aode);
    NAV_EXPECT_FIELD(e, a, toe);
    NAV_EXPECT_FIELD(e, a, sqrtA);
    NAV_EXPECT_FIELD(e, a, eccentricity);
    NAV_EXPECT_FIELD(e, a, omega);
    NAV_EXPECT_FIELD(e, a, deltaN);
    NAV_EXPECT_FIELD(e, a, m0);
    NAV_EXPECT_FIELD(e, a, omega0);
    NAV_EXPECT_FIELD(e, a, omegaDot);
    NAV_EXPECT_FIELD(e, a, i0);
    NAV_EXPECT_FIELD(e, a, iDot);
    NAV_EXPECT_FIELD(e, a, cuc);
    NAV_EXPECT_FIELD(e, a, cus);
    NAV_EXPECT_FIELD(e, a, crc);
    NAV_EXPECT_FIELD(e, a, crs);
    NAV_EXPECT_FIELD(e, a, cic);
    NAV_EXPECT_FIELD(e, a, cis);
}

inline decoding::GalileoEphemeris distinctGalileoEphemeris() {
    Distinct d;
    decoding::GalileoEphemeris r{};
    r.satellite = d.u32();
    r.fnavReceived = d.u32();
    r.inavReceived = d.u32();
    r.e1bHealth = d.u8();
    r.e5aHealth = d.u8();
    r.e5bHealth = d.u8();
    r.e1bDvs = d.u8();
    r.e5aDvs = d.u8();
    r.e5bDvs = d.u8();
    r.sisaIndex = d.u8();
    r.reserved = d.u8();
    r.iodNav = d.u32();
    r.toe = d.u32();
    r.sqrtA = d.f64();
    r.deltaN = d.f64();
    r.m0 = d.f64();
    r.eccentricity = d.f64();
    r.omega = d.f64();
    r.cuc = d.f64();
    r.cus = d.f64();
    r.crc = d.f64();
    r.crs = d.f64();
    r.cic = d.f64();
    r.cis = d.f64();
    r.i0 = d.f64();
    r.iDot = d.f64();
    r.omega0 = d.f64();
    r.omegaDot = d.f64();
    r.fnavToc = d.u32();
    r.fnavAf0 = d.f64();
    r.fnavAf1 = d.f64();
    r.fnavAf2 = d.f64();
    r.inavToc = d.u32();
    r.inavAf0 = d.f64();
    r.inavAf1 = d.f64();
    r.inavAf2 = d.f64();
    r.bgdE5aE1 = d.f64();
    r.bgdE5bE1 = d.f64();
    return r;
}

inline void expectSameBody(const decoding::GalileoEphemeris& e, const decoding::GalileoEphemeris& a) {
    NAV_EXPECT_FIELD(e, a, satellite);
    NAV_EXPECT_FIELD(e, a, fnavReceived);
    NAV_EXPECT_FIELD(e, a, inavReceived);
    NAV_EXPECT_FIELD(e, a, e1bHealth);
    NAV_EXPECT_FIELD(e, a, e5aHealth);
    NAV_EXPECT_FIELD(e, a, e5bHealth);
    NAV_EXPECT_FIELD(e, a, e1bDvs);
    NAV_EXPECT_FIELD(e, a, e5aDvs);
    NAV_EXPECT_FIELD(e, a, e5bDvs);
    NAV_EXPECT_FIELD(e, a, sisaIndex);
    NAV_EXPECT_FIELD(e, a, reserved);
    NAV_EXPECT_FIELD(e, a, iodNav);
    NAV_EXPECT_FIELD(e, a, toe);
    NAV_EXPECT_FIELD(e, a, sqrtA);
    NAV_EXPECT_FIELD(e, a, deltaN);
    NAV_EXPECT_FIELD(e, a, m0);
    NAV_EXPECT_FIELD(e, a, eccentricity);
    NAV_EXPECT_FIELD(e, a, omega);
    NAV_EXPECT_FIELD(e, a, cuc);
    NAV_EXPECT_FIELD(e, a, cus);
    NAV_EXPECT_FIELD(e, a, crc);
    NAV_EXPECT_FIELD(e, a, crs);
    NAV_EXPECT_FIELD(e, a, cic);
    NAV_EXPECT_FIELD(e, a, cis);
    NAV_EXPECT_FIELD(e, a, i0);
    NAV_EXPECT_FIELD(e, a, iDot);
    NAV_EXPECT_FIELD(e, a, omega0);
    NAV_EXPECT_FIELD(e, a, omegaDot);
    NAV_EXPECT_FIELD(e, a, fnavToc);
    NAV_EXPECT_FIELD(e, a, fnavAf0);
    NAV_EXPECT_FIELD(e, a, fnavAf1);
    NAV_EXPECT_FIELD(e, a, fnavAf2);
    NAV_EXPECT_FIELD(e, a, inavToc);
    NAV_EXPECT_FIELD(e, a, inavAf0);
    NAV_EXPECT_FIELD(e, a, inavAf1);
    NAV_EXPECT_FIELD(e, a, inavAf2);
    NAV_EXPECT_FIELD(e, a, bgdE5aE1);
    NAV_EXPECT_FIELD(e, a, bgdE5bE1);
}

inline decoding::GalileoInavEphemeris distinctGalileoInavEphemeris() {
    Distinct d;
    decoding::GalileoInavEphemeris r{};
    r.satellite = d.u32();
    r.e5bHealth = d.u8();
    r.e5bDvs = d.u8();
    r.reserved1 = d.u8();
    r.reserved2 = d.u8();
    r.e1bHealth = d.u8();
    r.e1bDvs = d.u8();
    r.reserved3 = d.u8();
    r.reserved4 = d.u8();
    r.iodNav = d.u16();
    r.sisaIndex = d.u8();
    r.inavSource = d.u8();
    r.toe = d.u32();
    r.toc = d.u32();
    r.m0 = d.f64();
    r.deltaN = d.f64();
    r.eccentricity = d.f64();
    r.sqrtA = d.f64();
    r.i0 = d.f64();
    r.iDot = d.f64();
    r.omega0 = d.f64();
    r.omega = d.f64();
    r.omegaDot = d.f64();
    r.cuc = d.f64();
    r.cus = d.f64();
    r.crc = d.f64();
    r.crs = d.f64();
    r.cic = d.f64();
    r.cis = d.f64();
    r.af0 = d.f64();
    r.af1 = d.f64();
    r.af2 = d.f64();
    r.bgdE5aE1 = d.f64();
    r.bgdE5bE1 = d.f64();
    return r;
}

// The orbit and clock part that the I/NAV and F/NAV records share.
template <class Record> void expectSameGalileoOrbit(const Record& e, const Record& a) {
    NAV_EXPECT_FIELD(e, a, satellite);
    NAV_EXPECT_FIELD(e, a, iodNav);
    NAV_EXPECT_FIELD(e, a, sisaIndex);
    NAV_EXPECT_FIELD(e, a, toe);
    NAV_EXPECT_FIELD(e, a, toc);
    NAV_EXPECT_FIELD(e, a, m0);
    NAV_EXPECT_FIELD(e, a, deltaN);
    NAV_EXPECT_FIELD(e, a, eccentricity);
    NAV_EXPECT_FIELD(e, a, sqrtA);
    NAV_EXPECT_FIELD(e, a, i0);
    NAV_EXPECT_FIELD(e, a, iDot);
    NAV_EXPECT_FIELD(e, a, omega0);
    NAV_EXPECT_FIELD(e, a, omega);
    NAV_EXPECT_FIELD(e, a, omegaDot);
    NAV_EXPECT_FIELD(e, a, cuc);
    NAV_EXPECT_FIELD(e, a, cus);
    NAV_EXPECT_FIELD(e, a, crc);
    NAV_EXPECT_FIELD(e, a, crs);
    NAV_EXPECT_FIELD(e, a, cic);
    NAV_EXPECT_FIELD(e, a, cis);
    NAV_EXPECT_FIELD(e, a, af0);
    NAV_EXPECT_FIELD(e, a, af1);
    NAV_EXPECT_FIELD(e, a, af2);
    NAV_EXPECT_FIELD(e, a, bgdE5aE1);
}

inline void expectSameBody(const decoding::GalileoInavEphemeris& e, const decoding::GalileoInavEphemeris& a) {
    expectSameGalileoOrbit(e, a);
    NAV_EXPECT_FIELD(e, a, e5bHealth);
    NAV_EXPECT_FIELD(e, a, e5bDvs);
    NAV_EXPECT_FIELD(e, a, reserved1);
    NAV_EXPECT_FIELD(e, a, reserved2);
    NAV_EXPECT_FIELD(e, a, e1bHealth);
    NAV_EXPECT_FIELD(e, a, e1bDvs);
    NAV_EXPECT_FIELD(e, a, reserved3);
    NAV_EXPECT_FIELD(e, a, reserved4);
    NAV_EXPECT_FIELD(e, a, inavSource);
    NAV_EXPECT_FIELD(e, a, bgdE5bE1);
}

inline decoding::GalileoFnavEphemeris distinctGalileoFnavEphemeris() {
    Distinct d;
    decoding::GalileoFnavEphemeris r{};
    r.satellite = d.u32();
    r.e5aHealth = d.u8();
    r.e5aDvs = d.u8();
    r.reserved1 = d.u8();
    r.reserved2 = d.u8();
    r.iodNav = d.u16();
    r.sisaIndex = d.u8();
    r.reserved3 = d.u8();
    r.toe = d.u32();
    r.toc = d.u32();
    r.m0 = d.f64();
    r.deltaN = d.f64();
    r.eccentricity = d.f64();
    r.sqrtA = d.f64();
    r.i0 = d.f64();
    r.iDot = d.f64();
    r.omega0 = d.f64();
    r.omega = d.f64();
    r.omegaDot = d.f64();
    r.cuc = d.f64();
    r.cus = d.f64();
    r.crc = d.f64();
    r.crs = d.f64();
    r.cic = d.f64();
    r.cis = d.f64();
    r.af0 = d.f64();
    r.af1 = d.f64();
    r.af2 = d.f64();
    r.bgdE5aE1 = d.f64();
    return r;
}

inline void expectSameBody(const decoding::GalileoFnavEphemeris& e, const decoding::GalileoFnavEphemeris& a) {
    expectSameGalileoOrbit(e, a);
    NAV_EXPECT_FIELD(e, a, e5aHealth);
    NAV_EXPECT_FIELD(e, a, e5aDvs);
    NAV_EXPECT_FIELD(e, a, reserved1);
    NAV_EXPECT_FIELD(e, a, reserved2);
    NAV_EXPECT_FIELD(e, a, reserved3);
}

inline decoding::PositionSolution distinctPositionSolution() {
    Distinct d;
    decoding::PositionSolution r{};
    r.solutionStatus = d.u32();
    r.positionType = d.u32();
    r.latitude = d.f64();
    r.longitude = d.f64();
    r.height = d.f64();
    r.undulation = d.f32();
    r.datumId = d.u32();
    r.latitudeStd = d.f32();
    r.longitudeStd = d.f32();
    r.heightStd = d.f32();
    for (uint8_t& b : r.stationId)
        b = d.u8();
    r.differentialAge = d.f32();
    r.solutionAge = d.f32();
    r.satellitesTracked = d.u8();
    r.satellitesInSolution = d.u8();
    r.signalMask = d.u8();
    return r;
}

inline void expectSameBody(const decoding::PositionSolution& e, const decoding::PositionSolution& a) {
    NAV_EXPECT_FIELD(e, a, solutionStatus);
    NAV_EXPECT_FIELD(e, a, positionType);
    NAV_EXPECT_FIELD(e, a, latitude);
    NAV_EXPECT_FIELD(e, a, longitude);
    NAV_EXPECT_FIELD(e, a, height);
    NAV_EXPECT_FIELD(e, a, undulation);
    NAV_EXPECT_FIELD(e, a, datumId);
    NAV_EXPECT_FIELD(e, a, latitudeStd);
    NAV_EXPECT_FIELD(e, a, longitudeStd);
    NAV_EXPECT_FIELD(e, a, heightStd);
    for (int i = 0; i < 4; ++i)
        NAV_EXPECT_FIELD(e, a, stationId[i]) << " (index " << i << ")";
    NAV_EXPECT_FIELD(e, a, differentialAge);
    NAV_EXPECT_FIELD(e, a, solutionAge);
    NAV_EXPECT_FIELD(e, a, satellitesTracked);
    NAV_EXPECT_FIELD(e, a, satellitesInSolution);
    NAV_EXPECT_FIELD(e, a, signalMask);
}

inline decoding::TimeSolution distinctTimeSolution() {
    Distinct d;
    decoding::TimeSolution r{};
    r.clockStatus = d.u32();
    r.receiverClockOffset = d.f64();
    r.receiverClockOffsetStd = d.f64();
    r.utcOffset = d.f64();
    r.utcYear = d.u32();
    r.utcMonth = d.u8();
    r.utcDay = d.u8();
    r.utcHour = d.u8();
    r.utcMinute = d.u8();
    r.utcMilliseconds = d.u32();
    r.utcStatus = d.u32();
    return r;
}

inline void expectSameBody(const decoding::TimeSolution& e, const decoding::TimeSolution& a) {
    NAV_EXPECT_FIELD(e, a, clockStatus);
    NAV_EXPECT_FIELD(e, a, receiverClockOffset);
    NAV_EXPECT_FIELD(e, a, receiverClockOffsetStd);
    NAV_EXPECT_FIELD(e, a, utcOffset);
    NAV_EXPECT_FIELD(e, a, utcYear);
    NAV_EXPECT_FIELD(e, a, utcMonth);
    NAV_EXPECT_FIELD(e, a, utcDay);
    NAV_EXPECT_FIELD(e, a, utcHour);
    NAV_EXPECT_FIELD(e, a, utcMinute);
    NAV_EXPECT_FIELD(e, a, utcMilliseconds);
    NAV_EXPECT_FIELD(e, a, utcStatus);
}

// The decoded header is the frame's: 28-byte header, the id and body size, the stamp.
inline void expectFrameHeader(const decoding::LogHeader& h, uint16_t messageId, size_t bodySize,
                              const encoding::FrameStamp& stamp) {
    EXPECT_EQ(h.headerLength, encoding::kBoardHeaderLength);
    EXPECT_EQ(h.messageId, messageId);
    EXPECT_EQ(h.messageLength, bodySize);
    EXPECT_EQ(h.timeStatus, stamp.timeStatus);
    EXPECT_EQ(h.week, stamp.week);
    EXPECT_EQ(h.milliseconds, stamp.milliseconds);
}

} // namespace navtest
