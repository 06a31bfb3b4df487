// SPDX-License-Identifier: MIT
#include "quality/text_report.h"

#include <cstdio>
#include <sstream>

#include "quality/gnss_time.h"

namespace quality {

namespace {

std::string format(const char* f, double v) {
    char b[64];
    std::snprintf(b, sizeof b, f, v);
    return b;
}

} // namespace

std::string textReport(const Report& r) {
    std::ostringstream out;
    if (!r.markerName.empty() || !r.markerNumber.empty())
        out << "Marker      " << r.markerName << (r.markerNumber.empty() ? "" : " (" + r.markerNumber + ")") << "\n";
    if (!r.receiverType.empty()) out << "Receiver    " << r.receiverType << "\n";
    if (!r.antennaType.empty()) out << "Antenna     " << r.antennaType << "\n";
    if (r.epochs > 0) {
        out << "Span        " << isoTime(r.first) << " to " << isoTime(r.last) << " ("
            << format("%.0f", r.last - r.first) << " s)\n";
        out << "Epochs      " << r.epochs << " at " << format("%g", r.interval) << " s, " << r.gapCount
            << (r.gapCount == 1 ? " gap" : " gaps") << "\n";
        for (size_t i = 0; i < r.gaps.size() && i < 10; ++i)
            out << "  gap       " << isoTime(r.gaps[i].start) << " to " << isoTime(r.gaps[i].end) << ", "
                << r.gaps[i].missingEpochs << " missing\n";
        if (r.gaps.size() > 10) out << "  ...\n";
    }
    if (!r.systems.empty()) {
        out << "\nSys Sats Signal      Obs  C/N0  Compl  Slips/1000  MP rms (m)\n";
        for (const auto& [letter, system] : r.systems) {
            bool firstRow = true;
            for (const auto& [signal, sig] : system.signals) {
                char line[160];
                std::string mp;
                const auto it = system.multipathRms.find(signal[0]);
                if (it != system.multipathRms.end()) mp = format("%.2f", it->second);
                const std::string compl_ = sig.hasCompleteness ? format("%5.1f%%", 100 * sig.completeness) : "    -";
                const std::string cn0 = sig.cn0Count ? format("%5.1f", sig.cn0Mean) : "    -";
                const std::string slips =
                    firstRow ? format("%5.2f", system.phaseEpochs ? 1000.0 * double(system.slips) / double(system.phaseEpochs) : 0.0)
                                   .append(" (" + std::to_string(system.slips) + ")")
                             : std::string();
                std::snprintf(line, sizeof line, "%-3s %4s %-6s %8ld %s %s  %-10s  %s\n",
                              firstRow ? std::string(1, letter).c_str() : "",
                              firstRow ? std::to_string(system.satellites).c_str() : "", signal.c_str(),
                              sig.observations, cn0.c_str(), compl_.c_str(), slips.c_str(), mp.c_str());
                out << line;
                firstRow = false;
            }
        }
    }
    {
        std::string list;
        int shown = 0;
        for (const SatelliteSummary& s : r.satellites)
            if (s.slips > 0 && shown < 12) {
                char b[80];
                std::snprintf(b, sizeof b, " %c%02d:%ld(%ld/%ld/%ld)", s.system, s.number, s.slips, s.lliSlips,
                              s.gfSlips, s.mwSlips);
                list += b;
                ++shown;
            }
        if (!list.empty()) out << "Slips (loss of lock/GF/MW):" << list << (shown == 12 ? " ..." : "") << "\n";
    }
    const PositionSummary& p = r.position;
    out << "\n";
    if (p.valid) {
        out << "Position    " << format("%.3f", p.mean[0]) << " " << format("%.3f", p.mean[1]) << " "
            << format("%.3f", p.mean[2]) << " m (ECEF)\n";
        out << "            " << format("%.8f", p.lat) << " " << format("%.8f", p.lon) << " "
            << format("%.3f", p.height) << " m\n";
        out << "            " << p.epochs << " epochs, scatter " << format("%.2f", p.rms3d) << " m 3D, median PDOP "
            << format("%.2f", p.pdopMedian) << ", " << format("%.1f", p.satellitesMean) << " satellites used\n";
        if (p.hasHeaderOffset)
            out << "Header pos. " << format("%.2f", p.headerOffset) << " m from the computed position"
                << (p.headerOffsetFlagged ? "  ** CHECK THE HEADER POSITION **" : "") << "\n";
    } else {
        out << "Position    not computed\n";
    }
    if (!r.occupations.empty()) {
        out << "\nOccupations\n";
        for (const Occupation& o : r.occupations) {
            out << "  " << o.name << (o.number.empty() ? "" : " (" + o.number + ")") << "  " << isoTime(o.start)
                << " +" << format("%.0f", o.end - o.start) << " s, " << o.epochs << " epochs, sats min "
                << o.satsMin << " mean " << format("%.1f", o.satsMean);
            if (o.hasPosition)
                out << ", " << format("%.3f", o.position[0]) << " " << format("%.3f", o.position[1]) << " "
                    << format("%.3f", o.position[2]);
            out << "\n";
        }
    }
    for (const std::string& m : r.messages)
        out << "Note: " << m << "\n";
    return out.str();
}

} // namespace quality
