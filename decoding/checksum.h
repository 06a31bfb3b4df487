// SPDX-License-Identifier: MIT
#pragma once
// Checksums of the framings the synchroniser knows. Each takes (seed, data, length);
// a length of 0 returns the seed, except CRC-32 which returns 0.
#include <cstdint>

namespace decoding {

// Board CRC-32: reflected polynomial 0xEDB88320, initial value 0 (the seed is ignored),
// no final XOR. A valid frame including its trailing little-endian CRC sums to 0.
// On x86-64 processors with the carry-less multiply instruction, inputs of 19 bytes and more
// are folded with it (decoding/checksum_fold.cpp); the result is the same.
uint32_t crc32(uint32_t seed, const uint8_t* data, uint32_t length);

// The same CRC-32 by the lookup tables alone, on every machine: the reference that the
// folded path is tested and measured against.
uint32_t crc32Portable(uint32_t seed, const uint8_t* data, uint32_t length);

// Whether crc32 folds with the carry-less multiply on this machine (chosen once).
bool crc32UsesCarrylessMultiply();

// CRC-24Q (RTCM 3): polynomial 0x864CFB, MSB first, starting from seed.
uint32_t crc24q(uint32_t seed, const uint8_t* data, uint32_t length);

// UBX 8-bit Fletcher checksum; seed holds ck_a in bits 0..7 and ck_b in bits 8..15,
// and so does the result.
uint32_t ubxChecksum(uint32_t seed, const uint8_t* data, uint32_t length);

} // namespace decoding
