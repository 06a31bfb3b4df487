// SPDX-License-Identifier: MIT
#pragma once
// Values with a special meaning inside the writer. The options still arrive as text (see
// params/apply_options.cpp); these name what the numbers mean once they are set.
#include <QtGlobal>

namespace rinex {

// The leap seconds (GPS - UTC) stay at this value until the stream tells them: a GLONASS
// record's time offset or, for the observation header, a UTC or time log. A file written
// while they are unknown has no LEAP SECONDS line.
constexpr qint32 kUnknownLeapSeconds = 99;

// The PPK mode chooses which epochs go to the observation file; the option's text is the
// number.
enum PpkMode : int {
    PpkNone = 1, // every epoch; the marker sentences are ignored
    PpkOnly = 2, // only the confirmed marker samples
    PpkMix = 3,  // the epochs outside a marker in progress, plus the samples
};

// A RINEX header line: 60 columns of data, a 20-column label and CR LF.
constexpr int kHeaderLineBytes = 82;
// The observation file reserves this many blank COMMENT lines at open and writes its header
// over them at close; the navigation files reserve fewer, their headers being short.
constexpr int kObservationReservedLines = 64;
constexpr int kNavigationReservedLines = 8;

} // namespace rinex
