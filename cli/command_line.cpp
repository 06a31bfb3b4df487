// SPDX-License-Identifier: MIT
#include "cli/command_line.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include "params/config_rows.h"
#include "params/file_header.h"
#include "params/output_options.h"
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
"RINEX 2.11: observations of GPS, GLONASS, Galileo and SBAS under one list of\n"
                          "two-character types (C1 P1 L1 D1 S1 C2 ... S6); BeiDou, QZSS and NavIC\n"
                          "observations are dropped. GPS (N) and GLONASS (G) navigation files only, with\n"
                          "ION ALPHA/BETA, DELTA-UTC and LEAP SECONDS: Galileo and BeiDou navigation\n"
                          "records are dropped (no L or C file). Without -o the files get the short\n"
                          "names ssssdddf.yyO, .yyN and .yyG beside the input. Not with --long-name or\n"
                          "--nav-merged.\n"
                          "\n"
                          "RINEX 3.02 to 4.00 drop no system the board delivers.\n"
                          "\n"
                          "Without the output options (--start ... --compress) every file is the whole\n"
                          "input converted. Examples:\n"
                          "  velmoor-convert --interval 30 --systems GE site.dat\n"
                          "  velmoor-convert --start '2018-07-19 01:00:00' --end 2018-07-19T02:00:00 site.dat\n"
                          "  velmoor-convert --long-name --country ESP -o archive/ site.dat\n"
                          "  velmoor-convert --long-name --compress crx.gz site.dat\n"
                          "With --long-name the files are named SSSSMRCCC_R_YYYYDDDHHMM_PPU_FFU_MO.rnx\n"
                          "(navigation files ..._PPU_GN.rnx, _RN, _EN, _CN): station from the marker\n"
                          "name, start from the first epoch written, period and data frequency from\n"
                          "the epochs written. They are written under temporary names in the output\n"
                          "folder and renamed when complete.\n"
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
        "Converts receiver data files (file header and binary log stream) into RINEX files (2.11, 3.02 to 3.05, 4.00).");
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsCompactedShortOptions);

    const QCommandLineOption help({"h", "help"}, "Show this help and exit.");
    const QCommandLineOption version("version", "Show the program and converter versions and exit.");
    const QCommandLineOption output(
        {"o", "output"},
        "Output path (only with a single INPUT). Default: beside the input, <input stem>.<yy>O "
        "with yy the current year's last two digits; with --rinex 2.11 the short names ssssdddf.yyO, "
        ".yyN, .yyG.",
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

    using namespace outputoptions;
    const QCommandLineOption start(
        "start", "Write only epochs at or after TIME (GPS time, YYYY-MM-DD HH:MM:SS[.sss] or "
                 "YYYY-MM-DDTHH:MM:SS[.sss]). Navigation records within 4 hours of the window are kept. "
                 "Default: from the first epoch. Example: --start '2018-07-19 01:00:00'.",
        "TIME");
    const QCommandLineOption end(
        "end", "Write only epochs before TIME (GPS time, same forms as --start). Default: to the last epoch. Example: --end "
               "2018-07-19T02:00:00.",
        "TIME");
    const QCommandLineOption interval(
        "interval",
        "Keep only epochs whose GPS time of week is a whole multiple of SECONDS (0.05 to 86400, "
        "decimals allowed). Marker samples (modes only and mix) are always kept. Default: every epoch. Example: --interval 30.",
        "SECONDS");
    const QCommandLineOption systems(
        "systems",
        "Write only these satellite systems: letters of G (GPS), R (GLONASS), E (Galileo), C (BeiDou), "
        "S (SBAS), J (QZSS), I (NavIC). No navigation file is made for a system left out. Default: "
        "GRECSJI. Example: --systems GE.",
        "LETTERS");
    const QCommandLineOption longName(
        "long-name",
        "Name the files with RINEX 3 long names in the output folder: -o then names a folder "
        "(default: the input's folder). Example: --long-name --country ESP.");
    const QCommandLineOption country(
        "country", "Country code of the long names: three letters (ISO 3166). Default: XXX.", "CCC");
    const QCommandLineOption monument("monument", "Monument digit of the long names, 0-9. Default: 0.", "N");
    const QCommandLineOption receiver("receiver", "Receiver digit of the long names, 0-9. Default: 0.", "N");
    const QCommandLineOption compress(
        "compress",
        "crx: write the observation file as Compact RINEX (last letter D, or _MO.crx with long names); "
        "gz: gzip every file (.gz appended); crx.gz: both. Only the compressed files are left. "
        "Default: none. Example: --compress crx.gz.",
        "KIND");

    const QCommandLineOption qcSummary(
        "qc",
        "Check the quality of each input's observation records as they are written and print the "
        "summary on stdout after its conversion: span, gaps, satellites per system, completeness, "
        "cycle slips, position and header offset, occupations. One epoch in 30 s is positioned. "
        "RINEX 3 outputs only. Example: --qc-html site.html.");
    const QCommandLineOption qcJson("qc-json", "As --qc, and write the report as JSON to FILE (one input only). Default: none.",
                                    "FILE");
    const QCommandLineOption qcHtml(
        "qc-html", "As --qc, and write the report as one self-contained HTML page to FILE (one input only). "
        "Default: none.", "FILE");

    parser.addOptions({help, version, output, jobs, info, quiet, rinex, mode, markerName, markerNumber,
                       markerType, latitude, longitude, height, antennaName, antennaSpec, antennaHeight,
                       heightType, start, end, interval, systems, longName, country, monument, receiver,
                       compress, navMerged, qcSummary, qcJson, qcHtml});
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

    qint64 startTime = 0, endTime = 0;
    if (parser.isSet(start)) {
        const QString value = parser.value(start);
        if (!parseGpsTime(value, &startTime))
            return usageError(QString("bad value for --start: '%1' (%2)").arg(value, TimeForm));
        set[WindowStart] = value.trimmed();
    }
    if (parser.isSet(end)) {
        const QString value = parser.value(end);
        if (!parseGpsTime(value, &endTime))
            return usageError(QString("bad value for --end: '%1' (%2)").arg(value, TimeForm));
        if (parser.isSet(start) && endTime <= startTime)
            return usageError(QString("bad value for --end: '%1' (a time after --start)").arg(value));
        set[WindowEnd] = value.trimmed();
    }
    if (parser.isSet(interval)) {
        const QString value = parser.value(interval);
        qint32 milliseconds = 0;
        if (!parseInterval(value, &milliseconds))
            return usageError(QString("bad value for --interval: '%1' (%2)").arg(value, IntervalForm));
        set[Interval] = value.trimmed();
    }
    if (parser.isSet(systems)) {
        const QString value = parser.value(systems);
        QByteArray letters;
        if (!parseSystems(value, &letters))
            return usageError(
                QString("bad value for --systems: '%1' (%2, each at most once)").arg(value, SystemsForm));
        set[Systems] = QString::fromLatin1(letters);
    }
    if (parser.isSet(country)) {
        const QString value = parser.value(country);
        QByteArray code;
        if (!parseCountry(value, &code))
            return usageError(QString("bad value for --country: '%1' (%2)").arg(value, CountryForm));
        set[LongNameCountry] = QString::fromLatin1(code);
    }
    for (const auto& digitOption : {qMakePair(&monument, LongNameMonument), qMakePair(&receiver, LongNameReceiver)}) {
        if (!parser.isSet(*digitOption.first)) continue;
        const QString value = parser.value(*digitOption.first);
        char digit = 0;
        if (!parseDigit(value, &digit))
            return usageError(QString("bad value for --%1: '%2' (%3)")
                                  .arg(digitOption.first->names().first(), value, DigitForm));
        set[digitOption.second] = QString(QLatin1Char(digit));
    }
    const bool rinex2 = set.value("Version") == "2.11";
    if (rinex2 && parser.isSet(longName))
        return usageError("--long-name is for RINEX 3 and 4: RINEX 2.11 files get short names");
    if (rinex2 && parser.isSet(navMerged)) return usageError("--nav-merged: RINEX 2.11 has no mixed navigation file");
    if (parser.isSet(longName)) {
        set[LongName] = "1";
        if (!result.output.isEmpty() && !QFileInfo(result.output).isDir())
            return usageError(QString("-o must name an existing folder with --long-name: '%1'").arg(result.output));
    } else if (parser.isSet(country) || parser.isSet(monument) || parser.isSet(receiver)) {
        return usageError("--country, --monument and --receiver need --long-name");
    }
    if (parser.isSet(compress)) {
        const QString value = parser.value(compress).toLower();
        if (value.isEmpty() || !CompressionValues.contains(value))
            return usageError(QString("bad value for --compress: '%1' (%2)").arg(parser.value(compress), CompressionForm));
        set[Compression] = value;
    }
    QualityRequest& quality = result.quality;
    quality.json = parser.value(qcJson);
    quality.html = parser.value(qcHtml);
    quality.enabled = parser.isSet(qcSummary) || parser.isSet(qcJson) || parser.isSet(qcHtml);
    if ((parser.isSet(qcJson) && quality.json.isEmpty()) || (parser.isSet(qcHtml) && quality.html.isEmpty()))
        return usageError("--qc-json and --qc-html need a non-empty file name");
    if ((parser.isSet(qcJson) || parser.isSet(qcHtml)) && result.inputs.size() > 1)
        return usageError("--qc-json and --qc-html are allowed only with a single input file");
    if (quality.enabled && set.value("Version") == "2.11")
        return usageError("--qc checks RINEX 3 and 4 files: not with --rinex 2.11");
    if (quality.enabled && result.action == CommandLine::Info)
        return usageError("--qc does not go with --info");
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
    if (options.value(outputoptions::LongName) == "1")
        // Long names go into a folder: the one given, else the input's.
        options["Path Output"] =
            commandLine.output.isEmpty() ? QFileInfo(input).absolutePath() : commandLine.output;
    else
        options["Path Output"] =
            commandLine.output.isEmpty() ? defaultOutputPath(input, year) : commandLine.output;
    // RINEX 2.11 beside the input: short names from the marker and the first epoch.
    if (commandLine.output.isEmpty() && options.value("Version") == "2.11" &&
        options.value(outputoptions::LongName) != "1")
        options[outputoptions::ShortName] = "1";
    return options;
}

} // namespace cli
