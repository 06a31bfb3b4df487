// SPDX-License-Identifier: MIT
// The check fed with the records as they are written: it follows them when the written
// header agrees with what the writer announced, reads the written file when not, and gives
// the report of the written file either way.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "gnss/gps_calendar.h"
#include "quality/check_files.h"
#include "quality/conversion_feed.h"
#include "quality/text_report.h"
#include "rinex/number_format.h"

using namespace quality;

namespace {

// Two GPS satellites with codes, phases, Doppler and strengths on 1C and 2W, written as a
// RINEX 3 file and handed to the feed as a writer hands them over.
struct FedRun {
    bool readTheFile = false;
    std::string fed, read;
    Report report;
};

// With repeatFirstColumn the lines get a third column of the first one's signal (1C).
FedRun writeAndFeed(const std::vector<int64_t>& milliseconds, const char* name,
                    bool repeatFirstColumn = false) {
    Options options;
    options.positionInterval = kConversionPositionInterval;
    ConversionFeed feed(options);
    const std::string path = testing::TempDir() + name;
    int64_t interval = 0;
    for (size_t i = 1; i < milliseconds.size(); ++i) {
        const int64_t d = milliseconds[i] - milliseconds[i - 1];
        if (d > 0 && (interval == 0 || d < interval)) interval = d;
    }
    std::string text = "     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n"
                       "FEED                                                        MARKER NAME\n";
    text += repeatFirstColumn
                ? "G   12 C1C L1C D1C S1C C2W L2W D2W S2W C1C L1C D1C S1C      SYS / # / OBS TYPES\n"
                : "G    8 C1C L1C D1C S1C C2W L2W D2W S2W                      SYS / # / OBS TYPES\n";
    char line[256];
    std::snprintf(line, sizeof line, "%10.3f%50s%-20s\n", double(interval) / 1000.0, "", "INTERVAL");
    text += line;
    text += "                                                            END OF HEADER\n";
    feed.signalColumn('G', 0, '1', 'C');
    feed.signalColumn('G', 1, '2', 'W');
    if (repeatFirstColumn) feed.signalColumn('G', 2, '1', 'C');
    const int fields = repeatFirstColumn ? 12 : 8;
    const int numbers[2] = {5, 12};
    for (size_t i = 0; i < milliseconds.size(); ++i) {
        const int64_t ms = milliseconds[i];
        const gnss::CalendarTime c = gnss::calendarFromMilliseconds(ms);
        std::snprintf(line, sizeof line, "> %04d %02d %02d %02d %02d%11.7f  0%3d\n", c.year, c.month, c.day, c.hour,
                      c.minute, c.second + c.millisecond / 1000.0, 2);
        text += line;
        feed.epoch(ms, 2);
        for (int k = 0; k < 2; ++k) {
            const double s = double(ms - milliseconds[0]) / 1000.0;
            // A slow range change, a little multipath and, for one satellite, a slip.
            const double range = 2.1e7 + 3000.0 * k + 250.0 * s + 0.3 * std::sin(s / 7.0 + k);
            const double c1 = range + 0.2 * std::cos(s / 3.0), c2 = range + 1.1 + 0.15 * std::sin(s / 5.0);
            const double l1 = range / 0.190293672798365 + (k == 1 && s >= 20 ? 7 : 0);
            const double l2 = range / 0.244210213424568;
            const double values[8] = {c1, l1, -1300.25 + s, 45.5 - k, c2, l2, -1010.75 + s, 38.25 + k};
            const int lli[8] = {0, k == 1 && s >= 20 && s < 21 ? 1 : 0, 0, 0, 0, 0, 0, 0};
            rinex::ObservedColumn observed[3] = {};
            uint64_t used = 0;
            std::snprintf(line, sizeof line, "G%02d", numbers[k]);
            text += line;
            for (int f = 0; f < fields; ++f) {
                const double value = values[f % 8];
                const int flag = lli[f % 8];
                rinex::observeField(observed[f / 4], f % 4, flag != 0, value,
                                    rinex::fixed14Thousandths(value));
                used |= uint64_t(1) << (f / 4);
                std::snprintf(line, sizeof line, "%14.3f%c ", value, flag ? '1' : ' ');
                text += line;
            }
            text += "\n";
            feed.satellite('G', numbers[k], observed, used);
        }
    }
    {
        std::ofstream out(path, std::ios::binary);
        out << text;
    }
    FedRun run;
    std::string error;
    EXPECT_TRUE(feed.prepare({path}, error)) << error;
    run.readTheFile = feed.readTheFile();
    run.report = feed.finish();
    run.fed = textReport(run.report);
    Report read;
    EXPECT_TRUE(checkConversionFiles({path}, options, read, error)) << error;
    run.read = textReport(read);
    std::remove(path.c_str());
    return run;
}

std::vector<int64_t> epochs(std::vector<int64_t> steps) {
    std::vector<int64_t> times{int64_t(1300000000) * 1000};
    for (const int64_t step : steps)
        times.push_back(times.back() + step);
    return times;
}

// Sixty steps of 1 s from the first epoch, the one at index `at` of `step` milliseconds.
std::vector<int64_t> epochsWithStep(size_t at, int64_t step) {
    std::vector<int64_t> steps(60, 1000);
    steps[at] = step;
    return epochs(steps);
}

} // namespace

TEST(ConversionFeed, FollowsRegularRecords) {
    const FedRun run = writeAndFeed(epochs(std::vector<int64_t>(60, 1000)), "feed-regular.20O");
    EXPECT_FALSE(run.readTheFile);
    EXPECT_EQ(run.fed, run.read);
    EXPECT_EQ(run.report.epochs, 61);
    EXPECT_EQ(run.report.gapCount, 0);
    EXPECT_GT(run.report.systems.at('G').slips, 0);
}

TEST(ConversionFeed, FollowsGapsBeyondTheInterval) {
    const FedRun run = writeAndFeed(epochsWithStep(30, 5000), "feed-gap.20O");
    EXPECT_FALSE(run.readTheFile);
    EXPECT_EQ(run.fed, run.read);
    ASSERT_EQ(run.report.gaps.size(), 1u);
    EXPECT_EQ(run.report.gaps[0].missingEpochs, 4);
}

TEST(ConversionFeed, ReadsTheFileWhenTwoColumnsHoldOneSignal) {
    // Counted by column, the repeated signal would count twice per line.
    const FedRun run = writeAndFeed(epochs(std::vector<int64_t>(60, 1000)), "feed-repeated.20O", true);
    EXPECT_TRUE(run.readTheFile);
    EXPECT_EQ(run.fed, run.read);
    EXPECT_EQ(run.report.epochs, 61);
}

TEST(ConversionFeed, ReadsTheFileWhenTheIntervalShrinksLater) {
    // The first step says 2 s: a later 1 s step makes the first one a gap after all.
    const FedRun run = writeAndFeed(epochsWithStep(0, 2000), "feed-shrinking.20O");
    EXPECT_TRUE(run.readTheFile);
    EXPECT_EQ(run.fed, run.read);
    EXPECT_EQ(run.report.gapCount, 1);
}
