// SPDX-License-Identifier: MIT
#pragma once
// Compact RINEX of a whole file, its body encoded in pieces on worker threads. The output
// is the same bytes as the single-threaded encoder's, whatever the input: each piece starts
// with an encoder primed on the epochs before it, and its output is used only if that
// encoder's state at the piece's start equals the state the previous piece ended with;
// otherwise the piece is encoded again from that state. Memory stays flat: a few pieces of
// about 1 MiB are in flight at a time.
#include <cstddef>
#include <string>

#include "compression/input_blocks.h"
#include "compression/output_sink.h"

namespace compression {

struct EncodingOutcome {
    bool ok = false;
    bool inputFault = false; // the message is about the input (else about the output)
    std::string message;     // "line N: ...", a read problem, or the sink's error
};

// Body bytes per piece: large enough that priming costs little, small enough for flat memory.
constexpr size_t kPieceBytes = 1 << 20;

// threads: worker threads for the pieces (0: each piece is encoded on the calling thread
// as it is cut); pieceBytes 0: no pieces, one encoder for the whole file. Tests and the
// fuzz target choose small pieces to cross many piece boundaries.
EncodingOutcome encodeCompactRinex(LineBlocks& input, OutputSink& sink, unsigned threads, size_t pieceBytes);

} // namespace compression
