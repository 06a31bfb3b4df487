// SPDX-License-Identifier: MIT
#pragma once
// RINEX 2.11 navigation files: the GPS (N) and GLONASS (G) headers and the record line
// layouts (a 22-character epoch and clock line, orbit lines indented by three blanks).
// Galileo and BeiDou have no 2.11 navigation file.
#include <cstddef>

#include "gnss/gps_calendar.h"
#include "rinex/navigation_writer.h"

class QIODevice;

namespace rinex {

// "%2d %02d %2d %2d %2d %2d%5.1f" (satellite without system letter, two-digit year) and three
// D19.12 values. Returns the characters written (no line end), 0 when the satellite or a
// date field does not fit its columns.
int formatRinex2FirstLine(char* out, size_t capacity, int satellite, const gnss::CalendarTime& c, double v0,
                          double v1, double v2);
// Three blanks and four D19.12 values (no line end); the characters written.
int formatRinex2OrbitLine(char* out, size_t capacity, const double values[4]);

// The 2.11 header over the reservation of the GPS ('N') or GLONASS ('G') navigation file:
// version and file type, program line, the converter comment, then for GPS ION ALPHA,
// ION BETA, DELTA-UTC: A0,A1,T,W and LEAP SECONDS, for GLONASS LEAP SECONDS.
bool writeNavigationHeader211(QIODevice* file, char kind, const NavigationHeaderInfo& info);

} // namespace rinex
