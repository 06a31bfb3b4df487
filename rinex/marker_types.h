// SPDX-License-Identifier: MIT
#pragma once
// The RINEX marker types the writer accepts, "GEODETIC" first.
#include <QByteArray>
#include <QList>

extern const QList<QByteArray> MarkerTypeNames;
