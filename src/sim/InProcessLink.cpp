#include "InProcessLink.h"

#include "UnitLine.h"

#include <utility>

namespace {

const QString UnitPortName = QStringLiteral("virtual unit");

} // namespace

InProcessLink::InProcessLink(UnitLine &line, SerialLink *others, QObject *parent)
    : QObject(parent)
    , m_line(line)
    , m_others(others)
{
    m_line.setAnswer(
        [this](const QByteArray &bytes, const LineSettings &settings) { answer(bytes, settings); });
    connect(&m_line, &UnitLine::unplugged, this, [this] {
        m_open = false;
        m_input.clear();
    });
}

InProcessLink::~InProcessLink()
{
    m_line.setAnswer({});
}

void InProcessLink::SetCommPort(int port)
{
    if (PortOpen())
        throw SerialLinkError("the port number cannot change while the port is open");
    if (port < 1 || port > 4)
        throw SerialLinkError("invalid port number");
    m_commPort = port;
    if (!onUnit() && m_others)
        m_others->SetCommPort(port);
}

void InProcessLink::SetPortOpen(bool open)
{
    if (!onUnit()) {
        if (m_others)
            m_others->SetPortOpen(open);
        return;
    }
    if (!open) {
        m_open = false;
        m_input.clear();
        return;
    }
    if (m_open)
        throw SerialLinkError("the port is already open");
    m_lastError.clear();
    if (!m_line.present()) {
        m_lastError = QStringLiteral("the %1 is unplugged: plug it in again in its window").arg(UnitPortName);
        return;
    }
    m_open = true;
    m_input.clear();
}

bool InProcessLink::PortOpen() const
{
    if (onUnit())
        return m_open;
    return m_others && m_others->PortOpen();
}

void InProcessLink::SetSettings(const QString &settings)
{
    const auto parsed = LineSettings::parse(settings);
    if (!parsed)
        throw SerialLinkError("invalid line setting");
    // The system's port keeps the setting too, for when it opens next.
    if (m_others)
        m_others->SetSettings(settings);
    m_settings = *parsed;
    m_settingsText = settings;
}

void InProcessLink::setBreakEnabled(bool on)
{
    if (!onUnit() && m_others)
        m_others->setBreakEnabled(on);
}

void InProcessLink::Output(const QByteArray &bytes)
{
    if (!onUnit()) {
        if (!m_others)
            throw SerialLinkError("the port is not open");
        m_others->Output(bytes);
        return;
    }
    if (!m_open)
        throw SerialLinkError("the port is not open");
    m_line.hear(bytes, m_settings);
}

void InProcessLink::answer(const QByteArray &bytes, const LineSettings &settings)
{
    if (!m_open || !onUnit())
        return;
    if (settings.baud == m_settings.baud)
        m_input.append(bytes);
    else
        m_input.append(QByteArray(bytes.size(), '\0'));
    emit inputArrived();
}

QByteArray InProcessLink::Input()
{
    if (!onUnit())
        return m_others ? m_others->Input() : QByteArray();
    return std::exchange(m_input, QByteArray());
}

int InProcessLink::InBufferCount()
{
    if (!onUnit())
        return m_others ? m_others->InBufferCount() : 0;
    return static_cast<int>(m_input.size());
}

QString InProcessLink::portName(int port) const
{
    if (port == UnitSlot)
        return UnitPortName;
    return m_others ? m_others->portName(port) : QString();
}

QString InProcessLink::portDescription(int port) const
{
    if (port == UnitSlot)
        return QStringLiteral("the simulated unit of this program, shown in the Virtual unit window");
    return m_others ? m_others->portDescription(port) : QString();
}

QString InProcessLink::lastError() const
{
    if (onUnit())
        return m_lastError;
    return m_others ? m_others->lastError() : QStringLiteral("no port in slot %1").arg(m_commPort);
}
