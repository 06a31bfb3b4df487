// SPDX-License-Identifier: MIT
#pragma once
// Turns SIGINT and SIGTERM into a Qt signal on the main thread, so that running
// conversions can be cancelled cleanly (their writers close the files with headers).
#include <QObject>

class QSocketNotifier;

namespace cli {

class InterruptNotifier : public QObject {
    Q_OBJECT
public:
    explicit InterruptNotifier(QObject* parent = nullptr);
    ~InterruptNotifier() override;

signals:
    void interrupted(int signalNumber);

private:
    void readSignal();

    QSocketNotifier* notifier_ = nullptr;
};

} // namespace cli
