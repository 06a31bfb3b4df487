// SPDX-License-Identifier: MIT
#pragma once
// velmoor-convert run as a separate process by the tests that define VELMOOR_CONVERT.
#include <QProcess>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

namespace testsupport {

struct ProcessResult {
    int exitCode = -1;
    QString out;
    QString err;
};

// Runs the converter to its end (five minutes at most); a hang or crash is a test failure.
inline ProcessResult runConverter(const QStringList& arguments) {
    QProcess process;
    process.start(VELMOOR_CONVERT, arguments);
    ProcessResult result;
    if (!process.waitForStarted(10000) || !process.waitForFinished(300000)) {
        ADD_FAILURE() << "velmoor-convert did not run to its end";
        process.kill();
        process.waitForFinished();
        return result;
    }
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    result.exitCode = process.exitCode();
    result.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    result.err = QString::fromLocal8Bit(process.readAllStandardError());
    return result;
}

} // namespace testsupport
