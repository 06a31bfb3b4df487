// SPDX-License-Identifier: MIT
#pragma once
// Whole files in the tests: read one, or write one and check that it was written.
#include <QByteArray>
#include <QFile>
#include <QString>
#include <gtest/gtest.h>

namespace testsupport {

// The file's bytes; empty when it cannot be read.
inline QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Writes content to path (replacing the file) and returns path.
inline QString writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    EXPECT_EQ(file.write(content), content.size()) << path.toStdString();
    return path;
}

} // namespace testsupport
