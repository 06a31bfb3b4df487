// SPDX-License-Identifier: MIT
// The two fixed-width number forms of the RINEX writer on values shaped like a conversion's:
// the 14-character observation field (pseudoranges, phases, Dopplers, strengths in turn) and
// the navigation records' exponent form (12 and 5 decimals). Prints nanoseconds per value.
//
//   velmoor-bench-format [--values 4000000] [--runs 7]
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "rinex/number_format.h"

namespace {

using Clock = std::chrono::steady_clock;

volatile int g_sink;

// A fixed xorshift sequence: every run and every build formats the same values.
struct Sequence {
    uint64_t x = 88172645463325252ull;
    double next() { // [0, 1)
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        return double(x >> 11) / 9007199254740992.0;
    }
};

std::vector<double> observationValues(size_t count) {
    Sequence r;
    std::vector<double> v(count);
    for (size_t i = 0; i < count; ++i) {
        switch (i % 4) {
        case 0: // pseudorange, m
            v[i] = 2.0e7 + r.next() * 1.8e7;
            break;
        case 1: // phase, cycles
            v[i] = (r.next() - 0.3) * 2.0e8;
            break;
        case 2: // Doppler, Hz
            v[i] = (r.next() - 0.5) * 8000.0;
            break;
        default: // strength, dB-Hz
            v[i] = 25.0 + std::floor(r.next() * 30.0);
            break;
        }
    }
    return v;
}

// Magnitudes of an ephemeris record's fields: times, clock terms, orbit elements and rates.
std::vector<double> navigationValues(size_t count) {
    static const double kScales[] = {1e-4,   1e-11, 0.0,  40.0, 50.0, 4e-9, 1.0,   1e-6, 1e-2,  1e-5,
                                     5153.6, 5e5,   1e-7, 2.0,  1e-7, 0.96, 200.0, 1.0,  -8e-9, 1e-10};
    Sequence r;
    std::vector<double> v(count);
    for (size_t i = 0; i < count; ++i) {
        const double scale = kScales[i % (sizeof kScales / sizeof kScales[0])];
        v[i] = scale * (0.5 + r.next()) * (r.next() < 0.5 ? -1.0 : 1.0);
    }
    return v;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

template <typename Format>
void measure(const char* name, const std::vector<double>& values, int runs, Format format) {
    std::vector<char> out(1 << 16);
    std::vector<double> perValue;
    for (int r = 0; r < runs; ++r) {
        int sum = 0;
        size_t at = 0;
        const auto t0 = Clock::now();
        for (const double value : values) {
            sum += format(out.data() + at, value);
            at = at + 32 < out.size() - 32 ? at + 32 : 0;
        }
        const auto t1 = Clock::now();
        g_sink = sum;
        perValue.push_back(std::chrono::duration<double, std::nano>(t1 - t0).count() / double(values.size()));
    }
    std::printf("%-26s best %6.2f ns  median %6.2f ns\n", name,
                *std::min_element(perValue.begin(), perValue.end()), median(perValue));
}

} // namespace

int main(int argc, char** argv) {
    size_t count = 4000000;
    int runs = 7;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--values" && i + 1 < argc) {
            count = std::strtoul(argv[++i], nullptr, 10);
        } else if (a == "--runs" && i + 1 < argc) {
            runs = std::max(1, std::atoi(argv[++i]));
        } else {
            std::fprintf(stderr, "usage: velmoor-bench-format [--values N] [--runs N]\n");
            return a == "-h" || a == "--help" ? 0 : 2;
        }
    }
    if (count == 0) count = 1;
    const std::vector<double> observations = observationValues(count);
    const std::vector<double> navigation = navigationValues(count);
    measure("observation field (F14.3)", observations, runs, [](char* out, double v) {
        rinex::formatFixed14(out, v);
        return int(out[13]);
    });
    measure("exponent, 12 decimals", navigation, runs,
            [](char* out, double v) { return rinex::formatExponent(out, 32, v, 12); });
    measure("exponent, 5 decimals", navigation, runs,
            [](char* out, double v) { return rinex::formatExponent(out, 32, v, 5); });
    return 0;
}
