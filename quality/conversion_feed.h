// SPDX-License-Identifier: MIT
#pragma once
// The quality check of a conversion, fed by the writer with the values of the observation
// records as it writes them: no text is read back. It runs in two passes. What needs no
// navigation data (span, counts, strengths, slips, multipath) is computed as the records are
// written, with the header's observation types, interval and GLONASS channels as the writer
// announces them. Elevations, completeness, plots and positions need every navigation record
// before the first epoch, complete only when the files are closed: for them the first pass
// keeps compact records in a temporary file (memory stays flat): per epoch its time and
// satellite count, and the codes of the epochs that are positioned; per visibility window
// (the elevations change once a window) each satellite's signals summed. They are replayed
// once the files are closed; when the header gives the receiver's position, the positions
// and the elevations of that pass run on two threads at once. When the written header
// contradicts what the first pass assumed (a rare stream, e.g. one whose interval is not its
// first step), the check reads the written observation file instead. The report equals the
// one of checkFiles on the written files.
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

class ConversionFeed : public rinex::EpochObserver {
public:
    explicit ConversionFeed(Options options = {});
    ~ConversionFeed() override;
    ConversionFeed(const ConversionFeed&) = delete;
    ConversionFeed& operator=(const ConversionFeed&) = delete;

    void epoch(int64_t gpsMilliseconds, int satellites) override;
    void satellite(char system, int number, const rinex::ObservedValue* values, int count) override;
    void eventLine(const char* text, int length) override;
    void signalColumn(char system, int column, char band, char attribute) override;
    void glonassChannel(int slot, int channel) override;

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
    class SpillReader;
    enum class Half { Both, Positions, Elevations };
    void put(const void* data, size_t size);
    bool flush();
    // Feeds up to maxEpochs records of the spill to the half's side of the second pass;
    // true at the end of the records.
    bool replayRecords(SpillReader& in, Half half, Epoch& epoch, size_t maxEpochs);
    void endSatellite();
    void closeWindow();
    void emitPending();
    void eventText(const std::string& text);
    void problem(const char* what);

    Options options_;
    std::unique_ptr<QualityCheck> check_;
    Navigation navigation_;
    std::string observationPath_;

    // The second pass's records: a temporary file written in blocks.
    std::FILE* spill_ = nullptr;
    std::vector<uint8_t> block_;
    size_t blockUsed_ = 0;
    bool spillFailed_ = false;
    long records_ = 0;

    // The first pass follows the records as a reader of the written file would: what it
    // would skip or report is skipped and reported here too.
    Epoch epoch_;              // the record in progress (time, flag, satellites kept, event lines)
    bool pending_ = false;     // epoch_ holds a record not yet ended
    bool skipEpoch_ = false;   // a record the reader would skip
    bool skipSatellite_ = false;
    double lastTime_ = 0;
    long lineNumber_ = 0; // lines after the header
    std::vector<std::pair<long, const char*>> problems_;
    size_t problemCount_ = 0;
    std::string eventText_;
    int eventLinesLeft_ = 0;
    // The header's interval, as the writer finds it.
    int64_t lastMilliseconds_ = 0, intervalMilliseconds_ = 0;
    // Positioned epochs, on the check's schedule.
    double lastPositioned_ = -1e30;
    bool positioned_ = false;
    // The satellite line in progress, when it belongs to an observation epoch.
    bool satelliteOpen_ = false;
    char satelliteLetter_ = 0;
    int satelliteSystem_ = 0, satelliteNumber_ = 0;
    uint64_t columnsUsed_ = 0;
    TrackedSatellite::Column columns_[64];
    struct Code {
        char band, attribute;
    };
    Code codes_[8][64] = {};
    int columnCount_[8] = {};
    // The epoch's codes for the second pass, written when the epoch ends.
    std::vector<uint8_t> positionRecords_;
    // The visibility window in progress: its start, its epochs so far, whether the epoch in
    // progress starts it; and its record, written when the next one starts.
    double windowStart_ = -1e30;
    long windowEpochs_ = 0;
    bool windowStarts_ = false;
    std::vector<uint8_t> windowRecord_;

    // Second pass: the replay's reader, and the thread of the elevations half when the
    // halves run apart (QualityCheck::replayHalvesApart).
    std::unique_ptr<SpillReader> reader_;
    Half half_ = Half::Both;
    std::thread elevations_;
    std::atomic<bool> stopping_{false};
    bool prepared_ = false;
    bool readTheFile_ = false;
    bool done_ = false;
    Report report_;
};

} // namespace quality
