// SPDX-License-Identifier: MIT
#include "quality/conversion_feed.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <cstdint>
#include <memory>

#include <unistd.h>

#include "gnss/gps_calendar.h"
#include "quality/check_files.h"
#include "quality/compressed_input.h"
#include "quality/gnss_time.h"
#include "quality/rinex_obs_reader.h"
#include "quality/text_fields.h"

namespace quality {

namespace {

// Second-pass records, in bytes:
//   observation epoch: 'D', time (double), satellites (uint32), flags (1: positioned, 2:
//     starts a visibility window), the codes' size (uint32), then when positioned per
//     satellite: system letter, number, code count, then per code its band, attribute and
//     value (double);
//   visibility window, after its epochs: 'W', start (double), epochs (uint32), the sums'
//     size (uint32), the sums (QualityCheck::closeTrackedWindow);
//   event: 'V', flag, time (double), line count, then per line its length (uint16) and text.
constexpr uint8_t kRecordEpoch = 'D', kRecordWindow = 'W', kRecordEvent = 'V';
constexpr uint8_t kPositioned = 1, kWindowStart = 2;
constexpr size_t kEpochHead = 17, kWindowHead = 16; // bytes after the kind
constexpr size_t kBlockBytes = 1 << 20;
constexpr int kMaxFields = 256;

template <typename T>
void append(std::vector<uint8_t>& out, const T& value) {
    const size_t at = out.size();
    out.resize(at + sizeof value);
    std::memcpy(out.data() + at, &value, sizeof value);
}

template <typename T>
T load(const uint8_t* p) {
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

} // namespace

ConversionFeed::ConversionFeed(Options options) : options_(options), check_(new QualityCheck(options)) {
    block_.resize(kBlockBytes);
}

ConversionFeed::~ConversionFeed() {
    stopping_ = true;
    if (elevations_.joinable()) elevations_.join();
    if (spill_) std::fclose(spill_);
}

void ConversionFeed::put(const void* data, size_t size) {
    const uint8_t* from = static_cast<const uint8_t*>(data);
    while (size > 0) {
        if (blockUsed_ == block_.size()) flush();
        const size_t n = std::min(size, block_.size() - blockUsed_);
        std::memcpy(block_.data() + blockUsed_, from, n);
        blockUsed_ += n;
        from += n;
        size -= n;
    }
}

bool ConversionFeed::flush() {
    if (blockUsed_ == 0 || spillFailed_) {
        blockUsed_ = 0;
        return !spillFailed_;
    }
    if (!spill_) spill_ = std::tmpfile();
    if (!spill_ || std::fwrite(block_.data(), 1, blockUsed_, spill_) != blockUsed_) spillFailed_ = true;
    blockUsed_ = 0;
    return !spillFailed_;
}

// The second pass's records read back from the spill at a position of the reader's own, so
// that the two halves of the pass can read them on two threads at once.
class ConversionFeed::SpillReader {
public:
    explicit SpillReader(std::FILE* spill) : fd_(spill ? fileno(spill) : -1) { buffer_.resize(kBlockBytes); }

    // The next size bytes, or null at the end.
    const uint8_t* peek(size_t size) {
        if (used_ - read_ < size) {
            // Keep the rest of the block and read on after it.
            std::memmove(buffer_.data(), buffer_.data() + read_, used_ - read_);
            used_ -= read_;
            read_ = 0;
            if (size > buffer_.size()) buffer_.resize(size);
            while (fd_ >= 0 && used_ < buffer_.size()) {
                const ssize_t n = ::pread(fd_, buffer_.data() + used_, buffer_.size() - used_, offset_);
                if (n <= 0) break;
                used_ += size_t(n);
                offset_ += n;
            }
            if (used_ < size) return nullptr;
        }
        return buffer_.data() + read_;
    }
    bool take(void* data, size_t size) {
        const uint8_t* p = peek(size);
        if (!p) return false;
        std::memcpy(data, p, size);
        read_ += size;
        return true;
    }
    void skip(size_t size) { read_ += size; } // after a peek of at least size

private:
    int fd_;
    off_t offset_ = 0;
    std::vector<uint8_t> buffer_;
    size_t used_ = 0, read_ = 0;
};

void ConversionFeed::problem(const char* what) {
    ++problemCount_;
    if (problems_.size() < 20) problems_.emplace_back(lineNumber_, what);
}

void ConversionFeed::signalColumn(char system, int column, char band, char attribute) {
    const int s = systemIndex(system);
    if (s == 7) return; // its satellites are skipped
    if (column == columnCount_[s] && column < 64) {
        codes_[s][column] = Code{band, attribute};
        ++columnCount_[s];
    }
    check_->trackColumn(s, column, band, attribute);
}

void ConversionFeed::glonassChannel(int slot, int channel) {
    check_->trackGlonassChannel(slot, channel);
}

void ConversionFeed::epoch(int64_t gpsMilliseconds, int satellites) {
    ++records_;
    // The header's interval: the smallest step between the epochs written.
    if (gpsMilliseconds != lastMilliseconds_) {
        if (lastMilliseconds_ != 0) {
            const int64_t d = gpsMilliseconds - lastMilliseconds_;
            if (d > 0 && d <= 999999999 && (intervalMilliseconds_ == 0 || d < intervalMilliseconds_)) {
                intervalMilliseconds_ = d;
                check_->trackInterval(double(d) / 1000.0);
            }
        }
        lastMilliseconds_ = gpsMilliseconds;
    }

    endSatellite();
    if (eventLinesLeft_ > 0) {
        problem("epoch with fewer lines than announced, skipped");
        eventLinesLeft_ = 0;
    }
    emitPending();
    ++lineNumber_;
    const gnss::CalendarTime c = gnss::calendarFromMilliseconds(gpsMilliseconds);
    pending_ = true;
    epoch_.flag = 0;
    epoch_.satelliteCount = 0;
    epoch_.eventLines.clear();
    if (c.year < 1980 || c.year >= 2200 || satellites > 999) {
        problem("malformed epoch line, epoch skipped");
        skipEpoch_ = true;
        return;
    }
    epoch_.time =
        gpsSecondsOf(c.year, c.month, c.day, c.hour, c.minute, double(c.second * 1000 + c.millisecond) / 1000.0);
    lastTime_ = epoch_.time;
    check_->trackEpoch(epoch_.time);
    // The check positions on this schedule when it has navigation data.
    const double t = epoch_.time;
    positioned_ = options_.positionInterval <= 0 || t < lastPositioned_ || t - lastPositioned_ >= options_.positionInterval;
    if (positioned_) lastPositioned_ = t;
    // The elevations' windows: the second pass gets each one's sums, not its epochs.
    windowStarts_ = QualityCheck::startsVisibilityWindow(t, windowStart_);
    if (windowStarts_) {
        closeWindow();
        windowStart_ = t;
    }
    ++windowEpochs_;
    positionRecords_.clear();
}

void ConversionFeed::closeWindow() {
    if (windowEpochs_ == 0) return;
    windowRecord_.resize(kWindowHead + 1);
    windowRecord_[0] = kRecordWindow;
    check_->closeTrackedWindow(windowRecord_);
    const uint32_t epochs = uint32_t(windowEpochs_), size = uint32_t(windowRecord_.size() - kWindowHead - 1);
    std::memcpy(windowRecord_.data() + 1, &windowStart_, 8);
    std::memcpy(windowRecord_.data() + 9, &epochs, 4);
    std::memcpy(windowRecord_.data() + 13, &size, 4);
    put(windowRecord_.data(), windowRecord_.size());
    windowEpochs_ = 0;
}

void ConversionFeed::satellite(char system, int number, const rinex::ObservedValue* values, int count) {
    endSatellite();
    ++lineNumber_;
    skipSatellite_ = true;
    if (skipEpoch_) {
        problem("epoch line expected");
        return;
    }
    const int s = systemIndex(system);
    if (number < 1 || number > 63 || s == 7) {
        problem("malformed satellite line, satellite skipped");
        return;
    }
    skipSatellite_ = false;
    ++epoch_.satelliteCount;
    // Satellites of event records count nowhere.
    if (!pending_ || epoch_.flag != 0) return;
    satelliteOpen_ = true;
    satelliteLetter_ = system;
    satelliteSystem_ = s;
    satelliteNumber_ = number;
    columnsUsed_ = 0;
    const int columnCount = columnCount_[s];
    int lastField = -1;
    for (int i = 0; i < count; ++i) {
        const int field = values[i].field;
        const double value = values[i].value;
        // The 14-character form's rounding, and its blank for what does not fit.
        const bool negative = value < 0;
        const double scaled = std::fabs(value) * 1000.0 + 0.5;
        if (!(scaled < (negative ? 1e12 : 1e13))) continue;
        if (field < 0 || field >= kMaxFields) continue;
        const int column = field >> 2, kind = field & 3;
        if (column >= columnCount || field <= lastField) {
            // A column the writer did not announce, or fields out of order: the check reads the file.
            satelliteOpen_ = false;
            check_->trackingFailed();
            return;
        }
        lastField = field;
        const uint64_t thousandths = uint64_t(int64_t(scaled));
        TrackedSatellite::Column& c = columns_[column];
        if (!(columnsUsed_ >> column & 1)) {
            columnsUsed_ |= uint64_t(1) << column;
            c.fields = 0;
            c.lli = 0;
        }
        c.fields |= uint8_t(1 << kind);
        if (values[i].lossOfLock != 0) c.lli |= uint8_t(1 << kind);
        if (kind != 2) c.value[kind] = fixedThreeDecimals(thousandths, negative);
        if (kind == 3) c.strength = uint32_t(std::min<uint64_t>(thousandths, 0xFFFFFFFFu));
    }
}

void ConversionFeed::endSatellite() {
    if (!satelliteOpen_) return;
    satelliteOpen_ = false;
    TrackedSatellite satellite;
    satellite.system = satelliteSystem_;
    satellite.number = satelliteNumber_;
    satellite.columns = columnsUsed_;
    satellite.column = columns_;
    check_->trackSatellite(satellite, epoch_.time);

    // Second pass: the codes when the epoch is positioned.
    if (positioned_) {
        std::vector<uint8_t>& codes = positionRecords_;
        codes.push_back(uint8_t(satelliteLetter_));
        codes.push_back(uint8_t(satelliteNumber_));
        const size_t countAt = codes.size();
        codes.push_back(0);
        uint8_t n = 0;
        for (uint64_t left = columnsUsed_; left != 0; left &= left - 1) {
            const int c = __builtin_ctzll(left);
            if (!(columns_[c].fields & 1)) continue;
            const Code& code = codes_[satelliteSystem_][c];
            codes.push_back(uint8_t(code.band));
            codes.push_back(uint8_t(code.attribute));
            append(codes, columns_[c].value[0]);
            ++n;
        }
        codes[countAt] = n;
    }
}

void ConversionFeed::emitPending() {
    endSatellite();
    if (pending_ && !skipEpoch_) {
        if (epoch_.flag == 0) {
            // Once per epoch: on the stack.
            uint8_t head[1 + kEpochHead];
            head[0] = kRecordEpoch;
            const uint32_t satellites = uint32_t(epoch_.satelliteCount);
            const uint32_t codes = positioned_ ? uint32_t(positionRecords_.size()) : 0;
            std::memcpy(head + 1, &epoch_.time, 8);
            std::memcpy(head + 9, &satellites, 4);
            head[13] = uint8_t((positioned_ ? kPositioned : 0) | (windowStarts_ ? kWindowStart : 0));
            std::memcpy(head + 14, &codes, 4);
            put(head, sizeof head);
            put(positionRecords_.data(), codes);
        } else {
            std::vector<uint8_t> record;
            record.push_back(kRecordEvent);
            record.push_back(uint8_t(epoch_.flag));
            append(record, epoch_.time);
            record.push_back(uint8_t(epoch_.eventLines.size()));
            for (const std::string& line : epoch_.eventLines) {
                append(record, uint16_t(line.size()));
                record.insert(record.end(), line.begin(), line.end());
            }
            put(record.data(), record.size());
        }
    }
    pending_ = false;
    skipEpoch_ = false;
    skipSatellite_ = false;
    positionRecords_.clear();
}

void ConversionFeed::eventLine(const char* text, int length) {
    endSatellite();
    if (length < 0) length = 0;
    // A line break written inside a field (from a marker sentence's text) makes two lines
    // for a reader: kept as two, the way it reads them (a "\r" before the break dropped).
    const char* const end = text + length;
    for (const char* from = text;;) {
        const char* newline = static_cast<const char*>(std::memchr(from, '\n', size_t(end - from)));
        const char* stop = newline ? newline : end;
        int pieceLength = int(std::min<ptrdiff_t>(stop - from, 0xFFFF));
        if (newline && pieceLength > 0 && from[pieceLength - 1] == '\r') --pieceLength;
        if (pieceLength > 0 && from[0] == '>') ++records_;
        eventText_.assign(from, size_t(pieceLength));
        eventText(eventText_);
        if (!newline) break;
        from = newline + 1;
    }
}

void ConversionFeed::eventText(const std::string& text) {
    ++lineNumber_;
    if (eventLinesLeft_ > 0) {
        if (text.empty() || text[0] != '>') {
            --eventLinesLeft_;
            if (epoch_.eventLines.size() < 64) epoch_.eventLines.push_back(text);
            return;
        }
        problem("epoch with fewer lines than announced, skipped");
        eventLinesLeft_ = 0;
    }
    // Between records a reader skips blank lines and reports any other that is not an
    // epoch line.
    if (text.find_first_not_of(' ') == std::string::npos) return;
    if (text[0] != '>') {
        problem("epoch line expected");
        return;
    }
    // An event record's epoch line: its time is left blank, so it belongs to the last
    // epoch's time.
    emitPending();
    double flag = 0, count = 0;
    const bool ok = text.size() >= 35 && numberAt(text, 31, 1, flag) &&
                    numberAt(text, 32, 3, count) && flag >= 2 && flag <= 5 && count >= 0 &&
                    count <= 999 && trimmed(field(text, 1, 28)).empty();
    if (!ok) {
        problem("malformed epoch line, epoch skipped");
        return;
    }
    pending_ = true;
    epoch_.flag = int(flag);
    epoch_.time = lastTime_;
    epoch_.satelliteCount = 0;
    epoch_.eventLines.clear();
    eventLinesLeft_ = int(count);
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
    // The end of the records.
    if (eventLinesLeft_ > 0) {
        problem("the file ends inside an epoch");
        eventLinesLeft_ = 0;
    }
    emitPending();
    closeWindow();
    observationPath_ = observation;
    if (header.leapSeconds >= 0) navigation_.setLeapSeconds(header.leapSeconds);
    check_->setHeader(header);
    const bool kept = flush() && (!spill_ || std::fflush(spill_) == 0);
    if (!kept || !check_->endTracking()) {
        // The first pass cannot stand: the check of the written file, as checkFiles does it.
        readTheFile_ = true;
        check_.reset(new QualityCheck(options_));
        check_->setHeader(header);
        check_->setNavigation(navigation_.empty() ? nullptr : &navigation_);
        for (const std::string& n : notes)
            check_->addMessage(n);
        Epoch epoch;
        while (reader.next(epoch))
            check_->addEpoch(epoch);
        for (const std::string& p : reader.problems())
            check_->addMessage(observation + ": " + p);
        if (reader.problemCount() > reader.problems().size())
            check_->addMessage(observation + ": " + std::to_string(reader.problemCount() - reader.problems().size()) +
                               " more problems");
        report_ = check_->finish();
        check_.reset();
        if (spill_) std::fclose(spill_);
        spill_ = nullptr;
        done_ = true;
        return true;
    }
    const long headerLines = reader.lineNumber();
    for (auto& p : problems_)
        p.first += headerLines;
    check_->setNavigation(navigation_.empty() ? nullptr : &navigation_);
    for (const std::string& n : notes)
        check_->addMessage(n);
    prepared_ = true;
    return true;
}

bool ConversionFeed::replayRecords(SpillReader& in, Half half, Epoch& epoch, size_t maxEpochs) {
    const bool positions = half != Half::Elevations, elevations = half != Half::Positions;
    for (size_t fed = 0; fed < maxEpochs; ++fed) {
        uint8_t kind = 0;
        if (!in.take(&kind, 1)) return true;
        if (kind == kRecordEvent) {
            uint8_t head[10];
            if (!in.take(head, sizeof head)) return true;
            epoch.flag = head[0];
            epoch.time = load<double>(head + 1);
            epoch.satelliteCount = 0;
            epoch.eventLines.resize(head[9]);
            for (std::string& line : epoch.eventLines) {
                uint16_t length = 0;
                if (!in.take(&length, 2)) return true;
                line.resize(length);
                if (length > 0 && !in.take(&line[0], length)) return true;
            }
            if (positions) check_->replayEvent(epoch);
            continue;
        }
        if (kind == kRecordWindow) {
            uint8_t head[kWindowHead];
            if (!in.take(head, sizeof head)) return true;
            const size_t size = load<uint32_t>(head + 12);
            const uint8_t* sums = in.peek(size);
            if (!sums) return true;
            if (elevations && !check_->replayWindow(load<double>(head), load<uint32_t>(head + 8), sums, size))
                return true;
            in.skip(size);
            continue;
        }
        if (kind != kRecordEpoch) return true;
        uint8_t head[kEpochHead];
        if (!in.take(head, sizeof head)) return true;
        const size_t codesSize = load<uint32_t>(head + 13);
        if (!positions) {
            if (!in.peek(codesSize)) return true;
            in.skip(codesSize);
            continue;
        }
        epoch.flag = 0;
        epoch.time = load<double>(head);
        epoch.satelliteCount = load<uint32_t>(head + 8);
        epoch.eventLines.clear();
        if (head[12] & kPositioned) {
            const uint8_t* s = in.peek(codesSize);
            if (!s) return true;
            const uint8_t* const end = s + codesSize;
            if (epoch.satellites.size() < epoch.satelliteCount) epoch.satellites.resize(epoch.satelliteCount);
            for (size_t i = 0; i < epoch.satelliteCount; ++i) {
                if (end - s < 3) return true;
                const size_t codes = s[2];
                if (size_t(end - s) < 3 + 10 * codes) return true;
                SatelliteObservations& sat = epoch.satellites[i];
                sat.system = char(s[0]);
                sat.number = s[1];
                sat.observations.resize(codes);
                const uint8_t* code = s + 3;
                for (Observation& o : sat.observations) {
                    o.type = 'C';
                    o.band = char(code[0]);
                    o.attribute = char(code[1]);
                    o.value = load<double>(code + 2);
                    o.lli = 0;
                    code += 10;
                }
                s = code;
            }
            in.skip(codesSize);
        }
        check_->replayPositions(epoch, (head[12] & kWindowStart) != 0);
        if (stopping_.load(std::memory_order_relaxed)) return true;
    }
    return false;
}

bool ConversionFeed::replay(size_t maxEpochs) {
    if (!prepared_ || done_) return true;
    if (!reader_) {
        reader_.reset(new SpillReader(spill_));
        // With the receiver's position in the header, the elevations half runs beside.
        if (check_->replayHalvesApart()) {
            half_ = Half::Positions;
            elevations_ = std::thread([this] {
                SpillReader in(spill_);
                Epoch epoch;
                replayRecords(in, Half::Elevations, epoch, SIZE_MAX);
            });
        }
    }
    if (!replayRecords(*reader_, half_, epoch_, maxEpochs)) return false;
    if (elevations_.joinable()) elevations_.join();
    return true;
}

Report ConversionFeed::finish() {
    if (done_) return report_;
    while (!replay(1 << 20)) {
    }
    done_ = true;
    for (const auto& p : problems_)
        check_->addMessage(observationPath_ + ": line " + std::to_string(p.first) + ": " + p.second);
    if (problemCount_ > problems_.size())
        check_->addMessage(observationPath_ + ": " + std::to_string(problemCount_ - problems_.size()) +
                           " more problems");
    report_ = check_->finish();
    return report_;
}

} // namespace quality
