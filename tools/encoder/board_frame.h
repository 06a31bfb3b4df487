// SPDX-License-Identifier: MIT
#pragma once
// Builds valid board frames (sync, 28-byte header, body, CRC-32) from field values.
#include <cstddef>
#include <cstdint>
#include <vector>

namespace encoding {

using Bytes = std::vector<uint8_t>;

struct FrameStamp {
    uint16_t week = 0;
    uint32_t milliseconds = 0;
    uint8_t timeStatus = 180; // "fine steering"
};

constexpr uint8_t kBoardHeaderLength = 28;

// sync 0xAA 0x44 0x12, header, body, CRC. The body must fit the 16-bit length field.
Bytes boardFrame(uint16_t messageId, const FrameStamp& stamp, const Bytes& body);

// Little-endian body builder; put() writes at an absolute offset, growing as needed.
class BodyWriter {
public:
    explicit BodyWriter(size_t size = 0) : bytes_(size, 0) {}
    BodyWriter& u8(size_t offset, uint8_t v);
    BodyWriter& u16(size_t offset, uint16_t v);
    BodyWriter& u32(size_t offset, uint32_t v);
    BodyWriter& f32(size_t offset, float v);
    BodyWriter& f64(size_t offset, double v);
    const Bytes& bytes() const { return bytes_; }

private:
    uint8_t* at(size_t offset, size_t width);
    Bytes bytes_;
};

} // namespace encoding
