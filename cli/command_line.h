// SPDX-License-Identifier: MIT
#pragma once
// Parses and checks the command line; builds each input's option map.
#include <QString>
#include <QStringList>

#include "cli/quality_output.h"
#include "params/parameter_names.h"

namespace cli {

struct CommandLine {
    enum Action { Convert, Info, Help, Version, UsageError };
    Action action = Convert;
    QString error;    // UsageError: what is wrong
    QString helpText; // Help
    QStringList inputs;
    QString output; // -o, empty: beside each input
    int jobs = 1;
    bool quiet = false;
    ConvertOptions overrides; // option name -> value given on the command line
    QualityRequest quality;   // --qc, --qc-json, --qc-html
};

CommandLine parseCommandLine(const QStringList& arguments);

// "<dir>/<stem>.<yy>O": the writer replaces the last character for each of its five files.
QString defaultOutputPath(const QString& input, int year);

// The "config" defaults from the input's header, "Path Input", the command-line overrides
// and "Path Output".
ConvertOptions optionsForInput(const QString& input, const CommandLine& commandLine, int year);

} // namespace cli
