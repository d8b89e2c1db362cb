#include "cli/Console.h"

#include "mainwindow/ConfigData.h"
#include "mainwindow/ConfigFile.h"
#include "mainwindow/ConfigImage.h"

#include <cstdio>
#include <exception>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace cli {

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

int fail(const QString &message)
{
    out().flush();
    endProgress();
    err() << "tavo: " << message << Qt::endl;
    return ExitFailed;
}

namespace {

bool progressPending = false;

bool errIsTerminal()
{
#ifdef Q_OS_WIN
    static const bool terminal = _isatty(_fileno(stderr)) != 0;
#else
    static const bool terminal = isatty(fileno(stderr)) != 0;
#endif
    return terminal;
}

} // namespace

void progress(const QString &text)
{
    if (errIsTerminal()) {
        // "\r" and the erase-to-end sequence keep a shorter text clean.
        err() << '\r' << text << "\x1b[K" << Qt::flush;
        progressPending = true;
    } else {
        err() << text << Qt::endl;
    }
}

void endProgress()
{
    if (progressPending)
        err() << Qt::endl;
    progressPending = false;
}

CommandParser::CommandParser(const QString &command, const QString &synopsis, const QString &description)
    : m_command(command)
    , m_synopsis(synopsis)
{
    m_parser.setApplicationDescription(description);
    m_parser.addHelpOption();
    // Options after positional arguments are the norm in scripts
    // ("tavo program demo.OTS --port /dev/ttyUSB0").
    m_parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
}

QString CommandParser::helpText() const
{
    // QCommandLineParser names the program by argv[0], which may be a long
    // path; the first line is ours.
    QString text = m_parser.helpText();
    const qsizetype firstLineEnd = text.indexOf(QLatin1Char('\n'));
    text.remove(0, firstLineEnd < 0 ? text.size() : firstLineEnd);
    return QStringLiteral("Usage: tavo %1 %2\n").arg(m_command, m_synopsis) + text;
}

int CommandParser::usageError(const QString &message) const
{
    out().flush();
    endProgress();
    err() << "tavo " << m_command << ": " << message << '\n'
          << "Usage: tavo " << m_command << ' ' << m_synopsis << '\n'
          << "Try 'tavo " << m_command << " --help' for more." << Qt::endl;
    return ExitUsage;
}

std::optional<int> CommandParser::parse(const QStringList &args, int positional)
{
    // The parser skips the first word as the program's name.
    if (!m_parser.parse(QStringList{QStringLiteral("tavo")} + args))
        return usageError(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help")) || m_parser.isSet(QStringLiteral("help-all"))) {
        out() << helpText() << Qt::flush;
        return ExitOk;
    }
    const qsizetype given = m_parser.positionalArguments().size();
    if (given < positional)
        return usageError(QStringLiteral("missing argument"));
    if (given > positional)
        return usageError(
            QStringLiteral("unexpected argument '%1'").arg(m_parser.positionalArguments().at(positional)));
    return std::nullopt;
}

bool loadConfig(const QString &path, ConfigData &config)
{
    // What the editor's "new" leaves, so that a file read the same way
    // gives the same configuration.
    config = ConfigData{};
    config.OnPeriods.fill(1);

    const tavo::ConfigReadResult result = tavo::readConfigFile(path, config);
    switch (result.status) {
    case tavo::ConfigReadResult::Loaded: return true;
    case tavo::ConfigReadResult::NotFound: fail(QStringLiteral("%1: no such file").arg(path)); break;
    case tavo::ConfigReadResult::OpenFailed: fail(QStringLiteral("%1: cannot be read").arg(path)); break;
    case tavo::ConfigReadResult::MissingLine:
        fail(QStringLiteral("%1: line %2 is missing (a configuration has %3 lines)")
                 .arg(path)
                 .arg(result.line)
                 .arg(tavo::ConfigFileLineCount));
        break;
    case tavo::ConfigReadResult::BadValue:
        fail(QStringLiteral("%1: line %2 does not hold what it should").arg(path).arg(result.line));
        break;
    }
    return false;
}

bool loadConfigImage(const QString &path, ConfigData &config)
{
    if (!loadConfig(path, config))
        return false;
    try {
        tavo::BuildConfigImage(config);
    } catch (const std::exception &) {
        fail(QStringLiteral("%1: a period, code length or code byte does not fit in a byte of the image")
                 .arg(path));
        return false;
    }
    return true;
}

} // namespace cli
