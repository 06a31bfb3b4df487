// SPDX-License-Identifier: MIT
#pragma once
// Broadcast navigation data for the quality check: the ephemerides of every satellite, the
// ionosphere coefficients, and the choice of the record that applies at a given time.
#include <array>
#include <cstdint>
#include <istream>
#include <string>
#include <unordered_set>
#include <vector>

#include "quality/broadcast_orbits.h"

namespace quality {

class Navigation {
public:
    // Adds the records of a RINEX 3 navigation file. False with a message when the input is
    // not one; malformed records are skipped and counted in problems().
    bool read(std::istream& in, std::string& error);

    void add(const KeplerEphemeris& eph);
    void add(const GlonassEphemeris& eph);
    void setKlobuchar(const std::array<double, 4>& alpha, const std::array<double, 4>& beta);
    void setLeapSeconds(int seconds) { leapSeconds_ = seconds; }

    // The healthy record closest to t within its system's validity, or nullptr.
    const KeplerEphemeris* kepler(char system, int number, double t) const;
    const GlonassEphemeris* glonass(int number, double t) const;
    // Position and clock at transmission time t; false without a usable record.
    bool state(char system, int number, double t, SatelliteState& out) const;
    // GLONASS orbits are integrated on from the last state computed; a user with a cache of
    // its own gets results that do not depend on what other users asked for, and may ask from
    // another thread (after buildIndex, while no record is added).
    struct OrbitCache {
        GlonassCache glonass[64];
        uint64_t generation = 0;
    };
    bool state(char system, int number, double t, SatelliteState& out, OrbitCache& cache) const;
    // The clock of state() alone (the same record, the same value), without the orbit.
    bool clock(char system, int number, double t, double& out) const;
    // Builds the index of the records now instead of at the first lookup.
    void buildIndex() const { order(); }

    bool hasKlobuchar() const { return hasKlobuchar_; }
    const std::array<double, 4>& alpha() const { return alpha_; }
    const std::array<double, 4>& beta() const { return beta_; }
    size_t recordCount() const;
    bool empty() const { return recordCount() == 0; }
    // Earliest and latest reference time of the records (GPS seconds), 0 when empty.
    double firstTime() const;
    double lastTime() const;
    // Satellites with at least one record, as (system, number).
    std::vector<std::pair<char, int>> satellites() const;
    const std::vector<std::string>& problems() const { return problems_; }

private:
    void order() const;

    // What tells a record from a repeat of it: reference times (and the Galileo message).
    struct RecordKey {
        double toe, toc;
        bool fnav;
        bool operator==(const RecordKey& o) const { return toe == o.toe && toc == o.toc && fnav == o.fnav; }
    };
    struct RecordKeyHash {
        size_t operator()(const RecordKey& k) const;
    };
    // False when the list already holds the record; a record whose times are not numbers is
    // never a repeat.
    static bool firstOfItsKind(std::unordered_set<RecordKey, RecordKeyHash>& seen, const RecordKey& key);

    std::vector<KeplerEphemeris> kepler_[8][64]; // per system index and satellite number
    std::vector<GlonassEphemeris> glonass_[64];
    // The records' keys, so that a repeat is found without a scan of the list: boards that log
    // on change write thousands of records a day per satellite.
    std::unordered_set<RecordKey, RecordKeyHash> keplerKeys_[8][64];
    std::unordered_set<RecordKey, RecordKeyHash> glonassKeys_[64];
    // The records' positions in their lists, by reference time (then by position): a lookup
    // looks only at the records around its time, however many a day of data holds.
    mutable std::vector<uint32_t> keplerOrder_[8][64];
    mutable std::vector<uint32_t> glonassOrder_[64];
    mutable bool ordered_ = true;
    std::array<double, 4> alpha_{}, beta_{};
    bool hasKlobuchar_ = false;
    int leapSeconds_ = -1;
    std::vector<std::string> problems_;
    uint64_t generation_ = 1; // changes with every record added: caches of older ones are void
    mutable OrbitCache cache_;
};

} // namespace quality
