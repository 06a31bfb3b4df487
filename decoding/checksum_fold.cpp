// SPDX-License-Identifier: MIT
#include "decoding/checksum_fold.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>

// Compiled for the instructions it needs whatever the build flags; run only after the check.
#define VELMOOR_FOLD_TARGET __attribute__((target("pclmul,sse4.1")))

namespace decoding::detail {
namespace {

// Shuffles for the last n = 1..15 bytes, read from entry n on: entry i + n is i + n while that
// is below 16, so the shuffle moves lane byte i + n down to i; from 16 on its top bit is set,
// which clears the byte and has the blend take the byte from memory instead. With the top bits
// flipped, the same entries move byte i + n - 16 up to i and clear the bytes below.
constexpr uint8_t kShiftShuffle[32] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A,
                                       0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x80, 0x81, 0x82, 0x83, 0x84, 0x85,
                                       0x86, 0x87, 0x88, 0x89, 0x8A, 0x8B, 0x8C, 0x8D, 0x8E, 0x8F};

VELMOOR_FOLD_TARGET inline __m128i load(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

VELMOOR_FOLD_TARGET inline __m128i pair(uint64_t first, uint64_t second) {
    return _mm_set_epi64x(static_cast<long long>(second), static_cast<long long>(first));
}

// A lane carried forward: its first half in the message (the low qword) times the first
// constant, its second half times the second (FoldConstants).
VELMOOR_FOLD_TARGET inline __m128i fold(__m128i lane, __m128i constants) {
    return _mm_xor_si128(_mm_clmulepi64_si128(lane, constants, 0x00), _mm_clmulepi64_si128(lane, constants, 0x11));
}

// The CRC register for a 128-bit lane L that ends the message: L·x^32 mod P.
VELMOOR_FOLD_TARGET inline uint32_t reduce(__m128i lane) {
    const __m128i low32 = _mm_set_epi32(0, 0, 0, -1);
    const __m128i steps = pair(kFold.to96, kFold.to64);
    const __m128i barrett = pair(kFold.barrett, kFold.polynomial);
    // 96 bits (bit j: x^(95-j)): first half times x^96 mod P, plus the second half times x^32,
    // which is that half moved to the bottom.
    const __m128i z = _mm_xor_si128(_mm_clmulepi64_si128(lane, steps, 0x00), _mm_srli_si128(lane, 8));
    // 64 bits (bit j: x^(63-j)): the top 32 bits times x^64 mod P, plus the lower 64 bits.
    const __m128i w = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(z, low32), steps, 0x10), _mm_srli_si128(z, 4));
    // Barrett: q = floor(floor(w / x^32) · floor(x^64 / P) / x^32) lands in the low 32 bits;
    // w - q·P leaves the remainder in bits 32..63, which is the register's order.
    const __m128i q = _mm_clmulepi64_si128(_mm_and_si128(w, low32), barrett, 0x00);
    const __m128i qp = _mm_clmulepi64_si128(_mm_and_si128(q, low32), barrett, 0x10);
    return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(w, qp), 1));
}

} // namespace

bool crc32FoldSupported() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

VELMOOR_FOLD_TARGET uint32_t crc32Folded(const uint8_t* data, uint32_t length) {
    if (length < 16) return crc32Tables(0, data, length);
    const __m128i by128 = pair(kFold.by128First, kFold.by128Second);
    const uint8_t* p = data;
    const uint8_t* const end = data + length;
    __m128i x;
    if (length >= 64) {
        // Four independent lanes keep the multiplier busy; each jumps over the other three.
        const __m128i by512 = pair(kFold.by512First, kFold.by512Second);
        __m128i x0 = load(p), x1 = load(p + 16), x2 = load(p + 32), x3 = load(p + 48);
        for (p += 64; end - p >= 64; p += 64) {
            x0 = _mm_xor_si128(fold(x0, by512), load(p));
            x1 = _mm_xor_si128(fold(x1, by512), load(p + 16));
            x2 = _mm_xor_si128(fold(x2, by512), load(p + 32));
            x3 = _mm_xor_si128(fold(x3, by512), load(p + 48));
        }
        x = _mm_xor_si128(fold(x0, by128), x1);
        x = _mm_xor_si128(fold(x, by128), x2);
        x = _mm_xor_si128(fold(x, by128), x3);
    } else {
        x = load(p);
        p += 16;
    }
    for (; end - p >= 16; p += 16)
        x = _mm_xor_si128(fold(x, by128), load(p));
    const auto rest = int(end - p);
    if (rest > 0) {
        // The last 1..15 bytes: the lane's first `rest` bytes are carried over 16 bytes (as a
        // lane of leading zeros and them), and its other bytes, joined by the rest read from
        // memory (the last 16 bytes of the input), make the final lane.
        const __m128i shuffle = load(kShiftShuffle + rest);
        const __m128i tail = _mm_blendv_epi8(_mm_shuffle_epi8(x, shuffle), load(end - 16), shuffle);
        const __m128i head = _mm_shuffle_epi8(x, _mm_xor_si128(shuffle, _mm_set1_epi8(char(0x80))));
        x = _mm_xor_si128(fold(head, by128), tail);
    }
    return reduce(x);
}

} // namespace decoding::detail

#else

namespace decoding::detail {

// Other processors: the table path only.
bool crc32FoldSupported() { return false; }

uint32_t crc32Folded(const uint8_t* data, uint32_t length) { return crc32Tables(0, data, length); }

} // namespace decoding::detail

#endif
