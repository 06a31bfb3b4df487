// SPDX-License-Identifier: MIT
// Navigation records in RINEX 3.05 and 4.00, from real broadcast data: the ELKO records (a
// 3.03 file) and the KMS3 records (a receiver's own 4.00 file), written by the navigation
// writer and read back with the independent reader. Every value must survive the version
// change exactly as printed.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <cmath>
#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "rinex/navigation_writer.h"
#include "rinex/rinex4_navigation.h"
#include "rinex_input/rinex_nav_reader.h"

namespace {

using rinex::Version;
using rinex_input::NavFile;
using rinex_input::NavRecord;
using rinex_input::NavSpecialRecord;

const char kElko[] = VELMOOR_TEST_DATA "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx";
const char kKms3[] = VELMOOR_TEST_DATA "/rinex/KMS300DNK_R_20221591000_01H_MN_subset.rnx";
constexpr int kLeapSeconds2018 = 18;
constexpr int kLeapSeconds2022 = 18;

class NavOutput {
public:
    NavOutput() : buffer_(&data_) {
        buffer_.open(QIODevice::ReadWrite);
        rinex::reserveNavigationHeader(&buffer_, "M: MIXED");
    }
    QIODevice* device() { return &buffer_; }
    NavFile finish(Version version, char kind = 'P', rinex::NavigationHeaderInfo info = {}) {
        info.version = version;
        info.minorVersion = rinex::minorOf(version);
        EXPECT_TRUE(rinex::writeNavigationHeader(&buffer_, kind, info));
        std::istringstream in(data_.toStdString());
        return rinex_input::readNav(in);
    }
    const QByteArray& bytes() const { return data_; }

private:
    QByteArray data_;
    QBuffer buffer_;
};

std::string nameOf(const NavRecord& r) {
    char text[32];
    std::snprintf(text, sizeof text, "%c%02d line %d", r.system, r.satellite, r.lineNumber);
    return text;
}

// Writes one source record through the decoder struct the board would deliver.
qint64 writeSource(rinex::NavigationWriter& writer, QIODevice* device, const NavRecord& r, int leapSeconds) {
    qint32 leap = 99;
    switch (r.system) {
    case 'G':
        return writer.writeGps(device, rinex_input::toGpsEphemeris(r));
    case 'R':
        return writer.writeGlonass(device, rinex_input::toGlonassEphemeris(r, leapSeconds), leap);
    case 'E':
        return rinex_input::isGalileoFnav(r)
                   ? writer.writeGalileoFnav(device, rinex_input::toGalileoFnavEphemeris(r))
                   : writer.writeGalileoInav(device, rinex_input::toGalileoInavEphemeris(r));
    case 'C':
        return writer.writeBeidou(device, rinex_input::toBeidouEphemeris(r));
    default:
        return 0;
    }
}

NavFile writeAll(const std::vector<NavRecord>& records, Version version, int leapSeconds) {
    NavOutput out;
    // The board delivers I/NAV and F/NAV in logs of their own; one writer each keeps a
    // satellite's two records of the same reference time.
    rinex::NavigationWriter writer, fnavWriter;
    writer.setVersion(version);
    fnavWriter.setVersion(version);
    for (const NavRecord& r : records) {
        const bool fnav = r.system == 'E' && rinex_input::isGalileoFnav(r);
        EXPECT_GT(writeSource(fnav ? fnavWriter : writer, out.device(), r, leapSeconds), 0) << nameOf(r);
    }
    return out.finish(version);
}

std::vector<NavRecord> ephemerides(const char* path) {
    std::vector<NavRecord> out;
    for (const NavRecord& r : rinex_input::readNavFile(path).records)
        if (std::string("GREC").find(r.system) != std::string::npos) out.push_back(r);
    return out;
}

// Equal to the printed precision (12 decimals of the mantissa on either side).
::testing::AssertionResult samePrinted(const std::optional<double>& written,
                                       const std::optional<double>& source) {
    if (!written && !source) return ::testing::AssertionSuccess();
    if (!written) return ::testing::AssertionFailure() << "blank, expected " << *source;
    if (!source) return ::testing::AssertionFailure() << *written << ", expected blank";
    if (std::fabs(*written - *source) <= 6e-12 * std::fabs(*source)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << *written << " differs from " << *source;
}

std::string expectedMessage(const NavRecord& r) {
    switch (r.system) {
    case 'G':
        return "LNAV";
    case 'R':
        return "FDMA";
    case 'E':
        return rinex_input::isGalileoFnav(r) ? "FNAV" : "INAV";
    default:
        return (r.satellite <= 5 || r.satellite >= 59) ? "D2" : "D1";
    }
}

TEST(NavigationVersions, ElkoRecordsKeepEveryValueIn305And400) {
    const std::vector<NavRecord> source = ephemerides(kElko);
    ASSERT_GT(source.size(), 10u);
    // The 3.04 records are checked against the source in navigation_real_data_test; here every
    // value of the newer versions must equal its 3.04 value exactly.
    const NavFile v304 = writeAll(source, Version::V304, kLeapSeconds2018);
    for (Version version : {Version::V305, Version::V400}) {
        SCOPED_TRACE(rinex::versionText(version));
        const NavFile written = writeAll(source, version, kLeapSeconds2018);
        ASSERT_EQ(written.records.size(), v304.records.size());
        EXPECT_DOUBLE_EQ(written.header.version, version == Version::V400 ? 4.0 : 3.05);
        for (size_t i = 0; i < written.records.size(); ++i) {
            const NavRecord& w = written.records[i];
            const NavRecord& old = v304.records[i];
            EXPECT_EQ(w.system, old.system);
            EXPECT_EQ(w.satellite, old.satellite);
            EXPECT_EQ(rinex_input::weekSecondsOf(w.epoch).seconds,
                      rinex_input::weekSecondsOf(old.epoch).seconds);
            // 4.00 ends lines after their last value: blank trailing spares are absent either way.
            for (size_t k = 0; k < old.values.size(); ++k) {
                const std::optional<double> value = k < w.values.size() ? w.values[k] : std::nullopt;
                EXPECT_EQ(value, old.values[k]) << nameOf(old) << " value " << k;
            }
            if (w.system == 'R') {
                // The fourth orbit line: flags blank, group delay difference and accuracy index.
                ASSERT_EQ(w.orbitLines(), 4u) << nameOf(w);
                EXPECT_FALSE(w.orbit(4, 0).has_value());
                EXPECT_TRUE(samePrinted(w.orbit(4, 1), source[i].orbit(4, 1).value_or(0.0)));
                EXPECT_EQ(w.orbit(4, 2), source[i].orbit(4, 2).value_or(0.0));
                EXPECT_FALSE(w.orbit(4, 3).has_value());
            } else {
                EXPECT_EQ(w.orbitLines(), 7u);
            }
            if (version == Version::V400)
                EXPECT_EQ(w.message, expectedMessage(source[i])) << nameOf(source[i]);
            else
                EXPECT_EQ(w.message, "");
        }
    }
}

TEST(NavigationVersions, Kms3RecordsWrittenAgainMatchTheReceiversOwn400Layout) {
    const NavFile file = rinex_input::readNavFile(kKms3);
    const std::vector<NavRecord> source = ephemerides(kKms3);
    ASSERT_EQ(source.size(), 12u); // two of each: LNAV, FDMA, INAV, FNAV, D1, D2
    const NavFile written = writeAll(source, Version::V400, kLeapSeconds2022);
    ASSERT_EQ(written.records.size(), source.size());
    for (size_t i = 0; i < source.size(); ++i) {
        const NavRecord& s = source[i];
        const NavRecord& w = written.records[i];
        SCOPED_TRACE(nameOf(s));
        EXPECT_EQ(w.message, s.message);
        EXPECT_EQ(w.system, s.system);
        EXPECT_EQ(w.satellite, s.satellite);
        EXPECT_EQ(w.orbitLines(), s.orbitLines());
        // The fields the board's logs do not carry, or that the writer fills by its own rules.
        std::vector<std::pair<int, int>> own;
        switch (s.system) {
        case 'G':
            own = {{0, 0}, {5, 1}, {5, 3}}; // epoch column 0 below; codes on L2, L2 P flag
            break;
        case 'R':
            own = {{4, 0}, {4, 3}}; // status and health flags: no documented bit layout
            break;
        case 'E':
            own = {{6, 1}, {5, 3}}; // health bits rebuilt from the log's flags
            break;
        default:
            own = {{5, 1}, {5, 3}, {7, 0}, {7, 2}, {7, 3}}; // transmission time: the log's stamp
            break;
        }
        for (int line = 0; line <= static_cast<int>(s.orbitLines()); ++line) {
            for (int column = 0; column < (line == 0 ? 3 : 4); ++column) {
                bool skip = line == 0 && s.system == 'G';
                for (const auto& o : own)
                    skip = skip || (o.first == line && o.second == column);
                if (skip) continue;
                const std::optional<double> sv = line == 0 ? s.clock(column) : s.orbit(line, column);
                const std::optional<double> wv = line == 0 ? w.clock(column) : w.orbit(line, column);
                EXPECT_TRUE(samePrinted(wv, sv)) << "line " << line << " column " << column;
            }
        }
    }
    // The header layout of the real file: version and type, then LEAP SECONDS.
    EXPECT_DOUBLE_EQ(file.header.version, 4.0);
    EXPECT_DOUBLE_EQ(written.header.version, 4.0);
    EXPECT_EQ(written.header.system, 'M');
}

TEST(NavigationVersions, LeadLinesHaveTheColumnsOfTheRealFile) {
    char line[64];
    ASSERT_EQ(rinex::formatLeadLine(line, sizeof line, "EPH", 'C', 8, "D1"), 14);
    EXPECT_STREQ(line, "> EPH C08 D1\r\n");
    ASSERT_EQ(rinex::formatLeadLine(line, sizeof line, "ION", 'G', 29, "LNAV"), 16);
    EXPECT_STREQ(line, "> ION G29 LNAV\r\n");
    EXPECT_STREQ(rinex::beidouMessageType(1), "D2");
    EXPECT_STREQ(rinex::beidouMessageType(5), "D2");
    EXPECT_STREQ(rinex::beidouMessageType(6), "D1");
    EXPECT_STREQ(rinex::beidouMessageType(58), "D1");
    EXPECT_STREQ(rinex::beidouMessageType(59), "D2");
    EXPECT_STREQ(rinex::beidouMessageType(63), "D2");
}

TEST(NavigationVersions, TrimLineEndsDropsOnlyTrailingBlanks) {
    char text[] = "a b   \r\n  \r\nc\r\nd  ";
    const int n = rinex::trimLineEnds(text, int(sizeof text - 1));
    EXPECT_EQ(std::string(text, size_t(n)), "a b\r\n\r\nc\r\nd");
}

// The GPS ionosphere and UTC values of the KMS3 ION and STO records, as the board's
// ionosphere/UTC log would deliver them at the ION record's epoch.
decoding::IonoUtcParameters kms3GpsParameters(const NavFile& file) {
    decoding::IonoUtcParameters p{};
    p.header.messageId = decoding::LogIonUtc;
    for (const NavSpecialRecord& r : file.special) {
        if (r.system != 'G') continue;
        if (r.type == "ION") {
            const rinex_input::WeekSeconds t = rinex_input::weekSecondsOf(r.epoch);
            p.header.week = uint16_t(t.week);
            p.header.milliseconds = uint32_t(t.seconds * 1000);
            for (int i = 0; i < 3; ++i)
                p.alpha[i] = *r.values[size_t(i)];
            p.alpha[3] = *r.values[3];
            for (int i = 0; i < 4; ++i)
                p.beta[i] = *r.values[size_t(4 + i)];
        } else if (r.type == "STO") {
            const rinex_input::WeekSeconds t = rinex_input::weekSecondsOf(r.epoch);
            p.utcWeek = uint32_t(t.week);
            p.utcTime = uint32_t(t.seconds);
            p.a0 = *r.values[1];
            p.a1 = *r.values[2];
        }
    }
    p.leapSeconds = p.leapSecondsFuture = kLeapSeconds2022;
    return p;
}

const NavSpecialRecord* findSpecial(const NavFile& file, const std::string& type, char system) {
    for (const NavSpecialRecord& r : file.special)
        if (r.type == type && r.system == system) return &r;
    return nullptr;
}

TEST(NavigationVersions, GpsIonAndStoRecordsCarryTheValuesOfTheRealRecords) {
    const NavFile source = rinex_input::readNavFile(kKms3);
    const NavSpecialRecord* ion = findSpecial(source, "ION", 'G');
    const NavSpecialRecord* sto = findSpecial(source, "STO", 'G');
    ASSERT_NE(ion, nullptr);
    ASSERT_NE(sto, nullptr);
    const decoding::IonoUtcParameters parameters = kms3GpsParameters(source);

    NavOutput out;
    rinex::NavigationWriter writer;
    writer.setVersion(Version::V400);
    // Held back until an ephemeris names the broadcasting satellite.
    EXPECT_EQ(writer.writeIonoUtc(out.device(), parameters), 0);
    const std::vector<NavRecord> gps = [&] {
        std::vector<NavRecord> g;
        for (const NavRecord& r : source.records)
            if (r.system == 'G') g.push_back(r);
        return g;
    }();
    ASSERT_FALSE(gps.empty());
    EXPECT_GT(writer.writeGps(out.device(), rinex_input::toGpsEphemeris(gps.back())), 0);
    // The same values again: nothing new to write.
    EXPECT_EQ(writer.writeIonoUtc(out.device(), parameters), 0);
    const NavFile written = out.finish(Version::V400, 'N');

    const NavSpecialRecord* wIon = findSpecial(written, "ION", 'G');
    const NavSpecialRecord* wSto = findSpecial(written, "STO", 'G');
    ASSERT_NE(wIon, nullptr);
    ASSERT_NE(wSto, nullptr);
    EXPECT_EQ(written.special.size(), 2u);
    EXPECT_EQ(wIon->message, "LNAV");
    EXPECT_EQ(wIon->satellite, gps.back().satellite);
    EXPECT_EQ(rinex_input::weekSecondsOf(wIon->epoch).seconds,
              rinex_input::weekSecondsOf(ion->epoch).seconds);
    // alpha0-3, beta0-3; the region code (QZSS only) stays blank.
    for (size_t i = 0; i < 8; ++i)
        EXPECT_TRUE(samePrinted(wIon->values[i], ion->values[i])) << "ION value " << i;
    ASSERT_EQ(wIon->values.size(), 11u); // the third line read as four fields
    for (size_t i = 8; i < 11; ++i)
        EXPECT_FALSE(wIon->values[i].has_value()) << "ION value " << i;

    EXPECT_EQ(wSto->message, "LNAV");
    EXPECT_EQ(wSto->timeOffsetCode, "GPUT");
    EXPECT_EQ(wSto->utcId, sto->utcId);
    EXPECT_EQ(wSto->sbasId, "");
    EXPECT_EQ(wSto->epoch.year, sto->epoch.year);
    EXPECT_EQ(rinex_input::weekSecondsOf(wSto->epoch).seconds,
              rinex_input::weekSecondsOf(sto->epoch).seconds);
    ASSERT_EQ(wSto->values.size(), 4u);
    // The log carries no transmission time: the unknown value.
    EXPECT_EQ(wSto->values[0], 0.999999999999e9);
    EXPECT_TRUE(samePrinted(wSto->values[1], sto->values[1]));
    EXPECT_TRUE(samePrinted(wSto->values[2], sto->values[2]));
    EXPECT_EQ(wSto->values[3], 0.0);
}

TEST(NavigationVersions, BeidouIonAndStoRecordsUseBeidouTime) {
    decoding::IonoUtcParameters p{};
    p.header.messageId = decoding::LogBd2IonUtc;
    p.header.week = 2213;                  // GPS week
    p.header.milliseconds = 295200 * 1000; // 2022-06-08 10:00:00 GPS time
    p.alpha[0] = 2.142041921616e-08;
    p.beta[3] = -6.5536e4;
    p.utcWeek = 2213 - 1356; // BeiDou week
    p.utcTime = 0;
    p.a0 = -1.5e-9;
    p.a1 = 2.0e-15;

    NavOutput out;
    rinex::NavigationWriter writer;
    writer.setVersion(Version::V400);
    decoding::BeidouEphemeris eph{};
    eph.satellite = 168; // C08
    eph.week = 2213 - 1356;
    eph.toc = eph.toe = 291600;
    eph.sqrtA = 6493.7;
    eph.header.week = 2213;
    eph.header.milliseconds = 295200 * 1000;
    EXPECT_EQ(writer.writeIonoUtc(out.device(), p), 0);
    EXPECT_GT(writer.writeBeidou(out.device(), eph), 0);
    const NavFile written = out.finish(Version::V400, 'C');
    const NavSpecialRecord* ion = findSpecial(written, "ION", 'C');
    const NavSpecialRecord* sto = findSpecial(written, "STO", 'C');
    ASSERT_NE(ion, nullptr);
    ASSERT_NE(sto, nullptr);
    EXPECT_EQ(ion->message, "D1D2");
    EXPECT_EQ(ion->satellite, 8);
    // BeiDou time runs 14 s behind GPS time.
    EXPECT_EQ(ion->epoch.hour, 9);
    EXPECT_EQ(ion->epoch.minute, 59);
    EXPECT_EQ(ion->epoch.second, 46);
    EXPECT_TRUE(samePrinted(ion->values[0], p.alpha[0]));
    EXPECT_TRUE(samePrinted(ion->values[7], p.beta[3]));
    EXPECT_EQ(sto->timeOffsetCode, "BDUT");
    EXPECT_EQ(sto->utcId, "UTC(NTSC)");
    // BeiDou week 857, second 0: 2022-06-05 00:00:00 BDT.
    EXPECT_EQ(sto->epoch.year, 2022);
    EXPECT_EQ(sto->epoch.month, 6);
    EXPECT_EQ(sto->epoch.day, 5);
    EXPECT_TRUE(samePrinted(sto->values[1], p.a0));
    EXPECT_TRUE(samePrinted(sto->values[2], p.a1));
}

TEST(NavigationVersions, HeadersOf305And400) {
    rinex::NavigationHeaderInfo info;
    info.program = "velmoor";
    info.leapSeconds = -18;
    info.first.valid = true;
    info.first.leapSeconds = 18;
    info.first.leapSecondsFuture = 18;
    info.first.week = 2213;
    info.first.day = 7;
    {
        // 3.05: no LEAP SECONDS in a GLONASS-only file (3.04 writes it).
        NavOutput out;
        const NavFile f = out.finish(Version::V305, 'G', info);
        EXPECT_FALSE(f.header.leapSeconds.has_value());
        EXPECT_TRUE(out.bytes().startsWith("     3.05           N: GNSS NAV DATA    M"));
        NavOutput old;
        EXPECT_TRUE(old.finish(Version::V304, 'G', info).header.leapSeconds.has_value());
    }
    {
        NavOutput out;
        const NavFile f = out.finish(Version::V400, 'N', info);
        EXPECT_TRUE(out.bytes().startsWith("     4.00           N: GNSS NAV DATA    G: GPS              "
                                           "RINEX VERSION / TYPE\r\n"));
        ASSERT_TRUE(f.header.leapSeconds.has_value());
        EXPECT_EQ(f.header.leapSeconds->current, 18);
        EXPECT_EQ(f.header.leapSeconds->system, "GPS");
        // 4.00 keeps ionosphere and time offsets in records, not in the header.
        EXPECT_FALSE(out.bytes().contains("IONOSPHERIC CORR"));
        EXPECT_FALSE(out.bytes().contains("TIME SYSTEM CORR"));
    }
    {
        NavOutput out;
        const NavFile f = out.finish(Version::V400, 'G', info);
        EXPECT_FALSE(f.header.leapSeconds.has_value());
        EXPECT_EQ(f.header.system, 'R');
    }
    {
        NavOutput out;
        const NavFile f = out.finish(Version::V400, 'P', info);
        EXPECT_EQ(f.header.system, 'M');
        EXPECT_TRUE(out.bytes().startsWith("     4.00           N: GNSS NAV DATA    M: MIXED"));
    }
}

} // namespace
