// SPDX-License-Identifier: MIT
// The quality check fed by the conversion as it writes gives the report of checking the
// written files: same JSON, for the sample, the real test streams and the output options.
// The report's headers come before any Qt header: Qt's keyword macros would rename their fields.
#include "json_report.h"
#include "quality/check_files.h"
#include "quality/html_report.h"
#include "quality/report.h"
#include "quality/text_fields.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <random>

#include "params/file_header.h"
#include "shell/thread_binary_to_rinex.h"
#include "station_stream.h"
#include "support/qt_core_application.h"

namespace {

const QString Sample = QStringLiteral(VELMOOR_SOURCE_DIR "/samples/cebr-sample.dat");
const QString Streams = QStringLiteral(VELMOOR_TEST_DATA "/streams/");

struct Conversion {
    bool finished = false;
    bool ok = false;
    QString text;
    std::shared_ptr<const quality::Report> report;
    QString error;
    QStringList files; // the "wrote" messages, or the five short names
    QStringList summary;
    QString reportPath;
    bool readTheFile = false; // the check read the written file instead of following the records
};

// One conversion on this thread's event loop, with the check on.
Conversion convert(const QString& input, const QString& output, QMap<QString, QString> extra = {},
            bool htmlBeside = false) {
    ParameterMap options = readHeaderOfFile(input).params;
    options["Path Input"] = input;
    options["Path Output"] = output;
    for (auto it = extra.cbegin(); it != extra.cend(); ++it)
        options[it.key()] = it.value();
    Conversion run;
    auto* worker = new ThreadBinaryToRinex();
    worker->setParameters(options);
    worker->setQualityCheck(true, htmlBeside);
    QObject::connect(worker, &ThreadBinaryToRinex::message, [&](QString msg) {
        if (msg.startsWith("wrote ")) run.files << msg.mid(6);
    });
    QObject::connect(worker, &ThreadBinaryToRinex::finished, [&](bool ok, QString text) {
        run.finished = true;
        run.ok = ok;
        run.text = text;
        run.report = worker->qualityReport();
        run.error = worker->qualityError();
        run.summary = worker->qualitySummary();
        run.reportPath = worker->qualityReportPath();
        run.readTheFile = worker->qualityReadTheFile();
    });
    worker->startConvert();
    QElapsedTimer clock;
    clock.start();
    while (!run.finished && clock.elapsed() < 120000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    delete worker;
    if (run.files.isEmpty()) {
        const QString base = output.left(output.size() - 1);
        for (const char* letter : {"O", "N", "G", "L", "C"})
            run.files << base + letter;
    }
    return run;
}

bool fileReport(const QStringList& files, quality::Report& report, std::string& error) {
    std::vector<std::string> paths;
    for (const QString& f : files)
        paths.push_back(QFile::encodeName(f).toStdString());
    quality::Options options;
    options.positionInterval = quality::kConversionPositionInterval;
    return quality::checkConversionFiles(paths, options, report, error);
}

std::string fileReportJson(const QStringList& files) {
    quality::Report report;
    std::string error;
    if (!fileReport(files, report, error)) return "error: " + error;
    return qc::jsonReport(report).dump(1);
}

std::string fileReportHtml(const QStringList& files) {
    quality::Report report;
    std::string error;
    if (!fileReport(files, report, error)) return "error: " + error;
    return quality::htmlReport(report);
}

// The fed report equals the files' report, as JSON and as the HTML page; the check followed
// the records as they were written unless the stream is one it cannot follow.
void expectSameReport(const QString& input, QMap<QString, QString> extra = {}) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const Conversion run = convert(input, dir.filePath("out.20O"), extra);
    ASSERT_TRUE(run.finished);
    ASSERT_TRUE(run.ok) << run.text.toStdString();
    ASSERT_TRUE(run.report) << run.error.toStdString();
    EXPECT_GT(run.report->epochs, 0);
    EXPECT_FALSE(run.readTheFile);
    const std::string fed = qc::jsonReport(*run.report).dump(1);
    const std::string read = fileReportJson(run.files);
    EXPECT_EQ(fed, read);
    EXPECT_EQ(quality::htmlReport(*run.report), fileReportHtml(run.files));
}

TEST(FedQualityCheck, SampleGivesTheReportOfItsFiles) {
    expectSameReport(Sample);
}

TEST(FedQualityCheck, RealStreamsGiveTheReportsOfTheirFiles) {
    for (const char* name : {"cebr-range-key.dat", "cebr-rangecmp-legacy.dat", "cebr-rangecmp2-none.dat"}) {
        SCOPED_TRACE(name);
        expectSameReport(Streams + name);
    }
}

// A station's day with its navigation data and two occupations: elevations, completeness
// and positions are computed and must agree too.
void expectSameReportWithPositions(const QMap<QString, QString>& extra, bool headerOnTheEarth) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string stream = clitest::stationStream(dir);
    ASSERT_FALSE(stream.empty());
    const QString input = dir.filePath("esbc.dat");
    {
        QFile file(input);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(stream.data(), qint64(stream.size()));
    }
    QMap<QString, QString> parameters = extra;
    parameters.insert("Mode", "3");
    const Conversion run = convert(input, dir.filePath("esbc.20O"), parameters);
    ASSERT_TRUE(run.ok) << run.text.toStdString();
    ASSERT_TRUE(run.report) << run.error.toStdString();
    // With the receiver's position in the header the positions and the elevations are
    // replayed apart; without, the elevations wait for the fixes.
    const quality::Vec3& p = run.report->headerPosition;
    EXPECT_EQ(std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]) > 6.0e6, headerOnTheEarth);
    EXPECT_TRUE(run.report->position.valid);
    EXPECT_TRUE(run.report->hasCompleteness);
    EXPECT_EQ(run.report->occupations.size(), 2u);
    EXPECT_FALSE(run.readTheFile);
    EXPECT_FALSE(run.report->cn0Curves.empty());
    EXPECT_EQ(qc::jsonReport(*run.report).dump(1), fileReportJson(run.files));
    EXPECT_EQ(quality::htmlReport(*run.report), fileReportHtml(run.files));
}

TEST(FedQualityCheck, StationWithNavigationGivesTheReportOfItsFilesWithPositions) {
    expectSameReportWithPositions({}, true);
}

TEST(FedQualityCheck, StationWithoutHeaderPositionGivesTheReportOfItsFiles) {
    // A header position at the Earth's centre (the pole, one polar radius down) is no
    // position for the elevations.
    expectSameReportWithPositions({{"Latitude", "90"}, {"Longitude", "0"}, {"Height", "-6356752"}}, false);
}

TEST(FedQualityCheck, OutputOptionsGiveTheReportOfTheirFiles) {
    // Another version, a decimated window of two systems under long names.
    expectSameReport(Sample, {{"Version", "3.02"}});
    expectSameReport(Sample, {{"Systems", "GE"}, {"Long Name", "1"}, {"Interval", "60"}});
}

TEST(FedQualityCheck, CompressedOutputIsCheckedFromTheRecordsWritten) {
    QTemporaryDir dir;
    const Conversion run = convert(Sample, dir.filePath("out.20O"), {{"Compression", "gz"}});
    ASSERT_TRUE(run.ok) << run.text.toStdString();
    ASSERT_TRUE(run.report) << run.error.toStdString();
    EXPECT_EQ(qc::jsonReport(*run.report).dump(1), fileReportJson(run.files));
}

TEST(FedQualityCheck, VersionTheCheckCannotReadSaysSo) {
    QTemporaryDir dir;
    const Conversion run = convert(Sample, dir.filePath("out.20O"), {{"Version", "4.00"}});
    ASSERT_TRUE(run.ok) << run.text.toStdString();
    EXPECT_FALSE(run.report);
    EXPECT_NE(run.error.indexOf("not a RINEX 3 observation file"), -1) << run.error.toStdString();
    ASSERT_EQ(run.summary.size(), 1);
    EXPECT_TRUE(run.summary.first().startsWith("quality check: ")) << run.summary.first().toStdString();
    EXPECT_TRUE(run.reportPath.isEmpty());
}

TEST(FedQualityCheck, InputWithoutEpochsGivesAnEmptyReport) {
    QTemporaryDir dir;
    const QString input = dir.filePath("empty.dat");
    {
        QFile file(input);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(3000, 'x'));
    }
    const Conversion run = convert(input, dir.filePath("out.20O"), {}, true);
    ASSERT_TRUE(run.ok) << run.text.toStdString();
    ASSERT_TRUE(run.report) << run.error.toStdString();
    EXPECT_EQ(run.report->epochs, 0);
    EXPECT_EQ(qc::jsonReport(*run.report).dump(1), fileReportJson(run.files));
    ASSERT_FALSE(run.summary.isEmpty());
    EXPECT_EQ(run.summary.first(), "Span: no observation epochs");
    EXPECT_TRUE(QFile::exists(run.reportPath));
}

TEST(FedQualityCheck, SingleEpochIsReported) {
    // The first epoch's range log and what comes before it.
    QFile sample(Sample);
    ASSERT_TRUE(sample.open(QIODevice::ReadOnly));
    QTemporaryDir dir;
    const Conversion whole = convert(Sample, dir.filePath("whole.20O"));
    ASSERT_TRUE(whole.report);
    // Cut the sample after its second epoch line's range log: try growing prefixes until the
    // conversion writes exactly one epoch.
    const QByteArray data = sample.readAll();
    for (int size = 4096; size < data.size(); size += 1024) {
        const QString input = dir.filePath(QString("cut%1.dat").arg(size));
        QFile cut(input);
        ASSERT_TRUE(cut.open(QIODevice::WriteOnly));
        cut.write(data.left(size));
        cut.close();
        const Conversion run = convert(input, dir.filePath(QString("cut%1.20O").arg(size)));
        ASSERT_TRUE(run.ok);
        ASSERT_TRUE(run.report) << run.error.toStdString();
        if (run.report->epochs == 0) continue;
        EXPECT_EQ(run.report->epochs, 1);
        EXPECT_EQ(qc::jsonReport(*run.report).dump(1), fileReportJson(run.files));
        EXPECT_EQ(run.summary.value(1), "Epochs 1, 0 gaps");
        // Without an interval in the header the check reads the written file.
        EXPECT_TRUE(run.readTheFile);
        return;
    }
    FAIL() << "no prefix of the sample gave one epoch";
}

TEST(FedQualityCheck, WithoutTheCheckNothingIsReported) {
    QTemporaryDir dir;
    ParameterMap options = readHeaderOfFile(Sample).params;
    options["Path Input"] = Sample;
    options["Path Output"] = dir.filePath("plain.20O");
    ThreadBinaryToRinex worker;
    worker.setParameters(options);
    bool finished = false;
    QObject::connect(&worker, &ThreadBinaryToRinex::finished, [&](bool ok, QString) {
        EXPECT_TRUE(ok);
        finished = true;
        EXPECT_FALSE(worker.qualityReport());
        EXPECT_TRUE(worker.qualitySummary().isEmpty());
        EXPECT_TRUE(worker.qualityReportPath().isEmpty());
    });
    worker.startConvert();
    QElapsedTimer clock;
    clock.start();
    while (!finished && clock.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    EXPECT_TRUE(finished);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).filter(".html").size(), 0);
}

TEST(FedQualityCheck, ThreeDecimalValuesEqualTheParsedText) {
    // Every three decimals with a few whole parts, then random values.
    for (const uint64_t whole : {0ull, 1ull, 7ull, 20200000ull, 9999999999ull})
        for (uint64_t decimals = 0; decimals < 1000; ++decimals) {
            const uint64_t thousandths = whole * 1000 + decimals;
            char text[32];
            std::snprintf(text, sizeof text, "%llu.%03llu", (unsigned long long)whole,
                          (unsigned long long)decimals);
            double parsed = 0;
            ASSERT_EQ(quality::parseFixed(text, std::strlen(text), parsed), quality::FieldKind::Number);
            const double computed = quality::fixedThreeDecimals(thousandths, false);
            ASSERT_EQ(std::memcmp(&parsed, &computed, sizeof parsed), 0) << text;
        }
    std::mt19937_64 random(7);
    for (int i = 0; i < 200000; ++i) {
        const uint64_t thousandths = random() % 10000000000000ull;
        const bool negative = (random() & 1) != 0;
        char text[32];
        std::snprintf(text, sizeof text, "%s%llu.%03llu", negative ? "-" : "",
                      (unsigned long long)(thousandths / 1000), (unsigned long long)(thousandths % 1000));
        double parsed = 0;
        ASSERT_EQ(quality::parseFixed(text, std::strlen(text), parsed), quality::FieldKind::Number);
        const double computed = quality::fixedThreeDecimals(thousandths, negative);
        ASSERT_EQ(std::memcmp(&parsed, &computed, sizeof parsed), 0) << text;
    }
}

} // namespace
