// SPDX-License-Identifier: MIT
#pragma once
// The real station data bundled with the tests: 30 minutes of ESBC observations and the
// navigation records around them.
#include <string>

namespace testfiles {

inline std::string esbcObs() {
    return std::string(VELMOOR_TEST_DATA) + "/rinex/ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz";
}
inline std::string esbcNav() {
    return std::string(VELMOOR_TEST_DATA) + "/rinex/ESBC00DNK_R_20201770000_03H_MN.rnx.gz";
}

} // namespace testfiles
