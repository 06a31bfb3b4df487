// SPDX-License-Identifier: MIT
// The conversion's check gives the report of the written files however the writer's two
// threads share the satellite lines: all on the decoding thread, all on the output thread
// (the formatting side), or split by system; with and without an output thread.
#include "quality/check_files.h"
#include "quality/conversion_feed.h"
#include "quality/text_report.h"

#include "../rinex/writer_test_support.h"
#include "support/stream_manifest.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "station_stream.h"

using namespace writertest;

namespace {

uint32_t letters(const char* systems) {
    uint32_t mask = 0;
    for (const char* c = systems; *c; ++c)
        mask |= 1u << (*c - 'A');
    return mask;
}

struct Checked {
    std::string fed, files;
    bool readTheFile = true;
};

Checked convertAndCheck(const std::string& bytes, bool outputThread, uint32_t formatted) {
    quality::Options options;
    options.positionInterval = quality::kConversionPositionInterval;
    quality::ConversionFeed feed(options, formatted);
    OpenWriter w;
    EXPECT_TRUE(w.writer.setPpkMode(rinex::PpkMix));
    EXPECT_TRUE(w.writer.setOutputThread(outputThread));
    w.writer.setEpochObserver(&feed);
    EXPECT_TRUE(w.open());
    feedStream(w.writer, bytes);
    w.writer.close();
    std::vector<std::string> files;
    for (const char letter : {'O', 'N', 'G', 'L', 'C'})
        files.push_back(w.file(letter).toStdString());
    Checked out;
    std::string error;
    EXPECT_TRUE(feed.prepare(files, error)) << error;
    out.readTheFile = feed.readTheFile();
    out.fed = quality::textReport(feed.finish());
    quality::Report read;
    EXPECT_TRUE(quality::checkConversionFiles(files, options, read, error)) << error;
    out.files = quality::textReport(read);
    return out;
}

void expectEverySplitGivesTheFilesReport(const std::string& bytes) {
    std::string first;
    for (const bool outputThread : {false, true}) {
        for (const char* systems : {"", "GE", "GRECJIS", "R", "CS"}) {
            SCOPED_TRACE(std::string(outputThread ? "output thread" : "one thread") + ", side \"" + systems +
                         "\"");
            const Checked run = convertAndCheck(bytes, outputThread, letters(systems));
            EXPECT_FALSE(run.readTheFile);
            EXPECT_EQ(run.fed, run.files);
            if (first.empty()) first = run.fed;
            EXPECT_EQ(run.fed, first);
        }
    }
}

} // namespace

TEST(FeedSplit, RecordedStreamsGiveTheFilesReportWhateverTheSplit) {
    for (const char* name : {"cebr-range-key.dat", "cebr-rangecmp2-none.dat"}) {
        SCOPED_TRACE(name);
        expectEverySplitGivesTheFilesReport(
            testsupport::readBinaryFile(testsupport::streamDataDirectory() + "/" + name));
    }
}

TEST(FeedSplit, StationWithPositionsAndOccupationsGivesTheFilesReportWhateverTheSplit) {
    // Elevations, completeness, positions and occupations from a station's day with its
    // broadcast records.
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string bytes = clitest::stationStream(dir);
    ASSERT_FALSE(bytes.empty());
    const Checked run = convertAndCheck(bytes, true, quality::ConversionFeed::kFormattedByDefault);
    EXPECT_NE(run.fed.find("(ECEF)"), std::string::npos) << run.fed;
    EXPECT_NE(run.fed.find("PT02"), std::string::npos);
    expectEverySplitGivesTheFilesReport(bytes);
}

TEST(FeedSplit, FeedOffersASideOnlyWithSystemsForIt) {
    // A side that is never told anything keeps no records; its systems are checked on the
    // decoding thread.
    quality::ConversionFeed feed({}, letters("GE"));
    EXPECT_EQ(feed.formattedSystems(), letters("GE"));
    EXPECT_NE(feed.formattingSide(), nullptr);
    quality::ConversionFeed none({}, 0);
    EXPECT_EQ(none.formattingSide(), nullptr);
}
