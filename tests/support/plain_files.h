// SPDX-License-Identifier: MIT
#pragma once
// Whole files in the tests of the plain C++ libraries (no Qt there).
#include <fstream>
#include <sstream>
#include <string>

namespace testsupport {

// The file's bytes; empty when it cannot be read.
inline std::string fileContents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// Writes content to path, replacing the file.
inline void writeContents(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

} // namespace testsupport
