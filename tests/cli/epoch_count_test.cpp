// SPDX-License-Identifier: MIT
// The epoch count that velmoor-convert reports is read back from the observation file: lines
// that start with ">" and hold flag 0 or 1 in column 32, whatever their length and wherever
// the file's read blocks split them.
#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "cli/job_runner.h"

namespace {

qint64 countIn(const QByteArray& content) {
    QTemporaryDir dir;
    const QString path = dir.filePath("x.24O");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) return -2;
    file.close();
    return cli::countObservationEpochs(path);
}

const QByteArray kEpoch = "> 2024 02 08 00 00  0.0000000  0 37       0.000000000000\r\n";
const QByteArray kEvent = "> 2024 02 08 00 00  0.0000000  3  2\r\n";

} // namespace

TEST(EpochCount, CountsFlagZeroAndOneOnly) {
    QByteArray flagOne = kEpoch;
    flagOne[31] = '1';
    EXPECT_EQ(countIn(kEpoch + "G01  1.000\r\n" + kEvent + flagOne + "COMMENT\r\n"), 2);
}

TEST(EpochCount, MissingFileIsMinusOne) {
    EXPECT_EQ(cli::countObservationEpochs("/nonexistent/velmoor/x.24O"), -1);
}

TEST(EpochCount, ShortLinesAndLineFeedAtColumn32) {
    // 31 bytes and a line feed: column 32 is the line feed itself.
    EXPECT_EQ(countIn(QByteArray(">") + QByteArray(30, ' ') + "\n"), 0);
    EXPECT_EQ(countIn(QByteArray(">") + QByteArray(30, ' ') + "0\n"), 1);
    EXPECT_EQ(countIn(QByteArray(">") + QByteArray(30, ' ') + "0"), 1); // no final line feed
    EXPECT_EQ(countIn(QByteArray(">") + QByteArray(29, ' ') + "0\n"), 0);
    EXPECT_EQ(countIn(" " + kEpoch), 0);
    EXPECT_EQ(countIn(""), 0);
}

TEST(EpochCount, LinesAcrossReadBlocks) {
    // Epoch lines placed so that block boundaries (every 2^20 bytes) fall at every offset of
    // some line, plus one line longer than a block.
    QByteArray content;
    qint64 expected = 0;
    for (int filler = 0; content.size() < 3 * (1 << 20); ++filler) {
        content += QByteArray(filler % 97 + 1, 'x') + "\r\n";
        content += kEpoch;
        ++expected;
        if (filler == 1000) {
            content += QByteArray(1 << 20, 'y') + "\n";
            content += kEvent;
        }
    }
    QByteArray longEpoch = kEpoch;
    longEpoch.insert(40, QByteArray((1 << 20) + 5, ' '));
    content += longEpoch;
    ++expected;
    EXPECT_EQ(countIn(content), expected);
}
