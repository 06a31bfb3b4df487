// SPDX-License-Identifier: MIT
// The observation header written at close over the reserved space.
#include "writer_test_support.h"

#include <QDateTime>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace writertest;

namespace {

QByteArray pad(const QByteArray& text, int width) {
    return text.leftJustified(width, ' ');
}
QByteArray labelled(const QByteArray& content, const char* label) {
    return pad(content, 60) + pad(label, 20);
}

const std::vector<encoding::RangeSignal> gpsAndGlonass = {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
                                                          signal('R', 3, "1C", 2.1e7, -1.1e8, 1.0, 40.0, 5)};

} // namespace

TEST(ObservationHeader, CompleteHeaderLineByLine) {
    OpenWriter o;
    Rinex3xx& w = o.writer;
    ASSERT_TRUE(w.setVersion(3));
    ASSERT_TRUE(w.setProgram("velmoor", "tester"));
    ASSERT_TRUE(w.setMarker("PT01", "MK-0001", "GEODETIC"));
    ASSERT_TRUE(w.setObserver("obs", "agency"));
    ASSERT_TRUE(w.setReceiver("R1", "RT", "RV"));
    ASSERT_TRUE(w.setAntenna("A1", "AT"));
    ASSERT_TRUE(w.setAntennaDelta(1.5, 0.25, -0.5));
    ASSERT_TRUE(w.setAntennaHeight(0.15));
    ASSERT_TRUE(w.setApproxPosition(90.0, 0.0, 100.0));
    ASSERT_TRUE(w.setComments({"c1"}));
    ASSERT_TRUE(o.open());
    decoding::TimeSolution time{};
    time.utcOffset = -18.0;
    time.utcStatus = 1;
    feed(w, encoding::encodeLogFrame(time, stamp(2010, 345600000)));
    feed(w, rangeFrame(2010, 345600000, gpsAndGlonass));
    feed(w, rangeFrame(2010, 345630000, gpsAndGlonass));
    const ObservationFile f = o.closeAndRead();

    QList<QByteArray> expected;
    expected << "     3.03           OBSERVATION DATA    M                   RINEX VERSION / TYPE";
    expected << QByteArray(); // date line, checked below
    expected << labelled("PT01", "MARKER NAME");
    expected << labelled("MK-0001", "MARKER NUMBER");
    expected << labelled("GEODETIC", "MARKER TYPE");
    expected << labelled(pad("obs", 20) + "agency", "OBSERVER / AGENCY");
    expected << labelled(pad("R1", 20) + pad("RT", 20) + "RV", "REC # / TYPE / VERS");
    expected << labelled(pad("A1", 20) + "AT", "ANT # / TYPE");
    // latitude 90, height 100 - 1.5 - 0.15: Z = b + 98.35 with b = a * sqrt(1 - e^2) = 6356752.3142
    expected << labelled("        0.0000        0.0000  6356850.6642", "APPROX POSITION XYZ");
    expected << labelled("        1.5000        0.2500       -0.5000", "ANTENNA: DELTA H/E/N");
    expected << labelled("PHASE CENTER TO ARP HEIGHT = 0.150 m", "COMMENT");
    expected << pad("G   4  C1C L1C D1C S1C", 58) + "  SYS / # / OBS TYPES ";
    expected << pad("R   4  C1C L1C D1C S1C", 58) + "  SYS / # / OBS TYPES ";
    expected << labelled("    30.000", "INTERVAL");
    expected << labelled("  2018     7    19     0     0    0.0000000     GPS", "TIME OF FIRST OBS");
    expected << labelled("  2018     7    19     0     0   30.0000000     GPS", "TIME OF LAST OBS");
    expected << labelled("G L1C  0.00000", "SYS / PHASE SHIFT");
    expected << labelled("R L1C  0.00000", "SYS / PHASE SHIFT");
    expected << labelled("  1 R03  5", "GLONASS SLOT / FRQ #");
    expected << labelled("", "GLONASS COD/PHS/BIS");
    expected << labelled("    18", "LEAP SECONDS");
    expected << labelled("CONVERTER VERSION = 1.9.2012.9", "COMMENT");
    expected << labelled("c1", "COMMENT");
    while (expected.size() < 64)
        expected << labelled("", "COMMENT");
    expected << labelled("", "END OF HEADER");

    ASSERT_EQ(f.header.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i)
        if (i != 1) {
            EXPECT_EQ(f.header[i], expected[i]) << "line " << i + 1;
        }
    EXPECT_EQ(f.epochLines().size(), 2);
}

TEST(ObservationHeader, ProgramLineCarriesTheCurrentUtcDate) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setProgram("velmoor", "tester"));
    ASSERT_TRUE(o.open());
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const ObservationFile f = o.closeAndRead();
    const QByteArray line = f.labelled("PGM / RUN BY / DATE").value(0);
    const QRegularExpression form(
        QStringLiteral("^velmoor {13}tester {14}(\\d{8}) (\\d{6}) UTC PGM / RUN BY / DATE $"));
    const QRegularExpressionMatch m = form.match(QString::fromLatin1(line));
    ASSERT_TRUE(m.hasMatch()) << line.constData();
    const QDate date = QDate::fromString(m.captured(1), QStringLiteral("yyyyMMdd"));
    EXPECT_TRUE(date == before.date() || date == before.date().addDays(1));
}

TEST(ObservationHeader, WithoutGlonassNoSlotLineButABlankCodePhaseBiasLine) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setGlonassCodeBiases({{"1C", -0.071}}));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0)}));
    const ObservationFile f = o.closeAndRead();
    EXPECT_TRUE(f.labelled("GLONASS SLOT / FRQ #").isEmpty());
    ASSERT_EQ(f.labelled("GLONASS COD/PHS/BIS").size(), 1);
    EXPECT_EQ(f.labelled("GLONASS COD/PHS/BIS")[0], QByteArray(60, ' ') + "GLONASS COD/PHS/BIS ");
}

TEST(ObservationHeader, CodePhaseBiasListsOnlyCodesOfTheGlonassColumns) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setGlonassCodeBiases({{"1C", -0.071}, {"2P", 0.5}, {"5Q", 1.0}}));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000,
                              {signal('G', 1, "5Q", 2.0e7, -1.0e8, 1.0, 40.0),
                               signal('R', 3, "1C", 2.1e7, -1.1e8, 1.0, 40.0, 5)}));
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("GLONASS COD/PHS/BIS").value(0), labelled(" C1C   -0.071", "GLONASS COD/PHS/BIS"));
}

TEST(ObservationHeader, TwelveTypesFitOneLine) {
    const std::vector<encoding::RangeSignal> s = {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
                                                  signal('G', 1, "2W", 2.0e7, -0.8e8, 1.0, 40.0),
                                                  signal('G', 1, "5Q", 2.0e7, -0.7e8, 1.0, 40.0)};
    OpenWriter o;
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, s));
    const ObservationFile f = o.closeAndRead();
    const QList<QByteArray> lines = f.labelled("SYS / # / OBS TYPES");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(lines[0], "G   12 C1C L1C D1C S1C C2W L2W D2W S2W C5Q L5Q D5Q S5Q    " +
                            pad("  SYS / # / OBS TYPES", 22));
}

TEST(ObservationHeader, MoreThanThirteenTypesContinueOnASecondLine) {
    const std::vector<encoding::RangeSignal> s = {
        signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0), signal('G', 1, "2W", 2.0e7, -0.8e8, 1.0, 40.0),
        signal('G', 1, "5Q", 2.0e7, -0.7e8, 1.0, 40.0), signal('G', 1, "1L", 2.0e7, -1.0e8, 1.0, 40.0)};
    OpenWriter o;
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, s));
    const ObservationFile f = o.closeAndRead();
    const QList<QByteArray> lines = f.labelled("SYS / # / OBS TYPES");
    ASSERT_EQ(lines.size(), 2);
    // the 14th to 16th types go to a continuation line padded with 4 blanks per missing type
    EXPECT_EQ(lines[0], "G   16 C1C L1C D1C S1C C1L L1L D1L S1L C2W L2W D2W S2W C5Q  SYS / # / OBS TYPES ");
    EXPECT_EQ(lines[1],
              QByteArray(6, ' ') + " L5Q D5Q S5Q" + QByteArray(10 * 4, ' ') + "  SYS / # / OBS TYPES ");
}

TEST(ObservationHeader, Version302NamesBeidouB1As1I) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setVersion(QByteArray("3.02")));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, {signal('C', 11, "2I", 2.0e7, -1.0e8, 1.0, 40.0)}));
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("SYS / # / OBS TYPES").value(0),
              pad("C   4  C1I L1I D1I S1I", 58) + "  SYS / # / OBS TYPES ");
    EXPECT_EQ(f.labelled("SYS / PHASE SHIFT").value(0), labelled("C L1I  0.00000", "SYS / PHASE SHIFT"));
}

TEST(ObservationHeader, Versions303And304NameBeidouB1As2I) {
    for (const char* version : {"3.03", "3.04"}) {
        OpenWriter o;
        ASSERT_TRUE(o.writer.setVersion(QByteArray(version)));
        ASSERT_TRUE(o.open());
        feed(o.writer, rangeFrame(2010, 345600000, {signal('C', 11, "2I", 2.0e7, -1.0e8, 1.0, 40.0)}));
        const ObservationFile f = o.closeAndRead();
        EXPECT_EQ(f.labelled("SYS / # / OBS TYPES").value(0),
                  pad("C   4  C2I L2I D2I S2I", 58) + "  SYS / # / OBS TYPES ")
            << version;
    }
}

TEST(ObservationHeader, WithoutAnyPositionXyzComesFromLatitudeAndLongitudeZeroAndTheReducedHeight) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setAntennaDelta(1.5, 0, 0));
    ASSERT_TRUE(o.writer.setAntennaHeight(0.1));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    // height 0 - 1.5 - 0.1: X = 6378137 - 1.6
    EXPECT_EQ(f.labelled("APPROX POSITION XYZ").value(0),
              labelled("  6378135.4000        0.0000        0.0000", "APPROX POSITION XYZ"));
}

TEST(ObservationHeader, AntennaHeightCommentOnlyWhenAHeightIsGiven) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    for (const QByteArray& line : f.header)
        EXPECT_FALSE(line.startsWith("PHASE CENTER TO ARP HEIGHT"));
    EXPECT_EQ(f.labelled("ANTENNA: DELTA H/E/N").value(0),
              labelled("        0.0000        0.0000        0.0000", "ANTENNA: DELTA H/E/N"));
}

TEST(ObservationHeader, UserCommentsFillOnlyTheReservedLines) {
    OpenWriter o;
    QList<QByteArray> comments;
    for (int i = 0; i < 80; ++i)
        comments << QByteArray("user comment ") + QByteArray::number(i);
    ASSERT_TRUE(o.writer.setComments(comments));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, gpsAndGlonass));
    const ObservationFile f = o.closeAndRead();
    ASSERT_EQ(f.header.size(), 65);
    EXPECT_EQ(f.header[64], labelled("", "END OF HEADER"));
    int converter = -1;
    for (int i = 0; i < f.header.size(); ++i)
        if (f.header[i].startsWith("CONVERTER VERSION = 1.9.2012.9")) converter = i;
    ASSERT_GE(converter, 0);
    // every line after the converter line up to END OF HEADER holds a user comment, in order
    for (int i = converter + 1; i < 64; ++i)
        EXPECT_EQ(f.header[i], labelled("user comment " + QByteArray::number(i - converter - 1), "COMMENT"));
    EXPECT_EQ(f.epochLines().size(), 1);
}

TEST(ObservationHeader, WithoutEpochsTheObservationTimesAreTheCalendarOrigin) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("INTERVAL").value(0), labelled("     0.000", "INTERVAL"));
    EXPECT_EQ(f.labelled("TIME OF FIRST OBS").value(0),
              labelled("  1970     1     1     0     0    0.0000000     GPS", "TIME OF FIRST OBS"));
}

TEST(ObservationHeader, EveryHeaderLineIs80CharactersWide) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setMarker("PT01", "MK-0001", "GEODETIC"));
    ASSERT_TRUE(o.writer.setAntennaHeight(0.15));
    ASSERT_TRUE(o.writer.setGlonassCodeBiases({{"1C", -0.071}}));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, gpsAndGlonass));
    const ObservationFile f = o.closeAndRead();
    for (const QByteArray& line : f.header)
        EXPECT_EQ(line.size(), 80) << line.constData();
    // the epochs start right after the reservation
    EXPECT_EQ(f.bytes.indexOf("> 2018"), kReservedHeaderBytes);
}
