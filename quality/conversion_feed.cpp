// SPDX-License-Identifier: MIT
#include "quality/conversion_feed.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>

#include "gnss/gps_calendar.h"
#include "quality/check_files.h"
#include "quality/compressed_input.h"
#include "quality/gnss_time.h"
#include "quality/rinex_obs_reader.h"
#include "quality/text_fields.h"

namespace quality {

namespace {

// One 64-bit word per value; the top four bits tell records apart.
//   value:     tag 0 | field << 48 | lossOfLock << 46 | negative << 45 | thousandths (45 bits)
//   epoch:     tag 1 | satellites, then a word with the GPS milliseconds
//   satellite: tag 2 | system << 16 | number
//   event line: tag 3 | length, then the text in ceil(length / 8) words
constexpr int kTagShift = 60;
constexpr uint64_t kTagValue = 0, kTagEpoch = 1, kTagSatellite = 2, kTagEvent = 3;
constexpr uint64_t kThousandthsMask = (uint64_t(1) << 45) - 1;
constexpr size_t kBlockWords = 1 << 16;
constexpr int kMaxFields = 256;

uint64_t tagOf(uint64_t word) {
    return word >> kTagShift;
}

} // namespace

ConversionFeed::ConversionFeed(Options options) : options_(options), check_(options) {
    block_.resize(kBlockWords);
}

ConversionFeed::~ConversionFeed() {
    if (spill_) std::fclose(spill_);
}

void ConversionFeed::put(uint64_t word) {
    if (blockUsed_ == block_.size()) flush();
    block_[blockUsed_++] = word;
}

bool ConversionFeed::flush() {
    if (blockUsed_ == 0 || spillFailed_) {
        blockUsed_ = 0;
        return !spillFailed_;
    }
    if (!spill_) spill_ = std::tmpfile();
    if (!spill_ || std::fwrite(block_.data(), sizeof(uint64_t), blockUsed_, spill_) != blockUsed_)
        spillFailed_ = true;
    blockUsed_ = 0;
    return !spillFailed_;
}

void ConversionFeed::epoch(int64_t gpsMilliseconds, int satellites) {
    put(kTagEpoch << kTagShift | uint64_t(uint32_t(satellites)));
    put(uint64_t(gpsMilliseconds));
    ++records_;
}

void ConversionFeed::satellite(char system, int number) {
    put(kTagSatellite << kTagShift | uint64_t(uint8_t(system)) << 16 | uint64_t(uint16_t(number)));
}

void ConversionFeed::value(int field, double value, int lossOfLock) {
    // The 14-character form's rounding, and its blank for what does not fit.
    const bool negative = value < 0;
    const double scaled = std::fabs(value) * 1000.0 + 0.5;
    if (!(scaled < (negative ? 1e12 : 1e13))) return;
    if (field < 0 || field >= kMaxFields) return;
    const uint64_t thousandths = uint64_t(int64_t(scaled));
    put(uint64_t(field) << 48 | uint64_t(lossOfLock != 0) << 46 | uint64_t(negative) << 45 |
        (thousandths & kThousandthsMask));
}

void ConversionFeed::eventLine(const char* text, int length) {
    if (length < 0) length = 0;
    // A line break written inside a field (from a marker sentence's text) makes two lines
    // for a reader: kept as two, the way it reads them (a "\r" before the break dropped).
    const char* const end = text + length;
    for (const char* from = text;;) {
        const char* newline = static_cast<const char*>(std::memchr(from, '\n', size_t(end - from)));
        const char* stop = newline ? newline : end;
        int pieceLength = int(std::min<ptrdiff_t>(stop - from, 0xFFFF));
        if (newline && pieceLength > 0 && from[pieceLength - 1] == '\r') --pieceLength;
        put(kTagEvent << kTagShift | uint64_t(pieceLength));
        for (int at = 0; at < pieceLength; at += 8) {
            uint64_t word = 0;
            std::memcpy(&word, from + at, size_t(std::min(8, pieceLength - at)));
            put(word);
        }
        if (pieceLength > 0 && from[0] == '>') ++records_;
        if (!newline) break;
        from = newline + 1;
    }
}

bool ConversionFeed::prepare(const std::vector<std::string>& files, std::string& error) {
    const std::string observation = observationFileOf(files);
    if (observation.empty()) {
        error = "no observation file to check";
        return false;
    }
    std::vector<std::string> navigationPaths;
    for (const std::string& file : files)
        if (file != observation) navigationPaths.push_back(file);
    std::vector<std::string> notes;
    readNavigationFiles(navigationPaths, navigation_, notes);

    std::unique_ptr<std::istream> in = openInput(observation, error);
    if (!in) return false;
    RinexObsReader reader(*in);
    ObservationHeader header;
    if (!reader.readHeader(header, error)) {
        error = observation + ": " + error;
        return false;
    }
    if (!flush() || (spill_ && std::fflush(spill_) != 0)) {
        error = "no room for the records of the quality check in the temporary folder";
        return false;
    }
    if (spill_) std::rewind(spill_);
    observationPath_ = observation;
    lineNumber_ = reader.lineNumber();
    if (header.leapSeconds >= 0) navigation_.setLeapSeconds(header.leapSeconds);
    check_.setHeader(header);
    check_.setNavigation(navigation_.empty() ? nullptr : &navigation_);
    for (const std::string& n : notes)
        check_.addMessage(n);
    for (const auto& [system, types] : header.obsTypes) {
        auto& cols = columns_[systemIndex(system)];
        cols.clear();
        for (const std::string& t : types)
            cols.push_back({t[0], t[1], t[2]});
    }
    blockUsed_ = blockRead_ = 0;
    prepared_ = true;
    return true;
}

bool ConversionFeed::nextWord(uint64_t& word) {
    if (blockRead_ == blockUsed_) {
        blockRead_ = blockUsed_ = 0;
        if (!spill_) return false;
        blockUsed_ = std::fread(block_.data(), sizeof(uint64_t), block_.size(), spill_);
        if (blockUsed_ == 0) return false;
    }
    word = block_[blockRead_++];
    return true;
}

void ConversionFeed::problem(const std::string& what) {
    ++problemCount_;
    if (problems_.size() < 20) problems_.push_back("line " + std::to_string(lineNumber_) + ": " + what);
}

void ConversionFeed::emitPending() {
    if (pending_ && !skipEpoch_) check_.addEpoch(epoch_);
    pending_ = false;
    skipEpoch_ = false;
    satellite_ = nullptr;
    skipSatellite_ = false;
}

bool ConversionFeed::replay(size_t maxEpochs) {
    if (!prepared_) return true;
    size_t fed = 0;
    uint64_t word = 0;
    // The reader's steps, in the order of the records: what it would skip or report is
    // skipped and reported here too.
    while (fed < maxEpochs || eventLinesLeft_ > 0) {
        if (!nextWord(word)) {
            if (eventLinesLeft_ > 0) {
                problem("the file ends inside an epoch");
                eventLinesLeft_ = 0;
            }
            emitPending();
            return true;
        }
        switch (tagOf(word)) {
        case kTagEpoch: {
            if (eventLinesLeft_ > 0) {
                problem("epoch with fewer lines than announced, skipped");
                eventLinesLeft_ = 0;
            }
            emitPending();
            ++fed;
            ++lineNumber_;
            uint64_t milliseconds = 0;
            if (!nextWord(milliseconds)) return true;
            const gnss::CalendarTime c = gnss::calendarFromMilliseconds(int64_t(milliseconds));
            const int satellites = int(word & 0xFFFFFFFFu);
            pending_ = true;
            epoch_.flag = 0;
            epoch_.satelliteCount = 0;
            epoch_.eventLines.clear();
            if (c.year < 1980 || c.year >= 2200 || satellites > 999) {
                problem("malformed epoch line, epoch skipped");
                skipEpoch_ = true;
                break;
            }
            epoch_.time =
                gpsSecondsOf(c.year, c.month, c.day, c.hour, c.minute, double(c.second * 1000 + c.millisecond) / 1000.0);
            lastTime_ = epoch_.time;
            break;
        }
        case kTagSatellite: {
            ++lineNumber_;
            satellite_ = nullptr;
            skipSatellite_ = true;
            if (skipEpoch_) {
                problem("epoch line expected");
                break;
            }
            const char system = char(uint8_t(word >> 16));
            const int number = int(word & 0xFFFF);
            if (number < 1 || number > 63 || systemIndex(system) == 7) {
                problem("malformed satellite line, satellite skipped");
                break;
            }
            if (epoch_.satellites.size() <= epoch_.satelliteCount) epoch_.satellites.emplace_back();
            satellite_ = &epoch_.satellites[epoch_.satelliteCount++];
            satellite_->system = system;
            satellite_->number = number;
            satellite_->observations.clear();
            skipSatellite_ = false;
            break;
        }
        case kTagValue: {
            if (skipSatellite_ || !satellite_) break;
            const size_t field = size_t(word >> 48 & 0xFF);
            const auto& cols = columns_[systemIndex(satellite_->system)];
            if (field >= cols.size()) break;
            Observation o;
            o.type = cols[field].type;
            o.band = cols[field].band;
            o.attribute = cols[field].attribute;
            o.value = fixedThreeDecimals(word & kThousandthsMask, (word >> 45 & 1) != 0);
            o.lli = int(word >> 46 & 1);
            satellite_->observations.push_back(o);
            break;
        }
        case kTagEvent: {
            const int length = int(word & 0xFFFF);
            eventText_.assign(size_t(length), ' ');
            for (int at = 0; at < length; at += 8) {
                uint64_t text = 0;
                if (!nextWord(text)) break;
                std::memcpy(&eventText_[size_t(at)], &text, size_t(std::min(8, length - at)));
            }
            ++lineNumber_;
            if (eventLinesLeft_ > 0) {
                if (eventText_.empty() || eventText_[0] != '>') {
                    --eventLinesLeft_;
                    if (epoch_.eventLines.size() < 64) epoch_.eventLines.push_back(eventText_);
                    break;
                }
                problem("epoch with fewer lines than announced, skipped");
                eventLinesLeft_ = 0;
            }
            // Between records a reader skips blank lines and reports any other that is not
            // an epoch line.
            if (eventText_.find_first_not_of(' ') == std::string::npos) break;
            if (eventText_[0] != '>') {
                problem("epoch line expected");
                break;
            }
            // An event record's epoch line: its time is left blank, so it belongs to the
            // last epoch's time.
            emitPending();
            ++fed;
            double flag = 0, count = 0;
            const bool ok = eventText_.size() >= 35 && eventText_[0] == '>' &&
                            parseNumber(field(eventText_, 31, 1), flag) && parseNumber(field(eventText_, 32, 3), count) &&
                            flag >= 2 && flag <= 5 && count >= 0 && count <= 999 &&
                            trimmed(field(eventText_, 1, 28)).empty();
            if (!ok) {
                problem("malformed epoch line, epoch skipped");
                break;
            }
            pending_ = true;
            epoch_.flag = int(flag);
            epoch_.time = lastTime_;
            epoch_.satelliteCount = 0;
            epoch_.eventLines.clear();
            eventLinesLeft_ = int(count);
            break;
        }
        default:
            break;
        }
    }
    return false;
}

Report ConversionFeed::finish() {
    while (!replay(1 << 20)) {
    }
    for (const std::string& p : problems_)
        check_.addMessage(observationPath_ + ": " + p);
    if (problemCount_ > problems_.size())
        check_.addMessage(observationPath_ + ": " + std::to_string(problemCount_ - problems_.size()) +
                          " more problems");
    return check_.finish();
}

} // namespace quality
