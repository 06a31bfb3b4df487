// SPDX-License-Identifier: MIT
// The check fed as a writer feeds it, on a real station's half hour with its navigation data:
// elevations, completeness, positions and occupations replayed after the close equal the
// check of the written file, whether the positions and the elevations are replayed apart
// (the header gives the receiver's position) or in one piece (it does not).
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "gnss/gps_calendar.h"
#include "quality/check_files.h"
#include "quality/compressed_input.h"
#include "quality/conversion_feed.h"
#include "quality/rinex_obs_reader.h"
#include "quality/text_report.h"
#include "rinex/number_format.h"
#include "test_files.h"

using namespace quality;

namespace {

// The station's records laid out as the writer lays them out: per system one column per
// signal, each with its code, phase, Doppler and strength fields, told to the feed as the
// writer tells it.
struct Layout {
    std::map<char, std::vector<std::string>> signals; // per system, band + attribute in column order

    int column(char system, char band, char attribute) {
        std::vector<std::string>& list = signals[system];
        for (size_t i = 0; i < list.size(); ++i)
            if (list[i][0] == band && list[i][1] == attribute) return int(i);
        list.push_back(std::string{band, attribute});
        return int(list.size() - 1);
    }
};

int kindOf(char type) {
    switch (type) {
    case 'C': return 0;
    case 'L': return 1;
    case 'D': return 2;
    default: return 3;
    }
}

std::string decompressed(const std::string& path, const std::string& to) {
    std::string error;
    std::unique_ptr<std::istream> in = openInput(path, error);
    EXPECT_TRUE(in) << error;
    std::ofstream out(to, std::ios::binary);
    out << in->rdbuf();
    return to;
}

// A feed that has been told the station's records and has read the written files' headers.
struct FedStation {
    Options options;
    std::unique_ptr<ConversionFeed> feed;
    std::string obsPath, navPath;
    ~FedStation() {
        feed.reset();
        std::remove(obsPath.c_str());
        std::remove(navPath.c_str());
    }
};

std::unique_ptr<FedStation> feedStation(bool headerPosition, const std::string& name) {
    auto station = std::make_unique<FedStation>();
    std::string error;
    std::unique_ptr<std::istream> in = openInput(testfiles::esbcObs(), error);
    EXPECT_TRUE(in) << error;
    RinexObsReader reader(*in);
    ObservationHeader source;
    EXPECT_TRUE(reader.readHeader(source, error)) << error;
    std::vector<Epoch> epochs;
    for (Epoch epoch; reader.next(epoch);)
        if (epoch.flag <= 1) {
            epoch.satellites.resize(epoch.satelliteCount);
            epochs.push_back(epoch);
        }

    Layout layout;
    for (const Epoch& epoch : epochs)
        for (const SatelliteObservations& sat : epoch.satellites)
            for (const Observation& o : sat.observations)
                layout.column(sat.system, o.band, o.attribute);

    station->options.positionInterval = kConversionPositionInterval;
    station->feed = std::make_unique<ConversionFeed>(station->options);
    ConversionFeed& feed = *station->feed;
    std::string text = "     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n"
                       "ESBC                                                        MARKER NAME\n";
    char line[256];
    const std::array<double, 3> position = headerPosition ? source.approxPosition : std::array<double, 3>{};
    std::snprintf(line, sizeof line, "%14.4f%14.4f%14.4f%18s%-20s\n", position[0], position[1], position[2], "",
                  "APPROX POSITION XYZ");
    text += line;
    for (const auto& [system, signals] : layout.signals) {
        std::string types;
        for (const std::string& s : signals)
            for (const char t : {'C', 'L', 'D', 'S'})
                types += std::string(" ") + t + s;
        const int count = int(4 * signals.size());
        for (size_t at = 0, n = 0; at < types.size(); at += 4 * 13, ++n) {
            std::snprintf(line, sizeof line, "%c  %3s%-54s%-20s\n", n == 0 ? system : ' ',
                          n == 0 ? std::to_string(count).c_str() : "", types.substr(at, 4 * 13).c_str(),
                          "SYS / # / OBS TYPES");
            text += line;
        }
        for (size_t c = 0; c < signals.size(); ++c)
            feed.signalColumn(system, int(c), signals[c][0], signals[c][1]);
    }
    std::snprintf(line, sizeof line, "%10.3f%50s%-20s\n", 30.0, "", "INTERVAL");
    text += line;
    if (!source.glonassChannels.empty()) {
        std::string slots;
        for (const auto& [slot, channel] : source.glonassChannels) {
            char entry[16];
            std::snprintf(entry, sizeof entry, " R%02d %2d", slot, channel);
            slots += entry;
            feed.glonassChannel(slot, channel);
        }
        for (size_t at = 0, n = 0; at < slots.size(); at += 8 * 7, ++n) {
            std::snprintf(line, sizeof line, "%3s %-56s%-20s\n",
                          n == 0 ? std::to_string(source.glonassChannels.size()).c_str() : "",
                          slots.substr(at, 8 * 7).c_str(), "GLONASS SLOT / FRQ #");
            text += line;
        }
    }
    text += "                                                            END OF HEADER\n";

    for (const Epoch& epoch : epochs) {
        // The writer counts milliseconds from 1970 on the GPS time scale.
        const int64_t ms = int64_t(epoch.time * 1000.0 + 0.5) + gnss::kGpsEpochMilliseconds;
        const gnss::CalendarTime c = gnss::calendarFromMilliseconds(ms);
        std::snprintf(line, sizeof line, "> %04d %02d %02d %02d %02d%11.7f  0%3d\n", c.year, c.month, c.day, c.hour,
                      c.minute, c.second + c.millisecond / 1000.0, int(epoch.satellites.size()));
        text += line;
        feed.epoch(ms, int(epoch.satellites.size()));
        for (const SatelliteObservations& sat : epoch.satellites) {
            const size_t columns = layout.signals[sat.system].size();
            std::vector<const Observation*> fields(4 * columns, nullptr);
            for (const Observation& o : sat.observations)
                fields[size_t(4 * layout.column(sat.system, o.band, o.attribute) + kindOf(o.type))] = &o;
            std::snprintf(line, sizeof line, "%c%02d", sat.system, sat.number);
            std::string record = line;
            std::vector<rinex::ObservedColumn> values(columns);
            uint64_t used = 0;
            for (size_t f = 0; f < fields.size(); ++f) {
                if (!fields[f]) {
                    record += std::string(16, ' ');
                    continue;
                }
                const bool lossOfLock = (fields[f]->lli & 1) != 0;
                std::snprintf(line, sizeof line, "%14.3f%c ", fields[f]->value, lossOfLock ? '1' : ' ');
                record += line;
                const int64_t thousandths = rinex::fixed14Thousandths(fields[f]->value);
                rinex::observeField(values[f / 4], int(f % 4), lossOfLock, fields[f]->value, thousandths);
                if (thousandths >= 0) used |= uint64_t(1) << (f / 4);
            }
            while (!record.empty() && record.back() == ' ')
                record.pop_back();
            text += record + "\n";
            feed.satellite(sat.system, sat.number, values.data(), used);
        }
    }
    station->obsPath = testing::TempDir() + name + ".20O";
    station->navPath = decompressed(testfiles::esbcNav(), testing::TempDir() + name + ".20N");
    {
        std::ofstream out(station->obsPath, std::ios::binary);
        out << text;
    }
    EXPECT_TRUE(feed.prepare({station->obsPath, station->navPath}, error)) << error;
    EXPECT_FALSE(feed.readTheFile());
    return station;
}

// The fed report and the written files' report, as text.
void expectTheFilesReport(FedStation& station, bool apart) {
    const Report fed = station.feed->finish();
    EXPECT_TRUE(fed.position.valid) << textReport(fed);
    EXPECT_TRUE(fed.hasCompleteness);
    EXPECT_GT(fed.position.epochs, 50);
    EXPECT_EQ(fed.hasHeaderPosition && fed.headerPosition[0] != 0, apart);
    Report read;
    std::string error;
    EXPECT_TRUE(checkConversionFiles({station.obsPath, station.navPath}, station.options, read, error)) << error;
    EXPECT_EQ(textReport(fed), textReport(read));
}

} // namespace

TEST(ConversionFeedStation, PositionsAndElevationsReplayedApartGiveTheFilesReport) {
    expectTheFilesReport(*feedStation(true, "feed-station-apart"), true);
}

TEST(ConversionFeedStation, WithoutHeaderPositionTheReplayIsOnePieceAndGivesTheFilesReport) {
    expectTheFilesReport(*feedStation(false, "feed-station-whole"), false);
}

TEST(ConversionFeedStation, CancelledReplayEndsItsSecondThread) {
    // A feed destroyed halfway through the replay (a cancelled conversion) stops the
    // elevations half, which runs ahead on its own thread, before its state goes.
    std::unique_ptr<FedStation> station = feedStation(true, "feed-station-cancel");
    EXPECT_FALSE(station->feed->replay(5));
    station->feed.reset();
    EXPECT_FALSE(station->feed);
}
