// SPDX-License-Identifier: MIT
#pragma once
// Where a conversion's HTML quality report goes: beside its observation file, named after
// it with ".qc.html" added. A file of that name is replaced only when it is such a report
// itself (an earlier conversion's); any other file is left alone and the next free name
// ".qc-2.html", ".qc-3.html", ... is taken.
#include <QString>

// Empty when no name up to ".qc-99.html" is free.
QString qualityReportPath(const QString& observationFile);
// True when the file begins like a quality report this program writes.
bool isQualityReport(const QString& path);
