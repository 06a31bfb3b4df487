// SPDX-License-Identifier: MIT
// applyOptions observed from outside: the options go into a writer, the writer is opened
// and closed in a temporary folder, and the observation header it writes is read back.
#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <gtest/gtest.h>

#include "decoding/stream_sync.h"
#include "gnss/constants.h"
#include "params/apply_options.h"
#include "params/config_rows.h"
#include "rinex/rinex3xx.h"
#include "support/stream_manifest.h"

namespace {

struct HeaderLines {
    QList<QByteArray> lines; // without "\r\n", up to END OF HEADER

    QList<QByteArray> labelled(const QByteArray& label) const {
        QList<QByteArray> found;
        for (const QByteArray& line : lines)
            if (line.mid(60).trimmed() == label) found << line;
        return found;
    }
    QByteArray line(const QByteArray& label) const {
        const QList<QByteArray> found = labelled(label);
        return found.isEmpty() ? QByteArray() : found.first();
    }
    // COMMENT lines that the user's options made: after the converter version line.
    QList<QByteArray> userComments() const {
        QList<QByteArray> result;
        bool afterVersion = false;
        for (const QByteArray& line : labelled("COMMENT")) {
            const QByteArray text = line.left(60).trimmed();
            if (text.startsWith("CONVERTER VERSION"))
                afterVersion = true;
            else if (afterVersion && !text.isEmpty())
                result << text;
        }
        return result;
    }
    bool hasAntennaHeightComment() const {
        for (const QByteArray& line : labelled("COMMENT"))
            if (line.startsWith("PHASE CENTER TO ARP HEIGHT")) return true;
        return false;
    }
};

// Three %14.4f fields.
std::array<double, 3> threeNumbers(const QByteArray& line) {
    return {line.mid(0, 14).trimmed().toDouble(), line.mid(14, 14).trimmed().toDouble(),
            line.mid(28, 14).trimmed().toDouble()};
}

HeaderLines headerAfterApplying(const ConvertOptions& options) {
    QTemporaryDir dir;
    HeaderLines header;
    {
        Rinex3xx writer;
        applyOptions(options, writer);
        EXPECT_NE(writer.open(dir.filePath("t.24_")), 0);
        writer.close();
    }
    QFile file(dir.filePath("t.24O"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    while (!file.atEnd()) {
        QByteArray line = file.readLine();
        if (line.endsWith("\r\n")) line.chop(2);
        header.lines << line;
        if (line.mid(60).trimmed() == "END OF HEADER") break;
    }
    return header;
}

ConvertOptions antennaOptions(const QString& spec, const QString& height, const QString& heightType) {
    return {{"Antenna Spec", spec},
            {"Antenna Height", height},
            {"Height Type", heightType},
            {"Antenna Name", "ANT-X"}};
}

double antennaDeltaH(const HeaderLines& header) {
    return threeNumbers(header.line("ANTENNA: DELTA H/E/N"))[0];
}

// Earth-centred coordinates of a WGS-84 position.
std::array<double, 3> toXyz(double latitude, double longitude, double height) {
    const double a = gnss::kWgs84SemiMajorAxis, e2 = gnss::kWgs84EccentricitySquared, rad = gnss::kDegree;
    const double phi = latitude * rad, lambda = longitude * rad;
    const double n = a / std::sqrt(1 - e2 * std::sin(phi) * std::sin(phi));
    return {(n + height) * std::cos(phi) * std::cos(lambda), (n + height) * std::cos(phi) * std::sin(lambda),
            (n * (1 - e2) + height) * std::sin(phi)};
}

void expectPosition(const HeaderLines& header, const std::array<double, 3>& expected) {
    const std::array<double, 3> xyz = threeNumbers(header.line("APPROX POSITION XYZ"));
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(xyz[i], expected[i], 0.00051) << i;
}

constexpr double Rounding = 0.00005 + 1e-9; // %14.4f

} // namespace

TEST(ApplyOptions, PhaseRemovesBothOffsets) {
    const HeaderLines header = headerAfterApplying(antennaOptions("0,100,50,0", "2.000", "PHASE"));
    const QByteArray delta = header.line("ANTENNA: DELTA H/E/N");
    ASSERT_FALSE(delta.isEmpty());
    EXPECT_NEAR(threeNumbers(delta)[0], 1.85, Rounding);
    EXPECT_NEAR(threeNumbers(delta)[1], 0, Rounding);
    EXPECT_NEAR(threeNumbers(delta)[2], 0, Rounding);
    EXPECT_EQ(header.line("ANT # / TYPE").mid(20, 20).trimmed(), "ANT-X");
    EXPECT_EQ(header.line("ANT # / TYPE").left(20).trimmed(), "");
    EXPECT_TRUE(header.lines.contains(QByteArray("PHASE CENTER TO ARP HEIGHT = 0.150 m").leftJustified(60) +
                                      QByteArray("COMMENT").leftJustified(20)));
}

TEST(ApplyOptions, VerticalRemovesTheMarkToReferenceOffset) {
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,100,50,0", "2.000", "VERTICAL"))), 1.9,
                Rounding);
}

TEST(ApplyOptions, ButtomKeepsTheHeightAsEntered) {
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,100,50,0", "2.000", "BUTTOM"))), 2.0,
                Rounding);
}

TEST(ApplyOptions, ExtendGivesZero) {
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,100,50,0", "2.000", "EXTEND"))), 0,
                Rounding);
}

TEST(ApplyOptions, SlopeAddsTheSquares) {
    const double slant = std::sqrt(0.15 * 0.15 + 2.0 * 2.0);
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("150,100,0,0", "2.0", "SLOPE"))),
                slant - 0.1, Rounding);
}

TEST(ApplyOptions, ShortSlopeStillAboveTheOffset) {
    const double slant = std::sqrt(0.15 * 0.15 + 0.05 * 0.05); // 0.158..., not below 0.1
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("150,100,0,0", "0.05", "SLOPE"))),
                slant - 0.1, Rounding);
}

TEST(ApplyOptions, SlopeBelowTheOffsetGivesZero) {
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,100,0,0", "0.05", "SLOPE"))), 0,
                Rounding);
}

TEST(ApplyOptions, ThreeFieldAntennaSpecSetsNoAntenna) {
    const HeaderLines header = headerAfterApplying(antennaOptions("0,100,50", "2.000", "PHASE"));
    EXPECT_EQ(header.line("ANT # / TYPE").left(60).trimmed(), "");
    const std::array<double, 3> delta = threeNumbers(header.line("ANTENNA: DELTA H/E/N"));
    EXPECT_EQ(delta, (std::array<double, 3>{0, 0, 0}));
    EXPECT_FALSE(header.hasAntennaHeightComment());
}

TEST(ApplyOptions, EmptyAntennaSpecFieldReadsAsZero) {
    const HeaderLines header = headerAfterApplying(antennaOptions("0,,50,0", "2.000", "PHASE"));
    EXPECT_NEAR(antennaDeltaH(header), 2.0 - 0.0 - 0.05, Rounding);
    EXPECT_TRUE(header.lines.contains(QByteArray("PHASE CENTER TO ARP HEIGHT = 0.050 m").leftJustified(60) +
                                      QByteArray("COMMENT").leftJustified(20)));
}

TEST(ApplyOptions, UnreadableAntennaHeightCountsAsZero) {
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,0,0,0", "tall", "BUTTOM"))), 0, Rounding);
}

TEST(ApplyOptions, LowerCaseHeaderHeightTypeIsMatchedAfterTheSectionIsBuilt) {
    const ConvertOptions options = defaultOptions(
        {{"Antenna Spec", "0,100,50,0"}, {"Antenna Height", "2.000"}, {"Height Type", "phase"}});
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(options)), 1.85, Rounding);
}

TEST(ApplyOptions, HeightTypeOutsideTheNamesGivesZero) {
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,100,50,0", "2.000", "phase"))), 0,
                Rounding);
    EXPECT_NEAR(antennaDeltaH(headerAfterApplying(antennaOptions("0,100,50,0", "2.000", ""))), 0, Rounding);
}

TEST(ApplyOptions, PositionIsSetWhenAllThreeRead) {
    const HeaderLines header =
        headerAfterApplying({{"Latitude", "30.5"}, {"Longitude", "114.25"}, {"Height", "10"}});
    expectPosition(header, toXyz(30.5, 114.25, 10));
}

TEST(ApplyOptions, UnreadableLongitudeSetsNoPosition) {
    const HeaderLines header =
        headerAfterApplying({{"Latitude", "30.5"}, {"Longitude", "east"}, {"Height", "10"}});
    // Without a position the header falls back to latitude 0, longitude 0 and height 0.
    expectPosition(header, toXyz(0, 0, 0));
}

TEST(ApplyOptions, GnssModelAloneGivesOneComment) {
    const HeaderLines header = headerAfterApplying({{"GNSS Model", "X1"}, {"GNSS SN", ""}});
    EXPECT_EQ(header.userComments(), QList<QByteArray>{"GNSS MODEL    = X1"});
}

TEST(ApplyOptions, AllFourGnssCommentsInOrder) {
    const HeaderLines header = headerAfterApplying(
        {{"GNSS Software", "fw"}, {"GNSS Hardware", "hw"}, {"GNSS SN", "sn"}, {"GNSS Model", "gm"}});
    EXPECT_EQ(header.userComments(), (QList<QByteArray>{"GNSS MODEL    = gm", "GNSS SN       = sn",
                                                        "GNSS HARDWARE = hw", "GNSS FIRMWARE = fw"}));
}

TEST(ApplyOptions, VersionMarkerAndReceiver) {
    const HeaderLines header = headerAfterApplying({{"Version", "3.02"},
                                                    {"Marker Name", "M-NAME"},
                                                    {"Marker Number", "M-NUM"},
                                                    {"Marker Type", "HUMAN"},
                                                    {"Receiver SN", "R-SN"},
                                                    {"Receiver Model", "R-MODEL"},
                                                    {"Receiver Version", "R-VER"}});
    EXPECT_TRUE(header.line("RINEX VERSION / TYPE").startsWith("     3.02"));
    EXPECT_EQ(header.line("MARKER NAME").left(60).trimmed(), "M-NAME");
    EXPECT_EQ(header.line("MARKER NUMBER").left(60).trimmed(), "M-NUM");
    EXPECT_EQ(header.line("MARKER TYPE").left(60).trimmed(), "HUMAN");
    const QByteArray receiver = header.line("REC # / TYPE / VERS");
    EXPECT_EQ(receiver.left(20).trimmed(), "R-SN");
    EXPECT_EQ(receiver.mid(20, 20).trimmed(), "R-MODEL");
    EXPECT_EQ(receiver.mid(40, 20).trimmed(), "R-VER");
}

TEST(ApplyOptions, UnknownMarkerTypeKeepsTheDefaultMarker) {
    const HeaderLines header = headerAfterApplying({{"Marker Name", "M-NAME"}, {"Marker Type", "BOAT"}});
    EXPECT_EQ(header.line("MARKER NAME").left(60).trimmed(), "");
    EXPECT_EQ(header.line("MARKER TYPE").left(60).trimmed(), "GEODETIC");
}

TEST(ApplyOptions, FileWithoutHeader) {
    const HeaderLines header = headerAfterApplying(defaultOptions({{"Path Input", "/data/none.dat"}}));
    EXPECT_TRUE(header.line("RINEX VERSION / TYPE").startsWith("     3.04"));
    EXPECT_EQ(header.line("MARKER NAME").left(60).trimmed(), "");
    EXPECT_EQ(header.line("MARKER NUMBER").left(60).trimmed(), "");
    EXPECT_EQ(header.line("MARKER TYPE").left(60).trimmed(), "GEODETIC");
    EXPECT_EQ(header.line("REC # / TYPE / VERS").left(60).trimmed(), "");
    EXPECT_EQ(header.line("ANT # / TYPE").left(60).trimmed(), "");
    EXPECT_EQ(threeNumbers(header.line("ANTENNA: DELTA H/E/N")), (std::array<double, 3>{0, 0, 0}));
    EXPECT_FALSE(header.hasAntennaHeightComment());
    expectPosition(header, toXyz(0, 0, 0));
    EXPECT_TRUE(header.userComments().isEmpty());
}

// The PPK mode shows only in what the writer makes of a stream with a marker occupation.
namespace {

struct StreamResult {
    int epochs = 0;
    int events = 0;
};

StreamResult convertStream(const ConvertOptions& options, const QString& streamPath) {
    QTemporaryDir dir;
    Rinex3xx writer;
    applyOptions(options, writer);
    EXPECT_NE(writer.open(dir.filePath("s.24_")), 0);

    QFile input(streamPath);
    EXPECT_TRUE(input.open(QIODevice::ReadOnly));
    const QByteArray bytes = input.readAll();
    std::vector<uint8_t> buffer(16384);
    decoding::StreamSync sync{};
    decoding::init(sync, buffer.data(), uint32_t(buffer.size()), &writer);
    decoding::setOnBoardFrame(sync, [](const uint8_t* data, uint32_t length, void* user) {
        static_cast<Rinex3xx*>(user)->handleFrame(data, length);
    });
    decoding::setOnTextLine(sync, [](const uint8_t* data, uint32_t length, void* user) {
        static_cast<Rinex3xx*>(user)->handleTextLine(reinterpret_cast<const char*>(data), length);
    });
    decoding::feed(sync, reinterpret_cast<const uint8_t*>(bytes.constData()), uint32_t(bytes.size()));
    writer.close();

    StreamResult result;
    QFile observations(dir.filePath("s.24O"));
    EXPECT_TRUE(observations.open(QIODevice::ReadOnly));
    while (!observations.atEnd()) {
        const QByteArray line = observations.readLine();
        if (line.size() > 31 && line.at(0) == '>') {
            if (line.at(31) == '0')
                ++result.epochs;
            else
                ++result.events;
        }
    }
    return result;
}

class PpkModeTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string dir = testsupport::streamDataDirectory();
        streamPath_ = QString::fromStdString(dir + "/cebr-rangecmp-legacy.dat");
        if (!QFile::exists(streamPath_)) GTEST_SKIP() << "test stream missing";
        const testsupport::StreamManifest manifest =
            testsupport::loadStreamManifest(dir + "/cebr-rangecmp-legacy.json.gz");
        ASSERT_FALSE(manifest.ppk.empty());
        for (const testsupport::PpkMarker& marker : manifest.ppk)
            samples_ += int(marker.samples.size());
    }
    QString streamPath_;
    int samples_ = 0;
};

} // namespace

TEST_F(PpkModeTest, DefaultModeOfAFileWithoutHeaderMixesEpochsAndEvents) {
    const StreamResult result = convertStream(defaultOptions({{"Path Input", streamPath_}}), streamPath_);
    EXPECT_GT(result.events, 0);
    EXPECT_GT(result.epochs, samples_);
}

TEST_F(PpkModeTest, OnlyModeWritesTheConfirmedSamples) {
    const StreamResult result = convertStream({{"Mode", "2"}}, streamPath_);
    EXPECT_GT(result.events, 0);
    EXPECT_EQ(result.epochs, samples_);
}

TEST_F(PpkModeTest, NoneModeIgnoresTheMarkers) {
    EXPECT_EQ(convertStream({{"Mode", "1"}}, streamPath_).events, 0);
}

TEST_F(PpkModeTest, UnreadableModeKeepsTheWriterDefault) {
    // "x" reads as 0, which the writer refuses; its own default ignores the markers.
    EXPECT_EQ(convertStream({{"Mode", "x"}}, streamPath_).events, 0);
}
