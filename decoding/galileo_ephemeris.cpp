// SPDX-License-Identifier: MIT
#include "decoding/galileo_ephemeris.h"

#include "decoding/byte_order.h"

namespace decoding {

namespace {
constexpr uint16_t kGalMinimumBody = 220;
constexpr uint16_t kInavMinimumBody = 184;
constexpr uint16_t kFnavMinimumBody = 172;
} // namespace

int decodeGalileoEphemeris(const uint8_t* frame, const LogHeader& header, GalileoEphemeris& record) {
    if (header.messageId != LogGalEphemeris || header.messageLength < kGalMinimumBody) return -1;
    record = GalileoEphemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.satellite = readU32(b + 0);
    record.fnavReceived = readU32(b + 4);
    record.inavReceived = readU32(b + 8);
    record.e1bHealth = b[12];
    record.e5aHealth = b[13];
    record.e5bHealth = b[14];
    record.e1bDvs = b[15];
    record.e5aDvs = b[16];
    record.e5bDvs = b[17];
    record.sisaIndex = b[18];
    record.reserved = b[19];
    record.iodNav = readU32(b + 20);
    record.toe = readU32(b + 24);
    record.sqrtA = readF64(b + 28);
    record.deltaN = readF64(b + 36);
    record.m0 = readF64(b + 44);
    record.eccentricity = readF64(b + 52);
    record.omega = readF64(b + 60);
    record.cuc = readF64(b + 68);
    record.cus = readF64(b + 76);
    record.crc = readF64(b + 84);
    record.crs = readF64(b + 92);
    record.cic = readF64(b + 100);
    record.cis = readF64(b + 108);
    record.i0 = readF64(b + 116);
    record.iDot = readF64(b + 124);
    record.omega0 = readF64(b + 132);
    record.omegaDot = readF64(b + 140);
    record.fnavToc = readU32(b + 148);
    record.fnavAf0 = readF64(b + 152);
    record.fnavAf1 = readF64(b + 160);
    record.fnavAf2 = readF64(b + 168);
    record.inavToc = readU32(b + 176);
    record.inavAf0 = readF64(b + 180);
    record.inavAf1 = readF64(b + 188);
    record.inavAf2 = readF64(b + 196);
    record.bgdE5aE1 = readF64(b + 204);
    record.bgdE5bE1 = readF64(b + 212);
    return 0;
}

int decodeGalileoInavEphemeris(const uint8_t* frame, const LogHeader& header, GalileoInavEphemeris& record) {
    if (header.messageId != LogGalInavEphemeris || header.messageLength < kInavMinimumBody) return -1;
    record = GalileoInavEphemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.satellite = readU32(b + 0);
    record.e5bHealth = b[4];
    record.e5bDvs = b[5];
    record.reserved1 = b[6];
    record.reserved2 = b[7];
    record.e1bHealth = b[8];
    record.e1bDvs = b[9];
    record.reserved3 = b[10];
    record.reserved4 = b[11];
    record.iodNav = readU16(b + 12);
    record.sisaIndex = b[14];
    record.inavSource = b[15];
    record.toe = readU32(b + 16);
    record.toc = readU32(b + 20);
    record.m0 = readF64(b + 24);
    record.deltaN = readF64(b + 32);
    record.eccentricity = readF64(b + 40);
    record.sqrtA = readF64(b + 48);
    record.i0 = readF64(b + 56);
    record.iDot = readF64(b + 64);
    record.omega0 = readF64(b + 72);
    record.omega = readF64(b + 80);
    record.omegaDot = readF64(b + 88);
    record.cuc = readF64(b + 96);
    record.cus = readF64(b + 104);
    record.crc = readF64(b + 112);
    record.crs = readF64(b + 120);
    record.cic = readF64(b + 128);
    record.cis = readF64(b + 136);
    record.af0 = readF64(b + 144);
    record.af1 = readF64(b + 152);
    record.af2 = readF64(b + 160);
    record.bgdE5aE1 = readF64(b + 168);
    record.bgdE5bE1 = readF64(b + 176);
    return 0;
}

int decodeGalileoFnavEphemeris(const uint8_t* frame, const LogHeader& header, GalileoFnavEphemeris& record) {
    if (header.messageId != LogGalFnavEphemeris || header.messageLength < kFnavMinimumBody) return -1;
    record = GalileoFnavEphemeris{};
    record.header = header;
    const uint8_t* b = frame + header.headerLength;
    record.satellite = readU32(b + 0);
    record.e5aHealth = b[4];
    record.e5aDvs = b[5];
    record.reserved1 = b[6];
    record.reserved2 = b[7];
    record.iodNav = readU16(b + 8);
    record.sisaIndex = b[10];
    record.reserved3 = b[11];
    record.toe = readU32(b + 12);
    record.toc = readU32(b + 16);
    record.m0 = readF64(b + 20);
    record.deltaN = readF64(b + 28);
    record.eccentricity = readF64(b + 36);
    record.sqrtA = readF64(b + 44);
    record.i0 = readF64(b + 52);
    record.iDot = readF64(b + 60);
    record.omega0 = readF64(b + 68);
    record.omega = readF64(b + 76);
    record.omegaDot = readF64(b + 84);
    record.cuc = readF64(b + 92);
    record.cus = readF64(b + 100);
    record.crc = readF64(b + 108);
    record.crs = readF64(b + 116);
    record.cic = readF64(b + 124);
    record.cis = readF64(b + 132);
    record.af0 = readF64(b + 140);
    record.af1 = readF64(b + 148);
    record.af2 = readF64(b + 156);
    record.bgdE5aE1 = readF64(b + 164);
    return 0;
}

} // namespace decoding
