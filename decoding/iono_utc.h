// SPDX-License-Identifier: MIT
#pragma once
// Ionosphere and UTC parameters: "IONUTC_U" (6), "IONUTC" (8), "BD2IONUTC" (2010) and
// "QZSSIONUTC" (1347); body at least 108 bytes.
#include <cstdint>

#include "decoding/log_header.h"

namespace decoding {

struct IonoUtcParameters {
    LogHeader header;
    double alpha[4];
    double beta[4];
    uint32_t utcWeek;          // reference week
    uint32_t utcTime;          // reference time of week, s
    double a0;                 // s
    double a1;                 // s/s
    uint32_t leapWeek;         // week of the future leap second
    uint32_t leapDay;          // day of the future leap second
    uint32_t leapSeconds;      // now (signed)
    uint32_t leapSecondsFuture;// after the future date (signed)
    uint32_t last;             // last field, read and kept
};

// 0 ok; -1 body shorter than 108 bytes (tested first) or id not 6, 8, 2010, 1347.
int decodeIonoUtc(const uint8_t* frame, const LogHeader& header, IonoUtcParameters& record);

} // namespace decoding
