// SPDX-License-Identifier: MIT
#pragma once
// Checks and builders of the stream's text lines: "$...*hh" sentences and
// "#...*hhhhhhhh" ASCII logs.
#include <cstdint>

namespace decoding {

// 0 valid; -1 no leading "$"; -2 no "*" or more than 511 characters; -3 checksum differs.
int checkNmeaSentence(const char* text);
// 0 valid; -1 no leading "#"; -2 no "*"; -3 checksum differs (lower-case hex only).
int checkAsciiLog(const char* text);
int checkTextSentence(const char* text);

// Append "*%02X\r\n" / "*%08x\r\n" at buffer[length]; return the formatter's count.
int appendNmeaChecksum(char* buffer, int length, int capacity);
int appendAsciiLogCrc(char* buffer, int length, int capacity);

// "hhmmss.hh," ; 0 without writing when capacity < 9.
int formatNmeaTime(char* buffer, int capacity, uint32_t millisecondsOfDay);
// "hhmmss.fff" -> milliseconds of day; 0 when shorter than 7 or no "." at 6.
uint32_t parseNmeaTime(const char* text);

} // namespace decoding
