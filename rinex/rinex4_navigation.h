// SPDX-License-Identifier: MIT
#pragma once
// Pieces of RINEX 4.00 navigation files: record lead lines, line ends, the BeiDou message
// name and the header. The ION and STO records are NavigationWriter::writeIonoUtc.
#include <cstddef>

#include "rinex/navigation_writer.h"

class QIODevice;

namespace rinex {

// "> EPH G02 LNAV\r\n": record type, satellite (letter and two digits) and message type.
// Returns the characters written.
int formatLeadLine(char* out, size_t capacity, const char* type, char system, int satellite,
                   const char* message);

// Drops the blanks before each "\r\n" of the text; returns the new length.
int trimLineEnds(char* text, int length);

// BeiDou GEO satellites (C01-C05, C59-C63) broadcast D2 messages, the others D1.
const char* beidouMessageType(unsigned satellite);

// The 4.00 header over the reservation: version and system ("G: GPS", ..., "M: MIXED" for
// kind 'P'), program line, LEAP SECONDS (not in GLONASS-only files) and the converter comment.
// No IONOSPHERIC CORR or TIME SYSTEM CORR lines: 4.00 keeps those values in ION/STO records.
bool writeNavigationHeader400(QIODevice* file, char kind, const NavigationHeaderInfo& info);

} // namespace rinex
