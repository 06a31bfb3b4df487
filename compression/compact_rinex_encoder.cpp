// SPDX-License-Identifier: MIT
#include "compression/compact_rinex_encoder.h"

#include <cstring>
#include <ctime>

namespace compression {

namespace {

constexpr size_t kOutBlock = 1 << 18;
// Room for the longest line the encoder writes: a copied line, or a satellite line of
// 100 fields of at most 19 characters and 200 flag characters.
constexpr size_t kOutSlack = 8192;

const char kBlanks[16] = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};

inline bool isLittleEndian() {
    const uint16_t one = 1;
    uint8_t first;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

inline bool isDigit(char c) {
    return static_cast<unsigned char>(c - '0') < 10;
}

// Two-digit pairs "00".."99" for the decimal form.
constexpr char kPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                          "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                          "8081828384858687888990919293949596979899";

constexpr uint64_t kPowers10[20] = {1ull,
                                    10ull,
                                    100ull,
                                    1000ull,
                                    10000ull,
                                    100000ull,
                                    1000000ull,
                                    10000000ull,
                                    100000000ull,
                                    1000000000ull,
                                    10000000000ull,
                                    100000000000ull,
                                    1000000000000ull,
                                    10000000000000ull,
                                    100000000000000ull,
                                    1000000000000000ull,
                                    10000000000000000ull,
                                    100000000000000000ull,
                                    1000000000000000000ull,
                                    10000000000000000000ull};

// Writes the n decimal digits of m (n counted by the caller) backwards from p + n.
template <typename T>
inline void putDigits(char* p, T m, int n) {
    char* q = p + n;
    while (m >= 100) {
        const unsigned pair = unsigned(m % 100);
        m /= 100;
        q -= 2;
        std::memcpy(q, kPairs + 2 * pair, 2);
    }
    if (m >= 10)
        std::memcpy(q - 2, kPairs + 2 * m, 2);
    else
        q[-1] = char('0' + m);
}

// The digits of m < 10^8 as eight ASCII characters with leading zeros, the first in the
// lowest byte: two halves of four digits, each split into pairs and then into digits, all
// lanes at once (no lane overflows into the next).
inline uint64_t eightCharacters(uint32_t m) {
    uint64_t v = uint64_t(m / 10000) | uint64_t(m % 10000) << 32;        // 32-bit lanes < 10000
    const uint64_t hundreds = ((v * 5243) >> 19) & 0x0000007F0000007Full; // v / 100 for v < 43699
    v = hundreds | (v - hundreds * 100) << 16;                            // 16-bit lanes < 100
    const uint64_t tens = ((v * 103) >> 10) & 0x000F000F000F000Full;      // v / 10 for v < 179
    v = tens | (v - tens * 10) << 8;                                      // bytes < 10
    return v | 0x3030303030303030ull;
}

inline int decimalDigits(uint64_t m) {
    // From the bit length: log10(2) ~ 1233 / 4096, corrected by one comparison.
    m |= 1;
    const int t = ((64 - __builtin_clzll(m)) * 1233) >> 12;
    return t + 1 - (m < kPowers10[t] ? 1 : 0);
}

// Appends v in plain decimal; returns the new end. Writes up to 8 bytes beyond it. Without
// branches on the sign or the length for |v| < 10^8: differences have random signs and
// lengths, which a branch predictor cannot learn.
inline char* putInteger(char* p, int64_t v) {
    const bool negative = v < 0;
    const uint64_t m = negative ? uint64_t(0) - uint64_t(v) : uint64_t(v);
    *p = '-';
    p += negative ? 1 : 0;
    const int n = decimalDigits(m);
    if (m < 100000000) {
        uint64_t text = eightCharacters(uint32_t(m)) >> (8 * (8 - n));
        if (!isLittleEndian()) text = __builtin_bswap64(text);
        std::memcpy(p, &text, 8);
    } else if (m <= 0xFFFFFFFFu) {
        putDigits(p, uint32_t(m), n);
    } else {
        putDigits(p, m, n);
    }
    return p + n;
}

// Eight ASCII digits (the first the most significant) to their value; bytes that are 0 or a
// blank count as 0.
inline uint64_t eightDigits(uint64_t v) {
    v = ((v & 0x0F0F0F0F0F0F0F0Full) * 2561) >> 8;
    v = ((v & 0x00FF00FF00FF00FFull) * 6553601) >> 16;
    return ((v & 0x0000FFFF0000FFFFull) * 42949672960001ull) >> 32;
}

// A 14-character value field (F14.3): 1 = value in *v (× 1000), 0 = blank, -1 = malformed.
// Accepted: blanks, an optional '-', digits without leading zeros (a lone 0 is fine), the
// point in the 11th place, three digits. The integer part is read eight characters at a time.
inline int parseValue(const char* f, int64_t* v) {
    if (f[10] != '.') return std::memcmp(f, kBlanks, 14) == 0 ? 0 : -1;
    // The point and the three decimals in one word: the point gives 0, digits 0..9.
    uint32_t tail;
    std::memcpy(&tail, f + 10, 4);
    if (!isLittleEndian()) tail = __builtin_bswap32(tail);
    const uint32_t b = tail ^ 0x30303030u;
    if (((((b & 0x7F7F7F7Fu) + 0x76767676u) | b) & 0x80808000u) != 0) return -1;
    const int64_t fraction = int64_t((b >> 8) & 0xFF) * 100 + int64_t((b >> 16) & 0xFF) * 10 + int64_t(b >> 24);
    uint64_t word; // characters 3 to 10, the third in the lowest byte
    std::memcpy(&word, f + 2, 8);
    if (!isLittleEndian()) word = __builtin_bswap64(word);
    const uint64_t a = word ^ 0x3030303030303030ull;
    const uint64_t nonDigit = (((a & 0x7F7F7F7F7F7F7F7Full) + 0x7676767676767676ull) | a) & 0x8080808080808080ull;
    bool negative = false;
    int64_t whole;
    if (nonDigit == 0) {
        // Eight digits or more: the first two characters hold blanks, a sign or digits.
        int64_t high = 0;
        if (f[0] == ' ' && f[1] == ' ') {
            if (f[2] == '0') return -1;
        } else if (f[0] == ' ' && f[1] == '-') {
            negative = true;
            if (f[2] == '0') return -1;
        } else if ((f[0] == ' ' || f[0] == '-') && isDigit(f[1]) && f[1] != '0') {
            negative = f[0] == '-';
            high = f[1] - '0';
        } else if (isDigit(f[0]) && f[0] != '0' && isDigit(f[1])) {
            high = (f[0] - '0') * 10 + (f[1] - '0');
        } else {
            return -1;
        }
        whole = high * 100000000 + int64_t(eightDigits(word));
    } else {
        // The last character that is not a digit must be a blank or the sign, with blanks
        // only before it.
        const int k = (63 - __builtin_clzll(nonDigit)) >> 3; // its byte, 0..7
        const char last = f[2 + k];
        if (f[0] != ' ' || f[1] != ' ' || (last != ' ' && last != '-')) return -1;
        if (k > 0) {
            const uint64_t t = word ^ 0x2020202020202020ull;
            const uint64_t nonBlank = (((t & 0x7F7F7F7F7F7F7F7Full) + 0x7F7F7F7F7F7F7F7Full) | t) & 0x8080808080808080ull;
            if (nonBlank & ((uint64_t(1) << (8 * k)) - 1)) return -1;
        }
        if (k < 6 && f[3 + k] == '0') return -1; // a leading zero before more digits
        negative = last == '-';
        const uint64_t digits = k == 7 ? 0 : word & ~((uint64_t(1) << (8 * (k + 1))) - 1);
        whole = int64_t(eightDigits(digits));
    }
    const int64_t x = whole * 1000 + fraction;
    *v = negative ? -x : x;
    return 1;
}

inline int64_t absolute(int64_t v) {
    return v < 0 ? -v : v;
}

// Largest k-th difference of the values for which the k-th difference of their upper parts
// (value / 100000, truncated) cannot exceed 100000: the truncations move it by at most
// 2^k * 99999 < 800000, so a jump needs at least 100001 * 100000 - 800000 > 9 * 10^9.
constexpr int64_t kQuietDifference = 9000000000;

// Room for one field's token in the output: "3&", a sign, 20 digits, the separator, and
// the 8 bytes putInteger may write beyond.
constexpr size_t kFieldRoom = 32;

const char kNotANumber[] = "not a number of the form F14.3";

// The large-jump rule: the k-th difference of the upper parts of the arc's last k + 1 values
// (v now, the earlier ones rebuilt from the previous epoch's differences) above 100000.
bool jumps(const int64_t* d, int64_t v, int k) {
    const int64_t v1 = d[0];
    const int64_t u0 = v / 100000;
    const int64_t u1 = v1 / 100000;
    if (k == 1) return absolute(u0 - u1) > 100000;
    const int64_t v2 = v1 - d[1];
    const int64_t u2 = v2 / 100000;
    if (k == 2) return absolute(u0 - 2 * u1 + u2) > 100000;
    const int64_t v3 = v2 - (d[1] - d[2]);
    const int64_t u3 = v3 / 100000;
    return absolute(u0 - 3 * u1 + 3 * u2 - u3) > 100000;
}

inline uint32_t idKey(const char* id) {
    return uint32_t(uint8_t(id[0])) | uint32_t(uint8_t(id[1])) << 8 | uint32_t(uint8_t(id[2])) << 16;
}

inline unsigned hashOf(uint32_t key) {
    return (key * 2654435761u) >> 24;
}

// diff(P, N) of the compact format: blank = unchanged, '&' = became blank, else the new
// character; trailing blanks removed. Returns the new end.
char* putDifference(char* p, const char* previous, size_t pl, const char* next, size_t nl) {
    char* const start = p;
    const size_t common = pl < nl ? pl : nl;
    for (size_t k = 0; k < common; ++k) {
        const char n = next[k];
        *p++ = n == previous[k] ? ' ' : (n == ' ' ? '&' : n);
    }
    for (size_t k = common; k < pl; ++k) *p++ = previous[k] == ' ' ? ' ' : '&';
    for (size_t k = common; k < nl; ++k) *p++ = next[k];
    while (p > start && p[-1] == ' ') --p;
    return p;
}

} // namespace

CompactRinexEncoder::CompactRinexEncoder(OutputSink& sink, std::string programName)
    : sink_(sink), program_(std::move(programName)), out_(new char[kOutBlock + kOutSlack]),
      outCapacity_(kOutBlock + kOutSlack) {
    if (program_.size() > 40) program_.resize(40);
    for (int& t : types_) t = -1;
    epochText_.reserve(512);
    previousEpoch_.reserve(512);
}

bool CompactRinexEncoder::fail(const std::string& what) {
    if (stage_ != Stage::Failed) error_ = "line " + std::to_string(lineNumber_) + ": " + what;
    stage_ = Stage::Failed;
    return false;
}

void CompactRinexEncoder::writeOut(const char* data, size_t size) {
    std::memcpy(out_.get() + outSize_, data, size);
    outSize_ += size;
}

void CompactRinexEncoder::writeLine(const char* data, size_t size) {
    std::memcpy(out_.get() + outSize_, data, size);
    outSize_ += size;
    out_[outSize_++] = '\n';
}

bool CompactRinexEncoder::flushOut() {
    if (outSize_ == 0) return true;
    const bool ok = sink_.write(out_.get(), outSize_);
    outSize_ = 0;
    if (!ok) {
        error_ = sink_.error();
        stage_ = Stage::Failed;
    }
    return ok;
}

char* CompactRinexEncoder::reserveBody(size_t size) {
    if (body_.size() < bodySize_ + size) body_.resize((bodySize_ + size) * 2);
    return body_.data() + bodySize_;
}

int CompactRinexEncoder::readCount(const char* text, size_t length, size_t from, size_t width) const {
    // An unsigned integer with blanks around it (as a formatted read takes it); -1 if
    // blank or malformed.
    int value = -1;
    bool ended = false;
    for (size_t i = from; i < from + width; ++i) {
        const char c = i < length ? text[i] : ' ';
        if (c == ' ') {
            if (value >= 0) ended = true;
        } else if (isDigit(c) && !ended) {
            value = (value < 0 ? 0 : value * 10) + (c - '0');
        } else {
            return -1;
        }
    }
    return value;
}

bool CompactRinexEncoder::addLine(const char* text, size_t length) {
    ++lineNumber_;
    if (stage_ == Stage::Failed) return false;
    if (length > 0 && text[length - 1] == '\r') --length;
    while (length > 0 && text[length - 1] == ' ') --length;
    if (length > 0 && text[length - 1] == '\r') return fail("line ends in a second carriage return");
    if (length > kMaxLineLength) return fail("line longer than " + std::to_string(kMaxLineLength) + " characters");
    if (outSize_ >= kOutBlock && !flushOut()) return false;
    switch (stage_) {
    case Stage::Satellites:
        return compactVersion_ == 3 ? satelliteLine3(text, length) : satelliteLine1(text, length);
    case Stage::Epoch:
        return compactVersion_ == 3 ? epochLine3(text, length) : epochLine1(text, length);
    case Stage::EpochContinuation:
        return epochContinuation1(text, length);
    case Stage::EventRecords:
        return eventRecord(text, length);
    case Stage::First:
    case Stage::Header:
        return headerLine(text, length);
    case Stage::Failed:
        break;
    }
    return false;
}

bool CompactRinexEncoder::finish() {
    switch (stage_) {
    case Stage::Failed:
        return false;
    case Stage::First:
        return fail("empty file, not a RINEX observation file");
    case Stage::Header:
        return fail("the file ends before END OF HEADER");
    case Stage::EpochContinuation:
    case Stage::Satellites:
        return fail("the file ends inside an epoch (" + std::to_string(satellitesRead_) + " of " +
                    std::to_string(satellitesExpected_) + " satellites)");
    case Stage::EventRecords:
        return fail("the file ends inside an event (" + std::to_string(eventRecordsLeft_) + " records missing)");
    case Stage::Epoch:
        break;
    }
    return flushOut();
}

// ---- header ----------------------------------------------------------------------------

bool CompactRinexEncoder::headerLine(const char* text, size_t length) {
    const auto label = [&](const char* name) {
        const size_t n = std::strlen(name);
        return length >= 60 + n && std::memcmp(text + 60, name, n) == 0;
    };
    if (stage_ == Stage::First) {
        if (!label("RINEX VERSION / TYPE") || length < 21 || text[20] != 'O')
            return fail("not a RINEX observation file (first line is not an observation RINEX VERSION / TYPE line)");
        if (text[5] == '3' || text[5] == '4') {
            compactVersion_ = 3;
        } else if (text[5] == '2') {
            compactVersion_ = 1;
        } else {
            return fail("RINEX version '" + std::string(text, 9) + "' has no compact form here (2.xx, 3.xx, 4.xx)");
        }
        char line[128];
        const int n = std::snprintf(line, sizeof line, "%-20s%-20s%-20s%-20s\n", compactVersion_ == 3 ? "3.0" : "1.0",
                                    "COMPACT RINEX FORMAT", "", "CRINEX VERS   / TYPE");
        writeOut(line, size_t(n));
        const std::time_t now = std::time(nullptr);
        std::tm utc{};
        gmtime_r(&now, &utc);
        char date[32];
        std::strftime(date, sizeof date, "%d-%b-%y %H:%M", &utc);
        const int m = std::snprintf(line, sizeof line, "%-40s%-20s%s\n", program_.c_str(), date, "CRINEX PROG / DATE");
        writeOut(line, size_t(m));
        stage_ = Stage::Header;
    } else if (compactVersion_ == 3 && label("SYS / # / OBS TYPES") && text[0] != ' ') {
        const int count = readCount(text, length, 3, 3);
        if (count < 1 || count > kMaxTypes)
            return fail("SYS / # / OBS TYPES: the number of types must be 1 to " + std::to_string(kMaxTypes));
        types_[uint8_t(text[0])] = count;
    } else if (compactVersion_ == 1 && label("# / TYPES OF OBSERV") && text[5] != ' ') {
        const int count = readCount(text, length, 0, 6);
        if (count < 1 || count > kMaxTypes)
            return fail("# / TYPES OF OBSERV: the number of types must be 1 to " + std::to_string(kMaxTypes));
        if (types1_ < 0) types1_ = count;
    }
    writeLine(text, length);
    if (label("END OF HEADER")) {
        if (compactVersion_ == 1 && types1_ < 0) return fail("the header declares no # / TYPES OF OBSERV");
        stage_ = Stage::Epoch;
        initialise();
    }
    return true;
}

void CompactRinexEncoder::startAfterHeader(const CompactRinexEncoder& header) {
    compactVersion_ = header.compactVersion_;
    std::memcpy(types_, header.types_, sizeof types_);
    types1_ = header.types1_;
    stage_ = Stage::Epoch;
    error_.clear();
    lineNumber_ = 0;
    epochs_ = 0;
    outSize_ = 0;
    initialise();
}

namespace {

template <typename T>
void appendBytes(std::string* state, const T& value) {
    state->append(reinterpret_cast<const char*>(&value), sizeof value);
}

} // namespace

void CompactRinexEncoder::saveState(std::string* state) const {
    state->clear();
    appendBytes(state, int(stage_));
    appendBytes(state, compactVersion_);
    state->append(reinterpret_cast<const char*>(types_), sizeof types_);
    appendBytes(state, types1_);
    appendBytes(state, previousEpoch_.size());
    state->append(previousEpoch_);
    appendBytes(state, clockOrder_);
    for (int i = 0; i <= clockOrder_; ++i) appendBytes(state, clockD_[i]);
    // The previous epoch's satellites in their order, with the valid part of each arc.
    appendBytes(state, previousCount_);
    const std::vector<Satellite>& bank = banks_[current_ ^ 1];
    for (int s = 0; s < previousCount_; ++s) {
        const Satellite& sat = bank[size_t(s)];
        appendBytes(state, sat.id);
        appendBytes(state, sat.types);
        for (int j = 0; j < sat.types; ++j) {
            const Arc& arc = sat.arcs[size_t(j)];
            appendBytes(state, arc.order);
            for (int i = 0; i <= arc.order; ++i) appendBytes(state, arc.d[i]);
        }
        state->append(sat.flags.data(), 2 * size_t(sat.types));
    }
}

void CompactRinexEncoder::initialise() {
    previousEpoch_.clear();
    previousCount_ = 0;
    stamp_[current_ ^ 1] = 0; // no slot of the previous table matches
    clockOrder_ = -1;
}

// ---- epochs ----------------------------------------------------------------------------

bool CompactRinexEncoder::parseClock(const char* field, size_t length, size_t pointAt, int64_t* value) {
    // Blanks, an optional '-', digits, the point at pointAt, then digits to the end.
    if (pointAt >= length || field[pointAt] != '.') return false;
    size_t i = 0;
    while (i < pointAt && field[i] == ' ') ++i;
    bool negative = false;
    if (i < pointAt && field[i] == '-') {
        negative = true;
        ++i;
    }
    if (i + 1 < pointAt && field[i] == '0') return false;
    int64_t x = 0;
    for (; i < pointAt; ++i) {
        if (!isDigit(field[i])) return false;
        x = x * 10 + (field[i] - '0');
    }
    if (pointAt + 1 == length) return false;
    for (i = pointAt + 1; i < length; ++i) {
        if (!isDigit(field[i])) return false;
        x = x * 10 + (field[i] - '0');
    }
    *value = negative ? -x : x;
    return true;
}

bool CompactRinexEncoder::epochLine3(const char* text, size_t length) {
    if (length == 0 || text[0] != '>') return fail("expected an epoch line starting with '>'");
    if (length < 32 || text[29] != ' ' || text[30] != ' ' || !isDigit(text[31]))
        return fail("epoch line without its flag in column 32");
    const int count = readCount(text, length, 32, 3);
    if (text[31] > '1') {
        // Events are copied and everything starts afresh after them.
        if (count < 0) return fail("event line without its number of records in columns 33-35");
        writeLine(text, length);
        ++epochs_;
        eventRecordsLeft_ = count;
        initialise();
        stage_ = count > 0 ? Stage::EventRecords : Stage::Epoch;
        return true;
    }
    if (count < 0) return fail("epoch line without its number of satellites in columns 33-35");
    if (count > kMaxSatellites) return fail("more than " + std::to_string(kMaxSatellites) + " satellites in an epoch");
    satellitesExpected_ = count;
    if (length > 56) return fail("epoch line longer than its 56 columns");
    return startEpoch(text, length, 41, 15);
}

bool CompactRinexEncoder::epochLine1(const char* text, size_t length) {
    if (length < 29 || text[0] != ' ' || text[26] != ' ' || text[27] != ' ' || !isDigit(text[28]))
        return fail("expected an epoch line with its flag in column 29");
    const int count = readCount(text, length, 29, 3);
    if (text[28] > '1') {
        if (count < 0) return fail("event line without its number of records in columns 30-32");
        // Column 1 '&' marks the event line as one the decoder copies.
        std::string line(text, length);
        line[0] = '&';
        writeLine(line.data(), line.size());
        ++epochs_;
        eventRecordsLeft_ = count;
        initialise();
        stage_ = count > 0 ? Stage::EventRecords : Stage::Epoch;
        return true;
    }
    if (count < 0) return fail("epoch line without its number of satellites in columns 30-32");
    if (count > kMaxSatellites) return fail("more than " + std::to_string(kMaxSatellites) + " satellites in an epoch");
    satellitesExpected_ = count;
    if (length > 80) return fail("epoch line longer than its 80 columns");
    const size_t ids = size_t(count < 12 ? count : 12);
    if ((length < 68 ? length : 68) < 32 + 3 * ids) return fail("epoch line lists fewer satellites than it counts");
    if (!startEpoch(text, length, 68, 12)) return false;
    // The first line's IDs, in columns 33 onwards; the rest follow on continuation lines.
    for (size_t i = 0; i < ids; ++i) ids_[i] = idKey(text + 32 + 3 * i);
    idsRead_ = int(ids);
    linesPerSatellite_ = (types1_ + 4) / 5;
    if (count == 0) return endEpoch();
    if (idsRead_ < count) {
        stage_ = Stage::EpochContinuation;
        return true;
    }
    return listComplete1();
}

bool CompactRinexEncoder::epochContinuation1(const char* text, size_t length) {
    const int remaining = satellitesExpected_ - idsRead_;
    const int here = remaining < 12 ? remaining : 12;
    if (length != 32 + 3 * size_t(here) || std::memcmp(text, kBlanks, 16) != 0 || std::memcmp(text + 16, kBlanks, 16) != 0)
        return fail("expected a continuation line with " + std::to_string(here) + " satellites from column 33");
    if (std::memchr(text + 32, '&', 3 * size_t(here))) return fail("'&' in a satellite ID");
    epochText_.append(text + 32, 3 * size_t(here));
    for (int i = 0; i < here; ++i) ids_[size_t(idsRead_ + i)] = idKey(text + 32 + 3 * i);
    idsRead_ += here;
    if (idsRead_ < satellitesExpected_) return true;
    return listComplete1();
}

bool CompactRinexEncoder::listComplete1() {
    // The IDs are all known before the records: check them and give them their slots now.
    for (int i = 0; i < satellitesExpected_; ++i)
        if (!insertCurrent(ids_[size_t(i)], i)) return false;
    stage_ = Stage::Satellites;
    return true;
}

bool CompactRinexEncoder::startEpoch(const char* text, size_t length, size_t clockStart, size_t clockLength) {
    // '&' means "blank" in the compact epoch line.
    if (std::memchr(text, '&', length < clockStart ? length : clockStart))
        return fail("'&' in an epoch line");
    haveClock_ = length > clockStart;
    if (haveClock_) {
        // Version 3: F15.12 in columns 42-56, point in 44; version 1: F12.9 in 69-80, point in 71.
        const size_t fieldLength = length - clockStart;
        if (fieldLength > clockLength || !parseClock(text + clockStart, fieldLength, 2, &clock_) ||
            fieldLength != clockLength)
            return fail("receiver clock offset not in the form F" + std::to_string(clockLength) + "." +
                        std::to_string(clockLength - 3));
        length = clockStart;
    }
    if (compactVersion_ == 3) {
        epochText_.assign(text, length);
        epochText_.resize(41, ' ');
    } else {
        while (length > 0 && text[length - 1] == ' ') --length;
        epochText_.assign(text, length);
    }
    satellitesRead_ = 0;
    recordLine_ = 0;
    bodySize_ = 0;
    currentCount_ = 0;
    stamp_[current_] = nextStamp_++;
    stage_ = satellitesExpected_ > 0 ? Stage::Satellites : Stage::Epoch;
    if (compactVersion_ == 3 && satellitesExpected_ == 0) return endEpoch();
    return true;
}

int CompactRinexEncoder::findPrevious(uint32_t id) const {
    const int previous = current_ ^ 1;
    const uint32_t stamp = stamp_[previous];
    if (stamp == 0) return -1;
    const HashSlot* table = table_[previous];
    for (unsigned h = hashOf(id);; h = (h + 1) & 255) {
        const HashSlot& s = table[h];
        if (s.stamp != stamp) return -1;
        if (s.key == id) return s.index;
    }
}

bool CompactRinexEncoder::insertCurrent(uint32_t id, int index) {
    const uint32_t stamp = stamp_[current_];
    HashSlot* table = table_[current_];
    for (unsigned h = hashOf(id);; h = (h + 1) & 255) {
        HashSlot& s = table[h];
        if (s.stamp != stamp) {
            s.key = id;
            s.stamp = stamp;
            s.index = index;
            return true;
        }
        if (s.key == id) {
            const char name[4] = {char(id & 255), char((id >> 8) & 255), char((id >> 16) & 255), 0};
            return fail(std::string("satellite ") + name + " twice in one epoch");
        }
    }
}

bool CompactRinexEncoder::satelliteLine3(const char* text, size_t length) {
    if (length > 0 && text[0] == '>')
        return fail("epoch with " + std::to_string(satellitesRead_) + " satellite lines where it counts " +
                    std::to_string(satellitesExpected_));
    char id[3] = {' ', ' ', ' '};
    std::memcpy(id, text, length < 3 ? length : 3);
    const int types = types_[uint8_t(id[0])];
    if (types < 0)
        return fail(std::string("satellite line of system '") + id[0] + "', which the header does not declare");
    const size_t width = 16 * size_t(types);
    if (length > 3 + width)
        return fail("satellite line longer than the " + std::to_string(types) + " observation types of system '" +
                    id[0] + "'");
    const char* record = text + 3;
    if (length < 3 + width) {
        // A short record: its missing fields are blank.
        if (record_.size() < width) record_.resize(width);
        const size_t data = length > 3 ? length - 3 : 0;
        std::memcpy(record_.data(), text + 3, data);
        std::memset(record_.data() + data, ' ', width - data);
        record = record_.data();
    }
    if (id[0] == '&' || id[1] == '&' || id[2] == '&') return fail("'&' in a satellite ID");
    const uint32_t key = idKey(id);
    if (!insertCurrent(key, currentCount_)) return false;
    epochText_.append(id, 3);
    if (!encodeSatellite(key, types, record)) return false;
    if (++satellitesRead_ == satellitesExpected_) return endEpoch();
    return true;
}

bool CompactRinexEncoder::satelliteLine1(const char* text, size_t length) {
    const int before = recordLine_ * 5;
    const int here = types1_ - before < 5 ? types1_ - before : 5;
    const size_t width = 16 * size_t(here);
    if (length > width) return fail("observation line longer than its " + std::to_string(here) + " fields");
    const size_t total = 16 * size_t(types1_);
    if (record_.size() < total) record_.resize(total);
    char* p = record_.data() + 16 * size_t(before);
    std::memcpy(p, text, length);
    std::memset(p + length, ' ', width - length);
    if (++recordLine_ < linesPerSatellite_) return true;
    recordLine_ = 0;
    const uint32_t key = ids_[size_t(satellitesRead_)];
    if (!encodeSatellite(key, types1_, record_.data())) return false;
    if (++satellitesRead_ == satellitesExpected_) return endEpoch();
    return true;
}

bool CompactRinexEncoder::fieldError(uint32_t id, int field, const char* record, const char* what) {
    // Fields are checked in order, so a '&' flag of an earlier field is named first.
    for (int j = 0; j < field; ++j)
        if (record[16 * j + 14] == '&' || record[16 * j + 15] == '&') return fieldError(id, j, record, "'&' as a flag");
    const char name[4] = {char(id & 255), char((id >> 8) & 255), char((id >> 16) & 255), 0};
    std::string text = std::string("satellite ") + name + ", observation " + std::to_string(field + 1) + ": " + what;
    if (what == kNotANumber) text += " ('" + std::string(record + 16 * field, 14) + "')";
    return fail(text);
}

bool CompactRinexEncoder::encodeSatellite(uint32_t id, int types, const char* record) {
    std::vector<Satellite>& bank = banks_[current_];
    if (int(bank.size()) <= currentCount_) bank.resize(size_t(currentCount_) + 1);
    Satellite& sat = bank[size_t(currentCount_)];
    ++currentCount_;
    sat.id = id;
    sat.types = types;
    if (int(sat.arcs.size()) < types) {
        sat.arcs.resize(size_t(types));
        sat.flags.resize(2 * size_t(types));
    }
    const int previousIndex = findPrevious(id);
    const Satellite* previous = previousIndex >= 0 ? &banks_[current_ ^ 1][size_t(previousIndex)] : nullptr;
    if (previous && previous->types != types) previous = nullptr;

    char* const start = reserveBody(kFieldRoom * size_t(types) + 8);
    char* p = start;
    Arc* const arcs = sat.arcs.data();
    char* const flags = sat.flags.data();
    const Arc* const before = previous ? previous->arcs.data() : nullptr;
    for (int j = 0; j < types; ++j) {
        const char* field = record + 16 * j;
        Arc& arc = arcs[j];
        std::memcpy(flags + 2 * j, field + 14, 2);
        int64_t v = 0;
        const int kind = parseValue(field, &v);
        if (kind <= 0) {
            if (kind < 0) return fieldError(id, j, record, kNotANumber);
            if (compactVersion_ == 1 && (field[14] != ' ' || field[15] != ' ')) {
                if (field[14] == '&' || field[15] == '&') return fieldError(id, j, record, "'&' as a flag");
                return fieldError(id, j, record, "flags on a blank value");
            }
            arc.order = -1;
            *p++ = ' ';
            continue;
        }
        if (before && before[j].order >= 0) {
            const Arc& b = before[j];
            const int k = b.order < 3 ? b.order + 1 : 3;
            // All three differences, whatever the order: the unused ones stay bounded and
            // the arc keeps them for the next epoch.
            arc.d[0] = v;
            arc.d[1] = v - b.d[0];
            arc.d[2] = arc.d[1] - b.d[1];
            arc.d[3] = arc.d[2] - b.d[2];
            const int64_t dk = arc.d[k];
            if (uint64_t(dk + kQuietDifference) <= uint64_t(2 * kQuietDifference) || !jumps(b.d, v, k)) {
                arc.order = k;
                p = putInteger(p, dk);
                *p++ = ' ';
                continue;
            }
        }
        // A new arc: the raw value, announced with the highest difference order used.
        arc.order = 0;
        arc.d[0] = v;
        arc.d[1] = 0;
        arc.d[2] = 0;
        arc.d[3] = 0;
        *p++ = '3';
        *p++ = '&';
        p = putInteger(p, v);
        *p++ = ' ';
    }
    const size_t n = 2 * size_t(types);
    if (std::memchr(flags, '&', n)) {
        const int j = int(static_cast<const char*>(std::memchr(flags, '&', n)) - flags) / 2;
        return fieldError(id, j, record, "'&' as a flag");
    }
    if (!previous) {
        if (compactVersion_ == 3) {
            for (size_t k = 0; k < n; ++k) *p++ = flags[k] == ' ' ? '&' : flags[k];
        } else {
            std::memcpy(p, flags, n);
            p += n;
        }
    } else if (std::memcmp(previous->flags.data(), flags, n) != 0) {
        // Unchanged flags (the usual case) give nothing; the trailing blanks go below.
        const char* old = previous->flags.data();
        for (size_t k = 0; k < n; ++k) {
            char o = old[k];
            if (compactVersion_ == 1 && arcs[k / 2].order < 0) o = ' ';
            const char c = flags[k];
            *p++ = c == o ? ' ' : (c == ' ' ? '&' : c);
        }
    }
    while (p > start && p[-1] == ' ') --p;
    *p++ = '\n';
    bodySize_ = size_t(p - body_.data());
    return true;
}

bool CompactRinexEncoder::endEpoch() {
    ++epochs_;
    // Make room for the epoch line, the clock line and the body.
    const size_t room = epochText_.size() + previousEpoch_.size() + 64 + bodySize_;
    if (outSize_ + room > outCapacity_) {
        if (!flushOut()) return false;
        if (room > outCapacity_) {
            out_.reset(new char[room]); // empty after the flush
            outCapacity_ = room;
        }
    }
    char* p = out_.get() + outSize_;
    if (compactVersion_ == 3) {
        size_t n = epochText_.size();
        if (previousEpoch_.empty()) {
            while (n > 0 && epochText_[n - 1] == ' ') --n;
            std::memcpy(p, epochText_.data(), n);
            p += n;
        } else {
            p = putDifference(p, previousEpoch_.data(), previousEpoch_.size(), epochText_.data(), n);
        }
    } else {
        if (previousEpoch_.empty()) {
            *p++ = '&';
            std::memcpy(p, epochText_.data() + 1, epochText_.size() - 1);
            p += epochText_.size() - 1;
        } else {
            p = putDifference(p, previousEpoch_.data(), previousEpoch_.size(), epochText_.data(), epochText_.size());
        }
    }
    *p++ = '\n';
    if (haveClock_) {
        if (clockOrder_ < 0) {
            clockOrder_ = 0;
            clockD_[0] = clock_;
            *p++ = '3';
            *p++ = '&';
            p = putInteger(p, clock_);
        } else {
            const int k = clockOrder_ < 3 ? clockOrder_ + 1 : 3;
            int64_t d[4];
            d[0] = clock_;
            for (int i = 0; i < k; ++i) d[i + 1] = d[i] - clockD_[i];
            for (int i = 0; i <= k; ++i) clockD_[i] = d[i];
            clockOrder_ = k;
            p = putInteger(p, d[k]);
        }
    } else {
        clockOrder_ = -1;
    }
    *p++ = '\n';
    if (bodySize_ > 0) std::memcpy(p, body_.data(), bodySize_); // an epoch without satellites has no body yet
    p += bodySize_;
    outSize_ = size_t(p - out_.get());

    previousEpoch_.swap(epochText_);
    previousCount_ = currentCount_;
    current_ ^= 1;
    stage_ = Stage::Epoch;
    return true;
}

bool CompactRinexEncoder::eventRecord(const char* text, size_t length) {
    if (compactVersion_ == 3) {
        if (length >= 79 && std::memcmp(text + 60, "SYS / # / OBS TYPES", 19) == 0 && text[0] != ' ') {
            const int count = readCount(text, length, 3, 3);
            if (count < 1 || count > kMaxTypes)
                return fail("SYS / # / OBS TYPES: the number of types must be 1 to " + std::to_string(kMaxTypes));
            types_[uint8_t(text[0])] = count;
        }
    } else if (length >= 79 && std::memcmp(text + 60, "# / TYPES OF OBSERV", 19) == 0 && text[5] != ' ') {
        const int count = readCount(text, length, 0, 6);
        if (count < 1 || count > kMaxTypes)
            return fail("# / TYPES OF OBSERV: the number of types must be 1 to " + std::to_string(kMaxTypes));
        types1_ = count;
    }
    writeLine(text, length);
    if (--eventRecordsLeft_ == 0) stage_ = Stage::Epoch;
    return true;
}

} // namespace compression
