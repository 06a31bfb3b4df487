// SPDX-License-Identifier: MIT
#include <cmath>

#include "decoding/byte_order.h"
#include "decoding/range_decoders.h"
#include "gnss/constants.h"

namespace decoding {

namespace {

constexpr uint32_t kRangeCmpRecordSize = 24;
using gnss::kSpeedOfLight;
// The 32-bit phase field at 1/256 cycle wraps every 2^24 cycles; the pseudorange fixes the
// whole multiple of 2^23 cycles.
constexpr double kPhaseRollover = 8388608.0;

constexpr double kPseudorangeStd[16] = {0.05,  0.075, 0.113, 0.169, 0.253, 0.38, 0.57, 0.854,
                                        1.281, 2.375, 4.75,  9.5,   19.0,  38.0, 76.0, 152.0};

// std::round (halves away from zero, the sign of a zero kept) without the library call for
// the magnitudes the phase resolution meets; it runs once per observation.
double roundHalfAway(double x) {
    if (!(std::fabs(x) < 4503599627370496.0)) return std::round(x); // 2^52 and beyond, NaN
    const double whole = double(int64_t(x));                        // truncated, exact here
    const double fraction = x - whole;                              // exact
    // Without branches (the fraction follows the data): a step of one away from zero at a
    // half or more; the sign then is x's, for a zero too.
    const double step = double(fraction >= 0.5) - double(fraction <= -0.5);
    return std::copysign(whole + step, x);
}

} // namespace

int openRangeCmp(const uint8_t* frame, const LogHeader& header, RangeCursor& cursor,
                 uint32_t signalSearchMode) {
    return openFixedRecordLog(frame, header, cursor, signalSearchMode, LogRangeCmp, kRangeCmpRecordSize);
}

int decodeRangeCmp(const RangeCursor& cursor, int32_t index, RangeObservation* observation) {
    if (!observation || index < 0 || index >= cursor.count) return -1;
    const uint8_t* p = cursor.first + size_t(index) * kRangeCmpRecordSize;
    *observation = RangeObservation{};

    // The low 28 bits, sign-extended by shifts (no branch on the sign).
    const int32_t doppler = int32_t(readU32(p + 4) << 4) >> 4;
    observation->doppler = doppler / 256.0;
    const uint64_t pseudorange = (uint64_t(p[7] >> 4)) | (uint64_t(readU32(p + 8)) << 4);
    observation->pseudorange = double(pseudorange) / 128.0;
    observation->carrierPhase = int32_t(readU32(p + 12)) / 256.0;
    observation->pseudorangeStd = kPseudorangeStd[p[16] & 0x0F];
    observation->carrierPhaseStd = ((p[16] >> 4) + 1) / 512.0;
    observation->satellite = p[17];
    const uint32_t word = readU32(p + 18);
    observation->lockTime = (word & 0x1FFFFF) / 32.0;
    observation->cn0 = ((word >> 21) & 0x1F) + 20.0;
    observation->glonassFrequency = int16_t(word >> 26);

    applyRangeStatus(readU32(p), cursor.signalSearchMode, *observation);
    // Without a signal row there is no carrier frequency to resolve the phase with.
    if (!observation->signalInfo) return -1;

    double frequency = observation->signalInfo->frequency;
    if (observation->system == SystemGlonass)
        frequency =
            glonassAdjustedFrequency(observation->signalInfo->frequency, observation->glonassFrequency);
    const double x =
        (observation->pseudorange * frequency / kSpeedOfLight + observation->carrierPhase) / kPhaseRollover;
    observation->carrierPhase -= roundHalfAway(x) * kPhaseRollover;
    return 0;
}

} // namespace decoding
