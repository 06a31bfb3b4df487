// SPDX-License-Identifier: MIT
#pragma once
// Reproducible noise for test streams: stray bytes, note lines, spoiled CRCs.
#include <cstddef>
#include <cstdint>
#include <string>

#include "encoder/board_frame.h"

namespace sample_generator {

class Noise {
public:
    explicit Noise(uint32_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 1) {}

    uint64_t next();
    size_t below(size_t n) { return n == 0 ? 0 : size_t(next() % n); }
    bool oneIn(size_t n) { return below(n) == 0; }

    // 1 to 48 bytes that cannot start a frame or end a line: no 0x0A, no 0xAA (board sync),
    // no 0xF5 (the scrambled framing's sync, whose length field could swallow what follows).
    encoding::Bytes junk();
    // "#note N ...\n": a text line that the converter passes over.
    std::string noteLine(size_t number);

private:
    uint64_t state_;
};

// Makes a frame's CRC wrong without touching its length fields.
void spoilCrc(encoding::Bytes& frame);

} // namespace sample_generator
