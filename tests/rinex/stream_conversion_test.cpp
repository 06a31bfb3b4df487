// SPDX-License-Identifier: MIT
// Whole recorded streams through the synchroniser into the writer, read back with an
// independent RINEX reader and compared with what each stream's manifest says the
// observation file must hold.
#include "rinex_input/rinex_obs_reader.h"
#include "support/stream_manifest.h"
#include "writer_test_support.h"

#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>

using namespace writertest;

namespace {

struct Conversion {
    testsupport::StreamManifest manifest;
    rinex_input::ObsFile obs;
    qint64 epochsWritten = 0;
    QString writeError;
};

Conversion convertStream(const std::string& name, int ppkMode) {
    Conversion c;
    const std::string directory = testsupport::streamDataDirectory();
    c.manifest = testsupport::loadStreamManifest(directory + "/" + name + ".json.gz");
    const std::string bytes = testsupport::readBinaryFile(directory + "/" + name + ".dat");

    QTemporaryDir dir;
    Rinex3xx writer;
    EXPECT_TRUE(writer.setPpkMode(ppkMode));
    EXPECT_GT(writer.open(dir.filePath("stream.18_")), 0);
    // Uneven chunks, so that frames and sentences straddle chunk borders.
    feedStream(writer, bytes, 65521);
    writer.close();
    c.epochsWritten = writer.epochsWritten();
    c.writeError = writer.writeError();
    c.obs = rinex_input::readObsFile(dir.filePath("stream.18O").toStdString());
    return c;
}

std::vector<const rinex_input::ObsEpoch*> observationEpochs(const rinex_input::ObsFile& obs) {
    std::vector<const rinex_input::ObsEpoch*> out;
    for (const rinex_input::ObsEpoch& e : obs.epochs)
        if (e.flag == 0) out.push_back(&e);
    return out;
}

std::string satelliteName(char system, int number) {
    char text[8];
    std::snprintf(text, sizeof text, "%c%02d", system, number);
    return text;
}

// Every written epoch of the manifest appears, in order, with every signal's four values as
// printed with three decimals.
void expectEpochsMatch(const Conversion& c) {
    const std::vector<const rinex_input::ObsEpoch*> epochs = observationEpochs(c.obs);
    std::vector<const testsupport::ManifestEpoch*> expected;
    for (const testsupport::ManifestEpoch& e : c.manifest.epochs)
        if (e.written) expected.push_back(&e);
    ASSERT_EQ(epochs.size(), expected.size());
    EXPECT_EQ(c.epochsWritten, qint64(expected.size()));

    const rinex_input::ObsHeader& h = c.obs.header;
    for (size_t i = 0; i < epochs.size(); ++i) {
        const rinex_input::ObsEpoch& out = *epochs[i];
        const testsupport::ManifestEpoch& want = *expected[i];
        ASSERT_EQ(out.week, want.week) << "epoch " << want.index;
        ASSERT_EQ(out.msOfWeek, want.ms) << "epoch " << want.index;
        ASSERT_EQ(out.satellites.size(), want.sats.size()) << "epoch " << want.index;
        for (const rinex_input::SatelliteObs& sat : out.satellites) {
            const std::string name = satelliteName(sat.system, sat.number);
            const auto wanted = want.sats.find(name);
            ASSERT_NE(wanted, want.sats.end()) << name << " epoch " << want.index;
            for (const auto& [code, values] : wanted->second) {
                auto field = [&](char type) -> rinex_input::ObsValue {
                    const int index = h.typeIndex(sat.system, std::string(1, type) + code);
                    EXPECT_GE(index, 0) << name << " " << type << code;
                    if (index < 0 || size_t(index) >= sat.values.size()) return {};
                    return sat.values[size_t(index)];
                };
                const std::string where = name + " " + code + " epoch " + std::to_string(want.index);
                const rinex_input::ObsValue pseudorange = field('C');
                ASSERT_TRUE(pseudorange.present) << where;
                EXPECT_NEAR(pseudorange.value, values.pseudorange, 0.0006) << where;
                const rinex_input::ObsValue phase = field('L');
                if (values.carrierPhase) {
                    // The manifest's phase is the printed one; where the second compressed form
                    // moved it by whole cycles its range is kept to 1/2048 m (0.0013 cycles).
                    double tolerance = 0.0006;
                    if (auto s = want.phaseShiftCycles.find(name); s != want.phaseShiftCycles.end())
                        if (s->second.count(code) != 0) tolerance += 0.0013;
                    ASSERT_TRUE(phase.present) << where;
                    EXPECT_NEAR(phase.value, *values.carrierPhase, tolerance) << where;
                    EXPECT_EQ(phase.lli, -1) << where;
                    const int ssi = std::min(9, std::max(1, int(std::floor(values.cn0 / 6 + 0.5))));
                    EXPECT_EQ(phase.ssi, ssi) << where;
                } else {
                    EXPECT_FALSE(phase.present) << where;
                }
                EXPECT_NEAR(field('D').value, values.doppler, 0.0006) << where;
                EXPECT_NEAR(field('S').value, values.cn0, 0.0006) << where;
            }
        }
    }
}

void expectHeaderMatches(const Conversion& c) {
    const rinex_input::ObsHeader& h = c.obs.header;
    const testsupport::ExpectedObsHeader& want = c.manifest.obsHeader;
    EXPECT_NEAR(h.version, 3.04, 1e-9);
    EXPECT_EQ(h.obsTypes, want.obsTypes);
    std::map<std::string, int> glonassSlots;
    for (const auto& [slot, channel] : h.glonassSlots)
        glonassSlots[satelliteName('R', slot)] = channel;
    EXPECT_EQ(glonassSlots, want.glonassSlots);
    EXPECT_DOUBLE_EQ(h.interval, want.interval);
    ASSERT_TRUE(h.hasLeapSeconds);
    EXPECT_EQ(h.leapSeconds, want.leapSeconds);
    char first[32], last[32];
    std::snprintf(first, sizeof first, "%04d-%02d-%02d %02d:%02d:%06.3f", h.firstObs.year, h.firstObs.month,
                  h.firstObs.day, h.firstObs.hour, h.firstObs.minute, h.firstObs.second);
    std::snprintf(last, sizeof last, "%04d-%02d-%02d %02d:%02d:%06.3f", h.lastObs.year, h.lastObs.month,
                  h.lastObs.day, h.lastObs.hour, h.lastObs.minute, h.lastObs.second);
    EXPECT_EQ(first, want.timeOfFirstObs);
    EXPECT_EQ(last, want.timeOfLastObs);
    EXPECT_EQ(h.firstObs.timeSystem, "GPS");
}

} // namespace

TEST(StreamConversion, RangeStreamGivesTheExpectedEpochsAndHeader) {
    const Conversion c = convertStream("cebr-range-key", 1);
    EXPECT_TRUE(c.writeError.isEmpty());
    expectHeaderMatches(c);
    expectEpochsMatch(c);
}

TEST(StreamConversion, CompressedStreamSkipsCorruptedLogsAndWritesMarkerSamplesInMixMode) {
    const Conversion c = convertStream("cebr-rangecmp-legacy", 3);
    expectHeaderMatches(c);
    expectEpochsMatch(c);

    ASSERT_EQ(c.manifest.ppk.size(), 1u);
    const testsupport::PpkMarker& marker = c.manifest.ppk[0];
    std::vector<const rinex_input::ObsEpoch*> events;
    for (const rinex_input::ObsEpoch& e : c.obs.epochs)
        if (e.flag != 0) events.push_back(&e);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0]->flag, 3);
    ASSERT_EQ(events[0]->eventRecords.size(), 4u);
    EXPECT_EQ(events[0]->eventRecords[0].substr(0, 60),
              QByteArray::fromStdString(marker.name).leftJustified(60, ' ').toStdString());
    EXPECT_EQ(events[0]->eventRecords[1].substr(0, 20),
              QByteArray::fromStdString(marker.number).leftJustified(20, ' ').toStdString());
    EXPECT_EQ(events[1]->flag, 2);
}

TEST(StreamConversion, OnlyModeKeepsJustTheConfirmedSamples) {
    const Conversion c = convertStream("cebr-rangecmp-legacy", 2);
    ASSERT_EQ(c.manifest.ppk.size(), 1u);
    const std::vector<const rinex_input::ObsEpoch*> epochs = observationEpochs(c.obs);
    const std::vector<testsupport::PpkSample>& samples = c.manifest.ppk[0].samples;
    ASSERT_EQ(epochs.size(), samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        EXPECT_EQ(epochs[i]->week, samples[i].week);
        EXPECT_EQ(epochs[i]->msOfWeek, samples[i].ms);
    }
}

TEST(StreamConversion, SecondCompressedFormGivesTheExpectedEpochsAndHeader) {
    const Conversion c = convertStream("cebr-rangecmp2-none", 1);
    expectHeaderMatches(c);
    expectEpochsMatch(c);
    // no options: the approximate position is the first computed one
    const auto& want = c.manifest.obsHeader.approxPositionXyz;
    ASSERT_EQ(c.manifest.obsHeader.approxPositionSource, "first PSRPOS");
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(c.obs.header.approxPosition[size_t(i)], want[size_t(i)], 0.0006);
}
