// SPDX-License-Identifier: MIT
// What the writer leaves out when a time window, a decimation interval or a set of systems
// is chosen, and the long file names given at close. With the defaults every test here
// passes everything through, so the output is the same as without them.
#include "rinex/rinex3xx.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <algorithm>

#include "gnss/gps_calendar.h"
#include "rinex/navigation_reference.h"
#include "rinex/rinex2_file_name.h"

namespace {

// System letter of each output file, in FileIndex order ('\0': the observation file).
constexpr char kFileSystems[] = {'\0', 'C', 'E', 'G', 'R'};
// Last letter of each RINEX 2.11 short name, in FileIndex order.
constexpr char kFileLetters[] = {'O', 'C', 'L', 'N', 'G'};

} // namespace

bool Rinex3xx::setOutputFilter(const rinex::OutputFilter& filter) {
    if (open_) return false;
    filter_ = filter;
    return true;
}

bool Rinex3xx::setLongNames(const rinex::LongNameFields& fields) {
    if (open_ || !rinex::validCountry(fields.country) || fields.monument < '0' || fields.monument > '9' ||
        fields.receiver < '0' || fields.receiver > '9')
        return false;
    longNames_ = true;
    longNameFields_ = fields;
    return true;
}

bool Rinex3xx::setShortNames(bool shortNames) {
    if (open_) return false;
    shortNames_ = shortNames;
    return true;
}

QStringList Rinex3xx::createdFileNames() const {
    QStringList names;
    for (int i = 0; i < FileCount; ++i)
        if (created_[i]) names << files_[i].fileName();
    return names;
}

QString Rinex3xx::outputLocation() const {
    return renamesAtClose() ? longNameFolder_ : observationFileName();
}

bool Rinex3xx::fileWanted(int index) const {
    if (index == FileObservation) return true;
    // RINEX 2.11 has no Galileo or BeiDou navigation file.
    if (rinex::isRinex2(version_) && (index == FileGalileo || index == FileBeidou)) return false;
    // The mixed navigation file takes the place of the GPS one and holds every kept system.
    if (navigationMerged_)
        return index == FileGps && (filter_.keepsSystem('G') || filter_.keepsSystem('R') ||
                                     filter_.keepsSystem('E') || filter_.keepsSystem('C'));
    return filter_.keepsSystem(kFileSystems[index]);
}

void Rinex3xx::selectSignals() {
    if (!filter_.selectsSystems()) return;
    for (auto it = signalMap_.begin(); it != signalMap_.end();) {
        if (filter_.keepsSystem(it.key()))
            ++it;
        else
            it = signalMap_.erase(it);
    }
}

void Rinex3xx::dropLeftOutSystems() {
    auto& entries = epoch_.entries;
    entries.erase(
        std::remove_if(entries.begin(), entries.end(),
                       [this](const EpochWorkArea::Entry& e) { return !filter_.keepsSystem(e.system); }),
        entries.end());
}

bool Rinex3xx::epochWanted(quint32 millisecondsOfWeek) const {
    return filter_.inWindow(streamTime_) && filter_.onInterval(millisecondsOfWeek);
}

bool Rinex3xx::navigationWanted(qint64 referenceTime, char system) {
    if (!filter_.keepsSystem(system)) return false;
    if (!filter_.hasWindow()) return true;
    return referenceTime != rinex::kUnknownReference && filter_.keepsNavigation(referenceTime);
}

// Events take the time of the latest observation log.
qint64 Rinex3xx::startOfMovingEvent() {
    if (pendingSite_.pending) {
        // The marker ended before any of its samples was written: nothing to close.
        pendingSite_.pending = false;
        return 0;
    }
    if (!filter_.inWindow(streamTime_)) return 0;
    return writeStartOfMoving();
}

qint64 Rinex3xx::newSiteEvent(const QByteArray& name, const QByteArray& number, double antennaHeight,
                              double x, double y, double z) {
    pendingSite_.pending = false;
    if (filter_.inWindow(streamTime_)) return writeNewSite(name, number, antennaHeight, x, y, z);
    if (streamTime_ < filter_.start()) pendingSite_ = PendingSite{true, name, number, antennaHeight, x, y, z};
    return 0;
}

qint64 Rinex3xx::sampleEpoch() {
    // Samples are the occupation's data: the window applies to them, decimation does not.
    if (!filter_.inWindow(gnss::gpsMilliseconds(epoch_.week, epoch_.milliseconds))) return 0;
    qint64 written = 0;
    if (pendingSite_.pending) {
        pendingSite_.pending = false;
        written += writeNewSite(pendingSite_.name, pendingSite_.number, pendingSite_.antennaHeight,
                                pendingSite_.x, pendingSite_.y, pendingSite_.z);
    }
    return written + writeEpoch();
}

QString Rinex3xx::openBase(const QString& path) {
    if (!renamesAtClose()) return path.left(path.size() - 1);
    const QFileInfo info(path);
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    if (!QFileInfo(folder).isDir()) return QString();
    longNameFolder_ = folder;
    // Hidden and unique; the files are renamed to their long names at close.
    const QString tag = QString::number(QRandomGenerator::global()->generate64(), 16);
    return QDir(folder).filePath(QStringLiteral(".velmoor-%1.part").arg(tag));
}

void Rinex3xx::removeTemporaryFiles() {
    for (int i = 0; i < FileCount; ++i) {
        if (!created_[i]) continue;
        QFile::remove(files_[i].fileName());
        created_[i] = false;
    }
}

void Rinex3xx::renameToLongNames() {
    rinex::LongNameFacts facts;
    facts.markerName = markerName_;
    facts.firstEpoch = firstEpoch_;
    facts.lastEpoch = lastEpoch_;
    facts.interval = interval_;
    facts.navigationFirst = navigationFirst_;
    facts.navigationLast = navigationLast_;
    facts.observedSystems = observedSystems_;

    const QDir folder(longNameFolder_);
    QString finals[FileCount];
    for (int i = 0; i < FileCount; ++i) {
        if (!created_[i]) continue;
        if (shortNamesActive_)
            finals[i] = folder.filePath(rinex::rinex2ShortName(facts, kFileLetters[i]));
        else
            finals[i] = folder.filePath(i == FileObservation
                                            ? rinex::observationLongName(longNameFields_, facts)
                                            : rinex::navigationLongName(longNameFields_, facts,
                                                                       navigationMerged_ ? 'M' : kFileSystems[i]));
        // Existing files are never overwritten: the conversion fails and leaves nothing behind.
        if (QFileInfo::exists(finals[i])) {
            if (writeError_.isEmpty()) writeError_ = QStringLiteral("file exists, %1").arg(finals[i]);
            removeTemporaryFiles();
            return;
        }
    }
    for (int i = 0; i < FileCount; ++i) {
        if (!created_[i]) continue;
        // rename() refuses an existing target, so a file made meanwhile is not overwritten either.
        if (!files_[i].rename(finals[i])) {
            if (writeError_.isEmpty()) writeError_ = QStringLiteral("rename failed, %1").arg(finals[i]);
            for (int j = i; j < FileCount; ++j) {
                if (!created_[j]) continue;
                QFile::remove(files_[j].fileName());
                created_[j] = false;
            }
            return;
        }
    }
}
