// SPDX-License-Identifier: MIT
#include "support/compact_rinex_expander.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <vector>

namespace testsupport {

namespace {

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t lf = text.find('\n', start);
        if (lf == std::string::npos) lf = text.size();
        std::string line = text.substr(start, lf - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
        start = lf + 1;
    }
    return lines;
}

std::string trimmed(std::string s) {
    while (!s.empty() && s.back() == ' ') s.pop_back();
    return s;
}

std::string padded(std::string s, size_t width) {
    if (s.size() < width) s.resize(width, ' ');
    return s;
}

// Fixed-point text of v / 10^decimals in `width` characters, without a leading zero below 1.
std::string fixedPoint(int64_t v, int width, int decimals) {
    int64_t scale = 1;
    for (int i = 0; i < decimals; ++i) scale *= 10;
    const bool negative = v < 0;
    const uint64_t m = negative ? uint64_t(0) - uint64_t(v) : uint64_t(v);
    const uint64_t whole = m / uint64_t(scale);
    const uint64_t fraction = m % uint64_t(scale);
    char text[64];
    if (whole == 0)
        std::snprintf(text, sizeof text, "%s.%0*llu", negative && fraction != 0 ? "-" : "", decimals,
                      (unsigned long long)fraction);
    else
        std::snprintf(text, sizeof text, "%s%llu.%0*llu", negative ? "-" : "", (unsigned long long)whole, decimals,
                      (unsigned long long)fraction);
    std::string s(text);
    if (int(s.size()) < width) s.insert(0, size_t(width) - s.size(), ' ');
    return s;
}

// The text difference undone: blank keeps, '&' blanks, anything else replaces; chars past
// the old end are appended ('&' as a blank).
std::string repair(const std::string& old, const std::string& diff) {
    std::string s = old;
    for (size_t k = 0; k < diff.size(); ++k) {
        const char c = diff[k];
        if (k < s.size()) {
            if (c == '&')
                s[k] = ' ';
            else if (c != ' ')
                s[k] = c;
        } else {
            s.push_back(c == '&' ? ' ' : c);
        }
    }
    return trimmed(s);
}

struct Arc {
    bool open = false;
    int maxOrder = 3;
    int order = 0;
    int64_t d[6] = {0, 0, 0, 0, 0, 0};
};

// One value's arc: "n&V" starts it, a number is the next difference, empty closes it.
bool nextValue(Arc& arc, const std::string& token, int64_t* value, std::string* error) {
    const size_t amp = token.find('&');
    if (amp != std::string::npos) {
        if (amp != 1 || token[0] < '0' || token[0] > '5') {
            *error = "bad arc start '" + token + "'";
            return false;
        }
        arc.open = true;
        arc.maxOrder = token[0] - '0';
        arc.order = 0;
        arc.d[0] = std::stoll(token.substr(2));
        *value = arc.d[0];
        return true;
    }
    if (!arc.open) {
        *error = "a difference '" + token + "' where no arc is open";
        return false;
    }
    const int k = arc.order < arc.maxOrder ? arc.order + 1 : arc.maxOrder;
    int64_t d[6];
    d[k] = std::stoll(token);
    for (int i = k - 1; i >= 0; --i) d[i] = d[i + 1] + arc.d[i];
    for (int i = 0; i <= k; ++i) arc.d[i] = d[i];
    arc.order = k;
    *value = d[0];
    return true;
}

struct Satellite {
    std::vector<Arc> arcs;
    std::string flags;
};

int countAt(const std::string& line, size_t from, size_t width) {
    const std::string field = padded(line, from + width).substr(from, width);
    int value = 0;
    if (std::sscanf(field.c_str(), "%d", &value) != 1) return -1;
    return value;
}

} // namespace

bool expandCompactRinex(const std::string& compact, std::string* plain, std::string* error) {
    const std::vector<std::string> lines = splitLines(compact);
    std::ostringstream out;
    size_t i = 0;
    auto fail = [&](const std::string& what) {
        *error = "compressed line " + std::to_string(i) + ": " + what;
        return false;
    };
    if (lines.size() < 3) return fail("too short");
    const std::string first = padded(lines[0], 80);
    if (first.substr(60, 19) != "CRINEX VERS   / TYP" || (first.substr(0, 3) != "3.0" && first.substr(0, 3) != "1.0"))
        return fail("not a Compact RINEX file");
    const int version = first[0] == '3' ? 3 : 1;
    i = 2;
    std::map<char, int> types; // version 3: per system; version 1: key ' '
    auto takeTypes = [&](const std::string& line) {
        const std::string p = padded(line, 80);
        if (version == 3 && p.substr(60, 19) == "SYS / # / OBS TYPES" && p[0] != ' ') types[p[0]] = countAt(p, 3, 3);
        if (version == 1 && p.substr(60, 19) == "# / TYPES OF OBSERV" && p[5] != ' ') types[' '] = countAt(p, 0, 6);
    };
    for (;; ++i) {
        if (i >= lines.size()) return fail("no END OF HEADER");
        // In the header of version 1, the first count holds.
        if (!(version == 1 && types.count(' '))) takeTypes(lines[i]);
        out << trimmed(lines[i]) << '\n';
        if (padded(lines[i], 80).substr(60, 13) == "END OF HEADER") break;
    }
    ++i;

    std::string epoch;                          // the stored compact epoch line
    std::map<std::string, Satellite> previous; // satellites of the last epoch
    Arc clock;
    while (i < lines.size()) {
        const std::string& line = lines[i];
        const bool initialised = version == 3 ? (!line.empty() && line[0] == '>') : (!line.empty() && line[0] == '&');
        if (initialised) {
            const std::string p = padded(line, 35);
            const size_t flagAt = version == 3 ? 31 : 28;
            if (p[flagAt] > '1' && p[flagAt] <= '9') {
                // An event: the line and its records as they are; then everything restarts.
                std::string event = line;
                if (version == 1) event[0] = ' ';
                out << trimmed(event) << '\n';
                const int n = countAt(p, flagAt + 1, 3);
                if (n < 0) return fail("event without a record count");
                for (int k = 0; k < n; ++k) {
                    ++i;
                    if (i >= lines.size()) return fail("event records missing");
                    takeTypes(lines[i]);
                    out << trimmed(lines[i]) << '\n';
                }
                ++i;
                epoch.clear();
                previous.clear();
                clock = Arc();
                continue;
            }
            epoch = trimmed(line);
            previous.clear();
            clock = Arc();
        } else {
            if (epoch.empty()) return fail("a differenced epoch line with nothing to difference");
            epoch = repair(epoch, line);
        }
        ++i;
        // The epoch line: flag, count, satellite IDs.
        const std::string e = padded(epoch, 41);
        const int nsat = version == 3 ? countAt(e, 32, 3) : countAt(e, 29, 3);
        if (nsat < 0) return fail("epoch line without a satellite count");
        const size_t idsAt = version == 3 ? 41 : 32;
        const std::string ids = padded(epoch, idsAt + 3 * size_t(nsat));
        // The clock line.
        if (i >= lines.size()) return fail("clock line missing");
        bool haveClock = !lines[i].empty();
        int64_t clockValue = 0;
        if (haveClock) {
            if (!nextValue(clock, lines[i], &clockValue, error)) return fail(*error);
        } else {
            clock = Arc();
        }
        ++i;
        // Epoch line(s) as the plain file has them.
        if (version == 3) {
            std::string text = e.substr(0, 41);
            if (haveClock) text += fixedPoint(clockValue, 15, 12);
            out << trimmed(text) << '\n';
        } else {
            std::string text = padded(epoch, 68).substr(0, 68);
            text[0] = ' ';
            if (haveClock) text += fixedPoint(clockValue, 12, 9);
            out << trimmed(text) << '\n';
            for (int k = 12; k < nsat; k += 12)
                out << std::string(32, ' ') << trimmed(ids.substr(idsAt + 3 * size_t(k), 36)) << '\n';
        }
        // Satellite lines.
        std::map<std::string, Satellite> current;
        for (int s = 0; s < nsat; ++s, ++i) {
            if (i >= lines.size()) return fail("satellite lines missing");
            const std::string id = ids.substr(idsAt + 3 * size_t(s), 3);
            const auto typesIt = types.find(version == 3 ? id[0] : ' ');
            if (typesIt == types.end() || typesIt->second < 1) return fail("undeclared system of " + id);
            const int n = typesIt->second;
            const auto before = previous.find(id);
            const bool known = before != previous.end();
            Satellite sat = known ? before->second : Satellite();
            sat.arcs.resize(size_t(n));
            // n tokens, each followed by one blank, then the flags.
            const std::string& data = lines[i];
            size_t pos = 0;
            std::vector<std::string> tokens(static_cast<size_t>(n));
            for (int j = 0; j < n; ++j) {
                if (pos >= data.size()) break;
                size_t blank = data.find(' ', pos);
                if (blank == std::string::npos) blank = data.size();
                tokens[size_t(j)] = data.substr(pos, blank - pos);
                pos = blank + 1;
            }
            const std::string flagText = pos < data.size() ? data.substr(pos) : std::string();
            std::string flags;
            if (known) {
                flags = padded(sat.flags, 2 * size_t(n));
                for (size_t k = 0; k < flagText.size() && k < flags.size(); ++k) {
                    if (flagText[k] == '&')
                        flags[k] = ' ';
                    else if (flagText[k] != ' ')
                        flags[k] = flagText[k];
                }
            } else {
                flags = flagText;
                for (char& c : flags)
                    if (c == '&') c = ' ';
                if (version == 3 && flags.size() != 2 * size_t(n))
                    return fail("flags of new satellite " + id + " not complete");
                flags = padded(flags, 2 * size_t(n));
            }
            if (flags.size() > 2 * size_t(n)) return fail("too many flags for " + id);
            std::string record = version == 3 ? id : std::string();
            for (int j = 0; j < n; ++j) {
                Arc& arc = sat.arcs[size_t(j)];
                const std::string& token = tokens[size_t(j)];
                if (token.empty()) {
                    arc = Arc();
                    if (version == 1) flags[2 * size_t(j)] = flags[2 * size_t(j) + 1] = ' ';
                    record += std::string(14, ' ');
                } else {
                    if (!known && token.find('&') == std::string::npos)
                        return fail("new satellite " + id + " without an arc start");
                    int64_t value = 0;
                    if (!nextValue(arc, token, &value, error)) return fail(id + ": " + *error);
                    record += fixedPoint(value, 14, 3);
                }
                record += flags.substr(2 * size_t(j), 2);
                if (version == 1 && (j % 5 == 4 || j == n - 1)) {
                    out << trimmed(record) << '\n';
                    record.clear();
                }
            }
            sat.flags = flags;
            if (version == 3) out << trimmed(record) << '\n';
            if (current.count(id)) return fail("satellite " + id + " twice");
            current[id] = sat;
        }
        previous.swap(current);
    }
    *plain = out.str();
    return true;
}

namespace {

// A fixed-point field without the leading zero of a value below 1, as the expander writes it.
std::string dropLeadingZero(const std::string& field, int decimals) {
    const size_t width = field.size();
    const size_t point = width - size_t(decimals) - 1;
    if (field[point] != '.') return field;
    size_t k = 0;
    while (k < point && field[k] == ' ') ++k;
    bool negative = false;
    if (k < point && field[k] == '-') {
        negative = true;
        ++k;
    }
    for (size_t m = k; m < point; ++m)
        if (field[m] != '0') return field; // not below 1 (or not a number): unchanged
    const std::string fraction = field.substr(point + 1);
    for (char c : fraction)
        if (c < '0' || c > '9') return field;
    const bool zero = fraction.find_first_not_of('0') == std::string::npos;
    std::string s = (negative && !zero ? "-." : ".") + fraction;
    return std::string(width - s.size(), ' ') + s;
}

std::string rewriteFields(std::string line, size_t first, size_t count) {
    for (size_t j = 0; j < count; ++j) {
        const size_t at = first + 16 * j;
        if (at + 14 > line.size()) break;
        line.replace(at, 14, dropLeadingZero(line.substr(at, 14), 3));
    }
    return line;
}

} // namespace

std::string normalisedPlainRinex(const std::string& plain) {
    const std::vector<std::string> lines = splitLines(plain);
    std::ostringstream out;
    size_t i = 0;
    int version = 3;
    std::map<char, int> types;
    auto takeTypes = [&](const std::string& line) {
        const std::string p = padded(line, 80);
        if (version == 3 && p.substr(60, 19) == "SYS / # / OBS TYPES" && p[0] != ' ') types[p[0]] = countAt(p, 3, 3);
        if (version == 2 && p.substr(60, 19) == "# / TYPES OF OBSERV" && p[5] != ' ') types[' '] = countAt(p, 0, 6);
    };
    auto emit = [&](const std::string& line) { out << trimmed(line) << '\n'; };
    if (!lines.empty() && lines[0].size() > 5 && lines[0][5] == '2') version = 2;
    for (; i < lines.size(); ++i) {
        if (!(version == 2 && types.count(' '))) takeTypes(lines[i]);
        emit(lines[i]);
        if (padded(lines[i], 80).substr(60, 13) == "END OF HEADER") break;
    }
    ++i;
    while (i < lines.size()) {
        const std::string e = padded(lines[i], 80);
        const size_t flagAt = version == 3 ? 31 : 28;
        const int n = countAt(e, flagAt + 1, 3);
        if (e[flagAt] > '1') {
            emit(lines[i++]);
            for (int k = 0; k < n && i < lines.size(); ++k, ++i) {
                takeTypes(lines[i]);
                emit(lines[i]);
            }
            continue;
        }
        std::string epoch = trimmed(lines[i]);
        const size_t clockAt = version == 3 ? 41 : 68;
        const size_t clockWidth = version == 3 ? 15 : 12;
        if (epoch.size() >= clockAt + clockWidth)
            epoch = epoch.substr(0, clockAt) +
                    dropLeadingZero(epoch.substr(clockAt, clockWidth), int(clockWidth) - 3) +
                    epoch.substr(clockAt + clockWidth);
        emit(epoch);
        ++i;
        if (version == 3) {
            for (int s = 0; s < n && i < lines.size(); ++s, ++i) {
                const std::string& line = lines[i];
                const int count = line.empty() ? 0 : types[line[0]];
                emit(rewriteFields(line, 3, size_t(count)));
            }
        } else {
            for (int k = 12; k < n && i < lines.size(); k += 12) emit(lines[i++]);
            const int perSatellite = (types[' '] + 4) / 5;
            for (int s = 0; s < n * perSatellite && i < lines.size(); ++s, ++i) emit(rewriteFields(lines[i], 0, 5));
        }
    }
    return out.str();
}

} // namespace testsupport
