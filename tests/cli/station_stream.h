// SPDX-License-Identifier: MIT
#pragma once
// A board stream made from half an hour of a real station (tests/data/rinex) with the day's
// broadcast records and two stop-and-go occupations: the conversion's check then computes
// elevations, completeness, positions and occupations.
#include <QTemporaryDir>
#include <cstdlib>
#include <string>

#include "sample_generator/options.h"
#include "sample_generator/stream_assembly.h"

namespace clitest {

// The stream's bytes, empty when the station's files cannot be unpacked into dir.
inline std::string stationStream(const QTemporaryDir& dir) {
    const std::string data = VELMOOR_TEST_DATA "/rinex/";
    const std::string obs = dir.filePath("obs.rnx").toStdString(),
                      nav = dir.filePath("nav.rnx").toStdString();
    if (std::system(("gzip -dc " + data + "ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz > " + obs).c_str()) !=
            0 ||
        std::system(("gzip -dc " + data + "ESBC00DNK_R_20201770000_03H_MN.rnx.gz > " + nav).c_str()) != 0)
        return {};
    sample_generator::Options options;
    options.observationPath = obs;
    options.navigationPath = nav;
    options.ppk = {{10, 8, "PT01"}, {30, 6, "PT02"}};
    const sample_generator::Sample sample = sample_generator::generateSample(options);
    return std::string(reinterpret_cast<const char*>(sample.bytes.data()), sample.bytes.size());
}

} // namespace clitest
