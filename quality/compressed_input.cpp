// SPDX-License-Identifier: MIT
#include "quality/compressed_input.h"

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <streambuf>
#include <vector>

namespace quality {

namespace {

// Reads through zlib's gz interface, which passes uncompressed files through unchanged.
class GzipBuffer : public std::streambuf {
public:
    explicit GzipBuffer(gzFile file) : file_(file), buffer_(1 << 16) {}
    ~GzipBuffer() override { gzclose(file_); }

protected:
    int_type underflow() override {
        if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
        const int n = gzread(file_, buffer_.data(), unsigned(buffer_.size()));
        if (n <= 0) return traits_type::eof(); // a truncated stream ends here
        setg(buffer_.data(), buffer_.data(), buffer_.data() + n);
        return traits_type::to_int_type(*gptr());
    }

private:
    gzFile file_;
    std::vector<char> buffer_;
};

class GzipStream : public std::istream {
public:
    explicit GzipStream(gzFile file) : std::istream(nullptr), buffer_(file) { rdbuf(&buffer_); }

private:
    GzipBuffer buffer_;
};

} // namespace

std::unique_ptr<std::istream> openInput(const std::string& path, std::string& error) {
    gzFile file = gzopen(path.c_str(), "rb");
    if (!file) {
        error = "cannot open " + path + ": " + std::strerror(errno);
        return nullptr;
    }
    gzbuffer(file, 1 << 17);
    return std::unique_ptr<std::istream>(new GzipStream(file));
}

} // namespace quality
