// SPDX-License-Identifier: MIT
// The RINEX 2.11 observation header, written at close over the space reserved at open.
#include "rinex/rinex3xx.h"

#include <cstdio>
#include <cstring>

#include "gnss/gps_calendar.h"
#include "rinex/rinex2_header_lines.h"
#include "rinex/rinex2_observation_types.h"
#include "velmoor/versions.h"

namespace {

constexpr int kLineCapacity = 128;
constexpr int kTypesPerLine = 9;

} // namespace

qint64 Rinex3xx::writeRinex2ObservationTypes() {
    static const char kLabel[] = "# / TYPES OF OBSERV";
    qint64 written = 0;
    const int count = int(rinex2Types_.size());
    char line[kLineCapacity];
    int n = std::snprintf(line, sizeof line, "%6d", count);
    for (int i = 0; i < count || i == 0; ++i) {
        if (i > 0 && i % kTypesPerLine == 0) {
            n += std::snprintf(line + n, sizeof line - size_t(n), "%*s%-20s\r\n", 60 - n, "", kLabel);
            written += writeHeaderBytes(line, n);
            n = std::snprintf(line, sizeof line, "%6s", "");
        }
        if (i < count)
            n += std::snprintf(line + n, sizeof line - size_t(n), "    %c%c", rinex2Types_[size_t(i)].letter,
                               rinex2Types_[size_t(i)].band);
    }
    n += std::snprintf(line + n, sizeof line - size_t(n), "%*s%-20s\r\n", 60 - n, "", kLabel);
    return written + writeHeaderBytes(line, n);
}

bool Rinex3xx::writeRinex2ObservationHeader() {
    QFile& file = files_[FileObservation];
    if (!file.isOpen() || file.size() < 16 * rinex::kHeaderLineBytes) return false;
    double x = 0, y = 0, z = 0;
    approximatePosition(x, y, z);
    if (!file.seek(0)) {
        recordWriteError(file);
        return false;
    }

    QByteArray systems;
    for (const char system : {'G', 'R', 'E', 'S'})
        if (filter_.keepsSystem(system)) systems += system;
    const QByteArray systemText = systems.size() == 1 ? systems : QByteArray("M (MIXED)");
    writeHeaderLine("%9s%11s%-20s%-20s%-20s\r\n", "2.11", "", "OBSERVATION DATA", systemText.constData(),
                    "RINEX VERSION / TYPE");
    char line[kLineCapacity];
    const int runBy = rinex::formatRinex2RunByLine(line, sizeof line, program_, runBy_);
    writeHeaderBytes(line, runBy);
    writeHeaderLine("%-60s%-20s\r\n", markerName_.constData(), "MARKER NAME");
    writeHeaderLine("%-20s%40s%-20s\r\n", markerNumber_.left(20).constData(), "", "MARKER NUMBER");
    // 2.11 has no MARKER TYPE line: the type is kept as a comment.
    writeHeaderLine("MARKER TYPE = %-46s%-20s\r\n", markerType_.constData(), "COMMENT");
    writeStationLines(x, y, z);
    // Full cycles on L1 and L2 for every satellite: no satellite-specific lines.
    writeHeaderLine("%6d%6d%48s%-20s\r\n", 1, 1, "", "WAVELENGTH FACT L1/2");
    writeRinex2ObservationTypes();

    // What the S fields hold (2.11 leaves their unit to the receiver).
    QByteArray strength;
    for (const rinex::Rinex2Type& type : rinex2Types_)
        if (type.letter == 'S') strength += (strength.isEmpty() ? "S" : " S") + QByteArray(1, type.band);
    if (!strength.isEmpty()) writeHeaderLine("%-60s%-20s\r\n", (strength + ": C/N0 IN DB-HZ").constData(), "COMMENT");

    writeHeaderLine("%10.3f%50s%-20s\r\n", interval_ * 0.001, "", "INTERVAL");
    const gnss::CalendarTime first = gnss::calendarFromMilliseconds(firstEpoch_ / 1000 * 1000);
    writeHeaderLine("%6d%6d%6d%6d%6d%13.7f     GPS%9s%-20s\r\n", first.year, first.month, first.day,
                    first.hour, first.minute, first.second + (firstEpoch_ % 1000) * 0.001, "",
                    "TIME OF FIRST OBS");
    const gnss::CalendarTime last = gnss::calendarFromMilliseconds(lastEpoch_ / 1000 * 1000);
    writeHeaderLine("%6d%6d%6d%6d%6d%13.7f     GPS%9s%-20s\r\n", last.year, last.month, last.day, last.hour,
                    last.minute, last.second + (lastEpoch_ % 1000) * 0.001, "", "TIME OF LAST OBS");
    const qint64 leap = observationLeapSeconds();
    if (leap != rinex::kUnknownLeapSeconds && -leap >= -99999 && -leap <= 999999)
        writeHeaderLine("%6d%54s%-20s\r\n", int(-leap), "", "LEAP SECONDS");

    // Systems and navigation data of the stream that 2.11 cannot hold, said once.
    if (filter_.keepsSystem('C') || filter_.keepsSystem('J') || filter_.keepsSystem('I'))
        writeHeaderLine("%-60s%-20s\r\n", "BEIDOU/QZSS/NAVIC OBS: NO RINEX 2.11 CODES, NOT WRITTEN", "COMMENT");
    if (navigationDropped())
        writeHeaderLine("%-60s%-20s\r\n", rinex::kRinex2NavigationComment, "COMMENT");
    writeHeaderLine("CONVERTER VERSION = %-40s%-20s\r\n", VELMOOR_CONVERTER_VERSION, "COMMENT");

    const qint64 room = rinex::kObservationReservedLines - file.pos() / rinex::kHeaderLineBytes;
    for (int i = 0; i < comments_.size() && i < room; ++i)
        writeHeaderBytes(comments_[i].constData(), comments_[i].size());

    if (!file.seek(file.size())) recordWriteError(file);
    return true;
}
