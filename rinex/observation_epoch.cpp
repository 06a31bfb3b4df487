// SPDX-License-Identifier: MIT
// Observation epochs: the epoch line and one line per satellite, written from the work
// area that one range log filled.
#include "decoding/range_observation.h"
#include "decoding/signal_table.h"

#include "rinex/rinex3xx.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "rinex/epoch_line.h"
#include "rinex/number_format.h"
#include "rinex/output_job.h"
#include "rinex/output_pipeline.h"
#include "rinex/observation_values.h"

namespace {

constexpr int kLineCapacity = 512;
constexpr int kFieldWidth = 16;
constexpr int kColumnWidth = 4 * kFieldWidth;
// Widest line start: system letter and a five-digit satellite number.
constexpr int kPrefixMax = 6;
// Columns that fit a line buffer with the prefix and "\r\n"; columns beyond are left out
// of the line, which reads as missing observations.
constexpr int kMaxColumns = (kLineCapacity - kPrefixMax - 2 - 1) / kColumnWidth;
static_assert(kPrefixMax + kMaxColumns * kColumnWidth + 2 < kLineCapacity, "line buffer too small");
static_assert(sizeof(void*) != 8 || sizeof(EpochWorkArea::Entry) == 48, "an entry has grown");

constexpr double kInverseLightSpeed = 3.3356409519815204e-09; // s/m

bool entryLess(const EpochWorkArea::Entry& a, const EpochWorkArea::Entry& b) {
    if (a.system != b.system) return a.system < b.system;
    if (a.satellite != b.satellite) return a.satellite < b.satellite;
    const int c = std::memcmp(a.code, b.code, 2);
    return c < 0;
}

} // namespace

void EpochWorkArea::add(const decoding::RangeObservation& obs) {
    if (obs.systemInfo == nullptr || obs.signalInfo == nullptr || obs.signalInfo->rinexCode == nullptr)
        return;
    // RINEX numbers satellites with two digits: a larger number is damaged data.
    if (obs.satellite > 99) return;
    Entry e;
    e.system = obs.systemInfo->letter;
    e.satellite = obs.satellite;
    e.code[0] = obs.signalInfo->rinexCode[0];
    e.code[1] = e.code[0] != '\0' ? obs.signalInfo->rinexCode[1] : '\0';
    e.code[2] = '\0';
    e.glonassFrequency = obs.glonassFrequency;
    e.pseudorange = obs.pseudorange;
    e.carrierPhase = obs.carrierPhase;
    e.doppler = float(obs.doppler);
    e.cn0 = float(obs.cn0);
    e.phaseValid = obs.phaseLocked != 0;
    e.phaseLock = obs.parityKnown != 0;
    e.pseudorangeValid = obs.codeLocked != 0;
    e.signalInfo = obs.signalInfo;
    entries.push_back(e);
}

void EpochWorkArea::sort() {
    // Logs list the systems in the board's order, not the letters' order: inserting each
    // observation in place moved most of the epoch per observation. One key per entry sorts
    // the same way as entryLess, with the decoder's order (the index) breaking ties.
    constexpr size_t kIndexBits = 24;
    if (entries.size() >= (size_t(1) << kIndexBits)) {
        std::stable_sort(entries.begin(), entries.end(), entryLess);
        return;
    }
    keys_.clear();
    for (size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        keys_.push_back(quint64(uint8_t(int(e.system) - CHAR_MIN)) << 56 | quint64(e.satellite) << 40 |
                        quint64(uint8_t(e.code[0])) << 32 | quint64(uint8_t(e.code[1])) << 24 | i);
    }
    if (std::is_sorted(keys_.begin(), keys_.end())) return;
    reordered_.clear();
    if (!orderRuns()) {
        std::sort(keys_.begin(), keys_.end());
        for (const quint64 key : keys_)
            reordered_.push_back(entries[key & ((quint64(1) << kIndexBits) - 1)]);
    }
    entries.swap(reordered_);
}

bool EpochWorkArea::orderRuns() {
    // A log lists each system's observations together and in order: the epoch is a few
    // ascending runs. When their key ranges do not overlap, the runs in the order of their
    // first keys are the sorted entries.
    constexpr size_t kMaxRuns = 16;
    // The runs' starts in the decoder's order: each run ends where the next one starts.
    size_t start[kMaxRuns + 1], runs = 0;
    for (size_t i = 0; i < keys_.size(); ++i) {
        if (i > 0 && keys_[i] > keys_[i - 1]) continue;
        if (runs == kMaxRuns) return false;
        start[runs++] = i;
    }
    start[runs] = keys_.size();
    // The runs by their first keys, by insertion (they are few).
    size_t order[kMaxRuns];
    for (size_t r = 0; r < runs; ++r) {
        size_t at = r;
        for (; at > 0 && keys_[start[order[at - 1]]] > keys_[start[r]]; --at)
            order[at] = order[at - 1];
        order[at] = r;
    }
    // Each run's keys all below the next one's.
    for (size_t k = 1; k < runs; ++k)
        if (keys_[start[order[k - 1] + 1] - 1] > keys_[start[order[k]]]) return false;
    for (size_t k = 0; k < runs; ++k)
        reordered_.insert(reordered_.end(), entries.begin() + ptrdiff_t(start[order[k]]),
                          entries.begin() + ptrdiff_t(start[order[k] + 1]));
    return true;
}

int EpochWorkArea::satelliteCount() const {
    int satellites = 0;
    for (size_t begin = 0; begin < entries.size(); begin = satelliteEnd(begin))
        ++satellites;
    return satellites;
}

void EpochWorkArea::satelliteStarts(std::vector<size_t>& starts) const {
    starts.clear();
    for (size_t begin = 0; begin < entries.size(); begin = satelliteEnd(begin))
        starts.push_back(begin);
    starts.push_back(entries.size());
}

void EpochWorkArea::reserve(size_t count) {
    entries.reserve(count);
    keys_.reserve(count);
    reordered_.reserve(count);
}

double Rinex3xx::glonassBias(const char* code) const {
    for (const CodeBias& bias : codeBiases_)
        if (bias.code[0] == code[0] && bias.code[1] == code[1]) return bias.metres;
    return 0.0;
}

int Rinex3xx::formatSatelliteLine(char* line, const EpochWorkArea::Entry* first,
                                  const EpochWorkArea::Entry* last) {
    // An observer is told here only when there is no output thread; with one, the decoding
    // thread tells it (observeEpoch), and the output thread its formatting side.
    if (observedWhileFormatted_ && epochObserver_)
        return satelliteLine<true, true>(line, signalMap_, epochObserver_, first, last);
    if (formattedSystem(first->system))
        return satelliteLine<true, true>(line, signalMap_, formattingObserver_, first, last);
    return satelliteLine<true, false>(line, signalMap_, nullptr, first, last);
}

template <bool Format, bool Observe>
int Rinex3xx::satelliteLine(char* line, SignalMap& signalMap, rinex::EpochObserver* observer,
                            const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last) {
    // Look the system up once per satellite; a new system starts an empty column list.
    QList<SignalColumn>& columns = signalMap[first->system];

    const EpochWorkArea::Entry* placed[kMaxColumns] = {};
    int usedColumns = 0;
    for (const EpochWorkArea::Entry* e = first; e != last; ++e) {
        int column = -1;
        for (const SignalColumn& c : columns) {
            if (c.code[0] == e->code[0] && c.code[1] == e->code[1] && c.column >= 0) {
                column = c.column;
                break;
            }
        }
        if (column < 0) {
            column = columns.size();
            SignalColumn added{{e->code[0], e->code[1], '\0'}, column, e->signalInfo->quarterCycles};
            columns.append(added);
        }
        if (column < kMaxColumns) {
            placed[column] = e;
            usedColumns = std::max(usedColumns, column + 1);
        }
    }

    if constexpr (!Observe) (void)observer;
    if constexpr (Observe) {
        // The observer learns the columns' signals before their first values.
        int& told = observedColumns_[uint8_t(first->system)];
        for (; told < columns.size(); ++told) {
            const SignalColumn& c = columns[told];
            observer->signalColumn(first->system, told, headerBand(first->system, c.code), c.code[1]);
        }
    }
    // The line's columns for the observer, handed over when the line is done.
    rinex::ObservedColumn observed[Observe ? kMaxColumns : 1];
    uint64_t observedColumns = 0;
    // A field's value in the 14-character form at out and for the observer, rounded once.
    auto fieldValue = [&](char* out, rinex::ObservedColumn& column, int kind, bool lossOfLock, double value) {
        const int64_t thousandths = rinex::fixed14Thousandths(value);
        if constexpr (Format) rinex::formatFixed14(out, value < 0, thousandths);
        if constexpr (Observe) rinex::observeField(column, kind, lossOfLock, value, thousandths);
        (void)out, (void)column, (void)kind, (void)lossOfLock;
    };

    // "%c%02d" without printf: it runs once per satellite line.
    char* p = line;
    if constexpr (Format) {
        *p++ = first->system;
        const int satellite = first->satellite;
        if (satellite < 100) {
            *p++ = char('0' + satellite / 10);
            *p++ = char('0' + satellite % 10);
        } else {
            p += std::snprintf(p, kPrefixMax, "%d", satellite);
        }
    }
    for (int column = 0; column < usedColumns; ++column) {
        const EpochWorkArea::Entry* e = placed[column];
        if (e == nullptr) {
            if constexpr (Format) {
                std::memset(p, ' ', kColumnWidth);
                p += kColumnWidth;
            }
            continue;
        }

        rinex::ObservedColumn& o = observed[Observe ? column : 0];
        if constexpr (Observe) o = rinex::ObservedColumn{};

        // Pseudorange.
        if (e->pseudorangeValid) {
            char lli = ' ';
            const double pseudorange = rinex::foldObservation(e->pseudorange, lli);
            fieldValue(p, o, 0, lli == '1', pseudorange);
            if constexpr (Format) {
                p[14] = lli;
                p[15] = ' ';
            }
        } else if constexpr (Format) {
            std::memset(p, ' ', kFieldWidth);
        }
        if constexpr (Format) p += kFieldWidth;

        // Carrier phase, with the board's sign turned to the RINEX one.
        char lli = ' ';
        double phase = rinex::foldObservation(-e->carrierPhase, lli);
        if (!e->phaseLock) lli = '1';
        if (e->signalInfo->quarterCycles != 0) phase += e->signalInfo->quarterCycles * 0.25;
        if (e->system == 'R') {
            // A channel beyond the header's two-character field is damaged data: not listed.
            if (e->glonassFrequency >= -9 && e->glonassFrequency <= 99) {
                if constexpr (Format) glonassSlots_.insert(e->satellite, e->glonassFrequency);
                if constexpr (Observe) {
                    // Told when it first appears and when it changes: the observer keeps the last.
                    int& told = observedChannels_[e->satellite];
                    if (told != e->glonassFrequency) {
                        observer->glonassChannel(e->satellite, e->glonassFrequency);
                        told = e->glonassFrequency;
                    }
                }
            }
            const double bias = glonassBias(e->code);
            if (bias != 0.0) {
                const double f =
                    decoding::glonassAdjustedFrequency(e->signalInfo->frequency, e->glonassFrequency);
                phase += f * bias * kInverseLightSpeed;
            }
        }
        if (e->phaseValid) {
            fieldValue(p, o, 1, lli == '1', phase);
            if constexpr (Format) {
                p[14] = lli;
                p[15] = char('0' + rinex::signalStrengthDigit(e->cn0));
            }
        } else if constexpr (Format) {
            std::memset(p, ' ', kFieldWidth);
        }

        // Doppler, then signal strength.
        if constexpr (Format) p += kFieldWidth;
        fieldValue(p, o, 2, false, double(e->doppler));
        if constexpr (Format) {
            p[14] = ' ';
            p[15] = ' ';
            p += kFieldWidth;
        }
        fieldValue(p, o, 3, false, double(e->cn0));
        if constexpr (Format) {
            p[14] = ' ';
            p[15] = ' ';
            p += kFieldWidth;
        }
        if constexpr (Observe)
            if (o.fields != 0) observedColumns |= uint64_t(1) << column;
    }

    if constexpr (Observe) observer->satellite(first->system, first->satellite, observed, observedColumns);
    (void)observedColumns;
    if constexpr (!Format) return 0;
    while (p > line && p[-1] == ' ')
        --p;
    *p++ = '\r';
    *p++ = '\n';
    return int(p - line);
}

int Rinex3xx::observeEpoch(const EpochWorkArea& epoch) {
    if (!observedSignalsCurrent_) {
        // The observer learns every column from the first (observedColumns_ was reset with
        // it): start from the columns the output thread has made so far.
        pipeline_->drain();
        observedSignals_ = signalMap_;
        observedSignalsCurrent_ = true;
    }
    const auto& entries = epoch.entries;
    // The lines are found once: their count goes first, to epoch().
    epoch.satelliteStarts(observedLineStarts_);
    const std::vector<size_t>& starts = observedLineStarts_;
    const int satellites = int(starts.size()) - 1;
    epochObserver_->epoch(gnss::gpsMilliseconds(epoch.week, epoch.milliseconds), satellites);
    for (int line = 0; line < satellites; ++line) {
        const EpochWorkArea::Entry* first = entries.data() + starts[size_t(line)];
        if (formattedSystem(first->system))
            epochObserver_->satelliteElsewhere(first->system, first->satellite);
        else
            satelliteLine<false, true>(nullptr, observedSignals_, epochObserver_, first,
                                       entries.data() + starts[size_t(line) + 1]);
    }
    return satellites;
}

qint64 Rinex3xx::formatEpoch(const EpochWorkArea& epoch) {
    const qint64 t = gnss::gpsMilliseconds(epoch.week, epoch.milliseconds);
    if (t != lastEpoch_) {
        if (firstEpoch_ == 0) firstEpoch_ = t;
        if (lastEpoch_ != 0) {
            const qint64 d = t - lastEpoch_;
            // Gaps beyond the header's INTERVAL field (999999.999 s) are no interval.
            if (d > 0 && d <= 999999999 && (interval_ == 0 || d < interval_)) interval_ = qint32(d);
        }
        lastEpoch_ = t;
    }
    // RINEX 2.11 records have their own layout (rinex2_observation_epoch.cpp).
    if (rinex::isRinex2(version_)) return writeRinex2Epoch(epoch);

    const auto& entries = epoch.entries;
    const int satellites = epoch.countedSatellites >= 0 ? epoch.countedSatellites : epoch.satelliteCount();

    // The lines go to the epoch block, which reaches the file in large writes: a device
    // write per line cost about as much as formatting the line. The file's bytes are the same.
    const gnss::CalendarTime c = gnss::calendarFromMilliseconds(t);
    if (epochBlockUsed_ + kLineCapacity > kEpochBlockCapacity) flushEpochs();
    const int n = rinex::formatEpochLine(epochBlock_.data() + epochBlockUsed_, kLineCapacity, c,
                                         int(epoch.milliseconds / 1000 % 60),
                                         int(epoch.milliseconds % 1000), satellites);
    qint64 written = std::max(0, std::min(n, kLineCapacity - 1));
    const char* const epochLine = epochBlock_.data() + epochBlockUsed_;
    if (written > 31 && epochLine[0] == '>' && (epochLine[31] == '0' || epochLine[31] == '1'))
        ++epochRecordLines_;
    epochBlockUsed_ += int(written);
    // observedWhileFormatted_ first: with an output thread the observer pointer belongs to the
    // decoding thread, which may set it at any time.
    if (observedWhileFormatted_ && epochObserver_) epochObserver_->epoch(t, satellites);
    if (formattingObserver_) formattingObserver_->epoch(t, satellites);

    size_t begin = 0;
    while (begin < entries.size()) {
        const size_t end = epoch.satelliteEnd(begin);
        if (epochBlockUsed_ + kLineCapacity > kEpochBlockCapacity) flushEpochs();
        const int length = formatSatelliteLine(epochBlock_.data() + epochBlockUsed_, entries.data() + begin,
                                               entries.data() + end);
        epochBlockUsed_ += length;
        written += length;
        begin = end;
    }
    ++epochsWritten_;
    return written;
}
