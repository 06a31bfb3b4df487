// SPDX-License-Identifier: MIT
#pragma once
// Carrier frequency of a system's band (and attribute, where a band holds two carriers).
namespace quality {

// Hz; 0 when unknown. GLONASS FDMA bands need the satellite's channel (-7..6).
double carrierFrequency(char system, char band, char attribute, int glonassChannel);

} // namespace quality
