// SPDX-License-Identifier: MIT
// The frame CRC's two paths on one large buffer, and per frame length, which decides from
// what length crc32 folds. Instruction counts: run one path under valgrind and subtract a run
// of --path none (the buffer's filling), see bench/README.md.
//
//   velmoor-bench-checksum [--size-mb 100] [--runs 7] [--path both|tables|fold|none] [--lengths]
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "decoding/checksum.h"
#include "decoding/checksum_fold.h"


namespace {

using Clock = std::chrono::steady_clock;

using CrcFunction = uint32_t (*)(const uint8_t*, uint32_t);

uint32_t tables(const uint8_t* data, uint32_t length) { return decoding::crc32Portable(0, data, length); }
uint32_t dispatched(const uint8_t* data, uint32_t length) { return decoding::crc32(0, data, length); }
uint32_t folded(const uint8_t* data, uint32_t length) { return decoding::detail::crc32Folded(data, length); }

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

volatile uint32_t g_sink;

struct Measure {
    double best = 0, median = 0;
    uint32_t crc = 0;
};

// Runs f over the buffer in pieces of `length` bytes (the whole buffer when 0), `runs` times.
Measure measure(CrcFunction f, const std::vector<uint8_t>& buffer, uint32_t length, int runs) {
    std::vector<double> seconds;
    Measure m;
    const size_t size = buffer.size();
    for (int r = 0; r < runs; ++r) {
        uint32_t acc = 0;
        const auto t0 = Clock::now();
        if (length == 0) {
            acc = f(buffer.data(), uint32_t(size));
        } else {
            for (size_t at = 0; at + length <= size; at += length)
                acc ^= f(buffer.data() + at, length);
        }
        const auto t1 = Clock::now();
        g_sink = acc;
        m.crc = acc;
        seconds.push_back(std::chrono::duration<double>(t1 - t0).count());
    }
    m.best = *std::min_element(seconds.begin(), seconds.end());
    m.median = median(seconds);
    return m;
}

void usage() {
    std::fprintf(stderr, "usage: velmoor-bench-checksum [--size-mb N] [--runs N] [--path both|tables|fold|none] [--lengths]\n");
}

} // namespace

int main(int argc, char** argv) {
    double sizeMb = 100;
    int runs = 7;
    std::string path = "both";
    bool lengths = false;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--size-mb" && i + 1 < argc) sizeMb = std::atof(argv[++i]);
        else if (a == "--runs" && i + 1 < argc) runs = std::atoi(argv[++i]);
        else if (a == "--path" && i + 1 < argc) path = argv[++i];
        else if (a == "--lengths") lengths = true;
        else {
            usage();
            return 2;
        }
    }
    if (sizeMb <= 0 || sizeMb > 4000 || runs < 1 || (path != "both" && path != "tables" && path != "fold" && path != "none")) {
        usage();
        return 2;
    }

    std::vector<uint8_t> buffer(size_t(sizeMb * 1e6));
    uint32_t x = 2463534242u;
    for (uint8_t& b : buffer) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b = uint8_t(x >> 11);
    }
    std::printf("buffer %.1f MB, %d runs, carry-less multiply %s\n", double(buffer.size()) / 1e6, runs,
                decoding::crc32UsesCarrylessMultiply() ? "used" : "not available");

    const double mb = double(buffer.size()) / 1e6;
    std::printf("%-8s %10s %10s %10s %10s\n", "path", "best s", "median s", "MB/s", "crc");
    auto row = [&](const char* name, CrcFunction f) {
        const Measure m = measure(f, buffer, 0, runs);
        std::printf("%-8s %10.4f %10.4f %10.0f   %08x\n", name, m.best, m.median, mb / m.best, unsigned(m.crc));
        return m.crc;
    };
    uint32_t a = 0, b = 0;
    if (path == "both" || path == "tables") a = row("tables", tables);
    if (path == "both" || path == "fold") b = row("crc32", dispatched);
    if (path == "both" && a != b) {
        std::fprintf(stderr, "the two paths disagree\n");
        return 1;
    }

    if (lengths) {
        // Back-to-back frames of one length, as the synchroniser checks them.
        const bool fold = decoding::detail::crc32FoldSupported();
        std::printf("\n%8s %14s %14s %10s\n", "length", "tables ns", "fold ns", "fold/tables");
        for (const uint32_t length : {16u, 17u, 18u, 19u, 20u, 24u, 32u, 40u, 48u, 56u, 64u, 72u, 80u, 96u, 128u, 192u, 256u, 512u, 1024u,
                                      2048u, 4096u}) {
            const double frames = double(buffer.size() / length);
            const Measure t = measure(tables, buffer, length, runs);
            std::printf("%8u %14.2f", unsigned(length), t.best / frames * 1e9);
            if (fold) {
                const Measure f = measure(folded, buffer, length, runs);
                if (f.crc != t.crc) {
                    std::fprintf(stderr, "\nthe two paths disagree at length %u\n", unsigned(length));
                    return 1;
                }
                std::printf(" %14.2f %10.2f", f.best / frames * 1e9, f.best / t.best);
            }
            std::printf("\n");
        }
    }
    return 0;
}
