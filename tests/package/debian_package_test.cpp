// SPDX-License-Identifier: MIT
// The Debian package, built with cpack from this build tree and unpacked with dpkg -x by the
// DebianPackage.Build test: its control fields and files, and the programs run from the
// unpacked root against the system's Qt libraries.
#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

#include "support/qt_core_application.h"
#include <zlib.h>

#include "velmoor/versions.h"
#include "support/files.h"

// Readable failure messages for Qt strings.
void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}

namespace {

using testsupport::readAll;

const QString PackageDir = QStringLiteral(VELMOOR_PACKAGE_DIR);
const QString Root = PackageDir + "/root";
const QString Converter = Root + "/usr/bin/velmoor-convert";
const QString QualityReport = Root + "/usr/bin/velmoor-qc";
const QString Application = Root + "/usr/bin/velmoor";
const QString MimeType = QStringLiteral("application/x-velmoor-data");

struct ProcessResult {
    bool ran = false;
    int exitCode = -1;
    QString out;
    QString err;
};

ProcessResult run(const QString& program, const QStringList& arguments,
                  const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    ProcessResult result;
    if (!process.waitForStarted(10000) || !process.waitForFinished(60000)) {
        ADD_FAILURE() << program.toStdString() << " did not run to its end";
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.ran = process.exitStatus() == QProcess::NormalExit;
    result.exitCode = process.exitCode();
    result.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    result.err = QString::fromLocal8Bit(process.readAllStandardError());
    return result;
}

QByteArray gunzip(const QString& path) {
    QByteArray text;
    gzFile file = gzopen(QFile::encodeName(path).constData(), "rb");
    if (!file) return text;
    char buffer[4096];
    int count = 0;
    while ((count = gzread(file, buffer, sizeof buffer)) > 0)
        text.append(buffer, count);
    gzclose(file);
    return text;
}

// "Name: value" lines of dpkg-deb -f; continuation lines (the long description) are left out.
QMap<QString, QString> controlFields() {
    QMap<QString, QString> fields;
    for (const QString& line : QString::fromUtf8(readAll(PackageDir + "/control")).split('\n')) {
        const int colon = line.indexOf(':');
        if (line.isEmpty() || line.at(0).isSpace() || colon < 0) continue;
        fields.insert(line.left(colon), line.mid(colon + 1).trimmed());
    }
    return fields;
}

// Package names of a Depends field, alternatives included, versions left out.
QSet<QString> dependencyNames(const QString& depends) {
    QSet<QString> names;
    for (const QString& alternatives : depends.split(',')) {
        for (QString name : alternatives.split('|')) {
            name = name.trimmed();
            name = name.left(name.indexOf('(')).trimmed();
            if (!name.isEmpty()) names.insert(name);
        }
    }
    return names;
}

// Files below the unpacked root, relative to it.
QStringList packagedFiles() {
    QStringList files;
    QDirIterator it(Root, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(Root).relativeFilePath(it.next());
    files.sort();
    return files;
}

// One option (or positional argument) of a --help text or of the manual page.
struct OptionEntry {
    QString term; // "-o, --output PATH"
    QString text; // description, on one line
    bool operator==(const OptionEntry& other) const { return term == other.term && text == other.text; }
};

std::ostream& operator<<(std::ostream& stream, const OptionEntry& entry) {
    return stream << entry.term.toStdString() << ": " << entry.text.toStdString();
}

// The "Options:" and "Arguments:" lists of --help: names from column 2, the description from
// a fixed column, continued on further indented lines. "<VALUE>" is written as "VALUE".
std::vector<OptionEntry> helpEntries(const QString& help) {
    std::vector<OptionEntry> entries;
    const QRegularExpression first(QStringLiteral("^  ([^ ](?:[^ ]| [^ ])*)  +([^ ].*)$"));
    const QRegularExpression more(QStringLiteral("^      +([^ ].*)$"));
    bool inList = false;
    for (const QString& line : help.split('\n')) {
        if (line == "Options:" || line == "Arguments:") {
            inList = true;
            continue;
        }
        if (!inList) continue;
        if (line.isEmpty()) {
            inList = false;
            continue;
        }
        QRegularExpressionMatch match = first.match(line);
        if (match.hasMatch()) {
            entries.push_back({match.captured(1).remove('<').remove('>'), match.captured(2)});
        } else if ((match = more.match(line)).hasMatch() && !entries.empty()) {
            entries.back().text += ' ' + match.captured(1);
        } else {
            ADD_FAILURE() << "unexpected --help line: " << line.toStdString();
        }
    }
    return entries;
}

QString roffToText(QString text) {
    text.remove(QRegularExpression(QStringLiteral(R"(\\f[BIRP])")));
    text.replace(QStringLiteral("\\-"), QStringLiteral("-"));
    text.remove(QStringLiteral("\\&"));
    text.replace(QStringLiteral("\\e"), QStringLiteral("\\"));
    return text.simplified();
}

// The tagged paragraphs of the manual page's OPTIONS section.
std::vector<OptionEntry> manualEntries(const QString& page) {
    std::vector<OptionEntry> entries;
    bool inOptions = false;
    bool termNext = false;
    for (const QString& line : page.split('\n')) {
        if (line.startsWith(".SH")) {
            inOptions = line == ".SH OPTIONS";
            continue;
        }
        if (!inOptions) continue;
        if (line == ".TP") {
            termNext = true;
        } else if (termNext) {
            entries.push_back({roffToText(line), QString()});
            termNext = false;
        } else if (!entries.empty() && !line.isEmpty()) {
            entries.back().text = (entries.back().text + ' ' + roffToText(line)).trimmed();
        }
    }
    return entries;
}

QMap<QString, QString> desktopEntry() {
    QMap<QString, QString> keys;
    const QStringList lines =
        QString::fromUtf8(readAll(Root + "/usr/share/applications/velmoor.desktop")).split('\n');
    EXPECT_EQ(lines.value(0), "[Desktop Entry]");
    for (const QString& line : lines) {
        const int equals = line.indexOf('=');
        if (equals > 0) keys.insert(line.left(equals), line.mid(equals + 1));
    }
    return keys;
}

// The package whose files include the library at path, or empty. With merged /usr a library
// may be registered under /lib or /usr/lib while the loader reports the other.
QString owningPackage(const QString& path) {
    QStringList candidates = {path};
    if (path.startsWith("/usr/"))
        candidates << path.mid(4);
    else
        candidates << "/usr" + path;
    for (const QString& candidate : candidates) {
        const ProcessResult owner = run("dpkg", {"-S", candidate});
        if (owner.exitCode == 0) return owner.out.section(':', 0, 0).trimmed();
    }
    return QString();
}

class DebianPackage : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QFileInfo(Root).isDir())
            << "no unpacked package in " << Root.toStdString() << ": run the DebianPackage.Build test first";
    }
};

} // namespace

TEST_F(DebianPackage, ControlFieldsNameThePackageAndTheQtRuntime) {
    const QMap<QString, QString> fields = controlFields();
    EXPECT_EQ(fields.value("Package"), "velmoor");
    EXPECT_EQ(fields.value("Version"), VELMOOR_PACKAGE_VERSION);
    EXPECT_EQ(fields.value("Architecture"), run("dpkg", {"--print-architecture"}).out.trimmed());
    EXPECT_EQ(fields.value("Section"), "science");
    EXPECT_EQ(fields.value("Maintainer"), VELMOOR_PACKAGE_CONTACT);
    EXPECT_FALSE(fields.value("Homepage").isEmpty());
    EXPECT_FALSE(fields.value("Description").isEmpty());

    const QSet<QString> depends = dependencyNames(fields.value("Depends"));
    // The runtime packages of the Qt the programs are built with.
    QStringList runtimes = QStringLiteral(VELMOOR_QT_RUNTIME_PACKAGES).split(' ');
    runtimes << "libstdc++6";
    ASSERT_EQ(runtimes.size(), 4);
    for (const QString& runtime : runtimes)
        EXPECT_TRUE(depends.contains(runtime))
            << runtime.toStdString() << " missing in Depends: " << fields.value("Depends").toStdString();
    for (const QString& name : depends)
        EXPECT_FALSE(name.endsWith("-dev")) << "development package in Depends: " << name.toStdString();
}

TEST_F(DebianPackage, DependsCoversEveryLibraryTheProgramsLink) {
    const QSet<QString> depends = dependencyNames(controlFields().value("Depends"));
    for (const QString& program : {Application, Converter, QualityReport}) {
        const ProcessResult dynamic = run("readelf", {"-d", program});
        ASSERT_EQ(dynamic.exitCode, 0) << dynamic.err.toStdString();
        // Installed programs find their libraries in the system, never in a build tree.
        EXPECT_FALSE(dynamic.out.contains("(RPATH)") || dynamic.out.contains("(RUNPATH)"))
            << program.toStdString();

        const ProcessResult loader = run("ldd", {program});
        ASSERT_EQ(loader.exitCode, 0) << loader.err.toStdString();
        EXPECT_FALSE(loader.out.contains("not found")) << loader.out.toStdString();

        const QRegularExpression needed(QStringLiteral(R"(\(NEEDED\)\s+Shared library: \[(.+)\])"));
        int count = 0;
        for (auto it = needed.globalMatch(dynamic.out); it.hasNext(); ++count) {
            const QString library = it.next().captured(1);
            const QRegularExpression resolved(QRegularExpression::escape(library) + R"( => (\S+))");
            const QString path = resolved.match(loader.out).captured(1);
            ASSERT_FALSE(path.isEmpty()) << library.toStdString() << " not resolved";
            const QString owner = owningPackage(path);
            ASSERT_FALSE(owner.isEmpty()) << "no package holds " << path.toStdString();
            EXPECT_TRUE(depends.contains(owner))
                << program.toStdString() << " links " << library.toStdString() << " of "
                << owner.toStdString() << ", which Depends does not name";
        }
        EXPECT_GE(count, 4) << program.toStdString();
    }
}

TEST_F(DebianPackage, HoldsTheProgramsDesktopEntryMimeTypeIconAndManualPage) {
    const QStringList expected = {
        "usr/bin/velmoor",
        "usr/bin/velmoor-convert",
        "usr/bin/velmoor-qc",
        "usr/share/applications/velmoor.desktop",
        "usr/share/doc/velmoor/copyright",
        "usr/share/icons/hicolor/scalable/apps/velmoor.svg",
        "usr/share/man/man1/velmoor-convert.1.gz",
        "usr/share/man/man1/velmoor-qc.1.gz",
        "usr/share/mime/packages/velmoor.xml",
    };
    EXPECT_EQ(packagedFiles(), expected);

    // Owned by root; programs 0755, data 0644, folders 0755.
    const QStringList members = QString::fromUtf8(readAll(PackageDir + "/contents")).trimmed().split('\n');
    EXPECT_GE(members.size(), expected.size());
    for (const QString& member : members) {
        const QStringList columns = member.simplified().split(' ');
        ASSERT_GE(columns.size(), 6) << member.toStdString();
        EXPECT_EQ(columns.at(1), "root/root") << member.toStdString();
        const QString path = columns.last();
        const QString mode = columns.at(0);
        const char* expectedMode = path.endsWith('/')              ? "drwxr-xr-x"
                                   : path.startsWith("./usr/bin/") ? "-rwxr-xr-x"
                                                                   : "-rw-r--r--";
        EXPECT_EQ(mode, expectedMode) << member.toStdString();
    }
}

// Debian's machine-readable format: the MIT (Expat) licence for the code, and the stations
// whose public data the sample and the tests are made of, named for attribution.
TEST_F(DebianPackage, CopyrightFileStatesTheLicenceAndTheDataAttribution) {
    const QString copyright = QString::fromUtf8(readAll(Root + "/usr/share/doc/velmoor/copyright"));
    ASSERT_FALSE(copyright.isEmpty());
    EXPECT_TRUE(
        copyright.startsWith("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"));
    EXPECT_TRUE(copyright.contains("Upstream-Contact: " VELMOOR_PACKAGE_CONTACT "\n"));
    EXPECT_TRUE(copyright.contains("Files: *\nCopyright: 2026 The Velmoor developers\nLicense: Expat\n"));
    EXPECT_TRUE(copyright.contains("\nLicense: Expat\n Permission is hereby granted, free of charge"));
    EXPECT_TRUE(copyright.contains("Files: samples/* tests/data/*\n"));
    for (const char* station : {"CEBR", "ELKO"})
        EXPECT_TRUE(copyright.contains(station)) << station;
    // Every paragraph is separated by one blank line and no field line is left empty.
    for (const QString& line : copyright.split('\n'))
        EXPECT_FALSE(line.startsWith(' ') && line.trimmed().isEmpty()) << "blank continuation line";
}

TEST_F(DebianPackage, InstalledConverterConvertsTheSample) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString output = dir.filePath("cebr-sample.18O");
    const ProcessResult result = run(Converter, {"-o", output, VELMOOR_SAMPLE});
    ASSERT_TRUE(result.ran);
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(QRegularExpression(" 60 epochs written to .*cebr-sample\\.18O")))
        << result.err.toStdString();

    QStringList written = QDir(dir.path()).entryList(QDir::Files, QDir::Name);
    EXPECT_EQ(written, QStringList({"cebr-sample.18C", "cebr-sample.18G", "cebr-sample.18L",
                                    "cebr-sample.18N", "cebr-sample.18O"}));

    // Observations: version line, marker, end of header, then 60 epochs and the two PPK events.
    const QList<QByteArray> observation = readAll(output).split('\n');
    ASSERT_GT(observation.size(), 60);
    EXPECT_TRUE(observation.at(0).startsWith("     3.04           OBSERVATION DATA    M"));
    EXPECT_TRUE(observation.at(0).contains("RINEX VERSION / TYPE"));
    int epochs = 0, events = 0;
    bool marker = false, endOfHeader = false, firstObservation = false;
    for (const QByteArray& line : observation) {
        if (!endOfHeader) {
            marker = marker || (line.startsWith("CEBR ") && line.contains("MARKER NAME"));
            firstObservation =
                firstObservation || (line.startsWith("  2018     7    19     0     0    0.0000000") &&
                                     line.contains("TIME OF FIRST OBS"));
            endOfHeader = line.contains("END OF HEADER");
        } else if (line.size() > 31 && line.at(0) == '>') {
            ++(line.at(31) == '0' ? epochs : events);
        }
    }
    EXPECT_TRUE(marker);
    EXPECT_TRUE(firstObservation);
    EXPECT_TRUE(endOfHeader);
    EXPECT_EQ(epochs, 60);
    EXPECT_EQ(events, 2);

    // Navigation: one system per file, each with records.
    const QList<QPair<QString, char>> navigation = {{"N", 'G'}, {"G", 'R'}, {"L", 'E'}, {"C", 'C'}};
    for (const auto& file : navigation) {
        const QList<QByteArray> lines = readAll(output.left(output.size() - 1) + file.first).split('\n');
        ASSERT_GT(lines.size(), 10) << file.first.toStdString();
        EXPECT_TRUE(lines.at(0).startsWith("     3.04           N: GNSS NAV DATA"))
            << file.first.toStdString();
        EXPECT_TRUE(lines.at(0).contains("RINEX VERSION / TYPE")) << file.first.toStdString();
        int header = 0;
        while (header < lines.size() && !lines.at(header).contains("END OF HEADER"))
            ++header;
        ASSERT_LT(header, lines.size()) << file.first.toStdString();
        int records = 0;
        for (int i = header + 1; i < lines.size(); ++i) {
            const QByteArray& line = lines.at(i);
            if (line.isEmpty() || line.at(0) == ' ') continue;
            EXPECT_EQ(line.at(0), file.second) << file.first.toStdString() << ": " << line.toStdString();
            ++records;
        }
        EXPECT_GT(records, 5) << file.first.toStdString();
    }
}

TEST_F(DebianPackage, InstalledConverterShowsProgramAndConverterVersions) {
    const ProcessResult result = run(Converter, {"--version"});
    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QString("velmoor-convert %1 (converter %2)\n")
                              .arg(VELMOOR_PROGRAM_VERSION, VELMOOR_CONVERTER_VERSION));
}

TEST_F(DebianPackage, ManualPageMatchesHelpOptionForOption) {
    const ProcessResult help = run(Converter, {"--help"});
    ASSERT_EQ(help.exitCode, 0);
    const std::vector<OptionEntry> fromHelp = helpEntries(help.out);
    const QString page = QString::fromUtf8(gunzip(Root + "/usr/share/man/man1/velmoor-convert.1.gz"));
    ASSERT_FALSE(page.isEmpty());
    const std::vector<OptionEntry> fromPage = manualEntries(page);

    ASSERT_GE(fromHelp.size(), 19u);
    EXPECT_EQ(fromPage, fromHelp);

    // Every option that takes a value states its default.
    for (const OptionEntry& entry : fromHelp) {
        if (entry.term.startsWith('-') && !entry.term.section(' ', -1).startsWith('-')) {
            EXPECT_TRUE(entry.text.contains("Default: ")) << entry;
        }
    }
    // The page names the version it belongs to, and keeps the help's exit status.
    const ProcessResult version = run(Converter, {"--version"});
    EXPECT_TRUE(
        page.contains(".TH VELMOOR-CONVERT 1 \"\" \"" + QString(version.out.trimmed()).replace("-", "\\-")))
        << page.left(400).toStdString();
    const QRegularExpression exitStatus(QStringLiteral("Exit status: ([^\\n]+(?:\\n[^\\n]+)*)"));
    const QString status = exitStatus.match(help.out).captured(1).simplified();
    ASSERT_FALSE(status.isEmpty());
    EXPECT_EQ(roffToText(page.section(".SH EXIT STATUS\n", 1).section(".SH", 0, 0)), status);
}

TEST_F(DebianPackage, DesktopEntryOpensDataFilesInVelmoor) {
    const QMap<QString, QString> entry = desktopEntry();
    EXPECT_EQ(entry.value("Type"), "Application");
    EXPECT_EQ(entry.value("Name"), "Velmoor");
    EXPECT_EQ(entry.value("Exec"), "velmoor %F");
    EXPECT_TRUE(QFileInfo(Application).isExecutable());
    EXPECT_EQ(entry.value("Terminal"), "false");
    EXPECT_EQ(entry.value("Icon"), "velmoor");
    EXPECT_TRUE(QFile::exists(Root + "/usr/share/icons/hicolor/scalable/apps/velmoor.svg"));
    EXPECT_TRUE(entry.value("MimeType").split(';').contains(MimeType))
        << entry.value("MimeType").toStdString();
    EXPECT_TRUE(entry.value("Categories").endsWith(';'));
}

TEST_F(DebianPackage, IconIsAWellFormedSvg) {
    QXmlStreamReader xml(readAll(Root + "/usr/share/icons/hicolor/scalable/apps/velmoor.svg"));
    ASSERT_TRUE(xml.readNextStartElement());
    EXPECT_EQ(xml.name().toString(), "svg");
    EXPECT_EQ(xml.namespaceUri().toString(), "http://www.w3.org/2000/svg");
    EXPECT_EQ(xml.attributes().value("viewBox").toString(), "0 0 128 128");
    int shapes = 0;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement) ++shapes;
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_GT(shapes, 5);
}

// The MIME package compiled by update-mime-database together with the system's own types, as
// the shared-mime-info triggers do on installation, then asked through Qt.
TEST_F(DebianPackage, MimeTypeRecognisesDataFilesByHeaderAndByExtension) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString packages = dir.filePath("share/mime/packages");
    ASSERT_TRUE(QDir().mkpath(packages));
    ASSERT_TRUE(QFile::copy(Root + "/usr/share/mime/packages/velmoor.xml", packages + "/velmoor.xml"));
    const QString systemTypes = "/usr/share/mime/packages/freedesktop.org.xml";
    ASSERT_TRUE(QFile::exists(systemTypes)) << "shared-mime-info is not installed";
    ASSERT_TRUE(QFile::copy(systemTypes, packages + "/freedesktop.org.xml"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_DIRS", dir.filePath("share"));
    environment.insert("XDG_DATA_HOME", dir.filePath("home"));
    environment.insert("PKGSYSTEM_ENABLES_FSYNC", "0"); // a scratch database needs no syncing
    const ProcessResult update = run("update-mime-database", {dir.filePath("share/mime")}, environment);
    ASSERT_EQ(update.exitCode, 0) << update.err.toStdString();
    EXPECT_EQ(update.err, QString()); // no complaint about the package file

    // The *.dat glob is weaker than the default weight (50) of other types' globs.
    const QString globs = QString::fromUtf8(readAll(dir.filePath("share/mime/globs2")));
    EXPECT_TRUE(globs.contains("\n10:" + MimeType + ":*.dat\n")) << globs.left(200).toStdString();

    const QString sample = dir.filePath("recording");
    ASSERT_TRUE(QFile::copy(VELMOOR_SAMPLE, sample));
    const QString legacy = dir.filePath("legacy-recording");
    QByteArray legacyHeader("QVT-GPS COLLECTED DATA\nS/N:1234567\n");
    legacyHeader.append(2048 - legacyHeader.size(), '\0');
    QFile legacyFile(legacy);
    ASSERT_TRUE(legacyFile.open(QIODevice::WriteOnly));
    legacyFile.write(legacyHeader);
    legacyFile.close();
    const QString byName = dir.filePath("site.dat");
    QFile byNameFile(byName);
    ASSERT_TRUE(byNameFile.open(QIODevice::WriteOnly));
    byNameFile.write(QByteArray(64, '\x5a'));
    byNameFile.close();
    const QString other = dir.filePath("notes");
    QFile otherFile(other);
    ASSERT_TRUE(otherFile.open(QIODevice::WriteOnly));
    otherFile.write("#file=something else\nplain text\n");
    otherFile.close();

    qputenv("XDG_DATA_DIRS", QFile::encodeName(dir.filePath("share")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath("home")));
    const QMimeDatabase database;
    const QMimeType type = database.mimeTypeForName(MimeType);
    ASSERT_TRUE(type.isValid());
    EXPECT_EQ(type.comment(), "GNSS receiver data file");
    EXPECT_EQ(database.mimeTypeForFile(sample).name(), MimeType) << "header \"#file=GNSS DATA FILE\"";
    EXPECT_EQ(database.mimeTypeForFile(legacy).name(), MimeType) << "header \"QVT-GPS COLLECTED DATA\"";
    EXPECT_EQ(database.mimeTypeForFile(byName).name(), MimeType) << "*.dat";
    EXPECT_EQ(database.mimeTypeForFile(other).name(), "text/plain");
}

TEST_F(DebianPackage, InstalledDesktopApplicationStartsWithTheSample) {
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("HOME", home.path());
    environment.insert("XDG_CONFIG_HOME", home.filePath("config"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(Application, {VELMOOR_SAMPLE});
    ASSERT_TRUE(process.waitForStarted(10000));
    // Still running after two seconds: it loaded its libraries and opened its window.
    EXPECT_FALSE(process.waitForFinished(2000))
        << "velmoor ended: " << process.readAllStandardError().toStdString();
    process.kill();
    process.waitForFinished();
}
