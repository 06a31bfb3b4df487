// SPDX-License-Identifier: MIT
// Single-point positioning on real station data against the station's published position.
#include <gtest/gtest.h>

#include <cmath>

#include "gnss/geodesy.h"
#include "station_file_support.h"

namespace {

// The station's published position (the header's APPROX POSITION XYZ).
const quality::Vec3 kEsbc{3582105.2910, 532589.7313, 5232754.8054};

// Only the satellites of one system, for the per-system checks.
std::function<bool(int, quality::Epoch&)> only(char system) {
    return [system](int, quality::Epoch& e) {
        size_t kept = 0;
        for (size_t i = 0; i < e.satelliteCount; ++i)
            if (e.satellites[i].system == system) std::swap(e.satellites[kept++], e.satellites[i]);
        e.satelliteCount = kept;
        return true;
    };
}

} // namespace

TEST(Positioning, StationWithinTenMetres) {
    const quality::Report r = station::check(true);
    ASSERT_TRUE(r.position.valid);
    EXPECT_EQ(r.position.epochs, 60);
    EXPECT_LT(gnss::distance(r.position.mean, kEsbc), 10.0);
    EXPECT_NEAR(r.position.headerOffset, gnss::distance(r.position.mean, kEsbc), 1e-9);
    EXPECT_FALSE(r.position.headerOffsetFlagged);
    EXPECT_NEAR(r.position.lat, 55.4936, 1e-3);
    EXPECT_NEAR(r.position.lon, 8.4568, 1e-3);
    EXPECT_GT(r.position.pdopMedian, 0.5);
    EXPECT_LT(r.position.pdopMedian, 3.0);
    EXPECT_LT(r.position.rms3d, 5.0);
    EXPECT_GT(r.position.satellitesMean, 20);
}

TEST(Positioning, EachSystemAlone) {
    for (char system : {'G', 'E', 'C', 'R'}) {
        SCOPED_TRACE(std::string(1, system));
        const quality::Report r = station::check(true, only(system));
        ASSERT_TRUE(r.position.valid);
        EXPECT_GT(r.position.epochs, 50);
        EXPECT_LT(gnss::distance(r.position.mean, kEsbc), 10.0);
    }
}

TEST(Positioning, WrongHeaderPositionIsFlagged) {
    // The check starts from the header position: a 2 km error must neither stop it nor hide.
    std::string error;
    quality::Navigation nav;
    auto navIn = quality::openInput(testfiles::esbcNav(), error);
    ASSERT_TRUE(navIn && nav.read(*navIn, error)) << error;
    auto in = quality::openInput(testfiles::esbcObs(), error);
    quality::RinexObsReader reader(*in);
    quality::ObservationHeader header;
    ASSERT_TRUE(reader.readHeader(header, error));
    header.approxPosition[0] += 2000;
    quality::QualityCheck qc;
    qc.setHeader(header);
    qc.setNavigation(&nav);
    quality::Epoch epoch;
    while (reader.next(epoch))
        qc.addEpoch(epoch);
    const quality::Report r = qc.finish();
    ASSERT_TRUE(r.position.valid);
    EXPECT_LT(gnss::distance(r.position.mean, kEsbc), 10.0);
    EXPECT_NEAR(r.position.headerOffset, 2000, 10);
    EXPECT_TRUE(r.position.headerOffsetFlagged);
}

TEST(Positioning, NavigationOfAnotherDayGivesNoPositionButAMessage) {
    quality::Navigation nav;
    std::string error;
    auto navIn = quality::openInput(std::string(VELMOOR_TEST_DATA) + "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx", error);
    ASSERT_TRUE(navIn && nav.read(*navIn, error)) << error;
    ASSERT_FALSE(nav.empty());
    auto in = quality::openInput(testfiles::esbcObs(), error);
    quality::RinexObsReader reader(*in);
    quality::ObservationHeader header;
    ASSERT_TRUE(reader.readHeader(header, error));
    quality::QualityCheck qc;
    qc.setHeader(header);
    qc.setNavigation(&nav);
    quality::Epoch epoch;
    while (reader.next(epoch))
        qc.addEpoch(epoch);
    const quality::Report r = qc.finish();
    EXPECT_FALSE(r.position.valid);
    EXPECT_FALSE(r.hasCompleteness);
    EXPECT_EQ(r.epochs, 60);
    bool told = false;
    for (const std::string& m : r.messages)
        told = told || m.find("another day") != std::string::npos;
    EXPECT_TRUE(told);
}

TEST(Positioning, OneEpochInAnInterval) {
    // The station file at 30 s, positioned every 120 s: 15 of its 60 epochs.
    std::string error;
    quality::Navigation nav;
    auto navIn = quality::openInput(testfiles::esbcNav(), error);
    ASSERT_TRUE(navIn && nav.read(*navIn, error)) << error;
    auto in = quality::openInput(testfiles::esbcObs(), error);
    quality::RinexObsReader reader(*in);
    quality::ObservationHeader header;
    ASSERT_TRUE(reader.readHeader(header, error));
    quality::Options options;
    options.positionInterval = 120;
    quality::QualityCheck qc(options);
    qc.setHeader(header);
    qc.setNavigation(&nav);
    quality::Epoch epoch;
    while (reader.next(epoch))
        qc.addEpoch(epoch);
    const quality::Report r = qc.finish();
    ASSERT_TRUE(r.position.valid);
    EXPECT_EQ(r.position.epochs, 15);
    EXPECT_EQ(r.epochs, 60);
    EXPECT_LT(gnss::distance(r.position.mean, kEsbc), 10.0);
}
