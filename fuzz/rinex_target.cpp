// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <string>

#include "quality/html_report.h"
#include "quality/navigation.h"
#include "quality/quality_check.h"
#include "quality/rinex_obs_reader.h"
#include "quality/text_fields.h"
#include "quality/text_report.h"
#include "support/strtod_number.h"
#include "targets.h"

namespace fuzzing {

namespace {

bool finite(const quality::Vec3& v) {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

// The number parser against strtod on the same text: the same verdict, the same bits.
bool numberAsStrtodReadsIt(const std::string& text) {
    double got = 0, expected = 0;
    const bool ok = quality::parseNumber(text, got);
    if (ok != testsupport::strtodNumber(text, expected)) return false;
    return !ok || std::memcmp(&got, &expected, sizeof got) == 0;
}

} // namespace

std::string runRinex(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    if (!numberAsStrtodReadsIt(input.substr(0, std::min<size_t>(input.find('\n'), 48))))
        return "number parsed unlike strtod";
    const std::string separator = "@@NAV@@\n";
    const size_t split = input.find(separator);
    quality::Navigation nav;
    if (split != std::string::npos) {
        std::istringstream navIn(input.substr(split + separator.size()));
        std::string error;
        nav.read(navIn, error);
    }
    std::istringstream obsIn(input.substr(0, split));
    quality::RinexObsReader reader(obsIn);
    quality::ObservationHeader header;
    std::string error;
    quality::Options options;
    options.maxPlotSamples = 16;
    options.maxRunsPerSatellite = 8;
    quality::QualityCheck check(options);
    if (reader.readHeader(header, error)) {
        check.setHeader(header);
        if (!nav.empty()) check.setNavigation(&nav);
        quality::Epoch epoch;
        while (reader.next(epoch))
            check.addEpoch(epoch);
    } else if (error.empty()) {
        return "header refused without a message";
    }
    const quality::Report r = check.finish();
    if (r.epochs < 0 || r.gapCount < long(r.gaps.size())) return "inconsistent span";
    if (r.samples.size() > options.maxPlotSamples) return "plot samples beyond the limit";
    for (const auto& s : r.satellites)
        if (s.runs.size() > options.maxRunsPerSatellite) return "tracked runs beyond the limit";
    if (r.position.valid && (!finite(r.position.mean) || !std::isfinite(r.position.rms3d))) return "position not finite";
    for (const auto& [letter, system] : r.systems)
        for (const auto& [band, rms] : system.multipathRms)
            if (!std::isfinite(rms) || rms < 0) return "multipath not finite";
    const std::string text = quality::textReport(r);
    const std::string html = quality::htmlReport(r);
    if (html.find("</html>") == std::string::npos || text.find('\0') != std::string::npos) return "report cut short";
    return std::string();
}

} // namespace fuzzing
