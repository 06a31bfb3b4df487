// SPDX-License-Identifier: MIT
// The RINEX 2.11 writer: the type list and the 3 -> 2 code mapping, epochs with continuation
// lines (more than 12 satellites, more than 5 types), event records in the three PPK modes,
// the GPS and GLONASS navigation records of the real ELKO file value by value, and the short
// names.
#include "writer_test_support.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <cmath>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "rinex/navigation_writer.h"
#include "rinex/rinex2_file_name.h"
#include "rinex/rinex2_navigation.h"
#include "rinex/rinex2_observation_types.h"
#include "rinex_input/rinex_nav_reader.h"
#include "support/rinex2_reader.h"

using namespace writertest;

namespace {

std::string typesOf(const std::vector<rinex::Rinex2Type>& types) {
    std::string text;
    for (const rinex::Rinex2Type& t : types)
        text += std::string(text.empty() ? "" : " ") + t.letter + t.band;
    return text;
}

struct Writer211 : OpenWriter {
    explicit Writer211(int mode = rinex::PpkNone) {
        EXPECT_TRUE(writer.setVersion(QByteArray("2.11")));
        EXPECT_TRUE(writer.setPpkMode(mode));
        EXPECT_TRUE(open());
    }
    rinex2test::ObsFile read() {
        writer.close();
        try {
            return rinex2test::readObservation(readAll(file('O')).toStdString());
        } catch (const std::exception& e) {
            ADD_FAILURE() << e.what();
            return {};
        }
    }
};

} // namespace

TEST(Rinex2Types, ListHoldsTheTypesTheBoardsSignalsCanFeedInCanonicalOrder) {
    EXPECT_EQ(typesOf(rinex::rinex2TypeList("GRES", {})),
              "C1 L1 D1 S1 C2 P2 L2 D2 S2 C5 L5 D5 S5 C7 L7 D7 S7 C8 L8 D8 S8 C6 L6 D6 S6");
    EXPECT_EQ(typesOf(rinex::rinex2TypeList("G", {})), "C1 L1 D1 S1 C2 P2 L2 D2 S2 C5 L5 D5 S5");
    EXPECT_EQ(typesOf(rinex::rinex2TypeList("R", {})), "C1 L1 D1 S1 C2 P2 L2 D2 S2");
    EXPECT_EQ(typesOf(rinex::rinex2TypeList("S", {})), "C1 L1 D1 S1 C5 L5 D5 S5");
    // BeiDou, QZSS and NavIC have no 2.11 types.
    EXPECT_EQ(typesOf(rinex::rinex2TypeList("CJI", {})), "");
    // A preset code adds what it feeds: GPS 1W gives P1.
    EXPECT_EQ(typesOf(rinex::rinex2TypeList("G", {{'G', {"1W"}}})), "C1 P1 L1 D1 S1 C2 P2 L2 D2 S2 C5 L5 D5 S5");
}

TEST(Rinex2Types, CandidatesFollowTheMapping) {
    EXPECT_STREQ(rinex::rinex2Candidates('G', {'L', '2'}), "2P2W2Y2D2X2L2S2C");
    EXPECT_STREQ(rinex::rinex2Candidates('G', {'D', '2'}), "2P2W2Y2D2X2L2S2C");
    EXPECT_STREQ(rinex::rinex2Candidates('G', {'C', '2'}), "2X2L2S2C");
    EXPECT_STREQ(rinex::rinex2Candidates('R', {'S', '2'}), "2P2C");
    EXPECT_STREQ(rinex::rinex2Candidates('E', {'C', '1'}), "1X1C1B");
    EXPECT_EQ(rinex::rinex2Candidates('E', {'P', '1'}), nullptr);
    EXPECT_EQ(rinex::rinex2Candidates('C', {'C', '2'}), nullptr);
    EXPECT_TRUE(rinex::isAntiSpoofingCode('G', "2W"));
    EXPECT_FALSE(rinex::isAntiSpoofingCode('G', "2P"));
    EXPECT_FALSE(rinex::isAntiSpoofingCode('R', "2P"));
}

TEST(Rinex2Epochs, MoreThanTwelveSatellitesContinueTheListAndRecordsTakeOneLinePerFiveTypes) {
    Writer211 w;
    std::vector<encoding::RangeSignal> observed;
    for (int prn = 1; prn <= 14; ++prn) {
        observed.push_back(signal('G', prn, "1C", 20000000.0 + prn, -100000000.0 - prn, -1000.5 + prn, 45.0));
        observed.push_back(signal('G', prn, "2W", 20000003.0 + prn, -80000000.0 - prn, -800.25, 39.0));
    }
    observed.push_back(signal('C', 7, "2I", 38000000.0, -190000000.0, 10.0, 40.0)); // no 2.11 code
    feed(w.writer, rangeFrame(2010, 345600000 + 7500, observed));
    const QByteArray bytes = readAll(w.file('O'));
    const rinex2test::ObsFile f = w.read();
    ASSERT_EQ(f.epochs.size(), 1u);
    // The 25 types of all four systems: 5 lines per satellite.
    ASSERT_EQ(f.types.size(), 25u);
    const rinex2test::Epoch& e = f.epochs[0];
    EXPECT_EQ(e.satellites.size(), 14u);
    EXPECT_EQ(e.time.year, 2018);
    EXPECT_EQ(e.time.month, 7);
    EXPECT_EQ(e.time.day, 19);
    EXPECT_EQ(e.time.hour, 0);
    EXPECT_EQ(e.time.minute, 0);
    EXPECT_DOUBLE_EQ(e.time.second, 7.5);

    const QList<QByteArray> body = ObservationFile(w.file('O')).body;
    ASSERT_EQ(body.size(), 2 + 14 * 5);
    EXPECT_EQ(body[0], " 18  7 19  0  0  7.5000000  0 14G01G02G03G04G05G06G07G08G09G10G11G12");
    EXPECT_EQ(body[1], QByteArray(32, ' ') + "G13G14");
    // G01: C1 L1 D1 S1 C2 | P2 L2 D2 S2 C5 | L5 D5 S5 C7 L7 | ... ; P2 and L2 from 2W carry LLI 4.
    EXPECT_EQ(body[2].toStdString(), "  20000001.000   100000001.000 8      -999.500          45.000");
    EXPECT_EQ(body[3].toStdString(), "  20000004.0004   80000001.00047      -800.250          39.000");
    EXPECT_EQ(body[4], "");
    EXPECT_EQ(body[5], "");
    EXPECT_EQ(body[6], "");
    (void)bytes;
}

TEST(Rinex2Epochs, AntiSpoofingFlagCanBeSwitchedOff) {
    OpenWriter w;
    ASSERT_TRUE(w.writer.setVersion(QByteArray("2.11")));
    ASSERT_TRUE(w.writer.setAntiSpoofingFlag(false));
    ASSERT_TRUE(w.open());
    EXPECT_FALSE(w.writer.setAntiSpoofingFlag(true)); // not while open
    feed(w.writer, rangeFrame(2010, 345600000,
                              {signal('G', 1, "1C", 20000001.0, -100000001.0, -999.5, 45.0),
                               signal('G', 1, "2W", 20000004.0, -80000001.0, -800.25, 39.0)}));
    w.writer.close();
    const QList<QByteArray> body = ObservationFile(w.file('O')).body;
    ASSERT_GE(body.size(), 3);
    EXPECT_EQ(body[2].toStdString(), "  20000004.000    80000001.000 7      -800.250          39.000");
}

TEST(Rinex2Epochs, MoreThanFiveTypesOfOneSystemAndABandSignalChangeSetsLossOfLock) {
    OpenWriter w;
    rinex::OutputFilter filter;
    filter.setSystems("R");
    ASSERT_TRUE(w.writer.setOutputFilter(filter));
    ASSERT_TRUE(w.writer.setVersion(QByteArray("2.11")));
    ASSERT_TRUE(w.writer.setPpkMode(rinex::PpkNone));
    ASSERT_TRUE(w.open());
    // GLONASS: C1 L1 D1 S1 C2 | P2 L2 D2 S2: L2 from 2P while it is there, else from 2C.
    feed(w.writer, rangeFrame(2010, 345600000,
                              {signal('R', 1, "1C", 21000000.0, -110000000.0, 100.0, 44.0, 1),
                               signal('R', 1, "2C", 21000001.0, -85000000.0, 80.0, 40.0, 1),
                               signal('R', 1, "2P", 21000002.0, -85000002.0, 81.0, 41.0, 1)}));
    feed(w.writer, rangeFrame(2010, 345601000,
                              {signal('R', 1, "1C", 21000000.5, -110000010.0, 100.0, 44.0, 1),
                               signal('R', 1, "2C", 21000001.5, -85000010.0, 80.0, 40.0, 1)}));
    w.writer.close();
    const QList<QByteArray> body = ObservationFile(w.file('O')).body;
    ASSERT_EQ(body.size(), 6);
    EXPECT_EQ(body[0], " 18  7 19  0  0  0.0000000  0  1R01");
    EXPECT_EQ(body[1], "  21000000.000   110000000.000 7       100.000          44.000    21000001.000");
    EXPECT_EQ(body[2], "  21000002.000    85000002.000 7        81.000          41.000");
    EXPECT_EQ(body[3], " 18  7 19  0  0  1.0000000  0  1R01");
    EXPECT_EQ(body[4], "  21000000.500   110000010.000 7       100.000          44.000    21000001.500");
    // 2P is gone: the L2 arc continues on 2C, a new tracking loop, so LLI bit 0.
    EXPECT_EQ(body[5], "                  85000010.00017        80.000          40.000");
}

namespace {

std::string beginSentence(const std::string& name) {
    return ppk("MARKER-BEGIN,1,1,1," + name +
               ",MK-0001,0,0,1.8000,40.453429213,-4.367852584,775.8010,4846664.9180,-370195.2000,4116929.5260");
}

const std::vector<encoding::RangeSignal> kOneSignal = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)};

const QByteArray kNewSite211 = QByteArray(28, ' ') + "3  4";
const QByteArray kMoving211 = QByteArray(28, ' ') + "2  0";

} // namespace

TEST(Rinex2Events, NewSiteAndStartOfMovingInEachPpkMode) {
    for (int mode : {rinex::PpkNone, rinex::PpkOnly, rinex::PpkMix}) {
        SCOPED_TRACE(mode);
        Writer211 w(mode);
        feed(w.writer, rangeFrame(2010, 345600000, kOneSignal));
        feedText(w.writer, beginSentence("PT01"));
        feed(w.writer, rangeFrame(2010, 345601000, kOneSignal));
        feedText(w.writer, ppk("MARKER-SAMPLE,1,1,1,2010,345601.000"));
        feed(w.writer, rangeFrame(2010, 345602000, kOneSignal));
        feedText(w.writer, ppk("MARKER-END,1,1"));
        feed(w.writer, rangeFrame(2010, 345603000, kOneSignal));
        w.writer.close();
        const QList<QByteArray> body = ObservationFile(w.file('O')).body;
        const rinex2test::ObsFile f = rinex2test::readObservation(readAll(w.file('O')).toStdString());
        std::vector<int> flags;
        for (const rinex2test::Epoch& e : f.epochs)
            flags.push_back(e.flag);
        if (mode == rinex::PpkNone) {
            // Sentences are ignored: every epoch, no event.
            EXPECT_EQ(flags, (std::vector<int>{0, 0, 0, 0}));
            EXPECT_FALSE(body.contains(kNewSite211));
            continue;
        }
        if (mode == rinex::PpkOnly)
            EXPECT_EQ(flags, (std::vector<int>{3, 0, 2}));
        else
            EXPECT_EQ(flags, (std::vector<int>{0, 3, 0, 2, 0}));
        const int site = body.indexOf(kNewSite211);
        ASSERT_GE(site, 0);
        EXPECT_EQ(body[site + 1], "PT01" + QByteArray(56, ' ') + "MARKER NAME         ");
        EXPECT_EQ(body[site + 2], "MK-0001" + QByteArray(53, ' ') + "MARKER NUMBER       ");
        EXPECT_EQ(body[site + 3],
                  "  4846664.9180  -370195.2000  4116929.5260" + QByteArray(18, ' ') + "APPROX POSITION XYZ ");
        EXPECT_EQ(body[site + 4],
                  "        1.8000        0.0000        0.0000" + QByteArray(18, ' ') + "ANTENNA: DELTA H/E/N");
        EXPECT_EQ(body[site + 5], " 18  7 19  0  0  1.0000000  0  1G05");
        EXPECT_TRUE(body.contains(kMoving211));
        for (const QByteArray& line : body)
            EXPECT_FALSE(line.startsWith('>')) << line.toStdString();
    }
}

// --- navigation ------------------------------------------------------------------------------

namespace {

const char kElko[] = VELMOOR_TEST_DATA "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx";
constexpr int kLeapSeconds2018 = 18;

// The records of one system of the ELKO file written by the navigation writer in a version,
// with its header of that kind.
QByteArray writeElko(char system, rinex::Version version, std::vector<rinex_input::NavRecord>* source) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadWrite);
    rinex::reserveNavigationHeader(&buffer, system == 'G' ? "G: GPS" : "R: GLONASS");
    rinex::NavigationWriter writer;
    writer.setVersion(version);
    for (const rinex_input::NavRecord& r : rinex_input::readNavFile(kElko).records) {
        if (r.system != system) continue;
        qint32 leap = rinex::kUnknownLeapSeconds;
        const qint64 n = system == 'G'
                             ? writer.writeGps(&buffer, rinex_input::toGpsEphemeris(r))
                             : writer.writeGlonass(&buffer, rinex_input::toGlonassEphemeris(r, kLeapSeconds2018), leap);
        if (n > 0 && source != nullptr) source->push_back(r);
    }
    rinex::NavigationHeaderInfo info;
    info.version = version;
    info.minorVersion = rinex::minorOf(version);
    info.leapSeconds = -kLeapSeconds2018;
    EXPECT_TRUE(rinex::writeNavigationHeader(&buffer, system == 'G' ? 'N' : 'G', info));
    return data;
}

// Equal to the printed precision (12 decimals of the mantissa).
bool samePrinted(const std::optional<double>& written, const std::optional<double>& source) {
    if (!written || !source) return !written && !source;
    return std::fabs(*written - *source) <= 6e-12 * std::fabs(*source);
}

} // namespace

TEST(Rinex2Navigation, ElkoGpsAndGlonassRecordsKeepEveryValue) {
    for (char system : {'G', 'R'}) {
        SCOPED_TRACE(system);
        std::vector<rinex_input::NavRecord> source;
        const QByteArray text211 = writeElko(system, rinex::Version::V211, &source);
        const rinex_input::NavFile v304 = [&] {
            std::istringstream in(writeElko(system, rinex::Version::V304, nullptr).toStdString());
            return rinex_input::readNav(in);
        }();
        rinex2test::NavFile nav;
        try {
            nav = rinex2test::readNavigation(text211.toStdString());
        } catch (const std::exception& e) {
            FAIL() << e.what();
        }
        EXPECT_EQ(nav.fileType, system == 'G' ? 'N' : 'G');
        ASSERT_GE(source.size(), 3u);
        ASSERT_EQ(nav.records.size(), source.size());
        ASSERT_EQ(v304.records.size(), source.size());
        for (size_t i = 0; i < source.size(); ++i) {
            const rinex2test::NavRecord& w = nav.records[i];
            const rinex_input::NavRecord& old = v304.records[i];
            EXPECT_EQ(w.satellite, source[i].satellite);
            EXPECT_EQ(w.epoch.year, old.epoch.year);
            EXPECT_EQ(w.epoch.month, old.epoch.month);
            EXPECT_EQ(w.epoch.day, old.epoch.day);
            EXPECT_EQ(w.epoch.hour, old.epoch.hour);
            EXPECT_EQ(w.epoch.minute, old.epoch.minute);
            EXPECT_EQ(w.epoch.second, double(old.epoch.second));
            EXPECT_EQ(w.orbitLines(), system == 'G' ? 7u : 3u);
            ASSERT_EQ(w.values.size(), old.values.size());
            for (size_t k = 0; k < w.values.size(); ++k) {
                std::optional<double> expected = old.values[k];
                // GLONASS message frame time: seconds of the UTC day, not of the week.
                if (system == 'R' && k == 2) expected = std::fmod(*expected, 86400.0);
                EXPECT_EQ(w.values[k], expected) << "record " << i << " value " << k;
                // And against the source record, to its printed precision.
                std::optional<double> original;
                if (k < source[i].values.size() && source[i].values[k].has_value())
                    original = system == 'R' && k == 2 ? std::fmod(source[i].values[k].value(), 86400.0)
                                                       : source[i].values[k].value();
                if (system == 'G' && k >= 29) continue; // the spares of line 7
                if (system == 'G' && (k == 20 || k == 22)) continue; // L2 codes and flag: the writer's 0
                if (original) {
                    EXPECT_TRUE(samePrinted(w.values[k], original)) << "record " << i << " value " << k;
                }
            }
        }
    }
}

TEST(Rinex2Navigation, RecordLinesHaveThe211Columns) {
    std::vector<rinex_input::NavRecord> source;
    const QByteArray gps = writeElko('G', rinex::Version::V211, &source);
    const QList<QByteArray> lines = splitLines(gps);
    const int first = lines.indexOf(QByteArray(60, ' ') + "END OF HEADER       ") + 1;
    ASSERT_GT(first, 0);
    // The ELKO G02 record as the format example gives it.
    EXPECT_EQ(lines[first], " 2 18  7 28 22  0  0.0 0.445288605988D-04-0.113686837722D-10 0.000000000000D+00");
    EXPECT_EQ(lines[first + 1], "    0.520000000000D+02-0.104375000000D+03 0.483948729836D-08-0.198238709369D+01");
    EXPECT_EQ(lines[first + 2], "   -0.514462590218D-05 0.179613517830D-01 0.324286520481D-05 0.515378565216D+04");

    const QByteArray glonass = writeElko('R', rinex::Version::V211, nullptr);
    const QList<QByteArray> g = splitLines(glonass);
    EXPECT_EQ(g[0], "     2.11           GLONASS NAV DATA                        RINEX VERSION / TYPE");
    EXPECT_TRUE(g.contains("    18                                                      LEAP SECONDS        "));
    // ELKO R01: tk 601200 s of the week is 82800 s of the day.
    bool found = false;
    for (const QByteArray& line : g)
        if (line.startsWith(" 1 18  7 28 23 15  0.0")) {
            EXPECT_EQ(line.mid(60), " 0.828000000000D+05");
            found = true;
        }
    EXPECT_TRUE(found);
}

TEST(Rinex2Navigation, GpsHeaderCarriesIonosphereUtcAndLeapSeconds) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadWrite);
    rinex::reserveNavigationHeader(&buffer, "G: GPS");
    rinex::NavigationHeaderInfo info;
    info.version = rinex::Version::V211;
    info.first.valid = true;
    const double alpha[4] = {0.4656612873e-08, 0.1490116119e-07, -0.5960464478e-07, -0.5960464478e-07};
    const double beta[4] = {0.7782400000e+05, 0.4915200000e+05, -0.6553600000e+05, -0.3276800000e+06};
    for (int i = 0; i < 4; ++i) {
        info.first.alpha[i] = alpha[i];
        info.first.beta[i] = beta[i];
    }
    info.first.a0 = -0.756699591880e-09;
    info.first.a1 = 0.0;
    info.first.utcTime = 11696;
    info.first.utcWeek = 2012;
    info.first.leapSeconds = 18;
    ASSERT_TRUE(rinex::writeNavigationHeader(&buffer, 'N', info));
    const QList<QByteArray> lines = splitLines(data);
    EXPECT_EQ(lines[0], "     2.11           N: GPS NAV DATA                         RINEX VERSION / TYPE");
    EXPECT_TRUE(lines.contains("   0.46566D-08 0.14901D-07-0.59605D-07-0.59605D-07          ION ALPHA           "));
    EXPECT_TRUE(lines.contains("   0.77824D+05 0.49152D+05-0.65536D+05-0.32768D+06          ION BETA            "));
    EXPECT_TRUE(lines.contains("   -0.756699591880D-09 0.000000000000D+00    11696     2012 DELTA-UTC: A0,A1,T,W"));
    EXPECT_TRUE(lines.contains("    18                                                      LEAP SECONDS        "));
    for (const QByteArray& line : lines)
        EXPECT_LE(line.size(), 80);
}

TEST(Rinex2Navigation, FullWeekFromATruncatedBroadcastWeek) {
    EXPECT_EQ(gnss::fullWeek(2012 % 256, 2011), 2012);
    EXPECT_EQ(gnss::fullWeek(2012 % 1024, 2013), 2012);
    EXPECT_EQ(gnss::fullWeek(2012, 2013), 2012);
}

// --- names -----------------------------------------------------------------------------------

TEST(Rinex2Names, ShortNamesFromMarkerAndFirstEpoch) {
    rinex::LongNameFacts facts;
    facts.markerName = "CEBR";
    facts.firstEpoch = gnss::gpsMilliseconds(2010, 4 * 86400000LL);              // 2018-07-19 00:00
    facts.lastEpoch = facts.firstEpoch + 29 * 60000 + 30000;                      // 00:29:30
    facts.interval = 30000;
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'O'), "cebr200a.18O");
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'N'), "cebr200a.18N");
    // A whole day from midnight: session 0.
    facts.lastEpoch = facts.firstEpoch + 86400000LL - 30000;
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'G'), "cebr2000.18G");
    // Starting at 13:xx: session n; marker "pt-17" -> pt17; day 366 of a leap year.
    facts.markerName = "pt-17";
    facts.firstEpoch = gnss::gpsMilliseconds(0, 0) + (gnss::daysFromCivil(2024, 12, 31) - gnss::kGpsEpochDays) *
                                                         gnss::kMillisecondsPerDay +
                       13 * 3600000LL + 5 * 60000;
    facts.lastEpoch = facts.firstEpoch + 600000;
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'O'), "pt17366n.24O");
    // Short marker names are padded with 0, none gives xxxx.
    facts.markerName = "A1";
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'O'), "a100366n.24O");
    facts.markerName = "--";
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'O'), "xxxx366n.24O");
    // No epoch: the first navigation record names the day.
    facts.firstEpoch = facts.lastEpoch = 0;
    facts.navigationFirst = gnss::gpsMilliseconds(2012, 86400000LL * 1 + 22 * 3600000LL); // 2018-07-30 22:00
    EXPECT_EQ(rinex::rinex2ShortName(facts, 'N'), "xxxx211w.18N");
}

TEST(Rinex2Names, WriterRenamesToShortNamesAtClose) {
    QTemporaryDir dir;
    Rinex3xx writer;
    ASSERT_TRUE(writer.setVersion(QByteArray("2.11")));
    ASSERT_TRUE(writer.setMarker("CEBR", "", "GEODETIC"));
    ASSERT_TRUE(writer.setShortNames(true));
    ASSERT_TRUE(writer.open(dir.filePath("anything.18O")) > 0);
    feed(writer, rangeFrame(2010, 4 * 86400000 + 3600000, kOneSignal));
    writer.close();
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{"cebr200b.18G", "cebr200b.18N", "cebr200b.18O"}));
    EXPECT_EQ(writer.createdFileNames(),
              (QStringList{dir.filePath("cebr200b.18O"), dir.filePath("cebr200b.18N"), dir.filePath("cebr200b.18G")}));

    // Other versions ignore the setting.
    QTemporaryDir other;
    Rinex3xx v304;
    ASSERT_TRUE(v304.setShortNames(true));
    ASSERT_TRUE(v304.open(other.filePath("x.18O")) > 0);
    v304.close();
    EXPECT_TRUE(QFile::exists(other.filePath("x.18O")));
    EXPECT_TRUE(QFile::exists(other.filePath("x.18L")));
}
