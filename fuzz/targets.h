// SPDX-License-Identifier: MIT
#pragma once
// The fuzz targets as plain functions: the libFuzzer entry points call them, and the
// regression test replays the saved inputs through them. Each returns an empty text when
// the run kept every invariant that it checks, else what broke.
#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzzing {

// The synchroniser with every framing enabled, then every log decoder on each board frame
// it delivers and on the input itself read as one frame.
std::string runStream(const uint8_t* data, size_t size);

// A writer opened on a scratch folder, given frames with valid CRCs and text lines built
// from the input (see writer_input.h), then closed; its five files are checked and removed.
std::string runWriter(const uint8_t* data, size_t size);
// The same with the RINEX version ("3.02" ... "4.00", "2.11") and the navigation layout given.
std::string runWriterAs(const uint8_t* data, size_t size, const char* version, bool mergedNavigation);

// Both file-header parsers on the input, then the options they give applied to a writer.
std::string runHeader(const uint8_t* data, size_t size);

// The output options' texts (one per input line), checked, parsed and applied to a writer;
// the long file names made from the values they give.
std::string runOutputOptions(const uint8_t* data, size_t size);

// The Compact RINEX encoder on the input as a plain observation file; when it accepts it,
// the output must be clean and expand (with the tests' expander) back to the input.
std::string runCompactRinex(const uint8_t* data, size_t size);

// The quality check's RINEX readers: the input is an observation file, optionally followed
// by "@@NAV@@\n" and a navigation file; every report form is then written.
std::string runRinex(const uint8_t* data, size_t size);

// A broken invariant, thrown from deep inside a run and returned by the run's function.
struct Broken {
    std::string what;
};

} // namespace fuzzing
