// SPDX-License-Identifier: MIT
#pragma once
// RINEX 3 long file names: SSSSMRCCC_R_YYYYDDDHHMM_PPU_FFU_TT.rnx for observation files and
// SSSSMRCCC_R_YYYYDDDHHMM_PPU_TT.rnx for navigation files.
#include <QByteArray>
#include <QString>
#include <QtGlobal>

namespace rinex {

// The fields the user chooses.
struct LongNameFields {
    QByteArray country = "XXX"; // ISO 3166-1 alpha-3, upper case
    char monument = '0';        // 0-9
    char receiver = '0';        // 0-9
};

// What the conversion wrote, as the names need it. Times in milliseconds since 1970 (GPS).
struct LongNameFacts {
    QByteArray markerName;
    qint64 firstEpoch = 0; // 0: no epoch written
    qint64 lastEpoch = 0;
    qint32 interval = 0;        // ms, 0: fewer than two epochs
    qint64 navigationFirst = 0; // reference times of the navigation records, 0: none
    qint64 navigationLast = 0;
    QByteArray observedSystems; // letters of the systems with observations
};

bool validCountry(const QByteArray& country);

// First four letters or digits of the marker name in upper case, padded with '0';
// "XXXX" without any.
QByteArray stationField(const QByteArray& markerName);
// YYYYDDDHHMM of a time, truncated to the minute.
QByteArray startField(qint64 time);
// PPU of a span in milliseconds; "00U" when the span is not positive.
QByteArray periodField(qint64 span);
// FFU of an interval in milliseconds; "00U" for 0 (fewer than two epochs) or no exact unit.
QByteArray frequencyField(qint32 interval);

// File names (without folder). kind: 'O' observation, or the navigation system letter
// G, R, E, C.
QString observationLongName(const LongNameFields& fields, const LongNameFacts& facts);
QString navigationLongName(const LongNameFields& fields, const LongNameFacts& facts, char system);

} // namespace rinex
