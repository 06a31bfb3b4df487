// SPDX-License-Identifier: MIT
#pragma once
// One QCoreApplication for the whole test program: workers, timers and QProcess need an
// event loop. Including this header registers it.
#include <QCoreApplication>
#include <gtest/gtest.h>

namespace testsupport {

class QtCoreApplication : public ::testing::Environment {
public:
    void SetUp() override {
        static int argc = 1;
        static char name[] = "velmoor-test";
        static char* argv[] = {name, nullptr};
        app_ = new QCoreApplication(argc, argv);
    }
    void TearDown() override { delete app_; }

private:
    QCoreApplication* app_ = nullptr;
};

inline ::testing::Environment* const qtCoreApplication =
    ::testing::AddGlobalTestEnvironment(new QtCoreApplication);

} // namespace testsupport
