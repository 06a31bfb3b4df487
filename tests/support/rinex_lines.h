// SPDX-License-Identifier: MIT
#pragma once
// RINEX text in the tests: its lines, and its header with the run date masked.
#include <sstream>
#include <string>
#include <vector>

namespace testsupport {

// The lines of a text, without their line ends.
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

// The header lines up to END OF HEADER, with the run date (columns 41-60 of PGM / RUN BY /
// DATE) masked: it is the one field that changes from run to run.
inline std::vector<std::string> headerOf(const std::string& text) {
    std::vector<std::string> header;
    for (std::string line : linesOf(text)) {
        if (line.size() >= 80 && line.compare(60, 19, "PGM / RUN BY / DATE") == 0)
            line.replace(40, 20, std::string(20, '#'));
        header.push_back(line);
        if (line.size() >= 73 && line.compare(60, 13, "END OF HEADER") == 0) break;
    }
    return header;
}

} // namespace testsupport
