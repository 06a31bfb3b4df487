// SPDX-License-Identifier: MIT
// Time window, decimation and system selection in the writer: which epochs, events,
// header lines and navigation files a conversion leaves.
#include "writer_test_support.h"

#include <gtest/gtest.h>

#include <QDir>

#include "encoder/nav_encoder.h"
#include "gnss/gps_calendar.h"

using namespace writertest;

namespace {

constexpr uint16_t kWeek = 2010; // starts 2018-07-15 00:00:00 GPS time

qint64 at(double seconds) {
    return gnss::gpsMilliseconds(kWeek, uint32_t(seconds * 1000.0 + 0.5));
}

const std::vector<encoding::RangeSignal> oneSignal = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)};

// One satellite of every system the board reports.
const std::vector<encoding::RangeSignal> everySystem = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0),
    signal('R', 3, "1C", 21074455.5, -111257095.25, 1477.5, 41.0, -4),
    signal('E', 11, "1C", 25074455.25, -131257095.5, -877.25, 44.0),
    signal('C', 7, "2I", 37074455.75, -191257095.75, 77.5, 40.0),
    signal('S', 20, "1C", 38074455.75, -201257095.75, 7.5, 39.0),
    signal('J', 2, "1C", 36074455.75, -181257095.75, 17.5, 42.0),
    signal('I', 4, "5A", 35074455.75, -171257095.75, 27.5, 38.0),
};

struct FilteredWriter : OpenWriter {
    explicit FilteredWriter(const rinex::OutputFilter& filter, int mode = 1) {
        EXPECT_TRUE(writer.setOutputFilter(filter));
        EXPECT_TRUE(writer.setPpkMode(mode));
        EXPECT_TRUE(open());
    }
    void log(double seconds, const std::vector<encoding::RangeSignal>& observed = oneSignal) {
        feed(writer, rangeFrame(kWeek, uint32_t(seconds * 1000.0 + 0.5), observed));
    }
    void text(const std::string& line) { feedText(writer, line); }
};

rinex::OutputFilter window(double from, double to) {
    rinex::OutputFilter f;
    EXPECT_TRUE(f.setWindow(at(from), at(to)));
    return f;
}

// Seconds field of each epoch line ("> 2018 07 15 00 00  3.0000000").
QList<double> epochSeconds(const ObservationFile& f) {
    QList<double> seconds;
    for (const QByteArray& line : f.epochLines())
        seconds << line.mid(16, 2).toInt() * 60 + line.mid(19, 10).trimmed().toDouble();
    return seconds;
}

QByteArray headerValue(const ObservationFile& f, const char* label) {
    const QList<QByteArray> lines = f.labelled(label);
    return lines.isEmpty() ? QByteArray() : lines.first().left(60);
}

} // namespace

TEST(OutputFilter, DefaultKeepsEverything) {
    const rinex::OutputFilter f;
    EXPECT_FALSE(f.hasWindow());
    EXPECT_FALSE(f.decimates());
    EXPECT_FALSE(f.selectsSystems());
    EXPECT_TRUE(f.inWindow(0));
    EXPECT_TRUE(f.onInterval(123));
    for (const char letter : {'G', 'R', 'E', 'C', 'S', 'J', 'I'})
        EXPECT_TRUE(f.keepsSystem(letter));
}

TEST(OutputFilter, RefusesBadValues) {
    rinex::OutputFilter f;
    EXPECT_FALSE(f.setWindow(10, 10));
    EXPECT_FALSE(f.setInterval(49));
    EXPECT_FALSE(f.setInterval(86400001));
    EXPECT_TRUE(f.setInterval(50));
    EXPECT_FALSE(f.setSystems("GX"));
    EXPECT_TRUE(f.setSystems("GRECSJI"));
    EXPECT_FALSE(f.selectsSystems()); // all seven named: nothing left out
    EXPECT_TRUE(f.setSystems("E"));
    EXPECT_TRUE(f.selectsSystems());
    EXPECT_FALSE(f.keepsSystem('G'));
    EXPECT_TRUE(f.keepsSystem('E'));
}

TEST(OutputFilter, NavigationMarginIsFourHoursEachSide) {
    const rinex::OutputFilter f = window(7200, 10800);
    EXPECT_TRUE(f.keepsNavigation(at(7200) - 4 * 3600000LL));
    EXPECT_FALSE(f.keepsNavigation(at(7200) - 4 * 3600000LL - 1));
    EXPECT_TRUE(f.keepsNavigation(at(10800) + 4 * 3600000LL - 1));
    EXPECT_FALSE(f.keepsNavigation(at(10800) + 4 * 3600000LL));
}

TEST(WindowAndDecimation, WindowKeepsStartAndDropsEnd) {
    FilteredWriter w(window(3, 7));
    for (int s = 0; s < 10; ++s)
        w.log(s);
    const ObservationFile f = w.closeAndRead();
    EXPECT_EQ(epochSeconds(f), (QList<double>{3, 4, 5, 6}));
    EXPECT_EQ(headerValue(f, "TIME OF FIRST OBS"),
              "  2018     7    15     0     0    3.0000000     GPS         ");
    EXPECT_EQ(headerValue(f, "TIME OF LAST OBS"),
              "  2018     7    15     0     0    6.0000000     GPS         ");
    EXPECT_EQ(headerValue(f, "INTERVAL").trimmed(), "1.000");
    EXPECT_EQ(w.writer.epochsWritten(), 4);
}

TEST(WindowAndDecimation, WindowWithoutEpochGivesHeadersOnly) {
    FilteredWriter w(window(100, 200));
    for (int s = 0; s < 10; ++s)
        w.log(s);
    const ObservationFile f = w.closeAndRead();
    EXPECT_TRUE(f.body.isEmpty());
    EXPECT_EQ(f.header.last().mid(60).trimmed(), "END OF HEADER");
    EXPECT_EQ(f.labelled("RINEX VERSION / TYPE").size(), 1);
    for (const char letter : {'N', 'G', 'L', 'C'})
        EXPECT_TRUE(QFile::exists(w.file(letter)));
}

TEST(WindowAndDecimation, IntervalKeepsWholeMultiplesOfTimeOfWeek) {
    rinex::OutputFilter filter;
    ASSERT_TRUE(filter.setInterval(5000));
    FilteredWriter w(filter);
    for (int s = 0; s <= 20; ++s)
        w.log(s);
    const ObservationFile f = w.closeAndRead();
    EXPECT_EQ(epochSeconds(f), (QList<double>{0, 5, 10, 15, 20}));
    EXPECT_EQ(headerValue(f, "INTERVAL").trimmed(), "5.000");
}

TEST(WindowAndDecimation, DecimalIntervalToTheMillisecond) {
    rinex::OutputFilter filter;
    ASSERT_TRUE(filter.setInterval(200));
    FilteredWriter w(filter);
    for (int ms = 0; ms <= 1000; ms += 100)
        w.log(ms / 1000.0);
    const ObservationFile f = w.closeAndRead();
    EXPECT_EQ(epochSeconds(f), (QList<double>{0, 0.2, 0.4, 0.6, 0.8, 1.0}));
    EXPECT_EQ(headerValue(f, "INTERVAL").trimmed(), "0.200");
}

TEST(WindowAndDecimation, IntervalThatNoEpochMatches) {
    rinex::OutputFilter filter;
    ASSERT_TRUE(filter.setInterval(7000));
    FilteredWriter w(filter);
    for (int s = 1; s <= 6; ++s)
        w.log(s + 0.5);
    const ObservationFile f = w.closeAndRead();
    EXPECT_TRUE(f.epochLines().isEmpty());
    EXPECT_EQ(headerValue(f, "INTERVAL").trimmed(), "0.000");
}

TEST(WindowAndDecimation, WindowAndIntervalTogether) {
    rinex::OutputFilter filter = window(10, 40);
    ASSERT_TRUE(filter.setInterval(15000));
    FilteredWriter w(filter);
    for (int s = 0; s < 60; ++s)
        w.log(s);
    EXPECT_EQ(epochSeconds(w.closeAndRead()), (QList<double>{15, 30}));
}

// Systems -------------------------------------------------------------------------------

namespace {

QByteArray systemsOfEpochs(const ObservationFile& f) {
    QByteArray letters;
    for (const QByteArray& line : f.body)
        if (!line.startsWith('>') && !letters.contains(line.at(0))) letters += line.at(0);
    return letters;
}

QByteArray systemsOfTypes(const ObservationFile& f) {
    QByteArray letters;
    for (const QByteArray& line : f.labelled("SYS / # / OBS TYPES"))
        if (line.at(0) != ' ') letters += line.at(0);
    return letters;
}

QByteArray sorted(QByteArray letters) {
    std::sort(letters.begin(), letters.end());
    return letters;
}

} // namespace

TEST(SystemSelection, EachLetterAloneAndMixtures) {
    for (const QByteArray& choice : {QByteArray("G"), QByteArray("R"), QByteArray("E"), QByteArray("C"),
                                     QByteArray("S"), QByteArray("J"), QByteArray("I"), QByteArray("GE"),
                                     QByteArray("RC"), QByteArray("GRECSJI"), QByteArray("SJI")}) {
        SCOPED_TRACE(choice.constData());
        rinex::OutputFilter filter;
        ASSERT_TRUE(filter.setSystems(choice));
        FilteredWriter w(filter);
        w.log(0, everySystem);
        w.log(1, everySystem);
        const ObservationFile f = w.closeAndRead();
        EXPECT_EQ(systemsOfEpochs(f), sorted(choice));
        EXPECT_EQ(systemsOfTypes(f), sorted(choice));
        const bool glonass = choice.contains('R');
        EXPECT_EQ(f.labelled("GLONASS SLOT / FRQ #").size(), glonass ? 1 : 0);
        EXPECT_EQ(f.labelled("GLONASS COD/PHS/BIS").size(), glonass ? 1 : 0);
        int phaseShiftLines = 0;
        for (const QByteArray& line : f.labelled("SYS / PHASE SHIFT")) {
            EXPECT_TRUE(choice.contains(line.at(0))) << line.constData();
            ++phaseShiftLines;
        }
        EXPECT_EQ(phaseShiftLines, choice.size());
        // Satellite count on each epoch line: one satellite per system kept.
        for (const QByteArray& line : f.epochLines())
            EXPECT_EQ(line.mid(32, 3).trimmed().toInt(), choice.size());
        // Navigation files exist only for the systems kept (S, J and I have none).
        EXPECT_EQ(QFile::exists(w.file('N')), choice.contains('G'));
        EXPECT_EQ(QFile::exists(w.file('G')), glonass);
        EXPECT_EQ(QFile::exists(w.file('L')), choice.contains('E'));
        EXPECT_EQ(QFile::exists(w.file('C')), choice.contains('C'));
        EXPECT_TRUE(w.writer.writeError().isEmpty());
    }
}

TEST(SystemSelection, AllSevenIsTheSameBytesAsNoSelection) {
    QByteArray plain, selected;
    for (const bool select : {false, true}) {
        rinex::OutputFilter filter;
        if (select) {
            ASSERT_TRUE(filter.setSystems("IJSCERG"));
        }
        FilteredWriter w(filter);
        w.log(0, everySystem);
        w.log(1, everySystem);
        ObservationFile f = w.closeAndRead();
        // The PGM / RUN BY / DATE line carries the time of writing.
        (select ? selected : plain) = f.bytes.left(82) + f.bytes.mid(164);
    }
    EXPECT_EQ(plain, selected);
}

TEST(SystemSelection, ExistingNavigationFileOfALeftOutSystemDoesNotStopTheConversion) {
    QTemporaryDir dir;
    QFile existing(dir.filePath("obs.23G"));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("kept");
    existing.close();
    rinex::OutputFilter filter;
    ASSERT_TRUE(filter.setSystems("GE"));
    Rinex3xx writer;
    ASSERT_TRUE(writer.setOutputFilter(filter));
    EXPECT_GT(writer.open(dir.filePath("obs.23_")), 0);
    writer.close();
    EXPECT_EQ(readAll(dir.filePath("obs.23G")), "kept");
    EXPECT_EQ(writer.createdFileNames().size(), 3);
}

// Navigation records and the window -------------------------------------------------------

namespace {

encoding::Bytes gpsEphemerisFrame(int satellite, double toe) {
    decoding::GpsEphemeris e{};
    e.satellite = uint32_t(satellite);
    e.week = kWeek;
    e.toe = toe;
    e.toc = toe;
    e.iode1 = e.iode2 = 7;
    e.a = 26560000.0;
    return encoding::encodeLogFrame(e, stamp(kWeek, uint32_t(toe * 1000)));
}

int records(const QString& path) {
    int n = 0;
    for (const QByteArray& line : splitLines(readAll(path)))
        n += line.startsWith('G') ? 1 : 0;
    return n;
}

} // namespace

TEST(WindowAndDecimation, NavigationRecordsWithinFourHoursOfTheWindow) {
    FilteredWriter w(window(8 * 3600, 10 * 3600));
    int satellite = 1;
    // Reference times 3:59, 4:00, 9:00, 13:59:59, 14:00.
    for (const double toe : {3 * 3600 + 3540.0, 4 * 3600.0, 9 * 3600.0, 13 * 3600 + 3599.0, 14 * 3600.0})
        feed(w.writer, gpsEphemerisFrame(satellite++, toe));
    w.writer.close();
    EXPECT_EQ(records(w.file('N')), 3);
}
