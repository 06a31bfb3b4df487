// SPDX-License-Identifier: MIT
// The Compact RINEX encoder on hand-made observation texts: exact output where the format
// fixes it, and round trips through the tests' own expander.
#include <algorithm>
#include <gtest/gtest.h>

#include "compact_rinex_test_texts.h"
#include "compression/compact_rinex.h"
#include "support/compact_rinex_expander.h"

using namespace crxtest;

namespace {

std::string compress(const std::string& plain) {
    std::string compact, error;
    EXPECT_TRUE(compression::compactRinexText(plain.data(), plain.size(), &compact, &error)) << error;
    return compact;
}

// Compresses, expands, and compares with the plain text as the expander gives it back.
std::string roundTrip(const std::string& plain) {
    const std::string compact = compress(plain);
    std::string back, error;
    EXPECT_TRUE(testsupport::expandCompactRinex(compact, &back, &error)) << error;
    EXPECT_EQ(back, testsupport::normalisedPlainRinex(plain));
    // No compressed line carries a trailing blank or a CR, and the last one ends in LF.
    EXPECT_FALSE(compact.empty());
    if (!compact.empty()) {
        EXPECT_EQ(compact.back(), '\n');
    }
    for (const std::string& line : linesOf(compact)) {
        EXPECT_TRUE(line.empty() || (line.back() != ' ' && line.back() != '\r')) << "'" << line << "'";
    }
    return compact;
}

const std::string kTypes4G = "G    4 C1C L1C D1C S1C";
const std::string kTypes4R = "R    4 C1C L1C D1C S1C";

TEST(CompactRinexEncoder, WorkedExampleTwoEpochs) {
    const std::string plain = header3({kTypes4G, kTypes4R}) +
                              "> 2018 07 19 00 00  0.0000000  0  3       -.000123456789\n"
                              "G05  21089446.109   110825787.594 8       395.138          50.550\n"
                              "G07  25879138.021   135995794.836 6      -749.176          40.650\n"
                              "R03  20522120.401   107844516.172 7          .937          42.000\n"
                              "> 2018 07 19 00 00 30.0000000  0  3       -.000123456001\n"
                              "G05  21089458.233   110825851.301 8       396.001          50.600\n"
                              "R03  20522130.512                           -.412          41.750\n"
                              "G09  23412080.161   123031311.47217     -2472.240          45.300\n";
    const std::string compact = roundTrip(plain);
    const std::vector<std::string> lines = linesOf(compact);
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[0], "3.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE");
    EXPECT_EQ(lines[1].substr(60), "CRINEX PROG / DATE");
    EXPECT_EQ(lines[2], "     3.04           OBSERVATION DATA    M                   RINEX VERSION / TYPE");
    const std::vector<std::string> expected = {
        "> 2018 07 19 00 00  0.0000000  0  3      G05G07R03",
        "3&-123456789",
        "3&21089446109 3&110825787594 3&395138 3&50550 &&&8&&&&",
        "3&25879138021 3&135995794836 3&-749176 3&40650 &&&6&&&&",
        "3&20522120401 3&107844516172 3&937 3&42000 &&&7&&&&",
        "                   3                        R 3G 9",
        "788",
        "12124 63707 863 50",
        "10111  -1349 -250    &",
        "3&23412080161 3&123031311472 3&-2472240 3&45300 &&17&&&&",
    };
    EXPECT_EQ(bodyOf(compact), expected);
}

TEST(CompactRinexEncoder, ThirdDifferencesAndLargeJumpRestart) {
    // L1C (field 2) jumps by 10^7 units at the fifth epoch; the arc restarts one epoch later.
    const char* values[] = {"100.000", "200.000", "300.000", "400.000", "10000400.000", "10000500.000", "10000600.000"};
    std::string plain = header3({"G    2 C1C L1C"});
    for (int e = 0; e < 7; ++e) plain += epoch3(30 * e, 0, 1) + "G01" + fields({{""}, {values[e]}}) + "\n";
    const std::string compact = roundTrip(plain);
    std::vector<std::string> tokens;
    const std::vector<std::string> body = bodyOf(compact);
    for (size_t i = 2; i < body.size(); i += 3) tokens.push_back(body[i]);
    const std::vector<std::string> expected = {" 3&100000 &&&&", " 100000", " 0", " 0", " 9999900000", " 3&10000500000",
                                               " 100000"};
    EXPECT_EQ(tokens, expected);
}

TEST(CompactRinexEncoder, ClockArcAndMissingClock) {
    // Clock 1, -1, 3, 10 (10^-12 s), then none, then 5 again: a new arc.
    const char* clocks[] = {"0.000000000001", "-0.000000000001", "0.000000000003", "0.000000000010", "",
                            "0.000000000005"};
    std::string plain = header3({"G    1 C1C"});
    for (int e = 0; e < 6; ++e) plain += epoch3(30 * e, 0, 1, clocks[e]) + "G01" + fields({{"20000000.000"}}) + "\n";
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    ASSERT_EQ(body.size(), 18u);
    EXPECT_EQ(body[1], "3&1");
    EXPECT_EQ(body[4], "-2");
    EXPECT_EQ(body[7], "6");
    EXPECT_EQ(body[10], "-3");
    EXPECT_EQ(body[13], "");
    EXPECT_EQ(body[16], "3&5");
    // The epoch line goes without the clock: cut back to 41 columns plus the IDs.
    EXPECT_EQ(body[0], "> 2018 07 19 00 00  0.0000000  0  1      G01");
}

TEST(CompactRinexEncoder, ZeroClockOfTheWriterComesBackWithoutLeadingZero) {
    std::string plain = header3({"G    1 C1C"}) + "> 2018 07 19 00 00  0.0000000  0  1       0.000000000000\n" + "G01" +
                        fields({{"20000000.000"}}) + "\n";
    std::string back, error;
    ASSERT_TRUE(testsupport::expandCompactRinex(compress(plain), &back, &error)) << error;
    EXPECT_NE(back.find("> 2018 07 19 00 00  0.0000000  0  1        .000000000000\n"), std::string::npos);
    EXPECT_EQ(back, testsupport::normalisedPlainRinex(plain));
}

TEST(CompactRinexEncoder, SatellitesAppearDisappearAndReorder) {
    std::string plain = header3({kTypes4G, kTypes4R});
    const Field c{"21000000.000"}, l{"110000000.000", ' ', '7'}, d{"-123.456"}, s{"45.000"};
    // G01 G02 | G02 G01 (reordered) | G02 (G01 gone) | G01 G02 R05 (G01 back, R05 new)
    plain += epoch3(0, 0, 2) + "G01" + fields({c, l, d, s}) + "\nG02" + fields({c, l, d, s}) + "\n";
    plain += epoch3(30, 0, 2) + "G02" + fields({{"21000001.000"}, l, d, s}) + "\nG01" + fields({{"21000002.000"}, l, d, s}) + "\n";
    plain += epoch3(60, 0, 1) + "G02" + fields({{"21000003.000"}, l, d, s}) + "\n";
    plain += epoch3(90, 0, 3) + "G01" + fields({c, l, d, s}) + "\nG02" + fields({{"21000005.000"}, l, d, s}) + "\nR05" +
             fields({c, l, d, s}) + "\n";
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    ASSERT_EQ(body.size(), 16u);
    // Reordering keeps the arcs: first differences, flags unchanged.
    EXPECT_EQ(body[6], "1000 0 0 0");
    EXPECT_EQ(body[7], "2000 0 0 0");
    // One satellite fewer: the old list's tail becomes '&'.
    EXPECT_EQ(body[8].substr(body[8].size() - 3), "&&&");
    // G01 returns after one epoch away: every field restarts, flags in full; G02 reaches
    // its third difference; R05 is new.
    EXPECT_EQ(body[13], "3&21000000000 3&110000000000 3&-123456 3&45000 &&&7&&&&");
    EXPECT_EQ(body[14], "-1000 0 0 0");
    EXPECT_EQ(body[15], "3&21000000000 3&110000000000 3&-123456 3&45000 &&&7&&&&");
}

TEST(CompactRinexEncoder, BlankFieldsKeepTheirFlagsAndRestartTheirArc) {
    std::string plain = header3({kTypes4G});
    const Field c{"21000000.000"}, d{"-123.456"}, s{"45.000"};
    plain += epoch3(0, 0, 1) + "G01" + fields({c, {"110000000.000", '1', '7'}, d, s}) + "\n";
    plain += epoch3(30, 0, 1) + "G01" + fields({c, {"", ' ', '5'}, d, s}) + "\n"; // blank value with an SSI
    plain += epoch3(60, 0, 1) + "G01" + fields({c, {"110000001.000", ' ', '5'}, d, s}) + "\n";
    plain += epoch3(90, 0, 1) + "G01" + fields({c, {""}, {""}, {""}}) + "\n"; // trailing blanks
    plain += epoch3(120, 0, 1) + "G01" + fields({{""}, {""}, {""}, {""}}) + "\n"; // no value at all
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    ASSERT_EQ(body.size(), 15u);
    EXPECT_EQ(body[5], "0  0 0   &5");
    EXPECT_EQ(body[8], "0 3&110000001000 0 0");
    EXPECT_EQ(body[11], "0       &"); // the SSI of the now blank L1C goes
    EXPECT_EQ(body[14], "");
}

TEST(CompactRinexEncoder, LargeValuesAndLongLines) {
    // 13 types: satellite lines of 211 columns; values up to the F14.3 limits.
    std::string typeLine = "G   13";
    for (int i = 0; i < 13; ++i) typeLine += " C" + std::to_string(i % 9 + 1) + "C";
    std::string plain = header3({typeLine});
    const char* big[] = {"9999999999.999", "-999999999.999", "1.000", "-9999999.999", "0.138", "-0.412", "-0.000"};
    for (int e = 0; e < 6; ++e) {
        plain += epoch3(30 * e, 0, 2);
        for (int sat = 1; sat <= 2; ++sat) {
            char id[16];
            std::snprintf(id, sizeof id, "G%02d", sat);
            plain += id;
            for (int j = 0; j < 13; ++j) {
                // Alternate extremes so that differences reach eight times the largest value.
                const std::string v = big[(j + e * (sat + 1)) % 7];
                plain += fields({{v, j == 3 ? '4' : ' ', char('1' + (j + e) % 9)}});
            }
            plain += "\n";
        }
    }
    roundTrip(plain);
}

TEST(CompactRinexEncoder, MissingFlagsAndShortRecords) {
    std::string plain = header3({kTypes4G});
    plain += epoch3(0, 0, 2) + "G01  21000000.000\nG02\n";
    plain += epoch3(30, 0, 2) + "G01  21000001.000   110000000.000\nG02" + fields({{""}, {""}, {"1.000"}}) + "\n";
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    ASSERT_EQ(body.size(), 8u);
    EXPECT_EQ(body[2], "3&21000000000    &&&&&&&&");
    EXPECT_EQ(body[3], "    &&&&&&&&");
}

TEST(CompactRinexEncoder, HeaderContinuationLinesAndCrLfInput) {
    std::string typeLine = "E   16 C1C L1C D1C S1C C5Q L5Q D5Q S5Q C7Q L7Q D7Q S7Q C8Q";
    std::string plain = header3({typeLine, "       L8Q D8Q S8Q"});
    for (int e = 0; e < 3; ++e) {
        plain += epoch3(30 * e, 0, 1, "0.000000000000") + "E11";
        for (int j = 0; j < 16; ++j) plain += fields({{std::to_string(1000 + j * 7 + e * e) + ".125", ' ', '8'}});
        plain += "\n";
    }
    const std::string compact = roundTrip(plain);
    // CR before LF and trailing blanks do not change the output (apart from the date line).
    std::string crlf;
    for (const std::string& line : linesOf(plain)) crlf += line + "   \r\n";
    std::vector<std::string> a = linesOf(compact), b = linesOf(compress(crlf));
    ASSERT_EQ(a.size(), b.size());
    a[1] = b[1] = "";
    EXPECT_EQ(a, b);
}

TEST(CompactRinexEncoder, EventsAreCopiedAndRestartEverything) {
    std::string plain = header3({kTypes4G});
    const Field c{"21000000.000"}, l{"110000000.000", ' ', '7'}, d{"-123.456"}, s{"45.000"};
    plain += epoch3(0, 0, 1, "0.000000000000") + "G01" + fields({c, l, d, s}) + "\n";
    plain += ">                              3  4\n" + headerLine("POINT 1", "MARKER NAME") +
             headerLine("1", "MARKER NUMBER") +
             headerLine("  4846664.9180  -370195.2000  4116929.5260", "APPROX POSITION XYZ") +
             headerLine("        1.5000        0.0000        0.0000", "ANTENNA: DELTA H/E/N");
    plain += epoch3(30, 0, 1, "0.000000000000") + "G01" + fields({c, l, d, s}) + "\n";
    plain += ">                              2  0\n";
    plain += ">                              2  0\n"; // consecutive events
    plain += epoch3(60, 1, 1, "0.000000000000") + "G01" + fields({c, l, d, s}) + "\n"; // flag 1 is an epoch
    // A new type list for GPS: 5 types from here on.
    plain += "> 2018 07 19 00 01 30.0000000  4  1\n" + headerLine("G    5 C1C L1C D1C S1C C2W", "SYS / # / OBS TYPES");
    plain += epoch3(90, 0, 1) + "G01" + fields({c, l, d, s, {"21000003.000"}}) + "\n";
    plain += epoch3(120, 0, 1) + "G01" + fields({c, l, d, s, {"21000004.000"}}) + "\n";
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    const std::vector<std::string> expected = {
        "> 2018 07 19 00 00  0.0000000  0  1      G01",
        "3&0",
        "3&21000000000 3&110000000000 3&-123456 3&45000 &&&7&&&&",
        ">                              3  4",
        "POINT 1                                                     MARKER NAME",
        "1                                                           MARKER NUMBER",
        "  4846664.9180  -370195.2000  4116929.5260                  APPROX POSITION XYZ",
        "        1.5000        0.0000        0.0000                  ANTENNA: DELTA H/E/N",
        "> 2018 07 19 00 00 30.0000000  0  1      G01",
        "3&0",
        "3&21000000000 3&110000000000 3&-123456 3&45000 &&&7&&&&",
        ">                              2  0",
        ">                              2  0",
        "> 2018 07 19 00 01  0.0000000  1  1      G01",
        "3&0",
        "3&21000000000 3&110000000000 3&-123456 3&45000 &&&7&&&&",
        "> 2018 07 19 00 01 30.0000000  4  1",
        "G    5 C1C L1C D1C S1C C2W                                  SYS / # / OBS TYPES",
        "> 2018 07 19 00 01 30.0000000  0  1      G01",
        "",
        "3&21000000000 3&110000000000 3&-123456 3&45000 3&21000003000 &&&7&&&&&&",
        "                 2 &",
        "",
        "0 0 0 0 1000",
    };
    EXPECT_EQ(body, expected);
}

TEST(CompactRinexEncoder, EmptyEpochs) {
    std::string plain = header3({kTypes4G});
    plain += epoch3(0, 0, 0) + epoch3(30, 0, 1) + "G01" + fields({{"1.000"}}) + "\n" + epoch3(60, 0, 0);
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    ASSERT_EQ(body.size(), 7u);
    EXPECT_EQ(body[0], "> 2018 07 19 00 00  0.0000000  0  0");
}

TEST(CompactRinexEncoder, RefusesWhatItCannotEncode) {
    const std::string h = header3({kTypes4G});
    const std::string ok = "G01" + fields({{"1.000"}}) + "\n";
    struct Case {
        const char* name;
        std::string text;
        const char* message;
    };
    const std::vector<Case> cases = {
        {"empty", "", "line 0: empty file"},
        {"navigation file", headerLine("     3.04           N: GNSS NAV DATA    M", "RINEX VERSION / TYPE"),
         "line 1: not a RINEX observation file"},
        {"binary", std::string("\x00\x01\xff\xfe garbage\n", 14), "line 1: not a RINEX observation file"},
        {"version 1", headerLine("     1.00           OBSERVATION DATA    G", "RINEX VERSION / TYPE"), "line 1: RINEX version"},
        {"no end of header", h.substr(0, h.size() - 81), "ends before END OF HEADER"},
        {"truncated epoch", h + epoch3(0, 0, 2) + ok, "line 7: the file ends inside an epoch (1 of 2 satellites)"},
        {"fewer satellite lines", h + epoch3(0, 0, 2) + ok + epoch3(30, 0, 1) + ok, "line 8: epoch with 1 satellite lines"},
        {"undeclared system", h + epoch3(0, 0, 1) + "R01" + fields({{"1.000"}}) + "\n", "line 7: satellite line of system 'R'"},
        {"too many fields", h + epoch3(0, 0, 1) + "G01" + fields({{"1"}, {"2"}, {"3"}, {"4"}, {"5"}}) + "\n",
         "line 7: satellite line longer than the 4 observation types"},
        {"four decimals", h + epoch3(0, 0, 1) + "G01" + "     1234.5678" + "\n",
         "line 7: satellite G01, observation 1: not a number of the form F14.3"},
        {"letters", h + epoch3(0, 0, 1) + "G01" + "    12x4.567  " + "\n", "not a number of the form F14.3"},
        {"plus sign", h + epoch3(0, 0, 1) + "G01" + "     +1234.567" + "\n", "not a number of the form F14.3"},
        {"duplicate", h + epoch3(0, 0, 2) + ok + ok, "line 8: satellite G01 twice in one epoch"},
        {"no flag", h + "> 2018 07 19 00 00  0.0000000  x  1\n" + ok, "line 6: epoch line without its flag"},
        {"not an epoch", h + ok, "line 6: expected an epoch line"},
        {"no count", h + "> 2018 07 19 00 00  0.0000000  0  x\n", "number of satellites"},
        {"clock point", h + "> 2018 07 19 00 00  0.0000000  0  1     0.0000000000000\n" + ok, "receiver clock offset"},
        {"clock short", h + "> 2018 07 19 00 00  0.0000000  0  1       0.00000000\n" + ok, "receiver clock offset"},
        {"too many satellites", h + epoch3(0, 0, 101), "more than 100 satellites"},
        {"event truncated", h + ">                              3  4\n" + headerLine("X", "MARKER NAME"),
         "ends inside an event (3 records missing)"},
        {"types zero", header3({"G    0"}), "line 4: SYS / # / OBS TYPES: the number of types must be 1 to 100"},
        {"types beyond", header3({"G  101 C1C"}), "the number of types must be 1 to 100"},
        {"long line", h + std::string(3000, 'x') + "\n", "line 6: line longer than 2046 characters"},
        {"leading zeros", h + epoch3(0, 0, 1) + "G01" + "      0012.345" + "\n", "not a number of the form F14.3"},
        {"clock leading zeros", h + "> 2018 07 19 00 00  0.0000000  0  1      00.000000000000\n" + ok,
         "receiver clock offset"},
        {"ampersand flag", h + epoch3(0, 0, 1) + "G01" + fields({{"1.000", '&'}}) + "\n", "'&' as a flag"},
        {"ampersand epoch", h + "> 2018 07 19 00 00  0.0000000  0  1   &\n" + ok, "line 6: '&' in an epoch line"},
        {"ampersand ID", header3({"&    1 C1C"}) + epoch3(0, 0, 1) + "&01" + "\n", "'&' in a satellite ID"},
        {"lone carriage return", h + epoch3(0, 0, 1) + "G01     1.000\r\r\n", "second carriage return"},
    };
    for (const Case& c : cases) {
        std::string compact, error;
        EXPECT_FALSE(compression::compactRinexText(c.text.data(), c.text.size(), &compact, &error)) << c.name;
        EXPECT_NE(error.find(c.message), std::string::npos) << c.name << ": " << error;
    }
}

// ---- version 1.0 (RINEX 2.11) ----

std::string header2(const std::string& types) {
    std::string h = headerLine("     2.11           OBSERVATION DATA    M (MIXED)", "RINEX VERSION / TYPE");
    h += headerLine("TESTGEN             TEST                20240101 000000 UTC", "PGM / RUN BY / DATE");
    h += headerLine(types, "# / TYPES OF OBSERV");
    h += headerLine("", "END OF HEADER");
    return h;
}

TEST(CompactRinexEncoder, Version1WorkedExample) {
    const std::string plain = header2("     7    C1    L1    L2    P2    D1    S1    S2") +
                              " 18  7 19  0  0  0.0000000  0  2G05R03                               -.000123456\n"
                              "  21089446.109   110825787.594 8  86357727.244 7  21089439.379         395.138\n"
                              "        50.550          46.800\n"
                              "  20522120.401   107844516.172 7                                          .937\n"
                              "        42.000\n"
                              " 18  7 19  0  0 30.0000000  0  2G05G09                               -.000123455\n"
                              "  21089458.233   110825851.30118  86357777.001 7  21089451.500         396.001\n"
                              "        50.600          46.750\n"
                              "  23412080.161   123031311.472 7  95868536.585 6  23412076.221       -2472.240\n"
                              "        45.300          39.550\n";
    const std::string compact = roundTrip(plain);
    EXPECT_EQ(linesOf(compact)[0], "1.0                 COMPACT RINEX FORMAT                    CRINEX VERS   / TYPE");
    const std::vector<std::string> expected = {
        "&18  7 19  0  0  0.0000000  0  2G05R03",
        "3&-123456",
        "3&21089446109 3&110825787594 3&86357727244 3&21089439379 3&395138 3&50550 3&46800    8 7",
        "3&20522120401 3&107844516172   3&937 3&42000     7",
        "                3                  G 9",
        "1",
        "12124 63707 49757 12121 863 50 -50   1",
        "3&23412080161 3&123031311472 3&95868536585 3&23412076221 3&-2472240 3&45300 3&39550    7 6",
    };
    EXPECT_EQ(bodyOf(compact), expected);
}

std::string epoch2(int second, int flag, const std::vector<std::string>& ids, const std::string& clock = "") {
    char line[64];
    std::snprintf(line, sizeof line, " 18  7 19  0 %2d %2d.0000000  %d%3d", second / 60, second % 60, flag, int(ids.size()));
    std::string s = line;
    for (size_t i = 0; i < ids.size(); ++i) {
        if (i > 0 && i % 12 == 0) s += "\n" + std::string(32, ' ');
        s += ids[i];
        if (i == 11 && !clock.empty()) {
            std::string c = clock;
            c.insert(0, 12 - c.size(), ' ');
            s += c;
        }
    }
    if (ids.size() < 12 && !clock.empty()) {
        s.resize(68, ' ');
        std::string c = clock;
        c.insert(0, 12 - c.size(), ' ');
        s += c;
    }
    return s + "\n";
}

TEST(CompactRinexEncoder, Version1ManySatellitesEventsAndBlanks) {
    // 7 types (2 lines per satellite), 14 satellites (a continuation line), clocks, an event
    // that changes the type count, satellites leaving and blank fields.
    std::string plain = header2("     7    C1    L1    L2    P2    D1    S1    S2");
    std::vector<std::string> ids;
    for (int s = 1; s <= 14; ++s) {
        char id[16];
        std::snprintf(id, sizeof id, "%c%2d", s % 3 == 0 ? 'R' : 'G', s);
        ids.push_back(id);
    }
    auto record = [](int sat, int e, int types) {
        std::string r;
        for (int j = 0; j < types; ++j) {
            Field f{std::to_string(20000000 + sat * 1000 + j * 10 + e * e * 3) + ".125", ' ', char('4' + j % 5)};
            if ((sat + j + e) % 6 == 0) f = Field{""}; // blank, without flags
            if (j == 1 && e == 2 && !f.value.empty()) f.lli = '1';
            r += fields({f});
            if (j % 5 == 4 || j == types - 1) {
                while (!r.empty() && r.back() == ' ') r.pop_back();
                r += "\n";
            }
        }
        return r;
    };
    for (int e = 0; e < 5; ++e) {
        std::vector<std::string> now = ids;
        if (e == 3) now.erase(now.begin() + 4); // one leaves for an epoch
        plain += epoch2(30 * e, 0, now, e == 1 ? "" : "-.000123" + std::to_string(400 + e));
        for (size_t s = 0; s < now.size(); ++s) plain += record(int(s), e, 7);
    }
    plain += " 18  7 19  0  2 30.0000000  4  1\n" + headerLine("     3    C1    L1    S1", "# / TYPES OF OBSERV");
    for (int e = 5; e < 8; ++e) {
        plain += epoch2(30 * e, 0, ids);
        for (size_t s = 0; s < ids.size(); ++s) plain += record(int(s), e, 3);
    }
    const std::vector<std::string> body = bodyOf(roundTrip(plain));
    ASSERT_FALSE(body.empty());
    EXPECT_EQ(body[0].substr(0, 3), "&18");
    // The event line keeps its text with '&' in column 1.
    EXPECT_NE(std::find(body.begin(), body.end(), "&18  7 19  0  2 30.0000000  4  1"), body.end());
}

TEST(CompactRinexEncoder, Version1RefusesFlagsOnBlankValues) {
    const std::string plain = header2("     2    C1    L1") + epoch2(0, 0, {"G01"}) + "  21000000.000                7\n";
    std::string compact, error;
    EXPECT_FALSE(compression::compactRinexText(plain.data(), plain.size(), &compact, &error));
    EXPECT_NE(error.find("line 6: satellite G01, observation 2: flags on a blank value"), std::string::npos) << error;
}

} // namespace
