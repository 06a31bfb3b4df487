// SPDX-License-Identifier: MIT
#pragma once
// Everything the converter tells the user on stderr: a status line that updates in place
// (terminals only), worker messages, failures and one summary per file.
#include <QMap>
#include <QString>
#include <QStringList>

namespace cli {

class ProgressOutput {
public:
    // statusLine: keep an updating progress line (stderr is a terminal and not quiet).
    ProgressOutput(bool quiet, bool statusLine, int fileCount);
    ~ProgressOutput();

    void started(const QString& input);
    void progress(const QString& input, int percent);
    void message(const QString& input, const QString& text);
    void failed(const QString& input, const QString& text);
    void cancelled(const QString& input);
    void succeeded(const QString& input, qint64 epochs, const QStringList& outputs, double seconds);

private:
    void print(const QString& line, bool always = false);
    void clearStatus();
    void drawStatus();

    bool quiet_;
    bool statusLine_;
    int fileCount_;
    int doneCount_ = 0;
    bool statusShown_ = false;
    QMap<QString, int> running_; // input -> percent
};

bool stderrIsTerminal();

} // namespace cli
