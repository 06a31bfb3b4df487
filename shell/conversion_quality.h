// SPDX-License-Identifier: MIT
#pragma once
// The quality check of one conversion, on the worker's thread: the writer feeds it as it
// writes (see quality/conversion_feed.h); after the files are closed the kept records are
// replayed in slices, between which the worker's event loop can serve a cancel.
#include <QString>
#include <QStringList>
#include <memory>

namespace quality {
class ConversionFeed;
struct Report;
} // namespace quality
namespace rinex {
class EpochObserver;
}

class ConversionQuality {
public:
    ConversionQuality();
    ~ConversionQuality();

    rinex::EpochObserver* observer();
    // The conversion's closed files, before compression. False with the reason when they
    // cannot be checked.
    bool prepare(const QStringList& files, QString* error);
    // One slice of the replay; true when the report is made.
    bool step();
    std::shared_ptr<const quality::Report> report() const { return report_; }
    // Whether the check had to read the written observation file (quality/conversion_feed.h).
    bool readTheFile() const { return readTheFile_; }
    QStringList summaryLines() const;
    // The report as one HTML page beside the observation file (quality_report_path.h); its
    // path, or empty with the reason.
    QString writeHtmlBeside(QString* error) const;

private:
    std::unique_ptr<quality::ConversionFeed> feed_;
    std::shared_ptr<const quality::Report> report_;
    QString observationFile_;
    bool readTheFile_ = false;
};
