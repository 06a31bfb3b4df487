#pragma once
// The quality report as one self-contained HTML page with inline SVG plots.
#include <string>

#include "quality/report.h"

namespace quality {

std::string htmlReport(const Report& report);

} // namespace quality
