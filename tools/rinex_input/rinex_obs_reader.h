// SPDX-License-Identifier: MIT
#pragma once
// Reader of RINEX 3 observation files: the header, then one epoch at a time.
#include <array>
#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace rinex_input {

struct ObsTime {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0;
    std::string timeSystem; // header times only ("GPS", "GLO", ...); may be empty
};

struct ObsHeader {
    double version = 0;
    char fileType = ' '; // 'O'
    char satelliteSystem = ' ';
    std::string program, runBy, date;
    std::string markerName, markerNumber, markerType;
    std::string observer, agency;
    std::string receiverNumber, receiverType, receiverVersion;
    std::string antennaNumber, antennaType;
    bool hasApproxPosition = false;
    std::array<double, 3> approxPosition{}; // X, Y, Z in metres
    std::array<double, 3> antennaDeltaHen{};
    std::map<char, std::vector<std::string>> obsTypes; // per system letter, e.g. 'G' -> {"C1C", "L1C", ...}
    double interval = 0;                               // s, 0 when absent
    bool hasFirstObs = false, hasLastObs = false;
    ObsTime firstObs, lastObs;
    bool hasLeapSeconds = false;
    int leapSeconds = 0;
    std::string signalStrengthUnit;
    std::map<int, int> glonassSlots; // slot number -> frequency channel
    std::vector<std::string> comments;
    // Every header line as (label, first 60 characters), "END OF HEADER" excluded.
    std::vector<std::pair<std::string, std::string>> lines;

    // Column of an observation type (e.g. "L1C") for a system, -1 when not listed.
    int typeIndex(char system, const std::string& type) const;
};

struct ObsValue {
    bool present = false; // false for a blank field
    double value = 0;
    int lli = -1; // loss-of-lock indicator digit, -1 when blank
    int ssi = -1; // signal-strength digit, -1 when blank
};

struct SatelliteObs {
    char system = ' ';
    int number = 0;
    std::vector<ObsValue> values; // in the order of the header's types for the system
};

struct ObsEpoch {
    ObsTime time;
    int week = 0;                          // GPS week, from the calendar without leap seconds
    uint32_t msOfWeek = 0;                 // milliseconds of week, rounded
    double secondsOfWeek = 0;              // exact seconds of week
    int flag = 0;                          // epoch flag 0..6
    double clockOffset = 0;                // s, 0 when absent
    std::vector<SatelliteObs> satellites;  // flags 0, 1 and 6
    std::vector<std::string> eventRecords; // flags 2..5: the special lines that follow

    const SatelliteObs* find(char system, int number) const;
};

// Week and milliseconds of GPS week of a calendar time read as GPS time.
void gpsWeekOfCalendar(const ObsTime& time, int& week, double& secondsOfWeek);

class ObsReader {
public:
    // Reads the header at once; throws std::runtime_error when it is not a RINEX 3
    // observation header.
    explicit ObsReader(std::istream& in);
    const ObsHeader& header() const { return header_; }
    // Next epoch record; false at the end of the data. Throws std::runtime_error on a
    // malformed record.
    bool next(ObsEpoch& epoch);

private:
    std::istream& in_;
    ObsHeader header_;
    int lineNumber_ = 0;
    bool getLine(std::string& line);
};

struct ObsFile {
    ObsHeader header;
    std::vector<ObsEpoch> epochs;
};

// Whole file (or its first maxEpochs epochs). Throws std::runtime_error on failure.
ObsFile readObsFile(const std::string& path, size_t maxEpochs = SIZE_MAX);

} // namespace rinex_input
