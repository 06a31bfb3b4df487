// SPDX-License-Identifier: MIT
#include "params/output_options.h"

#include <QDateTime>
#include <QRegularExpression>

#include "rinex/rinex3xx.h"

namespace outputoptions {

const QString WindowStart = QStringLiteral("Window Start");
const QString WindowEnd = QStringLiteral("Window End");
const QString Interval = QStringLiteral("Interval");
const QString Systems = QStringLiteral("Systems");
const QString LongName = QStringLiteral("Long Name");
const QString LongNameCountry = QStringLiteral("Long Name Country");
const QString LongNameMonument = QStringLiteral("Long Name Monument");
const QString LongNameReceiver = QStringLiteral("Long Name Receiver");
const QString Compression = QStringLiteral("Compression");
const QString ShortName = QStringLiteral("Short Name");

const QString AllSystems = QString::fromLatin1(rinex::kSelectableSystems);
const QStringList CompressionValues = {QString(), "crx", "gz", "crx.gz"};

const QString TimeForm = QStringLiteral("GPS time YYYY-MM-DD HH:MM:SS[.sss] or YYYY-MM-DDTHH:MM:SS[.sss]");
const QString IntervalForm = QStringLiteral("seconds from 0.05 to 86400, at most three decimals");
const QString SystemsForm = QStringLiteral("letters of G R E C S J I");
const QString CountryForm = QStringLiteral("three letters, an ISO 3166 country code");
const QString DigitForm = QStringLiteral("one digit 0-9");
const QString CompressionForm = QStringLiteral("crx, gz or crx.gz");

bool parseGpsTime(const QString& text, qint64* milliseconds) {
    static const QRegularExpression form(
        QStringLiteral("^(\\d{4})-(\\d{2})-(\\d{2})[ T](\\d{2}):(\\d{2}):(\\d{2})(?:\\.(\\d{1,3}))?$"));
    const QRegularExpressionMatch m = form.match(text.trimmed());
    if (!m.hasMatch()) return false;
    const QDate date(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt());
    const QString fraction = m.captured(7).leftJustified(3, QLatin1Char('0'));
    const QTime time(m.captured(4).toInt(), m.captured(5).toInt(), m.captured(6).toInt(), fraction.toInt());
    if (!date.isValid() || !time.isValid()) return false;
    *milliseconds = QDateTime(date, time, Qt::UTC).toMSecsSinceEpoch();
    return true;
}

bool parseInterval(const QString& text, qint32* milliseconds) {
    static const QRegularExpression form(QStringLiteral("^(\\d{1,5})(?:\\.(\\d{0,3}))?$"));
    const QRegularExpressionMatch m = form.match(text.trimmed());
    if (!m.hasMatch()) return false;
    const qint64 value =
        m.captured(1).toLongLong() * 1000 + m.captured(2).leftJustified(3, QLatin1Char('0')).toLongLong();
    if (value < 50 || value > 86400000) return false;
    *milliseconds = qint32(value);
    return true;
}

bool parseSystems(const QString& text, QByteArray* letters) {
    const QString upper = text.trimmed().toUpper();
    if (upper.isEmpty()) return false;
    QByteArray result;
    for (const QChar c : upper) {
        if (!AllSystems.contains(c) || result.contains(char(c.unicode()))) return false;
        result += char(c.unicode());
    }
    *letters = result;
    return true;
}

bool parseCountry(const QString& text, QByteArray* country) {
    const QByteArray upper = text.trimmed().toUpper().toLatin1();
    if (!rinex::validCountry(upper)) return false;
    *country = upper;
    return true;
}

bool parseDigit(const QString& text, char* digit) {
    const QString t = text.trimmed();
    if (t.size() != 1 || t.at(0) < QLatin1Char('0') || t.at(0) > QLatin1Char('9')) return false;
    *digit = char(t.at(0).unicode());
    return true;
}

QStringList checkOutputOptions(const ConvertOptions& options) {
    QStringList problems;
    auto bad = [&](const QString& name, const QString& form) {
        problems << QStringLiteral("%1: '%2' is not valid (%3)").arg(name, options.value(name), form);
    };
    qint64 start = 0, end = 0;
    qint32 interval = 0;
    QByteArray bytes;
    char digit = 0;
    const bool haveStart = !options.value(WindowStart).trimmed().isEmpty();
    const bool haveEnd = !options.value(WindowEnd).trimmed().isEmpty();
    if (haveStart && !parseGpsTime(options.value(WindowStart), &start)) bad(WindowStart, TimeForm);
    if (haveEnd && !parseGpsTime(options.value(WindowEnd), &end)) bad(WindowEnd, TimeForm);
    if (problems.isEmpty() && haveStart && haveEnd && end <= start)
        problems << QStringLiteral("%1: '%2' is not after %3 '%4'")
                        .arg(WindowEnd, options.value(WindowEnd), WindowStart, options.value(WindowStart));
    if (!options.value(Interval).trimmed().isEmpty() && !parseInterval(options.value(Interval), &interval))
        bad(Interval, IntervalForm);
    if (!options.value(Systems).trimmed().isEmpty() && !parseSystems(options.value(Systems), &bytes))
        bad(Systems, SystemsForm);
    const QString longName = options.value(LongName);
    if (!longName.isEmpty() && longName != "0" && longName != "1") bad(LongName, QStringLiteral("0 or 1"));
    auto given = [&](const QString& name) { return !options.value(name).trimmed().isEmpty(); };
    if (given(LongNameCountry) && !parseCountry(options.value(LongNameCountry), &bytes))
        bad(LongNameCountry, CountryForm);
    if (given(LongNameMonument) && !parseDigit(options.value(LongNameMonument), &digit))
        bad(LongNameMonument, DigitForm);
    if (given(LongNameReceiver) && !parseDigit(options.value(LongNameReceiver), &digit))
        bad(LongNameReceiver, DigitForm);
    if (!CompressionValues.contains(options.value(Compression))) bad(Compression, CompressionForm);
    // RINEX 2.11 has neither long names nor a mixed navigation file.
    if (options.value("Version") == "2.11") {
        if (longName == "1") problems << QStringLiteral("%1: RINEX 2.11 files have short names only").arg(LongName);
        if (options.value("Navigation Merged") == "1")
            problems << QStringLiteral("Navigation Merged: RINEX 2.11 has no mixed navigation file");
    }
    return problems;
}

void applyOutputOptions(const ConvertOptions& options, Rinex3xx& writer) {
    rinex::OutputFilter filter;
    qint64 start = rinex::OutputFilter::kNoStart, end = rinex::OutputFilter::kNoEnd;
    if (!parseGpsTime(options.value(WindowStart), &start)) start = rinex::OutputFilter::kNoStart;
    if (!parseGpsTime(options.value(WindowEnd), &end)) end = rinex::OutputFilter::kNoEnd;
    filter.setWindow(start, end);
    qint32 interval = 0;
    if (parseInterval(options.value(Interval), &interval)) filter.setInterval(interval);
    QByteArray systems;
    if (parseSystems(options.value(Systems), &systems)) filter.setSystems(systems);
    writer.setOutputFilter(filter);

    if (options.value(LongName) == "1") {
        rinex::LongNameFields fields;
        if (!parseCountry(options.value(LongNameCountry), &fields.country)) fields.country = "XXX";
        if (!parseDigit(options.value(LongNameMonument), &fields.monument)) fields.monument = '0';
        if (!parseDigit(options.value(LongNameReceiver), &fields.receiver)) fields.receiver = '0';
        writer.setLongNames(fields);
    }
    if (options.value(ShortName) == "1") writer.setShortNames(true);
}

} // namespace outputoptions
