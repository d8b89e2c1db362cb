// tavo: the command-line side of the editor, for scripts, production lines
// and machines without a display. A small dispatcher: the first word names
// the command, the rest belongs to it.

#include "Commands.h"
#include "Console.h"
#include "Product.h"
#include "SignalWatcher.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <array>

namespace {

constexpr std::array Commands{
    cli::Command{"show", "Show a configuration's outputs and serial settings", cli::runShow},
    cli::Command{"image", "Print the 256-byte configuration image (--raw: the bytes)", cli::runImage},
    cli::Command{"export", "Write the export file (.BDX) of a configuration", cli::runExport},
    cli::Command{"check", "Find codes the unit cannot tell apart, and damaged lines", cli::runCheck},
    cli::Command{"ports", "List the system's serial ports and whether they are free", cli::runPorts},
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
    text += QStringLiteral("\n'tavo COMMAND --help' describes a command.\n\n"
                           "Exit codes: 0 done; 1 a file could not be read, is damaged or could not be "
                           "written;\n2 a wrong command line; 3 no Serial Tavo to program (the port cannot "
                           "be opened\nor is busy, nothing answered, or the unit is of another type); 4 "
                           "the unit failed\nduring the download or the restart. Ctrl+C or SIGTERM closes "
                           "the port and ends\nthe command by that signal.\n\n"
                           "--verbose, before or after the command, also prints on the standard error what\n"
                           "the commands keep quiet about (a port that failed, a file that could not be\n"
                           "replaced).\n");
    return text;
}

// --verbose is tavo's own, not the command's: it may stand anywhere before
// a "--", and is taken out before the command sees its words.
bool takeVerbose(QStringList &args)
{
    const QString verbose = QStringLiteral("--verbose");
    qsizetype end = args.indexOf(QStringLiteral("--"));
    if (end < 0)
        end = args.size();
    bool found = false;
    for (qsizetype i = end - 1; i >= 0; --i) {
        if (args.at(i) == verbose) {
            args.removeAt(i);
            found = true;
        }
    }
    return found;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tavo"));
    QCoreApplication::setApplicationVersion(tavo::versionText());

    QStringList args = QCoreApplication::arguments().mid(1);
    // The messages of the tavo.* categories, which are off by default. Rules
    // in QT_LOGGING_RULES still take precedence over these.
    if (takeVerbose(args))
        QLoggingCategory::setFilterRules(QStringLiteral("tavo.*=true"));
    if (args.isEmpty()) {
        cli::err() << overview() << Qt::flush;
        return cli::ExitUsage;
    }
    const QString name = args.takeFirst();
    if (name == QLatin1String("--help") || name == QLatin1String("-h") || name == QLatin1String("help")) {
        cli::out() << overview();
        return cli::finishOutput(cli::ExitOk);
    }
    if (name == QLatin1String("--version")) {
        cli::out() << "tavo " << tavo::versionText() << '\n';
        return cli::finishOutput(cli::ExitOk);
    }
    for (const cli::Command &command : Commands) {
        if (name != QLatin1String(command.name))
            continue;
        const int code = cli::finishOutput(command.run(args));
        cli::err().flush();
        // Interrupted: the command has closed its port on the way out; now
        // end as the signal would have ended us.
        SignalWatcher::endByCaughtSignal();
        return code;
    }
    cli::err() << "tavo: unknown command '" << name << "'\n\n" << overview() << Qt::flush;
    return cli::ExitUsage;
}
