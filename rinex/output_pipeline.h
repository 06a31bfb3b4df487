// SPDX-License-Identifier: MIT
#pragma once
// A second thread for the writer's output. The decoding thread fills jobs (finished epochs,
// navigation records, in binary form) and hands them over; the output thread formats and
// writes them one by one, in the order they were handed over. The jobs live in a fixed ring
// and are reused, so memory stays flat however long the stream; a full ring makes the
// decoding thread wait.
//
// Each side wakes the other only when there is enough to do (a quarter of the ring) or when
// it has to wait itself, so that a stream of small jobs does not cost two system calls each.
// The counts of jobs handed over and handled are atomics: as long as neither side waits, a
// job passes without either side taking the lock.
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace rinex {

template <typename Job>
class OutputPipeline {
public:
    using Handler = std::function<void(Job&)>;

    // The ring's jobs are made here, once; prepare (optional) readies each of them, for
    // instance by reserving room, so that the steady state allocates nothing.
    explicit OutputPipeline(std::size_t capacity, const std::function<void(Job&)>& prepare = {})
        : jobs_(capacity < 2 ? 2 : capacity) {
        if (prepare)
            for (Job& job : jobs_)
                prepare(job);
        batch_ = jobs_.size() / 4 > 0 ? jobs_.size() / 4 : 1;
    }
    ~OutputPipeline() { stop(); }
    OutputPipeline(const OutputPipeline&) = delete;
    OutputPipeline& operator=(const OutputPipeline&) = delete;

    // Starts the output thread, which calls handler for every job handed over.
    void start(Handler handler) {
        if (thread_.joinable()) return;
        handler_ = std::move(handler);
        stopping_ = false;
        thread_ = std::thread([this] { run(); });
    }
    bool running() const { return thread_.joinable(); }

    // Decoding side: the next free job, waiting while every job of the ring is in use. The
    // job keeps what it held the last time; the caller overwrites what it needs.
    Job& acquire() {
        const std::uint64_t published = published_.load(std::memory_order_relaxed);
        if (published - handled_.load() == jobs_.size()) {
            std::unique_lock<std::mutex> lock(mutex_);
            producerWaiting_ = true;
            wakeOutput();
            producerWake_.wait(lock, [&] { return published - handled_.load() < jobs_.size(); });
            producerWaiting_ = false;
        }
        return jobs_[published % jobs_.size()];
    }

    // Decoding side: hands over the job acquire() returned.
    void publish() {
        const std::uint64_t published = published_.load(std::memory_order_relaxed) + 1;
        published_.store(published);
        if (outputWaiting_.load() && published - handled_.load() >= batch_) {
            std::lock_guard<std::mutex> lock(mutex_);
            wakeOutput();
        }
    }

    // Decoding side: waits until every job handed over has been handled. Afterwards the
    // decoding thread may touch what the handler touches, until it hands over the next job.
    void drain() {
        const std::uint64_t published = published_.load(std::memory_order_relaxed);
        if (handled_.load() == published) return;
        std::unique_lock<std::mutex> lock(mutex_);
        producerWaiting_ = true;
        wakeOutput();
        producerWake_.wait(lock, [&] { return handled_.load() == published; });
        producerWaiting_ = false;
    }

    // Handles what is left, then ends the output thread. Nothing when not running.
    void stop() {
        if (!thread_.joinable()) return;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
            outputWake_.notify_one();
        }
        thread_.join();
    }

private:
    // Called with the mutex held.
    void wakeOutput() {
        if (outputWaiting_.load()) outputWake_.notify_one();
    }

    // Each side announces its wait (under the lock) before it looks at the other's count a
    // last time, and each side looks at the other's announcement after it has moved its own
    // count: one of the two always sees the other, so no wake-up is lost.
    void run() {
        for (;;) {
            const std::uint64_t handled = handled_.load(std::memory_order_relaxed);
            if (published_.load() == handled) {
                std::unique_lock<std::mutex> lock(mutex_);
                outputWaiting_ = true;
                outputWake_.wait(lock, [&] { return published_.load() != handled || stopping_; });
                outputWaiting_ = false;
                if (published_.load() == handled) return; // stopping, nothing left
                continue;
            }
            handler_(jobs_[handled % jobs_.size()]);
            handled_.store(handled + 1);
            if (producerWaiting_.load()) {
                const std::uint64_t pending = published_.load() - (handled + 1);
                if (pending == 0 || jobs_.size() - pending >= batch_) {
                    std::lock_guard<std::mutex> lock(mutex_);
                    producerWake_.notify_one();
                }
            }
        }
    }

    std::vector<Job> jobs_;
    std::size_t batch_ = 1;
    Handler handler_;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable outputWake_;
    std::condition_variable producerWake_;
    std::atomic<std::uint64_t> published_{0}; // jobs handed over so far (written by the decoding side)
    std::atomic<std::uint64_t> handled_{0};   // jobs the output thread has finished (written by it)
    std::atomic<bool> outputWaiting_{false};  // written under the mutex
    std::atomic<bool> producerWaiting_{false};
    bool stopping_ = false; // under the mutex
};

} // namespace rinex
