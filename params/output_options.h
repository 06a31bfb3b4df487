// SPDX-License-Identifier: MIT
#pragma once
// The output options (time window, decimation, systems, long file names, compression): their
// row names, the text forms they take, the check made before a conversion starts, and their
// application to the writer. Empty or default values leave the output as it is without them.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include "params/parameter_names.h"

class Rinex3xx;

namespace outputoptions {

extern const QString WindowStart;      // "Window Start"
extern const QString WindowEnd;        // "Window End"
extern const QString Interval;         // "Interval"
extern const QString Systems;          // "Systems"
extern const QString LongName;         // "Long Name": "0" or "1"
extern const QString LongNameCountry;  // "Long Name Country"
extern const QString LongNameMonument; // "Long Name Monument"
extern const QString LongNameReceiver; // "Long Name Receiver"
extern const QString Compression;      // "Compression": "", "crx", "gz" or "crx.gz"
// "Short Name": "1" gives RINEX 2.11 files their short names (ssssdddf.yyt) in the output
// path's folder. Set by velmoor-convert when it chooses the output path itself.
extern const QString ShortName;

extern const QString AllSystems; // "GRECSJI"
extern const QStringList CompressionValues;

// What each value takes, for messages: "YYYY-MM-DD HH:MM:SS[.sss] ..." and so on.
extern const QString TimeForm;
extern const QString IntervalForm;
extern const QString SystemsForm;
extern const QString CountryForm;
extern const QString DigitForm;
extern const QString CompressionForm;

// GPS time "YYYY-MM-DD HH:MM:SS[.sss]" or with "T" between date and time, to milliseconds
// since 1970 (counted without leap seconds, like the writer's epochs).
bool parseGpsTime(const QString& text, qint64* milliseconds);
// Seconds 0.05 to 86400, at most three decimals, to milliseconds.
bool parseInterval(const QString& text, qint32* milliseconds);
// Letters of G R E C S J I (either case, each once at most), upper-cased.
bool parseSystems(const QString& text, QByteArray* letters);
// Three letters A-Z (either case), upper-cased.
bool parseCountry(const QString& text, QByteArray* country);
bool parseDigit(const QString& text, char* digit);

// One text per value that does not parse, naming the row and the values it takes; empty
// when the conversion may start.
QStringList checkOutputOptions(const ConvertOptions& options);

// Sets the writer's output filter and long names from the options (values that do not parse
// are left out; checkOutputOptions reports them).
void applyOutputOptions(const ConvertOptions& options, Rinex3xx& writer);

} // namespace outputoptions
