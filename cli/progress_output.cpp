// SPDX-License-Identifier: MIT
#include "cli/progress_output.h"

#include <QFileInfo>
#include <cstdio>
#include <unistd.h>

namespace cli {

namespace {

constexpr int StatusWidth = 79;

} // namespace

bool stderrIsTerminal() {
    return isatty(fileno(stderr)) != 0;
}

ProgressOutput::ProgressOutput(bool quiet, bool statusLine, int fileCount)
    : quiet_(quiet), statusLine_(statusLine && !quiet), fileCount_(fileCount) {}

ProgressOutput::~ProgressOutput() {
    clearStatus();
}

void ProgressOutput::started(const QString& input) {
    running_[input] = 0;
    drawStatus();
}

void ProgressOutput::progress(const QString& input, int percent) {
    running_[input] = percent;
    drawStatus();
}

void ProgressOutput::message(const QString& input, const QString& text) {
    print(QString("%1: %2").arg(input, text));
}

void ProgressOutput::failed(const QString& input, const QString& text) {
    running_.remove(input);
    ++doneCount_;
    print(QString("%1: failed: %2").arg(input, text), true);
}

void ProgressOutput::cancelled(const QString& input) {
    running_.remove(input);
    print(QString("%1: cancelled, the files written so far are closed").arg(input), true);
}

void ProgressOutput::succeeded(const QString& input, qint64 epochs, const QStringList& outputs,
                               double seconds) {
    running_.remove(input);
    ++doneCount_;
    QStringList names;
    for (const QString& output : outputs)
        names << QFileInfo(output).fileName();
    print(QString("%1: %2 epochs written to %3 in %4 s")
              .arg(input)
              .arg(epochs)
              .arg(names.join(' '))
              .arg(seconds, 0, 'f', 3));
}

void ProgressOutput::print(const QString& line, bool always) {
    if (quiet_ && !always) return;
    clearStatus();
    std::fprintf(stderr, "%s\n", line.toLocal8Bit().constData());
    drawStatus();
}

void ProgressOutput::clearStatus() {
    if (!statusShown_) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    statusShown_ = false;
}

void ProgressOutput::drawStatus() {
    if (!statusLine_ || running_.isEmpty()) return;
    QString text = QString("[%1/%2]").arg(doneCount_).arg(fileCount_);
    for (auto it = running_.constBegin(); it != running_.constEnd(); ++it)
        text += QString(" %1 %2%").arg(QFileInfo(it.key()).fileName()).arg(it.value());
    if (text.size() > StatusWidth) text = text.left(StatusWidth - 3) + "...";
    std::fprintf(stderr, "\r\033[K%s", text.toLocal8Bit().constData());
    std::fflush(stderr);
    statusShown_ = true;
}

} // namespace cli
