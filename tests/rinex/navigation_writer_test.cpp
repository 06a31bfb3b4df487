// Navigation records and headers written from hand-made ephemeris records.
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

#include "rinex/navigation_writer.h"

namespace {

using Fields = std::vector<std::optional<double>>;

const std::string kBlank(19, ' ');

// The lines of a text, without their "\r\n"; every line must end so.
std::vector<std::string> linesOf(const QByteArray& text) {
    std::vector<std::string> lines;
    int start = 0;
    while (start < text.size()) {
        const int end = text.indexOf("\r\n", start);
        if (end < 0) {
            ADD_FAILURE() << "line without CR LF at byte " << start;
            break;
        }
        lines.push_back(text.mid(start, end - start).toStdString());
        start = end + 2;
    }
    return lines;
}

std::optional<double> fieldValue(const std::string& field) {
    if (field.find_first_not_of(' ') == std::string::npos) return std::nullopt;
    std::string text = field;
    for (char& c : text) {
        if (c == 'D') c = 'E';
    }
    return std::stod(text);
}

// Values of a record line: the first line holds 23 characters of satellite and epoch,
// an orbit line 4 blanks; then fields of 19.
Fields fieldsOf(const std::string& line, bool first) {
    const size_t start = first ? 23 : 4;
    Fields out;
    EXPECT_EQ(line.size(), start + (first ? 3 : 4) * 19) << line;
    for (size_t at = start; at + 19 <= line.size(); at += 19)
        out.push_back(fieldValue(line.substr(at, 19)));
    return out;
}

struct Record {
    std::string epoch; // "G02 2018 07 28 22 00 00"
    std::vector<Fields> lines;
};

std::vector<Record> recordsOf(const QByteArray& text) {
    std::vector<Record> records;
    for (const std::string& line : linesOf(text)) {
        if (line.compare(0, 4, "    ") != 0) {
            records.push_back({line.substr(0, 23), {fieldsOf(line, true)}});
        } else {
            if (records.empty()) {
                ADD_FAILURE() << "orbit line before a first line";
                continue;
            }
            records.back().lines.push_back(fieldsOf(line, false));
        }
    }
    return records;
}

class Output {
public:
    Output() : buffer_(&data_) { buffer_.open(QIODevice::ReadWrite); }
    QBuffer* device() { return &buffer_; }
    const QByteArray& data() const { return data_; }

private:
    QByteArray data_;
    QBuffer buffer_;
};

// GPS record G02 of 2018-07-28 22:00 from the ELKO broadcast file.
decoding::GpsEphemeris elkoG02() {
    decoding::GpsEphemeris e{};
    e.header.messageId = 7;
    e.header.week = 2011;
    e.header.milliseconds = 590418000;
    e.satellite = 2;
    e.tow = 590418.0;
    e.health = 0;
    e.iode1 = 52;
    e.iode2 = 52;
    e.week = 2011;
    e.zWeek = 2011;
    e.toe = 597600.0;
    e.a = 5153.785652161 * 5153.785652161;
    e.deltaN = 4.839487298357e-09;
    e.m0 = -1.982387093694;
    e.eccentricity = 1.796135178301e-02;
    e.omega = -1.843163866008;
    e.cuc = -5.144625902176e-06;
    e.cus = 3.242865204811e-06;
    e.crc = 305.375;
    e.crs = -104.375;
    e.cic = 3.259629011154e-07;
    e.cis = 6.705522537231e-08;
    e.i0 = 9.511612880741e-01;
    e.iDot = -9.928985010651e-11;
    e.omega0 = 2.467752733018;
    e.omegaDot = -8.127124241632e-09;
    e.iodc = 52;
    e.toc = 597600.0;
    e.tgd = -2.048909664154e-08;
    e.af0 = 4.452886059880e-05;
    e.af1 = -1.136868377216e-11;
    e.af2 = 0.0;
    e.uraVariance = 4.0;
    return e;
}

// GLONASS record R04 of 2018-07-28 20:15 UTC from the ELKO broadcast file.
decoding::GlonassEphemeris elkoR04() {
    decoding::GlonassEphemeris e{};
    e.header.messageId = 723;
    e.slot = 4 + 37;
    e.frequency = 6 + 7;
    e.week = 2011;
    e.referenceTime = 591318000; // 20:15:00 UTC + 18 s, Saturday
    e.timeOffset = 10782;
    e.health = 0;
    e.x = 9934729.492188;
    e.y = 5991057.128906;
    e.z = 22736268.55469;
    e.vx = -526.0343551636;
    e.vy = 3062.591552734;
    e.vz = -578.9642333984;
    e.ax = 0.0;
    e.ay = 0.0;
    e.az = -2.793967723846e-06;
    e.tauN = -2.702642232180e-04;
    e.gammaN = 9.094947017729e-13;
    e.tk = 82800;
    e.ageOfData = 0;
    return e;
}

decoding::GalileoInavEphemeris inav(uint32_t satellite, uint32_t toe, uint16_t headerWeek,
                                    uint32_t headerMs) {
    decoding::GalileoInavEphemeris e{};
    e.header.messageId = 1309;
    e.header.week = headerWeek;
    e.header.milliseconds = headerMs;
    e.satellite = satellite;
    e.iodNav = 109;
    e.sisaIndex = 107;
    e.toe = toe;
    e.toc = toe;
    e.m0 = 1.693037717611;
    e.deltaN = 3.413356465712e-09;
    e.eccentricity = 4.643901484087e-04;
    e.sqrtA = 5440.618989944;
    e.i0 = 0.9584042510754;
    e.iDot = 5.389510209019e-10;
    e.omega0 = -2.079672630827;
    e.omega = -0.9753535745914;
    e.omegaDot = -5.575946546269e-09;
    e.cuc = 1.419335603714e-06;
    e.cus = 8.50111246109e-06;
    e.crc = 153.46875;
    e.crs = 27.78125;
    e.cic = 5.960464477539e-08;
    e.cis = -1.080334186554e-07;
    e.af0 = 6.721760670189e-03;
    e.af1 = -1.08428821477e-11;
    e.af2 = 0.0;
    e.bgdE5aE1 = -3.492459654808e-09;
    e.bgdE5bE1 = -3.958120942116e-09;
    return e;
}

decoding::GalileoFnavEphemeris fnav(uint32_t satellite, uint32_t toe, uint16_t headerWeek,
                                    uint32_t headerMs) {
    const decoding::GalileoInavEphemeris i = inav(satellite, toe, headerWeek, headerMs);
    decoding::GalileoFnavEphemeris e{};
    e.header = i.header;
    e.header.messageId = 1310;
    e.satellite = i.satellite;
    e.iodNav = i.iodNav;
    e.sisaIndex = i.sisaIndex;
    e.toe = i.toe;
    e.toc = i.toc;
    e.m0 = i.m0;
    e.deltaN = i.deltaN;
    e.eccentricity = i.eccentricity;
    e.sqrtA = i.sqrtA;
    e.i0 = i.i0;
    e.iDot = i.iDot;
    e.omega0 = i.omega0;
    e.omega = i.omega;
    e.omegaDot = i.omegaDot;
    e.cuc = i.cuc;
    e.cus = i.cus;
    e.crc = i.crc;
    e.crs = i.crs;
    e.cic = i.cic;
    e.cis = i.cis;
    e.af0 = i.af0;
    e.af1 = i.af1;
    e.af2 = i.af2;
    e.bgdE5aE1 = i.bgdE5aE1;
    return e;
}

// BeiDou record C16 of the ELKO broadcast file (BeiDou week 655).
decoding::BeidouEphemeris elkoC16() {
    decoding::BeidouEphemeris e{};
    e.header.messageId = 1696;
    e.header.week = 2011;
    e.header.milliseconds = 148046000;
    e.satellite = 16;
    e.week = 655;
    e.ura = 8.0;
    e.health = 1;
    e.tgd1 = 3.6e-09;
    e.tgd2 = 1.44e-08;
    e.aodc = 2;
    e.toc = 542792; // Saturday 06:46:32
    e.a0 = -9.420956484973e-04;
    e.a1 = -1.796904847140e-09;
    e.a2 = -1.208885422321e-17;
    e.aode = 4;
    e.toe = 148032;
    e.sqrtA = 1156.51764679;
    e.eccentricity = 0.2823529411107;
    e.omega = 0.8131180983869;
    e.deltaN = 3.304423356782e-09;
    e.m0 = -2.735033605128;
    e.omega0 = 0.8131180983869;
    e.omegaDot = 7.754498005968e-07;
    e.i0 = 1.774075851026;
    e.iDot = -2.822617573352e-09;
    e.cuc = 1.723319292068e-05;
    e.cus = -5.313660949469e-05;
    e.crc = 1060.140625;
    e.crs = 144.5625;
    e.cic = 3.446685150266e-05;
    e.cis = 1.579709351063e-05;
    return e;
}

decoding::Bd2Ephemeris bd2From(const decoding::BeidouEphemeris& b, uint32_t satellite) {
    decoding::Bd2Ephemeris e{};
    e.header = b.header;
    e.header.messageId = 1047;
    e.satellite = satellite;
    e.tow = 148032.0;
    e.health = b.health;
    e.aode = b.aode;
    e.week = b.week;
    e.week2 = b.week;
    e.toe = b.toe;
    e.a = b.sqrtA * b.sqrtA;
    e.deltaN = b.deltaN;
    e.m0 = b.m0;
    e.eccentricity = b.eccentricity;
    e.omega = b.omega;
    e.cuc = b.cuc;
    e.cus = b.cus;
    e.crc = b.crc;
    e.crs = b.crs;
    e.cic = b.cic;
    e.cis = b.cis;
    e.i0 = b.i0;
    e.iDot = b.iDot;
    e.omega0 = b.omega0;
    e.omegaDot = b.omegaDot;
    e.aodc = b.aodc;
    e.toc = b.toc;
    e.tgd1 = b.tgd1;
    e.a0 = b.a0;
    e.a1 = b.a1;
    e.a2 = b.a2;
    e.tgd2 = b.tgd2;
    e.uraVariance = 64.0;
    return e;
}

void expectNear(const std::optional<double>& actual, double expected, const char* what) {
    ASSERT_TRUE(actual.has_value()) << what << " is blank";
    // Printed with 12 decimals of a mantissa in [0.1, 1).
    EXPECT_NEAR(*actual, expected, std::fabs(expected) * 6e-12) << what;
}

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

rinex::NavigationHeaderInfo baseInfo() {
    rinex::NavigationHeaderInfo info;
    info.minorVersion = 3;
    info.program = "velmoor";
    info.runBy = "tester";
    return info;
}

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

// ---------------------------------------------------------------- GPS

TEST(NavigationGps, RecordText) {
    Output out;
    rinex::NavigationWriter writer;
    const qint64 bytes = writer.writeGps(out.device(), elkoG02());
    const QByteArray expected =
        "G02 2018 07 28 22 00 00 0.445288605988D-04-0.113686837722D-10 0.000000000000D+00\r\n"
        "     0.520000000000D+02-0.104375000000D+03 0.483948729836D-08-0.198238709369D+01\r\n"
        "    -0.514462590218D-05 0.179613517830D-01 0.324286520481D-05 0.515378565216D+04\r\n"
        "     0.597600000000D+06 0.325962901115D-06 0.246775273302D+01 0.670552253723D-07\r\n"
        "     0.951161288074D+00 0.305375000000D+03-0.184316386601D+01-0.812712424163D-08\r\n"
        "    -0.992898501065D-10 0.000000000000D+00 0.201100000000D+04 0.000000000000D+00\r\n"
        "     0.200000000000D+01 0.000000000000D+00-0.204890966415D-07 0.520000000000D+02\r\n"
        "     0.590418000000D+06 0.400000000000D+01" +
        QByteArray(38, ' ') + "\r\n";
    EXPECT_EQ(out.data(), expected);
    EXPECT_EQ(bytes, expected.size());
}

TEST(NavigationGps, SameEphemerisTwiceGivesOneRecord) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
    const int size = out.data().size();
    EXPECT_EQ(writer.writeGps(out.device(), elkoG02()), 0);
    EXPECT_EQ(out.data().size(), size);
    EXPECT_EQ(recordsOf(out.data()).size(), 1u);
}

TEST(NavigationGps, NewToeOrOtherSatelliteIsWritten) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GpsEphemeris e = elkoG02();
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
    e.satellite = 5;
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
    e.satellite = 2;
    e.toe = 7200.0;
    e.week = 2012;
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1].epoch, "G05 2018 07 28 22 00 00");
    EXPECT_EQ(records[2].epoch, "G02 2018 07 29 02 00 00");
}

TEST(NavigationGps, DifferingIssuesOfDataAreNotWritten) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GpsEphemeris e = elkoG02();
    e.iode2 = 53;
    EXPECT_EQ(writer.writeGps(out.device(), e), 0);
    EXPECT_TRUE(out.data().isEmpty());
    // Not remembered either: the agreeing record with the same toe is written after it.
    e.iode2 = 52;
    EXPECT_GT(writer.writeGps(out.device(), e), 0);
}

TEST(NavigationGps, ResetForgetsTheWrittenRecords) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
    writer.reset();
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
}

TEST(NavigationGps, ClosedFileGetsNothing) {
    QByteArray data;
    QBuffer closed(&data);
    rinex::NavigationWriter writer;
    EXPECT_EQ(writer.writeGps(&closed, elkoG02()), 0);
    EXPECT_EQ(writer.writeGps(nullptr, elkoG02()), 0);
    EXPECT_TRUE(data.isEmpty());
    // Nothing was remembered: an open file gets the record.
    Output out;
    EXPECT_GT(writer.writeGps(out.device(), elkoG02()), 0);
}

TEST(NavigationGps, AccuracyIsTheSquareRootOfTheVariance) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GpsEphemeris e = elkoG02();
    e.uraVariance = 2.25;
    e.health = 63;
    writer.writeGps(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    expectNear(records[0].lines[6][0], 1.5, "accuracy");
    expectNear(records[0].lines[6][1], 63.0, "health");
}

// ---------------------------------------------------------------- GLONASS

TEST(NavigationGlonass, RecordWithKnownOffsetSetsLeapSeconds) {
    Output out;
    rinex::NavigationWriter writer;
    qint32 leap = 99;
    const qint64 bytes = writer.writeGlonass(out.device(), elkoR04(), leap);
    EXPECT_EQ(leap, -18);
    const QByteArray expected =
        "R04 2018 07 28 20 15 00 0.270264223218D-03 0.909494701773D-12 0.590400000000D+06\r\n"
        "     0.993472949219D+04-0.526034355164D+00 0.000000000000D+00 0.000000000000D+00\r\n"
        "     0.599105712891D+04 0.306259155273D+01 0.000000000000D+00 0.600000000000D+01\r\n"
        "     0.227362685547D+05-0.578964233398D+00-0.279396772385D-08 0.000000000000D+00\r\n";
    EXPECT_EQ(out.data(), expected);
    EXPECT_EQ(bytes, expected.size());

    // The header then prints the negated value.
    Output header;
    rinex::reserveNavigationHeader(header.device(), "R: GLONASS");
    rinex::NavigationHeaderInfo info = baseInfo();
    info.leapSeconds = leap;
    rinex::writeNavigationHeader(header.device(), 'G', info);
    EXPECT_EQ(linesOf(header.data())[2], "    18" + std::string(54, ' ') + "LEAP SECONDS        ");
}

TEST(NavigationGlonass, OffsetRangeForLeapSeconds) {
    for (uint32_t offset : {10701u, 10702u, 10799u, 10800u, 0u}) {
        Output out;
        rinex::NavigationWriter writer;
        decoding::GlonassEphemeris e = elkoR04();
        e.timeOffset = offset;
        qint32 leap = 99;
        writer.writeGlonass(out.device(), e, leap);
        const qint32 expected = offset >= 10702 && offset <= 10799 ? static_cast<qint32>(offset) - 10800 : 99;
        EXPECT_EQ(leap, expected) << offset;
    }
}

TEST(NavigationGlonass, KnownLeapSecondsAreKept) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GlonassEphemeris e = elkoR04();
    e.timeOffset = 10783;
    qint32 leap = -18;
    writer.writeGlonass(out.device(), e, leap);
    EXPECT_EQ(leap, -18);
    EXPECT_EQ(recordsOf(out.data())[0].epoch, "R04 2018 07 28 20 15 00");
}

TEST(NavigationGlonass, UnknownLeapSecondsAdd99SecondsToTheEpoch) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GlonassEphemeris e = elkoR04();
    e.timeOffset = 0;
    qint32 leap = 99;
    writer.writeGlonass(out.device(), e, leap);
    EXPECT_EQ(leap, 99);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    // 20:15:18 + 99 s
    EXPECT_EQ(records[0].epoch, "R04 2018 07 28 20 16 57");
}

TEST(NavigationGlonass, MessageFrameTimeAddsLeapSecondsToMilliseconds) {
    // Reference time 50 s before the end of Friday: the epoch moves into Saturday by the
    // 99 s, but the frame time's day is taken from the count plus 99 milliseconds.
    Output out;
    rinex::NavigationWriter writer;
    decoding::GlonassEphemeris e = elkoR04();
    e.timeOffset = 0;
    e.referenceTime = 6u * 86400000u - 50000u;
    e.tk = 86340;
    qint32 leap = 99;
    writer.writeGlonass(out.device(), e, leap);
    std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].epoch, "R04 2018 07 28 00 00 49");
    expectNear(records[0].lines[0][2], 5 * 86400.0 + 86340 - 10800, "frame time");

    // With leap seconds -18 just after midnight: the epoch goes back into Friday, the
    // frame time's day stays Saturday (18 ms back only).
    Output known;
    rinex::NavigationWriter second;
    e.referenceTime = 6u * 86400000u + 10000u;
    e.tk = 10810;
    leap = -18;
    second.writeGlonass(known.device(), e, leap);
    records = recordsOf(known.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].epoch, "R04 2018 07 27 23 59 52");
    expectNear(records[0].lines[0][2], 6 * 86400.0 + 10810 - 10800, "frame time");
}

TEST(NavigationGlonass, DuplicateKeyedBySlotAndReferenceTime) {
    Output out;
    rinex::NavigationWriter writer;
    qint32 leap = 99;
    decoding::GlonassEphemeris e = elkoR04();
    EXPECT_GT(writer.writeGlonass(out.device(), e, leap), 0);
    EXPECT_EQ(writer.writeGlonass(out.device(), e, leap), 0);
    e.tauN = 1e-5; // other values do not matter
    EXPECT_EQ(writer.writeGlonass(out.device(), e, leap), 0);
    e.referenceTime += 1800000;
    EXPECT_GT(writer.writeGlonass(out.device(), e, leap), 0);
    e.slot = 5 + 37;
    EXPECT_GT(writer.writeGlonass(out.device(), e, leap), 0);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[1].epoch, "R04 2018 07 28 20 45 00");
    EXPECT_EQ(records[2].epoch, "R05 2018 07 28 20 45 00");
}

TEST(NavigationGlonass, ChannelAndAgeOfData) {
    Output out;
    rinex::NavigationWriter writer;
    qint32 leap = -18;
    decoding::GlonassEphemeris e = elkoR04();
    e.frequency = 0; // channel -7
    e.ageOfData = 3;
    e.health = 1;
    writer.writeGlonass(out.device(), e, leap);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 4u);
    expectNear(records[0].lines[1][3], 1.0, "health");
    expectNear(records[0].lines[2][3], -7.0, "channel");
    expectNear(records[0].lines[3][3], 3.0, "age of data");
}

// ---------------------------------------------------------------- Galileo

TEST(NavigationGalileo, InavRecordText) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GalileoInavEphemeris e = inav(9, 603000, 2011, 603740000);
    e.e1bDvs = 1;
    e.e1bHealth = 3;
    e.e5bDvs = 1;
    e.e5bHealth = 3;
    writer.writeGalileoInav(out.device(), e);
    const QByteArray expected =
        "E09 2018 07 28 23 30 00 0.672176067019D-02-0.108428821477D-10 0.000000000000D+00\r\n"
        "     0.109000000000D+03 0.277812500000D+02 0.341335646571D-08 0.169303771761D+01\r\n"
        "     0.141933560371D-05 0.464390148409D-03 0.850111246109D-05 0.544061898994D+04\r\n"
        "     0.603000000000D+06 0.596046447754D-07-0.207967263083D+01-0.108033418655D-06\r\n"
        "     0.958404251075D+00 0.153468750000D+03-0.975353574591D+00-0.557594654627D-08\r\n"
        "     0.538951020902D-09 0.517000000000D+03 0.201100000000D+04" +
        QByteArray(19, ' ') +
        "\r\n"
        "     0.312000000000D+01 0.455000000000D+03-0.349245965481D-08-0.395812094212D-08\r\n"
        "     0.603740000000D+06" +
        QByteArray(57, ' ') + "\r\n";
    EXPECT_EQ(out.data(), expected);
}

TEST(NavigationGalileo, FnavDataSourcesHealthAndGroupDelays) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::GalileoFnavEphemeris e = fnav(24, 593400, 2011, 594140000);
    e.e5aDvs = 1;
    e.e5aHealth = 2;
    writer.writeGalileoFnav(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    EXPECT_EQ(records[0].epoch, "E24 2018 07 28 20 50 00");
    expectNear(records[0].lines[5][1], 258.0, "data sources");
    expectNear(records[0].lines[6][1], 1 << 3 | 2 << 4, "health");
    expectNear(records[0].lines[6][2], -3.492459654808e-09, "BGD E5a/E1");
    expectNear(records[0].lines[6][3], 0.0, "BGD E5b/E1");
    expectNear(records[0].lines[7][0], 594140.0, "transmission time");
}

TEST(NavigationGalileo, WeekRollover) {
    struct Case {
        uint16_t headerWeek;
        uint32_t headerMs;
        uint32_t toc;
        double week;
        const char* epoch;
    };
    const Case cases[] = {
        // Frame early in week 2012, clock reference late in week 2011.
        {2012, 1000000, 603000, 2011, "E09 2018 07 28 23 30 00"},
        // Frame late in week 2011, clock reference early in week 2012.
        {2011, 604000000, 600, 2012, "E09 2018 07 29 00 10 00"},
        // Just under half a week apart: no change.
        {2011, 302400000, 604800 - 1, 2011, "E09 2018 07 28 23 59 59"},
        // Half a week apart exactly, either way: no change.
        {2012, 1000000, 303400, 2012, "E09 2018 08 01 12 16 40"},
        {2011, 400000000, 97600, 2011, "E09 2018 07 23 03 06 40"},
        {2011, 400000000, 97599, 2012, "E09 2018 07 30 03 06 39"},
    };
    for (const Case& c : cases) {
        Output out;
        rinex::NavigationWriter writer;
        decoding::GalileoInavEphemeris e = inav(9, c.toc, c.headerWeek, c.headerMs);
        writer.writeGalileoInav(out.device(), e);
        const std::vector<Record> records = recordsOf(out.data());
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].epoch, c.epoch) << c.toc;
        expectNear(records[0].lines[5][2], c.week, "week");
    }
}

TEST(NavigationGalileo, SisaIndexToMetres) {
    const struct {
        uint8_t index;
        double metres;
    } cases[] = {{0, 0.0},   {1, 0.01},  {49, 0.49},  {50, 0.5},  {74, 0.98},  {75, 1.0},
                 {99, 1.96}, {100, 2.0}, {107, 3.12}, {125, 6.0}, {126, -1.0}, {255, -1.0}};
    for (const auto& c : cases) {
        Output out;
        rinex::NavigationWriter writer;
        decoding::GalileoInavEphemeris e = inav(9, 603000, 2011, 603740000);
        e.sisaIndex = c.index;
        writer.writeGalileoInav(out.device(), e);
        const std::vector<Record> records = recordsOf(out.data());
        ASSERT_EQ(records.size(), 1u);
        ASSERT_TRUE(records[0].lines[6][0].has_value());
        EXPECT_NEAR(*records[0].lines[6][0], c.metres, 1e-11) << int(c.index);
    }
}

TEST(NavigationGalileo, DuplicateAcrossInavAndFnav) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeGalileoInav(out.device(), inav(9, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(writer.writeGalileoFnav(out.device(), fnav(9, 603000, 2011, 603800000)), 0);
    EXPECT_GT(writer.writeGalileoFnav(out.device(), fnav(9, 603600, 2011, 603800000)), 0);
    EXPECT_GT(writer.writeGalileoInav(out.device(), inav(11, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(recordsOf(out.data()).size(), 3u);
}

decoding::GalileoEphemeris combined(bool inavReceived) {
    const decoding::GalileoInavEphemeris i = inav(14, 589800, 2011, 591003000);
    decoding::GalileoEphemeris e{};
    e.header = i.header;
    e.header.messageId = 1122;
    e.satellite = 14;
    e.fnavReceived = 1;
    e.inavReceived = inavReceived ? 1 : 0;
    e.e1bHealth = 1;
    e.e5aHealth = 2;
    e.e5bHealth = 3;
    e.e1bDvs = 1;
    e.e5aDvs = 0;
    e.e5bDvs = 1;
    e.sisaIndex = 50;
    e.iodNav = 77;
    e.toe = 589800;
    e.sqrtA = i.sqrtA;
    e.deltaN = i.deltaN;
    e.m0 = i.m0;
    e.eccentricity = i.eccentricity;
    e.omega = i.omega;
    e.cuc = i.cuc;
    e.cus = i.cus;
    e.crc = i.crc;
    e.crs = i.crs;
    e.cic = i.cic;
    e.cis = i.cis;
    e.i0 = i.i0;
    e.iDot = i.iDot;
    e.omega0 = i.omega0;
    e.omegaDot = i.omegaDot;
    e.fnavToc = 589200;
    e.fnavAf0 = 1e-3;
    e.fnavAf1 = 2e-12;
    e.fnavAf2 = 0.0;
    e.inavToc = 589800;
    e.inavAf0 = 3e-3;
    e.inavAf1 = 4e-12;
    e.inavAf2 = 0.0;
    e.bgdE5aE1 = 5e-9;
    e.bgdE5bE1 = 6e-9;
    return e;
}

TEST(NavigationGalileo, CombinedLogUsesInavClockWhenReceived) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeGalileo(out.device(), combined(true));
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    EXPECT_EQ(records[0].epoch, "E14 2018 07 28 19 50 00");
    expectNear(records[0].lines[0][0], 3e-3, "af0");
    expectNear(records[0].lines[0][1], 4e-12, "af1");
    expectNear(records[0].lines[1][0], 77.0, "IODnav");
    expectNear(records[0].lines[2][3], 5440.618989944, "sqrt(A)");
    expectNear(records[0].lines[3][0], 589800.0, "toe");
    expectNear(records[0].lines[5][1], 517.0, "data sources");
    expectNear(records[0].lines[6][0], 0.5, "SISA");
    // E1b DVS 1, E1b health 1, E5a DVS 0, E5a health 2, E5b DVS 1, E5b health 3.
    expectNear(records[0].lines[6][1], 1 | 1 << 1 | 0 << 3 | 2 << 4 | 1 << 6 | 3 << 7, "health");
    expectNear(records[0].lines[6][2], 5e-9, "BGD E5a/E1");
    expectNear(records[0].lines[6][3], 6e-9, "BGD E5b/E1");
    expectNear(records[0].lines[7][0], 591003.0, "transmission time");
}

TEST(NavigationGalileo, CombinedLogUsesFnavClockOtherwise) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeGalileo(out.device(), combined(false));
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].epoch, "E14 2018 07 28 19 40 00");
    expectNear(records[0].lines[0][0], 1e-3, "af0");
    expectNear(records[0].lines[0][1], 2e-12, "af1");
    expectNear(records[0].lines[5][1], 258.0, "data sources");
}

// ---------------------------------------------------------------- BeiDou

TEST(NavigationBeidou, RecordText) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeBeidou(out.device(), elkoC16());
    const QByteArray expected =
        "C16 2018 07 28 06 46 32-0.942095648497D-03-0.179690484714D-08-0.120888542232D-16\r\n"
        "     0.400000000000D+01 0.144562500000D+03 0.330442335678D-08-0.273503360513D+01\r\n"
        "     0.172331929207D-04 0.282352941111D+00-0.531366094947D-04 0.115651764679D+04\r\n"
        "     0.148032000000D+06 0.344668515027D-04 0.813118098387D+00 0.157970935106D-04\r\n"
        "     0.177407585103D+01 0.106014062500D+04 0.813118098387D+00 0.775449800597D-06\r\n"
        "    -0.282261757335D-08" +
        QByteArray(19, ' ') + " 0.655000000000D+03" + QByteArray(19, ' ') +
        "\r\n"
        "     0.800000000000D+01 0.100000000000D+01 0.360000000000D-08 0.144000000000D-07\r\n"
        "     0.148032000000D+06 0.200000000000D+01" +
        QByteArray(38, ' ') + "\r\n";
    EXPECT_EQ(out.data(), expected);
}

TEST(NavigationBeidou, TransmissionTimeWrapsIntoThePreviousWeek) {
    Output out;
    rinex::NavigationWriter writer;
    decoding::BeidouEphemeris e = elkoC16();
    e.header.milliseconds = 5000;
    writer.writeBeidou(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    expectNear(records[0].lines[7][0], 604800.0 - 9.0, "transmission time");
}

TEST(NavigationBeidou, FirstFormRenumbersSatellitesAndTakesSquareRoots) {
    Output out;
    rinex::NavigationWriter writer;
    const decoding::Bd2Ephemeris e = bd2From(elkoC16(), 176);
    writer.writeBd2(out.device(), e);
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 1u);
    ASSERT_EQ(records[0].lines.size(), 8u);
    EXPECT_EQ(records[0].epoch, "C16 2018 07 28 06 46 32");
    expectNear(records[0].lines[2][3], 1156.51764679, "sqrt(A)");
    expectNear(records[0].lines[6][0], 8.0, "accuracy");
    expectNear(records[0].lines[7][0], 148032.0, "transmission time");
    expectNear(records[0].lines[7][1], 2.0, "AODC");
}

TEST(NavigationBeidou, NumbersBelow161AreKept) {
    Output out;
    rinex::NavigationWriter writer;
    writer.writeBd2(out.device(), bd2From(elkoC16(), 63));
    writer.writeBd2(out.device(), bd2From(elkoC16(), 161));
    const std::vector<Record> records = recordsOf(out.data());
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].epoch.substr(0, 3), "C63");
    EXPECT_EQ(records[1].epoch.substr(0, 3), "C01");
}

TEST(NavigationBeidou, DuplicateAcrossBothFormsAfterRenumbering) {
    Output out;
    rinex::NavigationWriter writer;
    EXPECT_GT(writer.writeBeidou(out.device(), elkoC16()), 0);
    EXPECT_EQ(writer.writeBd2(out.device(), bd2From(elkoC16(), 176)), 0);
    decoding::BeidouEphemeris next = elkoC16();
    next.toe += 3600;
    EXPECT_GT(writer.writeBeidou(out.device(), next), 0);
    EXPECT_EQ(writer.writeBeidou(out.device(), next), 0);
    EXPECT_EQ(recordsOf(out.data()).size(), 2u);
}

TEST(NavigationBeidou, ClosedFileGetsNothing) {
    QByteArray data;
    QBuffer closed(&data);
    rinex::NavigationWriter writer;
    EXPECT_EQ(writer.writeBeidou(&closed, elkoC16()), 0);
    EXPECT_EQ(writer.writeBd2(&closed, bd2From(elkoC16(), 176)), 0);
    EXPECT_EQ(writer.writeGalileoInav(&closed, inav(9, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(writer.writeGalileoFnav(&closed, fnav(9, 603000, 2011, 603740000)), 0);
    EXPECT_EQ(writer.writeGalileo(&closed, combined(true)), 0);
    qint32 leap = 99;
    EXPECT_EQ(writer.writeGlonass(&closed, elkoR04(), leap), 0);
    EXPECT_EQ(leap, 99);
    EXPECT_TRUE(data.isEmpty());
}

} // namespace
