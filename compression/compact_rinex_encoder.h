// SPDX-License-Identifier: MIT
#pragma once
// Compact RINEX encoder: turns the lines of a finished RINEX observation file (3.0x/4.xx
// into compact version 3.0, 2.11 into compact version 1.0) into the lines of its compact form,
// one input line at a time. It keeps only the previous epoch's state, so memory stays flat
// whatever the file size; the output goes to a sink in blocks.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "compression/output_sink.h"

namespace compression {

class CompactRinexEncoder {
public:
    // programName fills the compact header's program field (at most 40 characters).
    explicit CompactRinexEncoder(OutputSink& sink, std::string programName = "velmoor");

    // One input line without its LF; a CR before the LF and trailing blanks are ignored.
    // False when the line cannot be encoded (error() says why); the encoder then stops.
    bool addLine(const char* text, size_t length);
    // After the last line: checks that the input did not stop inside the header or an
    // epoch, and hands the remaining output to the sink (it is not closed).
    bool finish();

    // "line N: what" for input problems, the sink's message for write failures.
    const std::string& error() const { return error_; }
    // 3 or 1 once the first line has been read, else 0.
    int compactVersion() const { return compactVersion_; }
    // Observation epochs (flag 0 or 1) and event records encoded so far.
    uint64_t epochCount() const { return epochs_; }

    // For encoding one file in pieces on several threads (compact_rinex.cpp): an encoder
    // can take over the header's results from another and start at an epoch line; its
    // state between two epochs can be saved and compared with another encoder's, and an
    // encoder whose state matched continues with the line and epoch numbers of the other.
    //
    // Takes the version and observation types of an encoder that has read the header (and
    // nothing after it) and forgets everything else, output not yet handed to the sink
    // included; the next line must start an epoch. Nothing is written for the header.
    void startAfterHeader(const CompactRinexEncoder& header);
    // True between two epochs (and not failed): the only place a state is saved.
    bool betweenEpochs() const { return stage_ == Stage::Epoch; }
    // Everything the rest of the output depends on, in a canonical form: two encoders with
    // equal saved states turn the same following lines into the same output.
    void saveState(std::string* state) const;
    uint64_t lineNumber() const { return lineNumber_; }
    void moveTo(uint64_t lineNumber, uint64_t epochs) {
        lineNumber_ = lineNumber;
        epochs_ = epochs;
    }
    // Hands the output gathered so far to the sink.
    bool flush() { return stage_ != Stage::Failed && flushOut(); }

    // Limits of the compact format's readers; inputs beyond them are refused.
    static constexpr size_t kMaxLineLength = 2046;
    static constexpr int kMaxSatellites = 100;
    static constexpr int kMaxTypes = 100;

private:
    struct Arc {
        int64_t d[4]; // value and its 1st..3rd time differences (valid up to order)
        int order;    // highest difference computed so far, -1 = no arc
    };
    struct Satellite {
        uint32_t id = 0;
        int types = 0;
        std::vector<Arc> arcs;
        std::vector<char> flags; // LLI and SSI characters, 2 per type
    };
    struct HashSlot {
        uint32_t key = 0;
        uint32_t stamp = 0;
        int index = 0;
    };
    enum class Stage { First, Header, Epoch, EpochContinuation, Satellites, EventRecords, Failed };

    bool fail(const std::string& what);
    bool headerLine(const char* text, size_t length);
    bool epochLine3(const char* text, size_t length);
    bool epochLine1(const char* text, size_t length);
    bool epochContinuation1(const char* text, size_t length);
    bool listComplete1();
    bool eventRecord(const char* text, size_t length);
    bool satelliteLine3(const char* text, size_t length);
    bool satelliteLine1(const char* text, size_t length);
    bool startEpoch(const char* epoch, size_t length, size_t clockStart, size_t clockLength);
    bool encodeSatellite(uint32_t id, int types, const char* record);
    bool fieldError(uint32_t id, int field, const char* record, const char* what);
    bool endEpoch();
    void initialise();
    bool parseClock(const char* field, size_t length, size_t pointAt, int64_t* value);
    int readCount(const char* text, size_t length, size_t from, size_t width) const;

    int findPrevious(uint32_t id) const;
    bool insertCurrent(uint32_t id, int index);

    char* reserveBody(size_t size);
    void writeOut(const char* data, size_t size);
    void writeLine(const char* data, size_t size);
    bool flushOut();

    OutputSink& sink_;
    std::string program_;
    std::string error_;
    Stage stage_ = Stage::First;
    int compactVersion_ = 0;
    uint64_t lineNumber_ = 0;
    uint64_t epochs_ = 0;

    // Observation types per system letter (version 3) or for all (version 1); -1 = none.
    int types_[256];
    int types1_ = -1;

    // Epoch in progress.
    std::string epochText_;     // the compact epoch line being built (with the IDs)
    std::string previousEpoch_; // the last one written
    bool haveClock_ = false;
    int64_t clock_ = 0;
    int satellitesExpected_ = 0;
    int satellitesRead_ = 0;
    int linesPerSatellite_ = 1; // version 1: ceil(types / 5)
    int recordLine_ = 0;        // version 1: lines of the current satellite read so far
    uint32_t ids_[kMaxSatellites]; // version 1: the epoch's satellite IDs, in order
    int idsRead_ = 0;
    int eventRecordsLeft_ = 0;
    std::vector<char> record_; // the current satellite's fields, padded with blanks
    std::vector<char> body_;   // the epoch's compressed satellite lines
    size_t bodySize_ = 0;

    // Arcs: the previous epoch's satellites and the current one's, and a hash from ID to slot.
    std::vector<Satellite> banks_[2];
    int current_ = 0;
    int previousCount_ = 0;
    int currentCount_ = 0;
    HashSlot table_[2][256];
    uint32_t stamp_[2] = {0, 0};
    uint32_t nextStamp_ = 1;

    int64_t clockD_[4] = {0, 0, 0, 0};
    int clockOrder_ = -1;

    // Not zero-filled: encoders are cheap to create, and only the bytes used are touched.
    std::unique_ptr<char[]> out_;
    size_t outCapacity_ = 0;
    size_t outSize_ = 0;
};

} // namespace compression
