// SPDX-License-Identifier: MIT
#include "rinex/long_file_name.h"

#include <algorithm>
#include <cstdio>

#include "gnss/gps_calendar.h"

namespace rinex {

namespace {

constexpr qint64 kMinute = 60000;

QByteArray twoDigits(qint64 value, char unit) {
    char text[16]; // room for any int, though callers pass 0..99
    std::snprintf(text, sizeof text, "%02d%c", int(value), unit);
    return QByteArray(text);
}

qint64 ceilDivide(qint64 value, qint64 divisor) {
    return (value + divisor - 1) / divisor;
}

// The common start of all files of a conversion: the first epoch, else the first
// navigation record.
qint64 startOf(const LongNameFacts& facts) {
    if (facts.firstEpoch != 0) return facts.firstEpoch;
    return facts.navigationFirst;
}

QByteArray periodOf(const LongNameFacts& facts) {
    // A single epoch still spans its minute.
    if (facts.firstEpoch != 0)
        return periodField(std::max<qint64>(1, facts.lastEpoch - facts.firstEpoch + facts.interval));
    if (facts.navigationFirst != 0) return periodField(facts.navigationLast - facts.navigationFirst);
    return "00U";
}

QByteArray prefix(const LongNameFields& fields, const LongNameFacts& facts) {
    QByteArray name = stationField(facts.markerName);
    name += fields.monument;
    name += fields.receiver;
    name += validCountry(fields.country) ? fields.country : QByteArray("XXX");
    name += "_R_";
    name += startField(startOf(facts));
    name += '_';
    name += periodOf(facts);
    return name;
}

} // namespace

bool validCountry(const QByteArray& country) {
    if (country.size() != 3) return false;
    for (const char c : country)
        if (c < 'A' || c > 'Z') return false;
    return true;
}

QByteArray stationField(const QByteArray& markerName) {
    QByteArray station;
    for (const char c : markerName.toUpper()) {
        if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) station += c;
        if (station.size() == 4) break;
    }
    if (station.isEmpty()) return "XXXX";
    while (station.size() < 4)
        station += '0';
    return station;
}

QByteArray startField(qint64 time) {
    const gnss::CalendarTime t = gnss::calendarFromMilliseconds(time);
    if (t.year < 0 || t.year > 9999) return "00000000000";
    const int day = gnss::dayOfYear({t.year, t.month, t.day});
    char text[16];
    std::snprintf(text, sizeof text, "%04d%03d%02d%02d", t.year, day, t.hour, t.minute);
    return QByteArray(text);
}

QByteArray periodField(qint64 span) {
    if (span <= 0) return "00U";
    const qint64 minutes = ceilDivide(span, kMinute);
    if (minutes < 60) return twoDigits(minutes, 'M');
    const qint64 hours = ceilDivide(minutes, 60);
    if (hours < 24) return twoDigits(hours, 'H');
    const qint64 days = ceilDivide(hours, 24);
    if (days <= 99) return twoDigits(days, 'D');
    // ceil(days / 365.25) in whole numbers.
    const qint64 years = ceilDivide(days * 4, 1461);
    return years <= 99 ? twoDigits(years, 'Y') : QByteArray("00U");
}

QByteArray frequencyField(qint32 interval) {
    if (interval <= 0) return "00U";
    if (interval < 1000) {
        if (1000 % interval != 0) return "00U";
        const int hertz = 1000 / interval;
        if (hertz % 100 == 0) return twoDigits(hertz / 100, 'C');
        return hertz <= 99 ? twoDigits(hertz, 'Z') : QByteArray("00U");
    }
    if (interval % 1000 != 0) return "00U";
    const qint64 seconds = interval / 1000;
    if (seconds % 86400 == 0 && seconds / 86400 <= 99) return twoDigits(seconds / 86400, 'D');
    if (seconds % 3600 == 0 && seconds / 3600 <= 99) return twoDigits(seconds / 3600, 'H');
    if (seconds % 60 == 0 && seconds / 60 <= 99) return twoDigits(seconds / 60, 'M');
    return seconds <= 99 ? twoDigits(seconds, 'S') : QByteArray("00U");
}

QString observationLongName(const LongNameFields& fields, const LongNameFacts& facts) {
    QByteArray name = prefix(fields, facts);
    name += '_';
    name += frequencyField(facts.interval);
    name += '_';
    name += facts.observedSystems.size() == 1 ? facts.observedSystems.at(0) : 'M';
    name += "O.rnx";
    return QString::fromLatin1(name);
}

QString navigationLongName(const LongNameFields& fields, const LongNameFacts& facts, char system) {
    QByteArray name = prefix(fields, facts);
    name += '_';
    name += system;
    name += "N.rnx";
    return QString::fromLatin1(name);
}

} // namespace rinex
