#pragma once

#include "platform/SerialLink.h"

class Waiter;

// A SerialLink that gives written bytes time to leave before the line is
// closed or set to another setting.
//
// Writing only hands the bytes to the driver. Closing the port resets the
// line to what it was before opening, and a new setting takes effect at
// once, so bytes still on their way (a UART's buffer, a pseudo-terminal's
// reader that has not looked yet) would go out, or be read, at the wrong
// setting. A test string is written and the port closed straight away, so
// `tavo send` puts this in front of the port. Everything else is passed on
// as it is.
class DrainingLink : public SerialLink
{
public:
    // A moment for the far end on top of the bytes' time on the wire.
    static constexpr int SettleMs = 20;

    DrainingLink(SerialLink &link, Waiter &waiter)
        : m_link(link)
        , m_waiter(waiter)
    {}

    // How long `count` bytes take at `settings`, settle time included.
    static int drainMs(int count, const QString &settings);

    void SetCommPort(int port) override { m_link.SetCommPort(port); }
    int CommPort() const override { return m_link.CommPort(); }
    void SetPortOpen(bool open) override;
    bool PortOpen() const override { return m_link.PortOpen(); }
    void SetSettings(const QString &settings) override;
    QString Settings() const override { return m_link.Settings(); }
    void Output(const QByteArray &bytes) override;
    QByteArray Input() override { return m_link.Input(); }
    int InBufferCount() override { return m_link.InBufferCount(); }
    QString PortName(int port) const override { return m_link.PortName(port); }
    QString PortDescription(int port) const override { return m_link.PortDescription(port); }

private:
    void drain();

    SerialLink &m_link;
    Waiter &m_waiter;
    int m_pending = 0;
};
