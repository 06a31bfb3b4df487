// SPDX-License-Identifier: MIT
// Real-data streams: range logs decode to the manifest's observations, position and time
// logs to its fixes.
#include "real_stream_support.h"

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

using namespace realstream;

namespace {

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
    const double phi = first->latitude * gnss::kDegree;
    const double lambda = first->longitude * gnss::kDegree;
    const double a = gnss::kWgs84SemiMajorAxis, e2 = gnss::kWgs84EccentricitySquared;
    const double n = a / std::sqrt(1 - e2 * std::sin(phi) * std::sin(phi));
    EXPECT_NEAR((n + height) * std::cos(phi) * std::cos(lambda), h.approxPositionXyz[0], 1e-4);
    EXPECT_NEAR((n + height) * std::cos(phi) * std::sin(lambda), h.approxPositionXyz[1], 1e-4);
    EXPECT_NEAR((n * (1 - e2) + height) * std::sin(phi), h.approxPositionXyz[2], 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Streams, RealStream, ::testing::ValuesIn(kStreams), streamTestName);

} // namespace
