// SPDX-License-Identifier: MIT
#include "quality/quality_check.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "gnss/constants.h"
#include "gnss/geodesy.h"
#include "gnss/gps_calendar.h"
#include "quality/record_spill.h"
#include "quality/rinex_obs_reader.h"
#include "quality/signal_frequency.h"
#include "quality/slip_thresholds.h"
#include "quality/text_fields.h"

namespace quality {

namespace {

constexpr double kVisibilityStep = 30.0;  // s between elevation updates
constexpr int kMinMultipathArc = 5;       // epochs: shorter arcs add nothing
constexpr double kPdopBin = 0.01;
constexpr int kPdopBins = 3000;

int typeIndex(char type) {
    switch (type) {
    case 'C': return 0;
    case 'L': return 1;
    case 'D': return 2;
    case 'S': return 3;
    default: return -1;
    }
}

// Index of band digit and attribute letter, -1 when outside the RINEX alphabet.
int signalKey(char band, char attribute) {
    if (band < '0' || band > '9' || attribute < 'A' || attribute > 'Z') return -1;
    return (band - '0') * 26 + (attribute - 'A');
}

struct MultipathArc {
    double reference = 0, sum = 0, sumSq = 0;
    long n = 0;
};

struct SignalAccumulator {
    long observations = 0, aboveMask = 0;
    int64_t cn0Thousandths = 0; // exact in any order, like the bins
    long cn0Count = 0;
    // Strengths per 5° of elevation, summed in thousandths of dB-Hz: exact in any order, so
    // that sums made window by window equal those made epoch by epoch.
    std::array<int64_t, 18> binThousandths{};
    std::array<long, 18> binCount{};
    long stamp = -1; // satellite epoch that last counted this signal
};

struct SystemAccumulator {
    std::array<int, 4 * 260> codeIndex;
    std::vector<std::string> codes;
    std::vector<long> codeCounts;
    std::array<int, 260> signalIndex;
    std::vector<std::string> signals;
    std::vector<SignalAccumulator> signal;
    long expected = 0;
    int visibleNow = 0;
    long slips = 0, phaseEpochs = 0;
    long satelliteEpochStamp = 0; // satellite epochs so far (SignalAccumulator::stamp)
    // First pass: whether a line was tracked; bit n: satellite n has window sums. Here, not
    // in arrays of their own: two trackers write the systems' fields side by side.
    bool tracked = false;
    uint64_t windowSatellites = 0;
    char bands[2] = {0, 0};
    double mpSumSq[2] = {0, 0};
    long mpCount[2] = {0, 0};
    SystemAccumulator() {
        codeIndex.fill(-1);
        signalIndex.fill(-1);
    }
};

// The constants of a satellite's pair of carrier frequencies, computed when the pair changes.
struct CarrierPair {
    // The signals and GLONASS channel they were computed for.
    char signals[4] = {0, 0, 0, 0};
    int channel = 0;
    double fa = 0, fb = 0;
    double la = 0, lb = 0;                             // wavelengths
    double narrowCode = 0;                             // 1 / ((fa + fb) * wide-lane wavelength)
    double mpA1 = 0, mpB1 = 0, mpA2 = 0, mpB2 = 0;     // multipath coefficients of the phases
};

struct SatelliteAccumulator {
    bool seen = false;
    CarrierPair carriers;
    long epochs = 0, slips = 0, lli = 0, gf = 0, mw = 0, phaseEpochs = 0;
    double lastTime = -1;
    // Dual-frequency arc.
    int gfCount = 0;
    double gf1 = 0, t1 = 0, gf2 = 0, t2 = 0;
    double mwMean = 0, mwM2 = 0;
    long mwCount = 0;
    MultipathArc mp[2];
    // Elevation from the broadcast orbit.
    bool hasElevation = false;
    double elevation = 0; // rad
    // For the sky track: seen and last seen, as the visibility update knows them.
    bool skySeen = false;
    double skyLastTime = -1;
    // Plots.
    std::vector<std::pair<double, double>> runs;
    std::vector<double> slipTimes;
    std::vector<std::array<double, 2>> sky;
    double skyStep = 60, lastSky = -1e30;
};

// Pairs of bands for slips and multipath, in order of preference.
const char* bandPairs(char system) {
    switch (system) {
    case 'G': return "1215";
    case 'J': return "1215";
    case 'R': return "12";
    case 'E': return "1517";
    case 'C': return "27261727";
    case 'S': return ""; // the two SBAS carriers are not generated coherently
    case 'I': return "59";
    default: return "";
    }
}

// The pair of bands for slips and multipath among the phase bands a system's header lists.
template <typename HasPhase>
void chooseBands(char letter, bool listed, HasPhase hasPhase, char bands[2]) {
    const char* pairs = bandPairs(letter);
    bands[0] = bands[1] = 0;
    for (const char* p = pairs; *p; p += 2)
        if (hasPhase(p[0]) && hasPhase(p[1])) {
            bands[0] = p[0];
            bands[1] = p[1];
            break;
        }
    if (!bands[0] && *pairs && !listed) {
        bands[0] = pairs[0];
        bands[1] = pairs[1];
    }
}

constexpr int kTrackedColumns = 64;
// Signals per system that the first pass can sum per visibility window.
constexpr int kWindowSignals = 32;

// A window's sums as bytes (closeWindow): per satellite its system index, number, last time
// and signal count, then per signal its index, epochs, strength count and strength sum.
constexpr size_t kWindowSatelliteBytes = 1 + 1 + 8 + 1, kWindowSignalBytes = 1 + 4 + 4 + 8;

// What a satellite's signal gave within one visibility window (first pass).
struct WindowSignal {
    uint32_t epochs = 0;      // satellite epochs with the signal
    uint32_t strengths = 0;   // of them with a strength in (0, 100) dB-Hz
    uint64_t strengthSum = 0; // thousandths of dB-Hz
};

struct WindowSatellite {
    double lastTime = 0;
    uint32_t signalsUsed = 0; // bit k: signal[k] holds something
    WindowSignal signal[kWindowSignals];
};

constexpr int kNoChannel = 1000;

// A signal column of a system's satellite lines, as the writer announces it.
struct TrackedColumn {
    char band = 0, attribute = 0;
    int key = -1;    // signalKey, -1 when the check counts nothing of it
    int signal = -1; // index in SystemAccumulator::signal once met
};

// Header and event texts for the reports: control characters become '?'.
std::string printable(std::string s) {
    for (char& ch : s)
        if ((unsigned char)ch < 0x20 || ch == 0x7f) ch = '?';
    return s;
}

} // namespace

struct QualityCheck::State {
    Options options;
    ObservationHeader header;
    bool hasHeader = false;
    const Navigation* nav = nullptr;
    std::unique_ptr<PointPositioning> positioning;
    std::vector<std::pair<char, int>> navSatellites;
    std::vector<std::string> messages;

    SystemAccumulator systems[kSystemCount];
    SatelliteAccumulator satellites[kSystemCount][64];

    // First pass of a conversion's check (trackSatellite): what it took from the writer.
    TrackedColumn trackedColumns[kSystemCount][kTrackedColumns];
    int trackedColumnCount[kSystemCount] = {};
    // Per system, bits of its tracked columns (columnMasks), for the slip bands they were made for.
    struct ColumnMasks {
        int count = -1;
        char bands[2] = {0, 0};
        uint64_t counted = 0;      // columns whose signal the check counts (key >= 0)
        uint64_t band[2] = {0, 0}; // columns of each slip band
        uint64_t lossOfLock = 0;   // columns whose loss of lock is a slip
    };
    ColumnMasks trackedMasks[kSystemCount];
    // Per column, the lines by which of their four fields hold a value (bit k: field k).
    using FieldPatterns = long[16];
    FieldPatterns trackedFieldPatterns[kSystemCount][kTrackedColumns] = {};
    char trackedBands[kSystemCount][2] = {};
    int trackedChannel[64];   // the writer's channel of each GLONASS slot so far
    int usedChannel[64];      // the channel a slot's frequencies were computed with
    // What each tracker (QualityCheck::kTrackers) found: the writer's interval so far, the
    // steps compared with it, whether the records can be followed.
    struct alignas(64) Tracking { // a cache line each: two threads write them
        double maxStep = 0;       // 1.5 times the writer's interval so far
        // The steps compared with maxStep: the largest found within, the smallest beyond.
        double largestWithin = -HUGE_VAL, smallestBeyond = HUGE_VAL;
        bool broken = false;
    };
    Tracking tracking[QualityCheck::kTrackers];
    // First pass: per satellite and signal, the current visibility window's sums.
    WindowSatellite window[kSystemCount][64];
    // Second pass without the header's position: the fix at the start of the window.
    Vec3 windowReceiver{};

    // Span.
    long epochs = 0;
    double first = 0, last = 0;
    double interval = 0;
    bool intervalFixed = false;
    std::map<long long, int> stepHistogram;
    std::vector<std::pair<double, double>> pendingSteps;
    std::vector<Gap> gaps;
    long gapCount = 0;

    // Visibility.
    double lastVisibility = -1e30;
    bool visibilityAvailable = false;

    // Positions.
    double lastPositioned = -1e30;
    bool hasFix = false;
    Vec3 lastFix{};
    Vec3 reference{};
    double sum[3] = {}, sumSq[3] = {};
    long fixes = 0;
    long usedSum = 0;
    std::vector<int> pdopHistogram = std::vector<int>(kPdopBins + 1, 0);

    // Occupations.
    std::vector<Occupation> occupations;
    bool occupationOpen = false;
    long occupationSatsSum = 0;
    double occupationSum[3] = {};

    // Plot samples.
    std::vector<EpochSample> samples;
    long sampleStride = 1;
    long epochIndex = 0;

    double currentInterval() const {
        if (interval > 0) return interval;
        if (!stepHistogram.empty()) {
            auto best = stepHistogram.begin();
            for (auto it = stepHistogram.begin(); it != stepHistogram.end(); ++it)
                if (it->second > best->second) best = it;
            return double(best->first) / 1000.0;
        }
        return 30.0;
    }

    void addGapStep(double from, double to) {
        const double step = to - from;
        if (step <= 1.5 * interval) return;
        ++gapCount;
        if (gaps.size() < 1000)
            gaps.push_back({from, to, std::max(0L, long(std::llround(step / interval)) - 1)});
    }

    void fixInterval() {
        if (intervalFixed) return;
        intervalFixed = true;
        if (!(interval > 0)) interval = stepHistogram.empty() ? 0 : currentInterval();
        if (interval > 0)
            for (const auto& s : pendingSteps)
                addGapStep(s.first, s.second);
        pendingSteps.clear();
    }

    void span(double t) {
        if (epochs == 0) {
            first = last = t;
        } else {
            const double step = t - last;
            if (step > 0) {
                if (!intervalFixed) {
                    ++stepHistogram[std::llround(step * 1000.0)];
                    pendingSteps.emplace_back(last, t);
                    if (pendingSteps.size() >= 50) fixInterval();
                } else if (interval > 0) {
                    addGapStep(last, t);
                }
            }
            last = std::max(last, t);
        }
        ++epochs;
    }

    Vec3 receiverForVisibility() const {
        if (elevationsNeedNoFix()) return header.approxPosition;
        if (hasFix) return lastFix;
        return Vec3{};
    }

    // The elevations of a visibility window that starts at t, seen from receiver (none
    // without a position: the window then has no elevations).
    void updateVisibility(double t, const Vec3& receiver) {
        if (!nav || navSatellites.empty()) return;
        lastVisibility = t;
        for (auto& system : systems)
            system.visibleNow = 0;
        for (auto& system : satellites)
            for (auto& sat : system)
                sat.hasElevation = false;
        if (receiver[0] == 0 && receiver[1] == 0 && receiver[2] == 0) return;
        const gnss::Geodetic g = gnss::geodeticOf(receiver);
        const gnss::LocalFrame frame(g);
        const double mask = options.elevationMask * gnss::kPi / 180.0;
        for (const auto& [letter, number] : navSatellites) {
            const int s = systemIndex(letter);
            if (s >= kSystemCount || number < 1 || number > 63) continue;
            SatelliteState state;
            if (!nav->state(letter, number, t - 0.075, state)) continue;
            SatelliteAccumulator& sat = satellites[s][number];
            // The azimuth only for a point of the sky plot.
            const gnss::Ecef enu = gnss::enuOf(receiver, frame, state.position);
            sat.elevation = gnss::elevationOf(enu);
            sat.hasElevation = true;
            visibilityAvailable = true;
            if (sat.elevation >= mask) ++systems[s].visibleNow;
            if (sat.elevation > 0 && sat.skySeen && t - sat.skyLastTime <= 1.5 * currentInterval() &&
                t - sat.lastSky >= sat.skyStep) {
                sat.lastSky = t;
                sat.sky.push_back({gnss::azimuthOf(enu) * 180 / gnss::kPi, sat.elevation * 180 / gnss::kPi});
                if (sat.sky.size() >= 300) { // keep every second point from now on
                    size_t k = 0;
                    for (size_t i = 0; i < sat.sky.size(); i += 2)
                        sat.sky[k++] = sat.sky[i];
                    sat.sky.resize(k);
                    sat.skyStep *= 2;
                }
            }
        }
    }

    void closeArc(SatelliteAccumulator& sat, SystemAccumulator& system) {
        for (int f = 0; f < 2; ++f) {
            MultipathArc& arc = sat.mp[f];
            if (arc.n >= kMinMultipathArc) {
                system.mpSumSq[f] += arc.sumSq - arc.sum * arc.sum / double(arc.n);
                system.mpCount[f] += arc.n;
            }
            arc = MultipathArc{};
        }
        sat.gfCount = 0;
        sat.mwCount = 0;
        sat.mwMean = sat.mwM2 = 0;
    }

    int glonassChannel(int number, double t) const {
        const auto it = header.glonassChannels.find(number);
        if (it != header.glonassChannels.end()) return it->second;
        if (nav)
            if (const GlonassEphemeris* g = nav->glonass(number, t)) return g->channel;
        return 99;
    }

    void addSatellite(const SatelliteObservations& obs, double t, bool slipFlagged) {
        const int s = systemIndex(obs.system);
        if (s >= kSystemCount || obs.number < 1 || obs.number > 63) return;
        SystemAccumulator& system = systems[s];
        SatelliteAccumulator& sat = satellites[s][obs.number];
        const long stamp = ++system.satelliteEpochStamp;
        const double maxStep = 1.5 * currentInterval();
        const bool newArc = sat.lastTime < 0 || t - sat.lastTime > maxStep || t <= sat.lastTime;
        const bool aboveMask = sat.hasElevation && sat.elevation >= options.elevationMask * gnss::kPi / 180.0;
        const int elevationBin =
            sat.hasElevation && sat.elevation >= 0 ? std::min(17, int(sat.elevation * 180 / gnss::kPi / 5)) : -1;

        startSatellite(sat, t, newArc);

        const Observation* phase[2] = {nullptr, nullptr};
        const Observation* code[2] = {nullptr, nullptr};
        bool lossOfLock = false, anyPhase = false;
        for (const Observation& o : obs.observations) {
            const int type = typeIndex(o.type);
            const int key = signalKey(o.band, o.attribute);
            if (type < 0 || key < 0) continue;
            int& ci = system.codeIndex[size_t(type * 260 + key)];
            if (ci < 0) {
                ci = int(system.codes.size());
                system.codes.push_back(std::string{o.type, o.band, o.attribute});
                system.codeCounts.push_back(0);
            }
            ++system.codeCounts[size_t(ci)];
            int& si = system.signalIndex[size_t(key)];
            if (si < 0) {
                si = int(system.signals.size());
                system.signals.push_back(std::string{o.band, o.attribute});
                system.signal.emplace_back();
            }
            SignalAccumulator& sig = system.signal[size_t(si)];
            if (sig.stamp != stamp) {
                sig.stamp = stamp;
                ++sig.observations;
                if (aboveMask) ++sig.aboveMask;
            }
            if (o.type == 'S' && o.value > 0 && o.value < 100) {
                sig.cn0Thousandths += std::llround(o.value * 1000.0);
                ++sig.cn0Count;
                if (elevationBin >= 0) {
                    sig.binThousandths[size_t(elevationBin)] += std::llround(o.value * 1000.0);
                    ++sig.binCount[size_t(elevationBin)];
                }
            }
            if (o.type == 'L' && o.value != 0) {
                anyPhase = true;
                // Loss of lock counts on the two slip-check bands (any band without them).
                if ((o.lli & 1) && (!system.bands[0] || o.band == system.bands[0] || o.band == system.bands[1]))
                    lossOfLock = true;
                for (int f = 0; f < 2; ++f)
                    if (o.band == system.bands[f] && !phase[f]) phase[f] = &o;
            }
        }
        for (int f = 0; f < 2; ++f) {
            if (!phase[f]) continue;
            for (const Observation& o : obs.observations)
                if (o.type == 'C' && o.band == system.bands[f] && o.value != 0 &&
                    (!code[f] || (o.attribute == phase[f]->attribute && code[f]->attribute != phase[f]->attribute)))
                    code[f] = &o;
        }
        arcs(sat, system, obs.system, obs.number, t, newArc, lossOfLock, anyPhase, slipFlagged, phase, code,
             nullptr);
        sat.skySeen = true;
        sat.skyLastTime = t;
    }

    void startSatellite(SatelliteAccumulator& sat, double t, bool newArc) {
        sat.seen = true;
        ++sat.epochs;
        // Tracking runs.
        if (sat.runs.empty() || newArc) {
            if (sat.runs.size() < options.maxRunsPerSatellite)
                sat.runs.emplace_back(t, t);
            else
                sat.runs.back().second = t;
        } else {
            sat.runs.back().second = t;
        }
    }

    // The channel of a GLONASS slot in the first pass: the writer's, remembered for endTracking.
    int trackedGlonassChannel(int number, Tracking& tracker) {
        const int channel = trackedChannel[number];
        if (channel == kNoChannel || (usedChannel[number] != kNoChannel && usedChannel[number] != channel))
            tracker.broken = true;
        usedChannel[number] = channel;
        return channel == kNoChannel ? 99 : channel;
    }

    // Slips and multipath of a satellite epoch from its selected phases and codes; a
    // tracker's (first pass) GLONASS channels are the writer's.
    void arcs(SatelliteAccumulator& sat, SystemAccumulator& system, char letter, int number, double t,
              bool newArc, bool lossOfLock, bool anyPhase, bool slipFlagged,
              const Observation* const phase[2], const Observation* const code[2], Tracking* tracker) {
        if (anyPhase) {
            ++sat.phaseEpochs;
            ++system.phaseEpochs;
        }

        if (newArc) closeArc(sat, system);
        bool lli = !newArc && (lossOfLock || slipFlagged);
        bool gfSlip = false, mwSlip = false;
        double gf = 0, nw = 0, fa = 0, fb = 0, la = 0, lb = 0;
        const bool dual = phase[0] && phase[1];
        CarrierPair& pair = sat.carriers;
        bool known = false; // the pair's constants are those of these signals
        if (dual) {
            const int channel = letter != 'R' ? 0
                                : tracker     ? trackedGlonassChannel(number, *tracker)
                                              : glonassChannel(number, t);
            const char signals[4] = {phase[0]->band, phase[0]->attribute, phase[1]->band,
                                     phase[1]->attribute};
            known = channel == pair.channel && std::memcmp(signals, pair.signals, 4) == 0;
            if (known) {
                fa = pair.fa;
                fb = pair.fb;
            } else {
                fa = carrierFrequency(letter, phase[0]->band, phase[0]->attribute, channel);
                fb = carrierFrequency(letter, phase[1]->band, phase[1]->attribute, channel);
                if (fa > 0 && fb > 0 && fa != fb) { // the constants follow below
                    std::memcpy(pair.signals, signals, 4);
                    pair.channel = channel;
                }
            }
        }
        const bool usable = dual && fa > 0 && fb > 0 && fa != fb;
        if (usable && !known && (pair.fa != fa || pair.fb != fb)) {
            pair.fa = fa;
            pair.fb = fb;
            pair.la = gnss::kSpeedOfLight / fa;
            pair.lb = gnss::kSpeedOfLight / fb;
            pair.narrowCode = 1 / ((fa + fb) * (gnss::kSpeedOfLight / (fa - fb)));
            const double alpha = (fa / fb) * (fa / fb);
            pair.mpA1 = 1 + 2 / (alpha - 1);
            pair.mpB1 = 2 / (alpha - 1);
            pair.mpA2 = 2 * alpha / (alpha - 1);
            pair.mpB2 = 2 * alpha / (alpha - 1) - 1;
        }
        if (usable) {
            la = pair.la;
            lb = pair.lb;
            gf = la * phase[0]->value - lb * phase[1]->value;
            if (!newArc && sat.gfCount > 0) {
                const double dt = t - sat.t1;
                const double predicted =
                    sat.gfCount >= 2 && sat.t1 > sat.t2 ? sat.gf1 + (sat.gf1 - sat.gf2) * dt / (sat.t1 - sat.t2) : sat.gf1;
                if (std::fabs(gf - predicted) > geometryFreeThreshold(dt)) gfSlip = true;
            }
            if (code[0] && code[1]) {
                nw = (phase[0]->value - phase[1]->value) -
                     (fa * code[0]->value + fb * code[1]->value) * pair.narrowCode;
                if (!newArc && sat.mwCount > 0)
                    mwSlip = beyondWideLaneThreshold(nw - sat.mwMean, sat.mwM2, sat.mwCount);
            }
        }
        if (lli || gfSlip || mwSlip) {
            ++sat.slips;
            ++system.slips;
            if (lli) ++sat.lli;
            if (gfSlip) ++sat.gf;
            if (mwSlip) ++sat.mw;
            if (sat.slipTimes.size() < 200) sat.slipTimes.push_back(t);
            closeArc(sat, system);
        }
        if (usable) {
            sat.gf2 = sat.gf1;
            sat.t2 = sat.t1;
            sat.gf1 = gf;
            sat.t1 = t;
            ++sat.gfCount;
            if (code[0] && code[1]) {
                ++sat.mwCount;
                const double delta = nw - sat.mwMean;
                sat.mwMean += delta / double(sat.mwCount);
                sat.mwM2 += delta * (nw - sat.mwMean);
            }
            const double pa = la * phase[0]->value, pb = lb * phase[1]->value;
            double mp[2] = {0, 0};
            bool have[2] = {code[0] != nullptr, code[1] != nullptr};
            if (have[0]) mp[0] = code[0]->value - pair.mpA1 * pa + pair.mpB1 * pb;
            if (have[1]) mp[1] = code[1]->value - pair.mpA2 * pa + pair.mpB2 * pb;
            for (int f = 0; f < 2; ++f) {
                if (!have[f]) continue;
                MultipathArc& arc = sat.mp[f];
                if (arc.n == 0) arc.reference = mp[f];
                const double d = mp[f] - arc.reference;
                arc.sum += d;
                arc.sumSq += d * d;
                ++arc.n;
            }
        }
        sat.lastTime = t;
    }

    void sample(const Epoch& epoch, const PositionFix* fix) {
        if (epochIndex++ % sampleStride != 0) return;
        EpochSample e;
        e.time = epoch.time;
        e.satellites = int(epoch.satelliteCount);
        if (fix) {
            e.hasFix = true;
            e.used = fix->satellites;
            e.pdop = fix->pdop;
            e.position = fix->position;
        }
        samples.push_back(e);
        if (samples.size() >= options.maxPlotSamples) {
            size_t k = 0;
            for (size_t i = 0; i < samples.size(); i += 2)
                samples[k++] = samples[i];
            samples.resize(k);
            sampleStride *= 2;
        }
    }

    void closeOccupation() {
        if (!occupationOpen) return;
        occupationOpen = false;
        Occupation& o = occupations.back();
        if (o.epochs > 0) o.satsMean = double(occupationSatsSum) / double(o.epochs);
        if (o.positionEpochs > 0) {
            o.hasPosition = true;
            for (int i = 0; i < 3; ++i)
                o.position[size_t(i)] = occupationSum[i] / double(o.positionEpochs);
        }
    }

    void event(const Epoch& epoch) {
        if (epoch.flag == 3) {
            closeOccupation();
            Occupation o;
            for (const std::string& line : epoch.eventLines) {
                const std::string label = line.size() > 60 ? line.substr(60) : std::string();
                auto text = [&](size_t len) {
                    std::string v = line.substr(0, std::min(len, line.size()));
                    const size_t e = v.find_last_not_of(' ');
                    return e == std::string::npos ? std::string() : v.substr(0, e + 1);
                };
                if (label.compare(0, 11, "MARKER NAME") == 0) o.name = printable(text(60));
                if (label.compare(0, 13, "MARKER NUMBER") == 0) o.number = printable(text(20));
            }
            o.start = o.end = epoch.time;
            occupations.push_back(o);
            occupationOpen = true;
            occupationSatsSum = 0;
            occupationSum[0] = occupationSum[1] = occupationSum[2] = 0;
        } else if (epoch.flag == 2) {
            closeOccupation();
        }
    }

    void occupationEpoch(const Epoch& epoch, const PositionFix* fix) {
        if (!occupationOpen) return;
        Occupation& o = occupations.back();
        const int sats = int(epoch.satelliteCount);
        if (o.epochs == 0) {
            o.start = epoch.time;
            o.satsMin = sats;
        }
        o.end = epoch.time;
        ++o.epochs;
        o.satsMin = std::min(o.satsMin, sats);
        occupationSatsSum += sats;
        if (fix) {
            for (int i = 0; i < 3; ++i)
                occupationSum[i] += fix->position[size_t(i)];
            ++o.positionEpochs;
        }
    }

    // Positioning and elevations of an epoch, before its satellites; true with a fix.
    bool locate(const Epoch& epoch, PositionFix& fix) {
        const bool haveFix = position(epoch, fix);
        elevations(epoch.time);
        return haveFix;
    }

    // The elevations need no fix when the header gives the receiver's position.
    bool elevationsNeedNoFix() const {
        if (!header.hasApproxPosition) return false;
        const Vec3& p = header.approxPosition;
        return std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]) > 6.0e6;
    }

    bool position(const Epoch& epoch, PositionFix& fix) {
        bool haveFix = false;
        if (positioning && (options.positionInterval <= 0 || epoch.time < lastPositioned ||
                            epoch.time - lastPositioned >= options.positionInterval)) {
            lastPositioned = epoch.time;
            const Vec3* guess = hasFix ? &lastFix : header.hasApproxPosition ? &header.approxPosition : nullptr;
            haveFix = positioning->solve(epoch, guess, fix);
            if (haveFix) {
                if (!hasFix) reference = fix.position;
                hasFix = true;
                lastFix = fix.position;
                for (int i = 0; i < 3; ++i) {
                    const double d = fix.position[size_t(i)] - reference[size_t(i)];
                    sum[i] += d;
                    sumSq[i] += d * d;
                }
                ++fixes;
                usedSum += fix.satellites;
                ++pdopHistogram[size_t(std::min(kPdopBins, int(fix.pdop / kPdopBin)))];
            }
        }
        return haveFix;
    }

    void elevations(double t) {
        if (QualityCheck::startsVisibilityWindow(t, lastVisibility))
            updateVisibility(t, receiverForVisibility());
        for (auto& system : systems)
            system.expected += system.visibleNow;
    }

    // First pass: a step compared with the writer's interval so far.
    static bool beyondTrackedStep(double step, Tracking& tracker) {
        if (step > tracker.maxStep) {
            tracker.smallestBeyond = std::min(tracker.smallestBeyond, step);
            return true;
        }
        tracker.largestWithin = std::max(tracker.largestWithin, step);
        return false;
    }

    void trackEpoch(double t) {
        if (epochs == 0) {
            first = last = t;
        } else {
            const double step = t - last;
            if (step > 0 && beyondTrackedStep(step, tracking[0])) {
                ++gapCount;
                if (gaps.size() < 1000) gaps.push_back({last, t, 0}); // missing epochs: endTracking
            }
            last = std::max(last, t);
        }
        ++epochs;
    }

    // Column bits of a system's tracked columns for its slip bands as they stand.
    const ColumnMasks& columnMasks(int s) {
        ColumnMasks& m = trackedMasks[s];
        const char* bands = systems[s].bands;
        const int count = trackedColumnCount[s];
        if (m.count == count && m.bands[0] == bands[0] && m.bands[1] == bands[1]) return m;
        m = ColumnMasks{};
        m.count = count;
        m.bands[0] = bands[0];
        m.bands[1] = bands[1];
        for (int c = 0; c < count; ++c) {
            const TrackedColumn& column = trackedColumns[s][c];
            const uint64_t bit = uint64_t(1) << c;
            if (column.key >= 0) m.counted |= bit;
            for (int f = 0; f < 2; ++f)
                if (bands[f] && column.band == bands[f]) m.band[f] |= bit;
        }
        // Loss of lock counts on the slip bands (on any band without them).
        m.lossOfLock = bands[0] ? m.band[0] | m.band[1] : ~uint64_t(0);
        return m;
    }

    // A tracked column's signal index on its first value, in the window sums' range (beyond
    // it the first pass cannot follow).
    static int signalOfColumn(SystemAccumulator& system, TrackedColumn& column, Tracking& tracker) {
        int& si = system.signalIndex[size_t(column.key)];
        if (si < 0) {
            si = int(system.signals.size());
            system.signals.push_back(std::string{column.band, column.attribute});
            system.signal.emplace_back();
        }
        column.signal = si;
        if (si >= kWindowSignals) tracker.broken = true;
        return si;
    }

    // addSatellite without elevations, from the fields of a satellite line.
    void trackSatellite(const TrackedSatellite& in, double t, Tracking& tracker) {
        const int s = in.system;
        if (s < 0 || s >= kSystemCount || in.number < 1 || in.number > 63) return;
        SystemAccumulator& system = systems[s];
        SatelliteAccumulator& sat = satellites[s][in.number];
        system.tracked = true;
        const bool newArc =
            sat.lastTime < 0 || t <= sat.lastTime || beyondTrackedStep(t - sat.lastTime, tracker);
        startSatellite(sat, t, newArc);
        WindowSatellite& window = this->window[s][in.number];
        system.windowSatellites |= uint64_t(1) << in.number;
        window.lastTime = t;

        // The fields come in the order of the record's observations: column by column, and
        // code, phase, Doppler, strength within a column. The line's codes, phases and
        // loss-of-lock flags become column bits, the slip bands' columns found from them
        // afterwards: branches on them would follow the data. A system's columns are
        // distinct signals (trackColumn): each counts once per line.
        const ColumnMasks& masks = columnMasks(s);
        TrackedColumn* const columns = trackedColumns[s];
        FieldPatterns* const patterns = trackedFieldPatterns[s];
        uint32_t lineSignals = 0; // bit k: signal k counted for this line
        uint64_t codeBits = 0, phaseBits = 0, lockBits = 0;
        for (uint64_t left = in.columns; left != 0; left &= left - 1) {
            const int c = __builtin_ctzll(left);
            const TrackedSatellite::Column& values = in.column[c];
            const unsigned fields = values.fields;
            const uint64_t bit = uint64_t(1) << c;
            codeBits |= (fields & 1) && values.thousandths[0] != 0 ? bit : 0;
            phaseBits |= (fields & 2) && values.thousandths[1] != 0 ? bit : 0;
            lockBits |= values.lossOfLock & 2 ? bit : 0;
            if (!(masks.counted & bit)) continue;
            ++patterns[c][fields & 15];
            const int signal = columns[c].signal;
            const int k =
                (signal >= 0 ? signal : signalOfColumn(system, columns[c], tracker)) & (kWindowSignals - 1);
            // The signal's totals are the sums of its windows (closeWindow).
            lineSignals |= uint32_t(1) << k;
            WindowSignal& windowSignal = window.signal[k];
            ++windowSignal.epochs;
            // A strength in (0, 100) dB-Hz.
            const uint64_t strength = uint64_t(values.thousandths[3]);
            const bool strong = (fields & 8) && !(values.negative & 8) && strength - 1 < 99999;
            windowSignal.strengths += strong;
            windowSignal.strengthSum += strong ? strength : 0;
        }
        window.signalsUsed |= lineSignals;
        // Phases count in columns the check counts; codes in any column of their band.
        phaseBits &= masks.counted;
        const bool anyPhase = phaseBits != 0;
        const bool lossOfLock = (lockBits & phaseBits & masks.lossOfLock) != 0;
        // Each band's code: the first one of the phase's attribute, else the band's first.
        Observation phases[2], codes[2];
        const Observation* phase[2] = {nullptr, nullptr};
        const Observation* code[2] = {nullptr, nullptr};
        // They matter only with a phase on both bands.
        const bool dual = (phaseBits & masks.band[0]) != 0 && (phaseBits & masks.band[1]) != 0;
        for (int f = 0; f < 2 && dual; ++f) {
            const uint64_t bandPhases = phaseBits & masks.band[f];
            const int p = __builtin_ctzll(bandPhases);
            const char attribute = columns[p].attribute;
            const uint64_t bandCodes = codeBits & masks.band[f];
            int c = bandCodes != 0 ? __builtin_ctzll(bandCodes) : -1;
            if (c >= 0 && columns[c].attribute != attribute)
                for (uint64_t left = bandCodes; left != 0; left &= left - 1) {
                    const int k = __builtin_ctzll(left);
                    if (columns[k].attribute == attribute) {
                        c = k;
                        break;
                    }
                }
            const TrackedSatellite::Column& phaseValues = in.column[p];
            phases[f] = Observation{'L', columns[p].band, attribute, fieldValue(phaseValues, 1),
                                    (phaseValues.lossOfLock >> 1) & 1};
            phase[f] = &phases[f];
            if (c >= 0) {
                codes[f] =
                    Observation{'C', columns[c].band, columns[c].attribute, fieldValue(in.column[c], 0), 0};
                code[f] = &codes[f];
            }
        }
        arcs(sat, system, kSystemLetters[s], in.number, t, newArc, lossOfLock, anyPhase, false, phase, code,
             &tracker);
    }

    // The first pass's sums of the window, as bytes: per satellite its system index, number,
    // last time (double) and signal count, then per signal its index, epochs and strength
    // count (uint32) and strength sum (uint64, thousandths). The sums start again.
    void closeWindow(std::vector<uint8_t>& out, uint32_t systemMask) {
        for (int s = 0; s < kSystemCount; ++s) {
            if (!(systemMask >> s & 1)) continue;
            for (uint64_t left = systems[s].windowSatellites; left != 0; left &= left - 1) {
                const int n = __builtin_ctzll(left);
                WindowSatellite& w = window[s][n];
                out.push_back(uint8_t(s));
                out.push_back(uint8_t(n));
                appendBytes(out, w.lastTime);
                out.push_back(uint8_t(__builtin_popcount(w.signalsUsed)));
                for (uint32_t used = w.signalsUsed; used != 0; used &= used - 1) {
                    const int k = __builtin_ctz(used);
                    WindowSignal& signal = w.signal[k];
                    // The signal's totals (this thread's: the system is its tracker's).
                    SignalAccumulator& total = systems[s].signal[size_t(k)];
                    total.observations += signal.epochs;
                    total.cn0Thousandths += int64_t(signal.strengthSum);
                    total.cn0Count += signal.strengths;
                    out.push_back(uint8_t(k));
                    appendBytes(out, signal.epochs);
                    appendBytes(out, signal.strengths);
                    appendBytes(out, signal.strengthSum);
                    signal = WindowSignal{};
                }
                w.signalsUsed = 0;
            }
            systems[s].windowSatellites = 0;
        }
    }

    // The elevation part of addSatellite for a whole window's sums (closeWindow's bytes), after
    // updateVisibility at its start. False when the bytes end early.
    bool replayWindow(const uint8_t* p, size_t size) {
        const uint8_t* const end = p + size;
        const double mask = options.elevationMask * gnss::kPi / 180.0;
        while (p != end) {
            if (size_t(end - p) < kWindowSatelliteBytes) return false;
            const int s = p[0], number = p[1];
            const double lastTime = loadBytes<double>(p + 2);
            const int count = p[10];
            p += kWindowSatelliteBytes;
            if (size_t(end - p) < size_t(count) * kWindowSignalBytes) return false;
            if (s >= kSystemCount || number < 1 || number > 63) {
                p += size_t(count) * kWindowSignalBytes;
                continue;
            }
            SystemAccumulator& system = systems[s];
            SatelliteAccumulator& sat = satellites[s][number];
            const bool aboveMask = sat.hasElevation && sat.elevation >= mask;
            const int elevationBin = sat.hasElevation && sat.elevation >= 0
                                         ? std::min(17, int(sat.elevation * 180 / gnss::kPi / 5))
                                         : -1;
            for (int i = 0; i < count; ++i, p += kWindowSignalBytes) {
                const size_t k = p[0];
                if (k >= system.signal.size()) continue;
                SignalAccumulator& sig = system.signal[k];
                if (aboveMask) sig.aboveMask += loadBytes<uint32_t>(p + 1);
                if (elevationBin >= 0) {
                    sig.binThousandths[size_t(elevationBin)] += int64_t(loadBytes<uint64_t>(p + 9));
                    sig.binCount[size_t(elevationBin)] += loadBytes<uint32_t>(p + 5);
                }
            }
            sat.skySeen = true;
            sat.skyLastTime = lastTime;
        }
        return true;
    }
};

double fieldValue(const TrackedSatellite::Column& column, int k) {
    return fixedThreeDecimals(uint64_t(column.thousandths[k]), (column.negative >> k) & 1);
}

QualityCheck::QualityCheck(Options options) : s_(new State) {
    s_->options = options;
    for (int n = 0; n < 64; ++n)
        s_->trackedChannel[n] = s_->usedChannel[n] = kNoChannel;
}

QualityCheck::~QualityCheck() = default;

void QualityCheck::setHeader(const ObservationHeader& header) {
    s_->header = header;
    s_->hasHeader = true;
    if (header.interval > 0) {
        s_->interval = header.interval;
        s_->intervalFixed = true;
    }
    for (int s = 0; s < kSystemCount; ++s) {
        const char letter = kSystemLetters[s];
        const auto types = header.obsTypes.find(letter);
        auto hasPhase = [&](char band) {
            if (types == header.obsTypes.end()) return false;
            for (const std::string& t : types->second)
                if (t[0] == 'L' && t[1] == band) return true;
            return false;
        };
        chooseBands(letter, types != header.obsTypes.end(), hasPhase, s_->systems[s].bands);
    }
    if (s_->positioning) s_->positioning->setGlonassChannels(header.glonassChannels);
}

void QualityCheck::setNavigation(const Navigation* navigation) {
    s_->nav = navigation;
    if (navigation) navigation->buildIndex();
    s_->navSatellites = navigation ? navigation->satellites() : std::vector<std::pair<char, int>>{};
    if (navigation) {
        s_->positioning.reset(new PointPositioning(*navigation, s_->options.elevationMask));
        s_->positioning->setGlonassChannels(s_->header.glonassChannels);
    } else {
        s_->positioning.reset();
    }
}

void QualityCheck::addMessage(const std::string& message) {
    if (s_->messages.size() < 50) s_->messages.push_back(printable(message));
}

void QualityCheck::addEpoch(const Epoch& epoch) {
    State& s = *s_;
    if (!s.hasHeader) setHeader(ObservationHeader{});
    if (epoch.flag >= 2 && epoch.flag <= 5) {
        s.event(epoch);
        return;
    }
    if (epoch.flag == 6) { // cycle-slip records: each satellite listed slipped
        for (size_t i = 0; i < epoch.satelliteCount; ++i) {
            const SatelliteObservations& o = epoch.satellites[i];
            const int sys = systemIndex(o.system);
            if (sys >= kSystemCount || o.number < 1 || o.number > 63) continue;
            SatelliteAccumulator& sat = s.satellites[sys][o.number];
            ++sat.slips;
            ++sat.lli;
            ++s.systems[sys].slips;
            if (sat.slipTimes.size() < 200) sat.slipTimes.push_back(epoch.time);
            s.closeArc(sat, s.systems[sys]);
        }
        return;
    }
    if (epoch.flag > 6 || !std::isfinite(epoch.time)) return;
    s.span(epoch.time);

    PositionFix fix;
    const bool haveFix = s.locate(epoch, fix);
    for (size_t i = 0; i < epoch.satelliteCount; ++i)
        s.addSatellite(epoch.satellites[i], epoch.time, epoch.flag == 1);
    s.occupationEpoch(epoch, haveFix ? &fix : nullptr);
    s.sample(epoch, haveFix ? &fix : nullptr);
}

void QualityCheck::trackColumn(int system, int column, char band, char attribute, int tracker) {
    State& s = *s_;
    if (system < 0 || system >= kSystemCount) return; // satellites the check skips
    bool& broken = s.tracking[tracker].broken;
    if (column < 0 || column >= kTrackedColumns || column > s.trackedColumnCount[system]) {
        broken = true;
        return;
    }
    TrackedColumn& c = s.trackedColumns[system][column];
    if (column < s.trackedColumnCount[system]) {
        if (c.band != band || c.attribute != attribute) broken = true;
        return;
    }
    c.band = band;
    c.attribute = attribute;
    c.key = signalKey(band, attribute);
    c.signal = -1;
    // Two columns of one signal: the first pass counts a signal once per line by its column.
    for (int i = 0; i < column; ++i)
        if (c.key >= 0 && s.trackedColumns[system][i].key == c.key) broken = true;
    const int count = ++s.trackedColumnCount[system];
    // Every column lists a phase: the bands as the header will choose them, so far.
    char bands[2];
    chooseBands(kSystemLetters[system], true,
                [&](char b) {
                    for (int i = 0; i < count; ++i)
                        if (s.trackedColumns[system][i].band == b) return true;
                    return false;
                },
                bands);
    char* tracked = s.trackedBands[system];
    if (bands[0] != tracked[0] || bands[1] != tracked[1]) {
        if (s.systems[system].tracked) broken = true;
        tracked[0] = s.systems[system].bands[0] = bands[0];
        tracked[1] = s.systems[system].bands[1] = bands[1];
    }
}

void QualityCheck::trackGlonassChannel(int slot, int channel) {
    if (slot >= 1 && slot <= 63) s_->trackedChannel[slot] = channel;
}

void QualityCheck::trackInterval(double seconds, int tracker) {
    s_->tracking[tracker].maxStep = 1.5 * seconds;
}

void QualityCheck::trackEpoch(double time) {
    s_->trackEpoch(time);
}

void QualityCheck::trackSatellite(const TrackedSatellite& satellite, double time, int tracker) {
    s_->trackSatellite(satellite, time, s_->tracking[tracker]);
}

void QualityCheck::trackingFailed(int tracker) {
    s_->tracking[tracker].broken = true;
}

bool QualityCheck::endTracking() {
    State& s = *s_;
    // Without an interval in the header the check's interval follows the steps it meets.
    if (!s.intervalFixed || !(s.interval > 0)) return false;
    const double maxStep = 1.5 * s.interval;
    for (const State::Tracking& t : s.tracking)
        if (t.broken || t.largestWithin > maxStep || !(t.smallestBeyond > maxStep)) return false;
    static const char kTypes[] = "CLDS";
    for (int sys = 0; sys < kSystemCount; ++sys) {
        if (!s.systems[sys].tracked) continue;
        const auto types = s.header.obsTypes.find(kSystemLetters[sys]);
        const int count = s.trackedColumnCount[sys];
        if (types == s.header.obsTypes.end() || types->second.size() != size_t(4 * count)) return false;
        for (int c = 0; c < count; ++c)
            for (int k = 0; k < 4; ++k) {
                const std::string& t = types->second[size_t(4 * c + k)];
                const TrackedColumn& column = s.trackedColumns[sys][c];
                if (t.size() != 3 || t[0] != kTypes[k] || t[1] != column.band || t[2] != column.attribute) return false;
            }
        if (s.systems[sys].bands[0] != s.trackedBands[sys][0] || s.systems[sys].bands[1] != s.trackedBands[sys][1])
            return false;
    }
    for (int n = 1; n < 64; ++n) {
        if (s.usedChannel[n] == kNoChannel) continue;
        const auto it = s.header.glonassChannels.find(n);
        if (it == s.header.glonassChannels.end() || it->second != s.usedChannel[n]) return false;
    }
    // The header agrees: the counts go to their codes, the gaps get their missing epochs.
    for (int sys = 0; sys < kSystemCount; ++sys) {
        SystemAccumulator& system = s.systems[sys];
        for (int c = 0; c < s.trackedColumnCount[sys]; ++c) {
            const TrackedColumn& column = s.trackedColumns[sys][c];
            if (column.key < 0) continue;
            for (int k = 0; k < 4; ++k) {
                long n = 0;
                for (int pattern = 0; pattern < 16; ++pattern)
                    if (pattern >> k & 1) n += s.trackedFieldPatterns[sys][c][pattern];
                if (n == 0) continue;
                int& ci = system.codeIndex[size_t(k * 260 + column.key)];
                if (ci < 0) {
                    ci = int(system.codes.size());
                    system.codes.push_back(std::string{kTypes[k], column.band, column.attribute});
                    system.codeCounts.push_back(0);
                }
                system.codeCounts[size_t(ci)] += n;
            }
        }
    }
    for (Gap& gap : s.gaps)
        gap.missingEpochs = std::max(0L, long(std::llround((gap.end - gap.start) / s.interval)) - 1);
    return true;
}

bool QualityCheck::startsVisibilityWindow(double time, double windowStart) {
    return !(time - windowStart < kVisibilityStep && time >= windowStart);
}

void QualityCheck::closeTrackedWindow(std::vector<uint8_t>& out, uint32_t systems) {
    s_->closeWindow(out, systems);
}

uint32_t QualityCheck::trackedSystems(uint32_t letters) {
    uint32_t systems = 0;
    for (int s = 0; s < kSystemCount; ++s)
        if (letters >> (kSystemLetters[s] - 'A') & 1) systems |= uint32_t(1) << s;
    return systems;
}

bool QualityCheck::replayHalvesApart() const {
    // Without navigation data neither half has much to do: no second thread for it.
    return s_->positioning && s_->elevationsNeedNoFix();
}

void QualityCheck::replayPositions(const Epoch& epoch, bool windowStart) {
    State& s = *s_;
    PositionFix fix;
    const bool haveFix = s.position(epoch, fix);
    // Without the header's position the window's elevations are seen from this fix.
    if (windowStart && !s.elevationsNeedNoFix()) s.windowReceiver = s.receiverForVisibility();
    s.occupationEpoch(epoch, haveFix ? &fix : nullptr);
    s.sample(epoch, haveFix ? &fix : nullptr);
}

bool QualityCheck::replayWindow(double start, long epochs, const uint8_t* satellites, size_t size) {
    State& s = *s_;
    s.updateVisibility(start, s.elevationsNeedNoFix() ? s.header.approxPosition : s.windowReceiver);
    for (auto& system : s.systems)
        system.expected += system.visibleNow * epochs;
    return s.replayWindow(satellites, size);
}

bool QualityCheck::replayWindowSums(const uint8_t* sums, size_t size) {
    return s_->replayWindow(sums, size);
}

void QualityCheck::replayEvent(const Epoch& epoch) {
    if (epoch.flag >= 2 && epoch.flag <= 5) s_->event(epoch);
}

Report QualityCheck::finish() {
    State& s = *s_;
    s.fixInterval();
    s.closeOccupation();
    Report r;
    r.markerName = printable(s.header.markerName);
    r.markerNumber = printable(s.header.markerNumber);
    r.receiverType = printable(s.header.receiverType);
    r.antennaType = printable(s.header.antennaType);
    r.hasHeaderPosition = s.header.hasApproxPosition;
    r.headerPosition = s.header.approxPosition;
    r.epochs = s.epochs;
    r.interval = s.interval;
    r.first = s.first;
    r.last = s.last;
    r.gaps = s.gaps;
    r.gapCount = s.gapCount;
    r.hasNavigation = s.nav && !s.nav->empty();
    r.hasCompleteness = s.visibilityAvailable;
    r.elevationMask = s.options.elevationMask;
    r.messages = s.messages;

    for (int sys = 0; sys < kSystemCount; ++sys) {
        SystemAccumulator& system = s.systems[sys];
        int seen = 0;
        for (int n = 1; n < 64; ++n) {
            SatelliteAccumulator& sat = s.satellites[sys][n];
            if (!sat.seen) continue;
            ++seen;
            s.closeArc(sat, system);
            SatelliteSummary summary;
            summary.system = kSystemLetters[sys];
            summary.number = n;
            summary.epochs = sat.epochs;
            summary.slips = sat.slips;
            summary.lliSlips = sat.lli;
            summary.gfSlips = sat.gf;
            summary.mwSlips = sat.mw;
            summary.runs = sat.runs;
            summary.slipTimes = sat.slipTimes;
            summary.sky = sat.sky;
            r.satellites.push_back(std::move(summary));
        }
        if (seen == 0 && system.codes.empty()) continue;
        SystemSummary& out = r.systems[kSystemLetters[sys]];
        out.satellites = seen;
        for (size_t k = 0; k < system.codes.size(); ++k)
            out.observations[system.codes[k]] = system.codeCounts[k];
        for (size_t k = 0; k < system.signals.size(); ++k) {
            const SignalAccumulator& a = system.signal[k];
            SignalSummary& sig = out.signals[system.signals[k]];
            sig.observations = a.observations;
            sig.cn0Count = a.cn0Count;
            sig.cn0Mean = a.cn0Count ? double(a.cn0Thousandths) / 1000.0 / double(a.cn0Count) : 0;
            if (s.visibilityAvailable && system.expected > 0) {
                sig.hasCompleteness = true;
                sig.completeness = double(a.aboveMask) / double(system.expected);
            }
            if (a.cn0Count) {
                Cn0Curve curve;
                curve.system = kSystemLetters[sys];
                curve.signal = system.signals[k];
                bool any = false;
                for (size_t b = 0; b < 18; ++b) {
                    curve.count[b] = a.binCount[b];
                    curve.mean[b] =
                        a.binCount[b] ? double(a.binThousandths[b]) / 1000.0 / double(a.binCount[b]) : 0;
                    any = any || a.binCount[b] > 0;
                }
                if (any) r.cn0Curves.push_back(curve);
            }
        }
        out.slips = system.slips;
        out.phaseEpochs = system.phaseEpochs;
        for (int f = 0; f < 2; ++f)
            if (system.mpCount[f] > 0) {
                out.multipathRms[system.bands[f]] = std::sqrt(std::max(0.0, system.mpSumSq[f]) / double(system.mpCount[f]));
                out.multipathCount[system.bands[f]] = system.mpCount[f];
            }
    }

    PositionSummary& p = r.position;
    if (s.fixes > 0) {
        p.valid = true;
        p.epochs = s.fixes;
        double scatter = 0;
        for (int i = 0; i < 3; ++i) {
            const double mean = s.sum[i] / double(s.fixes);
            p.mean[size_t(i)] = s.reference[size_t(i)] + mean;
            scatter += s.sumSq[i] / double(s.fixes) - mean * mean;
        }
        p.rms3d = std::sqrt(std::max(0.0, scatter));
        const gnss::Geodetic g = gnss::geodeticOf(p.mean);
        p.lat = g.latitude * 180 / gnss::kPi;
        p.lon = g.longitude * 180 / gnss::kPi;
        p.height = g.height;
        p.satellitesMean = double(s.usedSum) / double(s.fixes);
        long half = (s.fixes + 1) / 2, seen = 0;
        for (int b = 0; b <= kPdopBins; ++b) {
            seen += s.pdopHistogram[size_t(b)];
            if (seen >= half) {
                p.pdopMedian = (b + 0.5) * kPdopBin;
                break;
            }
        }
        const Vec3& h = s.header.approxPosition;
        if (s.header.hasApproxPosition && std::sqrt(h[0] * h[0] + h[1] * h[1] + h[2] * h[2]) > 1.0) {
            p.hasHeaderOffset = true;
            p.headerOffset = gnss::distance(p.mean, h);
            p.headerOffsetFlagged = p.headerOffset > s.options.headerOffsetLimit;
        }
    }
    r.occupations = s.occupations;
    r.samples = s.samples;

    if (!s.nav || s.nav->empty()) {
        r.messages.push_back("no navigation data: no elevations, completeness or positions");
        r.positionProblem = "no navigation data";
    } else if (!s.visibilityAvailable && s.epochs > 0) {
        r.messages.push_back("the navigation data does not cover the observation times (a file of another day?): "
                             "no elevations, completeness or positions");
        r.positionProblem = "the navigation data are of other times (a file of another day?)";
    } else if (s.fixes == 0 && s.epochs > 0) {
        r.messages.push_back("no epoch could be positioned (too few satellites with usable ephemerides)");
        r.positionProblem = "too few satellites with usable ephemerides";
    }
    if (s.epochs == 0) r.messages.push_back("no observation epochs");
    else if (s.epochs == 1) r.messages.push_back("a single epoch: no interval, gaps or slips");
    if (r.position.headerOffsetFlagged)
        r.messages.push_back("the header position is " + std::to_string(long(std::lround(p.headerOffset))) +
                             " m from the computed position");
    return r;
}

} // namespace quality
