#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into a Qt signal, so that Ctrl+C (or a kill from
// a script) ends a command through the event loop: the simulator closes its
// terminal and the protocol stops at its next wait, instead of the process
// dying half-way through a write.
//
// A signal handler may do almost nothing, so it only writes the signal
// number into a pipe; the read end is watched by a QSocketNotifier. One
// watcher per process. On systems without these signals it never fires.
class SignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalWatcher(QObject *parent = nullptr);
    ~SignalWatcher() override;

    // The signal that came while a watcher was in place (0: none yet).
    static int caught();
    // Ends the process by the signal caught, as if it had never been
    // handled, so that the shell sees 128 + its number and a loop over
    // units stops with it. Does nothing when none was caught.
    static void endByCaughtSignal();

signals:
    void interrupted(int signalNumber);

private:
    void readSignal();

    QSocketNotifier *m_notifier = nullptr;
};
