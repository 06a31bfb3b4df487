// SPDX-License-Identifier: MIT
#pragma once
// One decoded satellite-signal observation and the cursor over a range log's body.
#include <cstdint>

#include "decoding/log_header.h"
#include "decoding/signal_table.h"

namespace decoding {

struct RangeObservation {
    uint16_t satellite;       // after the system's numbering offset
    int16_t glonassFrequency; // raw channel + the system's frequency offset
    double pseudorange;       // m
    double pseudorangeStd;    // m
    double carrierPhase;      // cycles, sign as logged
    double carrierPhaseStd;   // cycles
    double doppler;           // Hz
    double cn0;               // dB-Hz
    double lockTime;          // s
    uint8_t trackingState;    // status bits 0..4
    uint8_t channel;          // status bits 5..8
    uint8_t phaseLocked;      // status bit 10
    uint8_t parityKnown;      // status bit 11
    uint8_t codeLocked;       // status bit 12
    uint8_t system;           // status bits 16..18
    uint8_t grouped;          // status bit 20
    uint8_t signalType;       // status bits 21..25 (RANGECMP2: compressed code)
    const SatSystemInfo* systemInfo; // none when system is 7
    const SignalInfo* signalInfo;    // none when the signal is not in the table
};

struct RangeCursor {
    LogHeader header;
    int32_t count;              // RANGE/RANGECMP: records; RANGECMP2: block bytes B
    const uint8_t* first;       // first observation (body + 4)
    uint32_t signalSearchMode;  // 2 = search the signal table from its end
    // RANGECMP2 walk state
    uint32_t position;             // byte position within the blocks
    int32_t currentSatellite;      // byte position of the current satellite block, -1 = none
    uint32_t signalIndex;          // signals of the current block used so far
};

} // namespace decoding
