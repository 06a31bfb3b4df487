// SPDX-License-Identifier: MIT
#pragma once
// Where the records of a conversion wait for its quality check: a temporary file in a compact
// byte form, written once in order and read back once in the same order, so that memory
// stays flat however long the conversion.
//
// A value is stored as the difference from the last value of the same field of the same
// satellite: carrier phases and pseudoranges move by a few thousand units a second, so most
// values take two to four bytes instead of eight, and the temporary file stays small enough
// not to cost the conversion its speed.
#include <cstdint>
#include <cstdio>
#include <vector>

namespace quality {

struct FeedRecord {
    enum Kind { Value, Epoch, Satellite, EventLine };
    Kind kind = Value;
    // Value: field index in its satellite line, magnitude in thousandths and sign (kept apart
    // so that a negative value that rounds to zero keeps its sign), loss-of-lock digit.
    int field = 0;
    uint64_t thousandths = 0;
    bool negative = false;
    int lossOfLock = 0;
    // Epoch: satellite count and GPS milliseconds.
    int satellites = 0;
    int64_t milliseconds = 0;
    // Satellite: system letter and number.
    char system = 0;
    int number = 0;
    // Event line: the text, valid until the next call of next().
    const char* text = nullptr;
    int length = 0;
};

class FeedSpill {
public:
    static constexpr int kMaxFields = 256;
    static constexpr int kMaxEventLine = 0xFFFF;

    FeedSpill();
    ~FeedSpill();
    FeedSpill(const FeedSpill&) = delete;
    FeedSpill& operator=(const FeedSpill&) = delete;

    // Writing. Fields outside 0..kMaxFields-1 and lines longer than kMaxEventLine are the
    // caller's to leave out or cut.
    void epoch(int satellites, int64_t milliseconds);
    void satellite(char system, int number);
    void value(int field, uint64_t thousandths, bool negative, int lossOfLock);
    void eventLine(const char* text, int length);

    // Ends the writing and turns to reading from the first record; false when the temporary
    // file could not be written (then nothing can be read).
    bool rewind();
    // Reading: the next record, false at the end.
    bool next(FeedRecord& record);

    bool failed() const { return failed_; }
    // Bytes written so far.
    uint64_t size() const { return written_ + uint64_t(used_); }

private:
    void room(size_t bytes);
    void flush();
    void putVarint(uint64_t v);
    bool available(size_t bytes);
    uint64_t getVarint();
    uint64_t& previous(int field);

    std::FILE* file_ = nullptr;
    std::vector<unsigned char> block_;
    size_t used_ = 0; // bytes in block_ (written, or read from the file)
    size_t read_ = 0; // bytes of block_ already decoded
    uint64_t written_ = 0;
    bool failed_ = false;
    bool reading_ = false;
    bool atEnd_ = false;

    // The state both directions share: the current satellite's row of last values, the last
    // field and the last epoch time.
    std::vector<uint64_t> previous_;
    size_t row_ = 0;
    int lastField_ = -1;
    int64_t lastMilliseconds_ = 0;
};

} // namespace quality
