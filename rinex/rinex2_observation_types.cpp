// SPDX-License-Identifier: MIT
#include "rinex/rinex2_observation_types.h"

#include <cstring>

#include "decoding/signal_table.h"

namespace rinex {

namespace {

struct CandidateRow {
    char system;
    char letter; // 'L' stands for L, D and S of the band
    char band;
    const char* codes;
};

// GPS P1/P2 and L2 prefer the P(Y) signals: every GPS satellite sends them, so the whole
// constellation gets one consistent L2; L2C only where no P(Y) phase exists.
constexpr CandidateRow kCandidates[] = {
    {'G', 'C', '1', "1C"},         {'G', 'P', '1', "1P1W1Y"},       {'G', 'L', '1', "1C1P1W1Y"},
    {'G', 'C', '2', "2X2L2S2C"},   {'G', 'P', '2', "2P2W2Y2D"},     {'G', 'L', '2', "2P2W2Y2D2X2L2S2C"},
    {'G', 'C', '5', "5X5Q5I"},     {'G', 'L', '5', "5X5Q5I"},       {'R', 'C', '1', "1C"},
    {'R', 'P', '1', "1P"},         {'R', 'L', '1', "1C1P"},         {'R', 'C', '2', "2C"},
    {'R', 'P', '2', "2P"},         {'R', 'L', '2', "2P2C"},         {'E', 'C', '1', "1X1C1B"},
    {'E', 'L', '1', "1X1C1B"},     {'E', 'C', '5', "5X5Q5I"},       {'E', 'L', '5', "5X5Q5I"},
    {'E', 'C', '7', "7X7Q7I"},     {'E', 'L', '7', "7X7Q7I"},       {'E', 'C', '8', "8X8Q8I"},
    {'E', 'L', '8', "8X8Q8I"},     {'E', 'C', '6', "6X6C6B"},       {'E', 'L', '6', "6X6C6B"},
    {'S', 'C', '1', "1C"},         {'S', 'L', '1', "1C"},           {'S', 'C', '5', "5X5I5Q"},
    {'S', 'L', '5', "5X5I5Q"},
};

bool offers(const char* codes, const char* code) {
    for (const char* p = codes; p[0] != '\0' && p[1] != '\0'; p += 2)
        if (p[0] == code[0] && p[1] == code[1]) return true;
    return false;
}

} // namespace

bool isRinex2System(char system) {
    return system == 'G' || system == 'R' || system == 'E' || system == 'S';
}

const char* rinex2Candidates(char system, Rinex2Type type) {
    const char letter = type.letter == 'D' || type.letter == 'S' ? 'L' : type.letter;
    for (const CandidateRow& row : kCandidates)
        if (row.system == system && row.letter == letter && row.band == type.band) return row.codes;
    return nullptr;
}

bool isAntiSpoofingCode(char system, const char* code) {
    return system == 'G' && ((code[0] == '1' && code[1] == 'W') || (code[0] == '2' && code[1] == 'W') ||
                             (code[0] == '2' && code[1] == 'D'));
}

const std::vector<Rinex2Type>& rinex2CanonicalTypes() {
    static const std::vector<Rinex2Type> types = [] {
        std::vector<Rinex2Type> list;
        for (const char* band : {"1CPLDS", "2CPLDS", "5CLDS", "7CLDS", "8CLDS", "6CLDS"})
            for (const char* letter = band + 1; *letter != '\0'; ++letter)
                list.push_back(Rinex2Type{*letter, band[0]});
        return list;
    }();
    return types;
}

std::vector<Rinex2Type> rinex2TypeList(const QByteArray& systems, const QMap<char, QList<QByteArray>>& presetCodes) {
    // Every signal code each kept system can deliver.
    QMap<char, QList<QByteArray>> codes = presetCodes;
    for (uint32_t s = 0; s < decoding::SystemNone; ++s) {
        const decoding::SatSystemInfo* info = decoding::satSystemInfo(s);
        if (info == nullptr) continue;
        for (int32_t i = 0; i < info->signalCount; ++i)
            if (info->signalRows[i].rinexCode != nullptr) codes[info->letter] << info->signalRows[i].rinexCode;
    }
    std::vector<Rinex2Type> list;
    for (const Rinex2Type& type : rinex2CanonicalTypes()) {
        bool fed = false;
        for (const char system : systems) {
            const char* candidates = rinex2Candidates(system, type);
            if (!isRinex2System(system) || candidates == nullptr) continue;
            for (const QByteArray& code : codes.value(system))
                fed = fed || (code.size() == 2 && offers(candidates, code.constData()));
        }
        if (fed) list.push_back(type);
    }
    return list;
}

} // namespace rinex
