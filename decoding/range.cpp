// SPDX-License-Identifier: MIT
#include "decoding/byte_order.h"
#include "decoding/range_decoders.h"

namespace decoding {

namespace {

constexpr uint32_t kRangeRecordSize = 44;

} // namespace

void applyRangeStatus(uint32_t status, uint32_t signalSearchMode, RangeObservation& observation) {
    observation.trackingState = uint8_t(status & 0x1F);
    observation.channel = uint8_t((status >> 5) & 0x0F);
    observation.phaseLocked = uint8_t((status >> 10) & 1);
    observation.parityKnown = uint8_t((status >> 11) & 1);
    observation.codeLocked = uint8_t((status >> 12) & 1);
    observation.system = uint8_t((status >> 16) & 0x07);
    observation.grouped = uint8_t((status >> 20) & 1);
    observation.signalType = uint8_t((status >> 21) & 0x1F);
    observation.systemInfo = nullptr;
    observation.signalInfo = nullptr;

    const SatSystemInfo* system = satSystemInfo(observation.system);
    if (!system) return;
    observation.systemInfo = system;
    if (observation.satellite >= system->numberingOffset)
        observation.satellite = uint16_t(observation.satellite + 1 - system->numberingOffset);
    observation.glonassFrequency = int16_t(observation.glonassFrequency + system->frequencyOffset);
    observation.signalInfo = findSignalByType(*system, observation.signalType, signalSearchMode);
}

int openFixedRecordLog(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor,
                       uint32_t signalSearchMode, uint16_t messageId, uint32_t recordSize) {
    if (header.messageId != messageId) return -1;
    if (header.messageLength < 4 || (header.messageLength - 4u) % recordSize != 0) return -1;
    const uint8_t* body = frame + header.headerLength;
    const int32_t count = int32_t(readU32(body));
    if (count != int32_t(header.messageLength / recordSize)) return -2;
    cursor = RangeCursor{};
    cursor.header = header;
    cursor.count = count;
    cursor.first = body + 4;
    cursor.signalSearchMode = signalSearchMode;
    cursor.currentSatellite = -1;
    return 0;
}

int openRange(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor, uint32_t signalSearchMode) {
    return openFixedRecordLog(frame, header, cursor, signalSearchMode, LogRange, kRangeRecordSize);
}

int decodeRange(const RangeCursor& cursor, int32_t index, RangeObservation* observation) {
    if (!observation || index < 0 || index >= cursor.count) return -1;
    const uint8_t* p = cursor.first + size_t(index) * kRangeRecordSize;
    *observation = RangeObservation{};
    observation->satellite = readU16(p);
    observation->glonassFrequency = int16_t(readU16(p + 2));
    observation->pseudorange = readF64(p + 4);
    observation->pseudorangeStd = readF32(p + 12);
    observation->carrierPhase = readF64(p + 16);
    observation->carrierPhaseStd = readF32(p + 24);
    observation->doppler = readF32(p + 28);
    observation->cn0 = readF32(p + 32);
    observation->lockTime = readF32(p + 36);
    // An unknown system or signal is still delivered, without descriptors.
    applyRangeStatus(readU32(p + 40), cursor.signalSearchMode, *observation);
    return 0;
}

} // namespace decoding
