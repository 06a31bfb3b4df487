// SPDX-License-Identifier: MIT
// The conversion tab's quality summary: after "Convert Complete, Cost=... ms" the log shows a
// few summary lines and the link to the HTML report written beside the observation file;
// cancelled or failed conversions show none.
#include <QDir>
#include <QFile>
#include <QMouseEvent>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextBrowser>
#include <QUrl>

#include "shell/tab_binary_to_rinex3.h"
#include "support/files.h"
#include "tests/shell/gui_test_support.h"

namespace {

using testsupport::readAll;

const QString Sample = QStringLiteral(VELMOOR_SOURCE_DIR "/samples/cebr-sample.dat");
const QString RealData = QStringLiteral(VELMOOR_TEST_DATA "/streams/cebr-range-key.dat");
const QRegularExpression Complete("^Convert Complete, Cost=\\d+ ms$");

QTextEdit* logOf(const TabBinaryToRinex3& tab) {
    return tab.findChild<QTextEdit*>();
}
QPushButton* buttonOf(const TabBinaryToRinex3& tab) {
    return tab.findChild<QPushButton*>("pbConvert");
}
QStringList logLines(const TabBinaryToRinex3& tab) {
    const QString text = logOf(tab)->toPlainText();
    return text.isEmpty() ? QStringList() : text.split('\n');
}
bool logHas(const TabBinaryToRinex3& tab, const QString& prefix) {
    for (const QString& line : logLines(tab))
        if (line.startsWith(prefix)) return true;
    return false;
}
// The lines after the last "Convert Complete" line; empty when there is none.
QStringList linesAfterComplete(const TabBinaryToRinex3& tab) {
    const QStringList lines = logLines(tab);
    for (int i = lines.size() - 1; i >= 0; --i)
        if (Complete.match(lines[i]).hasMatch()) return lines.mid(i + 1);
    return QStringList();
}

class TabQuality : public ::testing::Test {
protected:
    void SetUp() override {
        realDialog = TabBinaryToRinex3::getSaveFileName;
        realOpen = TabBinaryToRinex3::openUrl;
        TabBinaryToRinex3::openUrl = [this](const QUrl& url) {
            opened << url;
            return true;
        };
        ASSERT_TRUE(dir.isValid());
    }
    void TearDown() override {
        TabBinaryToRinex3::getSaveFileName = realDialog;
        TabBinaryToRinex3::openUrl = realOpen;
    }
    void answerDialogWith(const QString& answer) {
        TabBinaryToRinex3::getSaveFileName = [answer](QWidget*, const QString&, const QString&) { return answer; };
    }
    // Converts into output and waits for the run's last line.
    bool convert(TabBinaryToRinex3& tab, const QString& output) {
        answerDialogWith(output);
        buttonOf(tab)->click();
        return guitest::waitFor([&] { return logHas(tab, "Convert ") && buttonOf(tab)->text() == "Convert"; },
                                60000);
    }

    TabBinaryToRinex3::SaveFileDialog realDialog;
    TabBinaryToRinex3::OpenUrl realOpen;
    QTemporaryDir dir;
    QList<QUrl> opened;
};

TEST_F(TabQuality, SampleConversionShowsTheSummaryAfterTheCompleteLine) {
    TabBinaryToRinex3 tab(Sample);
    tab.show();
    const QString output = dir.filePath("cebr.18O");
    ASSERT_TRUE(convert(tab, output));
    const QStringList lines = logLines(tab);
    const QStringList summary = linesAfterComplete(tab);
    ASSERT_EQ(summary.size(), 6) << lines.join('\n').toStdString();
    // The specified lines stay as they were, in front of the summary.
    EXPECT_EQ(lines.first(), "Start Convert");
    EXPECT_EQ(lines[1], "save to " + output);
    EXPECT_TRUE(Complete.match(lines[lines.size() - 7]).hasMatch());
    EXPECT_EQ(lines[lines.size() - 8], "Progress 100%");
    // The sample: half an hour at 30 s of five systems, one PPK occupation; its navigation
    // records are of another day, so no position, and the line says why.
    EXPECT_EQ(summary[0], "Span 2018-07-19T00:00:00Z to 2018-07-19T00:29:30Z (1770 s)");
    EXPECT_EQ(summary[1], "Epochs 60 at 30 s, 0 gaps");
    EXPECT_EQ(summary[2], "Satellites C 6, E 9, G 9, R 10, S 5");
    EXPECT_EQ(summary[3], "Position not computed: the navigation data are of other times (a file of another day?)");
    EXPECT_EQ(summary[4], "Occupations 1: PT01 150 s");
    EXPECT_EQ(summary[5], "Quality report " + output + ".qc.html");
}

TEST_F(TabQuality, TheReportIsWrittenBesideTheObservationFile) {
    TabBinaryToRinex3 tab(Sample);
    const QString output = dir.filePath("cebr.18O");
    ASSERT_TRUE(convert(tab, output));
    const QByteArray html = readAll(output + ".qc.html");
    EXPECT_TRUE(html.startsWith("<!DOCTYPE html>"));
    EXPECT_TRUE(html.contains("<title>Quality report CEBR</title>"));
    EXPECT_TRUE(html.contains("PT01"));
    EXPECT_TRUE(html.trimmed().endsWith("</html>"));
}

TEST_F(TabQuality, ClickingTheLinkOpensTheReportsFileUrl) {
    TabBinaryToRinex3 tab(Sample);
    tab.resize(640, 560);
    tab.show();
    const QString output = dir.filePath("cebr.18O");
    ASSERT_TRUE(convert(tab, output));
    auto* log = tab.findChild<QTextBrowser*>();
    ASSERT_NE(log, nullptr);

    // Find the link in the log and click on it with the mouse.
    int linkPosition = -1;
    QString href;
    for (QTextBlock b = log->document()->begin(); b.isValid() && linkPosition < 0; b = b.next())
        for (auto it = b.begin(); !it.atEnd(); ++it)
            if (it.fragment().charFormat().isAnchor()) {
                linkPosition = it.fragment().position();
                href = it.fragment().charFormat().anchorHref();
                EXPECT_EQ(it.fragment().text(), output + ".qc.html");
                break;
            }
    ASSERT_GE(linkPosition, 0) << "no link in the log";
    EXPECT_EQ(href, QUrl::fromLocalFile(output + ".qc.html").toString());
    QTextCursor cursor(log->document());
    cursor.setPosition(linkPosition + 2);
    log->setTextCursor(cursor);
    log->ensureCursorVisible();
    guitest::spin(50);
    const QPoint at = log->cursorRect(cursor).center();
    const QPoint global = log->viewport()->mapToGlobal(at);
    QMouseEvent press(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(log->viewport(), &press);
    QApplication::sendEvent(log->viewport(), &release);
    guitest::spin(50);
    ASSERT_EQ(opened.size(), 1);
    EXPECT_EQ(opened.first(), QUrl::fromLocalFile(output + ".qc.html"));
    EXPECT_TRUE(QFile::exists(opened.first().toLocalFile()));
    // The log stays where it is: nothing navigates.
    EXPECT_TRUE(logHas(tab, "Start Convert"));
}

TEST_F(TabQuality, LinesAfterTheLinkArePlainText) {
    TabBinaryToRinex3 tab(Sample);
    ASSERT_TRUE(convert(tab, dir.filePath("first.18O")));
    // The button is back; the thread winds down before a second start is taken as a start.
    guitest::spin(300);
    answerDialogWith(dir.filePath("second.18O"));
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor(
        [&] { return logHas(tab, "Quality report " + dir.filePath("second.18O")); }, 60000));
    int links = 0;
    for (QTextBlock b = logOf(tab)->document()->begin(); b.isValid(); b = b.next()) {
        const bool reportLine = b.text().startsWith("Quality report ");
        for (auto it = b.begin(); !it.atEnd(); ++it) {
            const bool anchor = it.fragment().charFormat().isAnchor();
            // Only the path of a report line is a link.
            EXPECT_EQ(anchor, reportLine && it.fragment().text().endsWith(".qc.html")) << b.text().toStdString();
            links += anchor;
            EXPECT_EQ(it.fragment().charFormat().fontUnderline(), anchor) << b.text().toStdString();
        }
    }
    EXPECT_EQ(links, 2);
    EXPECT_EQ(logLines(tab).count("Start Convert"), 2);
}

TEST_F(TabQuality, AnExistingFileOfTheUserIsNotOverwritten) {
    const QString output = dir.filePath("cebr.18O");
    {
        QFile mine(output + ".qc.html");
        ASSERT_TRUE(mine.open(QIODevice::WriteOnly));
        mine.write("my own notes\n");
    }
    TabBinaryToRinex3 tab(Sample);
    ASSERT_TRUE(convert(tab, output));
    EXPECT_EQ(readAll(output + ".qc.html"), QByteArray("my own notes\n"));
    EXPECT_TRUE(readAll(output + ".qc-2.html").startsWith("<!DOCTYPE html>"));
    EXPECT_EQ(linesAfterComplete(tab).last(), "Quality report " + output + ".qc-2.html");
}

TEST_F(TabQuality, FailedConversionShowsNoSummary) {
    TabBinaryToRinex3 tab(Sample);
    const QString output = dir.filePath("cebr.18O");
    ASSERT_TRUE(convert(tab, output));
    QFile::remove(output + ".qc.html");
    guitest::spin(300);
    // Same output again: its files exist, so the conversion fails.
    ASSERT_TRUE(guitest::waitFor([&] { return buttonOf(tab)->text() == "Convert"; }, 5000));
    answerDialogWith(output);
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logLines(tab).last().startsWith("Convert Failed!"); }, 10000));
    guitest::spin(300);
    EXPECT_EQ(logLines(tab).last(), "Convert Failed! open file failed, " + output);
    EXPECT_FALSE(QFile::exists(output + ".qc.html"));
}

TEST_F(TabQuality, CancelledConversionShowsNoSummaryAndWritesNoReport) {
    const QByteArray data = readAll(RealData);
    ASSERT_FALSE(data.isEmpty());
    const QString input = dir.filePath("long.dat");
    {
        QFile file(input);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        // Long enough (32 MB) that the click comes while it runs, on any machine.
        for (int i = 0; i < 200; ++i)
            file.write(data);
    }
    TabBinaryToRinex3 tab(input);
    const QString output = dir.filePath("cancel.20O");
    answerDialogWith(output);
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "save to "); }, 10000));
    ASSERT_FALSE(logHas(tab, "Convert ")) << "the conversion ended before it could be cancelled";
    buttonOf(tab)->click();
    EXPECT_EQ(logLines(tab).last(), "Cancle Convert");
    guitest::spin(1500);
    for (const QString& line : logLines(tab)) {
        EXPECT_FALSE(line.startsWith("Convert ")) << line.toStdString();
        EXPECT_FALSE(line.startsWith("Span ")) << line.toStdString();
        EXPECT_FALSE(line.startsWith("Quality report")) << line.toStdString();
    }
    EXPECT_TRUE(QDir(dir.path()).entryList({"*.html"}, QDir::Files).isEmpty());
}

} // namespace

VELMOOR_GUI_TEST_MAIN
