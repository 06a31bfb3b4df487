// SPDX-License-Identifier: MIT
#pragma once
// The rows of the "config" section, as data: the GUI turns them into tree rows, the
// command-line converter takes their stored values as its default options.
#include <QList>
#include <QString>
#include <QStringList>

#include "params/parameter_names.h"

struct ConfigRow {
    enum Kind { ReadOnly, Edit, Choice };
    Kind kind;
    QString name;
    QString value;      // stored value
    QStringList values; // choice rows: stored values
    QStringList texts;  // choice rows: shown texts
};

QList<ConfigRow> configRows(const ParameterMap& header);
// Edit rows whose entry is checked as it is typed: the pattern a complete value matches
// (empty for free text).
QString rowPattern(const QString& name);
// What such a row takes, as a tooltip.
QString rowHint(const QString& name);
// name -> stored value of every config row
ConvertOptions defaultOptions(const ParameterMap& header);
