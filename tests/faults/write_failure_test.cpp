// SPDX-License-Identifier: MIT
// A write that fails (simulated with a file-size limit on the converter's process, its
// SIGXFSZ ignored so that the write returns an error instead of killing it) makes
// velmoor-convert exit 1 naming the file: a full disk never passes as a success.
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTemporaryDir>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/stream_manifest.h"

namespace {

struct Result {
    bool exited = false;
    int exitCode = -1;
    std::string err;
};

// Runs the converter in a child process whose files may not grow beyond `limit` bytes.
Result runWithFileSizeLimit(const std::vector<std::string>& arguments, rlim_t limit) {
    std::vector<std::string> args = {VELMOOR_CONVERT};
    args.insert(args.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    Result result;
    int pipeEnds[2];
    if (::pipe(pipeEnds) != 0) return result;
    const pid_t pid = ::fork();
    if (pid == 0) {
        // Only async-signal-safe calls between fork and exec.
        ::dup2(pipeEnds[1], STDERR_FILENO);
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        const int devNull = ::open("/dev/null", O_WRONLY);
        if (devNull >= 0) ::dup2(devNull, STDOUT_FILENO);
        ::signal(SIGXFSZ, SIG_IGN); // an ignored signal stays ignored across exec
        const struct rlimit limited = {limit, limit};
        ::setrlimit(RLIMIT_FSIZE, &limited);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(pipeEnds[1]);
    if (pid < 0) {
        ::close(pipeEnds[0]);
        return result;
    }
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(pipeEnds[0], buffer, sizeof buffer)) > 0)
        result.err.append(buffer, size_t(n));
    ::close(pipeEnds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.exited = WIFEXITED(status);
    result.exitCode = result.exited ? WEXITSTATUS(status) : -1;
    return result;
}

class WriteFailure : public ::testing::Test {
protected:
    void SetUp() override {
        input_ = testsupport::streamDataDirectory() + "/cebr-range-key.dat";
        if (!QFile::exists(QString::fromStdString(input_))) GTEST_SKIP() << "test stream missing";
        ASSERT_TRUE(dir_.isValid());
        output_ = dir_.filePath("limited.18O").toStdString();
    }

    // The converter failed, naming as the file that could not be written one of its five
    // output files, one that indeed stopped at the limit.
    void expectFailureNamingAFileAtTheLimit(const Result& result, qint64 limit) {
        ASSERT_TRUE(result.exited) << result.err;
        EXPECT_EQ(result.exitCode, 1) << result.err;
        EXPECT_EQ(result.err.find("Cost="), std::string::npos) << result.err;
        const std::string marker = "failed: write failed, ";
        const size_t at = result.err.find(marker);
        ASSERT_NE(at, std::string::npos) << result.err;
        const std::string named = result.err.substr(at + marker.size(), output_.size());
        const std::string base = output_.substr(0, output_.size() - 1);
        EXPECT_EQ(named.substr(0, base.size()), base) << result.err;
        EXPECT_NE(std::string("OCLNG").find(named.back()), std::string::npos) << result.err;
        EXPECT_EQ(QFileInfo(QString::fromStdString(named)).size(), limit) << named;
    }

    std::string input_;
    std::string output_;
    QTemporaryDir dir_;
};

} // namespace

TEST_F(WriteFailure, FullDiskDuringTheConversionExitsOneNamingTheFile) {
    // 64 KiB: the reservations fit, the records of the stream do not.
    const Result result = runWithFileSizeLimit({"-o", output_, input_}, 64 * 1024);
    expectFailureNamingAFileAtTheLimit(result, 64 * 1024);
}

TEST_F(WriteFailure, FullDiskAlreadyAtTheHeaderReservationExitsOneNamingTheFile) {
    // 2000 bytes: the observation file's reserved header (5330 bytes) does not fit either.
    const Result result = runWithFileSizeLimit({"-o", output_, input_}, 2000);
    expectFailureNamingAFileAtTheLimit(result, 2000);
}

TEST_F(WriteFailure, WithoutTheLimitTheSameConversionSucceeds) {
    // The reference: the failures above come from the limit alone.
    const Result result = runWithFileSizeLimit({"-o", output_, input_}, RLIM_INFINITY);
    ASSERT_TRUE(result.exited) << result.err;
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err.find("failed"), std::string::npos) << result.err;
}
