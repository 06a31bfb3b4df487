// SPDX-License-Identifier: MIT
#include "sample_generator/noise.h"

namespace sample_generator {

uint64_t Noise::next() { // splitmix64: the same sequence on every platform
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

encoding::Bytes Noise::junk() {
    encoding::Bytes bytes(1 + below(48));
    for (uint8_t& b : bytes) {
        do {
            b = uint8_t(next());
        } while (b == 0x0A || b == 0xAA || b == 0xF5);
    }
    return bytes;
}

std::string Noise::noteLine(size_t number) {
    static const char* const words[] = {"battery", "tripod", "level", "logging", "check", "static", "ok"};
    std::string line = "#note " + std::to_string(number);
    for (size_t n = 1 + below(3); n > 0; --n)
        line += std::string(" ") + words[below(sizeof words / sizeof words[0])];
    return line + "\n";
}

void spoilCrc(encoding::Bytes& frame) {
    if (!frame.empty()) frame.back() ^= 0x5A;
}

} // namespace sample_generator
