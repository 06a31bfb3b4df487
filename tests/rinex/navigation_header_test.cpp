// SPDX-License-Identifier: MIT
// Navigation file headers: the reservation at open and the header written over it.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "navigation_test_support.h"
#include "rinex/navigation_writer.h"

using namespace navwritertest;

namespace {

// ---------------------------------------------------------------- headers

TEST(NavigationHeader, ReservationIsNineLinesWithSystemTextAtByte40) {
    Output out;
    const qint64 bytes = rinex::reserveNavigationHeader(out.device(), "G: GPS");
    EXPECT_GT(bytes, 0);
    const QByteArray comment = QByteArray(60, ' ') + "COMMENT             \r\n";
    QByteArray expected;
    for (int i = 0; i < 8; ++i)
        expected += comment;
    expected += QByteArray(60, ' ') + "END OF HEADER       \r\n";
    expected.replace(40, 6, "G: GPS");
    EXPECT_EQ(out.data(), expected);
    EXPECT_EQ(out.device()->pos(), expected.size()) << "left at the end";
}

TEST(NavigationHeader, ClosedFileGetsNoReservation) {
    QByteArray data;
    QBuffer closed(&data);
    EXPECT_EQ(rinex::reserveNavigationHeader(&closed, "G: GPS"), 0);
    EXPECT_EQ(rinex::reserveNavigationHeader(nullptr, "G: GPS"), 0);
    EXPECT_TRUE(data.isEmpty());
}

rinex::IonoUtcSlot elkoIonosphere() {
    rinex::IonoUtcSlot slot;
    slot.valid = true;
    const double alpha[4] = {4.6566e-09, 1.4901e-08, -5.9605e-08, -5.9605e-08};
    const double beta[4] = {77824.0, 49152.0, -65536.0, -327680.0};
    for (int i = 0; i < 4; ++i) {
        slot.alpha[i] = alpha[i];
        slot.beta[i] = beta[i];
    }
    slot.leapSeconds = 18;
    slot.leapSecondsFuture = 18;
    slot.week = 2012;
    slot.day = 7;
    return slot;
}

const char kGpsa[] = "GPSA  0.46566D-08 0.14901D-07-0.59605D-07-0.59605D-07       IONOSPHERIC CORR    ";
const char kGpsb[] = "GPSB  0.77824D+05 0.49152D+05-0.65536D+05-0.32768D+06       IONOSPHERIC CORR    ";

std::string versionLine(int minor) {
    const std::string version = minor < 10 ? "0" + std::to_string(minor) : std::to_string(minor);
    return "     3." + version + std::string(11, ' ') + "N: GNSS NAV DATA    " + "M" + std::string(19, ' ') +
           "RINEX VERSION / TYPE";
}

const std::string kConverterLine =
    "CONVERTER VERSION = 1.9.2012.9" + std::string(30, ' ') + "COMMENT             ";

void expectProgramLine(const std::string& line) {
    const QRegularExpression form("^velmoor {13}tester {14}\\d{8} \\d{6} UTC PGM / RUN BY / DATE {1}$");
    EXPECT_TRUE(form.match(QString::fromStdString(line)).hasMatch()) << line;
}

TEST(NavigationHeader, GpsWithIonosphereAndLeapSeconds) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "G: GPS");
    const QByteArray reserved = out.data();
    rinex::NavigationHeaderInfo info = baseInfo();
    info.first = elkoIonosphere();
    info.latest = info.first;
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'N', info));

    const std::vector<std::string> lines = linesOf(out.data());
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(lines[0], versionLine(3));
    expectProgramLine(lines[1]);
    EXPECT_EQ(lines[2], kGpsa);
    EXPECT_EQ(lines[3], kGpsb);
    EXPECT_EQ(lines[4], "    18    18  2012     7GPS" + std::string(33, ' ') + "LEAP SECONDS        ");
    EXPECT_EQ(lines[5], kConverterLine);
    // Written over the reservation: same size, the end of it kept.
    EXPECT_EQ(out.data().size(), reserved.size());
    const int headerBytes = 82 * 6;
    EXPECT_EQ(out.data().mid(headerBytes), reserved.mid(headerBytes));
    // Every header line keeps the 80-column form: no fragment of the reservation survives.
    for (const std::string& line : lines)
        EXPECT_EQ(line.size(), 80u) << line;
    EXPECT_TRUE(out.data().endsWith(QByteArray(60, ' ') + "END OF HEADER       \r\n"));
    EXPECT_EQ(out.device()->pos(), out.data().size());
}

TEST(NavigationHeader, GpsRepeatsIonosphereOfTheLatestRecordWhenItDiffers) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "G: GPS");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.first = elkoIonosphere();
    info.latest = info.first;
    info.latest.beta[3] = -262144.0;
    info.latest.leapSeconds = 19; // not printed: only the first record's leap line is
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'N', info));

    const std::vector<std::string> lines = linesOf(out.data());
    ASSERT_GE(lines.size(), 8u);
    EXPECT_EQ(lines[2], kGpsa);
    EXPECT_EQ(lines[3], kGpsb);
    EXPECT_EQ(lines[4], "    18    18  2012     7GPS" + std::string(33, ' ') + "LEAP SECONDS        ");
    EXPECT_EQ(lines[5], kGpsa);
    EXPECT_EQ(lines[6], "GPSB  0.77824D+05 0.49152D+05-0.65536D+05-0.26214D+06       IONOSPHERIC CORR    ");
    EXPECT_EQ(lines[7], kConverterLine);
}

TEST(NavigationHeader, GpsWithoutIonosphereRecord) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "G: GPS");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.latest = elkoIonosphere(); // only a first record opens the section
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'N', info));
    const std::vector<std::string> lines = linesOf(out.data());
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[2], kConverterLine);
}

TEST(NavigationHeader, BeidouUsesItsOwnSlots) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "C: BDS");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.first = elkoIonosphere(); // GPS slots: not for this file
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'C', info));
    std::vector<std::string> lines = linesOf(out.data());
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[2], kConverterLine);

    Output filled;
    rinex::reserveNavigationHeader(filled.device(), "C: BDS");
    info.beidouFirst = elkoIonosphere();
    info.beidouFirst.leapSeconds = 4;
    info.beidouFirst.leapSecondsFuture = 4;
    ASSERT_TRUE(rinex::writeNavigationHeader(filled.device(), 'C', info));
    lines = linesOf(filled.data());
    ASSERT_GE(lines.size(), 6u);
    EXPECT_EQ(lines[2], "BDSA  0.46566D-08 0.14901D-07-0.59605D-07-0.59605D-07       IONOSPHERIC CORR    ");
    EXPECT_EQ(lines[3], "BDSB  0.77824D+05 0.49152D+05-0.65536D+05-0.32768D+06       IONOSPHERIC CORR    ");
    EXPECT_EQ(lines[4], "     4     4  2012     7BDS" + std::string(33, ' ') + "LEAP SECONDS        ");
    EXPECT_EQ(lines[5], kConverterLine);
}

TEST(NavigationHeader, GlonassPrintsNegatedLeapSecondsWhenKnown) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "R: GLONASS");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.leapSeconds = -18;
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'G', info));
    std::vector<std::string> lines = linesOf(out.data());
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], versionLine(3));
    EXPECT_EQ(lines[2], "    18" + std::string(54, ' ') + "LEAP SECONDS        ");
    EXPECT_EQ(lines[3], kConverterLine);

    Output unknown;
    rinex::reserveNavigationHeader(unknown.device(), "R: GLONASS");
    info.leapSeconds = 99;
    ASSERT_TRUE(rinex::writeNavigationHeader(unknown.device(), 'G', info));
    lines = linesOf(unknown.data());
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[2], kConverterLine);
}

TEST(NavigationHeader, GalileoHasOnlyVersionProgramAndConverterLines) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "E: GALILEO");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.minorVersion = 4;
    info.first = elkoIonosphere();
    info.leapSeconds = -18;
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'L', info));
    const std::vector<std::string> lines = linesOf(out.data());
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[0], versionLine(4));
    expectProgramLine(lines[1]);
    EXPECT_EQ(lines[2], kConverterLine);
    for (size_t i = 3; i < 8; ++i)
        EXPECT_EQ(lines[i], std::string(60, ' ') + "COMMENT             ");
    EXPECT_EQ(lines[8], std::string(60, ' ') + "END OF HEADER       ");
}

TEST(NavigationHeader, FileShorterThan246BytesIsLeftAlone) {
    Output out;
    out.device()->write(QByteArray(245, 'x'));
    EXPECT_FALSE(rinex::writeNavigationHeader(out.device(), 'N', baseInfo()));
    EXPECT_EQ(out.data(), QByteArray(245, 'x'));

    Output enough;
    enough.device()->write(QByteArray(246, 'x'));
    EXPECT_TRUE(rinex::writeNavigationHeader(enough.device(), 'L', baseInfo()));
}

TEST(NavigationHeader, FileWithoutRecordsStillGetsItsHeader) {
    Output out;
    rinex::reserveNavigationHeader(out.device(), "G: GPS");
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'N', baseInfo()));
    const std::vector<std::string> lines = linesOf(out.data());
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[0], versionLine(3));
    EXPECT_EQ(lines[2], kConverterLine);
    EXPECT_EQ(lines[8], std::string(60, ' ') + "END OF HEADER       ");
}

TEST(NavigationHeader, RecordsAfterTheReservationStay) {
    Output out;
    rinex::NavigationWriter writer;
    rinex::reserveNavigationHeader(out.device(), "G: GPS");
    ASSERT_GT(writer.writeGps(out.device(), elkoG02()), 0);
    const QByteArray before = out.data();
    ASSERT_TRUE(rinex::writeNavigationHeader(out.device(), 'N', baseInfo()));
    EXPECT_EQ(out.data().size(), before.size());
    EXPECT_EQ(out.data().mid(9 * 82), before.mid(9 * 82));
}

} // namespace
