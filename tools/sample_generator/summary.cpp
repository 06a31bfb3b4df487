// SPDX-License-Identifier: MIT
#include "sample_generator/summary.h"

namespace sample_generator {

namespace {

void printCounts(std::ostream& out, const std::map<std::string, size_t>& counts, const char* separator) {
    bool first = true;
    for (const auto& [name, n] : counts) {
        out << (first ? "" : separator) << name << " " << n;
        first = false;
    }
}

} // namespace

void printSummary(std::ostream& out, const std::string& outputPath, const Summary& s) {
    out << "wrote " << outputPath << ": " << s.totalBytes << " bytes";
    if (s.headerBytes) out << " (file header " << s.headerBytes << " bytes)";
    out << "\n  epochs: " << s.epochs << ", " << s.firstEpoch << " to " << s.lastEpoch << " GPS time";
    if (s.otherRecords) out << " (" << s.otherRecords << " event records passed over)";
    out << "\n  frames: ";
    printCounts(out, s.framesPerLog, ", ");
    out << "\n  signals encoded: " << s.signalsEncoded;
    if (s.cn0Clamped) out << " (C/N0 clamped to 20..51 dB-Hz in " << s.cn0Clamped << ")";
    out << "\n";
    if (!s.skipped.noTableRow.empty()) {
        out << "  signals skipped, no row in the signal table: ";
        printCounts(out, s.skipped.noTableRow, ", ");
        out << "\n";
    }
    for (const auto& [reason, n] : s.skipped.other)
        out << "  signals skipped, " << reason << ": " << n << "\n";
    for (const auto& [reason, n] : s.omitted)
        out << "  signals left out of the log, " << reason << ": " << n << "\n";
    for (const auto& [reason, n] : s.navSkipped)
        out << "  navigation records skipped, " << reason << ": " << n << "\n";
    if (s.ppkMarkers)
        out << "  PPK occupations: " << s.ppkMarkers << ", sentences: " << s.ppkSentences << "\n";
    if (s.junkRuns || s.noteLines)
        out << "  noise: " << s.junkRuns << " junk runs (" << s.junkBytes << " bytes), " << s.noteLines
            << " note lines\n";
    if (!s.corrupted.empty()) {
        out << "  frames with a spoiled CRC: ";
        printCounts(out, s.corrupted, ", ");
        out << "\n";
    }
    for (const std::string& w : s.warnings)
        out << "  warning: " << w << "\n";
}

} // namespace sample_generator
