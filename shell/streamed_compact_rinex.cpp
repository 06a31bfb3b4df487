// SPDX-License-Identifier: MIT
#include "shell/streamed_compact_rinex.h"

#include "compression/compact_rinex.h"

namespace {

// Blocks in flight to the encoder's thread: the writer hands over up to 256 KiB at a time.
constexpr size_t kBlocks = 16;
constexpr size_t kBlockBytes = size_t(1) << 18;
// Event records before the first epoch are held until it comes; a file with more of them
// than this is compressed afterwards instead.
constexpr size_t kMaxEarlyBytes = size_t(1) << 20;

// Hidden, beside the observation file, so that it is on the same disk and never collides
// with another conversion's.
std::string bodyPathFor(const std::string& observationPath) {
    const size_t slash = observationPath.rfind('/');
    const size_t nameAt = slash == std::string::npos ? 0 : slash + 1;
    return observationPath.substr(0, nameAt) + "." + observationPath.substr(nameAt) + ".crx-body";
}

} // namespace

StreamedCompactRinex::StreamedCompactRinex(bool threaded) : threaded_(threaded) {}

StreamedCompactRinex::~StreamedCompactRinex() {
    // The encoder's thread ends before the stream it writes to.
    pipeline_.reset();
}

void StreamedCompactRinex::begin(int majorVersion, const rinex::ObservationTypeCounts& types,
                                 const std::string& observationPath) {
    if (begun_) return;
    begun_ = true;
    if (early_.size() > kMaxEarlyBytes) return;
    if (!stream_.start(bodyPathFor(observationPath), majorVersion, types)) return;
    stream_.add(early_.data(), early_.size());
    early_ = std::string();
    if (!threaded_) return;
    pipeline_ = std::make_unique<rinex::OutputPipeline<std::vector<char>>>(
        kBlocks, [](std::vector<char>& block) { block.reserve(kBlockBytes); });
    pipeline_->start([this](std::vector<char>& block) { stream_.add(block.data(), block.size()); });
}

void StreamedCompactRinex::body(const char* data, size_t size) {
    if (!begun_) {
        if (early_.size() <= kMaxEarlyBytes) early_.append(data, size);
        return;
    }
    if (!stream_.active()) return;
    if (!pipeline_) {
        stream_.add(data, size);
        return;
    }
    std::vector<char>& block = pipeline_->acquire();
    block.assign(data, data + size);
    pipeline_->publish();
}

void StreamedCompactRinex::end(const rinex::ObservationTypeCounts& types) {
    pipeline_.reset(); // what was handed over is encoded first
    ready_ = stream_.end(types);
}

bool StreamedCompactRinex::writeCompact(const std::string& plainPath, const std::string& outputPath, bool gzip,
                                        std::string* error) {
    return compression::compactRinexFromStream(stream_, plainPath, outputPath, gzip, error);
}
