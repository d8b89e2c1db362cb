#include "TracingLink.h"

TracingLink::TracingLink(SerialLink &inner, Sink sink, Clock clock)
    : m_inner(inner)
    , m_sink(std::move(sink))
    , m_clock(std::move(clock))
{
    if (!m_clock) {
        const auto start = std::chrono::steady_clock::now();
        m_clock = [start] {
            return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now()
                                                                         - start);
        };
    }
}

QString TracingLink::line(std::chrono::microseconds time, const QString &what)
{
    const long long ms = std::chrono::round<std::chrono::milliseconds>(time).count();
    return QStringLiteral("+%1.%2 %3").arg(ms / 1000).arg(ms % 1000, 3, 10, QLatin1Char('0')).arg(what);
}

QString TracingLink::hex(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex(' ').toUpper());
}

void TracingLink::tell(const QString &what)
{
    if (m_sink)
        m_sink(line(m_clock(), what));
}

void TracingLink::SetPortOpen(bool open)
{
    const bool wasOpen = m_inner.PortOpen();
    const QString name = m_inner.portName(m_inner.CommPort());
    m_inner.SetPortOpen(open);
    // A slot without a port is no event on any wire.
    if (name.isEmpty())
        return;
    if (open && !m_inner.PortOpen())
        tell(QStringLiteral("cannot open %1: %2").arg(name, m_inner.lastError()));
    else if (open != wasOpen)
        tell((open ? QStringLiteral("open ") : QStringLiteral("close ")) + name);
}

void TracingLink::SetSettings(const QString &settings)
{
    try {
        m_inner.SetSettings(settings);
    } catch (const SerialLinkError &e) {
        tell(QStringLiteral("%1 refused: %2").arg(settings, QString::fromLocal8Bit(e.what())));
        throw;
    }
}

void TracingLink::setBreakEnabled(bool on)
{
    m_inner.setBreakEnabled(on);
    tell(on ? QStringLiteral("break on") : QStringLiteral("break off"));
}

void TracingLink::Output(const QByteArray &bytes)
{
    m_inner.Output(bytes);
    tell(QStringLiteral("> %1 %2").arg(m_inner.Settings(), hex(bytes)));
}

QByteArray TracingLink::Input()
{
    QByteArray bytes = m_inner.Input();
    if (!bytes.isEmpty())
        tell(QStringLiteral("< ") + hex(bytes));
    return bytes;
}
