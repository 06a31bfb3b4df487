// SPDX-License-Identifier: MIT
#pragma once
// Reading a plain file in large blocks: raw blocks for gzip, or blocks of whole lines for
// the Compact RINEX encoder (one or several threads see the same lines and the same errors).
#include <cstddef>
#include <memory>
#include <string>
#include <sys/types.h>

namespace compression {

class InputFile {
public:
    InputFile() = default;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();
    bool open(const std::string& path);
    // Bytes read (0 at the end), -1 on failure (error() says why).
    ssize_t read(char* into, size_t size);
    const std::string& error() const { return error_; }
    int descriptor() const { return fd_; }

private:
    int fd_ = -1;
    std::string error_;
};

// Whole lines of a file, many at a time. A block holds complete lines with their LFs,
// except the file's last line when it lacks its LF (lastWithoutLf).
class LineBlocks {
public:
    static constexpr size_t kReadBlock = 1 << 20;
    // A raw line (before its trailing blanks go) may be this long; longer is not RINEX.
    static constexpr size_t kMaxRawLine = 1 << 16;

    LineBlocks() : buffer_(new char[kBufferSize]) {}
    bool open(const std::string& path) { return input_.open(path); }
    // The next block in *data/*size; false at the end of the file or on failure (failed()
    // and error() then say so). A block may be empty (a line longer than one read).
    bool next(const char** data, size_t* size, bool* lastWithoutLf);
    bool failed() const { return !error_.empty(); }
    // "cannot be read: ...", "read failed: ..." or "not a RINEX observation file (...)".
    const std::string& error() const { return error_; }
    const std::string& openError() const { return input_.error(); }

private:
    static constexpr size_t kBufferSize = kReadBlock + kMaxRawLine;
    InputFile input_;
    std::unique_ptr<char[]> buffer_; // not zero-filled: only what is read is touched
    size_t kept_ = 0;     // bytes of an unfinished line at the buffer's start
    size_t consumed_ = 0; // bytes of the buffer handed out by the last call
    bool ended_ = false;
    std::string error_;
};

} // namespace compression
