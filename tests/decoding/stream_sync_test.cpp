// SPDX-License-Identifier: MIT
#include "decoding/stream_sync.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "decoding/byte_order.h"
#include "decoding/checksum.h"
#include "encoder/board_frame.h"

namespace {

using encoding::Bytes;

enum Kind { Text, Unframed, Board, BoardShort, Rtcm3, Ubx, Scrambled, Keyed, Rtcm2, Bin, Stx, Typed };

struct Event {
    Kind kind;
    Bytes bytes;
    int after = -1; // byte following a text line in the buffer
    bool operator==(const Event& o) const { return kind == o.kind && bytes == o.bytes; }
};

std::ostream& operator<<(std::ostream& os, const Event& e) {
    return os << "{kind " << e.kind << ", " << e.bytes.size() << " bytes}";
}

struct Harness {
    explicit Harness(uint32_t capacity = 16384) : buffer(capacity) {
        decoding::init(sync, buffer.data(), capacity, this);
    }
    template <Kind K> static void record(const uint8_t* data, uint32_t length, void* user) {
        auto* self = static_cast<Harness*>(user);
        Event e{K, Bytes(data, data + length)};
        if (K == Text) e.after = data[length];
        self->events.push_back(e);
    }
    void feed(const Bytes& bytes) { decoding::feed(sync, bytes.data(), uint32_t(bytes.size())); }

    std::vector<uint8_t> buffer;
    decoding::StreamSync sync;
    std::vector<Event> events;
};

// The converter's configuration: board frames, text lines and discarded bytes.
struct ConverterHarness : Harness {
    ConverterHarness() {
        decoding::setOnBoardFrame(sync, record<Board>);
        decoding::setOnTextLine(sync, record<Text>);
        decoding::setOnUnframed(sync, record<Unframed>);
    }
};

Bytes frameWithBody(uint16_t id, size_t bodySize, uint8_t fill = 0x31) {
    return encoding::boardFrame(id, encoding::FrameStamp{2200, 345600000}, Bytes(bodySize, fill));
}

Bytes text(const std::string& s) {
    return Bytes(s.begin(), s.end());
}

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

// Appends the CRC-24Q of the frame, most significant byte first.
Bytes withCrc24q(Bytes frame) {
    const uint32_t crc = decoding::crc24q(0, frame.data(), uint32_t(frame.size()));
    frame.push_back(uint8_t(crc >> 16));
    frame.push_back(uint8_t(crc >> 8));
    frame.push_back(uint8_t(crc));
    return frame;
}

Bytes ubxFrame(uint8_t cls, uint8_t id, const Bytes& payload) {
    Bytes f{0xB5, 0x62, cls, id, uint8_t(payload.size()), uint8_t(payload.size() >> 8)};
    f.insert(f.end(), payload.begin(), payload.end());
    uint8_t a = 0, b = 0;
    for (size_t i = 2; i < f.size(); ++i) {
        a = uint8_t(a + f[i]);
        b = uint8_t(b + a);
    }
    f.push_back(a);
    f.push_back(b);
    return f;
}

TEST(StreamSync, InitClearsAllFieldsAndKeepsBufferCapacityAndUser) {
    decoding::StreamSync sync;
    std::memset(&sync, 0x5A, sizeof sync);
    uint8_t buffer[64];
    int user = 0;
    decoding::init(sync, buffer, sizeof buffer, &user);
    EXPECT_EQ(sync.buffer, buffer);
    EXPECT_EQ(sync.capacity, 64u);
    EXPECT_EQ(sync.user, &user);
    EXPECT_EQ(sync.onTextLine, nullptr);
    EXPECT_EQ(sync.onUnframed, nullptr);
    EXPECT_EQ(sync.onBoardFrame, nullptr);
    EXPECT_EQ(sync.onStxFrame[1], nullptr);
    EXPECT_EQ(sync.onTypedFrame, nullptr);
    EXPECT_EQ(sync.handler, nullptr);
    EXPECT_EQ(sync.shift, 0u);
    EXPECT_EQ(sync.count, 0u);
    EXPECT_EQ(sync.expected, 0u);
    EXPECT_EQ(sync.totalBytes, 0u);
    EXPECT_EQ(sync.runStart, 0u);
}

TEST(StreamSync, SettersStoreTheirCallbackInTheirOwnSlot) {
    Harness h;
    decoding::setOnScrambledFrame(h.sync, Harness::record<Scrambled>);
    decoding::setOnKeyedFrame(h.sync, Harness::record<Keyed>);
    decoding::setOnRtcm2Frame(h.sync, Harness::record<Rtcm2>);
    decoding::setOnRtcm3Frame(h.sync, Harness::record<Rtcm3>);
    decoding::setOnUbxFrame(h.sync, Harness::record<Ubx>);
    decoding::setOnBoardShortFrame(h.sync, Harness::record<BoardShort>);
    decoding::setOnBinFrame(h.sync, Harness::record<Bin>);
    decoding::setOnStxFrame(h.sync, 1, Harness::record<Stx>);
    decoding::setOnTypedFrame(h.sync, Harness::record<Typed>);
    EXPECT_EQ(h.sync.onScrambledFrame, &Harness::record<Scrambled>);
    EXPECT_EQ(h.sync.onKeyedFrame, &Harness::record<Keyed>);
    EXPECT_EQ(h.sync.onRtcm2Frame, &Harness::record<Rtcm2>);
    EXPECT_EQ(h.sync.onRtcm3Frame, &Harness::record<Rtcm3>);
    EXPECT_EQ(h.sync.onUbxFrame, &Harness::record<Ubx>);
    EXPECT_EQ(h.sync.onBoardShortFrame, &Harness::record<BoardShort>);
    EXPECT_EQ(h.sync.onBinFrame, &Harness::record<Bin>);
    EXPECT_EQ(h.sync.onStxFrame[0], nullptr);
    EXPECT_EQ(h.sync.onStxFrame[1], &Harness::record<Stx>);
    EXPECT_EQ(h.sync.onTypedFrame, &Harness::record<Typed>);
    EXPECT_EQ(h.sync.onBoardFrame, nullptr);
}

TEST(StreamSync, VersionIsTheLibraryVersionText) {
    EXPECT_STREQ(decoding::version(), "SATDECODER.1.52.2011.73");
}

TEST(StreamSync, FeedingZeroBytesChangesNothing) {
    ConverterHarness h;
    const uint8_t byte = 0xAA;
    decoding::feed(h.sync, &byte, 0);
    EXPECT_EQ(h.sync.count, 0u);
    EXPECT_EQ(h.sync.totalBytes, 0u);
    EXPECT_EQ(h.sync.shift, 0u);
    EXPECT_TRUE(h.events.empty());
}

TEST(StreamSync, ShiftRegisterHoldsTheLastFourBytesAcrossFrames) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(43, 8);
    h.feed(cat({text("xy"), frame, text("\x01\x02")}));
    EXPECT_EQ(h.sync.shift,
              (uint32_t(frame[frame.size() - 2]) << 24) | (uint32_t(frame.back()) << 16) | 0x0102u);
    EXPECT_EQ(h.sync.totalBytes, 2 + frame.size() + 2);
    EXPECT_EQ(h.sync.count, 2u);
    EXPECT_EQ(h.sync.runStart, 2 + frame.size());
}

TEST(StreamSync, FrameSplitAcrossFeedsIsDeliveredOnceWhole) {
    const Bytes frame = frameWithBody(140, 61);
    for (size_t split = 0; split <= frame.size(); ++split) {
        ConverterHarness h;
        h.feed(Bytes(frame.begin(), frame.begin() + split));
        h.feed(Bytes(frame.begin() + split, frame.end()));
        ASSERT_EQ(h.events, (std::vector<Event>{{Board, frame}})) << "split at " << split;
    }
    ConverterHarness h;
    for (uint8_t b : frame)
        decoding::feed(h.sync, &b, 1);
    EXPECT_EQ(h.events, (std::vector<Event>{{Board, frame}}));
}

TEST(StreamSync, SyncBytesAsFirstThreeBytesOfStreamStartAFrame) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(43, 0);
    h.feed(frame);
    EXPECT_EQ(h.events, (std::vector<Event>{{Board, frame}}));
}

TEST(StreamSync, SyncPatternSpanningAnEmptiedBufferStartsNoFrame) {
    // A rejected frame ends in the first one or two sync bytes and empties the buffer; the
    // rest completes the pattern in the shift register, but not all three bytes are held.
    const Bytes sync{0xAA, 0x44, 0x12};
    const Bytes good = frameWithBody(101, 20);
    for (size_t inBroken = 1; inBroken <= 2; ++inBroken) {
        ConverterHarness h;
        Bytes broken = frameWithBody(43, 8);
        std::copy(sync.begin(), sync.begin() + inBroken, broken.end() - inBroken);
        const Bytes rest(sync.begin() + inBroken, sync.end());
        h.feed(cat({broken, rest, good}));
        EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, broken}, {Unframed, rest}, {Board, good}}))
            << inBroken << " sync bytes in the rejected frame";
    }
}

TEST(StreamSync, FrameWithWrongCrcGoesWholeToUnframedAndNextFrameIsFound) {
    ConverterHarness h;
    Bytes bad = frameWithBody(43, 30);
    bad[40] ^= 0x01;
    const Bytes good = frameWithBody(43, 30, 0x32);
    h.feed(cat({bad, good}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, bad}, {Board, good}}));
}

TEST(StreamSync, HeaderAnnouncingCapacityOrMoreIsRejectedAtTenthByte) {
    ConverterHarness h;
    // Header length 28 + message length 16352 + 4 = 16384.
    const Bytes head{0xAA, 0x44, 0x12, 28, 43, 0, 0, 0, 0xE0, 0x3F};
    h.feed(Bytes(head.begin(), head.begin() + 9));
    EXPECT_TRUE(h.events.empty());
    h.feed(Bytes{head[9]});
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, head}}));
    EXPECT_EQ(h.sync.handler, nullptr);
    EXPECT_EQ(h.sync.count, 0u);
}

TEST(StreamSync, FrameOneByteShorterThanCapacityIsDelivered) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(1273, 16383 - 32);
    ASSERT_EQ(frame.size(), 16383u);
    h.feed(frame);
    EXPECT_EQ(h.events, (std::vector<Event>{{Board, frame}}));
}

TEST(StreamSync, HeaderAnnouncingFewerThanEightBytesIsRejectedAtTenthByte) {
    ConverterHarness h;
    // Header length 0 + message length 3 + 4 = 7.
    const Bytes head{0xAA, 0x44, 0x12, 0, 43, 0, 0, 0, 3, 0};
    h.feed(head);
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, head}}));
}

TEST(StreamSync, TextLineIsDeliveredWithItsLineFeedAndAZeroAfterIt) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(47, 12);
    h.feed(cat({text("abc\n"), frame}));
    ASSERT_EQ(h.events, (std::vector<Event>{{Text, text("abc\n")}, {Board, frame}}));
    EXPECT_EQ(h.events[0].after, 0);
}

TEST(StreamSync, LineWithoutLineFeedBeforeSyncGoesToUnframed) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(47, 12);
    h.feed(cat({text("abc"), frame}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, text("abc")}, {Board, frame}}));
}

TEST(StreamSync, TextLineIncludesEverythingSinceTheLastFrame) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(47, 4);
    h.feed(cat({frame, text("\x01\x02junk$PPK,1*00\r\n")}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Board, frame}, {Text, text("\x01\x02junk$PPK,1*00\r\n")}}));
}

TEST(StreamSync, LineFeedsAreNotTextLinesWithoutTextCallback) {
    Harness h;
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    decoding::setOnBoardFrame(h.sync, Harness::record<Board>);
    const Bytes frame = frameWithBody(47, 4);
    h.feed(cat({text("a\nb\n"), frame}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, text("a\nb\n")}, {Board, frame}}));
}

TEST(StreamSync, LineFeedInsideBinaryFrameNeverTriggersTextLine) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(43, 50, 0x0A);
    h.feed(frame);
    EXPECT_EQ(h.events, (std::vector<Event>{{Board, frame}}));
}

TEST(StreamSync, FullBufferWithoutSyncOrLineFeedIsFlushedAsOneRun) {
    ConverterHarness h;
    Bytes junk(16384);
    for (size_t i = 0; i < junk.size(); ++i)
        junk[i] = uint8_t(0x20 + i % 90);
    h.feed(Bytes(junk.begin(), junk.begin() + 16383));
    EXPECT_TRUE(h.events.empty());
    h.feed(Bytes{junk.back()});
    ASSERT_EQ(h.events, (std::vector<Event>{{Unframed, Bytes(junk.begin(), junk.begin() + 16383)}}));
    EXPECT_EQ(h.sync.count, 1u);
    EXPECT_EQ(h.sync.buffer[0], junk.back());
    EXPECT_EQ(h.sync.runStart, 16383u);
}

TEST(StreamSync, BytesOfARejectedFrameAreNotSearchedAgain) {
    ConverterHarness h;
    const Bytes inner = frameWithBody(43, 10);
    // An outer frame whose length spans the inner one, with a CRC that does not fit.
    Bytes outer{0xAA, 0x44, 0x12, 28, 43, 0, 0, 0, uint8_t(inner.size() + 8), 0};
    outer.resize(28, 0x33);
    outer.insert(outer.end(), inner.begin(), inner.end());
    outer.resize(28 + inner.size() + 8 + 4, 0x33);
    const Bytes after = frameWithBody(8, 6);
    h.feed(cat({outer, after}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, outer}, {Board, after}}));
}

TEST(StreamSync, DisabledFramingsAreNotRecognised) {
    ConverterHarness h;
    const Bytes ubx = ubxFrame(1, 7, Bytes(4, 9));
    const Bytes frame = frameWithBody(43, 3);
    h.feed(cat({ubx, frame}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, ubx}, {Board, frame}}));
}

TEST(StreamSync, ShortHeaderFramingIsDeliveredWithItsCrc) {
    Harness h;
    decoding::setOnBoardShortFrame(h.sync, Harness::record<BoardShort>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    Bytes frame{0xAA, 0x44, 0x16, 0, 0x2B, 0, 5, 0, 1, 2, 3, 4, 5};
    uint8_t crc[4];
    decoding::writeU32(crc, decoding::crc32(0, frame.data(), uint32_t(frame.size())));
    frame.insert(frame.end(), crc, crc + 4);
    ASSERT_EQ(frame.size(), 5u + 12u);
    h.feed(cat({text("zz"), frame}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, text("zz")}, {BoardShort, frame}}));
}

TEST(StreamSync, Rtcm3FrameWithGoodCrcIsDeliveredWhole) {
    Harness h;
    decoding::setOnRtcm3Frame(h.sync, Harness::record<Rtcm3>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    const Bytes frame = withCrc24q({0xD3, 0x00, 0x04, 0x3E, 0xD0, 0x01, 0x02});
    h.feed(cat({text("q"), frame}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, text("q")}, {Rtcm3, frame}}));
}

TEST(StreamSync, Rtcm3FrameWithBadCrcIsRejected) {
    Harness h;
    decoding::setOnRtcm3Frame(h.sync, Harness::record<Rtcm3>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    Bytes frame = withCrc24q({0xD3, 0x00, 0x04, 0x3E, 0xD0, 0x01, 0x02});
    frame.back() ^= 0x80;
    h.feed(frame);
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, frame}}));
}

TEST(StreamSync, Rtcm3LengthBelowEightIsRejectedAtThirdByte) {
    Harness h;
    decoding::setOnRtcm3Frame(h.sync, Harness::record<Rtcm3>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    h.feed(Bytes{0xD3, 0x00, 0x01});
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, Bytes{0xD3, 0x00, 0x01}}}));
}

TEST(StreamSync, UbxFrameIsCheckedByItsFletcherSum) {
    Harness h;
    decoding::setOnUbxFrame(h.sync, Harness::record<Ubx>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    const Bytes good = ubxFrame(0x02, 0x15, Bytes{1, 2, 3, 4, 5});
    Bytes bad = ubxFrame(0x02, 0x15, Bytes{1, 2, 3, 4, 5});
    bad[7] ^= 0x10;
    h.feed(cat({good, bad}));
    EXPECT_EQ(h.events, (std::vector<Event>{{Ubx, good}, {Unframed, bad}}));
}

TEST(StreamSync, ScrambledFrameIsConsumedByItsLengthWithoutSearchingInside) {
    Harness h;
    decoding::setOnScrambledFrame(h.sync, Harness::record<Scrambled>);
    decoding::setOnBoardFrame(h.sync, Harness::record<Board>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    // Total length 16 + 4; the payload from byte 8 on holds a board sync pattern.
    const Bytes frame{0xF5, 0x95, 16, 0, 0, 0, 0x12, 0x34, 0xAA, 0x44, 0x12, 28, 1, 2, 3, 4, 5, 6, 7, 8};
    h.feed(frame);
    EXPECT_EQ(h.events, (std::vector<Event>{{Scrambled, Bytes(frame.begin() + 8, frame.end())}}));
    EXPECT_EQ(h.sync.count, 0u);
    EXPECT_EQ(h.sync.handler, nullptr);
}

TEST(StreamSync, ScrambledFrameShorterThanEightIsRejectedAtFourthByte) {
    Harness h;
    decoding::setOnScrambledFrame(h.sync, Harness::record<Scrambled>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    h.feed(Bytes{0xF5, 0x95, 3, 0});
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, Bytes{0xF5, 0x95, 3, 0}}}));
}

TEST(StreamSync, UnusedFramingIsDroppedAfterItsSync) {
    Harness h;
    decoding::setOnBinFrame(h.sync, Harness::record<Bin>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    h.feed(text("ab$BINxy"));
    // "ab" precedes the sync; the collector ends the frame at the next byte.
    EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, text("ab")}, {Unframed, text("$BINx")}}));
    EXPECT_EQ(h.sync.count, 1u);
}

TEST(StreamSync, TypedFramingStartsOnlyWithAByteHeld) {
    Harness h;
    decoding::setOnTextLine(h.sync, Harness::record<Text>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    h.feed(Bytes{0x03});
    decoding::setOnTypedFrame(h.sync, Harness::record<Typed>);
    // The line empties the buffer, which still begins with 0x03 but holds no byte.
    h.feed(Bytes{'\n'});
    EXPECT_EQ(h.events, (std::vector<Event>{{Text, Bytes{0x03, '\n'}}}));
    EXPECT_EQ(h.sync.handler, nullptr);
    EXPECT_EQ(h.sync.count, 0u);
    // A held first byte of 1..4 does start one, which ends at the next byte.
    h.feed(Bytes{0x04, 'x'});
    EXPECT_EQ(h.events.back(), (Event{Unframed, Bytes{0x04, 'x'}}));
}

// GPS navigation-word parity equations: for each of D25..D30, the previous-word bit
// (29 or 30) and the data bits d1..d24 it sums.
uint32_t parityByEquations(uint32_t data24, int d29, int d30) {
    static const std::vector<std::vector<int>> terms = {
        {29, 1, 2, 3, 5, 6, 10, 11, 12, 13, 14, 17, 18, 20, 23},
        {30, 2, 3, 4, 6, 7, 11, 12, 13, 14, 15, 18, 19, 21, 24},
        {29, 1, 3, 4, 5, 7, 8, 12, 13, 14, 15, 16, 19, 20, 22},
        {30, 2, 4, 5, 6, 8, 9, 13, 14, 15, 16, 17, 20, 21, 23},
        {30, 1, 3, 5, 6, 7, 9, 10, 14, 15, 16, 17, 18, 21, 22, 24},
        {29, 3, 5, 6, 8, 9, 10, 11, 13, 15, 19, 22, 23, 24},
    };
    uint32_t parity = 0;
    for (const auto& row : terms) {
        int bit = row[0] == 29 ? d29 : d30;
        for (size_t i = 1; i < row.size(); ++i)
            bit ^= (data24 >> (24 - row[i])) & 1;
        parity = (parity << 1) | uint32_t(bit);
    }
    return parity;
}

// Five bytes carrying a 30-bit word, six bits each, first transmitted bit in bit 0.
Bytes rtcm2Bytes(uint32_t word30) {
    Bytes out;
    for (int i = 0; i < 5; ++i) {
        uint8_t b = 0x40;
        for (int j = 0; j < 6; ++j)
            b |= uint8_t(((word30 >> (29 - 6 * i - j)) & 1) << j);
        out.push_back(b);
    }
    return out;
}

Bytes rtcm2FirstWord(int d29, int d30) {
    const uint32_t data = (0x66u << 16) | 0x1234u; // preamble, message type and station
    const uint32_t sent = d30 ? (~data & 0xFFFFFF) : data;
    return rtcm2Bytes((sent << 6) | parityByEquations(data, d29, d30));
}

TEST(StreamSync, Rtcm2WordWithPreambleAndParityStartsAFrame) {
    for (int d29 = 0; d29 <= 1; ++d29) {
        for (int d30 = 0; d30 <= 1; ++d30) {
            Harness h;
            decoding::setOnRtcm2Frame(h.sync, Harness::record<Rtcm2>);
            decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
            const Bytes word = rtcm2FirstWord(d29, d30);
            ASSERT_EQ(word[0], d30 ? 0x59 : 0x66);
            h.feed(cat({text("zz"), word}));
            EXPECT_EQ(h.events, (std::vector<Event>{{Unframed, text("zz")}})) << d29 << d30;
            EXPECT_EQ(h.sync.count, 5u);
            EXPECT_NE(h.sync.handler, nullptr);
        }
    }
}

TEST(StreamSync, Rtcm2WordWithWrongParityStartsNothing) {
    Harness h;
    decoding::setOnRtcm2Frame(h.sync, Harness::record<Rtcm2>);
    decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
    Bytes word = rtcm2FirstWord(0, 0);
    word[4] ^= 0x20; // last parity bit
    h.feed(cat({text("zz"), word}));
    EXPECT_TRUE(h.events.empty());
    EXPECT_EQ(h.sync.handler, nullptr);
    EXPECT_EQ(h.sync.count, 7u);
}

} // namespace

namespace {

// The stream after a frame's first bytes: the byte that follows goes to the collector, which
// finds its callback gone and ends the frame there.
TEST(StreamSync, FrameWhoseCallbackIsClearedBetweenFeedsEndsAtTheNextByte) {
    ConverterHarness h;
    const Bytes frame = frameWithBody(43, 60);
    h.feed(Bytes(frame.begin(), frame.begin() + 20));
    decoding::setOnBoardFrame(h.sync, nullptr);
    h.feed(Bytes(frame.begin() + 20, frame.end()));
    ASSERT_FALSE(h.events.empty());
    EXPECT_EQ(h.events.front(), (Event{Unframed, Bytes(frame.begin(), frame.begin() + 21)}));
}

// A frame as long as the buffer never fits: the full buffer is flushed while the collector
// stays active, and with the count back at 1 the collector reads a length again at its fourth
// byte, from the bytes now at the front. Here that length is too large, which ends the frame.
TEST(StreamSync, ScrambledFrameAsLongAsTheBufferRereadsItsLengthAfterTheFlush) {
    for (const size_t chunk : {size_t(1), size_t(7), size_t(64), size_t(1000)}) {
        Harness h(64);
        decoding::setOnScrambledFrame(h.sync, Harness::record<Scrambled>);
        decoding::setOnUnframed(h.sync, Harness::record<Unframed>);
        Bytes stream{0xF5, 0x95, 60, 0}; // total length 64: the capacity
        for (int i = 0; stream.size() < 200; ++i)
            stream.push_back(uint8_t(0x20 + i % 50));
        for (size_t at = 0; at < stream.size(); at += chunk)
            decoding::feed(h.sync, stream.data() + at, uint32_t(std::min(chunk, stream.size() - at)));
        auto run = [&](long from, long to) {
            return Event{Unframed, Bytes(stream.begin() + from, stream.begin() + to)};
        };
        // 63 bytes fill the buffer; bytes 63..66 hold the new length 0x2C2B + 4; then hunting
        // flushes full buffers of 63 bytes and keeps the last 7.
        EXPECT_EQ(h.events, (std::vector<Event>{run(0, 63), run(63, 67), run(67, 130), run(130, 193)}))
            << "chunk " << chunk;
        EXPECT_EQ(h.sync.count, 7u) << "chunk " << chunk;
        EXPECT_EQ(h.sync.handler, nullptr);
        EXPECT_EQ(h.sync.totalBytes, 200u);
    }
}

} // namespace
