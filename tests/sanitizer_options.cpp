// SPDX-License-Identifier: MIT
// Linked into every test executable of the sanitizer build (VELMOOR_SANITIZE).
//
// Qt's offscreen platform plugin never frees its screen, its cursor and their helpers (a
// bare QApplication shows the same report). The fast unwinder sees only the first frame
// inside Qt, so those frames are named here; a leak of an object of ours is still reported
// at the place where our code allocated it.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libqoffscreen.so\n"
           "leak:QScreen::QScreen\n"
           "leak:QPlatformScreen::QPlatformScreen\n"
           "leak:QWindowSystemInterface::handleScreenAdded\n"
           "leak:QObject::QObject\n"
           "leak:QtSharedPointer::ExternalRefCountData::getAndRef\n";
}
