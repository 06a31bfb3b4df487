// SPDX-License-Identifier: MIT
// Span, gaps, satellites, observation counts and mean C/N0 of the station file, counted
// independently with the tests' own RINEX reader.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <zlib.h>

#include "quality/gnss_time.h"
#include "rinex_input/rinex_obs_reader.h"
#include "station_file_support.h"

namespace {

std::string gunzip(const std::string& path) {
    gzFile f = gzopen(path.c_str(), "rb");
    std::string out;
    char buffer[65536];
    int n;
    while ((n = gzread(f, buffer, sizeof buffer)) > 0)
        out.append(buffer, size_t(n));
    gzclose(f);
    return out;
}

} // namespace

TEST(SpanAndCounts, MatchAnIndependentCount) {
    std::istringstream text(gunzip(testfiles::esbcObs()));
    rinex_input::ObsReader reader(text);
    const auto& h = reader.header();
    std::map<char, std::set<int>> satellites;
    std::map<char, std::map<std::string, long>> observations;
    std::map<char, std::map<std::string, std::pair<double, long>>> cn0;
    rinex_input::ObsEpoch e;
    int epochs = 0;
    while (reader.next(e)) {
        ++epochs;
        for (const auto& s : e.satellites) {
            satellites[s.system].insert(s.number);
            const auto& types = h.obsTypes.at(s.system);
            for (size_t k = 0; k < s.values.size(); ++k) {
                if (!s.values[k].present) continue;
                ++observations[s.system][types[k]];
                if (types[k][0] == 'S') {
                    auto& c = cn0[s.system][types[k].substr(1)];
                    c.first += s.values[k].value;
                    ++c.second;
                }
            }
        }
    }
    const quality::Report r = station::check(false);
    EXPECT_EQ(r.epochs, epochs);
    EXPECT_EQ(r.epochs, 60);
    EXPECT_EQ(r.interval, 30);
    EXPECT_EQ(quality::isoTime(r.first), "2020-06-25T00:00:00Z");
    EXPECT_EQ(quality::isoTime(r.last), "2020-06-25T00:29:30Z");
    EXPECT_TRUE(r.gaps.empty());
    ASSERT_EQ(r.systems.size(), satellites.size());
    for (const auto& [system, numbers] : satellites) {
        SCOPED_TRACE(std::string(1, system));
        const auto& s = r.systems.at(system);
        EXPECT_EQ(s.satellites, int(numbers.size()));
        EXPECT_EQ(s.observations, observations[system]);
        for (const auto& [signal, c] : cn0[system]) {
            ASSERT_EQ(s.signals.count(signal), 1u) << signal;
            EXPECT_NEAR(s.signals.at(signal).cn0Mean, c.first / c.second, 1e-9) << signal;
        }
    }
    EXPECT_GT(r.systems.at('G').observations.at("C1C"), 500);
}

TEST(SpanAndCounts, RemovedEpochsAreGaps) {
    // Epochs 10..14 and 40 removed: two gaps, 5 and 1 epochs missing.
    const quality::Report r = station::check(false, [](int k, quality::Epoch&) {
        return !(k >= 10 && k <= 14) && k != 40;
    });
    EXPECT_EQ(r.epochs, 54);
    EXPECT_EQ(r.interval, 30);
    ASSERT_EQ(r.gaps.size(), 2u);
    EXPECT_EQ(quality::isoTime(r.gaps[0].start), "2020-06-25T00:04:30Z");
    EXPECT_EQ(quality::isoTime(r.gaps[0].end), "2020-06-25T00:07:30Z");
    EXPECT_EQ(r.gaps[0].missingEpochs, 5);
    EXPECT_EQ(quality::isoTime(r.gaps[1].start), "2020-06-25T00:19:30Z");
    EXPECT_EQ(r.gaps[1].missingEpochs, 1);
}

TEST(SpanAndCounts, IntervalFromTheDataWhenTheHeaderHasNone) {
    quality::QualityCheck check;
    quality::Epoch e;
    const double t0 = quality::gpsSecondsOf(2021, 3, 1, 12, 0, 0);
    for (int k = 0; k < 120; ++k) {
        if (k == 7 || k == 8 || k == 90) continue;
        e.time = t0 + k;
        check.addEpoch(e);
    }
    const quality::Report r = check.finish();
    EXPECT_EQ(r.interval, 1);
    ASSERT_EQ(r.gaps.size(), 2u);
    EXPECT_EQ(r.gaps[0].missingEpochs, 2);
    EXPECT_EQ(r.gaps[1].missingEpochs, 1);
}

TEST(SpanAndCounts, SingleEpochAndEmptyInputAreReported) {
    quality::QualityCheck one;
    quality::Epoch e;
    e.time = quality::gpsSecondsOf(2021, 3, 1, 12, 0, 0);
    one.addEpoch(e);
    const quality::Report r1 = one.finish();
    EXPECT_EQ(r1.epochs, 1);
    EXPECT_TRUE(r1.gaps.empty());
    EXPECT_FALSE(r1.position.valid);
    EXPECT_FALSE(r1.messages.empty());

    quality::QualityCheck none;
    const quality::Report r0 = none.finish();
    EXPECT_EQ(r0.epochs, 0);
    EXPECT_FALSE(r0.messages.empty());
}
