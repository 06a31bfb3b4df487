// SPDX-License-Identifier: MIT
#include "quality/feed_spill.h"

#include <cstring>

namespace quality {

namespace {

// The first byte of a record: its kind in the two low bits. A value's byte also holds its
// loss-of-lock digit, its sign and the step from the previous field of the line (step 1 is
// the common case; kFieldEscape says the field number follows).
constexpr unsigned kKindValue = 0, kKindEpoch = 1, kKindSatellite = 2, kKindEvent = 3;
constexpr unsigned kLossOfLockBit = 1u << 2;
constexpr unsigned kNegativeBit = 1u << 3;
constexpr unsigned kFieldShift = 4;
constexpr unsigned kFieldEscape = 15;

constexpr size_t kBlockBytes = size_t(1) << 20;
constexpr size_t kLongestFixedRecord = 1 + 10 + 10;
constexpr int kSatellitesPerSystem = 64;
constexpr int kSystems = 8;

int systemRow(char system) {
    switch (system) {
    case 'G': return 0;
    case 'R': return 1;
    case 'E': return 2;
    case 'C': return 3;
    case 'S': return 4;
    case 'J': return 5;
    case 'I': return 6;
    default: return 7;
    }
}

uint64_t zigzag(int64_t v) {
    return (uint64_t(v) << 1) ^ uint64_t(v >> 63);
}

int64_t unzigzag(uint64_t v) {
    return int64_t(v >> 1) ^ -int64_t(v & 1);
}

} // namespace

FeedSpill::FeedSpill()
    : block_(kBlockBytes), previous_(size_t(kSystems) * kSatellitesPerSystem * kMaxFields, 0) {}

FeedSpill::~FeedSpill() {
    if (file_) std::fclose(file_);
}

uint64_t& FeedSpill::previous(int field) {
    return previous_[row_ + size_t(field)];
}

void FeedSpill::flush() {
    if (used_ == 0 || failed_) {
        used_ = 0;
        return;
    }
    if (!file_) file_ = std::tmpfile();
    if (!file_ || std::fwrite(block_.data(), 1, used_, file_) != used_) failed_ = true;
    written_ += used_;
    used_ = 0;
}

void FeedSpill::room(size_t bytes) {
    if (block_.size() - used_ < bytes) flush();
}

void FeedSpill::putVarint(uint64_t v) {
    while (v >= 0x80) {
        block_[used_++] = static_cast<unsigned char>(v | 0x80);
        v >>= 7;
    }
    block_[used_++] = static_cast<unsigned char>(v);
}

void FeedSpill::epoch(int satellites, int64_t milliseconds) {
    room(kLongestFixedRecord);
    block_[used_++] = kKindEpoch;
    putVarint(uint64_t(uint32_t(satellites)));
    putVarint(zigzag(int64_t(uint64_t(milliseconds) - uint64_t(lastMilliseconds_))));
    lastMilliseconds_ = milliseconds;
}

void FeedSpill::satellite(char system, int number) {
    room(kLongestFixedRecord);
    block_[used_++] = kKindSatellite;
    block_[used_++] = static_cast<unsigned char>(system);
    putVarint(uint64_t(uint32_t(number)));
    row_ = size_t(systemRow(system) * kSatellitesPerSystem + (number & (kSatellitesPerSystem - 1))) * kMaxFields;
    lastField_ = -1;
}

void FeedSpill::value(int field, uint64_t thousandths, bool negative, int lossOfLock) {
    if (field < 0 || field >= kMaxFields) return;
    room(kLongestFixedRecord + 2);
    const int step = field - lastField_ - 1;
    const bool escape = step < 0 || step >= int(kFieldEscape);
    block_[used_++] = static_cast<unsigned char>(kKindValue | (lossOfLock ? kLossOfLockBit : 0) |
                                                 (negative ? kNegativeBit : 0) |
                                                 unsigned(escape ? kFieldEscape : unsigned(step)) << kFieldShift);
    if (escape) putVarint(uint64_t(field));
    uint64_t& last = previous(field);
    putVarint(zigzag(int64_t(thousandths - last)));
    last = thousandths;
    lastField_ = field;
}

void FeedSpill::eventLine(const char* text, int length) {
    if (length < 0) length = 0;
    if (length > kMaxEventLine) length = kMaxEventLine;
    room(kLongestFixedRecord + size_t(length));
    block_[used_++] = kKindEvent;
    putVarint(uint64_t(length));
    if (length > 0) std::memcpy(&block_[used_], text, size_t(length));
    used_ += size_t(length);
}

bool FeedSpill::rewind() {
    if (file_) {
        flush();
        if (!failed_ && std::fflush(file_) != 0) failed_ = true;
        if (!failed_) std::rewind(file_);
        used_ = 0;
    }
    // A short conversion never left memory: its records are read from the block itself.
    read_ = 0;
    reading_ = true;
    atEnd_ = failed_;
    std::fill(previous_.begin(), previous_.end(), 0);
    row_ = 0;
    lastField_ = -1;
    lastMilliseconds_ = 0;
    return !failed_;
}

bool FeedSpill::available(size_t bytes) {
    if (used_ - read_ >= bytes) return true;
    if (file_ && !std::feof(file_) && !std::ferror(file_)) {
        const size_t left = used_ - read_;
        std::memmove(block_.data(), block_.data() + read_, left);
        used_ = left + std::fread(block_.data() + left, 1, block_.size() - left, file_);
        read_ = 0;
    }
    return used_ - read_ >= bytes;
}

uint64_t FeedSpill::getVarint() {
    uint64_t v = 0;
    for (int shift = 0; shift < 64; shift += 7) {
        if (read_ >= used_) {
            atEnd_ = true;
            return 0;
        }
        const unsigned char byte = block_[read_++];
        v |= uint64_t(byte & 0x7F) << shift;
        if (!(byte & 0x80)) return v;
    }
    atEnd_ = true;
    return 0;
}

bool FeedSpill::next(FeedRecord& record) {
    if (!reading_ || atEnd_) return false;
    available(kLongestFixedRecord);
    if (read_ >= used_) {
        atEnd_ = true;
        return false;
    }
    const unsigned head = block_[read_++];
    switch (head & 3u) {
    case kKindValue: {
        const unsigned step = head >> kFieldShift;
        const int field = step == kFieldEscape ? int(getVarint()) : lastField_ + 1 + int(step);
        if (field < 0 || field >= kMaxFields) {
            atEnd_ = true;
            return false;
        }
        uint64_t& last = previous(field);
        last += uint64_t(unzigzag(getVarint()));
        lastField_ = field;
        record.kind = FeedRecord::Value;
        record.field = field;
        record.thousandths = last;
        record.negative = (head & kNegativeBit) != 0;
        record.lossOfLock = (head & kLossOfLockBit) ? 1 : 0;
        break;
    }
    case kKindEpoch:
        record.kind = FeedRecord::Epoch;
        record.satellites = int(uint32_t(getVarint()));
        lastMilliseconds_ = int64_t(uint64_t(lastMilliseconds_) + uint64_t(unzigzag(getVarint())));
        record.milliseconds = lastMilliseconds_;
        break;
    case kKindSatellite: {
        if (read_ >= used_) {
            atEnd_ = true;
            return false;
        }
        record.kind = FeedRecord::Satellite;
        record.system = char(block_[read_++]);
        record.number = int(uint32_t(getVarint()));
        row_ = size_t(systemRow(record.system) * kSatellitesPerSystem +
                      (record.number & (kSatellitesPerSystem - 1))) *
               kMaxFields;
        lastField_ = -1;
        break;
    }
    default: {
        const size_t length = size_t(getVarint());
        if (length > size_t(kMaxEventLine) || !available(length)) {
            atEnd_ = true;
            return false;
        }
        record.kind = FeedRecord::EventLine;
        record.text = reinterpret_cast<const char*>(block_.data() + read_);
        record.length = int(length);
        read_ += length;
        break;
    }
    }
    return !atEnd_;
}

} // namespace quality
