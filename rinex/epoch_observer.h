// SPDX-License-Identifier: MIT
#pragma once
// What the writer puts into the observation records, handed on in binary form as it is
// written, so that a quality check can follow a conversion without reading its text back.
// Plain C++: the observer side needs no Qt.
#include <cstdint>

namespace rinex {

class EpochObserver {
public:
    virtual ~EpochObserver() = default;
    // An observation epoch record (flag 0): its time and the count of satellite lines that
    // follow, each announced by satellite() and followed by its values.
    virtual void epoch(int64_t gpsMilliseconds, int satellites) = 0;
    virtual void satellite(char system, int number) = 0;
    // One observation field of the current satellite line: its index in the line (four per
    // signal column: code, phase, Doppler, strength), the value given to the 14-character
    // form (which may still leave it blank), and the loss-of-lock digit (0 or 1).
    virtual void value(int field, double value, int lossOfLock) = 0;
    // A line of an event record (the epoch line first) as written, without its line end.
    virtual void eventLine(const char* text, int length) = 0;
};

} // namespace rinex
