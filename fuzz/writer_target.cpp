// SPDX-License-Identifier: MIT
// The writer on frames with valid CRCs and hostile bodies, and on text lines.
// The quality headers come before any Qt header: Qt's keyword macros would rename their fields.
#include "compression/compact_rinex.h"
#include "compression/compact_rinex_stream.h"
#include "compression/output_sink.h"
#include "quality/check_files.h"
#include "quality/conversion_feed.h"
#include "quality/text_report.h"

#include "targets.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>
#include <cctype>
#include <cstdio>
#include <memory>
#include <string>

#include "byte_reader.h"
#include "decoding/text_sentence.h"
#include "rinex/rinex3xx.h"
#include "writer_input.h"

namespace fuzzing {
namespace {

constexpr qint64 kLine = 82;
constexpr qint64 kObservationHeaderLines = 65; // 64 reserved lines and END OF HEADER
constexpr qint64 kNavigationHeaderLines = 9;   // 8 reserved lines and END OF HEADER
constexpr qint64 kNavigationSystemTexts = 6 + 10 + 6 + 10;
constexpr qint64 kMixedSystemText = 8; // "M: MIXED"
constexpr qint64 kRinex2NavigationSystemTexts = 6 + 10; // "G: GPS", "R: GLONASS"

[[noreturn]] void fail(const QString& file, const std::string& what) {
    throw Broken{file.toStdString() + ": " + what};
}

// One scratch folder per process, in memory when the machine offers it.
QTemporaryDir& scratch() {
    static QTemporaryDir dir(QFileInfo("/dev/shm").isWritable()
                                 ? QStringLiteral("/dev/shm/velmoor-fuzz-XXXXXX")
                                 : QDir::tempPath() + "/velmoor-fuzz-XXXXXX");
    return dir;
}

// Fields of the structured "$PPK" sentences: no separators, no checksum marker.
std::string field(ByteReader& in) {
    std::string text = in.text(in.u8() % 24);
    for (char& c : text)
        if (c == ',' || c == '*' || c == '\0' || c == '\n' || c == '\r') c = '_';
    return text;
}

std::string withChecksum(const std::string& sentence) {
    char buffer[1100];
    if (sentence.size() > 1000) return sentence;
    std::memcpy(buffer, sentence.data(), sentence.size());
    const int n = decoding::appendNmeaChecksum(buffer, int(sentence.size()), int(sizeof buffer));
    return std::string(buffer, sentence.size() + size_t(n > 0 ? n : 0));
}

qint64 sendLine(Rinex3xx& writer, std::string line) {
    // The synchroniser hands lines over NUL-terminated.
    return writer.handleTextLine(line.c_str(), quint32(line.size()));
}

struct Epoch {
    uint16_t week = 0;
    uint32_t milliseconds = 0;
};

qint64 markerSentence(Rinex3xx& writer, ByteReader& in, const Epoch& last) {
    const uint8_t kind = in.u8() % 3;
    const std::string ids = std::to_string(in.u8()) + "," + std::to_string(in.u8());
    if (kind == 0) {
        const std::string name = field(in);
        const std::string number = field(in);
        const double height = int16_t(in.u16()) / 1000.0;
        const double x = int32_t(in.u32()) / 1000.0, y = int32_t(in.u32()) / 1000.0,
                     z = int32_t(in.u32()) / 1000.0;
        char numbers[256];
        std::snprintf(numbers, sizeof numbers, ",0,0,%.4f,0,0,0,%.4f,%.4f,%.4f", height, x, y, z);
        return sendLine(writer,
                        withChecksum("$PPK,MARKER-BEGIN," + ids + ",0," + name + "," + number + numbers));
    }
    if (kind == 1) {
        const uint16_t sample = in.u16();
        Epoch at = last;
        if (in.u8() & 1) {
            at.week = in.u16();
            at.milliseconds = in.u32();
        }
        char time[64];
        std::snprintf(time, sizeof time, ",%u,%u,%u.%03u", unsigned(sample), unsigned(at.week),
                      unsigned(at.milliseconds / 1000), unsigned(at.milliseconds % 1000));
        return sendLine(writer, withChecksum("$PPK,MARKER-SAMPLE," + ids + time));
    }
    return sendLine(writer, withChecksum("$PPK,MARKER-END," + ids));
}

// The observation body compressed as it is written, on the writer's thread; event records
// before the first epoch wait for it.
class BodyStream : public rinex::ObservationBodySink {
public:
    void begin(int majorVersion, const rinex::ObservationTypeCounts& types, const std::string& path) override {
        const size_t slash = path.rfind('/');
        begun_ = true;
        if (stream.start(path.substr(0, slash + 1) + "." + path.substr(slash + 1) + ".crx-body", majorVersion, types))
            stream.add(early_.data(), early_.size());
    }
    void body(const char* data, size_t size) override {
        if (begun_)
            stream.add(data, size);
        else
            early_.append(data, size);
    }
    void end(const rinex::ObservationTypeCounts& types) override { ready = stream.end(types); }

    compression::CompactRinexStream stream;
    bool ready = false;

private:
    bool begun_ = false;
    std::string early_;
};

// The compact form of a whole text without its second line (the minute of the run).
std::string withoutRunDate(const std::string& compact) {
    const size_t first = compact.find('\n');
    const size_t second = first == std::string::npos ? first : compact.find('\n', first + 1);
    return second == std::string::npos ? compact : compact.substr(0, first + 1) + compact.substr(second + 1);
}

void applyOptions(Rinex3xx& writer, ByteReader& in) {
    const uint8_t options = in.u8();
    writer.setPpkMode(1 + (options & 3) % 3);
    writer.setVersion(2 + ((options >> 2) & 3) % 3);
    writer.setSignalSearchMode(options & 0x10 ? 2 : 0);
    if (options & 0x20) {
        const double latitude = in.f64(), longitude = in.f64(), height = in.f64();
        writer.setApproxPosition(latitude, longitude, height);
    }
    if (options & 0x40) writer.setAntennaHeight(in.f64());
    if (options & 0x80) writer.setGlonassCodeBiases({{"1C", 1.25}, {"2C", -3.5}, {"2P", 0.5}});
}

// The header region: lines of at most 80 characters, each ending in "\r\n", starting with
// the version line and ending with the reserved END OF HEADER line. (Lines may be shorter:
// the ionosphere lines are 76 characters, which leaves a short blank line behind them.)
void checkHeader(const QString& name, const QByteArray& bytes, qint64 lines) {
    if (bytes.size() < lines * kLine) fail(name, "shorter than its header reservation");
    const QByteArray header = bytes.left(int(lines * kLine));
    int start = 0;
    while (start < header.size()) {
        const int end = header.indexOf("\r\n", start);
        if (end < 0) fail(name, "header region ends inside a line");
        if (end - start > 80)
            fail(name,
                 "header line longer than 80 characters: " + header.mid(start, end - start).toStdString());
        start = end + 2;
    }
    if (!header.left(80).endsWith("RINEX VERSION / TYPE"))
        fail(name, "header does not start with the version line");
    const QByteArray end = QByteArray(60, ' ') + "END OF HEADER       \r\n";
    if (!header.endsWith(end)) fail(name, "END OF HEADER line missing");
}

// Every line ends in "\r\n", the last one included.
void checkLineEnds(const QString& name, const QByteArray& bytes) {
    if (!bytes.endsWith("\r\n")) fail(name, "does not end in \\r\\n");
    for (int i = bytes.indexOf('\n'); i >= 0; i = bytes.indexOf('\n', i + 1))
        if (i == 0 || bytes.at(i - 1) != '\r') fail(name, "line ends in a bare \\n");
}

// Observation records after the header: satellite lines start with a system letter and a
// two-digit number; epoch and event lines, and the header lines of an event, hold at most
// 80 characters. In RINEX 2.11 every line does.
void checkObservationBody(const QString& name, const QByteArray& bytes, bool rinex2) {
    int start = int(kObservationHeaderLines * kLine);
    while (start < bytes.size()) {
        const int end = bytes.indexOf("\r\n", start);
        if (end < 0) return; // reported by checkLineEnds
        const QByteArray line = bytes.mid(start, end - start);
        const bool satellite = line.size() >= 3 && QByteArray("GRECSJI").contains(line.at(0)) &&
                               std::isdigit(uchar(line.at(1))) && std::isdigit(uchar(line.at(2)));
        if ((rinex2 || !satellite) && line.size() > 80)
            fail(name, "record line longer than 80 characters: " + line.toStdString());
        start = end + 2;
    }
}

// Navigation records after the header: every line at most 80 characters.
void checkNavigationBody(const QString& name, const QByteArray& bytes) {
    int start = int(kNavigationHeaderLines * kLine);
    while (start < bytes.size()) {
        const int end = bytes.indexOf("\r\n", start);
        if (end < 0) return; // reported by checkLineEnds
        if (end - start > 80)
            fail(name,
                 "navigation line longer than 80 characters: " + bytes.mid(start, end - start).toStdString());
        start = end + 2;
    }
}

std::string run(const uint8_t* data, size_t size, const char* version, bool mergedNavigation) try {
    if (!scratch().isValid()) fail(scratch().path(), "no scratch folder");
    ByteReader in(data, size);
    auto writer = std::make_unique<Rinex3xx>();
    applyOptions(*writer, in);
    if (version != nullptr && !writer->setVersion(QByteArray(version))) fail(version, "version refused");
    writer->setNavigationMerged(mergedNavigation);
    // Odd sizes format on an output thread: the observer is then told on the decoding thread,
    // and the handlers do not count the epochs' bytes (the output thread writes them later).
    const bool outputThread = size % 2 == 1;
    writer->setOutputThread(outputThread);

    qint64 reported = writer->open(scratch().filePath("fuzz.00_"));
    if (reported <= 0) fail(scratch().filePath("fuzz.00_"), "open failed");
    // The quality check fed as the records are written must report what the check of the
    // written files reports.
    quality::Options qualityOptions;
    qualityOptions.positionInterval = quality::kConversionPositionInterval;
    quality::ConversionFeed feed(qualityOptions);
    writer->setEpochObserver(&feed);
    BodyStream bodyStream;
    writer->setObservationBodySink(&bodyStream);

    Epoch last;
    while (!in.empty()) {
        const uint8_t op = in.u8();
        if (op < kTextOp) {
            const uint16_t id = kLogIds[op % kLogIdCount];
            const uint8_t shape = in.u8();
            const uint8_t headerLength = shape < kShapeFreeHeader ? kUsualHeaderLength : in.u8();
            const uint16_t week = in.u16();
            const uint32_t milliseconds = in.u32();
            const uint8_t timeStatus = in.u8();
            size_t bodySize = 0;
            const uint8_t* body = in.bytes(in.u16(), bodySize);
            const std::vector<uint8_t> frame =
                buildFrame(id, headerLength, week, milliseconds, timeStatus, body, bodySize);
            if (id == 43 || id == 140 || id == 1273) last = Epoch{week, milliseconds};
            const qint64 n = writer->handleFrame(frame.data(), quint32(frame.size()));
            if (n < 0) fail("frame", "negative byte count");
            reported += n;
        } else if (op < kPpkOp) {
            reported += sendLine(*writer, in.text(in.u16()) + "\n");
        } else if (op < kMarkerOp) {
            reported += sendLine(*writer, withChecksum("$PPK," + in.text(in.u16())));
        } else {
            reported += markerSentence(*writer, in, last);
        }
    }

    const bool rinex2 = version != nullptr && QByteArray(version) == "2.11";
    const QStringList files = writer->outputFileNames();
    writer->close();
    if (!writer->writeError().isEmpty()) fail(writer->writeError(), "write error");
    writer.reset();

    {
        std::vector<std::string> paths;
        for (const QString& file : files)
            paths.push_back(QFile::encodeName(file).toStdString());
        std::string fedError, readError;
        quality::Report read;
        const bool fedOk = feed.prepare(paths, fedError);
        const bool readOk = quality::checkConversionFiles(paths, qualityOptions, read, readError);
        if (fedOk != readOk || fedError != readError) fail(files.value(0), "fed check: " + fedError + " / " + readError);
        if (fedOk) {
            const std::string fed = quality::textReport(feed.finish()), written = quality::textReport(read);
            if (fed != written) {
                // The first line that differs, of each.
                size_t at = 0;
                while (at < fed.size() && at < written.size() && fed[at] == written[at])
                    ++at;
                const size_t line = fed.rfind('\n', at == 0 ? 0 : at - 1);
                const size_t from = line == std::string::npos ? 0 : line + 1;
                fail(files.value(0), "the fed check's report differs from the written files' report: '" +
                                         fed.substr(from, fed.find('\n', from) - from) + "' against '" +
                                         written.substr(from, written.find('\n', from) - from) + "'");
            }
        }
    }

    // The body compressed while it was written gives the finished file's compact form.
    if (bodyStream.ready) {
        QFile plain(files.value(0));
        if (!plain.open(QIODevice::ReadOnly)) fail(files.value(0), "missing after close");
        const QByteArray bytes = plain.readAll();
        std::string afterwards, streamed, error;
        if (!compression::compactRinexText(bytes.constData(), size_t(bytes.size()), &afterwards, &error))
            fail(files.value(0), "encoded while written but not afterwards: " + error);
        compression::StringSink sink(streamed);
        if (!bodyStream.stream.writeCompact(QFile::encodeName(files.value(0)).toStdString(), sink, &error, nullptr))
            fail(files.value(0), "streamed compact file: " + error);
        if (withoutRunDate(streamed) != withoutRunDate(afterwards))
            fail(files.value(0), "the compact form encoded while written differs from the finished file's");
    }

    // The headers are written over their reservations, so the files hold exactly the bytes
    // that open and the handlers reported, less the system texts that open wrote over the
    // blanks of the navigation reservations ("C: BDS", "E: GALILEO", "G: GPS", "R: GLONASS").
    qint64 total = 0;
    for (int i = 0; i < files.size(); ++i) {
        QFile file(files[i]);
        if (!file.open(QIODevice::ReadOnly)) fail(files[i], "missing after close");
        const QByteArray bytes = file.readAll();
        file.close();
        total += bytes.size();
        checkHeader(files[i], bytes, i == 0 ? kObservationHeaderLines : kNavigationHeaderLines);
        checkLineEnds(files[i], bytes);
        if (i == 0)
            checkObservationBody(files[i], bytes, rinex2);
        else
            checkNavigationBody(files[i], bytes);
        QFile::remove(files[i]);
    }
    // RINEX 2.11 opens the GPS and GLONASS navigation files only.
    const qint64 systemTexts =
        mergedNavigation ? kMixedSystemText : rinex2 ? kRinex2NavigationSystemTexts : kNavigationSystemTexts;
    if (!outputThread && total != reported - systemTexts)
        fail(files.value(0), "file sizes differ from the bytes reported");
    return {};
} catch (const Broken& broken) {
    return broken.what;
}

} // namespace

std::string runWriter(const uint8_t* data, size_t size) {
    return run(data, size, nullptr, false);
}

std::string runWriterAs(const uint8_t* data, size_t size, const char* version, bool mergedNavigation) {
    return run(data, size, version, mergedNavigation);
}

} // namespace fuzzing
