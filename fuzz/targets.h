#pragma once
// The fuzz targets as plain functions: the libFuzzer entry points call them, and the
// regression test replays the saved inputs through them. Each aborts with a message on
// stderr when an output breaks one of its invariants.
#include <cstddef>
#include <cstdint>

namespace fuzzing {

// The synchroniser with every framing enabled, then every log decoder on each board frame
// it delivers and on the input itself read as one frame.
void runStream(const uint8_t* data, size_t size);

// A writer opened on a scratch folder, given frames with valid CRCs and text lines built
// from the input (see writer_input.h), then closed; its five files are checked and removed.
void runWriter(const uint8_t* data, size_t size);

// Both file-header parsers on the input, then the options they give applied to a writer.
void runHeader(const uint8_t* data, size_t size);

} // namespace fuzzing
