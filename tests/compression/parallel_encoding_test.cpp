// SPDX-License-Identifier: MIT
// The body encoded in pieces on worker threads gives exactly what one encoder gives: the
// same bytes for valid files, the same message for every kind of failure, with pieces so
// small that every boundary case (primed arcs, events, type changes, large jumps, pieces
// whose priming cannot match) is crossed many times.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <zlib.h>

#include "compact_rinex_test_texts.h"
#include "compression/compact_rinex.h"
#include "compression/parallel_encoding.h"
#include "support/plain_files.h"

using namespace crxtest;
namespace fs = std::filesystem;

namespace {

const std::string kRinexData = std::string(VELMOOR_TEST_DATA) + "/rinex/";

std::string readGzip(const std::string& path) {
    gzFile in = gzopen(path.c_str(), "rb");
    std::string text;
    if (!in) return text;
    char buffer[65536];
    int n;
    while ((n = gzread(in, buffer, sizeof buffer)) > 0) text.append(buffer, size_t(n));
    gzclose(in);
    return text;
}

std::string withoutDateLine(const std::string& compact) {
    const size_t first = compact.find('\n');
    if (first == std::string::npos) return compact;
    const size_t second = compact.find('\n', first + 1);
    if (second == std::string::npos) return compact;
    return compact.substr(0, first + 1) + compact.substr(second + 1);
}

struct Result {
    bool ok;
    bool inputFault;
    std::string message;
    std::string output;
};

class ParallelEncoding : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmoor-crx-parallel-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override { fs::remove_all(dir_); }

    Result encode(const std::string& path, unsigned threads, size_t pieceBytes) {
        compression::LineBlocks input;
        EXPECT_TRUE(input.open(path));
        Result r;
        compression::StringSink sink(r.output);
        const compression::EncodingOutcome o = compression::encodeCompactRinex(input, sink, threads, pieceBytes);
        r.ok = o.ok;
        r.inputFault = o.inputFault;
        r.message = o.message;
        r.output = withoutDateLine(r.output);
        return r;
    }

    // The plain text through one encoder and through pieces of several sizes.
    void expectSameAsOneEncoder(const std::string& plain, const std::string& name, bool valid = false) {
        SCOPED_TRACE(name);
        const std::string path = dir_ + "/" + name;
        std::ofstream(path, std::ios::binary) << plain;
        const Result one = encode(path, 0, 0);
        if (valid) {
            EXPECT_TRUE(one.ok) << one.message;
        }
        // The in-memory function of the library is the same encoder, line for line.
        std::string compact, error;
        const bool ok = compression::compactRinexText(plain.data(), plain.size(), &compact, &error);
        EXPECT_EQ(one.ok, ok);
        if (ok) {
            EXPECT_EQ(one.output, withoutDateLine(compact));
        } else {
            EXPECT_EQ(one.message, error);
        }
        for (size_t piece : {size_t(1), size_t(700), size_t(5000), size_t(40000)}) {
            // On two worker threads, and on this thread only.
            const unsigned threads = piece == 5000 ? 0 : 2;
            SCOPED_TRACE("pieces of " + std::to_string(piece) + " bytes, threads " + std::to_string(threads));
            const Result many = encode(path, threads, piece);
            EXPECT_EQ(many.ok, one.ok);
            EXPECT_EQ(many.inputFault, one.inputFault);
            EXPECT_EQ(many.message, one.message);
            if (one.ok) {
                EXPECT_EQ(many.output.size(), one.output.size());
                EXPECT_TRUE(many.output == one.output);
            }
        }
    }

    std::string dir_;
};

// A long RINEX 3 text with what crosses piece boundaries: satellites rising and setting,
// clocks that come and go, blank fields, flag changes, large jumps, events that change
// the observation types, short records, CR LF endings.
std::string longText(unsigned seed, int epochs) {
    std::mt19937 random(seed);
    std::string text = header3({"G    4 C1C L1C D1C S1C", "R    2 C1C L1C", "E    3 C1X L1X S1X"});
    int typesE = 3;
    struct Track {
        std::string id;
        long long value[4];
    };
    std::vector<Track> sky;
    for (int s = 1; s <= 40; ++s) {
        const char system = s <= 16 ? 'G' : s <= 28 ? 'R' : 'E';
        char id[16];
        std::snprintf(id, sizeof id, "%c%02d", system, s);
        Track t{id, {}};
        for (long long& v : t.value) v = (long long)(random() % 2000000000000ull) - 100000000000ll;
        sky.push_back(t);
    }
    const auto number = [](long long v) {
        char s[32];
        std::snprintf(s, sizeof s, "%s%lld.%03lld", v < 0 ? "-" : "", (v < 0 ? -v : v) / 1000, (v < 0 ? -v : v) % 1000);
        return std::string(s);
    };
    for (int e = 0; e < epochs; ++e) {
        if (random() % 97 == 0) {
            // An event; one in three changes Galileo's types.
            if (random() % 3 == 0) {
                typesE = typesE == 3 ? 2 : 3;
                text += "> 2018 07 19 00 00  0.0000000  4  1\n";
                text += headerLine(typesE == 3 ? "E    3 C1X L1X S1X" : "E    2 C1X L1X", "SYS / # / OBS TYPES");
            } else {
                text += ">                              3  1\n" + headerLine("EVENT", "COMMENT");
            }
            continue;
        }
        std::vector<const Track*> now;
        for (Track& t : sky) {
            if (random() % 50 == 0) continue; // sets for an epoch
            for (int j = 0; j < 4; ++j) {
                long long step = (long long)(random() % 200001) - 100000;
                if (random() % 400 == 0) step = (random() % 2 ? 1 : -1) * (10000000000ll + (long long)(random() % 2000000));
                t.value[j] += step;
                if (t.value[j] > 9999999999999ll || t.value[j] < -999999999999ll) t.value[j] = (long long)(random() % 1000);
            }
            now.push_back(&t);
        }
        char line[80];
        std::snprintf(line, sizeof line, "> 2018 07 19 %02d %02d %2d.0000000  0%3d", (e / 3600) % 24, (e / 60) % 60, e % 60,
                      int(now.size()));
        text += line;
        if (random() % 5 != 0) {
            char c[32];
            const long long v = (long long)(random() % 2000000000ll) - 1000000000ll;
            std::snprintf(c, sizeof c, "%s.%012lld", v < 0 ? "-" : " ", v < 0 ? -v : v);
            text += "      ";
            text += std::string(15 - std::string(c).size(), ' ') + c;
        }
        text += random() % 10 == 0 ? "\r\n" : "\n";
        for (const Track* t : now) {
            const int types = t->id[0] == 'G' ? 4 : t->id[0] == 'R' ? 2 : typesE;
            std::string record = t->id;
            for (int j = 0; j < types; ++j) {
                std::string v = random() % 30 == 0 ? "" : number(t->value[j]);
                std::string f = std::string(14 - v.size(), ' ') + v;
                f += random() % 20 == 0 ? '1' : ' ';
                f += char('5' + random() % 3);
                record += f;
            }
            while (!record.empty() && record.back() == ' ') record.pop_back();
            text += record + "\n";
        }
    }
    return text;
}

TEST_F(ParallelEncoding, LongTextsGiveTheSameBytes) {
    for (unsigned seed = 1; seed <= 3; ++seed)
        expectSameAsOneEncoder(longText(seed, 400), "long" + std::to_string(seed) + ".rnx", true);
}

TEST_F(ParallelEncoding, RealFilesGiveTheSameBytes) {
    expectSameAsOneEncoder(testsupport::fileContents(kRinexData + "CEBR00ESP_R_20182000000_3EPOCHS_30S_MO.rnx"), "cebr3.rnx", true);
    expectSameAsOneEncoder(readGzip(kRinexData + "CEBR00ESP_R_20182000000_20EPOCHS_30S_MO.rnx.gz"), "cebr20.rnx", true);
    expectSameAsOneEncoder(readGzip(kRinexData + "ESBC00DNK_R_20201770000_30M_30S_MO.rnx.gz"), "esbc.rnx", true);
    // RINEX 2.11 (compact 1.0) stays on one thread and gives the same bytes.
    expectSameAsOneEncoder(testsupport::fileContents(kRinexData + "handmade-2.11-obs.rnx"), "v2.rnx", true);
}

TEST_F(ParallelEncoding, FailuresGiveTheSameMessages) {
    const std::string text = longText(7, 120);
    // A malformed field half-way, a record cut short at the end, a last line without LF.
    std::string bad = text;
    const size_t middle = bad.find("\nG", bad.size() / 2) + 1;
    bad.replace(middle + 3, 14, "  12x45678.123");
    expectSameAsOneEncoder(bad, "bad-field.rnx");
    expectSameAsOneEncoder(text.substr(0, text.rfind('\n', text.size() - 2) + 1), "cut-epoch.rnx");
    expectSameAsOneEncoder(text.substr(0, text.size() - 1), "no-final-lf.rnx");
    // A duplicate satellite, an undeclared system, a type count the records exceed.
    std::string twice = text;
    const size_t record = twice.find("\nG", twice.size() / 3) + 1;
    twice.insert(record, twice.substr(record, twice.find('\n', record) + 1 - record));
    expectSameAsOneEncoder(twice, "twice.rnx");
    std::string undeclared = text;
    undeclared[undeclared.find("\nR", undeclared.size() / 2) + 1] = 'J';
    expectSameAsOneEncoder(undeclared, "undeclared.rnx");
    // A line longer than any RINEX line (a read problem, reported after the lines before it
    // are encoded), before and after an encoding error.
    std::string longLine = text;
    longLine.insert(longLine.find("\n>", longLine.size() / 2) + 1, std::string(100000, 'x') + "\n");
    expectSameAsOneEncoder(longLine, "long-line.rnx");
    std::string both = bad;
    both.insert(both.find("\n>", both.size() * 3 / 4) + 1, std::string(100000, ' ') + "\n");
    expectSameAsOneEncoder(both, "error-then-long-line.rnx");
    // A long line across the first read block's end (more than 1 MiB in).
    const std::string big = longText(8, 900);
    ASSERT_GT(big.size(), size_t(1200000));
    std::string acrossBlock = big;
    acrossBlock.insert(acrossBlock.find("\n>", 1000000) + 1, std::string(100000, 'x') + "\n");
    expectSameAsOneEncoder(acrossBlock, "long-line-across-block.rnx");
    // An empty body, and a header only.
    expectSameAsOneEncoder(header3({"G    1 C1C"}), "header-only.rnx");
    expectSameAsOneEncoder(header3({"G    1 C1C"}).substr(0, 100), "cut-header.rnx");
}

TEST_F(ParallelEncoding, FileFunctionsGiveTheSameBytesAsTheTextFunction) {
    // Large enough for several default pieces: on three cores or more the file functions
    // use their threads, on fewer one encoder.
    const std::string plain = longText(11, 6000);
    ASSERT_GT(plain.size(), 3 * compression::kPieceBytes);
    const std::string path = dir_ + "/big.rnx";
    std::ofstream(path, std::ios::binary) << plain;
    std::string compact, error;
    ASSERT_TRUE(compression::compactRinexText(plain.data(), plain.size(), &compact, &error)) << error;
    ASSERT_TRUE(compression::compactRinexFile(path, dir_ + "/big.crx", &error)) << error;
    EXPECT_TRUE(withoutDateLine(testsupport::fileContents(dir_ + "/big.crx")) == withoutDateLine(compact));
    ASSERT_TRUE(compression::compactRinexGzipFile(path, dir_ + "/big.crx.gz", &error)) << error;
    EXPECT_TRUE(withoutDateLine(readGzip(dir_ + "/big.crx.gz")) == withoutDateLine(compact));
}

} // namespace
