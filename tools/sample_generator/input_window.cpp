// SPDX-License-Identifier: MIT
#include "sample_generator/input_window.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "sample_generator/options.h"

namespace sample_generator {

namespace {

double continuousSeconds(int week, double secondsOfWeek) {
    return week * 604800.0 + secondsOfWeek;
}

// Fills the time of day, and the date when the text has one; false for anything else.
bool parseStart(const std::string& text, rinex_input::ObsTime& t, bool& hasDate) {
    char separator = 0;
    int consumed = 0;
    if (std::sscanf(text.c_str(), "%d-%d-%d%c%d:%d:%lf%n", &t.year, &t.month, &t.day, &separator, &t.hour,
                    &t.minute, &t.second, &consumed) == 7 &&
        size_t(consumed) == text.size() && (separator == 'T' || separator == ' ')) {
        hasDate = true;
    } else if (std::sscanf(text.c_str(), "%d:%d:%lf%n", &t.hour, &t.minute, &t.second, &consumed) == 3 &&
               size_t(consumed) == text.size()) {
        hasDate = false;
    } else {
        return false;
    }
    return t.hour >= 0 && t.hour < 24 && t.minute >= 0 && t.minute < 60 && t.second >= 0 && t.second < 61 &&
           (!hasDate || (t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= 31));
}

} // namespace

ObservationWindow readWindow(const std::string& path, const std::string& start, size_t maxEpochs) {
    rinex_input::ObsTime startTime;
    bool hasDate = false;
    if (!start.empty() && !parseStart(start, startTime, hasDate))
        throw UsageError("--start: expected YYYY-MM-DDTHH:MM:SS or HH:MM:SS, got '" + start + "'");

    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + path);
    rinex_input::ObsReader reader(in);
    ObservationWindow w;
    w.header = reader.header();
    bool startKnown = start.empty() || hasDate;
    double startSeconds = 0;
    if (!start.empty() && hasDate) {
        int week = 0;
        double sow = 0;
        rinex_input::gpsWeekOfCalendar(startTime, week, sow);
        startSeconds = continuousSeconds(week, sow);
    }
    rinex_input::ObsEpoch epoch;
    while (w.epochs.size() < maxEpochs && reader.next(epoch)) {
        if (epoch.flag > 1) {
            ++w.otherRecords;
            continue;
        }
        if (!startKnown) { // the time of day refers to the first epoch's date
            startTime.year = epoch.time.year;
            startTime.month = epoch.time.month;
            startTime.day = epoch.time.day;
            int week = 0;
            double sow = 0;
            rinex_input::gpsWeekOfCalendar(startTime, week, sow);
            startSeconds = continuousSeconds(week, sow);
            startKnown = true;
        }
        if (!start.empty() && continuousSeconds(epoch.week, epoch.secondsOfWeek) < startSeconds - 1e-6)
            continue;
        w.epochs.push_back(epoch);
    }
    if (w.epochs.empty())
        throw std::runtime_error(path + ": no observation epochs" +
                                 (start.empty() ? "" : " at or after " + start));
    return w;
}

} // namespace sample_generator
