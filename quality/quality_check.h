// SPDX-License-Identifier: MIT
#pragma once
// The quality check: fed one observation epoch at a time (from a RINEX file or straight from
// a converter), it keeps a fixed amount of state per satellite and signal and gives the report
// at the end. Navigation data, when given before the epochs, adds elevations, completeness and
// positions.
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "quality/navigation.h"
#include "quality/observations.h"
#include "quality/point_positioning.h"
#include "quality/report.h"
#include "rinex/epoch_observer.h"

namespace quality {

struct Options {
    double elevationMask = 10.0;      // degrees: completeness and positioning
    size_t maxPlotSamples = 2000;     // epoch samples kept for the plots
    size_t maxRunsPerSatellite = 400; // tracked runs kept per satellite
    double headerOffsetLimit = 100.0; // m: header position flagged beyond this
    // Seconds between positioned epochs; 0 positions every epoch. Positioning is the costly
    // part (about 0.1 ms per epoch of 40 satellites): a converter checking high-rate data as
    // it goes may position one epoch in 30 s.
    double positionInterval = 0;
};

// One satellite line of a conversion as the writer hands it over: four fields (code, phase,
// Doppler, strength) per signal column of the system.
struct TrackedSatellite {
    using Column = rinex::ObservedColumn;
    int system = 0; // systemIndex
    int number = 0;
    uint64_t columns = 0; // bit c: column c holds a value
    const Column* column = nullptr;
};

// Field k's value of a column as a reader parses the written field.
double fieldValue(const TrackedSatellite::Column& column, int k);

class QualityCheck {
public:
    explicit QualityCheck(Options options = {});
    ~QualityCheck();
    void setHeader(const ObservationHeader& header);
    // The navigation data must outlive the check.
    void setNavigation(const Navigation* navigation);
    void addEpoch(const Epoch& epoch);
    // A message for the report (e.g. a reader's problem).
    void addMessage(const std::string& message);
    Report finish();

    // A conversion's check in two passes (conversion_feed.h), with the numbers of addEpoch.
    // The first pass follows the records as they are written and computes what needs no
    // navigation data: span, counts, strengths, slips, multipath. What it needs of the header
    // (observation types, interval, GLONASS channels) is taken from the writer as it goes and
    // compared with the header by endTracking. Two trackers may follow the records on two
    // threads at once, each the satellites of its own systems (tracker 0 also the epochs).
    static constexpr int kTrackers = 2;
    void trackColumn(int system, int column, char band, char attribute, int tracker = 0);
    void trackGlonassChannel(int slot, int channel);
    void trackInterval(double seconds, int tracker = 0);
    void trackEpoch(double time);
    void trackSatellite(const TrackedSatellite& satellite, double time, int tracker = 0);
    // Records the first pass cannot follow (e.g. a field of a column not announced).
    void trackingFailed(int tracker = 0);
    // After setHeader: false when the header contradicts what the first pass assumed (the
    // check must then start again from the file).
    bool endTracking();
    // The elevations are updated once per visibility window: an epoch starts a new one at
    // least 30 s after the start of the last (or before it).
    static bool startsVisibilityWindow(double time, double windowStart);
    // The first pass's sums of each satellite's signals since the window began (bytes for
    // replayWindow), of the systems given (a bit per systemIndex); their sums start again.
    void closeTrackedWindow(std::vector<uint8_t>& out, uint32_t systems);
    // The bits of closeTrackedWindow of system letters given as a bit per letter from 'A'.
    static uint32_t trackedSystems(uint32_t letters);
    // The second pass, after setNavigation, in the order of the records, in two halves that
    // share no state: the positions half (replayPositions for each observation epoch, its
    // satellites' code observations given when it is positioned; replayEvent for each event
    // record: positions, occupations, plot samples) and the elevations half (replayWindow for
    // each window's sums: elevations, completeness, strength bins, sky plot). When the
    // elevations need no fix (the header gives the receiver's position: replayHalvesApart)
    // two threads may run them; otherwise one runs both in the records' order, each window
    // after its epochs (the fix of the epoch flagged windowStart is the window's receiver).
    // The report is the same as from addEpoch.
    bool replayHalvesApart() const;
    void replayPositions(const Epoch& epoch, bool windowStart);
    void replayEvent(const Epoch& epoch);
    // False when the sums' bytes end early. A window's sums in more than one piece: the
    // others by replayWindowSums after the first.
    bool replayWindow(double start, long epochs, const uint8_t* sums, size_t size);
    bool replayWindowSums(const uint8_t* sums, size_t size);

private:
    struct State;
    std::unique_ptr<State> s_;
};

} // namespace quality
