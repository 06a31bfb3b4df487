// SPDX-License-Identifier: MIT
// "$PPK" marker sentences: new-site and start-of-moving events, confirmed samples and the
// three PPK modes.
#include "writer_test_support.h"

#include <gtest/gtest.h>

using namespace writertest;

namespace {

const std::vector<encoding::RangeSignal> oneSignal = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)};

const QByteArray kNewSite = ">                              3  4";
const QByteArray kStartOfMoving = ">                              2  0";

std::string beginSentence(int id1, int id2, const std::string& name, const std::string& number,
                          const std::string& height) {
    return ppk("MARKER-BEGIN," + std::to_string(id1) + "," + std::to_string(id2) + ",1," + name + "," +
               number + ",0,0," + height +
               ",40.453429213,-4.367852584,775.8010,4846664.9180,-370195.2000,4116929.5260");
}

std::string sampleSentence(int id1, int id2, int k, int week, const std::string& seconds) {
    return ppk("MARKER-SAMPLE," + std::to_string(id1) + "," + std::to_string(id2) + "," + std::to_string(k) +
               "," + std::to_string(week) + "," + seconds);
}

const std::string kEnd = ppk("MARKER-END,1,1");

struct PpkWriter : OpenWriter {
    explicit PpkWriter(int mode) {
        EXPECT_TRUE(writer.setPpkMode(mode));
        EXPECT_TRUE(open());
    }
    qint64 log(uint32_t milliseconds) { return feed(writer, rangeFrame(2010, milliseconds, oneSignal)); }
    qint64 text(const std::string& line) { return feedText(writer, line); }
};

int count(const QList<QByteArray>& lines, const QByteArray& line) {
    int n = 0;
    for (const QByteArray& l : lines)
        n += l == line ? 1 : 0;
    return n;
}

} // namespace

TEST(PpkEvents, SentenceChecksumOfTheHelperIsValid) {
    EXPECT_EQ(decoding::checkNmeaSentence(kEnd.c_str()), 0);
    EXPECT_EQ(kEnd, "$PPK,MARKER-END,1,1*07\r\n");
}

TEST(PpkEvents, ModeNoneIgnoresEverySentence) {
    PpkWriter p(1);
    EXPECT_EQ(p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000")), 0);
    EXPECT_EQ(p.text(kEnd), 0);
    const ObservationFile f = p.closeAndRead();
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(PpkEvents, AcceptedBeginWritesTheNewSiteEvent) {
    PpkWriter p(3);
    const qint64 written = p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    const ObservationFile f = p.closeAndRead();
    const QList<QByteArray> expected = {
        kNewSite,
        "PT01" + QByteArray(56, ' ') + "MARKER NAME         ",
        "MK-0001" + QByteArray(53, ' ') + "MARKER NUMBER       ",
        "  4846664.9180  -370195.2000  4116929.5260" + QByteArray(18, ' ') + "APPROX POSITION XYZ ",
        "        1.8000        0.0000        0.0000" + QByteArray(18, ' ') + "ANTENNA: DELTA H/E/N",
    };
    EXPECT_EQ(f.body, expected);
    EXPECT_EQ(written, 35 + 2 + 4 * 82);
}

TEST(PpkEvents, BeginWhileAMarkerIsInProgressEndsItFirst) {
    PpkWriter p(3);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    p.text(beginSentence(2, 1, "PT02", "MK-0002", "1.8000"));
    const ObservationFile f = p.closeAndRead();
    ASSERT_EQ(f.body.size(), 11);
    EXPECT_EQ(f.body[5], kStartOfMoving);
    EXPECT_EQ(f.body[6], kNewSite);
    EXPECT_TRUE(f.body[7].startsWith("PT02 "));
}

TEST(PpkEvents, AcceptedSampleWritesTheLastLogsEpoch) {
    PpkWriter p(2);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    EXPECT_EQ(p.log(345930000), 0); // mode 2: not written by the log itself
    EXPECT_GT(p.text(sampleSentence(1, 1, 1, 2010, "345930.000")), 0);
    EXPECT_EQ(p.writer.epochsWritten(), 1);
    const ObservationFile f = p.closeAndRead();
    ASSERT_EQ(f.epochLines().size(), 2);
    EXPECT_EQ(f.epochLines()[0], kNewSite);
    EXPECT_TRUE(f.epochLines()[1].startsWith("> 2018 07 19 00 05 30.0000000  0  1"));
    EXPECT_EQ(f.body.last().left(3), "G05");
}

TEST(PpkEvents, SkippedSampleNumberDropsItAndAllFollowing) {
    PpkWriter p(2);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    uint32_t ms = 345930000;
    for (int k : {1, 2, 3, 5, 6, 7}) {
        p.log(ms);
        p.text(sampleSentence(1, 1, k, 2010, std::to_string(ms / 1000) + ".000"));
        ms += 30000;
    }
    // counter 3: sample 5 is not 4, and 6, 7 are not 4 either
    EXPECT_EQ(p.writer.epochsWritten(), 3);
}

TEST(PpkEvents, SampleForAnotherEpochWritesNothing) {
    PpkWriter p(2);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    p.log(345960000);
    EXPECT_EQ(p.text(sampleSentence(1, 1, 1, 2010, "345930.000")), 0); // earlier second
    EXPECT_EQ(p.text(sampleSentence(1, 1, 1, 2011, "345960.000")), 0); // other week
    EXPECT_EQ(p.writer.epochsWritten(), 0);
    // the counter did not move: sample 1 for the right epoch is still taken
    EXPECT_GT(p.text(sampleSentence(1, 1, 1, 2010, "345960.000")), 0);
    EXPECT_EQ(p.writer.epochsWritten(), 1);
}

TEST(PpkEvents, SampleWithOtherIdentifiersWritesNothing) {
    PpkWriter p(2);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    p.log(345960000);
    EXPECT_EQ(p.text(sampleSentence(1, 2, 1, 2010, "345960.000")), 0);
    EXPECT_EQ(p.text(sampleSentence(2, 1, 1, 2010, "345960.000")), 0);
    EXPECT_EQ(p.writer.epochsWritten(), 0);
}

TEST(PpkEvents, BeginWithAntennaHeight1000Point5IsDropped) {
    PpkWriter p(3);
    EXPECT_EQ(p.text(beginSentence(1, 1, "PT01", "MK-0001", "1000.5")), 0);
    // no marker began, so the end writes nothing either
    EXPECT_EQ(p.text(kEnd), 0);
    const ObservationFile f = p.closeAndRead();
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(PpkEvents, BeginWithAntennaHeightOfExactly1000IsTaken) {
    PpkWriter p(3);
    EXPECT_GT(p.text(beginSentence(1, 1, "PT01", "MK-0001", "-1000")), 0);
    const ObservationFile f = p.closeAndRead();
    EXPECT_EQ(f.body.value(4).left(14), "    -1000.0000");
}

TEST(PpkEvents, BeginNeedsIdentifiersOfAtLeastOneAndANameAndNumber) {
    PpkWriter p(3);
    EXPECT_EQ(p.text(beginSentence(0, 1, "PT01", "MK-0001", "1.8")), 0);
    EXPECT_EQ(p.text(beginSentence(1, 0, "PT01", "MK-0001", "1.8")), 0);
    EXPECT_EQ(p.text(beginSentence(1, 1, "", "MK-0001", "1.8")), 0);
    EXPECT_EQ(p.text(beginSentence(1, 1, "PT01", "", "1.8")), 0);
    const ObservationFile f = p.closeAndRead();
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(PpkEvents, RejectedBeginLeavesTheCurrentMarkerAsItWas) {
    PpkWriter p(2);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    EXPECT_EQ(p.text(beginSentence(5, 5, "PT05", "MK-0005", "1000.5")), 0);
    p.log(345960000);
    EXPECT_GT(p.text(sampleSentence(1, 1, 1, 2010, "345960.000")), 0);
}

TEST(PpkEvents, TwoEndsInARowWriteOneStartOfMoving) {
    PpkWriter p(3);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    EXPECT_EQ(p.text(kEnd), 35 + 2);
    EXPECT_EQ(p.text(kEnd), 0);
    const ObservationFile f = p.closeAndRead();
    EXPECT_EQ(count(f.body, kStartOfMoving), 1);
    EXPECT_EQ(f.body.last(), kStartOfMoving);
}

TEST(PpkEvents, SampleWithoutAMarkerWritesNothing) {
    PpkWriter p(2);
    p.log(345960000);
    EXPECT_EQ(p.text(sampleSentence(1, 1, 1, 2010, "345960.000")), 0);
    EXPECT_EQ(p.writer.epochsWritten(), 0);
}

TEST(PpkEvents, MixModeWritesLogEpochsOnlyWhileNoMarkerIsInProgress) {
    PpkWriter p(3);
    EXPECT_GT(p.log(345900000), 0);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    EXPECT_EQ(p.log(345930000), 0);
    EXPECT_GT(p.text(sampleSentence(1, 1, 1, 2010, "345930.000")), 0);
    EXPECT_EQ(p.log(345960000), 0);
    p.text(kEnd);
    EXPECT_GT(p.log(345990000), 0);
    const ObservationFile f = p.closeAndRead();
    const QList<QByteArray> epochs = f.epochLines();
    ASSERT_EQ(epochs.size(), 5); // three epochs and two events
    EXPECT_TRUE(epochs[0].startsWith("> 2018 07 19 00 05  0.0000000  0"));
    EXPECT_EQ(epochs[1], kNewSite);
    EXPECT_TRUE(epochs[2].startsWith("> 2018 07 19 00 05 30.0000000  0"));
    EXPECT_EQ(epochs[3], kStartOfMoving);
    EXPECT_TRUE(epochs[4].startsWith("> 2018 07 19 00 06 30.0000000  0"));
}

TEST(PpkEvents, OnlyModeWritesOnlyConfirmedSamplesAndEvents) {
    PpkWriter p(2);
    p.log(345900000);
    p.text(beginSentence(1, 1, "PT01", "MK-0001", "1.8000"));
    p.log(345930000);
    p.text(sampleSentence(1, 1, 1, 2010, "345930.000"));
    p.text(kEnd);
    p.log(345960000);
    const ObservationFile f = p.closeAndRead();
    const QList<QByteArray> epochs = f.epochLines();
    ASSERT_EQ(epochs.size(), 3);
    EXPECT_EQ(epochs[0], kNewSite);
    EXPECT_TRUE(epochs[1].startsWith("> 2018 07 19 00 05 30.0000000  0"));
    EXPECT_EQ(epochs[2], kStartOfMoving);
}

TEST(PpkEvents, SentenceWithAWrongChecksumIsIgnored) {
    PpkWriter p(3);
    std::string line = beginSentence(1, 1, "PT01", "MK-0001", "1.8000");
    const size_t star = line.find('*');
    line[star + 1] = line[star + 1] == '0' ? '1' : '0';
    EXPECT_EQ(p.text(line), 0);
    const ObservationFile f = p.closeAndRead();
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(PpkEvents, ShortOrForeignOrIncompleteSentencesAreIgnored) {
    PpkWriter p(3);
    EXPECT_EQ(p.text(ppk("X")), 0);                                               // 15 bytes or fewer
    EXPECT_EQ(p.text("x" + beginSentence(1, 1, "PT01", "MK-0001", "1.8000")), 0); // not starting with "$"
    EXPECT_EQ(p.text(ppk("MARKER-BEGIN,1,1,1,PT01,MK-0001,0,0,1.8,0,0,0,1")),
              0); // 15 fields with the checksum
    std::string foreign = "$GPPPK,MARKER-END,1,1";
    char buffer[64];
    std::copy(foreign.begin(), foreign.end(), buffer);
    const int n = decoding::appendNmeaChecksum(buffer, int(foreign.size()), int(sizeof buffer));
    EXPECT_EQ(p.text(std::string(buffer, foreign.size() + size_t(n))), 0); // field 0 is not "$PPK"
    const ObservationFile f = p.closeAndRead();
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(PpkEvents, SentencesAreIgnoredWhileTheWriterIsClosed) {
    Rinex3xx w;
    ASSERT_TRUE(w.setPpkMode(3));
    EXPECT_EQ(feedText(w, beginSentence(1, 1, "PT01", "MK-0001", "1.8000")), 0);
}
