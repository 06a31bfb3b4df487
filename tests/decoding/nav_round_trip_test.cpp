// SPDX-License-Identifier: MIT
// Real broadcast ephemerides (a subset of a station's navigation file) go through
// record -> frame -> decoder and come back unchanged.
#include <gtest/gtest.h>

#include "decoding/beidou_ephemeris.h"
#include "decoding/galileo_ephemeris.h"
#include "decoding/glonass_ephemeris.h"
#include "decoding/gps_ephemeris.h"
#include "decoding/iono_utc.h"
#include "encoder/nav_encoder.h"
#include "nav_test_support.h"
#include "rinex_input/rinex_nav_reader.h"

using rinex_input::NavFile;
using rinex_input::NavRecord;

namespace {

const NavFile& subset() {
    static const NavFile file = rinex_input::readNavFile(std::string(VELMOOR_TEST_DATA) +
                                                         "/rinex/ELKO00USA_R_20182100000_01D_MN_subset.rnx");
    return file;
}

int leapSeconds() {
    return subset().header.leapSeconds ? subset().header.leapSeconds->current : 18;
}

// Encodes the record with the stamp its conversion chose, decodes the frame, and checks
// that body and stamp come back.
template <class Record, class Decoder>
void expectRoundTrip(const Record& in, Decoder decode, size_t bodySize, const std::string& what) {
    SCOPED_TRACE(what);
    const encoding::FrameStamp stamp = encoding::stampOf(in.header);
    const encoding::Bytes frame = encoding::encodeLogFrame(in, stamp);
    Record out;
    ASSERT_EQ(navtest::decodeFrame(frame, decode, out), 0);
    navtest::expectFrameHeader(out.header, in.header.messageId, bodySize, stamp);
    navtest::expectSameBody(in, out);
}

std::string name(const NavRecord& r) {
    return std::string(1, r.system) + std::to_string(r.satellite) + " line " + std::to_string(r.lineNumber);
}

} // namespace

TEST(NavRoundTrip, EveryGpsRecordComesBackFromItsFrame) {
    int count = 0;
    for (const NavRecord& r : subset().records)
        if (r.system == 'G') {
            expectRoundTrip(rinex_input::toGpsEphemeris(r), decoding::decodeGpsEphemeris, 224, name(r));
            ++count;
        }
    EXPECT_EQ(count, 3);
}

TEST(NavRoundTrip, EveryGlonassRecordComesBackFromItsFrame) {
    int count = 0;
    for (const NavRecord& r : subset().records)
        if (r.system == 'R') {
            expectRoundTrip(rinex_input::toGlonassEphemeris(r, leapSeconds()),
                            decoding::decodeGlonassEphemeris, 144, name(r));
            ++count;
        }
    EXPECT_EQ(count, 4);
}

TEST(NavRoundTrip, EveryGalileoInavAndFnavRecordComesBackFromItsFrame) {
    int inav = 0, fnav = 0;
    for (const NavRecord& r : subset().records) {
        if (r.system != 'E') continue;
        if (rinex_input::isGalileoFnav(r)) {
            expectRoundTrip(rinex_input::toGalileoFnavEphemeris(r), decoding::decodeGalileoFnavEphemeris, 172,
                            name(r));
            ++fnav;
        } else {
            expectRoundTrip(rinex_input::toGalileoInavEphemeris(r), decoding::decodeGalileoInavEphemeris, 184,
                            name(r));
            ++inav;
        }
    }
    EXPECT_EQ(inav, 3);
    EXPECT_EQ(fnav, 3);
}

TEST(NavRoundTrip, EveryBeidouRecordComesBackFromBothLogForms) {
    int count = 0;
    for (const NavRecord& r : subset().records)
        if (r.system == 'C') {
            expectRoundTrip(rinex_input::toBeidouEphemeris(r), decoding::decodeBeidouEphemeris, 196, name(r));
            expectRoundTrip(rinex_input::toBd2Ephemeris(r), decoding::decodeBd2Ephemeris, 232, name(r));
            ++count;
        }
    EXPECT_EQ(count, 5);
}

TEST(NavRoundTrip, HeaderIonosphereAndUtcComeBackFromEachLogId) {
    const decoding::IonoUtcParameters in = rinex_input::toIonoUtcParameters(subset().header);
    for (uint16_t id : {uint16_t(6), uint16_t(8), uint16_t(2010)}) {
        const encoding::FrameStamp stamp{2012, 11696000, 180};
        decoding::IonoUtcParameters out;
        ASSERT_EQ(navtest::decodeFrame(encoding::encodeLogFrame(in, stamp, id), decoding::decodeIonoUtc, out),
                  0);
        navtest::expectFrameHeader(out.header, id, 108, stamp);
        navtest::expectSameBody(in, out);
    }
}
