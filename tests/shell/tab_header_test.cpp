// SPDX-License-Identifier: MIT
// A new tab reads its file's header once: the "info" rows and the "config" section built
// from the values found.
#include <cstring>

#include <QFile>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include "params/widget_tree_param.h"
#include "shell/tab_binary_to_rinex3.h"
#include "tests/shell/gui_test_support.h"
#include "support/files.h"

namespace {

constexpr int RoleKind = Qt::UserRole + 1;
constexpr int RoleValue = Qt::UserRole + 2;
constexpr int KindReadOnly = 2;
constexpr int KindEdit = 3;
constexpr int KindCombo = 4;

const QByteArray KeyMagic = "#file=GNSS DATA FILE\r\n";

struct Row {
    QString name;
    QString shown;
    QString stored;
    int kind;
};

// The rows under the section row at the given position ("info" is first, "config" second).
QList<Row> sectionRows(const TabBinaryToRinex3& tab, int section) {
    const auto* tree = tab.findChild<WidgetTreeParam*>();
    QList<Row> rows;
    if (!tree) return rows;
    const QStandardItemModel* model = tree->itemModel();
    const QModelIndex parent = model->index(section, 0);
    for (int r = 0; r < model->rowCount(parent); ++r) {
        const QModelIndex value = model->index(r, 1, parent);
        rows << Row{model->index(r, 0, parent).data().toString(), value.data().toString(),
                    value.data(RoleValue).toString(), value.data(RoleKind).toInt()};
    }
    return rows;
}

QList<Row> infoRows(const TabBinaryToRinex3& tab) {
    return sectionRows(tab, 0);
}
QList<Row> configRowsOf(const TabBinaryToRinex3& tab) {
    return sectionRows(tab, 1);
}

const Row* findRow(const QList<Row>& rows, const QString& name) {
    for (const Row& row : rows)
        if (row.name == name) return &row;
    return nullptr;
}

// A row's stored value or shown text; "<missing>" when there is no such row.
QString storedOf(const QList<Row>& rows, const QString& name) {
    const Row* row = findRow(rows, name);
    return row ? row->stored : QStringLiteral("<missing>");
}
QString shownOf(const QList<Row>& rows, const QString& name) {
    const Row* row = findRow(rows, name);
    return row ? row->shown : QStringLiteral("<missing>");
}

QStringList names(const QList<Row>& rows) {
    QStringList list;
    for (const Row& row : rows)
        list << row.name;
    return list;
}

// The file's bytes padded with zeros to the given size.
QString writeFile(const QTemporaryDir& dir, const QString& name, QByteArray bytes, int size) {
    if (bytes.size() < size) bytes.append(QByteArray(size - bytes.size(), '\0'));
    return testsupport::writeFile(dir.filePath(name), bytes);
}

template <typename T> void put(QByteArray& record, int offset, T value) {
    std::memcpy(record.data() + offset, &value, sizeof value);
}

void putText(QByteArray& record, int offset, const QByteArray& text) {
    std::memcpy(record.data() + offset, text.constData(), static_cast<size_t>(text.size()));
}

struct Legacy {
    QByteArray serial = "RX123456";
    quint8 day = 7, month = 3;
    quint16 year = 2019;
    double latitude = 30.5, longitude = 114.25;
    float height = 12.25f;
    quint16 antennaHeightMm = 1234;
    QByteArray start = "08:00:00", end = "09:30:15";
    QByteArray antennaName = "ANT-X1";
    quint8 heightType = 0;
    quint32 antennaValues[4] = {150, 100, 50, 7};
    QByteArray appVersion = "2.1.7";
    QByteArray pointName = "PT01";
};

// A 512-byte legacy record laid out by field offsets, little-endian.
QByteArray legacyRecord(const Legacy& l) {
    QByteArray record(512, '\0');
    putText(record, 0, "QVT-GPS COLLECTED DATA\nS/N:" + l.serial + "\n");
    put<quint8>(record, 58, l.day);
    put<quint8>(record, 59, l.month);
    put<quint16>(record, 60, l.year);
    put<double>(record, 80, l.latitude);
    put<double>(record, 88, l.longitude);
    put<float>(record, 96, l.height);
    put<quint16>(record, 105, l.antennaHeightMm);
    putText(record, 107, l.start.left(8));
    putText(record, 115, l.end.left(8));
    putText(record, 125, l.antennaName);
    put<quint8>(record, 145, l.heightType);
    for (int i = 0; i < 4; ++i)
        put<quint32>(record, 147 + 4 * i, l.antennaValues[i]);
    putText(record, 166, l.appVersion);
    putText(record, 181, l.pointName);
    return record;
}

QByteArray keyHeader(const QList<QByteArray>& lines) {
    QByteArray block = KeyMagic;
    for (const QByteArray& line : lines)
        block += line + "\r\n";
    return block;
}

class TabHeader : public ::testing::Test {
protected:
    QTemporaryDir dir;
};

TEST_F(TabHeader, KeyHeaderNeedsAFullHeadOf2048Bytes) {
    const QByteArray header = keyHeader({"#device.model=RX-1", "#marker.name=ABC"});
    const QString shortPath = writeFile(dir, "short.dat", header, 2047);
    const QString fullPath = writeFile(dir, "full.dat", header, 2048);
    ASSERT_EQ(QFile(shortPath).size(), 2047);
    ASSERT_EQ(QFile(fullPath).size(), 2048);

    TabBinaryToRinex3 shortTab(shortPath);
    EXPECT_TRUE(infoRows(shortTab).isEmpty());
    EXPECT_TRUE(configRowsOf(shortTab).isEmpty());

    TabBinaryToRinex3 fullTab(fullPath);
    const QList<Row> info = infoRows(fullTab);
    ASSERT_EQ(info.size(), 3);
    EXPECT_EQ(info[0].name, "File Type");
    EXPECT_EQ(info[0].shown, "GNSS");
    EXPECT_EQ(info[1].name, "#device.model");
    EXPECT_EQ(info[1].shown, "RX-1");
    EXPECT_EQ(info[2].name, "#marker.name");
    EXPECT_EQ(info[2].shown, "ABC");
    for (const Row& row : info)
        EXPECT_EQ(row.kind, KindReadOnly) << row.name.toStdString();

    const QList<Row> config = configRowsOf(fullTab);
    ASSERT_FALSE(config.isEmpty());
    ASSERT_NE(findRow(config, "Path Input"), nullptr);
    EXPECT_EQ(storedOf(config, "Path Input"), fullPath);
    ASSERT_NE(findRow(config, "Receiver Model"), nullptr);
    EXPECT_EQ(storedOf(config, "Receiver Model"), "RX-1");
    EXPECT_EQ(storedOf(config, "Marker Name"), "ABC");
}

TEST_F(TabHeader, UnreadableFileShowsNothing) {
    TabBinaryToRinex3 tab(dir.filePath("does-not-exist.dat"));
    EXPECT_TRUE(infoRows(tab).isEmpty());
    EXPECT_TRUE(configRowsOf(tab).isEmpty());
}

TEST_F(TabHeader, LegacyRowsThenKeyRowsAndKeyValuesWin) {
    Legacy legacy;
    QByteArray bytes = legacyRecord(legacy);
    bytes += keyHeader({"#marker.name=KEYPOINT", "#device.sn=KEY-SN", "#antenna.height_type=VERTICAL"});
    TabBinaryToRinex3 tab(writeFile(dir, "both.dat", bytes, 4096));

    const QList<Row> info = infoRows(tab);
    const QStringList expectedNames = {"File Type",
                                       "Sn",
                                       "App Version",
                                       "Point Name",
                                       "Antenna Name",
                                       "Antenna Spec",
                                       "Antenna Height",
                                       "Height Type",
                                       "Time Start",
                                       "Time End",
                                       "Latitude",
                                       "Longitude",
                                       "Height",
                                       "File Type",
                                       "#marker.name",
                                       "#device.sn",
                                       "#antenna.height_type"};
    ASSERT_EQ(names(info), expectedNames);
    EXPECT_EQ(info[0].shown, "DEV");
    EXPECT_EQ(info[1].shown, "RX123456");
    EXPECT_EQ(info[2].shown, "2.1.7");
    EXPECT_EQ(info[3].shown, "PT01");
    EXPECT_EQ(info[4].shown, "ANT-X1");
    EXPECT_EQ(info[5].shown, "150,100,50,7");
    EXPECT_EQ(info[6].shown, "1.234");
    EXPECT_EQ(info[7].shown, "PHASE");
    EXPECT_EQ(info[8].shown, "2019-3-7 08:00:00");
    // One date only in the record: the end row shows the start date too.
    EXPECT_EQ(info[9].shown, "2019-3-7 09:30:15");
    EXPECT_EQ(info[10].shown, "30.50000000");
    EXPECT_EQ(info[11].shown, "114.25000000");
    EXPECT_EQ(info[12].shown, "12.250");
    EXPECT_EQ(info[13].shown, "GNSS");
    EXPECT_EQ(info[14].shown, "KEYPOINT");

    const QList<Row> config = configRowsOf(tab);
    EXPECT_EQ(storedOf(config, "Marker Name"), "KEYPOINT");
    EXPECT_EQ(storedOf(config, "Receiver SN"), "KEY-SN");
    EXPECT_EQ(storedOf(config, "Receiver Version"), "2.1.7");
    EXPECT_EQ(storedOf(config, "Height Type"), "VERTICAL");
    EXPECT_EQ(storedOf(config, "Antenna Name"), "ANT-X1");
    EXPECT_EQ(storedOf(config, "Antenna Spec"), "150,100,50,7");
    EXPECT_EQ(storedOf(config, "Antenna Height"), "1.234");
    EXPECT_EQ(storedOf(config, "Latitude"), "30.50000000");
    EXPECT_EQ(storedOf(config, "Height"), "12.250");
}

TEST_F(TabHeader, KeyMagicEndedByLineFeedAloneIsNoHeader) {
    const QByteArray bytes = "#file=GNSS DATA FILE\n#marker.name=ABC\r\n#device.model=RX-1\r\n";
    const QString path = writeFile(dir, "lf.dat", bytes, 2048);
    TabBinaryToRinex3 tab(path);

    EXPECT_TRUE(infoRows(tab).isEmpty());
    const QList<Row> config = configRowsOf(tab);
    ASSERT_FALSE(config.isEmpty());
    EXPECT_EQ(config[0].name, "Path Input");
    EXPECT_EQ(config[0].stored, path);
    EXPECT_EQ(findRow(config, "Receiver Model"), nullptr);
    EXPECT_EQ(storedOf(config, "Marker Name"), "");
}

TEST_F(TabHeader, HeightTypeByteFiveLeavesOutAntennaRowsAndParameters) {
    Legacy legacy;
    legacy.heightType = 5;
    TabBinaryToRinex3 tab(writeFile(dir, "ht5.dat", legacyRecord(legacy), 2048));

    const QList<Row> info = infoRows(tab);
    const QStringList expectedNames = {"File Type", "Sn",       "App Version", "Point Name", "Time Start",
                                       "Time End",  "Latitude", "Longitude",   "Height"};
    EXPECT_EQ(names(info), expectedNames);

    const QList<Row> config = configRowsOf(tab);
    EXPECT_EQ(storedOf(config, "Antenna Name"), "");
    EXPECT_EQ(storedOf(config, "Antenna Spec"), "");
    EXPECT_EQ(storedOf(config, "Antenna Height"), "");
    EXPECT_EQ(storedOf(config, "Height Type"), "");
    EXPECT_EQ(storedOf(config, "Marker Name"), "PT01");
}

TEST_F(TabHeader, LegacyHeightTypeByteNamesTheType) {
    const QStringList expected = {"PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM"};
    for (int byte = 0; byte < 5; ++byte) {
        Legacy legacy;
        legacy.heightType = static_cast<quint8>(byte);
        legacy.antennaHeightMm = 1500;
        TabBinaryToRinex3 tab(writeFile(dir, QString("ht%1.dat").arg(byte), legacyRecord(legacy), 2048));
        const QList<Row> info = infoRows(tab);
        ASSERT_NE(findRow(info, "Height Type"), nullptr);
        EXPECT_EQ(shownOf(info, "Height Type"), expected[byte]);
        EXPECT_EQ(shownOf(info, "Antenna Height"), "1.5");
        EXPECT_EQ(storedOf(configRowsOf(tab), "Height Type"), expected[byte]);
    }
}

TEST_F(TabHeader, KeyLineIsTrimmedAndLineWithoutEqualsSignIsSkipped) {
    const QByteArray bytes =
        KeyMagic + "   #marker.name  =  ABC  \r\n" + "no equals sign here\r\n" + "#marker.number=N1\r\n";
    TabBinaryToRinex3 tab(writeFile(dir, "trim.dat", bytes, 2048));

    const QList<Row> info = infoRows(tab);
    ASSERT_EQ(info.size(), 3);
    EXPECT_EQ(info[1].name, "#marker.name");
    EXPECT_EQ(info[1].shown, "ABC");
    EXPECT_EQ(info[2].name, "#marker.number");
    EXPECT_EQ(info[2].shown, "N1");
    EXPECT_EQ(storedOf(configRowsOf(tab), "Marker Name"), "ABC");
    EXPECT_EQ(storedOf(configRowsOf(tab), "Marker Number"), "N1");
}

TEST_F(TabHeader, KeyValueEndsAtNulByte) {
    QByteArray bytes = KeyMagic + "#marker.name=AB";
    bytes.append('\0');
    bytes += "CD\r\n";
    TabBinaryToRinex3 tab(writeFile(dir, "nul.dat", bytes, 2048));
    ASSERT_NE(findRow(infoRows(tab), "#marker.name"), nullptr);
    EXPECT_EQ(shownOf(infoRows(tab), "#marker.name"), "AB");
    EXPECT_EQ(storedOf(configRowsOf(tab), "Marker Name"), "AB");
}

TEST_F(TabHeader, LowerCaseHeightTypeIsUpperCasedInConfiguration) {
    const QByteArray bytes = keyHeader({"#antenna.height_type=phase"});
    TabBinaryToRinex3 tab(writeFile(dir, "lower.dat", bytes, 2048));

    EXPECT_EQ(shownOf(infoRows(tab), "#antenna.height_type"), "phase");
    const QList<Row> config = configRowsOf(tab);
    const Row* heightType = findRow(config, "Height Type");
    ASSERT_NE(heightType, nullptr);
    EXPECT_EQ(heightType->kind, KindCombo);
    EXPECT_EQ(heightType->stored, "PHASE");
    EXPECT_EQ(heightType->shown, "PHASE");
}

namespace {

const QStringList OutputOptionRows = {"Window Start",       "Window End",         "Interval",
                                      "Systems",            "Long Name",          "Long Name Country",
                                      "Long Name Monument", "Long Name Receiver", "Compression"};

} // namespace

TEST_F(TabHeader, HeaderlessFileGetsDefaultConfiguration) {
    const QString path = writeFile(dir, "plain.dat", QByteArray(2048, '\x55'), 2048);
    TabBinaryToRinex3 tab(path);
    EXPECT_TRUE(infoRows(tab).isEmpty());

    const QList<Row> config = configRowsOf(tab);
    const QStringList expectedNames = {"Path Input",  "Version",       "Marker Type",  "Mode",
                                       "Marker Name", "Marker Number", "Latitude",     "Longitude",
                                       "Height",      "Antenna Name",  "Antenna Spec", "Antenna Height",
                                       "Height Type"};
    // The output options' rows follow the rows above, which keep their order and defaults.
    ASSERT_EQ(names(config).mid(0, expectedNames.size()), expectedNames);
    ASSERT_EQ(names(config).mid(expectedNames.size()), OutputOptionRows);

    EXPECT_EQ(config[0].kind, KindReadOnly);
    EXPECT_EQ(config[0].stored, path);
    EXPECT_EQ(config[1].kind, KindCombo);
    EXPECT_EQ(config[1].shown, "RINEX 3.04");
    EXPECT_EQ(config[1].stored, "3.04");
    EXPECT_EQ(config[2].kind, KindCombo);
    EXPECT_EQ(config[2].shown, "GEODETIC");
    EXPECT_EQ(config[2].stored, "GEODETIC");
    EXPECT_EQ(config[3].kind, KindCombo);
    EXPECT_EQ(config[3].shown, "PPK Mix");
    EXPECT_EQ(config[3].stored, "3");
    for (int i = 4; i <= 11; ++i) {
        EXPECT_EQ(config[i].kind, KindEdit) << config[i].name.toStdString();
        EXPECT_EQ(config[i].stored, "") << config[i].name.toStdString();
    }
    EXPECT_EQ(config[12].kind, KindCombo);
    EXPECT_EQ(config[12].stored, "");
    EXPECT_EQ(config[12].shown, "");

    // The configuration is open, the header section is not.
    const auto* tree = tab.findChild<WidgetTreeParam*>();
    ASSERT_NE(tree, nullptr);
    EXPECT_TRUE(tree->isExpanded(tree->itemModel()->index(1, 0)));

    const QMap<QString, QString> options = tree->getParameters("config");
    EXPECT_EQ(options.size(), 13 + OutputOptionRows.size());
    EXPECT_EQ(options.value("Version"), "3.04");
    EXPECT_EQ(options.value("Mode"), "3");
    EXPECT_EQ(options.value("Marker Type"), "GEODETIC");
}

TEST_F(TabHeader, HeaderFactsBecomeReadOnlyConfigurationRowsInFixedOrder) {
    // Given in an order different from the section's.
    const QByteArray bytes =
        keyHeader({"#gnss.firmware=FW-2", "#gnss.hardware=HW-1", "#gnss.sn=BSN", "#gnss.board=BOARD-7",
                   "#device.firmware=R-3", "#device.sn=RSN", "#device.model=RX-9", "#position.latitude=40.5",
                   "#position.longitude=-4.25", "#position.height=775.979", "#antenna.name=ANT NONE",
                   "#antenna.measure=0,0,0,0", "#antenna.height=0.178", "#antenna.height_type=VERTICAL",
                   "#marker.name=MK", "#marker.number=MN"});
    const QString path = writeFile(dir, "facts.dat", bytes, 2048);
    TabBinaryToRinex3 tab(path);

    const QList<Row> config = configRowsOf(tab);
    const QStringList expectedNames = {
        "Path Input", "Receiver Model", "Receiver SN",   "Receiver Version", "GNSS Model",
        "GNSS SN",    "GNSS Hardware",  "GNSS Software", "Version",          "Marker Type",
        "Mode",       "Marker Name",    "Marker Number", "Latitude",         "Longitude",
        "Height",     "Antenna Name",   "Antenna Spec",  "Antenna Height",   "Height Type"};
    ASSERT_EQ(names(config).mid(0, expectedNames.size()), expectedNames);
    ASSERT_EQ(names(config).mid(expectedNames.size()), OutputOptionRows);
    const QStringList expectedValues = {
        path, "RX-9", "RSN", "R-3",  "BOARD-7", "BSN",     "HW-1",     "FW-2",    "3.04",  "GEODETIC",
        "3",  "MK",   "MN",  "40.5", "-4.25",   "775.979", "ANT NONE", "0,0,0,0", "0.178", "VERTICAL"};
    for (int i = 0; i < expectedValues.size(); ++i)
        EXPECT_EQ(config[i].stored, expectedValues[i]) << config[i].name.toStdString();
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(config[i].kind, KindReadOnly) << config[i].name.toStdString();
}

} // namespace

VELMOOR_GUI_TEST_MAIN
