// SPDX-License-Identifier: MIT
#include "decoding/log_header.h"

#include "decoding/byte_order.h"

namespace decoding {

int readLogHeader(const uint8_t* frame, uint32_t length, LogHeader& header) {
    if (length < 24 || frame[0] != 0xAA || frame[1] != 0x44 || frame[2] != 0x12) return -1;
    header.headerLength = frame[3];
    header.messageId = readU16(frame + 4);
    header.messageLength = readU16(frame + 8);
    if (length != uint32_t(header.headerLength) + header.messageLength + 4) return -2;
    header.timeStatus = frame[13];
    header.week = readU16(frame + 14);
    header.milliseconds = readU32(frame + 16);
    return 0;
}

int readShortLogHeader(const uint8_t* frame, uint32_t length, ShortLogHeader& header) {
    if (length < 8 || frame[0] != 0xAA || frame[1] != 0x44 || frame[2] != 0x16) return -1;
    header.messageId = readU16(frame + 4);
    header.messageLength = readU16(frame + 6);
    if (length != uint32_t(header.messageLength) + 12) return -2;
    return 0;
}

} // namespace decoding
