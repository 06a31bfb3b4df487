// SPDX-License-Identifier: MIT
// The quality headers come before any Qt header: Qt's keyword macros would rename their fields.
#include "quality/check_files.h"
#include "quality/conversion_feed.h"
#include "quality/html_report.h"
#include "quality/summary_lines.h"

#include "shell/conversion_quality.h"

#include <QFile>
#include <vector>

#include "shell/quality_report_path.h"

namespace {

// Epochs replayed per pass of the worker's event loop: a few milliseconds of work.
constexpr size_t kEpochsPerStep = 2000;

} // namespace

ConversionQuality::ConversionQuality() {
    quality::Options options;
    options.positionInterval = quality::kConversionPositionInterval;
    feed_.reset(new quality::ConversionFeed(options));
}

ConversionQuality::~ConversionQuality() = default;

rinex::EpochObserver* ConversionQuality::observer() {
    return feed_.get();
}

bool ConversionQuality::prepare(const QStringList& files, QString* error) {
    std::vector<std::string> paths;
    for (const QString& file : files)
        paths.push_back(QFile::encodeName(file).toStdString());
    std::string why;
    if (!feed_ || !feed_->prepare(paths, why)) {
        *error = QString::fromLocal8Bit(why.c_str());
        return false;
    }
    observationFile_ = QFile::decodeName(quality::observationFileOf(paths).c_str());
    readTheFile_ = feed_->readTheFile();
    return true;
}

bool ConversionQuality::step() {
    if (report_) return true;
    if (!feed_->replay(kEpochsPerStep)) return false;
    report_ = std::make_shared<const quality::Report>(feed_->finish());
    feed_.reset();
    return true;
}

QStringList ConversionQuality::summaryLines() const {
    QStringList lines;
    if (report_)
        for (const std::string& line : quality::summaryLines(*report_))
            lines << QString::fromStdString(line);
    return lines;
}

QString ConversionQuality::writeHtmlBeside(QString* error) const {
    if (!report_) return QString();
    const QString path = qualityReportPath(observationFile_);
    if (path.isEmpty()) {
        *error = QStringLiteral("no free name for the quality report beside %1").arg(observationFile_);
        return QString();
    }
    const std::string html = quality::htmlReport(*report_);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(html.data(), qint64(html.size())) != qint64(html.size())) {
        *error = QStringLiteral("cannot write %1").arg(path);
        file.close();
        return QString();
    }
    return path;
}
