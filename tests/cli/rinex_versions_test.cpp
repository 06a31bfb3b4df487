// SPDX-License-Identifier: MIT
// The converter's RINEX 3.05 and 4.00 output and its mixed navigation file, for the bundled
// sample and every test stream: the sample's headers line by line against hand-checked
// files in tests/data/versions/, every file read back with the independent readers, and the
// observations and navigation values equal to those of the 3.04 output of the same input.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "rinex_input/rinex_nav_reader.h"
#include "rinex_input/rinex_obs_reader.h"
#include "support/qt_core_application.h"
#include "support/rinex_lines.h"
#include "support/stream_manifest.h"

namespace {

const char* const kInputs[] = {"cebr-sample", "cebr-range-key", "cebr-rangecmp-legacy",
                               "cebr-rangecmp2-none"};
const char kSeparateLetters[] = {'N', 'G', 'L', 'C'};

std::string inputPath(const std::string& stem) {
    if (stem == "cebr-sample") return VELMOOR_SAMPLE;
    return testsupport::streamDataDirectory() + "/" + stem + ".dat";
}

struct Output {
    QString directory;
    QString stem; // path without the last letter
    QString path(char letter) const { return stem + QLatin1Char(letter); }
    std::string text(char letter) const {
        QFile file(path(letter));
        if (!file.open(QIODevice::ReadOnly)) return {};
        const QByteArray bytes = file.readAll();
        return std::string(bytes.constData(), size_t(bytes.size()));
    }
};

// Converts one input into a fresh folder; fails the test on a non-zero exit.
Output convert(QTemporaryDir& dir, const std::string& input, const QStringList& options) {
    Output out;
    out.directory = dir.path();
    out.stem = dir.filePath("conv.18");
    QStringList arguments{"-q"};
    arguments << options << "-o" << out.path('O') << QString::fromStdString(inputPath(input));
    QProcess process;
    process.start(VELMOOR_CONVERT, arguments);
    EXPECT_TRUE(process.waitForFinished(300000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
    return out;
}

using testsupport::headerOf;
using testsupport::linesOf;

std::string expectedHeaderPath(const std::string& variant, char letter) {
    return std::string(VELMOOR_TEST_DATA) + "/versions/" + variant + "/cebr-sample." + letter + ".header";
}

struct HeaderCase {
    const char* variant;
    std::vector<const char*> options;
    std::vector<char> letters;
};

class SampleHeaders : public ::testing::TestWithParam<HeaderCase> {};

TEST_P(SampleHeaders, EqualTheHandCheckedFilesLineByLine) {
    const HeaderCase& c = GetParam();
    QTemporaryDir dir;
    QStringList options;
    for (const char* o : c.options)
        options << o;
    const Output out = convert(dir, "cebr-sample", options);
    EXPECT_EQ(QDir(out.directory).entryList(QDir::Files).size(), int(c.letters.size()));
    for (char letter : c.letters) {
        SCOPED_TRACE(std::string("file ") + letter);
        const std::vector<std::string> actual = headerOf(out.text(letter));
        std::ifstream file(expectedHeaderPath(c.variant, letter), std::ios::binary);
        ASSERT_TRUE(file.good()) << expectedHeaderPath(c.variant, letter);
        std::stringstream expectedText;
        expectedText << file.rdbuf();
        const std::vector<std::string> expected = linesOf(expectedText.str());
        ASSERT_FALSE(expected.empty());
        for (size_t i = 0; i < std::max(actual.size(), expected.size()); ++i) {
            const std::string a = i < actual.size() ? actual[i] : "<missing>";
            const std::string e = i < expected.size() ? expected[i] : "<missing>";
            EXPECT_EQ(a, e) << "header line " << i + 1;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Versions, SampleHeaders,
    ::testing::Values(HeaderCase{"rinex-3.05", {"--rinex", "3.05"}, {'O', 'N', 'G', 'L', 'C'}},
                      HeaderCase{"rinex-4.00", {"--rinex", "4.00"}, {'O', 'N', 'G', 'L', 'C'}},
                      HeaderCase{"rinex-4.00-nav-merged", {"--rinex", "4.00", "--nav-merged"}, {'O', 'P'}},
                      HeaderCase{"rinex-3.04-nav-merged", {"--nav-merged"}, {'O', 'P'}}),
    [](const ::testing::TestParamInfo<HeaderCase>& info) {
        std::string name = info.param.variant;
        for (char& ch : name)
            if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
        return name;
    });

rinex_input::ObsFile readObs(const Output& out) {
    return rinex_input::readObsFile(out.path('O').toStdString());
}

// Every line at most 80 characters, except observation records of RINEX 3 and 4, whose
// satellite lines grow with the number of observation types.
void expectLineLengths(const std::string& text, bool observation) {
    int number = 0;
    for (const std::string& line : linesOf(text)) {
        ++number;
        const bool satelliteLine =
            observation && line.size() >= 3 && std::string("GRECSJI").find(line[0]) != std::string::npos &&
            isdigit(static_cast<unsigned char>(line[1])) && isdigit(static_cast<unsigned char>(line[2]));
        if (!satelliteLine) {
            EXPECT_LE(line.size(), 80u) << "line " << number << ": " << line;
        }
    }
}

class SameStream : public ::testing::TestWithParam<const char*> {};

TEST_P(SameStream, ObservationsOf305And400EqualThoseOf304) {
    const std::string input = GetParam();
    QTemporaryDir d304, d305, d400;
    const rinex_input::ObsFile reference = readObs(convert(d304, input, {"--rinex", "3.04"}));
    ASSERT_FALSE(reference.epochs.empty());
    int events = 0;
    for (const char* version : {"3.05", "4.00"}) {
        SCOPED_TRACE(version);
        const Output out = convert(std::string(version) == "3.05" ? d305 : d400, input, {"--rinex", version});
        expectLineLengths(out.text('O'), true);
        const rinex_input::ObsFile obs = readObs(out);
        EXPECT_DOUBLE_EQ(obs.header.version, std::stod(version));
        EXPECT_EQ(obs.header.obsTypes, reference.header.obsTypes);
        EXPECT_EQ(obs.header.glonassSlots, reference.header.glonassSlots);
        ASSERT_EQ(obs.epochs.size(), reference.epochs.size());
        for (size_t i = 0; i < obs.epochs.size(); ++i) {
            const rinex_input::ObsEpoch& a = obs.epochs[i];
            const rinex_input::ObsEpoch& b = reference.epochs[i];
            ASSERT_EQ(a.week, b.week) << "epoch " << i;
            ASSERT_EQ(a.msOfWeek, b.msOfWeek) << "epoch " << i;
            ASSERT_EQ(a.flag, b.flag) << "epoch " << i;
            EXPECT_EQ(a.eventRecords, b.eventRecords) << "epoch " << i;
            if (a.flag >= 2 && a.flag <= 5) ++events;
            ASSERT_EQ(a.satellites.size(), b.satellites.size()) << "epoch " << i;
            for (size_t k = 0; k < a.satellites.size(); ++k) {
                const rinex_input::SatelliteObs& sa = a.satellites[k];
                const rinex_input::SatelliteObs& sb = b.satellites[k];
                ASSERT_EQ(sa.system, sb.system);
                ASSERT_EQ(sa.number, sb.number);
                ASSERT_EQ(sa.values.size(), sb.values.size());
                for (size_t v = 0; v < sa.values.size(); ++v) {
                    EXPECT_EQ(sa.values[v].present, sb.values[v].present);
                    EXPECT_EQ(sa.values[v].value, sb.values[v].value);
                    EXPECT_EQ(sa.values[v].lli, sb.values[v].lli);
                    EXPECT_EQ(sa.values[v].ssi, sb.values[v].ssi);
                }
            }
        }
    }
    // The marker stream's event records (new site, start of moving) come through unchanged.
    if (input == "cebr-rangecmp-legacy") {
        EXPECT_GT(events, 0);
    }
}

// Records by system, satellite and epoch, for comparisons across files; a repeated key gets
// a running suffix.
std::map<std::string, rinex_input::NavRecord>
recordsByKey(const std::vector<rinex_input::NavRecord>& records) {
    std::map<std::string, rinex_input::NavRecord> out;
    for (const rinex_input::NavRecord& r : records) {
        char text[64];
        std::snprintf(text, sizeof text, "%c%02d %04d-%02d-%02d %02d:%02d:%02d", r.system, r.satellite,
                      r.epoch.year, r.epoch.month, r.epoch.day, r.epoch.hour, r.epoch.minute, r.epoch.second);
        std::string key = text;
        for (int n = 2; out.count(key) != 0; ++n)
            key = std::string(text) + " #" + std::to_string(n);
        out.emplace(key, r);
    }
    return out;
}

TEST_P(SameStream, NavigationRecordsOfEveryVersionReadBackWithTheValuesOf304) {
    const std::string input = GetParam();
    QTemporaryDir d304;
    const Output reference = convert(d304, input, {"--rinex", "3.04"});
    std::vector<rinex_input::NavRecord> all304;
    std::map<char, size_t> count304;
    for (char letter : kSeparateLetters) {
        const rinex_input::NavFile f = rinex_input::readNavFile(reference.path(letter).toStdString());
        count304[letter] = f.records.size();
        all304.insert(all304.end(), f.records.begin(), f.records.end());
    }
    const auto expected = recordsByKey(all304);

    struct Variant {
        QStringList options;
        bool merged;
        double version;
    };
    const Variant variants[] = {{{"--rinex", "3.05"}, false, 3.05},
                                {{"--rinex", "4.00"}, false, 4.0},
                                {{"--rinex", "3.02", "--nav-merged"}, true, 3.02},
                                {{"--nav-merged"}, true, 3.04},
                                {{"--rinex", "3.05", "--nav-merged"}, true, 3.05},
                                {{"--rinex", "4.00", "--nav-merged"}, true, 4.0}};
    for (const Variant& v : variants) {
        SCOPED_TRACE(v.options.join(' ').toStdString());
        QTemporaryDir dir;
        const Output out = convert(dir, input, v.options);
        std::vector<rinex_input::NavRecord> records;
        std::vector<rinex_input::NavSpecialRecord> special;
        const std::vector<char> letters =
            v.merged ? std::vector<char>{'P'} : std::vector<char>{'N', 'G', 'L', 'C'};
        EXPECT_EQ(QDir(out.directory).entryList(QDir::Files).size(), int(letters.size()) + 1);
        for (char letter : letters) {
            expectLineLengths(out.text(letter), false);
            const rinex_input::NavFile f = rinex_input::readNavFile(out.path(letter).toStdString());
            EXPECT_DOUBLE_EQ(f.header.version, v.version);
            if (!v.merged) {
                EXPECT_EQ(f.records.size(), count304[letter]) << letter;
            }
            records.insert(records.end(), f.records.begin(), f.records.end());
            special.insert(special.end(), f.special.begin(), f.special.end());
            // 4.00: ionosphere and time offsets only in records.
            if (v.version == 4.0) {
                EXPECT_EQ(out.text(letter).find("IONOSPHERIC CORR"), std::string::npos);
            }
        }
        ASSERT_EQ(records.size(), all304.size());
        const auto written = recordsByKey(records);
        ASSERT_EQ(written.size(), expected.size());
        for (const auto& entry : expected) {
            const auto found = written.find(entry.first);
            ASSERT_NE(found, written.end()) << entry.first;
            const rinex_input::NavRecord& w = found->second;
            const rinex_input::NavRecord& r = entry.second;
            for (size_t k = 0; k < r.values.size(); ++k) {
                const std::optional<double> value = k < w.values.size() ? w.values[k] : std::nullopt;
                EXPECT_EQ(value, r.values[k]) << entry.first << " value " << k;
            }
            if (v.version == 4.0) {
                EXPECT_FALSE(w.message.empty()) << entry.first;
            }
            if (v.version >= 3.05 && r.system == 'R') {
                EXPECT_EQ(w.orbitLines(), 4u);
            }
        }
        if (v.version == 4.0) {
            // The streams carry a GPS ionosphere/UTC log: one ION and one STO record for it.
            int ion = 0, sto = 0;
            for (const rinex_input::NavSpecialRecord& s : special) {
                ion += s.type == "ION" && s.system == 'G';
                sto += s.type == "STO" && s.system == 'G';
                EXPECT_EQ(s.message, s.system == 'G' ? "LNAV" : "D1D2");
            }
            EXPECT_GE(ion, 1);
            EXPECT_GE(sto, 1);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllInputs, SameStream, ::testing::ValuesIn(kInputs),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             for (char& ch : name)
                                 if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
                             return name;
                         });

} // namespace
