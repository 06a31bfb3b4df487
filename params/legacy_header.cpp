// SPDX-License-Identifier: MIT
#include <QtEndian>
#include <cstring>

#include "params/file_header.h"

namespace {

constexpr int LegacySize = 512;

// Text of a fixed field that ends at its first NUL byte (or at the field's end).
QString nulEndedText(const char* data, int size) {
    return QString::fromUtf8(data, int(qstrnlen(data, uint(size))));
}

template <typename T> T readLittle(const char* data) {
    return qFromLittleEndian<T>(reinterpret_cast<const uchar*>(data));
}

double readDouble(const char* data) {
    const quint64 bits = readLittle<quint64>(data);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

float readFloat(const char* data) {
    const quint32 bits = readLittle<quint32>(data);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

void parseLegacyHeader(ParameterMap& params, HeaderRows& rows, const QByteArray& head) {
    if (head.size() < LegacySize) return;
    const QByteArray record = head.left(LegacySize);
    const char* d = record.constData();

    // The serial is the second line of the identification text, after "S/N:".
    const QString identification = nulEndedText(d, 58);
    const QString serial = identification.section(QLatin1Char('\n'), 1, 1).mid(4);

    const quint8 day = quint8(d[58]);
    const quint8 month = quint8(d[59]);
    const quint16 year = readLittle<quint16>(d + 60);
    const double latitude = readDouble(d + 80);
    const double longitude = readDouble(d + 88);
    const float height = readFloat(d + 96);
    const quint16 antennaHeightMm = readLittle<quint16>(d + 105);
    const QString timeStart = QString::fromUtf8(d + 107, 8);
    const QString timeEnd = QString::fromUtf8(d + 115, 8);
    const QString antennaName = nulEndedText(d + 125, 20);
    const quint8 heightType = quint8(d[145]);
    const QString appVersion = nulEndedText(d + 166, 15);
    const QString pointName = nulEndedText(d + 181, LegacySize - 181);

    const QString latitudeText = QString::number(latitude, 'f', 8);
    const QString longitudeText = QString::number(longitude, 'f', 8);
    const QString heightText = QString::number(double(height), 'f', 3);

    rows << HeaderRow{"File Type", "DEV"} << HeaderRow{"Sn", serial} << HeaderRow{"App Version", appVersion}
         << HeaderRow{"Point Name", pointName};

    if (int(heightType) < HeightTypeNames.size()) {
        const QString spec = QString("%1,%2,%3,%4")
                                 .arg(readLittle<quint32>(d + 147))
                                 .arg(readLittle<quint32>(d + 151))
                                 .arg(readLittle<quint32>(d + 155))
                                 .arg(readLittle<quint32>(d + 159));
        const QString antennaHeight = QString::number(antennaHeightMm * 0.001, 'g', 6);
        const QString heightTypeText = HeightTypeNames.at(heightType);
        rows << HeaderRow{"Antenna Name", antennaName} << HeaderRow{"Antenna Spec", spec}
             << HeaderRow{"Antenna Height", antennaHeight} << HeaderRow{"Height Type", heightTypeText};
        params["Antenna Name"] = antennaName;
        params["Antenna Spec"] = spec;
        params["Antenna Height"] = antennaHeight;
        params["Height Type"] = heightTypeText;
    }

    // The record holds one date only, so the end row repeats the start date.
    const QString date = QString("%1-%2-%3").arg(int(year)).arg(int(month)).arg(int(day));
    rows << HeaderRow{"Time Start", QString("%1 %2").arg(date, timeStart)}
         << HeaderRow{"Time End", QString("%1 %2").arg(date, timeEnd)};

    rows << HeaderRow{"Latitude", latitudeText} << HeaderRow{"Longitude", longitudeText}
         << HeaderRow{"Height", heightText};

    params["Receiver SN"] = serial;
    params["Receiver Version"] = appVersion;
    params["Marker Name"] = pointName;
    params["Latitude"] = latitudeText;
    params["Longitude"] = longitudeText;
    params["Height"] = heightText;
}
