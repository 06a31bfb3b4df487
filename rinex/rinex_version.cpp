// SPDX-License-Identifier: MIT
#include "rinex/rinex_version.h"

namespace rinex {

namespace {

struct VersionRow {
    Version version;
    const char* text;
};

// Menu order: the first three in their order, then each version as it was added.
constexpr VersionRow kVersions[] = {
    {Version::V302, "3.02"}, {Version::V303, "3.03"}, {Version::V304, "3.04"},
    {Version::V305, "3.05"}, {Version::V400, "4.00"}, {Version::V211, "2.11"},
};

} // namespace

const char* versionText(Version version) {
    for (const VersionRow& row : kVersions)
        if (row.version == version) return row.text;
    return "3.04";
}

QByteArray versionField(Version version) {
    return QByteArray(versionText(version)).rightJustified(9, ' ');
}

bool parseVersion(const QByteArray& text, Version& version) {
    for (const VersionRow& row : kVersions) {
        if (text == row.text) {
            version = row.version;
            return true;
        }
    }
    return false;
}

QStringList versionTexts() {
    QStringList texts;
    for (const VersionRow& row : kVersions)
        texts << QString::fromLatin1(row.text);
    return texts;
}

QStringList versionTitles() {
    QStringList titles;
    for (const VersionRow& row : kVersions)
        titles << QStringLiteral("RINEX ") + QString::fromLatin1(row.text);
    return titles;
}

} // namespace rinex
