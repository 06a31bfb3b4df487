// SPDX-License-Identifier: MIT
#include "decoding/byte_order.h"
#include "decoding/range_decoders.h"
#include "gnss/constants.h"

namespace decoding {

namespace {

constexpr uint32_t kSatelliteBlockSize = 14;
constexpr uint32_t kSignalBlockSize = 16;
using gnss::kSpeedOfLight;

constexpr float kPseudorangeStd[16] = {0.02f,  0.03f,  0.045f, 0.066f, 0.099f, 0.148f, 0.22f,  0.329f,
                                       0.491f, 0.732f, 1.092f, 1.629f, 2.43f,  3.625f, 5.409f, 9.999f};
constexpr float kCarrierPhaseStd[16] = {0.00391f, 0.00521f, 0.00696f, 0.00929f, 0.01239f, 0.01654f,
                                        0.02208f, 0.02947f, 0.03933f, 0.05249f, 0.07006f, 0.0935f,
                                        0.1248f,  0.16656f, 0.2223f,  9.99999f};

// This log numbers the systems differently from the status word; 3, 4 and 8 have no system.
int statusSystemOfCode(uint32_t code) {
    switch (code) {
    case 0:
        return SystemGps;
    case 1:
        return SystemGlonass;
    case 2:
        return SystemSbas;
    case 5:
        return SystemGalileo;
    case 6:
        return SystemBeidou;
    case 7:
        return SystemQzss;
    case 9:
        return SystemNavic;
    default:
        return -1;
    }
}

uint32_t signalCountOf(const uint8_t* satellite) {
    return (readU16(satellite + 12) >> 5) & 0x0F;
}

} // namespace

int openRangeCmp2(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor,
                  uint32_t signalSearchMode) {
    if (header.messageId != LogRangeCmp2) return -1;
    if (header.messageLength < 4) return -1;
    const uint8_t* body = frame + header.headerLength;
    const uint32_t bytes = readU32(body);
    // Blocks must lie inside the body; anything else would read past the frame.
    if (bytes < 15 || bytes > header.messageLength - 4u) return -2;
    cursor = RangeCursor{};
    cursor.header = header;
    cursor.count = int32_t(bytes);
    cursor.first = body + 4;
    cursor.signalSearchMode = signalSearchMode;
    cursor.position = 0;
    cursor.currentSatellite = -1;
    cursor.signalIndex = 0;
    return 0;
}

int nextRangeCmp2(RangeCursor& cursor, RangeObservation* observation) {
    if (!observation) return RangeCmp2Truncated;
    *observation = RangeObservation{};
    const uint32_t bytes = uint32_t(cursor.count);
    if (cursor.position >= bytes) return RangeCmp2End;

    if (cursor.currentSatellite < 0 ||
        cursor.signalIndex >= signalCountOf(cursor.first + cursor.currentSatellite)) {
        if (cursor.position + kSatelliteBlockSize > bytes) return RangeCmp2Truncated;
        cursor.currentSatellite = int32_t(cursor.position);
        cursor.position += kSatelliteBlockSize;
        cursor.signalIndex = 0;
        if (signalCountOf(cursor.first + cursor.currentSatellite) == 0) return RangeCmp2NoSignals;
    }
    if (cursor.position + kSignalBlockSize > bytes) return RangeCmp2Truncated;
    const uint8_t* satellite = cursor.first + cursor.currentSatellite;
    const uint8_t* signal = cursor.first + cursor.position;
    cursor.position += kSignalBlockSize;
    cursor.signalIndex += 1;

    const uint32_t systemCode = (readU16(satellite + 2) >> 4) & 0x1F;
    const double pseudorangeBase = double(readU32(satellite + 8) & 0x1FFF) * 65536.0 + readU16(satellite + 6);
    int32_t dopplerBase = int32_t((uint32_t(readU16(satellite + 12) & 31) << 16) | readU16(satellite + 10));
    if (dopplerBase > 0xFFFFF) dopplerBase -= 0x200000;

    const uint32_t w0 = readU32(signal);
    const uint32_t w1 = readU32(signal + 4);
    const uint32_t w2 = readU32(signal + 8);
    const uint32_t w3 = readU32(signal + 12);
    int32_t dopplerDifference = int32_t(w3 & 0x1FFFF);
    if (dopplerDifference & 0x10000) dopplerDifference -= 0x20000;
    const double phaseRangeDifference = (w2 & 0xFFFFF) / 2048.0;

    observation->channel = satellite[0];
    observation->satellite = satellite[1];
    observation->glonassFrequency = int16_t(satellite[2] & 0x0F);
    observation->signalType = uint8_t(w0 & 0x1F);
    observation->phaseLocked = uint8_t((w0 >> 5) & 1);
    observation->parityKnown = uint8_t((w0 >> 6) & 1);
    observation->codeLocked = uint8_t((w0 >> 7) & 1);
    observation->lockTime = ((w0 >> 8) & 0x1FFFF) * 0.001;
    observation->cn0 = (w1 & 0x1F) + 20.0;
    observation->pseudorangeStd = kPseudorangeStd[(w1 >> 5) & 0x0F];
    observation->carrierPhaseStd = kCarrierPhaseStd[(w1 >> 9) & 0x0F];
    observation->pseudorange = pseudorangeBase + ((w1 >> 13) & 0x3FFF) / 128.0;

    const int system = statusSystemOfCode(systemCode);
    const SatSystemInfo* systemInfo = system < 0 ? nullptr : satSystemInfo(uint32_t(system));
    if (!systemInfo) return RangeCmp2UnknownSystem;
    // Kept in the status word's numbering so every range log reports systems alike.
    observation->system = uint8_t(system);
    observation->systemInfo = systemInfo;
    if (observation->satellite >= systemInfo->numberingOffset)
        observation->satellite = uint16_t(observation->satellite + 1 - systemInfo->numberingOffset);
    observation->glonassFrequency = int16_t(observation->glonassFrequency + systemInfo->frequencyOffset);

    const SignalInfo* signalInfo =
        findSignalByCompressedCode(*systemInfo, observation->signalType, cursor.signalSearchMode);
    if (!signalInfo) return RangeCmp2UnknownSignal;
    observation->signalInfo = signalInfo;

    double frequency = signalInfo->frequency;
    if (system == SystemGlonass)
        frequency = glonassAdjustedFrequency(signalInfo->frequency, observation->glonassFrequency);
    observation->carrierPhase = -(pseudorangeBase + phaseRangeDifference) * frequency / kSpeedOfLight;
    observation->doppler = (dopplerDifference / 256.0 + dopplerBase) * double(signalInfo->frequency) /
                           systemInfo->referenceFrequency;
    return RangeCmp2Record;
}

} // namespace decoding
