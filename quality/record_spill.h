// SPDX-License-Identifier: MIT
#pragma once
// Records kept for a later pass in a temporary file written in large blocks, so that memory
// stays flat however long the input; read back by any number of readers, each at a position
// of its own (two threads may read at once).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <sys/types.h>

namespace quality {

// A value's bytes appended to a record, and read back from one.
template <typename T> void appendBytes(std::vector<uint8_t>& out, const T& value) {
    const size_t at = out.size();
    out.resize(at + sizeof value);
    std::memcpy(out.data() + at, &value, sizeof value);
}

template <typename T> T loadBytes(const uint8_t* p) {
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

class RecordSpill {
public:
    RecordSpill();
    ~RecordSpill();
    RecordSpill(const RecordSpill&) = delete;
    RecordSpill& operator=(const RecordSpill&) = delete;

    void put(const void* data, size_t size);
    // Writes what is kept in memory; false when the file could not be made or written.
    bool flush();

    class Reader {
    public:
        explicit Reader(const RecordSpill& spill);
        // The next size bytes, or null at the end.
        const uint8_t* peek(size_t size);
        bool take(void* data, size_t size);
        void skip(size_t size) { read_ += size; } // after a peek of at least size

    private:
        int fd_;
        off_t offset_ = 0;
        std::unique_ptr<uint8_t[]> buffer_; // not zeroed: only what is read is used
        size_t capacity_, used_ = 0, read_ = 0;
    };

private:
    std::FILE* file_ = nullptr;
    std::unique_ptr<uint8_t[]> block_; // not zeroed: only what is put is written
    size_t blockUsed_ = 0;
    bool failed_ = false;
};

} // namespace quality
