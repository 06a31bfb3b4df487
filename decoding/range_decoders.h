// SPDX-License-Identifier: MIT
#pragma once
// Decoders of the three range logs: RANGE (43), RANGECMP (140), RANGECMP2 (1273).
// open*: 0 ok, -1 wrong id or size, -2 inconsistent count.
#include <cstdint>

#include "decoding/range_observation.h"

namespace decoding {

// Steps shared by RANGE and RANGECMP: splits the 32-bit status word into the record's bit
// fields, attaches the system descriptor, renumbers the satellite, offsets the frequency
// channel and looks up the signal row by signal type.
void applyRangeStatus(uint32_t status, uint32_t signalSearchMode, RangeObservation& observation);

// Opening step shared by the fixed-size record logs (RANGE 44 bytes, RANGECMP 24 bytes).
int openFixedRecordLog(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor,
                       uint32_t signalSearchMode, uint16_t messageId, uint32_t recordSize);

int openRange(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor, uint32_t signalSearchMode);
// -1 when index is out of range or observation is null; else 0 (signalInfo may be none).
int decodeRange(const RangeCursor& cursor, int32_t index, RangeObservation* observation);

int openRangeCmp(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor,
                 uint32_t signalSearchMode);
// -1 also when the signal type is not in the system's table.
int decodeRangeCmp(const RangeCursor& cursor, int32_t index, RangeObservation* observation);

int openRangeCmp2(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor,
                  uint32_t signalSearchMode);

enum RangeCmp2Result {
    RangeCmp2Record = 0,
    RangeCmp2End = 1,
    RangeCmp2UnknownSystem = 2,
    RangeCmp2UnknownSignal = 3,
    RangeCmp2Truncated = -1,
    RangeCmp2NoSignals = -2,
};
int nextRangeCmp2(RangeCursor& cursor, RangeObservation* observation);

} // namespace decoding
