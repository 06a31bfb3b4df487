// SPDX-License-Identifier: MIT
#pragma once
// Encoders of the three range logs (RANGE 43, RANGECMP 140, RANGECMP2 1273) from meaningful
// observation values: the inverse of the decoders in decoding/range_decoders.h.
#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "decoding/signal_table.h"
#include "encoder/board_frame.h"

namespace encoding {

// One satellite signal as the board would report it.
struct RangeSignal {
    decoding::SatSystem system = decoding::SystemGps;
    int satellite = 0;                            // RINEX satellite number (R08 -> 8, S23 -> 23, C11 -> 11)
    int glonassChannel = 0;                       // GLONASS frequency channel k; 0 for other systems
    const decoding::SignalInfo* signal = nullptr; // a row of the system's signal table
    double pseudorange = 0;                       // m
    double pseudorangeStd = 0;                    // m
    double carrierPhase = 0;                      // cycles, the board's sign (the negated RINEX phase)
    double carrierPhaseStd = 0;                   // cycles
    double doppler = 0;                           // Hz
    double cn0 = 0;                               // dB-Hz
    double lockTime = 0;                          // s
    bool phaseLocked = true;
    bool parityKnown = true;
    bool codeLocked = true;
    uint8_t channel = 0;       // receiver channel (four bits in RANGE/RANGECMP, eight in RANGECMP2)
    uint8_t trackingState = 0; // status bits 0..4 (not carried by RANGECMP2)
    bool grouped = false;      // status bit 20 (not carried by RANGECMP2)
};

// What happened to one input signal, in input order.
struct SignalOutcome {
    bool encoded = false;
    std::string omittedReason;   // empty when encoded
    bool cn0Clamped = false;     // compressed logs: C/N0 outside 20..51 dB-Hz
    double phaseShiftCycles = 0; // RANGECMP2: whole cycles added to carrierPhase by the encoding
};

struct EncodedRangeLog {
    Bytes frame; // complete board frame, CRC included
    std::vector<SignalOutcome> outcomes;
    int encodedCount() const;
};

// Status word of a RANGE/RANGECMP record (signal type taken from the signal row; 0 without one).
uint32_t rangeStatusWord(const RangeSignal& signal);

// Satellite number as the board logs it: the RINEX number plus the system's numbering offset
// minus one (R01 -> 38, S23 -> 142, C01 -> 161); GPS, Galileo and NavIC unchanged.
int boardSatelliteNumber(decoding::SatSystem system, int rinexSatellite);

// System of a RINEX system letter (G R S E C J I); SystemNone for any other letter.
decoding::SatSystem systemOfLetter(char letter);

// Row for a two-character RINEX code whose signal type decodes back to a row of the same code
// under searchMode; a row that also has a compressed code decoding back to the same code is
// preferred. nullptr when no row qualifies (e.g. GPS "1W", GLONASS "2P" in mode 2).
const decoding::SignalInfo* signalForRinexCode(decoding::SatSystem system, const char* code,
                                               uint32_t searchMode = 0);

// RANGE: one 44-byte record per signal, values as given (floats where the log has floats).
EncodedRangeLog encodeRange(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs);

// RANGECMP: 24-byte records; pseudorange 1/128 m, phase 1/256 cycle (wrapping in 32 bits),
// Doppler 1/256 Hz, C/N0 clamped to 20..51 dB-Hz in whole dB, lock time 1/32 s.
EncodedRangeLog encodeRangeCmp(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs);

// RANGECMP2: signals grouped by satellite (in order of first appearance, at most 15 each).
// Each satellite block carries the pseudorange base (whole metres below its smallest
// pseudorange) and the Doppler base (whole Hz, at the system's reference frequency); each
// signal block its pseudorange difference (1/128 m, below 128 m), its phase range minus the
// base (1/2048 m, below 512 m; the phase is shifted by whole cycles so its range sits next to
// the pseudorange, see SignalOutcome::phaseShiftCycles) and its Doppler difference (1/256 Hz,
// within +-256 Hz).
EncodedRangeLog encodeRangeCmp2(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs);

// The phase shifts of a board that keeps its carrier phase continuous, for
// encodeRangeCmp2Anchored over a stream: a signal is shifted once when its lock starts (its
// range then sits kPhaseAnchorAbove metres above the pseudorange) and keeps that shift while
// its range stays within the 512 m window and its lock time grows. Without them every epoch's
// phase is moved to its own pseudorange, whose noise changes the whole cycles from one epoch
// to the next.
class PhaseAnchors {
public:
    static constexpr double kPhaseAnchorAbove = 128.0; // m: room for the code-carrier drift

    struct Anchor {
        double cycles = 0; // added to the phase range's cycles
        // s, when last used; a new anchor's is above every lock time, so it takes a shift.
        double lockTime = HUGE_VAL;
    };
    // The anchor of a signal, new on first use.
    Anchor& of(const RangeSignal& signal);

private:
    std::map<std::tuple<int, int, const decoding::SignalInfo*>, Anchor> anchors_;
};

EncodedRangeLog encodeRangeCmp2Anchored(const FrameStamp& stamp, const std::vector<RangeSignal>& inputs,
                                        PhaseAnchors& anchors);

} // namespace encoding
