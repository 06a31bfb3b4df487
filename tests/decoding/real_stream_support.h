// SPDX-License-Identifier: MIT
#pragma once
// Streams built from real station data, fed through the synchroniser the way the
// conversion worker does: each stream is read and fed once per test program, and its
// manifest says what must come out. Shared by the real-stream tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/log_names.h"
#include "decoding/position_time.h"
#include "decoding/range_decoders.h"
#include "decoding/stream_sync.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "support/stream_manifest.h"

namespace realstream {

using testsupport::ManifestEpoch;
using testsupport::NavRecord;
using testsupport::ObsValues;
using testsupport::StreamManifest;

inline constexpr uint32_t kWorkerBufferSize = 16384;
inline constexpr size_t kWorkerChunkSize = 1 << 20;
inline constexpr size_t kMaxReported = 20;

// ---------------------------------------------------------------------------------
// Feeding a stream as the worker does, recording everything the callbacks receive.

struct DeliveredFrame {
    uint64_t offset = 0;
    std::vector<uint8_t> bytes;
    int headerResult = 0;
    decoding::LogHeader header{};
};

struct DeliveredLine {
    uint64_t endOffset = 0; // one past the line feed
    std::string text;       // as delivered, line ending included
    bool zeroTerminated = false;
};

struct Capture {
    decoding::StreamSync* sync = nullptr;
    std::vector<DeliveredFrame> frames;
    std::vector<DeliveredLine> lines;
    uint64_t unframedBytes = 0;
    size_t unframedRuns = 0;
    uint64_t leftInBuffer = 0;
};

inline void onBoardFrame(const uint8_t* data, uint32_t length, void* user) {
    auto& capture = *static_cast<Capture*>(user);
    DeliveredFrame frame;
    // The frame ends at the byte just fed.
    frame.offset = capture.sync->totalBytes - length;
    frame.bytes.assign(data, data + length);
    frame.headerResult = decoding::readLogHeader(data, length, frame.header);
    capture.frames.push_back(std::move(frame));
}

inline void onTextLine(const uint8_t* data, uint32_t length, void* user) {
    auto& capture = *static_cast<Capture*>(user);
    DeliveredLine line;
    line.endOffset = capture.sync->totalBytes;
    line.text.assign(reinterpret_cast<const char*>(data), length);
    line.zeroTerminated = data[length] == 0;
    capture.lines.push_back(std::move(line));
}

inline void onUnframed(const uint8_t*, uint32_t length, void* user) {
    auto& capture = *static_cast<Capture*>(user);
    capture.unframedBytes += length;
    capture.unframedRuns += 1;
}

inline void ignoreFrame(const uint8_t*, uint32_t, void*) {}

inline Capture feedStream(const std::string& data, size_t chunkSize) {
    Capture capture;
    std::vector<uint8_t> buffer(kWorkerBufferSize);
    decoding::StreamSync sync;
    decoding::init(sync, buffer.data(), kWorkerBufferSize, &capture);
    decoding::setOnBoardFrame(sync, onBoardFrame);
    decoding::setOnTextLine(sync, onTextLine);
    decoding::setOnScrambledFrame(sync, ignoreFrame);
    decoding::setOnUnframed(sync, onUnframed);
    capture.sync = &sync;
    const auto* bytes = reinterpret_cast<const uint8_t*>(data.data());
    for (size_t at = 0; at < data.size(); at += chunkSize)
        decoding::feed(sync, bytes + at, uint32_t(std::min(chunkSize, data.size() - at)));
    capture.leftInBuffer = sync.count;
    capture.sync = nullptr;
    return capture;
}

struct StreamRun {
    StreamManifest manifest;
    std::string data;
    Capture capture;
    std::map<uint64_t, size_t> frameAtOffset; // delivered frames by stream offset
    std::set<int> corruptedIndices;

    const DeliveredFrame* deliveredFrame(int manifestIndex) const {
        if (manifestIndex < 0 || size_t(manifestIndex) >= manifest.frames.size()) return nullptr;
        auto it = frameAtOffset.find(manifest.frames[size_t(manifestIndex)].offset);
        return it == frameAtOffset.end() ? nullptr : &capture.frames[it->second];
    }
};

// Each stream is read, fed and kept once for all the tests of this file.
inline const StreamRun& streamRun(const std::string& name) {
    static std::map<std::string, std::unique_ptr<StreamRun>> runs;
    auto& slot = runs[name];
    if (!slot) {
        auto run = std::make_unique<StreamRun>();
        const std::string dir = testsupport::streamDataDirectory();
        run->manifest = testsupport::loadStreamManifest(dir + "/" + name + ".json.gz");
        run->data = testsupport::readBinaryFile(dir + "/" + name + ".dat");
        run->capture = feedStream(run->data, kWorkerChunkSize);
        for (size_t i = 0; i < run->capture.frames.size(); ++i)
            run->frameAtOffset[run->capture.frames[i].offset] = i;
        for (const auto& c : run->manifest.corruptedFrames)
            run->corruptedIndices.insert(c.frame);
        slot = std::move(run);
    }
    return *slot;
}

// ---------------------------------------------------------------------------------
// Comparison helpers: mismatches are collected and the first few reported.

struct Mismatches {
    std::vector<std::string> items;
    size_t total = 0;
    void add(const std::string& text) {
        if (items.size() < kMaxReported) items.push_back(text);
        ++total;
    }
    std::string report() const {
        std::ostringstream out;
        out << total << " mismatch(es)";
        for (const auto& item : items)
            out << "\n  " << item;
        if (total > items.size()) out << "\n  ...";
        return out.str();
    }
};

inline std::string number(double v) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", v);
    return text;
}

inline bool closeRelative(double expected, double got, double tolerance) {
    if (expected == got) return true;
    if (!std::isfinite(expected) || !std::isfinite(got)) return false;
    return std::fabs(expected - got) <= tolerance * std::max(std::fabs(expected), std::fabs(got));
}

inline const char* const kStreams[] = {"cebr-range-key", "cebr-rangecmp-legacy", "cebr-rangecmp2-none"};

class RealStream : public ::testing::TestWithParam<const char*> {
protected:
    const StreamRun& run() { return streamRun(GetParam()); }
};

inline std::string streamTestName(const ::testing::TestParamInfo<const char*>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

} // namespace realstream
