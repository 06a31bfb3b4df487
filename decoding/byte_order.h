// SPDX-License-Identifier: MIT
#pragma once
// Unaligned little- and big-endian field access. Bytes are assembled one by one so
// the readers work on any pointer and any host.
#include <cstdint>
#include <cstring>

namespace decoding {

inline uint16_t readU16(const uint8_t* p) { return uint16_t(p[0] | (p[1] << 8)); }
inline uint32_t readU32(const uint8_t* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline uint64_t readU64(const uint8_t* p) { return uint64_t(readU32(p)) | (uint64_t(readU32(p + 4)) << 32); }
inline double readF32(const uint8_t* p) {
    uint32_t bits = readU32(p);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}
inline double readF64(const uint8_t* p) {
    uint64_t bits = readU64(p);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

inline uint16_t readU16Be(const uint8_t* p) { return uint16_t((p[0] << 8) | p[1]); }
inline uint32_t readU32Be(const uint8_t* p) {
    return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
}
inline double readF32Be(const uint8_t* p) {
    uint32_t bits = readU32Be(p);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}
inline double readF64Be(const uint8_t* p) {
    uint64_t bits = (uint64_t(readU32Be(p)) << 32) | readU32Be(p + 4);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
}

inline void writeU16(uint8_t* p, uint16_t v) {
    p[0] = uint8_t(v);
    p[1] = uint8_t(v >> 8);
}
inline void writeU32(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i));
}
inline void writeU64(uint8_t* p, uint64_t v) {
    for (int i = 0; i < 8; ++i) p[i] = uint8_t(v >> (8 * i));
}
inline void writeU16Be(uint8_t* p, uint16_t v) {
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}
inline void writeU32Be(uint8_t* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (24 - 8 * i));
}

} // namespace decoding
