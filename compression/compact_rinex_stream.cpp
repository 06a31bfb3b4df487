// SPDX-License-Identifier: MIT
#include "compression/compact_rinex_stream.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "compression/input_blocks.h"

namespace compression {

namespace {

// A header with just what the encoder reads for the body: the version and the types.
bool primeWith(CompactRinexEncoder& primer, int rinexMajorVersion, const TypeCounts& types) {
    char line[128];
    int n = std::snprintf(line, sizeof line, "%6d.00%11s%-20s%-20s%-20s", rinexMajorVersion, "", "OBSERVATION DATA",
                          "M", "RINEX VERSION / TYPE");
    if (!primer.addLine(line, size_t(n))) return false;
    for (const auto& [letter, count] : types) {
        n = std::snprintf(line, sizeof line, "%c  %3d%54s%-20s", letter, count, "", "SYS / # / OBS TYPES");
        if (!primer.addLine(line, size_t(n))) return false;
    }
    n = std::snprintf(line, sizeof line, "%60s%-20s", "", "END OF HEADER");
    return primer.addLine(line, size_t(n)) && primer.betweenEpochs();
}

TypeCounts sorted(TypeCounts types) {
    std::sort(types.begin(), types.end());
    return types;
}

} // namespace

CompactRinexStream::CompactRinexStream() : encoder_(body_) {}

CompactRinexStream::~CompactRinexStream() {
    if (started_) {
        body_.close();
        std::remove(bodyPath_.c_str());
    }
}

bool CompactRinexStream::start(const std::string& bodyPath, int rinexMajorVersion, const TypeCounts& types) {
    if (started_ || (rinexMajorVersion != 3 && rinexMajorVersion != 4)) return false;
    std::string discarded;
    StringSink primerSink(discarded);
    CompactRinexEncoder primer(primerSink);
    if (!primeWith(primer, rinexMajorVersion, types)) return false;
    if (!body_.open(bodyPath)) return false;
    bodyPath_ = bodyPath;
    started_ = true;
    encoder_.startAfterHeader(primer);
    types_ = sorted(types);
    return true;
}

void CompactRinexStream::encodeLines(const char* data, size_t size) {
    const char* p = data;
    const char* const stop = data + size;
    while (!failed_ && p < stop) {
        const char* lf = static_cast<const char*>(std::memchr(p, '\n', size_t(stop - p)));
        if (!lf) {
            partial_.append(p, size_t(stop - p));
            // No RINEX line is this long: the body is not one the encoder could take.
            if (partial_.size() > LineBlocks::kMaxRawLine) failed_ = true;
            return;
        }
        if (!partial_.empty()) {
            partial_.append(p, size_t(lf - p));
            if (!encoder_.addLine(partial_.data(), partial_.size())) failed_ = true;
            partial_.clear();
        } else if (!encoder_.addLine(p, size_t(lf - p))) {
            failed_ = true;
        }
        p = lf + 1;
    }
}

void CompactRinexStream::add(const char* data, size_t size) {
    if (!active() || ended_) return;
    encodeLines(data, size);
}

bool CompactRinexStream::end(const TypeCounts& types) {
    if (!active() || ended_) return false;
    ended_ = true;
    if (sorted(types) != types_) failed_ = true;
    if (!failed_ && !partial_.empty() && !encoder_.addLine(partial_.data(), partial_.size())) failed_ = true;
    partial_.clear();
    if (!failed_ && !encoder_.finish()) failed_ = true;
    if (!body_.close()) failed_ = true;
    return !failed_;
}

bool CompactRinexStream::writeCompact(const std::string& plainPath, OutputSink& sink, std::string* error,
                                      bool* outputFault) {
    const auto fail = [&](const std::string& text) {
        if (error) *error = text;
        return false;
    };
    const auto failWrite = [&](const std::string& text) {
        if (outputFault) *outputFault = true;
        return fail(text);
    };
    if (!active() || !ended_) return fail(plainPath + ": the compact body is not complete");

    // The header, encoded from the closed plain file.
    LineBlocks plain;
    if (!plain.open(plainPath)) return fail(plainPath + ": cannot be read: " + plain.openError());
    CompactRinexEncoder header(sink);
    const char* data = nullptr;
    size_t size = 0;
    bool lastWithoutLf = false;
    while (!header.betweenEpochs() && plain.next(&data, &size, &lastWithoutLf)) {
        const char* p = data;
        const char* const stop = data + size;
        while (p < stop && !header.betweenEpochs()) {
            const char* lf = static_cast<const char*>(std::memchr(p, '\n', size_t(stop - p)));
            const char* end = lf ? lf : stop;
            if (!header.addLine(p, size_t(end - p))) return fail(plainPath + ": " + header.error());
            p = lf ? lf + 1 : stop;
        }
    }
    if (plain.failed()) return fail(plainPath + ": " + plain.error());
    if (!header.betweenEpochs()) return fail(plainPath + ": the file ends before END OF HEADER");
    if (!header.flush()) return failWrite(header.error());

    // Then the body as it was encoded.
    InputFile body;
    if (!body.open(bodyPath_)) return fail(bodyPath_ + ": cannot be read: " + body.error());
    bool readFailed = false;
    if (sink.append(body, &readFailed)) return true;
    return readFailed ? fail(bodyPath_ + ": read failed: " + body.error()) : failWrite(sink.error());
}

} // namespace compression
