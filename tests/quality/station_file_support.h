// SPDX-License-Identifier: MIT
#pragma once
// Runs the quality check over the bundled station file, with an optional change to each
// epoch before it is fed (to remove epochs or satellites).
#include <functional>
#include <memory>
#include <string>

#include "quality/compressed_input.h"
#include "quality/navigation.h"
#include "quality/quality_check.h"
#include "quality/rinex_obs_reader.h"
#include "test_files.h"

namespace station {

// edit returns false to drop the epoch.
inline quality::Report check(bool withNavigation, const std::function<bool(int, quality::Epoch&)>& edit = {}) {
    std::string error;
    quality::Navigation nav;
    if (withNavigation) {
        auto navIn = quality::openInput(testfiles::esbcNav(), error);
        if (!navIn || !nav.read(*navIn, error)) throw std::runtime_error(error);
    }
    auto in = quality::openInput(testfiles::esbcObs(), error);
    if (!in) throw std::runtime_error(error);
    quality::RinexObsReader reader(*in);
    quality::ObservationHeader header;
    if (!reader.readHeader(header, error)) throw std::runtime_error(error);
    quality::QualityCheck qc;
    qc.setHeader(header);
    if (withNavigation) qc.setNavigation(&nav);
    quality::Epoch epoch;
    int index = 0;
    while (reader.next(epoch)) {
        const bool keep = !edit || edit(index, epoch);
        ++index;
        if (keep) qc.addEpoch(epoch);
    }
    return qc.finish();
}

} // namespace station
