// SPDX-License-Identifier: MIT
#include "decoding/position_time.h"

#include "decoding/byte_order.h"

namespace decoding {

namespace {
constexpr uint16_t kPsrPosMinimumBody = 72;
constexpr uint16_t kTimeMinimumBody = 44;
} // namespace

int decodePsrPos(const uint8_t* frame, const LogHeader& header, PositionSolution& record) {
    // The header copy is made even for a frame that is then refused.
    record = PositionSolution{};
    record.header = header;
    if (header.messageId != LogPsrPos || header.messageLength < kPsrPosMinimumBody) return -1;
    const uint8_t* b = frame + header.headerLength;
    record.solutionStatus = readU32(b + 0);
    record.positionType = readU32(b + 4);
    record.latitude = readF64(b + 8);
    record.longitude = readF64(b + 16);
    record.height = readF64(b + 24);
    record.undulation = float(readF32(b + 32));
    record.datumId = readU32(b + 36);
    record.latitudeStd = float(readF32(b + 40));
    record.longitudeStd = float(readF32(b + 44));
    record.heightStd = float(readF32(b + 48));
    for (int i = 0; i < 4; ++i)
        record.stationId[i] = b[52 + i];
    record.differentialAge = float(readF32(b + 56));
    record.solutionAge = float(readF32(b + 60));
    record.satellitesTracked = b[64];
    record.satellitesInSolution = b[65];
    // bytes 66..70 are not read
    record.signalMask = b[71];
    return 0;
}

int decodeTime(const uint8_t* frame, const LogHeader& header, TimeSolution& record) {
    record = TimeSolution{};
    record.header = header;
    if (header.messageId != LogTime || header.messageLength < kTimeMinimumBody) return -1;
    const uint8_t* b = frame + header.headerLength;
    record.clockStatus = readU32(b + 0);
    record.receiverClockOffset = readF64(b + 4);
    record.receiverClockOffsetStd = readF64(b + 12);
    record.utcOffset = readF64(b + 20);
    record.utcYear = readU32(b + 28);
    record.utcMonth = b[32];
    record.utcDay = b[33];
    record.utcHour = b[34];
    record.utcMinute = b[35];
    record.utcMilliseconds = readU32(b + 36);
    record.utcStatus = readU32(b + 40);
    return 0;
}

} // namespace decoding
