#pragma once

#include "LineSettings.h"
#include "SerialLink.h"
#include "UnitSimulator.h"
#include "VirtualClock.h"

#include <QList>

#include <array>
#include <memory>
#include <vector>

// A SerialLink whose four ports live on a VirtualClock: each port is
// missing (it cannot be opened), empty (it opens but nothing is attached)
// or has a simulated unit on it. Everything the host does is recorded
// with the virtual time and the line setting in force.
//
// The unit is fed each written byte with the setting it went out at; its
// answers arrive after their delay, if the port is still open by then
// (the bytes are lost on a closed port). An answer that arrives while the
// host listens at another baud rate than the unit answered at comes in as
// garbage (zero bytes), as it would on a real line. A unit that vanishes
// takes its port with it: the port closes and cannot be opened again, and
// writes fail.
//
// Like a real adapter, a port can be told to refuse some rates (an FTDI
// chip does not go down to 110 baud, many adapters make no 14400 or
// 28800): an open port refuses such a setting, a closed one refuses to
// open at it.
class SimulatedLink : public SerialLink
{
public:
    // Busy: there, but another program has it (opening fails).
    enum class PortKind { Missing, Empty, Unit, Busy };

    struct Event {
        enum class Kind { Open, Close, Settings, Write, Read, BreakOn, BreakOff };
        Kind kind;
        VirtualClock::Time time;
        int port;
        QString settings; // in force after the event
        QByteArray bytes; // written, or read

        qint64 timeMs() const { return std::chrono::floor<std::chrono::milliseconds>(time).count(); }
    };

    explicit SimulatedLink(VirtualClock &clock);
    ~SimulatedLink() override;

    void setPortKind(int port, PortKind kind);
    // Attaches a unit to the port (replacing any other) and returns it.
    UnitSimulator &attachUnit(int port, const UnitConfig &config = {});
    UnitSimulator *unit(int port);
    // The adapter is pulled: an open port closes, and the port cannot be
    // opened until a unit or an empty port is put there again.
    void vanish(int port);
    void setPortName(int port, const QString &name);
    // The rates every port refuses from now on.
    void refuseRates(const QList<int> &bauds) { m_refusedRates = bauds; }
    // Bytes that arrive at the host on the port after `delayMs`, as if sent
    // by something on the line (noise, echoes); lost if the port is closed
    // then.
    void injectInput(int port, const QByteArray &bytes, int delayMs = 0);

    const std::vector<Event> &events() const { return m_events; }
    std::vector<Event> writes() const;
    // Every written byte in order, whatever the write boundaries.
    QByteArray writtenBytes() const;
    void clearEvents() { m_events.clear(); }

    void SetCommPort(int port) override;
    int CommPort() const override { return m_commPort; }
    void SetPortOpen(bool open) override;
    bool PortOpen() const override { return m_open; }
    void SetSettings(const QString &settings) override;
    QString Settings() const override { return m_settingsText; }
    void setBreakEnabled(bool on) override;
    void Output(const QByteArray &bytes) override;
    QByteArray Input() override;
    int InBufferCount() override { return static_cast<int>(m_input.size()); }
    QString portName(int port) const override;
    QString portDescription(int port) const override;
    QString lastError() const override { return m_lastError; }

private:
    struct Port {
        PortKind kind = PortKind::Missing;
        QString name;
        std::unique_ptr<UnitSimulator> unit;
        int deadlineEvent = 0;
    };

    Port &port(int number);
    const Port &port(int number) const;
    void record(Event::Kind kind, const QByteArray &bytes = {});
    // generation -1: whichever opening of the port is current.
    void deliver(int portNumber, int generation, const UnitSimulator::Reply &reply);
    void scheduleDeadline(int portNumber);
    // Why the current port cannot run at `settings`; empty when it can.
    QString refusal(const LineSettings &settings) const;

    VirtualClock &m_clock;
    std::array<Port, 4> m_ports;
    int m_commPort = 1;
    bool m_open = false;
    // Counts openings, so that answers meant for an earlier opening of a
    // port are not delivered to a later one.
    int m_generation = 0;
    QString m_settingsText = QStringLiteral("9600,n,8,1");
    LineSettings m_settings;
    QByteArray m_input;
    QString m_lastError;
    QList<int> m_refusedRates;
    std::vector<Event> m_events;
    // Scheduled events refer back to the link; they are dropped once it is
    // gone.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};
