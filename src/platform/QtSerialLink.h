#pragma once

#include "PortSlots.h"
#include "SerialLink.h"

#include <QObject>
#include <QSerialPort>

// SerialLink on a real serial port.
//
// Port slots 1 to 4 are turned into system port names through PortSlots.
// Opening never touches the modem lines (DTR and RTS stay as the system
// leaves them), because some units are powered or reset from them.
// inputArrived() is emitted whenever bytes have come in, so that a waiter
// can end a wait as soon as enough has arrived.
class QtSerialLink : public QObject, public SerialLink
{
    Q_OBJECT

public:
    explicit QtSerialLink(PortSlots ports = PortSlots::fromEnvironment(), QObject *parent = nullptr);
    ~QtSerialLink() override;

    void setPortSlots(const PortSlots &ports) { m_slots = ports; }

    void SetCommPort(int port) override;
    int CommPort() const override { return m_commPort; }
    void SetPortOpen(bool open) override;
    bool PortOpen() const override;
    void SetSettings(const QString &settings) override;
    QString Settings() const override { return m_settings; }
    void setBreakEnabled(bool on) override;
    void Output(const QByteArray &bytes) override;
    QByteArray Input() override;
    int InBufferCount() override;
    QString portName(int port) const override;
    QString portDescription(int port) const override;
    PortSlots *portSlots() override { return &m_slots; }

    QString lastError() const override { return m_lastError; }

    // Why a port could not be opened, in words that tell the user what to
    // do: another program has it, or the user lacks the permission (and
    // which group gives it).
    static QString openFailure(const QString &portName, QSerialPort::SerialPortError error,
                               const QString &systemText);

signals:
    void inputArrived();

private:
    // Empty when the port took the setting, else why not.
    QString applySettings(const QString &settings);
    bool setParityLeniently(QSerialPort::Parity parity);
    void pullPending();

    PortSlots m_slots;
    QSerialPort m_port;
    int m_commPort = 1;
    QString m_settings = QStringLiteral("9600,n,8,1");
    QString m_lastError;
};
