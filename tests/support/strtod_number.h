// SPDX-License-Identifier: MIT
#pragma once
// The reading of a RINEX number field that the quality reader's own parser must match bit
// for bit: trimmed, 'D' exponents as 'E', then strtod, finite values only. Shared by the
// parser's tests and its fuzz target.
#include <cmath>
#include <cstdlib>
#include <string>

#include "quality/text_fields.h"

namespace testsupport {

inline bool strtodNumber(const std::string& text, double& value) {
    const std::string t = quality::trimmed(text);
    if (t.empty() || t.size() > 40) return false;
    std::string e = t;
    for (char& c : e)
        if (c == 'D' || c == 'd') c = 'E';
    char* end = nullptr;
    const double v = std::strtod(e.c_str(), &end);
    if (end == e.c_str() || *end != '\0' || !std::isfinite(v)) return false;
    value = v;
    return true;
}

} // namespace testsupport
