// SPDX-License-Identifier: MIT
#include "compression/parallel_encoding.h"

#include <condition_variable>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "compression/compact_rinex_encoder.h"

namespace compression {

namespace {

// A piece is cut at an epoch line; without one within 16 times its size, at a line end
// (the state check then decides whether its output can be used).
constexpr size_t kMaxPieceFactor = 16;
// Epochs replayed before a piece: arcs need four epochs to reach their third difference.
constexpr int kPrimingEpochs = 6;
constexpr size_t kMaxPrimingBytes = 1 << 20;
// Pieces read ahead of the one being written.
constexpr size_t kInFlight = 4;

EncodingOutcome encoderFault(const CompactRinexEncoder& encoder) {
    EncodingOutcome o;
    o.message = encoder.error();
    o.inputFault = o.message.compare(0, 5, "line ") == 0;
    return o;
}

// The lines of [p, p + size): whole lines with their LFs, the last one without its LF if
// lastWithoutLf.
bool feed(CompactRinexEncoder& encoder, const char* p, size_t size, bool lastWithoutLf) {
    const char* const stop = p + size;
    while (p < stop) {
        const char* lf = static_cast<const char*>(std::memchr(p, '\n', size_t(stop - p)));
        if (!lf) return !lastWithoutLf || encoder.addLine(p, size_t(stop - p));
        if (!encoder.addLine(p, size_t(lf - p))) return false;
        p = lf + 1;
    }
    return true;
}

// Start of the line after the last LF before `end` that is followed by '>' (an epoch line
// of RINEX 3/4), searching no further back than `from`; 0 if none.
size_t lastEpochStart(const char* data, size_t from, size_t end) {
    while (end > from) {
        const void* lf = memrchr(data + from, '\n', end - from);
        if (!lf) return 0;
        const size_t at = size_t(static_cast<const char*>(lf) - data);
        if (at + 1 < end && data[at + 1] == '>') return at + 1;
        end = at;
    }
    return 0;
}

// Start of the first line at or after `from` that begins with '>' and follows an LF at
// `from - 1` or later; 0 if none before `end`.
size_t nextEpochStart(const char* data, size_t from, size_t end) {
    for (size_t at = from > 0 ? from - 1 : 0; at + 1 < end; ++at) {
        const void* lf = std::memchr(data + at, '\n', end - at - 1);
        if (!lf) return 0;
        at = size_t(static_cast<const char*>(lf) - data);
        if (data[at + 1] == '>') return at + 1;
    }
    return 0;
}

// An encoder writing into memory.
struct Lane {
    Lane() : sink(out), encoder(sink) {}
    std::string out;
    StringSink sink;
    CompactRinexEncoder encoder;
};

struct Piece {
    std::string data;      // priming lines, then the piece's own lines
    size_t primed = 0;     // bytes of priming lines
    bool lastWithoutLf = false;
    std::unique_ptr<Lane> lane; // the encoder the worker uses
    // Results, written by the worker.
    bool ok = false;
    bool started = false; // the priming ended between epochs; its state is in start
    std::string start;
    uint64_t startLine = 0;
    uint64_t startEpochs = 0;
    bool done = false;
};

class Workers {
public:
    Workers(unsigned count, const CompactRinexEncoder& header) : header_(header) {
        try {
            for (unsigned i = 0; i < count; ++i) threads_.emplace_back([this] { run(); });
        } catch (const std::system_error&) {
            // Fewer threads (none: the pieces are encoded as they are submitted).
        }
    }
    ~Workers() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        work_.notify_all();
        for (std::thread& t : threads_) t.join();
    }
    void submit(Piece* piece) {
        if (threads_.empty()) {
            encode(*piece);
            piece->done = true;
            return;
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            queue_.push_back(piece);
        }
        work_.notify_one();
    }
    void wait(Piece* piece) {
        std::unique_lock<std::mutex> lock(mutex_);
        done_.wait(lock, [piece] { return piece->done; });
    }

private:
    void run() {
        for (;;) {
            Piece* piece;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                work_.wait(lock, [this] { return stop_ || !queue_.empty(); });
                if (stop_) return;
                piece = queue_.front();
                queue_.pop_front();
            }
            encode(*piece);
            {
                std::lock_guard<std::mutex> lock(mutex_);
                piece->done = true;
            }
            done_.notify_all();
        }
    }

    void encode(Piece& piece) const {
        CompactRinexEncoder& encoder = piece.lane->encoder;
        encoder.startAfterHeader(header_);
        if (!feed(encoder, piece.data.data(), piece.primed, false) || !encoder.betweenEpochs() || !encoder.flush())
            return;
        piece.lane->out.clear();
        encoder.saveState(&piece.start);
        piece.started = true;
        piece.startLine = encoder.lineNumber();
        piece.startEpochs = encoder.epochCount();
        piece.ok = feed(encoder, piece.data.data() + piece.primed, piece.data.size() - piece.primed,
                        piece.lastWithoutLf) &&
                   encoder.flush();
    }

    const CompactRinexEncoder& header_;
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable work_;
    std::condition_variable done_;
    std::deque<Piece*> queue_;
    bool stop_ = false;
};

// Puts the pieces' output in order: the encoder that holds the true state at the end of
// what has been written, and the check of each piece against it.
class Assembly {
public:
    Assembly(CompactRinexEncoder& head, OutputSink& sink, std::vector<std::unique_ptr<Lane>>& spare)
        : sink_(sink), current_(&head), spare_(spare) {}

    // False on failure (outcome() says why). The piece's lane is kept or goes back to spare.
    bool settle(Piece& piece) {
        bool match = piece.ok && piece.started && current_->betweenEpochs();
        if (match) {
            current_->saveState(&state_);
            match = state_ == piece.start;
        }
        if (match) {
            CompactRinexEncoder& next = piece.lane->encoder;
            next.moveTo(current_->lineNumber() + (next.lineNumber() - piece.startLine),
                        current_->epochCount() + (next.epochCount() - piece.startEpochs));
            if (lane_) spare_.push_back(std::move(lane_));
            lane_ = std::move(piece.lane);
            current_ = &lane_->encoder;
        } else if (!feed(*current_, piece.data.data() + piece.primed, piece.data.size() - piece.primed,
                         piece.lastWithoutLf) ||
                   !current_->flush()) {
            outcome_ = encoderFault(*current_);
            return false;
        }
        if (piece.lane) spare_.push_back(std::move(piece.lane));
        return writeOut();
    }

    bool finish() {
        if (!current_->finish()) {
            outcome_ = encoderFault(*current_);
            return false;
        }
        if (!writeOut()) return false;
        outcome_.ok = true;
        return true;
    }

    const EncodingOutcome& outcome() const { return outcome_; }

private:
    bool writeOut() {
        if (!lane_ || lane_->out.empty()) return true;
        const bool ok = sink_.write(lane_->out.data(), lane_->out.size());
        lane_->out.clear();
        if (!ok) outcome_.message = sink_.error();
        return ok;
    }

    OutputSink& sink_;
    CompactRinexEncoder* current_;
    std::vector<std::unique_ptr<Lane>>& spare_;
    std::unique_ptr<Lane> lane_; // owns current_ once a piece's encoder has taken over
    std::string state_;
    EncodingOutcome outcome_;
};

} // namespace

EncodingOutcome encodeCompactRinex(LineBlocks& input, OutputSink& sink, unsigned threads, size_t pieceBytes) {
    CompactRinexEncoder head(sink);
    const char* data = nullptr;
    size_t size = 0;
    bool lastWithoutLf = false;
    bool haveBlock = false;
    const char* p = nullptr;
    const char* stop = nullptr;

    // The header, line by line, on this thread.
    while (!head.betweenEpochs() && (haveBlock = input.next(&data, &size, &lastWithoutLf))) {
        p = data;
        stop = data + size;
        while (p < stop && !head.betweenEpochs()) {
            const char* lf = static_cast<const char*>(std::memchr(p, '\n', size_t(stop - p)));
            const char* end = lf ? lf : stop;
            if (!head.addLine(p, size_t(end - p))) return encoderFault(head);
            p = lf ? lf + 1 : stop;
        }
    }
    const auto inputFault = [&input] {
        EncodingOutcome o;
        o.inputFault = true;
        o.message = input.error();
        return o;
    };
    const auto serialRest = [&]() -> EncodingOutcome {
        // The rest of the block, then the following ones, on this thread.
        for (;;) {
            if (haveBlock && !feed(head, p, size_t(stop - p), lastWithoutLf)) return encoderFault(head);
            if (!(haveBlock = input.next(&data, &size, &lastWithoutLf))) break;
            p = data;
            stop = data + size;
        }
        if (input.failed()) return inputFault();
        if (!head.finish()) return encoderFault(head);
        EncodingOutcome o;
        o.ok = true;
        return o;
    };
    if (!head.betweenEpochs() || head.compactVersion() != 3 || pieceBytes == 0) return serialRest();
    if (!head.flush()) return encoderFault(head);
    // What the pieces' encoders take from the header; head itself may go on encoding.
    std::string unused;
    StringSink noOutput(unused);
    CompactRinexEncoder header(noOutput);
    header.startAfterHeader(head);

    // The body in pieces, read straight into the next piece after its priming lines. Small
    // files never fill a piece and stay on this thread. Pieces and encoders are reused.
    std::vector<std::unique_ptr<Piece>> sparePieces;
    std::vector<std::unique_ptr<Lane>> spareLanes;
    std::unique_ptr<Piece> next(new Piece);
    if (haveBlock) next->data.assign(p, size_t(stop - p));
    next->lastWithoutLf = haveBlock && lastWithoutLf;
    std::deque<std::unique_ptr<Piece>> inFlight;
    std::unique_ptr<Assembly> assembly;
    std::unique_ptr<Workers> workers; // declared last: its threads stop before the pieces go

    const auto settleFront = [&]() -> bool {
        Piece* front = inFlight.front().get();
        workers->wait(front);
        const bool ok = assembly->settle(*front);
        sparePieces.push_back(std::move(inFlight.front()));
        inFlight.pop_front();
        return ok;
    };
    // Sends the next piece up to cut (its own lines from next->primed) to the workers.
    const auto dispatch = [&](size_t cut) -> bool {
        if (!workers) {
            workers.reset(new Workers(threads, header));
            assembly.reset(new Assembly(head, sink, spareLanes));
        }
        if (inFlight.size() >= kInFlight && !settleFront()) return false;
        std::unique_ptr<Piece> following;
        if (sparePieces.empty()) {
            following.reset(new Piece);
        } else {
            following = std::move(sparePieces.back());
            sparePieces.pop_back();
        }
        Piece& piece = *next;
        // The following piece starts with this one's last epochs (its own priming lines
        // included when it is short), then what is beyond cut.
        const size_t limit = cut > kMaxPrimingBytes ? cut - kMaxPrimingBytes : 0;
        size_t from = cut;
        int found = 0;
        for (; found < kPrimingEpochs; ++found) {
            const size_t at = lastEpochStart(piece.data.data(), limit, from);
            if (at == 0) break;
            from = at;
        }
        // The first line has no LF before it.
        if (found < kPrimingEpochs && limit == 0 && piece.data[0] == '>') from = 0;
        following->data.assign(piece.data, from, piece.data.size() - from);
        following->primed = cut - from;
        following->lastWithoutLf = piece.lastWithoutLf;
        piece.lastWithoutLf = piece.lastWithoutLf && cut == piece.data.size();
        piece.data.resize(cut);
        if (!spareLanes.empty()) {
            piece.lane = std::move(spareLanes.back());
            spareLanes.pop_back();
        } else {
            piece.lane.reset(new Lane);
        }
        piece.ok = piece.started = piece.done = false;
        workers->submit(&piece);
        inFlight.push_back(std::move(next));
        next = std::move(following);
        return true;
    };

    bool failed = false;
    while (!failed) {
        // Blocks hold whole lines only, so the end of the data is a line end.
        if (next->data.size() - next->primed >= pieceBytes) {
            size_t cut = nextEpochStart(next->data.data(), next->primed + pieceBytes, next->data.size());
            if (cut == 0 && next->data.size() - next->primed >= kMaxPieceFactor * pieceBytes) cut = next->data.size();
            if (cut > next->primed) {
                failed = !dispatch(cut);
                continue;
            }
        }
        if (!input.next(&data, &size, &lastWithoutLf)) break;
        next->data.append(data, size);
        next->lastWithoutLf = lastWithoutLf;
    }
    if (!failed && !workers) {
        // Never a full piece: the whole body on this thread.
        if (!feed(head, next->data.data(), next->data.size(), next->lastWithoutLf)) return encoderFault(head);
        if (input.failed()) return inputFault();
        if (!head.finish()) return encoderFault(head);
        EncodingOutcome o;
        o.ok = true;
        return o;
    }
    // The lines read so far go before any input error, which only counts if they encode.
    if (!failed && next->data.size() > next->primed) failed = !dispatch(next->data.size());
    while (!failed && !inFlight.empty()) failed = !settleFront();
    if (failed) return assembly->outcome();
    if (input.failed()) return inputFault();
    assembly->finish();
    return assembly->outcome();
}

} // namespace compression
