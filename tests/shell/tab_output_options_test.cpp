// SPDX-License-Identifier: MIT
// The output options' rows of a conversion tab: bad values are reported in the log and
// nothing starts; good ones reach the conversion; the editors check what is typed.
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QValidator>
#include <gtest/gtest.h>

#include "gui_test_support.h"
#include "params/widget_tree_param.h"
#include "shell/tab_binary_to_rinex3.h"

namespace {

const QString RealData = QStringLiteral(VELMOOR_TEST_DATA "/streams/cebr-range-key.dat");

QStringList logLines(const TabBinaryToRinex3& tab) {
    const QString text = tab.findChild<QTextEdit*>()->toPlainText();
    return text.isEmpty() ? QStringList() : text.split('\n');
}
bool logHas(const TabBinaryToRinex3& tab, const QString& prefix) {
    for (const QString& line : logLines(tab))
        if (line.startsWith(prefix)) return true;
    return false;
}

QModelIndex valueIndex(const TabBinaryToRinex3& tab, const QString& name) {
    auto* tree = tab.findChild<WidgetTreeParam*>();
    const QStandardItemModel* model = tree->itemModel();
    const QModelIndex config = model->index(1, 0);
    for (int r = 0; r < model->rowCount(config); ++r)
        if (model->index(r, 0, config).data().toString() == name) return model->index(r, 1, config);
    return {};
}

void setRow(TabBinaryToRinex3& tab, const QString& name, const QString& value, const QString& shown) {
    auto* tree = tab.findChild<WidgetTreeParam*>();
    const QModelIndex index = valueIndex(tab, name);
    ASSERT_TRUE(index.isValid()) << name.toStdString();
    tree->itemModel()->setData(index, value, WidgetTreeParam::RoleValue);
    tree->itemModel()->setData(index, shown, Qt::DisplayRole);
}

class TabOutputOptions : public ::testing::Test {
protected:
    void SetUp() override {
        realDialog = TabBinaryToRinex3::getSaveFileName;
        ASSERT_TRUE(dir.isValid());
    }
    void TearDown() override { TabBinaryToRinex3::getSaveFileName = realDialog; }
    void answerDialogWith(const QString& answer) {
        TabBinaryToRinex3::getSaveFileName = [this, answer](QWidget*, const QString&, const QString&) {
            ++dialogCalls;
            return answer;
        };
    }
    TabBinaryToRinex3::SaveFileDialog realDialog;
    QTemporaryDir dir;
    int dialogCalls = 0;
};

} // namespace

TEST_F(TabOutputOptions, RowsShowTheirDefaults) {
    TabBinaryToRinex3 tab(RealData);
    EXPECT_EQ(valueIndex(tab, "Window Start").data().toString(), "");
    EXPECT_EQ(valueIndex(tab, "Systems").data().toString(), "GRECSJI");
    EXPECT_EQ(valueIndex(tab, "Long Name").data().toString(), "Off");
    EXPECT_EQ(valueIndex(tab, "Long Name Country").data().toString(), "XXX");
    EXPECT_EQ(valueIndex(tab, "Compression").data().toString(), "None");
    EXPECT_FALSE(valueIndex(tab, "Interval").data(Qt::ToolTipRole).toString().isEmpty());
}

TEST_F(TabOutputOptions, BadValuesAreLoggedAndNothingStarts) {
    TabBinaryToRinex3 tab(RealData);
    setRow(tab, "Interval", "0.01", "0.01");
    setRow(tab, "Window End", "tomorrow", "tomorrow");
    answerDialogWith(dir.filePath("x.20O"));
    tab.findChild<QPushButton*>("pbConvert")->click();
    guitest::spin(200);
    EXPECT_EQ(dialogCalls, 0);
    const QStringList lines = logLines(tab);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines.at(0).startsWith("Window End: 'tomorrow' is not valid (GPS time YYYY-MM-DD HH:MM:SS"));
    EXPECT_TRUE(lines.at(1).startsWith("Interval: '0.01' is not valid (seconds from 0.05 to 86400"));
    EXPECT_EQ(tab.findChild<QPushButton*>("pbConvert")->text(), "Convert");
    EXPECT_TRUE(QDir(dir.path()).entryList(QDir::Files).isEmpty());
}

TEST_F(TabOutputOptions, LongNamesAndSystemsReachTheConversion) {
    TabBinaryToRinex3 tab(RealData);
    setRow(tab, "Systems", "GE", "GE");
    setRow(tab, "Long Name", "1", "On");
    setRow(tab, "Long Name Country", "ESP", "ESP");
    setRow(tab, "Interval", "30", "30");
    answerDialogWith(dir.filePath("chosen.20O"));
    tab.findChild<QPushButton*>("pbConvert")->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "Convert "); }, 60000));
    EXPECT_TRUE(guitest::endsWithCompleteAndSummary(logLines(tab))) << logLines(tab).join('\n').toStdString();
    EXPECT_TRUE(logLines(tab).contains("save to " + QDir(dir.path()).absolutePath()));
    // The quality report beside the observation file, named after it.
    const QStringList reports = QDir(dir.path()).entryList({"*.qc.html"}, QDir::Files);
    ASSERT_EQ(reports.size(), 1);
    EXPECT_TRUE(reports.first().endsWith("_MO.rnx.qc.html") || reports.first().endsWith("_GO.rnx.qc.html"))
        << reports.first().toStdString();
    EXPECT_EQ(logLines(tab).last(), "Quality report " + dir.filePath(reports.first()));
    QStringList files = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden);
    files.removeAll(reports.first());
    ASSERT_EQ(files.size(), 3) << files.join(' ').toStdString();
    for (const QString& name : files) {
        EXPECT_TRUE(name.contains("00ESP_R_")) << name.toStdString();
        EXPECT_TRUE(logLines(tab).contains("wrote " + dir.filePath(name))) << name.toStdString();
    }
    EXPECT_TRUE(files.at(0).endsWith("_30S_MO.rnx") || files.at(0).endsWith("_30S_GO.rnx"))
        << files.at(0).toStdString();
    EXPECT_TRUE(files.at(1).endsWith("_EN.rnx"));
    EXPECT_TRUE(files.at(2).endsWith("_GN.rnx"));
}

TEST_F(TabOutputOptions, CompressionRowCompressesTheFinishedFiles) {
    TabBinaryToRinex3 tab(RealData);
    setRow(tab, "Compression", "crx.gz", "Compact RINEX and gzip (crx.gz)");
    answerDialogWith(dir.filePath("packed.20O"));
    tab.findChild<QPushButton*>("pbConvert")->click();
    ASSERT_TRUE(guitest::waitFor([&] { return logHas(tab, "Convert "); }, 60000));
    EXPECT_TRUE(guitest::endsWithCompleteAndSummary(logLines(tab))) << logLines(tab).join('\n').toStdString();
    // The check followed the records as they were written: compression does not stop it.
    // Its report is named after the observation file as written, before compression.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files),
              (QStringList{"packed.20C.gz", "packed.20D.gz", "packed.20G.gz", "packed.20L.gz", "packed.20N.gz",
                           "packed.20O.qc.html"}));
}

TEST_F(TabOutputOptions, EditorsRefuseWhatCannotBecomeAValue) {
    TabBinaryToRinex3 tab(RealData);
    auto* tree = tab.findChild<WidgetTreeParam*>();
    QWidget* editor = tree->itemDelegate()->createEditor(tree->viewport(), QStyleOptionViewItem(),
                                                         valueIndex(tab, "Systems"));
    auto* lineEdit = qobject_cast<QLineEdit*>(editor);
    ASSERT_NE(lineEdit, nullptr);
    ASSERT_NE(lineEdit->validator(), nullptr);
    QString text = "GX";
    int position = 0;
    EXPECT_EQ(lineEdit->validator()->validate(text, position), QValidator::Invalid);
    text = "ge";
    EXPECT_EQ(lineEdit->validator()->validate(text, position), QValidator::Acceptable);
    text = "";
    EXPECT_EQ(lineEdit->validator()->validate(text, position), QValidator::Acceptable);
    delete editor;

    editor = tree->itemDelegate()->createEditor(tree->viewport(), QStyleOptionViewItem(),
                                                valueIndex(tab, "Window Start"));
    lineEdit = qobject_cast<QLineEdit*>(editor);
    ASSERT_NE(lineEdit, nullptr);
    text = "2018-07-1";
    EXPECT_EQ(lineEdit->validator()->validate(text, position), QValidator::Intermediate);
    text = "2018-07-19 01:00:00";
    EXPECT_EQ(lineEdit->validator()->validate(text, position), QValidator::Acceptable);
    text = "2018-07-19x";
    EXPECT_EQ(lineEdit->validator()->validate(text, position), QValidator::Invalid);
    delete editor;

    // Rows that were there before keep their free-text editors.
    editor = tree->itemDelegate()->createEditor(tree->viewport(), QStyleOptionViewItem(),
                                                valueIndex(tab, "Marker Name"));
    lineEdit = qobject_cast<QLineEdit*>(editor);
    ASSERT_NE(lineEdit, nullptr);
    EXPECT_EQ(lineEdit->validator(), nullptr);
    delete editor;
}

VELMOOR_GUI_TEST_MAIN
