// SPDX-License-Identifier: MIT
// The observation file compressed while it is written: the same Compact RINEX as the
// finished plain file compressed afterwards, on the writer's threads or on one, and the
// fallback when a signal turns up after the first epochs were handed over.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QStringList>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "compression/compact_rinex.h"
#include "params/output_options.h"
#include "rinex/writer_test_support.h"
#include "shell/output_files.h"
#include "shell/streamed_compact_rinex.h"
#include "support/stream_manifest.h"

using namespace writertest;

namespace {

std::string path(const QString& name) {
    return QFile::encodeName(name).toStdString();
}

// The compact file without its second line, which holds the minute of the run.
QByteArray withoutRunDate(const QByteArray& compact) {
    const int first = compact.indexOf('\n');
    const int second = compact.indexOf('\n', first + 1);
    return compact.left(first + 1) + compact.mid(second + 1);
}

// The Compact RINEX made afterwards from the closed plain file.
QByteArray compactAfterwards(const OpenWriter& w) {
    const QString compact = w.dir.filePath("afterwards.crx");
    std::string error;
    EXPECT_TRUE(compression::compactRinexFile(path(w.file('O')), path(compact), &error)) << error;
    return readAll(compact);
}

QStringList hiddenFiles(const OpenWriter& w) {
    return QDir(w.dir.path()).entryList({QStringLiteral(".*")}, QDir::Hidden | QDir::Files | QDir::NoDotAndDotDot);
}

struct Case {
    std::string input;
    int ppkMode;
    bool threaded;
};

std::vector<Case> cases() {
    std::vector<std::string> inputs{std::string(VELMOOR_SAMPLE)};
    for (const auto& entry : std::filesystem::directory_iterator(testsupport::streamDataDirectory()))
        if (entry.path().extension() == ".dat") inputs.push_back(entry.path().string());
    std::vector<Case> list;
    for (const std::string& input : inputs)
        for (int mode : {rinex::PpkNone, rinex::PpkMix})
            for (bool threaded : {true, false})
                list.push_back({input, mode, threaded});
    return list;
}

} // namespace

TEST(StreamedCompactRinex, GivesTheBytesOfTheFinishedFileCompressed) {
    const std::vector<Case> list = cases();
    ASSERT_GE(list.size(), 16u);
    for (const Case& c : list) {
        SCOPED_TRACE(c.input + " mode " + std::to_string(c.ppkMode) + (c.threaded ? " threaded" : " one thread"));
        OpenWriter w;
        StreamedCompactRinex streamed(c.threaded);
        ASSERT_TRUE(w.writer.setPpkMode(c.ppkMode));
        ASSERT_TRUE(w.writer.setOutputThread(c.threaded));
        ASSERT_TRUE(w.writer.setObservationBodySink(&streamed));
        ASSERT_TRUE(w.open());
        feedStream(w.writer, testsupport::readBinaryFile(c.input));
        w.writer.close();
        ASSERT_TRUE(streamed.ready());

        const QString compact = w.dir.filePath("streamed.crx");
        std::string error;
        ASSERT_TRUE(streamed.writeCompact(path(w.file('O')), path(compact), false, &error)) << error;
        EXPECT_EQ(withoutRunDate(readAll(compact)), withoutRunDate(compactAfterwards(w)));
        // The encoded body waits beside the file, hidden, until the stream is gone.
        EXPECT_EQ(hiddenFiles(w).size(), 1);
    }
}

TEST(StreamedCompactRinex, BodyFileIsRemovedWithTheStream) {
    OpenWriter w;
    {
        StreamedCompactRinex streamed(true);
        ASSERT_TRUE(w.writer.setObservationBodySink(&streamed));
        ASSERT_TRUE(w.open());
        feedStream(w.writer, testsupport::readBinaryFile(VELMOOR_SAMPLE));
        // Cancelled: the writer is closed by its owner, the stream goes without being used.
        w.writer.close();
        EXPECT_EQ(hiddenFiles(w).size(), 1);
    }
    EXPECT_TRUE(hiddenFiles(w).isEmpty());
}

TEST(StreamedCompactRinex, SignalAfterTheFirstEpochsFallsBackToTheFinishedFile) {
    OpenWriter w;
    StreamedCompactRinex streamed(true);
    ASSERT_TRUE(w.writer.setOutputThread(true));
    ASSERT_TRUE(w.writer.setPpkMode(rinex::PpkMix));
    ASSERT_TRUE(w.writer.setObservationBodySink(&streamed));
    ASSERT_TRUE(w.open());
    const std::vector<encoding::RangeSignal> first = {
        signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)};
    std::vector<encoding::RangeSignal> second = first;
    second.push_back(signal('G', 5, "2W", 23074457.5, -94486050.25, 1930.5, 38.0));
    for (int i = 0; i < 20; ++i) {
        const uint32_t milliseconds = 345600000u + uint32_t(i) * 1000u;
        feed(w.writer, rangeFrame(2010, milliseconds, i < 15 ? first : second));
        // A marker and its first sample make the epochs so far go to the file (and to the
        // stream) with the one signal known then.
        if (i == 10) {
            feedText(w.writer, ppk("MARKER-BEGIN,1,1,1,POINT,7,0,0,1.5,40.4,-4.3,775.8,4846664.9,-370195.2,4116929.5"));
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%.3f", milliseconds / 1000.0);
            feedText(w.writer, ppk(std::string("MARKER-SAMPLE,1,1,1,2010,") + seconds));
            feedText(w.writer, ppk("MARKER-END,1,1"));
        }
    }
    w.writer.close();
    EXPECT_FALSE(streamed.ready());

    // The output step then compresses the closed plain file, with the same result.
    ConvertOptions options;
    options.insert(outputoptions::Compression, "crx");
    QStringList finalNames;
    QString error;
    const QByteArray expected = compactAfterwards(w);
    ASSERT_TRUE(finishOutputFiles({w.file('O')}, options, &finalNames, &error, &streamed)) << error.toStdString();
    ASSERT_EQ(finalNames.size(), 1);
    EXPECT_EQ(finalNames.first(), w.file('D'));
    EXPECT_EQ(withoutRunDate(readAll(w.file('D'))), withoutRunDate(expected));
    EXPECT_TRUE(expected.contains(" C2W ")); // the late signal is in the header
}

TEST(StreamedCompactRinex, FileWithoutEpochsIsNotStreamed) {
    OpenWriter w;
    StreamedCompactRinex streamed(false);
    ASSERT_TRUE(w.writer.setObservationBodySink(&streamed));
    ASSERT_TRUE(w.open());
    w.writer.close();
    EXPECT_FALSE(streamed.ready());
    EXPECT_TRUE(hiddenFiles(w).isEmpty());
}
