// SPDX-License-Identifier: MIT
// Real-data streams through the synchroniser: exactly the valid frames, text lines and
// header lines are delivered, and every byte is accounted for.
#include "real_stream_support.h"

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

using namespace realstream;

namespace {

TEST_P(RealStream, ManifestDescribesThisFile) {
    const StreamRun& r = run();
    EXPECT_EQ(r.manifest.stream, std::string(GetParam()) + ".dat");
    EXPECT_EQ(r.manifest.size, r.data.size());
    ASSERT_FALSE(r.manifest.frames.empty());
    EXPECT_EQ(r.manifest.frames.front().offset, r.manifest.binaryOffset);
}

TEST_P(RealStream, DeliversExactlyTheValidFrames) {
    const StreamRun& r = run();
    std::vector<const testsupport::ManifestFrame*> expected;
    for (const auto& f : r.manifest.frames)
        if (!r.corruptedIndices.count(f.index)) expected.push_back(&f);
    const auto& got = r.capture.frames;
    ASSERT_EQ(got.size(), expected.size());
    Mismatches bad;
    for (size_t i = 0; i < got.size(); ++i) {
        const auto& e = *expected[i];
        const auto& g = got[i];
        std::ostringstream where;
        where << "frame " << e.index << " at " << e.offset << ": ";
        if (g.offset != e.offset || g.bytes.size() != e.length) {
            bad.add(where.str() + "delivered at " + std::to_string(g.offset) + " with " +
                    std::to_string(g.bytes.size()) + " bytes, expected " + std::to_string(e.length));
            continue;
        }
        if (std::memcmp(g.bytes.data(), r.data.data() + e.offset, e.length) != 0)
            bad.add(where.str() + "bytes differ from the file");
        if (g.headerResult != 0)
            bad.add(where.str() + "header reader returned " + std::to_string(g.headerResult));
        if (g.header.messageId != e.id || g.header.week != e.week || g.header.milliseconds != e.ms)
            bad.add(where.str() + "header id/week/ms " + std::to_string(g.header.messageId) + "/" +
                    std::to_string(g.header.week) + "/" + std::to_string(g.header.milliseconds) +
                    ", expected " + std::to_string(e.id) + "/" + std::to_string(e.week) + "/" +
                    std::to_string(e.ms));
    }
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

TEST_P(RealStream, RejectsEveryCorruptedFrame) {
    const StreamRun& r = run();
    if (r.manifest.corruptedFrames.empty()) GTEST_SKIP() << "no corrupted frame in this stream";
    uint64_t corruptedBytes = 0;
    for (const auto& c : r.manifest.corruptedFrames) {
        EXPECT_EQ(r.frameAtOffset.count(c.offset), 0u) << "corrupted frame " << c.frame << " was delivered";
        ASSERT_LT(size_t(c.frame), r.manifest.frames.size());
        EXPECT_EQ(r.manifest.frames[size_t(c.frame)].offset, c.offset);
        corruptedBytes += c.length;
    }
    // Rejected frames go whole to the discarded-bytes callback.
    EXPECT_GE(r.capture.unframedBytes, corruptedBytes);
}

TEST_P(RealStream, AccountsForEveryByte) {
    const StreamRun& r = run();
    uint64_t framed = 0, lines = 0;
    for (const auto& f : r.capture.frames)
        framed += f.bytes.size();
    for (const auto& l : r.capture.lines)
        lines += l.text.size();
    EXPECT_EQ(framed + lines + r.capture.unframedBytes + r.capture.leftInBuffer, r.data.size())
        << "frames " << framed << ", text " << lines << ", discarded " << r.capture.unframedBytes << " in "
        << r.capture.unframedRuns << " runs, left " << r.capture.leftInBuffer;
}

// Without junk, corrupted frames or a binary file header nothing is discarded.
TEST_P(RealStream, CleanStreamDiscardsNothing) {
    const StreamRun& r = run();
    const auto& m = r.manifest;
    if (m.noise.junkBytes != 0 || !m.corruptedFrames.empty() ||
        (m.headerKind != "key" && m.headerKind != "none"))
        GTEST_SKIP() << "stream carries junk, corrupted frames or a binary header";
    EXPECT_EQ(r.capture.unframedBytes, 0u);
    EXPECT_EQ(r.capture.unframedRuns, 0u);
}

TEST_P(RealStream, SmallOddChunksGiveTheSameResult) {
    const StreamRun& r = run();
    const Capture small = feedStream(r.data, 997);
    ASSERT_EQ(small.frames.size(), r.capture.frames.size());
    for (size_t i = 0; i < small.frames.size(); ++i) {
        EXPECT_EQ(small.frames[i].offset, r.capture.frames[i].offset);
        EXPECT_TRUE(small.frames[i].bytes == r.capture.frames[i].bytes)
            << "frame at " << small.frames[i].offset;
    }
    ASSERT_EQ(small.lines.size(), r.capture.lines.size());
    for (size_t i = 0; i < small.lines.size(); ++i)
        EXPECT_EQ(small.lines[i].text, r.capture.lines[i].text);
    EXPECT_EQ(small.unframedBytes, r.capture.unframedBytes);
}

TEST_P(RealStream, DeliversTheTextLines) {
    const StreamRun& r = run();
    if (r.manifest.textLines.empty()) GTEST_SKIP() << "no text line listed for this stream";
    std::map<uint64_t, const DeliveredLine*> byEnd;
    for (const auto& l : r.capture.lines)
        byEnd[l.endOffset] = &l;
    Mismatches bad;
    for (const auto& t : r.manifest.textLines) {
        bool found = false;
        for (const char* ending : {"\n", "\r\n"}) {
            const std::string eol = ending;
            auto it = byEnd.find(t.offset + t.text.size() + eol.size());
            if (it == byEnd.end()) continue;
            const std::string& text = it->second->text;
            const std::string want = t.text + eol;
            if (text.size() >= want.size() &&
                text.compare(text.size() - want.size(), want.size(), want) == 0) {
                found = true;
                if (!it->second->zeroTerminated)
                    bad.add("line at " + std::to_string(t.offset) + " not followed by 0");
            }
        }
        if (!found) bad.add(t.kind + " line at " + std::to_string(t.offset) + " not delivered: " + t.text);
    }
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

// The text header's key=value lines reach the text-line callback, each ending in CR LF.
TEST_P(RealStream, DeliversTheHeaderKeyLines) {
    const StreamRun& r = run();
    auto key = r.manifest.headerValues.find("key");
    if (key == r.manifest.headerValues.end()) GTEST_SKIP() << "no text header in this stream";
    Mismatches bad;
    size_t checked = 0;
    for (const auto& [name, value] : key->items()) {
        const std::string want = name + "=" + value.get<std::string>() + "\r\n";
        const bool found =
            std::any_of(r.capture.lines.begin(), r.capture.lines.end(), [&](const DeliveredLine& l) {
                return l.endOffset <= r.manifest.binaryOffset && l.text.size() >= want.size() &&
                       l.text.compare(l.text.size() - want.size(), want.size(), want) == 0;
            });
        if (!found) bad.add("header line not delivered: " + name);
        ++checked;
    }
    EXPECT_GT(checked, 0u);
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

INSTANTIATE_TEST_SUITE_P(Streams, RealStream, ::testing::ValuesIn(kStreams), streamTestName);

} // namespace
