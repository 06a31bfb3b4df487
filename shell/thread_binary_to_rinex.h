// SPDX-License-Identifier: MIT
#pragma once
// One conversion of one input file on the thread it is moved to: reads 1 MiB per pass of
// the event loop, feeds the synchroniser, whose callbacks drive the RINEX writer.
#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>

#include "decoding/stream_sync.h"

class ConversionQuality;
class StreamedCompactRinex;
class QFile;
class QTimer;
class Rinex3xx;
namespace quality {
struct Report;
}

class ThreadBinaryToRinex : public QObject {
    Q_OBJECT
public:
    explicit ThreadBinaryToRinex(QObject* parent = nullptr);
    ~ThreadBinaryToRinex() override;

    void setParameters(const QMap<QString, QString>& parameters);
    // Epochs formatted and written on a second thread while this one decodes (the default).
    // The files are the same either way; off, a conversion uses one CPU.
    void setOutputThread(bool on) { outputThread_ = on; }
    // After a successful conversion (valid from within the finished signal's direct
    // connections): where the observation records start, and the epoch record lines among
    // them; -1 before.
    qint64 observationDataStart() const { return observationDataStart_; }
    qint64 epochRecordLines() const { return epochRecordLines_; }

    // Checks the quality of the observation records as the writer writes them (RINEX 3.0x
    // outputs; for another version the check says why it cannot read it). With htmlBeside the
    // HTML report is written beside the observation file (quality_report_path.h).
    void setQualityCheck(bool enabled, bool htmlBeside = false);
    // After a successful checked conversion (valid from within the finished signal's direct
    // connections): the report, or null with the reason why there is none.
    std::shared_ptr<const quality::Report> qualityReport() const { return qualityReport_; }
    QString qualityError() const { return qualityError_; }
    // Likewise: a few summary lines of the report (or one line with the reason why there is
    // none), and the path of the HTML report written beside the output (empty: none).
    QStringList qualitySummary() const { return qualitySummary_; }
    QString qualityReportPath() const { return qualityReportPath_; }
    // Whether the check had to read the written observation file instead of following the
    // records as they were written (a rare stream; see quality/conversion_feed.h).
    bool qualityReadTheFile() const { return qualityReadTheFile_; }

signals:
    void progress(int prg);
    void message(QString msg);
    void finished(bool ok, QString msg);

public slots:
    void startConvert();
    void on_timer_timeout();

private:
    void applyOptions();
    void releaseResources();
    void qualityStep();
    void endConversion(const QString& costText);

    static void onBoardFrame(const uint8_t* data, uint32_t length, void* user);
    static void onTextLine(const uint8_t* data, uint32_t length, void* user);
    static void onIgnored(const uint8_t* data, uint32_t length, void* user);

    QMap<QString, QString> parameters_;
    QTimer* timer_ = nullptr;
    QFile* inputFile_ = nullptr;
    QByteArray syncBuffer_;
    decoding::StreamSync sync_{};
    Rinex3xx* writer_ = nullptr;
    qint64 startTime_ = 0;
    qint32 lastPercent_ = -1;
    qint64 observationDataStart_ = -1;
    qint64 epochRecordLines_ = -1;
    bool inTick_ = false; // the timer must not be deleted inside its own timeout

    bool outputThread_ = true;
    bool qualityEnabled_ = false;
    bool qualityHtmlBeside_ = false;
    std::unique_ptr<ConversionQuality> quality_;
    // The observation file's Compact RINEX, encoded as the file is written.
    std::unique_ptr<StreamedCompactRinex> streamedCompact_;
    QTimer* qualityTimer_ = nullptr; // replays the kept records once the files are closed
    QString costText_;
    std::shared_ptr<const quality::Report> qualityReport_;
    QString qualityError_;
    QStringList qualitySummary_;
    QString qualityReportPath_;
    bool qualityReadTheFile_ = false;
};
