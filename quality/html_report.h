// SPDX-License-Identifier: MIT
#pragma once
// The quality report as one self-contained HTML page (no scripts, no external files): the
// summary and occupation tables and inline SVG plots written here (tracking timeline, C/N0
// against elevation, sky plot, satellites and PDOP over time, east/north scatter).
#include <string>

#include "quality/report.h"

namespace quality {

std::string htmlReport(const Report& report);

} // namespace quality
