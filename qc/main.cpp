// SPDX-License-Identifier: MIT
// velmoor-qc: quality report of RINEX 3 observation files (with their navigation files).
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "json_report.h"
#include "quality/check_files.h"
#include "quality/html_report.h"
#include "quality/text_report.h"

namespace {

const char kUsage[] =
    "Usage: velmoor-qc [--json FILE] [--html FILE] OBS [NAV...]\n"
    "Quality check of a RINEX 3 observation file: span, gaps, signals, C/N0, completeness,\n"
    "cycle slips, multipath, single-point position and PPK occupations.\n"
    "\n"
    "  OBS          RINEX 3.02-3.05 observation file (plain or .gz)\n"
    "  NAV          RINEX 3 navigation files of the same day (plain or .gz)\n"
    "  --json FILE  write the report as JSON\n"
    "  --html FILE  write the report as one self-contained HTML page\n"
    "  -h, --help   this text\n";

bool writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        std::cerr << "velmoor-qc: cannot write " << path << "\n";
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::string json, html;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "-h" || a == "--help") {
            std::cout << kUsage;
            return 0;
        } else if (a == "--json" || a == "--html") {
            if (i + 1 >= argc) {
                std::cerr << "velmoor-qc: " << a << " needs a file name\n" << kUsage;
                return 2;
            }
            (a == "--json" ? json : html) = argv[++i];
        } else if (a.size() > 1 && a[0] == '-') {
            std::cerr << "velmoor-qc: unknown option " << a << "\n" << kUsage;
            return 2;
        } else {
            files.push_back(a);
        }
    }
    if (files.empty()) {
        std::cerr << kUsage;
        return 2;
    }
    const std::vector<std::string> nav(files.begin() + 1, files.end());
    quality::Report report;
    std::string error;
    if (!quality::checkFiles(files[0], nav, quality::Options{}, report, error)) {
        std::cerr << "velmoor-qc: " << error << "\n";
        return 1;
    }
    std::cout << quality::textReport(report);
    bool ok = true;
    if (!json.empty()) ok = writeFile(json, qc::jsonReport(report).dump(2) + "\n") && ok;
    if (!html.empty()) ok = writeFile(html, quality::htmlReport(report)) && ok;
    return ok ? 0 : 1;
}
