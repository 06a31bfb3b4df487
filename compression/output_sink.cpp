// SPDX-License-Identifier: MIT
#include "compression/output_sink.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "compression/input_blocks.h"

namespace compression {

bool OutputSink::append(InputFile& input, bool* readFailed) {
    std::vector<char> buffer(size_t(1) << 20);
    for (;;) {
        const ssize_t n = input.read(buffer.data(), buffer.size());
        if (n == 0) return true;
        *readFailed = n < 0;
        if (n < 0 || !write(buffer.data(), size_t(n))) return false;
    }
}

FileSink::~FileSink() {
    if (fd_ >= 0) ::close(fd_);
}

bool FileSink::open(const std::string& path) {
    // O_EXCL: like the converter's own outputs, an existing file is never replaced.
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_TRUNC | O_CLOEXEC, 0666);
    if (fd_ < 0) {
        error_ = errno == EEXIST ? "already exists" : std::string("cannot be created: ") + std::strerror(errno);
        return false;
    }
    return true;
}

bool FileSink::write(const char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd_, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            error_ = std::string("write failed: ") + std::strerror(errno);
            return false;
        }
        data += n;
        size -= size_t(n);
    }
    return true;
}

bool FileSink::append(InputFile& input, bool* readFailed) {
    for (;;) {
        const ssize_t n = ::copy_file_range(input.descriptor(), nullptr, fd_, nullptr, size_t(1) << 30, 0);
        if (n == 0) return true;
        if (n > 0) continue;
        if (errno == EINTR) continue;
        // Not between these file systems (or not on this kernel): through a buffer, from
        // where the copy stopped (both offsets moved with what was copied).
        if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP || errno == EPERM)
            return OutputSink::append(input, readFailed);
        *readFailed = false;
        error_ = std::string("write failed: ") + std::strerror(errno);
        return false;
    }
}

bool FileSink::close() {
    if (fd_ < 0) return error_.empty();
    const int result = ::close(fd_);
    fd_ = -1;
    if (result != 0 && error_.empty()) error_ = std::string("write failed: ") + std::strerror(errno);
    return error_.empty();
}

struct GzipSink::State {
    z_stream stream{};
    std::vector<unsigned char> out = std::vector<unsigned char>(1 << 18);
};

GzipSink::GzipSink() = default;

GzipSink::~GzipSink() {
    if (state_) {
        if (open_) deflateEnd(&state_->stream);
        delete state_;
    }
}

bool GzipSink::open(const std::string& path) {
    if (!file_.open(path)) {
        error_ = file_.error();
        return false;
    }
    state_ = new State;
    // Window bits 15 + 16: the gzip wrapper (header and CRC-32 trailer) around deflate.
    if (deflateInit2(&state_->stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        error_ = "cannot start the gzip compressor";
        return false;
    }
    open_ = true;
    return true;
}

bool GzipSink::deflateSome(int flush) {
    z_stream& s = state_->stream;
    for (;;) {
        s.next_out = state_->out.data();
        s.avail_out = uInt(state_->out.size());
        const int result = deflate(&s, flush);
        if (result == Z_STREAM_ERROR) {
            error_ = "gzip compressor failed";
            return false;
        }
        const size_t produced = state_->out.size() - s.avail_out;
        if (produced > 0 && !file_.write(reinterpret_cast<const char*>(state_->out.data()), produced)) {
            error_ = file_.error();
            return false;
        }
        if (flush == Z_FINISH ? result == Z_STREAM_END : s.avail_out != 0) return true;
    }
}

bool GzipSink::write(const char* data, size_t size) {
    if (!open_) return false;
    z_stream& s = state_->stream;
    while (size > 0) {
        // avail_in is 32 bits wide.
        const size_t piece = size < (1u << 30) ? size : (1u << 30);
        s.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
        s.avail_in = uInt(piece);
        if (!deflateSome(Z_NO_FLUSH)) return false;
        data += piece;
        size -= piece;
    }
    return true;
}

bool GzipSink::close() {
    bool ok = error_.empty();
    if (open_) {
        state_->stream.next_in = nullptr;
        state_->stream.avail_in = 0;
        if (ok) ok = deflateSome(Z_FINISH);
        deflateEnd(&state_->stream);
        open_ = false;
    }
    if (!file_.close() && ok) {
        error_ = file_.error();
        ok = false;
    }
    return ok;
}

} // namespace compression
