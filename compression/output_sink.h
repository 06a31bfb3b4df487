// SPDX-License-Identifier: MIT
#pragma once
// Where compressed bytes go: a plain file or a gzip stream. Both are written in large
// blocks by their users, so neither buffers further.
#include <cstddef>
#include <string>

namespace compression {

class InputFile;

class OutputSink {
public:
    virtual ~OutputSink() = default;
    // False on a write failure; error() then says what happened.
    virtual bool write(const char* data, size_t size) = 0;
    // Writes the rest of input. False on a failure: *readFailed tells input's (input.error()
    // says what) from the sink's own (error()).
    virtual bool append(InputFile& input, bool* readFailed);
    // Flushes and closes; false if anything written could not be stored.
    virtual bool close() = 0;
    virtual std::string error() const = 0;
};

// Creates the file (never replacing an existing one); open() reports the failure.
class FileSink : public OutputSink {
public:
    FileSink() = default;
    ~FileSink() override;
    bool open(const std::string& path);
    bool write(const char* data, size_t size) override;
    // File to file inside the kernel when the file systems allow it: no copy through this
    // process (an encoded body of tens of megabytes is appended at the end of a conversion).
    bool append(InputFile& input, bool* readFailed) override;
    bool close() override;
    std::string error() const override { return error_; }

private:
    int fd_ = -1;
    std::string error_;
};

// RFC 1952 gzip file written through zlib's deflate.
class GzipSink : public OutputSink {
public:
    GzipSink();
    ~GzipSink() override;
    bool open(const std::string& path);
    bool write(const char* data, size_t size) override;
    bool close() override;
    std::string error() const override { return error_; }

private:
    bool deflateSome(int flush);

    FileSink file_;
    struct State;
    State* state_ = nullptr;
    bool open_ = false;
    std::string error_;
};

// Collects everything in memory (tests, fuzzing).
class StringSink : public OutputSink {
public:
    explicit StringSink(std::string& target) : target_(target) {}
    bool write(const char* data, size_t size) override {
        target_.append(data, size);
        return true;
    }
    bool close() override { return true; }
    std::string error() const override { return {}; }

private:
    std::string& target_;
};

} // namespace compression
