// SPDX-License-Identifier: MIT
#include "shell/main_window.h"

#include <QCoreApplication>
#include <QDate>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLocale>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QSpacerItem>
#include <QStackedWidget>
#include <QTabWidget>
#include <QUrl>
#include <QVBoxLayout>

#include "shell/tab_binary_to_rinex3.h"
#include "velmoor/versions.h"

namespace {

const QString KeyFilePath = QStringLiteral("file-path");

} // namespace

void MainWindowForm::setupUi(QMainWindow* window) {
    if (window->objectName().isEmpty()) window->setObjectName(QStringLiteral("MainWindow"));
    window->resize(647, 577);

    centralWidget = new QWidget(window);
    centralWidget->setObjectName(QStringLiteral("centralWidget"));
    stackedWidget = new QStackedWidget(centralWidget);
    stackedWidget->setObjectName(QStringLiteral("stackedWidget"));
    stackedWidget->setGeometry(QRect(0, 0, 647, 577));

    pageMenu = new QWidget();
    pageMenu->setObjectName(QStringLiteral("pageMenu"));
    verticalLayoutWidget_2 = new QWidget(pageMenu);
    verticalLayoutWidget_2->setObjectName(QStringLiteral("verticalLayoutWidget_2"));
    verticalLayoutWidget_2->setGeometry(QRect(0, 0, 647, 577));
    vblMenu = new QVBoxLayout(verticalLayoutWidget_2);
    vblMenu->setSpacing(6);
    vblMenu->setObjectName(QStringLiteral("vblMenu"));
    vblMenu->setContentsMargins(0, 0, 0, 0);
    verticalSpacer = new QSpacerItem(20, 40, QSizePolicy::Minimum, QSizePolicy::Expanding);
    vblMenu->addItem(verticalSpacer);
    horizontalLayout = new QHBoxLayout();
    horizontalLayout->setSpacing(6);
    horizontalLayout->setObjectName(QStringLiteral("horizontalLayout"));
    horizontalSpacer = new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum);
    horizontalLayout->addItem(horizontalSpacer);
    pbOpenFiles = new QPushButton(verticalLayoutWidget_2);
    pbOpenFiles->setObjectName(QStringLiteral("pbOpenFiles"));
    pbOpenFiles->setMinimumSize(QSize(100, 60));
    horizontalLayout->addWidget(pbOpenFiles);
    horizontalSpacer_2 = new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum);
    horizontalLayout->addItem(horizontalSpacer_2);
    vblMenu->addLayout(horizontalLayout);
    verticalSpacer_2 = new QSpacerItem(20, 40, QSizePolicy::Minimum, QSizePolicy::Expanding);
    vblMenu->addItem(verticalSpacer_2);
    stackedWidget->addWidget(pageMenu);

    pageTab = new QWidget();
    pageTab->setObjectName(QStringLiteral("pageTab"));
    verticalLayoutWidget = new QWidget(pageTab);
    verticalLayoutWidget->setObjectName(QStringLiteral("verticalLayoutWidget"));
    verticalLayoutWidget->setGeometry(QRect(0, 0, 647, 577));
    vblTab = new QVBoxLayout(verticalLayoutWidget);
    vblTab->setSpacing(6);
    vblTab->setObjectName(QStringLiteral("vblTab"));
    vblTab->setContentsMargins(0, 0, 0, 0);
    tabWidget = new QTabWidget(verticalLayoutWidget);
    tabWidget->setObjectName(QStringLiteral("tabWidget"));
    vblTab->addWidget(tabWidget);
    stackedWidget->addWidget(pageTab);

    window->setCentralWidget(centralWidget);

    window->setWindowTitle(QStringLiteral("Velmoer"));
    pbOpenFiles->setText(QStringLiteral("Open Files"));

    stackedWidget->setCurrentIndex(1);
    QMetaObject::connectSlotsByName(window);
}

QString windowTitleFromBuildStamp(const QString& buildDate, const QString& buildTime) {
    // The compiler pads a one-digit day with a blank: "Dec  7 2020".
    const QString date = QString(buildDate).replace(QStringLiteral("  "), QStringLiteral(" "));
    const QDate built = QLocale::c().toDate(date, QStringLiteral("MMM d yyyy"));
    return QStringLiteral("%1 (%2 %3)")
        .arg(QStringLiteral(VELMOOR_PROGRAM_VERSION), built.toString(QStringLiteral("yyyy-MM-dd")),
             buildTime.left(5));
}

MainWindow::OpenFilesDialog MainWindow::getOpenFileNames = [](QWidget* parent, const QString& caption,
                                                              const QString& folder) {
    return QFileDialog::getOpenFileNames(parent, caption, folder, QString());
};

MainWindow::MainWindow(QWidget* parent) : MainWindow(QCoreApplication::arguments().mid(1), parent) {}

MainWindow::MainWindow(const QStringList& files, QWidget* parent) : QMainWindow(parent) {
    ui.setupUi(this);

    // The pages' layouts fill their pages and follow the window's size.
    setCentralWidget(ui.stackedWidget);
    ui.centralWidget = nullptr; // replaced and deleted by the main window
    setAcceptDrops(true);
    ui.pageMenu->setLayout(ui.vblMenu);
    ui.pageTab->setLayout(ui.vblTab);

    setWindowTitle(windowTitleFromBuildStamp(QStringLiteral(__DATE__), QStringLiteral(__TIME__)));

    bool added = false;
    for (const QString& file : files) {
        if (!QFileInfo(file).isFile()) continue;
        addFileTab(file);
        added = true;
    }
    ui.stackedWidget->setCurrentIndex(added ? 1 : 0);
}

MainWindow::~MainWindow() = default;

void MainWindow::addFileTab(const QString& path) {
    const QString title = QString(path).replace('\\', '/').section('/', -1);
    auto* tab = new TabBinaryToRinex3(path);
    const int index = ui.tabWidget->addTab(tab, title);
    ui.tabWidget->setTabToolTip(index, path);
    ui.tabWidget->setCurrentIndex(index);
}

void MainWindow::on_pbOpenFiles_clicked() {
    QSettings settings;
    const QString folder = settings.value(KeyFilePath).toString();
    const QStringList files = getOpenFileNames(this, QStringLiteral("Select GNSS Files"), folder);
    if (files.isEmpty()) return;
    settings.setValue(KeyFilePath, files.first());
    ui.stackedWidget->setCurrentIndex(1);
    for (const QString& file : files)
        addFileTab(file);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat(QStringLiteral("text/uri-list")))
        event->acceptProposedAction();
    else
        event->ignore();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QMimeData* mime = event->mimeData();
    if (!mime->hasUrls()) return;
    ui.stackedWidget->setCurrentIndex(1);
    for (const QUrl& url : mime->urls()) {
        if (url.isLocalFile()) addFileTab(url.toLocalFile());
    }
    event->acceptProposedAction();
}
