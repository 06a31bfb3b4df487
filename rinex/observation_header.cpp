// SPDX-License-Identifier: MIT
// The observation header, written at close over the space reserved at open.
#include "rinex/rinex3xx.h"

#include <QDateTime>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "gnss/constants.h"
#include "gnss/geodesy.h"
#include "gnss/gps_calendar.h"
#include "velmoor/versions.h"

namespace {

constexpr int kLineBytes = rinex::kHeaderLineBytes;
// Header lines end before the reserved END OF HEADER line, which must stay intact.
constexpr qint64 kHeaderSpace = rinex::kObservationReservedLines * kLineBytes;
// A file shorter than this was not made by open (or lost its reservation): no header.
constexpr qint64 kMinimumReservation = 16 * kLineBytes;
constexpr int kHeaderLineCapacity = 128;
constexpr int kTypesPerLine = 13;
constexpr int kSlotsPerLine = 8;

// Formats into a bounded line; a line cut short keeps its "\r\n" so that the next line
// still starts on its own.
int formatLine(char* line, int capacity, const char* format, va_list args) {
    const int n = std::vsnprintf(line, size_t(capacity), format, args);
    if (n < 0) return 0;
    if (n >= capacity) {
        line[capacity - 3] = '\r';
        line[capacity - 2] = '\n';
        line[capacity - 1] = '\0';
        return capacity - 1;
    }
    return n;
}

// A header line assembled piece by piece; pieces that do not fit are cut, and a cut line
// still ends in "\r\n".
struct LineBuilder {
    char text[kHeaderLineCapacity + 1];
    int length = 0;

    void clear() { length = 0; }
    void append(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
    {
        const int capacity = int(sizeof text);
        if (length >= capacity - 1) return;
        va_list args;
        va_start(args, format);
        const int n = std::vsnprintf(text + length, size_t(capacity - length), format, args);
        va_end(args);
        if (n < 0) return;
        length += n;
        if (length >= capacity - 1) {
            length = capacity - 1;
            text[length - 2] = '\r';
            text[length - 1] = '\n';
        }
    }
};

} // namespace

qint64 Rinex3xx::writeHeaderLine(const char* format, ...) {
    char line[kHeaderLineCapacity + 1];
    va_list args;
    va_start(args, format);
    const int n = formatLine(line, sizeof line, format, args);
    va_end(args);
    return writeHeaderBytes(line, n);
}

qint64 Rinex3xx::writeHeaderBytes(const char* data, qint64 length) {
    QFile& file = files_[FileObservation];
    // A line that would run into the reserved END OF HEADER line (or the epochs) is left out.
    if (file.pos() + length > kHeaderSpace) return 0;
    return writeLine(file, data, length);
}

qint64 Rinex3xx::writeEventLine(const char* format, ...) {
    char line[kHeaderLineCapacity + 1];
    va_list args;
    va_start(args, format);
    const int n = formatLine(line, sizeof line, format, args);
    va_end(args);
    const qint64 written = writeLine(files_[FileObservation], line, n);
    // After the write: it has drained the output thread, whose epochs the observer saw first.
    if (epochObserver_ && n >= 2) epochObserver_->eventLine(line, n - 2);
    return written;
}

qint64 Rinex3xx::writeStationLines(double x, double y, double z) {
    qint64 written = 0;
    written += writeHeaderLine("%-20s%-40s%-20s\r\n", observer_.constData(), agency_.constData(), "OBSERVER / AGENCY");
    written += writeHeaderLine("%-20s%-20s%-20s%-20s\r\n", receiverNumber_.constData(), receiverType_.constData(),
                               receiverVersion_.constData(), "REC # / TYPE / VERS");
    written += writeHeaderLine("%-20s%-20s%20s%-20s\r\n", antennaNumber_.constData(), antennaType_.constData(), "",
                               "ANT # / TYPE");
    written += writeHeaderLine("%14.4f%14.4f%14.4f%18s%-20s\r\n", x, y, z, "", "APPROX POSITION XYZ");
    written += writeHeaderLine("%14.4f%14.4f%14.4f%18s%-20s\r\n", antennaDeltaH_, antennaDeltaE_, antennaDeltaN_, "",
                               "ANTENNA: DELTA H/E/N");
    // Neither version has a line for the measured height: it is kept as a comment.
    if (antennaHeight_ != rinex::kNoValue) {
        char text[61];
        std::snprintf(text, sizeof text, "PHASE CENTER TO ARP HEIGHT = %.3f m", antennaHeight_);
        written += writeHeaderLine("%-60s%-20s\r\n", text, "COMMENT");
    }
    return written;
}

char Rinex3xx::headerBand(char system, const char* code) const {
    // RINEX 3.02 names the BeiDou B1 signal 1I where later versions say 2I.
    return minorVersion_ == 2 && system == 'C' && code[0] == '2' && code[1] == 'I' ? '1' : code[0];
}

qint64 Rinex3xx::writeObsTypes(const SignalMap& signalMap) {
    static const char kLabel[] = "SYS / # / OBS TYPES";
    static const char kTypeLetters[] = {'C', 'L', 'D', 'S'};
    qint64 written = 0;
    for (auto it = signalMap.cbegin(); it != signalMap.cend(); ++it) {
        const QList<SignalColumn>& columns = it.value();
        const int count = columns.size() * 4;
        LineBuilder line;
        line.append("%c   %-2d", it.key(), count);
        int onLine = 0;
        for (int i = 0; i < count; ++i) {
            if (onLine == kTypesPerLine) {
                line.append("  %-20s\r\n", kLabel);
                written += writeHeaderBytes(line.text, line.length);
                line.clear();
                line.append("%6s", "");
                onLine = 0;
            }
            const SignalColumn& column = columns[i / 4];
            line.append(" %c%c%c", kTypeLetters[i % 4], column.code[0], column.code[1]);
            ++onLine;
        }
        for (int i = count; i % kTypesPerLine != 0; ++i)
            line.append("    ");
        line.append("  %-20s\r\n", kLabel);
        written += writeHeaderBytes(line.text, line.length);
    }
    return written;
}

qint64 Rinex3xx::writeGlonassSlots() {
    qint64 written = 0;
    if (glonassSlots_.isEmpty()) return 0;
    const int count = glonassSlots_.size();
    const int padded = (count + kSlotsPerLine - 1) / kSlotsPerLine * kSlotsPerLine;
    LineBuilder line;
    line.append("%3d ", count);
    auto it = glonassSlots_.cbegin();
    for (int i = 0; i < padded; ++i) {
        if (i < count) {
            line.append("R%02d %2d ", it.key(), it.value());
            ++it;
        } else {
            line.append("%7s", "");
        }
        if ((i + 1) % kSlotsPerLine == 0) {
            line.append("GLONASS SLOT / FRQ #\r\n");
            written += writeHeaderBytes(line.text, line.length);
            line.clear();
            line.append("%4s", "");
        }
    }
    return written;
}

void Rinex3xx::approximatePosition(double& x, double& y, double& z) const {
    double latitude = firstLatitude_, longitude = firstLongitude_, height = firstHeight_;
    if (userLatitude_ != 0.0) {
        latitude = userLatitude_;
        longitude = userLongitude_;
        height = userHeight_;
    }
    height -= antennaDeltaH_;
    if (antennaHeight_ != rinex::kNoValue) height -= antennaHeight_;
    const gnss::Ecef xyz = gnss::ecefOf({latitude * gnss::kDegree, longitude * gnss::kDegree, height});
    x = xyz[0];
    y = xyz[1];
    z = xyz[2];
    // A position that does not fit its 14-character fields (absurd values from the stream)
    // is written as zeros, the usual "unknown", so that the line keeps its columns.
    const auto fits = [](double v) { return std::fabs(v) < 9.9e7; };
    if (!fits(x) || !fits(y) || !fits(z)) x = y = z = 0.0;
}

qint64 Rinex3xx::observationLeapSeconds() const {
    // Wide enough for any value the stream may carry; a value that does not fit the
    // six-character field leaves the line out.
    qint64 leap = leapSeconds_;
    if (leap == rinex::kUnknownLeapSeconds) {
        if (haveUtc_)
            leap = -qint64(qint32(firstUtc_.leapSeconds));
        else if (haveTime_ && std::fabs(time_.utcOffset) < 1e6)
            leap = std::llround(time_.utcOffset);
    }
    return leap;
}

bool Rinex3xx::writeObservationHeader() {
    // RINEX 2.11 has a header of its own (rinex2_observation_header.cpp).
    if (rinex::isRinex2(version_)) return writeRinex2ObservationHeader();
    QFile& file = files_[FileObservation];
    if (!file.isOpen() || file.size() < kMinimumReservation) return false;

    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDate today = now.date();
    const QTime clock = now.time();

    double x = 0, y = 0, z = 0;
    approximatePosition(x, y, z);

    if (!file.seek(0)) {
        recordWriteError(file);
        return false;
    }

    writeHeaderLine("%9s%11s%-20s%-20s%-20s\r\n", rinex::versionText(version_), "", "OBSERVATION DATA", "M",
                    "RINEX VERSION / TYPE");
    writeHeaderLine("%-20s%-20s%04d%02d%02d %02d%02d%02d UTC %-20s\r\n", program_.constData(),
                    runBy_.constData(), today.year(), today.month(), today.day(), clock.hour(),
                    clock.minute(), clock.second(), "PGM / RUN BY / DATE");
    writeHeaderLine("%-60s%-20s\r\n", markerName_.constData(), "MARKER NAME");
    writeHeaderLine("%-20s%40s%-20s\r\n", markerNumber_.constData(), "", "MARKER NUMBER");
    writeHeaderLine("%-20s%40s%-20s\r\n", markerType_.constData(), "", "MARKER TYPE");
    writeStationLines(x, y, z);

    SignalMap signalMap = signalMap_;
    if (signalMap.contains('C')) {
        for (SignalColumn& column : signalMap['C'])
            column.code[0] = headerBand('C', column.code);
    }
    writeObsTypes(signalMap);

    writeHeaderLine("%10.3f%50s%-20s\r\n", interval_ * 0.001, "", "INTERVAL");
    const gnss::CalendarTime first = gnss::calendarFromMilliseconds(firstEpoch_ / 1000 * 1000);
    writeHeaderLine("%6d%6d%6d%6d%6d%13.7f     GPS%9s%-20s\r\n", first.year, first.month, first.day,
                    first.hour, first.minute, first.second + (firstEpoch_ % 1000) * 0.001, "",
                    "TIME OF FIRST OBS");
    const gnss::CalendarTime last = gnss::calendarFromMilliseconds(lastEpoch_ / 1000 * 1000);
    writeHeaderLine("%6d%6d%6d%6d%6d%13.7f     GPS%9s%-20s\r\n", last.year, last.month, last.day, last.hour,
                    last.minute, last.second + (lastEpoch_ % 1000) * 0.001, "", "TIME OF LAST OBS");

    for (auto it = signalMap.cbegin(); it != signalMap.cend(); ++it)
        for (const SignalColumn& column : it.value()) {
            const char code[3] = {column.code[0], column.code[1], '\0'};
            writeHeaderLine("%c L%2s %8.5f%46s%-20s\r\n", it.key(), code, column.quarterCycles * 0.25, "",
                            "SYS / PHASE SHIFT");
        }

    writeGlonassSlots();

    // Only biases of codes that the GLONASS columns hold, as many as the 60 columns take.
    char biases[kHeaderLineCapacity + 1] = "";
    int used = 0;
    const QList<SignalColumn> glonassColumns = signalMap.value('R');
    for (auto it = glonassCodeBiases_.cbegin(); it != glonassCodeBiases_.cend(); ++it) {
        bool listed = false;
        for (const SignalColumn& column : glonassColumns)
            listed = listed ||
                     (it.key().size() == 2 && column.code[0] == it.key()[0] && column.code[1] == it.key()[1]);
        if (!listed) continue;
        char entry[kHeaderLineCapacity + 1];
        const int n = std::snprintf(entry, sizeof entry, " C%s %8.3f", it.key().constData(), it.value());
        if (n < 0 || used + n > 60) continue;
        std::memcpy(biases + used, entry, size_t(n) + 1);
        used += n;
    }
    // A left-out GLONASS has no bias line either.
    if (filter_.keepsSystem('R')) writeHeaderLine("%-60sGLONASS COD/PHS/BIS \r\n", biases);

    const qint64 leap = observationLeapSeconds();
    if (leap != rinex::kUnknownLeapSeconds && -leap >= -99999 && -leap <= 999999)
        writeHeaderLine("%6d%54s%-20s\r\n", int(-leap), "", "LEAP SECONDS");

    writeHeaderLine("CONVERTER VERSION = %-40s%-20s\r\n", VELMOOR_CONVERTER_VERSION, "COMMENT");

    // The user's comments fill what is left of the reserved COMMENT lines.
    const qint64 room = rinex::kObservationReservedLines - file.pos() / kLineBytes;
    for (int i = 0; i < comments_.size() && i < room; ++i)
        writeHeaderBytes(comments_[i].constData(), comments_[i].size());

    if (!file.seek(file.size())) recordWriteError(file);
    return true;
}
