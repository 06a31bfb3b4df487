// SPDX-License-Identifier: MIT
#pragma once
// Names shared by the header reader, the configuration section and the option set.
#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include "rinex/marker_types.h" // MarkerTypeNames

// Parameter display name -> text value: header values and conversion options.
using ParameterMap = QMap<QString, QString>;
// The "config" section's stored values plus "Path Output".
using ConvertOptions = ParameterMap;

// "Path Input" ... "Height Type", in order (21 names).
extern const QStringList ParameterNames;
// "PHASE", "SLOPE", "VERTICAL", "EXTEND", "BUTTOM" (spelled so), indexed by the legacy byte.
extern const QStringList HeightTypeNames;

extern const QString SectionInfo;   // "info"
extern const QString SectionConfig; // "config"
