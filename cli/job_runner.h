// SPDX-License-Identifier: MIT
#pragma once
// Runs the conversions: one worker per input on its own thread, at most N at once.
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>
#include <atomic>

#include "cli/quality_output.h"
#include "params/parameter_names.h"

namespace cli {

class ProgressOutput;

// Epoch records (flag 0 or 1) in a RINEX 3 observation file, or in its first limit bytes
// when limit >= 0; -1 when it cannot be read.
qint64 countObservationEpochs(const QString& path, qint64 limit = -1);
// The files the writer makes from an output path: O, N, G, L, C; or O and P with the mixed
// navigation file.
QStringList outputFileNames(const QString& outputPath, bool mergedNavigation = false);

// One conversion, driven the way a conversion tab drives it: the worker is moved to this
// job's thread, started by a queued signal and destroyed by a queued deleteLater.
class ConversionJob : public QObject {
    Q_OBJECT
public:
    ConversionJob(const QString& input, const ConvertOptions& options, QObject* parent = nullptr);
    ~ConversionJob() override;

    // Check the quality of the files as they are written (before start).
    void setQualityCheck(bool enabled) { qualityCheck_ = enabled; }
    // See ThreadBinaryToRinex::setOutputThread.
    void setOutputThread(bool on) { outputThread_ = on; }
    void start();
    // Ends a running conversion without waiting for it: its worker is destroyed, which
    // closes the writer, so the files keep complete headers. No done signal follows.
    void cancel();
    const QString& input() const { return input_; }
    // Epoch records in the observation file of a successful conversion: those of its header
    // read back, with the records' count taken from the writer.
    qint64 observationEpochs(const QString& observationPath) const;
    // After a successful checked conversion: its report, or null with the reason.
    std::shared_ptr<const quality::Report> qualityReport() const { return qualityReport_; }
    QString qualityError() const { return qualityError_; }

signals:
    void startConvert();
    void deleteThreadObject();
    void progress(QString input, int prg);
    void message(QString input, QString msg);
    void done(QString input, bool ok, QString msg);

private slots:
    void on_thread_progress(int prg);
    void on_thread_message(QString msg);
    void on_thread_finished(bool ok, QString msg);

private:
    void stopThread();

    QString input_;
    ConvertOptions options_;
    // Set on the worker's thread as it finishes, read after its queued finished signal.
    std::atomic<qint64> observationDataStart_{-1};
    std::atomic<qint64> epochRecordLines_{-1};
    bool qualityCheck_ = false;
    bool outputThread_ = true;
    // Like the counts, set on the worker's thread before its queued finished signal is sent.
    std::shared_ptr<const quality::Report> qualityReport_;
    QString qualityError_;
    QThread thread_;
};

struct Job {
    QString input;
    ConvertOptions options;
};

class JobRunner : public QObject {
    Q_OBJECT
public:
    JobRunner(const QList<Job>& jobs, int parallel, ProgressOutput& output, QObject* parent = nullptr);

    int failures() const { return failures_; }
    // Check each successful conversion's files (before the next input starts).
    void setQualityRequest(const QualityRequest& request) { quality_ = request; }

public slots:
    void start();
    // Drops the pending inputs and cancels the running ones.
    void cancelAll();

signals:
    void allFinished();

private:
    void startNext();
    // Takes the worker's file and epoch reports; true when msg was one.
    bool noteReport(const QString& input, const QString& msg);
    void jobDone(ConversionJob* job, bool ok, const QString& msg);

    QList<Job> pending_;
    int jobCount_;
    QualityRequest quality_;
    int parallel_;
    QList<ConversionJob*> running_;
    int failures_ = 0;
    ProgressOutput& output_;
    QMap<QString, QElapsedTimer> clocks_;
    QMap<QString, QString> outputPaths_;
    // Files and epochs the worker reported (long names, compression, systems left out).
    QMap<QString, QStringList> reportedFiles_;
    QMap<QString, qint64> reportedEpochs_;
    QMap<QString, bool> mergedNavigation_; // written with one mixed navigation file
};

} // namespace cli
