// SPDX-License-Identifier: MIT
// velmoor-convert's output options (window, interval, systems, long names, compression), run
// as a separate process on the test streams.
#include <QDir>
#include <QFile>
#include <QPair>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "support/converter_process.h"
#include "support/files.h"
#include "support/stream_manifest.h"

namespace {

using testsupport::ProcessResult;
using testsupport::readAll;
using testsupport::runConverter;
using testsupport::writeFile;

QString streamPath(const char* name) {
    return QString::fromStdString(testsupport::streamDataDirectory() + "/" + name);
}

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
        const ProcessResult result = runConverter(c.first);
        EXPECT_EQ(result.exitCode, 2) << c.first.join(' ').toStdString();
        EXPECT_TRUE(result.err.contains(c.second)) << result.err.toStdString();
    }
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"in.dat"});
}

TEST(VelmoorConvertOutputOptions, HelpDocumentsEveryOutputOptionWithAnExample) {
    const ProcessResult result = runConverter({"--help"});
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
    ASSERT_EQ(runConverter({"-q", "-o", dir.filePath("all.18O"), input}).exitCode, 0);
    ASSERT_EQ(runConverter({"-q", "--start", "2018-07-19 00:10:00", "--end", "2018-07-19T00:40:00",
                            "--interval", "120", "-o", dir.filePath("cut.18O"), input})
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
    EXPECT_EQ(headerLine(cut, "TIME OF FIRST OBS"),
              "  2018     7    19     0    10    0.0000000     GPS         ");
    EXPECT_EQ(headerLine(cut, "TIME OF LAST OBS"),
              "  2018     7    19     0    38    0.0000000     GPS         ");
    EXPECT_EQ(headerLine(cut, "INTERVAL").trimmed(), "120.000");
    // The stream's navigation records are from ten days later: none is near the window.
    EXPECT_EQ(readAll(dir.filePath("cut.18N")).count('\n'), 9);
}

TEST(VelmoorConvertOutputOptions, NavigationRecordsWithinFourHoursOfTheWindow) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    ASSERT_EQ(runConverter({"-q", "-o", dir.filePath("all.18O"), input}).exitCode, 0);
    ASSERT_EQ(runConverter({"-q", "--start", "2018-07-29 10:00:00", "--end", "2018-07-29 11:00:00", "-o",
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
    ASSERT_EQ(runConverter({"-q", "--start", "2018-08-01 00:00:00", "-o", dir.filePath("late.18O"), input})
                  .exitCode,
              0);
    // Multiples of 86399.999 s lie 4 and 5 ms before midnights: no 30 s epoch is one.
    ASSERT_EQ(runConverter({"-q", "--interval", "86399.999", "-o", dir.filePath("odd.18O"), input}).exitCode,
              0);
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
    ASSERT_EQ(runConverter({"-q", "-o", dir.filePath("all.18O"), input}).exitCode, 0);
    const QList<EpochBlock> all = epochBlocks(readAll(dir.filePath("all.18O")));
    for (const QString& systems :
         {QString("G"), QString("R"), QString("E"), QString("C"), QString("GE"), QString("RC")}) {
        SCOPED_TRACE(systems.toStdString());
        const QString out = dir.filePath(systems + ".18O");
        ASSERT_EQ(runConverter({"-q", "--systems", systems, "-o", out, input}).exitCode, 0);
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
            if (line.mid(60).trimmed() == "SYS / # / OBS TYPES" && line.at(0) != ' ')
                typeSystems += line.at(0);
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
    const ProcessResult result = runConverter({"--long-name", "--country", "esp", "--monument", "1",
                                               "--compress", "crx.gz", "-o", dir.path(), input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QStringList files = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    const QString prefix = "CEBR10ESP_R_20182000000_01H_";
    EXPECT_EQ(files, (QStringList{prefix + "30S_MO.crx.gz", prefix + "CN.rnx.gz", prefix + "EN.rnx.gz",
                                  prefix + "GN.rnx.gz", prefix + "RN.rnx.gz"}));
    EXPECT_TRUE(result.err.contains("120 epochs written to " + prefix + "30S_MO.crx.gz"))
        << result.err.toStdString();
    const std::string compact =
        testsupport::readGzipFile(dir.filePath(prefix + "30S_MO.crx.gz").toStdString());
    EXPECT_EQ(compact.substr(0, 20), "3.0                 ");
    EXPECT_NE(compact.find("COMPACT RINEX FORMAT"), std::string::npos);
}

TEST(VelmoorConvertOutputOptions, GzipShortNamesHoldTheSameBytes) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    ASSERT_EQ(runConverter({"-q", "-o", dir.filePath("plain.18O"), input}).exitCode, 0);
    ASSERT_EQ(runConverter({"-q", "--compress", "gz", "-o", dir.filePath("packed.18O"), input}).exitCode, 0);
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
    ASSERT_EQ(runConverter({"-q", "--compress", "crx", "-o", dir.filePath("site.18O"), input}).exitCode, 0);
    EXPECT_TRUE(QFile::exists(dir.filePath("site.18D")));
    EXPECT_FALSE(QFile::exists(dir.filePath("site.18O")));
    EXPECT_TRUE(QFile::exists(dir.filePath("site.18N")));

    writeFile(dir.filePath("other.18D"), "someone else's");
    const ProcessResult result = runConverter({"--compress", "crx", "-o", dir.filePath("other.18O"), input});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("file exists, " + dir.filePath("other.18D"))) << result.err.toStdString();
    EXPECT_EQ(readAll(dir.filePath("other.18D")), "someone else's");
    EXPECT_FALSE(QFile::exists(dir.filePath("other.18O")));
}

TEST(VelmoorConvertOutputOptions, LongNameOverAnExistingFileFailsAndLeavesNoTemporaryFile) {
    QTemporaryDir dir;
    const QString input = streamPath("cebr-range-key.dat");
    writeFile(dir.filePath("CEBR00XXX_R_20182000000_01H_GN.rnx"), "taken");
    const ProcessResult result = runConverter({"--long-name", "-o", dir.path(), input});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.contains("file exists, ")) << result.err.toStdString();
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{"CEBR00XXX_R_20182000000_01H_GN.rnx"});
}
