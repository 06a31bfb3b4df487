// SPDX-License-Identifier: MIT
#pragma once
// The quality check of a conversion, fed by the writer with the values of the observation
// records as it writes them: no text is read back. It runs in two passes. What needs no
// navigation data (span, counts, strengths, slips, multipath) is computed as the records
// are written, with the header's observation types, interval and GLONASS channels as the
// writer announces them; with an output thread the writer's two threads share it, the
// output thread taking the lines of some systems as it formats them (formattingSide).
// Elevations, completeness, plots and positions need every navigation record before the
// first epoch, complete only when the files are closed: for them the first pass keeps
// compact records in temporary files, one per thread (memory stays flat): per epoch its
// time and satellite count, and the codes of the epochs that are positioned; per visibility
// window (the elevations change once a window) each satellite's signals summed. They are
// replayed once the files are closed; when the header gives the receiver's position, the
// positions and the elevations of that pass run on two threads at once. When the written
// header contradicts what the first pass assumed (a rare stream, e.g. one whose interval is
// not its first step), the check reads the written observation file instead. The report
// equals the one of checkFiles on the written files.
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quality/navigation.h"
#include "quality/quality_check.h"
#include "rinex/epoch_observer.h"

namespace quality {

class RecordSpill;

class ConversionFeed : public rinex::EpochObserver {
public:
    // The systems whose lines the output thread takes (its formatting side) unless told
    // otherwise: GPS and Galileo, about half the lines of a receiver of every system, so that
    // the check's first pass is shared between the writer's two threads.
    static constexpr uint32_t kFormattedByDefault = (1u << ('G' - 'A')) | (1u << ('E' - 'A'));

    // formattedSystems: a bit per system letter from 'A'.
    explicit ConversionFeed(Options options = {}, uint32_t formattedSystems = kFormattedByDefault);
    ~ConversionFeed() override;
    ConversionFeed(const ConversionFeed&) = delete;
    ConversionFeed& operator=(const ConversionFeed&) = delete;

    void epoch(int64_t gpsMilliseconds, int satellites) override;
    void satellite(char system, int number, const rinex::ObservedColumn* columns, uint64_t used) override;
    void eventLine(const char* text, int length) override;
    void signalColumn(char system, int column, char band, char attribute) override;
    void glonassChannel(int slot, int channel) override;
    EpochObserver* formattingSide() override;
    uint32_t formattedSystems() const override { return formattedSystems_; }
    void satelliteElsewhere(char system, int number) override;

    // Once the writer has closed its files, before any is compressed or renamed: reads the
    // observation file's header and the navigation files among files (as
    // checkConversionFiles does). False with a message when the observation file cannot be
    // checked (none, or not RINEX 3).
    bool prepare(const std::vector<std::string>& files, std::string& error);
    // Feeds up to maxEpochs kept records to the second pass; true when all have been fed.
    bool replay(size_t maxEpochs);
    Report finish();

    // Records kept so far (epoch and event records).
    long records() const { return records_; }
    // After prepare: whether the check had to read the written observation file.
    bool readTheFile() const { return readTheFile_; }

private:
    class Lines;
    class Side;
    enum class Half { Both, Positions, Elevations };
    struct Readers;
    // Feeds up to maxEpochs records to the half's side of the second pass; true at the end of
    // the records.
    bool replayRecords(Readers& in, Half half, Epoch& epoch, size_t maxEpochs);
    void emitPending();
    void eventText(const std::string& text);
    void problem(const char* what);
    // The checks of a satellite line a reader makes; true when its values count.
    bool satelliteLineCounts(char system, int number);

    Options options_;
    uint32_t formattedSystems_;
    std::unique_ptr<QualityCheck> check_;
    Navigation navigation_;
    std::string observationPath_;
    long records_ = 0;

    // The first pass follows the records as a reader of the written file would: what it
    // would skip or report is skipped and reported here too.
    Epoch epoch_;              // the record in progress (time, flag, satellites kept, event lines)
    bool pending_ = false;     // epoch_ holds a record not yet ended
    bool skipEpoch_ = false;   // a record the reader would skip
    double lastTime_ = 0;
    long lineNumber_ = 0; // lines after the header
    std::vector<std::pair<long, const char*>> problems_;
    size_t problemCount_ = 0;
    std::string eventText_;
    int eventLinesLeft_ = 0;
    // The satellite lines told on this thread, and those of the formatting side.
    std::unique_ptr<Lines> lines_;
    std::unique_ptr<Side> side_;
    bool sideUsed_ = false;

    // Second pass: the records' readers, and the thread of the elevations half when the
    // halves run apart (QualityCheck::replayHalvesApart).
    std::unique_ptr<Readers> readers_;
    Half half_ = Half::Both;
    std::thread elevations_;
    std::atomic<bool> stopping_{false};
    bool prepared_ = false;
    bool readTheFile_ = false;
    bool done_ = false;
    Report report_;
};

} // namespace quality
