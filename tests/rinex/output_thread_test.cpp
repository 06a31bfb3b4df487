// SPDX-License-Identifier: MIT
// The writer with its output thread writes the same bytes as without: whole recorded
// streams in every PPK mode, marker events between many epochs, and tiny or empty inputs.
// An epoch observer hears the same calls either way.
#include "support/stream_manifest.h"
#include "writer_test_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "rinex/epoch_observer.h"

using namespace writertest;

namespace {

// Every output file's bytes, without the line that holds the time of the run.
struct Output {
    QList<QByteArray> files;
    qint64 epochs = 0;
    qint64 epochRecordLines = 0;
    QString writeError;
};

QByteArray withoutRunTime(const QByteArray& bytes) {
    QByteArray kept;
    for (const QByteArray& line : splitLines(bytes))
        if (line.mid(60).trimmed() != "PGM / RUN BY / DATE") kept += line + "\r\n";
    return kept;
}

Output finish(OpenWriter& w) {
    w.writer.close();
    Output out;
    for (const char letter : {'O', 'C', 'L', 'N', 'G'})
        out.files << withoutRunTime(readAll(w.file(letter)));
    out.epochs = w.writer.epochsWritten();
    out.epochRecordLines = w.writer.epochRecordLines();
    out.writeError = w.writer.writeError();
    return out;
}

void expectSame(const Output& a, const Output& b) {
    ASSERT_EQ(a.files.size(), b.files.size());
    for (int i = 0; i < a.files.size(); ++i) {
        if (a.files[i] == b.files[i]) continue;
        const QList<QByteArray> left = splitLines(a.files[i]), right = splitLines(b.files[i]);
        int line = 0;
        while (line < left.size() && line < right.size() && left[line] == right[line])
            ++line;
        ADD_FAILURE() << "file " << i << " differs at line " << line + 1 << ":\n"
                      << left.value(line).toStdString() << "\n"
                      << right.value(line).toStdString();
    }
    EXPECT_EQ(a.epochs, b.epochs);
    EXPECT_EQ(a.epochRecordLines, b.epochRecordLines);
    EXPECT_EQ(a.writeError, b.writeError);
}

Output convertStream(const std::string& name, int ppkMode, bool outputThread, const QByteArray& version = {}) {
    const std::string bytes = testsupport::readBinaryFile(testsupport::streamDataDirectory() + "/" + name);
    OpenWriter w;
    EXPECT_TRUE(w.writer.setPpkMode(ppkMode));
    if (!version.isEmpty()) {
        EXPECT_TRUE(w.writer.setVersion(version));
    }
    EXPECT_TRUE(w.writer.setOutputThread(outputThread));
    EXPECT_TRUE(w.open());
    feedStream(w.writer, bytes);
    return finish(w);
}

const std::vector<encoding::RangeSignal> twoSatellites = {
    signal('G', 5, "1C", 23074455.90625, -121257095.71875, 2477.62109375, 43.0),
    signal('R', 7, "1C", 21074455.5, -111257095.25, -1477.5, 39.0, 3)};

std::string beginSentence() {
    return ppk("MARKER-BEGIN,1,1,1,POINT,7,0,0,1.5"
               ",40.453429213,-4.367852584,775.8010,4846664.9180,-370195.2000,4116929.5260");
}

std::string sampleSentence(int k, uint32_t milliseconds) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", milliseconds / 1000.0);
    return ppk("MARKER-SAMPLE,1,1," + std::to_string(k) + ",2010," + seconds);
}

// 400 epochs, more than the output thread's ring holds, with a marker from epoch 150 to
// 250 whose first ten epochs are confirmed samples.
Output markerScript(int ppkMode, bool outputThread) {
    OpenWriter w;
    EXPECT_TRUE(w.writer.setPpkMode(ppkMode));
    EXPECT_TRUE(w.writer.setOutputThread(outputThread));
    EXPECT_TRUE(w.open());
    int sample = 0;
    for (int i = 0; i < 400; ++i) {
        const uint32_t milliseconds = 345600000u + uint32_t(i) * 1000u;
        if (i == 150) feedText(w.writer, beginSentence());
        feed(w.writer, rangeFrame(2010, milliseconds, twoSatellites));
        if (i >= 150 && i < 160) feedText(w.writer, sampleSentence(++sample, milliseconds));
        if (i == 250) feedText(w.writer, ppk("MARKER-END,1,1"));
    }
    return finish(w);
}

// Every call an observer hears, as text.
class RecordingObserver : public rinex::EpochObserver {
public:
    std::string calls;
    void epoch(int64_t gpsMilliseconds, int satellites) override {
        calls += "E " + std::to_string(gpsMilliseconds) + " " + std::to_string(satellites) + "\n";
    }
    void satellite(char system, int number, const rinex::ObservedColumn* columns, uint64_t used) override {
        calls += std::string("S ") + system + std::to_string(number);
        char value[64];
        for (int c = 0; c < 64; ++c) {
            if (!(used >> c & 1)) continue;
            for (int k = 0; k < 4; ++k) {
                if (!(columns[c].fields >> k & 1)) continue;
                std::snprintf(value, sizeof value, " %d/%d/%s%lld", 4 * c + k, columns[c].lossOfLock >> k & 1,
                              columns[c].negative >> k & 1 ? "-" : "", (long long)columns[c].thousandths[k]);
                calls += value;
            }
        }
        calls += "\n";
    }
    void eventLine(const char* text, int length) override {
        calls += "L " + std::string(text, size_t(length)) + "\n";
    }
    void signalColumn(char system, int column, char band, char attribute) override {
        calls += std::string("C ") + system + std::to_string(column) + band + attribute + "\n";
    }
    void glonassChannel(int slot, int channel) override {
        calls += "G " + std::to_string(slot) + " " + std::to_string(channel) + "\n";
    }
};

std::string observedStream(const std::string& name, int ppkMode, bool outputThread, bool setWhileOpen) {
    const std::string bytes = testsupport::readBinaryFile(testsupport::streamDataDirectory() + "/" + name);
    RecordingObserver observer;
    OpenWriter w;
    EXPECT_TRUE(w.writer.setPpkMode(ppkMode));
    EXPECT_TRUE(w.writer.setOutputThread(outputThread));
    if (!setWhileOpen) w.writer.setEpochObserver(&observer);
    EXPECT_TRUE(w.open());
    const size_t half = bytes.size() / 2;
    feedStream(w.writer, bytes.substr(0, half));
    if (setWhileOpen) w.writer.setEpochObserver(&observer);
    feedStream(w.writer, bytes.substr(half));
    finish(w);
    return observer.calls;
}

} // namespace

TEST(OutputThread, ObserverHearsTheSameCalls) {
    for (const char* name : {"cebr-range-key.dat", "cebr-rangecmp2-none.dat"}) {
        for (const int mode : {rinex::PpkNone, rinex::PpkMix}) {
            for (const bool setWhileOpen : {false, true}) {
                SCOPED_TRACE(std::string(name) + " mode " + std::to_string(mode) +
                             (setWhileOpen ? " set while open" : ""));
                const std::string plain = observedStream(name, mode, false, setWhileOpen);
                EXPECT_GT(plain.size(), 10000u);
                EXPECT_EQ(plain, observedStream(name, mode, true, setWhileOpen));
            }
        }
    }
}

TEST(OutputThread, RecordedStreamsGiveTheSameBytesInEveryPpkMode) {
    for (const char* name : {"cebr-range-key.dat", "cebr-rangecmp-legacy.dat", "cebr-rangecmp2-none.dat"}) {
        for (const int mode : {rinex::PpkNone, rinex::PpkOnly, rinex::PpkMix}) {
            SCOPED_TRACE(std::string(name) + " mode " + std::to_string(mode));
            const Output plain = convertStream(name, mode, false);
            const Output threaded = convertStream(name, mode, true);
            if (mode == rinex::PpkNone) {
                EXPECT_GT(plain.epochs, 100);
            }
            expectSame(plain, threaded);
        }
    }
}

TEST(OutputThread, RinexTwoElevenGivesTheSameBytes) {
    for (const char* name : {"cebr-range-key.dat", "cebr-rangecmp-legacy.dat"}) {
        for (const int mode : {rinex::PpkNone, rinex::PpkMix}) {
            SCOPED_TRACE(std::string(name) + " mode " + std::to_string(mode));
            const Output plain = convertStream(name, mode, false, "2.11");
            const Output threaded = convertStream(name, mode, true, "2.11");
            EXPECT_TRUE(plain.files[0].startsWith("     2.11"));
            EXPECT_GT(plain.epochs, 100);
            expectSame(plain, threaded);
        }
    }
}

TEST(OutputThread, MarkerEventsStayBetweenTheirEpochs) {
    for (const int mode : {rinex::PpkOnly, rinex::PpkMix}) {
        SCOPED_TRACE(mode);
        const Output plain = markerScript(mode, false);
        const Output threaded = markerScript(mode, true);
        EXPECT_TRUE(plain.files[0].contains(">                              3  4"));
        EXPECT_TRUE(plain.files[0].contains(">                              2  0"));
        expectSame(plain, threaded);
    }
    // In the mix mode the marker's samples come on top of the epochs outside the marker.
    EXPECT_EQ(markerScript(rinex::PpkMix, true).epochs, 400 - 101 + 10);
}

TEST(OutputThread, EmptyAndOneEpochInputs) {
    for (const int epochs : {0, 1}) {
        SCOPED_TRACE(epochs);
        Output outputs[2];
        for (const bool outputThread : {false, true}) {
            OpenWriter w;
            EXPECT_TRUE(w.writer.setOutputThread(outputThread));
            EXPECT_TRUE(w.open());
            if (epochs == 1) {
                // With the output thread the epoch is written later: its bytes are not counted here.
                const qint64 written = feed(w.writer, rangeFrame(2010, 345600000u, twoSatellites));
                EXPECT_EQ(written > 0, !outputThread);
            }
            outputs[outputThread] = finish(w);
        }
        EXPECT_EQ(outputs[1].epochs, epochs);
        expectSame(outputs[0], outputs[1]);
    }
}

TEST(OutputThread, SettingRefusedWhileOpenAndWriterReopens) {
    OpenWriter w;
    EXPECT_TRUE(w.writer.setOutputThread(true));
    ASSERT_TRUE(w.open());
    EXPECT_FALSE(w.writer.setOutputThread(false));
    feed(w.writer, rangeFrame(2010, 345600000u, twoSatellites));
    w.writer.close();
    EXPECT_EQ(w.writer.epochsWritten(), 1);
    // A second conversion with the same writer gets a new output thread.
    QTemporaryDir second;
    ASSERT_GT(w.writer.open(second.filePath("again.23_")), 0);
    feed(w.writer, rangeFrame(2010, 345601000u, twoSatellites));
    feed(w.writer, rangeFrame(2010, 345602000u, twoSatellites));
    w.writer.close();
    EXPECT_EQ(w.writer.epochsWritten(), 2);
    EXPECT_EQ(ObservationFile(second.filePath("again.23O")).epochLines().size(), 2);
}
