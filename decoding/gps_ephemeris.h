// SPDX-License-Identifier: MIT
#pragma once
// "GPSEPHEM" (id 7): GPS broadcast ephemeris, body at least 224 bytes.
#include <cstdint>

#include "decoding/log_header.h"

namespace decoding {

struct GpsEphemeris {
    LogHeader header;
    uint32_t satellite;     // PRN
    double tow;             // time of week of subframe 0, s
    uint32_t health;
    uint32_t iode1;         // IODE of subframe 1
    uint32_t iode2;         // IODE of subframe 2
    uint32_t week;
    uint32_t zWeek;         // Z-count week
    double toe;             // s
    double a;               // semi-major axis, m
    double deltaN;          // rad/s
    double m0;              // rad
    double eccentricity;
    double omega;           // argument of perigee, rad
    double cuc, cus;        // rad
    double crc, crs;        // m
    double cic, cis;        // rad
    double i0;              // rad
    double iDot;            // rad/s
    double omega0;          // right ascension, rad
    double omegaDot;        // rad/s
    uint32_t iodc;
    double toc;             // s
    double tgd;             // s
    double af0, af1, af2;
    uint32_t antiSpoofing;
    double correctedMeanMotion; // rad/s
    double uraVariance;     // m^2
};

// 0 ok; -1 wrong id or body shorter than 224 bytes.
int decodeGpsEphemeris(const uint8_t* frame, const LogHeader& header, GpsEphemeris& record);

} // namespace decoding
