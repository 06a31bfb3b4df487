// SPDX-License-Identifier: MIT
// The Compact RINEX encoder on arbitrary text; whatever it accepts must expand back.
#include "targets.h"

#include <exception>

#include "compression/compact_rinex.h"
#include "support/compact_rinex_expander.h"

namespace fuzzing {

std::string runCompactRinex(const uint8_t* data, size_t size) {
    const char* text = reinterpret_cast<const char*>(data);
    std::string compact, error;
    if (!compression::compactRinexText(text, size, &compact, &error)) {
        if (error.empty()) return "refused without a message";
        return {};
    }
    if (compact.empty() || compact.back() != '\n') return "output does not end in a line feed";
    size_t start = 0;
    while (start < compact.size()) {
        const size_t lf = compact.find('\n', start);
        if (lf > start && (compact[lf - 1] == ' ' || compact[lf - 1] == '\r'))
            return "output line ends in a blank or carriage return";
        if (lf - start > 2046) return "output line longer than 2046 characters";
        start = lf + 1;
    }
    std::string plain;
    try {
        if (!testsupport::expandCompactRinex(compact, &plain, &error)) return "output does not expand: " + error;
        if (plain != testsupport::normalisedPlainRinex(std::string(text, size)))
            return "output expands to another text";
    } catch (const std::exception& e) {
        return std::string("output breaks the expander: ") + e.what();
    }
    return {};
}

} // namespace fuzzing
