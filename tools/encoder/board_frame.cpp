// SPDX-License-Identifier: MIT
#include "encoder/board_frame.h"

#include <cstring>
#include <stdexcept>

#include "decoding/byte_order.h"
#include "decoding/checksum.h"

namespace encoding {

Bytes boardFrame(uint16_t messageId, const FrameStamp& stamp, const Bytes& body) {
    if (body.size() > 0xFFFF) throw std::length_error("board frame body longer than 65535 bytes");
    Bytes frame(kBoardHeaderLength + body.size() + 4, 0);
    uint8_t* p = frame.data();
    p[0] = 0xAA;
    p[1] = 0x44;
    p[2] = 0x12;
    p[3] = kBoardHeaderLength;
    decoding::writeU16(p + 4, messageId);
    decoding::writeU16(p + 8, uint16_t(body.size()));
    p[13] = stamp.timeStatus;
    decoding::writeU16(p + 14, stamp.week);
    decoding::writeU32(p + 16, stamp.milliseconds);
    if (!body.empty()) std::memcpy(p + kBoardHeaderLength, body.data(), body.size());
    const uint32_t n = uint32_t(kBoardHeaderLength + body.size());
    decoding::writeU32(p + n, decoding::crc32(0, p, n));
    return frame;
}

uint8_t* BodyWriter::at(size_t offset, size_t width) {
    if (bytes_.size() < offset + width) bytes_.resize(offset + width, 0);
    return bytes_.data() + offset;
}

BodyWriter& BodyWriter::u8(size_t offset, uint8_t v) {
    *at(offset, 1) = v;
    return *this;
}
BodyWriter& BodyWriter::u16(size_t offset, uint16_t v) {
    decoding::writeU16(at(offset, 2), v);
    return *this;
}
BodyWriter& BodyWriter::u32(size_t offset, uint32_t v) {
    decoding::writeU32(at(offset, 4), v);
    return *this;
}
BodyWriter& BodyWriter::f32(size_t offset, float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, 4);
    return u32(offset, bits);
}
BodyWriter& BodyWriter::f64(size_t offset, double v) {
    uint64_t bits;
    std::memcpy(&bits, &v, 8);
    decoding::writeU64(at(offset, 8), bits);
    return *this;
}

} // namespace encoding
