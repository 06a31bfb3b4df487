// SPDX-License-Identifier: MIT
// RINEX 3 long file names: the fields from what was written, and the writer's temporary
// files renamed at close (never over an existing file, never left behind).
#include "writer_test_support.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <unistd.h>

#include "gnss/gps_calendar.h"
#include "rinex/long_file_name.h"

using namespace writertest;

namespace {

qint64 utc(int year, int month, int day, int hour, int minute, int second, int ms = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, ms), Qt::UTC).toMSecsSinceEpoch();
}

struct NameCase {
    const char* what;
    qint64 first;
    qint64 last;
    qint32 interval;
    const char* systems;
    const char* expected;
};

} // namespace

TEST(LongFileName, Fields) {
    EXPECT_EQ(rinex::stationField("cebr"), "CEBR");
    EXPECT_EQ(rinex::stationField("pt-17"), "PT17");
    EXPECT_EQ(rinex::stationField("ab"), "AB00");
    EXPECT_EQ(rinex::stationField(""), "XXXX");
    EXPECT_EQ(rinex::stationField("--"), "XXXX");
    EXPECT_EQ(rinex::stationField("Madrid Norte"), "MADR");
    EXPECT_EQ(rinex::startField(utc(2018, 7, 19, 0, 0, 0)), "20182000000");
    EXPECT_EQ(rinex::startField(utc(2024, 12, 31, 23, 50, 59, 999)), "20243662350");
    EXPECT_EQ(rinex::periodField(0), "00U");
    EXPECT_EQ(rinex::periodField(1), "01M");
    EXPECT_EQ(rinex::periodField(15 * 60000), "15M");
    EXPECT_EQ(rinex::periodField(59 * 60000 + 1), "01H");
    EXPECT_EQ(rinex::periodField(3 * 3600000), "03H");
    EXPECT_EQ(rinex::periodField(24 * 3600000LL), "01D");
    EXPECT_EQ(rinex::periodField(24 * 3600000LL + 1), "02D");
    EXPECT_EQ(rinex::periodField(99 * 86400000LL), "99D");
    EXPECT_EQ(rinex::periodField(100 * 86400000LL), "01Y");
    EXPECT_EQ(rinex::frequencyField(0), "00U");
    EXPECT_EQ(rinex::frequencyField(10), "01C");
    EXPECT_EQ(rinex::frequencyField(20), "50Z");
    EXPECT_EQ(rinex::frequencyField(50), "20Z");
    EXPECT_EQ(rinex::frequencyField(200), "05Z");
    EXPECT_EQ(rinex::frequencyField(300), "00U");
    EXPECT_EQ(rinex::frequencyField(1000), "01S");
    EXPECT_EQ(rinex::frequencyField(2500), "00U");
    EXPECT_EQ(rinex::frequencyField(30000), "30S");
    EXPECT_EQ(rinex::frequencyField(60000), "01M");
    EXPECT_EQ(rinex::frequencyField(90000), "90S");
    EXPECT_EQ(rinex::frequencyField(120000), "02M");
    EXPECT_EQ(rinex::frequencyField(3600000), "01H");
    EXPECT_EQ(rinex::frequencyField(86400000), "01D");
    EXPECT_EQ(rinex::frequencyField(101000), "00U");
}

TEST(LongFileName, TableOfConversions) {
    const NameCase cases[] = {
        {"15 minutes at 1 Hz", utc(2023, 3, 5, 14, 0, 0), utc(2023, 3, 5, 14, 14, 59), 1000, "GRE",
         "CEBR00ESP_R_20230641400_15M_01S_MO.rnx"},
        {"one hour at 30 s", utc(2018, 7, 19, 0, 0, 0), utc(2018, 7, 19, 0, 59, 30), 30000, "G",
         "CEBR00ESP_R_20182000000_01H_30S_GO.rnx"},
        {"three hours at 30 s", utc(2018, 7, 19, 0, 0, 0), utc(2018, 7, 19, 2, 59, 30), 30000, "GRCE",
         "CEBR00ESP_R_20182000000_03H_30S_MO.rnx"},
        {"a day at 30 s", utc(2018, 7, 19, 0, 0, 0), utc(2018, 7, 19, 23, 59, 30), 30000, "E",
         "CEBR00ESP_R_20182000000_01D_30S_EO.rnx"},
        {"47 minutes at 1 Hz", utc(2023, 3, 5, 14, 22, 37), utc(2023, 3, 5, 15, 9, 36), 1000, "GR",
         "CEBR00ESP_R_20230641422_47M_01S_MO.rnx"},
        {"odd span at 20 Hz", utc(2024, 12, 31, 23, 50, 12), utc(2024, 12, 31, 23, 53, 1, 950), 50, "C",
         "CEBR00ESP_R_20243662350_03M_20Z_CO.rnx"},
        {"two days at 1 min", utc(2020, 2, 28, 6, 0, 0), utc(2020, 3, 1, 5, 59, 0), 60000, "J",
         "CEBR00ESP_R_20200590600_02D_01M_JO.rnx"},
        {"a single epoch", utc(2020, 2, 28, 6, 0, 0), utc(2020, 2, 28, 6, 0, 0), 0, "S",
         "CEBR00ESP_R_20200590600_01M_00U_SO.rnx"},
    };
    rinex::LongNameFields fields;
    fields.country = "ESP";
    for (const NameCase& c : cases) {
        SCOPED_TRACE(c.what);
        rinex::LongNameFacts facts;
        facts.markerName = "cebr";
        facts.firstEpoch = c.first;
        facts.lastEpoch = c.last;
        facts.interval = c.interval;
        facts.observedSystems = c.systems;
        EXPECT_EQ(rinex::observationLongName(fields, facts), c.expected);
    }
}

TEST(LongFileName, NavigationNamesShareTheStart) {
    rinex::LongNameFields fields;
    fields.monument = '1';
    fields.receiver = '2';
    rinex::LongNameFacts facts;
    facts.markerName = "elko";
    facts.firstEpoch = utc(2018, 7, 29, 0, 0, 0);
    facts.lastEpoch = utc(2018, 7, 29, 23, 59, 30);
    facts.interval = 30000;
    EXPECT_EQ(rinex::navigationLongName(fields, facts, 'G'), "ELKO12XXX_R_20182100000_01D_GN.rnx");
    // Without epochs the navigation records give start and period.
    facts.firstEpoch = facts.lastEpoch = 0;
    facts.interval = 0;
    facts.navigationFirst = utc(2018, 7, 29, 2, 0, 0);
    facts.navigationLast = utc(2018, 7, 29, 4, 0, 0);
    EXPECT_EQ(rinex::navigationLongName(fields, facts, 'R'), "ELKO12XXX_R_20182100200_02H_RN.rnx");
    EXPECT_EQ(rinex::observationLongName(fields, facts), "ELKO12XXX_R_20182100200_02H_00U_MO.rnx");
}

// The writer ---------------------------------------------------------------------------------

namespace {

constexpr uint16_t kWeek = 2010; // 2018-07-15, day 196

const std::vector<encoding::RangeSignal> gpsAndGalileo = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0),
    signal('E', 11, "1C", 25074455.25, -131257095.5, -877.25, 44.0)};

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

struct LongNameWriter {
    QTemporaryDir dir;
    Rinex3xx writer;
    explicit LongNameWriter(const char* country = "ESP") {
        rinex::LongNameFields fields;
        fields.country = country;
        EXPECT_TRUE(writer.setMarker("cebr", "", "GEODETIC"));
        EXPECT_TRUE(writer.setLongNames(fields));
    }
    void epochs(uint32_t firstMs, int count, uint32_t stepMs) {
        for (int i = 0; i < count; ++i)
            feed(writer, rangeFrame(kWeek, firstMs + uint32_t(i) * stepMs, gpsAndGalileo));
    }
};

} // namespace

TEST(LongNameWriter, RefusesBadFields) {
    Rinex3xx writer;
    rinex::LongNameFields fields;
    fields.country = "es";
    EXPECT_FALSE(writer.setLongNames(fields));
    fields.country = "ESP";
    fields.monument = 'x';
    EXPECT_FALSE(writer.setLongNames(fields));
}

TEST(LongNameWriter, RenamesAtCloseAndLeavesNoTemporaryFile) {
    LongNameWriter w;
    ASSERT_GT(w.writer.open(w.dir.path()), 0);
    EXPECT_EQ(w.writer.outputLocation(), QDir(w.dir.path()).absolutePath());
    // While open, only hidden temporary files exist.
    for (const QString& name : entries(w.dir.path()))
        EXPECT_TRUE(name.startsWith(".velmoor-")) << name.toStdString();
    w.epochs(3600000, 120, 30000); // 01:00:00 to 01:59:30 at 30 s
    w.writer.close();
    EXPECT_TRUE(w.writer.writeError().isEmpty());
    EXPECT_EQ(entries(w.dir.path()),
              (QStringList{"CEBR00ESP_R_20181960100_01H_30S_MO.rnx", "CEBR00ESP_R_20181960100_01H_CN.rnx",
                           "CEBR00ESP_R_20181960100_01H_EN.rnx", "CEBR00ESP_R_20181960100_01H_GN.rnx",
                           "CEBR00ESP_R_20181960100_01H_RN.rnx"}));
    const ObservationFile f(w.dir.filePath("CEBR00ESP_R_20181960100_01H_30S_MO.rnx"));
    EXPECT_EQ(f.epochLines().size(), 120);
    EXPECT_EQ(w.writer.observationFileName(), w.dir.filePath("CEBR00ESP_R_20181960100_01H_30S_MO.rnx"));
}

TEST(LongNameWriter, APathInTheFolderNamesTheFolder) {
    LongNameWriter w;
    ASSERT_GT(w.writer.open(w.dir.filePath("anything.23O")), 0);
    w.epochs(0, 900, 1000);
    w.writer.close();
    EXPECT_TRUE(entries(w.dir.path()).contains("CEBR00ESP_R_20181960000_15M_01S_MO.rnx"));
    EXPECT_EQ(entries(w.dir.path()).size(), 5);
}

TEST(LongNameWriter, TwentyHertz) {
    LongNameWriter w;
    ASSERT_GT(w.writer.open(w.dir.path()), 0);
    w.epochs(7200000, 200, 50);
    w.writer.close();
    EXPECT_TRUE(entries(w.dir.path()).contains("CEBR00ESP_R_20181960200_01M_20Z_MO.rnx"));
}

TEST(LongNameWriter, SystemsLeftOutMakeNoNavigationFileAndNameTheContent) {
    LongNameWriter w;
    rinex::OutputFilter filter;
    ASSERT_TRUE(filter.setSystems("E"));
    ASSERT_TRUE(w.writer.setOutputFilter(filter));
    ASSERT_GT(w.writer.open(w.dir.path()), 0);
    w.epochs(0, 10, 1000);
    w.writer.close();
    EXPECT_EQ(entries(w.dir.path()),
              (QStringList{"CEBR00ESP_R_20181960000_01M_01S_EO.rnx", "CEBR00ESP_R_20181960000_01M_EN.rnx"}));
}

TEST(LongNameWriter, ExistingFileIsNotOverwrittenAndNothingIsLeft) {
    LongNameWriter w;
    const QString taken = w.dir.filePath("CEBR00ESP_R_20181960000_01M_01S_MO.rnx");
    QFile existing(taken);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("someone else's file");
    existing.close();
    ASSERT_GT(w.writer.open(w.dir.path()), 0);
    w.epochs(0, 10, 1000);
    w.writer.close();
    EXPECT_EQ(w.writer.writeError(), QString("file exists, %1").arg(taken));
    EXPECT_EQ(entries(w.dir.path()), QStringList{"CEBR00ESP_R_20181960000_01M_01S_MO.rnx"});
    EXPECT_EQ(readAll(taken), "someone else's file");
}

TEST(LongNameWriter, UnwritableFolderFailsAtOpenAndLeavesNothing) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the superuser";
    LongNameWriter w;
    ASSERT_TRUE(QFile::setPermissions(w.dir.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    EXPECT_EQ(w.writer.open(w.dir.path()), 0);
    QFile::setPermissions(w.dir.path(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_TRUE(entries(w.dir.path()).isEmpty());
}

TEST(LongNameWriter, FolderWhereNoFileCanBeMadeFailsAtOpen) {
    // No file can be created in /proc, not even by the superuser.
    if (!QFileInfo("/proc/self").isDir()) GTEST_SKIP() << "no /proc";
    LongNameWriter w;
    EXPECT_EQ(w.writer.open(QStringLiteral("/proc/self")), 0);
    EXPECT_TRUE(w.writer.createdFileNames().isEmpty());
    EXPECT_FALSE(w.writer.isOpen());
}

TEST(LongNameWriter, MissingFolderFailsAtOpen) {
    LongNameWriter w;
    EXPECT_EQ(w.writer.open(w.dir.filePath("no/such/folder/x.23O")), 0);
    EXPECT_TRUE(entries(w.dir.path()).isEmpty());
}

TEST(LongNameWriter, DestroyedWhileOpenStillRenames) {
    QTemporaryDir dir;
    {
        Rinex3xx writer;
        rinex::LongNameFields fields;
        ASSERT_TRUE(writer.setMarker("site", "", "GEODETIC"));
        ASSERT_TRUE(writer.setLongNames(fields));
        ASSERT_GT(writer.open(dir.path()), 0);
        for (int i = 0; i < 5; ++i)
            feed(writer, rangeFrame(kWeek, uint32_t(i) * 1000, gpsAndGalileo));
        // A cancelled conversion destroys its writer without closing it first.
    }
    const QStringList names = entries(dir.path());
    EXPECT_EQ(names.size(), 5);
    for (const QString& name : names)
        EXPECT_TRUE(name.startsWith("SITE00XXX_R_20181960000_01M_")) << name.toStdString();
}
