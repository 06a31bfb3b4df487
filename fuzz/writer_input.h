// SPDX-License-Identifier: MIT
#pragma once
// Layout of the writer target's input, shared by the target and the seed builder.
//
//   options  u8: bits 0-1 PPK mode (1 + value % 3); bits 2-3 RINEX minor version
//            (2 + value % 3); bit 4 signal search mode 2; bit 5 a user position follows
//            (latitude, longitude, height: 3 x f64); bit 6 an antenna height follows (f64);
//            bit 7 GLONASS code biases are set.
//   then operations until the input ends, each starting with an op byte:
//   frame    op < kTextOp: log id kLogIds[op % kLogIdCount]; u8 shape (below kShapeFreeHeader:
//            the usual 28-byte header, else a u8 header length follows, any value); u16 week;
//            u32 milliseconds of week; u8 time status; u16 body length; the body. The frame
//            gets the sync bytes, a message length that matches the bytes present and a valid CRC.
//   text     op kTextOp..kPpkOp-1: u16 length, bytes; the line gets a "\n".
//   ppk      op kPpkOp..kMarkerOp-1: u16 length, bytes; the line becomes "$PPK," + bytes with
//            its checksum and "\r\n".
//   marker   op kMarkerOp..255: u8 kind % 3 = begin, sample, end, then its fields (writer_target.cpp).
#include <cstdint>
#include <vector>

#include "decoding/checksum.h"

namespace fuzzing {

// The ids the writer dispatches on, then one it ignores and one it does not know.
constexpr uint16_t kLogIds[] = {43,  140,  1273, 101,  47,   6,    8,    2010, 7,
                                723, 1047, 1696, 1122, 1309, 1310, 1347, 42};
constexpr int kLogIdCount = int(sizeof kLogIds / sizeof kLogIds[0]);

constexpr uint8_t kTextOp = 0xE0;
constexpr uint8_t kPpkOp = 0xF0;
constexpr uint8_t kMarkerOp = 0xF8;
constexpr uint8_t kShapeFreeHeader = 0xF0;
constexpr uint8_t kUsualHeaderLength = 28;

inline void putLittle(std::vector<uint8_t>& out, uint64_t value, int width) {
    for (int i = 0; i < width; ++i)
        out.push_back(uint8_t(value >> (8 * i)));
}

// A whole frame: sync, header of headerLength bytes (fields at their offsets; a length
// below 20 lets the body overlap the header), body, CRC. The message length field holds
// what lies between the header and the CRC.
inline std::vector<uint8_t> buildFrame(uint16_t id, uint8_t headerLength, uint16_t week,
                                       uint32_t milliseconds, uint8_t timeStatus, const uint8_t* body,
                                       size_t bodySize) {
    std::vector<uint8_t> frame(20, 0);
    frame[0] = 0xAA;
    frame[1] = 0x44;
    frame[2] = 0x12;
    frame[3] = headerLength;
    frame[4] = uint8_t(id);
    frame[5] = uint8_t(id >> 8);
    frame[13] = timeStatus;
    frame[14] = uint8_t(week);
    frame[15] = uint8_t(week >> 8);
    for (int i = 0; i < 4; ++i)
        frame[size_t(16 + i)] = uint8_t(milliseconds >> (8 * i));
    if (headerLength > 20) frame.resize(headerLength, 0);
    frame.insert(frame.end(), body, body + bodySize);
    const size_t messageLength = frame.size() >= headerLength ? frame.size() - headerLength : 0;
    frame[8] = uint8_t(messageLength);
    frame[9] = uint8_t(messageLength >> 8);
    putLittle(frame, decoding::crc32(0, frame.data(), uint32_t(frame.size())), 4);
    return frame;
}

// The frame operation for a log with the usual header (used to turn real frames into seeds).
inline void appendFrameOp(std::vector<uint8_t>& out, int idIndex, uint16_t week, uint32_t milliseconds,
                          uint8_t timeStatus, const uint8_t* body, uint16_t bodySize) {
    out.push_back(uint8_t(idIndex));
    out.push_back(0); // usual header
    putLittle(out, week, 2);
    putLittle(out, milliseconds, 4);
    out.push_back(timeStatus);
    putLittle(out, bodySize, 2);
    out.insert(out.end(), body, body + bodySize);
}

inline void appendTextOp(std::vector<uint8_t>& out, const uint8_t* text, uint16_t size) {
    out.push_back(kTextOp);
    putLittle(out, size, 2);
    out.insert(out.end(), text, text + size);
}

inline int logIdIndex(uint16_t id) {
    for (int i = 0; i < kLogIdCount; ++i)
        if (kLogIds[i] == id) return i;
    return -1;
}

} // namespace fuzzing
