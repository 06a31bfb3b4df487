// SPDX-License-Identifier: MIT
#include "json_report.h"

#include "quality/gnss_time.h"

namespace qc {

using nlohmann::json;
using quality::isoTime;

json jsonReport(const quality::Report& r) {
    json j;
    j["epochs"] = r.epochs;
    j["interval_s"] = r.interval;
    j["first"] = r.epochs ? json(isoTime(r.first)) : json(nullptr);
    j["last"] = r.epochs ? json(isoTime(r.last)) : json(nullptr);
    json gaps = json::array();
    for (const quality::Gap& g : r.gaps)
        gaps.push_back({{"start", isoTime(g.start)}, {"end", isoTime(g.end)}, {"missing_epochs", g.missingEpochs}});
    j["gaps"] = gaps;
    json satellites = json::object(), observations = json::object(), completeness = json::object(),
         cn0 = json::object(), slips = json::object(), multipath = json::object();
    for (const auto& [letter, system] : r.systems) {
        const std::string key(1, letter);
        satellites[key] = system.satellites;
        json obs = json::object(), compl_ = json::object(), c = json::object(), mp = json::object();
        for (const auto& [code, count] : system.observations)
            obs[code] = count;
        for (const auto& [signal, sig] : system.signals) {
            if (sig.hasCompleteness) compl_[signal] = sig.completeness;
            if (sig.cn0Count) c[signal] = sig.cn0Mean;
        }
        for (const auto& [band, rms] : system.multipathRms)
            mp[std::string(1, band)] = rms;
        observations[key] = obs;
        if (!compl_.empty()) completeness[key] = compl_;
        if (!c.empty()) cn0[key] = c;
        slips[key] = system.slips;
        if (!mp.empty()) multipath[key] = mp;
    }
    j["satellites"] = satellites;
    j["observations"] = observations;
    j["completeness"] = completeness;
    j["cn0_mean"] = cn0;
    j["slips"] = slips;
    j["multipath_rms_m"] = multipath;
    const quality::PositionSummary& p = r.position;
    if (p.valid) {
        j["position"] = {{"x", p.mean[0]},
                         {"y", p.mean[1]},
                         {"z", p.mean[2]},
                         {"lat", p.lat},
                         {"lon", p.lon},
                         {"height", p.height},
                         {"epochs", p.epochs},
                         {"rms_3d_m", p.rms3d},
                         {"pdop_median", p.pdopMedian},
                         {"header_offset_m", p.hasHeaderOffset ? json(p.headerOffset) : json(nullptr)}};
    } else {
        j["position"] = nullptr;
    }
    json occupations = json::array();
    for (const quality::Occupation& o : r.occupations) {
        json e = {{"name", o.name},
                  {"number", o.number},
                  {"start", isoTime(o.start)},
                  {"end", isoTime(o.end)},
                  {"epochs", o.epochs},
                  {"sats_min", o.satsMin},
                  {"sats_mean", o.satsMean}};
        e["x"] = o.hasPosition ? json(o.position[0]) : json(nullptr);
        e["y"] = o.hasPosition ? json(o.position[1]) : json(nullptr);
        e["z"] = o.hasPosition ? json(o.position[2]) : json(nullptr);
        occupations.push_back(e);
    }
    j["occupations"] = occupations;
    j["messages"] = r.messages;
    return j;
}

} // namespace qc
