#include "device/DeviceUnitServices.h"
#include "mainwindow/Product.h"
#include "mainwindow/SerialTavo.h"
#include "mainwindow/ToolbarIcons.h"
#include "sim/PtyUnit.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>

#include <memory>

namespace {

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

// Outputs 1 to 8 that are on, "none" when none is.
QString outputsText(quint8 outputs)
{
    QStringList on;
    for (int n = 0; n < 8; ++n) {
        if (outputs & (1u << n))
            on << QString::number(n + 1);
    }
    return on.isEmpty() ? QStringLiteral("none") : on.join(u' ');
}

// A simulated unit for trying DOWNLOAD and TEST without hardware. What it
// does is reported on the standard error, where the window stays clear of
// it.
std::unique_ptr<PtyUnit> startSimulatedUnit()
{
    auto unit = std::make_unique<PtyUnit>();
    QString why;
    if (!unit->start(&why)) {
        err() << "serial-tavo-editor: no simulated unit: " << why << Qt::endl;
        return nullptr;
    }
    err() << "simulated unit on " << unit->slavePath() << " (port slot 1)" << Qt::endl;
    QObject::connect(unit.get(), &PtyUnit::OutputsChanged, unit.get(), [](quint8 outputs) {
        err() << "simulated unit: outputs on: " << outputsText(outputs) << Qt::endl;
    });
    QObject::connect(unit.get(), &PtyUnit::ImageReceived, unit.get(), [](const QByteArray &) {
        err() << "simulated unit: configuration received" << Qt::endl;
    });
    return unit;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Serial Tavo Editor"));
    QApplication::setApplicationVersion(tavo::versionText());
    QApplication::setWindowIcon(tavo::applicationIcon());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Configuration editor for the Serial Tavo output unit."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("Configuration (.OTS) to open."),
                                 QStringLiteral("[file]"));
    const QCommandLineOption portsOption(
        QStringLiteral("ports"),
        QStringLiteral("Serial ports of slots 1 to 4, comma-separated (default: TAVO_PORTS, else the "
                       "system's first four)."),
        QStringLiteral("A,B,C,D"));
    const QCommandLineOption simulateOption(
        QStringLiteral("simulate"),
        QStringLiteral("Put a simulated Serial Tavo on a pseudo-terminal into port slot 1."));
    parser.addOption(portsOption);
    parser.addOption(simulateOption);
    parser.process(app);

    PortSlots ports = parser.isSet(portsOption) ? PortSlots::fromList(parser.value(portsOption))
                                                : PortSlots::fromEnvironment();
    std::unique_ptr<PtyUnit> simulated;
    if (parser.isSet(simulateOption)) {
        simulated = startSimulatedUnit();
        if (simulated)
            ports.setName(1, simulated->slavePath());
    }
    DeviceUnitServices units(ports);

    SerialTavo::Services services;
    services.units = &units;
    SerialTavo window(services);
    window.Start(parser.positionalArguments());
    window.show();
    return app.exec();
}
