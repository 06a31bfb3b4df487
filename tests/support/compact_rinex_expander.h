// SPDX-License-Identifier: MIT
#pragma once
// A small Compact RINEX decompressor (versions 1.0 and 3.0), written for the tests only:
// it rebuilds the plain observation file from a compressed text, independently of the
// compressor's code. Its output is what the public decompressor prints: LF line ends, no
// trailing blanks, numbers below 1 without their leading zero (0.138 -> .138, -0.000 -> .000,
// a clock 0.000123456789 -> .000123456789).
#include <string>

namespace testsupport {

// False with a message in *error when the compressed text is malformed.
bool expandCompactRinex(const std::string& compact, std::string* plain, std::string* error);

// The plain text as the expander gives it back: CRs and trailing blanks removed, and every
// observation value (F14.3 fields of the satellite records) and receiver clock offset
// below 1 in magnitude written without its leading zero, as described above.
std::string normalisedPlainRinex(const std::string& plain);

} // namespace testsupport
