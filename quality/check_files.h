#pragma once
// The quality check of RINEX files on disk: the observation file streamed epoch by epoch,
// the navigation files (any number, plain or gzip-compressed) read first.
#include <string>
#include <vector>

#include "quality/quality_check.h"

namespace quality {

// False (with a message) only when the observation file cannot be read at all; problems
// with the navigation files or inside the observation file go into the report's messages.
bool checkFiles(const std::string& observationPath, const std::vector<std::string>& navigationPaths,
                const Options& options, Report& report, std::string& error);

} // namespace quality
