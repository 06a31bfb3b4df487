// SPDX-License-Identifier: MIT
// Builds the seed corpora of the three targets from receiver data files: the files are
// split into frames and text lines with the synchroniser, and the pieces are written in
// each target's input layout.
//
//   make_seeds OUTPUT_DIR FILE...   (writes OUTPUT_DIR/stream, OUTPUT_DIR/writer, OUTPUT_DIR/header)
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "decoding/log_header.h"
#include "decoding/stream_sync.h"
#include "writer_input.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Piece {
    bool frame = false;
    size_t offset = 0; // in the file
    Bytes bytes;
};

struct Split {
    std::vector<Piece> pieces;
    uint64_t fed = 0;
};

void collect(const uint8_t* data, uint32_t length, void* user, bool frame) {
    auto* split = static_cast<Split*>(user);
    Piece piece;
    piece.frame = frame;
    piece.bytes.assign(data, data + length);
    // The callback runs on the byte that completes the piece.
    piece.offset = size_t(split->fed + 1 - length);
    split->pieces.push_back(std::move(piece));
}
void onFrame(const uint8_t* data, uint32_t length, void* user) {
    collect(data, length, user, true);
}
void onLine(const uint8_t* data, uint32_t length, void* user) {
    collect(data, length, user, false);
}

std::vector<Piece> splitStream(const Bytes& file) {
    Split split;
    std::vector<uint8_t> buffer(16384);
    decoding::StreamSync sync;
    decoding::init(sync, buffer.data(), uint32_t(buffer.size()), &split);
    decoding::setOnBoardFrame(sync, onFrame);
    decoding::setOnTextLine(sync, onLine);
    for (size_t i = 0; i < file.size(); ++i, ++split.fed)
        decoding::feed(sync, file.data() + i, 1);
    return split.pieces;
}

void save(const std::string& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

// The writer operation for one piece; false when the piece has no such form.
bool appendOp(Bytes& out, const Piece& piece) {
    if (!piece.frame) {
        Bytes text = piece.bytes;
        if (!text.empty() && text.back() == '\n') text.pop_back();
        if (text.size() > 60000) return false;
        fuzzing::appendTextOp(out, text.data(), uint16_t(text.size()));
        return true;
    }
    decoding::LogHeader header{};
    if (decoding::readLogHeader(piece.bytes.data(), uint32_t(piece.bytes.size()), header) != 0) return false;
    const int index = fuzzing::logIdIndex(header.messageId);
    if (index < 0 || header.headerLength != fuzzing::kUsualHeaderLength) return false;
    fuzzing::appendFrameOp(out, index, header.week, header.milliseconds, header.timeStatus,
                           piece.bytes.data() + header.headerLength, header.messageLength);
    return true;
}

uint16_t idOf(const Piece& piece) {
    return uint16_t(piece.bytes[4] | piece.bytes[5] << 8);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s OUTPUT_DIR FILE...\n", argv[0]);
        return 2;
    }
    const std::string out = argv[1];
    int seeds = 0;
    for (int a = 2; a < argc; ++a) {
        std::ifstream in(argv[a], std::ios::binary);
        const Bytes file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (file.empty()) continue;
        std::string stem = argv[a];
        stem = stem.substr(stem.find_last_of('/') + 1);
        stem = stem.substr(0, stem.find('.'));
        const std::vector<Piece> pieces = splitStream(file);

        // Header target: the head of the file, as the header reader sees it.
        save(out + "/header/" + stem,
             Bytes(file.begin(), file.begin() + long(std::min<size_t>(2048, file.size()))));
        ++seeds;

        // Stream target: the start of the file, and each log kind alone and with what follows it.
        save(out + "/stream/" + stem + "-start", [&] {
            Bytes b{0};
            b.insert(b.end(), file.begin(), file.begin() + long(std::min<size_t>(6000, file.size())));
            return b;
        }());
        ++seeds;
        std::set<uint16_t> seen;
        for (size_t i = 0; i < pieces.size(); ++i) {
            if (!pieces[i].frame || !seen.insert(idOf(pieces[i])).second) continue;
            const std::string name = stem + "-" + std::to_string(idOf(pieces[i]));
            Bytes alone{0};
            alone.insert(alone.end(), pieces[i].bytes.begin(), pieces[i].bytes.end());
            save(out + "/stream/" + name, alone);
            const size_t from = pieces[i].offset;
            Bytes window{0};
            window.insert(window.end(), file.begin() + long(from),
                          file.begin() + long(std::min(file.size(), from + 4000)));
            save(out + "/stream/" + name + "-window", window);
            seeds += 2;

            // Writer target: the frame alone, in each PPK mode.
            for (uint8_t options : {uint8_t(0x00), uint8_t(0x11), uint8_t(0x06)}) {
                Bytes op{options};
                if (appendOp(op, pieces[i])) {
                    save(out + "/writer/" + name + "-" + std::to_string(options), op);
                    ++seeds;
                }
            }
        }

        // Writer target: the stream's opening (navigation, position, time, first epochs) and
        // the pieces around the first marker, in mixed and in marker-only mode.
        Bytes opening{0x02};
        for (const Piece& piece : pieces) {
            if (opening.size() > 14000) break;
            appendOp(opening, piece);
        }
        save(out + "/writer/" + stem + "-opening", opening);
        ++seeds;
        for (size_t i = 0; i < pieces.size(); ++i) {
            if (pieces[i].frame) continue;
            const std::string line(pieces[i].bytes.begin(), pieces[i].bytes.end());
            if (line.find("MARKER-BEGIN") == std::string::npos) continue;
            for (uint8_t options : {uint8_t(0x02), uint8_t(0x01)}) {
                Bytes marker{options};
                for (size_t j = i >= 2 ? i - 2 : 0; j < pieces.size() && marker.size() < 14000; ++j)
                    appendOp(marker, pieces[j]);
                save(out + "/writer/" + stem + "-marker-" + std::to_string(options), marker);
                ++seeds;
            }
            break;
        }
    }
    std::printf("%d seeds\n", seeds);
    return 0;
}
