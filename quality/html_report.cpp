#include "quality/html_report.h"

#include "quality/text_report.h"

namespace quality {

std::string htmlReport(const Report& report) {
    return "<!DOCTYPE html><html><body><pre>" + textReport(report) + "</pre></body></html>\n";
}

} // namespace quality
