// SPDX-License-Identifier: MIT
#pragma once
// Byte-stream synchroniser: hunts for frame start patterns of several framings,
// collects one frame at a time in a caller-supplied buffer, checks it and hands it
// to the callback of its framing. No allocation; callbacks get pointer and length,
// valid only during the call.
#include <cstdint>

namespace decoding {

using FrameCallback = void (*)(const uint8_t* data, uint32_t length, void* user);

struct StreamSync;
// A framing's collector, called after every byte while its frame is being collected.
enum CollectResult { CollectContinue = 0, CollectDone = 1 };
using Collector = CollectResult (*)(StreamSync& sync);

struct StreamSync {
    uint8_t* buffer;
    uint32_t capacity;
    void* user;

    FrameCallback onTextLine;
    FrameCallback onUnframed;
    FrameCallback onScrambledFrame;  // 0xF5 0x95
    FrameCallback onKeyedFrame;      // 0xF6 0x96
    FrameCallback onRtcm2Frame;
    FrameCallback onRtcm3Frame;
    FrameCallback onUbxFrame;
    FrameCallback onBoardFrame;      // 0xAA 0x44 0x12
    FrameCallback onBoardShortFrame; // 0xAA 0x44 0x16
    FrameCallback onBinFrame;        // "$BIN"
    FrameCallback onStxFrame[2];     // 0x02
    FrameCallback onTypedFrame;      // first byte 1..4

    uint32_t shift; // last four bytes fed, newest in the low byte; never reset
    uint32_t count; // bytes held in the buffer
    Collector handler;
    uint32_t expected; // total length of the frame being collected, 0 until known
    uint64_t totalBytes;
    uint64_t runStart;
};

void init(StreamSync& sync, uint8_t* buffer, uint32_t capacity, void* user);

void setOnTextLine(StreamSync& sync, FrameCallback cb);
void setOnUnframed(StreamSync& sync, FrameCallback cb);
void setOnScrambledFrame(StreamSync& sync, FrameCallback cb);
void setOnKeyedFrame(StreamSync& sync, FrameCallback cb);
void setOnRtcm2Frame(StreamSync& sync, FrameCallback cb);
void setOnRtcm3Frame(StreamSync& sync, FrameCallback cb);
void setOnUbxFrame(StreamSync& sync, FrameCallback cb);
void setOnBoardFrame(StreamSync& sync, FrameCallback cb);
void setOnBoardShortFrame(StreamSync& sync, FrameCallback cb);
void setOnBinFrame(StreamSync& sync, FrameCallback cb);
void setOnStxFrame(StreamSync& sync, int slot, FrameCallback cb); // slot 0 or 1
void setOnTypedFrame(StreamSync& sync, FrameCallback cb);

// Consumes n bytes, calling the callbacks synchronously. n = 0 does nothing.
void feed(StreamSync& sync, const uint8_t* bytes, uint32_t n);

// "SATDECODER.1.52.2011.73"
const char* version();

} // namespace decoding
