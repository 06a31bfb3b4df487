// SPDX-License-Identifier: MIT
#include "compression/compact_rinex.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include "compression/compact_rinex_encoder.h"
#include "compression/output_sink.h"

namespace compression {

namespace {

constexpr size_t kReadBlock = 1 << 20;
// A raw line (before its trailing blanks go) may be this long; longer is not RINEX.
constexpr size_t kMaxRawLine = 1 << 16;

void setError(std::string* error, const std::string& text) {
    if (error) *error = text;
}

class InputFile {
public:
    ~InputFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    bool open(const std::string& path) {
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd_ < 0) error_ = std::strerror(errno);
        return fd_ >= 0;
    }
    // Bytes read (0 at the end), -1 on failure.
    ssize_t read(char* into, size_t size) {
        for (;;) {
            const ssize_t n = ::read(fd_, into, size);
            if (n >= 0) return n;
            if (errno != EINTR) {
                error_ = std::strerror(errno);
                return -1;
            }
        }
    }
    const std::string& error() const { return error_; }

private:
    int fd_ = -1;
    std::string error_;
};

// Reads the plain file block by block and hands the encoder one line at a time.
bool encodeFile(const std::string& plainPath, OutputSink& sink, const std::string& outputPath, std::string* error) {
    InputFile input;
    if (!input.open(plainPath)) {
        setError(error, plainPath + ": cannot be read: " + input.error());
        return false;
    }
    CompactRinexEncoder encoder(sink);
    std::vector<char> buffer(kReadBlock + kMaxRawLine);
    size_t kept = 0; // bytes of an unfinished line at the buffer's start
    for (;;) {
        const ssize_t n = input.read(buffer.data() + kept, buffer.size() - kept);
        if (n < 0) {
            setError(error, plainPath + ": read failed: " + input.error());
            return false;
        }
        const size_t end = kept + size_t(n);
        const char* p = buffer.data();
        const char* const stop = buffer.data() + end;
        if (n == 0) {
            // The last line may lack its LF.
            if (p < stop && !encoder.addLine(p, size_t(stop - p))) break;
            if (!encoder.finish()) break;
            return true;
        }
        for (;;) {
            const char* lf = static_cast<const char*>(std::memchr(p, '\n', size_t(stop - p)));
            if (!lf) break;
            if (!encoder.addLine(p, size_t(lf - p))) {
                p = nullptr;
                break;
            }
            p = lf + 1;
        }
        if (!p) break;
        kept = size_t(stop - p);
        if (kept > kMaxRawLine) {
            setError(error, plainPath + ": not a RINEX observation file (a line of more than " +
                                std::to_string(kMaxRawLine) + " bytes)");
            return false;
        }
        std::memmove(buffer.data(), p, kept);
    }
    // A sink failure names the output, an encoding failure the input.
    const std::string& what = encoder.error();
    if (what.compare(0, 5, "line ") == 0)
        setError(error, plainPath + ": " + what);
    else
        setError(error, outputPath + ": " + what);
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
    std::vector<char> buffer(kReadBlock);
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
