// SPDX-License-Identifier: MIT
#include "params/config_rows.h"

#include "params/output_options.h"
#include "rinex/rinex_version.h"

namespace {

ConfigRow choiceRow(const QString& name, const QStringList& values, const QStringList& texts,
                    const QString& value) {
    return ConfigRow{ConfigRow::Choice, name, value, values, texts};
}

} // namespace

QList<ConfigRow> configRows(const ParameterMap& header) {
    QList<ConfigRow> rows;
    // Header facts are shown only when the header gave them.
    for (const char* name : {"Path Input", "Receiver Model", "Receiver SN", "Receiver Version", "GNSS Model",
                             "GNSS SN", "GNSS Hardware", "GNSS Software"}) {
        const auto found = header.constFind(name);
        if (found != header.constEnd()) rows << ConfigRow{ConfigRow::ReadOnly, name, found.value(), {}, {}};
    }

    // The three first versions in their order, then each added version.
    rows << choiceRow("Version", rinex::versionTexts(), rinex::versionTitles(),
                      QString::fromLatin1(rinex::versionText(rinex::kDefaultVersion)));

    QStringList markerTypes;
    for (const QByteArray& type : MarkerTypeNames)
        markerTypes << QString::fromUtf8(type);
    rows << choiceRow("Marker Type", markerTypes, markerTypes, markerTypes.first());

    rows << choiceRow("Mode", {"1", "2", "3"}, {"PPK None", "PPK Only", "PPK Mix"}, "3");

    for (const char* name : {"Marker Name", "Marker Number", "Latitude", "Longitude", "Height",
                             "Antenna Name", "Antenna Spec", "Antenna Height"})
        rows << ConfigRow{ConfigRow::Edit, name, header.value(name), {}, {}};

    rows << choiceRow("Height Type", HeightTypeNames, HeightTypeNames, header.value("Height Type").toUpper());

    // The output options follow; at these values the output is the same as without them.
    using namespace outputoptions;
    rows << ConfigRow{ConfigRow::Edit, WindowStart, QString(), {}, {}};
    rows << ConfigRow{ConfigRow::Edit, WindowEnd, QString(), {}, {}};
    rows << ConfigRow{ConfigRow::Edit, Interval, QString(), {}, {}};
    rows << ConfigRow{ConfigRow::Edit, Systems, AllSystems, {}, {}};
    rows << choiceRow(LongName, {"0", "1"}, {"Off", "On"}, "0");
    rows << ConfigRow{ConfigRow::Edit, LongNameCountry, QStringLiteral("XXX"), {}, {}};
    const QStringList digits = {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"};
    rows << choiceRow(LongNameMonument, digits, digits, "0");
    rows << choiceRow(LongNameReceiver, digits, digits, "0");
    rows << choiceRow(Compression, CompressionValues,
                      {"None", "Compact RINEX (crx)", "gzip (gz)", "Compact RINEX and gzip (crx.gz)"}, QString());
    return rows;
}

QString rowPattern(const QString& name) {
    using namespace outputoptions;
    if (name == WindowStart || name == WindowEnd)
        return QStringLiteral("\\d{4}-\\d{2}-\\d{2}[ T]\\d{2}:\\d{2}:\\d{2}(\\.\\d{1,3})?");
    if (name == Interval) return QStringLiteral("\\d{1,5}(\\.\\d{0,3})?");
    if (name == Systems) return QStringLiteral("[GRECSJIgrecsji]{1,7}");
    if (name == LongNameCountry) return QStringLiteral("[A-Za-z]{3}");
    return QString();
}

QString rowHint(const QString& name) {
    using namespace outputoptions;
    if (name == WindowStart) return QStringLiteral("First epoch written, %1; empty: from the start").arg(TimeForm);
    if (name == WindowEnd) return QStringLiteral("Epochs before this are written, %1; empty: to the end").arg(TimeForm);
    if (name == Interval) return QStringLiteral("Keep epochs on multiples of this, %1; empty: every epoch").arg(IntervalForm);
    if (name == Systems) return QStringLiteral("Systems written, %1").arg(SystemsForm);
    if (name == LongNameCountry) return QStringLiteral("Country of the long names, %1").arg(CountryForm);
    return QString();
}

ConvertOptions defaultOptions(const ParameterMap& header) {
    ConvertOptions options;
    for (const ConfigRow& row : configRows(header))
        options[row.name] = row.value;
    return options;
}
