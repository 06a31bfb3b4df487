// SPDX-License-Identifier: MIT
#pragma once
// The RINEX versions the writer produces, with their option texts and menu titles.
#include <QByteArray>
#include <QStringList>

namespace rinex {

enum class Version { V302, V303, V304, V305, V400, V211 };

constexpr Version kDefaultVersion = Version::V304;

// "3.02" ... "4.00", "2.11": the text of the --rinex option and of the "Version" row.
const char* versionText(Version version);
// Right-justified in the 9 columns of RINEX VERSION / TYPE: "     3.04".
QByteArray versionField(Version version);
// false (and version unchanged) for a text that is no supported version.
bool parseVersion(const QByteArray& text, Version& version);

// Every supported version's text: the three first versions in their order, then the others in
// the order they were added. The "Version" row and --rinex offer exactly these.
QStringList versionTexts();
// "RINEX 3.04" etc., in the order of versionTexts().
QStringList versionTitles();

inline int majorOf(Version version) {
    return version == Version::V400 ? 4 : version == Version::V211 ? 2 : 3;
}
// The minor of the 3.0x line; 4.00 carries every 3.05 rule, so it counts as 5 here. 2.11
// has writers of its own (rinex2_*); it counts as 4 where a 3.0x rule is asked.
inline int minorOf(Version version) {
    switch (version) {
    case Version::V302:
        return 2;
    case Version::V303:
        return 3;
    case Version::V304:
    case Version::V211:
        return 4;
    default:
        return 5;
    }
}
// Records and headers of 3.05 and later (GLONASS fourth orbit line, BDT leap seconds, ...).
inline bool atLeast305(Version version) {
    return version == Version::V305 || version == Version::V400;
}

inline bool isRinex2(Version version) {
    return version == Version::V211;
}

} // namespace rinex
