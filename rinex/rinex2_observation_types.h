// SPDX-License-Identifier: MIT
#pragma once
// RINEX 2.11 observation types (two characters: type letter and band digit), which RINEX 3
// signals feed each of them, and the one type list of a 2.11 file.
#include <QByteArray>
#include <QList>
#include <QMap>
#include <vector>

namespace rinex {

struct Rinex2Type {
    char letter; // C, P, L, D or S
    char band;   // '1', '2', '5', '6', '7' or '8'
};

inline bool operator==(const Rinex2Type& a, const Rinex2Type& b) {
    return a.letter == b.letter && a.band == b.band;
}

// The systems RINEX 2.11 defines: GPS, GLONASS, Galileo, SBAS. BeiDou, QZSS and NavIC have no
// letter and no codes there, so their observations are left out of 2.11 files.
bool isRinex2System(char system);

// RINEX 3 codes (band digit and attribute, two characters each, run together) whose value a
// 2.11 type takes, the first present one winning; nullptr when the system has no such type.
// L, D and S of a band share one list: they come from the signal chosen for the band's phase.
const char* rinex2Candidates(char system, Rinex2Type type);

// Anti-spoofing: values taken from these codes (P(Y) tracked as Z or by cross-correlation)
// carry LLI bit 2 on P1, P2, L1 and L2.
bool isAntiSpoofingCode(char system, const char* code);

// The canonical order of 2.11 types: C1 P1 L1 D1 S1 C2 P2 L2 D2 S2 C5 L5 D5 S5 C7 ... C6 L6 D6 S6.
const std::vector<Rinex2Type>& rinex2CanonicalTypes();

// The file's type list, fixed before the first epoch: the canonical types that a signal of
// the given systems can feed, the signals being every one the board's signal table lists plus
// the preset codes.
std::vector<Rinex2Type> rinex2TypeList(const QByteArray& systems, const QMap<char, QList<QByteArray>>& presetCodes);

} // namespace rinex
