#pragma once

#include "LineSettings.h"
#include "SerialLink.h"

#include <QByteArray>
#include <QObject>
#include <QString>

class UnitLine;

// Port slot 1 wired straight to a simulated unit in this program, the
// other slots to the system's ports: the simulated unit of a desktop
// without pseudo-terminals (Windows), and of the tests that want the
// editor's own serial stack against a unit without a terminal in between.
//
// What the host writes goes to the unit together with the line setting in
// force, exactly as written; the unit's answers come into the port's input
// after their delay (as zero bytes, the garbage of a real line, when the
// port listens at another rate than the unit answered at), and are lost
// once the port is closed. A unit pulled from its line takes the port with
// it: the port closes and cannot be opened until the unit is back.
class InProcessLink : public QObject, public SerialLink
{
    Q_OBJECT

public:
    static constexpr int UnitSlot = 1;

    // `others` serves slots 2 to 4; without it those slots have no port.
    // Both must outlive the link.
    explicit InProcessLink(UnitLine &line, SerialLink *others = nullptr, QObject *parent = nullptr);
    ~InProcessLink() override;

    void SetCommPort(int port) override;
    int CommPort() const override { return m_commPort; }
    void SetPortOpen(bool open) override;
    bool PortOpen() const override;
    void SetSettings(const QString &settings) override;
    QString Settings() const override { return m_settingsText; }
    // The simulated unit's line never breaks: a break on it is noise the
    // unit drops, as it drops the line reset at 110 baud.
    void setBreakEnabled(bool on) override;
    void Output(const QByteArray &bytes) override;
    QByteArray Input() override;
    int InBufferCount() override;
    QString portName(int port) const override;
    QString portDescription(int port) const override;
    QString lastError() const override;
    PortSlots *portSlots() override { return m_others ? m_others->portSlots() : nullptr; }

signals:
    // Bytes have come into the unit's port.
    void inputArrived();

private:
    bool onUnit() const { return m_commPort == UnitSlot; }
    void answer(const QByteArray &bytes, const LineSettings &settings);

    UnitLine &m_line;
    SerialLink *m_others;
    int m_commPort = UnitSlot;
    bool m_open = false;
    QString m_settingsText = QStringLiteral("9600,n,8,1");
    LineSettings m_settings;
    QByteArray m_input;
    QString m_lastError;
};
