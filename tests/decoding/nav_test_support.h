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

// Field-by-field comparison; arrays element by element.
template <class T> void expectSameValue(const char* field, const T& expected, const T& actual) {
    EXPECT_TRUE(same(expected, actual)) << field << ": expected " << +expected << ", got " << +actual;
}
template <class T, size_t N> void expectSameValue(const char* field, const T (&expected)[N], const T (&actual)[N]) {
    for (size_t i = 0; i < N; ++i) {
        SCOPED_TRACE(testing::Message() << "index " << i);
        expectSameValue(field, expected[i], actual[i]);
    }
}

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

    void fill(double& v) { v = f64(); }
    void fill(float& v) { v = f32(); }
    void fill(uint32_t& v) { v = u32(); }
    void fill(uint16_t& v) { v = u16(); }
    void fill(uint8_t& v) { v = u8(); }
    template <class T, size_t N> void fill(T (&values)[N]) {
        for (T& v : values)
            fill(v);
    }

private:
    uint32_t n_ = 0;
};

// Every field of each record, in layout order: one list makes the record with distinct
// values and compares two records.
#define NAVTEST_FIELDS_GPS_EPHEMERIS(X) X(satellite) X(tow) X(health) X(iode1) X(iode2) X(week) X(zWeek) \
    X(toe) X(a) X(deltaN) X(m0) X(eccentricity) X(omega) X(cuc) X(cus) X(crc) X(crs) X(cic) X(cis) X(i0) \
    X(iDot) X(omega0) X(omegaDot) X(iodc) X(toc) X(tgd) X(af0) X(af1) X(af2) X(antiSpoofing)             \
    X(correctedMeanMotion) X(uraVariance)

#define NAVTEST_FIELDS_GLONASS_EPHEMERIS(X) X(slot) X(frequency) X(satelliteType) X(week) X(referenceTime)   \
    X(timeOffset) X(dayNumber) X(issue) X(health) X(x) X(y) X(z) X(vx) X(vy) X(vz) X(ax) X(ay) X(az) X(tauN) \
    X(deltaTauN) X(gammaN) X(tk) X(pFlags) X(ft) X(ageOfData) X(flags)

#define NAVTEST_FIELDS_IONO_UTC_PARAMETERS(X) X(alpha) X(beta) X(utcWeek) X(utcTime) X(a0) X(a1) X(leapWeek) \
    X(leapDay) X(leapSeconds) X(leapSecondsFuture) X(last)

#define NAVTEST_FIELDS_BD2_EPHEMERIS(X) X(satellite) X(tow) X(health) X(aode) X(week) X(week2) X(toe) X(a) \
    X(deltaN) X(m0) X(eccentricity) X(omega) X(cuc) X(cus) X(crc) X(crs) X(cic) X(cis) X(i0) X(iDot)       \
    X(omega0) X(omegaDot) X(aodc) X(toc) X(tgd1) X(a0) X(a1) X(a2) X(tgd2) X(antiSpoofing)                 \
    X(correctedMeanMotion) X(uraVariance)

#define NAVTEST_FIELDS_BEIDOU_EPHEMERIS(X) X(satellite) X(week) X(ura) X(health) X(tgd1) X(tgd2) X(aodc) \
    X(toc) X(a0) X(a1) X(a2) X(aode) X(toe) X(sqrtA) X(eccentricity) X(omega) X(deltaN) X(m0) X(omega0)  \
    X(omegaDot) X(i0) X(iDot) X(cuc) X(cus) X(crc) X(crs) X(cic) X(cis)

#define NAVTEST_FIELDS_GALILEO_EPHEMERIS(X) X(satellite) X(fnavReceived) X(inavReceived) X(e1bHealth) \
    X(e5aHealth) X(e5bHealth) X(e1bDvs) X(e5aDvs) X(e5bDvs) X(sisaIndex) X(reserved) X(iodNav) X(toe) \
    X(sqrtA) X(deltaN) X(m0) X(eccentricity) X(omega) X(cuc) X(cus) X(crc) X(crs) X(cic) X(cis) X(i0) \
    X(iDot) X(omega0) X(omegaDot) X(fnavToc) X(fnavAf0) X(fnavAf1) X(fnavAf2) X(inavToc) X(inavAf0)   \
    X(inavAf1) X(inavAf2) X(bgdE5aE1) X(bgdE5bE1)

#define NAVTEST_FIELDS_GALILEO_INAV_EPHEMERIS(X) X(satellite) X(e5bHealth) X(e5bDvs) X(reserved1)       \
    X(reserved2) X(e1bHealth) X(e1bDvs) X(reserved3) X(reserved4) X(iodNav) X(sisaIndex) X(inavSource)  \
    X(toe) X(toc) X(m0) X(deltaN) X(eccentricity) X(sqrtA) X(i0) X(iDot) X(omega0) X(omega) X(omegaDot) \
    X(cuc) X(cus) X(crc) X(crs) X(cic) X(cis) X(af0) X(af1) X(af2) X(bgdE5aE1) X(bgdE5bE1)

#define NAVTEST_FIELDS_GALILEO_FNAV_EPHEMERIS(X) X(satellite) X(e5aHealth) X(e5aDvs) X(reserved1)           \
    X(reserved2) X(iodNav) X(sisaIndex) X(reserved3) X(toe) X(toc) X(m0) X(deltaN) X(eccentricity) X(sqrtA) \
    X(i0) X(iDot) X(omega0) X(omega) X(omegaDot) X(cuc) X(cus) X(crc) X(crs) X(cic) X(cis) X(af0) X(af1)    \
    X(af2) X(bgdE5aE1)

#define NAVTEST_FIELDS_POSITION_SOLUTION(X) X(solutionStatus) X(positionType) X(latitude) X(longitude) \
    X(height) X(undulation) X(datumId) X(latitudeStd) X(longitudeStd) X(heightStd) X(stationId)        \
    X(differentialAge) X(solutionAge) X(satellitesTracked) X(satellitesInSolution) X(signalMask)

#define NAVTEST_FIELDS_TIME_SOLUTION(X) X(clockStatus) X(receiverClockOffset) X(receiverClockOffsetStd)   \
    X(utcOffset) X(utcYear) X(utcMonth) X(utcDay) X(utcHour) X(utcMinute) X(utcMilliseconds) X(utcStatus)

#define NAVTEST_FILL(field) d.fill(r.field);
#define NAVTEST_EXPECT(field) expectSameValue(#field, e.field, a.field);
#define NAVTEST_RECORD(Type, distinctName, fields)                                                         \
    inline decoding::Type distinctName() {                                                                  \
        Distinct d;                                                                                         \
        decoding::Type r{};                                                                                 \
        fields(NAVTEST_FILL) return r;                                                                      \
    }                                                                                                       \
    inline void expectSameBody(const decoding::Type& e, const decoding::Type& a) { fields(NAVTEST_EXPECT) }

NAVTEST_RECORD(GpsEphemeris, distinctGpsEphemeris, NAVTEST_FIELDS_GPS_EPHEMERIS)
NAVTEST_RECORD(GlonassEphemeris, distinctGlonassEphemeris, NAVTEST_FIELDS_GLONASS_EPHEMERIS)
NAVTEST_RECORD(IonoUtcParameters, distinctIonoUtc, NAVTEST_FIELDS_IONO_UTC_PARAMETERS)
NAVTEST_RECORD(Bd2Ephemeris, distinctBd2Ephemeris, NAVTEST_FIELDS_BD2_EPHEMERIS)
NAVTEST_RECORD(BeidouEphemeris, distinctBeidouEphemeris, NAVTEST_FIELDS_BEIDOU_EPHEMERIS)
NAVTEST_RECORD(GalileoEphemeris, distinctGalileoEphemeris, NAVTEST_FIELDS_GALILEO_EPHEMERIS)
NAVTEST_RECORD(GalileoInavEphemeris, distinctGalileoInavEphemeris, NAVTEST_FIELDS_GALILEO_INAV_EPHEMERIS)
NAVTEST_RECORD(GalileoFnavEphemeris, distinctGalileoFnavEphemeris, NAVTEST_FIELDS_GALILEO_FNAV_EPHEMERIS)
NAVTEST_RECORD(PositionSolution, distinctPositionSolution, NAVTEST_FIELDS_POSITION_SOLUTION)
NAVTEST_RECORD(TimeSolution, distinctTimeSolution, NAVTEST_FIELDS_TIME_SOLUTION)

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
