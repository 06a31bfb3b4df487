// SPDX-License-Identifier: MIT
#include "quality/conversion_feed.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <cstdint>
#include <memory>

#include "gnss/gps_calendar.h"
#include "quality/check_files.h"
#include "quality/compressed_input.h"
#include "quality/gnss_time.h"
#include "quality/record_spill.h"
#include "quality/rinex_obs_reader.h"
#include "quality/text_fields.h"

namespace quality {

namespace {

// Second-pass records, in bytes; the lines of the formatting side's systems keep theirs
// apart (in its own file: its codes and its window sums, in the same order):
//   observation epoch: 'D', time (double), satellites (uint32), flags (1: positioned, 2:
//     starts a visibility window), the codes' size (uint32), then when positioned per
//     satellite: system letter, number, code count, then per code its band, attribute and
//     value (double); or a 0 for a satellite of the side, whose codes follow in the side's
//     next 'P' record;
//   the side's codes of a positioned epoch: 'P', size (uint32), the codes as above;
//   visibility window, after its epochs: 'W', start (double), epochs (uint32), the sums'
//     size (uint32), the sums (QualityCheck::closeTrackedWindow);
//   event: 'V', flag, time (double), line count, then per line its length (uint16) and text.
constexpr uint8_t kRecordEpoch = 'D', kRecordCodes = 'P', kRecordWindow = 'W', kRecordEvent = 'V';
constexpr uint8_t kPositioned = 1, kWindowStart = 2;
constexpr uint8_t kElsewhere = 0;
constexpr size_t kEpochHead = 17, kCodesHead = 4, kWindowHead = 16; // bytes after the kind

bool malformedEpoch(const gnss::CalendarTime& c, int satellites) {
    return c.year < 1980 || c.year >= 2200 || satellites > 999;
}

double epochTime(const gnss::CalendarTime& c) {
    return gpsSecondsOf(c.year, c.month, c.day, c.hour, c.minute,
                        double(c.second * 1000 + c.millisecond) / 1000.0);
}

} // namespace

// What one thread makes of the satellite lines of its systems: the first pass's statistics
// (its tracker of the check), and the second pass's records in a file of its own.
class ConversionFeed::Lines {
public:
    Lines(QualityCheck& check, const Options& options, int tracker, uint32_t letters)
        : check_(check), options_(options), tracker_(tracker) {
        systems(letters);
    }
    // The systems whose lines come here (a bit per letter from 'A').
    void systems(uint32_t letters) { systems_ = QualityCheck::trackedSystems(letters); }

    // Every epoch line, malformed ones too: the header's interval is the smallest step
    // between the epochs written.
    void interval(int64_t gpsMilliseconds) {
        if (gpsMilliseconds == lastMilliseconds_) return;
        if (lastMilliseconds_ != 0) {
            const int64_t d = gpsMilliseconds - lastMilliseconds_;
            if (d > 0 && d <= 999999999 && (intervalMilliseconds_ == 0 || d < intervalMilliseconds_)) {
                intervalMilliseconds_ = d;
                check_.trackInterval(double(d) / 1000.0, tracker_);
            }
        }
        lastMilliseconds_ = gpsMilliseconds;
    }

    // A well-formed observation epoch at time t, after the last one's lines have ended.
    void beginEpoch(double t) {
        time_ = t;
        // The check positions on this schedule when it has navigation data.
        positioned_ = options_.positionInterval <= 0 || t < lastPositioned_ ||
                      t - lastPositioned_ >= options_.positionInterval;
        if (positioned_) lastPositioned_ = t;
        // The elevations' windows: the second pass gets each one's sums, not its epochs.
        windowStarts_ = QualityCheck::startsVisibilityWindow(t, windowStart_);
        if (windowStarts_) {
            closeWindow();
            windowStart_ = t;
        }
        ++windowEpochs_;
        codes_.clear();
    }

    void signalColumn(int s, int column, char band, char attribute) {
        if (column == columnCount_[s] && column < 64) {
            columnCodes_[s][column] = Code{band, attribute};
            ++columnCount_[s];
        }
        check_.trackColumn(s, column, band, attribute, tracker_);
    }

    // A satellite line of the epoch that counts (system index s), after the last one's end.
    // It is held until then: the next line may announce a column that changes the system's
    // slip bands before any of its lines has been counted.
    void satellite(char letter, int s, int number, const TrackedSatellite::Column* columns, uint64_t used);
    void endSatellite();
    // A line of the other side in a positioned epoch: its codes are in the other file.
    void elsewhere() {
        if (positioned_) codes_.push_back(kElsewhere);
    }
    void closeWindow() {
        if (windowEpochs_ == 0) return;
        windowRecord_.resize(kWindowHead + 1);
        windowRecord_[0] = kRecordWindow;
        check_.closeTrackedWindow(windowRecord_, systems_);
        const uint32_t epochs = uint32_t(windowEpochs_),
                       size = uint32_t(windowRecord_.size() - kWindowHead - 1);
        std::memcpy(windowRecord_.data() + 1, &windowStart_, 8);
        std::memcpy(windowRecord_.data() + 9, &epochs, 4);
        std::memcpy(windowRecord_.data() + 13, &size, 4);
        spill.put(windowRecord_.data(), windowRecord_.size());
        windowEpochs_ = 0;
    }

    bool positioned() const { return positioned_; }
    bool windowStarts() const { return windowStarts_; }
    const std::vector<uint8_t>& codes() const { return codes_; }

    RecordSpill spill;

private:
    QualityCheck& check_;
    const Options& options_;
    const int tracker_;
    uint32_t systems_ = 0; // closeTrackedWindow's bits
    int64_t lastMilliseconds_ = 0, intervalMilliseconds_ = 0;
    double time_ = 0;
    // Positioned epochs, on the check's schedule.
    double lastPositioned_ = -1e30;
    bool positioned_ = false;
    // The visibility window in progress: its start, its epochs so far, whether the epoch in
    // progress starts it; and its record, written when the next one starts.
    double windowStart_ = -1e30;
    long windowEpochs_ = 0;
    bool windowStarts_ = false;
    std::vector<uint8_t> windowRecord_;
    // The satellite line in progress.
    bool satelliteOpen_ = false;
    char satelliteLetter_ = 0;
    int satelliteSystem_ = 0, satelliteNumber_ = 0;
    uint64_t columnsUsed_ = 0;
    TrackedSatellite::Column columns_[64];
    struct Code {
        char band, attribute;
    };
    Code columnCodes_[8][64] = {};
    int columnCount_[8] = {};
    // The epoch's codes for the second pass, written when the epoch ends.
    std::vector<uint8_t> codes_;
};

void ConversionFeed::Lines::satellite(char letter, int s, int number, const TrackedSatellite::Column* columns,
                                      uint64_t used) {
    // A column the writer did not announce: the check reads the file.
    if (columnCount_[s] < 64 && (used >> columnCount_[s]) != 0) {
        check_.trackingFailed(tracker_);
        return;
    }
    satelliteOpen_ = true;
    satelliteLetter_ = letter;
    satelliteSystem_ = s;
    satelliteNumber_ = number;
    columnsUsed_ = used;
    for (uint64_t left = used; left != 0; left &= left - 1) {
        const int c = __builtin_ctzll(left);
        columns_[c] = columns[c];
    }
}

void ConversionFeed::Lines::endSatellite() {
    if (!satelliteOpen_) return;
    satelliteOpen_ = false;
    TrackedSatellite satellite;
    satellite.system = satelliteSystem_;
    satellite.number = satelliteNumber_;
    satellite.columns = columnsUsed_;
    satellite.column = columns_;
    check_.trackSatellite(satellite, time_, tracker_);

    // Second pass: the codes when the epoch is positioned.
    if (!positioned_) return;
    std::vector<uint8_t>& codes = codes_;
    codes.push_back(uint8_t(satelliteLetter_));
    codes.push_back(uint8_t(satelliteNumber_));
    const size_t countAt = codes.size();
    codes.push_back(0);
    uint8_t n = 0;
    for (uint64_t left = columnsUsed_; left != 0; left &= left - 1) {
        const int c = __builtin_ctzll(left);
        if (!(columns_[c].fields & 1)) continue;
        const Code& code = columnCodes_[satelliteSystem_][c];
        codes.push_back(uint8_t(code.band));
        codes.push_back(uint8_t(code.attribute));
        appendBytes(codes, fieldValue(columns_[c], 0));
        ++n;
    }
    codes[countAt] = n;
}

// The formatting side: told on the writer's output thread the lines of its systems, which
// it follows as the decoding thread's reader would (the same epochs skipped, the same lines
// counted), keeping its own records.
class ConversionFeed::Side : public rinex::EpochObserver {
public:
    Side(QualityCheck& check, const Options& options, uint32_t letters)
        : lines(check, options, 1, letters), check_(check) {}

    void epoch(int64_t gpsMilliseconds, int satellites) override {
        used_ = true;
        lines.interval(gpsMilliseconds);
        endEpoch();
        const gnss::CalendarTime c = gnss::calendarFromMilliseconds(gpsMilliseconds);
        open_ = !malformedEpoch(c, satellites);
        if (open_) lines.beginEpoch(epochTime(c));
    }
    void satellite(char system, int number, const rinex::ObservedColumn* columns, uint64_t used) override {
        lines.endSatellite();
        const int s = systemIndex(system);
        if (!open_ || number < 1 || number > 63 || s == 7) return;
        lines.satellite(system, s, number, columns, used);
    }
    void eventLine(const char*, int) override {}
    void signalColumn(char system, int column, char band, char attribute) override {
        const int s = systemIndex(system);
        if (s != 7) lines.signalColumn(s, column, band, attribute);
    }
    void glonassChannel(int slot, int channel) override { check_.trackGlonassChannel(slot, channel); }

    // After the writer's last epoch (its output thread has ended).
    void finish() {
        endEpoch();
        lines.closeWindow();
    }

    Lines lines;

    // Whether the writer told this side anything.
    bool used() const { return used_; }

private:
    void endEpoch() {
        lines.endSatellite();
        if (!open_) return;
        open_ = false;
        if (!lines.positioned()) return;
        uint8_t head[1 + kCodesHead];
        head[0] = kRecordCodes;
        const uint32_t size = uint32_t(lines.codes().size());
        std::memcpy(head + 1, &size, 4);
        lines.spill.put(head, sizeof head);
        lines.spill.put(lines.codes().data(), size);
    }

    QualityCheck& check_;
    bool open_ = false; // in a well-formed epoch
    bool used_ = false;
};

ConversionFeed::ConversionFeed(Options options, uint32_t formattedSystems)
    : options_(options), formattedSystems_(formattedSystems), check_(new QualityCheck(options)) {
    lines_.reset(new Lines(*check_, options_, 0, ~0u));
    side_.reset(new Side(*check_, options_, formattedSystems_));
}

ConversionFeed::~ConversionFeed() {
    stopping_ = true;
    if (elevations_.joinable()) elevations_.join();
}

void ConversionFeed::problem(const char* what) {
    ++problemCount_;
    if (problems_.size() < 20) problems_.emplace_back(lineNumber_, what);
}

void ConversionFeed::signalColumn(char system, int column, char band, char attribute) {
    const int s = systemIndex(system);
    if (s == 7) return; // its satellites are skipped
    lines_->signalColumn(s, column, band, attribute);
}

void ConversionFeed::glonassChannel(int slot, int channel) {
    check_->trackGlonassChannel(slot, channel);
}

rinex::EpochObserver* ConversionFeed::formattingSide() {
    // Asked when the writer opens its files: one conversion per feed.
    if (formattedSystems_ == 0 || !side_ || side_->used()) return nullptr;
    lines_->systems(~formattedSystems_);
    return side_.get();
}

void ConversionFeed::epoch(int64_t gpsMilliseconds, int satellites) {
    ++records_;
    lines_->interval(gpsMilliseconds);
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
    if (malformedEpoch(c, satellites)) {
        problem("malformed epoch line, epoch skipped");
        skipEpoch_ = true;
        return;
    }
    epoch_.time = epochTime(c);
    lastTime_ = epoch_.time;
    check_->trackEpoch(epoch_.time);
    lines_->beginEpoch(epoch_.time);
}

bool ConversionFeed::satelliteLineCounts(char system, int number) {
    lines_->endSatellite();
    ++lineNumber_;
    if (skipEpoch_) {
        problem("epoch line expected");
        return false;
    }
    if (number < 1 || number > 63 || systemIndex(system) == 7) {
        problem("malformed satellite line, satellite skipped");
        return false;
    }
    ++epoch_.satelliteCount;
    // Satellites of event records count nowhere.
    return pending_ && epoch_.flag == 0;
}

void ConversionFeed::satellite(char system, int number, const rinex::ObservedColumn* columns, uint64_t used) {
    if (satelliteLineCounts(system, number))
        lines_->satellite(system, systemIndex(system), number, columns, used);
}

void ConversionFeed::satelliteElsewhere(char system, int number) {
    if (satelliteLineCounts(system, number)) lines_->elsewhere();
}

void ConversionFeed::emitPending() {
    lines_->endSatellite();
    if (pending_ && !skipEpoch_) {
        if (epoch_.flag == 0) {
            // Once per epoch: on the stack.
            uint8_t head[1 + kEpochHead];
            head[0] = kRecordEpoch;
            const uint32_t satellites = uint32_t(epoch_.satelliteCount);
            const bool positioned = lines_->positioned();
            const std::vector<uint8_t>& codes = lines_->codes();
            const uint32_t codesSize = positioned ? uint32_t(codes.size()) : 0;
            std::memcpy(head + 1, &epoch_.time, 8);
            std::memcpy(head + 9, &satellites, 4);
            head[13] = uint8_t((positioned ? kPositioned : 0) | (lines_->windowStarts() ? kWindowStart : 0));
            std::memcpy(head + 14, &codesSize, 4);
            lines_->spill.put(head, sizeof head);
            lines_->spill.put(codes.data(), codesSize);
        } else {
            std::vector<uint8_t> record;
            record.push_back(kRecordEvent);
            record.push_back(uint8_t(epoch_.flag));
            appendBytes(record, epoch_.time);
            record.push_back(uint8_t(epoch_.eventLines.size()));
            for (const std::string& line : epoch_.eventLines) {
                appendBytes(record, uint16_t(line.size()));
                record.insert(record.end(), line.begin(), line.end());
            }
            lines_->spill.put(record.data(), record.size());
        }
    }
    pending_ = false;
    skipEpoch_ = false;
}

void ConversionFeed::eventLine(const char* text, int length) {
    lines_->endSatellite();
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
    lines_->closeWindow();
    // The writer is closed: its output thread has ended, and the side is this thread's.
    sideUsed_ = side_ && side_->used();
    if (sideUsed_) side_->finish();
    observationPath_ = observation;
    if (header.leapSeconds >= 0) navigation_.setLeapSeconds(header.leapSeconds);
    check_->setHeader(header);
    const bool kept = lines_->spill.flush() && (!sideUsed_ || side_->lines.spill.flush());
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
        lines_.reset();
        side_.reset();
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

// A half's readers: the records of this thread and those of the formatting side.
struct ConversionFeed::Readers {
    Readers(const RecordSpill& own, const RecordSpill* side) : main(own) {
        if (side) this->side.reset(new RecordSpill::Reader(*side));
    }
    RecordSpill::Reader main;
    std::unique_ptr<RecordSpill::Reader> side;
    std::vector<uint8_t> sideCodes;

    // The side's next record of a kind (its codes or window sums): its head and its body
    // (size bytes), or null.
    const uint8_t* sideRecord(uint8_t wanted, uint8_t* head, size_t& size) {
        for (;;) {
            uint8_t kind = 0;
            if (!side || !side->take(&kind, 1)) return nullptr;
            const size_t headSize = kind == kRecordWindow ? kWindowHead : kCodesHead;
            if ((kind != kRecordWindow && kind != kRecordCodes) || !side->take(head, headSize))
                return nullptr;
            size = loadBytes<uint32_t>(head + headSize - 4);
            const uint8_t* body = side->peek(size);
            if (!body) return nullptr;
            side->skip(size);
            if (kind == wanted) return body;
        }
    }
};

bool ConversionFeed::replayRecords(Readers& readers, Half half, Epoch& epoch, size_t maxEpochs) {
    const bool positions = half != Half::Elevations, elevations = half != Half::Positions;
    RecordSpill::Reader& in = readers.main;
    for (size_t fed = 0; fed < maxEpochs; ++fed) {
        uint8_t kind = 0;
        if (!in.take(&kind, 1)) return true;
        if (kind == kRecordEvent) {
            uint8_t head[10];
            if (!in.take(head, sizeof head)) return true;
            epoch.flag = head[0];
            epoch.time = loadBytes<double>(head + 1);
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
            const size_t size = loadBytes<uint32_t>(head + 12);
            const uint8_t* sums = in.peek(size);
            if (!sums) return true;
            if (elevations) {
                if (!check_->replayWindow(loadBytes<double>(head), loadBytes<uint32_t>(head + 8), sums, size))
                    return true;
                // The same window's sums of the side's systems.
                uint8_t sideHead[kWindowHead];
                size_t sideSize = 0;
                if (readers.side) {
                    const uint8_t* sideSums = readers.sideRecord(kRecordWindow, sideHead, sideSize);
                    if (!sideSums || !check_->replayWindowSums(sideSums, sideSize)) return true;
                }
            }
            in.skip(size);
            continue;
        }
        if (kind != kRecordEpoch) return true;
        uint8_t head[kEpochHead];
        if (!in.take(head, sizeof head)) return true;
        const size_t codesSize = loadBytes<uint32_t>(head + 13);
        if (!positions) {
            if (!in.peek(codesSize)) return true;
            in.skip(codesSize);
            continue;
        }
        epoch.flag = 0;
        epoch.time = loadBytes<double>(head);
        epoch.satelliteCount = loadBytes<uint32_t>(head + 8);
        epoch.eventLines.clear();
        if (head[12] & kPositioned) {
            const uint8_t* s = in.peek(codesSize);
            if (!s) return true;
            const uint8_t* const end = s + codesSize;
            // The side's codes of this epoch, in the order of its lines.
            const uint8_t *other = nullptr, *otherEnd = nullptr;
            if (readers.side) {
                uint8_t sideHead[kWindowHead];
                size_t sideSize = 0;
                const uint8_t* body = readers.sideRecord(kRecordCodes, sideHead, sideSize);
                if (!body) return true;
                // Copied: reading on may move the reader's buffer.
                readers.sideCodes.assign(body, body + sideSize);
                other = readers.sideCodes.data();
                otherEnd = other + sideSize;
            }
            if (epoch.satellites.size() < epoch.satelliteCount) epoch.satellites.resize(epoch.satelliteCount);
            for (size_t i = 0; i < epoch.satelliteCount; ++i) {
                const uint8_t** from = &s;
                const uint8_t* to = end;
                if (s != end && *s == kElsewhere) {
                    ++s;
                    from = &other;
                    to = otherEnd;
                }
                const uint8_t* p = *from;
                if (!p || to - p < 3) return true;
                const size_t codes = p[2];
                if (size_t(to - p) < 3 + 10 * codes) return true;
                SatelliteObservations& sat = epoch.satellites[i];
                sat.system = char(p[0]);
                sat.number = p[1];
                sat.observations.resize(codes);
                const uint8_t* code = p + 3;
                for (Observation& o : sat.observations) {
                    o.type = 'C';
                    o.band = char(code[0]);
                    o.attribute = char(code[1]);
                    o.value = loadBytes<double>(code + 2);
                    o.lli = 0;
                    code += 10;
                }
                *from = code;
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
    if (!readers_) {
        const RecordSpill* side = sideUsed_ ? &side_->lines.spill : nullptr;
        readers_.reset(new Readers(lines_->spill, side));
        // With the receiver's position in the header, the elevations half runs beside.
        if (check_->replayHalvesApart()) {
            half_ = Half::Positions;
            elevations_ = std::thread([this, side] {
                Readers in(lines_->spill, side);
                Epoch epoch;
                replayRecords(in, Half::Elevations, epoch, SIZE_MAX);
            });
        }
    }
    if (!replayRecords(*readers_, half_, epoch_, maxEpochs)) return false;
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
