// SPDX-License-Identifier: MIT
#pragma once
// Reader of RINEX 3 and 4 navigation files (single system or mixed): the header's ionospheric
// corrections, time-system corrections and leap seconds, and every record with its values
// (4.x: EPH records with their lead lines, and the ION, STO and EOP records).
// Also turns records into the decoders' ephemeris structs, inverting the navigation writer's
// mapping, so that generators and tests can start from real broadcast data.
#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"

namespace rinex_input {

// "IONOSPHERIC CORR": type "GPSA", "GPSB", "GAL", "BDSA", ... and four values (blank = 0).
struct IonoCorrection {
    std::string type;
    std::array<double, 4> values{};
};

// "TIME SYSTEM CORR": type "GPUT", "GAUT", ..., a0, a1, reference time (s) and week.
struct TimeSystemCorrection {
    std::string type;
    double a0 = 0;
    double a1 = 0;
    int referenceTime = 0;
    int referenceWeek = 0;
};

// "LEAP SECONDS": current value, and the announced change when the line carries it.
struct LeapSeconds {
    int current = 0;
    std::optional<int> future;
    std::optional<int> week;
    std::optional<int> day;
    std::string system; // "GPS", "BDS" or empty
};

struct NavHeader {
    double version = 0;
    char system = ' '; // 'M' mixed, 'G', 'R', 'E', 'C', ...
    std::vector<IonoCorrection> ionoCorrections;
    std::vector<TimeSystemCorrection> timeCorrections;
    std::optional<LeapSeconds> leapSeconds;

    const IonoCorrection* ionoCorrection(const std::string& type) const; // nullptr if absent
    const TimeSystemCorrection* timeCorrection(const std::string& type) const;
};

// Calendar epoch of a record as written (the time system is the record's own).
struct NavEpoch {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    int second = 0;
};

struct NavRecord {
    char system = ' '; // 'G', 'R', 'E', 'C', 'J', 'I', 'S'
    int satellite = 0; // number after the system letter
    std::string message; // 4.x: the lead line's message type ("LNAV", "FDMA", ...); else empty
    NavEpoch epoch;
    // The three values of the first line, then four per broadcast-orbit line; a blank
    // field, or one beyond the end of a short line, is absent.
    std::vector<std::optional<double>> values;
    int lineNumber = 0; // of the first line, 1-based

    size_t orbitLines() const { return values.size() < 3 ? 0 : (values.size() - 3) / 4; }
    // index 0..2 of the first line
    std::optional<double> clock(int index) const;
    // line 1..orbitLines(), column 0..3
    std::optional<double> orbit(int line, int column) const;
};

// A 4.x record other than EPH: "ION", "STO" or "EOP", as its lead line names it, with the
// epoch of its first body line and every value of its lines (blank fields absent).
struct NavSpecialRecord {
    std::string type;
    char system = ' ';
    int satellite = 0;
    std::string message;
    NavEpoch epoch;
    std::string timeOffsetCode; // STO: e.g. "GPUT"
    std::string sbasId;         // STO
    std::string utcId;          // STO: e.g. "UTC(USNO)"
    std::vector<std::optional<double>> values;
    int lineNumber = 0; // of the lead line
};

struct NavFile {
    NavHeader header;
    std::vector<NavRecord> records;        // EPH records (every record below 4.0)
    std::vector<NavSpecialRecord> special; // 4.x ION, STO and EOP records
};

// Throws std::runtime_error naming the line for a malformed header or record, a version
// below 3 or from 5 on, or an unreadable file.
NavFile readNavFile(const std::string& path);
NavFile readNav(std::istream& in);

// Numeric field of a RINEX line: blank -> absent; 'D' and 'E' exponents; throws on garbage.
std::optional<double> parseNavNumber(const std::string& field);

// GPS week and seconds of week of a calendar epoch, counted without leap seconds.
struct WeekSeconds {
    int week = 0;
    double seconds = 0;
};
WeekSeconds weekSecondsOf(const NavEpoch& epoch);
// Brings seconds into [0, 604800) by moving whole weeks.
WeekSeconds normalised(WeekSeconds time);

// Record conversions. Each throws std::invalid_argument for a record of another system.
// Absent values become 0. The returned header carries the message id and, in week and
// milliseconds, the frame stamp the converter reads back (the transmission time, in GPS
// time); its other fields are zero.
//
// GPS: sqrt(A) squared into A, the accuracy squared into the URA variance, IODE into both
// issue-of-data fields, toc from the epoch, Z-count week = week, transmission time as written.
decoding::GpsEphemeris toGpsEphemeris(const NavRecord& record);
// GLONASS: km -> m, the bias negated, slot + 37, channel + 7; leapSeconds is GPS - UTC
// (18 in 2018). Reference time = epoch (UTC) + leap seconds in GPS milliseconds of week,
// the GPS-GLONASS offset 10800 - leapSeconds, and tk chosen so that the converter's
// message-frame-time rule gives back the written value.
decoding::GlonassEphemeris toGlonassEphemeris(const NavRecord& record, int leapSeconds);
// Galileo: F/NAV when the data-source value has bit 1 (E5a), else I/NAV.
bool isGalileoFnav(const NavRecord& record);
decoding::GalileoInavEphemeris toGalileoInavEphemeris(const NavRecord& record);
decoding::GalileoFnavEphemeris toGalileoFnavEphemeris(const NavRecord& record);
// SISA in metres back to its index (255 = no accuracy prediction available).
uint8_t sisaIndexOf(double metres);
// BeiDou: both log forms; the stamp is the transmission time plus 14 s in GPS weeks.
decoding::BeidouEphemeris toBeidouEphemeris(const NavRecord& record);
decoding::Bd2Ephemeris toBd2Ephemeris(const NavRecord& record);
// GPSA/GPSB, GPUT and LEAP SECONDS of the header (absent parts stay 0; the future leap
// seconds default to the current value).
decoding::IonoUtcParameters toIonoUtcParameters(const NavHeader& header);

} // namespace rinex_input
