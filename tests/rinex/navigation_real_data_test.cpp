// SPDX-License-Identifier: MIT
// Navigation records from real broadcast data: RINEX records of the ELKO station turned into
// decoder records, and the ephemeris logs of the test streams, written by the navigation
// writer and read back with the independent RINEX reader.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/checksum.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/log_header.h"
#include "rinex/navigation_writer.h"
#include "rinex_input/rinex_nav_reader.h"
#include "support/stream_manifest.h"

namespace {

using rinex_input::NavFile;
using rinex_input::NavRecord;

const char kSubset[] = VELMOOR_TEST_DATA "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx";
constexpr int kLeapSeconds = 18; // GPS - UTC in July 2018

// One navigation file being written: the reservation at creation, the header on finish().
class NavOutput {
public:
    explicit NavOutput(const char* systemText) : buffer_(&data_) {
        buffer_.open(QIODevice::ReadWrite);
        rinex::reserveNavigationHeader(&buffer_, systemText);
    }
    QIODevice* device() { return &buffer_; }

    NavFile finish(char kind, const rinex::NavigationHeaderInfo& info = {}) {
        EXPECT_TRUE(rinex::writeNavigationHeader(&buffer_, kind, info));
        std::istringstream in(data_.toStdString());
        return rinex_input::readNav(in);
    }

private:
    QByteArray data_;
    QBuffer buffer_;
};

// Equal to the printed precision: 12 decimals of a mantissa in [0.1, 1) on our side,
// 12 decimals of a mantissa in [1, 10) on the source's.
::testing::AssertionResult samePrinted(const std::optional<double>& written,
                                       const std::optional<double>& source) {
    if (!written && !source) return ::testing::AssertionSuccess();
    if (!written) return ::testing::AssertionFailure() << "blank, expected " << *source;
    if (!source) return ::testing::AssertionFailure() << *written << ", expected blank";
    const double tolerance = 6e-12 * std::fabs(*source);
    if (std::fabs(*written - *source) <= tolerance) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << *written << " differs from " << *source;
}

std::string nameOf(const NavRecord& r) {
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d", r.system, r.satellite);
    return std::string(text) + " line " + std::to_string(r.lineNumber);
}

// Position of a value in the record: 0..2 first line, then line * 4 + column - 1.
size_t slot(int line, int column) {
    return line == 0 ? static_cast<size_t>(column) : static_cast<size_t>(3 + (line - 1) * 4 + column);
}

std::optional<double> valueAt(const NavRecord& r, int line, int column) {
    const size_t i = slot(line, column);
    return i < r.values.size() ? r.values[i] : std::nullopt;
}

// Compares every value of a written record with its source, except the ones listed in
// `own`, which the writer fills by its own rules and the caller checks.
void expectSameValues(const NavRecord& written, const NavRecord& source, int orbitLines,
                      const std::vector<std::pair<int, int>>& own) {
    ASSERT_EQ(static_cast<int>(written.orbitLines()), orbitLines) << nameOf(source);
    for (int line = 0; line <= orbitLines; ++line) {
        for (int column = 0; column < (line == 0 ? 3 : 4); ++column) {
            bool skip = false;
            for (const auto& o : own)
                skip = skip || (o.first == line && o.second == column);
            if (skip) continue;
            EXPECT_TRUE(samePrinted(valueAt(written, line, column), valueAt(source, line, column)))
                << nameOf(source) << " orbit line " << line << " column " << column;
        }
    }
}

void expectEpoch(const NavRecord& written, int week, double seconds, const std::string& what) {
    const rinex_input::WeekSeconds t = rinex_input::weekSecondsOf(written.epoch);
    EXPECT_EQ(t.week, week) << what;
    EXPECT_DOUBLE_EQ(t.seconds, seconds) << what;
}

std::vector<NavRecord> sourceRecords(char system) {
    const NavFile file = rinex_input::readNavFile(kSubset);
    std::vector<NavRecord> out;
    for (const NavRecord& r : file.records) {
        if (r.system == system) out.push_back(r);
    }
    return out;
}

TEST(NavigationRealData, GpsRecordsAndHeader) {
    const NavFile source = rinex_input::readNavFile(kSubset);
    const std::vector<NavRecord> records = sourceRecords('G');
    ASSERT_FALSE(records.empty());

    NavOutput out("G: GPS");
    rinex::NavigationWriter writer;
    for (const NavRecord& r : records)
        EXPECT_GT(writer.writeGps(out.device(), rinex_input::toGpsEphemeris(r)), 0) << nameOf(r);

    // The header's ionosphere and leap seconds, as the writer keeps them from an IONUTC log.
    const decoding::IonoUtcParameters iono = rinex_input::toIonoUtcParameters(source.header);
    rinex::NavigationHeaderInfo info;
    info.program = "velmoor";
    info.first.valid = true;
    for (int i = 0; i < 4; ++i) {
        info.first.alpha[i] = iono.alpha[i];
        info.first.beta[i] = iono.beta[i];
    }
    info.first.leapSeconds = static_cast<qint32>(iono.leapSeconds);
    info.first.leapSecondsFuture = static_cast<qint32>(iono.leapSecondsFuture);
    info.first.week = static_cast<qint32>(iono.leapWeek);
    info.first.day = static_cast<qint32>(iono.leapDay);
    info.latest = info.first;
    const NavFile written = out.finish('N', info);

    for (const char* type : {"GPSA", "GPSB"}) {
        const rinex_input::IonoCorrection* w = written.header.ionoCorrection(type);
        const rinex_input::IonoCorrection* s = source.header.ionoCorrection(type);
        ASSERT_NE(w, nullptr) << type;
        ASSERT_NE(s, nullptr) << type;
        for (size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(w->values[i], s->values[i], 6e-5 * std::fabs(s->values[i])) << type << i;
    }
    ASSERT_TRUE(written.header.leapSeconds.has_value());
    EXPECT_EQ(written.header.leapSeconds->current, kLeapSeconds);

    ASSERT_EQ(written.records.size(), records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        const NavRecord& w = written.records[i];
        const NavRecord& s = records[i];
        EXPECT_EQ(w.system, 'G');
        EXPECT_EQ(w.satellite, s.satellite);
        // The epoch is the week with toe (the source's epoch is toc).
        expectEpoch(w, static_cast<int>(*s.orbit(5, 2)), *s.orbit(3, 0), nameOf(s));
        expectSameValues(w, s, 7, {{5, 1}, {5, 3}, {7, 1}, {7, 2}, {7, 3}});
        // Codes on L2 and the L2 P flag are not in the log; the fit interval is fixed.
        EXPECT_EQ(w.orbit(5, 1), 0.0);
        EXPECT_EQ(w.orbit(5, 3), 0.0);
        EXPECT_EQ(w.orbit(7, 1), 4.0);
        EXPECT_FALSE(w.orbit(7, 2).has_value());
        EXPECT_FALSE(w.orbit(7, 3).has_value());
    }
}

TEST(NavigationRealData, GlonassRecords) {
    const std::vector<NavRecord> records = sourceRecords('R');
    ASSERT_FALSE(records.empty());
    NavOutput out("R: GLONASS");
    rinex::NavigationWriter writer;
    qint32 leap = 99;
    for (const NavRecord& r : records) {
        EXPECT_GT(writer.writeGlonass(out.device(), rinex_input::toGlonassEphemeris(r, kLeapSeconds), leap),
                  0)
            << nameOf(r);
    }
    EXPECT_EQ(leap, -kLeapSeconds);
    rinex::NavigationHeaderInfo info;
    info.leapSeconds = leap;
    const NavFile written = out.finish('G', info);
    ASSERT_TRUE(written.header.leapSeconds.has_value());
    EXPECT_EQ(written.header.leapSeconds->current, kLeapSeconds);

    ASSERT_EQ(written.records.size(), records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        const NavRecord& w = written.records[i];
        const NavRecord& s = records[i];
        EXPECT_EQ(w.system, 'R');
        EXPECT_EQ(w.satellite, s.satellite);
        const rinex_input::WeekSeconds epoch = rinex_input::weekSecondsOf(s.epoch);
        expectEpoch(w, epoch.week, epoch.seconds, nameOf(s));
        expectSameValues(w, s, 3, {});
    }
}

void checkGalileo(bool fnavRecords) {
    std::vector<NavRecord> records;
    for (const NavRecord& r : sourceRecords('E')) {
        if (rinex_input::isGalileoFnav(r) == fnavRecords) records.push_back(r);
    }
    ASSERT_FALSE(records.empty());
    NavOutput out("E: GALILEO");
    rinex::NavigationWriter writer;
    for (const NavRecord& r : records) {
        const qint64 bytes =
            fnavRecords ? writer.writeGalileoFnav(out.device(), rinex_input::toGalileoFnavEphemeris(r))
                        : writer.writeGalileoInav(out.device(), rinex_input::toGalileoInavEphemeris(r));
        EXPECT_GT(bytes, 0) << nameOf(r);
    }
    const NavFile written = out.finish('L');
    ASSERT_EQ(written.records.size(), records.size());
    // Health bits that each message carries.
    const unsigned healthMask = fnavRecords ? 0x38u : 0x1C7u;
    for (size_t i = 0; i < records.size(); ++i) {
        const NavRecord& w = written.records[i];
        const NavRecord& s = records[i];
        EXPECT_EQ(w.system, 'E');
        EXPECT_EQ(w.satellite, s.satellite);
        const rinex_input::WeekSeconds epoch = rinex_input::weekSecondsOf(s.epoch);
        expectEpoch(w, epoch.week, epoch.seconds, nameOf(s));
        expectSameValues(w, s, 7, {{5, 1}, {5, 3}, {6, 1}, {6, 3}, {7, 1}, {7, 2}, {7, 3}});
        EXPECT_EQ(w.orbit(5, 1), fnavRecords ? 258.0 : 517.0) << nameOf(s);
        EXPECT_FALSE(w.orbit(5, 3).has_value());
        ASSERT_TRUE(w.orbit(6, 1).has_value());
        EXPECT_EQ(static_cast<unsigned>(*w.orbit(6, 1)), static_cast<unsigned>(*s.orbit(6, 1)) & healthMask)
            << nameOf(s);
        // F/NAV has no E5b group delay: written as 0.0.
        if (fnavRecords)
            EXPECT_EQ(w.orbit(6, 3), 0.0);
        else
            EXPECT_TRUE(samePrinted(w.orbit(6, 3), s.orbit(6, 3))) << nameOf(s);
        for (int column = 1; column < 4; ++column)
            EXPECT_FALSE(w.orbit(7, column).has_value()) << nameOf(s);
    }
}

TEST(NavigationRealData, GalileoInavRecords) {
    checkGalileo(false);
}

TEST(NavigationRealData, GalileoFnavRecords) {
    checkGalileo(true);
}

TEST(NavigationRealData, GalileoInavAndFnavOfTheSameToeGiveOneRecord) {
    const std::vector<NavRecord> records = sourceRecords('E');
    NavOutput out("E: GALILEO");
    rinex::NavigationWriter writer;
    std::map<int, std::vector<double>> toes;
    size_t expected = 0;
    for (const NavRecord& r : records) {
        std::vector<double>& seen = toes[r.satellite];
        const bool repeated = !seen.empty() && seen.back() == *r.orbit(3, 0);
        seen.push_back(*r.orbit(3, 0));
        const qint64 bytes =
            rinex_input::isGalileoFnav(r)
                ? writer.writeGalileoFnav(out.device(), rinex_input::toGalileoFnavEphemeris(r))
                : writer.writeGalileoInav(out.device(), rinex_input::toGalileoInavEphemeris(r));
        EXPECT_EQ(bytes > 0, !repeated) << nameOf(r);
        expected += repeated ? 0 : 1;
    }
    EXPECT_LT(expected, records.size()) << "the subset holds repeated ephemerides";
    EXPECT_EQ(out.finish('L').records.size(), expected);
}

void checkBeidou(bool firstForm) {
    const std::vector<NavRecord> records = sourceRecords('C');
    ASSERT_FALSE(records.empty());
    NavOutput out("C: BDS");
    rinex::NavigationWriter writer;
    std::vector<NavRecord> expected;
    for (const NavRecord& r : records) {
        qint64 bytes = 0;
        if (firstForm) {
            decoding::Bd2Ephemeris e = rinex_input::toBd2Ephemeris(r);
            e.satellite += 160; // this form may number satellites from 161
            bytes = writer.writeBd2(out.device(), e);
        } else {
            bytes = writer.writeBeidou(out.device(), rinex_input::toBeidouEphemeris(r));
        }
        EXPECT_GT(bytes, 0) << nameOf(r);
    }
    const NavFile written = out.finish('C');
    ASSERT_EQ(written.records.size(), records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        const NavRecord& w = written.records[i];
        const NavRecord& s = records[i];
        EXPECT_EQ(w.system, 'C');
        EXPECT_EQ(w.satellite, s.satellite);
        // toc counted in the record's own BeiDou week.
        const int week = static_cast<int>(*s.orbit(5, 2));
        expectEpoch(w, week + 1356, rinex_input::weekSecondsOf(s.epoch).seconds, nameOf(s));
        expectSameValues(w, s, 7, {{5, 1}, {5, 3}, {7, 0}, {7, 2}, {7, 3}});
        EXPECT_FALSE(w.orbit(5, 1).has_value());
        EXPECT_FALSE(w.orbit(5, 3).has_value());
        EXPECT_FALSE(w.orbit(7, 2).has_value());
        EXPECT_FALSE(w.orbit(7, 3).has_value());
        // The first form carries the transmission time itself; the second gives it back
        // from the frame time, within one week.
        ASSERT_TRUE(w.orbit(7, 0).has_value());
        const double sourceTime = *s.orbit(7, 0);
        const double expectedTime =
            firstForm ? sourceTime : sourceTime - 604800.0 * std::floor(sourceTime / 604800.0);
        EXPECT_TRUE(samePrinted(w.orbit(7, 0), expectedTime)) << nameOf(s);
    }
}

TEST(NavigationRealData, BeidouRecords) {
    checkBeidou(false);
}

TEST(NavigationRealData, BeidouFirstFormRecords) {
    checkBeidou(true);
}

// ------------------------------------------------------------------ test streams

std::map<char, const char*> systemTexts() {
    return {{'G', "G: GPS"}, {'R', "R: GLONASS"}, {'E', "E: GALILEO"}, {'C', "C: BDS"}};
}

void checkStream(const std::string& name) {
    const testsupport::StreamManifest manifest =
        testsupport::loadStreamManifest(testsupport::streamDataDirectory() + "/" + name + ".json.gz");
    const std::string stream =
        testsupport::readBinaryFile(testsupport::streamDataDirectory() + "/" + name + ".dat");
    ASSERT_FALSE(manifest.nav.empty());

    std::map<char, std::unique_ptr<NavOutput>> outputs;
    for (const auto& [system, text] : systemTexts())
        outputs[system] = std::make_unique<NavOutput>(text);
    rinex::NavigationWriter writer;
    qint32 leap = 99;
    std::map<char, std::vector<const testsupport::NavRecord*>> expected;

    for (const testsupport::NavRecord& n : manifest.nav) {
        ASSERT_GE(n.frame, 0);
        ASSERT_LT(static_cast<size_t>(n.frame), manifest.frames.size());
        const testsupport::ManifestFrame& f = manifest.frames[static_cast<size_t>(n.frame)];
        ASSERT_LE(f.offset + f.length, stream.size());
        const auto* frame = reinterpret_cast<const uint8_t*>(stream.data() + f.offset);
        // A frame with a spoiled CRC never reaches the writer.
        const bool crcGood = decoding::crc32(0, frame, f.length) == 0;
        EXPECT_EQ(crcGood, !n.corrupted) << "frame " << n.frame;
        if (!crcGood) continue;
        decoding::LogHeader header{};
        ASSERT_EQ(decoding::readLogHeader(frame, f.length, header), 0) << "frame " << n.frame;
        ASSERT_EQ(header.messageId, n.id);

        QIODevice* file = outputs.at(n.sys)->device();
        qint64 bytes = -1;
        switch (n.id) {
        case decoding::LogGpsEphem: {
            decoding::GpsEphemeris e{};
            ASSERT_EQ(decoding::decodeGpsEphemeris(frame, header, e), 0);
            bytes = writer.writeGps(file, e);
            break;
        }
        case decoding::LogGloEphemeris: {
            decoding::GlonassEphemeris e{};
            ASSERT_EQ(decoding::decodeGlonassEphemeris(frame, header, e), 0);
            bytes = writer.writeGlonass(file, e, leap);
            break;
        }
        case decoding::LogBd2Ephem: {
            decoding::Bd2Ephemeris e{};
            ASSERT_EQ(decoding::decodeBd2Ephemeris(frame, header, e), 0);
            bytes = writer.writeBd2(file, e);
            break;
        }
        case decoding::LogBdsEphemeris: {
            decoding::BeidouEphemeris e{};
            ASSERT_EQ(decoding::decodeBeidouEphemeris(frame, header, e), 0);
            bytes = writer.writeBeidou(file, e);
            break;
        }
        case decoding::LogGalEphemeris: {
            decoding::GalileoEphemeris e{};
            ASSERT_EQ(decoding::decodeGalileoEphemeris(frame, header, e), 0);
            bytes = writer.writeGalileo(file, e);
            break;
        }
        case decoding::LogGalInavEphemeris: {
            decoding::GalileoInavEphemeris e{};
            ASSERT_EQ(decoding::decodeGalileoInavEphemeris(frame, header, e), 0);
            bytes = writer.writeGalileoInav(file, e);
            break;
        }
        case decoding::LogGalFnavEphemeris: {
            decoding::GalileoFnavEphemeris e{};
            ASSERT_EQ(decoding::decodeGalileoFnavEphemeris(frame, header, e), 0);
            bytes = writer.writeGalileoFnav(file, e);
            break;
        }
        default:
            FAIL() << "unexpected navigation log " << n.id;
        }
        EXPECT_EQ(bytes > 0, n.expectedWritten) << n.sys << n.sat << " frame " << n.frame;
        if (n.expectedWritten) expected[n.sys].push_back(&n);
    }
    EXPECT_EQ(leap, -manifest.leapSeconds);

    const std::map<char, char> kinds = {{'G', 'N'}, {'R', 'G'}, {'E', 'L'}, {'C', 'C'}};
    for (auto& [system, output] : outputs) {
        rinex::NavigationHeaderInfo info;
        info.leapSeconds = leap;
        const NavFile written = output->finish(kinds.at(system), info);
        const std::vector<const testsupport::NavRecord*>& want = expected[system];
        ASSERT_EQ(written.records.size(), want.size()) << system;
        for (size_t i = 0; i < want.size(); ++i) {
            const NavRecord& w = written.records[i];
            const testsupport::NavRecord& n = *want[i];
            const std::string what = std::string(1, system) + std::to_string(n.sat) + " " + n.source;
            EXPECT_EQ(w.system, system) << what;
            EXPECT_EQ(w.satellite, n.sat) << what;
            const int printed[6] = {w.epoch.year, w.epoch.month,  w.epoch.day,
                                    w.epoch.hour, w.epoch.minute, w.epoch.second};
            for (size_t k = 0; k < 6; ++k)
                EXPECT_EQ(printed[k], static_cast<int>(n.epoch[k])) << what << " epoch field " << k;
            ASSERT_EQ(w.orbitLines() + 1, n.lines.size()) << what;
            for (size_t line = 0; line < n.lines.size(); ++line) {
                for (size_t column = 0; column < n.lines[line].size(); ++column) {
                    EXPECT_TRUE(samePrinted(valueAt(w, static_cast<int>(line), static_cast<int>(column)),
                                            n.lines[line][column]))
                        << what << " line " << line << " column " << column;
                }
            }
        }
    }
}

TEST(NavigationRealData, StreamWithRangeLogs) {
    checkStream("cebr-range-key");
}

TEST(NavigationRealData, StreamWithCorruptedFrames) {
    checkStream("cebr-rangecmp-legacy");
}

TEST(NavigationRealData, StreamWithoutFileHeader) {
    checkStream("cebr-rangecmp2-none");
}

} // namespace
