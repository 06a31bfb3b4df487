// SPDX-License-Identifier: MIT
// Real-data streams: navigation and ionosphere/UTC logs decode to the values of the RINEX
// records in the manifest, mapped the way the writer prints them.
#include "real_stream_support.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "decoding/log_header.h"
#include "decoding/log_names.h"
#include "decoding/position_time.h"
#include "decoding/range_decoders.h"
#include "decoding/stream_sync.h"
#include "gnss/constants.h"
#include "gnss/gps_calendar.h"
#include "support/stream_manifest.h"

using namespace realstream;

namespace {

// ---------------------------------------------------------------------------------
// Navigation logs mapped to the values of the RINEX record the writer prints.

using NavLine = std::vector<std::optional<double>>;
constexpr std::nullopt_t kBlank = std::nullopt;

struct MappedNav {
    int result = 0; // decoder result
    char sys = 0;
    int sat = 0;
    gnss::CalendarTime epoch{};
    std::vector<NavLine> lines;
    testsupport::NavKey key;
    std::map<std::string, double> extra; // fields the manifest also states
};

// The writer's leap seconds: unknown (99) until a written GLONASS record sets them.
struct WriterLeap {
    int seconds = 99;
};

double sisaMetres(unsigned n) {
    if (n <= 49) return n * 0.01;
    if (n <= 74) return 0.5 + (n - 50) * 0.02;
    if (n <= 99) return 1 + (n - 75) * 0.04;
    if (n <= 125) return 2 + (n - 100) * 0.16;
    return -1.0;
}

// Galileo logs carry no week: the frame's, moved by one when toc is half a week away.
int64_t galileoWeek(const decoding::LogHeader& header, double toc) {
    const double d = toc - header.milliseconds / 1000.0;
    int64_t week = header.week;
    if (d > 302400) week -= 1;
    if (d < -302400) week += 1;
    return week;
}

void galileoOrbit(MappedNav& out, double iodNav, double crs, double deltaN, double m0, double cuc, double e,
                  double cus, double sqrtA, double toe, double cic, double omega0, double cis, double i0,
                  double crc, double omega, double omegaDot, double iDot, double sources, int64_t week,
                  double sisa, double health, double bgdA, double bgdB, const decoding::LogHeader& header) {
    out.lines.push_back({iodNav, crs, deltaN, m0});
    out.lines.push_back({cuc, e, cus, sqrtA});
    out.lines.push_back({toe, cic, omega0, cis});
    out.lines.push_back({i0, crc, omega, omegaDot});
    out.lines.push_back({iDot, sources, double(week), kBlank});
    out.lines.push_back({sisa, health, bgdA, bgdB});
    out.lines.push_back({header.milliseconds / 1000.0, kBlank, kBlank, kBlank});
}

MappedNav mapNav(const DeliveredFrame& frame, const NavRecord& expected, WriterLeap& leap) {
    MappedNav out;
    const uint8_t* bytes = frame.bytes.data();
    const decoding::LogHeader& h = frame.header;
    switch (h.messageId) {
    case decoding::LogGpsEphem: {
        decoding::GpsEphemeris r{};
        out.result = decoding::decodeGpsEphemeris(bytes, h, r);
        out.sys = 'G';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(r.week, std::llround(r.toe * 1000.0));
        out.key = {'G', int(r.satellite), r.toe};
        out.lines.push_back({r.af0, r.af1, r.af2});
        out.lines.push_back({double(r.iode1), r.crs, r.deltaN, r.m0});
        out.lines.push_back({r.cuc, r.eccentricity, r.cus, std::sqrt(r.a)});
        out.lines.push_back({r.toe, r.cic, r.omega0, r.cis});
        out.lines.push_back({r.i0, r.crc, r.omega, r.omegaDot});
        out.lines.push_back({r.iDot, 0.0, double(r.week), 0.0});
        out.lines.push_back({std::sqrt(r.uraVariance), double(r.health), r.tgd, double(r.iodc)});
        out.lines.push_back({r.tow, 4.0, kBlank, kBlank});
        out.extra["iode1 - iode2"] = double(r.iode1) - double(r.iode2);
        break;
    }
    case decoding::LogGloEphemeris: {
        decoding::GlonassEphemeris r{};
        out.result = decoding::decodeGlonassEphemeris(bytes, h, r);
        // The writer learns the leap seconds from the first GLONASS record it writes.
        if (expected.expectedWritten && leap.seconds == 99 && r.timeOffset >= 10702 && r.timeOffset <= 10799)
            leap.seconds = int(r.timeOffset) - 10800;
        out.sys = 'R';
        out.sat = int(r.slot) - 37;
        out.epoch = gnss::gpsCalendar(r.week, int64_t(r.referenceTime) + int64_t(leap.seconds) * 1000);
        out.key = {'R', int(r.slot), double(r.referenceTime)};
        // Message frame time: leap seconds added to the milliseconds unscaled, as the writer does.
        const uint32_t day = uint32_t(int64_t(r.referenceTime) + leap.seconds) / 86400000u;
        const double frameTime = double(int64_t(day) * 86400 + int64_t(r.tk) - 10800);
        out.lines.push_back({-r.tauN, r.gammaN, frameTime});
        out.lines.push_back({r.x * 0.001, r.vx * 0.001, r.ax * 0.001, double(r.health)});
        out.lines.push_back({r.y * 0.001, r.vy * 0.001, r.ay * 0.001, double(int(r.frequency) - 7)});
        out.lines.push_back({r.z * 0.001, r.vz * 0.001, r.az * 0.001, double(r.ageOfData)});
        out.extra["ref_week"] = r.week;
        out.extra["ref_ms"] = r.referenceTime;
        out.extra["tk"] = r.tk;
        break;
    }
    case decoding::LogGalInavEphemeris: {
        decoding::GalileoInavEphemeris r{};
        out.result = decoding::decodeGalileoInavEphemeris(bytes, h, r);
        const int64_t week = galileoWeek(h, r.toc);
        const unsigned health = r.e1bDvs | r.e1bHealth << 1 | r.e5bDvs << 6 | r.e5bHealth << 7;
        out.sys = 'E';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(week, int64_t(r.toc) * 1000);
        out.key = {'E', int(r.satellite), double(r.toe)};
        out.lines.push_back({r.af0, r.af1, r.af2});
        galileoOrbit(out, r.iodNav, r.crs, r.deltaN, r.m0, r.cuc, r.eccentricity, r.cus, r.sqrtA, r.toe,
                     r.cic, r.omega0, r.cis, r.i0, r.crc, r.omega, r.omegaDot, r.iDot, 517, week,
                     sisaMetres(r.sisaIndex), health, r.bgdE5aE1, r.bgdE5bE1, h);
        out.extra["rinex_data_sources"] = 517;
        out.extra["rinex_health"] = health;
        break;
    }
    case decoding::LogGalFnavEphemeris: {
        decoding::GalileoFnavEphemeris r{};
        out.result = decoding::decodeGalileoFnavEphemeris(bytes, h, r);
        const int64_t week = galileoWeek(h, r.toc);
        const unsigned health = r.e5aDvs << 3 | r.e5aHealth << 4;
        out.sys = 'E';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(week, int64_t(r.toc) * 1000);
        out.key = {'E', int(r.satellite), double(r.toe)};
        out.lines.push_back({r.af0, r.af1, r.af2});
        galileoOrbit(out, r.iodNav, r.crs, r.deltaN, r.m0, r.cuc, r.eccentricity, r.cus, r.sqrtA, r.toe,
                     r.cic, r.omega0, r.cis, r.i0, r.crc, r.omega, r.omegaDot, r.iDot, 258, week,
                     sisaMetres(r.sisaIndex), health, r.bgdE5aE1, 0.0, h);
        out.extra["rinex_data_sources"] = 258;
        out.extra["rinex_health"] = health;
        break;
    }
    case decoding::LogGalEphemeris: {
        decoding::GalileoEphemeris r{};
        out.result = decoding::decodeGalileoEphemeris(bytes, h, r);
        const bool inav = r.inavReceived != 0;
        const double toc = inav ? r.inavToc : r.fnavToc;
        const int64_t week = galileoWeek(h, toc);
        const unsigned health =
            r.e1bDvs | r.e1bHealth << 1 | r.e5aDvs << 3 | r.e5aHealth << 4 | r.e5bDvs << 6 | r.e5bHealth << 7;
        const double sources = inav ? 517 : 258;
        out.sys = 'E';
        out.sat = int(r.satellite);
        out.epoch = gnss::gpsCalendar(week, std::llround(toc * 1000.0));
        out.key = {'E', int(r.satellite), double(r.toe)};
        if (inav)
            out.lines.push_back({r.inavAf0, r.inavAf1, r.inavAf2});
        else
            out.lines.push_back({r.fnavAf0, r.fnavAf1, r.fnavAf2});
        galileoOrbit(out, r.iodNav, r.crs, r.deltaN, r.m0, r.cuc, r.eccentricity, r.cus, r.sqrtA, r.toe,
                     r.cic, r.omega0, r.cis, r.i0, r.crc, r.omega, r.omegaDot, r.iDot, sources, week,
                     sisaMetres(r.sisaIndex), health, r.bgdE5aE1, r.bgdE5bE1, h);
        out.extra["rinex_data_sources"] = sources;
        out.extra["rinex_health"] = health;
        break;
    }
    case decoding::LogBdsEphemeris: {
        decoding::BeidouEphemeris r{};
        out.result = decoding::decodeBeidouEphemeris(bytes, h, r);
        const int sat = r.satellite >= 161 ? int(r.satellite) - 160 : int(r.satellite);
        double transmission = h.milliseconds / 1000.0 - 14;
        if (transmission < 0) transmission += 604800;
        out.sys = 'C';
        out.sat = sat;
        out.epoch = gnss::gpsCalendar(int64_t(r.week) + gnss::kBeidouWeekOffset, int64_t(r.toc) * 1000);
        out.key = {'C', sat, double(r.toe)};
        out.lines.push_back({r.a0, r.a1, r.a2});
        out.lines.push_back({double(r.aode), r.crs, r.deltaN, r.m0});
        out.lines.push_back({r.cuc, r.eccentricity, r.cus, r.sqrtA});
        out.lines.push_back({double(r.toe), r.cic, r.omega0, r.cis});
        out.lines.push_back({r.i0, r.crc, r.omega, r.omegaDot});
        out.lines.push_back({r.iDot, kBlank, double(r.week), kBlank});
        out.lines.push_back({r.ura, double(r.health), r.tgd1, r.tgd2});
        out.lines.push_back({transmission, double(r.aodc), kBlank, kBlank});
        break;
    }
    case decoding::LogBd2Ephem: {
        decoding::Bd2Ephemeris r{};
        out.result = decoding::decodeBd2Ephemeris(bytes, h, r);
        const int sat = r.satellite >= 161 ? int(r.satellite) - 160 : int(r.satellite);
        out.sys = 'C';
        out.sat = sat;
        out.epoch =
            gnss::gpsCalendar(int64_t(r.week) + gnss::kBeidouWeekOffset, std::llround(r.toc * 1000.0));
        out.key = {'C', sat, r.toe};
        out.lines.push_back({r.a0, r.a1, r.a2});
        out.lines.push_back({double(r.aode), r.crs, r.deltaN, r.m0});
        out.lines.push_back({r.cuc, r.eccentricity, r.cus, std::sqrt(r.a)});
        out.lines.push_back({r.toe, r.cic, r.omega0, r.cis});
        out.lines.push_back({r.i0, r.crc, r.omega, r.omegaDot});
        out.lines.push_back({r.iDot, kBlank, double(r.week), kBlank});
        out.lines.push_back({std::sqrt(r.uraVariance), double(r.health), r.tgd1, r.tgd2});
        out.lines.push_back({r.tow, double(r.aodc), kBlank, kBlank});
        break;
    }
    default:
        out.result = -100;
    }
    return out;
}

bool isNavLog(uint16_t id) {
    switch (id) {
    case decoding::LogGpsEphem:
    case decoding::LogGloEphemeris:
    case decoding::LogBd2Ephem:
    case decoding::LogGalEphemeris:
    case decoding::LogGalInavEphemeris:
    case decoding::LogGalFnavEphemeris:
    case decoding::LogBdsEphemeris:
        return true;
    default:
        return false;
    }
}

bool isIonUtcLog(uint16_t id) {
    return id == decoding::LogIonUtcU || id == decoding::LogIonUtc || id == decoding::LogBd2IonUtc;
}

void compareNav(const std::string& at, const NavRecord& e, const MappedNav& g, Mismatches& bad) {
    if (g.sys != e.sys || g.sat != e.sat)
        bad.add(at + ": satellite " + g.sys + std::to_string(g.sat) + ", expected " + e.sys +
                std::to_string(e.sat));
    const double epoch[6] = {
        double(g.epoch.year),   double(g.epoch.month),
        double(g.epoch.day),    double(g.epoch.hour),
        double(g.epoch.minute), double(g.epoch.second * 1000 + g.epoch.millisecond) / 1000.0};
    for (size_t i = 0; i < 6; ++i)
        if (epoch[i] != e.epoch[i]) {
            bad.add(at + ": epoch field " + std::to_string(i) + " expected " + number(e.epoch[i]) + " got " +
                    number(epoch[i]));
            break;
        }
    if (e.key && (e.key->sys != g.key.sys || e.key->number != g.key.number ||
                  !closeRelative(e.key->referenceTime, g.key.referenceTime, 1e-12)))
        bad.add(at + ": duplicate-test key " + g.key.sys + " " + std::to_string(g.key.number) + " " +
                number(g.key.referenceTime) + ", expected " + e.key->sys + " " +
                std::to_string(e.key->number) + " " + number(e.key->referenceTime));
    if (g.lines.size() != e.lines.size()) {
        bad.add(at + ": " + std::to_string(g.lines.size()) + " lines, expected " +
                std::to_string(e.lines.size()));
        return;
    }
    for (size_t line = 0; line < e.lines.size(); ++line) {
        if (g.lines[line].size() != e.lines[line].size()) {
            bad.add(at + ": line " + std::to_string(line) + " has " + std::to_string(g.lines[line].size()) +
                    " values, expected " + std::to_string(e.lines[line].size()));
            continue;
        }
        for (size_t i = 0; i < e.lines[line].size(); ++i) {
            const auto& want = e.lines[line][i];
            const auto& have = g.lines[line][i];
            const std::string where = at + " line " + std::to_string(line) + " value " + std::to_string(i);
            if (want.has_value() != have.has_value())
                bad.add(where + ": expected " + (want ? number(*want) : "blank") + " got " +
                        (have ? number(*have) : "blank"));
            else if (want && !closeRelative(*want, *have, 1e-12))
                bad.add(where + ": expected " + number(*want) + " got " + number(*have));
        }
    }
    auto checkExtra = [&](const char* name, std::optional<double> want) {
        auto it = g.extra.find(name);
        if (want && it != g.extra.end() && it->second != *want)
            bad.add(at + ": " + name + " expected " + number(*want) + " got " + number(it->second));
    };
    checkExtra("ref_week", e.refWeek ? std::optional<double>(*e.refWeek) : std::nullopt);
    checkExtra("ref_ms", e.refMs ? std::optional<double>(*e.refMs) : std::nullopt);
    checkExtra("tk", e.tk ? std::optional<double>(*e.tk) : std::nullopt);
    checkExtra("rinex_data_sources",
               e.rinexDataSources ? std::optional<double>(*e.rinexDataSources) : std::nullopt);
    checkExtra("rinex_health", e.rinexHealth ? std::optional<double>(*e.rinexHealth) : std::nullopt);
    // The writer drops a GPS record whose two issues of data differ; the manifest's records are kept.
    if (e.expectedWritten) checkExtra("iode1 - iode2", 0.0);
}

TEST_P(RealStream, NavigationLogsDecodeToTheManifestRecords) {
    const StreamRun& r = run();
    Mismatches bad;
    WriterLeap leap;
    size_t expectedLogs = 0;
    for (size_t n = 0; n < r.manifest.nav.size(); ++n) {
        const NavRecord& e = r.manifest.nav[n];
        if (e.corrupted || r.corruptedIndices.count(e.frame)) continue;
        ++expectedLogs;
        const std::string at = "nav " + std::to_string(n) + " (" + e.log + " " + e.sys +
                               std::to_string(e.sat) + ", " + e.source + ")";
        const DeliveredFrame* frame = r.deliveredFrame(e.frame);
        if (!frame) {
            bad.add(at + ": frame " + std::to_string(e.frame) + " not delivered");
            continue;
        }
        if (frame->header.messageId != e.id || e.log != decoding::logName(frame->header.messageId)) {
            bad.add(at + ": frame id " + std::to_string(frame->header.messageId) + " named " +
                    decoding::logName(frame->header.messageId));
            continue;
        }
        if (frame->header.week != e.headerWeek || frame->header.milliseconds != e.headerMs)
            bad.add(at + ": frame stamped " + std::to_string(frame->header.week) + "/" +
                    std::to_string(frame->header.milliseconds));
        const MappedNav got = mapNav(*frame, e, leap);
        if (got.result != 0) {
            bad.add(at + ": decoder returned " + std::to_string(got.result));
            continue;
        }
        compareNav(at, e, got, bad);
    }
    size_t navLogs = 0;
    for (const auto& f : r.capture.frames)
        navLogs += isNavLog(f.header.messageId);
    EXPECT_EQ(navLogs, expectedLogs) << "navigation logs delivered vs records expected";
    EXPECT_GT(expectedLogs, 0u);
    // The GLONASS records taught the writer the leap seconds the header states.
    EXPECT_EQ(-leap.seconds, r.manifest.obsHeader.leapSeconds);
    EXPECT_EQ(bad.total, 0u) << bad.report();
}

TEST_P(RealStream, IonosphereAndUtcDecodeToTheManifestValues) {
    const StreamRun& r = run();
    ASSERT_TRUE(r.manifest.ionutc.has_value());
    const testsupport::IonUtcRecord& e = *r.manifest.ionutc;
    const DeliveredFrame* frame = r.deliveredFrame(e.frame);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->header.messageId, e.id);
    EXPECT_EQ(e.log, decoding::logName(frame->header.messageId));
    size_t ionLogs = 0;
    for (const auto& f : r.capture.frames)
        ionLogs += isIonUtcLog(f.header.messageId);
    EXPECT_EQ(ionLogs, 1u);

    decoding::IonoUtcParameters got{};
    ASSERT_EQ(decoding::decodeIonoUtc(frame->bytes.data(), frame->header, got), 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_DOUBLE_EQ(got.alpha[i], e.alpha[i]) << "alpha " << i;
        EXPECT_DOUBLE_EQ(got.beta[i], e.beta[i]) << "beta " << i;
    }
    EXPECT_EQ(int(got.utcWeek), e.utcWeek);
    EXPECT_EQ(int(got.utcTime), e.utcTot);
    EXPECT_DOUBLE_EQ(got.a0, e.a0);
    EXPECT_DOUBLE_EQ(got.a1, e.a1);
    // The LEAP SECONDS line: now, after the change, week and day of the change (signed fields).
    EXPECT_EQ(int32_t(got.leapSeconds), e.leapLine[0]);
    EXPECT_EQ(int32_t(got.leapSecondsFuture), e.leapLine[1]);
    EXPECT_EQ(int32_t(got.leapWeek), e.leapLine[2]);
    EXPECT_EQ(int32_t(got.leapDay), e.leapLine[3]);
}

INSTANTIATE_TEST_SUITE_P(Streams, RealStream, ::testing::ValuesIn(kStreams), streamTestName);

} // namespace
