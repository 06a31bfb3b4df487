// SPDX-License-Identifier: MIT
#pragma once
// Turns the option texts into calls of the writer's setters (the only place where the
// option texts become numbers).
#include "params/parameter_names.h"

class Rinex3xx;

void applyOptions(const ConvertOptions& options, Rinex3xx& writer);
