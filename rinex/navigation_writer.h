// SPDX-License-Identifier: MIT
#pragma once
// Navigation records and headers of the four navigation files (GPS "N", GLONASS "G",
// Galileo "L", BeiDou "C").
#include <QByteArray>
#include <QMap>
#include <QtGlobal>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "rinex/rinex_version.h"
#include "rinex/sentinel_values.h"

class QIODevice;

namespace rinex {

// One ionosphere/UTC record as the navigation header needs it.
struct IonoUtcSlot {
    bool valid = false;
    double alpha[4] = {0, 0, 0, 0};
    double beta[4] = {0, 0, 0, 0};
    qint32 leapSeconds = 0;       // delta t LS
    qint32 leapSecondsFuture = 0; // delta t LSF
    qint32 week = 0;              // week of the leap-second change
    qint32 day = 0;               // day of that week
    double a0 = 0, a1 = 0;        // UTC polynomial (s, s/s)
    qint64 utcTime = 0;           // its reference time, s of week
    qint64 utcWeek = 0;           // its reference week, full (not truncated)
};

struct NavigationHeaderInfo {
    int minorVersion = 4;
    Version version = kDefaultVersion;
    QByteArray program;
    QByteArray runBy;
    IonoUtcSlot first;  // GPS ionosphere/UTC: first record kept
    IonoUtcSlot latest; // and the latest
    IonoUtcSlot beidouFirst;
    IonoUtcSlot beidouLatest;
    qint32 leapSeconds = kUnknownLeapSeconds;
};

// Writes the reserved header of a navigation file at open: kNavigationReservedLines blank
// COMMENT lines, END OF HEADER, and the system text at byte 40. Returns the bytes written.
qint64 reserveNavigationHeader(QIODevice* file, const char* systemText);

// Writes the final header over the reservation; kind is the file name's last letter.
// Does nothing (false) when the file is shorter than three header lines.
bool writeNavigationHeader(QIODevice* file, char kind, const NavigationHeaderInfo& info);
// The PGM / RUN BY / DATE line with the current UTC time, line end included; its length.
int formatRunByLine(char* line, size_t capacity, const QByteArray& program, const QByteArray& runBy);

// Navigation records of one conversion; remembers per system and satellite the reference
// time of the last record written so that repeated ephemerides are written once.
class NavigationWriter {
public:
    void reset();
    // The record layout of this version (3.05: GLONASS fourth orbit line; 4.00: lead lines).
    void setVersion(Version version) { version_ = version; }

    // Each returns the bytes written, 0 when the record is skipped or the file is not open.
    qint64 writeGps(QIODevice* file, const decoding::GpsEphemeris& eph);
    // Sets leapSeconds from the record when they are unknown (kUnknownLeapSeconds).
    qint64 writeGlonass(QIODevice* file, const decoding::GlonassEphemeris& eph, qint32& leapSeconds);
    qint64 writeBd2(QIODevice* file, const decoding::Bd2Ephemeris& eph);
    qint64 writeBeidou(QIODevice* file, const decoding::BeidouEphemeris& eph);
    qint64 writeGalileo(QIODevice* file, const decoding::GalileoEphemeris& eph);
    qint64 writeGalileoInav(QIODevice* file, const decoding::GalileoInavEphemeris& eph);
    qint64 writeGalileoFnav(QIODevice* file, const decoding::GalileoFnavEphemeris& eph);
    // RINEX 4.00 only: the ionosphere (ION) and time-offset (STO) records of a GPS or BeiDou
    // ionosphere/UTC log, written when their values change. Held back until the file holds an
    // ephemeris of that system, whose lowest satellite then names the broadcaster.
    qint64 writeIonoUtc(QIODevice* file, const decoding::IonoUtcParameters& parameters);

private:
    // Last ionosphere/UTC values of one system, and those still waiting for an ephemeris.
    struct IonoUtcState {
        bool haveWritten = false;
        decoding::IonoUtcParameters written{};
        bool pending = false;
        decoding::IonoUtcParameters waiting{};
    };
    qint64 writeIonoUtcRecords(QIODevice* file, char system, int satellite,
                               const decoding::IonoUtcParameters& parameters);
    qint64 flushIonoUtc(QIODevice* file, char system);

    Version version_ = kDefaultVersion;
    IonoUtcState gpsIonoUtc_;
    IonoUtcState beidouIonoUtc_;
    QMap<quint32, double> gpsToe_;
    QMap<quint32, quint32> glonassTime_;
    QMap<quint32, double> galileoToe_;
    QMap<quint32, double> beidouToe_;
};

} // namespace rinex
