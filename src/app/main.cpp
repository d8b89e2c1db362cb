#include "DeviceUnitServices.h"
#include "Product.h"
#include "SerialTavo.h"
#include "SimulatedUnit.h"
#include "ToolbarIcons.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTextStream>

#include <memory>
#include <optional>

namespace {

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

// A simulated unit for trying DOWNLOAD and TEST without hardware; what it
// does shows in its own window.
std::unique_ptr<SimulatedUnit> startSimulatedUnit(PortSlots &ports)
{
    QString why;
    auto unit = std::make_unique<SimulatedUnit>(ports, &why);
    if (unit->inProcess())
        err() << "serial-tavo-editor: no pseudo-terminal (" << why
              << "); the simulated unit is in port slot 1 of this program only" << Qt::endl;
    else
        err() << "simulated unit " << unit->connection() << Qt::endl;
    return unit;
}

struct Options {
    QCommandLineOption ports{
        QStringLiteral("ports"),
        QStringLiteral("Serial ports of slots 1 to 4, comma-separated (default: TAVO_PORTS, "
                       "else the system's first four)."),
        QStringLiteral("A,B,C,D")};
    QCommandLineOption simulate{
        QStringLiteral("simulate"),
        QStringLiteral("Try without a unit: put a simulated Serial Tavo into port slot 1 and show it in "
                       "the Virtual unit window.")};
};

void describe(QCommandLineParser &parser, const Options &options)
{
    parser.setApplicationDescription(QStringLiteral("Configuration editor for the Serial Tavo output unit."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("Configuration (.OTS) to open."),
                                 QStringLiteral("[file]"));
    parser.addOption(options.ports);
    parser.addOption(options.simulate);
}

// Help, version and a wrong command line are answered before any window
// system is touched, so they work over ssh and in scripts. Returns the exit
// code when the program should end here.
std::optional<int> answerWithoutWindow(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QCommandLineParser parser;
    const Options options;
    describe(parser, options);
    QTextStream out(stdout);
    if (!parser.parse(arguments)) {
        err() << "serial-tavo-editor: " << parser.errorText() << "\nTry 'serial-tavo-editor --help'."
              << Qt::endl;
        return 2;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        // The first line names the program, not the path it was started by.
        QString help = parser.helpText();
        help.replace(0, help.indexOf(QLatin1Char('\n')),
                     QStringLiteral("Usage: serial-tavo-editor [options] [file]"));
        out << help << Qt::flush;
        return out.status() == QTextStream::Ok ? 0 : 1;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        out << "serial-tavo-editor " << tavo::versionText() << Qt::endl;
        return out.status() == QTextStream::Ok ? 0 : 1;
    }
#if defined(Q_OS_UNIX) && !defined(Q_OS_MACOS)
    // Without a display the window system gives up with an abort and a core
    // dump; say what is wrong instead.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        err() << "serial-tavo-editor: no display (neither DISPLAY nor WAYLAND_DISPLAY is set).\n"
                 "Start it from a desktop session, or use the command-line tool: tavo --help"
              << Qt::endl;
        return 1;
    }
#endif
    return std::nullopt;
}

} // namespace

int main(int argc, char *argv[])
{
    if (const auto code = answerWithoutWindow(argc, argv))
        return *code;

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Serial Tavo Editor"));
    QApplication::setApplicationVersion(tavo::versionText());
    QApplication::setWindowIcon(tavo::applicationIcon());

    QCommandLineParser parser;
    const Options options;
    describe(parser, options);
    parser.process(app);

    PortSlots ports = parser.isSet(options.ports) ? PortSlots::fromList(parser.value(options.ports))
                                                  : PortSlots::fromEnvironment();
    std::unique_ptr<SimulatedUnit> simulated;
    if (parser.isSet(options.simulate))
        simulated = startSimulatedUnit(ports);
    DeviceUnitServices units(ports, simulated ? simulated->inProcess() : nullptr);

    SerialTavo::Services services;
    services.units = &units;
    SerialTavo window(services);
    window.start(parser.positionalArguments());
    window.show();
    if (simulated)
        simulated->showWindow(window, units);
    return app.exec();
}
