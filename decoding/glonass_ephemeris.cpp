// SPDX-License-Identifier: MIT
#include "decoding/glonass_ephemeris.h"

#include "decoding/byte_order.h"

namespace decoding {

namespace {
constexpr uint16_t kMinimumBody = 144;
}

int decodeGlonassEphemeris(const uint8_t* frame, const LogHeader& header, GlonassEphemeris& record) {
    if (header.messageId != LogGloEphemeris || header.messageLength < kMinimumBody) return -1;
    record = GlonassEphemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.slot = readU16(b + 0);
    record.frequency = readU16(b + 2);
    record.satelliteType = b[4];
    // byte 5 is padding
    record.week = readU16(b + 6);
    record.referenceTime = readU32(b + 8);
    record.timeOffset = readU32(b + 12);
    record.dayNumber = readU16(b + 16);
    // bytes 18..19 are padding
    record.issue = readU32(b + 20);
    record.health = readU32(b + 24);
    record.x = readF64(b + 28);
    record.y = readF64(b + 36);
    record.z = readF64(b + 44);
    record.vx = readF64(b + 52);
    record.vy = readF64(b + 60);
    record.vz = readF64(b + 68);
    record.ax = readF64(b + 76);
    record.ay = readF64(b + 84);
    record.az = readF64(b + 92);
    record.tauN = readF64(b + 100);
    record.deltaTauN = readF64(b + 108);
    record.gammaN = readF64(b + 116);
    record.tk = readU32(b + 124);
    record.pFlags = readU32(b + 128);
    record.ft = readU32(b + 132);
    record.ageOfData = readU32(b + 136);
    record.flags = readU32(b + 140);
    return 0;
}

} // namespace decoding
