// SPDX-License-Identifier: MIT
// The main window: its form, the title from the build stamp, and the three ways to open files.
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QHBoxLayout>
#include <QMimeData>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QUrl>
#include <QVBoxLayout>

#include "shell/main_window.h"
#include "shell/tab_binary_to_rinex3.h"
#include "tests/shell/gui_test_support.h"

namespace {

const QString KeyFilePath = "file-path";

QStackedWidget* stackOf(const QMainWindow& window) {
    return window.findChild<QStackedWidget*>("stackedWidget");
}
QTabWidget* tabsOf(const QMainWindow& window) {
    return window.findChild<QTabWidget*>("tabWidget");
}

class MainWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        realDialog = MainWindow::getOpenFileNames;
        ASSERT_TRUE(dir.isValid());
        QSettings().remove(KeyFilePath);
    }
    void TearDown() override {
        MainWindow::getOpenFileNames = realDialog;
        QSettings().remove(KeyFilePath);
    }

    QString makeFile(const QString& name) {
        const QString path = dir.filePath(name);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly)) file.write("data");
        return path;
    }

    MainWindow::OpenFilesDialog realDialog;
    QTemporaryDir dir;
};

TEST_F(MainWindowTest, FormHasItsObjectsSizesAndTitle) {
    QMainWindow window;
    MainWindowForm form;
    form.setupUi(&window);

    EXPECT_EQ(window.objectName(), "MainWindow");
    EXPECT_EQ(window.size(), QSize(647, 577));
    EXPECT_EQ(window.windowTitle(), "Velmoer");
    EXPECT_EQ(window.centralWidget(), form.centralWidget);
    EXPECT_EQ(form.centralWidget->objectName(), "centralWidget");
    EXPECT_EQ(form.stackedWidget->objectName(), "stackedWidget");
    ASSERT_EQ(form.stackedWidget->count(), 2);
    EXPECT_EQ(form.stackedWidget->widget(0), form.pageMenu);
    EXPECT_EQ(form.stackedWidget->widget(1), form.pageTab);
    EXPECT_EQ(form.stackedWidget->currentIndex(), 1);
    EXPECT_EQ(form.pageMenu->objectName(), "pageMenu");
    EXPECT_EQ(form.pageTab->objectName(), "pageTab");
    EXPECT_EQ(form.verticalLayoutWidget_2->objectName(), "verticalLayoutWidget_2");
    EXPECT_EQ(form.verticalLayoutWidget->objectName(), "verticalLayoutWidget");

    EXPECT_EQ(form.vblMenu->objectName(), "vblMenu");
    EXPECT_EQ(form.vblMenu->spacing(), 6);
    EXPECT_EQ(form.vblMenu->contentsMargins(), QMargins(0, 0, 0, 0));
    ASSERT_EQ(form.vblMenu->count(), 3);
    ASSERT_NE(form.vblMenu->itemAt(0)->spacerItem(), nullptr);
    EXPECT_EQ(form.vblMenu->itemAt(0)->sizeHint(), QSize(20, 40));
    EXPECT_EQ(form.vblMenu->itemAt(0)->expandingDirections(), Qt::Vertical);
    EXPECT_EQ(form.vblMenu->itemAt(1)->layout(), form.horizontalLayout);
    ASSERT_NE(form.vblMenu->itemAt(2)->spacerItem(), nullptr);
    EXPECT_EQ(form.vblMenu->itemAt(2)->sizeHint(), QSize(20, 40));

    EXPECT_EQ(form.horizontalLayout->objectName(), "horizontalLayout");
    EXPECT_EQ(form.horizontalLayout->spacing(), 6);
    ASSERT_EQ(form.horizontalLayout->count(), 3);
    EXPECT_EQ(form.horizontalLayout->itemAt(0)->sizeHint(), QSize(40, 20));
    EXPECT_EQ(form.horizontalLayout->itemAt(0)->expandingDirections(), Qt::Horizontal);
    EXPECT_EQ(form.horizontalLayout->itemAt(1)->widget(), form.pbOpenFiles);
    EXPECT_EQ(form.horizontalLayout->itemAt(2)->sizeHint(), QSize(40, 20));
    EXPECT_EQ(form.pbOpenFiles->objectName(), "pbOpenFiles");
    EXPECT_EQ(form.pbOpenFiles->text(), "Open Files");
    EXPECT_EQ(form.pbOpenFiles->minimumSize(), QSize(100, 60));

    EXPECT_EQ(form.vblTab->objectName(), "vblTab");
    EXPECT_EQ(form.vblTab->spacing(), 6);
    EXPECT_EQ(form.vblTab->contentsMargins(), QMargins(0, 0, 0, 0));
    ASSERT_EQ(form.vblTab->count(), 1);
    EXPECT_EQ(form.vblTab->itemAt(0)->widget(), form.tabWidget);
    EXPECT_EQ(form.tabWidget->objectName(), "tabWidget");
}

TEST_F(MainWindowTest, WindowUsesStackAsCentralWidgetAndPageLayouts) {
    MainWindow window(QStringList{});
    EXPECT_EQ(window.centralWidget(), stackOf(window));
    EXPECT_TRUE(window.acceptDrops());
    auto* pageMenu = window.findChild<QWidget*>("pageMenu");
    auto* pageTab = window.findChild<QWidget*>("pageTab");
    ASSERT_TRUE(pageMenu && pageTab);
    ASSERT_NE(pageMenu->layout(), nullptr);
    EXPECT_EQ(pageMenu->layout()->objectName(), "vblMenu");
    ASSERT_NE(pageTab->layout(), nullptr);
    EXPECT_EQ(pageTab->layout()->objectName(), "vblTab");
    EXPECT_EQ(window.size(), QSize(647, 577));
}

TEST_F(MainWindowTest, TitleFromCompilerBuildStamp) {
    EXPECT_EQ(windowTitleFromBuildStamp("Dec  7 2020", "09:05:59"), "Velmoor.1.1.2012.11 (2020-12-07 09:05)");
    EXPECT_EQ(windowTitleFromBuildStamp("Dec 17 2020", "16:19:18"), "Velmoor.1.1.2012.11 (2020-12-17 16:19)");
    EXPECT_EQ(windowTitleFromBuildStamp("Mar  1 2021", "00:00:00"), "Velmoor.1.1.2012.11 (2021-03-01 00:00)");
}

TEST_F(MainWindowTest, WindowTitleReplacesTheFormTitle) {
    MainWindow window(QStringList{});
    const QRegularExpression title("^Velmoor\\.1\\.1\\.2012\\.11 \\(\\d{4}-\\d{2}-\\d{2} \\d{2}:\\d{2}\\)$");
    EXPECT_TRUE(title.match(window.windowTitle()).hasMatch()) << window.windowTitle().toStdString();
}

TEST_F(MainWindowTest, TwoExistingFilesAndAMissingOneOpenTwoTabsInOrder) {
    const QString a = makeFile("first.dat");
    const QString b = makeFile("second.dat");
    MainWindow window(QStringList{a, dir.filePath("missing.dat"), b});

    QTabWidget* tabs = tabsOf(window);
    ASSERT_EQ(tabs->count(), 2);
    EXPECT_EQ(tabs->tabText(0), "first.dat");
    EXPECT_EQ(tabs->tabToolTip(0), a);
    EXPECT_EQ(tabs->tabText(1), "second.dat");
    EXPECT_EQ(tabs->tabToolTip(1), b);
    EXPECT_EQ(tabs->currentIndex(), 1);
    EXPECT_NE(qobject_cast<TabBinaryToRinex3*>(tabs->widget(0)), nullptr);
    EXPECT_EQ(stackOf(window)->currentIndex(), 1);
}

TEST_F(MainWindowTest, NoArgumentsShowsTheStartPage) {
    MainWindow window(QStringList{});
    window.show();
    EXPECT_EQ(stackOf(window)->currentIndex(), 0);
    auto* button = window.findChild<QPushButton*>("pbOpenFiles");
    ASSERT_NE(button, nullptr);
    EXPECT_TRUE(button->isVisible());
    EXPECT_EQ(button->text(), "Open Files");
    EXPECT_EQ(tabsOf(window)->count(), 0);
}

TEST_F(MainWindowTest, BackslashPathGetsFileNameTitleAndFullToolTip) {
    MainWindow window(QStringList{});
    window.addFileTab("C:\\data\\a.dat");
    QTabWidget* tabs = tabsOf(window);
    ASSERT_EQ(tabs->count(), 1);
    EXPECT_EQ(tabs->tabText(0), "a.dat");
    EXPECT_EQ(tabs->tabToolTip(0), "C:\\data\\a.dat");
    EXPECT_EQ(tabs->currentIndex(), 0);
}

TEST_F(MainWindowTest, DropOfLocalFileAndWebUrlOpensOneTab) {
    MainWindow window(QStringList{});
    const QString local = makeFile("dropped.dat");
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(local), QUrl("https://example.org/remote.dat")});

    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    EXPECT_TRUE(enter.isAccepted());

    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &drop);
    QTabWidget* tabs = tabsOf(window);
    ASSERT_EQ(tabs->count(), 1);
    EXPECT_EQ(tabs->tabText(0), "dropped.dat");
    EXPECT_EQ(tabs->tabToolTip(0), local);
    EXPECT_EQ(stackOf(window)->currentIndex(), 1);
}

TEST_F(MainWindowTest, DropOfWebUrlOnlySwitchesThePage) {
    MainWindow window(QStringList{});
    QMimeData mime;
    mime.setUrls({QUrl("https://example.org/remote.dat")});
    // A drop reaches the window that accepted the drag's entry.
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    ASSERT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &drop);
    EXPECT_EQ(tabsOf(window)->count(), 0);
    EXPECT_EQ(stackOf(window)->currentIndex(), 1);
}

TEST_F(MainWindowTest, DragWithoutUriListIsNotAccepted) {
    MainWindow window(QStringList{});
    QMimeData mime;
    mime.setText("just text");
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    EXPECT_FALSE(enter.isAccepted());
}

TEST_F(MainWindowTest, OpenFilesDialogAddsTabsAndRemembersFirstFile) {
    QSettings().setValue(KeyFilePath, "/previous/place/x.dat");
    MainWindow window(QStringList{});
    const QString a = makeFile("one.dat");
    // Chosen files are not tested for existence.
    const QString missing = dir.filePath("not-there.dat");
    QString caption, folder;
    MainWindow::getOpenFileNames = [&](QWidget*, const QString& c, const QString& f) {
        caption = c;
        folder = f;
        return QStringList{a, missing};
    };
    window.findChild<QPushButton*>("pbOpenFiles")->click();

    EXPECT_EQ(caption, "Select GNSS Files");
    EXPECT_EQ(folder, "/previous/place/x.dat");
    EXPECT_EQ(QSettings().value(KeyFilePath).toString(), a);
    EXPECT_EQ(stackOf(window)->currentIndex(), 1);
    QTabWidget* tabs = tabsOf(window);
    ASSERT_EQ(tabs->count(), 2);
    EXPECT_EQ(tabs->tabText(0), "one.dat");
    EXPECT_EQ(tabs->tabText(1), "not-there.dat");
    EXPECT_EQ(tabs->currentIndex(), 1);
}

TEST_F(MainWindowTest, CancelledOpenFilesDialogChangesNothing) {
    MainWindow window(QStringList{});
    int calls = 0;
    QString folder = "unset";
    MainWindow::getOpenFileNames = [&](QWidget*, const QString&, const QString& f) {
        ++calls;
        folder = f;
        return QStringList{};
    };
    window.findChild<QPushButton*>("pbOpenFiles")->click();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(folder, "");
    EXPECT_EQ(stackOf(window)->currentIndex(), 0);
    EXPECT_EQ(tabsOf(window)->count(), 0);
    EXPECT_FALSE(QSettings().contains(KeyFilePath));
}

} // namespace

VELMOOR_GUI_TEST_MAIN
