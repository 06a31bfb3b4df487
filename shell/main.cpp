// SPDX-License-Identifier: MIT
#include <QApplication>

#include "shell/main_window.h"
#include "velmoor/versions.h"

// Build markers kept as text in the program, so that a binary tells its version and build.
__attribute__((used)) static const char Fmw3_Elf_Version[] = "Fmw3_Elf_Version[" VELMOOR_PROGRAM_VERSION "]";
__attribute__((used)) static const char Fmw3_Elf_BuildTime[] =
    "Fmw3_Elf_BuildTime[" __DATE__ " " __TIME__ "]";

int main(int argc, char* argv[]) {
    // The two names key the settings store.
    QCoreApplication::setOrganizationName(QStringLiteral("kq"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmoor"));
    QApplication::setStyle(QStringLiteral("Fusion"));
    // Lets the desktop match the window to its installed entry (icon, file associations).
    QGuiApplication::setDesktopFileName(QStringLiteral("velmoor"));
    QApplication app(argc, argv);
    MainWindow window;
    window.show();
    return app.exec();
}
