// SPDX-License-Identifier: MIT
#pragma once
// "GLOEPHEMERIS" (id 723): GLONASS broadcast ephemeris, body at least 144 bytes.
#include <cstdint>

#include "decoding/log_header.h"

namespace decoding {

struct GlonassEphemeris {
    LogHeader header;
    uint16_t slot;            // slot number + 37
    uint16_t frequency;       // frequency channel + 7
    uint8_t satelliteType;
    uint16_t week;            // GPS week of the reference time
    uint32_t referenceTime;   // ms of GPS week
    uint32_t timeOffset;      // whole seconds between GPS and GLONASS time
    uint16_t dayNumber;       // within the four-year interval
    uint32_t issue;           // 15-minute interval
    uint32_t health;
    double x, y, z;           // m
    double vx, vy, vz;        // m/s
    double ax, ay, az;        // lunisolar acceleration, m/s^2
    double tauN;              // clock bias, s
    double deltaTauN;         // L1/L2 delay difference, s
    double gammaN;            // relative frequency offset
    uint32_t tk;              // seconds of day
    uint32_t pFlags;
    uint32_t ft;              // accuracy index
    uint32_t ageOfData;       // days
    uint32_t flags;
};

// 0 ok; -1 wrong id or body shorter than 144 bytes.
int decodeGlonassEphemeris(const uint8_t* frame, const LogHeader& header, GlonassEphemeris& record);

} // namespace decoding
