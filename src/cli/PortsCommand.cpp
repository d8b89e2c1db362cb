// tavo ports: every serial port the system has, what it is and whether it
// can be opened now, for finding the adapter of a unit on a station.

#include "Commands.h"
#include "Console.h"
#include "QtSerialLink.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSerialPort>
#include <QSerialPortInfo>

#include <algorithm>

namespace cli {

namespace {

struct PortFacts {
    QString port; // the system location, "/dev/ttyUSB0", "COM7"
    QString description;
    QString manufacturer;
    QString serialNumber;
    QString vendorId; // "0403", empty when the system does not know it
    QString productId;
    QString state; // "free", "busy", "no permission", or why not
    QString why;   // what the user can do about a state other than free
};

QString hex4(bool known, quint16 id)
{
    return known ? QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0')) : QString();
}

// Opens the port for a moment: the only way to know it is free.
void probeState(PortFacts &facts)
{
    QSerialPort port(facts.port);
    if (port.open(QIODevice::ReadWrite)) {
        port.close();
        facts.state = QStringLiteral("free");
        return;
    }
    facts.why = QtSerialLink::openFailure(facts.port, port.error(), port.errorString());
    if (facts.why.contains(QStringLiteral("in use by another program")))
        facts.state = QStringLiteral("busy");
    else if (facts.why.startsWith(QStringLiteral("you may not open")))
        facts.state = QStringLiteral("no permission");
    else
        facts.state = QStringLiteral("cannot be opened");
}

std::vector<PortFacts> systemPorts()
{
    std::vector<PortFacts> ports;
    const auto infos = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &info : infos) {
        PortFacts facts{info.systemLocation(),
                        info.description(),
                        info.manufacturer(),
                        info.serialNumber(),
                        hex4(info.hasVendorIdentifier(), info.vendorIdentifier()),
                        hex4(info.hasProductIdentifier(), info.productIdentifier()),
                        {},
                        {}};
        probeState(facts);
        ports.push_back(facts);
    }
    std::sort(ports.begin(), ports.end(),
              [](const PortFacts &a, const PortFacts &b) { return a.port < b.port; });
    return ports;
}

QByteArray json(const std::vector<PortFacts> &ports)
{
    const auto orNull = [](const QString &text) {
        return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
    };
    QJsonArray array;
    for (const PortFacts &p : ports) {
        array.append(QJsonObject{{QStringLiteral("port"), p.port},
                                 {QStringLiteral("description"), orNull(p.description)},
                                 {QStringLiteral("manufacturer"), orNull(p.manufacturer)},
                                 {QStringLiteral("serial_number"), orNull(p.serialNumber)},
                                 {QStringLiteral("vendor_id"), orNull(p.vendorId)},
                                 {QStringLiteral("product_id"), orNull(p.productId)},
                                 {QStringLiteral("state"), p.state}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

void printTable(const std::vector<PortFacts> &ports)
{
    for (const PortFacts &p : ports) {
        QStringList about;
        for (const QString &part : {p.description, p.manufacturer})
            if (!part.isEmpty())
                about << part;
        if (!p.serialNumber.isEmpty())
            about << QStringLiteral("serial %1").arg(p.serialNumber);
        if (!p.vendorId.isEmpty())
            about << QStringLiteral("USB %1:%2").arg(p.vendorId, p.productId);
        out() << p.port << "  " << p.state;
        if (!about.isEmpty())
            out() << "  " << about.join(QStringLiteral(", "));
        out() << '\n';
        if (!p.why.isEmpty() && p.state != QLatin1String("busy"))
            err() << "tavo: " << p.why << '\n';
    }
    out().flush();
    err().flush();
}

} // namespace

int runPorts(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("ports"), QStringLiteral("[options]"),
        QStringLiteral("Lists every serial port the system has: its description, manufacturer, "
                       "serial number and USB vendor and product id where the system knows them, "
                       "and whether it can be opened now (free, busy, no permission). Each port "
                       "is opened for a moment to tell."));
    const QCommandLineOption asJson(QStringLiteral("json"),
                                    QStringLiteral("Print a JSON array (port, description, manufacturer, "
                                                   "serial_number, vendor_id, product_id, state) instead."));
    cmd->addOption(asJson);
    cmd.setExitCodes({ExitOk, ExitUsage});
    if (const auto stop = cmd.parse(args, 0))
        return *stop;
    const std::vector<PortFacts> ports = systemPorts();
    if (cmd->isSet(asJson))
        out() << json(ports);
    else if (ports.empty())
        err() << "tavo: the system lists no serial ports" << Qt::endl;
    else
        printTable(ports);
    return ExitOk;
}

} // namespace cli
