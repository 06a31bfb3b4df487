// SPDX-License-Identifier: MIT
#include "shell/quality_report_path.h"

#include <QFile>
#include <QFileInfo>

bool isQualityReport(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray start = file.read(1024);
    return start.startsWith("<!DOCTYPE html>\n") && start.contains("<title>Quality report");
}

QString qualityReportPath(const QString& observationFile) {
    for (int n = 1; n < 100; ++n) {
        const QString path = observationFile + (n == 1 ? QStringLiteral(".qc.html") : QStringLiteral(".qc-%1.html").arg(n));
        const QFileInfo info(path);
        if (!info.exists()) return path;
        if (info.isFile() && isQualityReport(path)) return path;
    }
    return QString();
}
