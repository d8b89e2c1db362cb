#pragma once

#include "UnitSimulator.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <memory>

class QSocketNotifier;
class QTimer;

// A simulated unit on a pseudo-terminal, for trying the program without
// hardware: start() creates the terminal pair, and any serial program
// (this one with --ports, a terminal emulator) opens slavePath() as its
// port. Every byte the host writes is fed to the UnitSimulator with the
// line setting the host has put on its end when the unit reads the byte
// (see feed() for what that means); the answers are written back after
// their delay.
//
// Runs in the thread's event loop. Unix only: on Windows start() fails
// with an explanation.
class PtyUnit : public QObject
{
    Q_OBJECT

public:
    explicit PtyUnit(const UnitConfig &config = {}, QObject *parent = nullptr);
    ~PtyUnit() override;

    // False, with the reason in `error`, when no pseudo-terminal can be had.
    bool start(QString *error = nullptr);
    // The port name to give the host, e.g. "/dev/pts/4"; empty before start.
    QString slavePath() const { return m_slavePath; }
    bool isRunning() const { return m_master >= 0; }
    // Closes the terminal; a host that still has it open sees its port fail.
    void stop();
    // Disappears as a unit does when it is unplugged: stop() plus vanished().
    void vanish();

    UnitSimulator &unit() { return *m_unit; }
    // The line setting the host's end has now, "9600,n,8,1"; empty when
    // it cannot be read. On Linux a pseudo-terminal cannot tell even
    // parity from none; see the source for how that is settled.
    QString currentSettings() const;

signals:
    void bytesReceived(const QByteArray &bytes, const QString &settings);
    void bytesSent(const QByteArray &bytes);
    void outputsChanged(quint8 outputs);
    void imageReceived(const QByteArray &image);
    void vanished();

private:
    void readAvailable();
    void feed(const QByteArray &bytes);
    void send(const UnitSimulator::Reply &reply);
    void scheduleDeadline();

    std::unique_ptr<UnitSimulator> m_unit;
    int m_master = -1;
    // Kept open so that the terminal survives while no host has it open
    // (otherwise the master side reports a hang-up in a tight loop).
    int m_slave = -1;
    QString m_slavePath;
    QSocketNotifier *m_notifier = nullptr;
    QTimer *m_deadline = nullptr;
    QElapsedTimer m_clock;
};
