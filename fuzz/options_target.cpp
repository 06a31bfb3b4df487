// SPDX-License-Identifier: MIT
// The output options' text forms: the input's lines become the values of the output
// option rows; they are checked, parsed and applied to a writer, and the long file name
// fields are made from the numbers they give.
#include "targets.h"

#include <QByteArray>
#include <QList>

#include "params/output_options.h"
#include "rinex/long_file_name.h"
#include "rinex/rinex3xx.h"

namespace fuzzing {

namespace {

bool isFieldCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::string checkName(const QString& name, int length) {
    if (name.size() != length) return "long name of " + std::to_string(name.size()) + " characters";
    return {};
}

} // namespace

std::string runOutputOptions(const uint8_t* data, size_t size) {
    using namespace outputoptions;
    const QList<QByteArray> lines =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size)).split('\n');
    const QString rows[] = {WindowStart,     WindowEnd,        Interval,         Systems,    LongName,
                            LongNameCountry, LongNameMonument, LongNameReceiver, Compression};
    ConvertOptions options;
    for (int i = 0; i < lines.size() && i < int(sizeof rows / sizeof rows[0]); ++i)
        options[rows[i]] = QString::fromUtf8(lines[i]);

    const QStringList problems = checkOutputOptions(options);
    qint64 start = 0, end = 0;
    qint32 interval = 0;
    const bool haveStart = parseGpsTime(options.value(WindowStart), &start);
    const bool haveEnd = parseGpsTime(options.value(WindowEnd), &end);
    const bool haveInterval = parseInterval(options.value(Interval), &interval);
    if (haveInterval && (interval < 50 || interval > 86400000)) return "interval outside its range";
    if (problems.isEmpty() && haveStart && haveEnd && end <= start) return "window end not after its start";
    QByteArray systems;
    if (parseSystems(options.value(Systems), &systems))
        for (const char c : systems)
            if (!QByteArray("GRECSJI").contains(c)) return "unknown system letter";

    Rinex3xx writer;
    applyOutputOptions(options, writer);

    // Names from whatever the values give, as facts of a conversion.
    rinex::LongNameFields fields;
    if (!parseCountry(options.value(LongNameCountry), &fields.country)) fields.country = "XXX";
    rinex::LongNameFacts facts;
    facts.markerName = lines.value(9);
    facts.firstEpoch = haveStart ? start : 0;
    facts.lastEpoch = haveEnd ? end : 0;
    facts.interval = haveInterval ? interval : 0;
    facts.observedSystems = systems;
    const QString observation = rinex::observationLongName(fields, facts);
    const QString navigation = rinex::navigationLongName(fields, facts, 'G');
    std::string broken = checkName(observation, 38);
    if (broken.empty()) broken = checkName(navigation, 34);
    if (!broken.empty()) return broken;
    const QByteArray station = rinex::stationField(facts.markerName);
    for (const char c : station)
        if (!isFieldCharacter(c)) return "station field character outside A-Z 0-9";
    return {};
}

} // namespace fuzzing
