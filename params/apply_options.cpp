// SPDX-License-Identifier: MIT
#include "params/apply_options.h"

#include <cmath>

#include "params/output_options.h"
#include "rinex/rinex3xx.h"

namespace {

// Antenna reference point above the marker, from the measured height.
double reducedAntennaHeight(const QString& heightType, double measured, double radius, double a, double b) {
    if (heightType == "PHASE") return measured - a - b;
    if (heightType == "VERTICAL") return measured - a;
    if (heightType == "BUTTOM") return measured;
    if (heightType == "SLOPE") {
        // The squares are added; this is the rule the converter keeps.
        const double radiusM = radius * 0.001;
        const double slant = std::sqrt(radiusM * radiusM + measured * measured);
        return slant < a ? 0.0 : slant - a;
    }
    return 0.0;
}

double numberOrZero(const QString& text) {
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok ? value : 0.0;
}

} // namespace

void applyOptions(const ConvertOptions& options, Rinex3xx& writer) {
    if (options.contains("Version")) writer.setVersion(options.value("Version").toUtf8());
    if (options.value("Navigation Merged") == "1") writer.setNavigationMerged(true);

    writer.setMarker(options.value("Marker Name").toUtf8(), options.value("Marker Number").toUtf8(),
                     options.value("Marker Type").toUtf8());

    if (options.contains("Mode")) {
        bool ok = false;
        const int mode = options.value("Mode").toInt(&ok, 10);
        writer.setPpkMode(ok ? mode : 0);
    }

    // The position is set whole or not at all.
    bool latitudeOk = false, longitudeOk = false, heightOk = false;
    const double latitude = options.value("Latitude").toDouble(&latitudeOk);
    const double longitude = options.value("Longitude").toDouble(&longitudeOk);
    const double height = options.value("Height").toDouble(&heightOk);
    if (latitudeOk && longitudeOk && heightOk) writer.setApproxPosition(latitude, longitude, height);

    // Empty parts are kept: "0,,50,0" still has four.
    const QStringList spec = options.value("Antenna Spec").split(',');
    if (spec.size() >= 4) {
        const double radius = numberOrZero(spec.at(0));
        const double a = numberOrZero(spec.at(1)) * 0.001;
        const double b = numberOrZero(spec.at(2)) * 0.001;
        const double measured = numberOrZero(options.value("Antenna Height"));
        const double h = reducedAntennaHeight(options.value("Height Type"), measured, radius, a, b);
        writer.setAntenna(QByteArray(), options.value("Antenna Name").toUtf8());
        writer.setAntennaDelta(h, 0, 0);
        writer.setAntennaHeight(a + b);
    }

    writer.setReceiver(options.value("Receiver SN").toUtf8(), options.value("Receiver Model").toUtf8(),
                       options.value("Receiver Version").toUtf8());

    // Labels padded to 13 characters so that the "=" signs line up.
    static const QList<QPair<QString, QString>> gnssComments = {
        {"GNSS MODEL   ", "GNSS Model"},
        {"GNSS SN      ", "GNSS SN"},
        {"GNSS HARDWARE", "GNSS Hardware"},
        {"GNSS FIRMWARE", "GNSS Software"},
    };
    QList<QByteArray> comments;
    for (const auto& comment : gnssComments) {
        const QString value = options.value(comment.second);
        if (!value.isEmpty()) comments << QString("%1 = %2").arg(comment.first, value).toUtf8();
    }
    writer.setComments(comments);

    outputoptions::applyOutputOptions(options, writer);
}
