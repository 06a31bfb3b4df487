// SPDX-License-Identifier: MIT
#pragma once
// Command-line options of the sample generator.
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace sample_generator {

enum class HeaderKind { None, Key, Legacy, Both };
enum class RangeLogKind { Range, RangeCmp, RangeCmp2 };
// Where the ephemeris frames go: all before the first epoch (a receiver logs the ephemerides
// it holds when logging starts), or merged with the epochs by transmission time.
enum class NavOrder { Start, Time };

// One static occupation: MARKER-BEGIN after the range log of epoch beginEpoch (0-based,
// counted in the cut window), one MARKER-SAMPLE after each of the next `samples` epochs,
// then MARKER-END.
struct PpkMarker {
    size_t beginEpoch = 0;
    size_t samples = 0;
    std::string name; // empty: "PT01", "PT02", ... by order
};

struct Options {
    std::string observationPath;
    std::string navigationPath; // empty: no ephemeris or ionosphere frames
    std::string outputPath;
    HeaderKind header = HeaderKind::Key;
    RangeLogKind log = RangeLogKind::RangeCmp;
    std::string start;                               // empty: from the first epoch
    size_t epochs = SIZE_MAX;                        // epochs in the window
    std::vector<PpkMarker> ppk;                      // sorted by beginEpoch once parsed
    std::map<std::string, std::string> headerValues; // key without '#' -> value, e.g. "marker.name"
    size_t navPerSatellite = 0;                      // 0: every record
    NavOrder navOrder = NavOrder::Start;
    size_t fixEvery = 0;            // 0: one PSRPOS and one TIME log, before the first epoch
    std::optional<int> leapSeconds; // GPS - UTC; default: navigation header, else 18
    bool junk = false;
    size_t corrupt = 0;
    uint32_t seed = 1;
};

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The sixteen keys of the key header, without the leading '#', in the order they are written.
const std::vector<std::string>& headerKeys();

// Throws UsageError for anything malformed. help is set (and nothing else checked) for -h/--help.
Options parseOptions(const std::vector<std::string>& arguments, bool& help);

const char* usageText();

} // namespace sample_generator
