// SPDX-License-Identifier: MIT
#pragma once
// The quality check of RINEX files on disk: the observation file streamed epoch by epoch,
// the navigation files (any number, plain or gzip-compressed) read first.
#include <string>
#include <vector>

#include "quality/quality_check.h"

namespace quality {

// Adds the records of RINEX 3 navigation files (plain or gzip); what cannot be read is
// noted for the report.
void readNavigationFiles(const std::vector<std::string>& paths, Navigation& navigation,
                         std::vector<std::string>& notes);

// False (with a message) only when the observation file cannot be read at all; problems
// with the navigation files or inside the observation file go into the report's messages.
bool checkFiles(const std::string& observationPath, const std::vector<std::string>& navigationPaths,
                const Options& options, Report& report, std::string& error);

// Seconds between positioned epochs when checking a conversion's files: positioning is the
// costly part of the check, and one position in 30 s keeps it cheap on 1 Hz and faster data
// (every epoch of 30 s data) while counts, slips and multipath still see every epoch.
constexpr double kConversionPositionInterval = 30.0;

// The files a conversion wrote: the observation file (short name ending in O, long name
// _MO.rnx, plain or .gz) is found among them, the others are read as navigation files.
bool checkConversionFiles(const std::vector<std::string>& files, const Options& options, Report& report,
                          std::string& error);
// That observation file; empty when there is none.
std::string observationFileOf(const std::vector<std::string>& files);

} // namespace quality
