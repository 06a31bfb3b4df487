// SPDX-License-Identifier: MIT
#include "quality/html_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "gnss/geodesy.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "quality/gnss_time.h"

namespace quality {

namespace {

std::string escape(const std::string& s) {
    std::string out;
    for (char c : s) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

std::string num(double v, int decimals = 1) {
    if (!std::isfinite(v)) v = 0;
    char b[64];
    std::snprintf(b, sizeof b, "%.*f", decimals, v);
    return b;
}

const char* colourOf(char system) {
    switch (system) {
    case 'G': return "#1f77b4";
    case 'R': return "#d62728";
    case 'E': return "#2ca02c";
    case 'C': return "#ff7f0e";
    case 'J': return "#9467bd";
    case 'S': return "#8c564b";
    default: return "#e377c2";
    }
}

const char* systemName(char system) {
    switch (system) {
    case 'G': return "GPS";
    case 'R': return "GLONASS";
    case 'E': return "Galileo";
    case 'C': return "BeiDou";
    case 'J': return "QZSS";
    case 'S': return "SBAS";
    case 'I': return "NavIC";
    default: return "?";
    }
}

std::string clock(double t) {
    const std::string iso = isoTime(t);
    return iso.size() >= 16 ? iso.substr(11, 5) : iso;
}

// A plot area: maps data to pixels inside margins.
struct Frame {
    double width = 640, height = 260, left = 48, right = 12, top = 12, bottom = 28;
    double x0 = 0, x1 = 1, y0 = 0, y1 = 1;
    double x(double v) const { return left + (v - x0) / (x1 - x0) * (width - left - right); }
    double y(double v) const { return height - bottom - (v - y0) / (y1 - y0) * (height - top - bottom); }
};

void open(std::ostringstream& o, const char* id, const Frame& f, const std::string& title) {
    o << "<figure><figcaption>" << escape(title) << "</figcaption><svg id=\"" << id << "\" viewBox=\"0 0 "
      << num(f.width, 0) << " " << num(f.height, 0) << "\" role=\"img\" aria-label=\"" << escape(title) << "\">\n";
}

void close(std::ostringstream& o) {
    o << "</svg></figure>\n";
}

void axes(std::ostringstream& o, const Frame& f, int xTicks, int yTicks, bool timeAxis, const std::string& yLabel,
          int yDecimals = 0) {
    o << "<rect class=\"frame\" x=\"" << num(f.left) << "\" y=\"" << num(f.top) << "\" width=\""
      << num(f.width - f.left - f.right) << "\" height=\"" << num(f.height - f.top - f.bottom) << "\"/>\n";
    for (int i = 0; i <= xTicks; ++i) {
        const double v = f.x0 + (f.x1 - f.x0) * i / xTicks;
        // The last label ends at the frame's edge rather than running past the picture.
        o << "<text class=\"tick\" x=\"" << num(f.x(v)) << "\" y=\"" << num(f.height - 8) << "\" text-anchor=\""
          << (i == xTicks ? "end" : "middle") << "\">" << (timeAxis ? clock(v) : num(v, 1)) << "</text>\n";
    }
    for (int i = 0; i <= yTicks; ++i) {
        const double v = f.y0 + (f.y1 - f.y0) * i / yTicks;
        o << "<line class=\"grid\" x1=\"" << num(f.left) << "\" x2=\"" << num(f.width - f.right) << "\" y1=\""
          << num(f.y(v)) << "\" y2=\"" << num(f.y(v)) << "\"/><text class=\"tick\" x=\"" << num(f.left - 4)
          << "\" y=\"" << num(f.y(v) + 4) << "\" text-anchor=\"end\">" << num(v, yDecimals) << "</text>\n";
    }
    if (!yLabel.empty())
        o << "<text class=\"label\" x=\"" << num(f.left + 4) << "\" y=\"" << num(f.top + 12) << "\">" << escape(yLabel)
          << "</text>\n";
}

void trackingPlot(std::ostringstream& o, const Report& r) {
    if (r.satellites.empty() || r.epochs < 1) return;
    Frame f;
    f.left = 40;
    f.height = std::min(2000.0, 40.0 + 9.0 * double(r.satellites.size()));
    f.x0 = r.first;
    f.x1 = std::max(r.last, r.first + 1);
    f.y0 = 0;
    f.y1 = double(r.satellites.size());
    open(o, "plot-tracking", f, "Tracking per satellite (gaps shaded, slips in black)");
    axes(o, f, 4, 0, true, "");
    for (const Gap& g : r.gaps)
        o << "<rect class=\"gap\" x=\"" << num(f.x(g.start)) << "\" y=\"" << num(f.top) << "\" width=\""
          << num(std::max(1.0, f.x(g.end) - f.x(g.start))) << "\" height=\"" << num(f.height - f.top - f.bottom)
          << "\"/>\n";
    const double minWidth = std::max(1.0, (f.width - f.left - f.right) / std::max(1.0, double(r.epochs)));
    for (size_t i = 0; i < r.satellites.size(); ++i) {
        const SatelliteSummary& s = r.satellites[i];
        const double y = f.y(double(r.satellites.size() - i)) + 1;
        char id[8];
        std::snprintf(id, sizeof id, "%c%02d", s.system, s.number);
        o << "<text class=\"tick\" x=\"" << num(f.left - 4) << "\" y=\"" << num(y + 6) << "\" text-anchor=\"end\">" << id
          << "</text>\n";
        for (const auto& run : s.runs)
            o << "<rect class=\"run\" fill=\"" << colourOf(s.system) << "\" x=\"" << num(f.x(run.first)) << "\" y=\""
              << num(y) << "\" width=\"" << num(std::max(minWidth, f.x(run.second) - f.x(run.first))) << "\" height=\"7\"/>";
        for (double t : s.slipTimes)
            o << "<rect class=\"slip\" x=\"" << num(f.x(t) - 1) << "\" y=\"" << num(y - 1) << "\" width=\"2\" height=\"9\"/>";
        o << "\n";
    }
    close(o);
}

void cn0Plot(std::ostringstream& o, const Report& r) {
    if (r.cn0Curves.empty()) return;
    Frame f;
    f.x0 = 0;
    f.x1 = 90;
    f.y0 = 20;
    f.y1 = 60;
    open(o, "plot-cn0", f, "Mean C/N0 against elevation, per signal");
    axes(o, f, 9, 4, false, "dB-Hz");
    int index = 0;
    const char* dashes[] = {"", "6 3", "2 2", "8 2 2 2", "1 3"};
    for (const Cn0Curve& c : r.cn0Curves) {
        o << "<polyline class=\"cn0\" fill=\"none\" stroke=\"" << colourOf(c.system) << "\" stroke-dasharray=\""
          << dashes[index % 5] << "\" points=\"";
        for (size_t b = 0; b < c.mean.size(); ++b)
            if (c.count[b] > 0)
                o << num(f.x(2.5 + 5.0 * double(b))) << "," << num(f.y(std::max(20.0, std::min(60.0, c.mean[b])))) << " ";
        o << "\"><title>" << c.system << " " << escape(c.signal) << "</title></polyline>\n";
        ++index;
    }
    // Legend, two columns per row.
    int k = 0;
    for (const Cn0Curve& c : r.cn0Curves) {
        const double x = f.left + 8 + 62.0 * (k % 9), y = f.top + 12 + 12.0 * (k / 9);
        o << "<text class=\"legend\" x=\"" << num(x) << "\" y=\"" << num(y) << "\" fill=\"" << colourOf(c.system) << "\">"
          << c.system << escape(c.signal) << "</text>";
        ++k;
    }
    o << "\n";
    close(o);
}

void skyPlot(std::ostringstream& o, const Report& r) {
    bool any = false;
    for (const SatelliteSummary& s : r.satellites)
        any = any || !s.sky.empty();
    if (!any) return;
    Frame f;
    f.width = f.height = 320;
    const double cx = 160, cy = 160, radius = 140;
    open(o, "plot-sky", f, "Sky plot of the tracks (north up)");
    for (int e : {0, 30, 60})
        o << "<circle class=\"grid\" cx=\"" << cx << "\" cy=\"" << cy << "\" r=\"" << num(radius * (90 - e) / 90.0)
          << "\" fill=\"none\"/>";
    o << "<line class=\"grid\" x1=\"20\" x2=\"300\" y1=\"160\" y2=\"160\"/><line class=\"grid\" x1=\"160\" x2=\"160\" "
         "y1=\"20\" y2=\"300\"/><text class=\"tick\" x=\"160\" y=\"14\" text-anchor=\"middle\">N</text>\n";
    for (const SatelliteSummary& s : r.satellites) {
        if (s.sky.empty()) continue;
        o << "<polyline class=\"track\" fill=\"none\" stroke=\"" << colourOf(s.system) << "\" points=\"";
        for (const auto& p : s.sky) {
            const double rr = radius * (90 - std::max(0.0, p[1])) / 90.0, a = p[0] * gnss::kPi / 180;
            o << num(cx + rr * std::sin(a)) << "," << num(cy - rr * std::cos(a)) << " ";
        }
        const auto& last = s.sky.back();
        const double rr = radius * (90 - std::max(0.0, last[1])) / 90.0, a = last[0] * gnss::kPi / 180;
        o << "\"/><text class=\"legend\" x=\"" << num(cx + rr * std::sin(a) + 3) << "\" y=\"" << num(cy - rr * std::cos(a))
          << "\" fill=\"" << colourOf(s.system) << "\">" << s.system << (s.number < 10 ? "0" : "") << s.number
          << "</text>\n";
    }
    close(o);
}

void dopPlot(std::ostringstream& o, const Report& r) {
    if (r.samples.size() < 2) return;
    Frame f;
    f.x0 = r.samples.front().time;
    f.x1 = std::max(r.samples.back().time, f.x0 + 1);
    int maxSats = 4;
    double maxPdop = 2;
    for (const EpochSample& s : r.samples) {
        maxSats = std::max(maxSats, s.satellites);
        if (s.hasFix) maxPdop = std::max(maxPdop, std::min(s.pdop, 10.0));
    }
    f.y0 = 0;
    f.y1 = 10.0 * std::ceil(maxSats / 10.0);
    open(o, "plot-dop", f, "Satellites (tracked, used) and PDOP over time");
    axes(o, f, 4, 5, true, "satellites");
    auto line = [&](const char* cls, const char* colour, auto value, bool fixOnly) {
        o << "<polyline class=\"" << cls << "\" fill=\"none\" stroke=\"" << colour << "\" points=\"";
        for (const EpochSample& s : r.samples)
            if (!fixOnly || s.hasFix) o << num(f.x(s.time)) << "," << num(f.y(value(s))) << " ";
        o << "\"/>\n";
    };
    line("sats", "#1f77b4", [](const EpochSample& s) { return double(s.satellites); }, false);
    line("used", "#2ca02c", [](const EpochSample& s) { return double(s.used); }, true);
    const double scale = f.y1 / (2.0 * std::ceil(maxPdop / 2.0));
    line("pdop", "#d62728", [&](const EpochSample& s) { return std::min(s.pdop, 10.0) * scale; }, true);
    o << "<text class=\"legend\" x=\"" << num(f.width - 200) << "\" y=\"" << num(f.top + 12)
      << "\"><tspan fill=\"#1f77b4\">tracked</tspan> <tspan fill=\"#2ca02c\">used</tspan> <tspan fill=\"#d62728\">PDOP x"
      << num(scale, 1) << "</tspan></text>\n";
    close(o);
}

void scatterPlot(std::ostringstream& o, const Report& r) {
    if (!r.position.valid) return;
    const gnss::LocalFrame frame(gnss::geodeticOf(r.position.mean));
    std::vector<std::pair<double, double>> en;
    double extent = 1;
    for (const EpochSample& s : r.samples)
        if (s.hasFix) {
            const Vec3 d{s.position[0] - r.position.mean[0], s.position[1] - r.position.mean[1],
                         s.position[2] - r.position.mean[2]};
            const Vec3 e = gnss::enuOf(d, frame);
            en.emplace_back(e[0], e[1]);
            extent = std::max(extent, std::max(std::fabs(e[0]), std::fabs(e[1])));
        }
    if (en.empty()) return;
    extent = std::ceil(extent);
    Frame f;
    f.width = 340;
    f.height = 320;
    f.x0 = f.y0 = -extent;
    f.x1 = f.y1 = extent;
    open(o, "plot-scatter", f, "East/north of the epoch positions around their mean (m)");
    axes(o, f, 4, 4, false, "north", 1);
    for (const auto& p : en)
        o << "<circle class=\"fix\" cx=\"" << num(f.x(p.first)) << "\" cy=\"" << num(f.y(p.second)) << "\" r=\"1.6\"/>";
    o << "\n";
    close(o);
}

} // namespace

std::string htmlReport(const Report& r) {
    std::ostringstream o;
    const std::string title = "Quality report" + (r.markerName.empty() ? std::string() : " " + r.markerName);
    o << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"><title>"
      << escape(title)
      << "</title><style>\n"
         "body{font-family:sans-serif;margin:0 auto;padding:8px;max-width:960px;color:#222}"
         "h1{font-size:1.3em}h2{font-size:1.1em;margin-top:1.2em}"
         "table{border-collapse:collapse;font-size:.9em;margin:4px 0}td,th{border:1px solid #ccc;padding:2px 6px;"
         "text-align:right}th{background:#f0f0f0}td.l,th.l{text-align:left}.scroll{overflow-x:auto}"
         ".flag{color:#b00;font-weight:bold}figure{margin:8px 0}figcaption{font-size:.9em;font-weight:bold}"
         "svg{width:100%;height:auto;max-width:960px;background:#fff}"
         ".frame{fill:none;stroke:#888}.grid{stroke:#ddd}.tick,.legend,.label{font-size:10px}.gap{fill:#eee}"
         ".slip{fill:#000}.fix{fill:#1f77b4;fill-opacity:.6}.track{stroke-width:1.5}.cn0,.sats,.used,.pdop{"
         "stroke-width:1.5}\n</style></head><body>\n";
    o << "<h1>" << escape(title) << "</h1>\n";
    o << "<div class=\"scroll\"><table id=\"summary\">\n";
    auto row = [&](const std::string& name, const std::string& value, bool flag = false) {
        o << "<tr><th class=\"l\">" << escape(name) << "</th><td class=\"l" << (flag ? " flag" : "") << "\">"
          << escape(value) << "</td></tr>\n";
    };
    if (!r.markerName.empty() || !r.markerNumber.empty()) row("Marker", r.markerName + " " + r.markerNumber);
    if (!r.receiverType.empty()) row("Receiver", r.receiverType);
    if (!r.antennaType.empty()) row("Antenna", r.antennaType);
    if (r.epochs > 0) {
        row("First epoch (GPS)", isoTime(r.first));
        row("Last epoch (GPS)", isoTime(r.last));
        row("Duration", num((r.last - r.first) / 60.0, 1) + " min");
    }
    row("Epochs", std::to_string(r.epochs) + " at " + num(r.interval, 2) + " s");
    row("Gaps", std::to_string(r.gapCount), r.gapCount > 0);
    const PositionSummary& p = r.position;
    if (p.valid) {
        row("Position (ECEF, m)", num(p.mean[0], 3) + " " + num(p.mean[1], 3) + " " + num(p.mean[2], 3));
        row("Latitude, longitude, height", num(p.lat, 8) + " " + num(p.lon, 8) + " " + num(p.height, 3) + " m");
        row("Positioned epochs", std::to_string(p.epochs) + ", scatter " + num(p.rms3d, 2) + " m (3D)");
        row("Median PDOP / satellites used", num(p.pdopMedian, 2) + " / " + num(p.satellitesMean, 1));
        if (p.hasHeaderOffset)
            row("Header position offset", num(p.headerOffset, 2) + " m" + (p.headerOffsetFlagged ? " - check it" : ""),
                p.headerOffsetFlagged);
    } else {
        row("Position", "not computed");
    }
    o << "</table></div>\n";

    o << "<h2>Signals</h2><div class=\"scroll\"><table id=\"signals\"><tr><th class=\"l\">System</th><th>Sats</th>"
         "<th class=\"l\">Signal</th><th>Obs</th><th>C/N0</th><th>Complete</th><th>Slips</th><th>per 1000</th>"
         "<th>MP rms m</th></tr>\n";
    for (const auto& [letter, system] : r.systems)
        for (const auto& [signal, sig] : system.signals) {
            const auto mp = system.multipathRms.find(signal[0]);
            o << "<tr><td class=\"l\" style=\"color:" << colourOf(letter) << "\">" << systemName(letter) << "</td><td>"
              << system.satellites << "</td><td class=\"l\">" << escape(signal) << "</td><td>" << sig.observations
              << "</td><td>" << (sig.cn0Count ? num(sig.cn0Mean, 1) : "-") << "</td><td>"
              << (sig.hasCompleteness ? num(100 * sig.completeness, 1) + "%" : "-") << "</td><td>" << system.slips
              << "</td><td>"
              << num(system.phaseEpochs ? 1000.0 * double(system.slips) / double(system.phaseEpochs) : 0.0, 2)
              << "</td><td>" << (mp != system.multipathRms.end() ? num(mp->second, 2) : "-") << "</td></tr>\n";
        }
    o << "</table></div>\n";

    o << "<h2>Occupations</h2>";
    if (r.occupations.empty()) {
        o << "<p id=\"occupations\">No occupation events.</p>\n";
    } else {
        o << "<div class=\"scroll\"><table id=\"occupations\"><tr><th class=\"l\">Name</th><th class=\"l\">Number</th>"
             "<th>Start</th><th>Duration</th><th>Epochs</th><th>Sats min</th><th>Sats mean</th><th>X</th><th>Y</th>"
             "<th>Z</th></tr>\n";
        for (const Occupation& c : r.occupations)
            o << "<tr><td class=\"l\">" << escape(c.name) << "</td><td class=\"l\">" << escape(c.number) << "</td><td>"
              << clock(c.start) << "</td><td>" << num(c.end - c.start, 0) << " s</td><td>" << c.epochs << "</td><td>"
              << c.satsMin << "</td><td>" << num(c.satsMean, 1) << "</td><td>"
              << (c.hasPosition ? num(c.position[0], 3) : "-") << "</td><td>"
              << (c.hasPosition ? num(c.position[1], 3) : "-") << "</td><td>"
              << (c.hasPosition ? num(c.position[2], 3) : "-") << "</td></tr>\n";
        o << "</table></div>\n";
    }
    if (!r.messages.empty()) {
        o << "<h2>Notes</h2><ul id=\"messages\">";
        for (const std::string& m : r.messages)
            o << "<li>" << escape(m) << "</li>";
        o << "</ul>\n";
    }
    o << "<h2>Plots</h2>\n";
    trackingPlot(o, r);
    cn0Plot(o, r);
    skyPlot(o, r);
    dopPlot(o, r);
    scatterPlot(o, r);
    o << "</body></html>\n";
    return o.str();
}

} // namespace quality
