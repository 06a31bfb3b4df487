// SPDX-License-Identifier: MIT
// The writer object: setters and their acceptance rules, the five output files, frame
// dispatch and the station state taken from the stream.
#include "writer_test_support.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

using namespace writertest;

namespace {

const std::vector<encoding::RangeSignal> oneGpsSignal = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)};

decoding::PositionSolution position(uint32_t status, uint32_t type, double lat, double lon, double height,
                                    float undulation) {
    decoding::PositionSolution p{};
    p.solutionStatus = status;
    p.positionType = type;
    p.latitude = lat;
    p.longitude = lon;
    p.height = height;
    p.undulation = undulation;
    return p;
}

} // namespace

// ---- setters ----

TEST(WriterSetters, VersionNumberAcceptedOnlyFrom2To5) {
    Rinex3xx w;
    EXPECT_FALSE(w.setVersion(1));
    EXPECT_TRUE(w.setVersion(2));
    EXPECT_TRUE(w.setVersion(3));
    EXPECT_TRUE(w.setVersion(4));
    EXPECT_TRUE(w.setVersion(5));
    EXPECT_FALSE(w.setVersion(6));
}

TEST(WriterSetters, VersionTextMustBeASupportedVersion) {
    Rinex3xx w;
    EXPECT_TRUE(w.setVersion(QByteArray("3.02")));
    EXPECT_TRUE(w.setVersion(QByteArray("3.04")));
    EXPECT_TRUE(w.setVersion(QByteArray("3.05")));
    EXPECT_TRUE(w.setVersion(QByteArray("4.00")));
    EXPECT_FALSE(w.setVersion(QByteArray("3.01")));
    EXPECT_FALSE(w.setVersion(QByteArray("3.06")));
    EXPECT_FALSE(w.setVersion(QByteArray("4.01")));
    EXPECT_FALSE(w.setVersion(QByteArray("4.0")));
    EXPECT_FALSE(w.setVersion(QByteArray("3.2")));
    EXPECT_FALSE(w.setVersion(QByteArray("3.003")));
    EXPECT_FALSE(w.setVersion(QByteArray("2.03")));
    EXPECT_FALSE(w.setVersion(QByteArray("3.0x")));
}

TEST(WriterSetters, RefusedVersionKeepsThePreviousOne) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setVersion(QByteArray("3.03")));
    ASSERT_FALSE(o.writer.setVersion(QByteArray("3.07")));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_TRUE(f.header.value(0).startsWith("     3.03           OBSERVATION DATA    M"));
}

TEST(WriterSetters, MarkerTypeMustBeAKnownName) {
    Rinex3xx w;
    EXPECT_TRUE(w.setMarker("A", "1", "GEODETIC"));
    EXPECT_TRUE(w.setMarker("A", "1", "HUMAN"));
    EXPECT_FALSE(w.setMarker("A", "1", "geodetic"));
    EXPECT_FALSE(w.setMarker("A", "1", "ROVER"));
    EXPECT_FALSE(w.setMarker("A", "1", ""));
}

TEST(WriterSetters, MarkerNameCutTo60) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setMarker(QByteArray(70, 'N'), "123", "GEODETIC"));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    ASSERT_EQ(f.labelled("MARKER NAME").size(), 1);
    EXPECT_EQ(f.labelled("MARKER NAME")[0], QByteArray(60, 'N') + "MARKER NAME         ");
}

TEST(WriterSetters, LongMarkerNumberCutsTheNameTo20AndStaysWhole) {
    OpenWriter o;
    const QByteArray number(25, '7');
    ASSERT_TRUE(o.writer.setMarker(QByteArray(40, 'N'), number, "GEODETIC"));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("MARKER NAME").value(0),
              QByteArray(20, 'N') + QByteArray(40, ' ') + "MARKER NAME         ");
    // "%-20s%40s%-20s": the whole number, 40 blanks, the label
    bool found = false;
    for (const QByteArray& line : f.header)
        if (line.startsWith(number + QByteArray(40, ' ') + "MARKER NUMBER")) found = true;
    EXPECT_TRUE(found);
}

TEST(WriterSetters, MarkerNumberOf19BytesLeavesTheNameWhole) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setMarker(QByteArray(40, 'N'), QByteArray(19, '7'), "GEODETIC"));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("MARKER NAME").value(0),
              QByteArray(40, 'N') + QByteArray(20, ' ') + "MARKER NAME         ");
    EXPECT_EQ(f.labelled("MARKER NUMBER").value(0),
              QByteArray(19, '7') + QByteArray(41, ' ') + "MARKER NUMBER       ");
}

TEST(WriterSetters, ObserverAgencyReceiverAndAntennaTextsAreCut) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setObserver(QByteArray(25, 'o'), QByteArray(45, 'a')));
    ASSERT_TRUE(o.writer.setReceiver(QByteArray(21, 'n'), QByteArray(22, 't'), QByteArray(23, 'v')));
    ASSERT_TRUE(o.writer.setAntenna(QByteArray(21, 'x'), QByteArray(21, 'y')));
    ASSERT_TRUE(o.writer.setProgram(QByteArray(30, 'p'), QByteArray(30, 'r')));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("OBSERVER / AGENCY").value(0),
              QByteArray(20, 'o') + QByteArray(40, 'a') + "OBSERVER / AGENCY   ");
    EXPECT_EQ(f.labelled("REC # / TYPE / VERS").value(0),
              QByteArray(20, 'n') + QByteArray(20, 't') + QByteArray(20, 'v') + "REC # / TYPE / VERS ");
    EXPECT_EQ(f.labelled("ANT # / TYPE").value(0),
              QByteArray(20, 'x') + QByteArray(20, 'y') + QByteArray(20, ' ') + "ANT # / TYPE        ");
    EXPECT_TRUE(
        f.labelled("PGM / RUN BY / DATE").value(0).startsWith(QByteArray(20, 'p') + QByteArray(20, 'r')));
}

TEST(WriterSetters, AntennaDeltaStrictlyInsidePlusMinus1000) {
    Rinex3xx w;
    EXPECT_TRUE(w.setAntennaDelta(999.999, -999.999, 0));
    EXPECT_FALSE(w.setAntennaDelta(1000, 0, 0));
    EXPECT_FALSE(w.setAntennaDelta(0, -1000, 0));
    EXPECT_FALSE(w.setAntennaDelta(0, 0, 1000.5));
}

TEST(WriterSetters, AntennaHeightIncludesPlusMinus1000) {
    Rinex3xx w;
    EXPECT_TRUE(w.setAntennaHeight(1000));
    EXPECT_TRUE(w.setAntennaHeight(-1000));
    EXPECT_FALSE(w.setAntennaHeight(1000.001));
    EXPECT_FALSE(w.setAntennaHeight(-1000.5));
}

TEST(WriterSetters, ApproxPositionLatitudeAndLongitudeRanges) {
    Rinex3xx w;
    EXPECT_TRUE(w.setApproxPosition(-90, -180, 0));
    EXPECT_TRUE(w.setApproxPosition(90, 360, 0));
    EXPECT_FALSE(w.setApproxPosition(90.5, 0, 0));
    EXPECT_FALSE(w.setApproxPosition(0, -180.5, 0));
    EXPECT_FALSE(w.setApproxPosition(0, 360.5, 0));
}

TEST(WriterSetters, PpkModeAcceptedOnlyFrom1To3) {
    Rinex3xx w;
    EXPECT_FALSE(w.setPpkMode(0));
    EXPECT_TRUE(w.setPpkMode(1));
    EXPECT_TRUE(w.setPpkMode(3));
    EXPECT_FALSE(w.setPpkMode(4));
}

TEST(WriterSetters, CommentsArePaddedOrCutTo60AndLabelled) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setComments({"short", QByteArray(70, 'c')}));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_TRUE(f.header.contains("short" + QByteArray(55, ' ') + "COMMENT             "));
    EXPECT_TRUE(f.header.contains(QByteArray(60, 'c') + "COMMENT             "));
}

TEST(WriterSetters, EverySetterRefusesWhileOpen) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    Rinex3xx& w = o.writer;
    EXPECT_FALSE(w.setVersion(3));
    EXPECT_FALSE(w.setVersion(QByteArray("3.03")));
    EXPECT_FALSE(w.setProgram("p", "r"));
    EXPECT_FALSE(w.setMarker("A", "1", "GEODETIC"));
    EXPECT_FALSE(w.setObserver("o", "a"));
    EXPECT_FALSE(w.setReceiver("1", "t", "v"));
    EXPECT_FALSE(w.setAntenna("1", "t"));
    EXPECT_FALSE(w.setAntennaDelta(1, 0, 0));
    EXPECT_FALSE(w.setAntennaHeight(1));
    EXPECT_FALSE(w.setApproxPosition(1, 1, 1));
    EXPECT_FALSE(w.setSignalSearchMode(2));
    EXPECT_FALSE(w.setPpkMode(2));
    EXPECT_FALSE(w.setPresetSignals({{'G', {"1C"}}}));
    EXPECT_FALSE(w.setGlonassCodeBiases({{"1C", 1.0}}));
    EXPECT_FALSE(w.setComments({"x"}));
    w.close();
    EXPECT_TRUE(w.setVersion(3));
}

TEST(WriterSetters, PresetSignalsAreListedInTheHeaderWithoutData) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setPresetSignals({{'G', {"1C", "2W"}}}));
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    ASSERT_EQ(f.labelled("SYS / # / OBS TYPES").size(), 1);
    EXPECT_EQ(f.labelled("SYS / # / OBS TYPES")[0],
              "G   8  C1C L1C D1C S1C C2W L2W D2W S2W" + QByteArray(5 * 4, ' ') + "  SYS / # / OBS TYPES ");
}

// ---- output files ----

TEST(WriterFiles, PathEndingInUnderscoreGivesTheFiveFileNames) {
    QTemporaryDir dir;
    Rinex3xx w;
    ASSERT_GT(w.open(dir.filePath("x.23_")), 0);
    w.close();
    for (const char* name : {"x.23O", "x.23C", "x.23L", "x.23N", "x.23G"})
        EXPECT_TRUE(QFileInfo::exists(dir.filePath(name))) << name;
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("x.23_")));
    EXPECT_EQ(w.observationFileName(), dir.filePath("x.23O"));
    EXPECT_EQ(w.outputFileNames(),
              QStringList({dir.filePath("x.23O"), dir.filePath("x.23C"), dir.filePath("x.23L"),
                           dir.filePath("x.23N"), dir.filePath("x.23G")}));
}

TEST(WriterFiles, ExistingNavigationFileMakesOpenFailWithoutCreatingAnything) {
    QTemporaryDir dir;
    {
        QFile existing(dir.filePath("x.23N"));
        ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
        existing.write("keep me");
    }
    Rinex3xx w;
    EXPECT_EQ(w.open(dir.filePath("x.23_")), 0);
    EXPECT_FALSE(w.isOpen());
    for (const char* name : {"x.23O", "x.23C", "x.23L", "x.23G"})
        EXPECT_FALSE(QFileInfo::exists(dir.filePath(name))) << name;
    EXPECT_EQ(readAll(dir.filePath("x.23N")), QByteArray("keep me"));
}

TEST(WriterFiles, OpenWhileOpenReturnsZero) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    EXPECT_EQ(o.writer.open(o.dir.filePath("y.23_")), 0);
    EXPECT_FALSE(QFileInfo::exists(o.dir.filePath("y.23O")));
}

TEST(WriterFiles, OpenFailsWhenTheFilesCannotBeCreated) {
    QTemporaryDir dir;
    Rinex3xx w;
    EXPECT_EQ(w.open(dir.filePath("missing/x.23_")), 0);
    EXPECT_FALSE(w.isOpen());
}

TEST(WriterFiles, ReservationKeepsItsBlankCommentLinesAndEndOfHeaderBehindTheHeader) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    o.writer.close();
    // Without epochs the file is exactly the reservation: 65 lines of 82 bytes.
    const QByteArray bytes = readAll(o.file('O'));
    ASSERT_EQ(bytes.size(), kReservedHeaderBytes);
    const QList<QByteArray> lines = splitLines(bytes);
    ASSERT_EQ(lines.size(), 65);
    for (const QByteArray& line : lines)
        EXPECT_EQ(line.size(), 80) << line.constData();
    EXPECT_EQ(lines[64], QByteArray(60, ' ') + "END OF HEADER       ");
    EXPECT_EQ(lines[63], QByteArray(60, ' ') + "COMMENT             ");
}

TEST(WriterFiles, OpenReturnsTheBytesOfAllReservations) {
    QTemporaryDir dir;
    Rinex3xx w;
    const qint64 written = w.open(dir.filePath("x.23_"));
    // Observation: 65 lines of 82 bytes; each navigation file: 9 lines of 82 bytes and the
    // system text written over the blanks at byte 40.
    const qint64 navigationText = 6 + 10 + 6 + 10; // "C: BDS", "E: GALILEO", "G: GPS", "R: GLONASS"
    EXPECT_EQ(written, 65 * 82 + 4 * 9 * 82 + navigationText);
    w.close();
}

TEST(WriterFiles, NavigationFilesCarryTheirSystemAfterClose) {
    QTemporaryDir dir;
    Rinex3xx w;
    ASSERT_GT(w.open(dir.filePath("x.23_")), 0);
    w.close();
    for (const char* name : {"x.23C", "x.23L", "x.23N", "x.23G"}) {
        const QByteArray bytes = readAll(dir.filePath(name));
        EXPECT_TRUE(bytes.startsWith("     3.04")) << name;
        EXPECT_TRUE(bytes.contains("END OF HEADER")) << name;
    }
}

TEST(WriterFiles, ClosingANeverOpenedWriterDoesNothing) {
    QTemporaryDir dir;
    Rinex3xx w;
    w.close();
    EXPECT_FALSE(w.isOpen());
    EXPECT_TRUE(QDir(dir.path()).entryList(QDir::Files).isEmpty());
    EXPECT_TRUE(w.writeError().isEmpty());
    EXPECT_EQ(w.epochsWritten(), 0);
}

TEST(WriterFiles, DestructorClosesAndWritesTheHeader) {
    QTemporaryDir dir;
    {
        Rinex3xx w;
        ASSERT_GT(w.open(dir.filePath("x.23_")), 0);
    }
    const ObservationFile f(dir.filePath("x.23O"));
    EXPECT_TRUE(f.header.value(0).startsWith("     3.04"));
}

TEST(WriterFiles, ReopenWithAnotherPathStartsAFreshConversion) {
    QTemporaryDir dir;
    Rinex3xx w;
    ASSERT_GT(w.open(dir.filePath("a.23_")), 0);
    feed(w, rangeFrame(2010, 345600000, oneGpsSignal));
    EXPECT_EQ(w.epochsWritten(), 1);
    w.close();
    ASSERT_GT(w.open(dir.filePath("b.23_")), 0);
    EXPECT_EQ(w.epochsWritten(), 0);
    w.close();
    const ObservationFile f(dir.filePath("b.23O"));
    EXPECT_TRUE(f.labelled("SYS / # / OBS TYPES").isEmpty());
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(WriterFiles, FailedWriteIsReportedWithTheFileName) {
    // A file-size limit just above the reservations makes the epoch writes fail like a
    // full disk would.
    struct rlimit saved {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
    QTemporaryDir dir;
    Rinex3xx w;
    ASSERT_GT(w.open(dir.filePath("x.23_")), 0);
    struct rlimit limited = saved;
    limited.rlim_cur = kReservedHeaderBytes + 100;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
    for (uint32_t i = 0; i < 400; ++i)
        feed(w, rangeFrame(2010, 345600000 + i * 1000, oneGpsSignal));
    w.close();
    setrlimit(RLIMIT_FSIZE, &saved);
    ::signal(SIGXFSZ, previousHandler);
    EXPECT_TRUE(w.writeError().startsWith("write failed, ")) << w.writeError().toStdString();
    EXPECT_TRUE(w.writeError().endsWith("x.23O")) << w.writeError().toStdString();
}

TEST(WriterFiles, SuccessfulConversionHasNoWriteError) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, oneGpsSignal));
    o.writer.close();
    EXPECT_TRUE(o.writer.writeError().isEmpty());
}

// ---- dispatch ----

TEST(WriterDispatch, FramesAreIgnoredWhileClosed) {
    Rinex3xx w;
    const encoding::Bytes frame = rangeFrame(2010, 345600000, oneGpsSignal);
    EXPECT_EQ(feed(w, frame), 0);
    EXPECT_EQ(w.epochsWritten(), 0);
}

TEST(WriterDispatch, FrameWithBadHeaderOrUnknownIdWritesNothing) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    encoding::Bytes frame = rangeFrame(2010, 345600000, oneGpsSignal);
    EXPECT_EQ(o.writer.handleFrame(frame.data(), quint32(frame.size() - 1)), 0);
    EXPECT_EQ(feed(o.writer, encoding::boardFrame(42, stamp(2010, 0), encoding::Bytes(88, 0))), 0);
    EXPECT_EQ(o.writer.epochsWritten(), 0);
}

TEST(WriterDispatch, RangeLogWritesOneEpochAndCountsIt) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    const qint64 written = feed(o.writer, rangeFrame(2010, 345600000, oneGpsSignal));
    EXPECT_GT(written, 0);
    EXPECT_EQ(o.writer.epochsWritten(), 1);
    const ObservationFile f = o.closeAndRead();
    // the returned count is what the epoch added to the file
    EXPECT_EQ(written, f.bytes.size() - kReservedHeaderBytes);
}

TEST(WriterDispatch, CompressedRangeLogsWriteEpochs) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    const std::vector<encoding::RangeSignal> s = {
        signal('G', 7, "1C", 22183543.6640625, -116575343.5234375, -2339.21484375, 49.0)};
    EXPECT_GT(feed(o.writer, encoding::encodeRangeCmp(stamp(2010, 345600000), s).frame), 0);
    EXPECT_GT(feed(o.writer, encoding::encodeRangeCmp2(stamp(2010, 345601000), s).frame), 0);
    EXPECT_EQ(o.writer.epochsWritten(), 2);
    const ObservationFile f = o.closeAndRead();
    ASSERT_EQ(f.body.size(), 4);
    EXPECT_TRUE(f.body[1].startsWith("G07  22183543.664"));
    EXPECT_TRUE(f.body[3].startsWith("G07  22183543.664"));
}

TEST(WriterDispatch, SignalSearchModeChoosesTheGlonassRowOfADuplicateType) {
    // GLONASS signal type 5 is listed as 2P first and 2C last.
    auto run = [](quint32 mode) {
        OpenWriter o;
        o.writer.setSignalSearchMode(mode);
        EXPECT_TRUE(o.open());
        encoding::RangeSignal s = signal('R', 8, "2P", 21000000.0, -110000000.0, 100.0, 40.0, 1);
        feed(o.writer, rangeFrame(2010, 345600000, {s}));
        return o.closeAndRead().labelled("SYS / # / OBS TYPES").value(0);
    };
    EXPECT_TRUE(run(0).startsWith("R   4  C2P L2P D2P S2P"));
    EXPECT_TRUE(run(2).startsWith("R   4  C2C L2C D2C S2C"));
}

TEST(WriterDispatch, PpkMode2WritesTheHeaderButNoEpochs) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setPpkMode(2));
    ASSERT_TRUE(o.open());
    EXPECT_EQ(feed(o.writer, rangeFrame(2010, 345600000, oneGpsSignal)), 0);
    EXPECT_EQ(feed(o.writer, rangeFrame(2010, 345601000, oneGpsSignal)), 0);
    EXPECT_EQ(o.writer.epochsWritten(), 0);
    const ObservationFile f = o.closeAndRead();
    EXPECT_TRUE(f.header.value(0).startsWith("     3.04           OBSERVATION DATA"));
    EXPECT_EQ(f.header.size(), 65);
    EXPECT_TRUE(f.body.isEmpty());
}

TEST(WriterDispatch, SecondComputedPositionDoesNotReplaceTheFirst) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    // latitude 0, longitude 90, height 100 + undulation 10 -> X 0, Y a + 110, Z 0
    feed(o.writer, encoding::encodeLogFrame(position(0, 16, 1e-9, 90.0, 100.0, 10.0f), stamp(2010, 0)));
    feed(o.writer, encoding::encodeLogFrame(position(0, 16, 45.0, 0.0, 0.0, 0.0f), stamp(2010, 1000)));
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("APPROX POSITION XYZ").value(0).left(42),
              "        0.0000  6378247.0000        0.0001");
}

TEST(WriterDispatch, PositionWithSolutionStatusNotZeroIsNeverKept) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    feed(o.writer, encoding::encodeLogFrame(position(1, 16, 45.0, 10.0, 100.0, 0.0f), stamp(2010, 0)));
    feed(o.writer, encoding::encodeLogFrame(position(0, 0, 45.0, 10.0, 100.0, 0.0f), stamp(2010, 0)));
    const ObservationFile f = o.closeAndRead();
    // neither kept: latitude 0, longitude 0, height 0
    EXPECT_EQ(f.labelled("APPROX POSITION XYZ").value(0).left(42),
              "  6378137.0000        0.0000        0.0000");
}

TEST(WriterDispatch, UserPositionTakesPrecedenceOverTheComputedOne) {
    OpenWriter o;
    ASSERT_TRUE(o.writer.setApproxPosition(90.0, 0.0, 0.0));
    ASSERT_TRUE(o.open());
    feed(o.writer, encoding::encodeLogFrame(position(0, 16, 10.0, 90.0, 100.0, 10.0f), stamp(2010, 0)));
    const ObservationFile f = o.closeAndRead();
    // at the pole Z = b = a * sqrt(1 - e^2) = 6356752.3142
    EXPECT_EQ(f.labelled("APPROX POSITION XYZ").value(0).left(42),
              "        0.0000        0.0000  6356752.3142");
}

TEST(WriterDispatch, FirstValidTimeRecordGivesTheLeapSeconds) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    decoding::TimeSolution invalid{};
    invalid.utcOffset = -5.0;
    invalid.utcStatus = 0; // not valid: not kept
    decoding::TimeSolution first{};
    first.utcOffset = -17.6; // rounds to -18
    first.utcStatus = 1;
    decoding::TimeSolution second = first;
    second.utcOffset = -30.0;
    feed(o.writer, encoding::encodeLogFrame(invalid, stamp(2010, 0)));
    feed(o.writer, encoding::encodeLogFrame(first, stamp(2010, 1000)));
    feed(o.writer, encoding::encodeLogFrame(second, stamp(2010, 2000)));
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("LEAP SECONDS").value(0), "    18" + QByteArray(54, ' ') + "LEAP SECONDS        ");
}

TEST(WriterDispatch, FirstUtcRecordGivesTheLeapSecondsBeforeTheTimeRecord) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    decoding::TimeSolution time{};
    time.utcOffset = -30.0;
    time.utcStatus = 1;
    decoding::IonoUtcParameters first{};
    first.leapSeconds = 17;
    decoding::IonoUtcParameters latest{};
    latest.leapSeconds = 18;
    feed(o.writer, encoding::encodeLogFrame(time, stamp(2010, 0)));
    feed(o.writer, encoding::encodeLogFrame(first, stamp(2010, 0), decoding::LogIonUtcU));
    feed(o.writer, encoding::encodeLogFrame(latest, stamp(2010, 0), decoding::LogBd2IonUtc));
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("LEAP SECONDS").value(0), "    17" + QByteArray(54, ' ') + "LEAP SECONDS        ");
}

TEST(WriterDispatch, GlonassEphemerisSetsTheLeapSeconds) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    decoding::IonoUtcParameters utc{};
    utc.leapSeconds = 17;
    feed(o.writer, encoding::encodeLogFrame(utc, stamp(2010, 0)));
    decoding::GlonassEphemeris eph{};
    eph.slot = 37 + 8;
    eph.frequency = 7 + 1;
    eph.week = 2010;
    eph.referenceTime = 345600000;
    eph.timeOffset = 10782; // whole seconds: 3 h minus 18 leap seconds
    const qint64 written = feed(o.writer, encoding::encodeLogFrame(eph, stamp(2010, 345600000)));
    EXPECT_GT(written, 0);
    const ObservationFile f = o.closeAndRead();
    EXPECT_EQ(f.labelled("LEAP SECONDS").value(0), "    18" + QByteArray(54, ' ') + "LEAP SECONDS        ");
    EXPECT_TRUE(readAll(o.file('G')).contains("R08 "));
}

TEST(WriterDispatch, GpsEphemerisGoesToTheGpsNavigationFile) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    decoding::GpsEphemeris eph{};
    eph.satellite = 5;
    eph.iode1 = 17;
    eph.iode2 = 17;
    eph.week = 2010;
    eph.toe = 352800.0;
    eph.a = 26560000.0;
    const qint64 written = feed(o.writer, encoding::encodeLogFrame(eph, stamp(2010, 345600000)));
    EXPECT_GT(written, 0);
    o.writer.close();
    EXPECT_TRUE(readAll(o.file('N')).contains("G05 2018 07 19 02 00 00"));
    EXPECT_FALSE(readAll(o.file('G')).contains("G05"));
}

TEST(WriterDispatch, WithoutAnyLeapSecondSourceTheLineIsLeftOut) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    const ObservationFile f = o.closeAndRead();
    EXPECT_TRUE(f.labelled("LEAP SECONDS").isEmpty());
}
