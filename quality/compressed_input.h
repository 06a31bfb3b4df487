// SPDX-License-Identifier: MIT
#pragma once
// Opens a file for line-by-line reading, gzip-compressed (".gz") or plain alike.
#include <istream>
#include <memory>
#include <string>

namespace quality {

// nullptr (and a message) when the file cannot be opened.
std::unique_ptr<std::istream> openInput(const std::string& path, std::string& error);

} // namespace quality
