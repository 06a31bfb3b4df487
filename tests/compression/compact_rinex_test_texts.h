// SPDX-License-Identifier: MIT
#pragma once
// Hand-made RINEX observation texts for the compression tests.
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

namespace crxtest {

// A header line: text padded to 60 columns, then the label.
inline std::string headerLine(const std::string& text, const std::string& label) {
    std::string line = text;
    line.resize(60, ' ');
    return line + label + "\n";
}

inline std::string header3(const std::vector<std::string>& typeLines) {
    std::string h = headerLine("     3.04           OBSERVATION DATA    M", "RINEX VERSION / TYPE");
    h += headerLine("TESTGEN             TEST                20240101 000000 UTC", "PGM / RUN BY / DATE");
    h += headerLine("TEST", "MARKER NAME");
    for (const std::string& t : typeLines) h += headerLine(t, "SYS / # / OBS TYPES");
    h += headerLine("", "END OF HEADER");
    return h;
}

// One observation field: a value (empty = blank) in F14.3 and its two flag characters.
struct Field {
    std::string value; // as the text should show it, right-aligned into 14 columns
    char lli = ' ';
    char ssi = ' ';
};

inline std::string fields(std::initializer_list<Field> list) {
    std::string s;
    for (const Field& f : list) {
        std::string v = f.value;
        if (v.size() < 14) v.insert(0, 14 - v.size(), ' ');
        s += v;
        s += f.lli;
        s += f.ssi;
    }
    return s;
}

// "> yyyy mm dd hh mm ss.sssssss  F NNN" with an optional clock field (F15.12 text).
inline std::string epoch3(int second, int flag, int count, const std::string& clock = "") {
    char line[80];
    std::snprintf(line, sizeof line, "> 2018 07 19 00 %02d %2d.0000000  %d%3d", second / 60, second % 60, flag, count);
    std::string s = line;
    if (!clock.empty()) {
        s += "      ";
        std::string c = clock;
        if (c.size() < 15) c.insert(0, 15 - c.size(), ' ');
        s += c;
    }
    return s + "\n";
}

inline std::string trimmedLines(const std::string& text) {
    std::string out;
    size_t start = 0;
    while (start < text.size()) {
        size_t lf = text.find('\n', start);
        if (lf == std::string::npos) lf = text.size();
        std::string line = text.substr(start, lf - start);
        while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.pop_back();
        out += line + "\n";
        start = lf + 1;
    }
    return out;
}

// Lines of a text, LF removed.
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t lf = text.find('\n', start);
        if (lf == std::string::npos) lf = text.size();
        lines.push_back(text.substr(start, lf - start));
        start = lf + 1;
    }
    return lines;
}

// The compressed body: everything after END OF HEADER.
inline std::vector<std::string> bodyOf(const std::string& compact) {
    std::vector<std::string> lines = linesOf(compact);
    size_t i = 0;
    while (i < lines.size() && lines[i].find("END OF HEADER") == std::string::npos) ++i;
    return std::vector<std::string>(lines.begin() + long(i < lines.size() ? i + 1 : i), lines.end());
}

} // namespace crxtest
