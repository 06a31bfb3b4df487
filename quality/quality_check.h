// SPDX-License-Identifier: MIT
#pragma once
// The quality check: fed one observation epoch at a time (from a RINEX file or straight from
// a converter), it keeps a fixed amount of state per satellite and signal and gives the report
// at the end. Navigation data, when given before the epochs, adds elevations, completeness and
// positions.
#include <array>
#include <memory>
#include <vector>

#include "quality/navigation.h"
#include "quality/observations.h"
#include "quality/point_positioning.h"
#include "quality/report.h"

namespace quality {

struct Options {
    double elevationMask = 10.0;      // degrees: completeness and positioning
    size_t maxPlotSamples = 2000;     // epoch samples kept for the plots
    size_t maxRunsPerSatellite = 400; // tracked runs kept per satellite
    double headerOffsetLimit = 100.0; // m: header position flagged beyond this
    // Seconds between positioned epochs; 0 positions every epoch. Positioning is the costly
    // part (about 0.1 ms per epoch of 40 satellites): a converter checking high-rate data as
    // it goes may position one epoch in 30 s.
    double positionInterval = 0;
};

class QualityCheck {
public:
    explicit QualityCheck(Options options = {});
    ~QualityCheck();
    void setHeader(const ObservationHeader& header);
    // The navigation data must outlive the check.
    void setNavigation(const Navigation* navigation);
    void addEpoch(const Epoch& epoch);
    // A message for the report (e.g. a reader's problem).
    void addMessage(const std::string& message);
    Report finish();

private:
    struct State;
    std::unique_ptr<State> s_;
};

} // namespace quality
