// SPDX-License-Identifier: MIT
#pragma once
// GPS time as seconds since 1980-01-06 00:00:00, and its calendar form.
#include <string>

namespace quality {

// Seconds since the GPS epoch of a calendar date and time (no leap seconds applied).
double gpsSecondsOf(int year, int month, int day, int hour, int minute, double second);
// "2020-06-25T00:00:00Z"-style text (GPS time), fractions of a second kept to ms when present.
std::string isoTime(double gpsSeconds);
// Seconds of the GPS week.
double secondsOfWeek(double gpsSeconds);
int weekOf(double gpsSeconds);
// GPS - UTC in seconds at a GPS time (from 1999 on), for records that do not say it.
int gpsMinusUtcAt(double gpsSeconds);

} // namespace quality
