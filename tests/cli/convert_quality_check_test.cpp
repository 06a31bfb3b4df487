// SPDX-License-Identifier: MIT
// velmoor-convert --qc, --qc-json, --qc-html: the check of the files just written.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/converter_process.h"
#include "support/files.h"

namespace {

using testsupport::ProcessResult;

ProcessResult run(const QStringList& arguments) {
    return testsupport::runConverter(arguments);
}

QString copyOfSample(const QTemporaryDir& dir, const QString& name) {
    const QString path = dir.filePath(name);
    EXPECT_TRUE(QFile::copy(VELMOOR_SAMPLE, path));
    return path;
}

} // namespace

TEST(ConvertQualityCheck, SummaryJsonAndHtmlOfTheWrittenFiles) {
    QTemporaryDir dir;
    const QString input = copyOfSample(dir, "cebr.dat");
    const QString json = dir.filePath("report.json");
    const QString html = dir.filePath("report.html");
    const ProcessResult result =
        run({"-o", dir.filePath("cebr.18O"), "--qc-json", json, "--qc-html", html, input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(QFile::exists(dir.filePath("cebr.18O")));
    // The summary on stdout: marker, span, epochs, a row per system, the occupation.
    EXPECT_TRUE(result.out.contains("CEBR (13408M001)")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("Span        2018-07-19T00:00:00Z to 2018-07-19T00:29:30Z (1770 s)"))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("Epochs      60 at 30 s, 0 gaps")) << result.out.toStdString();
    for (const char* row : {"\nC      6 ", "\nE      9 ", "\nG      9 ", "\nR     10 "})
        EXPECT_TRUE(result.out.contains(row)) << row;
    EXPECT_TRUE(result.out.contains("PT01 (MK-0001)")) << result.out.toStdString();

    const nlohmann::json report = nlohmann::json::parse(testsupport::readAll(json).toStdString());
    EXPECT_EQ(report.at("epochs").get<int>(), 60);
    EXPECT_DOUBLE_EQ(report.at("interval_s").get<double>(), 30.0);
    for (const char* key : {"first", "last", "gaps", "satellites", "observations", "slips", "position",
                            "occupations", "messages"})
        EXPECT_TRUE(report.contains(key)) << key;
    EXPECT_EQ(report.at("occupations").size(), 1u);

    const QByteArray page = testsupport::readAll(html);
    EXPECT_TRUE(page.startsWith("<!DOCTYPE html>") || page.startsWith("<!doctype html>")) << page.left(40).constData();
    EXPECT_TRUE(page.contains("CEBR"));
}

TEST(ConvertQualityCheck, GzipLongNamesAndMergedNavigationAreChecked) {
    QTemporaryDir dir;
    const QString input = copyOfSample(dir, "cebr.dat");
    const QString json = dir.filePath("report.json");
    const ProcessResult result =
        run({"-q", "--long-name", "--compress", "gz", "--nav-merged", "--qc-json", json, input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains("Epochs      60 at 30 s")) << result.out.toStdString();
    const nlohmann::json report = nlohmann::json::parse(testsupport::readAll(json).toStdString());
    EXPECT_EQ(report.at("epochs").get<int>(), 60);
}

TEST(ConvertQualityCheck, EachInputGetsItsNamedSummary) {
    QTemporaryDir dir;
    const QString first = copyOfSample(dir, "a.dat");
    const QString second = copyOfSample(dir, "b.dat");
    const ProcessResult result = run({"-q", "--qc", first, second});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(QString("[%1]").arg(first))) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(QString("[%1]").arg(second))) << result.out.toStdString();
    EXPECT_EQ(result.out.count("Epochs      60 at 30 s"), 2);
}

TEST(ConvertQualityCheck, WithoutQcNothingIsPrintedOnStdout) {
    QTemporaryDir dir;
    const QString input = copyOfSample(dir, "cebr.dat");
    const ProcessResult result = run({"-q", input});
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
}

TEST(ConvertQualityCheck, UsageErrors) {
    QTemporaryDir dir;
    const QString first = copyOfSample(dir, "a.dat");
    const QString second = copyOfSample(dir, "b.dat");
    const QList<QStringList> cases = {
        {"--qc-json", dir.filePath("r.json"), first, second},
        {"--qc-html", dir.filePath("r.html"), first, second},
        {"--qc", "--info", first},
        {"--qc-json", "", first},
        {"--qc-html"},
    };
    for (const QStringList& arguments : cases) {
        const ProcessResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_FALSE(result.err.isEmpty()) << arguments.join(' ').toStdString();
    }
    const QStringList left = QDir(dir.path()).entryList(QDir::Files);
    EXPECT_EQ(left, (QStringList{"a.dat", "b.dat"}));
}

TEST(ConvertQualityCheck, CompactRinexOutputIsChecked) {
    // The check follows the records as they are written: compression comes after it.
    QTemporaryDir dir;
    const QString input = copyOfSample(dir, "cebr.dat");
    const ProcessResult plain = run({"--qc", "-q", "-o", dir.filePath("plain.18O"), input});
    ASSERT_EQ(plain.exitCode, 0) << plain.err.toStdString();
    for (const char* kind : {"crx", "crx.gz"}) {
        const ProcessResult packed =
            run({"--qc", "-q", "--compress", kind, "-o", dir.filePath(QString("packed-%1.18O").arg(kind)), input});
        ASSERT_EQ(packed.exitCode, 0) << kind << packed.err.toStdString();
        EXPECT_EQ(packed.out, plain.out) << kind;
        EXPECT_TRUE(packed.out.contains("Epochs      60 at 30 s")) << packed.out.toStdString();
    }
}

TEST(ConvertQualityCheck, HelpDocumentsTheOptions) {
    const ProcessResult result = run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const char* option : {"--qc ", "--qc-json <FILE>", "--qc-html <FILE>"})
        EXPECT_TRUE(result.out.contains(option)) << option;
}
