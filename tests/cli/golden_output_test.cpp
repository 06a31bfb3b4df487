// SPDX-License-Identifier: MIT
// Every byte of the converter's output, against the golden files in tests/data/golden/:
// the bundled sample and every test stream, with the default options and three others.
// Any change of the output, however small, fails here; tools/update-golden-output.sh
// rewrites the golden files when a change is meant.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/qt_core_application.h"
#include "support/stream_manifest.h"

namespace {

struct Variant {
    const char* name;
    std::vector<const char*> arguments;
    const char* golden = nullptr; // the golden files to compare with, when not the variant's own
};

const Variant kVariants[] = {
    {"default", {}},
    {"mode-none", {"--mode", "none"}},
    {"mode-only", {"--mode", "only"}},
    {"rinex-3.02", {"--rinex", "3.02"}},
    // The output options at values that leave everything in: the same bytes as without them.
    {"explicit-defaults", {"--systems", "GRECSJI", "--rinex", "3.04", "--mode", "mix"}, "default"},
    {"all-in-window", {"--start", "1980-01-06 00:00:00", "--end", "2099-12-31T23:59:59.999"}, "default"},
    {"finest-interval", {"--interval", "0.05"}, "default"},
    {"finest-interval-mode-none", {"--interval", "0.05", "--mode", "none", "--systems", "ijscerg"}, "mode-none"},
    // The quality check follows the records as they are written: it changes none of them.
    {"quality-check", {"--qc"}, "default"},
    {"quality-check-mode-none", {"--qc", "--mode", "none"}, "mode-none"},
};

const char* const kInputs[] = {"cebr-sample", "cebr-range-key", "cebr-rangecmp-legacy",
                               "cebr-rangecmp2-none"};

const char kLetters[] = {'O', 'N', 'G', 'L', 'C'};

std::string inputPath(const std::string& stem) {
    if (stem == "cebr-sample")
        return VELMOOR_SAMPLE;
    return testsupport::streamDataDirectory() + "/" + stem + ".dat";
}

// The run date is the one field that differs from run to run: columns 41-60 of the
// PGM / RUN BY / DATE line.
std::string maskRunDate(std::string text) {
    const std::string label = "PGM / RUN BY / DATE";
    size_t at = text.find(label);
    if (at == std::string::npos || at < 20)
        return text;
    size_t lineStart = at - 60;
    text.replace(lineStart + 40, 20, std::string(20, '#'));
    return text;
}

// Index and text of the first line that differs, for a readable failure.
std::string firstDifference(const std::string& expected, const std::string& actual) {
    size_t line = 1, start = 0;
    size_t n = std::min(expected.size(), actual.size());
    for (size_t i = 0; i < n; ++i) {
        if (expected[i] != actual[i]) {
            size_t endE = expected.find('\n', i), endA = actual.find('\n', i);
            return "line " + std::to_string(line) + "\n  expected: " +
                   expected.substr(start, endE - start) + "\n  actual:   " +
                   actual.substr(start, endA - start);
        }
        if (expected[i] == '\n') {
            ++line;
            start = i + 1;
        }
    }
    return "sizes differ: expected " + std::to_string(expected.size()) + " bytes, actual " +
           std::to_string(actual.size());
}

using GoldenCase = std::tuple<const char*, Variant>;

class GoldenOutput : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(GoldenOutput, EveryByteEqualsTheGoldenFiles) {
    const std::string stem = std::get<0>(GetParam());
    const Variant& variant = std::get<1>(GetParam());

    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QStringList arguments{"-q"};
    for (const char* argument : variant.arguments)
        arguments << argument;
    const QString output = dir.filePath(QString::fromStdString(stem) + ".xxO");
    arguments << "-o" << output << QString::fromStdString(inputPath(stem));

    QProcess process;
    process.start(VELMOOR_CONVERT, arguments);
    ASSERT_TRUE(process.waitForFinished(300000));
    ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();

    // Exactly the five files, nothing else.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), 5);

    const std::string golden = std::string(VELMOOR_TEST_DATA) + "/golden/" + stem + "/" +
                               (variant.golden != nullptr ? variant.golden : variant.name);
    for (char letter : kLetters) {
        SCOPED_TRACE(std::string("file ") + letter);
        QFile file(dir.filePath(QString::fromStdString(stem) + ".xx" + letter));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        const std::string actual = maskRunDate(std::string(bytes.constData(), size_t(bytes.size())));
        const std::string expected =
            maskRunDate(testsupport::readGzipFile(golden + "/" + stem + "." + letter + ".gz"));
        ASSERT_FALSE(expected.empty());
        EXPECT_TRUE(actual == expected) << firstDifference(expected, actual);
    }
}

std::string caseName(const ::testing::TestParamInfo<GoldenCase>& info) {
    std::string name = std::string(std::get<0>(info.param)) + "_" + std::get<1>(info.param).name;
    for (char& c : name)
        if (!isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(AllInputs, GoldenOutput,
                         ::testing::Combine(::testing::ValuesIn(kInputs), ::testing::ValuesIn(kVariants)),
                         caseName);

TEST(GoldenOutputMask, HidesOnlyTheRunDate) {
    std::string line = std::string("Velmoor") + std::string(33, ' ') + "20261121 203005 UTC " +
                       "PGM / RUN BY / DATE \r\n";
    std::string masked = maskRunDate(line);
    EXPECT_EQ(masked.substr(0, 40), line.substr(0, 40));
    EXPECT_EQ(masked.substr(40, 20), std::string(20, '#'));
    EXPECT_EQ(masked.substr(60), line.substr(60));
}

} // namespace
