// SPDX-License-Identifier: MIT
// RINEX 2.11 observation epochs: the epoch line with its satellite list (12 per line), then
// per satellite one field per type of the file's list, five fields per line.
#include "decoding/signal_table.h"

#include "rinex/rinex3xx.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "gnss/gps_calendar.h"
#include "rinex/number_format.h"
#include "rinex/observation_values.h"
#include "rinex/rinex2_observation_types.h"

namespace {

constexpr int kFieldWidth = 16;
constexpr int kFieldsPerLine = 5;
constexpr int kSatellitesPerLine = 12;
// Room that one piece (an epoch line, a satellite's record) needs in the epoch block.
constexpr int kPieceCapacity = 1024;
constexpr int kBands = 6;
constexpr int kSatellites = 100;

int systemIndex(char system) {
    switch (system) {
    case 'G':
        return 0;
    case 'R':
        return 1;
    case 'E':
        return 2;
    case 'S':
        return 3;
    default:
        return -1;
    }
}

int bandIndex(char band) {
    static const char kBandDigits[] = "125678";
    const char* p = std::strchr(kBandDigits, band);
    return p != nullptr && band != '\0' ? int(p - kBandDigits) : -1;
}

const EpochWorkArea::Entry* findCode(const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last,
                                     const char* code) {
    for (const EpochWorkArea::Entry* e = first; e != last; ++e)
        if (e->code[0] == code[0] && e->code[1] == code[1]) return e;
    return nullptr;
}

// First candidate with a valid pseudorange.
const EpochWorkArea::Entry* codeSource(const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last,
                                       const char* candidates) {
    for (const char* c = candidates; c[0] != '\0' && c[1] != '\0'; c += 2) {
        const EpochWorkArea::Entry* e = findCode(first, last, c);
        if (e != nullptr && e->pseudorangeValid) return e;
    }
    return nullptr;
}

// The band's signal: the first candidate with a valid phase, else the first present at all.
const EpochWorkArea::Entry* bandSource(const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last,
                                       const char* candidates) {
    const EpochWorkArea::Entry* any = nullptr;
    for (const char* c = candidates; c[0] != '\0' && c[1] != '\0'; c += 2) {
        const EpochWorkArea::Entry* e = findCode(first, last, c);
        if (e == nullptr) continue;
        if (e->phaseValid) return e;
        if (any == nullptr) any = e;
    }
    return any;
}

// A value too wide for F14.3 is written blank, and then without flags: a missing value.
void putField(char* p, double value, int lli, char strength) {
    rinex::formatFixed14(p, value);
    const bool blank = p[13] == ' ';
    p[14] = lli > 0 && !blank ? char('0' + lli) : ' ';
    p[15] = blank ? ' ' : strength;
}

} // namespace

void Rinex3xx::openRinex2() {
    QByteArray systems;
    for (const char system : {'G', 'R', 'E', 'S'})
        if (filter_.keepsSystem(system)) systems += system;
    QMap<char, QList<QByteArray>> preset;
    for (auto it = presetSignals_.cbegin(); it != presetSignals_.cend(); ++it)
        for (const SignalColumn& column : it.value())
            preset[it.key()] << QByteArray(column.code, 2);
    rinex2Types_ = rinex::rinex2TypeList(systems, preset);
    rinex2BandSignal_.assign(size_t(4 * kSatellites * kBands), 0);
}

int Rinex3xx::formatRinex2Satellite(char* out, const EpochWorkArea::Entry* first,
                                    const EpochWorkArea::Entry* last) {
    const char system = first->system;
    const int sys = systemIndex(system);
    const int count = int(rinex2Types_.size());
    // The band signals of this epoch, chosen once per band.
    const EpochWorkArea::Entry* band[kBands] = {};
    bool bandSwitched[kBands] = {};
    for (int b = 0; b < kBands; ++b) {
        const char digit = "125678"[b];
        const char* candidates = rinex2Candidates(system, rinex::Rinex2Type{'L', digit});
        if (candidates == nullptr) continue;
        band[b] = bandSource(first, last, candidates);
        if (band[b] == nullptr || sys < 0 || first->satellite >= kSatellites) continue;
        quint16& previous = rinex2BandSignal_[size_t((sys * kSatellites + first->satellite) * kBands + b)];
        const quint16 code = quint16(quint8(band[b]->code[0]) << 8 | quint8(band[b]->code[1]));
        // Another tracking loop is another phase arc.
        bandSwitched[b] = previous != 0 && previous != code;
        previous = code;
    }

    char* p = out;
    char* lineStart = out;
    bool any = false;
    for (int i = 0; i < count; ++i) {
        const rinex::Rinex2Type type = rinex2Types_[size_t(i)];
        std::memset(p, ' ', kFieldWidth);
        const char* candidates = rinex2Candidates(system, type);
        const int b = bandIndex(type.band);
        if (candidates != nullptr && b >= 0) {
            if (type.letter == 'C' || type.letter == 'P') {
                const EpochWorkArea::Entry* e = codeSource(first, last, candidates);
                if (e != nullptr) {
                    char fold = ' ';
                    const double value = rinex::foldObservation(e->pseudorange, fold);
                    int lli = fold == '1' ? 1 : 0;
                    if (type.letter == 'P' && rinex2AntiSpoofing_ && rinex::isAntiSpoofingCode(system, e->code))
                        lli |= 4;
                    putField(p, value, lli, ' ');
                    any = true;
                }
            } else if (const EpochWorkArea::Entry* e = band[b]) {
                if (type.letter == 'L') {
                    if (e->phaseValid) {
                        char fold = ' ';
                        double phase = rinex::foldObservation(-e->carrierPhase, fold);
                        if (e->signalInfo->quarterCycles != 0) phase += e->signalInfo->quarterCycles * 0.25;
                        int lli = fold == '1' || !e->phaseLock || bandSwitched[b] ? 1 : 0;
                        if (rinex2AntiSpoofing_ && rinex::isAntiSpoofingCode(system, e->code) &&
                            (type.band == '1' || type.band == '2'))
                            lli |= 4;
                        putField(p, phase, lli, char('0' + rinex::signalStrengthDigit(e->cn0)));
                        any = true;
                    }
                } else {
                    putField(p, type.letter == 'D' ? double(e->doppler) : double(e->cn0), 0, ' ');
                    any = true;
                }
            }
        }
        p += kFieldWidth;
        // Five fields to a line; a line whose fields are all blank is still written (empty),
        // since readers count the lines.
        if ((i + 1) % kFieldsPerLine == 0 || i + 1 == count) {
            while (p > lineStart && p[-1] == ' ')
                --p;
            *p++ = '\r';
            *p++ = '\n';
            lineStart = p;
        }
    }
    if (count == 0) {
        *p++ = '\r';
        *p++ = '\n';
    }
    return any ? int(p - out) : 0;
}

qint64 Rinex3xx::writeRinex2Epoch(const EpochWorkArea& epoch) {
    const auto& entries = epoch.entries;
    // The satellites of the epoch: their records first (a satellite with no 2.11 value is
    // not listed), then the epoch line that lists them in front of the records.
    auto& listed = rinex2Listed_; // each satellite's first and end entry
    listed.clear();
    size_t begin = 0;
    while (begin < entries.size()) {
        const size_t end = epoch.satelliteEnd(begin);
        if (rinex::isRinex2System(entries[begin].system) && entries[begin].satellite < kSatellites)
            listed.emplace_back(quint32(begin), quint32(end));
        begin = end;
    }

    // Records go to a scratch buffer first: only satellites with a value are listed.
    rinex2Records_.resize(std::max<size_t>(listed.size(), 1) * kPieceCapacity);
    int recordsUsed = 0;
    size_t kept = 0;
    for (const auto& s : listed) {
        const int n = formatRinex2Satellite(rinex2Records_.data() + recordsUsed, entries.data() + s.first,
                                            entries.data() + s.second);
        if (n == 0) continue;
        recordsUsed += n;
        listed[kept++] = s;
    }
    listed.resize(kept);

    const gnss::CalendarTime c = gnss::calendarFromMilliseconds(lastEpoch_);
    qint64 written = 0;
    if (epochBlockUsed_ + kPieceCapacity > kEpochBlockCapacity) flushEpochs();
    char* p = epochBlock_.data() + epochBlockUsed_;
    int n = std::snprintf(p, kPieceCapacity, " %02d %2d %2d %2d %2d%11.7f  0%3d", c.year % 100, c.month, c.day,
                          c.hour, c.minute, c.second + c.millisecond * 0.001, int(std::min<size_t>(kept, 999)));
    for (size_t i = 0; i < kept; ++i) {
        if (i > 0 && i % kSatellitesPerLine == 0) {
            p[n++] = '\r';
            p[n++] = '\n';
            epochBlockUsed_ += n;
            written += n;
            if (epochBlockUsed_ + kPieceCapacity > kEpochBlockCapacity) flushEpochs();
            p = epochBlock_.data() + epochBlockUsed_;
            n = std::snprintf(p, kPieceCapacity, "%32s", "");
        }
        const EpochWorkArea::Entry& e = entries[listed[i].first];
        p[n++] = e.system;
        p[n++] = char('0' + e.satellite / 10);
        p[n++] = char('0' + e.satellite % 10);
    }
    p[n++] = '\r';
    p[n++] = '\n';
    epochBlockUsed_ += n;
    written += n;
    ++epochRecordLines_;

    for (int used = 0; used < recordsUsed;) {
        const int piece = std::min(recordsUsed - used, kPieceCapacity);
        if (epochBlockUsed_ + piece > kEpochBlockCapacity) flushEpochs();
        std::memcpy(epochBlock_.data() + epochBlockUsed_, rinex2Records_.data() + used, size_t(piece));
        epochBlockUsed_ += piece;
        used += piece;
    }
    written += recordsUsed;
    ++epochsWritten_;
    return written;
}

bool Rinex3xx::setAntiSpoofingFlag(bool flag) {
    if (open_) return false;
    rinex2AntiSpoofing_ = flag;
    return true;
}
