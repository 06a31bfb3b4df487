// SPDX-License-Identifier: MIT
#include "sample_generator/stream_assembly.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "decoding/log_header.h"
#include "decoding/log_names.h"
#include "decoding/position_time.h"
#include "encoder/nav_encoder.h"
#include "encoder/range_encoder.h"
#include "gnss/gps_calendar.h"
#include "sample_generator/header_writer.h"
#include "sample_generator/input_window.h"
#include "sample_generator/nav_frames.h"
#include "sample_generator/noise.h"
#include "sample_generator/observation_signals.h"
#include "sample_generator/ppk_sentences.h"

namespace sample_generator {

namespace {

// The converter collects frames in a buffer of this size; longer frames are lost.
constexpr size_t kConverterFrameBuffer = 16384;
constexpr int kDefaultLeapSeconds = 18; // GPS - UTC since 2017

// "2018-07-19 00:05:30"
std::string calendarText(const gnss::CalendarTime& c) {
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", c.year, c.month, c.day, c.hour,
                  c.minute, c.second);
    return text;
}

struct Item {
    bool text = false;
    uint16_t messageId = 0;
    encoding::Bytes bytes;
    bool keepCrc = false; // range logs that PPK samples refer to are never spoiled
};

Item frameItem(uint16_t messageId, encoding::Bytes bytes) {
    Item item;
    item.messageId = messageId;
    item.bytes = std::move(bytes);
    return item;
}

Item textItem(const std::string& line) {
    Item item;
    item.text = true;
    item.bytes.assign(line.begin(), line.end());
    return item;
}

encoding::FrameStamp stampOf(const rinex_input::ObsEpoch& epoch) {
    encoding::FrameStamp stamp;
    stamp.week = uint16_t(epoch.week);
    stamp.milliseconds = epoch.msOfWeek;
    return stamp;
}

bool stampedNoLaterThan(const encoding::FrameStamp& a, const encoding::FrameStamp& b) {
    return std::make_tuple(a.week, a.milliseconds) <= std::make_tuple(b.week, b.milliseconds);
}

int leapSecondsOf(const Options& options, const rinex_input::ObsHeader& header,
                  const rinex_input::NavFile* nav) {
    if (options.leapSeconds) return *options.leapSeconds;
    if (nav && nav->header.leapSeconds) return nav->header.leapSeconds->current;
    if (header.hasLeapSeconds) return header.leapSeconds;
    return kDefaultLeapSeconds;
}

// A computed single-point fix at the station. The height goes in whole as the height field
// with a zero undulation: their sum is the ellipsoidal height the converter uses.
decoding::PositionSolution fixAt(const PositionDegrees& position, const rinex_input::ObsEpoch& epoch) {
    decoding::PositionSolution p{};
    p.solutionStatus = 0; // computed
    p.positionType = 16;  // single point
    p.latitude = position.latitude;
    p.longitude = position.longitude;
    p.height = position.height;
    p.undulation = 0.0f;
    p.datumId = 61; // WGS 84
    p.latitudeStd = p.longitudeStd = 1.2f;
    p.heightStd = 2.5f;
    const size_t satellites = std::min<size_t>(epoch.satellites.size(), 255);
    p.satellitesTracked = uint8_t(satellites);
    p.satellitesInSolution = uint8_t(satellites);
    return p;
}

decoding::TimeSolution timeAt(const rinex_input::ObsEpoch& epoch, int leapSeconds) {
    decoding::TimeSolution t{};
    t.clockStatus = 0; // valid
    t.utcOffset = -leapSeconds;
    const gnss::CalendarTime utc =
        gnss::gpsCalendar(epoch.week, int64_t(epoch.msOfWeek) - int64_t(leapSeconds) * 1000);
    t.utcYear = uint32_t(utc.year);
    t.utcMonth = uint8_t(utc.month);
    t.utcDay = uint8_t(utc.day);
    t.utcHour = uint8_t(utc.hour);
    t.utcMinute = uint8_t(utc.minute);
    t.utcMilliseconds = uint32_t(utc.second * 1000 + utc.millisecond);
    t.utcStatus = 1; // valid
    return t;
}

encoding::EncodedRangeLog encodeEpoch(RangeLogKind kind, const encoding::FrameStamp& stamp,
                                      const std::vector<encoding::RangeSignal>& signals) {
    switch (kind) {
    case RangeLogKind::Range:
        return encoding::encodeRange(stamp, signals);
    case RangeLogKind::RangeCmp:
        return encoding::encodeRangeCmp(stamp, signals);
    default:
        return encoding::encodeRangeCmp2(stamp, signals);
    }
}

uint16_t rangeLogId(RangeLogKind kind) {
    switch (kind) {
    case RangeLogKind::Range:
        return decoding::LogRange;
    case RangeLogKind::RangeCmp:
        return decoding::LogRangeCmp;
    default:
        return decoding::LogRangeCmp2;
    }
}

std::string logNameOf(uint16_t id) {
    const char* name = decoding::logName(id);
    return name && *name ? name : "log " + std::to_string(id);
}

struct PlannedMarker {
    PpkMarker request;
    MarkerOccupation occupation;
};

std::vector<PlannedMarker> planMarkers(const Options& options, const HeaderValues& values,
                                       size_t epochCount) {
    std::vector<PlannedMarker> planned;
    int index = 0;
    for (const PpkMarker& m : options.ppk) {
        if (m.beginEpoch + m.samples >= epochCount)
            throw UsageError("--ppk " + std::to_string(m.beginEpoch) + ":" + std::to_string(m.samples) +
                             ": needs " + std::to_string(m.beginEpoch + m.samples + 1) +
                             " epochs, the window has " + std::to_string(epochCount));
        ++index;
        PlannedMarker p;
        p.request = m;
        MarkerOccupation& o = p.occupation;
        o.id1 = index;
        o.id2 = 1;
        o.index = index;
        char text[32];
        std::snprintf(text, sizeof text, "PT%02d", index);
        o.name = m.name.empty() ? text : m.name;
        std::snprintf(text, sizeof text, "MK-%04d", index);
        o.number = text;
        o.antennaHeight = values.antennaHeight;
        if (values.position) {
            o.ground = *values.position;
            o.ground.height -= values.antennaHeight;
        }
        if (values.xyz) o.xyz = *values.xyz;
        planned.push_back(p);
    }
    return planned;
}

// The PPK lines that follow the range log of epoch i.
std::vector<std::string> ppkLinesAfter(const std::vector<PlannedMarker>& markers, size_t i,
                                       const rinex_input::ObsEpoch& epoch) {
    std::vector<std::string> lines;
    for (const PlannedMarker& m : markers) {
        const size_t b = m.request.beginEpoch, s = m.request.samples;
        if (i > b && i <= b + s)
            lines.push_back(markerSample(m.occupation, int(i - b), epoch.week, epoch.msOfWeek));
        if (s > 0 && i == b + s) lines.push_back(markerEnd(m.occupation));
    }
    for (const PlannedMarker& m : markers)
        if (i == m.request.beginEpoch) {
            lines.push_back(markerBegin(m.occupation));
            if (m.request.samples == 0) lines.push_back(markerEnd(m.occupation));
        }
    return lines;
}

bool isSampleEpoch(const std::vector<PlannedMarker>& markers, size_t i) {
    for (const PlannedMarker& m : markers)
        if (i > m.request.beginEpoch && i <= m.request.beginEpoch + m.request.samples) return true;
    return false;
}

void spoilFrames(std::vector<Item>& items, size_t count, Noise& noise, Summary& summary) {
    std::vector<size_t> eligible;
    for (size_t i = 0; i < items.size(); ++i)
        if (!items[i].text && !items[i].keepCrc) eligible.push_back(i);
    if (count > eligible.size())
        summary.warnings.push_back("--corrupt " + std::to_string(count) + ": only " +
                                   std::to_string(eligible.size()) + " frames may be spoiled");
    count = std::min(count, eligible.size());
    for (size_t k = 0; k < count; ++k) { // partial shuffle: the first count entries are the picks
        std::swap(eligible[k], eligible[k + noise.below(eligible.size() - k)]);
        Item& item = items[eligible[k]];
        spoilCrc(item.bytes);
        ++summary.corrupted[logNameOf(item.messageId)];
    }
}

} // namespace

Sample assembleSample(const Options& options, const rinex_input::ObsHeader& header,
                      const std::vector<rinex_input::ObsEpoch>& epochs, const rinex_input::NavFile* nav) {
    if (epochs.empty()) throw std::runtime_error("no observation epochs");
    Sample sample;
    Summary& summary = sample.summary;
    const HeaderValues values = headerValuesOf(header, options.headerValues);
    const std::vector<PlannedMarker> markers = planMarkers(options, values, epochs.size());
    const int leapSeconds = leapSecondsOf(options, header, nav);

    std::vector<Item> items;
    std::vector<StampedFrame> navFrames;
    if (nav) {
        if (const auto iono = ionoUtcOf(nav->header))
            items.push_back(
                frameItem(decoding::LogIonUtc, encoding::encodeLogFrame(*iono, stampOf(epochs.front()))));
        navFrames = ephemerisFrames(*nav, leapSeconds, options.navPerSatellite, summary.navSkipped);
    }
    size_t nextNav = 0;
    auto navUpTo = [&](const encoding::FrameStamp* limit) {
        for (; nextNav < navFrames.size() && (!limit || stampedNoLaterThan(navFrames[nextNav].stamp, *limit));
             ++nextNav)
            items.push_back(frameItem(navFrames[nextNav].messageId, navFrames[nextNav].frame));
    };
    if (options.navOrder == NavOrder::Start) navUpTo(nullptr);

    SignalBuilder builder(header);
    const uint16_t rangeId = rangeLogId(options.log);
    for (size_t i = 0; i < epochs.size(); ++i) {
        const rinex_input::ObsEpoch& epoch = epochs[i];
        const encoding::FrameStamp stamp = stampOf(epoch);
        navUpTo(&stamp);
        if (i == 0 || (options.fixEvery != 0 && i % options.fixEvery == 0)) {
            if (values.position)
                items.push_back(frameItem(decoding::LogPsrPos,
                                          encoding::encodeLogFrame(fixAt(*values.position, epoch), stamp)));
            items.push_back(
                frameItem(decoding::LogTime, encoding::encodeLogFrame(timeAt(epoch, leapSeconds), stamp)));
        }
        const std::vector<encoding::RangeSignal> signals = builder.signalsOf(epoch, summary.skipped);
        encoding::EncodedRangeLog log = encodeEpoch(options.log, stamp, signals);
        for (const encoding::SignalOutcome& o : log.outcomes) {
            if (!o.encoded) ++summary.omitted[o.omittedReason];
            if (o.encoded && o.cn0Clamped) ++summary.cn0Clamped;
        }
        summary.signalsEncoded += size_t(log.encodedCount());
        Item range = frameItem(rangeId, std::move(log.frame));
        range.keepCrc = isSampleEpoch(markers, i);
        items.push_back(std::move(range));
        for (const std::string& line : ppkLinesAfter(markers, i, epoch)) {
            items.push_back(textItem(line));
            ++summary.ppkSentences;
        }
    }
    navUpTo(nullptr);
    summary.ppkMarkers = markers.size();

    Noise noise(options.seed);
    spoilFrames(items, options.corrupt, noise, summary);

    sample.bytes =
        fileHeader(options.header, values, epochs.front().time, epochs.back().time, summary.warnings);
    summary.headerBytes = sample.bytes.size();
    std::map<std::string, size_t> oversized;
    for (const Item& item : items) {
        if (item.text) {
            sample.bytes.insert(sample.bytes.end(), item.bytes.begin(), item.bytes.end());
            continue;
        }
        ++summary.framesPerLog[logNameOf(item.messageId)];
        if (item.bytes.size() >= kConverterFrameBuffer) ++oversized[logNameOf(item.messageId)];
        if (options.junk && noise.oneIn(4)) {
            const encoding::Bytes junk = noise.junk();
            sample.bytes.insert(sample.bytes.end(), junk.begin(), junk.end());
            ++summary.junkRuns;
            summary.junkBytes += junk.size();
        }
        sample.bytes.insert(sample.bytes.end(), item.bytes.begin(), item.bytes.end());
        if (options.junk && noise.oneIn(16)) {
            const std::string note = noise.noteLine(++summary.noteLines);
            sample.bytes.insert(sample.bytes.end(), note.begin(), note.end());
        }
    }
    for (const auto& [name, n] : oversized)
        summary.warnings.push_back(std::to_string(n) + " " + name + " frames of " +
                                   std::to_string(kConverterFrameBuffer) +
                                   " bytes or more: the converter's frame buffer cannot hold them");
    if (!values.position) summary.warnings.push_back("no station position: no PSRPOS log written");

    summary.totalBytes = sample.bytes.size();
    summary.epochs = epochs.size();
    summary.firstEpoch = calendarText(gnss::gpsCalendar(epochs.front().week, epochs.front().msOfWeek));
    summary.lastEpoch = calendarText(gnss::gpsCalendar(epochs.back().week, epochs.back().msOfWeek));
    return sample;
}

Sample generateSample(const Options& options) {
    const ObservationWindow window = readWindow(options.observationPath, options.start, options.epochs);
    rinex_input::NavFile nav;
    if (!options.navigationPath.empty()) nav = rinex_input::readNavFile(options.navigationPath);
    Sample sample = assembleSample(options, window.header, window.epochs,
                                   options.navigationPath.empty() ? nullptr : &nav);
    sample.summary.otherRecords = window.otherRecords;
    return sample;
}

} // namespace sample_generator
