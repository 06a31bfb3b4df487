// Streams built from real station data, fed through the synchroniser and the decoders
// the way the conversion worker does, checked against what their manifests expect.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/log_names.h"
#include "decoding/position_time.h"
#include "decoding/range_decoders.h"
#include "decoding/stream_sync.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "support/stream_manifest.h"

namespace {

using testsupport::ManifestEpoch;
using testsupport::NavRecord;
using testsupport::ObsValues;
using testsupport::StreamManifest;

constexpr uint32_t kWorkerBufferSize = 16384;
constexpr size_t kWorkerChunkSize = 1 << 20;
constexpr size_t kMaxReported = 20;

// ---------------------------------------------------------------------------------
// Feeding a stream as the worker does, recording everything the callbacks receive.

struct DeliveredFrame {
    uint64_t offset = 0;
    std::vector<uint8_t> bytes;
    int headerResult = 0;
    decoding::LogHeader header{};
};

struct DeliveredLine {
    uint64_t endOffset = 0; // one past the line feed
    std::string text;       // as delivered, line ending included
    bool zeroTerminated = false;
};

struct Capture {
    decoding::StreamSync* sync = nullptr;
    std::vector<DeliveredFrame> frames;
    std::vector<DeliveredLine> lines;
    uint64_t unframedBytes = 0;
    size_t unframedRuns = 0;
    uint64_t leftInBuffer = 0;
};

void onBoardFrame(const uint8_t* data, uint32_t length, void* user) {
    auto& capture = *static_cast<Capture*>(user);
    DeliveredFrame frame;
    // The frame ends at the byte just fed.
    frame.offset = capture.sync->totalBytes - length;
    frame.bytes.assign(data, data + length);
    frame.headerResult = decoding::readLogHeader(data, length, frame.header);
    capture.frames.push_back(std::move(frame));
}

void onTextLine(const uint8_t* data, uint32_t length, void* user) {
    auto& capture = *static_cast<Capture*>(user);
    DeliveredLine line;
    line.endOffset = capture.sync->totalBytes;
    line.text.assign(reinterpret_cast<const char*>(data), length);
    line.zeroTerminated = data[length] == 0;
    capture.lines.push_back(std::move(line));
}

void onUnframed(const uint8_t*, uint32_t length, void* user) {
    auto& capture = *static_cast<Capture*>(user);
    capture.unframedBytes += length;
    capture.unframedRuns += 1;
}

void ignoreFrame(const uint8_t*, uint32_t, void*) {}

Capture feedStream(const std::string& data, size_t chunkSize) {
    Capture capture;
    std::vector<uint8_t> buffer(kWorkerBufferSize);
    decoding::StreamSync sync;
    decoding::init(sync, buffer.data(), kWorkerBufferSize, &capture);
    decoding::setOnBoardFrame(sync, onBoardFrame);
    decoding::setOnTextLine(sync, onTextLine);
    decoding::setOnScrambledFrame(sync, ignoreFrame);
    decoding::setOnUnframed(sync, onUnframed);
    capture.sync = &sync;
    const auto* bytes = reinterpret_cast<const uint8_t*>(data.data());
    for (size_t at = 0; at < data.size(); at += chunkSize)
        decoding::feed(sync, bytes + at, uint32_t(std::min(chunkSize, data.size() - at)));
    capture.leftInBuffer = sync.count;
    capture.sync = nullptr;
    return capture;
}

struct StreamRun {
    StreamManifest manifest;
    std::string data;
    Capture capture;
    std::map<uint64_t, size_t> frameAtOffset; // delivered frames by stream offset
    std::set<int> corruptedIndices;

    const DeliveredFrame* deliveredFrame(int manifestIndex) const {
        if (manifestIndex < 0 || size_t(manifestIndex) >= manifest.frames.size()) return nullptr;
        auto it = frameAtOffset.find(manifest.frames[size_t(manifestIndex)].offset);
        return it == frameAtOffset.end() ? nullptr : &capture.frames[it->second];
    }
};

// Each stream is read, fed and kept once for all the tests of this file.
const StreamRun& streamRun(const std::string& name) {
    static std::map<std::string, std::unique_ptr<StreamRun>> runs;
    auto& slot = runs[name];
    if (!slot) {
        auto run = std::make_unique<StreamRun>();
        const std::string dir = testsupport::streamDataDirectory();
        run->manifest = testsupport::loadStreamManifest(dir + "/" + name + ".json.gz");
        run->data = testsupport::readBinaryFile(dir + "/" + name + ".dat");
        run->capture = feedStream(run->data, kWorkerChunkSize);
        for (size_t i = 0; i < run->capture.frames.size(); ++i)
            run->frameAtOffset[run->capture.frames[i].offset] = i;
        for (const auto& c : run->manifest.corruptedFrames)
            run->corruptedIndices.insert(c.frame);
        slot = std::move(run);
    }
    return *slot;
}

// ---------------------------------------------------------------------------------
// Comparison helpers: mismatches are collected and the first few reported.

struct Mismatches {
    std::vector<std::string> items;
    size_t total = 0;
    void add(const std::string& text) {
        if (items.size() < kMaxReported) items.push_back(text);
        ++total;
    }
    std::string report() const {
        std::ostringstream out;
        out << total << " mismatch(es)";
        for (const auto& item : items)
            out << "\n  " << item;
        if (total > items.size()) out << "\n  ...";
        return out.str();
    }
};

std::string number(double v) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", v);
    return text;
}

bool closeRelative(double expected, double got, double tolerance) {
    if (expected == got) return true;
    if (!std::isfinite(expected) || !std::isfinite(got)) return false;
    return std::fabs(expected - got) <= tolerance * std::max(std::fabs(expected), std::fabs(got));
}

// ---------------------------------------------------------------------------------
// Range logs decoded as the writer does: one log is one epoch.

struct DecodedSignal {
    ObsValues values;
    bool codeLocked = false;
    bool parityKnown = false;
};

struct DecodedEpoch {
    int result = 0;  // 0 = the writer would take the epoch
    int skipped = 0; // observations without descriptors
    std::vector<std::string> duplicates;
    testsupport::SatSignalMap<DecodedSignal> sats;
};

std::string satelliteName(const decoding::RangeObservation& obs) {
    char text[16];
    std::snprintf(text, sizeof text, "%c%02u", obs.systemInfo->letter, unsigned(obs.satellite));
    return text;
}

void addObservation(const decoding::RangeObservation& obs, DecodedEpoch& epoch) {
    if (!obs.systemInfo || !obs.signalInfo) {
        ++epoch.skipped;
        return;
    }
    DecodedSignal signal;
    signal.values.pseudorange = obs.pseudorange;
    // The writer negates the logged phase and blanks it when the phase is not locked.
    if (obs.phaseLocked) signal.values.carrierPhase = -obs.carrierPhase;
    signal.values.doppler = double(float(obs.doppler));
    signal.values.cn0 = double(float(obs.cn0));
    signal.codeLocked = obs.codeLocked != 0;
    signal.parityKnown = obs.parityKnown != 0;
    const std::string sat = satelliteName(obs);
    auto& codes = epoch.sats[sat];
    if (!codes.emplace(obs.signalInfo->rinexCode, signal).second)
        epoch.duplicates.push_back(sat + " " + obs.signalInfo->rinexCode);
}

DecodedEpoch decodeRangeLog(const DeliveredFrame& frame) {
    DecodedEpoch epoch;
    decoding::RangeCursor cursor{};
    decoding::RangeObservation obs{};
    const uint8_t* bytes = frame.bytes.data();
    switch (frame.header.messageId) {
    case decoding::LogRange:
        epoch.result = decoding::openRange(bytes, frame.header, cursor, 0);
        for (int32_t i = 0; epoch.result == 0 && i < cursor.count; ++i)
            if (decoding::decodeRange(cursor, i, &obs) == 0)
                addObservation(obs, epoch);
            else
                ++epoch.skipped;
        break;
    case decoding::LogRangeCmp:
        epoch.result = decoding::openRangeCmp(bytes, frame.header, cursor, 0);
        for (int32_t i = 0; epoch.result == 0 && i < cursor.count; ++i)
            if (decoding::decodeRangeCmp(cursor, i, &obs) == 0)
                addObservation(obs, epoch);
            else
                ++epoch.skipped;
        break;
    case decoding::LogRangeCmp2: {
        epoch.result = decoding::openRangeCmp2(bytes, frame.header, cursor, 0);
        if (epoch.result != 0) break;
        // The writer gives up after 1000 calls; the walk must end cleanly before that.
        epoch.result = 1000; // still walking after the last call
        for (int calls = 0; calls < 1000; ++calls) {
            const int step = decoding::nextRangeCmp2(cursor, &obs);
            if (step == decoding::RangeCmp2Record)
                addObservation(obs, epoch);
            else if (step == decoding::RangeCmp2UnknownSystem || step == decoding::RangeCmp2UnknownSignal)
                ++epoch.skipped;
            else {
                epoch.result = step == decoding::RangeCmp2End ? 0 : step;
                break;
            }
        }
        break;
    }
    default:
        epoch.result = -100;
    }
    return epoch;
}

bool isRangeLog(uint16_t id) {
    return id == decoding::LogRange || id == decoding::LogRangeCmp || id == decoding::LogRangeCmp2;
}

// ---------------------------------------------------------------------------------
// Navigation logs mapped to the values of the RINEX record the writer prints.

using NavLine = std::vector<std::optional<double>>;
constexpr std::nullopt_t kBlank = std::nullopt;

struct MappedNav {
    int result = 0; // decoder result
    char sys = 0;
    int sat = 0;
    gnss::CalendarTime epoch{};
    std::vector<NavLine> lines;
    testsupport::NavKey key;
    std::map<std::string, double> extra; // fields the manifest also states
};

// The writer's leap seconds: unknown (99) until a written GLONASS record sets them.
struct WriterLeap {
    int seconds = 99;
};

double sisaMetres(unsigned n) {
    if (n <= 49) return n * 0.01;
    if (n <= 74) return 0.5 + (n - 50) * 0.02;
    if (n <= 99) return 1 + (n - 75) * 0.04;
    if (n <= 125) return 2 + (n - 100) * 0.16;
    return -1.0;
}

// Galileo logs carry no week: the frame's, moved by one when toc is half a week away.
int64_t galileoWeek(const decoding::LogHeader& header, double toc) {
    const double d = toc - header.milliseconds / 1000.0;
    int64_t week = header.week;
    if (d > 302400) week -= 1;
    if (d < -302400) week += 1;
    return week;
}

void galileoOrbit(MappedNav& out, double iodNav, double crs, double deltaN, double m0, double cuc, double e,
                  double cus, double sqrtA, double toe, double cic, double omega0, double cis, double i0,
                  double crc, double omega, double omegaDot, double iDot, double sources, int64_t week,
                  double sisa, double health, double bgdA, double bgdB, const decoding::LogHeader& header) {
    out.lines.push_back({iodNav, crs, deltaN, m0});
    out.lines.push_back({cuc, e, cus, sqrtA});
    out.lines.push_back({toe, cic, omega0, cis});
    out.lines.push_back({i0, crc, omega, omegaDot});
    out.lines.push_back({iDot, sources, double(week), kBlank});
    out.lines.push_back({sisa, health, bgdA, bgdB});
    out.lines.push_back({header.milliseconds / 1000.0, kBlank, kBlank, kBlank});
}

MappedNav mapNav(const DeliveredFrame& frame, const NavRecord& expected, WriterLeap& leap) {
    MappedNav out;
    const uint8_t* bytes = frame.bytes.data();
    const decoding::LogHeader& h = frame.header;
    switch (h.messageId) {
    case decoding::LogGpsEphem: {
        decoding::GpsEphemeris r{};
        out.result = decoding::decodeGpsEphemeris(bytes, h, r);
        out.sys = 'G';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(r.week, std::llround(r.toe * 1000.0));
        out.key = {'G', int(r.satellite), r.toe};
        out.lines.push_back({r.af0, r.af1, r.af2});
        out.lines.push_back({double(r.iode1), r.crs, r.deltaN, r.m0});
        out.lines.push_back({r.cuc, r.eccentricity, r.cus, std::sqrt(r.a)});
        out.lines.push_back({r.toe, r.cic, r.omega0, r.cis});
        out.lines.push_back({r.i0, r.crc, r.omega, r.omegaDot});
        out.lines.push_back({r.iDot, 0.0, double(r.week), 0.0});
        out.lines.push_back({std::sqrt(r.uraVariance), double(r.health), r.tgd, double(r.iodc)});
        out.lines.push_back({r.tow, 4.0, kBlank, kBlank});
        out.extra["iode1 - iode2"] = double(r.iode1) - double(r.iode2);
        break;
    }
    case decoding::LogGloEphemeris: {
        decoding::GlonassEphemeris r{};
        out.result = decoding::decodeGlonassEphemeris(bytes, h, r);
        // The writer learns the leap seconds from the first GLONASS record it writes.
        if (expected.expectedWritten && leap.seconds == 99 && r.timeOffset >= 10702 && r.timeOffset <= 10799)
            leap.seconds = int(r.timeOffset) - 10800;
        out.sys = 'R';
        out.sat = int(r.slot) - 37;
        out.epoch = gnss::gpsCalendar(r.week, int64_t(r.referenceTime) + int64_t(leap.seconds) * 1000);
        out.key = {'R', int(r.slot), double(r.referenceTime)};
        // Message frame time: leap seconds added to the milliseconds unscaled, as the writer does.
        const uint32_t day = uint32_t(int64_t(r.referenceTime) + leap.seconds) / 86400000u;
        const double frameTime = double(int64_t(day) * 86400 + int64_t(r.tk) - 10800);
        out.lines.push_back({-r.tauN, r.gammaN, frameTime});
        out.lines.push_back({r.x * 0.001, r.vx * 0.001, r.ax * 0.001, double(r.health)});
        out.lines.push_back({r.y * 0.001, r.vy * 0.001, r.ay * 0.001, double(int(r.frequency) - 7)});
        out.lines.push_back({r.z * 0.001, r.vz * 0.001, r.az * 0.001, double(r.ageOfData)});
        out.extra["ref_week"] = r.week;
        out.extra["ref_ms"] = r.referenceTime;
        out.extra["tk"] = r.tk;
        break;
    }
    case decoding::LogGalInavEphemeris: {
        decoding::GalileoInavEphemeris r{};
        out.result = decoding::decodeGalileoInavEphemeris(bytes, h, r);
        const int64_t week = galileoWeek(h, r.toc);
        const unsigned health = r.e1bDvs | r.e1bHealth << 1 | r.e5bDvs << 6 | r.e5bHealth << 7;
        out.sys = 'E';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(week, int64_t(r.toc) * 1000);
        out.key = {'E', int(r.satellite), double(r.toe)};
        out.lines.push_back({r.af0, r.af1, r.af2});
        galileoOrbit(out, r.iodNav, r.crs, r.deltaN, r.m0, r.cuc, r.eccentricity, r.cus, r.sqrtA, r.toe,
                     r.cic, r.omega0, r.cis, r.i0, r.crc, r.omega, r.omegaDot, r.iDot, 517, week,
                     sisaMetres(r.sisaIndex), health, r.bgdE5aE1, r.bgdE5bE1, h);
        out.extra["rinex_data_sources"] = 517;
        out.extra["rinex_health"] = health;
        break;
    }
    case decoding::LogGalFnavEphemeris: {
        decoding::GalileoFnavEphemeris r{};
        out.result = decoding::decodeGalileoFnavEphemeris(bytes, h, r);
        const int64_t week = galileoWeek(h, r.toc);
        const unsigned health = r.e5aDvs << 3 | r.e5aHealth << 4;
        out.sys = 'E';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(week, int64_t(r.toc) * 1000);
        out.key = {'E', int(r.satellite), double(r.toe)};
        out.lines.push_back({r.af0, r.af1, r.af2});
        galileoOrbit(out, r.iodNav, r.crs, r.deltaN, r.m0, r.cuc, r.eccentricity, r.cus, r.sqrtA, r.toe,
                     r.cic, r.omega0, r.cis, r.i0, r.crc, r.omega, r.omegaDot, r.iDot, 258, week,
                     sisaMetres(r.sisaIndex), health, r.bgdE5aE1, 0.0, h);
        out.extra["rinex_data_sources"] = 258;
        out.extra["rinex_health"] = health;
        break;
    }
    case decoding::LogGalEphemeris: {
        decoding::GalileoEphemeris r{};
        out.result = decoding::decodeGalileoEphemeris(bytes, h, r);
        const bool inav = r.inavReceived != 0;
        const double toc = inav ? r.inavToc : r.fnavToc;
        const int64_t week = galileoWeek(h, toc);
        const unsigned health =
            r.e1bDvs | r.e1bHealth << 1 | r.e5aDvs << 3 | r.e5aHealth << 4 | r.e5bDvs << 6 | r.e5bHealth << 7;
        const double sources = inav ? 517 : 258;
        out.sys = 'E';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(week, std::llround(toc * 1000.0));
        out.key = {'E', int(r.satellite), double(r.toe)};
        if (inav)
            out.lines.push_back({r.inavAf0, r.inavAf1, r.inavAf2});
        else
            out.lines.push_back({r.fnavAf0, r.fnavAf1, r.fnavAf2});
        galileoOrbit(out, r.iodNav, r.crs, r.deltaN, r.m0, r.cuc, r.eccentricity, r.cus, r.sqrtA, r.toe,
                     r.cic, r.omega0, r.cis, r.i0, r.crc, r.omega, r.omegaDot, r.iDot, sources, week,
                     sisaMetres(r.sisaIndex), health, r.bgdE5aE1, r.bgdE5bE1, h);
        out.extra["rinex_data_sources"] = sources;
        out.extra["rinex_health"] = health;
        break;
    }
    case decoding::LogBdsEphemeris: {
        decoding::BeidouEphemeris r{};
        out.result = decoding::decodeBeidouEphemeris(bytes, h, r);
        const int sat = r.satellite >= 161 ? int(r.satellite) - 160 : int(r.satellite);
        double transmission = h.milliseconds / 1000.0 - 14;
        if (transmission < 0) transmission += 604800;
        out.sys = 'C';
        out.sat = sat;
        out.epoch = gnss::gpsCalendar(int64_t(r.week) + gnss::kBeidouWeekOffset, int64_t(r.toc) * 1000);
        out.key = {'C', sat, double(r.toe)};
        out.lines.push_back({r.a0, r.a1, r.a2});
        out.lines.push_back({double(r.aode), r.crs, r.deltaN, r.m0});
        out.lines.push_back({r.cuc, r.eccentricity, r.cus, r.sqrtA});
        out.lines.push_back({double(r.toe), r.cic, r.omega0, r.cis});
        out.lines.push_back({r.i0, r.crc, r.omega, r.omegaDot});
        out.lines.push_back({r.iDot, kBlank, double(r.week), kBlank});
        out.lines.push_back({r.ura, double(r.health), r.tgd1, r.tgd2});
        out.lines.push_back({transmission, double(r.aodc), kBlank, kBlank});
        break;
    }
    case decoding::LogBd2Ephem: {
        decoding::Bd2Ephemeris r{};
        out.result = decoding::decodeBd2Ephemeris(bytes, h, r);
        const int sat = r.satellite >= 161 ? int(r.satellite) - 160 : int(r.satellite);
        out.sys = 'C';
        out.sat = sat;
        out.epoch = gnss::gpsCalendar(int64_t(r.week) + gnss::kBeidouWeekOffset, std::llround(r.toc * 1000.0));
        out.key = {'C', sat, r.toe};
        out.lines.push_back({r.a0, r.a1, r.a2});
        out.lines.push_back({double(r.aode), r.crs, r.deltaN, r.m0});
        out.lines.push_back({r.cuc, r.eccentricity, r.cus, std::sqrt(r.a)});
        out.lines.push_back({r.toe, r.cic, r.omega0, r.cis});
        out.lines.push_back({r.i0, r.crc, r.omega, r.omegaDot});
        out.lines.push_back({r.iDot, kBlank, double(r.week), kBlank});
        out.lines.push_back({std::sqrt(r.uraVariance), double(r.health), r.tgd1, r.tgd2});
        out.lines.push_back({r.tow, double(r.aodc), kBlank, kBlank});
        break;
    }
    default:
        out.result = -100;
    }
    return out;
}

bool isNavLog(uint16_t id) {
    switch (id) {
    case decoding::LogGpsEphem:
    case decoding::LogGloEphemeris:
    case decoding::LogBd2Ephem:
    case decoding::LogGalEphemeris:
    case decoding::LogGalInavEphemeris:
    case decoding::LogGalFnavEphemeris:
    case decoding::LogBdsEphemeris:
        return true;
    default:
        return false;
    }
}

bool isIonUtcLog(uint16_t id) {
    return id == decoding::LogIonUtcU || id == decoding::LogIonUtc || id == decoding::LogBd2IonUtc;
}

// ---------------------------------------------------------------------------------

const char* const kStreams[] = {"cebr-range-key", "cebr-rangecmp-legacy", "cebr-rangecmp2-none"};

class RealStream : public ::testing::TestWithParam<const char*> {
protected:
    const StreamRun& run() { return streamRun(GetParam()); }
};

TEST_P(RealStream, ManifestDescribesThisFile) {
    const StreamRun& r = run();
    EXPECT_EQ(r.manifest.stream, std::string(GetParam()) + ".dat");
    EXPECT_EQ(r.manifest.size, r.data.size());
    ASSERT_FALSE(r.manifest.frames.empty());
    EXPECT_EQ(r.manifest.frames.front().offset, r.manifest.binaryOffset);
}

TEST_P(RealStream, DeliversExactlyTheValidFrames) {
    const StreamRun& r = run();
    std::vector<const testsupport::ManifestFrame*> expected;
    for (const auto& f : r.manifest.frames)
        if (!r.corruptedIndices.count(f.index)) expected.push_back(&f);
    const auto& got = r.capture.frames;
    ASSERT_EQ(got.size(), expected.size());
    Mismatches bad;
    for (size_t i = 0; i < got.size(); ++i) {
        const auto& e = *expected[i];
        const auto& g = got[i];
        std::ostringstream where;
        where << "frame " << e.index << " at " << e.offset << ": ";
        if (g.offset != e.offset || g.bytes.size() != e.length) {
            bad.add(where.str() + "delivered at " + std::to_string(g.offset) + " with " +
                    std::to_string(g.bytes.size()) + " bytes, expected " + std::to_string(e.length));
            continue;
        }
        if (std::memcmp(g.bytes.data(), r.data.data() + e.offset, e.length) != 0)
            bad.add(where.str() + "bytes differ from the file");
        if (g.headerResult != 0)
            bad.add(where.str() + "header reader returned " + std::to_string(g.headerResult));
        if (g.header.messageId != e.id || g.header.week != e.week || g.header.milliseconds != e.ms)
            bad.add(where.str() + "header id/week/ms " + std::to_string(g.header.messageId) + "/" +
                    std::to_string(g.header.week) + "/" + std::to_string(g.header.milliseconds) +
                    ", expected " + std::to_string(e.id) + "/" + std::to_string(e.week) + "/" +
                    std::to_string(e.ms));
    }
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

TEST_P(RealStream, RejectsEveryCorruptedFrame) {
    const StreamRun& r = run();
    if (r.manifest.corruptedFrames.empty()) GTEST_SKIP() << "no corrupted frame in this stream";
    uint64_t corruptedBytes = 0;
    for (const auto& c : r.manifest.corruptedFrames) {
        EXPECT_EQ(r.frameAtOffset.count(c.offset), 0u) << "corrupted frame " << c.frame << " was delivered";
        ASSERT_LT(size_t(c.frame), r.manifest.frames.size());
        EXPECT_EQ(r.manifest.frames[size_t(c.frame)].offset, c.offset);
        corruptedBytes += c.length;
    }
    // Rejected frames go whole to the discarded-bytes callback.
    EXPECT_GE(r.capture.unframedBytes, corruptedBytes);
}

TEST_P(RealStream, AccountsForEveryByte) {
    const StreamRun& r = run();
    uint64_t framed = 0, lines = 0;
    for (const auto& f : r.capture.frames)
        framed += f.bytes.size();
    for (const auto& l : r.capture.lines)
        lines += l.text.size();
    EXPECT_EQ(framed + lines + r.capture.unframedBytes + r.capture.leftInBuffer, r.data.size())
        << "frames " << framed << ", text " << lines << ", discarded " << r.capture.unframedBytes << " in "
        << r.capture.unframedRuns << " runs, left " << r.capture.leftInBuffer;
}

// Without junk, corrupted frames or a binary file header nothing is discarded.
TEST_P(RealStream, CleanStreamDiscardsNothing) {
    const StreamRun& r = run();
    const auto& m = r.manifest;
    if (m.noise.junkBytes != 0 || !m.corruptedFrames.empty() ||
        (m.headerKind != "key" && m.headerKind != "none"))
        GTEST_SKIP() << "stream carries junk, corrupted frames or a binary header";
    EXPECT_EQ(r.capture.unframedBytes, 0u);
    EXPECT_EQ(r.capture.unframedRuns, 0u);
}

TEST_P(RealStream, SmallOddChunksGiveTheSameResult) {
    const StreamRun& r = run();
    const Capture small = feedStream(r.data, 997);
    ASSERT_EQ(small.frames.size(), r.capture.frames.size());
    for (size_t i = 0; i < small.frames.size(); ++i) {
        EXPECT_EQ(small.frames[i].offset, r.capture.frames[i].offset);
        EXPECT_TRUE(small.frames[i].bytes == r.capture.frames[i].bytes)
            << "frame at " << small.frames[i].offset;
    }
    ASSERT_EQ(small.lines.size(), r.capture.lines.size());
    for (size_t i = 0; i < small.lines.size(); ++i)
        EXPECT_EQ(small.lines[i].text, r.capture.lines[i].text);
    EXPECT_EQ(small.unframedBytes, r.capture.unframedBytes);
}

TEST_P(RealStream, DeliversTheTextLines) {
    const StreamRun& r = run();
    if (r.manifest.textLines.empty()) GTEST_SKIP() << "no text line listed for this stream";
    std::map<uint64_t, const DeliveredLine*> byEnd;
    for (const auto& l : r.capture.lines)
        byEnd[l.endOffset] = &l;
    Mismatches bad;
    for (const auto& t : r.manifest.textLines) {
        bool found = false;
        for (const char* ending : {"\n", "\r\n"}) {
            const std::string eol = ending;
            auto it = byEnd.find(t.offset + t.text.size() + eol.size());
            if (it == byEnd.end()) continue;
            const std::string& text = it->second->text;
            const std::string want = t.text + eol;
            if (text.size() >= want.size() &&
                text.compare(text.size() - want.size(), want.size(), want) == 0) {
                found = true;
                if (!it->second->zeroTerminated)
                    bad.add("line at " + std::to_string(t.offset) + " not followed by 0");
            }
        }
        if (!found) bad.add(t.kind + " line at " + std::to_string(t.offset) + " not delivered: " + t.text);
    }
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

// The text header's key=value lines reach the text-line callback, each ending in CR LF.
TEST_P(RealStream, DeliversTheHeaderKeyLines) {
    const StreamRun& r = run();
    auto key = r.manifest.headerValues.find("key");
    if (key == r.manifest.headerValues.end()) GTEST_SKIP() << "no text header in this stream";
    Mismatches bad;
    size_t checked = 0;
    for (const auto& [name, value] : key->items()) {
        const std::string want = name + "=" + value.get<std::string>() + "\r\n";
        const bool found =
            std::any_of(r.capture.lines.begin(), r.capture.lines.end(), [&](const DeliveredLine& l) {
                return l.endOffset <= r.manifest.binaryOffset && l.text.size() >= want.size() &&
                       l.text.compare(l.text.size() - want.size(), want.size(), want) == 0;
            });
        if (!found) bad.add("header line not delivered: " + name);
        ++checked;
    }
    EXPECT_GT(checked, 0u);
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

void compareObservation(const std::string& where, const ObsValues& e, const DecodedSignal& g,
                        Mismatches& bad) {
    if (!closeRelative(e.pseudorange, g.values.pseudorange, 1e-12))
        bad.add(where + " C expected " + number(e.pseudorange) + " got " + number(g.values.pseudorange));
    if (e.carrierPhase.has_value() != g.values.carrierPhase.has_value())
        bad.add(where + " L expected " + (e.carrierPhase ? number(*e.carrierPhase) : "blank") + " got " +
                (g.values.carrierPhase ? number(*g.values.carrierPhase) : "blank (phase not locked)"));
    else if (e.carrierPhase && !closeRelative(*e.carrierPhase, *g.values.carrierPhase, 1e-12))
        bad.add(where + " L expected " + number(*e.carrierPhase) + " got " + number(*g.values.carrierPhase));
    if (!closeRelative(e.doppler, g.values.doppler, 1e-6))
        bad.add(where + " D expected " + number(e.doppler) + " got " + number(g.values.doppler));
    if (!closeRelative(e.cn0, g.values.cn0, 1e-6))
        bad.add(where + " S expected " + number(e.cn0) + " got " + number(g.values.cn0));
    // A printed pseudorange needs the code-locked flag; a blank loss-of-lock mark needs known parity.
    if (!g.codeLocked) bad.add(where + " code not locked, pseudorange would be blank");
    if (e.carrierPhase && !g.parityKnown) bad.add(where + " parity unknown, loss-of-lock mark would be set");
}

TEST_P(RealStream, RangeLogsDecodeToTheManifestObservations) {
    const StreamRun& r = run();
    Mismatches bad;
    size_t expectedLogs = 0, checkedSignals = 0;
    for (const ManifestEpoch& e : r.manifest.epochs) {
        if (e.corrupted || r.corruptedIndices.count(e.frame)) continue;
        ++expectedLogs;
        const std::string at = "epoch " + std::to_string(e.week) + "/" + std::to_string(e.ms);
        const DeliveredFrame* frame = r.deliveredFrame(e.frame);
        if (!frame) {
            bad.add(at + ": range log frame " + std::to_string(e.frame) + " not delivered");
            continue;
        }
        if (frame->header.week != e.week || frame->header.milliseconds != e.ms) {
            bad.add(at + ": frame stamped " + std::to_string(frame->header.week) + "/" +
                    std::to_string(frame->header.milliseconds));
            continue;
        }
        const DecodedEpoch got = decodeRangeLog(*frame);
        if (got.result != 0) {
            bad.add(at + ": log " + std::to_string(frame->header.messageId) + " failed with " +
                    std::to_string(got.result));
            continue;
        }
        // Signals without a table row are not in these streams.
        if (got.skipped != 0)
            bad.add(at + ": " + std::to_string(got.skipped) + " observation(s) without descriptors");
        for (const auto& d : got.duplicates)
            bad.add(at + ": " + d + " decoded twice");
        for (const auto& [sat, codes] : e.sats)
            for (const auto& [code, values] : codes) {
                const std::string where = at + " " + sat + " " + code;
                auto s = got.sats.find(sat);
                if (s == got.sats.end() || !s->second.count(code)) {
                    bad.add(where + " missing");
                    continue;
                }
                compareObservation(where, values, s->second.at(code), bad);
                ++checkedSignals;
            }
        for (const auto& [sat, codes] : got.sats)
            for (const auto& [code, values] : codes) {
                auto s = e.sats.find(sat);
                if (s == e.sats.end() || !s->second.count(code))
                    bad.add(at + " " + sat + " " + code + " extra");
            }
    }
    size_t rangeLogs = 0;
    for (const auto& f : r.capture.frames)
        rangeLogs += isRangeLog(f.header.messageId);
    EXPECT_EQ(rangeLogs, expectedLogs) << "range logs delivered vs epochs expected";
    EXPECT_GT(checkedSignals, 0u);
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

void compareNav(const std::string& at, const NavRecord& e, const MappedNav& g, Mismatches& bad) {
    if (g.sys != e.sys || g.sat != e.sat)
        bad.add(at + ": satellite " + g.sys + std::to_string(g.sat) + ", expected " + e.sys +
                std::to_string(e.sat));
    const double epoch[6] = {double(g.epoch.year), double(g.epoch.month),  double(g.epoch.day),
                             double(g.epoch.hour), double(g.epoch.minute),
                             double(g.epoch.second * 1000 + g.epoch.millisecond) / 1000.0};
    for (size_t i = 0; i < 6; ++i)
        if (epoch[i] != e.epoch[i]) {
            bad.add(at + ": epoch field " + std::to_string(i) + " expected " + number(e.epoch[i]) + " got " +
                    number(epoch[i]));
            break;
        }
    if (e.key && (e.key->sys != g.key.sys || e.key->number != g.key.number ||
                  !closeRelative(e.key->referenceTime, g.key.referenceTime, 1e-12)))
        bad.add(at + ": duplicate-test key " + g.key.sys + " " + std::to_string(g.key.number) + " " +
                number(g.key.referenceTime) + ", expected " + e.key->sys + " " +
                std::to_string(e.key->number) + " " + number(e.key->referenceTime));
    if (g.lines.size() != e.lines.size()) {
        bad.add(at + ": " + std::to_string(g.lines.size()) + " lines, expected " +
                std::to_string(e.lines.size()));
        return;
    }
    for (size_t line = 0; line < e.lines.size(); ++line) {
        if (g.lines[line].size() != e.lines[line].size()) {
            bad.add(at + ": line " + std::to_string(line) + " has " + std::to_string(g.lines[line].size()) +
                    " values, expected " + std::to_string(e.lines[line].size()));
            continue;
        }
        for (size_t i = 0; i < e.lines[line].size(); ++i) {
            const auto& want = e.lines[line][i];
            const auto& have = g.lines[line][i];
            const std::string where = at + " line " + std::to_string(line) + " value " + std::to_string(i);
            if (want.has_value() != have.has_value())
                bad.add(where + ": expected " + (want ? number(*want) : "blank") + " got " +
                        (have ? number(*have) : "blank"));
            else if (want && !closeRelative(*want, *have, 1e-12))
                bad.add(where + ": expected " + number(*want) + " got " + number(*have));
        }
    }
    auto checkExtra = [&](const char* name, std::optional<double> want) {
        auto it = g.extra.find(name);
        if (want && it != g.extra.end() && it->second != *want)
            bad.add(at + ": " + name + " expected " + number(*want) + " got " + number(it->second));
    };
    checkExtra("ref_week", e.refWeek ? std::optional<double>(*e.refWeek) : std::nullopt);
    checkExtra("ref_ms", e.refMs ? std::optional<double>(*e.refMs) : std::nullopt);
    checkExtra("tk", e.tk ? std::optional<double>(*e.tk) : std::nullopt);
    checkExtra("rinex_data_sources",
               e.rinexDataSources ? std::optional<double>(*e.rinexDataSources) : std::nullopt);
    checkExtra("rinex_health", e.rinexHealth ? std::optional<double>(*e.rinexHealth) : std::nullopt);
    // The writer drops a GPS record whose two issues of data differ; the manifest's records are kept.
    if (e.expectedWritten) checkExtra("iode1 - iode2", 0.0);
}

TEST_P(RealStream, NavigationLogsDecodeToTheManifestRecords) {
    const StreamRun& r = run();
    Mismatches bad;
    WriterLeap leap;
    size_t expectedLogs = 0;
    for (size_t n = 0; n < r.manifest.nav.size(); ++n) {
        const NavRecord& e = r.manifest.nav[n];
        if (e.corrupted || r.corruptedIndices.count(e.frame)) continue;
        ++expectedLogs;
        const std::string at = "nav " + std::to_string(n) + " (" + e.log + " " + e.sys +
                               std::to_string(e.sat) + ", " + e.source + ")";
        const DeliveredFrame* frame = r.deliveredFrame(e.frame);
        if (!frame) {
            bad.add(at + ": frame " + std::to_string(e.frame) + " not delivered");
            continue;
        }
        if (frame->header.messageId != e.id || e.log != decoding::logName(frame->header.messageId)) {
            bad.add(at + ": frame id " + std::to_string(frame->header.messageId) + " named " +
                    decoding::logName(frame->header.messageId));
            continue;
        }
        if (frame->header.week != e.headerWeek || frame->header.milliseconds != e.headerMs)
            bad.add(at + ": frame stamped " + std::to_string(frame->header.week) + "/" +
                    std::to_string(frame->header.milliseconds));
        const MappedNav got = mapNav(*frame, e, leap);
        if (got.result != 0) {
            bad.add(at + ": decoder returned " + std::to_string(got.result));
            continue;
        }
        compareNav(at, e, got, bad);
    }
    size_t navLogs = 0;
    for (const auto& f : r.capture.frames)
        navLogs += isNavLog(f.header.messageId);
    EXPECT_EQ(navLogs, expectedLogs) << "navigation logs delivered vs records expected";
    EXPECT_GT(expectedLogs, 0u);
    // The GLONASS records taught the writer the leap seconds the header states.
    EXPECT_EQ(-leap.seconds, r.manifest.obsHeader.leapSeconds);
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

TEST_P(RealStream, IonosphereAndUtcDecodeToTheManifestValues) {
    const StreamRun& r = run();
    ASSERT_TRUE(r.manifest.ionutc.has_value());
    const testsupport::IonUtcRecord& e = *r.manifest.ionutc;
    const DeliveredFrame* frame = r.deliveredFrame(e.frame);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->header.messageId, e.id);
    EXPECT_EQ(e.log, decoding::logName(frame->header.messageId));
    size_t ionLogs = 0;
    for (const auto& f : r.capture.frames)
        ionLogs += isIonUtcLog(f.header.messageId);
    EXPECT_EQ(ionLogs, 1u);

    decoding::IonoUtcParameters got{};
    ASSERT_EQ(decoding::decodeIonoUtc(frame->bytes.data(), frame->header, got), 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_DOUBLE_EQ(got.alpha[i], e.alpha[i]) << "alpha " << i;
        EXPECT_DOUBLE_EQ(got.beta[i], e.beta[i]) << "beta " << i;
    }
    EXPECT_EQ(int(got.utcWeek), e.utcWeek);
    EXPECT_EQ(int(got.utcTime), e.utcTot);
    EXPECT_DOUBLE_EQ(got.a0, e.a0);
    EXPECT_DOUBLE_EQ(got.a1, e.a1);
    // The LEAP SECONDS line: now, after the change, week and day of the change (signed fields).
    EXPECT_EQ(int32_t(got.leapSeconds), e.leapLine[0]);
    EXPECT_EQ(int32_t(got.leapSecondsFuture), e.leapLine[1]);
    EXPECT_EQ(int32_t(got.leapWeek), e.leapLine[2]);
    EXPECT_EQ(int32_t(got.leapDay), e.leapLine[3]);
}

TEST_P(RealStream, PositionAndTimeLogsDecode) {
    const StreamRun& r = run();
    size_t positions = 0, times = 0;
    for (const auto& f : r.capture.frames) {
        if (f.header.messageId == decoding::LogPsrPos) {
            decoding::PositionSolution p{};
            EXPECT_EQ(decoding::decodePsrPos(f.bytes.data(), f.header, p), 0) << "PSRPOS at " << f.offset;
            EXPECT_EQ(p.header.milliseconds, f.header.milliseconds);
            ++positions;
        } else if (f.header.messageId == decoding::LogTime) {
            decoding::TimeSolution t{};
            EXPECT_EQ(decoding::decodeTime(f.bytes.data(), f.header, t), 0) << "TIME at " << f.offset;
            EXPECT_EQ(t.header.milliseconds, f.header.milliseconds);
            ++times;
        }
    }
    size_t expectedPositions = 0, expectedTimes = 0;
    for (const auto& f : r.manifest.frames) {
        if (r.corruptedIndices.count(f.index)) continue;
        expectedPositions += f.id == decoding::LogPsrPos;
        expectedTimes += f.id == decoding::LogTime;
    }
    EXPECT_EQ(positions, expectedPositions);
    EXPECT_EQ(times, expectedTimes);
}

// When the header's approximate position comes from the stream, it is the first computed fix.
TEST_P(RealStream, FirstComputedFixGivesTheHeaderPosition) {
    const StreamRun& r = run();
    const auto& h = r.manifest.obsHeader;
    if (h.approxPositionSource != "first PSRPOS") GTEST_SKIP() << "position taken from the file header";
    std::optional<decoding::PositionSolution> first;
    for (const auto& f : r.capture.frames) {
        decoding::PositionSolution p{};
        if (f.header.messageId != decoding::LogPsrPos ||
            decoding::decodePsrPos(f.bytes.data(), f.header, p) != 0)
            continue;
        if (p.solutionStatus == 0 && p.positionType != 0) {
            first = p;
            break;
        }
    }
    ASSERT_TRUE(first.has_value());
    const double height = first->height + first->undulation - h.antennaDeltaHen[0];
    const double phi = first->latitude * 0.017453292519943295;
    const double lambda = first->longitude * 0.017453292519943295;
    const double a = 6378137.0, e2 = 0.0066943799901413165;
    const double n = a / std::sqrt(1 - e2 * std::sin(phi) * std::sin(phi));
    EXPECT_NEAR((n + height) * std::cos(phi) * std::cos(lambda), h.approxPositionXyz[0], 1e-4);
    EXPECT_NEAR((n + height) * std::cos(phi) * std::sin(lambda), h.approxPositionXyz[1], 1e-4);
    EXPECT_NEAR((n * (1 - e2) + height) * std::sin(phi), h.approxPositionXyz[2], 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Streams, RealStream, ::testing::ValuesIn(kStreams),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
