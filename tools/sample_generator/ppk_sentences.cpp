// SPDX-License-Identifier: MIT
#include "sample_generator/ppk_sentences.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "decoding/text_sentence.h"

namespace sample_generator {

namespace {

std::string withChecksum(const std::string& body) {
    char buffer[600];
    if (body.size() > 500) throw std::length_error("PPK sentence too long");
    std::snprintf(buffer, sizeof buffer, "%s", body.c_str());
    decoding::appendNmeaChecksum(buffer, int(body.size()), int(sizeof buffer));
    return buffer;
}

// Seconds of week as text whose value, times 1000 and truncated, gives back the milliseconds
// (the test the reader makes); a plain "%.3f" can fall just below for some values.
std::string secondsText(uint32_t millisecondsOfWeek) {
    char text[32];
    std::snprintf(text, sizeof text, "%u.%03u", millisecondsOfWeek / 1000, millisecondsOfWeek % 1000);
    std::string s = text;
    if (uint32_t(std::strtod(s.c_str(), nullptr) * 1000.0) != millisecondsOfWeek) s += "0001";
    return s;
}

} // namespace

std::string markerBegin(const MarkerOccupation& m) {
    char numbers[256];
    std::snprintf(numbers, sizeof numbers, ",0,0,%.4f,%.9f,%.9f,%.4f,%.4f,%.4f,%.4f", m.antennaHeight,
                  m.ground.latitude, m.ground.longitude, m.ground.height, m.xyz[0], m.xyz[1], m.xyz[2]);
    return withChecksum("$PPK,MARKER-BEGIN," + std::to_string(m.id1) + "," + std::to_string(m.id2) + "," +
                        std::to_string(m.index) + "," + m.name + "," + m.number + numbers);
}

std::string markerSample(const MarkerOccupation& m, int sample, int week, uint32_t millisecondsOfWeek) {
    return withChecksum("$PPK,MARKER-SAMPLE," + std::to_string(m.id1) + "," + std::to_string(m.id2) + "," +
                        std::to_string(sample) + "," + std::to_string(week) + "," +
                        secondsText(millisecondsOfWeek));
}

std::string markerEnd(const MarkerOccupation& m) {
    return withChecksum("$PPK,MARKER-END," + std::to_string(m.id1) + "," + std::to_string(m.id2));
}

} // namespace sample_generator
