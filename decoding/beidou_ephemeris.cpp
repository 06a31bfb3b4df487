// SPDX-License-Identifier: MIT
#include "decoding/beidou_ephemeris.h"

#include "decoding/byte_order.h"

namespace decoding {

namespace {
constexpr uint16_t kBd2MinimumBody = 232;
constexpr uint16_t kBdsMinimumBody = 196;
} // namespace

int decodeBd2Ephemeris(const uint8_t* frame, const LogHeader& header, Bd2Ephemeris& record) {
    if (header.messageId != LogBd2Ephem || header.messageLength < kBd2MinimumBody) return -1;
    record = Bd2Ephemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.satellite = readU32(b + 0);
    record.tow = readF64(b + 4);
    record.health = readU32(b + 12);
    record.aode = readU32(b + 16);
    // bytes 20..23 are not read
    record.week = readU32(b + 24);
    record.week2 = readU32(b + 28);
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
    record.aodc = readU32(b + 160);
    record.toc = readF64(b + 164);
    record.tgd1 = readF64(b + 172);
    record.a0 = readF64(b + 180);
    record.a1 = readF64(b + 188);
    record.a2 = readF64(b + 196);
    record.tgd2 = readF64(b + 204);
    record.antiSpoofing = readU32(b + 212);
    record.correctedMeanMotion = readF64(b + 216);
    record.uraVariance = readF64(b + 224);
    return 0;
}

int decodeBeidouEphemeris(const uint8_t* frame, const LogHeader& header, BeidouEphemeris& record) {
    if (header.messageId != LogBdsEphemeris || header.messageLength < kBdsMinimumBody) return -1;
    record = BeidouEphemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.satellite = readU32(b + 0);
    record.week = readU32(b + 4);
    record.ura = readF64(b + 8);
    record.health = readU32(b + 16);
    record.tgd1 = readF64(b + 20);
    record.tgd2 = readF64(b + 28);
    record.aodc = readU32(b + 36);
    record.toc = readU32(b + 40);
    record.a0 = readF64(b + 44);
    record.a1 = readF64(b + 52);
    record.a2 = readF64(b + 60);
    record.aode = readU32(b + 68);
    record.toe = readU32(b + 72);
    record.sqrtA = readF64(b + 76);
    record.eccentricity = readF64(b + 84);
    record.omega = readF64(b + 92);
    record.deltaN = readF64(b + 100);
    record.m0 = readF64(b + 108);
    record.omega0 = readF64(b + 116);
    record.omegaDot = readF64(b + 124);
    record.i0 = readF64(b + 132);
    record.iDot = readF64(b + 140);
    record.cuc = readF64(b + 148);
    record.cus = readF64(b + 156);
    record.crc = readF64(b + 164);
    record.crs = readF64(b + 172);
    record.cic = readF64(b + 180);
    record.cis = readF64(b + 188);
    return 0;
}

} // namespace decoding
