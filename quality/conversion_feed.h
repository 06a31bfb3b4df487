// SPDX-License-Identifier: MIT
#pragma once
// The quality check of a conversion, fed by the writer with the values of the observation
// records as it writes them: no text is read back. The check needs the finished header (its
// observation types, interval, position) and every navigation record before its first
// epoch, and both are complete only when the writer closes its files; so the records wait in
// a temporary file in a compact binary form (8 bytes per value, memory stays flat) and are
// replayed into the check once the files are closed. The report equals the one of
// checkFiles on the written files.
#include <cstdint>
#include <cstdio>
#include <string>
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
    void satellite(char system, int number) override;
    void value(int field, double value, int lossOfLock) override;
    void eventLine(const char* text, int length) override;

    // Once the writer has closed its files, before any is compressed or renamed: reads the
    // observation file's header and the navigation files among files (as
    // checkConversionFiles does). False with a message when the observation file cannot be
    // checked (none, or not RINEX 3) or the records could not be kept.
    bool prepare(const std::vector<std::string>& files, std::string& error);
    // Feeds up to maxEpochs kept records to the check; true when all have been fed.
    bool replay(size_t maxEpochs);
    Report finish();

    // Records kept so far (epoch and event records).
    long records() const { return records_; }

private:
    void put(uint64_t word);
    bool flush();
    bool nextWord(uint64_t& word);
    void emitPending();
    void problem(const std::string& what);

    Options options_;
    QualityCheck check_;
    Navigation navigation_;
    std::string observationPath_;

    std::FILE* spill_ = nullptr;
    std::vector<uint64_t> block_; // words waiting for the spill file, or read from it
    size_t blockUsed_ = 0, blockRead_ = 0;
    bool spillFailed_ = false;
    long records_ = 0;

    // Replay.
    struct Column {
        char type, band, attribute;
    };
    std::vector<Column> columns_[8];
    Epoch epoch_;
    bool pending_ = false;     // epoch_ holds a record not yet fed
    bool skipEpoch_ = false;   // a record the reader would skip
    bool skipSatellite_ = false;
    SatelliteObservations* satellite_ = nullptr;
    double lastTime_ = 0;
    long lineNumber_ = 0;
    std::vector<std::string> problems_;
    size_t problemCount_ = 0;
    std::string eventText_;
    int eventLinesLeft_ = 0;
    bool prepared_ = false;
};

} // namespace quality
