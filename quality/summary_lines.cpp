// SPDX-License-Identifier: MIT
#include "quality/summary_lines.h"

#include <cstdio>

#include "quality/gnss_time.h"

namespace quality {

namespace {

std::string format(const char* f, double v) {
    char b[64];
    std::snprintf(b, sizeof b, f, v);
    return b;
}

} // namespace

std::vector<std::string> summaryLines(const Report& r) {
    std::vector<std::string> lines;
    if (r.epochs > 0) {
        lines.push_back("Span " + isoTime(r.first) + " to " + isoTime(r.last) + " (" + format("%.0f", r.last - r.first) +
                        " s)");
        // One epoch has no interval.
        lines.push_back("Epochs " + std::to_string(r.epochs) +
                        (r.interval > 0 ? " at " + format("%g", r.interval) + " s" : std::string()) + ", " +
                        std::to_string(r.gapCount) + (r.gapCount == 1 ? " gap" : " gaps"));
    } else {
        lines.push_back("Span: no observation epochs");
    }
    if (!r.systems.empty()) {
        std::string line = "Satellites";
        for (const auto& [letter, system] : r.systems)
            line += std::string(line.size() > 10 ? ", " : " ") + letter + " " + std::to_string(system.satellites);
        lines.push_back(line);
    }
    const PositionSummary& p = r.position;
    if (p.valid) {
        std::string line = "Position " + format("%.8f", p.lat) + " " + format("%.8f", p.lon) + " " +
                           format("%.3f", p.height) + " m (" + std::to_string(p.epochs) + " epochs, scatter " +
                           format("%.2f", p.rms3d) + " m)";
        if (p.hasHeaderOffset)
            line += ", header position " + format("%.2f", p.headerOffset) + " m off" +
                    (p.headerOffsetFlagged ? " - check it" : "");
        lines.push_back(line);
    } else {
        lines.push_back("Position not computed" + (r.positionProblem.empty() ? std::string() : ": " + r.positionProblem));
    }
    if (r.occupations.empty()) {
        lines.push_back("Occupations none");
    } else {
        std::string line = "Occupations " + std::to_string(r.occupations.size()) + ":";
        size_t shown = 0;
        for (const Occupation& o : r.occupations) {
            if (shown == 5) {
                line += " ...";
                break;
            }
            line += std::string(shown ? ", " : " ") + (o.name.empty() ? "?" : o.name) + " " +
                    format("%.0f", o.end - o.start) + " s";
            ++shown;
        }
        lines.push_back(line);
    }
    return lines;
}

} // namespace quality
