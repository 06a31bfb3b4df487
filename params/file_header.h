// SPDX-License-Identifier: MIT
#pragma once
// The header in front of the log stream: the 512-byte legacy record and the text header of
// "#"-keyed key=value lines. Parsed for display rows and option defaults only.
#include <QByteArray>
#include <QList>
#include <QString>

#include "params/parameter_names.h"

struct HeaderRow {
    QString name;
    QString value;
};
using HeaderRows = QList<HeaderRow>;

// Reads a legacy record from the start of head (nothing when head has fewer than 512 bytes).
void parseLegacyHeader(ParameterMap& params, HeaderRows& rows, const QByteArray& head);
// Reads a key header from block (the first line, the magic, is skipped).
void parseKeyHeader(ParameterMap& params, HeaderRows& rows, const QByteArray& block);

struct FileHeader {
    bool read = false; // false: unreadable or shorter than 2048 bytes, nothing to show
    ParameterMap params;
    HeaderRows rows;
};
// Reads the first 2048 bytes of a file and recognises the legacy and key headers.
FileHeader readHeaderOfFile(const QString& path);
