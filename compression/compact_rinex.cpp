// SPDX-License-Identifier: MIT
#include "compression/compact_rinex.h"

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "compression/compact_rinex_encoder.h"
#include "compression/compact_rinex_stream.h"
#include "compression/input_blocks.h"
#include "compression/output_sink.h"
#include "compression/parallel_encoding.h"

namespace compression {

namespace {

void setError(std::string* error, const std::string& text) {
    if (error) *error = text;
}

// The body in pieces on two worker threads only with a core for each of them and one for
// this thread's reading, writing and checking: the pieces cost about a third more CPU time
// in all (priming, copies, data crossing cores), so on two cores one encoder is faster.
bool encodeInPieces() {
    return std::thread::hardware_concurrency() >= 3;
}

bool encodeFile(const std::string& plainPath, OutputSink& sink, const std::string& outputPath, std::string* error) {
    LineBlocks input;
    if (!input.open(plainPath)) {
        setError(error, plainPath + ": cannot be read: " + input.openError());
        return false;
    }
    const bool pieces = encodeInPieces();
    const EncodingOutcome outcome = encodeCompactRinex(input, sink, pieces ? 2 : 0, pieces ? kPieceBytes : 0);
    if (outcome.ok) return true;
    // Input problems name the input, write failures the output.
    setError(error, (outcome.inputFault ? plainPath : outputPath) + ": " + outcome.message);
    return false;
}

bool finishOutput(OutputSink& sink, bool ok, const std::string& outputPath, std::string* error) {
    if (!sink.close() && ok) {
        setError(error, outputPath + ": " + sink.error());
        ok = false;
    }
    if (!ok) std::remove(outputPath.c_str());
    return ok;
}

} // namespace

bool compactRinexFile(const std::string& plainPath, const std::string& compactPath, std::string* error) {
    FileSink sink;
    if (!sink.open(compactPath)) {
        setError(error, compactPath + ": " + sink.error());
        return false;
    }
    return finishOutput(sink, encodeFile(plainPath, sink, compactPath, error), compactPath, error);
}

bool compactRinexGzipFile(const std::string& plainPath, const std::string& gzPath, std::string* error) {
    GzipSink sink;
    if (!sink.open(gzPath)) {
        setError(error, gzPath + ": " + sink.error());
        if (sink.error() != "already exists") std::remove(gzPath.c_str());
        return false;
    }
    return finishOutput(sink, encodeFile(plainPath, sink, gzPath, error), gzPath, error);
}

bool compactRinexFromStream(CompactRinexStream& stream, const std::string& plainPath, const std::string& outputPath,
                            bool gzip, std::string* error) {
    FileSink file;
    GzipSink zipped;
    OutputSink& sink = gzip ? static_cast<OutputSink&>(zipped) : file;
    const bool opened = gzip ? zipped.open(outputPath) : file.open(outputPath);
    if (!opened) {
        setError(error, outputPath + ": " + sink.error());
        if (gzip && sink.error() != "already exists") std::remove(outputPath.c_str());
        return false;
    }
    std::string message;
    bool outputFault = false;
    const bool ok = stream.writeCompact(plainPath, sink, &message, &outputFault);
    if (!ok) setError(error, outputFault ? outputPath + ": " + message : message);
    return finishOutput(sink, ok, outputPath, error);
}

bool gzipFile(const std::string& path, const std::string& gzPath, std::string* error) {
    InputFile input;
    if (!input.open(path)) {
        setError(error, path + ": cannot be read: " + input.error());
        return false;
    }
    GzipSink sink;
    if (!sink.open(gzPath)) {
        setError(error, gzPath + ": " + sink.error());
        if (sink.error() != "already exists") std::remove(gzPath.c_str());
        return false;
    }
    std::vector<char> buffer(LineBlocks::kReadBlock);
    bool ok = true;
    for (;;) {
        const ssize_t n = input.read(buffer.data(), buffer.size());
        if (n < 0) {
            setError(error, path + ": read failed: " + input.error());
            ok = false;
            break;
        }
        if (n == 0) break;
        if (!sink.write(buffer.data(), size_t(n))) {
            setError(error, gzPath + ": " + sink.error());
            ok = false;
            break;
        }
    }
    return finishOutput(sink, ok, gzPath, error);
}

bool compactRinexText(const char* plain, size_t size, std::string* compact, std::string* error) {
    std::string out;
    StringSink sink(out);
    CompactRinexEncoder encoder(sink);
    const char* p = plain;
    const char* const stop = plain + size;
    bool ok = true;
    while (ok && p < stop) {
        const char* lf = static_cast<const char*>(std::memchr(p, '\n', size_t(stop - p)));
        const char* end = lf ? lf : stop;
        ok = encoder.addLine(p, size_t(end - p));
        p = lf ? lf + 1 : stop;
    }
    if (ok) ok = encoder.finish();
    if (compact) compact->swap(out);
    if (error) *error = ok ? std::string() : encoder.error();
    return ok;
}

} // namespace compression
