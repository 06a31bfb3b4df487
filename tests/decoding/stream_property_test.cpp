// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "decoding/log_header.h"
#include "decoding/stream_sync.h"
#include "encoder/board_frame.h"

namespace {

using encoding::Bytes;

enum Kind : uint8_t { Text = 1, Unframed = 2, Board = 3 };

// xorshift32: the same stream on every run.
struct Random {
    uint32_t state;
    uint32_t next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    uint32_t below(uint32_t n) { return next() % n; }
};

// Every callback appended to one flat log: kind, 4-byte length, bytes.
struct Log {
    Bytes bytes;
    uint64_t delivered = 0; // bytes handed to any callback
    std::vector<Bytes> boardFrames;
    bool keepFrames = false;

    void add(Kind kind, const uint8_t* data, uint32_t length) {
        bytes.push_back(kind);
        for (int i = 0; i < 4; ++i)
            bytes.push_back(uint8_t(length >> (8 * i)));
        bytes.insert(bytes.end(), data, data + length);
        delivered += length;
        if (kind == Board && keepFrames) boardFrames.emplace_back(data, data + length);
    }
};

template <Kind K> void record(const uint8_t* data, uint32_t length, void* user) {
    static_cast<Log*>(user)->add(K, data, length);
}

struct Runner {
    Runner() : buffer(16384) {}
    void start(Log& log) {
        decoding::init(sync, buffer.data(), uint32_t(buffer.size()), &log);
        decoding::setOnBoardFrame(sync, record<Board>);
        decoding::setOnTextLine(sync, record<Text>);
        decoding::setOnUnframed(sync, record<Unframed>);
    }
    void feedInChunks(const Bytes& stream, size_t chunk) {
        for (size_t at = 0; at < stream.size(); at += chunk)
            decoding::feed(sync, stream.data() + at, uint32_t(std::min(chunk, stream.size() - at)));
    }
    Bytes buffer;
    decoding::StreamSync sync;
};

// Junk never holds the first sync byte nor a line feed, so it cannot start a frame or
// end a line of its own.
Bytes junk(Random& rng, size_t n) {
    Bytes out;
    while (out.size() < n) {
        const uint8_t b = uint8_t(rng.next());
        if (b != 0xAA && b != 0x0A) out.push_back(b);
    }
    return out;
}

struct Scenario {
    Bytes stream;
    Log expected; // what the framing rules say the callbacks receive
    std::vector<Bytes> frames;
};

Scenario buildScenario(size_t minSize) {
    static const uint16_t ids[] = {43, 140, 1273, 7, 8, 6, 101, 47, 723, 1047, 2010, 9999};
    Random rng{0x2468ACE1u};
    Scenario s;
    while (s.stream.size() < minSize) {
        const Bytes prefix = junk(rng, rng.below(4) == 0 ? rng.below(40) : 0);
        s.stream.insert(s.stream.end(), prefix.begin(), prefix.end());
        if (rng.below(5) < 3) {
            Bytes body(rng.below(3) == 0 ? rng.below(2000) : rng.below(120));
            for (uint8_t& b : body)
                b = uint8_t(rng.next()); // anything goes inside a frame
            const encoding::FrameStamp stamp{uint16_t(rng.below(4000)), rng.below(604800000),
                                             uint8_t(rng.next())};
            const Bytes frame = encoding::boardFrame(ids[rng.below(12)], stamp, body);
            if (!prefix.empty()) s.expected.add(Unframed, prefix.data(), uint32_t(prefix.size()));
            s.expected.add(Board, frame.data(), uint32_t(frame.size()));
            s.frames.push_back(frame);
            s.stream.insert(s.stream.end(), frame.begin(), frame.end());
        } else {
            Bytes line{'$'};
            for (uint32_t n = rng.below(80); n > 0; --n)
                line.push_back(uint8_t(0x20 + rng.below(95)));
            line.push_back('\r');
            line.push_back('\n');
            Bytes delivered = prefix;
            delivered.insert(delivered.end(), line.begin(), line.end());
            s.expected.add(Text, delivered.data(), uint32_t(delivered.size()));
            s.stream.insert(s.stream.end(), line.begin(), line.end());
        }
    }
    // A tail without a line feed or a frame is never delivered.
    const Bytes tail = junk(rng, 25);
    s.stream.insert(s.stream.end(), tail.begin(), tail.end());
    return s;
}

TEST(StreamProperty, ChunkSizeNeverChangesTheCallbacks) {
    const Scenario s = buildScenario(64 * 1024);
    ASSERT_GT(s.frames.size(), 120u);

    Runner whole;
    Log reference;
    reference.keepFrames = true;
    whole.start(reference);
    whole.feedInChunks(s.stream, s.stream.size());
    EXPECT_TRUE(reference.bytes == s.expected.bytes);
    ASSERT_EQ(reference.boardFrames, s.frames);
    for (const Bytes& f : reference.boardFrames) {
        decoding::LogHeader h{};
        EXPECT_EQ(decoding::readLogHeader(f.data(), uint32_t(f.size()), h), 0);
    }
    EXPECT_EQ(reference.delivered + whole.sync.count, s.stream.size());

    Log log;
    for (size_t chunk = 1; chunk <= 4096; ++chunk) {
        log.bytes.clear();
        log.delivered = 0;
        Runner r;
        r.start(log);
        r.feedInChunks(s.stream, chunk);
        ASSERT_TRUE(log.bytes == reference.bytes) << "chunk size " << chunk;
        ASSERT_EQ(r.sync.count, whole.sync.count) << "chunk size " << chunk;
        ASSERT_EQ(r.sync.totalBytes, s.stream.size());
    }
}

TEST(StreamProperty, FrameWithAnyFlippedBitIsNeverDeliveredAndNextFrameIsFound) {
    Random rng{0x13579BDFu};
    const Bytes before = encoding::boardFrame(43, {2000, 1000}, Bytes(16, 0x55));
    const Bytes after = encoding::boardFrame(101, {2000, 2000}, Bytes(24, 0x66));
    // Long enough to end any collection that the flipped frame starts (it never
    // exceeds the buffer), so the next frame lies beyond it.
    const Bytes padding = junk(rng, 16400);
    std::vector<Bytes> targets;
    for (size_t size : {0u, 17u, 200u}) {
        Bytes body(size);
        for (uint8_t& b : body)
            b = uint8_t(rng.next());
        targets.push_back(encoding::boardFrame(uint16_t(1273 + size), {2100, uint32_t(size)}, body));
    }

    Runner r;
    Log log;
    log.keepFrames = true;
    for (const Bytes& target : targets) {
        for (size_t bit = 0; bit < target.size() * 8; ++bit) {
            Bytes stream = before;
            Bytes flipped = target;
            flipped[bit / 8] ^= uint8_t(1u << (bit % 8));
            stream.insert(stream.end(), flipped.begin(), flipped.end());
            stream.insert(stream.end(), padding.begin(), padding.end());
            stream.insert(stream.end(), after.begin(), after.end());

            log = Log{};
            log.keepFrames = true;
            r.start(log);
            r.feedInChunks(stream, stream.size());
            ASSERT_EQ(log.boardFrames, (std::vector<Bytes>{before, after}))
                << "frame of " << target.size() << " bytes, bit " << bit;
            ASSERT_EQ(log.delivered + r.sync.count, stream.size()) << "bit " << bit;
        }
    }
}

} // namespace
