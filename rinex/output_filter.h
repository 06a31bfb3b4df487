// SPDX-License-Identifier: MIT
#pragma once
// What a conversion keeps of the stream: a time window, a decimation interval and a set of
// satellite systems. The default keeps everything, so the writer's output stays as it is.
#include <QByteArray>
#include <QtGlobal>

namespace rinex {

class OutputFilter {
public:
    // Times are milliseconds since 1970-01-01 counted in GPS time (as the epoch bookkeeping).
    static constexpr qint64 kNoStart = -0x7fffffffffffffffLL;
    static constexpr qint64 kNoEnd = 0x7fffffffffffffffLL;
    // Navigation records count when their reference time lies this close to the window.
    static constexpr qint64 kNavigationMargin = 4 * 3600 * 1000LL;

    // start inclusive, end exclusive; false (nothing changed) when start is not before end.
    bool setWindow(qint64 start, qint64 end);
    // 0 keeps every epoch; otherwise 50 ms to one day.
    bool setInterval(qint32 milliseconds);
    // Any of G R E C S J I; empty (or all seven) keeps every system. False on another letter.
    bool setSystems(const QByteArray& letters);

    bool hasWindow() const { return start_ != kNoStart || end_ != kNoEnd; }
    bool decimates() const { return interval_ != 0; }
    bool selectsSystems() const { return !allSystems_; }
    qint64 start() const { return start_; }
    qint64 end() const { return end_; }
    qint32 interval() const { return interval_; }

    bool inWindow(qint64 time) const { return time >= start_ && time < end_; }
    bool onInterval(quint32 millisecondsOfWeek) const {
        return interval_ == 0 || millisecondsOfWeek % quint32(interval_) == 0;
    }
    bool keepsSystem(char letter) const {
        return allSystems_ || (letter >= 'A' && letter <= 'Z' && kept_[letter - 'A']);
    }
    bool keepsNavigation(qint64 referenceTime) const;

private:
    qint64 start_ = kNoStart;
    qint64 end_ = kNoEnd;
    qint32 interval_ = 0;
    bool allSystems_ = true;
    bool kept_[26] = {};
};

// The systems a filter can select, in the order the option lists them.
extern const char kSelectableSystems[];

} // namespace rinex
