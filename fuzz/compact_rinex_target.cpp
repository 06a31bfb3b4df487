// SPDX-License-Identifier: MIT
// The Compact RINEX encoder on arbitrary text; whatever it accepts must expand back, and
// the file path's encoding in pieces on worker threads must give the same bytes or message.
#include "targets.h"

#include <cstdlib>
#include <exception>
#include <unistd.h>

#include "compression/compact_rinex.h"
#include "compression/parallel_encoding.h"
#include "support/compact_rinex_expander.h"

namespace fuzzing {

namespace {

// One scratch file per process, in memory when the machine offers it; removed at exit.
class ScratchFile {
public:
    ScratchFile() {
        const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : (std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp");
        path_ = std::string(dir) + "/velmoor-fuzz-crx-XXXXXX";
        fd_ = mkstemp(&path_[0]);
    }
    ~ScratchFile() {
        if (fd_ >= 0) {
            close(fd_);
            unlink(path_.c_str());
        }
    }
    bool write(const char* data, size_t size) {
        if (fd_ < 0 || ftruncate(fd_, 0) != 0) return false;
        size_t done = 0;
        while (done < size) {
            const ssize_t n = pwrite(fd_, data + done, size - done, off_t(done));
            if (n <= 0) return false;
            done += size_t(n);
        }
        return true;
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
    int fd_ = -1;
};

std::string withoutDateLine(const std::string& compact) {
    const size_t first = compact.find('\n');
    const size_t second = first == std::string::npos ? first : compact.find('\n', first + 1);
    if (second == std::string::npos) return compact;
    return compact.substr(0, first + 1) + compact.substr(second + 1);
}

// The input as a file, its body in pieces of 1 to 256 bytes (from the first byte), encoded
// as they are cut or, for one input length in sixteen, on two worker threads (slower: every
// piece is handed between threads): what it gives must equal what one encoder gave.
std::string comparePieces(const char* text, size_t size, bool ok, const std::string& compact, const std::string& error) {
    static ScratchFile scratch;
    if (!scratch.write(text, size)) return {}; // no scratch space: nothing to compare
    compression::LineBlocks input;
    if (!input.open(scratch.path())) return {};
    std::string output;
    compression::StringSink sink(output);
    const size_t piece = size > 0 ? 1 + uint8_t(text[0]) : 1;
    const unsigned threads = size % 16 == 7 ? 2 : 0;
    const compression::EncodingOutcome o = compression::encodeCompactRinex(input, sink, threads, piece);
    if (o.ok != ok) return ok ? "pieces refuse what one encoder accepts: " + o.message : "pieces accept what one encoder refuses";
    if (!ok && (o.message != error || !o.inputFault)) return "pieces give another message: " + o.message;
    if (ok && withoutDateLine(output) != withoutDateLine(compact)) return "pieces give other bytes";
    return {};
}

} // namespace

std::string runCompactRinex(const uint8_t* data, size_t size) {
    const char* text = reinterpret_cast<const char*>(data);
    std::string compact, error;
    if (!compression::compactRinexText(text, size, &compact, &error)) {
        if (error.empty()) return "refused without a message";
        return comparePieces(text, size, false, compact, error);
    }
    const std::string pieces = comparePieces(text, size, true, compact, error);
    if (!pieces.empty()) return pieces;
    if (compact.empty() || compact.back() != '\n') return "output does not end in a line feed";
    size_t start = 0;
    while (start < compact.size()) {
        const size_t lf = compact.find('\n', start);
        if (lf > start && (compact[lf - 1] == ' ' || compact[lf - 1] == '\r'))
            return "output line ends in a blank or carriage return";
        if (lf - start > 2046) return "output line longer than 2046 characters";
        start = lf + 1;
    }
    std::string plain;
    try {
        if (!testsupport::expandCompactRinex(compact, &plain, &error)) return "output does not expand: " + error;
        if (plain != testsupport::normalisedPlainRinex(std::string(text, size)))
            return "output expands to another text";
    } catch (const std::exception& e) {
        return std::string("output breaks the expander: ") + e.what();
    }
    return {};
}

} // namespace fuzzing
