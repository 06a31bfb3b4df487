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

// Output options ---------------------------------------------------------------------------

namespace {

// Epoch blocks of an observation file: each epoch line with the satellite lines after it.
struct EpochBlock {
    QByteArray time; // "2018 07 19 00 10  0.0000000"
    QList<QByteArray> lines;
};

QList<EpochBlock> epochBlocks(const QByteArray& file) {
    QList<EpochBlock> blocks;
    const int end = file.indexOf("END OF HEADER");
    for (const QByteArray& line : file.mid(end).split('\n').mid(1)) {
        if (line.startsWith("> "))
            blocks << EpochBlock{line.mid(2, 27), {line}};
        else if (!blocks.isEmpty() && !line.isEmpty())
            blocks.last().lines << line;
    }
    return blocks;
}

QByteArray headerLine(const QByteArray& file, const char* label) {
    for (const QByteArray& line : file.left(file.indexOf("END OF HEADER")).split('\n'))
        if (line.mid(60).trimmed() == label) return line.left(60);
    return {};
}

} // namespace

TEST(VelmoorConvertOutputOptions, UsageErrorsNameTheOptionAndItsValues) {
    QTemporaryDir dir;
    const QString input = writeFile(dir.filePath("in.dat"), "x");
    const QList<QPair<QStringList, QString>> cases = {
        {{"--start", "2018-07-19", input}, "--start: '2018-07-19' (GPS time YYYY-MM-DD HH:MM:SS[.sss]"},
        {{"--end", "2018-13-01 00:00:00", input}, "--end: '2018-13-01 00:00:00'"},
        {{"--start", "2018-07-19 02:00:00", "--end", "2018-07-19 01:00:00", input}, "a time after --start"},
        {{"--interval", "0.01", input}, "--interval: '0.01' (seconds from 0.05 to 86400"},
        {{"--interval", "90000", input}, "--interval: '90000'"},
        {{"--interval", "1.0005", input}, "--interval: '1.0005'"},
        {{"--systems", "GX", input}, "--systems: 'GX' (letters of G R E C S J I"},
        {{"--systems", "", input}, "--systems: ''"},
        {{"--long-name", "--country", "SPAIN", input}, "--country: 'SPAIN' (three letters"},
        {{"--long-name", "--monument", "12", input}, "--monument: '12' (one digit 0-9)"},
        {{"--long-name", "--receiver", "r", input}, "--receiver: 'r' (one digit 0-9)"},
        {{"--country", "ESP", input}, "need --long-name"},
        {{"--long-name", "-o", dir.filePath("in.dat"), input}, "-o must name an existing folder"},
        {{"--compress", "zip", input}, "--compress: 'zip' (crx, gz or crx.gz)"},
    };
    for (const auto& c : cases) {
        const ProcessResult result = run(c.first);
        EXPECT_EQ(result.exitCode, 2) << c.first.join(' ').toStdString();
        EXPECT_TRUE(result.err.contains(c.second)) << result.err.toStdString();
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"in.dat"});
}

TEST(VelmoorConvertOutputOptions, HelpDocumentsEveryOutputOptionWithAnExample) {
    const ProcessResult result = run({"--help"});
    ASSERT_EQ(result.exitCode, 0);
    for (const char* option : {"--start", "--end", "--interval", "--systems", "--long-name", "--country",
                               "--monument", "--receiver", "--compress"})
        EXPECT_TRUE(result.out.contains(option)) << option;
    EXPECT_TRUE(result.out.contains("velmoor-convert --interval 30 --systems GE"));
    EXPECT_TRUE(result.out.contains("velmoor-convert --long-name --compress crx.gz"));
}

TEST(VelmoorConvertOutputOptions, WindowAndIntervalOnARealStreamKeepExactlyTheirEpochs) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    ASSERT_EQ(run({"-q", "-o", dir.filePath("all.18O"), input}).exitCode, 0);
    ASSERT_EQ(run({"-q", "--start", "2018-07-19 00:10:00", "--end", "2018-07-19T00:40:00", "--interval", "120",
                   "-o", dir.filePath("cut.18O"), input})
                  .exitCode,
              0);
    const QByteArray all = readAll(dir.filePath("all.18O"));
    const QByteArray cut = readAll(dir.filePath("cut.18O"));
    QList<EpochBlock> expected;
    for (const EpochBlock& block : epochBlocks(all)) {
        const int minute = block.time.mid(14, 2).toInt();
        const double second = block.time.mid(17).trimmed().toDouble();
        if (block.time.startsWith("2018 07 19 00") && minute >= 10 && minute < 40 && minute % 2 == 0 &&
            second == 0.0)
            expected << block;
    }
    const QList<EpochBlock> actual = epochBlocks(cut);
    ASSERT_EQ(actual.size(), 15);
    ASSERT_EQ(expected.size(), 15);
    for (int i = 0; i < actual.size(); ++i)
        EXPECT_EQ(actual[i].lines, expected[i].lines) << i;
    EXPECT_EQ(headerLine(cut, "TIME OF FIRST OBS"), "  2018     7    19     0    10    0.0000000     GPS         ");
    EXPECT_EQ(headerLine(cut, "TIME OF LAST OBS"), "  2018     7    19     0    38    0.0000000     GPS         ");
    EXPECT_EQ(headerLine(cut, "INTERVAL").trimmed(), "120.000");
    // The stream's navigation records are from ten days later: none is near the window.
    EXPECT_EQ(readAll(dir.filePath("cut.18N")).count('\n'), 9);
}

TEST(VelmoorConvertOutputOptions, NavigationRecordsWithinFourHoursOfTheWindow) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    ASSERT_EQ(run({"-q", "-o", dir.filePath("all.18O"), input}).exitCode, 0);
    ASSERT_EQ(run({"-q", "--start", "2018-07-29 10:00:00", "--end", "2018-07-29 11:00:00", "-o",
                   dir.filePath("cut.18O"), input})
                  .exitCode,
              0);
    // GPS records: a first line "Gnn yyyy mm dd hh mm ss" and seven orbit lines.
    auto records = [](const QByteArray& file) {
        QList<QByteArray> found;
        const QList<QByteArray> lines = file.mid(file.indexOf("END OF HEADER")).split('\n').mid(1);
        for (int i = 0; i + 7 < lines.size(); ++i)
            if (lines[i].startsWith('G')) found << lines.mid(i, 8).join('\n');
        return found;
    };
    QList<QByteArray> expected;
    for (const QByteArray& record : records(readAll(dir.filePath("all.18N")))) {
        const QByteArray time = record.mid(4, 16); // "2018 07 29 10 00"
        if (time >= "2018 07 29 06 00" && time < "2018 07 29 15 00") expected << record;
    }
    ASSERT_FALSE(expected.isEmpty());
    EXPECT_EQ(records(readAll(dir.filePath("cut.18N"))), expected);
    // No epoch lies in that window.
    EXPECT_TRUE(epochBlocks(readAll(dir.filePath("cut.18O"))).isEmpty());
}

TEST(VelmoorConvertOutputOptions, WindowWithoutEpochAndIntervalWithoutMatch) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-rangecmp2-none.dat");
    ASSERT_EQ(run({"-q", "--start", "2018-08-01 00:00:00", "-o", dir.filePath("late.18O"), input}).exitCode, 0);
    // Multiples of 86399.999 s lie 4 and 5 ms before midnights: no 30 s epoch is one.
    ASSERT_EQ(run({"-q", "--interval", "86399.999", "-o", dir.filePath("odd.18O"), input}).exitCode, 0);
    for (const char* name : {"late.18O", "odd.18O"}) {
        const QByteArray file = readAll(dir.filePath(name));
        EXPECT_TRUE(file.contains("END OF HEADER")) << name;
        EXPECT_TRUE(epochBlocks(file).isEmpty()) << name;
    }
    // Days after the data: no navigation record is near enough.
    EXPECT_EQ(readAll(dir.filePath("late.18N")).count('\n'), 9);
}

TEST(VelmoorConvertOutputOptions, SystemsOnARealStream) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-rangecmp-legacy.dat");
    ASSERT_EQ(run({"-q", "-o", dir.filePath("all.18O"), input}).exitCode, 0);
    const QList<EpochBlock> all = epochBlocks(readAll(dir.filePath("all.18O")));
    for (const QString& systems : {QString("G"), QString("R"), QString("E"), QString("C"), QString("GE"),
                                   QString("RC")}) {
        SCOPED_TRACE(systems.toStdString());
        const QString out = dir.filePath(systems + ".18O");
        ASSERT_EQ(run({"-q", "--systems", systems, "-o", out, input}).exitCode, 0);
        const QByteArray file = readAll(out);
        const QList<EpochBlock> selected = epochBlocks(file);
        ASSERT_EQ(selected.size(), all.size());
        for (int i = 0; i < all.size(); ++i) {
            QList<QByteArray> kept;
            // Satellite lines of other systems go; event records stay.
            static const QRegularExpression satelliteLine("^[GRECSJI]\\d\\d");
            for (const QByteArray& line : all[i].lines.mid(1))
                if (!satelliteLine.match(QString::fromLatin1(line)).hasMatch() ||
                    systems.contains(QLatin1Char(line.at(0))))
                    kept << line;
            EXPECT_EQ(selected[i].lines.mid(1), kept) << i;
        }
        QString typeSystems;
        for (const QByteArray& line : file.left(file.indexOf("END OF HEADER")).split('\n'))
            if (line.mid(60).trimmed() == "SYS / # / OBS TYPES" && line.at(0) != ' ') typeSystems += line.at(0);
        QString sortedSystems = systems;
        std::sort(sortedSystems.begin(), sortedSystems.end());
        EXPECT_EQ(typeSystems, sortedSystems);
        EXPECT_EQ(QFile::exists(dir.filePath(systems + ".18N")), systems.contains('G'));
        EXPECT_EQ(QFile::exists(dir.filePath(systems + ".18G")), systems.contains('R'));
        EXPECT_EQ(QFile::exists(dir.filePath(systems + ".18L")), systems.contains('E'));
        EXPECT_EQ(QFile::exists(dir.filePath(systems + ".18C")), systems.contains('C'));
    }
}

TEST(VelmoorConvertOutputOptions, LongNamesCompressedLeaveOnlyTheCompressedFiles) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    const ProcessResult result =
        run({"--long-name", "--country", "esp", "--monument", "1", "--compress", "crx.gz", "-o", dir.path(), input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QStringList files = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    const QString prefix = "CEBR10ESP_R_20182000000_01H_";
    EXPECT_EQ(files, (QStringList{prefix + "30S_MO.crx.gz", prefix + "CN.rnx.gz", prefix + "EN.rnx.gz",
                                  prefix + "GN.rnx.gz", prefix + "RN.rnx.gz"}));
    EXPECT_TRUE(result.err.contains("120 epochs written to " + prefix + "30S_MO.crx.gz")) << result.err.toStdString();
    const std::string compact = testsupport::readGzipFile(dir.filePath(prefix + "30S_MO.crx.gz").toStdString());
    EXPECT_EQ(compact.substr(0, 20), "3.0                 ");
    EXPECT_NE(compact.find("COMPACT RINEX FORMAT"), std::string::npos);
}

TEST(VelmoorConvertOutputOptions, GzipShortNamesHoldTheSameBytes) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    ASSERT_EQ(run({"-q", "-o", dir.filePath("plain.18O"), input}).exitCode, 0);
    ASSERT_EQ(run({"-q", "--compress", "gz", "-o", dir.filePath("packed.18O"), input}).exitCode, 0);
    for (const char letter : {'O', 'N', 'G', 'L', 'C'}) {
        SCOPED_TRACE(letter);
        EXPECT_FALSE(QFile::exists(dir.filePath(QString("packed.18") + letter)));
        const std::string packed =
            testsupport::readGzipFile(dir.filePath(QString("packed.18") + letter + ".gz").toStdString());
        QByteArray plain = readAll(dir.filePath(QString("plain.18") + letter));
        // The run date in PGM / RUN BY / DATE differs between the two runs.
        ASSERT_EQ(packed.size(), size_t(plain.size()));
        QByteArray p = QByteArray::fromStdString(packed);
        p.replace(82 + 40, 20, QByteArray(20, '#'));
        plain.replace(82 + 40, 20, QByteArray(20, '#'));
        EXPECT_TRUE(p == plain);
    }
}

TEST(VelmoorConvertOutputOptions, CompactShortNameEndsInDAndIsNeverWrittenOverAFile) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    ASSERT_EQ(run({"-q", "--compress", "crx", "-o", dir.filePath("site.18O"), input}).exitCode, 0);
    EXPECT_TRUE(QFile::exists(dir.filePath("site.18D")));
    EXPECT_FALSE(QFile::exists(dir.filePath("site.18O")));
    EXPECT_TRUE(QFile::exists(dir.filePath("site.18N")));

    writeFile(dir.filePath("other.18D"), "someone else's");
    const ProcessResult result = run({"--compress", "crx", "-o", dir.filePath("other.18O"), input});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("file exists, " + dir.filePath("other.18D"))) << result.err.toStdString();
    EXPECT_EQ(readAll(dir.filePath("other.18D")), "someone else's");
    EXPECT_FALSE(QFile::exists(dir.filePath("other.18O")));
}

TEST(VelmoorConvertOutputOptions, LongNameOverAnExistingFileFailsAndLeavesNoTemporaryFile) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    writeFile(dir.filePath("CEBR00XXX_R_20182000000_01H_GN.rnx"), "taken");
    const ProcessResult result = run({"--long-name", "-o", dir.path(), input});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("file exists, ")) << result.err.toStdString();
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{"CEBR00XXX_R_20182000000_01H_GN.rnx"});
}
