// SPDX-License-Identifier: MIT
// The conversion worker driven the way a conversion tab drives it: moved to its own
// thread, started by a queued signal, its signals received queued on the main thread.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "shell/thread_binary_to_rinex.h"
#include "support/files.h"
#include "support/qt_core_application.h"
#include "support/stream_manifest.h"

namespace {

using testsupport::readAll;
using testsupport::writeFile;

constexpr qint64 MiB = 1048576;

struct Event {
    enum Kind { Progress, Message, Finished } kind;
    int percent = 0;
    bool ok = false;
    QString text;
};

// Plays the tab's part: owns the thread, starts and cancels the worker by signals.
class Driver : public QObject {
    Q_OBJECT
public:
    explicit Driver(const QMap<QString, QString>& parameters) {
        worker_ = new ThreadBinaryToRinex();
        connect(this, &Driver::deleteThreadObject, worker_, &QObject::deleteLater, Qt::QueuedConnection);
        // The queued deleteLater may still be waiting when quit ends the thread's loop; the
        // thread's own end then deletes the worker on that thread.
        connect(&thread_, &QThread::finished, worker_, &QObject::deleteLater);
        connect(this, &Driver::startConvert, worker_, &ThreadBinaryToRinex::startConvert,
                Qt::QueuedConnection);
        connect(
            worker_, &ThreadBinaryToRinex::progress, this,
            [this](int prg) {
                events.push_back({Event::Progress, prg, false, {}});
                if (cancelOnFirstProgress) cancel();
            },
            Qt::QueuedConnection);
        connect(
            worker_, &ThreadBinaryToRinex::message, this,
            [this](QString msg) {
                events.push_back({Event::Message, 0, false, msg});
            },
            Qt::QueuedConnection);
        connect(
            worker_, &ThreadBinaryToRinex::finished, this,
            [this](bool ok, QString msg) {
                events.push_back({Event::Finished, 0, ok, msg});
                ++finishedCount;
            },
            Qt::QueuedConnection);
        worker_->setParameters(parameters);
        worker_->moveToThread(&thread_);
        thread_.start();
    }
    ~Driver() override { cancel(); }

    void start(int times = 1) {
        for (int i = 0; i < times; ++i)
            emit startConvert();
    }
    void cancel() {
        if (!thread_.isRunning()) return;
        emit deleteThreadObject();
        thread_.quit();
        thread_.wait();
    }
    // Runs the main event loop until finished arrives (or the time is up).
    bool waitForFinished(int milliseconds = 60000) {
        QElapsedTimer clock;
        clock.start();
        while (finishedCount == 0 && thread_.isRunning() && clock.elapsed() < milliseconds)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        // Signals queued before the worker went idle are delivered by now; give late ones a chance.
        QCoreApplication::processEvents();
        return finishedCount > 0;
    }
    // Lets the worker's queued signals arrive for a while.
    void settle(int milliseconds) {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < milliseconds)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    std::vector<Event> events;
    int finishedCount = 0;
    bool cancelOnFirstProgress = false;

signals:
    void startConvert();
    void deleteThreadObject();

private:
    QThread thread_;
    ThreadBinaryToRinex* worker_ = nullptr;
};

std::vector<int> progressValues(const std::vector<Event>& events) {
    std::vector<int> values;
    for (const Event& event : events)
        if (event.kind == Event::Progress) values.push_back(event.percent);
    return values;
}

const QStringList OutputLetters = {"O", "C", "L", "N", "G"};

QStringList outputFiles(const QString& outputPath) {
    QStringList files;
    for (const QString& letter : OutputLetters)
        files << outputPath.left(outputPath.size() - 1) + letter;
    return files;
}

QString streamPath(const char* name) {
    return QString::fromStdString(testsupport::streamDataDirectory() + "/" + name);
}

const QRegularExpression CostText("^Cost=-?[0-9]+ ms$");

} // namespace

TEST(ConversionWorker, ThreeAndAHalfMebibytesGiveFourProgressSteps) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), QByteArray(int(3.5 * MiB), '\0'));
    const QString output = dir.filePath("out.24_");
    Driver driver({{"Path Input", input}, {"Path Output", output}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());

    ASSERT_EQ(driver.events.size(), 6u);
    EXPECT_EQ(driver.events.front().kind, Event::Message);
    EXPECT_EQ(driver.events.front().text, "save to " + dir.filePath("out.24O"));
    EXPECT_EQ(progressValues(driver.events), (std::vector<int>{28, 57, 85, 100}));
    const Event& last = driver.events.back();
    EXPECT_EQ(last.kind, Event::Finished);
    EXPECT_TRUE(last.ok);
    EXPECT_TRUE(CostText.match(last.text).hasMatch()) << last.text.toStdString();
    for (const QString& file : outputFiles(output))
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();
}

TEST(ConversionWorker, OneMebibyteEndsAfterOneTick) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), QByteArray(int(MiB), '\x55'));
    Driver driver({{"Path Input", input}, {"Path Output", dir.filePath("out.24_")}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    ASSERT_EQ(driver.events.size(), 3u);
    EXPECT_EQ(driver.events[0].kind, Event::Message);
    EXPECT_EQ(driver.events[1].kind, Event::Progress);
    EXPECT_EQ(driver.events[1].percent, 100);
    EXPECT_EQ(driver.events[2].kind, Event::Finished);
    EXPECT_TRUE(driver.events[2].ok);
}

TEST(ConversionWorker, EmptyInputReportsCompleteAndFinishes) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("empty.dat"), QByteArray());
    const QString output = dir.filePath("out.24_");
    Driver driver({{"Path Input", input}, {"Path Output", output}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    EXPECT_EQ(progressValues(driver.events), std::vector<int>{100});
    ASSERT_EQ(driver.events.back().kind, Event::Finished);
    EXPECT_TRUE(driver.events.back().ok);
    EXPECT_TRUE(CostText.match(driver.events.back().text).hasMatch());
    // The files are complete, with their headers.
    EXPECT_TRUE(readAll(dir.filePath("out.24O")).contains("RINEX VERSION / TYPE"));
}

TEST(ConversionWorker, SecondStartWhileRunningDoesNothing) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), QByteArray(int(3.5 * MiB), '\0'));
    Driver driver({{"Path Input", input}, {"Path Output", dir.filePath("out.24_")}});
    driver.start(2);
    ASSERT_TRUE(driver.waitForFinished());
    driver.settle(200);
    EXPECT_EQ(driver.finishedCount, 1);
    int messages = 0;
    for (const Event& event : driver.events)
        messages += event.kind == Event::Message;
    EXPECT_EQ(messages, 1);
    EXPECT_EQ(progressValues(driver.events), (std::vector<int>{28, 57, 85, 100}));
    EXPECT_TRUE(driver.events.back().ok);
}

TEST(ConversionWorker, ExistingObservationFileFailsAndCreatesNothing) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), QByteArray(1000, '\0'));
    const QString output = dir.filePath("out.24_");
    writeFile(dir.filePath("out.24O"), "already here");
    Driver driver({{"Path Input", input}, {"Path Output", output}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    ASSERT_EQ(driver.events.size(), 1u);
    EXPECT_EQ(driver.events[0].kind, Event::Finished);
    EXPECT_FALSE(driver.events[0].ok);
    EXPECT_EQ(driver.events[0].text, "open file failed, " + output);
    for (const char* letter : {"C", "L", "N", "G"})
        EXPECT_FALSE(QFile::exists(dir.filePath(QString("out.24") + letter))) << letter;
    EXPECT_EQ(readAll(dir.filePath("out.24O")), "already here");
}

TEST(ConversionWorker, MissingInputFails) {
    QTemporaryDir dir;
    const QString input = dir.filePath("missing.dat");
    Driver driver({{"Path Input", input}, {"Path Output", dir.filePath("out.24_")}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    ASSERT_EQ(driver.events.size(), 1u);
    EXPECT_FALSE(driver.events[0].ok);
    EXPECT_EQ(driver.events[0].text, "file not exist, " + input);
    EXPECT_FALSE(QFile::exists(dir.filePath("out.24O")));
}

TEST(ConversionWorker, OptionsWithoutInputPathFailWithAnEmptyPath) {
    QTemporaryDir dir;
    Driver driver({{"Path Output", dir.filePath("out.24_")}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    ASSERT_EQ(driver.events.size(), 1u);
    EXPECT_EQ(driver.events[0].text, "file not exist, ");
}

TEST(ConversionWorker, UnopenableInputFails) {
    // A folder exists but cannot be opened as a file.
    QTemporaryDir dir;
    const QString input = dir.filePath("folder.dat");
    ASSERT_TRUE(QDir(dir.path()).mkdir("folder.dat"));
    Driver driver({{"Path Input", input}, {"Path Output", dir.filePath("out.24_")}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    ASSERT_EQ(driver.events.size(), 1u);
    EXPECT_FALSE(driver.events[0].ok);
    EXPECT_EQ(driver.events[0].text, "open file failed, " + input);
    EXPECT_FALSE(QFile::exists(dir.filePath("out.24O")));
}

TEST(ConversionWorker, CancelInMidFileLeavesFiveClosedFilesWithHeaders) {
    const QByteArray stream = readAll(streamPath("cebr-range-key.dat"));
    if (stream.isEmpty()) GTEST_SKIP() << "test stream missing";
    QTemporaryDir dir;
    // Long enough that the cancel arrives well before the end.
    const QString input = writeFile(dir.filePath("long.dat"), stream.repeated(int(40 * MiB / stream.size())));
    const QString output = dir.filePath("out.24_");
    Driver driver({{"Path Input", input}, {"Path Output", output}});
    driver.cancelOnFirstProgress = true;
    driver.start();
    driver.waitForFinished(60000);
    driver.cancel();

    EXPECT_EQ(driver.finishedCount, 0);
    EXPECT_FALSE(progressValues(driver.events).empty());
    for (const QString& file : outputFiles(output)) {
        const QByteArray content = readAll(file);
        EXPECT_TRUE(content.left(80).endsWith("RINEX VERSION / TYPE"))
            << file.toStdString() << ": " << content.left(200).toStdString();
    }
    // Epochs of the part read before the cancel are in the observation file.
    EXPECT_TRUE(readAll(dir.filePath("out.24O")).contains("\n> "));
}

TEST(ConversionWorker, CancelLeavesOnlyWholeEpochs) {
    const QByteArray stream = readAll(streamPath("cebr-rangecmp-legacy.dat"));
    if (stream.isEmpty()) GTEST_SKIP() << "test stream missing";
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("long.dat"), stream.repeated(int(24 * MiB / stream.size())));
    const QString output = dir.filePath("out.24_");
    Driver driver({{"Path Input", input}, {"Path Output", output}});
    driver.cancelOnFirstProgress = true;
    driver.start();
    driver.waitForFinished(60000);
    driver.cancel();

    // Epochs handed to the output thread before the cancel are written whole: every epoch
    // line is followed by as many satellite lines as it announces, and the file ends with
    // a complete line.
    const QByteArray observations = readAll(dir.filePath("out.24O"));
    ASSERT_TRUE(observations.endsWith("\r\n"));
    const QList<QByteArray> lines = observations.split('\n');
    int epochs = 0;
    int expected = 0;
    for (const QByteArray& line : lines) {
        if (line.isEmpty()) continue;
        if (expected > 0) {
            EXPECT_FALSE(line.startsWith(">")) << line.toStdString();
            --expected;
            continue;
        }
        if (!line.startsWith("> ")) continue; // header lines
        ++epochs;
        expected = line.mid(32, 3).trimmed().toInt();
    }
    EXPECT_EQ(expected, 0);
    EXPECT_GT(epochs, 0);
}

TEST(ConversionWorker, StreamConvertsWithTheOptionsApplied) {
    const QString input = streamPath("cebr-range-key.dat");
    if (!QFile::exists(input)) GTEST_SKIP() << "test stream missing";
    QTemporaryDir dir;
    Driver driver({{"Path Input", input},
                   {"Path Output", dir.filePath("out.24_")},
                   {"Marker Name", "WORKER-TEST"},
                   {"Marker Type", "GEODETIC"},
                   {"Version", "3.03"}});
    driver.start();
    ASSERT_TRUE(driver.waitForFinished());
    ASSERT_TRUE(driver.events.back().ok);
    const QByteArray observations = readAll(dir.filePath("out.24O"));
    EXPECT_TRUE(observations.startsWith("     3.03"));
    EXPECT_TRUE(observations.contains(QByteArray("WORKER-TEST").leftJustified(60) + "MARKER NAME"));
}

TEST(ConversionWorker, WriteFailureIsReportedAsFailure) {
    const QString input = streamPath("cebr-range-key.dat");
    if (!QFile::exists(input)) GTEST_SKIP() << "test stream missing";
    QTemporaryDir dir;
    // Files may not grow beyond 64 KiB while this runs: the observation file hits the limit.
    struct rlimit saved {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limited = saved;
    limited.rlim_cur = 64 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);

    Driver driver({{"Path Input", input}, {"Path Output", dir.filePath("out.24_")}});
    driver.start();
    const bool finished = driver.waitForFinished();
    driver.cancel();

    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);

    ASSERT_TRUE(finished);
    const Event& last = driver.events.back();
    EXPECT_EQ(last.kind, Event::Finished);
    EXPECT_FALSE(last.ok);
    EXPECT_FALSE(last.text.isEmpty());
    EXPECT_FALSE(last.text.startsWith("Cost="));
}

TEST(ConversionWorker, TickWhileIdleEmitsNothing) {
    ThreadBinaryToRinex worker;
    int emitted = 0;
    QObject::connect(&worker, &ThreadBinaryToRinex::progress, [&emitted](int) { ++emitted; });
    QObject::connect(&worker, &ThreadBinaryToRinex::message, [&emitted](QString) { ++emitted; });
    QObject::connect(&worker, &ThreadBinaryToRinex::finished, [&emitted](bool, QString) { ++emitted; });
    worker.on_timer_timeout();
    EXPECT_EQ(emitted, 0);
}

TEST(ConversionWorker, MetaObjectMethodsInOrder) {
    const QMetaObject& meta = ThreadBinaryToRinex::staticMetaObject;
    QStringList signatures;
    QList<QList<QByteArray>> names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        signatures << QString::fromLatin1(meta.method(i).methodSignature());
        names << meta.method(i).parameterNames();
    }
    EXPECT_EQ(signatures, (QStringList{"progress(int)", "message(QString)", "finished(bool,QString)",
                                       "startConvert()", "on_timer_timeout()"}));
    EXPECT_EQ(names, (QList<QList<QByteArray>>{{"prg"}, {"msg"}, {"ok", "msg"}, {}, {}}));
}

#include "thread_binary_to_rinex_test.moc"
