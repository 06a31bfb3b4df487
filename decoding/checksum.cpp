// SPDX-License-Identifier: MIT
#include "decoding/checksum.h"

#include <array>
#include <cstddef>

#include "decoding/checksum_fold.h"

namespace decoding {
namespace {

// Table k gives the CRC of a byte followed by k zero bytes, so that sixteen bytes can be
// folded in at once (slicing by 16); table 0 is the usual byte-at-a-time table.
using Crc32Tables = std::array<std::array<uint32_t, 256>, 16>;

constexpr Crc32Tables makeCrc32Tables() {
    Crc32Tables tables{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t c = i;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
        tables[0][i] = c;
    }
    for (std::size_t k = 1; k < tables.size(); ++k)
        for (uint32_t i = 0; i < 256; ++i)
            tables[k][i] = (tables[k - 1][i] >> 8) ^ tables[0][tables[k - 1][i] & 0xFF];
    return tables;
}

constexpr std::array<uint32_t, 256> makeCrc24qTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t c = i << 16;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 0x800000u) ? (c << 1) ^ 0x864CFBu : c << 1;
        table[i] = c & 0xFFFFFFu;
    }
    return table;
}

constexpr Crc32Tables kCrc32 = makeCrc32Tables();
constexpr auto kCrc24qTable = makeCrc24qTable();

} // namespace

namespace detail {

uint32_t crc32Tables(uint32_t crc, const uint8_t* data, uint32_t length) {
    uint32_t c = crc;
    uint32_t i = 0;
    for (; i + 16 <= length; i += 16) {
        const uint8_t* p = data + i;
        const uint32_t low =
            c ^ (uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24);
        c = kCrc32[15][low & 0xFF] ^ kCrc32[14][(low >> 8) & 0xFF] ^ kCrc32[13][(low >> 16) & 0xFF] ^
            kCrc32[12][low >> 24] ^ kCrc32[11][p[4]] ^ kCrc32[10][p[5]] ^ kCrc32[9][p[6]] ^ kCrc32[8][p[7]] ^
            kCrc32[7][p[8]] ^ kCrc32[6][p[9]] ^ kCrc32[5][p[10]] ^ kCrc32[4][p[11]] ^ kCrc32[3][p[12]] ^
            kCrc32[2][p[13]] ^ kCrc32[1][p[14]] ^ kCrc32[0][p[15]];
    }
    for (; i < length; ++i)
        c = (c >> 8) ^ kCrc32[0][(c ^ data[i]) & 0xFF];
    return c;
}

} // namespace detail

namespace {

// Below this length the tables win: one slicing step and a byte or two cost less than the
// fold's fixed reduction to 32 bits (measured per length by bench/checksum_bench.cpp).
constexpr uint32_t kFoldFrom = 19;

bool foldChosen() {
    static const bool chosen = detail::crc32FoldSupported();
    return chosen;
}

} // namespace

uint32_t crc32(uint32_t /*seed*/, const uint8_t* data, uint32_t length) {
    if (length >= kFoldFrom && foldChosen()) return detail::crc32Folded(data, length);
    return detail::crc32Tables(0, data, length);
}

uint32_t crc32Portable(uint32_t /*seed*/, const uint8_t* data, uint32_t length) {
    return detail::crc32Tables(0, data, length);
}

bool crc32UsesCarrylessMultiply() { return foldChosen(); }

uint32_t crc24q(uint32_t seed, const uint8_t* data, uint32_t length) {
    uint32_t c = seed & 0xFFFFFFu;
    for (uint32_t i = 0; i < length; ++i)
        c = ((c << 8) & 0xFFFFFFu) ^ kCrc24qTable[((c >> 16) ^ data[i]) & 0xFF];
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
