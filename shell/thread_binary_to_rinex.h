// SPDX-License-Identifier: MIT
#pragma once
// One conversion of one input file on the thread it is moved to: reads 1 MiB per pass of
// the event loop, feeds the synchroniser, whose callbacks drive the RINEX writer.
#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>

#include "decoding/stream_sync.h"

class QFile;
class QTimer;
class Rinex3xx;

class ThreadBinaryToRinex : public QObject {
    Q_OBJECT
public:
    explicit ThreadBinaryToRinex(QObject* parent = nullptr);
    ~ThreadBinaryToRinex() override;

    void setParameters(const QMap<QString, QString>& parameters);
    // After a successful conversion (valid from within the finished signal's direct
    // connections): where the observation records start, and the epoch record lines among
    // them; -1 before.
    qint64 observationDataStart() const { return observationDataStart_; }
    qint64 epochRecordLines() const { return epochRecordLines_; }

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
};
