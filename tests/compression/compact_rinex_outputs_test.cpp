// SPDX-License-Identifier: MIT
// The converter's own observation files (bundled sample and every test stream, in each PPK
// mode): compressed, expanded again by the tests' expander, and gzipped.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "compression/compact_rinex.h"
#include "support/compact_rinex_expander.h"
#include "support/stream_manifest.h"
#include "support/plain_files.h"

namespace fs = std::filesystem;

namespace {

struct Input {
    std::string path;
    std::string mode;
};

std::vector<Input> inputs() {
    const std::string streams = testsupport::streamDataDirectory();
    std::vector<Input> list;
    const std::string sample = fs::path(VELMOOR_TEST_DATA).parent_path().parent_path().string() + "/samples/cebr-sample.dat";
    for (const char* mode : {"none", "only", "mix"}) list.push_back({sample, mode});
    std::vector<std::string> dats;
    for (const auto& entry : fs::directory_iterator(streams))
        if (entry.path().extension() == ".dat") dats.push_back(entry.path().string());
    std::sort(dats.begin(), dats.end());
    for (const std::string& dat : dats)
        for (const char* mode : {"none", "mix"}) list.push_back({dat, mode});
    return list;
}

class ConverterOutputs : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmoor-crx-out-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { fs::remove_all(dir_); }
    std::string dir_;
};

TEST_F(ConverterOutputs, CompressAndExpandBack) {
#ifndef VELMOOR_CONVERT
    GTEST_SKIP() << "built without the converter (VELMOOR_WITH_QT=OFF)";
#else
    const std::vector<Input> list = inputs();
    ASSERT_GE(list.size(), 9u); // the sample in three modes, three streams in two
    int withEvents = 0;
    for (size_t n = 0; n < list.size(); ++n) {
        const Input& input = list[n];
        SCOPED_TRACE(input.path + " --mode " + input.mode);
        const std::string stem = dir_ + "/out" + std::to_string(n);
        const std::string command = std::string(VELMOOR_CONVERT) + " -q --mode " + input.mode + " -o '" + stem +
                                    ".26O' '" + input.path + "'";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        const std::string plain = testsupport::fileContents(stem + ".26O");
        ASSERT_GT(plain.size(), 1312u);

        std::string error;
        ASSERT_TRUE(compression::compactRinexFile(stem + ".26O", stem + ".26D", &error)) << error;
        const std::string compact = testsupport::fileContents(stem + ".26D");
        std::string back;
        ASSERT_TRUE(testsupport::expandCompactRinex(compact, &back, &error)) << error;
        EXPECT_EQ(back, testsupport::normalisedPlainRinex(plain));
        if (compact.find("\n>                              3  4\n") != std::string::npos &&
            compact.find("\n>                              2  0\n") != std::string::npos)
            ++withEvents;

        ASSERT_TRUE(compression::compactRinexGzipFile(stem + ".26O", stem + ".26D.gz", &error)) << error;
        std::string unzipped = testsupport::readGzipFile(stem + ".26D.gz");
        // Equal but for the date line, which holds the minute of the run.
        const auto dropDate = [](const std::string& s) {
            const size_t a = s.find('\n'), b = s.find('\n', a + 1);
            return s.substr(0, a + 1) + s.substr(b + 1);
        };
        EXPECT_EQ(dropDate(unzipped), dropDate(compact));

        ASSERT_TRUE(compression::gzipFile(stem + ".26O", stem + ".26O.gz", &error)) << error;
        EXPECT_EQ(testsupport::readGzipFile(stem + ".26O.gz"), plain);
        // The navigation files gzip as well.
        ASSERT_TRUE(compression::gzipFile(stem + ".26N", stem + ".26N.gz", &error)) << error;
        EXPECT_EQ(testsupport::readGzipFile(stem + ".26N.gz"), testsupport::fileContents(stem + ".26N"));

        RecordProperty("sizes" + std::to_string(n), std::to_string(plain.size()) + " " +
                                                        std::to_string(compact.size()) + " " +
                                                        std::to_string(fs::file_size(stem + ".26D.gz")));
        EXPECT_LT(compact.size(), plain.size() / 2);
    }
    // The sample's "only" and "mix" outputs, at least, hold new-site and moving events.
    EXPECT_GE(withEvents, 2);
#endif
}

// The converter's own --compress crx and crx.gz (the body compressed while it is written,
// on a thread of its own, or on the conversion's one thread when two inputs run side by
// side): the bytes of the plain output compressed afterwards, and no hidden file left.
TEST_F(ConverterOutputs, CompressedWhileWrittenEqualsCompressedAfterwards) {
#ifndef VELMOOR_CONVERT
    GTEST_SKIP() << "built without the converter (VELMOOR_WITH_QT=OFF)";
#else
    const auto dropDates = [](const std::string& s) {
        // The compact header's date line and the RINEX header's run date.
        std::string kept;
        std::istringstream in(s);
        for (std::string line; std::getline(in, line);)
            if (line.find("CRINEX PROG / DATE") == std::string::npos && line.find("PGM / RUN BY / DATE") == std::string::npos)
                kept += line + "\n";
        return kept;
    };
    const std::vector<Input> list = inputs();
    for (size_t n = 0; n < list.size(); ++n) {
        const Input& input = list[n];
        SCOPED_TRACE(input.path + " --mode " + input.mode);
        const std::string stem = dir_ + "/out" + std::to_string(n);
        const std::string convert = std::string(VELMOOR_CONVERT) + " -q --mode " + input.mode;
        ASSERT_EQ(std::system((convert + " -o '" + stem + ".26O' '" + input.path + "'").c_str()), 0);
        std::string error;
        ASSERT_TRUE(compression::compactRinexFile(stem + ".26O", stem + ".26D", &error)) << error;
        const std::string expected = dropDates(testsupport::fileContents(stem + ".26D"));

        fs::create_directory(stem + "-a");
        ASSERT_EQ(std::system((convert + " --compress crx -o '" + stem + "-a/x.26O' '" + input.path + "'").c_str()), 0);
        EXPECT_EQ(dropDates(testsupport::fileContents(stem + "-a/x.26D")), expected);

        fs::create_directory(stem + "-b");
        ASSERT_TRUE(fs::copy_file(input.path, stem + "-b/one.dat"));
        ASSERT_TRUE(fs::copy_file(input.path, stem + "-b/two.dat"));
        ASSERT_EQ(std::system((convert + " -j 2 --compress crx.gz '" + stem + "-b/one.dat' '" + stem + "-b/two.dat'").c_str()), 0);
        EXPECT_EQ(dropDates(testsupport::readGzipFile(stem + "-b/one.26D.gz")), expected);
        EXPECT_EQ(dropDates(testsupport::readGzipFile(stem + "-b/two.26D.gz")), expected);

        for (const char* folder : {"-a", "-b"})
            for (const auto& entry : fs::directory_iterator(stem + folder))
                EXPECT_NE(entry.path().filename().string()[0], '.') << entry.path();
    }
#endif
}

} // namespace
