// SPDX-License-Identifier: MIT
// The rows of the configuration section and the option defaults taken from them.
#include <gtest/gtest.h>

#include "params/config_rows.h"

namespace {

// The output options' rows, after every row the section had before them.
const QStringList OutputOptionNames = {"Window Start",      "Window End",         "Interval",
                                       "Systems",           "Long Name",          "Long Name Country",
                                       "Long Name Monument", "Long Name Receiver", "Compression"};

const QStringList EditableNames = {"Marker Name", "Marker Number", "Latitude",     "Longitude",
                                   "Height",      "Antenna Name",  "Antenna Spec", "Antenna Height"};

QStringList names(const QList<ConfigRow>& rows) {
    QStringList result;
    for (const ConfigRow& row : rows)
        result << row.name;
    return result;
}

const ConfigRow* find(const QList<ConfigRow>& rows, const QString& name) {
    for (const ConfigRow& row : rows)
        if (row.name == name) return &row;
    return nullptr;
}

} // namespace

TEST(ParameterNames, TablesInOrder) {
    EXPECT_EQ(
        ParameterNames,
        (QStringList{"Path Input",  "Path Output",   "Receiver Model", "Receiver SN",   "Receiver Version",
                     "GNSS Model",  "GNSS SN",       "GNSS Hardware",  "GNSS Software", "Version",
                     "Marker Name", "Marker Number", "Marker Type",    "Mode",          "Latitude",
                     "Longitude",   "Height",        "Antenna Name",   "Antenna Spec",  "Antenna Height",
                     "Height Type"}));
    EXPECT_EQ(MarkerTypeNames,
              (QList<QByteArray>{"GEODETIC", "NON_GEODETIC", "NON_PHYSICAL", "SPACEBORNE", "GROUND_CRAFT",
                                 "WATER_CRAFT", "AIRBORNE", "FIXED_BUOY", "FLOATING_BUOY", "FLOATING_ICE",
                                 "GLACIER", "BALLISTIC", "ANIMAL", "HUMAN"}));
    EXPECT_EQ(HeightTypeNames, (QStringList{"PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM"}));
    EXPECT_EQ(SectionInfo, "info");
    EXPECT_EQ(SectionConfig, "config");
}

TEST(ConfigRows, FileWithoutHeader) {
    const QList<ConfigRow> rows = configRows({{"Path Input", "/data/a.dat"}});
    QStringList expectedNames = {"Path Input", "Version", "Marker Type", "Mode"};
    expectedNames << EditableNames << "Height Type" << OutputOptionNames;
    ASSERT_EQ(names(rows), expectedNames);

    EXPECT_EQ(rows.at(0).kind, ConfigRow::ReadOnly);
    EXPECT_EQ(rows.at(0).value, "/data/a.dat");

    const ConfigRow& version = rows.at(1);
    EXPECT_EQ(version.kind, ConfigRow::Choice);
    // The three first entries in their order, then the added versions.
    EXPECT_EQ(version.values, (QStringList{"3.02", "3.03", "3.04", "3.05", "4.00", "2.11"}));
    EXPECT_EQ(version.texts,
              (QStringList{"RINEX 3.02", "RINEX 3.03", "RINEX 3.04", "RINEX 3.05", "RINEX 4.00", "RINEX 2.11"}));
    EXPECT_EQ(version.value, "3.04");

    const ConfigRow& markerType = rows.at(2);
    EXPECT_EQ(markerType.kind, ConfigRow::Choice);
    EXPECT_EQ(markerType.values.size(), 14);
    EXPECT_EQ(markerType.values, markerType.texts);
    EXPECT_EQ(markerType.values.first(), "GEODETIC");
    EXPECT_EQ(markerType.values.last(), "HUMAN");
    EXPECT_EQ(markerType.value, "GEODETIC");

    const ConfigRow& mode = rows.at(3);
    EXPECT_EQ(mode.kind, ConfigRow::Choice);
    EXPECT_EQ(mode.values, (QStringList{"1", "2", "3"}));
    EXPECT_EQ(mode.texts, (QStringList{"PPK None", "PPK Only", "PPK Mix"}));
    EXPECT_EQ(mode.value, "3");

    for (int i = 0; i < EditableNames.size(); ++i) {
        EXPECT_EQ(rows.at(4 + i).kind, ConfigRow::Edit);
        EXPECT_TRUE(rows.at(4 + i).value.isEmpty());
    }

    const ConfigRow& heightType = rows.at(rows.size() - 1 - OutputOptionNames.size());
    EXPECT_EQ(heightType.kind, ConfigRow::Choice);
    EXPECT_EQ(heightType.values, (QStringList{"PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM"}));
    EXPECT_EQ(heightType.texts, heightType.values);
    EXPECT_TRUE(heightType.value.isEmpty());
}

TEST(ConfigRows, HeaderFactsBecomeReadOnlyRowsInOrder) {
    const ParameterMap header = {
        {"GNSS Software", "fw"},    {"Path Input", "p"},     {"Receiver Model", "rm"},
        {"GNSS SN", "gsn"},         {"Receiver SN", "rsn"},  {"GNSS Model", "gm"},
        {"Receiver Version", "rv"}, {"GNSS Hardware", "hw"}, {"Marker Name", "M1"},
    };
    const QList<ConfigRow> rows = configRows(header);
    const QStringList expected = {"Path Input", "Receiver Model", "Receiver SN",   "Receiver Version",
                                  "GNSS Model", "GNSS SN",        "GNSS Hardware", "GNSS Software"};
    ASSERT_GE(rows.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(rows.at(i).name, expected.at(i));
        EXPECT_EQ(rows.at(i).kind, ConfigRow::ReadOnly);
        EXPECT_EQ(rows.at(i).value, header.value(expected.at(i)));
    }
    EXPECT_EQ(rows.at(expected.size()).name, "Version");
    EXPECT_EQ(find(rows, "Marker Name")->value, "M1");
    EXPECT_EQ(find(rows, "Marker Name")->kind, ConfigRow::Edit);
}

TEST(ConfigRows, AbsentHeaderFactsGetNoRow) {
    const QList<ConfigRow> rows = configRows({{"Receiver SN", "rsn"}});
    EXPECT_EQ(rows.first().name, "Receiver SN");
    EXPECT_EQ(find(rows, "Path Input"), nullptr);
    EXPECT_EQ(find(rows, "GNSS Model"), nullptr);
}

TEST(ConfigRows, HeaderNeverChangesTheChoiceDefaults) {
    const QList<ConfigRow> rows = configRows({{"Version", "3.02"}, {"Mode", "1"}, {"Marker Type", "HUMAN"}});
    EXPECT_EQ(find(rows, "Version")->value, "3.04");
    EXPECT_EQ(find(rows, "Mode")->value, "3");
    EXPECT_EQ(find(rows, "Marker Type")->value, "GEODETIC");
}

TEST(ConfigRows, HeightTypeIsUpperCased) {
    const QList<ConfigRow> rows = configRows({{"Height Type", "phase"}});
    EXPECT_EQ(find(rows, "Height Type")->value, "PHASE");
}

TEST(DefaultOptions, StoredValueOfEveryRow) {
    const ParameterMap header = {{"Path Input", "/in.dat"},
                                 {"GNSS Model", "B1"},
                                 {"Latitude", "30.5"},
                                 {"Height Type", "slope"},
                                 {"Antenna Spec", "1,2,3,4"}};
    const ConvertOptions options = defaultOptions(header);
    const ConvertOptions expected = {
        {"Path Input", "/in.dat"},
        {"GNSS Model", "B1"},
        {"Version", "3.04"},
        {"Marker Type", "GEODETIC"},
        {"Mode", "3"},
        {"Marker Name", ""},
        {"Marker Number", ""},
        {"Latitude", "30.5"},
        {"Longitude", ""},
        {"Height", ""},
        {"Antenna Name", ""},
        {"Antenna Spec", "1,2,3,4"},
        {"Antenna Height", ""},
        {"Height Type", "SLOPE"},
        {"Window Start", ""},
        {"Window End", ""},
        {"Interval", ""},
        {"Systems", "GRECSJI"},
        {"Long Name", "0"},
        {"Long Name Country", "XXX"},
        {"Long Name Monument", "0"},
        {"Long Name Receiver", "0"},
        {"Compression", ""},
    };
    EXPECT_EQ(options, expected);
}

TEST(ConfigRows, OutputOptionRowsAndTheirChoices) {
    const QList<ConfigRow> rows = configRows({});
    const ConfigRow* longName = find(rows, "Long Name");
    ASSERT_NE(longName, nullptr);
    EXPECT_EQ(longName->kind, ConfigRow::Choice);
    EXPECT_EQ(longName->values, (QStringList{"0", "1"}));
    EXPECT_EQ(longName->texts, (QStringList{"Off", "On"}));
    const ConfigRow* monument = find(rows, "Long Name Monument");
    ASSERT_NE(monument, nullptr);
    EXPECT_EQ(monument->kind, ConfigRow::Choice);
    EXPECT_EQ(monument->values.size(), 10);
    const ConfigRow* compression = find(rows, "Compression");
    ASSERT_NE(compression, nullptr);
    EXPECT_EQ(compression->kind, ConfigRow::Choice);
    EXPECT_EQ(compression->values, (QStringList{"", "crx", "gz", "crx.gz"}));
    EXPECT_EQ(compression->value, "");
    for (const char* name : {"Window Start", "Window End", "Interval", "Systems", "Long Name Country"}) {
        EXPECT_EQ(find(rows, name)->kind, ConfigRow::Edit) << name;
        EXPECT_FALSE(rowPattern(name).isEmpty()) << name;
        EXPECT_FALSE(rowHint(name).isEmpty()) << name;
    }
    EXPECT_TRUE(rowPattern("Marker Name").isEmpty());
}

TEST(ConfigRows, OutputOptionNamesDoNotCollideWithHeaderRows) {
    for (const QString& name : OutputOptionNames) {
        EXPECT_FALSE(ParameterNames.contains(name)) << name.toStdString();
        for (const char* header : {"File Type", "Time Start", "Time End", "Point Name", "App Version", "Sn", "DEV", "GNSS"})
            EXPECT_NE(name, QString(header));
    }
}
