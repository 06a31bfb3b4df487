// SPDX-License-Identifier: MIT
#pragma once
// Reads a fuzz input from the front: fixed-width little-endian values and byte runs.
// Reading past the end yields zeros and empty runs, so every input is a valid program.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace fuzzing {

class ByteReader {
public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool empty() const { return size_ == 0; }
    size_t remaining() const { return size_; }

    uint8_t u8() { return uint8_t(take(1)); }
    uint16_t u16() { return uint16_t(take(2)); }
    uint32_t u32() { return uint32_t(take(4)); }
    uint64_t u64() { return take(8); }
    double f64() {
        const uint64_t bits = u64();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    // At most n bytes (fewer at the end of the input).
    const uint8_t* bytes(size_t n, size_t& taken) {
        taken = n < size_ ? n : size_;
        const uint8_t* start = data_;
        data_ += taken;
        size_ -= taken;
        return start;
    }
    std::string text(size_t n) {
        size_t taken = 0;
        const uint8_t* p = bytes(n, taken);
        return std::string(reinterpret_cast<const char*>(p), taken);
    }

private:
    uint64_t take(size_t width) {
        uint64_t value = 0;
        for (size_t i = 0; i < width && size_ > 0; ++i, ++data_, --size_)
            value |= uint64_t(*data_) << (8 * i);
        return value;
    }

    const uint8_t* data_;
    size_t size_;
};

} // namespace fuzzing
