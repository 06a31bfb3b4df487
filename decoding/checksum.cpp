#include "decoding/checksum.h"

#include <array>

namespace decoding {
namespace {

constexpr std::array<uint32_t, 256> makeCrc32Table() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t c = i;
        for (int bit = 0; bit < 8; ++bit) c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
        table[i] = c;
    }
    return table;
}

constexpr std::array<uint32_t, 256> makeCrc24qTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t c = i << 16;
        for (int bit = 0; bit < 8; ++bit) c = (c & 0x800000u) ? (c << 1) ^ 0x864CFBu : c << 1;
        table[i] = c & 0xFFFFFFu;
    }
    return table;
}

constexpr auto kCrc32Table = makeCrc32Table();
constexpr auto kCrc24qTable = makeCrc24qTable();

} // namespace

uint32_t crc32(uint32_t /*seed*/, const uint8_t* data, uint32_t length) {
    uint32_t c = 0;
    for (uint32_t i = 0; i < length; ++i) c = (c >> 8) ^ kCrc32Table[(c ^ data[i]) & 0xFF];
    return c;
}

uint32_t crc24q(uint32_t seed, const uint8_t* data, uint32_t length) {
    uint32_t c = seed & 0xFFFFFFu;
    for (uint32_t i = 0; i < length; ++i) c = ((c << 8) & 0xFFFFFFu) ^ kCrc24qTable[((c >> 16) ^ data[i]) & 0xFF];
    return c;
}

uint32_t ubxChecksum(uint32_t seed, const uint8_t* data, uint32_t length) {
    uint8_t a = uint8_t(seed), b = uint8_t(seed >> 8);
    for (uint32_t i = 0; i < length; ++i) {
        a = uint8_t(a + data[i]);
        b = uint8_t(b + a);
    }
    return uint32_t(a) | (uint32_t(b) << 8);
}

} // namespace decoding
