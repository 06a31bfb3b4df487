// SPDX-License-Identifier: MIT
// The command-line converter, run as a separate process on real and damaged inputs.
#include <QCoreApplication>
#include <QDate>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <random>

#include "support/converter_process.h"
#include "support/qt_core_application.h"
#include "support/stream_manifest.h"
#include "support/files.h"

namespace {

using testsupport::readAll;
using testsupport::writeFile;

using testsupport::ProcessResult;

ProcessResult run(const QStringList& arguments) {
    return testsupport::runConverter(arguments);
}

std::string dataDir() {
    return testsupport::streamDataDirectory();
}

QString streamPath(const char* name) {
    return QString::fromStdString(dataDir() + "/" + name);
}

// "<stem>.<yy>O" beside the input, with the other four files by their last letter.
QString yearSuffix() {
    return QString("%1").arg(QDate::currentDate().year() % 100, 2, 10, QLatin1Char('0'));
}

QStringList fiveFiles(const QString& outputPath) {
    QStringList files;
    for (const char* letter : {"O", "N", "G", "L", "C"})
        files << outputPath.left(outputPath.size() - 1) + letter;
    return files;
}

QStringList nonEmptyLines(const QString& text) {
    QStringList lines;
    for (const QString& line : text.split('\n'))
        if (!line.isEmpty()) lines << line;
    return lines;
}

struct EpochCount {
    int epochs = 0;
    int events = 0;
};

EpochCount countEpochs(const QString& observationFile) {
    EpochCount count;
    for (const QByteArray& line : readAll(observationFile).split('\n')) {
        if (line.size() > 31 && line.at(0) == '>') ++(line.at(31) == '0' ? count.epochs : count.events);
    }
    return count;
}

int writtenEpochs(const testsupport::StreamManifest& manifest) {
    int count = 0;
    for (const testsupport::ManifestEpoch& epoch : manifest.epochs)
        count += epoch.written;
    return count;
}

class StreamTest : public ::testing::Test {
protected:
    void SetUp() override {
        keyStream_ = streamPath("cebr-range-key.dat");
        if (!QFile::exists(keyStream_)) GTEST_SKIP() << "test stream missing";
        ASSERT_TRUE(dir_.isValid());
    }
    const testsupport::StreamManifest& keyManifest() {
        if (keyManifest_.stream.empty())
            keyManifest_ = testsupport::loadStreamManifest(dataDir() + "/cebr-range-key.json.gz");
        return keyManifest_;
    }
    QString copyOfKeyStream(const QString& name) {
        const QString path = dir_.filePath(name);
        EXPECT_TRUE(QFile::copy(keyStream_, path));
        return path;
    }

    QString keyStream_;
    QTemporaryDir dir_;
    testsupport::StreamManifest keyManifest_;
};

} // namespace

TEST_F(StreamTest, ConvertsBesideTheInput) {
    const QString input = copyOfKeyStream("cebr.dat");
    const ProcessResult result = run({input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();

    const QString output = dir_.filePath("cebr." + yearSuffix() + "O");
    for (const QString& file : fiveFiles(output))
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();

    const int expected = writtenEpochs(keyManifest());
    EXPECT_EQ(countEpochs(output).epochs, expected);
    EXPECT_TRUE(result.err.contains("save to " + output)) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(QString("%1 epochs").arg(expected))) << result.err.toStdString();
    EXPECT_TRUE(QRegularExpression("Cost=-?[0-9]+ ms").match(result.err).hasMatch());

    // The header's options reach the observation header.
    const std::string marker = keyManifest().document.at("header").at("values").at("key").at("#marker.name");
    EXPECT_TRUE(
        readAll(output).contains(QByteArray::fromStdString(marker).leftJustified(60) + "MARKER NAME"));
}

TEST_F(StreamTest, OutputPathOption) {
    const QString output = dir_.filePath("sub.18O");
    const ProcessResult result = run({"-q", "-o", output, keyStream_});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    for (const QString& file : fiveFiles(output))
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();
    EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
}

TEST_F(StreamTest, CommandLineOverridesTheHeader) {
    const QString output = dir_.filePath("o.18O");
    const ProcessResult result = run({"-q", "--rinex", "3.02", "--marker-name", "CLI-NAME", "--marker-type",
                                      "non_physical", "--antenna-spec", "0,100,50,0", "--antenna-height", "2",
                                      "--height-type", "phase", "-o", output, keyStream_});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QByteArray observations = readAll(output);
    EXPECT_TRUE(observations.startsWith("     3.02"));
    EXPECT_TRUE(observations.contains(QByteArray("CLI-NAME").leftJustified(60) + "MARKER NAME"));
    EXPECT_TRUE(observations.contains(QByteArray("NON_PHYSICAL").leftJustified(60) + "MARKER TYPE"));
    // PHASE: 2 - 0.100 - 0.050.
    EXPECT_TRUE(observations.contains("        1.8500        0.0000        0.0000"));
}

TEST_F(StreamTest, ExistingOutputFails) {
    const QString output = dir_.filePath("taken.18O");
    writeFile(output, "keep me");
    const ProcessResult result = run({"-o", output, keyStream_});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("open file failed, " + output)) << result.err.toStdString();
    EXPECT_EQ(readAll(output), "keep me");
    for (const QString& file : fiveFiles(output).mid(1))
        EXPECT_FALSE(QFile::exists(file)) << file.toStdString();
}

TEST_F(StreamTest, MissingInputFailsOthersStillConvert) {
    const QString input = copyOfKeyStream("good.dat");
    const QString missing = dir_.filePath("missing.dat");
    const ProcessResult result = run({missing, input});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("file not exist, " + missing)) << result.err.toStdString();
    EXPECT_TRUE(QFile::exists(dir_.filePath("good." + yearSuffix() + "O")));
}

TEST_F(StreamTest, TwoFilesAtOnce) {
    const QString first = copyOfKeyStream("first.dat");
    const QString second = copyOfKeyStream("second.dat");
    const ProcessResult result = run({"-j", "2", first, second});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const int expected = writtenEpochs(keyManifest());
    for (const QString stem : {"first", "second"}) {
        const QString output = dir_.filePath(stem + "." + yearSuffix() + "O");
        for (const QString& file : fiveFiles(output))
            EXPECT_TRUE(QFile::exists(file)) << file.toStdString();
        EXPECT_EQ(countEpochs(output).epochs, expected) << stem.toStdString();
    }
    EXPECT_EQ(result.err.count(QString("%1 epochs").arg(expected)), 2) << result.err.toStdString();
}

TEST_F(StreamTest, MergedNavigationWritesTheObservationAndOneMixedFile) {
    const QString input = copyOfKeyStream("merged.dat");
    const QString output = dir_.filePath("merged.18O");
    const ProcessResult result = run({"--rinex", "4.00", "--nav-merged", "-o", output, input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QString mixed = dir_.filePath("merged.18P");
    EXPECT_TRUE(QFile::exists(mixed));
    for (const QString& file : fiveFiles(output).mid(1))
        EXPECT_FALSE(QFile::exists(file)) << file.toStdString();
    EXPECT_TRUE(readAll(mixed).startsWith("     4.00           N: GNSS NAV DATA    M: MIXED"));
    // The summary names the two files written.
    EXPECT_TRUE(result.err.contains("written to merged.18O merged.18P in")) << result.err.toStdString();
}

TEST_F(StreamTest, TruncatedFileConvertsTheCompleteEpochs) {
    const testsupport::StreamManifest& manifest = keyManifest();
    const testsupport::ManifestEpoch& middle = manifest.epochs.at(manifest.epochs.size() / 2);
    const testsupport::ManifestFrame* cutFrame = nullptr;
    for (const testsupport::ManifestFrame& frame : manifest.frames)
        if (frame.index == middle.frame) cutFrame = &frame;
    ASSERT_NE(cutFrame, nullptr);
    // Cut in the middle of that epoch's range log.
    const qint64 cut = qint64(cutFrame->offset + cutFrame->length / 2);
    int expected = 0;
    for (const testsupport::ManifestEpoch& epoch : manifest.epochs) {
        for (const testsupport::ManifestFrame& frame : manifest.frames)
            if (frame.index == epoch.frame && epoch.written && qint64(frame.offset + frame.length) <= cut)
                ++expected;
    }
    ASSERT_GT(expected, 0);

    const QString input = writeFile(dir_.filePath("cut.dat"), readAll(keyStream_).left(int(cut)));
    const ProcessResult result = run({input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(countEpochs(dir_.filePath("cut." + yearSuffix() + "O")).epochs, expected);
    EXPECT_TRUE(result.err.contains(QString("%1 epochs").arg(expected))) << result.err.toStdString();
}

TEST_F(StreamTest, InterruptClosesTheFilesWithTheirHeaders) {
    const QByteArray stream = readAll(keyStream_);
    const QString input = writeFile(dir_.filePath("long.dat"), stream.repeated(40));
    QProcess process;
    process.setReadChannel(QProcess::StandardError);
    process.start(VELMOOR_CONVERT, {input});
    ASSERT_TRUE(process.waitForStarted(10000));
    QByteArray err;
    while (!err.contains("save to") && process.waitForReadyRead(30000))
        err += process.readAllStandardError();
    ASSERT_TRUE(err.contains("save to")) << err.toStdString();
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    err += process.readAllStandardError();

    const QString output = dir_.filePath("long." + yearSuffix() + "O");
    if (err.contains("Cost=")) GTEST_SKIP() << "the conversion ended before the interrupt arrived";
    EXPECT_EQ(process.exitCode(), 128 + SIGINT) << err.toStdString();
    EXPECT_TRUE(err.contains("cancelled")) << err.toStdString();
    for (const QString& file : fiveFiles(output))
        EXPECT_TRUE(readAll(file).left(80).endsWith("RINEX VERSION / TYPE")) << file.toStdString();
}

TEST_F(StreamTest, InterruptWithLongNamesLeavesNoTemporaryFile) {
    const QByteArray stream = readAll(keyStream_);
    QDir(dir_.path()).mkdir("out");
    const QString input = writeFile(dir_.filePath("long.dat"), stream.repeated(40));
    QProcess process;
    process.setReadChannel(QProcess::StandardError);
    process.start(VELMOOR_CONVERT, {"--long-name", "-o", dir_.filePath("out"), input});
    ASSERT_TRUE(process.waitForStarted(10000));
    QByteArray err;
    while (!err.contains("save to") && process.waitForReadyRead(30000))
        err += process.readAllStandardError();
    ASSERT_TRUE(err.contains("save to")) << err.toStdString();
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60000));
    err += process.readAllStandardError();
    if (err.contains("Cost=")) GTEST_SKIP() << "the conversion ended before the interrupt arrived";
    EXPECT_EQ(process.exitCode(), 128 + SIGINT) << err.toStdString();
    // The files written so far carry their long names and headers; no temporary file is left.
    const QStringList files = QDir(dir_.filePath("out")).entryList(QDir::Files | QDir::Hidden);
    EXPECT_EQ(files.size(), 5) << files.join(' ').toStdString();
    // The start depends on how far the conversion got before the interrupt.
    static const QRegularExpression longName("^CEBR00XXX_R_\\d{11}_\\d\\d[MHDYU]_(\\d\\d[CZSMHDU]_MO|[CEGR]N)\\.rnx$");
    for (const QString& file : files) {
        EXPECT_TRUE(longName.match(file).hasMatch()) << file.toStdString();
        EXPECT_TRUE(readAll(dir_.filePath("out/" + file)).left(80).endsWith("RINEX VERSION / TYPE"))
            << file.toStdString();
    }
}

TEST_F(StreamTest, InfoPrintsTheKeyHeaderRowsAndConvertsNothing) {
    const QString input = copyOfKeyStream("info.dat");
    const ProcessResult result = run({"--info", input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QStringList lines = nonEmptyLines(result.out);
    ASSERT_FALSE(lines.isEmpty());
    EXPECT_EQ(lines.first(), "File Type = GNSS");
    const auto& values = keyManifest().document.at("header").at("values").at("key");
    for (auto it = values.begin(); it != values.end(); ++it) {
        const QString line = QString::fromStdString(it.key() + " = " + it.value().get<std::string>());
        EXPECT_TRUE(lines.contains(line)) << line.toStdString();
    }
    EXPECT_EQ(QDir(dir_.path()).entryList(QDir::Files), QStringList{"info.dat"});
}

TEST(VelmoorConvert, InfoPrintsLegacyRowsFirst) {
    const QString input = streamPath("cebr-rangecmp-legacy.dat");
    if (!QFile::exists(input)) GTEST_SKIP() << "test stream missing";
    const testsupport::StreamManifest manifest =
        testsupport::loadStreamManifest(dataDir() + "/cebr-rangecmp-legacy.json.gz");
    const auto& legacy = manifest.document.at("header").at("values").at("legacy");
    const ProcessResult result = run({"--info", input});
    ASSERT_EQ(result.exitCode, 0);
    const QStringList lines = nonEmptyLines(result.out);
    ASSERT_GE(lines.size(), 4);
    EXPECT_EQ(lines.at(0), "File Type = DEV");
    EXPECT_EQ(lines.at(1), "Sn = " + QString::fromStdString(legacy.at("serial").get<std::string>()));
    EXPECT_EQ(lines.at(3), "Point Name = " + QString::fromStdString(legacy.at("point").get<std::string>()));
    const QString start = QString("Time Start = %1-%2-%3 %4")
                              .arg(legacy.at("year").get<int>())
                              .arg(legacy.at("month").get<int>())
                              .arg(legacy.at("day").get<int>())
                              .arg(QString::fromStdString(legacy.at("start").get<std::string>()));
    EXPECT_TRUE(lines.contains(start)) << start.toStdString();
    // Then the key header's rows.
    EXPECT_EQ(lines.count("File Type = GNSS"), 1);
    EXPECT_GT(lines.indexOf("File Type = GNSS"), lines.indexOf(start));
}

TEST(VelmoorConvert, PpkModes) {
    const QString input = streamPath("cebr-rangecmp-legacy.dat");
    if (!QFile::exists(input)) GTEST_SKIP() << "test stream missing";
    const testsupport::StreamManifest manifest =
        testsupport::loadStreamManifest(dataDir() + "/cebr-rangecmp-legacy.json.gz");
    int samples = 0;
    for (const testsupport::PpkMarker& marker : manifest.ppk)
        samples += int(marker.samples.size());
    ASSERT_GT(samples, 0);

    QTemporaryDir dir;
    ASSERT_EQ(run({"-q", "-o", dir.filePath("mix.18O"), input}).exitCode, 0);
    ASSERT_EQ(run({"-q", "--mode", "none", "-o", dir.filePath("none.18O"), input}).exitCode, 0);
    ASSERT_EQ(run({"-q", "--mode", "only", "-o", dir.filePath("only.18O"), input}).exitCode, 0);

    const EpochCount mix = countEpochs(dir.filePath("mix.18O"));
    const EpochCount none = countEpochs(dir.filePath("none.18O"));
    const EpochCount only = countEpochs(dir.filePath("only.18O"));
    EXPECT_GT(mix.events, 0);
    EXPECT_EQ(none.events, 0);
    EXPECT_EQ(none.epochs, writtenEpochs(manifest));
    EXPECT_GT(only.events, 0);
    EXPECT_EQ(only.epochs, samples);
}

TEST(VelmoorConvert, EmptyFileConvertsToEmptyFiles) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("empty.dat"), QByteArray());
    const ProcessResult result = run({input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QString output = dir.filePath("empty." + yearSuffix() + "O");
    for (const QString& file : fiveFiles(output))
        EXPECT_TRUE(readAll(file).left(80).endsWith("RINEX VERSION / TYPE")) << file.toStdString();
    EXPECT_EQ(countEpochs(output).epochs, 0);
    EXPECT_TRUE(result.err.contains(" 0 epochs")) << result.err.toStdString();
}

TEST(VelmoorConvert, RandomBytesConvertToNoEpochs) {
    QTemporaryDir dir;
    std::mt19937 random(20121109);
    QByteArray bytes(300000, '\0');
    for (char& byte : bytes)
        byte = char(random() & 0xFF);
    const QString input = writeFile(dir.filePath("noise.dat"), bytes);
    const ProcessResult result = run({input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_EQ(countEpochs(dir.filePath("noise." + yearSuffix() + "O")).epochs, 0);
}

TEST(VelmoorConvert, UsageErrors) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), "x");
    const QList<QStringList> cases = {
        {},
        {"--no-such-option", input},
        {"-o", dir.filePath("out.18O"), input, input + "2"},
        {"--rinex", "3.06", input},
        {"--rinex", "2.10", input},
        {"--mode", "sometimes", input},
        {"--marker-type", "BOAT", input},
        {"--lat", "91", input},
        {"--lat", "north", input},
        {"--lon", "-181", input},
        {"--height", "high", input},
        {"--antenna-spec", "0,100,50", input},
        {"--antenna-spec", "0,a,50,0", input},
        {"--antenna-height", "tall", input},
        {"--height-type", "TOP", input},
        {"-j", "0", input},
        {"-j", "many", input},
        {"--rinex"},
    };
    for (const QStringList& arguments : cases) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_FALSE(result.err.isEmpty()) << arguments.join(' ').toStdString();
    }
    // Nothing was converted.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"in.dat"});
}

TEST(VelmoorConvert, SameOutputForTwoInputsIsAUsageError) {
    QTemporaryDir dir;
    const QString first = writeFile(dir.filePath("a.dat"), "x");
    const QString second = writeFile(dir.filePath("a.bin"), "x");
    EXPECT_EQ(run({first, second}).exitCode, 2);
}

TEST(VelmoorConvert, Version) {
    const ProcessResult result = run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.contains("Velmoor.1.1.2012.11")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("1.9.2012.9")) << result.out.toStdString();
}

TEST(VelmoorConvert, HelpNamesEveryOption) {
    const ProcessResult result = run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* option :
         {"--rinex", "--mode", "--marker-name", "--marker-number", "--marker-type", "--lat", "--lon",
          "--height", "--antenna-name", "--antenna-spec", "--antenna-height", "--height-type", "--output",
          "--jobs", "--info", "--quiet", "--version"})
        EXPECT_TRUE(result.out.contains(option)) << option;
    EXPECT_TRUE(result.out.startsWith("Usage: velmoor-convert [options] INPUT..."));
}
