// SPDX-License-Identifier: MIT
#include "encoder/range_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "decoding/log_header.h"
#include "gnss/constants.h"

namespace encoding {

namespace {

using decoding::SatSystem;
using decoding::SatSystemInfo;
using decoding::SignalInfo;

using gnss::kSpeedOfLight;

constexpr double kRangeCmpPseudorangeStd[16] = {0.05,  0.075, 0.113, 0.169, 0.253, 0.38, 0.57, 0.854,
                                                1.281, 2.375, 4.75,  9.5,   19.0,  38.0, 76.0, 152.0};
constexpr float kRangeCmp2PseudorangeStd[16] = {0.02f, 0.03f,  0.045f, 0.066f, 0.099f, 0.148f,
                                                0.22f, 0.329f, 0.491f, 0.732f, 1.092f, 1.629f,
                                                2.43f, 3.625f, 5.409f, 9.999f};
constexpr float kRangeCmp2CarrierPhaseStd[16] = {0.00391f, 0.00521f, 0.00696f, 0.00929f, 0.01239f, 0.01654f,
                                                 0.02208f, 0.02947f, 0.03933f, 0.05249f, 0.07006f, 0.0935f,
                                                 0.1248f,  0.16656f, 0.2223f,  9.99999f};

// Smallest table entry that is not below the value, so the logged accuracy is never optimistic.
template <typename T> uint32_t stdIndex(const T (&table)[16], double value) {
    for (uint32_t i = 0; i < 16; ++i)
        if (double(table[i]) >= value) return i;
    return 15;
}

int64_t clampRound(double value, int64_t low, int64_t high) {
    if (!(value > double(low))) return low; // also catches NaN
    if (value > double(high)) return high;
    return std::min<int64_t>(high, std::max<int64_t>(low, std::llround(value)));
}

// Raw frequency channel as logged: the channel minus the system's offset.
int rawChannel(const SatSystemInfo& info, int glonassChannel) {
    return glonassChannel - info.frequencyOffset;
}

double carrierFrequency(const RangeSignal& s) {
    if (s.system == decoding::SystemGlonass)
        return decoding::glonassAdjustedFrequency(s.signal->frequency, s.glonassChannel);
    return s.signal->frequency;
}

uint32_t compressedCn0(double cn0, bool& clamped) {
    const long long whole = std::llround(cn0);
    clamped = !(whole >= 20 && whole <= 51);
    return uint32_t(clampRound(cn0 - 20.0, 0, 31));
}

// Checks common to all logs; returns an empty string when the signal can be encoded.
std::string basicProblem(const RangeSignal& s, int maxSatellite, int maxRawChannel) {
    const SatSystemInfo* info = decoding::satSystemInfo(s.system);
    if (!info) return "no satellite system";
    if (!s.signal) return "no signal row";
    if (s.signal < info->signalRows || s.signal >= info->signalRows + info->signalCount)
        return "signal row not of the satellite's system";
    const int board = boardSatelliteNumber(s.system, s.satellite);
    if (s.satellite < 1 || board > maxSatellite) return "satellite number out of range";
    const int channel = rawChannel(*info, s.glonassChannel);
    if (channel < 0 || channel > maxRawChannel) return "frequency channel out of range";
    return {};
}

EncodedRangeLog finish(uint16_t id, const FrameStamp& stamp, const Bytes& body,
                       std::vector<SignalOutcome> outcomes) {
    EncodedRangeLog log;
    log.frame = boardFrame(id, stamp, body);
    log.outcomes = std::move(outcomes);
    return log;
}

int rangeCmp2SystemCode(SatSystem system) {
    switch (system) {
    case decoding::SystemGps:
        return 0;
    case decoding::SystemGlonass:
        return 1;
    case decoding::SystemSbas:
        return 2;
    case decoding::SystemGalileo:
        return 5;
    case decoding::SystemBeidou:
        return 6;
    case decoding::SystemQzss:
        return 7;
    case decoding::SystemNavic:
        return 9;
    default:
        return -1;
    }
}

} // namespace

int EncodedRangeLog::encodedCount() const {
    return int(
        std::count_if(outcomes.begin(), outcomes.end(), [](const SignalOutcome& o) { return o.encoded; }));
}

uint32_t rangeStatusWord(const RangeSignal& s) {
    uint32_t word = uint32_t(s.trackingState & 0x1F);
    word |= uint32_t(s.channel & 0x0F) << 5;
    word |= uint32_t(s.phaseLocked) << 10;
    word |= uint32_t(s.parityKnown) << 11;
    word |= uint32_t(s.codeLocked) << 12;
    word |= uint32_t(s.system & 0x07) << 16;
    word |= uint32_t(s.grouped) << 20;
    word |= uint32_t(s.signal ? s.signal->signalType & 0x1F : 0) << 21;
    return word;
}

int boardSatelliteNumber(SatSystem system, int rinexSatellite) {
    const SatSystemInfo* info = decoding::satSystemInfo(system);
    return info ? rinexSatellite + info->numberingOffset - 1 : rinexSatellite;
}

SatSystem systemOfLetter(char letter) {
    for (uint32_t s = 0; s < decoding::SystemNone; ++s)
        if (decoding::satSystemInfo(s)->letter == letter) return SatSystem(s);
    return decoding::SystemNone;
}

const SignalInfo* signalForRinexCode(SatSystem system, const char* code, uint32_t searchMode) {
    const SatSystemInfo* info = decoding::satSystemInfo(system);
    if (!info || !code) return nullptr;
    const SignalInfo* typeOnly = nullptr;
    for (int32_t i = 0; i < info->signalCount; ++i) {
        const SignalInfo& row = info->signalRows[i];
        if (std::strcmp(row.rinexCode, code) != 0) continue;
        const SignalInfo* byType = decoding::findSignalByType(*info, row.signalType, searchMode);
        if (!byType || std::strcmp(byType->rinexCode, code) != 0) continue;
        if (row.compressedCode != 255) {
            const SignalInfo* byCode =
                decoding::findSignalByCompressedCode(*info, row.compressedCode, searchMode);
            if (byCode && std::strcmp(byCode->rinexCode, code) == 0) return &row;
        }
        if (!typeOnly) typeOnly = &row;
    }
    return typeOnly;
}

EncodedRangeLog encodeRange(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs) {
    std::vector<SignalOutcome> outcomes(inputs.size());
    BodyWriter body(4);
    uint32_t count = 0;
    for (size_t i = 0; i < inputs.size(); ++i) {
        const RangeSignal& s = inputs[i];
        outcomes[i].omittedReason = basicProblem(s, 0xFFFF, 0xFFFF);
        if (!outcomes[i].omittedReason.empty()) continue;
        const SatSystemInfo& info = *decoding::satSystemInfo(s.system);
        const size_t at = 4 + size_t(count) * 44;
        body.u16(at, uint16_t(boardSatelliteNumber(s.system, s.satellite)))
            .u16(at + 2, uint16_t(rawChannel(info, s.glonassChannel)))
            .f64(at + 4, s.pseudorange)
            .f32(at + 12, float(s.pseudorangeStd))
            .f64(at + 16, s.carrierPhase)
            .f32(at + 24, float(s.carrierPhaseStd))
            .f32(at + 28, float(s.doppler))
            .f32(at + 32, float(s.cn0))
            .f32(at + 36, float(s.lockTime))
            .u32(at + 40, rangeStatusWord(s));
        outcomes[i].encoded = true;
        ++count;
    }
    body.u32(0, count);
    return finish(decoding::LogRange, stamp, body.bytes(), std::move(outcomes));
}

EncodedRangeLog encodeRangeCmp(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs) {
    std::vector<SignalOutcome> outcomes(inputs.size());
    BodyWriter body(4);
    uint32_t count = 0;
    for (size_t i = 0; i < inputs.size(); ++i) {
        const RangeSignal& s = inputs[i];
        SignalOutcome& outcome = outcomes[i];
        outcome.omittedReason = basicProblem(s, 0xFF, 0x3F);
        if (!outcome.omittedReason.empty()) continue;
        const SatSystemInfo& info = *decoding::satSystemInfo(s.system);

        const double pseudorange = std::round(s.pseudorange * 128.0);
        if (!(pseudorange >= 0.0 && pseudorange < 68719476736.0)) { // 2^36
            outcome.omittedReason = "pseudorange outside the 36-bit field";
            continue;
        }
        const double doppler = std::round(s.doppler * 256.0);
        if (!(doppler >= -134217728.0 && doppler < 134217728.0)) { // 2^27
            outcome.omittedReason = "Doppler outside the 28-bit field";
            continue;
        }
        if (!std::isfinite(s.carrierPhase)) {
            outcome.omittedReason = "carrier phase not finite";
            continue;
        }
        const uint64_t rawPseudorange = uint64_t(pseudorange);
        const uint32_t rawDoppler = uint32_t(int32_t(doppler)) & 0x0FFFFFFF;
        // Only the low 32 bits are logged; the decoder restores the rest from the pseudorange.
        const uint32_t rawPhase =
            uint32_t(uint64_t(std::llround(std::fmod(s.carrierPhase * 256.0, 4294967296.0))));
        const uint32_t phaseStd = uint32_t(clampRound(std::ceil(s.carrierPhaseStd * 512.0) - 1.0, 0, 15));
        const uint32_t lock = uint32_t(clampRound(s.lockTime * 32.0, 0, 0x1FFFFF));
        const uint32_t cn0 = compressedCn0(s.cn0, outcome.cn0Clamped);

        const size_t at = 4 + size_t(count) * 24;
        body.u32(at, rangeStatusWord(s))
            .u32(at + 4, rawDoppler | uint32_t((rawPseudorange & 0x0F) << 28))
            .u32(at + 8, uint32_t(rawPseudorange >> 4))
            .u32(at + 12, rawPhase)
            .u8(at + 16, uint8_t(stdIndex(kRangeCmpPseudorangeStd, s.pseudorangeStd) | (phaseStd << 4)))
            .u8(at + 17, uint8_t(boardSatelliteNumber(s.system, s.satellite)))
            .u32(at + 18, lock | (cn0 << 21) | (uint32_t(rawChannel(info, s.glonassChannel)) << 26))
            .u16(at + 22, 0);
        outcome.encoded = true;
        ++count;
    }
    body.u32(0, count);
    return finish(decoding::LogRangeCmp, stamp, body.bytes(), std::move(outcomes));
}

PhaseAnchors::Anchor& PhaseAnchors::of(const RangeSignal& signal) {
    return anchors_[std::make_tuple(int(signal.system), signal.satellite, signal.signal)];
}

namespace {

// RANGECMP2's unsigned differences from a satellite's pseudorange base: the pseudorange's
// (1/128 m, 14 bits) and the phase range's (1/2048 m, 20 bits).
constexpr int64_t kPseudorangeDifferenceMax = 0x3FFF, kPhaseRangeDifferenceMax = 0xFFFFF;

// Whole cycles that move a phase range next to `target` and not below the base.
double cyclesNextTo(double target, double phaseRange, double wavelength, double base) {
    double cycles = std::round((target - phaseRange) / wavelength);
    while (phaseRange + cycles * wavelength < base)
        cycles += 1;
    return cycles;
}

// Whether a phase range lies in the satellite's 512 m window above the base.
bool inPhaseWindow(double range, double base) {
    return range >= base && std::llround((range - base) * 2048.0) <= kPhaseRangeDifferenceMax;
}

EncodedRangeLog encodeRangeCmp2With(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs,
                                    PhaseAnchors* anchors) {
    std::vector<SignalOutcome> outcomes(inputs.size());

    // Satellites in order of first appearance, each with the indexes of its signals.
    struct Satellite {
        SatSystem system;
        int number;
        std::vector<size_t> members;
    };
    std::vector<Satellite> satellites;
    for (size_t i = 0; i < inputs.size(); ++i) {
        const RangeSignal& s = inputs[i];
        SignalOutcome& outcome = outcomes[i];
        outcome.omittedReason = basicProblem(s, 0xFF, 0x0F);
        if (outcome.omittedReason.empty() && s.signal->compressedCode == 255)
            outcome.omittedReason = "signal has no compressed code";
        if (outcome.omittedReason.empty() && rangeCmp2SystemCode(s.system) < 0)
            outcome.omittedReason = "no system code in this log";
        if (outcome.omittedReason.empty() && !std::isfinite(s.pseudorange + s.carrierPhase + s.doppler))
            outcome.omittedReason = "value not finite";
        if (!outcome.omittedReason.empty()) continue;
        auto it = std::find_if(satellites.begin(), satellites.end(), [&](const Satellite& sat) {
            return sat.system == s.system && sat.number == s.satellite;
        });
        if (it == satellites.end()) {
            satellites.push_back({s.system, s.satellite, {}});
            it = satellites.end() - 1;
        }
        if (it->members.size() == 15) {
            outcome.omittedReason = "more than 15 signals for the satellite";
            continue;
        }
        it->members.push_back(i);
    }

    BodyWriter body(4);
    size_t at = 4;
    for (Satellite& sat : satellites) {
        const SatSystemInfo& info = *decoding::satSystemInfo(sat.system);

        // The base sits at or below every code-locked pseudorange, so the unsigned
        // differences stay small.
        double lowest = HUGE_VAL;
        for (size_t i : sat.members)
            if (inputs[i].codeLocked) lowest = std::min(lowest, inputs[i].pseudorange);
        if (lowest == HUGE_VAL)
            for (size_t i : sat.members)
                lowest = std::min(lowest, inputs[i].pseudorange);
        const double base = std::floor(lowest);
        if (!(base >= 0.0 && base < 536870912.0)) { // 2^29
            for (size_t i : sat.members)
                outcomes[i].omittedReason = "pseudorange base outside the 29-bit field";
            continue;
        }

        std::vector<size_t> kept;
        for (size_t i : sat.members) {
            const RangeSignal& s = inputs[i];
            if (s.codeLocked && std::llround((s.pseudorange - base) * 128.0) > kPseudorangeDifferenceMax)
                outcomes[i].omittedReason = "pseudorange 128 m or more above the satellite's base";
            else
                kept.push_back(i);
        }
        if (kept.empty()) continue;

        // Doppler at the system's reference frequency: common to all signals of the satellite.
        auto referenceDoppler = [&](const RangeSignal& s) {
            return s.doppler * info.referenceFrequency / double(s.signal->frequency);
        };
        const double dopplerBase = std::round(referenceDoppler(inputs[kept.front()]));
        if (!(dopplerBase >= -1048576.0 && dopplerBase < 1048576.0)) { // 2^20
            for (size_t i : kept)
                outcomes[i].omittedReason = "Doppler base outside the 21-bit field";
            continue;
        }
        std::vector<size_t> members;
        for (size_t i : kept) {
            const double difference = std::round((referenceDoppler(inputs[i]) - dopplerBase) * 256.0);
            if (difference < -65536.0 || difference > 65535.0)
                outcomes[i].omittedReason = "Doppler more than 256 Hz from the satellite's base";
            else
                members.push_back(i);
        }
        if (members.empty()) continue;

        const RangeSignal& first = inputs[members.front()];
        const uint32_t rawBase = uint32_t(base);
        const uint32_t rawDopplerBase = uint32_t(int32_t(dopplerBase)) & 0x1FFFFF;
        body.u8(at, first.channel)
            .u8(at + 1, uint8_t(boardSatelliteNumber(sat.system, sat.number)))
            .u16(at + 2, uint16_t((rawChannel(info, first.glonassChannel) & 0x0F) |
                                  (rangeCmp2SystemCode(sat.system) << 4)))
            .u16(at + 4, 0)
            .u16(at + 6, uint16_t(rawBase & 0xFFFF))
            .u16(at + 8, uint16_t((rawBase >> 16) & 0x1FFF))
            .u16(at + 10, uint16_t(rawDopplerBase & 0xFFFF))
            .u16(at + 12, uint16_t((rawDopplerBase >> 16) | (members.size() << 5)));
        at += 14;

        for (size_t i : members) {
            const RangeSignal& s = inputs[i];
            SignalOutcome& outcome = outcomes[i];
            const double frequency = carrierFrequency(s);
            const double wavelength = kSpeedOfLight / frequency;

            // Phase range moved by whole cycles to the pseudorange, and not below the base; with
            // anchors, by the shift its lock started with while that still fits.
            const double phaseRange = -s.carrierPhase * wavelength;
            const double target = s.codeLocked ? s.pseudorange : base;
            double cycles = 0;
            if (anchors) {
                PhaseAnchors::Anchor& anchor = anchors->of(s);
                const bool keeps = s.lockTime >= anchor.lockTime &&
                                   inPhaseWindow(phaseRange + anchor.cycles * wavelength, base);
                if (!keeps)
                    anchor.cycles =
                        cyclesNextTo(target + PhaseAnchors::kPhaseAnchorAbove, phaseRange, wavelength, base);
                anchor.lockTime = s.lockTime;
                cycles = anchor.cycles;
            } else {
                cycles = cyclesNextTo(target, phaseRange, wavelength, base);
            }
            const double shifted = phaseRange + cycles * wavelength;
            outcome.phaseShiftCycles = -cycles;

            const uint32_t lockMs = uint32_t(clampRound(s.lockTime * 1000.0, 0, 0x1FFFF));
            const uint32_t cn0 = compressedCn0(s.cn0, outcome.cn0Clamped);
            const uint32_t pseudorangeDiff =
                uint32_t(clampRound((s.pseudorange - base) * 128.0, 0, kPseudorangeDifferenceMax));
            const uint32_t phaseDiff =
                uint32_t(clampRound((shifted - base) * 2048.0, 0, kPhaseRangeDifferenceMax));
            const double dopplerDiff = std::round((referenceDoppler(s) - dopplerBase) * 256.0);

            const uint32_t w0 = uint32_t(s.signal->compressedCode & 0x1F) | (uint32_t(s.phaseLocked) << 5) |
                                (uint32_t(s.parityKnown) << 6) | (uint32_t(s.codeLocked) << 7) |
                                (lockMs << 8);
            const uint32_t w1 = cn0 | (stdIndex(kRangeCmp2PseudorangeStd, s.pseudorangeStd) << 5) |
                                (stdIndex(kRangeCmp2CarrierPhaseStd, s.carrierPhaseStd) << 9) |
                                (pseudorangeDiff << 13);
            body.u32(at, w0)
                .u32(at + 4, w1)
                .u32(at + 8, phaseDiff)
                .u32(at + 12, uint32_t(int32_t(dopplerDiff)) & 0x1FFFF);
            at += 16;
            outcome.encoded = true;
        }
    }
    body.u32(0, uint32_t(at - 4));
    return finish(decoding::LogRangeCmp2, stamp, body.bytes(), std::move(outcomes));
}

} // namespace

EncodedRangeLog encodeRangeCmp2(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs) {
    return encodeRangeCmp2With(stamp, inputs, nullptr);
}

EncodedRangeLog encodeRangeCmp2Anchored(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs,
                                        PhaseAnchors& anchors) {
    return encodeRangeCmp2With(stamp, inputs, &anchors);
}

} // namespace encoding
