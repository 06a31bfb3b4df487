// SPDX-License-Identifier: MIT
#pragma once
// A few lines of a report for a conversion's log: span and epochs, satellites per system,
// position and the header position's offset, occupations.
#include <string>
#include <vector>

#include "quality/report.h"

namespace quality {

std::vector<std::string> summaryLines(const Report& report);

} // namespace quality
