// SPDX-License-Identifier: MIT
#include "quality/record_spill.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace quality {

namespace {

constexpr size_t kBlockBytes = 1 << 20;
// A reader's buffer: a few records at a time (it grows for a larger one).
constexpr size_t kReadBytes = 64 << 10;

} // namespace

RecordSpill::RecordSpill() : block_(new uint8_t[kBlockBytes]) {}

RecordSpill::~RecordSpill() {
    if (file_) std::fclose(file_);
}

void RecordSpill::put(const void* data, size_t size) {
    const uint8_t* from = static_cast<const uint8_t*>(data);
    while (size > 0) {
        if (blockUsed_ == kBlockBytes) flush();
        const size_t n = std::min(size, kBlockBytes - blockUsed_);
        std::memcpy(block_.get() + blockUsed_, from, n);
        blockUsed_ += n;
        from += n;
        size -= n;
    }
}

bool RecordSpill::flush() {
    if (blockUsed_ > 0 && !failed_) {
        if (!file_) file_ = std::tmpfile();
        if (!file_ || std::fwrite(block_.get(), 1, blockUsed_, file_) != blockUsed_) failed_ = true;
    }
    blockUsed_ = 0;
    if (!failed_ && file_ && std::fflush(file_) != 0) failed_ = true;
    return !failed_;
}

RecordSpill::Reader::Reader(const RecordSpill& spill)
    : fd_(spill.file_ ? fileno(spill.file_) : -1), buffer_(new uint8_t[kReadBytes]), capacity_(kReadBytes) {}

const uint8_t* RecordSpill::Reader::peek(size_t size) {
    if (used_ - read_ < size) {
        // Keep the rest of the block and read on after it.
        std::memmove(buffer_.get(), buffer_.get() + read_, used_ - read_);
        used_ -= read_;
        read_ = 0;
        if (size > capacity_) {
            std::unique_ptr<uint8_t[]> larger(new uint8_t[size]);
            std::memcpy(larger.get(), buffer_.get(), used_);
            buffer_ = std::move(larger);
            capacity_ = size;
        }
        while (fd_ >= 0 && used_ < capacity_) {
            const ssize_t n = ::pread(fd_, buffer_.get() + used_, capacity_ - used_, offset_);
            if (n <= 0) break;
            used_ += size_t(n);
            offset_ += n;
        }
        if (used_ < size) return nullptr;
    }
    return buffer_.get() + read_;
}

bool RecordSpill::Reader::take(void* data, size_t size) {
    const uint8_t* p = peek(size);
    if (!p) return false;
    std::memcpy(data, p, size);
    read_ += size;
    return true;
}

} // namespace quality
