// SPDX-License-Identifier: MIT
// The file functions: Compact RINEX, gzip and both at once on real RINEX 3 files, read
// back with zlib and the tests' expander; failures name the file and leave nothing behind.
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <zlib.h>

#include "compact_rinex_test_texts.h"
#include "compression/compact_rinex.h"
#include "support/compact_rinex_expander.h"
#include "support/stream_manifest.h"
#include "support/plain_files.h"

namespace fs = std::filesystem;

namespace {

const std::string kRinexData = std::string(VELMOOR_TEST_DATA) + "/rinex/";

class CompactRinexFiles : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmoor-crx-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { fs::remove_all(dir_); }
    std::string path(const std::string& name) const { return dir_ + "/" + name; }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir_)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string dir_;
};

// Compressed text without its date line (the only line that depends on the time of the run).
std::string withoutDateLine(const std::string& compact) {
    const size_t first = compact.find('\n');
    const size_t second = compact.find('\n', first + 1);
    return compact.substr(0, first + 1) + compact.substr(second + 1);
}

void expectRoundTrip(const std::string& plain, const std::string& compact) {
    std::string back, error;
    ASSERT_TRUE(testsupport::expandCompactRinex(compact, &back, &error)) << error;
    EXPECT_EQ(back, testsupport::normalisedPlainRinex(plain));
}

TEST_F(CompactRinexFiles, RinexFilesRoundTrip) {
    const struct {
        const char* name;
        bool gzipped;
    } inputs[] = {
        {"CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx", false},
        {"ABMF00GLP_R_20181330000_3EPOCHS_30S_MO.rnx", false},
        {"CEBR00ESP_R_20182000000_20EPOCHS_30S_MO.rnx.gz", true},
        {"ESBC00DNK_R_20201770000_20EPOCHS_30S_MO.rnx.gz", true},
        {"handmade-2.11-obs.rnx", false}, // version 2.11: Compact RINEX 1.0
    };
    for (const auto& input : inputs) {
        SCOPED_TRACE(input.name);
        const std::string plain =
            input.gzipped ? testsupport::readGzipFile(kRinexData + input.name) : testsupport::fileContents(kRinexData + input.name);
        const std::string plainPath = path("in.rnx");
        testsupport::writeContents(plainPath, plain);
        std::string error;
        ASSERT_TRUE(compression::compactRinexFile(plainPath, path("out.crx"), &error)) << error;
        const std::string compact = testsupport::fileContents(path("out.crx"));
        expectRoundTrip(plain, compact);
        EXPECT_LT(compact.size(), plain.size());
        EXPECT_EQ(compact.substr(0, 3), plain[5] == '2' ? "1.0" : "3.0");
        // Both at once gives the same text inside gzip.
        ASSERT_TRUE(compression::compactRinexGzipFile(plainPath, path("out.crx.gz"), &error)) << error;
        EXPECT_EQ(withoutDateLine(testsupport::readGzipFile(path("out.crx.gz"))), withoutDateLine(compact));
        fs::remove(path("out.crx"));
        fs::remove(path("out.crx.gz"));
    }
}

TEST_F(CompactRinexFiles, GzipReadsBackWithZlib) {
    std::string content;
    for (int i = 0; i < 200000; ++i) content += "line " + std::to_string(i * 7919 % 100003) + "\r\n";
    content += std::string("\0\x01\xff binary tail", 16);
    testsupport::writeContents(path("x.26O"), content);
    std::string error;
    ASSERT_TRUE(compression::gzipFile(path("x.26O"), path("x.26O.gz"), &error)) << error;
    const std::string gz = testsupport::fileContents(path("x.26O.gz"));
    ASSERT_GE(gz.size(), 18u);
    EXPECT_EQ(uint8_t(gz[0]), 0x1f); // the gzip magic
    EXPECT_EQ(uint8_t(gz[1]), 0x8b);
    EXPECT_EQ(testsupport::readGzipFile(path("x.26O.gz")), content);
    EXPECT_LT(gz.size(), content.size() / 3);
    // An empty file gives a valid, empty gzip stream.
    testsupport::writeContents(path("empty"), "");
    ASSERT_TRUE(compression::gzipFile(path("empty"), path("empty.gz"), &error)) << error;
    EXPECT_EQ(testsupport::readGzipFile(path("empty.gz")), "");
}

TEST_F(CompactRinexFiles, FailuresNameTheFileAndLeaveNothingBehind) {
    std::string error;
    // Missing input.
    EXPECT_FALSE(compression::compactRinexFile(path("missing.26O"), path("missing.26D"), &error));
    EXPECT_EQ(error.rfind(path("missing.26O") + ": cannot be read: ", 0), 0u) << error;
    EXPECT_FALSE(compression::gzipFile(path("missing.26O"), path("missing.26O.gz"), &error));
    EXPECT_EQ(error.rfind(path("missing.26O") + ": cannot be read: ", 0), 0u) << error;
    EXPECT_FALSE(compression::compactRinexGzipFile(path("missing.26O"), path("missing.26D.gz"), &error));
    EXPECT_EQ(error.rfind(path("missing.26O") + ": cannot be read: ", 0), 0u) << error;
    EXPECT_TRUE(files().empty());

    // Not an observation file: a navigation file.
    testsupport::writeContents(path("nav.26N"), testsupport::fileContents(kRinexData + "ELKO00USA_R_20182100000_01D_MN_subset.rnx"));
    EXPECT_FALSE(compression::compactRinexFile(path("nav.26N"), path("nav.26D"), &error));
    EXPECT_EQ(error, path("nav.26N") + ": line 1: not a RINEX observation file (first line is not an observation "
                                       "RINEX VERSION / TYPE line)");
    EXPECT_FALSE(compression::compactRinexGzipFile(path("nav.26N"), path("nav.26D.gz"), &error));
    EXPECT_EQ(files(), std::vector<std::string>{"nav.26N"});

    // Damage deep inside a long file: the partial output is removed.
    std::string plain = testsupport::fileContents(kRinexData + "CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx");
    const std::string epochs = plain.substr(plain.find("> 2018"));
    for (int i = 0; i < 50; ++i) plain += epochs; // about 1.2 MB
    plain += "> 2018 07 19 00 01 30.0000000  0  1\nG01     1234.5678\n";
    testsupport::writeContents(path("long.26O"), plain);
    EXPECT_FALSE(compression::compactRinexFile(path("long.26O"), path("long.26D"), &error));
    EXPECT_NE(error.find(path("long.26O") + ": line "), std::string::npos) << error;
    EXPECT_NE(error.find("not a number of the form F14.3"), std::string::npos) << error;
    EXPECT_FALSE(compression::compactRinexGzipFile(path("long.26O"), path("long.26D.gz"), &error));
    EXPECT_EQ(files(), (std::vector<std::string>{"long.26O", "nav.26N"}));

    // An existing output is never replaced.
    testsupport::writeContents(path("obs.26O"), testsupport::fileContents(kRinexData + "CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx"));
    testsupport::writeContents(path("obs.26D"), "keep");
    EXPECT_FALSE(compression::compactRinexFile(path("obs.26O"), path("obs.26D"), &error));
    EXPECT_EQ(error, path("obs.26D") + ": already exists");
    EXPECT_EQ(testsupport::fileContents(path("obs.26D")), "keep");
    testsupport::writeContents(path("obs.26O.gz"), "keep");
    EXPECT_FALSE(compression::gzipFile(path("obs.26O"), path("obs.26O.gz"), &error));
    EXPECT_EQ(testsupport::fileContents(path("obs.26O.gz")), "keep");

    // An output folder that does not exist.
    EXPECT_FALSE(compression::compactRinexFile(path("obs.26O"), path("no/such/obs.26D"), &error));
    EXPECT_EQ(error.rfind(path("no/such/obs.26D") + ": cannot be created: ", 0), 0u) << error;

    // The error pointer may be null.
    EXPECT_FALSE(compression::compactRinexFile(path("missing"), path("x"), nullptr));
}

TEST_F(CompactRinexFiles, WriteFailureIsReported) {
    // A child process limited in file size: the writes beyond fail (EFBIG).
    std::string plain = testsupport::fileContents(kRinexData + "CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx");
    const std::string epochs = plain.substr(plain.find("> 2018"));
    for (int i = 0; i < 20; ++i) plain += epochs; // about 480 KB
    testsupport::writeContents(path("obs.26O"), plain);
    auto inChild = [&](bool (*function)(const std::string&, const std::string&, std::string*), const std::string& out,
                       rlim_t size) {
        const pid_t pid = fork();
        if (pid == 0) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{size, size};
            setrlimit(RLIMIT_FSIZE, &limit);
            std::string error;
            const bool ok = function(path("obs.26O"), out, &error);
            const bool named = error.rfind(out + ": write failed: ", 0) == 0;
            _exit(!ok && named && !fs::exists(out) ? 0 : 1);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    EXPECT_EQ(inChild(compression::compactRinexFile, path("obs.26D"), 65536), 0);
    EXPECT_EQ(inChild(compression::gzipFile, path("obs.26O.gz"), 2048), 0);
    EXPECT_EQ(files(), std::vector<std::string>{"obs.26O"});
}

TEST_F(CompactRinexFiles, LastLineWithoutLineFeed) {
    std::string plain = testsupport::fileContents(kRinexData + "CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx");
    ASSERT_EQ(plain.back(), '\n');
    plain.pop_back();
    testsupport::writeContents(path("in.rnx"), plain);
    std::string error;
    ASSERT_TRUE(compression::compactRinexFile(path("in.rnx"), path("out.crx"), &error)) << error;
    expectRoundTrip(plain, testsupport::fileContents(path("out.crx")));
}

} // namespace
