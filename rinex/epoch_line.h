// SPDX-License-Identifier: MIT
#pragma once
// The epoch line of an observation record (event flag 0).
#include "gnss/gps_calendar.h"

namespace rinex {

// "> %04d %02d %02d %02d %02d %2d.%03d0000  0%3d       0.000000000000\r\n" into line (at
// most capacity bytes with the terminating 0, like snprintf); returns what snprintf returns.
// One per epoch: written directly when every field has its usual width.
int formatEpochLine(char* line, int capacity, const gnss::CalendarTime& c, int second, int millisecond,
                    int satellites);

} // namespace rinex
