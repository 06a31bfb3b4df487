// SPDX-License-Identifier: MIT
// The sample generator: its data files must synchronise, decode back to the source RINEX
// observations within the logs' quantisation, carry a recognisable header and valid PPK
// sentences.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/position_time.h"
#include "decoding/range_decoders.h"
#include "decoding/stream_sync.h"
#include "decoding/text_sentence.h"
#include "rinex_input/rinex_obs_reader.h"
#include "sample_generator/options.h"
#include "sample_generator/stream_assembly.h"

#include <QString>
#include <QTemporaryDir>

#include "gnss/constants.h"
#include "params/file_header.h"

using namespace decoding;
using sample_generator::Options;

namespace {

const std::string kObs = std::string(VELMOOR_TEST_DATA) + "/rinex/CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx";
const std::string kNav = std::string(VELMOOR_TEST_DATA) + "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx";

Options baseOptions() {
    Options o;
    o.observationPath = kObs;
    o.navigationPath = kNav;
    o.outputPath = "unused";
    return o;
}

// What the synchroniser delivers, in stream order.
struct Delivered {
    struct Item {
        bool text = false;
        std::vector<uint8_t> bytes; // frame, or the line without its ending NUL
    };
    std::vector<Item> items;
    size_t unframedBytes = 0;
    size_t scrambledFrames = 0;

    std::vector<const Item*> frames(uint16_t id) const {
        std::vector<const Item*> out;
        for (const Item& item : items) {
            LogHeader h{};
            if (!item.text && readLogHeader(item.bytes.data(), uint32_t(item.bytes.size()), h) == 0 &&
                h.messageId == id)
                out.push_back(&item);
        }
        return out;
    }
};

void onFrame(const uint8_t* data, uint32_t length, void* user) {
    static_cast<Delivered*>(user)->items.push_back({false, std::vector<uint8_t>(data, data + length)});
}
void onText(const uint8_t* data, uint32_t length, void* user) {
    EXPECT_EQ(data[length], 0) << "text lines arrive NUL-terminated";
    static_cast<Delivered*>(user)->items.push_back({true, std::vector<uint8_t>(data, data + length)});
}
void onUnframed(const uint8_t*, uint32_t length, void* user) {
    static_cast<Delivered*>(user)->unframedBytes += length;
}
void onScrambled(const uint8_t*, uint32_t, void* user) {
    ++static_cast<Delivered*>(user)->scrambledFrames;
}

// Fed in uneven chunks, with the callbacks the converter's worker registers.
Delivered synchronise(const encoding::Bytes& bytes) {
    static uint8_t buffer[16384];
    Delivered d;
    StreamSync sync;
    init(sync, buffer, sizeof buffer, &d);
    setOnBoardFrame(sync, onFrame);
    setOnTextLine(sync, onText);
    setOnUnframed(sync, onUnframed);
    setOnScrambledFrame(sync, onScrambled);
    for (size_t at = 0, chunk = 1; at < bytes.size(); at += chunk, chunk = chunk * 7 % 5000 + 1)
        feed(sync, bytes.data() + at, uint32_t(std::min(chunk, bytes.size() - at)));
    return d;
}

// Source values of one satellite signal, read straight from the RINEX file.
struct Source {
    bool hasC = false, hasL = false, hasD = false, hasS = false;
    double c = 0, l = 0, d = 0, s = 0;
};
using Key = std::tuple<char, int, std::string>; // system letter, satellite, two-character code

std::map<Key, Source> sourcesOf(const rinex_input::ObsHeader& header, const rinex_input::ObsEpoch& epoch) {
    std::map<Key, Source> out;
    for (const rinex_input::SatelliteObs& sat : epoch.satellites) {
        const std::vector<std::string>& types = header.obsTypes.at(sat.system);
        for (size_t k = 0; k < types.size() && k < sat.values.size(); ++k) {
            if (!sat.values[k].present) continue;
            Source& s = out[Key{sat.system, sat.number, types[k].substr(1)}];
            const double v = sat.values[k].value;
            switch (types[k][0]) {
            case 'C':
                s.hasC = true, s.c = v;
                break;
            case 'L':
                s.hasL = true, s.l = v;
                break;
            case 'D':
                s.hasD = true, s.d = v;
                break;
            case 'S':
                s.hasS = true, s.s = v;
                break;
            }
        }
    }
    return out;
}

std::map<Key, RangeObservation> decodeRangeFrame(const std::vector<uint8_t>& frame) {
    LogHeader header{};
    EXPECT_EQ(readLogHeader(frame.data(), uint32_t(frame.size()), header), 0);
    RangeCursor cursor{};
    std::vector<RangeObservation> records;
    if (header.messageId == LogRangeCmp2) {
        EXPECT_EQ(openRangeCmp2(frame.data(), header, cursor, 0), 0);
        RangeObservation o{};
        int rc = RangeCmp2Record;
        for (int guard = 0; guard < 2000 && (rc = nextRangeCmp2(cursor, &o)) == RangeCmp2Record; ++guard)
            records.push_back(o);
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
    std::map<Key, RangeObservation> out;
    for (const RangeObservation& o : records) {
        if (!o.systemInfo || !o.signalInfo) {
            ADD_FAILURE() << "record without system or signal";
            continue;
        }
        EXPECT_TRUE(out.emplace(Key{o.systemInfo->letter, o.satellite, o.signalInfo->rinexCode}, o).second);
    }
    return out;
}

std::vector<std::string> fieldsOf(const std::string& sentence) {
    std::vector<std::string> fields(1);
    for (char c : sentence) {
        if (c == ',' || c == '*')
            fields.emplace_back();
        else if (c != '\r' && c != '\n')
            fields.back() += c;
    }
    return fields;
}

std::string textOf(const Delivered::Item& item) {
    return std::string(item.bytes.begin(), item.bytes.end());
}

const rinex_input::ObsFile& sourceFile() {
    static const rinex_input::ObsFile f = rinex_input::readObsFile(kObs);
    return f;
}

// Every decoded signal matches its source within tolerance; every source signal that has a
// row in the board's signal table (all but GPS 1W and 2L) was decoded.
template <class Check> void expectEpochsDecodeBack(const Options& options, Check check) {
    const sample_generator::Sample sample = sample_generator::generateSample(options);
    const Delivered d = synchronise(sample.bytes);
    const uint16_t id = options.log == sample_generator::RangeLogKind::Range      ? LogRange
                        : options.log == sample_generator::RangeLogKind::RangeCmp ? LogRangeCmp
                                                                                  : LogRangeCmp2;
    const auto frames = d.frames(id);
    const rinex_input::ObsFile& f = sourceFile();
    ASSERT_EQ(frames.size(), f.epochs.size());
    size_t compared = 0;
    for (size_t e = 0; e < frames.size(); ++e) {
        LogHeader h{};
        ASSERT_EQ(readLogHeader(frames[e]->bytes.data(), uint32_t(frames[e]->bytes.size()), h), 0);
        EXPECT_EQ(h.week, f.epochs[e].week);
        EXPECT_EQ(h.milliseconds, f.epochs[e].msOfWeek);
        const std::map<Key, Source> sources = sourcesOf(f.header, f.epochs[e]);
        std::set<Key> expected;
        for (const auto& [key, s] : sources)
            if (!(std::get<0>(key) == 'G' && (std::get<2>(key) == "1W" || std::get<2>(key) == "2L")))
                expected.insert(key);
        std::set<Key> decodedKeys;
        for (const auto& [key, o] : decodeRangeFrame(frames[e]->bytes)) {
            decodedKeys.insert(key);
            const auto s = sources.find(key);
            if (s == sources.end()) {
                ADD_FAILURE() << "decoded signal not in the source: " << std::get<0>(key) << std::get<1>(key)
                              << " " << std::get<2>(key);
                continue;
            }
            SCOPED_TRACE(testing::Message() << "epoch " << e << " " << std::get<0>(key) << std::get<1>(key)
                                            << " " << std::get<2>(key));
            EXPECT_EQ(o.codeLocked, s->second.hasC ? 1 : 0);
            EXPECT_EQ(o.phaseLocked, s->second.hasL ? 1 : 0);
            if (std::get<0>(key) == 'R') {
                EXPECT_EQ(o.glonassFrequency, f.header.glonassSlots.at(std::get<1>(key)));
            }
            check(s->second, o);
            ++compared;
        }
        EXPECT_EQ(decodedKeys, expected);
    }
    EXPECT_EQ(compared, sample.summary.signalsEncoded);
    EXPECT_GT(compared, 200u);
}

double clampedCn0(const Source& s) {
    return std::min(51.0, std::max(20.0, s.hasS ? s.s : 0.0));
}

QString writeTemporary(const QTemporaryDir& dir, const encoding::Bytes& bytes) {
    const QString path = dir.filePath("sample.dat");
    std::ofstream out(path.toStdString(), std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    return path;
}

size_t firstSyncOffset(const encoding::Bytes& bytes) {
    for (size_t i = 0; i + 2 < bytes.size(); ++i)
        if (bytes[i] == 0xAA && bytes[i + 1] == 0x44 && bytes[i + 2] == 0x12) return i;
    return bytes.size();
}

} // namespace

TEST(SampleGenerator, RangeCmpEpochsDecodeBackWithinQuantisation) {
    Options o = baseOptions();
    o.log = sample_generator::RangeLogKind::RangeCmp;
    expectEpochsDecodeBack(o, [](const Source& s, const RangeObservation& r) {
        if (s.hasC) {
            EXPECT_NEAR(r.pseudorange, s.c, 0.5 / 128 + 1e-9);
        }
        if (s.hasL) {
            EXPECT_NEAR(r.carrierPhase, -s.l, 0.5 / 256 + 1e-9); // the board's sign
        }
        if (s.hasD) {
            EXPECT_NEAR(r.doppler, s.d, 0.5 / 256 + 1e-9);
        }
        EXPECT_NEAR(r.cn0, clampedCn0(s), 0.5);
    });
}

TEST(SampleGenerator, RangeEpochsCarryTheSourceValues) {
    Options o = baseOptions();
    o.log = sample_generator::RangeLogKind::Range;
    expectEpochsDecodeBack(o, [](const Source& s, const RangeObservation& r) {
        if (s.hasC) {
            EXPECT_EQ(r.pseudorange, s.c);
        }
        if (s.hasL) {
            EXPECT_EQ(r.carrierPhase, -s.l);
        }
        if (s.hasD) {
            EXPECT_EQ(r.doppler, double(float(s.d)));
        }
        if (s.hasS) {
            EXPECT_EQ(r.cn0, double(float(s.s)));
        }
    });
}

TEST(SampleGenerator, RangeCmp2EpochsDecodeBackUpToWholeCycles) {
    Options o = baseOptions();
    o.log = sample_generator::RangeLogKind::RangeCmp2;
    expectEpochsDecodeBack(o, [](const Source& s, const RangeObservation& r) {
        if (s.hasC) {
            EXPECT_NEAR(r.pseudorange, s.c, 0.5 / 128 + 1e-9);
        }
        if (s.hasL) {
            const double shift = r.carrierPhase + s.l; // whole cycles, up to the 1/2048 m step
            EXPECT_NEAR(shift, std::round(shift), 0.01);
        }
        if (s.hasD) {
            EXPECT_NEAR(r.doppler, s.d,
                        0.5 / 256 * r.signalInfo->frequency / r.systemInfo->referenceFrequency + 1e-9);
        }
        EXPECT_NEAR(r.cn0, clampedCn0(s), 0.5);
    });
}

TEST(SampleGenerator, StreamOrderIsIonosphereEphemeridesFixTimeThenRangeLogs) {
    const sample_generator::Sample sample = sample_generator::generateSample(baseOptions());
    const Delivered d = synchronise(sample.bytes);
    std::vector<uint16_t> ids;
    for (const Delivered::Item& item : d.items) {
        if (item.text) continue;
        LogHeader h{};
        ASSERT_EQ(readLogHeader(item.bytes.data(), uint32_t(item.bytes.size()), h), 0);
        ids.push_back(h.messageId);
    }
    // The navigation subset: 3 GPS, 4 GLONASS, 3 + 3 Galileo, 5 BeiDou records.
    ASSERT_EQ(ids.size(), 1u + 18u + 2u + 3u);
    EXPECT_EQ(ids.front(), LogIonUtc);
    std::multiset<uint16_t> nav(ids.begin() + 1, ids.begin() + 19);
    EXPECT_EQ(nav.count(LogGpsEphem), 3u);
    EXPECT_EQ(nav.count(LogGloEphemeris), 4u);
    EXPECT_EQ(nav.count(LogGalInavEphemeris), 3u);
    EXPECT_EQ(nav.count(LogGalFnavEphemeris), 3u);
    EXPECT_EQ(nav.count(LogBdsEphemeris), 5u);
    EXPECT_EQ(std::vector<uint16_t>(ids.begin() + 19, ids.end()),
              (std::vector<uint16_t>{LogPsrPos, LogTime, LogRangeCmp, LogRangeCmp, LogRangeCmp}));
    EXPECT_EQ(d.unframedBytes, 0u);
    EXPECT_EQ(d.scrambledFrames, 0u);
}

TEST(SampleGenerator, EphemerisFramesDecode) {
    const Delivered d = synchronise(sample_generator::generateSample(baseOptions()).bytes);
    auto decodeAll = [&](uint16_t id, auto decoder, auto record) {
        for (const Delivered::Item* item : d.frames(id)) {
            LogHeader h{};
            ASSERT_EQ(readLogHeader(item->bytes.data(), uint32_t(item->bytes.size()), h), 0);
            EXPECT_EQ(decoder(item->bytes.data(), h, record), 0) << "log " << id;
        }
    };
    decodeAll(LogGpsEphem, decodeGpsEphemeris, GpsEphemeris{});
    decodeAll(LogGloEphemeris, decodeGlonassEphemeris, GlonassEphemeris{});
    decodeAll(LogGalInavEphemeris, decodeGalileoInavEphemeris, GalileoInavEphemeris{});
    decodeAll(LogGalFnavEphemeris, decodeGalileoFnavEphemeris, GalileoFnavEphemeris{});
    decodeAll(LogBdsEphemeris, decodeBeidouEphemeris, BeidouEphemeris{});
    const auto iono = d.frames(LogIonUtc);
    ASSERT_EQ(iono.size(), 1u);
    LogHeader h{};
    ASSERT_EQ(readLogHeader(iono[0]->bytes.data(), uint32_t(iono[0]->bytes.size()), h), 0);
    IonoUtcParameters p{};
    ASSERT_EQ(decodeIonoUtc(iono[0]->bytes.data(), h, p), 0);
    EXPECT_DOUBLE_EQ(p.alpha[0], 4.6566e-09); // the subset's GPSA line
}

TEST(SampleGenerator, PositionFixLiesOnTheAntennaAboveTheMarker) {
    const Delivered d = synchronise(sample_generator::generateSample(baseOptions()).bytes);
    const auto fixes = d.frames(LogPsrPos);
    ASSERT_EQ(fixes.size(), 1u);
    LogHeader h{};
    ASSERT_EQ(readLogHeader(fixes[0]->bytes.data(), uint32_t(fixes[0]->bytes.size()), h), 0);
    PositionSolution p{};
    ASSERT_EQ(decodePsrPos(fixes[0]->bytes.data(), h, p), 0);
    EXPECT_EQ(p.solutionStatus, 0u);
    EXPECT_NE(p.positionType, 0u);
    // Lowered by the antenna height and taken to X, Y, Z as the converter does, the fix is
    // the RINEX approximate position.
    const double a = gnss::kWgs84SemiMajorAxis, e2 = gnss::kWgs84EccentricitySquared, rad = gnss::kDegree;
    const double phi = p.latitude * rad, lambda = p.longitude * rad;
    const double height = p.height + p.undulation - sourceFile().header.antennaDeltaHen[0];
    const double n = a / std::sqrt(1 - e2 * std::sin(phi) * std::sin(phi));
    const auto& xyz = sourceFile().header.approxPosition;
    EXPECT_NEAR((n + height) * std::cos(phi) * std::cos(lambda), xyz[0], 1e-3);
    EXPECT_NEAR((n + height) * std::cos(phi) * std::sin(lambda), xyz[1], 1e-3);
    EXPECT_NEAR((n * (1 - e2) + height) * std::sin(phi), xyz[2], 1e-3);
}

TEST(SampleGenerator, TimeLogGivesTheUtcOfTheFirstEpoch) {
    const Delivered d = synchronise(sample_generator::generateSample(baseOptions()).bytes);
    const auto times = d.frames(LogTime);
    ASSERT_EQ(times.size(), 1u);
    LogHeader h{};
    ASSERT_EQ(readLogHeader(times[0]->bytes.data(), uint32_t(times[0]->bytes.size()), h), 0);
    TimeSolution t{};
    ASSERT_EQ(decodeTime(times[0]->bytes.data(), h, t), 0);
    // 2018-07-19 00:00:00 GPS time is 18 s later than UTC (the subset's LEAP SECONDS).
    EXPECT_NE(t.utcStatus, 0u);
    EXPECT_EQ(t.utcOffset, -18.0);
    EXPECT_EQ(t.utcYear, 2018u);
    EXPECT_EQ(t.utcMonth, 7);
    EXPECT_EQ(t.utcDay, 18);
    EXPECT_EQ(t.utcHour, 23);
    EXPECT_EQ(t.utcMinute, 59);
    EXPECT_EQ(t.utcMilliseconds, 42000u);
}

TEST(SampleGenerator, PpkSentencesPassTheChecksumAndFollowTheirEpochs) {
    Options o = baseOptions();
    o.ppk = {{0, 2, "STONE7"}};
    const Delivered d = synchronise(sample_generator::generateSample(o).bytes);
    const rinex_input::ObsFile& f = sourceFile();
    std::vector<std::string> lines;
    size_t rangeLogsSeen = 0;
    std::vector<size_t> rangeLogsBefore;
    for (const Delivered::Item& item : d.items) {
        LogHeader h{};
        if (!item.text && readLogHeader(item.bytes.data(), uint32_t(item.bytes.size()), h) == 0 &&
            h.messageId == LogRangeCmp)
            ++rangeLogsSeen;
        if (item.text) {
            const std::string line = textOf(item);
            if (line.rfind("$PPK", 0) != 0) continue;
            EXPECT_EQ(checkNmeaSentence(line.c_str()), 0) << line;
            lines.push_back(line);
            rangeLogsBefore.push_back(rangeLogsSeen);
        }
    }
    ASSERT_EQ(lines.size(), 4u);
    const auto begin = fieldsOf(lines[0]);
    ASSERT_GE(begin.size(), 16u);
    EXPECT_EQ(begin[1], "MARKER-BEGIN");
    EXPECT_GE(std::atoi(begin[2].c_str()), 1);
    EXPECT_GE(std::atoi(begin[3].c_str()), 1);
    EXPECT_EQ(begin[5], "STONE7");
    EXPECT_FALSE(begin[6].empty());
    EXPECT_NEAR(std::atof(begin[9].c_str()), f.header.antennaDeltaHen[0], 1e-4);
    EXPECT_NEAR(std::atof(begin[13].c_str()), f.header.approxPosition[0], 1e-3);
    EXPECT_EQ(rangeLogsBefore[0], 1u); // after the first epoch's range log
    for (int k = 1; k <= 2; ++k) {
        const auto sample = fieldsOf(lines[size_t(k)]);
        ASSERT_GE(sample.size(), 7u);
        EXPECT_EQ(sample[1], "MARKER-SAMPLE");
        EXPECT_EQ(sample[2], begin[2]);
        EXPECT_EQ(sample[3], begin[3]);
        EXPECT_EQ(std::atoi(sample[4].c_str()), k);
        // The epoch that the sample confirms is the one whose range log came just before.
        EXPECT_EQ(rangeLogsBefore[size_t(k)], size_t(k) + 1);
        EXPECT_EQ(std::atoi(sample[5].c_str()), f.epochs[size_t(k)].week);
        EXPECT_EQ(uint32_t(std::strtod(sample[6].c_str(), nullptr) * 1000.0), f.epochs[size_t(k)].msOfWeek);
    }
    const auto end = fieldsOf(lines[3]);
    ASSERT_GE(end.size(), 4u);
    EXPECT_EQ(end[1], "MARKER-END");
    EXPECT_EQ(rangeLogsBefore[3], 3u);
}

TEST(SampleGenerator, PpkOccupationLongerThanTheWindowIsRefused) {
    Options o = baseOptions();
    o.ppk = {{1, 2, ""}}; // needs epochs 1..3, the file has 0..2
    EXPECT_THROW(sample_generator::generateSample(o), sample_generator::UsageError);
}

TEST(SampleGenerator, KeyHeaderIsRecognisedWithTheRinexValues) {
    Options o = baseOptions();
    o.header = sample_generator::HeaderKind::Key;
    o.headerValues["gnss.board"] = "BOARD-7";
    const sample_generator::Sample sample = sample_generator::generateSample(o);
    EXPECT_EQ(firstSyncOffset(sample.bytes), 1024u);
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const FileHeader header = readHeaderOfFile(writeTemporary(dir, sample.bytes));
    ASSERT_TRUE(header.read);
    EXPECT_EQ(header.params.value("Marker Name"), "CEBR");
    EXPECT_EQ(header.params.value("Marker Number"), "13408M001");
    EXPECT_EQ(header.params.value("Receiver SN"), "3001288");
    EXPECT_EQ(header.params.value("Antenna Name"), "CHOKE_RING      NONE");
    EXPECT_EQ(header.params.value("Antenna Height"), "0.1780");
    EXPECT_EQ(header.params.value("Height Type"), "VERTICAL");
    EXPECT_EQ(header.params.value("GNSS Model"), "BOARD-7");
    EXPECT_NEAR(header.params.value("Latitude").toDouble(), 40.45342921, 1e-8);
    EXPECT_NEAR(header.params.value("Longitude").toDouble(), -4.36785258, 1e-8);
    // No piece of the frames that follow shows up as a header row.
    for (const HeaderRow& row : header.rows)
        EXPECT_TRUE(row.name == "File Type" || row.name.startsWith("#")) << row.name.toStdString();
}

TEST(SampleGenerator, LegacyHeaderIsRecognised) {
    Options o = baseOptions();
    o.header = sample_generator::HeaderKind::Legacy;
    const sample_generator::Sample sample = sample_generator::generateSample(o);
    EXPECT_EQ(firstSyncOffset(sample.bytes), 512u);
    QTemporaryDir dir;
    const FileHeader header = readHeaderOfFile(writeTemporary(dir, sample.bytes));
    ASSERT_TRUE(header.read);
    EXPECT_EQ(header.params.value("Receiver SN"), "3001288");
    EXPECT_EQ(header.params.value("Marker Name"), "CEBR");
    EXPECT_EQ(header.params.value("Receiver Version"), "2.9.5-extref1");
    EXPECT_EQ(header.params.value("Antenna Height"), "0.178");
    EXPECT_EQ(header.params.value("Height Type"), "VERTICAL");
    EXPECT_EQ(header.params.value("Antenna Name"), "CHOKE_RING"); // a 20-byte field: the radome is dropped
    EXPECT_EQ(header.params.value("Latitude"), "40.45342921");
}

TEST(SampleGenerator, BothHeadersAreRecognisedAndNoneLeavesTheStreamBare) {
    Options o = baseOptions();
    o.header = sample_generator::HeaderKind::Both;
    const sample_generator::Sample both = sample_generator::generateSample(o);
    EXPECT_EQ(firstSyncOffset(both.bytes), 1536u);
    QTemporaryDir dir;
    const FileHeader header = readHeaderOfFile(writeTemporary(dir, both.bytes));
    ASSERT_TRUE(header.read);
    EXPECT_EQ(header.params.value("Antenna Height"), "0.1780"); // the key header's text wins
    int fileTypes = 0;
    for (const HeaderRow& row : header.rows)
        fileTypes += row.name == "File Type";
    EXPECT_EQ(fileTypes, 2);

    o.header = sample_generator::HeaderKind::None;
    const sample_generator::Sample none = sample_generator::generateSample(o);
    EXPECT_EQ(firstSyncOffset(none.bytes), 0u);
    EXPECT_EQ(none.summary.headerBytes, 0u);
}

TEST(SampleGenerator, NoiseLosesOnlyTheSpoiledFrames) {
    Options clean = baseOptions();
    clean.ppk = {{0, 2, ""}};
    Options noisy = clean;
    noisy.junk = true;
    noisy.corrupt = 4;
    noisy.seed = 7;
    const sample_generator::Sample a = sample_generator::generateSample(clean);
    const sample_generator::Sample b = sample_generator::generateSample(noisy);
    const Delivered da = synchronise(a.bytes), db = synchronise(b.bytes);
    size_t framesA = 0, framesB = 0, ppkB = 0;
    for (const auto& item : da.items)
        framesA += !item.text;
    for (const auto& item : db.items) {
        framesB += !item.text;
        if (item.text && textOf(item).rfind("$PPK", 0) == 0) {
            EXPECT_EQ(checkNmeaSentence(textOf(item).c_str()), 0);
            ++ppkB;
        }
    }
    size_t spoiled = 0;
    for (const auto& [name, n] : b.summary.corrupted)
        spoiled += n;
    EXPECT_EQ(spoiled, 4u);
    EXPECT_EQ(framesB, framesA - 4);
    EXPECT_EQ(ppkB, 4u);
    EXPECT_GT(db.unframedBytes, 0u);
    // The range logs that the samples confirm are never spoiled.
    const auto ranges = db.frames(LogRangeCmp);
    std::set<uint32_t> epochs;
    for (const auto* item : ranges) {
        LogHeader h{};
        readLogHeader(item->bytes.data(), uint32_t(item->bytes.size()), h);
        epochs.insert(h.milliseconds);
    }
    EXPECT_TRUE(epochs.count(sourceFile().epochs[1].msOfWeek));
    EXPECT_TRUE(epochs.count(sourceFile().epochs[2].msOfWeek));
}

TEST(SampleGenerator, StartAndEpochsCutTheWindow) {
    Options o = baseOptions();
    o.start = "00:00:30";
    o.epochs = 1;
    const Delivered d = synchronise(sample_generator::generateSample(o).bytes);
    const auto ranges = d.frames(LogRangeCmp);
    ASSERT_EQ(ranges.size(), 1u);
    LogHeader h{};
    ASSERT_EQ(readLogHeader(ranges[0]->bytes.data(), uint32_t(ranges[0]->bytes.size()), h), 0);
    EXPECT_EQ(h.milliseconds, sourceFile().epochs[1].msOfWeek);
}

TEST(SampleGenerator, SkippedSignalsAreCounted) {
    const sample_generator::Sample s = sample_generator::generateSample(baseOptions());
    std::map<std::string, size_t> expected;
    const rinex_input::ObsFile& f = sourceFile();
    for (const rinex_input::ObsEpoch& e : f.epochs)
        for (const auto& [key, source] : sourcesOf(f.header, e))
            if (std::get<0>(key) == 'G' && (std::get<2>(key) == "1W" || std::get<2>(key) == "2L"))
                ++expected["G " + std::get<2>(key)];
    EXPECT_FALSE(expected.empty());
    EXPECT_EQ(s.summary.skipped.noTableRow, expected);
}

TEST(SampleGeneratorOptions, ParsesTheCommandLine) {
    bool help = false;
    const Options o = sample_generator::parseOptions(
        {"obs.rnx", "nav.rnx", "-o", "out.dat", "--header", "both", "--log", "rangecmp2", "--ppk", "5:3:P1",
         "--ppk", "1:2", "--set", "marker.name=X", "--epochs", "9", "--corrupt", "2", "--junk"},
        help);
    EXPECT_FALSE(help);
    EXPECT_EQ(o.observationPath, "obs.rnx");
    EXPECT_EQ(o.navigationPath, "nav.rnx");
    EXPECT_EQ(o.outputPath, "out.dat");
    EXPECT_EQ(o.header, sample_generator::HeaderKind::Both);
    EXPECT_EQ(o.log, sample_generator::RangeLogKind::RangeCmp2);
    ASSERT_EQ(o.ppk.size(), 2u); // sorted by first epoch
    EXPECT_EQ(o.ppk[0].beginEpoch, 1u);
    EXPECT_EQ(o.ppk[0].samples, 2u);
    EXPECT_EQ(o.ppk[1].name, "P1");
    EXPECT_EQ(o.headerValues.at("marker.name"), "X");
    EXPECT_EQ(o.epochs, 9u);
    EXPECT_EQ(o.corrupt, 2u);
    EXPECT_TRUE(o.junk);
}

TEST(SampleGeneratorOptions, RefusesMalformedValues) {
    bool help = false;
    using V = std::vector<std::string>;
    EXPECT_THROW(sample_generator::parseOptions(V{"obs.rnx"}, help), sample_generator::UsageError);
    EXPECT_THROW(sample_generator::parseOptions(V{"obs.rnx", "-o", "x", "--header", "odd"}, help),
                 sample_generator::UsageError);
    EXPECT_THROW(sample_generator::parseOptions(V{"obs.rnx", "-o", "x", "--ppk", "3"}, help),
                 sample_generator::UsageError);
    EXPECT_THROW(sample_generator::parseOptions(V{"obs.rnx", "-o", "x", "--ppk", "1:1:A,B"}, help),
                 sample_generator::UsageError);
    EXPECT_THROW(
        sample_generator::parseOptions(V{"obs.rnx", "-o", "x", "--ppk", "1:3", "--ppk", "2:1"}, help),
        sample_generator::UsageError);
    EXPECT_THROW(sample_generator::parseOptions(V{"obs.rnx", "-o", "x", "--set", "colour=red"}, help),
                 sample_generator::UsageError);
    EXPECT_THROW(sample_generator::parseOptions(V{"obs.rnx", "-o", "x", "--epochs", "0"}, help),
                 sample_generator::UsageError);
}
