// SPDX-License-Identifier: MIT
// Appending a whole file to a sink: inside the kernel between files, through a buffer from
// what the kernel cannot copy (a pipe), and a full disk reported as the sink's failure.
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

#include "compression/input_blocks.h"
#include "compression/output_sink.h"
#include "support/plain_files.h"

namespace {

// Bytes that no shift of a shorter pattern repeats: a misplaced block shows.
std::string numberedBytes(size_t size) {
    std::string bytes(size, '\0');
    uint32_t x = 2463534242u;
    for (size_t i = 0; i < size; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        bytes[i] = char(x);
    }
    return bytes;
}

class OutputSinkAppend : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmoor-sink-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }
    std::string path(const char* name) const { return dir_ + "/" + name; }
    std::string dir_;
};

TEST_F(OutputSinkAppend, FileToFileCopiesEveryByteAfterWhatWasWritten) {
    // Larger than one copy's buffer, not a multiple of a page.
    const std::string body = numberedBytes(3 * 1024 * 1024 + 4321);
    testsupport::writeContents(path("body"), body);
    compression::InputFile input;
    ASSERT_TRUE(input.open(path("body")));
    compression::FileSink sink;
    ASSERT_TRUE(sink.open(path("out")));
    ASSERT_TRUE(sink.write("header\n", 7));
    bool readFailed = true;
    ASSERT_TRUE(sink.append(input, &readFailed)) << sink.error();
    ASSERT_TRUE(sink.close()) << sink.error();
    EXPECT_EQ(testsupport::fileContents(path("out")), "header\n" + body);
}

TEST_F(OutputSinkAppend, EmptyInputAppendsNothing) {
    testsupport::writeContents(path("empty"), "");
    compression::InputFile input;
    ASSERT_TRUE(input.open(path("empty")));
    compression::FileSink sink;
    ASSERT_TRUE(sink.open(path("out")));
    bool readFailed = false;
    ASSERT_TRUE(sink.append(input, &readFailed));
    ASSERT_TRUE(sink.close());
    EXPECT_TRUE(testsupport::fileContents(path("out")).empty());
}

TEST_F(OutputSinkAppend, PipeGoesThroughTheBuffer) {
    // The kernel copies between files only; a pipe takes the buffered way.
    const std::string body = numberedBytes(2 * 1024 * 1024 + 17);
    const std::string fifo = path("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&] {
        const int fd = ::open(fifo.c_str(), O_WRONLY);
        for (size_t at = 0; fd >= 0 && at < body.size();) {
            const ssize_t n = ::write(fd, body.data() + at, body.size() - at);
            if (n <= 0) break;
            at += size_t(n);
        }
        if (fd >= 0) ::close(fd);
    });
    compression::InputFile input;
    const bool opened = input.open(fifo);
    compression::FileSink sink;
    bool appended = false;
    if (opened && sink.open(path("out"))) {
        bool readFailed = false;
        appended = sink.append(input, &readFailed) && sink.close();
    }
    writer.join();
    ASSERT_TRUE(opened);
    ASSERT_TRUE(appended) << sink.error();
    EXPECT_EQ(testsupport::fileContents(path("out")), body);
}

TEST_F(OutputSinkAppend, StringSinkTakesTheWholeFile) {
    const std::string body = numberedBytes(1500000);
    testsupport::writeContents(path("body"), body);
    compression::InputFile input;
    ASSERT_TRUE(input.open(path("body")));
    std::string target;
    compression::StringSink sink(target);
    bool readFailed = true;
    ASSERT_TRUE(sink.append(input, &readFailed));
    EXPECT_EQ(target, body);
}

TEST_F(OutputSinkAppend, FullDiskIsTheSinksFailure) {
    const std::string body = numberedBytes(1 << 20);
    testsupport::writeContents(path("body"), body);
    // A child limited in file size: the copy beyond the limit fails (EFBIG).
    const pid_t pid = ::fork();
    if (pid == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{65536, 65536};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        compression::InputFile input;
        compression::FileSink sink;
        if (!input.open(path("body")) || !sink.open(path("out"))) ::_exit(2);
        bool readFailed = true;
        const bool ok = sink.append(input, &readFailed);
        const bool named = sink.error().rfind("write failed: ", 0) == 0;
        ::_exit(!ok && !readFailed && named ? 0 : 1);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
