// SPDX-License-Identifier: MIT
#pragma once
// Galileo broadcast ephemerides: "GALEPHEMERIS" (1122, body >= 220),
// "GALINAVEPHEMERIS" (1309, body >= 184), "GALFNAVEPHEMERIS" (1310, body >= 172).
#include <cstdint>

#include "decoding/log_header.h"

namespace decoding {

struct GalileoEphemeris {
    LogHeader header;
    uint32_t satellite;
    uint32_t fnavReceived;
    uint32_t inavReceived;
    uint8_t e1bHealth, e5aHealth, e5bHealth;
    uint8_t e1bDvs, e5aDvs, e5bDvs;
    uint8_t sisaIndex;
    uint8_t reserved;
    uint32_t iodNav;
    uint32_t toe;
    double sqrtA, deltaN, m0, eccentricity, omega;
    double cuc, cus, crc, crs, cic, cis;
    double i0, iDot, omega0, omegaDot;
    uint32_t fnavToc;
    double fnavAf0, fnavAf1, fnavAf2;
    uint32_t inavToc;
    double inavAf0, inavAf1, inavAf2;
    double bgdE5aE1, bgdE5bE1;
};

struct GalileoInavEphemeris {
    LogHeader header;
    uint32_t satellite;
    uint8_t e5bHealth, e5bDvs, reserved1, reserved2;
    uint8_t e1bHealth, e1bDvs, reserved3, reserved4;
    uint16_t iodNav;
    uint8_t sisaIndex;
    uint8_t inavSource;
    uint32_t toe;
    uint32_t toc;
    double m0, deltaN, eccentricity, sqrtA, i0, iDot, omega0, omega, omegaDot;
    double cuc, cus, crc, crs, cic, cis;
    double af0, af1, af2;
    double bgdE5aE1, bgdE5bE1;
};

struct GalileoFnavEphemeris {
    LogHeader header;
    uint32_t satellite;
    uint8_t e5aHealth, e5aDvs, reserved1, reserved2;
    uint16_t iodNav;
    uint8_t sisaIndex;
    uint8_t reserved3;
    uint32_t toe;
    uint32_t toc;
    double m0, deltaN, eccentricity, sqrtA, i0, iDot, omega0, omega, omegaDot;
    double cuc, cus, crc, crs, cic, cis;
    double af0, af1, af2;
    double bgdE5aE1;
};

int decodeGalileoEphemeris(const uint8_t* frame, const LogHeader& header, GalileoEphemeris& record);
int decodeGalileoInavEphemeris(const uint8_t* frame, const LogHeader& header, GalileoInavEphemeris& record);
int decodeGalileoFnavEphemeris(const uint8_t* frame, const LogHeader& header, GalileoFnavEphemeris& record);

} // namespace decoding
