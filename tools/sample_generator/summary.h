// SPDX-License-Identifier: MIT
#pragma once
// What the generator wrote and what it left out, printed on stderr.
#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "sample_generator/observation_signals.h"

namespace sample_generator {

struct Summary {
    size_t headerBytes = 0;
    size_t totalBytes = 0;
    size_t epochs = 0;
    std::string firstEpoch, lastEpoch;          // calendar, GPS time
    size_t otherRecords = 0;                    // RINEX event and cycle-slip records passed over
    std::map<std::string, size_t> framesPerLog; // log name -> frames, spoiled ones included
    size_t signalsEncoded = 0;
    SignalSkips skipped;                      // before encoding
    std::map<std::string, size_t> omitted;    // encoder's reason -> signals
    size_t cn0Clamped = 0;                    // compressed logs: C/N0 outside 20..51 dB-Hz
    std::map<std::string, size_t> navSkipped; // reason -> records
    size_t ppkMarkers = 0, ppkSentences = 0;
    size_t junkRuns = 0, junkBytes = 0, noteLines = 0;
    std::map<std::string, size_t> corrupted; // log name -> frames with a spoiled CRC
    std::vector<std::string> warnings;
};

void printSummary(std::ostream& out, const std::string& outputPath, const Summary& s);

} // namespace sample_generator
