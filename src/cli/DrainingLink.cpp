#include "cli/DrainingLink.h"

#include "platform/LineSettings.h"
#include "platform/Waiter.h"

int DrainingLink::drainMs(int count, const QString &settings)
{
    if (count <= 0)
        return 0;
    const LineSettings s = LineSettings::parse(settings).value_or(LineSettings{});
    const int bitsPerByte = 1 + s.dataBits + (s.parity == LineSettings::Parity::None ? 0 : 1) + s.stopBits;
    const qint64 bits = qint64(count) * bitsPerByte;
    return static_cast<int>((bits * 1000 + s.baud - 1) / s.baud) + SettleMs;
}

void DrainingLink::drain()
{
    if (m_pending > 0 && m_link.PortOpen())
        m_waiter.Wait(drainMs(m_pending, m_link.Settings()));
    m_pending = 0;
}

void DrainingLink::SetPortOpen(bool open)
{
    if (!open)
        drain();
    m_link.SetPortOpen(open);
}

void DrainingLink::SetSettings(const QString &settings)
{
    drain();
    m_link.SetSettings(settings);
}

void DrainingLink::Output(const QByteArray &bytes)
{
    m_link.Output(bytes);
    m_pending += static_cast<int>(bytes.size());
}
