// SPDX-License-Identifier: MIT
#include "shell/thread_binary_to_rinex.h"

#include <QDateTime>
#include <QFile>
#include <QTimer>

#include "decoding/log_header.h"
#include "params/apply_options.h"
#include "params/output_options.h"
#include "rinex/rinex2_header_lines.h"
#include "rinex/rinex3xx.h"
#include "shell/conversion_quality.h"
#include "shell/output_files.h"
#include "shell/streamed_compact_rinex.h"

namespace {

constexpr int SyncBufferSize = 16384;
constexpr qint64 ChunkSize = 1048576;

// A failed start: the text travels to the end of startConvert, which reports it.
struct ConvertFailure {
    QString text;
};

} // namespace

ThreadBinaryToRinex::ThreadBinaryToRinex(QObject* parent) : QObject(parent) {
    syncBuffer_.resize(SyncBufferSize);
    decoding::init(sync_, reinterpret_cast<uint8_t*>(syncBuffer_.data()), SyncBufferSize, this);
    decoding::setOnBoardFrame(sync_, &ThreadBinaryToRinex::onBoardFrame);
    decoding::setOnTextLine(sync_, &ThreadBinaryToRinex::onTextLine);
    decoding::setOnUnframed(sync_, &ThreadBinaryToRinex::onIgnored);
    decoding::setOnScrambledFrame(sync_, &ThreadBinaryToRinex::onIgnored);
}

ThreadBinaryToRinex::~ThreadBinaryToRinex() {
    // Destroying an open writer closes it, so a cancelled conversion keeps its headers.
    releaseResources();
}

void ThreadBinaryToRinex::setParameters(const QMap<QString, QString>& parameters) {
    parameters_ = parameters;
}

void ThreadBinaryToRinex::setQualityCheck(bool enabled, bool htmlBeside) {
    qualityEnabled_ = enabled;
    qualityHtmlBeside_ = htmlBeside;
}

void ThreadBinaryToRinex::startConvert() {
    if (timer_ || inputFile_ || writer_) return;

    const QString inputPath = parameters_.value("Path Input");
    const QString outputPath = parameters_.value("Path Output");
    try {
        // Output options that do not parse stop the conversion before anything is made.
        const QStringList problems = outputoptions::checkOutputOptions(parameters_);
        if (!problems.isEmpty()) throw ConvertFailure{problems.join(QStringLiteral("; "))};
        if (!QFile(inputPath).exists()) throw ConvertFailure{QString("file not exist, %1").arg(inputPath)};

        inputFile_ = new QFile(inputPath);
        if (!inputFile_->open(QIODevice::ReadOnly))
            throw ConvertFailure{QString("open file failed, %1").arg(inputPath)};

        // Compressed short names are known now: an existing one stops the conversion before
        // anything is written.
        if (parameters_.value(outputoptions::LongName) != "1" && parameters_.value(outputoptions::ShortName) != "1") {
            QStringList plainNames;
            for (const char letter : {'O', 'C', 'L', 'N', 'G'})
                plainNames << outputPath.left(outputPath.size() - 1) + QLatin1Char(letter);
            const QString existing = existingCompressedFile(plainNames, parameters_);
            if (!existing.isEmpty()) throw ConvertFailure{QString("file exists, %1").arg(existing)};
        }

        writer_ = new Rinex3xx();
        applyOptions();
        // Epochs are formatted and written on a second thread while this one decodes.
        writer_->setOutputThread(outputThread_);
        qualityReport_.reset();
        qualityError_.clear();
        qualitySummary_.clear();
        qualityReportPath_.clear();
        qualityReadTheFile_ = false;
        if (qualityEnabled_) {
            quality_.reset(new ConversionQuality());
            // The check reads RINEX 3 only: for other versions nothing is kept, and the
            // header it cannot read tells why.
            const QString version = parameters_.value(QStringLiteral("Version"));
            if (version.isEmpty() || version.startsWith('3')) writer_->setEpochObserver(quality_->observer());
        }
        streamedCompact_.reset();
        // RINEX 2.11 is compressed from the finished file (its compact form is version 1.0).
        if (compressesToCompactRinex(parameters_) && parameters_.value(QStringLiteral("Version")) != "2.11") {
            // The second thread encodes then, and this one formats: two busy threads, not three.
            streamedCompact_ = std::make_unique<StreamedCompactRinex>(outputThread_);
            writer_->setObservationBodySink(streamedCompact_.get());
            writer_->setOutputThread(false);
        }
        if (writer_->open(outputPath) == 0)
            throw ConvertFailure{QString("open file failed, %1").arg(outputPath)};

        emit message(QString("save to %1").arg(writer_->outputLocation()));
        if (writer_->navigationDropped()) emit message(QString::fromLatin1(rinex::kRinex2NavigationMessage));

        observationDataStart_ = -1;
        epochRecordLines_ = -1;
        startTime_ = QDateTime::currentMSecsSinceEpoch();
        lastPercent_ = -1;

        timer_ = new QTimer();
        connect(timer_, &QTimer::timeout, this, &ThreadBinaryToRinex::on_timer_timeout, Qt::DirectConnection);
        timer_->start(0);
    } catch (const ConvertFailure& failure) {
        releaseResources();
        streamedCompact_.reset();
        emit finished(false, failure.text);
    }
}

void ThreadBinaryToRinex::on_timer_timeout() {
    if (!inputFile_) {
        if (timer_) timer_->stop();
        return;
    }
    if (!timer_) return;
    if (!writer_) {
        timer_->stop();
        return;
    }

    QByteArray chunk(int(ChunkSize), Qt::Uninitialized);
    const qint64 count = inputFile_->read(chunk.data(), ChunkSize);
    if (count < 0) {
        // A failing read never reaches the end of the file: stop instead of spinning.
        const QString text = QString("read file failed, %1").arg(inputFile_->fileName());
        writer_->close();
        streamedCompact_.reset();
        inTick_ = true;
        releaseResources();
        inTick_ = false;
        emit finished(false, text);
        return;
    }
    if (count > 0)
        decoding::feed(sync_, reinterpret_cast<const uint8_t*>(chunk.constData()), uint32_t(count));

    // An empty file counts as completely read.
    const qint64 size = inputFile_->size();
    const qint64 percent = size > 0 ? inputFile_->pos() * 100 / size : 100;
    if (qint32(percent) != lastPercent_) {
        lastPercent_ = qint32(percent);
        emit progress(lastPercent_);
    }

    if (!inputFile_->atEnd()) return;

    if (writer_->isOpen()) writer_->close();
    // A failed write (a full disk) must not pass as a success.
    QString writeError = writer_->writeError();
    const QStringList created = writer_->createdFileNames();
    const qint64 epochs = writer_->epochsWritten();
    if (writeError.isEmpty()) {
        observationDataStart_ = writer_->observationDataStart();
        epochRecordLines_ = writer_->epochRecordLines();
    }
    inTick_ = true;
    releaseResources();
    inTick_ = false;
    if (!writeError.isEmpty()) {
        streamedCompact_.reset(); // its hidden body file goes with it
        emit finished(false, writeError);
        return;
    }
    // The check reads the closed files' headers before they are compressed.
    if (quality_) {
        QString why;
        if (!quality_->prepare(created, &why)) {
            qualityError_ = why;
            quality_.reset();
        }
    }
    QStringList finalNames;
    const bool filesFinished = finishOutputFiles(created, parameters_, &finalNames, &writeError, streamedCompact_.get());
    streamedCompact_.reset();
    if (!filesFinished) {
        quality_.reset();
        emit finished(false, writeError);
        return;
    }
    if (reportsOutputFiles(parameters_)) {
        emit message(QString("%1 epochs written").arg(epochs));
        for (const QString& name : finalNames)
            emit message(QString("wrote %1").arg(name));
    }
    const qint32 elapsed = qint32(QDateTime::currentMSecsSinceEpoch() - startTime_);
    costText_ = QString("Cost=%1 ms").arg(elapsed);
    if (!quality_) {
        endConversion(costText_);
        return;
    }
    // The kept records are replayed in slices, one per pass of the event loop, so that a
    // cancel is still served.
    qualityTimer_ = new QTimer();
    connect(qualityTimer_, &QTimer::timeout, this, [this] { qualityStep(); }, Qt::DirectConnection);
    qualityTimer_->start(0);
}

void ThreadBinaryToRinex::qualityStep() {
    if (!quality_ || !quality_->step()) return;
    qualityTimer_->stop();
    qualityTimer_->deleteLater();
    qualityTimer_ = nullptr;
    endConversion(costText_);
}

void ThreadBinaryToRinex::endConversion(const QString& costText) {
    if (qualityEnabled_) {
        if (quality_) {
            qualityReport_ = quality_->report();
            qualitySummary_ = quality_->summaryLines();
            qualityReadTheFile_ = quality_->readTheFile();
            if (qualityHtmlBeside_) {
                QString why;
                qualityReportPath_ = quality_->writeHtmlBeside(&why);
                if (qualityReportPath_.isEmpty())
                    qualitySummary_ << QStringLiteral("quality report not written: %1").arg(why);
            }
            quality_.reset();
        } else {
            qualitySummary_ << QStringLiteral("quality check: %1").arg(qualityError_);
        }
    }
    emit finished(true, costText);
}

void ThreadBinaryToRinex::applyOptions() {
    ::applyOptions(parameters_, *writer_);
}

void ThreadBinaryToRinex::releaseResources() {
    delete inputFile_;
    inputFile_ = nullptr;
    if (timer_) {
        timer_->stop();
        if (inTick_)
            timer_->deleteLater();
        else
            delete timer_;
        timer_ = nullptr;
    }
    delete writer_;
    writer_ = nullptr;
    // Only the destructor meets a replay timer here, never from inside its timeout.
    delete qualityTimer_;
    qualityTimer_ = nullptr;
}

void ThreadBinaryToRinex::onBoardFrame(const uint8_t* data, uint32_t length, void* user) {
    auto* self = static_cast<ThreadBinaryToRinex*>(user);
    decoding::LogHeader header{};
    if (self->writer_ && decoding::readLogHeader(data, length, header) == 0)
        self->writer_->handleFrame(data, length);
}

void ThreadBinaryToRinex::onTextLine(const uint8_t* data, uint32_t length, void* user) {
    auto* self = static_cast<ThreadBinaryToRinex*>(user);
    if (self->writer_) self->writer_->handleTextLine(reinterpret_cast<const char*>(data), length);
}

void ThreadBinaryToRinex::onIgnored(const uint8_t*, uint32_t, void*) {}
