// SPDX-License-Identifier: MIT
// PPK markers across the edges of a time window and under decimation, in the three modes.
#include "writer_test_support.h"

#include <gtest/gtest.h>

#include "gnss/gps_calendar.h"

using namespace writertest;

namespace {

constexpr uint16_t kWeek = 2010;

const std::vector<encoding::RangeSignal> oneSignal = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)};

std::string begin() {
    return ppk("MARKER-BEGIN,1,1,1,PT01,MK-0001,0,0,1.8000,40.453429213,-4.367852584,775.8010,4846664.9180,"
               "-370195.2000,4116929.5260");
}

std::string sample(int k, int second) {
    return ppk("MARKER-SAMPLE,1,1," + std::to_string(k) + "," + std::to_string(kWeek) + "," +
               std::to_string(second) + ".000");
}

const std::string kEnd = ppk("MARKER-END,1,1");

// A track at 1 Hz from 0 to 19 s with one occupation: begun after the log of `from`,
// samples on the logs after it up to `to`, ended after the log of `to`.
// The body is returned as "E<second>" for epochs, "NEW" and "MOVE" for the events.
QStringList run(int mode, const rinex::OutputFilter& filter, int from, int to) {
    OpenWriter w;
    EXPECT_TRUE(w.writer.setPpkMode(mode));
    EXPECT_TRUE(w.writer.setOutputFilter(filter));
    EXPECT_TRUE(w.open());
    int k = 0;
    for (int s = 0; s < 20; ++s) {
        feed(w.writer, rangeFrame(kWeek, uint32_t(s) * 1000, oneSignal));
        if (s > from && s <= to) feedText(w.writer, sample(++k, s));
        if (s == from) feedText(w.writer, begin());
        if (s == to) feedText(w.writer, kEnd);
    }
    const ObservationFile f = w.closeAndRead();
    QStringList body;
    for (const QByteArray& line : f.body) {
        if (line == ">                              3  4")
            body << "NEW";
        else if (line == ">                              2  0")
            body << "MOVE";
        else if (line.startsWith("> "))
            body << QString("E%1").arg(line.mid(16, 2).toInt() * 60 + line.mid(19, 10).trimmed().toDouble());
    }
    return body;
}

rinex::OutputFilter filter(double from, double to, int intervalMs = 0) {
    rinex::OutputFilter f;
    if (from < to) {
        EXPECT_TRUE(f.setWindow(gnss::gpsMilliseconds(kWeek, uint32_t(from * 1000)),
                                gnss::gpsMilliseconds(kWeek, uint32_t(to * 1000))));
    }
    EXPECT_TRUE(f.setInterval(intervalMs));
    return f;
}

} // namespace

TEST(PpkWindow, NoFilterIsTheWholeStream) {
    EXPECT_EQ(run(3, rinex::OutputFilter(), 5, 10),
              (QStringList{"E0",  "E1",   "E2",  "E3",  "E4",  "E5",  "NEW", "E6",  "E7",  "E8",  "E9",
                           "E10", "MOVE", "E11", "E12", "E13", "E14", "E15", "E16", "E17", "E18", "E19"}));
}

TEST(PpkWindow, MixMarkerBegunBeforeTheWindowGetsItsSiteBeforeItsFirstWrittenSample) {
    EXPECT_EQ(run(3, filter(8, 16), 5, 10),
              (QStringList{"NEW", "E8", "E9", "E10", "MOVE", "E11", "E12", "E13", "E14", "E15"}));
}

TEST(PpkWindow, OnlyMarkerBegunBeforeTheWindow) {
    EXPECT_EQ(run(2, filter(8, 16), 5, 10), (QStringList{"NEW", "E8", "E9", "E10", "MOVE"}));
}

TEST(PpkWindow, MarkerEndingAfterTheWindowLosesItsLaterSamplesAndEnd) {
    EXPECT_EQ(run(3, filter(0, 8), 5, 10),
              (QStringList{"E0", "E1", "E2", "E3", "E4", "E5", "NEW", "E6", "E7"}));
    EXPECT_EQ(run(2, filter(0, 8), 5, 10), (QStringList{"NEW", "E6", "E7"}));
}

TEST(PpkWindow, MarkerWhollyOutsideTheWindowLeavesNoEvent) {
    EXPECT_EQ(run(3, filter(12, 16), 5, 10), (QStringList{"E12", "E13", "E14", "E15"}));
    EXPECT_EQ(run(2, filter(12, 16), 5, 10), QStringList());
    EXPECT_EQ(run(2, filter(0, 4), 5, 10), QStringList());
}

TEST(PpkWindow, MarkerBegunBeforeWithNoSampleInsideLeavesNoEvent) {
    // Samples at 6..10, window from 10.5 s: the end at 10 s is before it as well; with the
    // window from 10 s the last sample and the end are inside.
    EXPECT_EQ(run(2, filter(10.5, 16), 5, 10), QStringList());
    EXPECT_EQ(run(2, filter(10, 16), 5, 10), (QStringList{"NEW", "E10", "MOVE"}));
}

TEST(PpkWindow, DecimationNeverDropsMarkerSamples) {
    EXPECT_EQ(run(3, filter(0, 0, 5000), 5, 10),
              (QStringList{"E0", "E5", "NEW", "E6", "E7", "E8", "E9", "E10", "MOVE", "E15"}));
    EXPECT_EQ(run(2, filter(0, 0, 5000), 5, 10), (QStringList{"NEW", "E6", "E7", "E8", "E9", "E10", "MOVE"}));
}

TEST(PpkWindow, ModeNoneDecimatesEveryEpochAndIgnoresMarkers) {
    EXPECT_EQ(run(1, filter(0, 0, 5000), 5, 10), (QStringList{"E0", "E5", "E10", "E15"}));
    EXPECT_EQ(run(1, filter(4, 7, 1000), 5, 10), (QStringList{"E4", "E5", "E6"}));
}

TEST(PpkWindow, WindowAndDecimationTogetherInMix) {
    EXPECT_EQ(run(3, filter(8, 19, 4000), 5, 10),
              (QStringList{"NEW", "E8", "E9", "E10", "MOVE", "E12", "E16"}));
}
