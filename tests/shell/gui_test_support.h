// SPDX-License-Identifier: MIT
#pragma once
// Shared by the desktop application's tests: one application object per test program, a
// settings store in a temporary folder, and waiting for the event loop.
#include <functional>

#include <QApplication>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSettings>
#include <QStringList>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace guitest {

// The end of a successful conversion's log: the "Convert Complete, Cost=... ms" line, then
// the quality summary (span, epochs, satellites per system, position, occupations) and the line
// with the report's path.
inline bool endsWithCompleteAndSummary(const QStringList& lines) {
    const QStringList starts = {"Span ", "Epochs ", "Satellites ", "Position ", "Occupations ", "Quality report "};
    const int at = lines.size() - starts.size() - 1;
    if (at < 0 || !QRegularExpression("^Convert Complete, Cost=\\d+ ms$").match(lines[at]).hasMatch()) return false;
    for (int i = 0; i < starts.size(); ++i)
        if (!lines[at + 1 + i].startsWith(starts[i])) return false;
    return true;
}

// Runs the event loop until the condition holds or the time is up; tells whether it held.
inline bool waitFor(const std::function<bool()>& condition, int timeoutMs) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > timeoutMs) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

// Runs the event loop for the given time.
inline void spin(int ms) {
    waitFor([] { return false; }, ms);
}

inline int runGuiTests(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setOrganizationName(QStringLiteral("kq"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmoor"));
    // The user's own settings are never touched.
    QStandardPaths::setTestModeEnabled(true);
    QTemporaryDir settingsDir;
    for (QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat})
        for (QSettings::Scope scope : {QSettings::UserScope, QSettings::SystemScope})
            QSettings::setPath(format, scope, settingsDir.path());
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}

} // namespace guitest

#define VELMOOR_GUI_TEST_MAIN                                                                                \
    int main(int argc, char** argv) {                                                                        \
        return guitest::runGuiTests(argc, argv);                                                             \
    }
