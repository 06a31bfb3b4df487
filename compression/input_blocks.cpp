// SPDX-License-Identifier: MIT
#include "compression/input_blocks.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace compression {

InputFile::~InputFile() {
    if (fd_ >= 0) ::close(fd_);
}

bool InputFile::open(const std::string& path) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) error_ = std::strerror(errno);
    return fd_ >= 0;
}

ssize_t InputFile::read(char* into, size_t size) {
    for (;;) {
        const ssize_t n = ::read(fd_, into, size);
        if (n >= 0) return n;
        if (errno != EINTR) {
            error_ = std::strerror(errno);
            return -1;
        }
    }
}

bool LineBlocks::next(const char** data, size_t* size, bool* lastWithoutLf) {
    if (ended_ || failed()) return false;
    // Checked only now, after the caller has handled the lines before the unfinished one.
    if (kept_ > kMaxRawLine) {
        error_ = "not a RINEX observation file (a line of more than " + std::to_string(kMaxRawLine) + " bytes)";
        return false;
    }
    // The unfinished line of the last block moves to the front.
    if (consumed_ > 0) {
        std::memmove(buffer_.get(), buffer_.get() + consumed_, kept_);
        consumed_ = 0;
    }
    const ssize_t n = input_.read(buffer_.get() + kept_, kBufferSize - kept_);
    if (n < 0) {
        error_ = "read failed: " + input_.error();
        return false;
    }
    *data = buffer_.get();
    *lastWithoutLf = false;
    if (n == 0) {
        ended_ = true;
        if (kept_ == 0) return false;
        // The last line lacks its LF.
        *size = kept_;
        *lastWithoutLf = true;
        kept_ = 0;
        return true;
    }
    const size_t end = kept_ + size_t(n);
    const void* lf = memrchr(buffer_.get(), '\n', end);
    const size_t whole = lf ? size_t(static_cast<const char*>(lf) - buffer_.get()) + 1 : 0;
    kept_ = end - whole;
    consumed_ = whole;
    *size = whole;
    return true;
}

} // namespace compression
