// SPDX-License-Identifier: MIT
#include "decoding/stream_sync.h"

#include <algorithm>
#include <cstring>

#include "decoding/byte_order.h"
#include "decoding/checksum.h"

namespace decoding {
namespace {

void emit(FrameCallback cb, const uint8_t* data, uint32_t length, void* user) {
    if (cb) cb(data, length, user);
}

// Shared tail of the checked framings, once the whole frame is held.
CollectResult finishChecked(StreamSync& s, FrameCallback cb, bool valid) {
    if (!valid) return CollectDone;
    emit(cb, s.buffer, s.expected, s.user);
    s.count = 0;
    s.runStart = s.totalBytes;
    return CollectDone;
}

CollectResult collectBoard(StreamSync& s) {
    if (!s.onBoardFrame) return CollectDone;
    if (s.count == 10) {
        s.expected = uint32_t(s.buffer[3]) + readU16(s.buffer + 8) + 4;
        if (s.expected < 8 || s.expected >= s.capacity) return CollectDone;
    }
    if (s.expected == 0 || s.count < s.expected) return CollectContinue;
    return finishChecked(s, s.onBoardFrame, crc32(0, s.buffer, s.expected) == 0);
}

CollectResult collectBoardShort(StreamSync& s) {
    if (!s.onBoardShortFrame) return CollectDone;
    if (s.count == 8) {
        s.expected = uint32_t(readU16(s.buffer + 6)) + 12;
        if (s.expected >= s.capacity) return CollectDone;
    }
    if (s.expected == 0 || s.count < s.expected) return CollectContinue;
    return finishChecked(s, s.onBoardShortFrame, crc32(0, s.buffer, s.expected) == 0);
}

CollectResult collectRtcm3(StreamSync& s) {
    if (!s.onRtcm3Frame) return CollectDone;
    if (s.count == 3) {
        s.expected = ((uint32_t(s.buffer[1] & 3) << 8) | s.buffer[2]) + 6;
        if (s.expected < 8 || s.expected >= s.capacity) return CollectDone;
    }
    if (s.expected == 0 || s.count < s.expected) return CollectContinue;
    return finishChecked(s, s.onRtcm3Frame, crc24q(0, s.buffer, s.expected) == 0);
}

CollectResult collectUbx(StreamSync& s) {
    if (!s.onUbxFrame) return CollectDone;
    if (s.count == 6) {
        s.expected = uint32_t(readU16(s.buffer + 4)) + 8;
        if (s.expected >= s.capacity) return CollectDone;
    }
    if (s.expected == 0 || s.count < s.expected) return CollectContinue;
    const uint32_t sum = ubxChecksum(0, s.buffer + 2, s.expected - 4);
    return finishChecked(s, s.onUbxFrame, sum == readU16(s.buffer + s.expected - 2));
}

// The payload's scrambling and 16-bit check are not undone: the converter only needs
// such frames consumed by their length, so every complete frame is delivered with its
// payload (bytes 8 on) exactly as received.
CollectResult collectScrambled(StreamSync& s) {
    if (!s.onScrambledFrame) return CollectDone;
    if (s.count < 4) return CollectContinue;
    if (s.count == 4) {
        s.expected = uint32_t(readU16(s.buffer + 2)) + 4;
        if (s.expected < 8 || s.expected > s.capacity) return CollectDone;
    }
    if (s.expected == 0 || s.count < s.expected) return CollectContinue;
    emit(s.onScrambledFrame, s.buffer + 8, (s.count - 8) & 0xFFFF, s.user);
    s.count = 0;
    s.runStart = s.totalBytes;
    return CollectDone;
}

// Framings this program never enables: recognised at their sync, then dropped.
CollectResult collectUnused(StreamSync&) {
    return CollectDone;
}

// Parity bits D25..D30 of a GPS navigation word. Bit 31 holds D29 and bit 30 D30 of the
// previous word, bits 29..6 the data bits d1..d24; each mask selects the bits one parity
// bit sums.
uint32_t navWordParity(uint32_t word) {
    static const uint32_t kMasks[6] = {0xBB1F3480u, 0x5D8F9A40u, 0xAEC7CD00u,
                                       0x5763E680u, 0x6BB1F340u, 0x8B7A89C0u};
    uint32_t parity = 0;
    for (uint32_t mask : kMasks) {
        uint32_t v = word & mask;
        v ^= v >> 16;
        v ^= v >> 8;
        v ^= v >> 4;
        v ^= v >> 2;
        v ^= v >> 1;
        parity = (parity << 1) | (v & 1);
    }
    return parity;
}

// The last five bytes as the first 30-bit word of an RTCM 2 message.
bool rtcm2WordStarts(const uint8_t* last5) {
    uint32_t word = 0;
    for (int i = 0; i < 5; ++i) {
        if ((last5[i] & 0xC0) != 0x40) return false;
        for (int bit = 0; bit < 6; ++bit)
            word = (word << 1) | ((last5[i] >> bit) & 1);
    }
    if (last5[0] == 0x59) word = (word ^ 0x3FFFFFC0u) | (1u << 30);
    const uint32_t preamble = (word >> 22) & 0xFF;
    if (preamble != 0x66 && preamble != 0x99) return false;
    return navWordParity(word) == (word & 0x3F) || navWordParity(word | (1u << 31)) == (word & 0x3F);
}

// Makes the last k bytes the start of a new frame; fails when fewer than k are held.
bool startFrame(StreamSync& s, uint32_t k, Collector collector) {
    if (s.count < k) return false;
    if (s.count > k) {
        emit(s.onUnframed, s.buffer, s.count - k, s.user);
        std::memmove(s.buffer, s.buffer + s.count - k, k);
    }
    s.runStart = s.totalBytes - k;
    s.count = k;
    s.expected = 0;
    s.handler = collector;
    return true;
}

// The collectors read their frame's length at a fixed count, at most this one. A full
// buffer sets the count back to 1 with the collector still active, so it reads again.
constexpr uint32_t kLengthReadBy = 10;

// Collectors that, past kLengthReadBy with `expected` known and while their callback is set,
// return continue until count reaches it and look at nothing else: for them the bytes
// before the last can be taken in bulk.
bool collectsToKnownLength(const StreamSync& s) {
    const Collector c = s.handler;
    return (c == collectBoard && s.onBoardFrame) || (c == collectBoardShort && s.onBoardShortFrame) ||
           (c == collectRtcm3 && s.onRtcm3Frame) || (c == collectUbx && s.onUbxFrame) ||
           (c == collectScrambled && s.onScrambledFrame);
}

void hunt(StreamSync& s) {
    if (s.onTextLine && s.buffer[s.count - 1] == 0x0A) {
        s.buffer[s.count] = 0;
        s.onTextLine(s.buffer, s.count, s.user);
        s.count = 0;
        s.runStart = s.totalBytes;
    }
    const uint32_t low16 = s.shift & 0xFFFF;
    const uint32_t low24 = s.shift & 0xFFFFFF;
    if (s.onScrambledFrame && s.count > 1 && low16 == 0xF595 && startFrame(s, 2, collectScrambled)) return;
    if (s.onKeyedFrame && s.count > 1 && low16 == 0xF696 && startFrame(s, 2, collectUnused)) return;
    if (s.onRtcm2Frame && s.count > 4) {
        const uint8_t* last5 = s.buffer + s.count - 5;
        if ((last5[0] == 0x66 || last5[0] == 0x59) && rtcm2WordStarts(last5) &&
            startFrame(s, 5, collectUnused))
            return;
    }
    if (s.onRtcm3Frame && s.count > 1 && (low16 & 0xFFFC) == 0xD300 && startFrame(s, 2, collectRtcm3)) return;
    if (s.onUbxFrame && s.count > 1 && low16 == 0xB562 && startFrame(s, 2, collectUbx)) return;
    if (s.onBoardFrame && s.count > 2 && low24 == 0xAA4412 && startFrame(s, 3, collectBoard)) return;
    if (s.onBoardShortFrame && s.count > 2 && low24 == 0xAA4416 && startFrame(s, 3, collectBoardShort))
        return;
    if (s.onBinFrame && s.count > 3 && s.shift == 0x2442494Eu && startFrame(s, 4, collectUnused)) return;
    if ((s.onStxFrame[0] || s.onStxFrame[1]) && s.count != 0 && (s.shift & 0xFF) == 0x02 &&
        startFrame(s, 1, collectUnused))
        return;
    if (s.onTypedFrame && s.buffer[0] >= 1 && s.buffer[0] <= 4) startFrame(s, 1, collectUnused);
}

} // namespace

void init(StreamSync& sync, uint8_t* buffer, uint32_t capacity, void* user) {
    std::memset(&sync, 0, sizeof sync);
    sync.buffer = buffer;
    sync.capacity = capacity;
    sync.user = user;
}

void setOnTextLine(StreamSync& sync, FrameCallback cb) {
    sync.onTextLine = cb;
}
void setOnUnframed(StreamSync& sync, FrameCallback cb) {
    sync.onUnframed = cb;
}
void setOnScrambledFrame(StreamSync& sync, FrameCallback cb) {
    sync.onScrambledFrame = cb;
}
void setOnKeyedFrame(StreamSync& sync, FrameCallback cb) {
    sync.onKeyedFrame = cb;
}
void setOnRtcm2Frame(StreamSync& sync, FrameCallback cb) {
    sync.onRtcm2Frame = cb;
}
void setOnRtcm3Frame(StreamSync& sync, FrameCallback cb) {
    sync.onRtcm3Frame = cb;
}
void setOnUbxFrame(StreamSync& sync, FrameCallback cb) {
    sync.onUbxFrame = cb;
}
void setOnBoardFrame(StreamSync& sync, FrameCallback cb) {
    sync.onBoardFrame = cb;
}
void setOnBoardShortFrame(StreamSync& sync, FrameCallback cb) {
    sync.onBoardShortFrame = cb;
}
void setOnBinFrame(StreamSync& sync, FrameCallback cb) {
    sync.onBinFrame = cb;
}
void setOnStxFrame(StreamSync& sync, int slot, FrameCallback cb) {
    if (slot == 0 || slot == 1) sync.onStxFrame[slot] = cb;
}
void setOnTypedFrame(StreamSync& sync, FrameCallback cb) {
    sync.onTypedFrame = cb;
}

void feed(StreamSync& sync, const uint8_t* bytes, uint32_t n) {
    StreamSync& s = sync;
    if (!s.buffer || s.capacity < 2) return; // no room for a byte and the text line's 0
    for (uint32_t i = 0; i < n; ++i) {
        // Inside a frame of known length every byte but the last only extends the frame:
        // copy those at once. Stops short of the buffer's last free byte, so the overflow
        // path below sees the same bytes it would see one at a time.
        if (s.handler && s.expected != 0 && s.count >= kLengthReadBy && s.count < s.expected &&
            s.count + 1 < s.capacity && collectsToKnownLength(s)) {
            uint32_t k = s.expected - s.count - 1;
            k = std::min(k, n - i);
            k = std::min(k, s.capacity - 1 - s.count);
            if (k > 0) {
                std::memcpy(s.buffer + s.count, bytes + i, k);
                for (uint32_t j = k > 4 ? k - 4 : 0; j < k; ++j)
                    s.shift = (s.shift << 8) | bytes[i + j];
                s.count += k;
                s.totalBytes += k;
                i += k;
                if (i == n) break;
            }
        }
        const uint8_t b = bytes[i];
        // One byte stays free for the 0 written after a text line.
        if (s.count < s.capacity - 1) {
            s.buffer[s.count++] = b;
        } else {
            emit(s.onUnframed, s.buffer, s.count, s.user);
            s.runStart = s.totalBytes;
            s.buffer[0] = b;
            s.count = 1;
        }
        s.shift = (s.shift << 8) | b;
        ++s.totalBytes;

        if (s.handler) {
            if (s.handler(s) == CollectContinue) continue;
            if (s.count != 0) emit(s.onUnframed, s.buffer, s.count, s.user);
            s.count = 0;
            s.handler = nullptr;
            s.runStart = s.totalBytes;
            continue; // rejected bytes are not searched again
        }
        hunt(s);
    }
}

const char* version() {
    static const char kStored[] = ":SATDECODER.1.52.2011.73";
    return kStored + 1;
}

} // namespace decoding
