// SPDX-License-Identifier: MIT
// "$PPK" marker sentences: static occupations during a kinematic survey become event
// records, and confirmed samples become the epochs written on a point.
#include "decoding/text_sentence.h"

#include "rinex/rinex3xx.h"

#include <cmath>
#include <cstring>

#include "rinex/c_numeric_locale.h"

namespace {

constexpr int kSentenceCapacity = 1024;
constexpr int kMaxFields = 32;

// The sentence cut at every "," and "*" into NUL-terminated fields.
struct SentenceFields {
    char text[kSentenceCapacity];
    const char* field[kMaxFields];
    int count = 0; // all fields, including those beyond kMaxFields

    // Splits the text in place (length bytes, already NUL-terminated).
    void split(quint32 length) {
        count = 0;
        field[count++] = text;
        for (quint32 i = 0; i < length; ++i) {
            if (text[i] == ',' || text[i] == '*') {
                text[i] = '\0';
                if (count < kMaxFields) field[count] = text + i + 1;
                ++count;
            }
        }
    }
    bool is(int index, const char* value) const {
        return index < count && index < kMaxFields && std::strcmp(field[index], value) == 0;
    }
    // Whole-field numbers; anything that does not read as one counts as 0.
    qint32 integer(int index) const {
        bool ok = false;
        const qint32 v = QByteArray(field[index]).trimmed().toInt(&ok, 10);
        return ok ? v : 0;
    }
    double decimal(int index) const {
        bool ok = false;
        const double v = QByteArray(field[index]).trimmed().toDouble(&ok);
        return ok ? v : 0.0;
    }
    QByteArray bytes(int index) const { return QByteArray(field[index]); }
};

} // namespace

qint64 Rinex3xx::handleTextLine(const char* text, quint32 length) {
    if (ppkMode_ == rinex::PpkNone || !open_ || text == nullptr) return 0;
    if (length <= 15 || length >= quint32(kSentenceCapacity) || text[0] != '$') return 0;

    SentenceFields s;
    std::memcpy(s.text, text, length);
    s.text[length] = '\0';
    if (decoding::checkNmeaSentence(s.text) != 0) return 0;
    s.split(length);
    if (s.count < 2 || !s.is(0, "$PPK")) return 0;

    rinex::CNumericLocale numericLocale;

    if (s.is(1, "MARKER-BEGIN") && s.count >= 16) {
        const qint32 id1 = s.integer(2);
        const qint32 id2 = s.integer(3);
        const QByteArray name = s.bytes(5);
        const QByteArray number = s.bytes(6);
        const double antennaHeight = s.decimal(9);
        const double x = s.decimal(13), y = s.decimal(14), z = s.decimal(15);
        // A rejected sentence leaves the current marker as it was.
        if (id1 < 1 || id2 < 1 || name.isEmpty() || number.isEmpty() ||
            !(antennaHeight >= -1000.0 && antennaHeight <= 1000.0))
            return 0;
        qint64 written = 0;
        if (markerInProgress_) written += startOfMovingEvent();
        markerId1_ = id1;
        markerId2_ = id2;
        written += newSiteEvent(name, number, antennaHeight, x, y, z);
        markerInProgress_ = true;
        sampleCounter_ = 0;
        return written;
    }

    if (s.is(1, "MARKER-SAMPLE") && s.count >= 7) {
        if (!markerInProgress_) return 0;
        // Truncated like the milliseconds of week it must equal; a value outside their range
        // cannot match (and has no integer form).
        const double thousandths = s.decimal(6) * 1000.0;
        if (!(thousandths > -1.0 && thousandths < 4294967296.0)) return 0;
        const qint64 secondsTimesThousand = qint64(thousandths);
        if (s.integer(2) != markerId1_ || s.integer(3) != markerId2_ || s.integer(4) != sampleCounter_ + 1 ||
            s.integer(5) != epoch_.week || secondsTimesThousand != qint64(epoch_.milliseconds))
            return 0;
        const qint64 written = sampleEpoch();
        ++sampleCounter_;
        return written;
    }

    if (s.is(1, "MARKER-END") && s.count >= 4) {
        if (!markerInProgress_) return 0;
        markerInProgress_ = false;
        return startOfMovingEvent();
    }
    return 0;
}

// RINEX 2.11 event lines have no ">" and carry the flag in column 29, not 32.
qint64 Rinex3xx::writeStartOfMoving() {
    static const char kLine[] = ">                              2  0\r\n";
    static const char kLine2[] = "                            2  0\r\n";
    if (rinex::isRinex2(version_)) return writeLine(files_[FileObservation], kLine2, qint64(sizeof kLine2 - 1));
    const qint64 written = writeLine(files_[FileObservation], kLine, qint64(sizeof kLine - 1));
    // After the write: it has drained the output thread, whose epochs the observer saw first.
    if (epochObserver_) epochObserver_->eventLine(kLine, int(sizeof kLine - 3));
    return written;
}

qint64 Rinex3xx::writeNewSite(const QByteArray& name, const QByteArray& number, double antennaHeight,
                              double x, double y, double z) {
    static const char kLine[] = ">                              3  4\r\n";
    static const char kLine2[] = "                            3  4\r\n";
    qint64 written = rinex::isRinex2(version_)
                         ? writeLine(files_[FileObservation], kLine2, qint64(sizeof kLine2 - 1))
                         : writeLine(files_[FileObservation], kLine, qint64(sizeof kLine - 1));
    if (epochObserver_ && !rinex::isRinex2(version_)) epochObserver_->eventLine(kLine, int(sizeof kLine - 3));
    // The sentence's texts and numbers are cut to, or checked against, the record's fields so
    // that no record line runs past its 80 columns.
    written += writeEventLine("%-60s%-20s\r\n", name.left(60).constData(), "MARKER NAME");
    written += writeEventLine("%-20s%40s%-20s\r\n", number.left(20).constData(), "", "MARKER NUMBER");
    const auto fits = [](double v) { return std::fabs(v) < 9.9e7; };
    if (!fits(x) || !fits(y) || !fits(z)) x = y = z = 0.0;
    written += writeEventLine("%14.4f%14.4f%14.4f%18s%-20s\r\n", x, y, z, "", "APPROX POSITION XYZ");
    written += writeEventLine("%14.4f%14.4f%14.4f%18s%-20s\r\n", antennaHeight, 0.0, 0.0, "",
                              "ANTENNA: DELTA H/E/N");
    return written;
}
