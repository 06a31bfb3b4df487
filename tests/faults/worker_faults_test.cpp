// SPDX-License-Identifier: MIT
// Faults around one conversion, met by the conversion worker: an output that cannot be
// created or already exists, an input that vanishes or cannot be read once its options were
// built, and a cancel at 0 %, in mid-file and at 99 %. The worker is driven on the test's own
// thread, one tick (one 1 MiB chunk) at a time, so each cancel lands at an exact place; the
// cancel is the worker's destruction, as in the conversion tab.
#include "rinex/writer_test_support.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "params/config_rows.h"
#include "params/file_header.h"
#include "shell/thread_binary_to_rinex.h"
#include "support/qt_core_application.h"
#include "support/files.h"

using namespace writertest;

namespace {

using testsupport::writeFile;

constexpr qint64 MiB = 1048576;
constexpr int kObservationHeaderBytes = 65 * 82;
constexpr int kNavigationHeaderBytes = 9 * 82;

// A worker on this thread with its signals recorded. No event loop runs, so its timer never
// fires: tick() plays the timer.
struct Conversion {
    std::unique_ptr<ThreadBinaryToRinex> worker = std::make_unique<ThreadBinaryToRinex>();
    std::vector<int> progress;
    QStringList messages;
    int finished = 0;
    bool ok = false;
    QString text;

    explicit Conversion(const QMap<QString, QString>& parameters) {
        QObject::connect(worker.get(), &ThreadBinaryToRinex::progress,
                         [this](int p) { progress.push_back(p); });
        QObject::connect(worker.get(), &ThreadBinaryToRinex::message, [this](QString m) { messages << m; });
        QObject::connect(worker.get(), &ThreadBinaryToRinex::finished, [this](bool o, QString t) {
            ++finished;
            ok = o;
            text = t;
        });
        worker->setParameters(parameters);
    }
    void start() { worker->startConvert(); }
    void tick(int times = 1) {
        for (int i = 0; i < times; ++i)
            worker->on_timer_timeout();
    }
    void cancel() { worker.reset(); }
};

QStringList outputFiles(const QString& outputPath) {
    QStringList files;
    for (const char* letter : {"O", "C", "L", "N", "G"})
        files << outputPath.left(outputPath.size() - 1) + letter;
    return files;
}

QStringList filesIn(const QTemporaryDir& dir) {
    return QDir(dir.path()).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
}

// An input of exactly `size` bytes: a key header, then range logs one second apart, each
// with eight GPS satellites on two signals; the last log is cut wherever the size ends.
struct Input {
    QByteArray bytes;
    std::vector<qint64> epochEnds; // end offset of every complete range log
};

Input rangeInput(qint64 size) {
    Input input;
    input.bytes = "#file=GNSS DATA FILE\r\n#marker.name=FAULTS\r\n";
    for (uint32_t i = 0; input.bytes.size() < size; ++i) {
        std::vector<encoding::RangeSignal> observed;
        for (int sat = 1; sat <= 8; ++sat) {
            observed.push_back(
                signal('G', sat, "1C", 2.1e7 + sat * 1e5 + i, -1.1e8 - i * 100.0, 100.0, 45.0));
            observed.push_back(
                signal('G', sat, "2W", 2.1e7 + sat * 1e5 + i + 3, -8.6e7 - i * 78.0, 78.0, 38.0));
        }
        const encoding::Bytes frame = rangeFrame(2010, 345600000 + (i % 600000) * 1000, observed);
        input.bytes.append(reinterpret_cast<const char*>(frame.data()), int(frame.size()));
        input.epochEnds.push_back(input.bytes.size());
    }
    input.bytes.truncate(int(size));
    while (!input.epochEnds.empty() && input.epochEnds.back() > size)
        input.epochEnds.pop_back();
    return input;
}

int epochsBefore(const Input& input, qint64 offset) {
    int count = 0;
    for (qint64 end : input.epochEnds)
        count += end <= offset ? 1 : 0;
    return count;
}

// Five closed files: each a header from the version line to END OF HEADER, each ending in
// "\r\n" (no line cut short); the observation file with exactly `epochs` epochs.
void expectClosedFiles(const QString& outputPath, int epochs) {
    const QStringList files = outputFiles(outputPath);
    for (int i = 0; i < files.size(); ++i) {
        SCOPED_TRACE(files[i].toStdString());
        const QByteArray bytes = readAll(files[i]);
        const int headerBytes = i == 0 ? kObservationHeaderBytes : kNavigationHeaderBytes;
        ASSERT_GE(bytes.size(), headerBytes);
        EXPECT_TRUE(bytes.left(80).endsWith("RINEX VERSION / TYPE")) << bytes.left(80).constData();
        EXPECT_TRUE(bytes.left(headerBytes).endsWith(QByteArray(60, ' ') + "END OF HEADER       \r\n"));
        EXPECT_TRUE(bytes.endsWith("\r\n"));
    }
    const ObservationFile observation(files[0]);
    EXPECT_EQ(observation.epochLines().size(), epochs);
}

} // namespace

// ---- output ----

TEST(WorkerFaults, OutputUnderARegularFileFailsAndCreatesNothing) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), rangeInput(20000).bytes);
    writeFile(dir.filePath("plain"), "a file, not a folder");
    const QString output = dir.filePath("plain/out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    EXPECT_EQ(conversion.finished, 1);
    EXPECT_FALSE(conversion.ok);
    EXPECT_EQ(conversion.text, "open file failed, " + output);
    EXPECT_TRUE(conversion.progress.empty());
    EXPECT_EQ(filesIn(dir), (QStringList{"in.dat", "plain"}));
}

TEST(WorkerFaults, OutputFolderWithoutWritePermissionFails) {
    if (geteuid() == 0) GTEST_SKIP() << "permission bits do not stop root";
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), rangeInput(20000).bytes);
    ASSERT_TRUE(QDir(dir.path()).mkdir("locked"));
    ASSERT_EQ(::chmod(QFile::encodeName(dir.filePath("locked")).constData(), 0555), 0);
    const QString output = dir.filePath("locked/out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    ::chmod(QFile::encodeName(dir.filePath("locked")).constData(), 0755);
    EXPECT_EQ(conversion.finished, 1);
    EXPECT_FALSE(conversion.ok);
    EXPECT_EQ(conversion.text, "open file failed, " + output);
    EXPECT_TRUE(QDir(dir.filePath("locked")).entryList(QDir::Files).isEmpty());
}

TEST(WorkerFaults, ExistingNavigationFileFailsAndNothingIsCreatedOrOverwritten) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), rangeInput(20000).bytes);
    writeFile(dir.filePath("out.24G"), "someone else's GLONASS file");
    const QString output = dir.filePath("out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    EXPECT_EQ(conversion.finished, 1);
    EXPECT_FALSE(conversion.ok);
    EXPECT_EQ(conversion.text, "open file failed, " + output);
    EXPECT_EQ(filesIn(dir), (QStringList{"in.dat", "out.24G"}));
    EXPECT_EQ(readAll(dir.filePath("out.24G")), "someone else's GLONASS file");
}

// ---- input that changes after the options were built from its header ----

class InputChangedAfterOptions : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir_.isValid());
        input_ = writeFile(dir_.filePath("in.dat"), rangeInput(4096).bytes);
        // As a conversion tab builds them: from the file's header.
        const FileHeader header = readHeaderOfFile(input_);
        ASSERT_TRUE(header.read);
        options_ = defaultOptions(header.params);
        ASSERT_EQ(options_.value("Path Input"), input_);
        output_ = dir_.filePath("out.24_");
        options_["Path Output"] = output_;
    }
    void expectFailureWithoutOutput(Conversion& conversion, const QString& text) {
        EXPECT_EQ(conversion.finished, 1);
        EXPECT_FALSE(conversion.ok);
        EXPECT_EQ(conversion.text, text);
        EXPECT_TRUE(conversion.messages.isEmpty());
        for (const QString& file : outputFiles(output_))
            EXPECT_FALSE(QFile::exists(file)) << file.toStdString();
    }

    QTemporaryDir dir_;
    QString input_;
    QString output_;
    ConvertOptions options_;
};

TEST_F(InputChangedAfterOptions, DeletedInputFailsWithFileNotExist) {
    ASSERT_TRUE(QFile::remove(input_));
    Conversion conversion(options_);
    conversion.start();
    expectFailureWithoutOutput(conversion, "file not exist, " + input_);
}

TEST_F(InputChangedAfterOptions, UnreadableInputFailsWithOpenFileFailed) {
    if (geteuid() == 0) GTEST_SKIP() << "permission bits do not stop root";
    ASSERT_EQ(::chmod(QFile::encodeName(input_).constData(), 0), 0);
    Conversion conversion(options_);
    conversion.start();
    expectFailureWithoutOutput(conversion, "open file failed, " + input_);
}

TEST_F(InputChangedAfterOptions, InputReplacedByAFolderFailsWithOpenFileFailed) {
    // Unreadable even for root.
    ASSERT_TRUE(QFile::remove(input_));
    ASSERT_TRUE(QDir(dir_.path()).mkdir("in.dat"));
    Conversion conversion(options_);
    conversion.start();
    expectFailureWithoutOutput(conversion, "open file failed, " + input_);
}

// ---- cancel ----

TEST(WorkerCancel, AtZeroPercentLeavesFiveClosedFilesWithHeadersAndNoEpochs) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), rangeInput(3 * MiB).bytes);
    const QString output = dir.filePath("out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    ASSERT_EQ(conversion.messages, QStringList{"save to " + dir.filePath("out.24O")});
    conversion.cancel();
    EXPECT_TRUE(conversion.progress.empty());
    EXPECT_EQ(conversion.finished, 0);
    expectClosedFiles(output, 0);
}

TEST(WorkerCancel, InMidFileKeepsTheEpochsOfTheChunksRead) {
    QTemporaryDir dir;
    const Input data = rangeInput(3 * MiB);
    const QString input = writeFile(dir.filePath("in.dat"), data.bytes);
    const QString output = dir.filePath("out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    conversion.tick(2);
    conversion.cancel();
    EXPECT_EQ(conversion.progress, (std::vector<int>{33, 66}));
    EXPECT_EQ(conversion.finished, 0);
    // The range log that straddles the second chunk's end was never complete.
    expectClosedFiles(output, epochsBefore(data, 2 * MiB));
}

TEST(WorkerCancel, AtNinetyNinePercentKeepsAllButTheLastChunk) {
    QTemporaryDir dir;
    const Input data = rangeInput(MiB + 10000);
    ASSERT_GT(data.epochEnds.back(), MiB) << "epochs lie in the part that is never read";
    const QString input = writeFile(dir.filePath("in.dat"), data.bytes);
    const QString output = dir.filePath("out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    conversion.tick();
    conversion.cancel();
    EXPECT_EQ(conversion.progress, std::vector<int>{99});
    EXPECT_EQ(conversion.finished, 0);
    expectClosedFiles(output, epochsBefore(data, MiB));
}

TEST(WorkerCancel, CompletedConversionWritesEveryEpoch) {
    // The reference for the cancels above: the same input read to its end.
    QTemporaryDir dir;
    const Input data = rangeInput(MiB + 10000);
    const QString input = writeFile(dir.filePath("in.dat"), data.bytes);
    const QString output = dir.filePath("out.24_");
    Conversion conversion({{"Path Input", input}, {"Path Output", output}});
    conversion.start();
    conversion.tick(2);
    EXPECT_EQ(conversion.progress, (std::vector<int>{99, 100}));
    EXPECT_EQ(conversion.finished, 1);
    EXPECT_TRUE(conversion.ok) << conversion.text.toStdString();
    // The worker let go of its timer by a deferred delete, which needs the event loop's turn.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    conversion.cancel();
    expectClosedFiles(output, int(data.epochEnds.size()));
}
