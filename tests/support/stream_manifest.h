// SPDX-License-Identifier: MIT
#pragma once
// Reader of the manifests that come with the board-format test streams (.json.gz):
// what a correct converter must find in a stream and produce from it.
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace testsupport {

// One board frame of the stream, valid or not.
struct ManifestFrame {
    int index = 0;
    uint64_t offset = 0; // of the first sync byte, from the start of the file
    uint32_t length = 0; // whole frame: sync, header, body, CRC
    uint16_t id = 0;
    uint16_t week = 0;
    uint32_t ms = 0;
};

// A frame whose CRC was spoiled on purpose: the synchroniser must reject it.
struct CorruptedFrame {
    int frame = 0; // index into frames
    uint64_t offset = 0;
    uint32_t length = 0;
    uint16_t id = 0;
    uint16_t week = 0;
    uint32_t ms = 0;
    std::string kind; // "obs" or "nav"
};

// Values of one satellite signal as the epoch writer receives them.
struct ObsValues {
    double pseudorange = 0;             // C, m
    std::optional<double> carrierPhase; // L, cycles as printed; empty = blank field
    double doppler = 0;                 // D, Hz (a single-precision value)
    double cn0 = 0;                     // S, dB-Hz (a single-precision value)
};

// Satellite ("G05") -> RINEX code ("1C") -> T.
template <typename T> using SatSignalMap = std::map<std::string, std::map<std::string, T>>;

struct ManifestEpoch {
    int index = 0;
    uint16_t week = 0;
    uint32_t ms = 0;
    std::string time; // "2018-07-19 00:00:00.000"
    int frame = -1;
    bool written = true; // false when the range log's frame was corrupted
    bool corrupted = false;
    std::optional<std::pair<int, int>> ppkSample; // (marker, sample number k)
    SatSignalMap<ObsValues> sats;
    SatSignalMap<double> phaseShiftCycles; // only for compressed logs that shift the phase
};

struct NavKey {
    char sys = 0;
    int number = 0; // the number the duplicate test keys on
    double referenceTime = 0;
};

// One navigation log of the stream, in stream order.
struct NavRecord {
    char sys = 0;
    int sat = 0;
    std::string log;
    int id = 0;
    std::array<double, 6> epoch{}; // year, month, day, hour, minute, second
    // First-line values, then every orbit line; empty = blank field.
    std::vector<std::vector<std::optional<double>>> lines;
    bool expectedWritten = false;
    bool corrupted = false;
    int frame = -1;
    uint16_t headerWeek = 0;
    uint32_t headerMs = 0;
    std::optional<NavKey> key;
    std::optional<uint16_t> refWeek;     // GLONASS
    std::optional<uint32_t> refMs;       // GLONASS
    std::optional<uint32_t> tk;          // GLONASS
    std::optional<int> rinexDataSources; // Galileo
    std::optional<int> rinexHealth;      // Galileo
    std::string source;
    std::string note;
};

struct IonUtcRecord {
    std::string log;
    int id = 0;
    std::array<double, 4> alpha{};
    std::array<double, 4> beta{};
    int utcWeek = 0;
    int utcTot = 0;
    double a0 = 0;
    double a1 = 0;
    std::array<int, 4> leapLine{}; // delta tLS, delta tLSF, week, day
    int frame = -1;
};

struct PpkSample {
    int k = 0;
    int epochIndex = 0;
    uint16_t week = 0;
    uint32_t ms = 0;
    std::string time;
};

struct PpkMarker {
    int marker = 0;
    int id1 = 0;
    int id2 = 0;
    std::string name;
    std::string number;
    double antennaHeight = 0;
    std::array<double, 3> xyz{};
    int beginEpochIndex = -1;
    int endAfterEpochIndex = -1;
    std::string beginSentence;
    std::vector<PpkSample> samples;
};

struct TextLine {
    uint64_t offset = 0; // of the first character of the text
    std::string kind;    // "note", "ppk-begin", "ppk-sample", "ppk-end"
    std::string text;    // without the line ending
};

struct ExpectedObsHeader {
    std::string markerName;
    std::string markerNumber;
    std::string markerType;
    std::array<std::string, 3> receiver; // number, type, version
    std::string antennaType;
    std::array<double, 3> antennaDeltaHen{};
    std::optional<std::string> antennaHeightComment;
    std::string approxPositionSource;
    std::array<double, 3> approxPositionXyz{};
    std::array<double, 3> rinexInputApproxPositionXyz{};
    std::vector<std::string> comments;
    int leapSeconds = 0;
    std::map<char, std::vector<std::string>> obsTypes; // per system, column order
    std::map<std::string, int> glonassSlots;           // "R03" -> frequency channel
    double interval = 0;                               // s
    std::string timeOfFirstObs;
    std::string timeOfLastObs;
};

// Bytes the stream carries besides the header, frames and listed text lines.
struct StreamNoise {
    int junkRuns = 0;
    uint64_t junkBytes = 0;
    int noteLines = 0;
};

struct StreamManifest {
    std::string stream; // .dat file name
    uint64_t size = 0;  // bytes
    std::string obsLog; // "RANGE (43)"
    int leapSeconds = 0;
    std::string headerKind; // "key", "legacy", "both", "none"
    uint64_t binaryOffset = 0;
    nlohmann::json headerValues;
    ExpectedObsHeader obsHeader;
    std::vector<ManifestEpoch> epochs;
    std::vector<NavRecord> nav;
    std::optional<IonUtcRecord> ionutc;
    std::vector<CorruptedFrame> corruptedFrames;
    std::vector<PpkMarker> ppk;
    std::vector<TextLine> textLines;
    std::vector<ManifestFrame> frames;
    StreamNoise noise;
    std::map<std::string, int> skippedSignals;
    std::map<std::string, int> notes;
    nlohmann::json document; // the whole manifest, for anything not mapped above
};

// Whole content of a gzip-compressed file; throws std::runtime_error on failure.
std::string readGzipFile(const std::string& path);

// Whole content of a plain file; throws std::runtime_error on failure.
std::string readBinaryFile(const std::string& path);

// Parses a manifest (.json.gz); throws std::runtime_error or a json exception.
StreamManifest loadStreamManifest(const std::string& path);

// Directory of the test streams and their manifests.
std::string streamDataDirectory();

} // namespace testsupport
