// SPDX-License-Identifier: MIT
#pragma once
// Constant tables of satellite systems and their signals: RINEX code, name, carrier.
#include <cstdint>

namespace decoding {

struct SignalInfo {
    uint8_t signalType;     // status word bits 21..25
    uint8_t compressedCode; // RANGECMP2 signal code, 255 = none
    uint8_t frequencySlot;  // 0..4, 255 = none
    uint32_t packedCode;    // internal packed code
    const char* rinexCode;  // two characters, e.g. "1C"
    const char* name;       // e.g. "L1(C/A)"
    uint32_t frequency;     // carrier, Hz (GLONASS: the band's base frequency)
    int8_t quarterCycles;   // phase correction in quarter cycles; the board needs none
};

struct SatSystemInfo {
    char letter;                 // RINEX system letter
    double referenceFrequency;   // Hz
    int32_t numberingOffset;     // satellite number offset (GLONASS 38, SBAS 120, ...)
    int16_t frequencyOffset;     // added to the raw frequency channel (-7 for GLONASS)
    const SignalInfo* signalRows;
    int32_t signalCount;
};

enum SatSystem : uint8_t {
    SystemGps = 0,
    SystemGlonass = 1,
    SystemSbas = 2,
    SystemGalileo = 3,
    SystemBeidou = 4,
    SystemQzss = 5,
    SystemNavic = 6,
    SystemNone = 7,
};

// Descriptor of a status-word system value 0..6; nullptr for 7 and above.
const SatSystemInfo* satSystemInfo(uint32_t system);

// First row (forwards, or backwards when searchMode is 2) whose signal type matches.
const SignalInfo* findSignalByType(const SatSystemInfo& system, uint32_t signalType, uint32_t searchMode);
// Same, matching the RANGECMP2 compressed code.
const SignalInfo* findSignalByCompressedCode(const SatSystemInfo& system, uint32_t code, uint32_t searchMode);

// GLONASS carrier for a channel k when base is one of the two FDMA bands, else base.
double glonassAdjustedFrequency(uint32_t base, int k);

} // namespace decoding
