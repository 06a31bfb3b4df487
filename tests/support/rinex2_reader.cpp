// SPDX-License-Identifier: MIT
#include "support/rinex2_reader.h"

#include <cctype>
#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace rinex2test {

namespace {

[[noreturn]] void fail(size_t line, const std::string& what, const std::string& text) {
    throw std::runtime_error("line " + std::to_string(line + 1) + ": " + what + ": '" + text + "'");
}

std::string part(const std::string& line, size_t start, size_t length) {
    if (start >= line.size()) return std::string(length, ' ');
    std::string p = line.substr(start, length);
    p.resize(length, ' ');
    return p;
}

bool blank(const std::string& s) {
    return s.find_first_not_of(' ') == std::string::npos;
}

// Right-justified integer field (Iw); blank is not allowed.
int integer(const std::string& field, size_t line, const std::string& text) {
    const size_t first = field.find_first_not_of(' ');
    if (first == std::string::npos) fail(line, "blank integer field", text);
    for (size_t i = first; i < field.size(); ++i)
        if (!(std::isdigit(static_cast<unsigned char>(field[i])) || (i == first && field[i] == '-')))
            fail(line, "not an integer field '" + field + "'", text);
    return std::atoi(field.c_str() + first);
}

// Fw.d: right-justified, the point d places from the end.
double fixed(const std::string& field, int decimals, size_t line, const std::string& text) {
    const size_t point = field.size() - size_t(decimals) - 1;
    if (field[point] != '.') fail(line, "no decimal point in '" + field + "'", text);
    char* end = nullptr;
    const double v = std::strtod(field.c_str(), &end);
    if (end != field.c_str() + field.size() || field[0] == '.') fail(line, "bad number '" + field + "'", text);
    return v;
}

// Dw.d with a D exponent: " 0.445288605988D-04".
std::optional<double> exponent(const std::string& field, size_t line, const std::string& text) {
    if (blank(field)) return std::nullopt;
    const size_t d = field.find('D');
    if (d == std::string::npos || d + 4 != field.size() || (field[d + 1] != '+' && field[d + 1] != '-'))
        fail(line, "not a D exponent field '" + field + "'", text);
    std::string e = field;
    e[d] = 'E';
    char* end = nullptr;
    const double v = std::strtod(e.c_str(), &end);
    if (end != e.c_str() + e.size()) fail(line, "bad number '" + field + "'", text);
    return v;
}

int fourDigitYear(int twoDigits) {
    return twoDigits >= 80 ? 1900 + twoDigits : 2000 + twoDigits;
}

using Header = std::vector<std::pair<std::string, std::string>>;

// Header lines up to END OF HEADER; returns the index of the first line after it.
size_t readHeader(const std::vector<std::string>& lines, Header& header) {
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        if (line.size() < 61 || line.size() > 80) fail(i, "header line not 61-80 characters", line);
        std::string label = line.substr(60);
        label.erase(label.find_last_not_of(' ') + 1);
        if (label == "END OF HEADER") return i + 1;
        header.emplace_back(label, line.substr(0, 60));
    }
    throw std::runtime_error("no END OF HEADER");
}

std::vector<std::string> labelledIn(const Header& header, const std::string& label) {
    std::vector<std::string> found;
    for (const auto& line : header)
        if (line.first == label) found.push_back(line.second);
    return found;
}

} // namespace

std::vector<std::string> rinexLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find("\r\n", start);
        if (end == std::string::npos) throw std::runtime_error("last line without CR LF");
        const std::string line = text.substr(start, end - start);
        if (line.size() > 80) fail(lines.size(), "longer than 80 characters", line);
        if (line.find('\n') != std::string::npos) fail(lines.size(), "bare LF", line);
        lines.push_back(line);
        start = end + 2;
    }
    return lines;
}

int ObsFile::typeIndex(const std::string& type) const {
    for (size_t i = 0; i < types.size(); ++i)
        if (types[i] == type) return int(i);
    return -1;
}

std::vector<std::string> ObsFile::labelled(const std::string& label) const {
    return labelledIn(header, label);
}

std::vector<std::string> NavFile::labelled(const std::string& label) const {
    return labelledIn(header, label);
}

ObsFile readObservation(const std::string& text) {
    const std::vector<std::string> lines = rinexLines(text);
    ObsFile file;
    size_t i = readHeader(lines, file.header);
    if (file.header.empty() || file.header[0].first != "RINEX VERSION / TYPE")
        throw std::runtime_error("first line is not RINEX VERSION / TYPE");
    const std::string& first = file.header[0].second;
    file.version = fixed(part(first, 0, 9), 2, 0, first);
    if (!blank(part(first, 9, 11))) fail(0, "columns 10-20 not blank", first);
    file.fileType = first[20];
    file.system = first[40];
    // # / TYPES OF OBSERV: the count, then 9 types per line.
    int count = -1;
    for (size_t h = 0; h < file.header.size(); ++h) {
        const auto& line = file.header[h];
        if (line.first == "COMMENT") file.comments.push_back(line.second);
        if (line.first != "# / TYPES OF OBSERV") continue;
        if (count < 0)
            count = integer(part(line.second, 0, 6), h, line.second);
        else if (!blank(part(line.second, 0, 6)))
            fail(h, "continuation line with a count", line.second);
        for (int k = 0; k < 9 && int(file.types.size()) < count; ++k) {
            const std::string field = part(line.second, 6 + size_t(k) * 6, 6);
            if (!blank(field.substr(0, 4)) || blank(field.substr(4)))
                fail(h, "type field not 4X,2A1", line.second);
            file.types.push_back(field.substr(4));
        }
    }
    if (count < 0 || int(file.types.size()) != count) throw std::runtime_error("type list does not hold its count");
    const size_t linesPerSatellite = (file.types.size() + 4) / 5;

    while (i < lines.size()) {
        const std::string& line = lines[i];
        if (line.size() < 32) fail(i, "epoch line shorter than 32 characters", line);
        Epoch epoch;
        epoch.flag = integer(part(line, 28, 1), i, line);
        const int n = integer(part(line, 29, 3), i, line);
        if (line[0] != ' ' || line[26] != ' ' || line[27] != ' ') fail(i, "epoch line columns", line);
        if (!blank(part(line, 1, 25))) {
            epoch.hasTime = true;
            epoch.time.year = fourDigitYear(integer(part(line, 1, 2), i, line));
            if (line[1] == ' ') fail(i, "year not zero-padded", line);
            epoch.time.month = integer(part(line, 4, 2), i, line);
            epoch.time.day = integer(part(line, 7, 2), i, line);
            epoch.time.hour = integer(part(line, 10, 2), i, line);
            epoch.time.minute = integer(part(line, 13, 2), i, line);
            epoch.time.second = fixed(part(line, 15, 11), 7, i, line);
            if (line[3] != ' ' || line[6] != ' ' || line[9] != ' ' || line[12] != ' ') fail(i, "date separators", line);
        } else if (epoch.flag < 2) {
            fail(i, "observation epoch without a date", line);
        }
        ++i;
        if (epoch.flag >= 2 && epoch.flag <= 5) {
            if (line.size() > 32) fail(i - 1, "event line longer than 32 characters", line);
            for (int k = 0; k < n; ++k, ++i) {
                if (i >= lines.size()) throw std::runtime_error("event records missing");
                epoch.eventLines.push_back(lines[i]);
            }
            file.epochs.push_back(epoch);
            continue;
        }
        if (epoch.flag > 1) fail(i - 1, "unexpected epoch flag", line);
        // Satellite list: 12 on the epoch line (columns 33-68), 12 per continuation line
        // (after 32 blanks); nothing else up to column 68.
        std::vector<std::pair<char, int>> ids;
        for (int k = 0; k < n || k == 0; k += 12) {
            const size_t index = k == 0 ? i - 1 : i++;
            if (index >= lines.size()) throw std::runtime_error("satellite continuation line missing");
            const std::string& listLine = lines[index];
            if (k > 0 && !blank(part(listLine, 0, 32))) fail(index, "continuation line without 32 blanks", listLine);
            const int here = std::min(12, n - k);
            for (int m = 0; m < here; ++m) {
                const std::string id = part(listLine, 32 + size_t(m) * 3, 3);
                if (std::string("GRES").find(id[0]) == std::string::npos || !std::isdigit((unsigned char)id[1]) ||
                    !std::isdigit((unsigned char)id[2]))
                    fail(index, "bad satellite identifier '" + id + "'", listLine);
                ids.emplace_back(id[0], std::atoi(id.c_str() + 1));
            }
            if (!blank(part(listLine, 32 + size_t(std::max(here, 0)) * 3, 36 - size_t(std::max(here, 0)) * 3)))
                fail(index, "characters after the satellite list", listLine);
            if (k > 0 && listLine.size() > 68) fail(index, "continuation line beyond column 68", listLine);
            if (n == 0) break;
        }
        for (const auto& id : ids) {
            Satellite sat;
            sat.system = id.first;
            sat.number = id.second;
            for (size_t l = 0; l < linesPerSatellite; ++l, ++i) {
                if (i >= lines.size()) throw std::runtime_error("observation lines missing");
                const std::string& obs = lines[i];
                for (size_t f = 0; f < 5 && sat.fields.size() < file.types.size(); ++f) {
                    const std::string field = part(obs, f * 16, 16);
                    Field value;
                    if (!blank(field.substr(0, 14))) {
                        value.present = true;
                        value.value = fixed(field.substr(0, 14), 3, i, obs);
                    }
                    for (int* digit : {&value.lli, &value.ssi}) {
                        const char c = field[digit == &value.lli ? 14 : 15];
                        if (c == ' ') continue;
                        if (!std::isdigit(static_cast<unsigned char>(c))) fail(i, "LLI/SSI not a digit", obs);
                        *digit = c - '0';
                    }
                    if (!value.present && (value.lli >= 0 || value.ssi >= 0)) fail(i, "flags without a value", obs);
                    sat.fields.push_back(value);
                }
                if (obs.size() > 80) fail(i, "observation line too long", obs);
            }
            epoch.satellites.push_back(sat);
        }
        file.epochs.push_back(epoch);
    }
    return file;
}

NavFile readNavigation(const std::string& text) {
    const std::vector<std::string> lines = rinexLines(text);
    NavFile file;
    size_t i = readHeader(lines, file.header);
    if (file.header.empty() || file.header[0].first != "RINEX VERSION / TYPE")
        throw std::runtime_error("first line is not RINEX VERSION / TYPE");
    const std::string& first = file.header[0].second;
    file.version = fixed(part(first, 0, 9), 2, 0, first);
    file.fileType = first[20];
    if (file.fileType != 'N' && file.fileType != 'G') fail(0, "not an N or G file", first);
    const size_t orbitLines = file.fileType == 'N' ? 7 : 3;
    while (i < lines.size()) {
        const std::string& line = lines[i];
        NavRecord r;
        // I2,1X,I2.2,4(1X,I2),F5.1,3D19.12
        if (line.size() < 22 + 19) fail(i, "first record line too short", line);
        r.satellite = integer(part(line, 0, 2), i, line);
        if (line[2] != ' ' || line[3] == ' ') fail(i, "year columns", line);
        r.epoch.year = fourDigitYear(integer(part(line, 3, 2), i, line));
        r.epoch.month = integer(part(line, 6, 2), i, line);
        r.epoch.day = integer(part(line, 9, 2), i, line);
        r.epoch.hour = integer(part(line, 12, 2), i, line);
        r.epoch.minute = integer(part(line, 15, 2), i, line);
        r.epoch.second = fixed(part(line, 17, 5), 1, i, line);
        for (int k = 0; k < 3; ++k)
            r.values.push_back(exponent(part(line, 22 + size_t(k) * 19, 19), i, line));
        ++i;
        for (size_t l = 0; l < orbitLines; ++l, ++i) {
            if (i >= lines.size()) throw std::runtime_error("orbit lines missing");
            const std::string& orbit = lines[i];
            if (!blank(part(orbit, 0, 3))) fail(i, "orbit line does not start with 3 blanks", orbit);
            for (int k = 0; k < 4; ++k)
                r.values.push_back(exponent(part(orbit, 3 + size_t(k) * 19, 19), i, orbit));
        }
        file.records.push_back(r);
    }
    return file;
}

} // namespace rinex2test
