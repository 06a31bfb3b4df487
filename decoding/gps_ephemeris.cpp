// SPDX-License-Identifier: MIT
#include "decoding/gps_ephemeris.h"

#include "decoding/byte_order.h"

namespace decoding {

namespace {
constexpr uint16_t kMinimumBody = 224;
}

int decodeGpsEphemeris(const uint8_t* frame, const LogHeader& header, GpsEphemeris& record) {
    if (header.messageId != LogGpsEphem || header.messageLength < kMinimumBody) return -1;
    record = GpsEphemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.satellite = readU32(b + 0);
    record.tow = readF64(b + 4);
    record.health = readU32(b + 12);
    record.iode1 = readU32(b + 16);
    record.iode2 = readU32(b + 20);
    record.week = readU32(b + 24);
    record.zWeek = readU32(b + 28);
    record.toe = readF64(b + 32);
    record.a = readF64(b + 40);
    record.deltaN = readF64(b + 48);
    record.m0 = readF64(b + 56);
    record.eccentricity = readF64(b + 64);
    record.omega = readF64(b + 72);
    record.cuc = readF64(b + 80);
    record.cus = readF64(b + 88);
    record.crc = readF64(b + 96);
    record.crs = readF64(b + 104);
    record.cic = readF64(b + 112);
    record.cis = readF64(b + 120);
    record.i0 = readF64(b + 128);
    record.iDot = readF64(b + 136);
    record.omega0 = readF64(b + 144);
    record.omegaDot = readF64(b + 152);
    record.iodc = readU32(b + 160);
    record.toc = readF64(b + 164);
    record.tgd = readF64(b + 172);
    record.af0 = readF64(b + 180);
    record.af1 = readF64(b + 188);
    record.af2 = readF64(b + 196);
    record.antiSpoofing = readU32(b + 204);
    record.correctedMeanMotion = readF64(b + 208);
    record.uraVariance = readF64(b + 216);
    return 0;
}

} // namespace decoding
