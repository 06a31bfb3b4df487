// SPDX-License-Identifier: MIT
// The conversion tab: the output path proposal, start, progress, cancel, and a real conversion.
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimer>

#include "params/widget_tree_param.h"
#include "shell/tab_binary_to_rinex3.h"
#include "tests/shell/gui_test_support.h"
#include "support/files.h"

namespace {

using testsupport::readAll;

constexpr int RoleValue = Qt::UserRole + 2;
const QString KeyPathOutput = "TabBinaryToRinex3-path-output";
const QString RealData = QStringLiteral(VELMOOR_TEST_DATA "/streams/cebr-range-key.dat");
const QRegularExpression Stamp("^(\\d{4})(\\d{2})(\\d{2})-(\\d{2})(\\d{2})(\\d{2})\\.(\\d{2})O$");

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

// The real data file followed by copies of itself, so that a conversion runs for a while.
QString longInput(const QTemporaryDir& dir, int copies) {
    const QByteArray data = readAll(RealData);
    const QString path = dir.filePath("long.dat");
    QFile file(path);
    if (data.isEmpty() || !file.open(QIODevice::WriteOnly)) return QString();
    for (int i = 0; i < copies; ++i)
        file.write(data);
    return path;
}

class TabConvert : public ::testing::Test {
protected:
    void SetUp() override {
        realDialog = TabBinaryToRinex3::getSaveFileName;
        QSettings().remove(KeyPathOutput);
        ASSERT_TRUE(dir.isValid());
    }
    void TearDown() override {
        TabBinaryToRinex3::getSaveFileName = realDialog;
        QSettings().remove(KeyPathOutput);
    }

    // The dialog answers with the given path and remembers what it was asked.
    void answerDialogWith(const QString& answer) {
        TabBinaryToRinex3::getSaveFileName = [this, answer](QWidget*, const QString& caption,
                                                            const QString& proposal) {
            ++dialogCalls;
            askedCaption = caption;
            askedProposal = proposal;
            return answer;
        };
    }

    // Starts a conversion into the given output path and waits until the worker runs.
    bool startAndWaitForRun(TabBinaryToRinex3& tab, const QString& output) {
        answerDialogWith(output);
        buttonOf(tab)->click();
        return guitest::waitFor([&] { return logHas(tab, "save to "); }, 10000);
    }

    TabBinaryToRinex3::SaveFileDialog realDialog;
    QTemporaryDir dir;
    int dialogCalls = 0;
    QString askedCaption;
    QString askedProposal;
};

TEST_F(TabConvert, ConstructionBuildsTheButtonProgressBarAndHiddenLog) {
    TabBinaryToRinex3 tab(RealData);
    tab.show();
    QTextEdit* log = logOf(tab);
    ASSERT_NE(log, nullptr);
    EXPECT_FALSE(log->isVisible());
    EXPECT_TRUE(log->isReadOnly());
    EXPECT_FALSE(log->document()->isUndoRedoEnabled());
    EXPECT_EQ(log->font().family(), "Monospace");

    ASSERT_NE(buttonOf(tab), nullptr);
    EXPECT_EQ(buttonOf(tab)->text(), "Convert");
    EXPECT_TRUE(buttonOf(tab)->isEnabled());

    auto* bar = tab.findChild<QProgressBar*>();
    ASSERT_NE(bar, nullptr);
    EXPECT_EQ(bar->minimum(), 0);
    EXPECT_EQ(bar->maximum(), 100);

    auto* tree = tab.findChild<WidgetTreeParam*>();
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->columnWidth(0), 220);
    const QStandardItemModel* model = tree->itemModel();
    EXPECT_EQ(model->headerData(0, Qt::Horizontal).toString(), "Name");
    EXPECT_EQ(model->headerData(1, Qt::Horizontal).toString(), "Value");
    ASSERT_EQ(model->rowCount(), 2);
    EXPECT_EQ(model->index(0, 0).data().toString(), "File Infomation");
    EXPECT_EQ(model->index(1, 0).data().toString(), "Configure");
}

TEST_F(TabConvert, WithoutStoredPathTheProposalIsTheTimeStampedName) {
    TabBinaryToRinex3 tab(RealData);
    answerDialogWith(QString());
    const QDateTime before = QDateTime::currentDateTime();
    buttonOf(tab)->click();
    const QDateTime after = QDateTime::currentDateTime();

    ASSERT_EQ(dialogCalls, 1);
    EXPECT_EQ(askedCaption, "Select Output File");
    const QRegularExpressionMatch match = Stamp.match(askedProposal);
    ASSERT_TRUE(match.hasMatch()) << askedProposal.toStdString();
    // The two digits after the point are the year's last two.
    EXPECT_EQ(match.captured(7), match.captured(1).right(2));
    const QDateTime stamped(
        QDate(match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()),
        QTime(match.captured(4).toInt(), match.captured(5).toInt(), match.captured(6).toInt()));
    EXPECT_GE(stamped.toSecsSinceEpoch(), before.toSecsSinceEpoch() - 1);
    EXPECT_LE(stamped.toSecsSinceEpoch(), after.toSecsSinceEpoch());
}

TEST_F(TabConvert, WithStoredPathTheProposalIsInItsFolder) {
    QSettings().setValue(KeyPathOutput, "C:\\data\\old.20O");
    TabBinaryToRinex3 tab(RealData);
    answerDialogWith(QString());
    buttonOf(tab)->click();

    ASSERT_EQ(dialogCalls, 1);
    ASSERT_TRUE(askedProposal.startsWith("C:/data/")) << askedProposal.toStdString();
    EXPECT_TRUE(Stamp.match(askedProposal.mid(8)).hasMatch()) << askedProposal.toStdString();
}

TEST_F(TabConvert, CancellingTheDialogLeavesTheTabAsItWas) {
    QSettings().setValue(KeyPathOutput, "/somewhere/previous.20O");
    TabBinaryToRinex3 tab(RealData);
    tab.show();
    answerDialogWith(QString());
    buttonOf(tab)->click();
    guitest::spin(200);

    EXPECT_EQ(dialogCalls, 1);
    EXPECT_FALSE(logOf(tab)->isVisible());
    EXPECT_TRUE(logOf(tab)->toPlainText().isEmpty());
    EXPECT_EQ(buttonOf(tab)->text(), "Convert");
    EXPECT_TRUE(buttonOf(tab)->isEnabled());
    EXPECT_EQ(QSettings().value(KeyPathOutput).toString(), "/somewhere/previous.20O");
}

TEST_F(TabConvert, RealConversionLogsAndWritesFiveFiles) {
    TabBinaryToRinex3 tab(RealData);
    tab.show();
    const QString output = dir.filePath("cebr.20O");
    answerDialogWith(output);
    buttonOf(tab)->click();

    EXPECT_TRUE(logOf(tab)->isVisible());
    EXPECT_EQ(buttonOf(tab)->text(), "Cancle");
    EXPECT_EQ(QSettings().value(KeyPathOutput).toString(), output);
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "Convert "); }, 60000)) << "no end of conversion";

    const QStringList lines = logLines(tab);
    ASSERT_GE(lines.size(), 4);
    EXPECT_EQ(lines.first(), "Start Convert");
    EXPECT_EQ(lines[1], "save to " + output);
    // The last specified line, followed by the quality summary.
    EXPECT_TRUE(guitest::endsWithCompleteAndSummary(lines)) << lines.join('\n').toStdString();
    EXPECT_EQ(lines.last(), "Quality report " + output + ".qc.html");
    EXPECT_TRUE(QFile::exists(output + ".qc.html"));
    int lastPercent = -1;
    for (int i = 2; i < lines.size() - 7; ++i) {
        const QRegularExpressionMatch match = QRegularExpression("^Progress (\\d+)%$").match(lines[i]);
        ASSERT_TRUE(match.hasMatch()) << lines[i].toStdString();
        EXPECT_GT(match.captured(1).toInt(), lastPercent);
        lastPercent = match.captured(1).toInt();
    }
    EXPECT_EQ(lastPercent, 100);
    EXPECT_EQ(tab.findChild<QProgressBar*>()->value(), 100);
    EXPECT_EQ(buttonOf(tab)->text(), "Convert");
    EXPECT_TRUE(buttonOf(tab)->isEnabled());

    const QString base = output.left(output.size() - 1);
    for (const char* letter : {"O", "N", "G", "L", "C"})
        EXPECT_TRUE(QFile::exists(base + letter)) << (base + letter).toStdString();
    const QByteArray observations = readAll(base + "O");
    EXPECT_TRUE(observations.left(80).contains("3.04"));
    EXPECT_TRUE(observations.left(80).contains("OBSERVATION DATA"));
    EXPECT_TRUE(observations.contains("END OF HEADER"));
    // The marker of the file's header reaches the observation header through the options.
    const int marker = observations.indexOf("MARKER NAME");
    ASSERT_GT(marker, 0);
    EXPECT_TRUE(observations.mid(marker - 60, 60).startsWith("CEBR"));
    EXPECT_GT(observations.count("\r\n> "), 10);
    EXPECT_TRUE(readAll(base + "N").contains("END OF HEADER"));
}

TEST_F(TabConvert, ChosenOptionsReachTheConversionAndTheThreadRunsAgain) {
    TabBinaryToRinex3 tab(RealData);
    auto* tree = tab.findChild<WidgetTreeParam*>();
    ASSERT_NE(tree, nullptr);
    const QStandardItemModel* model = tree->itemModel();
    const QModelIndex config = model->index(1, 0);
    for (int r = 0; r < model->rowCount(config); ++r) {
        if (model->index(r, 0, config).data().toString() == "Version") {
            tree->itemModel()->setData(model->index(r, 1, config), "3.03", RoleValue);
            tree->itemModel()->setData(model->index(r, 1, config), "RINEX 3.03", Qt::DisplayRole);
        }
    }

    const QString output = dir.filePath("first.20O");
    answerDialogWith(output);
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "Convert "); }, 60000));
    EXPECT_TRUE(guitest::endsWithCompleteAndSummary(logLines(tab))) << logLines(tab).join('\n').toStdString();
    EXPECT_TRUE(readAll(dir.filePath("first.20O")).left(80).contains("3.03"));

    // Same output again: its files exist, so the new worker fails to open them.
    ASSERT_TRUE(guitest::waitFor([&] { return buttonOf(tab)->text() == "Convert"; }, 5000));
    guitest::spin(300);
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logLines(tab).last().startsWith("Convert Failed!"); }, 10000));
    EXPECT_EQ(logLines(tab).last(), "Convert Failed! open file failed, " + output);
    EXPECT_EQ(logLines(tab).count("Start Convert"), 2);
    EXPECT_EQ(buttonOf(tab)->text(), "Convert");
}

TEST_F(TabConvert, FileWithoutConfigurationFailsWithEmptyInputPath) {
    const QString path = dir.filePath("short.dat");
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(100, 'x'));
    }
    TabBinaryToRinex3 tab(path);
    answerDialogWith(dir.filePath("short.20O"));
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "Convert "); }, 10000));
    EXPECT_EQ(logLines(tab), QStringList({"Start Convert", "Convert Failed! file not exist, "}));
    EXPECT_FALSE(QFile::exists(dir.filePath("short.20O")));
}

TEST_F(TabConvert, EveryNewPercentAddsOneProgressLine) {
    // Four 1 MiB reads of a file of 3.5 MiB: the worker reports 28, 57, 85 and 100.
    QByteArray data = readAll(RealData);
    ASSERT_FALSE(data.isEmpty());
    data.append(QByteArray(3 * 1048576 + 524288 - data.size(), '\0'));
    const QString input = dir.filePath("padded.dat");
    {
        QFile file(input);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
    }
    TabBinaryToRinex3 tab(input);
    answerDialogWith(dir.filePath("padded.20O"));
    buttonOf(tab)->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "Convert "); }, 60000));

    QStringList progress;
    for (const QString& line : logLines(tab))
        if (line.startsWith("Progress")) progress << line;
    EXPECT_EQ(progress, QStringList({"Progress 28%", "Progress 57%", "Progress 85%", "Progress 100%"}));
}

TEST_F(TabConvert, ProgressSlotAppendsALineAndMovesTheBar) {
    TabBinaryToRinex3 tab(RealData);
    for (int percent : {0, 1, 2, 3})
        QMetaObject::invokeMethod(&tab, "on_thread_progress", Q_ARG(int, percent));
    EXPECT_EQ(logLines(tab), QStringList({"Progress 0%", "Progress 1%", "Progress 2%", "Progress 3%"}));
    EXPECT_EQ(tab.findChild<QProgressBar*>()->value(), 3);
}

TEST_F(TabConvert, ClickDuringRunCancelsAndPausesTheButtonForOneSecond) {
    const QString input = longInput(dir, 200);
    ASSERT_FALSE(input.isEmpty());
    TabBinaryToRinex3 tab(input);
    const QString output = dir.filePath("cancel.20O");
    ASSERT_TRUE(startAndWaitForRun(tab, output));
    ASSERT_FALSE(logHas(tab, "Convert ")) << "the conversion ended before it could be cancelled";

    buttonOf(tab)->click();
    QElapsedTimer paused;
    paused.start();
    EXPECT_EQ(dialogCalls, 1);
    EXPECT_EQ(logLines(tab).last(), "Cancle Convert");
    EXPECT_EQ(buttonOf(tab)->text(), "Convert");
    EXPECT_FALSE(buttonOf(tab)->isEnabled());

    guitest::waitFor([&] { return paused.elapsed() >= 800; }, 2000);
    EXPECT_FALSE(buttonOf(tab)->isEnabled());
    ASSERT_TRUE(guitest::waitFor([&] { return buttonOf(tab)->isEnabled(); }, 2000));
    EXPECT_GE(paused.elapsed(), 1000);

    // The cancelled worker is destroyed on its thread: its writer closes the files and writes
    // their headers.
    EXPECT_TRUE(guitest::waitFor([&] { return readAll(output).contains("RINEX VERSION / TYPE"); }, 5000));
    guitest::spin(500);
    for (const QString& line : logLines(tab))
        EXPECT_FALSE(line.startsWith("Convert ")) << line.toStdString();
    EXPECT_EQ(buttonOf(tab)->text(), "Convert");
}

TEST_F(TabConvert, ClosingTabDuringRunStopsWithinOneSecond) {
    const QString input = longInput(dir, 200);
    ASSERT_FALSE(input.isEmpty());
    auto* tab = new TabBinaryToRinex3(input);
    const QString output = dir.filePath("closed.20O");
    ASSERT_TRUE(startAndWaitForRun(*tab, output));
    ASSERT_FALSE(logHas(*tab, "Convert ")) << "the conversion ended before the tab was closed";

    QElapsedTimer closing;
    closing.start();
    delete tab;
    // Waits up to 1000 ms, then terminates.
    EXPECT_LT(closing.elapsed(), 1500);
    // The header is written at close: the worker was destroyed, not killed.
    EXPECT_TRUE(readAll(output).contains("RINEX VERSION / TYPE"));
}

TEST_F(TabConvert, TwoTabsConvertAtTheSameTimeWhileTheWindowKeepsServingEvents) {
    const QString input = longInput(dir, 60);
    ASSERT_FALSE(input.isEmpty());
    TabBinaryToRinex3 first(input);
    TabBinaryToRinex3 second(input);
    const QString firstOutput = dir.filePath("first.20O");
    const QString secondOutput = dir.filePath("second.20O");

    // Ticks of a GUI-thread timer count the event-loop passes made while both threads run.
    int ticks = 0;
    bool bothRunning = false;
    QTimer ticker;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        if (bothRunning) ++ticks;
    });
    ticker.start(5);

    answerDialogWith(firstOutput);
    buttonOf(first)->click();
    answerDialogWith(secondOutput);
    buttonOf(second)->click();
    ASSERT_TRUE(
        guitest::waitFor([&] { return logHas(first, "save to ") && logHas(second, "save to "); }, 10000));
    bothRunning = !logHas(first, "Convert ") && !logHas(second, "Convert ");
    EXPECT_TRUE(bothRunning) << "one conversion ended before the other started";
    EXPECT_EQ(buttonOf(first)->text(), "Cancle");
    EXPECT_EQ(buttonOf(second)->text(), "Cancle");

    ASSERT_TRUE(guitest::waitFor(
        [&] {
            if (logHas(first, "Convert ") || logHas(second, "Convert ")) bothRunning = false;
            return logHas(first, "Convert ") && logHas(second, "Convert ");
        },
        120000));
    // Each log ends in its conversion's complete line and quality summary.
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(first, "Quality report ") && logHas(second, "Quality report "); },
                                 5000));
    EXPECT_TRUE(guitest::endsWithCompleteAndSummary(logLines(first))) << logLines(first).join('\n').toStdString();
    EXPECT_TRUE(guitest::endsWithCompleteAndSummary(logLines(second))) << logLines(second).join('\n').toStdString();
    EXPECT_GT(ticks, 0) << "the GUI thread served no event while both conversions ran";
    // Each conversion wrote its own complete observation file.
    EXPECT_EQ(readAll(firstOutput).count("\r\n> "), readAll(secondOutput).count("\r\n> "));
    EXPECT_GT(readAll(firstOutput).count("\r\n> "), 100);
}

} // namespace

VELMOOR_GUI_TEST_MAIN
