// SPDX-License-Identifier: MIT
#pragma once
// What the writer puts into the observation records, handed on in binary form as it is
// written, so that a quality check can follow a conversion without reading its text back.
// With an output thread, the decoding thread tells the observer each epoch as it hands the
// epoch over (the calls and their order are the same), so that the observer's work does not
// hold up the formatting; an observer may share its work with the output thread (below).
// Plain C++: the observer side needs no Qt.
#include <cstdint>

namespace rinex {

// One signal column of a satellite line as written: its four fields (code, phase, Doppler,
// strength) as the 14-character form gives them, without the text. No initial values: the
// writer clears ({}) only the columns a line uses.
struct ObservedColumn {
    uint8_t fields;     // bit k: field k holds a value (the form does not leave it blank)
    uint8_t lossOfLock; // bit k: field k's loss-of-lock digit is 1
    uint8_t negative;   // bit k: field k's value is negative
    // Field k's magnitude in thousandths as the form rounds it (rinex::fixed14Thousandths),
    // where bit k of fields is set.
    int64_t thousandths[4];
};

// Field `kind` of a column from a value and its magnitude in thousandths as the 14-character
// form rounds it (-1: the form leaves the field blank, and the column holds nothing of it).
inline void observeField(ObservedColumn& column, int kind, bool lossOfLock, double value,
                         int64_t thousandths) {
    if (thousandths < 0) return;
    // Without branches on the flags: signs and loss of lock follow the data.
    column.fields |= uint8_t(1u << kind);
    column.lossOfLock |= uint8_t(unsigned(lossOfLock) << kind);
    column.negative |= uint8_t(unsigned(value < 0) << kind);
    column.thousandths[kind] = thousandths;
}

class EpochObserver {
public:
    virtual ~EpochObserver() = default;
    // An observation epoch record (flag 0): its time and the count of satellite lines that
    // follow, each handed over by satellite() with its signal columns: column c at columns[c]
    // where bit c of `used` is set (a column with at least one field that is not blank).
    virtual void epoch(int64_t gpsMilliseconds, int satellites) = 0;
    virtual void satellite(char system, int number, const ObservedColumn* columns, uint64_t used) = 0;
    // A line of an event record (the epoch line first) as written, without its line end.
    virtual void eventLine(const char* text, int length) = 0;
    // Column `column` of the system's satellite lines holds the fields of the signal band +
    // attribute, as the header's observation types will name it; told before the first
    // satellite line that has the column. Unused by default.
    virtual void signalColumn(char system, int column, char band, char attribute) {
        (void)system, (void)column, (void)band, (void)attribute;
    }
    // The frequency channel of a GLONASS slot as the header will list it (the last one told),
    // told before the first line of the slot that has it and again whenever it changes.
    virtual void glonassChannel(int slot, int channel) { (void)slot, (void)channel; }

    // With an output thread the observer may take the satellite lines of some systems on that
    // thread, as they are formatted, where their values are at hand anyway: the writer asks
    // once, when it opens the files with the observer set. formattingSide() is then told,
    // on the output thread, epoch() for every observation epoch and signalColumn(),
    // glonassChannel() and satellite() for the lines of the systems formattedSystems() names
    // (a bit per letter from 'A'), in order; this observer is told satelliteElsewhere() in
    // place of each of those lines. No side by default.
    virtual EpochObserver* formattingSide() { return nullptr; }
    virtual uint32_t formattedSystems() const { return 0; }
    virtual void satelliteElsewhere(char system, int number) { (void)system, (void)number; }
};

} // namespace rinex
