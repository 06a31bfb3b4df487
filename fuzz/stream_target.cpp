// SPDX-License-Identifier: MIT
// Synchroniser and decoders on arbitrary bytes.
#include "targets.h"

#include <algorithm>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/checksum.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/log_names.h"
#include "decoding/position_time.h"
#include "decoding/range_decoders.h"
#include "decoding/stream_sync.h"
#include "decoding/text_sentence.h"

namespace fuzzing {
namespace {

[[noreturn]] void fail(const char* what) {
    throw Broken{what};
}

// Values are folded into a sink so that the decoding cannot be optimised away.
volatile uint64_t sink;

void take(const decoding::RangeObservation& o) {
    sink = sink + o.satellite + o.signalType + (o.pseudorange > 0.0 ? 1 : 0);
    if (o.systemInfo != nullptr) sink = sink + uint64_t(o.systemInfo->letter);
    if (o.signalInfo != nullptr && o.signalInfo->rinexCode != nullptr)
        sink = sink + uint64_t(o.signalInfo->rinexCode[0]);
}

// Every decoder on one frame whose header read back as consistent; the id is set to the
// decoder's own so that each one sees every body.
void decodeAll(const uint8_t* frame, const decoding::LogHeader& read) {
    decoding::LogHeader h = read;
    sink = sink + uint64_t(decoding::logName(h.messageId)[0]);

    for (uint32_t mode : {0u, 2u}) {
        decoding::RangeCursor cursor{};
        decoding::RangeObservation o{};
        h.messageId = decoding::LogRange;
        if (decoding::openRange(frame, h, cursor, mode) == 0)
            for (int32_t i = 0; i < cursor.count; ++i)
                if (decoding::decodeRange(cursor, i, &o) == 0) take(o);
        h.messageId = decoding::LogRangeCmp;
        cursor = decoding::RangeCursor{};
        if (decoding::openRangeCmp(frame, h, cursor, mode) == 0)
            for (int32_t i = 0; i < cursor.count; ++i)
                if (decoding::decodeRangeCmp(cursor, i, &o) == 0) take(o);
        h.messageId = decoding::LogRangeCmp2;
        cursor = decoding::RangeCursor{};
        if (decoding::openRangeCmp2(frame, h, cursor, mode) == 0)
            for (int calls = 0; calls < 1000; ++calls) {
                const int r = decoding::nextRangeCmp2(cursor, &o);
                if (r == decoding::RangeCmp2Record) take(o);
                if (r == decoding::RangeCmp2End || r < 0) break;
            }
    }

    h.messageId = decoding::LogGpsEphem;
    decoding::GpsEphemeris gps{};
    if (decoding::decodeGpsEphemeris(frame, h, gps) == 0) sink = sink + gps.satellite;
    h.messageId = decoding::LogGloEphemeris;
    decoding::GlonassEphemeris glo{};
    if (decoding::decodeGlonassEphemeris(frame, h, glo) == 0) sink = sink + glo.slot;
    h.messageId = decoding::LogBd2Ephem;
    decoding::Bd2Ephemeris bd2{};
    if (decoding::decodeBd2Ephemeris(frame, h, bd2) == 0) sink = sink + 1;
    h.messageId = decoding::LogBdsEphemeris;
    decoding::BeidouEphemeris bds{};
    if (decoding::decodeBeidouEphemeris(frame, h, bds) == 0) sink = sink + 1;
    h.messageId = decoding::LogGalEphemeris;
    decoding::GalileoEphemeris gal{};
    if (decoding::decodeGalileoEphemeris(frame, h, gal) == 0) sink = sink + 1;
    h.messageId = decoding::LogGalInavEphemeris;
    decoding::GalileoInavEphemeris inav{};
    if (decoding::decodeGalileoInavEphemeris(frame, h, inav) == 0) sink = sink + 1;
    h.messageId = decoding::LogGalFnavEphemeris;
    decoding::GalileoFnavEphemeris fnav{};
    if (decoding::decodeGalileoFnavEphemeris(frame, h, fnav) == 0) sink = sink + 1;
    for (uint16_t id : {uint16_t(6), uint16_t(8), uint16_t(2010), uint16_t(1347)}) {
        h.messageId = id;
        decoding::IonoUtcParameters utc{};
        if (decoding::decodeIonoUtc(frame, h, utc) == 0) sink = sink + utc.leapSeconds;
    }
    h.messageId = decoding::LogPsrPos;
    decoding::PositionSolution position{};
    if (decoding::decodePsrPos(frame, h, position) == 0) {
        sink = sink + uint64_t(decoding::solutionStatusName(position.solutionStatus)[0]) +
               uint64_t(decoding::positionTypeName(position.positionType)[0]) +
               uint64_t(decoding::positionTypeQuality(position.positionType));
    }
    h.messageId = decoding::LogTime;
    decoding::TimeSolution time{};
    if (decoding::decodeTime(frame, h, time) == 0) sink = sink + time.utcStatus;
}

struct Context {
    uint32_t capacity;
};

void onBoardFrame(const uint8_t* data, uint32_t length, void* user) {
    const auto* context = static_cast<const Context*>(user);
    if (length >= context->capacity) fail("board frame longer than the buffer");
    if (decoding::crc32(0, data, length) != 0) fail("board frame delivered with a bad CRC");
    decoding::LogHeader header{};
    if (decoding::readLogHeader(data, length, header) == 0) decodeAll(data, header);
}

void onShortFrame(const uint8_t* data, uint32_t length, void*) {
    decoding::ShortLogHeader header{};
    sink = sink + uint64_t(decoding::readShortLogHeader(data, length, header));
}

void onTextLine(const uint8_t* data, uint32_t length, void* user) {
    const auto* context = static_cast<const Context*>(user);
    if (length == 0 || length >= context->capacity) fail("text line of impossible length");
    if (data[length - 1] != '\n') fail("text line without its line feed");
    if (data[length] != 0) fail("text line not NUL-terminated");
    const char* text = reinterpret_cast<const char*>(data);
    sink = sink + uint64_t(decoding::checkTextSentence(text)) + decoding::parseNmeaTime(text);
}

// Other framings and discarded runs: every byte is read, so a run that reaches outside the
// buffer shows up.
void onBytes(const uint8_t* data, uint32_t length, void*) {
    const uint32_t crc = decoding::crc32(0, data, length);
    if (crc != decoding::crc32Portable(0, data, length)) fail("CRC-32 differs from the table path");
    sink = sink + crc;
}

} // namespace

std::string runStream(const uint8_t* data, size_t size) try {
    if (size == 0) return {};
    // The first byte picks the buffer size and how the rest is cut into feeds.
    static const uint32_t kCapacities[] = {16384, 16384, 64, 1024};
    const uint8_t mode = data[0];
    Context context{kCapacities[mode & 3]};
    const uint32_t chunk = mode >> 2; // 0: one feed
    ++data;
    --size;

    std::vector<uint8_t> buffer(context.capacity);
    decoding::StreamSync sync;
    decoding::init(sync, buffer.data(), context.capacity, &context);
    decoding::setOnTextLine(sync, onTextLine);
    decoding::setOnUnframed(sync, onBytes);
    decoding::setOnScrambledFrame(sync, onBytes);
    decoding::setOnKeyedFrame(sync, onBytes);
    decoding::setOnRtcm2Frame(sync, onBytes);
    decoding::setOnRtcm3Frame(sync, onBytes);
    decoding::setOnUbxFrame(sync, onBytes);
    decoding::setOnBoardFrame(sync, onBoardFrame);
    decoding::setOnBoardShortFrame(sync, onShortFrame);
    decoding::setOnBinFrame(sync, onBytes);
    decoding::setOnStxFrame(sync, 0, onBytes);
    decoding::setOnTypedFrame(sync, onBytes);

    size_t offset = 0;
    while (offset < size) {
        const size_t n = chunk == 0 ? size - offset : std::min<size_t>(chunk, size - offset);
        decoding::feed(sync, data + offset, uint32_t(n));
        offset += n;
        if (sync.count > context.capacity) fail("synchroniser holds more than its buffer");
    }
    if (sync.totalBytes != size) fail("synchroniser lost count of the bytes fed");

    // The input itself as one frame, without the CRC gate in front of the decoders.
    decoding::LogHeader header{};
    if (size <= UINT32_MAX && decoding::readLogHeader(data, uint32_t(size), header) == 0)
        decodeAll(data, header);
    sink = sink + decoding::crc24q(0, data, uint32_t(size)) + decoding::ubxChecksum(0, data, uint32_t(size));
    // The whole input (any length, at an odd address) through both CRC-32 paths.
    if (decoding::crc32(0, data, uint32_t(size)) != decoding::crc32Portable(0, data, uint32_t(size)))
        fail("CRC-32 of the input differs from the table path");
    return {};
} catch (const Broken& broken) {
    return broken.what;
}

} // namespace fuzzing
