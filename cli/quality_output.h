// SPDX-License-Identifier: MIT
#pragma once
// The quality check of a finished conversion's files: the text summary on stdout, the JSON
// and HTML reports where asked.
#include <QString>
#include <QStringList>

namespace cli {

struct QualityRequest {
    bool enabled = false;
    QString json; // empty: none
    QString html; // empty: none
};

// The observation file among a conversion's files (plain or .gz), the rest as navigation.
// False with a message when the files cannot be checked.
bool checkConvertedFiles(const QString& input, const QStringList& files, const QualityRequest& request,
                         bool nameInput, QString* error);

} // namespace cli
