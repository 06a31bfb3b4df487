// SPDX-License-Identifier: MIT
#pragma once
// A small, strict reader of RINEX 2.11 observation and navigation files, written for the
// tests only (independent of the writer's code): every line is checked against the 2.11
// column layouts, and any deviation throws std::runtime_error naming the line.
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace rinex2test {

struct Time {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0;
};

struct Field {
    bool present = false;
    double value = 0;
    int lli = -1; // digit, -1 when blank
    int ssi = -1;
};

struct Satellite {
    char system = ' ';
    int number = 0;
    std::vector<Field> fields; // one per header type
};

struct Epoch {
    Time time;
    bool hasTime = false; // blank date fields are allowed in event records
    int flag = 0;
    std::vector<Satellite> satellites;   // flags 0, 1
    std::vector<std::string> eventLines; // flags 2..5: the records that follow
};

struct ObsFile {
    double version = 0;
    char fileType = ' ';
    char system = ' ';
    std::vector<std::string> types;
    // Every header line as (label, columns 1-60), END OF HEADER excluded.
    std::vector<std::pair<std::string, std::string>> header;
    std::vector<std::string> comments;
    std::vector<Epoch> epochs;

    int typeIndex(const std::string& type) const;
    std::vector<std::string> labelled(const std::string& label) const;
};

ObsFile readObservation(const std::string& text);

struct NavRecord {
    int satellite = 0;
    Time epoch;
    // The three values of the first line, then four per orbit line (blank fields absent).
    std::vector<std::optional<double>> values;
    size_t orbitLines() const { return (values.size() - 3) / 4; }
};

struct NavFile {
    double version = 0;
    char fileType = ' '; // 'N' or 'G'
    std::vector<std::pair<std::string, std::string>> header;
    std::vector<NavRecord> records;

    std::vector<std::string> labelled(const std::string& label) const;
};

NavFile readNavigation(const std::string& text);

// Splits text into lines without their CR LF; every line must end in one.
std::vector<std::string> rinexLines(const std::string& text);

} // namespace rinex2test
