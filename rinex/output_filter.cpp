// SPDX-License-Identifier: MIT
#include "rinex/output_filter.h"

#include <cstring>

namespace rinex {

const char kSelectableSystems[] = "GRECSJI";

bool OutputFilter::setWindow(qint64 start, qint64 end) {
    if (start >= end) return false;
    start_ = start;
    end_ = end;
    return true;
}

bool OutputFilter::setInterval(qint32 milliseconds) {
    if (milliseconds != 0 && (milliseconds < 50 || milliseconds > 86400000)) return false;
    interval_ = milliseconds;
    return true;
}

bool OutputFilter::setSystems(const QByteArray& letters) {
    bool kept[26] = {};
    int count = 0;
    for (const char letter : letters) {
        if (letter == '\0' || std::strchr(kSelectableSystems, letter) == nullptr) return false;
        if (!kept[letter - 'A']) ++count;
        kept[letter - 'A'] = true;
    }
    std::memcpy(kept_, kept, sizeof kept_);
    // Every selectable system named is the same as none named: nothing is left out.
    allSystems_ = count == 0 || count == int(std::strlen(kSelectableSystems));
    return true;
}

bool OutputFilter::keepsNavigation(qint64 referenceTime) const {
    const qint64 from = start_ == kNoStart ? kNoStart : start_ - kNavigationMargin;
    const qint64 to = end_ == kNoEnd ? kNoEnd : end_ + kNavigationMargin;
    return referenceTime >= from && referenceTime < to;
}

} // namespace rinex
