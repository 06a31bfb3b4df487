// SPDX-License-Identifier: MIT
#include "shell/output_files.h"

#include <QFile>
#include <QFileInfo>
#include <string>

#include "compression/compact_rinex.h"
#include "params/output_options.h"
#include "shell/streamed_compact_rinex.h"

namespace {

struct Step {
    QString from;
    QString to;
    bool compact; // Compact RINEX (and gzip when to ends in .gz)
    bool gzip;
};

// The compressed name of each closed file; the observation file is the first.
QList<Step> stepsFor(const QStringList& created, const QString& kind) {
    QList<Step> steps;
    const bool compact = kind == "crx" || kind == "crx.gz";
    const bool gzip = kind == "gz" || kind == "crx.gz";
    for (int i = 0; i < created.size(); ++i) {
        Step step{created.at(i), created.at(i), i == 0 && compact, gzip};
        if (step.compact) {
            // Long names end in .rnx, short ones in the file-kind letter.
            if (step.to.endsWith(".rnx"))
                step.to = step.to.left(step.to.size() - 4) + ".crx";
            else
                step.to = step.to.left(step.to.size() - 1) + 'D';
        }
        if (step.gzip) step.to += ".gz";
        if (step.to != step.from) steps << step;
    }
    return steps;
}

} // namespace

bool reportsOutputFiles(const ConvertOptions& options) {
    using namespace outputoptions;
    QByteArray systems;
    const bool selectsSystems =
        parseSystems(options.value(Systems), &systems) && systems.size() < AllSystems.size();
    return options.value(LongName) == "1" || !options.value(Compression).isEmpty() || selectsSystems ||
           (options.value(ShortName) == "1" && options.value("Version") == "2.11");
}

QString existingCompressedFile(const QStringList& plainNames, const ConvertOptions& options) {
    for (const Step& step : stepsFor(plainNames, options.value(outputoptions::Compression)))
        if (QFileInfo::exists(step.to)) return step.to;
    return QString();
}

bool compressesToCompactRinex(const ConvertOptions& options) {
    const QString kind = options.value(outputoptions::Compression);
    return kind == "crx" || kind == "crx.gz";
}

bool finishOutputFiles(const QStringList& created, const ConvertOptions& options, QStringList* finalNames,
                       QString* error, StreamedCompactRinex* streamed) {
    *finalNames = created;
    const QList<Step> steps = stepsFor(created, options.value(outputoptions::Compression));
    // Nothing is compressed over an existing file; the plain files then stay.
    for (const Step& step : steps) {
        if (QFileInfo::exists(step.to)) {
            *error = QStringLiteral("file exists, %1").arg(step.to);
            return false;
        }
    }
    for (const Step& step : steps) {
        const std::string from = QFile::encodeName(step.from).toStdString();
        const std::string to = QFile::encodeName(step.to).toStdString();
        std::string message;
        bool ok = false;
        if (step.compact && streamed && streamed->ready())
            ok = streamed->writeCompact(from, to, step.gzip, &message);
        else if (step.compact && step.gzip)
            ok = compression::compactRinexGzipFile(from, to, &message);
        else if (step.compact)
            ok = compression::compactRinexFile(from, to, &message);
        else
            ok = compression::gzipFile(from, to, &message);
        if (!ok) {
            *error = QStringLiteral("compression failed, %1").arg(QString::fromStdString(message));
            return false;
        }
        QFile::remove(step.from);
        finalNames->replace(finalNames->indexOf(step.from), step.to);
    }
    return true;
}
