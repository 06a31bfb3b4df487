// SPDX-License-Identifier: MIT
#include "sample_generator/options.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace sample_generator {

namespace {

const char kUsage[] =
    "usage: velmoor-make-sample [options] OBSERVATION.rnx [NAVIGATION.rnx] -o OUTPUT\n"
    "\n"
    "Turns a RINEX 3 observation file (and optionally a RINEX 3 navigation file) into a\n"
    "receiver data file: a file header, then board frames in time order.\n"
    "\n"
    "  -o, --output PATH        data file to write (replaced if it exists)\n"
    "  --header KIND            none, key (default), legacy or both\n"
    "  --log LOG                range, rangecmp (default) or rangecmp2: one log per epoch\n"
    "  --start TIME             first epoch at or after TIME: YYYY-MM-DDTHH:MM:SS,\n"
    "                           \"YYYY-MM-DD HH:MM:SS\", or HH:MM:SS on the first epoch's day\n"
    "  --epochs N               at most N epochs\n"
    "  --ppk BEGIN:SAMPLES[:NAME]\n"
    "                           static occupation (repeatable): MARKER-BEGIN after the range\n"
    "                           log of epoch BEGIN (0-based in the window), MARKER-SAMPLE\n"
    "                           after each of the next SAMPLES epochs, then MARKER-END\n"
    "  --set KEY=VALUE          header value, KEY as in the key header without '#', e.g.\n"
    "                           marker.name=CEBR, gnss.board=BOARD-1 (repeatable); the\n"
    "                           defaults come from the RINEX header\n"
    "  --nav-per-satellite N    at most N ephemerides per satellite (and Galileo message kind)\n"
    "  --nav-order ORDER        start (default): every ephemeris before the first epoch;\n"
    "                           time: merged with the epochs by transmission time\n"
    "  --fix-every N            a PSRPOS and a TIME log every N epochs (default: once)\n"
    "  --leap-seconds N         GPS - UTC (default: the navigation header's, else 18)\n"
    "  --junk                   stray bytes before some frames and '#note' text lines\n"
    "  --corrupt N              spoil the CRC of N frames\n"
    "  --seed N                 seed of the noise (default 1)\n"
    "  -h, --help               this text\n"
    "\n"
    "A summary (epochs, frames per log, skipped signals) goes to stderr.\n";

size_t parseCount(const std::string& option, const std::string& text) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError(option + ": not a non-negative integer: '" + text + "'");
    errno = 0;
    const unsigned long long v = std::strtoull(text.c_str(), nullptr, 10);
    if (errno == ERANGE || v > 100000000ULL) throw UsageError(option + ": value too large: " + text);
    return size_t(v);
}

int parseSigned(const std::string& option, const std::string& text) {
    const bool negative = !text.empty() && text[0] == '-';
    const size_t v = parseCount(option, negative ? text.substr(1) : text);
    if (v > 1000) throw UsageError(option + ": value out of range: " + text);
    return negative ? -int(v) : int(v);
}

// Texts end up in "key=value" lines and comma-separated sentences.
void checkPlainText(const std::string& option, const std::string& text, bool sentenceField) {
    for (char c : text) {
        if (c == '\r' || c == '\n' || c == '\0') throw UsageError(option + ": line breaks are not allowed");
        if (sentenceField && (c == ',' || c == '*' || c == '$'))
            throw UsageError(option + ": ',', '*' and '$' are not allowed in a marker name");
    }
}

PpkMarker parsePpk(const std::string& text) {
    const size_t first = text.find(':');
    if (first == std::string::npos)
        throw UsageError("--ppk: expected BEGIN:SAMPLES[:NAME], got '" + text + "'");
    const size_t second = text.find(':', first + 1);
    PpkMarker m;
    m.beginEpoch = parseCount("--ppk", text.substr(0, first));
    m.samples = parseCount("--ppk", text.substr(first + 1, second == std::string::npos ? std::string::npos
                                                                                       : second - first - 1));
    if (second != std::string::npos) {
        m.name = text.substr(second + 1);
        if (m.name.empty()) throw UsageError("--ppk: empty marker name");
        checkPlainText("--ppk", m.name, true);
    }
    return m;
}

} // namespace

const std::vector<std::string>& headerKeys() {
    static const std::vector<std::string> keys = {
        "device.model",  "device.sn",         "device.firmware",    "gnss.board",
        "gnss.sn",       "gnss.hardware",     "gnss.firmware",      "marker.name",
        "marker.number", "position.latitude", "position.longitude", "position.height",
        "antenna.name",  "antenna.measure",   "antenna.height",     "antenna.height_type"};
    return keys;
}

const char* usageText() {
    return kUsage;
}

Options parseOptions(const std::vector<std::string>& arguments, bool& help) {
    Options o;
    help = false;
    std::vector<std::string> positional;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= arguments.size()) throw UsageError(a + ": missing value");
            return arguments[++i];
        };
        if (a == "-h" || a == "--help") {
            help = true;
            return o;
        } else if (a == "-o" || a == "--output") {
            o.outputPath = value();
        } else if (a == "--header") {
            const std::string v = value();
            if (v == "none")
                o.header = HeaderKind::None;
            else if (v == "key")
                o.header = HeaderKind::Key;
            else if (v == "legacy")
                o.header = HeaderKind::Legacy;
            else if (v == "both")
                o.header = HeaderKind::Both;
            else
                throw UsageError("--header: expected none, key, legacy or both, got '" + v + "'");
        } else if (a == "--log") {
            const std::string v = value();
            if (v == "range")
                o.log = RangeLogKind::Range;
            else if (v == "rangecmp")
                o.log = RangeLogKind::RangeCmp;
            else if (v == "rangecmp2")
                o.log = RangeLogKind::RangeCmp2;
            else
                throw UsageError("--log: expected range, rangecmp or rangecmp2, got '" + v + "'");
        } else if (a == "--start") {
            o.start = value();
        } else if (a == "--epochs") {
            o.epochs = parseCount(a, value());
            if (o.epochs == 0) throw UsageError("--epochs: at least one epoch");
        } else if (a == "--ppk") {
            o.ppk.push_back(parsePpk(value()));
        } else if (a == "--set") {
            const std::string v = value();
            const size_t eq = v.find('=');
            const std::string key = v.substr(0, eq);
            const auto& keys = headerKeys();
            if (eq == std::string::npos || std::find(keys.begin(), keys.end(), key) == keys.end())
                throw UsageError("--set: expected KEY=VALUE with one of the key header's keys, got '" + v +
                                 "'");
            checkPlainText(a, v, false);
            o.headerValues[key] = v.substr(eq + 1);
        } else if (a == "--nav-per-satellite") {
            o.navPerSatellite = parseCount(a, value());
        } else if (a == "--nav-order") {
            const std::string v = value();
            if (v == "start")
                o.navOrder = NavOrder::Start;
            else if (v == "time")
                o.navOrder = NavOrder::Time;
            else
                throw UsageError("--nav-order: expected start or time, got '" + v + "'");
        } else if (a == "--fix-every") {
            o.fixEvery = parseCount(a, value());
        } else if (a == "--leap-seconds") {
            o.leapSeconds = parseSigned(a, value());
        } else if (a == "--junk") {
            o.junk = true;
        } else if (a == "--corrupt") {
            o.corrupt = parseCount(a, value());
        } else if (a == "--seed") {
            o.seed = uint32_t(parseCount(a, value()));
        } else if (a.size() > 1 && a[0] == '-') {
            throw UsageError("unknown option " + a);
        } else {
            positional.push_back(a);
        }
    }
    if (positional.empty()) throw UsageError("no observation file given");
    if (positional.size() > 2) throw UsageError("too many input files");
    o.observationPath = positional[0];
    if (positional.size() == 2) o.navigationPath = positional[1];
    if (o.outputPath.empty()) throw UsageError("no output file given (-o PATH)");

    std::stable_sort(o.ppk.begin(), o.ppk.end(),
                     [](const PpkMarker& a, const PpkMarker& b) { return a.beginEpoch < b.beginEpoch; });
    for (size_t k = 1; k < o.ppk.size(); ++k)
        if (o.ppk[k].beginEpoch < o.ppk[k - 1].beginEpoch + o.ppk[k - 1].samples)
            throw UsageError("--ppk: occupations overlap (epoch " + std::to_string(o.ppk[k].beginEpoch) +
                             ")");
    return o;
}

} // namespace sample_generator
