// SPDX-License-Identifier: MIT
#pragma once
// The binary header at the start of every board frame (sync 0xAA 0x44 0x12).
#include <cstdint>

namespace decoding {

enum LogId : uint16_t {
    LogIonUtcU = 6,
    LogGpsEphem = 7,
    LogIonUtc = 8,
    LogRange = 43,
    LogPsrPos = 47,
    LogTime = 101,
    LogRangeCmp = 140,
    LogGloEphemeris = 723,
    LogBd2Ephem = 1047,
    LogGalEphemeris = 1122,
    LogRangeCmp2 = 1273,
    LogGalInavEphemeris = 1309,
    LogGalFnavEphemeris = 1310,
    LogQzssIonUtc = 1347,
    LogBdsEphemeris = 1696,
    LogBd2IonUtc = 2010,
};

struct LogHeader {
    uint16_t headerLength;
    uint16_t messageId;
    uint16_t messageLength;
    uint8_t timeStatus;
    uint16_t week;
    uint32_t milliseconds;
};

// Header of the 0xAA 0x44 0x16 framing (never enabled by the converter).
struct ShortLogHeader {
    uint16_t messageId;
    uint16_t messageLength;
};

// 0 ok; -1 length < 24 or wrong sync; -2 length != headerLength + messageLength + 4
// (fields up to messageLength are filled then).
int readLogHeader(const uint8_t* frame, uint32_t length, LogHeader& header);

// 0 ok; -1 length < 8 or wrong sync; -2 length != messageLength + 12.
int readShortLogHeader(const uint8_t* frame, uint32_t length, ShortLogHeader& header);

} // namespace decoding
