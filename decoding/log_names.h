// SPDX-License-Identifier: MIT
#pragma once
// Name tables of the board's logs and status values.
#include <cstdint>

namespace decoding {

const char* logName(uint32_t id);                  // "" for an unknown id
const char* solutionStatusName(uint32_t value);    // "UNKNOW" above 16
const char* positionTypeName(uint32_t value);      // "NONE" when not in the table
int positionTypeQuality(uint32_t value);           // 0 when not in the table
const char* satelliteStatusName(uint32_t value);   // "" when not in the table
// Position type value for a name when kind is "SOL_COMPUTED", else 0.
uint32_t positionTypeFromName(const char* kind, const char* name);

} // namespace decoding
