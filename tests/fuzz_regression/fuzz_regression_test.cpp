// SPDX-License-Identifier: MIT
// Inputs that once made a fuzz target fail (a sanitizer report, a crash or a broken output
// invariant), replayed through the same target code. Under the sanitizer build
// (VELMOOR_SANITIZE) a relapse shows up exactly as the fuzzer saw it.
#include <QDir>
#include <QFile>
#include <QFileInfoList>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "targets.h"

namespace {

using Target = std::string (*)(const uint8_t*, size_t);

// Runs every saved input of one target; the number of inputs replayed.
int replay(const char* folder, Target target) {
    const QDir dir(QStringLiteral(VELMOOR_FUZZ_REGRESSIONS "/") + folder);
    int count = 0;
    for (const QFileInfo& info : dir.entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(info.filePath());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << info.filePath().toStdString();
        const QByteArray bytes = file.readAll();
        const std::string broken =
            target(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
        EXPECT_EQ(broken, "") << info.fileName().toStdString();
        ++count;
    }
    return count;
}

} // namespace

TEST(FuzzRegression, StreamInputs) {
    if (replay("stream", fuzzing::runStream) == 0) GTEST_SKIP() << "no saved stream inputs";
}

TEST(FuzzRegression, WriterInputs) {
    if (replay("writer", fuzzing::runWriter) == 0) GTEST_SKIP() << "no saved writer inputs";
}

TEST(FuzzRegression, OptionsInputs) {
    if (replay("options", fuzzing::runOutputOptions) == 0) GTEST_SKIP() << "no saved options inputs";
}

// The saved writer inputs, and a fixed set of pseudo-random ones, in every version, with
// separate and mixed navigation files (2.11: separate only): no crash, every invariant of the
// writer target kept (line lengths, line ends, header reservations, reported bytes).
TEST(FuzzRegression, WriterInputsInEveryVersion) {
    std::vector<QByteArray> inputs;
    const QDir dir(QStringLiteral(VELMOOR_FUZZ_REGRESSIONS "/writer"));
    for (const QFileInfo& info : dir.entryInfoList(QDir::Files, QDir::Name)) {
        QFile file(info.filePath());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << info.filePath().toStdString();
        inputs.push_back(file.readAll());
    }
    std::mt19937 random(20261123u);
    for (int i = 0; i < 64; ++i) {
        QByteArray bytes(int(random() % 4096), '\0');
        for (char& c : bytes)
            c = char(random() & 0xff);
        inputs.push_back(bytes);
    }
    for (const char* version : {"3.02", "3.03", "3.04", "3.05", "4.00", "2.11"}) {
        for (bool merged : {false, true}) {
            // RINEX 2.11 has no mixed navigation file.
            if (merged && std::string(version) == "2.11") continue;
            for (size_t i = 0; i < inputs.size(); ++i) {
                const QByteArray& bytes = inputs[i];
                EXPECT_EQ(fuzzing::runWriterAs(reinterpret_cast<const uint8_t*>(bytes.constData()),
                                               size_t(bytes.size()), version, merged),
                          "")
                    << "input " << i << ", " << version << (merged ? " merged" : "");
            }
        }
    }
}

TEST(FuzzRegression, HeaderInputs) {
    if (replay("header", fuzzing::runHeader) == 0) GTEST_SKIP() << "no saved header inputs";
}

TEST(FuzzRegression, CompactRinexInputs) {
    if (replay("compact_rinex", fuzzing::runCompactRinex) == 0) GTEST_SKIP() << "no saved compact_rinex inputs";
}

TEST(FuzzRegression, RinexInputs) {
    if (replay("rinex", fuzzing::runRinex) == 0) GTEST_SKIP() << "no saved rinex inputs";
}
