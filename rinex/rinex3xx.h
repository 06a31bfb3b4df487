// SPDX-License-Identifier: MIT
#pragma once
// The RINEX 3.0x writer: takes options through its setters, opens the five output files,
// receives every board frame and text line of the stream, writes observation epochs and
// navigation records as they come and the headers in place at close.
#include <climits>

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "decoding/iono_utc.h"
#include "decoding/position_time.h"
#include "rinex/epoch_observer.h"
#include "rinex/long_file_name.h"
#include "rinex/navigation_writer.h"
#include "rinex/number_format.h"
#include "rinex/observation_body_sink.h"
#include "rinex/output_filter.h"
#include "rinex/rinex2_observation_types.h"
#include "rinex/rinex_version.h"
#include "rinex/sentinel_values.h"
#include "velmoor/versions.h"

// Forward declarations keep the decoder headers out of the writer's users.
namespace decoding {
struct RangeObservation;
struct SatSystemInfo;
struct SignalInfo;
} // namespace decoding

class Rinex3xx;
struct NavigationRecord; // rinex/output_job.h
struct OutputJob;

namespace rinex {
template <typename Job>
class OutputPipeline;
} // namespace rinex

// Observations of the current receiver epoch (one range log).
struct EpochWorkArea {
    // Every observation passes through one of these twice (collected, then sorted) and on
    // to the output thread: the small fields share the first 16 bytes, 48 bytes in all.
    struct Entry {
        char system; // RINEX system letter
        char code[3]; // RINEX band/attribute, e.g. "1C"
        quint16 satellite;
        qint16 glonassFrequency;
        bool phaseValid;
        bool phaseLock;
        bool pseudorangeValid;
        float doppler;       // Hz
        double pseudorange;  // m
        double carrierPhase; // cycles, board sign
        float cn0;           // dB-Hz
        const decoding::SignalInfo* signalInfo;
    };

    qint16 week = 0;
    quint32 milliseconds = 0;
    std::vector<Entry> entries; // decoder order until sort(): then by system, satellite, code
    Rinex3xx* writer = nullptr;
    // satelliteCount() when it is known already (the decoding thread counted for an
    // observer), else -1.
    int countedSatellites = -1;

    void clear() {
        entries.clear();
        week = 0;
        milliseconds = 0;
    }
    // Observations without a system or signal descriptor, or whose satellite number has more
    // than two digits, are skipped.
    void add(const decoding::RangeObservation& obs);
    // Orders the entries by system, satellite and code; equal ones keep the decoder's order.
    void sort();
    // The end of the run of entries of the satellite at begin (entries sorted).
    size_t satelliteEnd(size_t begin) const {
        size_t end = begin + 1;
        while (end < entries.size() && entries[end].system == entries[begin].system &&
               entries[end].satellite == entries[begin].satellite)
            ++end;
        return end;
    }
    // The satellite lines of the epoch (entries sorted).
    int satelliteCount() const;
    // Where each satellite line starts in the entries, then the entries' end (entries sorted).
    void satelliteStarts(std::vector<size_t>& starts) const;
    void reserve(size_t count);

private:
    // sort() when the entries are a few ascending runs of keys that do not overlap: the
    // runs in order into reordered_; false otherwise (reordered_ then unchanged).
    bool orderRuns();
    std::vector<quint64> keys_;    // sort keys, each with its entry's index in the low bits
    std::vector<Entry> reordered_; // the entries in key order, swapped with entries
};

// Per system letter, the observed signal codes in column order.
struct SignalColumn {
    char code[3];
    int column;
    int quarterCycles; // phase shift in quarter cycles
};
using SignalMap = QMap<char, QList<SignalColumn>>;

class Rinex3xx : public QObject {
    Q_OBJECT
public:
    explicit Rinex3xx(QObject* parent = nullptr);
    ~Rinex3xx() override;

    // Setters: all refuse (return false, change nothing) while the files are open.
    bool setVersion(int minor);              // 2..5: RINEX 3.02 ... 3.05
    bool setVersion(const QByteArray& text); // one of rinex::versionTexts(): "3.02" ... "4.00"
    // One mixed navigation file (last letter "P") instead of the four per-system files.
    bool setNavigationMerged(bool merged);
    bool setProgram(const QByteArray& program, const QByteArray& runBy);
    bool setMarker(const QByteArray& name, const QByteArray& number, const QByteArray& type);
    bool setObserver(const QByteArray& observer, const QByteArray& agency);
    bool setReceiver(const QByteArray& number, const QByteArray& type, const QByteArray& version);
    bool setAntenna(const QByteArray& number, const QByteArray& type);
    bool setAntennaDelta(double h, double e, double n);
    bool setAntennaHeight(double height);
    bool setApproxPosition(double latitude, double longitude, double height);
    bool setSignalSearchMode(quint32 mode);
    bool setPpkMode(int mode); // a PpkMode number
    bool setPresetSignals(const QMap<char, QList<QByteArray>>& signalCodes);
    bool setGlonassCodeBiases(const QMap<QByteArray, double>& biases);
    bool setComments(const QList<QByteArray>& comments);
    // Time window, decimation and systems of the output; the default keeps everything.
    bool setOutputFilter(const rinex::OutputFilter& filter);
    // Long file names: open() then takes a folder (or a path in it), writes under temporary
    // names there and renames the files at close.
    bool setLongNames(const rinex::LongNameFields& fields);
    // Epochs and navigation records formatted and written on a second thread, in the order
    // they come (off by default). handleFrame then returns 0 for them: they reach the files
    // later, all of them by close(). The files' bytes are the same either way.
    bool setOutputThread(bool on);
    // RINEX 2.11 short names (ssssdddf.yyO, .yyN, .yyG), given at close from the marker name
    // and the first epoch: open() then takes a path in the output folder, as with long names.
    // Only 2.11 output uses them; other versions ignore the setting.
    bool setShortNames(bool shortNames);
    // RINEX 2.11: LLI bit 2 (anti-spoofing) on P1, P2, L1 and L2 taken from P(Y) tracked as Z
    // or by cross-correlation. On by default, as 2.11 asks.
    bool setAntiSpoofingFlag(bool flag);
    // Told every observation record as it is written (not owned; nullptr: none). Unlike the
    // setters it may be set while the files are open (the observer then hears every line on
    // the decoding thread: its formatting side, rinex/epoch_observer.h, only from an open).
    void setEpochObserver(rinex::EpochObserver* observer);
    // Also handed the observation file's body as it is written (not owned; nullptr: none),
    // RINEX 3 and 4 only. Set before open.
    bool setObservationBodySink(rinex::ObservationBodySink* sink);

    // Opens base+"O", "C", "L", "N", "G" (base = path without its last character); with merged
    // navigation base+"O" and base+"P".
    // Returns the bytes written, 0 on failure (already open, a file exists, create failed).
    qint64 open(const QString& path);
    // Bytes written for this frame, 0 when nothing was written.
    qint64 handleFrame(const uint8_t* frame, quint32 length);
    // "$PPK" event sentences. Bytes written, 0 when nothing was written.
    qint64 handleTextLine(const char* text, quint32 length);
    // Writes the headers in place and closes the files; nothing when not open.
    void close();

    bool isOpen() const { return open_; }
    QString observationFileName() const { return files_[FileObservation].fileName(); }
    QStringList outputFileNames() const;
    // The files this conversion made (navigation files of left-out systems are not made);
    // with long names, their final names once closed.
    QStringList createdFileNames() const;
    // Where the output goes: the observation file, or the folder with long names.
    QString outputLocation() const;
    qint64 epochsWritten() const { return epochsWritten_; }
    // Where the observation records start (after the reserved header), and how many of the
    // lines written from there are epoch records with flag 0 or 1: with the header's own
    // such lines, the count a reader finds in the file without reading the records back.
    qint64 observationDataStart() const { return observationDataStart_; }
    qint64 epochRecordLines() const { return epochRecordLines_; }
    // Text of the first failed write (empty when every write succeeded).
    QString writeError() const { return writeError_; }
    // RINEX 2.11 with Galileo or BeiDou kept: their navigation records have no file and are
    // dropped (said once in the observation header and once by the converter).
    bool navigationDropped() const {
        return rinex::isRinex2(version_) && (filter_.keepsSystem('E') || filter_.keepsSystem('C'));
    }

private:
    enum FileIndex { FileObservation, FileBeidou, FileGalileo, FileGps, FileGlonass, FileCount };

    // GLONASS code bias, flattened at open so that the epoch writer needs no map lookup.
    struct CodeBias {
        char code[2];
        double metres;
    };

    qint64 handleObservationLog(const uint8_t* frame, const decoding::LogHeader& header);
    qint64 handleNavigationLog(const uint8_t* frame, const decoding::LogHeader& header);
    // An epoch or navigation record to write: at once, or handed to the output thread.
    qint64 writeEpoch();
    qint64 submitNavigation(const NavigationRecord& record);
    void startOutputThread();
    // What the output thread runs (or the decoding thread, without one).
    void handleOutputJob(OutputJob& job);
    qint64 formatEpoch(const EpochWorkArea& epoch);
    qint64 writeNavigation(const NavigationRecord& record);
    int formatSatelliteLine(char* line, const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last);
    // One satellite line: with Format its text, with Observe its values told to the epoch
    // observer, both from the same steps (without Observe the line costs no more than it did
    // before there was an observer). signalMap: the columns, extended by new signals.
    template <bool Format, bool Observe>
    int satelliteLine(char* line, SignalMap& signalMap, rinex::EpochObserver* observer,
                      const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last);
    // With an output thread the decoding thread tells the observer an epoch's values as it
    // hands the epoch over, so that the observer's work does not delay the formatting.
    // Returns the epoch's satellite count.
    int observeEpoch(const EpochWorkArea& epoch);
    double glonassBias(const char* code) const;
    bool writeObservationHeader();
    qint64 writeHeaderLine(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;
    qint64 writeHeaderBytes(const char* data, qint64 length);
    // OBSERVER / AGENCY to ANTENNA: DELTA H/E/N and the antenna height comment, alike in
    // every version's observation header.
    qint64 writeStationLines(double x, double y, double z);
    qint64 writeObsTypes(const SignalMap& signalMap);
    qint64 writeGlonassSlots();
    qint64 writeStartOfMoving();
    qint64 writeNewSite(const QByteArray& name, const QByteArray& number, double antennaHeight, double x,
                        double y, double z);
    qint64 writeEventLine(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;
    qint64 writeLine(QFile& file, const char* data, qint64 length);
    qint64 writeToDevice(QFile& file, const char* data, qint64 length);
    void flushEpochs();
    void checkDevice(QFile& file);
    void recordWriteError(const QFile& file);

    // Output selection (output_selection.cpp).
    bool fileWanted(int index) const;
    void selectSignals();
    void dropLeftOutSystems();
    bool epochWanted(quint32 millisecondsOfWeek) const;
    bool navigationWanted(qint64 referenceTime, char system);
    qint64 startOfMovingEvent();
    qint64 newSiteEvent(const QByteArray& name, const QByteArray& number, double antennaHeight, double x,
                        double y, double z);
    qint64 sampleEpoch();
    QString openBase(const QString& path);
    void renameToLongNames();
    void removeTemporaryFiles();
    bool renamesAtClose() const { return longNames_ || shortNamesActive_; }

    // RINEX 2.11 (rinex2_observation_epoch.cpp, rinex2_observation_header.cpp).
    void openRinex2();
    qint64 writeRinex2Epoch(const EpochWorkArea& epoch);
    int formatRinex2Satellite(char* out, const EpochWorkArea::Entry* first, const EpochWorkArea::Entry* last);
    bool writeRinex2ObservationHeader();
    qint64 writeRinex2ObservationTypes();
    void approximatePosition(double& x, double& y, double& z) const;
    qint64 observationLeapSeconds() const;
    // The navigation file that takes this system's records: itself, or the mixed file.
    int navigationFile(int file) const {
        return navigationMerged_ ? int(FileGps) : file;
    }

    // options
    rinex::Version version_ = rinex::kDefaultVersion;
    int minorVersion_ = 4; // of the 3.0x rules the version follows (4.00 follows 3.05)
    bool navigationMerged_ = false;
    QByteArray program_ = VELMOOR_RINEX_PROGRAM; // no option sets it: name the program that wrote the file
    QByteArray runBy_;
    QByteArray markerName_, markerNumber_, markerType_ = "GEODETIC";
    QByteArray observer_, agency_;
    QByteArray receiverNumber_, receiverType_, receiverVersion_;
    QByteArray antennaNumber_, antennaType_;
    double antennaDeltaH_ = 0, antennaDeltaE_ = 0, antennaDeltaN_ = 0;
    double antennaHeight_ = rinex::kNoValue; // not given
    quint32 signalSearchMode_ = 0;
    int ppkMode_ = rinex::PpkNone;
    SignalMap presetSignals_;
    QMap<QByteArray, double> glonassCodeBiases_;
    QList<QByteArray> comments_; // each 60 bytes + "COMMENT             \r\n"
    bool open_ = false;

    QFile files_[FileCount];

    EpochWorkArea epoch_;
    // Epoch lines not yet handed to the observation file: written in large blocks, and
    // always before any other line of that file and at close.
    static constexpr int kEpochBlockCapacity = 1 << 18;
    std::vector<char> epochBlock_;
    int epochBlockUsed_ = 0;

    // station state taken from the stream
    bool haveTime_ = false;
    decoding::TimeSolution time_{};
    bool haveUtc_ = false;
    decoding::IonoUtcParameters firstUtc_{};
    decoding::IonoUtcParameters latestUtc_{};

    // epoch bookkeeping
    qint64 firstEpoch_ = 0;
    qint64 lastEpoch_ = 0;
    qint32 interval_ = 0;
    qint64 epochsWritten_ = 0;
    qint64 epochRecordLines_ = 0;
    qint64 observationDataStart_ = 0;

    // approximate position: given by the user, and the first one computed in the stream
    double userLatitude_ = 0, userLongitude_ = 0, userHeight_ = 0;
    double firstLatitude_ = 0, firstLongitude_ = 0, firstHeight_ = 0;

    qint32 leapSeconds_ = rinex::kUnknownLeapSeconds;
    SignalMap signalMap_;
    QMap<int, int> glonassSlots_; // slot -> frequency channel
    std::vector<CodeBias> codeBiases_;

    // PPK marker state
    bool markerInProgress_ = false;
    qint32 markerId1_ = 0, markerId2_ = 0;
    qint32 sampleCounter_ = 0;

    rinex::NavigationWriter navigation_;
    QString writeError_;

    // output selection
    rinex::OutputFilter filter_;
    qint64 streamTime_ = 0; // time of the latest observation log
    struct PendingSite {
        bool pending = false;
        QByteArray name, number;
        double antennaHeight = 0, x = 0, y = 0, z = 0;
    } pendingSite_; // a marker begun before the window: its record waits for its first sample
    bool longNames_ = false;
    rinex::LongNameFields longNameFields_;
    QString longNameFolder_;
    qint64 navigationFirst_ = 0, navigationLast_ = 0;
    QByteArray observedSystems_;
    bool created_[FileCount] = {};

    // The output thread, while the files are open and it was asked for. Between drain() and
    // the next job handed over, the decoding thread may touch what the jobs touch: the files,
    // the epoch block and bookkeeping, the signal map, GLONASS slots, navigation state and
    // the write error.
    bool outputThread_ = false;
    std::unique_ptr<rinex::OutputPipeline<OutputJob>> pipeline_;
    // RINEX 2.11: the one type list (fixed at open), per system, satellite and band the code of
    // the signal whose phase the previous epoch took, and per-epoch scratch space.
    bool shortNames_ = false;
    bool shortNamesActive_ = false;
    bool rinex2AntiSpoofing_ = true;
    std::vector<rinex::Rinex2Type> rinex2Types_;
    std::vector<quint16> rinex2BandSignal_;
    std::vector<std::pair<quint32, quint32>> rinex2Listed_;
    std::vector<char> rinex2Records_;
    rinex::EpochObserver* epochObserver_ = nullptr;
    // What the observer has been told, forgotten for a new observer or a new file.
    void forgetObserved();
    int observedColumns_[256] = {}; // per system letter, the columns the observer was told of
    // Per GLONASS slot, the channel the observer was told last (kChannelNotTold before).
    static constexpr int kChannelNotTold = INT_MIN;
    int observedChannels_[100];
    // observeEpoch's copy of the columns, on the decoding thread: the same steps on the same
    // epochs give the same columns as the output thread's signalMap_.
    SignalMap observedSignals_;
    bool observedSignalsCurrent_ = false;
    // observeEpoch's satellite lines (EpochWorkArea::satelliteStarts), kept to be reused.
    std::vector<size_t> observedLineStarts_;
    // Whether formatEpoch tells the observer (no output thread); fixed while the files are
    // open, so that the output thread reads it safely while the pipeline is shut down.
    bool observedWhileFormatted_ = true;
    // The observer's formatting side, told on the output thread the lines of its systems (a
    // bit per letter from 'A'); set at open, cleared (after a drain) by setEpochObserver.
    rinex::EpochObserver* formattingObserver_ = nullptr;
    uint32_t formattedSystems_ = 0;
    bool formattedSystem(char system) const {
        return formattingObserver_ && system >= 'A' && system <= 'Z' &&
               (formattedSystems_ >> (system - 'A') & 1);
    }
    // The band digit of a column's code in the header's observation types.
    char headerBand(char system, const char* code) const;
    rinex::ObservationBodySink* bodySink_ = nullptr;
    bool bodyToSink_ = false; // between the reserved header and the header written at close
    bool bodySinkBegun_ = false;
    rinex::ObservationTypeCounts observationTypeCounts() const;
};
