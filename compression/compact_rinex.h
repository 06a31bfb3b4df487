// SPDX-License-Identifier: MIT
#pragma once
// Compression of finished output files: Compact RINEX for observation files, gzip for any
// file. Every function streams (memory flat in the file size), never replaces an existing
// output file, removes its partial output when it fails, and leaves the input alone.
#include <cstddef>
#include <string>

namespace compression {

class CompactRinexStream;

// Streams a plain RINEX observation file (3.0x/4.xx give Compact RINEX 3.0, 2.11 gives
// Compact RINEX 1.0) into a Compact RINEX file. False with a message naming the file and
// the problem (input unreadable, not an observation file, a line that cannot be encoded,
// write failure, ...) in *error (if not null).
bool compactRinexFile(const std::string& plainPath, const std::string& compactPath, std::string* error);

// gzip (RFC 1952) of a file, streamed.
bool gzipFile(const std::string& path, const std::string& gzPath, std::string* error);

// Both at once: the Compact RINEX text goes straight into the gzip stream, no
// intermediate file.
bool compactRinexGzipFile(const std::string& plainPath, const std::string& gzPath, std::string* error);

// The same result (plain or gzipped) from the body a CompactRinexStream encoded while the
// plain file was written: the header of the closed plain file, then that body.
bool compactRinexFromStream(CompactRinexStream& stream, const std::string& plainPath, const std::string& outputPath,
                            bool gzip, std::string* error);

// The same encoder on text in memory (tests, fuzzing): plain RINEX in, Compact RINEX out.
// On failure *error holds "line N: what" (and *compact is incomplete).
bool compactRinexText(const char* plain, size_t size, std::string* compact, std::string* error);

} // namespace compression
