#pragma once

#include "SerialLink.h"

#include <chrono>
#include <functional>

// A SerialLink that passes everything on to another one and tells, line by
// line, what went over the wire: every write with the line setting it went
// out at, every read that returned bytes, every break, and the openings,
// closings and refused settings that explain the rest.
//
//   +0.000 open /dev/ttyUSB0
//   +0.000 110,n,8,2 refused: /dev/ttyUSB0 cannot run at 110 baud
//   +0.000 break on
//   +0.082 break off
//   +0.282 > 9600,n,8,2 FF
//   +0.354 < 16 01 00 E8
//
// The time is the time since the link was made, in seconds.
class TracingLink : public SerialLink
{
public:
    using Clock = std::function<std::chrono::microseconds()>;
    using Sink = std::function<void(const QString &line)>;

    // Without a clock, the time is taken from the system's steady clock.
    TracingLink(SerialLink &inner, Sink sink, Clock clock = {});

    // "+0.215 " and `what`: the time in seconds with three decimals.
    static QString line(std::chrono::microseconds time, const QString &what);
    // "16 01 00 E8".
    static QString hex(const QByteArray &bytes);

    void SetCommPort(int port) override { m_inner.SetCommPort(port); }
    int CommPort() const override { return m_inner.CommPort(); }
    void SetPortOpen(bool open) override;
    bool PortOpen() const override { return m_inner.PortOpen(); }
    void SetSettings(const QString &settings) override;
    QString Settings() const override { return m_inner.Settings(); }
    void setBreakEnabled(bool on) override;
    void Output(const QByteArray &bytes) override;
    QByteArray Input() override;
    int InBufferCount() override { return m_inner.InBufferCount(); }
    QString portName(int port) const override { return m_inner.portName(port); }
    QString lastError() const override { return m_inner.lastError(); }
    QString portDescription(int port) const override { return m_inner.portDescription(port); }
    PortSlots *portSlots() override { return m_inner.portSlots(); }

private:
    void tell(const QString &what);

    SerialLink &m_inner;
    Sink m_sink;
    Clock m_clock;
};
