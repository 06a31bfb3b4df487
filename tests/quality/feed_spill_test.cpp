// SPDX-License-Identifier: MIT
// The temporary store of a conversion's records for its quality check: what goes in comes
// back in order, exactly, in memory and through the temporary file.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "quality/feed_spill.h"

namespace {

using quality::FeedRecord;
using quality::FeedSpill;

struct Written {
    FeedRecord::Kind kind;
    int a = 0;
    int64_t b = 0;
    uint64_t thousandths = 0;
    bool negative = false;
    std::string text;
};

Written epochOf(int satellites, int64_t milliseconds) {
    Written w{FeedRecord::Epoch, satellites, milliseconds, 0, false, {}};
    return w;
}
Written satelliteOf(char system, int number) {
    return Written{FeedRecord::Satellite, number, system, 0, false, {}};
}
Written valueOf(int field, uint64_t thousandths, bool negative, int lossOfLock) {
    return Written{FeedRecord::Value, field, lossOfLock, thousandths, negative, {}};
}
Written lineOf(std::string text) {
    return Written{FeedRecord::EventLine, 0, 0, 0, false, std::move(text)};
}

void put(FeedSpill& spill, const Written& w) {
    switch (w.kind) {
    case FeedRecord::Epoch: spill.epoch(w.a, w.b); break;
    case FeedRecord::Satellite: spill.satellite(char(w.b), w.a); break;
    case FeedRecord::Value: spill.value(w.a, w.thousandths, w.negative, int(w.b)); break;
    case FeedRecord::EventLine: spill.eventLine(w.text.data(), int(w.text.size())); break;
    }
}

void expectReadBack(FeedSpill& spill, const std::vector<Written>& written) {
    ASSERT_TRUE(spill.rewind());
    FeedRecord r;
    for (size_t i = 0; i < written.size(); ++i) {
        const Written& w = written[i];
        ASSERT_TRUE(spill.next(r)) << "record " << i << " of " << written.size();
        ASSERT_EQ(r.kind, w.kind) << "record " << i;
        switch (w.kind) {
        case FeedRecord::Epoch:
            ASSERT_EQ(r.satellites, w.a) << i;
            ASSERT_EQ(r.milliseconds, w.b) << i;
            break;
        case FeedRecord::Satellite:
            ASSERT_EQ(r.number, w.a) << i;
            ASSERT_EQ(r.system, char(w.b)) << i;
            break;
        case FeedRecord::Value:
            ASSERT_EQ(r.field, w.a) << i;
            ASSERT_EQ(r.thousandths, w.thousandths) << i;
            ASSERT_EQ(r.negative, w.negative) << i;
            ASSERT_EQ(r.lossOfLock, int(w.b)) << i;
            break;
        case FeedRecord::EventLine:
            ASSERT_EQ(std::string(r.text, size_t(r.length)), w.text) << i;
            break;
        }
    }
    EXPECT_FALSE(spill.next(r));
    EXPECT_FALSE(spill.next(r));
}

// Epochs of a 1 Hz recording: a few satellites, four values per signal, phases and ranges
// that move steadily, now and then an event line.
std::vector<Written> recording(int epochs, unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<Written> out;
    const char systems[] = "GRECSJI?";
    for (int e = 0; e < epochs; ++e) {
        out.push_back(epochOf(6, 1'700'000'000'000LL + e * 1000LL));
        for (int s = 0; s < 6; ++s) {
            const char system = systems[s % 8];
            out.push_back(satelliteOf(system, 1 + 7 * s));
            for (int field = 0; field < 12; ++field) {
                if (random() % 10 == 0) continue; // a blank field
                const uint64_t base = uint64_t(20'000'000'000ULL + uint64_t(s) * 1'000'000'000ULL);
                const bool doppler = (field % 4) == 2;
                out.push_back(valueOf(field, base + uint64_t(e) * 800'000u + random() % 1000, doppler,
                                      int(random() % 2)));
            }
        }
        if (e % 97 == 0) out.push_back(lineOf("> 2018 07 19 event " + std::to_string(e)));
    }
    return out;
}

} // namespace

TEST(FeedSpill, ShortRecordingStaysInMemoryAndComesBack) {
    FeedSpill spill;
    const std::vector<Written> written = recording(50, 1);
    for (const Written& w : written)
        put(spill, w);
    EXPECT_LT(spill.size(), uint64_t(1) << 20);
    expectReadBack(spill, written);
}

TEST(FeedSpill, LongRecordingGoesThroughTheFileAndComesBack) {
    FeedSpill spill;
    const std::vector<Written> written = recording(20000, 2);
    for (const Written& w : written)
        put(spill, w);
    EXPECT_GT(spill.size(), uint64_t(3) << 20); // several blocks: records straddle block ends
    expectReadBack(spill, written);
}

TEST(FeedSpill, SteadyValuesTakeFewBytes) {
    FeedSpill spill;
    const std::vector<Written> written = recording(5000, 3);
    size_t values = 0;
    for (const Written& w : written) {
        put(spill, w);
        if (w.kind == FeedRecord::Value) ++values;
    }
    // Eight bytes a value uncompressed; differences of about a million thousandths take four
    // with the record's first byte.
    EXPECT_LT(double(spill.size()) / double(values), 4.5);
}

TEST(FeedSpill, EdgeValuesComeBackExactly) {
    FeedSpill spill;
    std::vector<Written> written;
    written.push_back(epochOf(0, -5));
    written.push_back(epochOf(999, 1'000'000'000'000LL));
    written.push_back(epochOf(3, 2)); // time going back
    written.push_back(satelliteOf('G', 0));
    written.push_back(satelliteOf('X', -3));
    written.push_back(satelliteOf('C', 70000)); // shares a row of last values with C16
    // Negative zero keeps its sign; fields out of order and far apart; the largest magnitude.
    written.push_back(valueOf(5, 0, true, 1));
    written.push_back(valueOf(5, (uint64_t(1) << 45) - 1, false, 0));
    written.push_back(valueOf(2, 0, false, 0));
    written.push_back(valueOf(255, 12345, true, 1));
    written.push_back(valueOf(0, 1, false, 0));
    written.push_back(valueOf(17, 0, false, 0));
    written.push_back(satelliteOf('C', 16));
    written.push_back(valueOf(255, 7, false, 0));
    written.push_back(lineOf(""));
    written.push_back(lineOf(std::string(size_t(FeedSpill::kMaxEventLine), 'x')));
    written.push_back(lineOf(std::string("a\0b", 3)));
    for (const Written& w : written)
        put(spill, w);
    expectReadBack(spill, written);
}

TEST(FeedSpill, FieldsOutsideTheLineAndOverlongEventLinesAreCut) {
    FeedSpill spill;
    spill.value(-1, 5, false, 0);
    spill.value(FeedSpill::kMaxFields, 5, false, 0);
    const std::string longLine(size_t(FeedSpill::kMaxEventLine) + 10, 'y');
    spill.eventLine(longLine.data(), int(longLine.size()));
    ASSERT_TRUE(spill.rewind());
    FeedRecord r;
    ASSERT_TRUE(spill.next(r));
    EXPECT_EQ(r.kind, FeedRecord::EventLine);
    EXPECT_EQ(r.length, FeedSpill::kMaxEventLine);
    EXPECT_FALSE(spill.next(r));
}

TEST(FeedSpill, NothingWrittenReadsNothing) {
    FeedSpill spill;
    FeedRecord r;
    EXPECT_FALSE(spill.next(r)); // not rewound yet
    ASSERT_TRUE(spill.rewind());
    EXPECT_FALSE(spill.next(r));
}
