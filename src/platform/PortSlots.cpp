#include "PortSlots.h"

#include <QSerialPortInfo>
#include <QtGlobal>

#include <algorithm>

namespace {

// "ttyUSB10" is "ttyUSB" and 10; a name without a number at its end has
// none (-1).
std::pair<QString, long long> nameAndNumber(const QString &name)
{
    qsizetype digits = name.size();
    while (digits > 0 && name.at(digits - 1).isDigit())
        --digits;
    if (digits == name.size() || name.size() - digits > 18)
        return {name, -1};
    return {name.left(digits), name.mid(digits).toLongLong()};
}

// Pseudo-terminals and the emulated ports of null-modem drivers: nothing
// a unit is plugged into.
bool isPseudoTerminal(const QString &location)
{
    for (const char *prefix : {"/dev/pts/", "/dev/pty", "/dev/tnt", "/dev/ttyV"}) {
        if (location.startsWith(QLatin1String(prefix)))
            return true;
    }
    return false;
}

} // namespace

PortSlots::PortSlots()
    : m_lister(listSystemPorts)
{}

PortSlots::PortSlots(const QStringList &names)
    : PortSlots()
{
    for (int port = 1; port <= Count; ++port)
        setName(port, port <= names.size() ? names.at(port - 1).trimmed() : QString());
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

PortSlots PortSlots::systemDefault(Lister lister)
{
    PortSlots system;
    system.m_lister = std::move(lister);
    system.m_followSystem = true;
    return system;
}

QList<PortSlots::SystemPort> PortSlots::listSystemPorts()
{
    QList<SystemPort> ports;
    const auto infos = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : infos) {
        SystemPort port;
        port.name = info.portName();
        port.location = info.systemLocation();
        QStringList parts;
        if (!info.description().isEmpty())
            parts.append(info.description());
        if (!info.manufacturer().isEmpty())
            parts.append(info.manufacturer());
        port.description = parts.join(QStringLiteral(", "));
        port.described =
            !isPseudoTerminal(info.systemLocation())
            && (info.hasVendorIdentifier() || !info.serialNumber().isEmpty() || !port.description.isEmpty());
        ports.append(port);
    }
    return ports;
}

void PortSlots::sortForSlots(QList<SystemPort> &ports)
{
    // The system lists them in no fixed order.
    std::stable_sort(ports.begin(), ports.end(), [](const SystemPort &a, const SystemPort &b) {
        if (a.described != b.described)
            return a.described;
        return nameAndNumber(a.name) < nameAndNumber(b.name);
    });
}

QList<PortSlots::SystemPort> PortSlots::systemPorts() const
{
    if (!m_listing) {
        m_listing = m_lister ? m_lister() : QList<SystemPort>();
        sortForSlots(*m_listing);
    }
    return *m_listing;
}

QString PortSlots::description(const QString &portName) const
{
    if (portName.isEmpty())
        return {};
    const QList<SystemPort> ports = systemPorts();
    for (const SystemPort &port : ports) {
        // A port may be named by its system location as well.
        if (port.name == portName || (!port.location.isEmpty() && port.location == portName))
            return port.description;
    }
    return {};
}

QString PortSlots::listedName(int port) const
{
    if (!valid(port) || !m_followSystem)
        return {};
    // A port some slot names or has chosen is searched there, not twice.
    QStringList taken;
    for (int other = 1; other <= Count; ++other) {
        const std::size_t i = index(other);
        if (m_named[i])
            taken.append(m_names[i]);
        else if (m_chosen[i])
            taken.append(*m_chosen[i]);
    }
    taken.removeAll(QString());
    int before = 0; // slots ahead of this one that take from the list too
    for (int other = 1; other < port; ++other)
        before += !m_named[index(other)] && !m_chosen[index(other)];
    const QList<SystemPort> ports = systemPorts();
    for (const SystemPort &candidate : ports) {
        if (taken.contains(candidate.name) || taken.contains(candidate.location))
            continue;
        if (before-- == 0)
            return candidate.name;
    }
    return {};
}

QString PortSlots::name(int port) const
{
    if (!valid(port))
        return {};
    const std::size_t i = index(port);
    if (m_named[i])
        return m_names[i];
    if (m_chosen[i])
        return *m_chosen[i];
    return listedName(port);
}

QStringList PortSlots::names() const
{
    QStringList all;
    for (int port = 1; port <= Count; ++port)
        all.append(name(port));
    return all;
}

void PortSlots::setName(int port, const QString &name)
{
    if (!valid(port))
        return;
    m_names[index(port)] = name;
    m_named[index(port)] = true;
}

bool PortSlots::isNamed(int port) const
{
    return valid(port) && m_named[index(port)];
}

std::optional<QString> PortSlots::chosen(int port) const
{
    return valid(port) ? m_chosen[index(port)] : std::nullopt;
}

void PortSlots::choose(int port, const std::optional<QString> &name)
{
    if (valid(port))
        m_chosen[index(port)] = name;
}
