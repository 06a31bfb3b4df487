// SPDX-License-Identifier: MIT
#pragma once
// The compact text summary of a quality check.
#include <string>

#include "quality/report.h"

namespace quality {

std::string textReport(const Report& report);

} // namespace quality
