// SPDX-License-Identifier: MIT
#include <QHash>

#include "params/file_header.h"

namespace {

const QHash<QString, QString>& knownKeys() {
    static const QHash<QString, QString> keys = {
        {"#device.model", "Receiver Model"},
        {"#device.sn", "Receiver SN"},
        {"#device.firmware", "Receiver Version"},
        {"#gnss.board", "GNSS Model"},
        {"#gnss.sn", "GNSS SN"},
        {"#gnss.hardware", "GNSS Hardware"},
        {"#gnss.firmware", "GNSS Software"},
        {"#marker.name", "Marker Name"},
        {"#marker.number", "Marker Number"},
        {"#position.latitude", "Latitude"},
        {"#position.longitude", "Longitude"},
        {"#position.height", "Height"},
        {"#antenna.name", "Antenna Name"},
        {"#antenna.measure", "Antenna Spec"},
        {"#antenna.height", "Antenna Height"},
        {"#antenna.height_type", "Height Type"},
    };
    return keys;
}

// A NUL byte ends the text.
QString textUpToNul(const QByteArray& bytes) {
    return QString::fromUtf8(bytes.constData(), int(qstrnlen(bytes.constData(), uint(bytes.size()))));
}

} // namespace

void parseKeyHeader(ParameterMap& params, HeaderRows& rows, const QByteArray& block) {
    rows << HeaderRow{"File Type", "GNSS"};
    const QList<QByteArray> pieces = block.split('\n');
    // The first piece is the magic line, whatever it holds.
    for (int i = 1; i < pieces.size(); ++i) {
        const QByteArray& piece = pieces.at(i);
        const int equals = piece.indexOf('=');
        if (equals < 0) continue;
        const QString key = textUpToNul(piece.left(equals).trimmed());
        const QString value = textUpToNul(piece.mid(equals + 1).trimmed());
        rows << HeaderRow{key, value};
        const auto known = knownKeys().constFind(key);
        if (known != knownKeys().constEnd()) params[known.value()] = value;
    }
}
