// SPDX-License-Identifier: MIT
#pragma once
// Helpers of the navigation writer tests: an in-memory output file, its records split into
// fields, and real broadcast records of the ELKO file as hand-made ephemerides.
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

namespace navwritertest {

using Fields = std::vector<std::optional<double>>;

inline const std::string kBlank(19, ' ');

// The lines of a text, without their "\r\n"; every line must end so.
inline std::vector<std::string> linesOf(const QByteArray& text) {
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

inline std::optional<double> fieldValue(const std::string& field) {
    if (field.find_first_not_of(' ') == std::string::npos) return std::nullopt;
    std::string text = field;
    for (char& c : text) {
        if (c == 'D') c = 'E';
    }
    return std::stod(text);
}

// Values of a record line: the first line holds 23 characters of satellite and epoch,
// an orbit line 4 blanks; then fields of 19.
inline Fields fieldsOf(const std::string& line, bool first) {
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

inline std::vector<Record> recordsOf(const QByteArray& text) {
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
inline decoding::GpsEphemeris elkoG02() {
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
inline decoding::GlonassEphemeris elkoR04() {
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

inline decoding::GalileoInavEphemeris inav(uint32_t satellite, uint32_t toe, uint16_t headerWeek,
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

inline decoding::GalileoFnavEphemeris fnav(uint32_t satellite, uint32_t toe, uint16_t headerWeek,
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
inline decoding::BeidouEphemeris elkoC16() {
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

inline decoding::Bd2Ephemeris bd2From(const decoding::BeidouEphemeris& b, uint32_t satellite) {
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

inline void expectNear(const std::optional<double>& actual, double expected, const char* what) {
    ASSERT_TRUE(actual.has_value()) << what << " is blank";
    // Printed with 12 decimals of a mantissa in [0.1, 1).
    EXPECT_NEAR(*actual, expected, std::fabs(expected) * 6e-12) << what;
}

// Header settings of a RINEX 3.03 file by program "velmoor", run by "tester".
inline rinex::NavigationHeaderInfo baseInfo() {
    rinex::NavigationHeaderInfo info;
    info.minorVersion = 3;
    info.program = "velmoor";
    info.runBy = "tester";
    return info;
}

} // namespace navwritertest
