// SPDX-License-Identifier: MIT
#pragma once
// Helpers shared by the observation-writer tests: frames from meaningful values, "$PPK"
// sentences with their checksum, and the output files split into lines.
#include "decoding/signal_table.h"
#include "decoding/stream_sync.h"
#include "decoding/text_sentence.h"
#include "encoder/board_frame.h"
#include "encoder/nav_encoder.h"
#include "encoder/range_encoder.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "rinex/rinex3xx.h"
#include "support/files.h"

namespace writertest {

constexpr int kReservedHeaderBytes = 65 * 82;

inline encoding::RangeSignal signal(char system, int satellite, const char* code, double pseudorange,
                                    double boardPhase, double doppler, double cn0, int glonassChannel = 0) {
    encoding::RangeSignal s;
    s.system = encoding::systemOfLetter(system);
    s.satellite = satellite;
    s.glonassChannel = glonassChannel;
    s.signal = encoding::signalForRinexCode(s.system, code);
    s.pseudorange = pseudorange;
    s.carrierPhase = boardPhase;
    s.doppler = doppler;
    s.cn0 = cn0;
    return s;
}

inline encoding::FrameStamp stamp(uint16_t week, uint32_t milliseconds) {
    encoding::FrameStamp s;
    s.week = week;
    s.milliseconds = milliseconds;
    return s;
}

inline encoding::Bytes rangeFrame(uint16_t week, uint32_t milliseconds,
                                  const std::vector<encoding::RangeSignal>& observed) {
    return encoding::encodeRange(stamp(week, milliseconds), observed).frame;
}

inline qint64 feed(Rinex3xx& writer, const encoding::Bytes& frame) {
    return writer.handleFrame(frame.data(), quint32(frame.size()));
}

// "$PPK,<body>*hh\r\n" with the checksum of the body.
inline std::string ppk(const std::string& body) {
    char buffer[1024];
    const std::string text = "$PPK," + body;
    std::memcpy(buffer, text.data(), text.size());
    const int n = decoding::appendNmeaChecksum(buffer, int(text.size()), int(sizeof buffer));
    return std::string(buffer, text.size() + size_t(n));
}

inline qint64 feedText(Rinex3xx& writer, const std::string& line) {
    return writer.handleTextLine(line.data(), quint32(line.size()));
}

using testsupport::readAll;

// Lines without their "\r\n"; a trailing piece without one is kept as it is.
inline QList<QByteArray> splitLines(const QByteArray& bytes) {
    QList<QByteArray> lines;
    int start = 0;
    while (start < bytes.size()) {
        const int end = bytes.indexOf("\r\n", start);
        if (end < 0) {
            lines << bytes.mid(start);
            break;
        }
        lines << bytes.mid(start, end - start);
        start = end + 2;
    }
    return lines;
}

// An observation file split at the reserved header's end.
struct ObservationFile {
    QByteArray bytes;
    QList<QByteArray> header; // up to and including END OF HEADER
    QList<QByteArray> body;   // epochs and events

    explicit ObservationFile(const QString& path) : bytes(readAll(path)) {
        const QList<QByteArray> lines = splitLines(bytes);
        bool inHeader = true;
        for (const QByteArray& line : lines) {
            if (inHeader)
                header << line;
            else
                body << line;
            if (inHeader && line.mid(60).trimmed() == "END OF HEADER") inHeader = false;
        }
    }

    // Header lines whose label (columns 61..80) is the given text.
    QList<QByteArray> labelled(const char* label) const {
        QList<QByteArray> found;
        for (const QByteArray& line : header)
            if (line.mid(60).trimmed() == label) found << line;
        return found;
    }

    // Epoch lines (starting "> ") of the body.
    QList<QByteArray> epochLines() const {
        QList<QByteArray> found;
        for (const QByteArray& line : body)
            if (line.startsWith("> ")) found << line;
        return found;
    }
};

// A writer opened on <dir>/obs.23_ (files obs.23O, obs.23C, ...).
namespace detail {
inline void onBoardFrame(const uint8_t* data, uint32_t length, void* user) {
    static_cast<Rinex3xx*>(user)->handleFrame(data, length);
}
inline void onTextLine(const uint8_t* data, uint32_t length, void* user) {
    static_cast<Rinex3xx*>(user)->handleTextLine(reinterpret_cast<const char*>(data), length);
}
inline void ignore(const uint8_t*, uint32_t, void*) {}
} // namespace detail

// A recorded stream through the synchroniser into the writer, in pieces of at most chunk
// bytes (uneven pieces make frames and sentences straddle their borders).
inline void feedStream(Rinex3xx& writer, const std::string& bytes, size_t chunk = size_t(UINT32_MAX)) {
    std::vector<uint8_t> buffer(16384);
    decoding::StreamSync sync{};
    decoding::init(sync, buffer.data(), uint32_t(buffer.size()), &writer);
    decoding::setOnBoardFrame(sync, detail::onBoardFrame);
    decoding::setOnTextLine(sync, detail::onTextLine);
    decoding::setOnUnframed(sync, detail::ignore);
    decoding::setOnScrambledFrame(sync, detail::ignore);
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    for (size_t at = 0; at < bytes.size();) {
        const size_t n = std::min(chunk, bytes.size() - at);
        decoding::feed(sync, data + at, uint32_t(n));
        at += n;
    }
}

struct OpenWriter {
    QTemporaryDir dir;
    Rinex3xx writer;
    QString path;

    bool open() {
        path = dir.filePath(QStringLiteral("obs.23_"));
        return writer.open(path) > 0;
    }
    QString file(char letter) const { return dir.filePath(QStringLiteral("obs.23") + QLatin1Char(letter)); }
    ObservationFile closeAndRead() {
        writer.close();
        return ObservationFile(file('O'));
    }
};

} // namespace writertest
