// SPDX-License-Identifier: MIT
#pragma once
// BeiDou broadcast ephemerides: "BD2EPHEM" (1047, body >= 232) and "BDSEPHEMERIS"
// (1696, body >= 196).
#include <cstdint>

#include "decoding/log_header.h"

namespace decoding {

struct Bd2Ephemeris {
    LogHeader header;
    uint32_t satellite;
    double tow;             // time of week of transmission, s
    uint32_t health;
    uint32_t aode;
    uint32_t week;          // BeiDou week
    uint32_t week2;         // second week field, unused
    double toe;
    double a;               // semi-major axis, m
    double deltaN, m0, eccentricity, omega;
    double cuc, cus, crc, crs, cic, cis;
    double i0, iDot, omega0, omegaDot;
    uint32_t aodc;
    double toc, tgd1, a0, a1, a2, tgd2;
    uint32_t antiSpoofing;  // unused
    double correctedMeanMotion; // unused
    double uraVariance;     // m^2
};

struct BeidouEphemeris {
    LogHeader header;
    uint32_t satellite;     // 1..63
    uint32_t week;          // BeiDou week
    double ura;             // m
    uint32_t health;        // SatH1
    double tgd1, tgd2;
    uint32_t aodc;
    uint32_t toc;
    double a0, a1, a2;
    uint32_t aode;
    uint32_t toe;
    double sqrtA, eccentricity, omega, deltaN, m0, omega0, omegaDot, i0, iDot;
    double cuc, cus, crc, crs, cic, cis;
};

int decodeBd2Ephemeris(const uint8_t* frame, const LogHeader& header, Bd2Ephemeris& record);
int decodeBeidouEphemeris(const uint8_t* frame, const LogHeader& header, BeidouEphemeris& record);

} // namespace decoding
