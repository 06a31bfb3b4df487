// SPDX-License-Identifier: MIT
#pragma once
// Compact RINEX of an observation file encoded while the file is written, so that a
// compressed conversion needs no second pass over its plain text.
//
// The body goes to a temporary file as it comes, encoded with the observation types the
// header is expected to list; the header itself is complete only when the plain file is
// closed, so it is encoded then, and the compact file is its header followed by the body.
// The result is the same bytes as the compact form of the finished plain file, provided the
// header lists the expected types: end() checks that, and the caller falls back to encoding
// the plain file when it returns false.
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "compression/compact_rinex_encoder.h"
#include "compression/output_sink.h"

namespace compression {

// Observation types per system letter, as counted in SYS / # / OBS TYPES.
using TypeCounts = std::vector<std::pair<char, int>>;

class CompactRinexStream {
public:
    CompactRinexStream();
    ~CompactRinexStream(); // removes the body file
    CompactRinexStream(const CompactRinexStream&) = delete;
    CompactRinexStream& operator=(const CompactRinexStream&) = delete;

    // Creates the body file (never over an existing one) and readies the encoder for a RINEX
    // 3 or 4 observation body with these types. False when it cannot: nothing is streamed.
    bool start(const std::string& bodyPath, int rinexMajorVersion, const TypeCounts& types);
    // Body bytes of the plain file, in order; they may split lines anywhere.
    void add(const char* data, size_t size);
    // After the last body byte, with the types the header lists: true when the whole body
    // is encoded for exactly these types and stored.
    bool end(const TypeCounts& types);

    // The compact file into sink: the header of the closed plain file, then the body. Only
    // after end() returned true. error names the input file that failed, or is the sink's
    // own message (then *outputFault is set).
    bool writeCompact(const std::string& plainPath, OutputSink& sink, std::string* error, bool* outputFault);

    bool active() const { return started_ && !failed_; }

private:
    void encodeLines(const char* data, size_t size);

    FileSink body_;
    std::string bodyPath_;
    CompactRinexEncoder encoder_;
    TypeCounts types_;
    std::string partial_; // the start of a line whose end has not come yet
    bool started_ = false;
    bool failed_ = false;
    bool ended_ = false;
};

} // namespace compression
