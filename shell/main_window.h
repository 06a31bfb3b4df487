// SPDX-License-Identifier: MIT
#pragma once
// The single window: a start page with the "Open Files" button, then one conversion tab per
// input file. Files come from the command line, the open-files dialog or a drop.
#include <functional>

#include <QMainWindow>
#include <QString>
#include <QStringList>

class QHBoxLayout;
class QPushButton;
class QSpacerItem;
class QStackedWidget;
class QTabWidget;
class QVBoxLayout;

// The widgets of the window, built in code with the object names of the window's form.
struct MainWindowForm {
    QWidget* centralWidget = nullptr;
    QStackedWidget* stackedWidget = nullptr;
    QWidget* pageMenu = nullptr;
    QWidget* verticalLayoutWidget_2 = nullptr;
    QVBoxLayout* vblMenu = nullptr;
    QSpacerItem* verticalSpacer = nullptr;
    QHBoxLayout* horizontalLayout = nullptr;
    QSpacerItem* horizontalSpacer = nullptr;
    QPushButton* pbOpenFiles = nullptr;
    QSpacerItem* horizontalSpacer_2 = nullptr;
    QSpacerItem* verticalSpacer_2 = nullptr;
    QWidget* pageTab = nullptr;
    QWidget* verticalLayoutWidget = nullptr;
    QVBoxLayout* vblTab = nullptr;
    QTabWidget* tabWidget = nullptr;

    void setupUi(QMainWindow* window);
};

// "<program version> (yyyy-MM-dd hh:mm)", e.g. "Velmoor.1.1.2012.11 (2020-12-07 09:05)", from the compiler's
// build date ("Dec  7 2020") and build time ("09:05:59").
QString windowTitleFromBuildStamp(const QString& buildDate, const QString& buildTime);

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    // The multi-file open dialog (parent, caption, start folder); replaceable for tests.
    using OpenFilesDialog = std::function<QStringList(QWidget*, const QString&, const QString&)>;
    static OpenFilesDialog getOpenFileNames;

    // Opens a tab for each command-line argument (the program excluded) that is an existing file.
    explicit MainWindow(QWidget* parent = nullptr);
    // The same with the given arguments in place of the command line's.
    explicit MainWindow(const QStringList& files, QWidget* parent = nullptr);
    ~MainWindow() override;

    void addFileTab(const QString& path);

private slots:
    void on_pbOpenFiles_clicked();

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    MainWindowForm ui;
};
