#include "params/config_rows.h"

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
    return rows;
}

ConvertOptions defaultOptions(const ParameterMap& header) {
    ConvertOptions options;
    for (const ConfigRow& row : configRows(header))
        options[row.name] = row.value;
    return options;
}
