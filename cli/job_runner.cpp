// SPDX-License-Identifier: MIT
#include "cli/job_runner.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <limits>

#include "cli/progress_output.h"
#include "shell/thread_binary_to_rinex.h"

namespace cli {

qint64 countObservationEpochs(const QString& path, qint64 limit) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return -1;
    // Epoch lines start with ">" and carry their flag in column 32; flags 2 to 5 are events.
    // The file can be gigabytes: it is scanned in large blocks, and only the first and the
    // 32nd byte of each line (newline included) are looked at.
    constexpr qint64 kBlock = 1 << 20;
    QByteArray block(int(kBlock), Qt::Uninitialized);
    qint64 epochs = 0;
    qint64 column = 0; // bytes of the current line seen so far
    char first = 0, flag = 0;
    auto endLine = [&]() {
        if (column > 31 && first == '>' && (flag == '0' || flag == '1')) ++epochs;
        column = 0;
    };
    qint64 left = limit >= 0 ? limit : std::numeric_limits<qint64>::max();
    while (left > 0) {
        const qint64 n = file.read(block.data(), std::min(kBlock, left));
        if (n <= 0) break;
        left -= n;
        const char* p = block.constData();
        const char* const end = p + n;
        while (p < end) {
            const char* newline = static_cast<const char*>(std::memchr(p, '\n', size_t(end - p)));
            const char* const stop = newline ? newline + 1 : end;
            const qint64 length = stop - p;
            if (column == 0) first = p[0];
            if (column <= 31 && column + length > 31) flag = p[31 - column];
            column += length;
            if (newline) endLine();
            p = stop;
        }
    }
    if (column > 0) endLine();
    return epochs;
}

QStringList outputFileNames(const QString& outputPath, bool mergedNavigation) {
    const QString base = outputPath.left(outputPath.size() - 1);
    QStringList names;
    if (mergedNavigation) return names << base + "O" << base + "P";
    for (const char* letter : {"O", "N", "G", "L", "C"})
        names << base + letter;
    return names;
}

ConversionJob::ConversionJob(const QString& input, const ConvertOptions& options, QObject* parent)
    : QObject(parent), input_(input), options_(options) {}

ConversionJob::~ConversionJob() {
    stopThread();
}

void ConversionJob::start() {
    auto* worker = new ThreadBinaryToRinex();
    connect(this, &ConversionJob::deleteThreadObject, worker, &QObject::deleteLater, Qt::QueuedConnection);
    // quit can end the thread's loop before the queued deleteLater is served; the thread's
    // end then deletes the worker on that thread, so its writer still closes its files.
    connect(&thread_, &QThread::finished, worker, &QObject::deleteLater);
    connect(this, &ConversionJob::startConvert, worker, &ThreadBinaryToRinex::startConvert,
            Qt::QueuedConnection);
    connect(worker, &ThreadBinaryToRinex::progress, this, &ConversionJob::on_thread_progress,
            Qt::QueuedConnection);
    // First, on the worker's thread while the worker still exists: the writer's counts.
    connect(
        worker, &ThreadBinaryToRinex::finished, this,
        [this, worker](bool ok, QString) {
            if (!ok) return;
            observationDataStart_ = worker->observationDataStart();
            epochRecordLines_ = worker->epochRecordLines();
            qualityReport_ = worker->qualityReport();
            qualityError_ = worker->qualityError();
        },
        Qt::DirectConnection);
    connect(worker, &ThreadBinaryToRinex::finished, this, &ConversionJob::on_thread_finished,
            Qt::QueuedConnection);
    connect(worker, &ThreadBinaryToRinex::message, this, &ConversionJob::on_thread_message,
            Qt::QueuedConnection);
    worker->setParameters(options_);
    worker->setQualityCheck(qualityCheck_);
    worker->setOutputThread(outputThread_);
    worker->moveToThread(&thread_);
    thread_.start();
    emit startConvert();
}

qint64 ConversionJob::observationEpochs(const QString& observationPath) const {
    const qint64 start = observationDataStart_;
    const qint64 records = epochRecordLines_;
    // Only the header is read: the records' epoch lines were counted as they were written.
    if (start >= 0 && records >= 0) {
        const qint64 header = countObservationEpochs(observationPath, start);
        return header < 0 ? -1 : header + records;
    }
    return countObservationEpochs(observationPath);
}

void ConversionJob::cancel() {
    stopThread();
}

void ConversionJob::on_thread_progress(int prg) {
    emit progress(input_, prg);
}

void ConversionJob::on_thread_message(QString msg) {
    emit message(input_, msg);
}

void ConversionJob::on_thread_finished(bool ok, QString msg) {
    // The worker is idle now: its writer is closed, so the files are complete.
    stopThread();
    emit done(input_, ok, msg);
}

void ConversionJob::stopThread() {
    if (!thread_.isRunning()) return;
    emit deleteThreadObject();
    thread_.quit();
    thread_.wait();
}

JobRunner::JobRunner(const QList<Job>& jobs, int parallel, ProgressOutput& output, QObject* parent)
    : QObject(parent), pending_(jobs), jobCount_(jobs.size()), parallel_(parallel), output_(output) {}

void JobRunner::start() {
    if (pending_.isEmpty()) {
        emit allFinished();
        return;
    }
    while (running_.size() < parallel_ && !pending_.isEmpty())
        startNext();
}

void JobRunner::cancelAll() {
    pending_.clear();
    for (ConversionJob* job : running_) {
        job->cancel();
        output_.cancelled(job->input());
    }
}

void JobRunner::startNext() {
    const Job job = pending_.takeFirst();
    auto* conversion = new ConversionJob(job.input, job.options, this);
    connect(conversion, &ConversionJob::progress, this,
            [this](QString input, int prg) { output_.progress(input, prg); });
    connect(conversion, &ConversionJob::message, this, [this](QString input, QString msg) {
        if (noteReport(input, msg)) return;
        output_.message(input, msg);
    });
    connect(conversion, &ConversionJob::done, this,
            [this, conversion](QString, bool ok, QString msg) { jobDone(conversion, ok, msg); });
    conversion->setQualityCheck(quality_.enabled);
    // Conversions running side by side already keep the CPUs busy: a second thread each would
    // only add its hand-over cost.
    conversion->setOutputThread(std::min(parallel_, jobCount_) <= 1);
    running_ << conversion;
    clocks_[job.input].start();
    outputPaths_[job.input] = job.options.value("Path Output");
    mergedNavigation_[job.input] = job.options.value("Navigation Merged") == "1";
    output_.started(job.input);
    conversion->start();
}

bool JobRunner::noteReport(const QString& input, const QString& msg) {
    static const QString wrote = QStringLiteral("wrote ");
    static const QString epochs = QStringLiteral(" epochs written");
    if (msg.startsWith(wrote)) {
        reportedFiles_[input] << msg.mid(wrote.size());
        return true;
    }
    if (msg.endsWith(epochs)) {
        bool ok = false;
        const qint64 count = msg.left(msg.size() - epochs.size()).toLongLong(&ok);
        if (ok) {
            reportedEpochs_[input] = count;
            return true;
        }
    }
    return false;
}

void JobRunner::jobDone(ConversionJob* job, bool ok, const QString& msg) {
    running_.removeOne(job);
    job->deleteLater();
    const QString input = job->input();
    if (ok) {
        const double seconds = clocks_.value(input).elapsed() / 1000.0;
        output_.message(input, msg);
        QStringList outputs;
        if (reportedFiles_.contains(input)) {
            outputs = reportedFiles_.value(input);
            output_.succeeded(input, reportedEpochs_.value(input, -1), outputs, seconds);
        } else {
            outputs = outputFileNames(outputPaths_.value(input), mergedNavigation_.value(input));
            output_.succeeded(input, job->observationEpochs(outputs.first()), outputs, seconds);
        }
        if (quality_.enabled) {
            QString error = job->qualityError();
            const std::shared_ptr<const quality::Report> report = job->qualityReport();
            if (!report || !writeQualityReport(input, *report, quality_, jobCount_ > 1, &error)) {
                ++failures_;
                output_.failed(input, QString("quality check: %1").arg(error));
            }
        }
    } else {
        ++failures_;
        output_.failed(input, msg);
    }
    if (!pending_.isEmpty()) {
        startNext();
    } else if (running_.isEmpty()) {
        emit allFinished();
    }
}

} // namespace cli
