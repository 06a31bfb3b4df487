// SPDX-License-Identifier: MIT
// Observation epochs: epoch line, satellite lines with their 16-character fields, stable
// columns, the interval and the GLONASS slots collected from the data.
#include "writer_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>
#include <vector>

#include "rinex/rinex3xx.h"

using namespace writertest;

namespace {

const QByteArray kClockZero = "       0.000000000000";

ObservationFile convert(const std::vector<encoding::Bytes>& frames) {
    OpenWriter o;
    EXPECT_TRUE(o.open());
    for (const encoding::Bytes& frame : frames)
        feed(o.writer, frame);
    return o.closeAndRead();
}

// Sets one status-word field of the n-th RANGE record and rebuilds the frame around it.
encoding::Bytes patchRangeStatus(const encoding::Bytes& frame, int record, uint32_t mask, uint32_t value) {
    encoding::Bytes body(frame.begin() + encoding::kBoardHeaderLength, frame.end() - 4);
    const size_t at = 4 + size_t(record) * 44 + 40;
    uint32_t word = uint32_t(body[at]) | uint32_t(body[at + 1]) << 8 | uint32_t(body[at + 2]) << 16 |
                    uint32_t(body[at + 3]) << 24;
    word = (word & ~mask) | value;
    for (int i = 0; i < 4; ++i)
        body[at + size_t(i)] = uint8_t(word >> (8 * i));
    return encoding::boardFrame(decoding::LogRange, stamp(2010, 345600000), body);
}

} // namespace

TEST(ObservationEpoch, EpochLineUsesTheGpsCalendarWithoutLeapSeconds) {
    const ObservationFile f =
        convert({rangeFrame(2010, 345630500, {signal('G', 5, "1C", 2.2e7, -1.1e8, 100.0, 40.0)})});
    ASSERT_EQ(f.epochLines().size(), 1);
    EXPECT_EQ(f.epochLines()[0], "> 2018 07 19 00 00 30.5000000  0  1" + kClockZero);
}

TEST(ObservationEpoch, EpochAtTheStartOfGpsTime) {
    const ObservationFile f = convert({rangeFrame(0, 0, {signal('G', 5, "1C", 2.2e7, -1.1e8, 100.0, 40.0)})});
    EXPECT_EQ(f.epochLines().value(0), "> 1980 01 06 00 00  0.0000000  0  1" + kClockZero);
}

TEST(ObservationEpoch, SatelliteLineHoldsFourSixteenCharacterFields) {
    const ObservationFile f = convert({rangeFrame(
        2010, 345600000, {signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0)})});
    ASSERT_EQ(f.body.size(), 2);
    // pseudorange, blank, blank | phase negated, blank, digit round(43/6) = 7 | Doppler | C/N0
    EXPECT_EQ(f.body[1], QByteArray("G05") + "  23074455.906  " + " 121257095.719 7" + "      2477.621  " +
                             "        43.000");
}

TEST(ObservationEpoch, SecondSignalOnlySatelliteGets64BlanksForTheFirstColumn) {
    const ObservationFile f =
        convert({rangeFrame(2010, 345600000,
                            {signal('G', 1, "1C", 20000000.0, -100000000.0, 1.0, 40.0),
                             signal('G', 1, "2W", 20000001.0, -80000000.0, 2.0, 30.0),
                             signal('G', 2, "2W", 21000001.0, -85000000.0, -3.5, 32.0)})});
    ASSERT_EQ(f.body.size(), 3);
    EXPECT_EQ(f.body[2], "G02" + QByteArray(64, ' ') + "  21000001.000  " + "  85000000.000 5" +
                             "        -3.500  " + "        32.000");
}

TEST(ObservationEpoch, PseudorangeOfABillionOrMoreIsFoldedWithLossOfLock) {
    const ObservationFile f =
        convert({rangeFrame(2010, 345600000, {signal('E', 9, "1C", 1234567890.123, -1.1e8, 100.0, 40.0)})});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_EQ(f.body[1].mid(3, 16), " 234567890.1231 ");
}

TEST(ObservationEpoch, NegativePhaseBeyondABillionIsFoldedWithLossOfLock) {
    // board phase +1500000000.5 is written negated: -1500000000.5, folded to -500000000.5
    const ObservationFile f =
        convert({rangeFrame(2010, 345600000, {signal('G', 3, "1C", 2.0e7, 1500000000.5, 100.0, 40.0)})});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_EQ(f.body[1].mid(19, 16), "-500000000.50017");
}

TEST(ObservationEpoch, UnknownParityMarksThePhaseWithLossOfLock) {
    encoding::RangeSignal s = signal('G', 3, "1C", 2.0e7, -1.0e8, 100.0, 40.0);
    s.parityKnown = false;
    const ObservationFile f = convert({rangeFrame(2010, 345600000, {s})});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_EQ(f.body[1].mid(3, 32), QByteArray("  20000000.000  ") + " 100000000.00017");
}

TEST(ObservationEpoch, PhaseNotLockedLeavesThePhaseFieldBlank) {
    encoding::RangeSignal s = signal('G', 3, "1C", 2.0e7, -1.0e8, 100.0, 40.0);
    s.phaseLocked = false;
    const ObservationFile f = convert({rangeFrame(2010, 345600000, {s})});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_EQ(f.body[1], "G03  20000000.000  " + QByteArray(16, ' ') + "       100.000          40.000");
}

TEST(ObservationEpoch, CodeNotLockedLeavesThePseudorangeFieldBlank) {
    encoding::RangeSignal s = signal('G', 3, "1C", 2.0e7, -1.0e8, 100.0, 40.0);
    s.codeLocked = false;
    const ObservationFile f = convert({rangeFrame(2010, 345600000, {s})});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_EQ(f.body[1], "G03" + QByteArray(16, ' ') + " 100000000.000 7       100.000          40.000");
}

TEST(ObservationEpoch, SignalStrengthDigitIsCn0BySixRoundedWithin1To9) {
    const ObservationFile f = convert({rangeFrame(2010, 345600000,
                                                  {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 2.0),
                                                   signal('G', 2, "1C", 2.0e7, -1.0e8, 1.0, 60.0),
                                                   signal('G', 3, "1C", 2.0e7, -1.0e8, 1.0, 45.0)})});
    ASSERT_EQ(f.body.size(), 4);
    EXPECT_EQ(f.body[1].at(34), '1'); // 2 / 6 rounds to 0, raised to 1
    EXPECT_EQ(f.body[2].at(34), '9'); // 60 / 6 = 10, capped at 9
    EXPECT_EQ(f.body[3].at(34), '8'); // 45 / 6 = 7.5 rounds to 8
}

TEST(ObservationEpoch, SignalStrengthDigitRoundsHalvesUpAtEveryStep) {
    // C/N0 = 6 k + 3 lies half way between two digits and rounds up; just below stays down.
    std::vector<encoding::RangeSignal> s;
    for (int k = 0; k <= 9; ++k) {
        s.push_back(signal('G', 2 * k + 1, "1C", 2.0e7, -1.0e8, 1.0, 6.0 * k + 3.0));
        s.push_back(signal('G', 2 * k + 2, "1C", 2.0e7, -1.0e8, 1.0, 6.0 * k + 2.99));
    }
    const ObservationFile f = convert({rangeFrame(2010, 345600000, s)});
    ASSERT_EQ(f.body.size(), 21);
    for (int k = 0; k <= 9; ++k) {
        EXPECT_EQ(f.body[1 + 2 * k].at(34), char('0' + std::min(9, std::max(1, k + 1)))) << k;
        EXPECT_EQ(f.body[2 + 2 * k].at(34), char('0' + std::min(9, std::max(1, k)))) << k;
    }
}

TEST(ObservationEpoch, LinesEndWithoutTrailingBlanks) {
    encoding::RangeSignal s = signal('G', 3, "1C", 2.0e7, -1.0e8, 100.0, 40.0);
    const ObservationFile f = convert({rangeFrame(2010, 345600000, {s})});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_TRUE(f.body[1].endsWith("40.000"));
    EXPECT_TRUE(f.bytes.endsWith("40.000\r\n"));
}

TEST(ObservationEpoch, LogsWithTheSameTimeDoNotChangeTheInterval) {
    const auto s = std::vector<encoding::RangeSignal>{signal('G', 3, "1C", 2.0e7, -1.0e8, 100.0, 40.0)};
    const ObservationFile f = convert({rangeFrame(2010, 345600000, s), rangeFrame(2010, 345600000, s),
                                       rangeFrame(2010, 345605000, s), rangeFrame(2010, 345605000, s)});
    EXPECT_EQ(f.epochLines().size(), 4);
    EXPECT_EQ(f.labelled("INTERVAL").value(0), "     5.000" + QByteArray(50, ' ') + "INTERVAL            ");
}

TEST(ObservationEpoch, OneSecondGapAfterFifthsOfASecondLeavesTheSmallestInterval) {
    const auto s = std::vector<encoding::RangeSignal>{signal('G', 3, "1C", 2.0e7, -1.0e8, 100.0, 40.0)};
    const ObservationFile f = convert({rangeFrame(2010, 345600000, s), rangeFrame(2010, 345600200, s),
                                       rangeFrame(2010, 345600400, s), rangeFrame(2010, 345601400, s)});
    EXPECT_EQ(f.labelled("INTERVAL").value(0), "     0.200" + QByteArray(50, ' ') + "INTERVAL            ");
    EXPECT_EQ(f.labelled("TIME OF FIRST OBS").value(0),
              "  2018     7    19     0     0    0.0000000     GPS         TIME OF FIRST OBS   ");
    EXPECT_EQ(f.labelled("TIME OF LAST OBS").value(0),
              "  2018     7    19     0     0    1.4000000     GPS         TIME OF LAST OBS    ");
}

TEST(ObservationEpoch, EmptyEpochWritesOnlyTheEpochLineWithZero) {
    const ObservationFile f = convert({rangeFrame(2010, 345600000, {})});
    ASSERT_EQ(f.body.size(), 1);
    EXPECT_EQ(f.body[0], "> 2018 07 19 00 00  0.0000000  0  0" + kClockZero);
}

TEST(ObservationEpoch, EpochLineCountsSatellitesNotSignals) {
    const ObservationFile f = convert({rangeFrame(2010, 345600000,
                                                  {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
                                                   signal('G', 1, "2W", 2.0e7, -0.8e8, 1.0, 30.0),
                                                   signal('R', 4, "1C", 2.1e7, -1.1e8, 1.0, 40.0, 6)})});
    EXPECT_TRUE(f.epochLines().value(0).startsWith("> 2018 07 19 00 00  0.0000000  0  2"));
    EXPECT_EQ(f.body.size(), 3);
}

TEST(ObservationEpoch, SatellitesAreOrderedBySystemLetterThenNumber) {
    const ObservationFile f = convert({rangeFrame(
        2010, 345600000,
        {signal('R', 4, "1C", 2.1e7, -1.1e8, 1.0, 40.0, 6), signal('G', 10, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
         signal('G', 2, "1C", 2.0e7, -1.0e8, 1.0, 40.0), signal('E', 30, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
         signal('C', 11, "2I", 2.0e7, -1.0e8, 1.0, 40.0)})});
    ASSERT_EQ(f.body.size(), 6);
    EXPECT_EQ(f.body[1].left(3), "C11");
    EXPECT_EQ(f.body[2].left(3), "E30");
    EXPECT_EQ(f.body[3].left(3), "G02");
    EXPECT_EQ(f.body[4].left(3), "G10");
    EXPECT_EQ(f.body[5].left(3), "R04");
}

TEST(ObservationEpoch, SignalsAreOrderedByCodeAndRepeatedSignalsKeepTheLogsOrder) {
    // The log lists 2W before 1C and G05 1C twice, with other systems in between: within the
    // epoch 1C comes first, and of the two G05 1C the later one in the log fills the column.
    const ObservationFile f = convert({rangeFrame(2010, 345600000,
                                                  {signal('G', 5, "2W", 20000002.0, -80000000.0, 2.0, 30.0),
                                                   signal('G', 5, "1C", 20000001.0, -1.0e8, 1.0, 40.0),
                                                   signal('R', 4, "1C", 2.1e7, -1.1e8, 1.0, 40.0, 6),
                                                   signal('C', 11, "2I", 2.0e7, -1.0e8, 1.0, 40.0),
                                                   signal('G', 5, "1C", 20000003.0, -1.0e8, 1.0, 40.0)})});
    ASSERT_EQ(f.body.size(), 4);
    EXPECT_EQ(f.body[1].left(3), "C11");
    EXPECT_EQ(f.body[2].left(3 + 14), "G05  20000003.000");
    EXPECT_EQ(f.labelled("SYS / # / OBS TYPES").value(1),
              "G   8  C1C L1C D1C S1C C2W L2W D2W S2W" + QByteArray(20, ' ') + "  SYS / # / OBS TYPES ");
}

TEST(ObservationEpoch, ColumnsKeepTheirPlaceOnceGiven) {
    const ObservationFile f =
        convert({rangeFrame(2010, 345600000, {signal('G', 1, "2W", 20000001.0, -80000000.0, 2.0, 30.0)}),
                 rangeFrame(2010, 345601000,
                            {signal('G', 1, "1C", 20000000.0, -100000000.0, 1.0, 40.0),
                             signal('G', 1, "2W", 20000001.0, -80000000.0, 2.0, 30.0)})});
    ASSERT_EQ(f.body.size(), 4);
    // 2W was met first and keeps column 0; 1C is appended as column 1
    EXPECT_EQ(f.body[3], QByteArray("G01") + "  20000001.000  " + "  80000000.000 5" + "         2.000  " +
                             "        30.000  " + "  20000000.000  " + " 100000000.000 7" +
                             "         1.000  " + "        40.000");
    EXPECT_EQ(f.labelled("SYS / # / OBS TYPES").value(0),
              "G   8  C2W L2W D2W S2W C1C L1C D1C S1C" + QByteArray(20, ' ') + "  SYS / # / OBS TYPES ");
}

TEST(ObservationEpoch, GlonassSlotsAndChannelsAreCollected) {
    std::vector<encoding::RangeSignal> s;
    const int channels[] = {1, -4, 5, 6, -2, -7, 0, -1, 3};
    for (int slot = 1; slot <= 9; ++slot)
        s.push_back(signal('R', slot, "1C", 2.1e7, -1.1e8, 1.0, 40.0, channels[slot - 1]));
    const ObservationFile f = convert({rangeFrame(2010, 345600000, s)});
    const QList<QByteArray> lines = f.labelled("GLONASS SLOT / FRQ #");
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines[0], "  9 R01  1 R02 -4 R03  5 R04  6 R05 -2 R06 -7 R07  0 R08 -1 GLONASS SLOT / FRQ #");
    EXPECT_EQ(lines[1], "    R09  3 " + QByteArray(7 * 7, ' ') + "GLONASS SLOT / FRQ #");
}

TEST(ObservationEpoch, GlonassCodeBiasShiftsThePhaseByTheChannelFrequency) {
    OpenWriter o;
    // 1C: f = 1602000000 - 7 * 562500 = 1598062500 Hz, 0.5 m -> +2.6653 cycles
    // 2P: f = 1246000000 + 2 * 437500 = 1246875000 Hz, -1.25 m -> -5.1989 cycles
    ASSERT_TRUE(o.writer.setGlonassCodeBiases({{"1C", 0.5}, {"2P", -1.25}}));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000,
                              {signal('R', 1, "1C", 2.1e7, -110000000.0, 1.0, 40.0, -7),
                               signal('R', 2, "2P", 2.1e7, -80000000.0, 1.0, 40.0, 2)}));
    const ObservationFile f = o.closeAndRead();
    ASSERT_EQ(f.body.size(), 3);
    EXPECT_EQ(f.body[1].mid(19, 14), " 110000002.665");
    EXPECT_EQ(f.body[2].mid(19 + 64, 14), "  79999994.801");
}

TEST(ObservationEpoch, ObservationsWithoutSystemOrSignalDescriptorAreSkipped) {
    const encoding::Bytes frame = rangeFrame(2010, 345600000,
                                             {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
                                              signal('G', 2, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
                                              signal('G', 3, "1C", 2.0e7, -1.0e8, 1.0, 40.0)});
    // record 0: signal type 31 is not in the GPS table; record 1: system 7 has no descriptor
    encoding::Bytes patched = patchRangeStatus(frame, 0, 0x1Fu << 21, 31u << 21);
    patched = patchRangeStatus(patched, 1, 0x7u << 16, 7u << 16);
    const ObservationFile f = convert({patched});
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_TRUE(f.body[0].startsWith("> 2018 07 19 00 00  0.0000000  0  1"));
    EXPECT_EQ(f.body[1].left(3), "G03");
}

TEST(ObservationEpoch, ColumnsBeyondTheLineBufferAreLeftOutOfTheLine) {
    OpenWriter o;
    // Eight preset columns before the observed one: its column no longer fits 512 bytes.
    ASSERT_TRUE(o.writer.setPresetSignals({{'G', {"1X", "2X", "3X", "4X", "5X", "6X", "7X", "8X"}}}));
    ASSERT_TRUE(o.open());
    feed(o.writer, rangeFrame(2010, 345600000, {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0)}));
    const ObservationFile f = o.closeAndRead();
    ASSERT_EQ(f.body.size(), 2);
    EXPECT_EQ(f.body[1], "G01");
    // the header still lists all nine signals: 36 types on three lines
    EXPECT_EQ(f.labelled("SYS / # / OBS TYPES").size(), 3);
    EXPECT_TRUE(f.labelled("SYS / # / OBS TYPES").value(0).startsWith("G   36"));
}

TEST(ObservationEpoch, ReturnedByteCountMatchesTheRecord) {
    OpenWriter o;
    ASSERT_TRUE(o.open());
    const qint64 written = feed(o.writer, rangeFrame(2010, 345600000,
                                                     {signal('G', 1, "1C", 2.0e7, -1.0e8, 1.0, 40.0),
                                                      signal('R', 4, "1C", 2.1e7, -1.1e8, 1.0, 40.0, 6)}));
    const ObservationFile f = o.closeAndRead();
    qint64 expected = 0;
    for (const QByteArray& line : f.body)
        expected += line.size() + 2;
    EXPECT_EQ(written, expected);
}

namespace {

// An epoch's entries in the given order of (system, satellite, code); each remembers its
// position in the pseudorange.
EpochWorkArea workArea(const std::vector<std::tuple<char, int, const char*>>& order) {
    EpochWorkArea area;
    for (const auto& [system, satellite, code] : order) {
        EpochWorkArea::Entry e{};
        e.system = system;
        e.satellite = quint16(satellite);
        e.code[0] = code[0];
        e.code[1] = code[1];
        e.pseudorange = double(area.entries.size());
        area.entries.push_back(e);
    }
    return area;
}

// sort() against a stable sort by system, satellite and code: the positions in order.
void expectSortedLikeAStableSort(EpochWorkArea area) {
    std::vector<EpochWorkArea::Entry> expected = area.entries;
    std::stable_sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) {
        if (a.system != b.system) return a.system < b.system;
        if (a.satellite != b.satellite) return a.satellite < b.satellite;
        return std::memcmp(a.code, b.code, 2) < 0;
    });
    area.sort();
    ASSERT_EQ(area.entries.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(area.entries[i].pseudorange, expected[i].pseudorange) << "at " << i;
}

} // namespace

TEST(ObservationEpoch, SystemsInTheBoardsOrderAreSortedByLetter) {
    // Each system's observations together and in order, the systems not: runs put in order.
    expectSortedLikeAStableSort(workArea({{'G', 1, "1C"},
                                          {'G', 1, "2W"},
                                          {'G', 7, "1C"},
                                          {'R', 3, "1C"},
                                          {'R', 9, "2P"},
                                          {'S', 23, "1C"},
                                          {'E', 2, "1C"},
                                          {'E', 2, "5Q"},
                                          {'C', 5, "2I"}}));
}

TEST(ObservationEpoch, InterleavedRunsAndRepeatedSignalsAreSortedStably) {
    // Runs whose ranges overlap; a signal listed twice keeps the decoder's order.
    expectSortedLikeAStableSort(workArea({{'G', 1, "1C"}, {'G', 3, "1C"}, {'G', 2, "1C"}, {'G', 4, "1C"}}));
    expectSortedLikeAStableSort(workArea({{'G', 5, "1C"}, {'G', 5, "1C"}, {'E', 1, "1C"}, {'G', 5, "1C"}}));
    // More runs than are put in order one by one: every satellite alone, descending.
    std::vector<std::tuple<char, int, const char*>> descending;
    for (int n = 30; n >= 1; --n)
        descending.emplace_back('G', n, "1C");
    expectSortedLikeAStableSort(workArea(descending));
}

TEST(ObservationEpoch, RandomEpochsAreSortedLikeAStableSort) {
    std::mt19937 random(7);
    const char systems[] = "GRSEC";
    const char* codes[] = {"1C", "2W", "5Q", "2C"};
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::tuple<char, int, const char*>> order;
        const int blocks = 1 + int(random() % 6);
        for (int b = 0; b < blocks; ++b) {
            // Mostly ascending blocks of a system, sometimes shuffled.
            const char system = systems[random() % 5];
            std::vector<std::tuple<char, int, const char*>> block;
            const int count = 1 + int(random() % 12);
            for (int i = 0; i < count; ++i)
                block.emplace_back(system, 1 + int(random() % 8), codes[random() % 4]);
            if (random() % 3 != 0)
                std::sort(block.begin(), block.end(), [](const auto& a, const auto& b) {
                    if (std::get<1>(a) != std::get<1>(b)) return std::get<1>(a) < std::get<1>(b);
                    return std::strcmp(std::get<2>(a), std::get<2>(b)) < 0;
                });
            order.insert(order.end(), block.begin(), block.end());
        }
        SCOPED_TRACE(round);
        expectSortedLikeAStableSort(workArea(order));
        if (HasFailure()) return;
    }
}
