// SPDX-License-Identifier: MIT
#include "quality/navigation.h"

#include <algorithm>
#include <cmath>

#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "quality/gnss_time.h"
#include "quality/rinex_obs_reader.h"
#include "quality/text_fields.h"

namespace quality {

namespace {

// How far from its reference time a record is used, s.
double validityOf(char system) {
    return system == 'R' ? 3600.0 : 3 * 3600.0;
}

// A continuous time from seconds of week, taken in the week closest to a nearby time.
double nearWeek(double secondsOfWeekValue, double near) {
    double t = std::floor(near / double(gnss::kSecondsPerWeek)) * double(gnss::kSecondsPerWeek) + secondsOfWeekValue;
    if (t - near > double(gnss::kSecondsPerWeek) / 2) t -= double(gnss::kSecondsPerWeek);
    if (near - t > double(gnss::kSecondsPerWeek) / 2) t += double(gnss::kSecondsPerWeek);
    return t;
}

struct Record {
    char system = ' ';
    int number = 0;
    double epoch = 0; // calendar epoch read as GPS seconds (in the record's own time system)
    std::vector<double> values;
    std::vector<bool> present;
};

bool parseRecordStart(const std::string& line, Record& r) {
    if (line.size() < 23) return false;
    r.system = line[0];
    double n = 0, v[6];
    if (!numberAt(line, 1, 2, n) || n < 1 || n > 63) return false;
    r.number = int(n);
    const size_t at[6] = {4, 9, 12, 15, 18, 21};
    const size_t len[6] = {4, 2, 2, 2, 2, 2};
    for (int i = 0; i < 6; ++i)
        if (!numberAt(line, at[i], len[i], v[i])) return false;
    if (v[0] < 1980 || v[0] > 2200 || v[1] < 1 || v[1] > 12 || v[2] < 1 || v[2] > 31 || v[3] < 0 || v[3] > 23 ||
        v[4] < 0 || v[4] > 59 || v[5] < 0 || v[5] > 60)
        return false;
    r.epoch = gpsSecondsOf(int(v[0]), int(v[1]), int(v[2]), int(v[3]), int(v[4]), v[5]);
    r.values.clear();
    r.present.clear();
    for (size_t k = 0; k < 3; ++k) {
        double x = 0;
        const bool ok = numberAt(line, 23 + 19 * k, 19, x);
        r.values.push_back(ok ? x : 0);
        r.present.push_back(ok);
    }
    return true;
}

void parseOrbitLine(const std::string& line, Record& r) {
    for (size_t k = 0; k < 4; ++k) {
        double x = 0;
        const bool ok = numberAt(line, 4 + 19 * k, 19, x);
        r.values.push_back(ok ? x : 0);
        r.present.push_back(ok);
    }
}

bool toKepler(const Record& r, KeplerEphemeris& e) {
    if (r.values.size() < 27) return false;
    for (int i : {0, 4, 6, 8, 10, 11, 13, 15, 17, 18})
        if (!r.present[size_t(i)]) return false;
    const auto& v = r.values;
    e.system = r.system;
    e.number = r.number;
    const double shift = r.system == 'C' ? double(gnss::kBeidouSecondsBehindGps) : 0.0;
    e.toc = r.epoch + shift;
    e.af0 = v[0];
    e.af1 = v[1];
    e.af2 = v[2];
    e.crs = v[4];
    e.deltaN = v[5];
    e.m0 = v[6];
    e.cuc = v[7];
    e.e = v[8];
    e.cus = v[9];
    e.sqrtA = v[10];
    e.toeOfWeek = v[11];
    e.toe = nearWeek(v[11], r.epoch) + shift;
    e.cic = v[12];
    e.omega0 = v[13];
    e.cis = v[14];
    e.i0 = v[15];
    e.crc = v[16];
    e.omega = v[17];
    e.omegaDot = v[18];
    e.idot = v[19];
    e.healthy = !(v[24] != 0);
    if (r.system == 'E') {
        const long source = v[20] >= 0 && v[20] < 1e9 ? long(v[20]) : 0; // data-source bits
        e.galileoFnav = (source & 2) != 0 && (source & 5) == 0;
        e.groupDelay = e.galileoFnav ? v[25] : v[26];
    } else {
        e.groupDelay = v[25];
    }
    if (!(e.sqrtA > 1000 && e.sqrtA < 10000 && e.e >= 0 && e.e < 0.5 && std::fabs(e.af0) < 1)) return false;
    for (double x : v)
        if (!std::isfinite(x)) return false;
    return true;
}

bool toGlonass(const Record& r, int leap, GlonassEphemeris& g) {
    if (r.values.size() < 15) return false;
    const auto& v = r.values;
    for (double x : v)
        if (!std::isfinite(x)) return false;
    g.number = r.number;
    g.toc = r.epoch + (leap >= 0 ? leap : gpsMinusUtcAt(r.epoch));
    g.clockBias = v[0];
    g.relativeFreq = v[1];
    g.position = {v[3] * 1e3, v[7] * 1e3, v[11] * 1e3};
    g.velocity = {v[4] * 1e3, v[8] * 1e3, v[12] * 1e3};
    g.acceleration = {v[5] * 1e3, v[9] * 1e3, v[13] * 1e3};
    g.healthy = v[6] == 0;
    g.channel = v[10] >= -7 && v[10] <= 6 ? int(v[10]) : 99; // 99: unknown
    const double radius = std::sqrt(g.position[0] * g.position[0] + g.position[1] * g.position[1] +
                                    g.position[2] * g.position[2]);
    return radius > 2.0e7 && radius < 3.0e7 && std::fabs(g.clockBias) < 1;
}

} // namespace

bool Navigation::read(std::istream& in, std::string& error) {
    std::string line;
    long lineNumber = 0;
    bool first = true;
    int leap = leapSeconds_;
    auto getLine = [&]() {
        if (!std::getline(in, line)) return false;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return true;
    };
    // Header.
    std::array<double, 4> alpha{}, beta{};
    bool hasAlpha = false, hasBeta = false;
    for (;;) {
        if (!getLine()) {
            error = first ? "empty input" : "the navigation header has no END OF HEADER line";
            return false;
        }
        const std::string label = trimmed(field(line, 60, 20));
        if (first) {
            const double version = numberOr(field(line, 0, 9), 0);
            const char type = line.size() > 20 ? line[20] : ' ';
            if (label != "RINEX VERSION / TYPE" || version < 3.0 || version >= 4.0 || type != 'N') {
                error = "not a RINEX 3 navigation file";
                return false;
            }
            first = false;
        }
        if (label == "END OF HEADER") break;
        if (lineNumber > 5000) {
            error = "the navigation header has no END OF HEADER line";
            return false;
        }
        if (label == "IONOSPHERIC CORR") {
            const std::string type = trimmed(field(line, 0, 4));
            std::array<double, 4> values{};
            bool ok = true;
            for (size_t k = 0; k < 4; ++k)
                ok = ok && numberAt(line, 5 + 12 * k, 12, values[k]);
            if (ok && type == "GPSA") {
                alpha = values;
                hasAlpha = true;
            } else if (ok && type == "GPSB") {
                beta = values;
                hasBeta = true;
            }
        } else if (label == "LEAP SECONDS") {
            double v = 0;
            if (numberAt(line, 0, 6, v) && v >= 0 && v < 100) leap = int(v);
        }
    }
    if (hasAlpha && hasBeta) setKlobuchar(alpha, beta);
    if (leap >= 0 && leapSeconds_ < 0) leapSeconds_ = leap;

    Record record;
    bool inRecord = false;
    auto finish = [&]() {
        if (!inRecord) return;
        inRecord = false;
        if (record.system == 'R') {
            GlonassEphemeris g;
            if (toGlonass(record, leapSeconds_, g))
                add(g);
            else if (problems_.size() < 20)
                problems_.push_back("navigation: unusable GLONASS record before line " + std::to_string(lineNumber));
        } else if (record.system == 'G' || record.system == 'E' || record.system == 'C' || record.system == 'J') {
            KeplerEphemeris e;
            if (toKepler(record, e))
                add(e);
            else if (problems_.size() < 20)
                problems_.push_back("navigation: unusable record before line " + std::to_string(lineNumber));
        }
    };
    while (getLine()) {
        if (line.find_first_not_of(' ') == std::string::npos) continue;
        if (line.size() > 4 && line.compare(0, 4, "    ") == 0) {
            if (inRecord && record.values.size() < 60) parseOrbitLine(line, record);
            continue;
        }
        finish();
        if (parseRecordStart(line, record))
            inRecord = true;
        else if (problems_.size() < 20)
            problems_.push_back("navigation line " + std::to_string(lineNumber) + ": malformed record, skipped");
    }
    finish();
    return true;
}

size_t Navigation::RecordKeyHash::operator()(const RecordKey& k) const {
    // Adding 0.0 makes -0.0 and 0.0, which compare equal, hash alike.
    const std::hash<double> h;
    return h(k.toe + 0.0) * 31 ^ h(k.toc + 0.0) ^ size_t(k.fnav);
}

bool Navigation::firstOfItsKind(std::unordered_set<RecordKey, RecordKeyHash>& seen, const RecordKey& key) {
    if (std::isnan(key.toe) || std::isnan(key.toc)) return true;
    return seen.insert(key).second;
}

void Navigation::add(const KeplerEphemeris& eph) {
    if (eph.number < 1 || eph.number > 63) return;
    const int s = systemIndex(eph.system);
    if (!firstOfItsKind(keplerKeys_[s][eph.number], RecordKey{eph.toe, eph.toc, eph.galileoFnav}))
        return; // the same record again
    kepler_[s][eph.number].push_back(eph);
    ordered_ = false;
}

void Navigation::add(const GlonassEphemeris& eph) {
    if (eph.number < 1 || eph.number > 63) return;
    if (!firstOfItsKind(glonassKeys_[eph.number], RecordKey{0, eph.toc, false})) return;
    glonass_[eph.number].push_back(eph);
    ordered_ = false;
    ++generation_; // the vector may have moved
}

void Navigation::setKlobuchar(const std::array<double, 4>& alpha, const std::array<double, 4>& beta) {
    alpha_ = alpha;
    beta_ = beta;
    hasKlobuchar_ = true;
}

namespace {

// Positions of the records, by reference time and then by position. A record without a
// finite reference time is never chosen (its age compares with nothing) and is left out.
template <typename Record, typename Reference>
void orderBy(const std::vector<Record>& records, std::vector<uint32_t>& order, Reference reference) {
    order.clear();
    for (uint32_t i = 0; i < records.size(); ++i)
        if (std::isfinite(reference(records[i]))) order.push_back(i);
    std::stable_sort(order.begin(), order.end(),
                     [&](uint32_t a, uint32_t b) { return reference(records[a]) < reference(records[b]); });
}

// The accepted record of least age |t - reference| up to limit, and among records of equal
// age the last in the list: the one a scan of the whole list in its order keeps when it
// takes every record whose age is not above the best so far. Ages grow away from t in both
// directions of the ordered positions, so the search stops at the first age above the best.
template <typename Record, typename Reference, typename Accept>
const Record* nearest(const std::vector<Record>& records, const std::vector<uint32_t>& order, double t, double limit,
                      Reference reference, Accept accept) {
    const auto split = std::lower_bound(order.begin(), order.end(), t,
                                        [&](uint32_t i, double time) { return reference(records[i]) < time; });
    const Record* best = nullptr;
    double bestAge = limit;
    int64_t bestPosition = -1;
    const auto consider = [&](uint32_t i) {
        const Record& r = records[i];
        const double age = std::fabs(t - reference(r));
        if (!(age <= bestAge)) return false;
        if (accept(r) && (age < bestAge || int64_t(i) > bestPosition)) {
            best = &r;
            bestAge = age;
            bestPosition = int64_t(i);
        }
        return true;
    };
    for (auto it = split; it != order.begin();)
        if (!consider(*--it)) break;
    for (auto it = split; it != order.end(); ++it)
        if (!consider(*it)) break;
    return best;
}

double toeOf(const KeplerEphemeris& e) {
    return e.toe;
}
double tocOf(const GlonassEphemeris& g) {
    return g.toc;
}

} // namespace

void Navigation::order() const {
    if (ordered_) return;
    for (int s = 0; s < 8; ++s)
        for (int n = 0; n < 64; ++n)
            orderBy(kepler_[s][n], keplerOrder_[s][n], toeOf);
    for (int n = 0; n < 64; ++n)
        orderBy(glonass_[n], glonassOrder_[n], tocOf);
    ordered_ = true;
}

const KeplerEphemeris* Navigation::kepler(char system, int number, double t) const {
    if (number < 1 || number > 63) return nullptr;
    order();
    const int s = systemIndex(system);
    // Galileo: an I/NAV record when there is one, else an F/NAV record.
    for (int pass = 0; pass < 2; ++pass) {
        const KeplerEphemeris* best =
            nearest(kepler_[s][number], keplerOrder_[s][number], t, validityOf(system), toeOf,
                    [&](const KeplerEphemeris& e) { return e.healthy && (system != 'E' || e.galileoFnav == (pass == 1)); });
        if (best || system != 'E') return best;
    }
    return nullptr;
}

const GlonassEphemeris* Navigation::glonass(int number, double t) const {
    if (number < 1 || number > 63) return nullptr;
    order();
    return nearest(glonass_[number], glonassOrder_[number], t, validityOf('R'), tocOf,
                   [](const GlonassEphemeris& g) { return g.healthy; });
}

bool Navigation::state(char system, int number, double t, SatelliteState& out) const {
    return state(system, number, t, out, cache_);
}

bool Navigation::state(char system, int number, double t, SatelliteState& out, OrbitCache& cache) const {
    if (system == 'R') {
        const GlonassEphemeris* g = glonass(number, t);
        if (!g) return false;
        if (cache.generation != generation_) {
            for (GlonassCache& c : cache.glonass)
                c = GlonassCache{};
            cache.generation = generation_;
        }
        out = glonassState(*g, t, number >= 1 && number < 64 ? &cache.glonass[number] : nullptr);
        return true;
    }
    const KeplerEphemeris* e = kepler(system, number, t);
    if (!e) return false;
    out = keplerState(*e, t);
    return true;
}

bool Navigation::clock(char system, int number, double t, double& out) const {
    if (system == 'R') {
        const GlonassEphemeris* g = glonass(number, t);
        if (!g) return false;
        out = glonassClock(*g, t);
        return true;
    }
    const KeplerEphemeris* e = kepler(system, number, t);
    if (!e) return false;
    out = keplerClock(*e, t);
    return true;
}

size_t Navigation::recordCount() const {
    size_t n = 0;
    for (const auto& list : glonass_)
        n += list.size();
    for (const auto& system : kepler_)
        for (const auto& list : system)
            n += list.size();
    return n;
}

double Navigation::firstTime() const {
    double t = 0;
    bool any = false;
    for (const auto& system : kepler_)
        for (const auto& list : system)
            for (const auto& e : list) {
                t = any ? std::min(t, e.toe) : e.toe;
                any = true;
            }
    for (const auto& list : glonass_)
        for (const auto& g : list) {
            t = any ? std::min(t, g.toc) : g.toc;
            any = true;
        }
    return t;
}

double Navigation::lastTime() const {
    double t = 0;
    for (const auto& system : kepler_)
        for (const auto& list : system)
            for (const auto& e : list)
                t = std::max(t, e.toe);
    for (const auto& list : glonass_)
        for (const auto& g : list)
            t = std::max(t, g.toc);
    return t;
}

std::vector<std::pair<char, int>> Navigation::satellites() const {
    std::vector<std::pair<char, int>> out;
    for (const auto& system : kepler_)
        for (const auto& list : system)
            if (!list.empty()) out.emplace_back(list.front().system, list.front().number);
    for (const auto& list : glonass_)
        if (!list.empty()) out.emplace_back('R', list.front().number);
    std::sort(out.begin(), out.end());
    return out;
}

} // namespace quality
