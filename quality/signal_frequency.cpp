#include "quality/signal_frequency.h"

#include "quality/gnss_constants.h"

namespace quality {

double carrierFrequency(char system, char band, char attribute, int channel) {
    switch (system) {
    case 'G':
    case 'J':
    case 'S':
        switch (band) {
        case '1': return kFreqL1;
        case '2': return kFreqL2;
        case '5': return kFreqL5;
        case '6': return kFreqE6;
        default: return 0;
        }
    case 'E':
        switch (band) {
        case '1': return kFreqL1;
        case '5': return kFreqL5;
        case '7': return kFreqE5b;
        case '8': return kFreqE5;
        case '6': return kFreqE6;
        default: return 0;
        }
    case 'C':
        switch (band) {
        case '1': return attribute == 'I' || attribute == 'Q' ? kFreqB1I : kFreqL1; // older files: B1I as 1I
        case '2': return kFreqB1I;
        case '5': return kFreqL5;
        case '7': return kFreqE5b;
        case '8': return kFreqE5;
        case '6': return kFreqB3;
        default: return 0;
        }
    case 'R':
        switch (band) {
        case '1': return channel < -7 || channel > 6 ? 0 : kFreqG1 + channel * kFreqG1Step;
        case '2': return channel < -7 || channel > 6 ? 0 : kFreqG2 + channel * kFreqG2Step;
        case '3': return kFreqG3;
        case '4': return 1600.995e6;
        case '6': return 1248.06e6;
        default: return 0;
        }
    case 'I':
        switch (band) {
        case '5': return kFreqL5;
        case '9': return 2492.028e6;
        default: return 0;
        }
    default: return 0;
    }
}

} // namespace quality
