#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <optional>

struct ConfigData;

// What every `tavo` command shares: the two output streams, the exit codes,
// argument parsing with --help and usage errors, and reading a
// configuration file.
namespace cli {

enum ExitCode : int {
    ExitOk = 0,
    // The command ran and failed: a file that is missing or damaged, a unit
    // that did not answer.
    ExitFailed = 1,
    // The command line itself is wrong; nothing was done.
    ExitUsage = 2,
};

// UTF-8 text on stdout and stderr. Flushed after every line that matters
// (callers use Qt::endl), because scripts and tests read them as they come.
QTextStream &out();
QTextStream &err();

// "tavo: <message>" on stderr; returns ExitFailed.
int fail(const QString &message);

// Progress on stderr: on a terminal one line that keeps overwriting itself,
// elsewhere (a log, a pipe) one line per step.
void progress(const QString &text);
// Ends an overwritten progress line, so that what follows starts on a line
// of its own. Everything that prints to stderr calls it first.
void endProgress();

// A QCommandLineParser for one command, with its own usage line.
class CommandParser
{
public:
    // `synopsis`: what follows "tavo <command>" in the usage line, e.g.
    // "[options] FILE.OTS".
    CommandParser(const QString &command, const QString &synopsis, const QString &description);

    QCommandLineParser &parser() { return m_parser; }
    QCommandLineParser *operator->() { return &m_parser; }

    // Parses `args` (the words after the command name). Returns nothing when
    // the command should go on; otherwise the exit code to stop with: 0
    // after printing --help, 2 after a usage error. `positional` is the
    // exact number of positional arguments the command takes.
    std::optional<int> parse(const QStringList &args, int positional);

    // Prints "tavo <command>: <message>" and the usage line to stderr.
    int usageError(const QString &message) const;
    QString helpText() const;

private:
    QString m_command;
    QString m_synopsis;
    QCommandLineParser m_parser;
};

// Reads a configuration file into `config` (which starts as a new
// configuration). Says on stderr why not and returns false when the file is
// missing, unreadable or damaged.
bool loadConfig(const QString &path, ConfigData &config);

// Loads a configuration and builds its image into config.ConfigImage.
bool loadConfigImage(const QString &path, ConfigData &config);

} // namespace cli
