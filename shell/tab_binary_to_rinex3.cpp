// SPDX-License-Identifier: MIT
#include "shell/tab_binary_to_rinex3.h"

#include <QDateTime>
#include <QDesktopServices>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include "params/config_rows.h"
#include "params/file_header.h"
#include "params/output_options.h"
#include "params/widget_tree_param.h"
#include "shell/thread_binary_to_rinex.h"

namespace {

const QString KeyPathOutput = QStringLiteral("TabBinaryToRinex3-path-output");

// The time-stamped name, in the folder of the last output path when there is one.
QString proposeOutputPath(QString stored) {
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss.yyO"));
    if (stored.isEmpty()) return stamp;
    stored.replace('\\', '/');
    const int slash = stored.lastIndexOf('/');
    if (slash < 0) return stamp;
    return stored.left(slash) + '/' + stamp;
}

} // namespace

TabBinaryToRinex3::SaveFileDialog TabBinaryToRinex3::getSaveFileName =
    [](QWidget* parent, const QString& caption, const QString& proposal) {
        return QFileDialog::getSaveFileName(parent, caption, proposal, QString(), nullptr,
                                            QFileDialog::Options());
    };

TabBinaryToRinex3::OpenUrl TabBinaryToRinex3::openUrl = [](const QUrl& url) {
    return QDesktopServices::openUrl(url);
};

TabBinaryToRinex3::TabBinaryToRinex3(const QString& pathInput, QWidget* parent)
    : QWidget(parent), pathInput_(pathInput), treeParam_(new WidgetTreeParam()), log_(new QTextBrowser()),
      pbConvert(new QPushButton(QStringLiteral("Convert"))), progressBar_(new QProgressBar()) {
    pbConvert->setObjectName(QStringLiteral("pbConvert"));

    treeParam_->addSection(SectionInfo, QStringLiteral("File Infomation"));
    treeParam_->addSection(SectionConfig, QStringLiteral("Configure"));
    treeParam_->setHeaderLabels(QStringLiteral("Name"), QStringLiteral("Value"));
    treeParam_->setColumnWidth(0, 220);

    log_->setReadOnly(true);
    // A click on the report's link opens it outside; the log itself never navigates.
    log_->setOpenLinks(false);
    log_->setOpenExternalLinks(false);
    connect(log_, &QTextBrowser::anchorClicked, this, [](const QUrl& url) { openUrl(url); });
    progressBar_->setRange(0, 100);
    log_->document()->setUndoRedoEnabled(false);
    log_->hide();
    QFont font = log_->font();
    font.setFamily(QStringLiteral("Monospace"));
    log_->setFont(font);

    auto* vbl = new QVBoxLayout(this);
    vbl->addWidget(treeParam_);
    vbl->addWidget(log_);
    auto* hbl = new QHBoxLayout();
    hbl->addWidget(progressBar_);
    hbl->addWidget(pbConvert);
    vbl->addLayout(hbl);

    readFileHeader();

    connect(pbConvert, &QPushButton::clicked, this, &TabBinaryToRinex3::on_pbConvert_clicked);
}

TabBinaryToRinex3::~TabBinaryToRinex3() {
    if (thread_.isRunning()) {
        emit deleteThreadObject();
        thread_.quit();
        if (!thread_.wait(1000)) {
            thread_.terminate();
            thread_.wait();
        }
    }
}

void TabBinaryToRinex3::readFileHeader() {
    const FileHeader header = readHeaderOfFile(pathInput_);
    if (!header.read) return;
    for (const HeaderRow& row : header.rows)
        treeParam_->addReadOnlyItem(SectionInfo, QString(), row.name, row.value);
    buildConfigSection(header.params);
}

void TabBinaryToRinex3::buildConfigSection(const ParameterMap& params) {
    for (const ConfigRow& row : configRows(params)) {
        switch (row.kind) {
        case ConfigRow::ReadOnly:
            treeParam_->addReadOnlyItem(SectionConfig, QString(), row.name, row.value);
            break;
        case ConfigRow::Edit:
            treeParam_->addEditItem(SectionConfig, QString(), row.name, row.value);
            if (!rowPattern(row.name).isEmpty())
                treeParam_->setEditPattern(SectionConfig, row.name, rowPattern(row.name), rowHint(row.name));
            break;
        case ConfigRow::Choice:
            treeParam_->addComboItem(SectionConfig, QString(), row.name, row.value, row.values, row.texts);
            break;
        }
    }
    treeParam_->expandSection(SectionConfig);
}

void TabBinaryToRinex3::on_pbConvert_clicked() {
    // The thread alone tells whether a conversion runs.
    if (thread_.isRunning()) {
        log_->append(QStringLiteral("Cancle Convert"));
        qualitySummary_.clear();
        qualityReportPath_.clear();
        emit deleteThreadObject();
        thread_.quit();
        pbConvert->setText(QStringLiteral("Convert"));
        pbConvert->setEnabled(false);
        QTimer::singleShot(1000, this, &TabBinaryToRinex3::enablePbConvert);
        return;
    }

    // Values that do not parse are reported and nothing starts.
    const QStringList problems = outputoptions::checkOutputOptions(treeParam_->getParameters(SectionConfig));
    if (!problems.isEmpty()) {
        log_->show();
        for (const QString& problem : problems)
            log_->append(problem);
        return;
    }

    QSettings settings;
    const QString proposal = proposeOutputPath(settings.value(KeyPathOutput).toString());
    const QString pathOutput = getSaveFileName(this, QStringLiteral("Select Output File"), proposal);
    if (pathOutput.isEmpty()) return;
    settings.setValue(KeyPathOutput, pathOutput);

    log_->show();
    log_->append(QStringLiteral("Start Convert"));
    qualitySummary_.clear();
    qualityReportPath_.clear();

    auto* worker = new ThreadBinaryToRinex();
    // The quality check runs on the worker's thread. Its summary is taken there as the worker
    // finishes (connected first, so it reaches this tab before the queued finished signal)
    // and shown after the line that signal makes.
    worker->setQualityCheck(true, true);
    connect(
        worker, &ThreadBinaryToRinex::finished, this,
        [this, worker](bool ok, QString) {
            if (!ok) return;
            const QStringList summary = worker->qualitySummary();
            const QString reportPath = worker->qualityReportPath();
            QMetaObject::invokeMethod(
                this,
                [this, summary, reportPath] {
                    qualitySummary_ = summary;
                    qualityReportPath_ = reportPath;
                },
                Qt::QueuedConnection);
        },
        Qt::DirectConnection);
    connect(this, &TabBinaryToRinex3::deleteThreadObject, worker, &QObject::deleteLater,
            Qt::QueuedConnection);
    connect(this, &TabBinaryToRinex3::startConvert, worker, &ThreadBinaryToRinex::startConvert,
            Qt::QueuedConnection);
    connect(worker, &ThreadBinaryToRinex::progress, this, &TabBinaryToRinex3::on_thread_progress,
            Qt::QueuedConnection);
    connect(worker, &ThreadBinaryToRinex::finished, this, &TabBinaryToRinex3::on_thread_finished,
            Qt::QueuedConnection);
    connect(worker, &ThreadBinaryToRinex::message, this, &TabBinaryToRinex3::on_thread_message,
            Qt::QueuedConnection);
    // A quit can overtake the queued deleteLater; the thread's end still destroys the worker
    // on its own thread, so its writer closes the files with their headers.
    connect(&thread_, &QThread::finished, worker, &QObject::deleteLater, Qt::DirectConnection);

    ParameterMap options = treeParam_->getParameters(SectionConfig);
    options[QStringLiteral("Path Output")] = pathOutput;
    worker->setParameters(options);

    worker->moveToThread(&thread_);
    thread_.start(QThread::InheritPriority);
    emit startConvert();

    pbConvert->setText(QStringLiteral("Cancle"));
}

void TabBinaryToRinex3::enablePbConvert() {
    pbConvert->setEnabled(true);
}

void TabBinaryToRinex3::on_thread_progress(int prg) {
    log_->append(QStringLiteral("Progress %1%").arg(prg));
    progressBar_->setValue(prg);
}

void TabBinaryToRinex3::on_thread_message(QString msg) {
    log_->append(msg);
}

void TabBinaryToRinex3::on_thread_finished(bool ok, QString msg) {
    log_->append(QStringLiteral("Convert %1 %2")
                     .arg(ok ? QStringLiteral("Complete,") : QStringLiteral("Failed!"))
                     .arg(msg));
    if (ok) {
        for (const QString& line : qualitySummary_)
            log_->append(line);
        if (!qualityReportPath_.isEmpty()) appendReportLink(qualityReportPath_);
    }
    qualitySummary_.clear();
    qualityReportPath_.clear();
    emit deleteThreadObject();
    thread_.quit();
    pbConvert->setText(QStringLiteral("Convert"));
}

void TabBinaryToRinex3::appendReportLink(const QString& path) {
    // Written through a cursor with explicit formats; the lines appended after it must not
    // take over the link's format.
    QTextCursor cursor(log_->document());
    cursor.movePosition(QTextCursor::End);
    const QTextCharFormat plain;
    cursor.insertBlock(QTextBlockFormat(), plain);
    cursor.insertText(QStringLiteral("Quality report "), plain);
    QTextCharFormat link;
    link.setAnchor(true);
    link.setAnchorHref(QUrl::fromLocalFile(path).toString());
    link.setForeground(log_->palette().link());
    link.setFontUnderline(true);
    cursor.insertText(path, link);
    // append() continues in the format of the widget's own cursor.
    log_->setCurrentCharFormat(plain);
}
