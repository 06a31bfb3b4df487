// SPDX-License-Identifier: MIT
// velmoor-bench-stream: writes a long synthetic receiver data file (key header, then range
// logs with ephemeris, ionosphere/UTC, position and time logs) for throughput benchmarks.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "encoder/range_encoder.h"
#include "sample_generator/header_writer.h"
#include "stream_generator/ephemerides.h"
#include "stream_generator/sky_model.h"

namespace {

const char kUsage[] =
    "Usage: velmoor-bench-stream [options] -o FILE\n"
    "Writes a synthetic receiver data file for throughput benchmarks.\n"
    "\n"
    "  -o FILE            output file (overwritten)\n"
    "  --log KIND         range log: range, rangecmp or rangecmp2 (default rangecmp)\n"
    "  --rate HZ          epochs per second, a divisor of 1000 (default 1)\n"
    "  --size-mb MB       stop after the first epoch that reaches MB x 10^6 bytes (default 100)\n"
    "  --seed N           noise seed (default 1)\n"
    "  --nav-every S      seconds between ephemeris rounds (default 300)\n"
    "  --nav-update S     reference-time period of every system's records, so that each\n"
    "                     round of a shorter period brings new records (default: each\n"
    "                     system's usual period, 2 h, 30 min, 10 min, 1 h)\n"
    "  --mask DEG         elevation mask in degrees (default 10)\n"
    "  -h, --help         this text\n"
    "\n"
    "Prints key=value lines describing the file on standard output.\n";

struct Options {
    std::string output;
    std::string log = "rangecmp";
    int rate = 1;
    double sizeMb = 100;
    uint64_t seed = 1;
    double navEvery = 300;
    double navUpdate = 0;
    double mask = 10;
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

double number(const std::string& option, const char* text) {
    char* end = nullptr;
    const double v = std::strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(v))
        throw UsageError(option + ": not a number: " + text);
    return v;
}

Options parse(int argc, char** argv, bool& help) {
    Options o;
    help = false;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) throw UsageError(a + ": missing value");
            return argv[++i];
        };
        if (a == "-h" || a == "--help") {
            help = true;
        } else if (a == "-o") {
            o.output = value();
        } else if (a == "--log") {
            o.log = value();
            if (o.log != "range" && o.log != "rangecmp" && o.log != "rangecmp2")
                throw UsageError("--log: expected range, rangecmp or rangecmp2");
        } else if (a == "--rate") {
            const double r = number(a, value());
            if (r < 1 || r > 1000 || r != std::floor(r) || 1000 % int(r) != 0)
                throw UsageError("--rate: expected a divisor of 1000");
            o.rate = int(r);
        } else if (a == "--size-mb") {
            o.sizeMb = number(a, value());
            if (!(o.sizeMb > 0)) throw UsageError("--size-mb: expected a positive size");
        } else if (a == "--seed") {
            o.seed = uint64_t(number(a, value()));
        } else if (a == "--nav-every") {
            o.navEvery = number(a, value());
            if (!(o.navEvery > 0)) throw UsageError("--nav-every: expected a positive interval");
        } else if (a == "--nav-update") {
            o.navUpdate = number(a, value());
            if (!(o.navUpdate > 0)) throw UsageError("--nav-update: expected a positive period");
        } else if (a == "--mask") {
            o.mask = number(a, value());
        } else {
            throw UsageError("unknown argument '" + a + "'");
        }
    }
    if (!help && o.output.empty()) throw UsageError("-o FILE is required");
    return o;
}

// Collects the stream and writes it in large blocks.
class BlockWriter {
public:
    explicit BlockWriter(const std::string& path) : file_(std::fopen(path.c_str(), "wb")), path_(path) {
        if (!file_) throw std::runtime_error("cannot create " + path);
        block_.reserve(kBlock + 65536);
    }
    ~BlockWriter() {
        if (file_) std::fclose(file_);
    }
    void append(const encoding::Bytes& bytes) {
        block_.insert(block_.end(), bytes.begin(), bytes.end());
        total_ += bytes.size();
        if (block_.size() >= kBlock) flush();
    }
    void close() {
        flush();
        const int failed = std::fclose(file_);
        file_ = nullptr;
        if (failed != 0) throw std::runtime_error("cannot write " + path_);
    }
    uint64_t total() const { return total_; }

private:
    static constexpr size_t kBlock = 4 << 20;
    void flush() {
        if (!block_.empty() && std::fwrite(block_.data(), 1, block_.size(), file_) != block_.size())
            throw std::runtime_error("cannot write " + path_);
        block_.clear();
    }
    std::FILE* file_;
    std::string path_;
    encoding::Bytes block_;
    uint64_t total_ = 0;
};

encoding::Bytes header(const bench::SkyOptions& sky) {
    sample_generator::HeaderValues values;
    char text[64];
    values.texts["device.model"] = "BENCH RECEIVER";
    values.texts["device.sn"] = "0000001";
    values.texts["device.firmware"] = "1.0";
    values.texts["marker.name"] = "BNCH";
    values.texts["marker.number"] = "00000M001";
    std::snprintf(text, sizeof text, "%.10f", sky.latitude);
    values.texts["position.latitude"] = text;
    std::snprintf(text, sizeof text, "%.10f", sky.longitude);
    values.texts["position.longitude"] = text;
    std::snprintf(text, sizeof text, "%.4f", sky.height);
    values.texts["position.height"] = text;
    values.texts["antenna.name"] = "GENERIC GEODETIC";
    values.texts["antenna.measure"] = "0,0,0,0";
    values.texts["antenna.height"] = "1.5000";
    values.texts["antenna.height_type"] = "VERTICAL";
    std::vector<std::string> warnings;
    encoding::Bytes bytes = sample_generator::keyHeader(values, warnings);
    for (const std::string& w : warnings)
        std::fprintf(stderr, "velmoor-bench-stream: %s\n", w.c_str());
    return bytes;
}

int run(const Options& o) {
    const bench::StreamClock clock;
    bench::SkyOptions skyOptions;
    skyOptions.seed = o.seed;
    skyOptions.elevationMask = o.mask;
    skyOptions.startSecondsOfWeek = clock.startSeconds;
    bench::SkyModel sky(skyOptions);
    const uint64_t target = uint64_t(o.sizeMb * 1e6);
    const int stepMs = 1000 / o.rate;

    BlockWriter out(o.output);
    out.append(header(skyOptions));
    out.append(bench::ionoUtcFrame(clock, 0));

    uint64_t epochs = 0, satellites = 0, signals = 0, navFrames = 0, rangeBytes = 0;
    std::map<std::string, uint64_t> omitted;
    double nextNav = 0;
    // The board keeps each signal's phase continuous through a lock, as a receiver does.
    encoding::PhaseAnchors phaseAnchors;
    for (int64_t step = 0; out.total() < target; ++step) {
        const double t = double(step * stepMs) / 1000.0;
        if (t >= nextNav) {
            // One round: the current record of every satellite above the mask.
            for (const bench::Satellite& sat : sky.satellites()) {
                if (sky.elevation(sat, t) < skyOptions.elevationMask) continue;
                const encoding::Bytes frame = bench::ephemerisFrame(sat, clock, t, o.navUpdate);
                if (frame.empty()) continue;
                out.append(frame);
                ++navFrames;
            }
            nextNav += o.navEvery;
        }
        if (step % o.rate == 0) {
            out.append(bench::positionFrame(skyOptions, clock, t));
            out.append(bench::timeFrame(clock, t));
        }

        const bench::EpochSignals epoch = sky.observe(t);
        const encoding::FrameStamp stamp = clock.stamp(t);
        const encoding::EncodedRangeLog log =
            o.log == "range"      ? encoding::encodeRange(stamp, epoch.signals)
            : o.log == "rangecmp" ? encoding::encodeRangeCmp(stamp, epoch.signals)
                                  : encoding::encodeRangeCmp2Anchored(stamp, epoch.signals, phaseAnchors);
        for (const encoding::SignalOutcome& outcome : log.outcomes)
            if (!outcome.encoded) ++omitted[outcome.omittedReason];
        out.append(log.frame);
        rangeBytes += log.frame.size();
        ++epochs;
        satellites += uint64_t(epoch.satellites);
        signals += uint64_t(log.encodedCount());
    }
    out.close();

    std::printf("file=%s\n", o.output.c_str());
    std::printf("log=%s\n", o.log.c_str());
    std::printf("rate_hz=%d\n", o.rate);
    std::printf("bytes=%llu\n", static_cast<unsigned long long>(out.total()));
    std::printf("epochs=%llu\n", static_cast<unsigned long long>(epochs));
    std::printf("duration_s=%.3f\n", double(epochs) / o.rate);
    std::printf("mean_satellites=%.2f\n", epochs ? double(satellites) / double(epochs) : 0.0);
    std::printf("mean_signals=%.2f\n", epochs ? double(signals) / double(epochs) : 0.0);
    std::printf("range_log_bytes=%llu\n", static_cast<unsigned long long>(rangeBytes));
    std::printf("ephemeris_frames=%llu\n", static_cast<unsigned long long>(navFrames));
    uint64_t omittedTotal = 0;
    for (const auto& [reason, count] : omitted) {
        std::fprintf(stderr, "velmoor-bench-stream: %llu signals omitted: %s\n",
                     static_cast<unsigned long long>(count), reason.c_str());
        omittedTotal += count;
    }
    std::printf("omitted_signals=%llu\n", static_cast<unsigned long long>(omittedTotal));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        bool help = false;
        const Options o = parse(argc, argv, help);
        if (help) {
            std::fputs(kUsage, stdout);
            return 0;
        }
        return run(o);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "velmoor-bench-stream: %s\n\n%s", e.what(), kUsage);
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "velmoor-bench-stream: %s\n", e.what());
        return 1;
    }
}
