// SPDX-License-Identifier: MIT
#pragma once
// Header lines that every RINEX 2.11 file (observation and navigation) writes alike.
#include <QByteArray>
#include <cstddef>

namespace rinex {

// "PGM / RUN BY / DATE" with the current UTC time as "dd-mmm-yy hh:mm" (the form 2.11 gives
// for its navigation files, used for every 2.11 file), line end included; its length.
int formatRinex2RunByLine(char* line, size_t capacity, const QByteArray& program, const QByteArray& runBy);

// The COMMENT text of a 2.11 observation header, and the converter's message, when Galileo
// or BeiDou navigation records are dropped: 2.11 has no navigation file for them.
extern const char* const kRinex2NavigationComment;
extern const char* const kRinex2NavigationMessage;

} // namespace rinex
