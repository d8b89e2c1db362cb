#include "platform/PortSlots.h"

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
    return PortSlots({QStringLiteral("COM1"), QStringLiteral("COM2"), QStringLiteral("COM3"),
                      QStringLiteral("COM4")});
#else
    QStringList names;
    const auto ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : ports)
        names.append(info.portName());
    names.sort(); // the system lists them in no fixed order
    return PortSlots(names);
#endif
}

QString PortSlots::name(int port) const
{
    if (port < 1 || port > Count)
        return {};
    return m_names.at(port - 1);
}

void PortSlots::setName(int port, const QString &name)
{
    if (port >= 1 && port <= Count)
        m_names[port - 1] = name;
}
