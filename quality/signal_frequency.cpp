// SPDX-License-Identifier: MIT
#include "quality/signal_frequency.h"

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"

namespace quality {

double carrierFrequency(char system, char band, char attribute, int channel) {
    switch (system) {
    case 'G':
    case 'J':
    case 'S':
        switch (band) {
        case '1': return double(gnss::kFrequencyL1);
        case '2': return double(gnss::kFrequencyL2);
        case '5': return double(gnss::kFrequencyL5);
        case '6': return double(gnss::kFrequencyE6);
        default: return 0;
        }
    case 'E':
        switch (band) {
        case '1': return double(gnss::kFrequencyL1);
        case '5': return double(gnss::kFrequencyL5);
        case '7': return double(gnss::kFrequencyE5b);
        case '8': return double(gnss::kFrequencyE5);
        case '6': return double(gnss::kFrequencyE6);
        default: return 0;
        }
    case 'C':
        switch (band) {
        case '1': return attribute == 'I' || attribute == 'Q' ? double(gnss::kFrequencyB1) : double(gnss::kFrequencyL1); // older files: B1I as 1I
        case '2': return double(gnss::kFrequencyB1);
        case '5': return double(gnss::kFrequencyL5);
        case '7': return double(gnss::kFrequencyE5b);
        case '8': return double(gnss::kFrequencyE5);
        case '6': return double(gnss::kFrequencyB3);
        default: return 0;
        }
    case 'R':
        switch (band) {
        case '1': return channel < -7 || channel > 6 ? 0 : double(gnss::kFrequencyG1) + channel * gnss::kChannelStepG1;
        case '2': return channel < -7 || channel > 6 ? 0 : double(gnss::kFrequencyG2) + channel * gnss::kChannelStepG2;
        case '3': return double(gnss::kFrequencyG3);
        case '4': return 1600.995e6;
        case '6': return 1248.06e6;
        default: return 0;
        }
    case 'I':
        switch (band) {
        case '5': return double(gnss::kFrequencyL5);
        case '9': return 2492.028e6;
        default: return 0;
        }
    default: return 0;
    }
}

} // namespace quality
