#include "Console.h"

#include "ConfigCheck.h"
#include "ConfigData.h"
#include "ConfigFile.h"
#include "ConfigImage.h"

#include <QIODevice>

#include <algorithm>
#include <array>
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

} // namespace

bool errIsTerminal()
{
#ifdef Q_OS_WIN
    static const bool terminal = _isatty(_fileno(stderr)) != 0;
#else
    static const bool terminal = isatty(fileno(stderr)) != 0;
#endif
    return terminal;
}

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

namespace {

QString exitCodeText(ExitCode code)
{
    switch (code) {
    case ExitOk: return QStringLiteral("done");
    case ExitFailed: return QStringLiteral("a file could not be read, is damaged or could not be written");
    case ExitUsage: return QStringLiteral("wrong command line; nothing was done");
    case ExitNoTavo:
        return QStringLiteral("no Serial Tavo to work with (the port cannot be opened or is busy, nothing "
                              "answered, or the unit is of another type); nothing was written into a unit");
    case ExitUnitFailed: return QStringLiteral("the unit failed during the download or the restart");
    }
    return {};
}

} // namespace

QString CommandParser::helpText() const
{
    // QCommandLineParser names the program by argv[0], which may be a long
    // path; the first line is ours.
    QString text = m_parser.helpText();
    const qsizetype firstLineEnd = text.indexOf(QLatin1Char('\n'));
    text.remove(0, firstLineEnd < 0 ? text.size() : firstLineEnd);
    text = QStringLiteral("Usage: tavo %1 %2\n").arg(m_command, m_synopsis) + text;
    text += QStringLiteral("\nExit codes:\n");
    for (const ExitCode code : m_exitCodes)
        text += QStringLiteral("  %1  %2\n").arg(int(code)).arg(exitCodeText(code));
    text += QStringLiteral("  Ctrl+C or SIGTERM: the port is closed and the command ends by that signal.\n");
    return text;
}

void CommandParser::addReadingOption()
{
    m_parser.addOption(QCommandLineOption(
        QStringLiteral("lenient"),
        QStringLiteral("Read a damaged configuration file as the editor does (what cannot be read keeps "
                       "its default) and report the damage as warnings. Without it, any damaged line "
                       "stops the command.")));
}

void CommandParser::addForceOption()
{
    m_parser.addOption(QCommandLineOption(
        QStringLiteral("force"),
        QStringLiteral("Go on although the configuration check finds errors (codes the unit cannot tell "
                       "apart; see tavo check). Warnings never stop the command.")));
}

bool CommandParser::forced() const
{
    return m_parser.isSet(QStringLiteral("force"));
}

void CommandParser::addTraceOption()
{
    m_parser.addOption(QCommandLineOption(
        QStringLiteral("trace"),
        QStringLiteral("Print every byte sent and received on the standard error, one line per write or "
                       "read: the seconds since the start, > for sent with the line setting, < for "
                       "received, the bytes in hexadecimal (+0.215 > 9600,n,8,2 FF). Breaks, openings "
                       "and refused settings get a line too.")));
}

bool CommandParser::traced() const
{
    return m_parser.isSet(QStringLiteral("trace"));
}

void traceLine(const QString &line)
{
    endProgress();
    err() << line << Qt::endl;
}

Reading CommandParser::reading() const
{
    return m_parser.isSet(QStringLiteral("lenient")) ? Reading::Lenient : Reading::Strict;
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

std::optional<int> CommandParser::parse(const QStringList &args, int fewest, int most)
{
    // The parser skips the first word as the program's name.
    if (!m_parser.parse(QStringList{QStringLiteral("tavo")} + args))
        return usageError(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help")) || m_parser.isSet(QStringLiteral("help-all"))) {
        out() << helpText() << Qt::flush;
        return ExitOk;
    }
    // "--baud --ports X" gives --baud the value "--ports" and leaves X over;
    // name the option that lacks its value instead.
    for (const QString &name : m_parser.optionNames()) {
        const QStringList values = m_parser.values(name);
        if (std::any_of(values.begin(), values.end(),
                        [](const QString &v) { return v.startsWith(QLatin1String("--")); }))
            return usageError(QStringLiteral("--%1 needs a value").arg(name));
    }
    const qsizetype given = m_parser.positionalArguments().size();
    if (given < fewest)
        return usageError(QStringLiteral("missing argument"));
    if (given > most)
        return usageError(
            QStringLiteral("unexpected argument '%1'").arg(m_parser.positionalArguments().at(most)));
    // Every argument of ours names a file; an empty one is a slip of the
    // shell (an unset variable), not a file that is missing.
    if (m_parser.positionalArguments().contains(QString()))
        return usageError(QStringLiteral("a file name is empty"));
    return std::nullopt;
}

bool readConfigBytes(const QString &path, QByteArray &bytes)
{
    const tavo::ConfigReadResult opened = tavo::readConfigBytes(path, bytes);
    switch (opened.status) {
    case tavo::ConfigReadResult::NotFound:
        fail(path.isEmpty() ? QStringLiteral("the file name is empty")
                            : QStringLiteral("%1: no such file").arg(path));
        return false;
    case tavo::ConfigReadResult::IsFolder: fail(QStringLiteral("%1: is a directory").arg(path)); return false;
    case tavo::ConfigReadResult::OpenFailed:
        fail(QStringLiteral("%1: cannot be read: %2").arg(path, opened.error));
        return false;
    default: return true;
    }
}

ConfigData readAsTheEditorDoes(const QString &path)
{
    // What the editor's "new" leaves, so that a file read the same way
    // gives the same configuration; then the editor's own forgiving
    // reading, which keeps what it read before a line it cannot use.
    ConfigData config;
    config.OnPeriods.fill(1);
    const ConfigData fresh = config;
    std::array<bool, ConfigData::OutputCount> shown{};
    (void)tavo::readConfigFile(path, config,
                               [&shown](int n) { shown.at(static_cast<std::size_t>(n)) = true; });
    // The editor shows an output once all its lines are read, and programs
    // and exports the codes its panels show: the codes of an output the
    // file breaks off in never reach a unit from the editor, nor from here.
    for (std::size_t n = 0; n < shown.size(); ++n) {
        if (!shown[n]) {
            config.OnMessages[n] = fresh.OnMessages[n];
            config.OffMessages[n] = fresh.OffMessages[n];
        }
    }
    return config;
}

void printFindings(QTextStream &stream, const QString &path, const std::vector<tavo::ConfigFinding> &findings)
{
    for (const tavo::ConfigFinding &f : findings)
        stream << path << ':' << f.line << ": " << (f.isError() ? "error" : "warning") << ": " << f.message
               << '\n';
    stream.flush();
}

bool loadConfig(const QString &path, ConfigData &config, Reading reading)
{
    QByteArray bytes;
    if (!readConfigBytes(path, bytes))
        return false;
    const std::vector<tavo::ConfigDamage> damage = tavo::findConfigDamage(bytes);
    if (!damage.empty()) {
        out().flush();
        endProgress();
        const char *severity = reading == Reading::Strict ? "error" : "warning";
        for (const tavo::ConfigDamage &d : damage)
            err() << path << ':' << d.line << ": " << severity << ": " << d.what << '\n';
        err().flush();
        if (reading == Reading::Strict) {
            err() << "tavo: " << path
                  << " is damaged; nothing was done (--lenient reads it as the editor does)" << Qt::endl;
            return false;
        }
    }
    config = readAsTheEditorDoes(path);
    return true;
}

bool passesCheck(const QString &path, const ConfigData &config, bool force)
{
    const std::vector<tavo::ConfigFinding> findings = tavo::checkConfig(config);
    if (findings.empty())
        return true;
    out().flush();
    endProgress();
    printFindings(err(), path, findings);
    const int errors = tavo::errorCount(findings);
    if (errors == 0 || force)
        return true;
    err() << "tavo: " << path << " has "
          << (errors == 1 ? QStringLiteral("1 error") : QStringLiteral("%1 errors").arg(errors))
          << " the unit cannot work with; nothing was done (--force goes on anyway)" << Qt::endl;
    return false;
}

bool loadConfigImage(const QString &path, ConfigData &config, Reading reading)
{
    if (!loadConfig(path, config, reading))
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

bool outputFailed()
{
    out().flush();
    // QTextStream notes a failed write; stdio keeps the error for a write
    // that failed before.
    return out().status() != QTextStream::Ok || std::fflush(stdout) != 0 || std::ferror(stdout);
}

int finishOutput(int code)
{
    if (!outputFailed())
        return code;
    const QString why = out().device() ? out().device()->errorString() : QString();
    endProgress();
    err() << "tavo: the output could not be written"
          << (why.isEmpty() ? QString() : QStringLiteral(": ") + why) << Qt::endl;
    return code == ExitOk ? ExitFailed : code;
}

} // namespace cli
