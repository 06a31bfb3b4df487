// SPDX-License-Identifier: MIT
#pragma once
// The page of one input file: its header and options in a parameter tree, the button that
// starts and cancels a conversion, the progress bar and the log of the conversion.
#include <functional>

#include <QString>
#include <QStringList>
#include <QThread>
#include <QWidget>

#include "params/parameter_names.h"

class QProgressBar;
class QPushButton;
class QTextBrowser;
class QUrl;
class WidgetTreeParam;

class TabBinaryToRinex3 : public QWidget {
    Q_OBJECT
public:
    // The save-file dialog (parent, caption, proposed path); replaceable so that tests need no user.
    using SaveFileDialog = std::function<QString(QWidget*, const QString&, const QString&)>;
    static SaveFileDialog getSaveFileName;
    // Opens a link clicked in the log (the quality report) in the desktop's browser;
    // replaceable so that tests can catch the click without one.
    using OpenUrl = std::function<bool(const QUrl&)>;
    static OpenUrl openUrl;

    explicit TabBinaryToRinex3(const QString& pathInput, QWidget* parent = nullptr);
    ~TabBinaryToRinex3() override;

signals:
    void startConvert();
    void deleteThreadObject();

private slots:
    void on_pbConvert_clicked();
    void enablePbConvert();
    void on_thread_progress(int prg);
    void on_thread_message(QString msg);
    void on_thread_finished(bool ok, QString msg);

private:
    void readFileHeader();
    void buildConfigSection(const ParameterMap& params);
    void appendReportLink(const QString& path);

    QString pathInput_;
    WidgetTreeParam* treeParam_;
    QTextBrowser* log_; // a read-only text edit whose links can be clicked
    QPushButton* pbConvert;
    QProgressBar* progressBar_;
    QThread thread_;
    // The quality summary of the running conversion: shown after its "Convert Complete" line.
    QStringList qualitySummary_;
    QString qualityReportPath_;
};
