// SPDX-License-Identifier: MIT
// velmoor-bench-io: the strict raw-I/O limit of a conversion, timed inside one process.
// Reads the input in 1 MiB blocks and writes a given number of bytes in 1 MiB blocks into
// files in an output folder, RUNS times, and prints the wall time of each run. Nothing but
// the data moving through the page cache is timed: no process start, no other tool.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t kBlock = 1 << 20;

// User + system time of this process so far, seconds.
double cpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

const char kUsage[] =
    "Usage: velmoor-bench-io INPUT OUTPUT-DIR BYTES [RUNS]\n"
    "Reads INPUT and writes BYTES bytes into OUTPUT-DIR/io-baseline, both in 1 MiB blocks,\n"
    "RUNS times (default 1); prints one line per run: seconds=<wall time> cpu=<user + system>.\n";

bool readAll(const char* path, std::vector<char>& block) {
    const int fd = ::open(path, O_RDONLY);
    if (fd < 0) return false;
    for (;;) {
        const ssize_t n = ::read(fd, block.data(), kBlock);
        if (n < 0) {
            ::close(fd);
            return false;
        }
        if (n == 0) break;
    }
    return ::close(fd) == 0;
}

bool writeBytes(const std::string& path, unsigned long long bytes, const std::vector<char>& block) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) return false;
    while (bytes > 0) {
        const size_t n = bytes < kBlock ? size_t(bytes) : kBlock;
        size_t done = 0;
        while (done < n) {
            const ssize_t w = ::write(fd, block.data() + done, n - done);
            if (w <= 0) {
                ::close(fd);
                return false;
            }
            done += size_t(w);
        }
        bytes -= n;
    }
    return ::close(fd) == 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4 || argc > 5) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const char* input = argv[1];
    const std::string output = std::string(argv[2]) + "/io-baseline";
    char* end = nullptr;
    const unsigned long long bytes = std::strtoull(argv[3], &end, 10);
    if (end == argv[3] || *end != '\0') {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const int runs = argc == 5 ? std::atoi(argv[4]) : 1;
    if (runs < 1) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    // The output block holds text-like bytes; touched once so that no run pays for faults.
    std::vector<char> readBlock(kBlock), writeBlock(kBlock, ' ');
    for (int run = 0; run < runs; ++run) {
        ::unlink(output.c_str());
        const double cpuStart = cpuSeconds();
        const auto start = std::chrono::steady_clock::now();
        if (!readAll(input, readBlock)) {
            std::fprintf(stderr, "velmoor-bench-io: cannot read %s\n", input);
            return 1;
        }
        if (!writeBytes(output, bytes, writeBlock)) {
            std::fprintf(stderr, "velmoor-bench-io: cannot write %s\n", output.c_str());
            return 1;
        }
        const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
        std::printf("seconds=%.6f cpu=%.6f\n", wall.count(), cpuSeconds() - cpuStart);
        std::fflush(stdout);
    }
    ::unlink(output.c_str());
    return 0;
}
