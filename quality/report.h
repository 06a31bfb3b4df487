// SPDX-License-Identifier: MIT
#pragma once
// Everything a quality check finds, ready for the text, JSON and HTML writers.
#include <array>
#include <map>
#include <string>
#include <vector>

#include "quality/broadcast_orbits.h"

namespace quality {

struct Gap {
    double start = 0, end = 0; // GPS seconds: last epoch before, first epoch after
    long missingEpochs = 0;
};

struct SignalSummary {
    long observations = 0; // epochs with any observation of the signal
    double cn0Mean = 0;    // dB-Hz, 0 without signal-strength values
    long cn0Count = 0;
    bool hasCompleteness = false;
    double completeness = 0; // observations above the mask / expected
};

struct SatelliteSummary {
    char system = 'G';
    int number = 0;
    long epochs = 0;
    long slips = 0, lliSlips = 0, gfSlips = 0, mwSlips = 0;
    // Plot data (bounded): tracked runs, slip times, sky track (azimuth, elevation in degrees).
    std::vector<std::pair<double, double>> runs;
    std::vector<double> slipTimes;
    std::vector<std::array<double, 2>> sky;
};

struct SystemSummary {
    int satellites = 0;
    std::map<std::string, long> observations;      // RINEX code -> count
    std::map<std::string, SignalSummary> signals;  // band + attribute ("1C") -> summary
    long slips = 0;
    long phaseEpochs = 0; // satellite epochs with a phase observation
    std::map<char, double> multipathRms; // frequency digit -> m
    std::map<char, long> multipathCount;
};

struct PositionSummary {
    bool valid = false;
    Vec3 mean{};
    double lat = 0, lon = 0, height = 0; // degrees, m
    long epochs = 0;
    double rms3d = 0;
    double pdopMedian = 0;
    double satellitesMean = 0;
    bool hasHeaderOffset = false;
    double headerOffset = 0; // m
    bool headerOffsetFlagged = false;
};

struct Occupation {
    std::string name, number;
    double start = 0, end = 0;
    long epochs = 0;
    int satsMin = 0;
    double satsMean = 0;
    bool hasPosition = false;
    Vec3 position{};
    long positionEpochs = 0;
};

struct EpochSample {
    double time = 0;
    int satellites = 0;
    int used = 0;
    double pdop = 0;
    bool hasFix = false;
    Vec3 position{};
};

struct Cn0Curve {
    char system = 'G';
    std::string signal;
    std::array<double, 18> mean{}; // per 5-degree elevation bin, 0 when empty
    std::array<long, 18> count{};
};

struct Report {
    std::string markerName, markerNumber, receiverType, antennaType;
    bool hasHeaderPosition = false;
    Vec3 headerPosition{};
    long epochs = 0;
    double interval = 0;
    double first = 0, last = 0;
    std::vector<Gap> gaps;
    long gapCount = 0;
    std::map<char, SystemSummary> systems;
    std::vector<SatelliteSummary> satellites;
    bool hasNavigation = false;
    bool hasCompleteness = false;
    PositionSummary position;
    std::vector<Occupation> occupations;
    std::vector<EpochSample> samples;
    std::vector<Cn0Curve> cn0Curves;
    double elevationMask = 10;
    std::vector<std::string> messages; // what could not be computed, and why
    // Why there is no position, in a few words (empty when there is one, or no epochs).
    std::string positionProblem;
};

} // namespace quality
