// SPDX-License-Identifier: MIT
// Real station observations encoded as RANGE, RANGECMP and RANGECMP2 frames and decoded back.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "decoding/log_header.h"
#include "decoding/range_decoders.h"
#include "encoder/range_encoder.h"
#include "gnss/constants.h"
#include "rinex_input/rinex_obs_reader.h"

using namespace decoding;
using encoding::RangeSignal;

namespace {

constexpr double kC = gnss::kSpeedOfLight;

const std::string kFile =
    std::string(VELMOOR_TEST_DATA) + "/rinex/CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx";

// One RINEX satellite signal: its C, L, D and S values (blank = absent).
struct Source {
    char letter = ' ';
    int satellite = 0;
    std::string code;
    bool hasC = false, hasL = false, hasD = false, hasS = false;
    double c = 0, l = 0, d = 0, s = 0;
};

using Key = std::tuple<char, int, std::string>;

std::vector<Source> sourcesOf(const rinex_input::ObsHeader& header, const rinex_input::ObsEpoch& epoch) {
    std::vector<Source> out;
    for (const rinex_input::SatelliteObs& sat : epoch.satellites) {
        const auto types = header.obsTypes.find(sat.system);
        if (types == header.obsTypes.end()) continue;
        std::map<std::string, Source> byCode; // keyed by the two-character code
        for (size_t k = 0; k < types->second.size() && k < sat.values.size(); ++k) {
            const std::string& type = types->second[k];
            const rinex_input::ObsValue& v = sat.values[k];
            Source& s = byCode[type.substr(1)];
            s.letter = sat.system;
            s.satellite = sat.number;
            s.code = type.substr(1);
            if (!v.present) continue;
            switch (type[0]) {
            case 'C':
                s.hasC = true, s.c = v.value;
                break;
            case 'L':
                s.hasL = true, s.l = v.value;
                break;
            case 'D':
                s.hasD = true, s.d = v.value;
                break;
            case 'S':
                s.hasS = true, s.s = v.value;
                break;
            }
        }
        for (auto& [code, s] : byCode)
            if (s.hasC || s.hasL || s.hasD || s.hasS) out.push_back(s);
    }
    return out;
}

struct EncodedEpoch {
    std::vector<Source> sources; // those with a row in the signal table
    std::vector<RangeSignal> inputs;
};

EncodedEpoch signalsOf(const rinex_input::ObsHeader& header, const rinex_input::ObsEpoch& epoch,
                       std::set<std::string>* skipped = nullptr) {
    EncodedEpoch e;
    for (const Source& s : sourcesOf(header, epoch)) {
        const SatSystem system = encoding::systemOfLetter(s.letter);
        const SignalInfo* row = encoding::signalForRinexCode(system, s.code.c_str(), 0);
        if (!row) {
            if (skipped) skipped->insert(std::string(1, s.letter) + s.code);
            continue;
        }
        RangeSignal r;
        r.system = system;
        r.satellite = s.satellite;
        if (system == SystemGlonass) r.glonassChannel = header.glonassSlots.at(s.satellite);
        r.signal = row;
        r.pseudorange = s.c;
        r.pseudorangeStd = 0.1;
        r.carrierPhase = -s.l; // the board logs the negated RINEX phase
        r.carrierPhaseStd = 0.01;
        r.doppler = s.d;
        r.cn0 = s.s;
        r.lockTime = 60;
        r.codeLocked = s.hasC;
        r.phaseLocked = s.hasL;
        r.parityKnown = s.hasL;
        e.sources.push_back(s);
        e.inputs.push_back(r);
    }
    return e;
}

const rinex_input::ObsFile& file() {
    static const rinex_input::ObsFile f = rinex_input::readObsFile(kFile);
    return f;
}

encoding::FrameStamp stampOf(const rinex_input::ObsEpoch& epoch) {
    encoding::FrameStamp stamp;
    stamp.week = uint16_t(epoch.week);
    stamp.milliseconds = epoch.msOfWeek;
    return stamp;
}

// Decodes a whole frame; every record must decode.
std::map<Key, RangeObservation> decodeFrame(const encoding::Bytes& frame,
                                            const rinex_input::ObsEpoch& epoch) {
    std::map<Key, RangeObservation> out;
    LogHeader header{};
    EXPECT_EQ(readLogHeader(frame.data(), uint32_t(frame.size()), header), 0);
    EXPECT_EQ(header.week, epoch.week);
    EXPECT_EQ(header.milliseconds, epoch.msOfWeek);
    RangeCursor cursor{};
    std::vector<RangeObservation> records;
    if (header.messageId == LogRangeCmp2) {
        EXPECT_EQ(openRangeCmp2(frame.data(), header, cursor, 0), 0);
        int rc = 0;
        for (int calls = 0; calls < 1000; ++calls) {
            RangeObservation o{};
            rc = nextRangeCmp2(cursor, &o);
            if (rc != RangeCmp2Record) break;
            records.push_back(o);
        }
        EXPECT_EQ(rc, RangeCmp2End);
    } else {
        const bool compressed = header.messageId == LogRangeCmp;
        EXPECT_EQ(compressed ? openRangeCmp(frame.data(), header, cursor, 0)
                             : openRange(frame.data(), header, cursor, 0),
                  0);
        for (int32_t i = 0; i < cursor.count; ++i) {
            RangeObservation o{};
            EXPECT_EQ(compressed ? decodeRangeCmp(cursor, i, &o) : decodeRange(cursor, i, &o), 0);
            records.push_back(o);
        }
    }
    for (const RangeObservation& o : records) {
        if (!o.systemInfo || !o.signalInfo) {
            ADD_FAILURE() << "record without descriptors";
            continue;
        }
        const Key key{o.systemInfo->letter, o.satellite, o.signalInfo->rinexCode};
        EXPECT_TRUE(out.emplace(key, o).second)
            << "duplicate " << std::get<0>(key) << std::get<1>(key) << " " << std::get<2>(key);
    }
    return out;
}

double clampedCn0(double s) {
    return std::min(51.0, std::max(20.0, s));
}

double carrierOf(const RangeObservation& o) {
    return o.system == SystemGlonass ? glonassAdjustedFrequency(o.signalInfo->frequency, o.glonassFrequency)
                                     : double(o.signalInfo->frequency);
}

void expectCommon(const Source& s, const RangeObservation& o, const rinex_input::ObsHeader& header) {
    EXPECT_EQ(o.codeLocked, s.hasC ? 1 : 0);
    EXPECT_EQ(o.phaseLocked, s.hasL ? 1 : 0);
    EXPECT_EQ(o.parityKnown, s.hasL ? 1 : 0);
    if (s.letter == 'R')
        EXPECT_EQ(o.glonassFrequency, header.glonassSlots.at(s.satellite));
    else
        EXPECT_EQ(o.glonassFrequency, 0);
}

template <typename Encode, typename Check> void roundTrip(Encode encode, Check check) {
    const rinex_input::ObsFile& f = file();
    ASSERT_GE(f.epochs.size(), 3u);
    size_t compared = 0;
    for (const rinex_input::ObsEpoch& epoch : f.epochs) {
        const EncodedEpoch e = signalsOf(f.header, epoch);
        const encoding::EncodedRangeLog log = encode(stampOf(epoch), e.inputs);
        ASSERT_EQ(log.outcomes.size(), e.inputs.size());
        const std::map<Key, RangeObservation> decoded = decodeFrame(log.frame, epoch);
        EXPECT_EQ(decoded.size(), e.sources.size());
        for (size_t i = 0; i < e.sources.size(); ++i) {
            const Source& s = e.sources[i];
            SCOPED_TRACE(testing::Message()
                         << epoch.time.hour << ":" << epoch.time.minute << ":" << epoch.time.second << " "
                         << s.letter << s.satellite << " " << s.code);
            EXPECT_TRUE(log.outcomes[i].encoded) << log.outcomes[i].omittedReason;
            const auto it = decoded.find(Key{s.letter, s.satellite, s.code});
            if (it == decoded.end()) {
                ADD_FAILURE() << "not decoded";
                continue;
            }
            expectCommon(s, it->second, f.header);
            check(s, it->second, log.outcomes[i]);
            ++compared;
        }
    }
    EXPECT_GT(compared, 100u);
}

} // namespace

TEST(RangeRoundTrip, EpochsCoverGpsGlonassGalileoBeidouAndSbas) {
    const rinex_input::ObsFile& f = file();
    ASSERT_GE(f.epochs.size(), 3u);
    for (const rinex_input::ObsEpoch& epoch : f.epochs) {
        std::set<char> letters;
        for (const RangeSignal& r : signalsOf(f.header, epoch).inputs)
            letters.insert(satSystemInfo(r.system)->letter);
        EXPECT_EQ(letters, (std::set<char>{'G', 'R', 'E', 'C', 'S'}));
    }
}

TEST(RangeRoundTrip, OnlyGps1WAnd2LHaveNoRowInTheSignalTable) {
    std::set<std::string> skipped;
    for (const rinex_input::ObsEpoch& epoch : file().epochs)
        signalsOf(file().header, epoch, &skipped);
    EXPECT_EQ(skipped, (std::set<std::string>{"G1W", "G2L"}));
}

TEST(RangeRoundTrip, RangeCarriesEveryValueAsLogged) {
    roundTrip(encoding::encodeRange,
              [](const Source& s, const RangeObservation& o, const encoding::SignalOutcome&) {
                  // Pseudorange and phase are doubles in the log; Doppler and C/N0 single precision.
                  if (s.hasC) {
                      EXPECT_EQ(o.pseudorange, s.c);
                  }
                  if (s.hasL) {
                      EXPECT_EQ(o.carrierPhase, -s.l);
                  }
                  if (s.hasD) {
                      EXPECT_EQ(o.doppler, double(float(s.d)));
                  }
                  if (s.hasS) {
                      EXPECT_EQ(o.cn0, double(float(s.s)));
                  }
              });
}

TEST(RangeRoundTrip, RangeCmpKeepsEveryValueWithinHalfItsStep) {
    roundTrip(encoding::encodeRangeCmp,
              [](const Source& s, const RangeObservation& o, const encoding::SignalOutcome&) {
                  if (s.hasC) {
                      EXPECT_NEAR(o.pseudorange, s.c, 0.5 / 128 + 1e-9);
                  }
                  if (s.hasL) {
                      EXPECT_NEAR(o.carrierPhase, -s.l, 0.5 / 256 + 1e-9);
                  }
                  if (s.hasD) {
                      EXPECT_NEAR(o.doppler, s.d, 0.5 / 256 + 1e-9);
                  }
                  EXPECT_NEAR(o.cn0, clampedCn0(s.hasS ? s.s : 0), 0.5);
              });
}

TEST(RangeRoundTrip, RangeCmp2KeepsEveryValueWithinHalfItsStep) {
    roundTrip(encoding::encodeRangeCmp2,
              [](const Source& s, const RangeObservation& o, const encoding::SignalOutcome& outcome) {
                  const double carrier = carrierOf(o);
                  const double reference = o.systemInfo->referenceFrequency;
                  if (s.hasC) {
                      EXPECT_NEAR(o.pseudorange, s.c, 0.5 / 128 + 1e-9);
                  }
                  if (s.hasL) {
                      // The phase comes back shifted by whole cycles, within half a 1/2048 m step.
                      const double shift = o.carrierPhase + s.l;
                      EXPECT_NEAR(shift, std::round(shift), 0.5 / 2048 * carrier / kC + 1e-6);
                      EXPECT_EQ(std::round(shift), outcome.phaseShiftCycles);
                      // ... and its range sits next to the pseudorange.
                      EXPECT_NEAR(-o.carrierPhase * kC / carrier, s.c, 2 * kC / carrier);
                  }
                  if (s.hasD) {
                      EXPECT_NEAR(o.doppler, s.d, 0.5 / 256 * o.signalInfo->frequency / reference + 1e-9);
                  }
                  EXPECT_NEAR(o.cn0, clampedCn0(s.hasS ? s.s : 0), 0.5);
              });
}
