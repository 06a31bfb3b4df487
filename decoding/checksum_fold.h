// SPDX-License-Identifier: MIT
#pragma once
// CRC-32 by folding with the carry-less multiply, internal to the decoding library (and its
// tests). The frame CRC is M(x)·x^32 mod P(x) over GF(2), M the message with the first byte's
// lowest bit as its highest coefficient. Splitting M into blocks, a block B that lies d bits
// before the end contributes B·x^d, and B·x^d ≡ B·(x^d mod P): a 128-bit block can be carried
// forward ("folded") by two 64×32-bit carry-less multiplications with such remainders, and only
// the last 128 bits are reduced modulo P. The constants below are those remainders, computed
// here from the polynomial.
#include <cstdint>

namespace decoding::detail {

// P(x) reflected: bit j holds the coefficient of x^(31-j), x^32 implied.
constexpr uint32_t kCrc32Polynomial = 0xEDB88320u;

// x^k mod P in the CRC register's order (bit j: coefficient of x^(31-j)). Multiplying by x is a
// right shift, and an x^32 that falls out is replaced by the rest of P.
constexpr uint32_t xPowerModP(unsigned k) {
    uint32_t r = 0x80000000u; // x^0
    for (unsigned i = 0; i < k; ++i)
        r = (r & 1) ? (r >> 1) ^ kCrc32Polynomial : r >> 1;
    return r;
}

// A polynomial of degree at most 32 as a 64-bit multiplier operand, bit j holding the
// coefficient of x^(32-j). Multiplying a 64-bit piece of the message (bit j: x^(63-j)) by such an
// operand gives a product whose bit j holds x^(95-j), 32 degrees below the 128-bit lane's own
// order: so each lane constant below is x^k mod P for a k 32 lower than the distance it spans.
constexpr uint64_t operand(uint32_t reflected) { return uint64_t(reflected) << 1; }

// floor(x^64 / P) for the Barrett reduction, as an operand (degree 32, so 33 bits).
constexpr uint64_t barrettQuotient() {
    // Long division in the usual order (bit i: coefficient of x^i), P = x^32 + ...
    uint64_t normalP = uint64_t(1) << 32;
    for (int j = 0; j < 32; ++j)
        if (kCrc32Polynomial & (1u << j)) normalP |= uint64_t(1) << (31 - j);
    uint64_t remainder = 0, quotient = 0;
    for (int degree = 64; degree >= 0; --degree) {
        remainder = (remainder << 1) | (degree == 64 ? 1 : 0);
        quotient <<= 1;
        if (remainder & (uint64_t(1) << 32)) {
            remainder ^= normalP;
            quotient |= 1;
        }
    }
    uint64_t result = 0; // reverse the 33 bits: x^i goes to bit 32-i
    for (int i = 0; i <= 32; ++i)
        if (quotient & (uint64_t(1) << i)) result |= uint64_t(1) << (32 - i);
    return result;
}

// Each 64-bit half of a lane is multiplied by its own constant; the half that comes first in
// the message (the lane's low qword) lies 64 bits further from the end.
struct FoldConstants {
    // Four lanes carried over the next 64 bytes (512 bits): x^(512+64-32), x^(512-32).
    uint64_t by512First = operand(xPowerModP(544));
    uint64_t by512Second = operand(xPowerModP(480));
    // One lane carried over the next 16 bytes (128 bits): x^(128+64-32), x^(128-32).
    uint64_t by128First = operand(xPowerModP(160));
    uint64_t by128Second = operand(xPowerModP(96));
    // The last 128 bits times x^32, down to 96 bits: the first half's x^(64+32) becomes
    // x^96 mod P (this product needs no offset: its order is the 96-bit value's own).
    uint64_t to96 = operand(xPowerModP(96));
    // 96 bits down to 64: the top 32 bits' x^64 becomes x^64 mod P.
    uint64_t to64 = operand(xPowerModP(64));
    // Barrett reduction of the last 64 bits: floor(x^64 / P), and P itself with its x^32.
    uint64_t barrett = barrettQuotient();
    uint64_t polynomial = operand(kCrc32Polynomial) | 1;
};

constexpr FoldConstants kFold{};

// x^32 ≡ P - x^32, the polynomial's own lower part: the first check of the arithmetic.
static_assert(xPowerModP(32) == kCrc32Polynomial, "x^32 mod P is P without its top term");
static_assert(xPowerModP(31) == 1u, "below x^32 nothing is reduced");

// Continues the table CRC-32 from register value crc over data (slicing by 16).
uint32_t crc32Tables(uint32_t crc, const uint8_t* data, uint32_t length);

// Whether this build and processor can fold (x86-64 with PCLMULQDQ and SSE4.1).
bool crc32FoldSupported();

// The CRC-32 of data (register starting at 0): 64 bytes at a time in four lanes, then 16,
// then the last 1..15 bytes joined to the last lane; inputs under 16 bytes go to the tables.
// Any length; call only when crc32FoldSupported().
uint32_t crc32Folded(const uint8_t* data, uint32_t length);

} // namespace decoding::detail
