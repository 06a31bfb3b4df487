// SPDX-License-Identifier: MIT
// velmoor-convert: converts receiver data files into RINEX files without a GUI.
#include <QCoreApplication>
#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <cstdio>

#include "cli/command_line.h"
#include "cli/interrupt.h"
#include "cli/job_runner.h"
#include "cli/progress_output.h"
#include "params/file_header.h"
#include "velmoor/versions.h"

namespace {

void printLine(FILE* stream, const QString& text) {
    std::fprintf(stream, "%s\n", text.toLocal8Bit().constData());
}

int usageError(const QString& text) {
    printLine(stderr, QString("%1: %2").arg(VELMOOR_CONVERT_NAME, text));
    printLine(stderr, QString("Try '%1 --help' for more information.").arg(VELMOOR_CONVERT_NAME));
    return 2;
}

// The rows that the desktop application's "File Infomation" section shows.
int printInfo(const cli::CommandLine& commandLine) {
    int status = 0;
    for (const QString& input : commandLine.inputs) {
        if (commandLine.inputs.size() > 1) printLine(stdout, QString("[%1]").arg(input));
        if (!QFileInfo::exists(input)) {
            printLine(stderr, QString("%1: file not exist, %1").arg(input));
            status = 1;
            continue;
        }
        const FileHeader header = readHeaderOfFile(input);
        if (!header.read) {
            QFile file(input);
            if (!file.open(QIODevice::ReadOnly)) {
                printLine(stderr, QString("%1: open file failed, %1").arg(input));
                status = 1;
            } else if (!commandLine.quiet) {
                printLine(stderr,
                          QString("%1: no header rows (files shorter than 2048 bytes show none)").arg(input));
            }
            continue;
        }
        for (const HeaderRow& row : header.rows)
            printLine(stdout, QString("%1 = %2").arg(row.name, row.value));
    }
    std::fflush(stdout);
    return status;
}

// Two inputs must not write the same files, and running them at once would race.
QString duplicateOutput(const QList<cli::Job>& jobs) {
    QMap<QString, QString> seen;
    for (const cli::Job& job : jobs) {
        const QString output = QFileInfo(job.options.value("Path Output")).absoluteFilePath();
        if (seen.contains(output))
            return QString("%1 and %2 would both write %3").arg(seen.value(output), job.input, output);
        seen.insert(output, job.input);
    }
    return QString();
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(VELMOOR_CONVERT_NAME);

    const cli::CommandLine commandLine = cli::parseCommandLine(QCoreApplication::arguments());
    switch (commandLine.action) {
    case cli::CommandLine::UsageError:
        return usageError(commandLine.error);
    case cli::CommandLine::Help:
        std::fputs(commandLine.helpText.toLocal8Bit().constData(), stdout);
        return 0;
    case cli::CommandLine::Version:
        printLine(stdout, QString("%1 %2 (converter %3)")
                              .arg(VELMOOR_CONVERT_NAME, VELMOOR_PROGRAM_VERSION, VELMOOR_CONVERTER_VERSION));
        return 0;
    case cli::CommandLine::Info:
        return printInfo(commandLine);
    case cli::CommandLine::Convert:
        break;
    }

    const int year = QDate::currentDate().year();
    QList<cli::Job> jobs;
    for (const QString& input : commandLine.inputs)
        jobs << cli::Job{input, cli::optionsForInput(input, commandLine, year)};
    const QString duplicate = duplicateOutput(jobs);
    if (!duplicate.isEmpty()) return usageError(duplicate);

    cli::ProgressOutput output(commandLine.quiet, cli::stderrIsTerminal(), jobs.size());
    cli::JobRunner runner(jobs, commandLine.jobs, output);
    runner.setQualityRequest(commandLine.quality);
    QObject::connect(&runner, &cli::JobRunner::allFinished, &app,
                     [&runner]() { QCoreApplication::exit(runner.failures() > 0 ? 1 : 0); });
    cli::InterruptNotifier interrupt;
    QObject::connect(&interrupt, &cli::InterruptNotifier::interrupted, &app, [&runner](int signalNumber) {
        runner.cancelAll();
        QCoreApplication::exit(128 + signalNumber);
    });
    QTimer::singleShot(0, &runner, &cli::JobRunner::start);
    return app.exec();
}
