// SPDX-License-Identifier: MIT
#include "decoding/range_decoders.h"

#include "rinex/output_job.h"
#include "rinex/output_pipeline.h"
#include "rinex/rinex3xx.h"

#include <cstdio>

#include "rinex/c_numeric_locale.h"
#include "gnss/gps_calendar.h"
#include "rinex/marker_types.h"
#include "rinex/navigation_reference.h"

namespace {

// The five output files, in opening order, with the last letter of each name.
constexpr char kFileLetters[] = {'O', 'C', 'L', 'N', 'G'};
// System text stamped at byte 40 of each navigation file's reservation.
const char* const kNavigationSystemText[] = {nullptr, "C: BDS", "E: GALILEO", "G: GPS", "R: GLONASS"};

rinex::IonoUtcSlot slotFrom(const decoding::IonoUtcParameters& record) {
    rinex::IonoUtcSlot slot;
    slot.valid = true;
    for (int i = 0; i < 4; ++i) {
        slot.alpha[i] = record.alpha[i];
        slot.beta[i] = record.beta[i];
    }
    slot.leapSeconds = qint32(record.leapSeconds);
    slot.leapSecondsFuture = qint32(record.leapSecondsFuture);
    slot.week = qint32(record.leapWeek);
    slot.day = qint32(record.leapDay);
    slot.a0 = record.a0;
    slot.a1 = record.a1;
    slot.utcTime = record.utcTime;
    slot.utcWeek = gnss::fullWeek(record.utcWeek, record.header.week);
    return slot;
}

} // namespace

Rinex3xx::Rinex3xx(QObject* parent) : QObject(parent) {
    epoch_.writer = this;
    // Room for a full sky of multi-frequency signals, so steady state never reallocates.
    epoch_.reserve(512);
    epochBlock_.resize(kEpochBlockCapacity);
}

Rinex3xx::~Rinex3xx() {
    if (open_) close();
}

bool Rinex3xx::setVersion(int minor) {
    if (open_ || minor < 2 || minor > 5) return false;
    const rinex::Version versions[] = {rinex::Version::V302, rinex::Version::V303, rinex::Version::V304,
                                       rinex::Version::V305};
    version_ = versions[minor - 2];
    minorVersion_ = minor;
    return true;
}

bool Rinex3xx::setVersion(const QByteArray& text) {
    rinex::Version version = version_;
    if (open_ || !rinex::parseVersion(text, version)) return false;
    version_ = version;
    minorVersion_ = rinex::minorOf(version);
    return true;
}

bool Rinex3xx::setNavigationMerged(bool merged) {
    if (open_) return false;
    navigationMerged_ = merged;
    return true;
}

bool Rinex3xx::setObservationBodySink(rinex::ObservationBodySink* sink) {
    if (open_) return false;
    bodySink_ = sink;
    return true;
}

rinex::ObservationTypeCounts Rinex3xx::observationTypeCounts() const {
    // Four types (code, phase, Doppler, strength) per signal column, as the header lists them.
    rinex::ObservationTypeCounts counts;
    for (auto it = signalMap_.cbegin(); it != signalMap_.cend(); ++it)
        counts.emplace_back(it.key(), int(it.value().size()) * 4);
    return counts;
}

bool Rinex3xx::setProgram(const QByteArray& program, const QByteArray& runBy) {
    if (open_) return false;
    program_ = program.left(20);
    runBy_ = runBy.left(20);
    return true;
}

bool Rinex3xx::setMarker(const QByteArray& name, const QByteArray& number, const QByteArray& type) {
    if (open_ || !MarkerTypeNames.contains(type)) return false;
    markerName_ = name.left(60);
    markerNumber_ = number;
    // A long number pushes the name to the 20-byte form; the number itself stays whole.
    if (number.size() > 19) markerName_ = markerName_.left(20);
    markerType_ = type;
    return true;
}

bool Rinex3xx::setObserver(const QByteArray& observer, const QByteArray& agency) {
    if (open_) return false;
    observer_ = observer.left(20);
    agency_ = agency.left(40);
    return true;
}

bool Rinex3xx::setReceiver(const QByteArray& number, const QByteArray& type, const QByteArray& version) {
    if (open_) return false;
    receiverNumber_ = number.left(20);
    receiverType_ = type.left(20);
    receiverVersion_ = version.left(20);
    return true;
}

bool Rinex3xx::setAntenna(const QByteArray& number, const QByteArray& type) {
    if (open_) return false;
    antennaNumber_ = number.left(20);
    antennaType_ = type.left(20);
    return true;
}

bool Rinex3xx::setAntennaDelta(double h, double e, double n) {
    auto inside = [](double v) { return v > -1000.0 && v < 1000.0; };
    if (open_ || !inside(h) || !inside(e) || !inside(n)) return false;
    antennaDeltaH_ = h;
    antennaDeltaE_ = e;
    antennaDeltaN_ = n;
    return true;
}

bool Rinex3xx::setAntennaHeight(double height) {
    if (open_ || !(height >= -1000.0 && height <= 1000.0)) return false;
    antennaHeight_ = height;
    return true;
}

bool Rinex3xx::setApproxPosition(double latitude, double longitude, double height) {
    if (open_ || !(latitude >= -90.0 && latitude <= 90.0) || !(longitude >= -180.0 && longitude <= 360.0))
        return false;
    userLatitude_ = latitude;
    userLongitude_ = longitude;
    userHeight_ = height;
    return true;
}

bool Rinex3xx::setSignalSearchMode(quint32 mode) {
    if (open_) return false;
    signalSearchMode_ = mode;
    return true;
}

bool Rinex3xx::setPpkMode(int mode) {
    if (open_ || mode < rinex::PpkNone || mode > rinex::PpkMix) return false;
    ppkMode_ = mode;
    return true;
}

bool Rinex3xx::setPresetSignals(const QMap<char, QList<QByteArray>>& signalCodes) {
    if (open_) return false;
    SignalMap preset;
    for (auto it = signalCodes.cbegin(); it != signalCodes.cend(); ++it) {
        QList<SignalColumn>& columns = preset[it.key()];
        for (const QByteArray& code : it.value()) {
            if (code.size() != 2) continue; // a column needs a band digit and an attribute
            bool known = false;
            for (const SignalColumn& c : columns)
                known = known || (c.code[0] == code[0] && c.code[1] == code[1]);
            if (known) continue;
            SignalColumn column{{code[0], code[1], 0}, int(columns.size()), 0};
            columns.append(column);
        }
    }
    presetSignals_ = preset;
    return true;
}

bool Rinex3xx::setGlonassCodeBiases(const QMap<QByteArray, double>& biases) {
    if (open_) return false;
    glonassCodeBiases_ = biases;
    return true;
}

bool Rinex3xx::setComments(const QList<QByteArray>& comments) {
    if (open_) return false;
    QList<QByteArray> lines;
    for (const QByteArray& comment : comments)
        lines.append(comment.left(60).leftJustified(60, ' ') + "COMMENT             \r\n");
    comments_ = lines;
    return true;
}

QStringList Rinex3xx::outputFileNames() const {
    QStringList names;
    for (const QFile& file : files_)
        if (!file.fileName().isEmpty()) names << file.fileName();
    return names;
}

qint64 Rinex3xx::open(const QString& path) {
    if (open_ || path.isEmpty()) return 0;

    // Per-conversion state; the marker-in-progress flag survives on purpose.
    epoch_.clear();
    epochBlockUsed_ = 0;
    firstEpoch_ = 0;
    lastEpoch_ = 0;
    interval_ = 0;
    epochsWritten_ = 0;
    epochRecordLines_ = 0;
    observationDataStart_ = 0;
    firstLatitude_ = firstLongitude_ = firstHeight_ = 0;
    haveTime_ = false;
    time_ = decoding::TimeSolution{};
    haveUtc_ = false;
    firstUtc_ = decoding::IonoUtcParameters{};
    latestUtc_ = decoding::IonoUtcParameters{};
    leapSeconds_ = rinex::kUnknownLeapSeconds;
    glonassSlots_.clear();
    signalMap_ = presetSignals_;
    signalMap_.detach(); // the epoch writer changes it; detach now, not on the first epoch
    forgetObserved();
    navigation_.reset();
    navigation_.setVersion(version_);
    writeError_.clear();
    codeBiases_.clear();
    for (auto it = glonassCodeBiases_.cbegin(); it != glonassCodeBiases_.cend(); ++it)
        if (it.key().size() == 2 && it.value() != 0.0)
            codeBiases_.push_back(CodeBias{{it.key()[0], it.key()[1]}, it.value()});

    streamTime_ = 0;
    pendingSite_ = PendingSite{};
    navigationFirst_ = navigationLast_ = 0;
    observedSystems_.clear();
    selectSignals();
    // RINEX 2.11 has no mixed navigation file; its type list is fixed before the first epoch.
    shortNamesActive_ = shortNames_ && rinex::isRinex2(version_) && !longNames_;
    if (rinex::isRinex2(version_)) {
        if (navigationMerged_) return 0;
        openRinex2();
    }

    for (bool& created : created_)
        created = false;
    const QString base = openBase(path);
    if (base.isEmpty()) return 0;
    for (int i = 0; i < FileCount; ++i)
        files_[i].setFileName(base + QLatin1Char(kFileLetters[i]));
    if (navigationMerged_) {
        for (int i = FileBeidou; i < FileCount; ++i)
            files_[i].setFileName(QString());
        files_[FileGps].setFileName(base + QLatin1Char('P'));
    }
    // RINEX 2.11 has no Galileo or BeiDou navigation file: none is named.
    if (rinex::isRinex2(version_)) {
        files_[FileBeidou].setFileName(QString());
        files_[FileGalileo].setFileName(QString());
    }
    for (int i = 0; i < FileCount; ++i)
        if (fileWanted(i) && files_[i].exists()) return 0;

    // Temporary files are made new, never over an existing one.
    const QIODevice::OpenMode mode =
        QIODevice::WriteOnly | (renamesAtClose() ? QIODevice::NewOnly : QIODevice::Truncate);
    for (int i = 0; i < FileCount; ++i) {
        if (!fileWanted(i)) continue;
        if (!files_[i].open(mode)) {
            for (QFile& f : files_)
                f.close();
            if (renamesAtClose()) removeTemporaryFiles();
            return 0;
        }
        created_[i] = true;
    }

    qint64 total = 0;
    char line[96];
    QFile& obs = files_[FileObservation];
    const int n = std::snprintf(line, sizeof line, "%60s%-20s\r\n", "", "COMMENT");
    for (int i = 0; i < rinex::kObservationReservedLines; ++i)
        total += writeLine(obs, line, n);
    const int end = std::snprintf(line, sizeof line, "%60s%-20s\r\n", "", "END OF HEADER");
    total += writeLine(obs, line, end);
    observationDataStart_ = obs.pos();
    bodyToSink_ = bodySink_ && !rinex::isRinex2(version_);
    bodySinkBegun_ = false;

    for (int i = FileBeidou; i < FileCount; ++i) {
        if (!created_[i]) continue;
        total += rinex::reserveNavigationHeader(&files_[i],
                                                navigationMerged_ ? "M: MIXED" : kNavigationSystemText[i]);
        checkDevice(files_[i]);
    }

    open_ = true;
    observedWhileFormatted_ = !outputThread_;
    formattingObserver_ = nullptr;
    formattedSystems_ = 0;
    if (outputThread_ && epochObserver_ && !rinex::isRinex2(version_)) {
        formattingObserver_ = epochObserver_->formattingSide();
        if (formattingObserver_) formattedSystems_ = epochObserver_->formattedSystems();
    }
    if (outputThread_) startOutputThread();
    return total;
}

void Rinex3xx::setEpochObserver(rinex::EpochObserver* observer) {
    // The output thread may be telling the old observer's side: it finishes first, and the
    // new observer hears every line on this thread.
    if (formattingObserver_) {
        if (pipeline_) pipeline_->drain();
        formattingObserver_ = nullptr;
        formattedSystems_ = 0;
    }
    epochObserver_ = observer;
    forgetObserved();
}

void Rinex3xx::forgetObserved() {
    std::fill(std::begin(observedColumns_), std::end(observedColumns_), 0);
    std::fill(std::begin(observedChannels_), std::end(observedChannels_), kChannelNotTold);
    observedSignalsCurrent_ = false;
}

void Rinex3xx::close() {
    if (!open_) return;
    // What was handed over is written first: a cancelled conversion keeps every epoch decoded.
    pipeline_.reset();
    rinex::CNumericLocale numericLocale;
    flushEpochs();
    if (bodyToSink_) {
        bodyToSink_ = false;
        bodySink_->end(observationTypeCounts());
    }

    if (files_[FileObservation].isOpen()) writeObservationHeader();

    rinex::NavigationHeaderInfo info;
    info.minorVersion = minorVersion_;
    info.version = version_;
    info.program = program_;
    info.runBy = runBy_;
    if (haveUtc_) {
        info.first = slotFrom(firstUtc_);
        info.latest = slotFrom(latestUtc_);
    }
    info.leapSeconds = leapSeconds_;
    for (int i = FileBeidou; i < FileCount; ++i) {
        if (!files_[i].isOpen()) continue;
        rinex::writeNavigationHeader(&files_[i], navigationMerged_ ? 'P' : kFileLetters[i], info);
        checkDevice(files_[i]);
    }

    for (QFile& file : files_) {
        if (!file.isOpen()) continue;
        // Buffered writes fail late: a full disk shows up only when the buffer is flushed.
        if (!file.flush()) recordWriteError(file);
        file.close();
    }
    for (auto it = signalMap_.cbegin(); it != signalMap_.cend(); ++it)
        if (!it.value().isEmpty()) observedSystems_ += it.key();
    if (renamesAtClose()) renameToLongNames();
    signalMap_.clear();
    glonassSlots_.clear();
    epoch_.clear();
    open_ = false;
}

qint64 Rinex3xx::handleFrame(const uint8_t* frame, quint32 length) {
    if (!open_ || frame == nullptr) return 0;
    decoding::LogHeader header{};
    if (decoding::readLogHeader(frame, length, header) != 0) return 0;

    switch (header.messageId) {
    case decoding::LogRange:
    case decoding::LogRangeCmp:
    case decoding::LogRangeCmp2:
        return handleObservationLog(frame, header);
    case decoding::LogTime: {
        decoding::TimeSolution record{};
        if (decoding::decodeTime(frame, header, record) == 0 && !haveTime_ && record.utcStatus != 0) {
            time_ = record;
            haveTime_ = true;
        }
        return 0;
    }
    case decoding::LogPsrPos: {
        decoding::PositionSolution record{};
        if (decoding::decodePsrPos(frame, header, record) == 0 && firstLatitude_ == 0.0 &&
            record.solutionStatus == 0 && record.positionType != 0) {
            firstLatitude_ = record.latitude;
            firstLongitude_ = record.longitude;
            firstHeight_ = record.height + double(record.undulation);
        }
        return 0;
    }
    case decoding::LogIonUtcU:
    case decoding::LogIonUtc:
    case decoding::LogBd2IonUtc: {
        decoding::IonoUtcParameters record{};
        if (decoding::decodeIonoUtc(frame, header, record) != 0) return 0;
        if (!haveUtc_) {
            firstUtc_ = record;
            haveUtc_ = true;
        }
        latestUtc_ = record;
        if (!filter_.keepsSystem(header.messageId == decoding::LogBd2IonUtc ? 'C' : 'G')) return 0;
        NavigationRecord nav;
        nav.file = navigationFile(header.messageId == decoding::LogBd2IonUtc ? FileBeidou : FileGps);
        nav.reference = rinex::kUnknownReference;
        nav.record = record;
        return submitNavigation(nav);
    }
    case decoding::LogGpsEphem:
    case decoding::LogGloEphemeris:
    case decoding::LogBd2Ephem:
    case decoding::LogBdsEphemeris:
    case decoding::LogGalEphemeris:
    case decoding::LogGalInavEphemeris:
    case decoding::LogGalFnavEphemeris:
        return handleNavigationLog(frame, header);
    default:
        return 0;
    }
}

qint64 Rinex3xx::handleNavigationLog(const uint8_t* frame, const decoding::LogHeader& header) {
    NavigationRecord nav;
    nav.reference = rinex::kUnknownReference;
    // Decodes the frame into the record's alternative T; false when it is not written.
    const auto take = [&](auto decode, auto record, char system, int file) {
        if (decode(frame, header, record) != 0) return false;
        nav.reference = rinex::referenceTime(record);
        if (!navigationWanted(nav.reference, system)) return false;
        nav.file = navigationFile(file);
        nav.record = record;
        return true;
    };
    bool wanted = false;
    switch (header.messageId) {
    case decoding::LogGpsEphem:
        wanted = take(decoding::decodeGpsEphemeris, decoding::GpsEphemeris{}, 'G', FileGps);
        break;
    case decoding::LogGloEphemeris:
        wanted = take(decoding::decodeGlonassEphemeris, decoding::GlonassEphemeris{}, 'R', FileGlonass);
        break;
    case decoding::LogBd2Ephem:
        wanted = take(decoding::decodeBd2Ephemeris, decoding::Bd2Ephemeris{}, 'C', FileBeidou);
        break;
    case decoding::LogBdsEphemeris:
        wanted = take(decoding::decodeBeidouEphemeris, decoding::BeidouEphemeris{}, 'C', FileBeidou);
        break;
    case decoding::LogGalEphemeris:
        wanted = take(decoding::decodeGalileoEphemeris, decoding::GalileoEphemeris{}, 'E', FileGalileo);
        break;
    case decoding::LogGalInavEphemeris:
        wanted = take(decoding::decodeGalileoInavEphemeris, decoding::GalileoInavEphemeris{}, 'E', FileGalileo);
        break;
    case decoding::LogGalFnavEphemeris:
        wanted = take(decoding::decodeGalileoFnavEphemeris, decoding::GalileoFnavEphemeris{}, 'E', FileGalileo);
        break;
    default:
        break;
    }
    return wanted ? submitNavigation(nav) : 0;
}

qint64 Rinex3xx::writeNavigation(const NavigationRecord& nav) {
    const int file = nav.file;
    qint64 written = 0;
    if (const auto* record = std::get_if<decoding::IonoUtcParameters>(&nav.record)) {
        // 4.00 keeps these values in ION and STO records of the navigation file.
        written = navigation_.writeIonoUtc(&files_[file], *record);
        checkDevice(files_[file]);
        return written;
    }
    rinex::CNumericLocale numericLocale; // the records are printed with a decimal point
    QFile* device = &files_[file];
    if (const auto* eph = std::get_if<decoding::GpsEphemeris>(&nav.record))
        written = navigation_.writeGps(device, *eph);
    else if (const auto* eph = std::get_if<decoding::GlonassEphemeris>(&nav.record))
        written = navigation_.writeGlonass(device, *eph, leapSeconds_);
    else if (const auto* eph = std::get_if<decoding::Bd2Ephemeris>(&nav.record))
        written = navigation_.writeBd2(device, *eph);
    else if (const auto* eph = std::get_if<decoding::BeidouEphemeris>(&nav.record))
        written = navigation_.writeBeidou(device, *eph);
    else if (const auto* eph = std::get_if<decoding::GalileoEphemeris>(&nav.record))
        written = navigation_.writeGalileo(device, *eph);
    else if (const auto* eph = std::get_if<decoding::GalileoInavEphemeris>(&nav.record))
        written = navigation_.writeGalileoInav(device, *eph);
    else if (const auto* eph = std::get_if<decoding::GalileoFnavEphemeris>(&nav.record))
        written = navigation_.writeGalileoFnav(device, *eph);
    checkDevice(files_[file]);
    if (written > 0 && nav.reference != rinex::kUnknownReference) {
        if (navigationFirst_ == 0 || nav.reference < navigationFirst_) navigationFirst_ = nav.reference;
        if (nav.reference > navigationLast_) navigationLast_ = nav.reference;
    }
    return written;
}

qint64 Rinex3xx::handleObservationLog(const uint8_t* frame, const decoding::LogHeader& header) {
    epoch_.clear();
    streamTime_ = gnss::gpsMilliseconds(header.week, header.milliseconds);
    // Without markers no later sentence can ask for this epoch: a left-out one is not decoded.
    if (ppkMode_ == 1 && !epochWanted(header.milliseconds)) return 0;
    decoding::RangeCursor cursor{};
    decoding::RangeObservation obs{};
    bool ok = false;

    switch (header.messageId) {
    case decoding::LogRange:
        if (decoding::openRange(frame, header, cursor, signalSearchMode_) == 0) {
            for (int32_t i = 0; i < cursor.count; ++i)
                if (decoding::decodeRange(cursor, i, &obs) == 0) epoch_.add(obs);
            ok = true;
        }
        break;
    case decoding::LogRangeCmp:
        if (decoding::openRangeCmp(frame, header, cursor, signalSearchMode_) == 0) {
            // An unknown signal drops that observation only.
            for (int32_t i = 0; i < cursor.count; ++i)
                if (decoding::decodeRangeCmp(cursor, i, &obs) == 0) epoch_.add(obs);
            ok = true;
        }
        break;
    case decoding::LogRangeCmp2:
        if (decoding::openRangeCmp2(frame, header, cursor, signalSearchMode_) == 0) {
            // Bounded walk: a damaged block must not keep the decoder looping.
            int result = decoding::RangeCmp2Record;
            int calls = 0;
            for (; calls < 1000; ++calls) {
                result = decoding::nextRangeCmp2(cursor, &obs);
                if (result == decoding::RangeCmp2Record)
                    epoch_.add(obs);
                else if (result == decoding::RangeCmp2End || result < 0)
                    break;
            }
            ok = result == decoding::RangeCmp2End || calls == 1000;
        }
        break;
    default:
        break;
    }

    if (!ok) {
        epoch_.clear();
        return 0;
    }
    if (filter_.selectsSystems()) dropLeftOutSystems();
    epoch_.sort();
    epoch_.week = qint16(header.week);
    epoch_.milliseconds = header.milliseconds;

    if ((ppkMode_ == rinex::PpkNone || (ppkMode_ == rinex::PpkMix && !markerInProgress_)) &&
        epochWanted(header.milliseconds))
        return writeEpoch();
    return 0;
}

void Rinex3xx::recordWriteError(const QFile& file) {
    if (writeError_.isEmpty()) writeError_ = QStringLiteral("write failed, %1").arg(file.fileName());
}

void Rinex3xx::checkDevice(QFile& file) {
    if (file.error() != QFileDevice::NoError) recordWriteError(file);
}

qint64 Rinex3xx::writeLine(QFile& file, const char* data, qint64 length) {
    // Pending epoch lines go first: the file keeps the order in which the lines were made.
    if (&file == &files_[FileObservation]) {
        if (pipeline_) pipeline_->drain();
        flushEpochs();
    }
    return writeToDevice(file, data, length);
}

void Rinex3xx::flushEpochs() {
    const int used = epochBlockUsed_;
    epochBlockUsed_ = 0;
    // The types are known best once the first epochs are formatted: signals that show up
    // later make the header differ, and the sink then falls back to the finished file.
    if (used > 0 && bodyToSink_ && !bodySinkBegun_) {
        bodySinkBegun_ = true;
        bodySink_->begin(rinex::majorOf(version_), observationTypeCounts(),
                         QFile::encodeName(files_[FileObservation].fileName()).toStdString());
    }
    if (used > 0) writeToDevice(files_[FileObservation], epochBlock_.data(), used);
}

qint64 Rinex3xx::writeToDevice(QFile& file, const char* data, qint64 length) {
    if (length <= 0) return 0;
    if (bodyToSink_ && &file == &files_[FileObservation]) bodySink_->body(data, size_t(length));
    const qint64 written = file.write(data, length);
    if (written != length) recordWriteError(file);
    return written > 0 ? written : 0;
}
