#pragma once

#include "UnitLine.h"
#include "UnitSimulator.h"

#include <QByteArray>
#include <QObject>
#include <QString>

class QSocketNotifier;

// A simulated unit on a pseudo-terminal, for trying the program without
// hardware: start() creates the terminal pair, and any serial program
// (this one with --ports, a terminal emulator) opens slavePath() as its
// port. Every byte the host writes is fed to the UnitSimulator with the
// line setting the host has put on its end when the unit reads the byte
// (see feed() for what that means) to the unit on its UnitLine, which
// writes the answers back after their delay.
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
    // The unit itself stays as it is.
    void stop();
    // Disappears as a unit does when it is unplugged: the unit is pulled
    // from its line, stop(), vanished(). start() plugs it in again, on a
    // new terminal.
    void vanish();

    UnitSimulator &unit() { return m_line->unit(); }
    UnitLine &line() { return *m_line; }
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
    void send(const QByteArray &bytes);
    void unplugged();

    UnitLine *m_line;
    int m_master = -1;
    // Kept open so that the terminal survives while no host has it open
    // (otherwise the master side reports a hang-up in a tight loop).
    int m_slave = -1;
    QString m_slavePath;
    QSocketNotifier *m_notifier = nullptr;
};
