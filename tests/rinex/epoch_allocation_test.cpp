// SPDX-License-Identifier: MIT
// The epoch path must not touch the heap once the first epochs have sized everything:
// a day of 1 Hz data is 86400 epochs.
#include "writer_test_support.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

using namespace writertest;

namespace {
std::atomic<bool> counting{false};
std::atomic<long> allocations{0};
} // namespace

void* operator new(size_t size) {
    if (counting) ++allocations;
    if (void* p = std::malloc(size != 0 ? size : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, size_t) noexcept {
    std::free(p);
}

TEST(EpochAllocation, SteadyStateEpochsAllocateNothing) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setGlonassCodeBiases({{"1C", 0.5}}));
    ASSERT_TRUE(o.open());
    // 30 satellites of three systems with up to two signals, GLONASS with its channels.
    std::vector<encoding::RangeSignal> s;
    for (int i = 1; i <= 30; ++i) {
        s.push_back(signal('G', i, "1C", 2.1e7 + i, -1.1e8, 1000.5, 40.0));
        s.push_back(signal('G', i, "2W", 2.1e7 + i, -0.9e8, 800.25, 35.0));
        s.push_back(signal('R', i % 24 + 1, "1C", 2.2e7 + i, -1.2e8, -300.0, 44.0, i % 13 - 7));
        s.push_back(signal('E', i, "5Q", 2.3e7 + i, -1.3e8, 50.0, 47.0));
    }
    std::vector<encoding::Bytes> frames;
    for (uint32_t k = 0; k < 500; ++k)
        frames.push_back(rangeFrame(2010, 345600000 + k * 1000, s));

    feed(o.writer, frames[0]); // the first epoch sizes the columns and the slot map
    qint64 written = 0;
    counting = true;
    for (size_t k = 1; k < frames.size(); ++k)
        written += feed(o.writer, frames[k]);
    counting = false;

    EXPECT_EQ(allocations.load(), 0);
    EXPECT_GT(written, 0);
    EXPECT_EQ(o.writer.epochsWritten(), 500);
}
