// SPDX-License-Identifier: MIT
#pragma once
// A conversion's observation file compressed to Compact RINEX while it is written: the
// writer hands its body over, and an encoder takes it on a thread of its own (or on the
// writer's thread when the conversion runs on one thread). At the end the compact file is
// the closed plain file's header followed by the encoded body; when the header lists other
// types than the body was encoded for, ready() is false and the plain file is encoded
// afterwards as before.
#include <memory>
#include <string>
#include <vector>

#include "compression/compact_rinex_stream.h"
#include "rinex/observation_body_sink.h"
#include "rinex/output_pipeline.h"

class StreamedCompactRinex : public rinex::ObservationBodySink {
public:
    // threaded: encode on a thread of its own.
    explicit StreamedCompactRinex(bool threaded);
    ~StreamedCompactRinex() override;

    void begin(int majorVersion, const rinex::ObservationTypeCounts& types, const std::string& observationPath) override;
    void body(const char* data, size_t size) override;
    void end(const rinex::ObservationTypeCounts& types) override;

    // The whole body is encoded for the types the closed header lists.
    bool ready() const { return ready_; }
    // The compact file (gzipped when gzip) from plainPath's header and the encoded body.
    bool writeCompact(const std::string& plainPath, const std::string& outputPath, bool gzip, std::string* error);

private:
    compression::CompactRinexStream stream_;
    std::string early_; // event records written before the first epoch
    bool begun_ = false;
    std::unique_ptr<rinex::OutputPipeline<std::vector<char>>> pipeline_;
    bool threaded_ = false;
    bool ready_ = false;
};
