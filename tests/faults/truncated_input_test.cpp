// SPDX-License-Identifier: MIT
// An input cut at every byte offset of a short stream converts without a fault: every
// epoch and navigation record whose frame ended before the cut is written, byte for byte as
// in the whole conversion, nothing of the frame that was cut shows, and every file is a
// closed RINEX file with a complete header. Converted in-process: synchroniser and writer,
// wired as the conversion worker wires them.
#include "rinex/writer_test_support.h"

#include <QTemporaryDir>
#include <cctype>
#include <gtest/gtest.h>

#include "decoding/log_header.h"
#include "decoding/stream_sync.h"

using namespace writertest;

namespace {

constexpr int kObservationHeaderBytes = 65 * 82;
constexpr int kNavigationHeaderBytes = 9 * 82;

struct Stream {
    encoding::Bytes bytes;
    std::vector<size_t> epochEnds; // end offset of every range log
    size_t gpsEnd = 0;             // end offset of the GPS ephemeris
    size_t glonassEnd = 0;         // end offset of the GLONASS ephemeris
};

void append(Stream& stream, const encoding::Bytes& piece) {
    stream.bytes.insert(stream.bytes.end(), piece.begin(), piece.end());
}

// A key header, the ionosphere/UTC log, two ephemerides, a position and a time log, then
// nine epochs in the three range logs, one second apart: about 3 KB.
Stream shortStream() {
    Stream s;
    const std::string head = "#file=GNSS DATA FILE\r\n#marker.name=CUT\r\n#antenna.height=1.5\r\n";
    append(s, encoding::Bytes(head.begin(), head.end()));

    decoding::IonoUtcParameters utc{};
    utc.alpha[0] = 4.6566e-9;
    utc.beta[0] = 77824.0;
    utc.leapSeconds = 18;
    utc.leapSecondsFuture = 18;
    append(s, encoding::encodeLogFrame(utc, stamp(2010, 345590000)));

    decoding::GpsEphemeris gps{};
    gps.satellite = 5;
    gps.iode1 = gps.iode2 = 52;
    gps.week = 2010;
    gps.toe = 352800.0;
    gps.a = 26560000.0;
    gps.eccentricity = 0.01;
    gps.uraVariance = 4.0;
    append(s, encoding::encodeLogFrame(gps, stamp(2010, 345591000)));
    s.gpsEnd = s.bytes.size();

    decoding::GlonassEphemeris glonass{};
    glonass.slot = 8 + 37;
    glonass.frequency = 6 + 7;
    glonass.week = 2010;
    glonass.referenceTime = 345600000;
    glonass.timeOffset = 10782;
    glonass.x = 1.2e7;
    append(s, encoding::encodeLogFrame(glonass, stamp(2010, 345592000)));
    s.glonassEnd = s.bytes.size();

    decoding::PositionSolution position{};
    position.positionType = 16;
    position.latitude = 40.45;
    position.longitude = -4.37;
    position.height = 790.0;
    append(s, encoding::encodeLogFrame(position, stamp(2010, 345593000)));
    decoding::TimeSolution time{};
    time.utcStatus = 1;
    time.utcYear = 2018;
    time.utcOffset = -18.0;
    append(s, encoding::encodeLogFrame(time, stamp(2010, 345594000)));

    for (uint32_t i = 0; i < 9; ++i) {
        const double drift = i * 2477.6;
        const std::vector<encoding::RangeSignal> observed = {
            signal('G', 5, "1C", 23074455.906 + i * 0.45, -121257095.719 - drift, 2477.621, 43.0),
            signal('G', 5, "2W", 23074460.125 + i * 0.45, -94486052.250 - drift * 0.78, 1930.611, 35.0),
            signal('R', 8, "1C", 20139422.500 - i * 0.31, -107734513.125 + drift, -1546.250, 47.0, 6)};
        const encoding::FrameStamp at = stamp(2010, 345600000 + i * 1000);
        switch (i % 3) {
        case 0:
            append(s, encoding::encodeRange(at, observed).frame);
            break;
        case 1:
            append(s, encoding::encodeRangeCmp(at, observed).frame);
            break;
        default:
            append(s, encoding::encodeRangeCmp2(at, observed).frame);
            break;
        }
        s.epochEnds.push_back(s.bytes.size());
        const std::string between = "text between logs\r\n";
        append(s, encoding::Bytes(between.begin(), between.end()));
    }
    return s;
}

struct Converted {
    QByteArray files[5]; // O, C, L, N, G
};

void onBoardFrame(const uint8_t* data, uint32_t length, void* user) {
    decoding::LogHeader header{};
    if (decoding::readLogHeader(data, length, header) == 0)
        static_cast<Rinex3xx*>(user)->handleFrame(data, length);
}

void onTextLine(const uint8_t* data, uint32_t length, void* user) {
    static_cast<Rinex3xx*>(user)->handleTextLine(reinterpret_cast<const char*>(data), length);
}

void ignore(const uint8_t*, uint32_t, void*) {}

// The first `length` bytes through a 16384-byte synchroniser into a writer, in the PPK mode
// that writes every epoch.
Converted convert(const QTemporaryDir& dir, const encoding::Bytes& stream, size_t length) {
    Rinex3xx writer;
    const QString path = dir.filePath(QStringLiteral("cut%1.23_").arg(length));
    EXPECT_GT(writer.open(path), 0);
    std::vector<uint8_t> buffer(16384);
    decoding::StreamSync sync;
    decoding::init(sync, buffer.data(), uint32_t(buffer.size()), &writer);
    decoding::setOnBoardFrame(sync, onBoardFrame);
    decoding::setOnTextLine(sync, onTextLine);
    decoding::setOnUnframed(sync, ignore);
    decoding::setOnScrambledFrame(sync, ignore);
    decoding::feed(sync, stream.data(), uint32_t(length));
    const QStringList names = writer.outputFileNames();
    writer.close();
    EXPECT_TRUE(writer.writeError().isEmpty()) << writer.writeError().toStdString();

    Converted result;
    for (int i = 0; i < 5; ++i) {
        result.files[i] = readAll(names[i]);
        QFile::remove(names[i]);
    }
    return result;
}

// Header region: lines of at most 80 characters ending in "\r\n", from the version line to
// the END OF HEADER line that closes the reservation.
::testing::AssertionResult completeHeader(const QByteArray& file, int headerBytes) {
    if (file.size() < headerBytes) return ::testing::AssertionFailure() << "shorter than its header";
    const QByteArray header = file.left(headerBytes);
    if (!header.left(80).endsWith("RINEX VERSION / TYPE"))
        return ::testing::AssertionFailure() << "no version line: " << header.left(80).constData();
    if (!header.endsWith(QByteArray(60, ' ') + "END OF HEADER       \r\n"))
        return ::testing::AssertionFailure() << "no END OF HEADER line closing the reservation";
    for (const QByteArray& line : splitLines(header))
        if (line.size() > 80)
            return ::testing::AssertionFailure() << "long header line: " << line.constData();
    return ::testing::AssertionSuccess();
}

// Byte offsets, in the body after the header, where each epoch record starts; the body's
// end last.
std::vector<int> epochStarts(const QByteArray& observation) {
    const QByteArray body = observation.mid(kObservationHeaderBytes);
    std::vector<int> starts;
    int i = 0;
    while (i < body.size()) {
        if (body.mid(i, 2) == "> ") starts.push_back(i);
        const int end = body.indexOf("\r\n", i);
        if (end < 0) break;
        i = end + 2;
    }
    starts.push_back(body.size());
    return starts;
}

// Navigation records: lines starting with the system letter and a two-digit number.
int navigationRecords(const QByteArray& file, char system) {
    int count = 0;
    for (const QByteArray& line : splitLines(file.mid(kNavigationHeaderBytes)))
        if (line.size() > 3 && line.at(0) == system && std::isdigit(uchar(line.at(1)))) ++count;
    return count;
}

} // namespace

TEST(TruncatedInput, EveryCutKeepsTheCompleteEpochsAndRecordsAndValidFiles) {
    const Stream stream = shortStream();
    ASSERT_EQ(stream.epochEnds.size(), 9u);
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());

    const Converted whole = convert(dir, stream.bytes, stream.bytes.size());
    const std::vector<int> wholeStarts = epochStarts(whole.files[0]);
    ASSERT_EQ(wholeStarts.size(), 10u) << "the whole stream gives its nine epochs";
    const QByteArray wholeBody = whole.files[0].mid(kObservationHeaderBytes);
    ASSERT_EQ(navigationRecords(whole.files[3], 'G'), 1);
    ASSERT_EQ(navigationRecords(whole.files[4], 'R'), 1);

    for (size_t cut = 0; cut <= stream.bytes.size(); ++cut) {
        SCOPED_TRACE("cut at byte " + std::to_string(cut));
        const Converted part = convert(dir, stream.bytes, cut);

        for (int i = 0; i < 5; ++i) {
            ASSERT_TRUE(
                completeHeader(part.files[i], i == 0 ? kObservationHeaderBytes : kNavigationHeaderBytes))
                << "file " << i;
            ASSERT_TRUE(part.files[i].endsWith("\r\n")) << "file " << i << " ends inside a line";
        }

        size_t epochs = 0;
        while (epochs < stream.epochEnds.size() && stream.epochEnds[epochs] <= cut)
            ++epochs;
        // Exactly the epochs completed before the cut, as the whole conversion wrote them.
        const QByteArray body = part.files[0].mid(kObservationHeaderBytes);
        ASSERT_EQ(body, wholeBody.left(wholeStarts[epochs]));

        ASSERT_EQ(navigationRecords(part.files[3], 'G'), stream.gpsEnd <= cut ? 1 : 0);
        ASSERT_EQ(navigationRecords(part.files[4], 'R'), stream.glonassEnd <= cut ? 1 : 0);
    }
}
