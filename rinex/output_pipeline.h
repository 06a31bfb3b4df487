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
        std::unique_lock<std::mutex> lock(mutex_);
        if (published_ - handled_ == jobs_.size()) {
            wakeOutput();
            producerWaiting_ = true;
            producerWake_.wait(lock, [this] { return published_ - handled_ < jobs_.size(); });
            producerWaiting_ = false;
        }
        return jobs_[published_ % jobs_.size()];
    }

    // Decoding side: hands over the job acquire() returned.
    void publish() {
        std::lock_guard<std::mutex> lock(mutex_);
        ++published_;
        if (published_ - handled_ >= batch_) wakeOutput();
    }

    // Decoding side: waits until every job handed over has been handled. Afterwards the
    // decoding thread may touch what the handler touches, until it hands over the next job.
    void drain() {
        std::unique_lock<std::mutex> lock(mutex_);
        if (published_ == handled_) return;
        wakeOutput();
        producerWaiting_ = true;
        producerWake_.wait(lock, [this] { return published_ == handled_; });
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
        if (outputWaiting_) outputWake_.notify_one();
    }

    void run() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            if (published_ == handled_) {
                if (stopping_) return;
                outputWaiting_ = true;
                outputWake_.wait(lock, [this] { return published_ != handled_ || stopping_; });
                outputWaiting_ = false;
                continue;
            }
            Job& job = jobs_[handled_ % jobs_.size()];
            lock.unlock();
            handler_(job);
            lock.lock();
            ++handled_;
            const std::uint64_t pending = published_ - handled_;
            if (producerWaiting_ && (pending == 0 || jobs_.size() - pending >= batch_))
                producerWake_.notify_one();
        }
    }

    std::vector<Job> jobs_;
    std::size_t batch_ = 1;
    Handler handler_;
    std::thread thread_;
    std::mutex mutex_;
    std::condition_variable outputWake_;
    std::condition_variable producerWake_;
    std::uint64_t published_ = 0; // jobs handed over so far
    std::uint64_t handled_ = 0;   // jobs the output thread has finished
    bool outputWaiting_ = false;
    bool producerWaiting_ = false;
    bool stopping_ = false;
};

} // namespace rinex
