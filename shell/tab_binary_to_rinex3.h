// SPDX-License-Identifier: MIT
#pragma once
// The page of one input file: its header and options in a parameter tree, the button that
// starts and cancels a conversion, the progress bar and the log of the conversion.
#include <functional>

#include <QString>
#include <QThread>
#include <QWidget>

#include "params/parameter_names.h"

class QProgressBar;
class QPushButton;
class QTextEdit;
class WidgetTreeParam;

class TabBinaryToRinex3 : public QWidget {
    Q_OBJECT
public:
    // The save-file dialog (parent, caption, proposed path); replaceable so that tests need no user.
    using SaveFileDialog = std::function<QString(QWidget*, const QString&, const QString&)>;
    static SaveFileDialog getSaveFileName;

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

    QString pathInput_;
    WidgetTreeParam* treeParam_;
    QTextEdit* log_;
    QPushButton* pbConvert;
    QProgressBar* progressBar_;
    QThread thread_;
};
