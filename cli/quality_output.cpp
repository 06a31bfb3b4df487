// SPDX-License-Identifier: MIT
// The report's headers come before any Qt header: Qt's keyword macros would rename their fields.
#include "json_report.h"
#include "quality/report.h"
#include "quality/html_report.h"
#include "quality/text_report.h"

#include "cli/quality_output.h"

#include <cstdio>
#include <fstream>

namespace cli {

namespace {

bool writeText(const QString& path, const std::string& text, QString* error) {
    std::ofstream out(path.toLocal8Bit().constData(), std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        *error = QString("cannot write %1").arg(path);
        return false;
    }
    return true;
}

} // namespace

bool writeQualityReport(const QString& input, const quality::Report& report, const QualityRequest& request,
                        bool nameInput, QString* error) {
    if (nameInput) std::printf("[%s]\n", input.toLocal8Bit().constData());
    std::fputs(quality::textReport(report).c_str(), stdout);
    std::fflush(stdout);
    bool ok = true;
    if (!request.json.isEmpty()) ok = writeText(request.json, qc::jsonReport(report).dump(2) + "\n", error) && ok;
    if (!request.html.isEmpty()) ok = writeText(request.html, quality::htmlReport(report), error) && ok;
    return ok;
}

} // namespace cli
