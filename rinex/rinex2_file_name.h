// SPDX-License-Identifier: MIT
#pragma once
// RINEX 2.11 short file names: ssssdddf.yyt.
#include <QString>

#include "rinex/long_file_name.h"

namespace rinex {

// ssss: the long names' station field in lower case (first four letters or digits of the
// marker name, padded with '0'; "xxxx" without any); ddd: day of year of the first epoch
// (else of the first navigation record, else of the conversion); f: '0' for a file that
// starts at 00:00:00 and spans the whole day, else 'a' ... 'x' for the starting hour; yy: the
// year's last two digits; t: the file-type letter (O, N, G).
QString rinex2ShortName(const LongNameFacts& facts, char type);

// The session character of a file starting at first (ms since 1970) and spanning span ms.
char rinex2Session(qint64 first, qint64 span);

} // namespace rinex
