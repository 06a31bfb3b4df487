// SPDX-License-Identifier: MIT
#include "decoding/text_sentence.h"

#include <cstdio>

#include "decoding/checksum.h"

namespace decoding {
namespace {

constexpr int kMaxNmeaBody = 511;

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Room left after `length` characters, never negative.
size_t roomAfter(int length, int capacity) {
    return capacity > length ? size_t(capacity - length) : 0;
}

} // namespace

int checkNmeaSentence(const char* text) {
    if (text[0] != '$') return -1;
    uint8_t sum = 0;
    int n = 0;
    const char* p = text + 1;
    for (; *p && *p != '*'; ++p) {
        if (++n > kMaxNmeaBody) return -2;
        sum ^= uint8_t(*p);
    }
    if (*p != '*') return -2;
    // Up to two hex digits of either case, as a "%02X" scan reads them.
    int value = 0, digits = 0;
    for (const char* q = p + 1; digits < 2; ++q, ++digits) {
        const int d = hexDigit(*q);
        if (d < 0) break;
        value = value * 16 + d;
    }
    return digits > 0 && value == sum ? 0 : -3;
}

int checkAsciiLog(const char* text) {
    if (text[0] != '#') return -1;
    const char* star = text + 1;
    while (*star && *star != '*')
        ++star;
    if (*star != '*') return -2;
    char expected[9];
    std::snprintf(expected, sizeof expected, "%08x",
                  crc32(0, reinterpret_cast<const uint8_t*>(text + 1), uint32_t(star - text - 1)));
    for (int i = 0; i < 8; ++i)
        if (star[1 + i] != expected[i]) return -3; // a NUL ends the comparison too
    return 0;
}

int checkTextSentence(const char* text) {
    if (text[0] == '$') return checkNmeaSentence(text);
    if (text[0] == '#') return checkAsciiLog(text);
    return -1;
}

int appendNmeaChecksum(char* buffer, int length, int capacity) {
    if (length < 0) return 0;
    uint8_t sum = 0;
    for (int i = 1; i < length; ++i)
        sum ^= uint8_t(buffer[i]);
    return std::snprintf(buffer + length, roomAfter(length, capacity), "*%02X\r\n", unsigned(sum));
}

int appendAsciiLogCrc(char* buffer, int length, int capacity) {
    if (length < 0) return 0;
    const uint32_t crc =
        length > 1 ? crc32(0, reinterpret_cast<const uint8_t*>(buffer + 1), uint32_t(length - 1)) : 0;
    return std::snprintf(buffer + length, roomAfter(length, capacity), "*%08x\r\n", unsigned(crc));
}

int formatNmeaTime(char* buffer, int capacity, uint32_t millisecondsOfDay) {
    if (capacity < 9) return 0;
    const uint32_t ms = millisecondsOfDay;
    const uint32_t hours = ms / 3600000u - (ms / 86400000u) * 24u;
    const uint32_t minutes = ms / 60000u % 60u;
    const uint32_t seconds = ms / 1000u % 60u;
    const uint32_t hundredths = ms / 10u % 100u;
    return std::snprintf(buffer, size_t(capacity), "%02d%02d%02d.%02d,", int(hours), int(minutes),
                         int(seconds), int(hundredths));
}

uint32_t parseNmeaTime(const char* text) {
    for (int i = 0; i < 7; ++i)
        if (!text[i]) return 0;
    if (text[6] != '.') return 0;
    auto pair = [text](int at) { return uint32_t(text[at] - '0') * 10u + uint32_t(text[at + 1] - '0'); };
    uint32_t ms = pair(0) * 3600000u + pair(2) * 60000u + pair(4) * 1000u;
    static const uint32_t kWeights[3] = {100, 10, 1};
    for (int i = 0; i < 3; ++i) {
        const char c = text[7 + i];
        if (c < '0' || c > '9') break; // end of text or of the fraction digits
        ms += uint32_t(c - '0') * kWeights[i];
    }
    return ms;
}

} // namespace decoding
