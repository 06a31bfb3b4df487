// SPDX-License-Identifier: MIT
#pragma once
// "PSRPOS" (47) and "TIME" (101): the first fix and the first valid UTC time.
#include <cstdint>

#include "decoding/log_header.h"

namespace decoding {

struct PositionSolution {
    LogHeader header;
    uint32_t solutionStatus;
    uint32_t positionType;
    double latitude;   // deg
    double longitude;  // deg
    double height;     // m above mean sea level
    float undulation;  // m
    uint32_t datumId;
    float latitudeStd, longitudeStd, heightStd;
    uint8_t stationId[4];
    float differentialAge;
    float solutionAge;
    uint8_t satellitesTracked;
    uint8_t satellitesInSolution;
    uint8_t signalMask;
};

struct TimeSolution {
    LogHeader header;
    uint32_t clockStatus;
    double receiverClockOffset;
    double receiverClockOffsetStd;
    double utcOffset;
    uint32_t utcYear;
    uint8_t utcMonth, utcDay, utcHour, utcMinute;
    uint32_t utcMilliseconds;
    uint32_t utcStatus; // 0 = not valid
};

// -1 unless id 47 and body >= 72 bytes (the header copy is made first).
int decodePsrPos(const uint8_t* frame, const LogHeader& header, PositionSolution& record);
// -1 unless id 101 and body >= 44 bytes.
int decodeTime(const uint8_t* frame, const LogHeader& header, TimeSolution& record);

} // namespace decoding
