// SPDX-License-Identifier: MIT
#pragma once
// The quality report as JSON (keys documented in README.md).
#include <nlohmann/json.hpp>

#include "quality/report.h"

namespace qc {

nlohmann::json jsonReport(const quality::Report& report);

} // namespace qc
