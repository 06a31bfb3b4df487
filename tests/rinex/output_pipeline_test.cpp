// SPDX-License-Identifier: MIT
// The ring between the decoding thread and the output thread: every job handed over is
// handled once, in order, by the output thread; drain and stop wait for the handler.
#include "rinex/output_pipeline.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

namespace {

struct Job {
    int value = 0;
    int reserved = 0;
};

} // namespace

TEST(OutputPipeline, JobsAreHandledInTheOrderTheyWereHandedOver) {
    std::vector<int> seen;
    rinex::OutputPipeline<Job> pipeline(4);
    pipeline.start([&seen](Job& job) { seen.push_back(job.value); });
    constexpr int kJobs = 100000;
    for (int i = 0; i < kJobs; ++i) {
        pipeline.acquire().value = i;
        pipeline.publish();
    }
    pipeline.stop();
    ASSERT_EQ(seen.size(), size_t(kJobs));
    for (int i = 0; i < kJobs; ++i)
        ASSERT_EQ(seen[size_t(i)], i);
}

TEST(OutputPipeline, HandlerRunsOnTheOutputThread) {
    std::set<std::thread::id> threads;
    rinex::OutputPipeline<Job> pipeline(8);
    pipeline.start([&threads](Job&) { threads.insert(std::this_thread::get_id()); });
    for (int i = 0; i < 50; ++i) {
        pipeline.acquire();
        pipeline.publish();
    }
    pipeline.stop();
    ASSERT_EQ(threads.size(), 1u);
    EXPECT_NE(*threads.begin(), std::this_thread::get_id());
}

TEST(OutputPipeline, DrainWaitsForEveryJobHandedOver) {
    int handled = 0; // touched by the output thread, read here only after drain
    rinex::OutputPipeline<Job> pipeline(16);
    pipeline.start([&handled](Job&) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        ++handled;
    });
    for (int round = 1; round <= 5; ++round) {
        // Fewer jobs than would wake the output thread on their own.
        for (int i = 0; i < 3; ++i) {
            pipeline.acquire();
            pipeline.publish();
        }
        pipeline.drain();
        EXPECT_EQ(handled, round * 3);
    }
    pipeline.stop();
}

TEST(OutputPipeline, StopHandlesWhatIsLeft) {
    std::atomic<int> handled{0};
    {
        rinex::OutputPipeline<Job> pipeline(64);
        pipeline.start([&handled](Job&) { ++handled; });
        for (int i = 0; i < 10; ++i) {
            pipeline.acquire();
            pipeline.publish();
        }
        // The destructor stops it.
    }
    EXPECT_EQ(handled.load(), 10);
}

TEST(OutputPipeline, AFullRingWaitsForASlowOutputThread) {
    std::vector<int> seen;
    rinex::OutputPipeline<Job> pipeline(2);
    pipeline.start([&seen](Job& job) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        seen.push_back(job.value);
    });
    for (int i = 0; i < 40; ++i) {
        pipeline.acquire().value = i;
        pipeline.publish();
    }
    pipeline.drain();
    ASSERT_EQ(seen.size(), 40u);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(seen[size_t(i)], i);
    pipeline.stop();
}

TEST(OutputPipeline, JobsAreReusedAndPreparedOnce) {
    int prepared = 0;
    std::set<const Job*> addresses;
    rinex::OutputPipeline<Job> pipeline(8, [&prepared](Job& job) {
        job.reserved = 1;
        ++prepared;
    });
    EXPECT_EQ(prepared, 8);
    bool allPrepared = true;
    for (int i = 0; i < 1000; ++i) {
        Job& job = pipeline.acquire();
        addresses.insert(&job);
        allPrepared = allPrepared && job.reserved == 1;
        pipeline.publish();
        if (i == 0) pipeline.start([](Job&) {});
    }
    pipeline.stop();
    EXPECT_TRUE(allPrepared);
    EXPECT_EQ(addresses.size(), 8u);
}

TEST(OutputPipeline, StopWithoutStartOrJobsIsHarmless) {
    rinex::OutputPipeline<Job> idle(4);
    EXPECT_FALSE(idle.running());
    idle.drain();
    idle.stop();

    rinex::OutputPipeline<Job> empty(4);
    empty.start([](Job&) {});
    EXPECT_TRUE(empty.running());
    empty.drain();
    empty.stop();
    EXPECT_FALSE(empty.running());
}
