#include "PortSlots.h"

#include <QSerialPortInfo>
#include <QtGlobal>

PortSlots::PortSlots(const QStringList &names)
{
    for (int i = 0; i < Count && i < names.size(); ++i)
        m_names[i] = names.at(i).trimmed();
}

PortSlots PortSlots::fromList(const QString &commaSeparated)
{
    return PortSlots(commaSeparated.split(QLatin1Char(',')));
}

PortSlots PortSlots::fromEnvironment()
{
    const QString fromEnv = qEnvironmentVariable("TAVO_PORTS");
    if (!fromEnv.isEmpty())
        return fromList(fromEnv);
    return systemDefault();
}

PortSlots PortSlots::systemDefault()
{
#ifdef Q_OS_WIN
    return PortSlots(
        {QStringLiteral("COM1"), QStringLiteral("COM2"), QStringLiteral("COM3"), QStringLiteral("COM4")});
#else
    PortSlots lazy;
    lazy.m_listingDue = true;
    return lazy;
#endif
}

void PortSlots::listSystemPortsIfDue() const
{
    if (!m_listingDue)
        return;
    m_listingDue = false;
    QStringList listed;
    const auto ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : ports)
        listed.append(info.portName());
    listed.sort(); // the system lists them in no fixed order
    for (int i = 0; i < Count && i < listed.size(); ++i) {
        if (!m_named[static_cast<std::size_t>(i)])
            m_names[i] = listed.at(i);
    }
}

QString PortSlots::name(int port) const
{
    if (port < 1 || port > Count)
        return {};
    listSystemPortsIfDue();
    return m_names.at(port - 1);
}

QStringList PortSlots::names() const
{
    listSystemPortsIfDue();
    return m_names;
}

void PortSlots::setName(int port, const QString &name)
{
    if (port < 1 || port > Count)
        return;
    m_names[port - 1] = name;
    m_named[static_cast<std::size_t>(port - 1)] = true;
}
