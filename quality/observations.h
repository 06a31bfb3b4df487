// SPDX-License-Identifier: MIT
#pragma once
// What the quality check is fed: one observation epoch at a time, in the terms of a RINEX 3
// observation record (system letter, satellite number, three-character observation codes).
#include <array>
#include <map>
#include <string>
#include <vector>

namespace quality {

struct Observation {
    char type = 'C';      // 'C' code, 'L' phase, 'D' Doppler, 'S' signal strength
    char band = '1';      // frequency band digit
    char attribute = 'C'; // tracking mode / channel letter
    double value = 0;     // m, cycles, Hz or dB-Hz
    int lli = 0;          // loss-of-lock indicator, 0 when blank
};

struct SatelliteObservations {
    char system = 'G'; // 'G', 'R', 'E', 'C', 'J', 'I', 'S'
    int number = 0;    // 1..63
    std::vector<Observation> observations; // present values only
};

struct Epoch {
    double time = 0; // GPS time, seconds since 1980-01-06 00:00:00
    int flag = 0;    // RINEX epoch flag 0..6
    // Flags 0, 1 and 6: the satellites; only the first satelliteCount entries are valid
    // (the vector keeps its capacity from epoch to epoch).
    std::vector<SatelliteObservations> satellites;
    size_t satelliteCount = 0;
    // Flags 2..5: the header-style lines that follow the event (e.g. MARKER NAME).
    std::vector<std::string> eventLines;
};

struct ObservationHeader {
    double version = 0;
    std::string markerName, markerNumber, receiverType, antennaType;
    bool hasApproxPosition = false;
    std::array<double, 3> approxPosition{}; // ECEF, m
    std::map<char, std::vector<std::string>> obsTypes;
    double interval = 0;         // s, 0 when absent
    std::map<int, int> glonassChannels; // slot -> frequency channel
    int leapSeconds = -1;        // -1 when absent
};

} // namespace quality
