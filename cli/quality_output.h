// SPDX-License-Identifier: MIT
#pragma once
// The quality check of a finished conversion's files: the text summary on stdout, the JSON
// and HTML reports where asked.
#include <QString>
#include <QStringList>
#include <memory>

namespace quality {
struct Report;
}

namespace cli {

struct QualityRequest {
    bool enabled = false;
    QString json; // empty: none
    QString html; // empty: none
};

// The report of a checked conversion (made by the conversion worker as it wrote the files):
// the text summary on stdout, the JSON and HTML files where asked. False with a message when
// a file cannot be written.
bool writeQualityReport(const QString& input, const quality::Report& report, const QualityRequest& request,
                        bool nameInput, QString* error);

} // namespace cli
