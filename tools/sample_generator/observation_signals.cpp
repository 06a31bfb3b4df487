// SPDX-License-Identifier: MIT
#include "sample_generator/observation_signals.h"

namespace sample_generator {

namespace {

// Values of one two-character code of a satellite.
struct CodeValues {
    std::string code;
    const rinex_input::ObsValue* c = nullptr;
    const rinex_input::ObsValue* l = nullptr;
    const rinex_input::ObsValue* d = nullptr;
    const rinex_input::ObsValue* s = nullptr;
    bool any() const { return c || l || d || s; }
};

std::vector<CodeValues> codesOf(const std::vector<std::string>& types, const rinex_input::SatelliteObs& sat) {
    std::vector<CodeValues> codes;
    for (size_t k = 0; k < types.size() && k < sat.values.size(); ++k) {
        const std::string& type = types[k];
        if (type.size() != 3) continue;
        const std::string code = type.substr(1);
        CodeValues* entry = nullptr;
        for (CodeValues& e : codes)
            if (e.code == code) entry = &e;
        if (!entry) {
            codes.push_back(CodeValues{code});
            entry = &codes.back();
        }
        const rinex_input::ObsValue& v = sat.values[k];
        if (!v.present) continue;
        switch (type[0]) {
        case 'C':
            entry->c = &v;
            break;
        case 'L':
            entry->l = &v;
            break;
        case 'D':
            entry->d = &v;
            break;
        case 'S':
            entry->s = &v;
            break;
        default:
            break;
        }
    }
    return codes;
}

} // namespace

std::vector<encoding::RangeSignal> SignalBuilder::signalsOf(const rinex_input::ObsEpoch& epoch,
                                                            SignalSkips& skips) {
    const double now = epoch.week * 604800.0 + epoch.secondsOfWeek;
    std::vector<encoding::RangeSignal> out;
    int satelliteIndex = 0;
    for (const rinex_input::SatelliteObs& sat : epoch.satellites) {
        const auto types = header_.obsTypes.find(sat.system);
        if (types == header_.obsTypes.end()) continue;
        const decoding::SatSystem system = encoding::systemOfLetter(sat.system);
        int channel = 0;
        if (system == decoding::SystemGlonass) {
            const auto slot = header_.glonassSlots.find(sat.number);
            if (slot == header_.glonassSlots.end()) {
                for (const CodeValues& v : codesOf(types->second, sat))
                    if (v.any()) ++skips.other["R: satellite without a frequency channel in the header"];
                continue;
            }
            channel = slot->second;
        }
        bool used = false;
        for (const CodeValues& v : codesOf(types->second, sat)) {
            if (!v.any()) continue;
            const std::string name = std::string(1, sat.system) + " " + v.code;
            if (system == decoding::SystemNone) {
                ++skips.other[std::string(1, sat.system) + ": system without board logs"];
                continue;
            }
            const decoding::SignalInfo* row = encoding::signalForRinexCode(system, v.code.c_str(), 0);
            if (!row) {
                ++skips.noTableRow[name];
                continue;
            }
            encoding::RangeSignal r;
            r.system = system;
            r.satellite = sat.number;
            r.glonassChannel = channel;
            r.signal = row;
            r.pseudorange = v.c ? v.c->value : 0.0;
            r.pseudorangeStd = 0.1;
            r.carrierPhase = v.l ? -v.l->value : 0.0; // the board logs the negated RINEX phase
            r.carrierPhaseStd = 0.01;
            r.doppler = v.d ? v.d->value : 0.0;
            r.cn0 = v.s ? v.s->value : 0.0;
            r.codeLocked = v.c != nullptr;
            r.phaseLocked = v.l != nullptr;
            r.parityKnown = v.l != nullptr;
            r.channel = uint8_t(satelliteIndex % 16);

            // The lock runs while the phase is tracked epoch after epoch without a slip.
            Lock& lock = locks_[Key{sat.system, sat.number, v.code}];
            const bool slipped = !v.l || (v.l->lli >= 0 && (v.l->lli & 1));
            if (slipped || lock.lastSeen != previousEpoch_ || previousEpoch_ < 0) lock.start = now;
            lock.lastSeen = now;
            r.lockTime = v.l ? now - lock.start : 0.0;
            out.push_back(r);
            used = true;
        }
        if (used) ++satelliteIndex;
    }
    previousEpoch_ = now;
    return out;
}

} // namespace sample_generator
