// SPDX-License-Identifier: MIT
#include "cli/interrupt.h"

#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace cli {

namespace {

int signalSockets[2] = {-1, -1};

// Only async-signal-safe work here: the main thread's notifier does the rest.
void onSignal(int signalNumber) {
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const ssize_t written = ::write(signalSockets[0], &byte, 1);
}

} // namespace

InterruptNotifier::InterruptNotifier(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0) return;
    notifier_ = new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &InterruptNotifier::readSignal);

    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

InterruptNotifier::~InterruptNotifier() {
    if (!notifier_) return;
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    ::close(signalSockets[0]);
    ::close(signalSockets[1]);
    signalSockets[0] = signalSockets[1] = -1;
}

void InterruptNotifier::readSignal() {
    unsigned char byte = 0;
    if (::read(signalSockets[1], &byte, 1) == 1) emit interrupted(byte);
}

} // namespace cli
