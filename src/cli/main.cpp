// tavo: the command-line side of the editor, for scripts, production lines
// and machines without a display. A small dispatcher: the first word names
// the command, the rest belongs to it.

#include "cli/Commands.h"
#include "cli/Console.h"
#include "mainwindow/Product.h"

#include <QCoreApplication>

#include <array>

namespace {

constexpr std::array Commands{
    cli::Command{"show", "Show a configuration's outputs and serial settings", cli::runShow},
    cli::Command{"image", "Print the 256-byte configuration image (--raw: the bytes)", cli::runImage},
    cli::Command{"export", "Write the export file (.BDX) of a configuration", cli::runExport},
    cli::Command{"search", "Search port slots 1 to 4 for units", cli::runSearch},
    cli::Command{"program", "Download a configuration into the unit on a port", cli::runProgram},
    cli::Command{"send", "Send a test string to a unit", cli::runSend},
    cli::Command{"sim", "Run a simulated unit on a pseudo-terminal", cli::runSim},
};

QString overview()
{
    QString text = QStringLiteral("Usage: tavo COMMAND [options] [arguments]\n\n"
                                  "Serial Tavo configurations and units from the command line.\n\n"
                                  "Commands:\n");
    for (const cli::Command &command : Commands)
        text += QStringLiteral("  %1%2\n")
                    .arg(QLatin1String(command.name), -10)
                    .arg(QLatin1String(command.summary));
    text += QStringLiteral("\n'tavo COMMAND --help' describes a command.\n"
                           "Exit codes: 0 done, 1 failed (file or unit), 2 wrong command line.\n");
    return text;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavo"));
    QCoreApplication::setApplicationVersion(tavo::versionText());

    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty()) {
        cli::err() << overview() << Qt::flush;
        return cli::ExitUsage;
    }
    const QString name = args.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
        cli::out() << overview() << Qt::flush;
        return cli::ExitOk;
    }
    if (name == QLatin1String("--version")) {
        cli::out() << "tavo " << tavo::versionText() << Qt::endl;
        return cli::ExitOk;
    }
    for (const cli::Command &command : Commands) {
        if (name == QLatin1String(command.name))
            return command.run(args);
    }
    cli::err() << "tavo: unknown command '" << name << "'\n\n" << overview() << Qt::flush;
    return cli::ExitUsage;
}
