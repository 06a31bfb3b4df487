// SPDX-License-Identifier: MIT
// Recognition and parsing of the two header kinds in front of the log stream.
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>
#include <cstring>
#include <gtest/gtest.h>

#include "params/config_rows.h"
#include "params/file_header.h"
#include "support/files.h"

namespace {

const QByteArray LegacyMagic = "QVT-GPS COLLECTED DATA\nS/N:";
const QByteArray KeyMagic = "#file=GNSS DATA FILE\r\n";

struct LegacyFields {
    QByteArray serial = "123456";
    quint8 day = 7, month = 3;
    quint16 year = 2019;
    double latitude = 30.5, longitude = 114.25;
    float height = 12.25f;
    quint16 antennaHeightMm = 1234;
    QByteArray start = "08:15:00", end = "09:45:30";
    QByteArray antennaName = "ANT-A";
    quint8 heightType = 0;
    quint32 spec[4] = {150, 100, 50, 7};
    QByteArray appVersion = "app-2.1";
    QByteArray pointName = "PT01";
};

template <typename T> void putLittle(QByteArray& record, int offset, T value) {
    qToLittleEndian(value, reinterpret_cast<uchar*>(record.data() + offset));
}

void putText(QByteArray& record, int offset, const QByteArray& text) {
    std::memcpy(record.data() + offset, text.constData(), size_t(text.size()));
}

QByteArray legacyRecord(const LegacyFields& f) {
    QByteArray record(512, '\0');
    putText(record, 0, LegacyMagic + f.serial);
    record[58] = char(f.day);
    record[59] = char(f.month);
    putLittle<quint16>(record, 60, f.year);
    quint64 bits;
    std::memcpy(&bits, &f.latitude, 8);
    putLittle<quint64>(record, 80, bits);
    std::memcpy(&bits, &f.longitude, 8);
    putLittle<quint64>(record, 88, bits);
    quint32 bits32;
    std::memcpy(&bits32, &f.height, 4);
    putLittle<quint32>(record, 96, bits32);
    putLittle<quint16>(record, 105, f.antennaHeightMm);
    putText(record, 107, f.start);
    putText(record, 115, f.end);
    putText(record, 125, f.antennaName);
    record[145] = char(f.heightType);
    for (int i = 0; i < 4; ++i)
        putLittle<quint32>(record, 147 + 4 * i, f.spec[i]);
    putText(record, 166, f.appVersion);
    putText(record, 181, f.pointName);
    return record;
}

QByteArray padded(QByteArray bytes, int size, char fill = '\xAA') {
    if (bytes.size() < size) bytes.append(QByteArray(size - bytes.size(), fill));
    return bytes;
}

QString writeFile(const QTemporaryDir& dir, const QString& name, const QByteArray& content) {
    return testsupport::writeFile(dir.filePath(name), content);
}

QString rowValue(const HeaderRows& rows, const QString& name) {
    for (const HeaderRow& row : rows)
        if (row.name == name) return row.value;
    return "<absent>";
}

QStringList rowNames(const HeaderRows& rows) {
    QStringList names;
    for (const HeaderRow& row : rows)
        names << row.name;
    return names;
}

const QByteArray SimpleKeyHeader = KeyMagic + "#device.model=RX-9\r\n#marker.name=KEYNAME\r\n";

} // namespace

TEST(FileHeader, FileOf2047BytesShowsNothing) {
    QTemporaryDir dir;
    const QString path = writeFile(dir, "short.dat", padded(SimpleKeyHeader, 2047));
    const FileHeader header = readHeaderOfFile(path);
    EXPECT_FALSE(header.read);
    EXPECT_TRUE(header.rows.isEmpty());
    EXPECT_TRUE(header.params.isEmpty());
}

TEST(FileHeader, SameHeaderIn2048BytesShowsRowsAndParameters) {
    QTemporaryDir dir;
    const QString path = writeFile(dir, "exact.dat", padded(SimpleKeyHeader, 2048));
    const FileHeader header = readHeaderOfFile(path);
    EXPECT_TRUE(header.read);
    EXPECT_EQ(header.params.value("Path Input"), path);
    EXPECT_EQ(header.params.value("Receiver Model"), "RX-9");
    EXPECT_EQ(header.params.value("Marker Name"), "KEYNAME");
    EXPECT_EQ(rowNames(header.rows), (QStringList{"File Type", "#device.model", "#marker.name"}));
    EXPECT_EQ(rowValue(header.rows, "File Type"), "GNSS");
}

TEST(FileHeader, MissingFileShowsNothing) {
    QTemporaryDir dir;
    const FileHeader header = readHeaderOfFile(dir.filePath("missing.dat"));
    EXPECT_FALSE(header.read);
    EXPECT_TRUE(header.params.isEmpty());
}

TEST(FileHeader, LegacyThenKeyHeaderRowsInOrderAndKeyValueWins) {
    LegacyFields fields;
    fields.pointName = "LEGACYPT";
    const QByteArray content = padded(legacyRecord(fields) + KeyMagic + "#marker.name=KEYPT\r\n", 2048);
    QTemporaryDir dir;
    const FileHeader header = readHeaderOfFile(writeFile(dir, "both.dat", content));
    ASSERT_TRUE(header.read);

    const QStringList names = rowNames(header.rows);
    EXPECT_EQ(names.count("File Type"), 2);
    const int legacyType = names.indexOf("File Type");
    const int keyType = names.lastIndexOf("File Type");
    EXPECT_EQ(legacyType, 0);
    EXPECT_EQ(header.rows.at(legacyType).value, "DEV");
    EXPECT_EQ(header.rows.at(keyType).value, "GNSS");
    EXPECT_LT(names.indexOf("Point Name"), keyType);
    EXPECT_EQ(names.indexOf("#marker.name"), keyType + 1);
    EXPECT_EQ(rowValue(header.rows, "Point Name"), "LEGACYPT");
    EXPECT_EQ(header.params.value("Marker Name"), "KEYPT");
    // Parameters only the legacy record gives are kept.
    EXPECT_EQ(header.params.value("Receiver SN"), "123456");
}

TEST(FileHeader, KeyMagicAfterLegacyMustMatchTheWholeLine) {
    // Ending the magic line with a line feed alone is not the key magic.
    const QByteArray content =
        padded(legacyRecord(LegacyFields()) + "#file=GNSS DATA FILE\n#marker.name=KEYPT\r\n", 2048);
    QTemporaryDir dir;
    const FileHeader header = readHeaderOfFile(writeFile(dir, "legacy.dat", content));
    ASSERT_TRUE(header.read);
    EXPECT_EQ(rowNames(header.rows).count("File Type"), 1);
    EXPECT_EQ(header.params.value("Marker Name"), "PT01");
}

TEST(FileHeader, KeyMagicEndedByLineFeedAloneIsNotRecognised) {
    const QByteArray content = padded("#file=GNSS DATA FILE\n#marker.name=ABC\r\n#device.sn=77\r\n", 4096);
    QTemporaryDir dir;
    const QString path = writeFile(dir, "lf.dat", content);
    const FileHeader header = readHeaderOfFile(path);
    EXPECT_TRUE(header.read);
    EXPECT_TRUE(header.rows.isEmpty());
    EXPECT_EQ(header.params, (ParameterMap{{"Path Input", path}}));

    // The configuration is still built from the path alone.
    const QList<ConfigRow> rows = configRows(header.params);
    ASSERT_FALSE(rows.isEmpty());
    EXPECT_EQ(rows.first().name, "Path Input");
    EXPECT_EQ(rows.first().value, path);
}

TEST(FileHeader, KeyHeaderAtStartReadsOnlyTheFirst1024Bytes) {
    QByteArray content = KeyMagic + "#marker.name=INSIDE\n";
    content = padded(content, 1000, ' ');
    content += "\n#marker.number=CUT-AT-BLOCK-END\n"; // crosses offset 1024
    content = padded(content, 1100, ' ');
    content += "\n#device.sn=BEYOND\n";
    QTemporaryDir dir;
    const FileHeader header = readHeaderOfFile(writeFile(dir, "block.dat", padded(content, 2048)));
    ASSERT_TRUE(header.read);
    EXPECT_EQ(header.params.value("Marker Name"), "INSIDE");
    // "#marker.number=CUT-AT-BLOCK-END" starts at 1001 and is cut at byte 1024.
    EXPECT_EQ(header.params.value("Marker Number"), QString("CUT-AT-BLOCK-END").left(1024 - 1001 - 15));
    EXPECT_FALSE(header.params.contains("Receiver SN"));
}

TEST(FileHeader, LegacyFileShowsRowsInOrder) {
    QTemporaryDir dir;
    const FileHeader header =
        readHeaderOfFile(writeFile(dir, "legacy.dat", padded(legacyRecord(LegacyFields()), 2048)));
    ASSERT_TRUE(header.read);
    const QStringList expected = {"File Type",    "Sn",           "App Version",    "Point Name",
                                  "Antenna Name", "Antenna Spec", "Antenna Height", "Height Type",
                                  "Time Start",   "Time End",     "Latitude",       "Longitude",
                                  "Height"};
    EXPECT_EQ(rowNames(header.rows), expected);
}

TEST(LegacyHeader, FieldTexts) {
    ParameterMap params;
    HeaderRows rows;
    parseLegacyHeader(params, rows, legacyRecord(LegacyFields()));
    EXPECT_EQ(rowValue(rows, "File Type"), "DEV");
    EXPECT_EQ(rowValue(rows, "Sn"), "123456");
    EXPECT_EQ(rowValue(rows, "App Version"), "app-2.1");
    EXPECT_EQ(rowValue(rows, "Point Name"), "PT01");
    EXPECT_EQ(rowValue(rows, "Antenna Name"), "ANT-A");
    EXPECT_EQ(rowValue(rows, "Antenna Spec"), "150,100,50,7");
    EXPECT_EQ(rowValue(rows, "Antenna Height"), "1.234");
    EXPECT_EQ(rowValue(rows, "Height Type"), "PHASE");
    EXPECT_EQ(rowValue(rows, "Time Start"), "2019-3-7 08:15:00");
    // The record holds one date: the end row repeats it.
    EXPECT_EQ(rowValue(rows, "Time End"), "2019-3-7 09:45:30");
    EXPECT_EQ(rowValue(rows, "Latitude"), "30.50000000");
    EXPECT_EQ(rowValue(rows, "Longitude"), "114.25000000");
    EXPECT_EQ(rowValue(rows, "Height"), "12.250");

    const ParameterMap expected = {
        {"Receiver SN", "123456"},   {"Receiver Version", "app-2.1"},  {"Marker Name", "PT01"},
        {"Latitude", "30.50000000"}, {"Longitude", "114.25000000"},    {"Height", "12.250"},
        {"Antenna Name", "ANT-A"},   {"Antenna Spec", "150,100,50,7"}, {"Antenna Height", "1.234"},
        {"Height Type", "PHASE"},
    };
    EXPECT_EQ(params, expected);
}

TEST(LegacyHeader, AntennaHeightInShortestForm) {
    LegacyFields fields;
    fields.antennaHeightMm = 1500;
    ParameterMap params;
    HeaderRows rows;
    parseLegacyHeader(params, rows, legacyRecord(fields));
    EXPECT_EQ(params.value("Antenna Height"), "1.5");
}

TEST(LegacyHeader, EveryHeightTypeByteUpToFour) {
    const QStringList names = {"PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM"};
    for (int byte = 0; byte <= 4; ++byte) {
        LegacyFields fields;
        fields.heightType = quint8(byte);
        ParameterMap params;
        HeaderRows rows;
        parseLegacyHeader(params, rows, legacyRecord(fields));
        EXPECT_EQ(params.value("Height Type"), names.at(byte));
    }
}

TEST(LegacyHeader, HeightTypeByteFiveDropsTheAntenna) {
    LegacyFields fields;
    fields.heightType = 5;
    ParameterMap params;
    HeaderRows rows;
    parseLegacyHeader(params, rows, legacyRecord(fields));
    const QStringList names = rowNames(rows);
    for (const char* name : {"Antenna Name", "Antenna Spec", "Antenna Height", "Height Type"}) {
        EXPECT_FALSE(names.contains(name)) << name;
        EXPECT_FALSE(params.contains(name)) << name;
    }
    EXPECT_EQ(names, (QStringList{"File Type", "Sn", "App Version", "Point Name", "Time Start", "Time End",
                                  "Latitude", "Longitude", "Height"}));
}

TEST(LegacyHeader, SerialIsTheSecondLineWithoutItsLabel) {
    LegacyFields fields;
    fields.serial = "SN-42\nthird line";
    ParameterMap params;
    HeaderRows rows;
    parseLegacyHeader(params, rows, legacyRecord(fields));
    EXPECT_EQ(params.value("Receiver SN"), "SN-42");
}

TEST(LegacyHeader, TimeTextsKeepAllEightBytes) {
    LegacyFields fields;
    fields.start = QByteArray("12:00", 5);
    ParameterMap params;
    HeaderRows rows;
    parseLegacyHeader(params, rows, legacyRecord(fields));
    EXPECT_EQ(rowValue(rows, "Time Start"), QString("2019-3-7 12:00") + QString(3, QChar(0)));
}

TEST(LegacyHeader, HeadShorterThanTheRecordGivesNothing) {
    ParameterMap params;
    HeaderRows rows;
    parseLegacyHeader(params, rows, legacyRecord(LegacyFields()).left(511));
    EXPECT_TRUE(params.isEmpty());
    EXPECT_TRUE(rows.isEmpty());
}

TEST(KeyHeader, FirstLineIsSkippedWhateverItHolds) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, "#marker.name=FIRST\n#marker.number=N1\n");
    EXPECT_FALSE(params.contains("Marker Name"));
    EXPECT_EQ(params.value("Marker Number"), "N1");
}

TEST(KeyHeader, BlanksAndCarriageReturnAreTrimmed) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, KeyMagic + "  #marker.name  =  ABC  \r\n");
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows.at(1).name, "#marker.name");
    EXPECT_EQ(rows.at(1).value, "ABC");
    EXPECT_EQ(params.value("Marker Name"), "ABC");
}

TEST(KeyHeader, LineWithoutEqualsGivesNothing) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, KeyMagic + "#marker.name ABC\r\n");
    EXPECT_EQ(rowNames(rows), QStringList{"File Type"});
    EXPECT_TRUE(params.isEmpty());
}

TEST(KeyHeader, NulByteEndsTheValue) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, KeyMagic + QByteArray("#marker.name=AB\0CD\r\n", 20));
    EXPECT_EQ(rowValue(rows, "#marker.name"), "AB");
    EXPECT_EQ(params.value("Marker Name"), "AB");
}

TEST(KeyHeader, ValueIsEverythingAfterTheFirstEquals) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, KeyMagic + "#antenna.name=A=B\r\n");
    EXPECT_EQ(params.value("Antenna Name"), "A=B");
}

TEST(KeyHeader, EverySixteenKnownKeyFillsItsParameter) {
    const QList<QPair<QByteArray, QString>> keys = {
        {"#device.model", "Receiver Model"},
        {"#device.sn", "Receiver SN"},
        {"#device.firmware", "Receiver Version"},
        {"#gnss.board", "GNSS Model"},
        {"#gnss.sn", "GNSS SN"},
        {"#gnss.hardware", "GNSS Hardware"},
        {"#gnss.firmware", "GNSS Software"},
        {"#marker.name", "Marker Name"},
        {"#marker.number", "Marker Number"},
        {"#position.latitude", "Latitude"},
        {"#position.longitude", "Longitude"},
        {"#position.height", "Height"},
        {"#antenna.name", "Antenna Name"},
        {"#antenna.measure", "Antenna Spec"},
        {"#antenna.height", "Antenna Height"},
        {"#antenna.height_type", "Height Type"},
    };
    QByteArray block = KeyMagic;
    for (int i = 0; i < keys.size(); ++i)
        block += keys.at(i).first + "=v" + QByteArray::number(i) + "\r\n";
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, block);
    ASSERT_EQ(params.size(), keys.size());
    for (int i = 0; i < keys.size(); ++i)
        EXPECT_EQ(params.value(keys.at(i).second), QString("v%1").arg(i)) << keys.at(i).first.constData();
}

TEST(KeyHeader, UnknownKeyGivesARowOnly) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, KeyMagic + "#survey.operator=Jo\r\n");
    EXPECT_EQ(rowValue(rows, "#survey.operator"), "Jo");
    EXPECT_TRUE(params.isEmpty());
}

TEST(KeyHeader, RepeatedKeyOverwritesAndAddsASecondRow) {
    ParameterMap params;
    HeaderRows rows;
    parseKeyHeader(params, rows, KeyMagic + "#marker.name=ONE\r\n#marker.name=TWO\r\n");
    EXPECT_EQ(rowNames(rows), (QStringList{"File Type", "#marker.name", "#marker.name"}));
    EXPECT_EQ(rows.at(1).value, "ONE");
    EXPECT_EQ(rows.at(2).value, "TWO");
    EXPECT_EQ(params.value("Marker Name"), "TWO");
}
