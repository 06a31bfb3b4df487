// SPDX-License-Identifier: MIT
// The output options' text forms, the check made before a conversion starts, and what
// applyOptions hands to the writer for them.
#include <QDateTime>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "params/apply_options.h"
#include "params/config_rows.h"
#include "params/output_options.h"
#include "rinex/rinex3xx.h"

using namespace outputoptions;

namespace {

qint64 utc(int year, int month, int day, int hour, int minute, int second, int ms = 0) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, ms), Qt::UTC).toMSecsSinceEpoch();
}

} // namespace

TEST(OutputOptions, GpsTimeForms) {
    qint64 t = 0;
    ASSERT_TRUE(parseGpsTime("2018-07-19 01:02:03", &t));
    EXPECT_EQ(t, utc(2018, 7, 19, 1, 2, 3));
    ASSERT_TRUE(parseGpsTime("2018-07-19T01:02:03.5", &t));
    EXPECT_EQ(t, utc(2018, 7, 19, 1, 2, 3, 500));
    ASSERT_TRUE(parseGpsTime(" 2018-07-19T01:02:03.125 ", &t));
    EXPECT_EQ(t, utc(2018, 7, 19, 1, 2, 3, 125));
    for (const char* bad :
         {"", "2018-07-19", "2018-07-19 1:02:03", "2018-02-30 00:00:00", "2018-07-19 24:00:00",
          "2018-07-19 00:00:60", "2018-07-19 00:00:00.1234", "2018/07/19 00:00:00", "yesterday"})
        EXPECT_FALSE(parseGpsTime(bad, &t)) << bad;
}

TEST(OutputOptions, IntervalForms) {
    qint32 ms = 0;
    ASSERT_TRUE(parseInterval("30", &ms));
    EXPECT_EQ(ms, 30000);
    ASSERT_TRUE(parseInterval("0.05", &ms));
    EXPECT_EQ(ms, 50);
    ASSERT_TRUE(parseInterval("2.5", &ms));
    EXPECT_EQ(ms, 2500);
    ASSERT_TRUE(parseInterval("86400", &ms));
    EXPECT_EQ(ms, 86400000);
    ASSERT_TRUE(parseInterval("1.", &ms));
    EXPECT_EQ(ms, 1000);
    for (const char* bad : {"", "0", "0.049", "0.0001", "86400.001", "-1", "1e3", "abc", "30s"})
        EXPECT_FALSE(parseInterval(bad, &ms)) << bad;
}

TEST(OutputOptions, SystemsCountryAndDigits) {
    QByteArray letters;
    ASSERT_TRUE(parseSystems("ge", &letters));
    EXPECT_EQ(letters, "GE");
    ASSERT_TRUE(parseSystems("GRECSJI", &letters));
    EXPECT_FALSE(parseSystems("", &letters));
    EXPECT_FALSE(parseSystems("GX", &letters));
    EXPECT_FALSE(parseSystems("GG", &letters));
    QByteArray country;
    ASSERT_TRUE(parseCountry("esp", &country));
    EXPECT_EQ(country, "ESP");
    EXPECT_FALSE(parseCountry("ES", &country));
    EXPECT_FALSE(parseCountry("E5P", &country));
    char digit = 0;
    ASSERT_TRUE(parseDigit("7", &digit));
    EXPECT_EQ(digit, '7');
    EXPECT_FALSE(parseDigit("10", &digit));
    EXPECT_FALSE(parseDigit("a", &digit));
}

TEST(OutputOptions, DefaultsPassTheCheck) {
    EXPECT_TRUE(checkOutputOptions(defaultOptions({})).isEmpty());
    EXPECT_TRUE(checkOutputOptions({}).isEmpty());
}

TEST(OutputOptions, CheckNamesEveryBadRowAndWhatItTakes) {
    ConvertOptions options = defaultOptions({});
    options[WindowStart] = "2018-07-19";
    options[Interval] = "0.01";
    options[Systems] = "GX";
    options[LongNameCountry] = "SPAIN";
    options[Compression] = "zip";
    const QStringList problems = checkOutputOptions(options);
    ASSERT_EQ(problems.size(), 5);
    EXPECT_EQ(problems.at(0), "Window Start: '2018-07-19' is not valid (" + TimeForm + ")");
    EXPECT_TRUE(problems.at(1).startsWith("Interval: '0.01'"));
    EXPECT_TRUE(problems.at(2).startsWith("Systems: 'GX'"));
    EXPECT_TRUE(problems.at(3).startsWith("Long Name Country: 'SPAIN'"));
    EXPECT_TRUE(problems.at(4).startsWith("Compression: 'zip'"));
}

TEST(OutputOptions, WindowEndMustFollowItsStart) {
    ConvertOptions options;
    options[WindowStart] = "2018-07-19 02:00:00";
    options[WindowEnd] = "2018-07-19 02:00:00";
    const QStringList problems = checkOutputOptions(options);
    ASSERT_EQ(problems.size(), 1);
    EXPECT_TRUE(problems.first().startsWith("Window End: '2018-07-19 02:00:00' is not after Window Start"));
}

TEST(OutputOptions, AppliedToTheWriter) {
    QTemporaryDir dir;
    ConvertOptions options = defaultOptions({});
    options["Marker Name"] = "cebr";
    options[Systems] = "E";
    options[LongName] = "1";
    options[LongNameCountry] = "esp";
    options[LongNameMonument] = "3";
    Rinex3xx writer;
    applyOptions(options, writer);
    ASSERT_GT(writer.open(dir.path()), 0);
    writer.close();
    const QStringList names = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden);
    // No epoch and no record: the start is unknown, and only the Galileo navigation file exists.
    EXPECT_EQ(names,
              (QStringList{"CEBR30ESP_R_19700010000_00U_00U_MO.rnx", "CEBR30ESP_R_19700010000_00U_EN.rnx"}));
}
