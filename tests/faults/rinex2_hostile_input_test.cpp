// SPDX-License-Identifier: MIT
// Hostile inputs in RINEX 2.11: the frames of every test stream (and of the bundled sample)
// with random bytes of their bodies changed and their CRCs made valid again, fed through the
// synchroniser into a 2.11 writer in each PPK mode. No crash, and every file written is valid
// 2.11 for the strict reader of the tests: lines of at most 80 characters, each in its columns.
#include "rinex/writer_test_support.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "decoding/checksum.h"
#include "decoding/log_header.h"
#include "decoding/stream_sync.h"
#include "support/rinex2_reader.h"
#include "support/stream_manifest.h"

using namespace writertest;

namespace {

// The stream's pieces in order: board frames and text lines.
struct Piece {
    bool frame;
    std::vector<uint8_t> bytes;
};

void keepFrame(const uint8_t* data, uint32_t length, void* user) {
    static_cast<std::vector<Piece>*>(user)->push_back(Piece{true, std::vector<uint8_t>(data, data + length)});
}

void keepText(const uint8_t* data, uint32_t length, void* user) {
    static_cast<std::vector<Piece>*>(user)->push_back(Piece{false, std::vector<uint8_t>(data, data + length)});
}

void ignore(const uint8_t*, uint32_t, void*) {}

std::vector<Piece> piecesOf(const QString& path) {
    const QByteArray bytes = readAll(path);
    std::vector<Piece> pieces;
    std::vector<uint8_t> buffer(16384);
    decoding::StreamSync sync;
    decoding::init(sync, buffer.data(), uint32_t(buffer.size()), &pieces);
    decoding::setOnBoardFrame(sync, keepFrame);
    decoding::setOnTextLine(sync, keepText);
    decoding::setOnUnframed(sync, ignore);
    decoding::setOnScrambledFrame(sync, ignore);
    decoding::feed(sync, reinterpret_cast<const uint8_t*>(bytes.constData()), uint32_t(bytes.size()));
    return pieces;
}

// Changes a few body bytes of about every other frame and makes its CRC valid again.
void mutate(std::vector<Piece>& pieces, std::mt19937& random) {
    for (Piece& piece : pieces) {
        std::vector<uint8_t>& f = piece.bytes;
        if (!piece.frame || f.size() < 32 || random() % 2 == 0) continue;
        const size_t header = f[3];
        if (header + 4 >= f.size()) continue;
        const int changes = 1 + int(random() % 8);
        for (int i = 0; i < changes; ++i) {
            const size_t at = header + random() % (f.size() - 4 - header);
            f[at] = uint8_t(random() % 3 == 0 ? 0xff : random());
        }
        const uint32_t crc = decoding::crc32(0, f.data(), uint32_t(f.size() - 4));
        for (int k = 0; k < 4; ++k)
            f[f.size() - 4 + size_t(k)] = uint8_t(crc >> (8 * k));
    }
}

} // namespace

TEST(Rinex2HostileInput, MutatedFramesOfEveryStreamGiveValid211Files) {
    QStringList inputs{QStringLiteral(VELMOOR_TEST_DATA "/../../samples/cebr-sample.dat")};
    const QDir streams(QString::fromStdString(testsupport::streamDataDirectory()));
    for (const QString& name : streams.entryList({"*.dat"}, QDir::Files, QDir::Name))
        inputs << streams.filePath(name);
    ASSERT_GE(inputs.size(), 4);
    int converted = 0;
    for (const QString& input : inputs) {
        const std::vector<Piece> original = piecesOf(input);
        ASSERT_GT(original.size(), 10u) << input.toStdString();
        for (unsigned seed = 1; seed <= 3; ++seed) {
            std::mt19937 random(seed);
            std::vector<Piece> pieces = original;
            mutate(pieces, random);
            for (int mode : {rinex::PpkNone, rinex::PpkOnly, rinex::PpkMix}) {
                SCOPED_TRACE(input.toStdString() + " seed " + std::to_string(seed) + " mode " +
                             std::to_string(mode));
                QTemporaryDir dir;
                Rinex3xx writer;
                ASSERT_TRUE(writer.setVersion(QByteArray("2.11")));
                ASSERT_TRUE(writer.setPpkMode(mode));
                ASSERT_GT(writer.open(dir.filePath("h.18O")), 0);
                for (const Piece& piece : pieces) {
                    if (piece.frame) {
                        decoding::LogHeader header{};
                        if (decoding::readLogHeader(piece.bytes.data(), uint32_t(piece.bytes.size()), header) == 0)
                            writer.handleFrame(piece.bytes.data(), quint32(piece.bytes.size()));
                    } else {
                        std::string line(piece.bytes.begin(), piece.bytes.end());
                        writer.handleTextLine(line.c_str(), quint32(line.size()));
                    }
                }
                writer.close();
                EXPECT_TRUE(writer.writeError().isEmpty());
                EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), (QStringList{"h.18G", "h.18N", "h.18O"}));
                try {
                    rinex2test::readObservation(readAll(dir.filePath("h.18O")).toStdString());
                    for (const char* nav : {"h.18N", "h.18G"})
                        rinex2test::readNavigation(readAll(dir.filePath(nav)).toStdString());
                } catch (const std::exception& e) {
                    ADD_FAILURE() << e.what();
                }
                ++converted;
            }
        }
    }
    EXPECT_EQ(converted, inputs.size() * 9);
}
