// SPDX-License-Identifier: MIT
#include <QFile>

#include "params/file_header.h"

namespace {

constexpr int HeadSize = 2048;
constexpr int KeyBlockSize = 1024;
constexpr int KeyHeaderAfterLegacy = 512;
const QByteArray LegacyMagic = "QVT-GPS COLLECTED DATA\nS/N:";
const QByteArray KeyMagic = "#file=GNSS DATA FILE\r\n";

} // namespace

FileHeader readHeaderOfFile(const QString& path) {
    FileHeader header;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return header;
    const QByteArray head = file.read(HeadSize);
    file.close();
    // Shorter files show nothing at all: the threshold is deliberate.
    if (head.size() < HeadSize) return header;

    header.read = true;
    header.params["Path Input"] = path;
    if (head.startsWith(LegacyMagic)) {
        parseLegacyHeader(header.params, header.rows, head);
        if (head.mid(KeyHeaderAfterLegacy, KeyMagic.size()) == KeyMagic)
            parseKeyHeader(header.params, header.rows, head.mid(KeyHeaderAfterLegacy, KeyBlockSize));
    } else if (head.startsWith(KeyMagic)) {
        parseKeyHeader(header.params, header.rows, head.left(KeyBlockSize));
    }
    return header;
}
