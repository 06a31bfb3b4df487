// SPDX-License-Identifier: MIT
#include "params/parameter_names.h"

const QStringList ParameterNames = {
    "Path Input",   "Path Output",    "Receiver Model", "Receiver SN", "Receiver Version", "GNSS Model",
    "GNSS SN",      "GNSS Hardware",  "GNSS Software",  "Version",     "Marker Name",      "Marker Number",
    "Marker Type",  "Mode",           "Latitude",       "Longitude",   "Height",           "Antenna Name",
    "Antenna Spec", "Antenna Height", "Height Type",
};

// "BUTTOM" is the stored spelling and is matched again when the options are applied.
const QStringList HeightTypeNames = {"PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM"};

const QString SectionInfo = "info";
const QString SectionConfig = "config";
