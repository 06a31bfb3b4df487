// Inputs that once made a fuzz target fail (a sanitizer report, a crash or a broken output
// invariant), replayed through the same target code. Under the sanitizer build
// (VELMOOR_SANITIZE) a relapse shows up exactly as the fuzzer saw it.
#include <QDir>
#include <QFile>
#include <QFileInfoList>
#include <gtest/gtest.h>

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

TEST(FuzzRegression, HeaderInputs) {
    if (replay("header", fuzzing::runHeader) == 0) GTEST_SKIP() << "no saved header inputs";
}

TEST(FuzzRegression, CompactRinexInputs) {
    if (replay("compact_rinex", fuzzing::runCompactRinex) == 0) GTEST_SKIP() << "no saved compact_rinex inputs";
}

TEST(FuzzRegression, RinexInputs) {
    if (replay("rinex", fuzzing::runRinex) == 0) GTEST_SKIP() << "no saved rinex inputs";
}
