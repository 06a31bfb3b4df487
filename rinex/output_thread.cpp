// SPDX-License-Identifier: MIT
// The writer's output thread: finished epochs and navigation records go through a fixed
// ring of jobs to a second thread, which formats and writes them in the order they came
// while the decoding thread goes on with the stream.
#include "rinex/output_job.h"
#include "rinex/output_pipeline.h"
#include "rinex/rinex3xx.h"

namespace {

// Jobs in the ring: enough to ride out an uneven pace on either side. Each job keeps room
// for a full sky of signals, about 40 KiB, so the ring holds a few MiB at most.
constexpr std::size_t kOutputJobs = 64;
constexpr std::size_t kEntriesPerJob = 512;

} // namespace

bool Rinex3xx::setOutputThread(bool on) {
    if (open_) return false;
    outputThread_ = on;
    return true;
}

void Rinex3xx::startOutputThread() {
    pipeline_ = std::make_unique<rinex::OutputPipeline<OutputJob>>(
        kOutputJobs, [](OutputJob& job) { job.epoch.entries.reserve(kEntriesPerJob); });
    pipeline_->start([this](OutputJob& job) { handleOutputJob(job); });
}

void Rinex3xx::handleOutputJob(OutputJob& job) {
    if (job.kind == OutputJob::Epoch)
        formatEpoch(job.epoch);
    else
        writeNavigation(job.navigation);
}

qint64 Rinex3xx::writeEpoch() {
    if (!pipeline_) return formatEpoch(epoch_);
    const int counted = epochObserver_ && !rinex::isRinex2(version_) ? observeEpoch(epoch_) : -1;
    OutputJob& job = pipeline_->acquire();
    job.kind = OutputJob::Epoch;
    job.epoch.week = epoch_.week;
    job.epoch.milliseconds = epoch_.milliseconds;
    job.epoch.countedSatellites = counted; // the output thread need not count again
    if (ppkMode_ == rinex::PpkNone) {
        // No sentence can ask for this epoch again: its entries move to the job, and the job's
        // old ones, emptied, take their place.
        job.epoch.entries.swap(epoch_.entries);
        epoch_.entries.clear();
    } else {
        // A marker sample may still write the current epoch: it stays.
        job.epoch.entries.assign(epoch_.entries.begin(), epoch_.entries.end());
    }
    pipeline_->publish();
    return 0;
}

qint64 Rinex3xx::submitNavigation(const NavigationRecord& record) {
    if (!pipeline_) return writeNavigation(record);
    OutputJob& job = pipeline_->acquire();
    job.kind = OutputJob::Navigation;
    job.navigation = record;
    pipeline_->publish();
    return 0;
}
