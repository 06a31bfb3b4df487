#include "cli/command_line.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include "params/config_rows.h"
#include "params/file_header.h"
#include "rinex/rinex_version.h"
#include "velmoor/versions.h"

namespace cli {

namespace {

bool readNumber(const QString& text, double& value) {
    bool ok = false;
    value = text.toDouble(&ok);
    return ok;
}

QString joined(const QStringList& names) {
    return names.join(", ");
}

QStringList markerTypeTexts() {
    QStringList texts;
    for (const QByteArray& type : MarkerTypeNames)
        texts << QString::fromUtf8(type);
    return texts;
}

// Appended to the generated option list.
QString helpEpilogue() {
    return QStringLiteral("\n"
                          "Each INPUT is converted into five files: an observation file and the GPS,\n"
                          "GLONASS, Galileo and BeiDou navigation files. Their names are the output path\n"
                          "with its last character replaced by O, N, G, L and C. Existing files are never\n"
                          "overwritten: the conversion of that input fails instead. With --nav-merged\n"
                          "the navigation records go into one mixed file, last letter P, instead.\n"
                          "\n"
                          "RINEX 3.02, 3.03 and 3.04: observations of every system; GPS, GLONASS,\n"
                          "Galileo and BeiDou navigation records; the GPS ionosphere and leap seconds\n"
                          "in the navigation header.\n"
                          "\n"
                          "RINEX 3.05: as 3.04, plus the GLONASS fourth orbit line (L1/L2 group delay\n"
                          "difference, accuracy index); no LEAP SECONDS line in the GLONASS navigation\n"
                          "file; BeiDou leap seconds named BDT.\n"
                          "\n"
                          "RINEX 4.00: observations as 3.05; every navigation record opens with a lead\n"
                          "line (> EPH: GPS LNAV, GLONASS FDMA, Galileo INAV/FNAV, BeiDou D1/D2); the GPS\n"
                          "and BeiDou ionosphere and UTC values are > ION and > STO records instead of\n"
                          "header lines.\n"
                          "\n"
                          "No version drops a system the board delivers.\n"
                          "\n"
                          "Option values not given on the command line come from the input's header,\n"
                          "as the desktop application presets them.\n"
                          "\n"
                          "Interrupting (SIGINT or SIGTERM) cancels the running conversions: the files\n"
                          "written so far are closed with their headers.\n"
                          "\n"
                          "Exit status: 0 when every input converted, 1 when any failed, 2 for usage\n"
                          "errors, 128 + the signal number when interrupted.\n");
}

} // namespace

CommandLine parseCommandLine(const QStringList& arguments) {
    CommandLine result;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Converts receiver data files (file header and binary log stream) into RINEX 3 files.");
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);

    const QCommandLineOption help({"h", "help"}, "Show this help and exit.");
    const QCommandLineOption version("version", "Show the program and converter versions and exit.");
    const QCommandLineOption output(
        {"o", "output"},
        "Output path (only with a single INPUT). Default: beside the input, <input stem>.<yy>O "
        "with yy the current year's last two digits.",
        "PATH");
    const QCommandLineOption jobs({"j", "jobs"}, "Convert N files at once. Default: 1.", "N", "1");
    const QCommandLineOption info(
        "info", "Print the input's header rows as 'name = value' lines and convert nothing.");
    const QCommandLineOption quiet({"q", "quiet"},
                                   "Print nothing but failures (no progress, messages or summaries).");
    const QCommandLineOption rinex("rinex",
                                   QString("RINEX version: %1. Default: %2 (see the RINEX versions below).")
                                       .arg(joined(rinex::versionTexts()),
                                            QString::fromLatin1(rinex::versionText(rinex::kDefaultVersion))),
                                   "VERSION");
    const QCommandLineOption navMerged(
        "nav-merged",
        "Write one mixed navigation file (last letter P) instead of the four per-system navigation files.");
    const QCommandLineOption mode(
        "mode",
        "PPK mode: none (every epoch), only (only confirmed marker samples) or mix "
        "(epochs except while a marker is in progress, plus the samples). Default: mix.",
        "MODE");
    const QCommandLineOption markerName("marker-name", "Marker name. Default: from the header, else empty.",
                                        "TEXT");
    const QCommandLineOption markerNumber("marker-number",
                                          "Marker number. Default: from the header, else empty.", "TEXT");
    const QCommandLineOption markerType(
        "marker-type", QString("Marker type, one of %1. Default: GEODETIC.").arg(joined(markerTypeTexts())),
        "TYPE");
    const QCommandLineOption latitude(
        "lat", "Approximate latitude, decimal degrees in [-90, 90]. Default: from the header, else none.",
        "DEG");
    const QCommandLineOption longitude(
        "lon", "Approximate longitude, decimal degrees in [-180, 360]. Default: from the header, else none.",
        "DEG");
    const QCommandLineOption height(
        "height",
        "Approximate height, metres. Default: from the header, else none. The position is used only when "
        "latitude, longitude and height are all known.",
        "M");
    const QCommandLineOption antennaName("antenna-name",
                                         "Antenna type name. Default: from the header, else empty.", "TEXT");
    const QCommandLineOption antennaSpec(
        "antenna-spec",
        "Antenna measures in millimetres: R radius for slant heights, A mark to reference point, B reference "
        "point to phase centre, C unused. Default: from the header, else none (then no antenna is written).",
        "R,A,B,C");
    const QCommandLineOption antennaHeight(
        "antenna-height", "Measured antenna height, metres. Default: from the header, else 0.", "M");
    const QCommandLineOption heightType(
        "height-type",
        QString(
            "How the antenna height was measured, one of %1. Default: from the header, else none (height 0).")
            .arg(joined(HeightTypeNames)),
        "TYPE");

    parser.addOptions({help, version, output, jobs, info, quiet, rinex, mode, markerName, markerNumber,
                       markerType, latitude, longitude, height, antennaName, antennaSpec, antennaHeight,
                       heightType, navMerged});
    parser.addPositionalArgument("INPUT", "Receiver data file(s) to convert.", "INPUT...");

    auto usageError = [&result](const QString& text) {
        result.action = CommandLine::UsageError;
        result.error = text;
        return result;
    };

    if (!parser.parse(arguments)) return usageError(parser.errorText());
    if (parser.isSet(help)) {
        result.action = CommandLine::Help;
        // The generated usage line names the program by the path it was started with.
        QString text = parser.helpText();
        text =
            QString("Usage: %1 [options] INPUT...").arg(VELMOOR_CONVERT_NAME) + text.mid(text.indexOf('\n'));
        result.helpText = text + helpEpilogue();
        return result;
    }
    if (parser.isSet(version)) {
        result.action = CommandLine::Version;
        return result;
    }

    result.inputs = parser.positionalArguments();
    if (result.inputs.isEmpty()) return usageError("no input file given");
    result.quiet = parser.isSet(quiet);
    if (parser.isSet(info)) result.action = CommandLine::Info;

    if (parser.isSet(output)) {
        if (result.inputs.size() > 1) return usageError("-o is allowed only with a single input file");
        result.output = parser.value(output);
        if (result.output.isEmpty()) return usageError("-o needs a non-empty path");
    }

    bool ok = false;
    result.jobs = parser.value(jobs).toInt(&ok);
    if (!ok || result.jobs < 1)
        return usageError(
            QString("bad value for -j: '%1' (a whole number of at least 1)").arg(parser.value(jobs)));

    ConvertOptions& set = result.overrides;
    if (parser.isSet(rinex)) {
        const QString value = parser.value(rinex);
        if (!rinex::versionTexts().contains(value))
            return usageError(
                QString("bad value for --rinex: '%1' (%2)").arg(value, joined(rinex::versionTexts())));
        set["Version"] = value;
    }
    if (parser.isSet(navMerged)) set["Navigation Merged"] = "1";
    if (parser.isSet(mode)) {
        const QString value = parser.value(mode).toLower();
        const QStringList modes = {"none", "only", "mix"};
        const int index = modes.indexOf(value);
        if (index < 0)
            return usageError(
                QString("bad value for --mode: '%1' (none, only or mix)").arg(parser.value(mode)));
        set["Mode"] = QString::number(index + 1);
    }
    if (parser.isSet(markerName)) set["Marker Name"] = parser.value(markerName);
    if (parser.isSet(markerNumber)) set["Marker Number"] = parser.value(markerNumber);
    if (parser.isSet(markerType)) {
        const QString value = parser.value(markerType).toUpper();
        if (!markerTypeTexts().contains(value))
            return usageError(QString("bad value for --marker-type: '%1' (one of %2)")
                                  .arg(parser.value(markerType), joined(markerTypeTexts())));
        set["Marker Type"] = value;
    }

    double number = 0;
    if (parser.isSet(latitude)) {
        const QString value = parser.value(latitude);
        if (!readNumber(value, number) || number < -90 || number > 90)
            return usageError(QString("bad value for --lat: '%1' (degrees in [-90, 90])").arg(value));
        set["Latitude"] = value.trimmed();
    }
    if (parser.isSet(longitude)) {
        const QString value = parser.value(longitude);
        if (!readNumber(value, number) || number < -180 || number > 360)
            return usageError(QString("bad value for --lon: '%1' (degrees in [-180, 360])").arg(value));
        set["Longitude"] = value.trimmed();
    }
    if (parser.isSet(height)) {
        const QString value = parser.value(height);
        if (!readNumber(value, number))
            return usageError(QString("bad value for --height: '%1' (metres)").arg(value));
        set["Height"] = value.trimmed();
    }
    if (parser.isSet(antennaName)) set["Antenna Name"] = parser.value(antennaName);
    if (parser.isSet(antennaSpec)) {
        const QString value = parser.value(antennaSpec);
        const QStringList parts = value.split(',');
        bool allNumbers = parts.size() == 4;
        for (const QString& part : parts)
            allNumbers = allNumbers && readNumber(part, number);
        if (!allNumbers)
            return usageError(
                QString("bad value for --antenna-spec: '%1' (four numbers R,A,B,C in millimetres)")
                    .arg(value));
        set["Antenna Spec"] = value;
    }
    if (parser.isSet(antennaHeight)) {
        const QString value = parser.value(antennaHeight);
        if (!readNumber(value, number))
            return usageError(QString("bad value for --antenna-height: '%1' (metres)").arg(value));
        set["Antenna Height"] = value.trimmed();
    }
    if (parser.isSet(heightType)) {
        const QString value = parser.value(heightType).toUpper();
        if (!HeightTypeNames.contains(value))
            return usageError(QString("bad value for --height-type: '%1' (one of %2)")
                                  .arg(parser.value(heightType), joined(HeightTypeNames)));
        set["Height Type"] = value;
    }
    return result;
}

QString defaultOutputPath(const QString& input, int year) {
    const QFileInfo info(input);
    const QString name =
        QString("%1.%2O").arg(info.completeBaseName()).arg(year % 100, 2, 10, QLatin1Char('0'));
    return info.dir().filePath(name);
}

ConvertOptions optionsForInput(const QString& input, const CommandLine& commandLine, int year) {
    ConvertOptions options = defaultOptions(readHeaderOfFile(input).params);
    // A file too short for its header to be read still names its input.
    options["Path Input"] = input;
    for (auto it = commandLine.overrides.constBegin(); it != commandLine.overrides.constEnd(); ++it)
        options[it.key()] = it.value();
    options["Path Output"] =
        commandLine.output.isEmpty() ? defaultOutputPath(input, year) : commandLine.output;
    return options;
}

} // namespace cli
