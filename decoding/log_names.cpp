// SPDX-License-Identifier: MIT
#include "decoding/log_names.h"

#include <cstring>

namespace decoding {
namespace {

struct LogNameRow {
    uint32_t id;
    const char* name;
};

const LogNameRow kLogNames[] = {
    {42, "BESTPOS"},
    {99, "BESTVEL"},
    {971, "HEADING"},
    {1335, "HEADING2"},
    {47, "PSRPOS"},
    {174, "PSRDOP"},
    {101, "TIME"},
    {175, "REFSTATION"},
    {43, "RANGE"},
    {140, "RANGECMP"},
    {1273, "RANGECMP2"},
    {48, "SATVIS"},
    {1043, "SATVIS2"},
    {215, "RTKDATA"},
    {1194, "BESTSATS"},
    {1047, "BD2EPHEM"},
    {3000, "BD3EPHEM"},
    {1696, "BDSEPHEMERIS"},
    {1122, "GALEPHEMERIS"},
    {1309, "GALINAVEPHEMERIS"},
    {1310, "GALFNAVEPHEMERIS"},
    {7, "GPSEPHEM"},
    {2123, "NAVICEPHEMERIS"},
    {1336, "QZSSEPHEMERIS"},
    {723, "GLOEPHEMERIS"},
    {8, "IONUTC"},
    {6, "IONUTC_U"},
    {2010, "BD2IONUTC"},
    {1347, "QZSSIONUTC"},
    {1590, "BDSIONO"},
    {2124, "NAVICIONO"},
};

const char* const kSolutionStatus[] = {
    "SOL_COMPUTED", "INSUFFICIENT_OBS", "NO_CONVERGENCE", "SINGULARITY",  "COV_TRACE",       "TEST_DIST",
    "COLD_START",   "V_H_LIMIT",        "VARIANCE",       "RESIDUALS",    "DELTA_POS",       "NEGATIVE_VAR",
    "Reserved",     "PENDING",          "INVALID_FIX",    "UNAUTHORIZED", "ANTENNA_WARNING",
};

struct PositionTypeRow {
    const char* name;
    uint32_t value;
    int quality;
};

// Order matters: lookups return the first match. "INS_RTKFLOA" is spelled so on purpose.
const PositionTypeRow kPositionTypes[] = {
    {"NONE", 0, 0},
    {"FIXEDPOS", 1, 7},
    {"FIXEDHEIGHT", 2, 7},
    {"DOPPLER_VELOCITY", 8, 9},
    {"SINGLE_SMOOTH_Q509", 9, 1},
    {"SINGLE", 16, 1},
    {"PSRDIFF", 17, 2},
    {"SBAS", 18, 2},
    {"PROPAGATED", 19, 9},
    {"OMNISTAR", 20, 9},
    {"L1_FLOAT", 32, 5},
    {"IONOFREE_FLOAT", 33, 5},
    {"NARROW_FLOAT", 34, 5},
    {"L1_INT_Q509", 35, 4},
    {"L1_INT", 48, 4},
    {"WIDE_INT", 49, 4},
    {"NARROW_INT", 50, 4},
    {"OMNISTAR_HP", 64, 9},
    {"OMNISTAR_XP", 65, 9},
    {"INS", 52, 6},
    {"INS_PSRSP", 53, 1},
    {"INS_PSRDIFF", 54, 2},
    {"INS_RTKFIXED", 55, 3},
    {"INS_RTKFLOA", 56, 4},
};

const LogNameRow kSatelliteStatus[] = {
    {0, "GOOD"},
    {1, "BAD_HEALTH"},
    {2, "OLD_EPHEMERIS"},
    {6, "ELEVATION_ERROR"},
    {7, "MISCLOSURE"},
    {8, "NO_DIFF_CORR"},
    {9, "NO_EPHEMERIS"},
    {10, "INVALID_IODE"},
    {11, "LOCKED_OUT"},
    {12, "LOW_POWER"},
    {13, "OBS_L2"},
    {15, "UNKNOWN"},
    {16, "NO_IONO_CORR"},
    {17, "NOT_USED"},
    {18, "OBS_L1"},
    {19, "OBS_E1"},
    {20, "OBS_L5"},
    {21, "OBS_E5"},
    {22, "OBS_B2"},
    {23, "OBS_B1"},
    {24, "OBS_B3"},
    {25, "NO_SIGNAL_MATCH"},
    {26, "SUPPLEMENTARY"},
    {99, "NA"},
    {100, "BAD_INTEGRITY"},
    {101, "LOSS_OF_LOCK"},
    {102, "NO_AMBIGUITY"},
};

const PositionTypeRow* findPositionType(uint32_t value) {
    for (const PositionTypeRow& row : kPositionTypes)
        if (row.value == value) return &row;
    return nullptr;
}

} // namespace

const char* logName(uint32_t id) {
    for (const LogNameRow& row : kLogNames)
        if (row.id == id) return row.name;
    return "";
}

const char* solutionStatusName(uint32_t value) {
    return value <= 16 ? kSolutionStatus[value] : "UNKNOW";
}

const char* positionTypeName(uint32_t value) {
    const PositionTypeRow* row = findPositionType(value);
    return row ? row->name : "NONE";
}

int positionTypeQuality(uint32_t value) {
    const PositionTypeRow* row = findPositionType(value);
    return row ? row->quality : 0;
}

const char* satelliteStatusName(uint32_t value) {
    for (const LogNameRow& row : kSatelliteStatus)
        if (row.id == value) return row.name;
    return "";
}

uint32_t positionTypeFromName(const char* kind, const char* name) {
    if (!kind || !name || std::strcmp(kind, "SOL_COMPUTED") != 0) return 0;
    for (const PositionTypeRow& row : kPositionTypes)
        if (std::strcmp(row.name, name) == 0) return row.value;
    return 0;
}

} // namespace decoding
