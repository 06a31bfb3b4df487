// SPDX-License-Identifier: MIT
// The epoch count in velmoor-convert's summary comes from the writer for the records and from
// the header read back: it must equal the count of epoch lines a reader finds in the whole
// file, even when a header line looks like an epoch line.
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "support/stream_manifest.h"

namespace {

// Lines that start with ">" and hold flag 0 or 1 in column 32, by a plain line reader.
qint64 epochLinesIn(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return -1;
    qint64 count = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (line.size() > 31 && line[0] == '>' && (line[31] == '0' || line[31] == '1')) ++count;
    }
    return count;
}

qint64 reportedEpochs(const QStringList& arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels); // the summary goes to standard error
    process.start(VELMOOR_CONVERT, arguments);
    if (!process.waitForStarted(10000) || !process.waitForFinished(300000)) {
        process.kill();
        process.waitForFinished();
        return -2;
    }
    const QString out = QString::fromLocal8Bit(process.readAllStandardOutput());
    const QRegularExpressionMatch m = QRegularExpression(": (\\d+) epochs written to").match(out);
    return m.hasMatch() ? m.captured(1).toLongLong() : -3;
}

QString stream(const char* name) {
    return QString::fromStdString(testsupport::streamDataDirectory() + "/" + name);
}

} // namespace

TEST(EpochCountSummary, EqualsTheLinesInTheWrittenFile) {
    for (const char* name : {"cebr-range-key.dat", "cebr-rangecmp-legacy.dat", "cebr-rangecmp2-none.dat"})
        for (const char* mode : {"mix", "none", "only"}) {
            QTemporaryDir dir;
            const QString output = dir.filePath("x.24O");
            const qint64 reported = reportedEpochs({"--mode", mode, "-o", output, stream(name)});
            EXPECT_EQ(reported, epochLinesIn(output)) << name << " " << mode;
        }
}

TEST(EpochCountSummary, HeaderLineThatLooksLikeAnEpochIsCounted) {
    // A marker name with ">" first and "0" in column 32: the reader counts the header line.
    const QString markerName = ">" + QString(30, ' ') + "0 NAME";
    QTemporaryDir dir;
    const QString output = dir.filePath("x.24O");
    const qint64 reported =
        reportedEpochs({"--marker-name", markerName, "-o", output, stream("cebr-range-key.dat")});
    const qint64 lines = epochLinesIn(output);
    QFile file(output);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    ASSERT_TRUE(file.readAll().contains(markerName.toLatin1())) << "the marker name did not reach the header";
    EXPECT_GT(lines, 1);
    EXPECT_EQ(reported, lines);
}
