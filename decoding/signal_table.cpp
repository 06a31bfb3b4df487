// SPDX-License-Identifier: MIT
#include "decoding/signal_table.h"

#include <functional>

#include "gnss/constants.h"

namespace decoding {

namespace {

using namespace gnss;

// Packed code: system in the high byte, row within the system's table in the low byte.
constexpr uint32_t pack(uint32_t system, uint32_t row) {
    return (system << 8) | row;
}

// Row order matters: duplicate signal types are resolved by search direction.
constexpr SignalInfo kGpsSignals[] = {
    {0, 1, 0, pack(0, 0), "1C", "L1(C/A)", kFrequencyL1, 0},
    {5, 255, 1, pack(0, 1), "2P", "L2(P)", kFrequencyL2, 0},
    {9, 4, 1, pack(0, 2), "2W", "L2(Z)", kFrequencyL2, 0},
    {14, 7, 2, pack(0, 3), "5Q", "L5(Q)", kFrequencyL5, 0},
    {16, 15, 0, pack(0, 4), "1L", "L1(CP)", kFrequencyL1, 0},
    {17, 5, 1, pack(0, 5), "2S", "L2(CM)", kFrequencyL2, 0},
    {3, 255, 0, pack(0, 6), "1L", "L1(CP)", kFrequencyL1, 0},
    {6, 255, 2, pack(0, 7), "5Q", "L5(Q)", kFrequencyL5, 0},
    {11, 255, 0, pack(0, 8), "1S", "L1(CD)", kFrequencyL1, 0},
};

constexpr SignalInfo kGlonassSignals[] = {
    {0, 1, 0, pack(1, 0), "1C", "G1(C/A)", kFrequencyG1, 0},
    {1, 3, 1, pack(1, 1), "2C", "G2(C/A)", kFrequencyG2, 0},
    {5, 4, 1, pack(1, 2), "2P", "G2(P)", kFrequencyG2, 0},
    {6, 6, 2, pack(1, 3), "3Q", "G3(Q)", kFrequencyG3, 0},
    {5, 4, 1, pack(1, 4), "2C", "G2(C/A)", kFrequencyG2, 0},
};

constexpr SignalInfo kSbasSignals[] = {
    {0, 1, 255, pack(2, 0), "1C", "L1(C/A)", kFrequencyL1, 0},
    {6, 2, 255, pack(2, 1), "5I", "L5(I)", kFrequencyL5, 0},
};

constexpr SignalInfo kGalileoSignals[] = {
    {2, 1, 0, pack(3, 0), "1C", "E1(C)", kFrequencyL1, 0},
    {6, 12, 4, pack(3, 1), "6B", "E6(B)", kFrequencyE6, 0},
    {7, 5, 4, pack(3, 2), "6C", "E6(C)", kFrequencyE6, 0},
    {12, 2, 1, pack(3, 3), "5Q", "E5a(Q)", kFrequencyL5, 0},
    {17, 3, 2, pack(3, 4), "7Q", "E5b(Q)", kFrequencyE5b, 0},
    {20, 4, 3, pack(3, 5), "8Q", "E5(Q)", kFrequencyE5, 0},
    {1, 255, 0, pack(3, 6), "1B", "E1(B)", kFrequencyL1, 0},
};

constexpr SignalInfo kBeidouSignals[] = {
    {0, 1, 0, pack(4, 0), "2I", "B1(I)", kFrequencyB1, 0},
    {1, 3, 1, pack(4, 1), "7I", "B2(I)", kFrequencyE5b, 0},
    {2, 13, 2, pack(4, 2), "6I", "B3(I)", kFrequencyB3, 0},
    {4, 2, 0, pack(4, 3), "2I", "B1(I)", kFrequencyB1, 0},
    {5, 4, 1, pack(4, 4), "7I", "B2(I)", kFrequencyE5b, 0},
    {6, 14, 2, pack(4, 5), "6I", "B3(I)", kFrequencyB3, 0},
    {6, 16, 2, pack(4, 6), "6I", "B3(I)", kFrequencyB3, 0},
    {7, 19, 255, pack(4, 7), "1P", "B1C(P)", kFrequencyL1, 0},
    {9, 20, 255, pack(4, 8), "5P", "B2A(P)", kFrequencyL5, 0},
    {8, 19, 255, pack(4, 9), "1P", "B1C(P)", kFrequencyL1, 0},
    {12, 20, 255, pack(4, 10), "5P", "B2A(P)", kFrequencyL5, 0},
    {17, 3, 1, pack(4, 11), "7I", "B2(I)", kFrequencyE5b, 0},
    {21, 13, 2, pack(4, 12), "6I", "B3(I)", kFrequencyB3, 0},
};

constexpr SignalInfo kQzssSignals[] = {
    {0, 1, 0, pack(5, 0), "1C", "L1(C/A)", kFrequencyL1, 0},
    {14, 4, 2, pack(5, 1), "5Q", "L5(Q)", kFrequencyL5, 0},
    {16, 8, 0, pack(5, 2), "1L", "L1(CP)", kFrequencyL1, 0},
    {17, 3, 1, pack(5, 3), "2S", "L2(CM)", kFrequencyL2, 0},
    {27, 11, 3, pack(5, 4), "6L", "L6(P)", kFrequencyE6, 0},
};

constexpr SignalInfo kNavicSignals[] = {
    {0, 1, 2, pack(6, 0), "5A", "L5(ASPS)", kFrequencyL5, 0},
};

template <typename T, int N> constexpr int32_t rows(const T (&)[N]) {
    return N;
}

constexpr SatSystemInfo kSystems[] = {
    {'G', kFrequencyL1, 1, 0, kGpsSignals, rows(kGpsSignals)},
    {'R', kFrequencyG1, 38, -7, kGlonassSignals, rows(kGlonassSignals)},
    {'S', kFrequencyL1, 120, 0, kSbasSignals, rows(kSbasSignals)},
    {'E', kFrequencyL1, 1, 0, kGalileoSignals, rows(kGalileoSignals)},
    {'C', kFrequencyB1, 161, 0, kBeidouSignals, rows(kBeidouSignals)},
    {'J', kFrequencyL1, 193, 0, kQzssSignals, rows(kQzssSignals)},
    {'I', kFrequencyL5, 1, 0, kNavicSignals, rows(kNavicSignals)},
};

template <typename Match>
constexpr const SignalInfo* findSignal(const SatSystemInfo& system, uint32_t searchMode, Match match) {
    if (searchMode == 2) {
        for (int32_t i = system.signalCount - 1; i >= 0; --i)
            if (match(system.signalRows[i])) return &system.signalRows[i];
    } else {
        for (int32_t i = 0; i < system.signalCount; ++i)
            if (match(system.signalRows[i])) return &system.signalRows[i];
    }
    return nullptr;
}

} // namespace

const SatSystemInfo* satSystemInfo(uint32_t system) {
    return system < sizeof kSystems / sizeof kSystems[0] ? &kSystems[system] : nullptr;
}

namespace {

constexpr int kSystemCount = int(sizeof kSystems / sizeof kSystems[0]);
constexpr uint32_t kSignalTypes = 32; // five bits of the status word

// findSignalByType's answers for the systems above, made by the compiler: the lookup runs
// for every observation, and the search's branches followed the data.
struct SignalTypeIndex {
    const SignalInfo* row[kSystemCount][2][kSignalTypes] = {}; // [system][backwards][type]
};

constexpr SignalTypeIndex buildSignalTypeIndex() {
    SignalTypeIndex built;
    for (int s = 0; s < kSystemCount; ++s)
        for (int backwards = 0; backwards < 2; ++backwards)
            for (uint32_t type = 0; type < kSignalTypes; ++type)
                built.row[s][backwards][type] =
                    findSignal(kSystems[s], backwards ? 2 : 0,
                               [type](const SignalInfo& info) { return info.signalType == type; });
    return built;
}

constexpr SignalTypeIndex kSignalTypeIndex = buildSignalTypeIndex();

} // namespace

const SignalInfo* findSignalByType(const SatSystemInfo& system, uint32_t signalType, uint32_t searchMode) {
    const std::less<const SatSystemInfo*> before;
    if (!before(&system, kSystems) && before(&system, kSystems + kSystemCount) && signalType < kSignalTypes)
        return kSignalTypeIndex.row[&system - kSystems][searchMode == 2][signalType];
    return findSignal(system, searchMode,
                      [signalType](const SignalInfo& s) { return s.signalType == signalType; });
}

const SignalInfo* findSignalByCompressedCode(const SatSystemInfo& system, uint32_t code,
                                             uint32_t searchMode) {
    // 255 marks "no compressed code" in the table, never a real code.
    if (code == 255) return nullptr;
    return findSignal(system, searchMode, [code](const SignalInfo& s) { return s.compressedCode == code; });
}

double glonassAdjustedFrequency(uint32_t base, int k) {
    if (base == gnss::kFrequencyG1) return gnss::kFrequencyG1 + k * gnss::kChannelStepG1;
    if (base == gnss::kFrequencyG2) return gnss::kFrequencyG2 + k * gnss::kChannelStepG2;
    return base;
}

} // namespace decoding
