#pragma once

#include "ConfigData.h"

#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTextStream>

#include <initializer_list>
#include <optional>
#include <vector>

namespace tavo {
struct ConfigFinding;
}

// What every `tavo` command shares: the two output streams, the exit codes,
// argument parsing with --help and usage errors, and reading a
// configuration file.
namespace cli {

// What a script can act on. Every command's --help lists the ones it uses.
enum ExitCode : int {
    ExitOk = 0,
    // A file could not be read, is damaged, or could not be written (the
    // standard output included).
    ExitFailed = 1,
    // The command line itself is wrong; nothing was done.
    ExitUsage = 2,
    // No Serial Tavo to work with: the port cannot be opened or is busy,
    // nothing answered, or the unit is of another type. Nothing was written
    // into a unit.
    ExitNoTavo = 3,
    // The unit failed during the download or the restart after it.
    ExitUnitFailed = 4,
};
// Interrupted by SIGINT or SIGTERM, the process ends by that same signal
// once the port is closed (the shell then sees 130 or 143).

// How a configuration file is read. Strict: any damaged line stops the
// command, each reported as "FILE:LINE: error: ...". Lenient: read as the
// editor reads it, the same lines printed as warnings.
enum class Reading { Strict, Lenient };

// UTF-8 text on stdout and stderr. Flushed after every line that matters
// (callers use Qt::endl), because scripts and tests read them as they come.
QTextStream &out();
QTextStream &err();

// "tavo: <message>" on stderr; returns ExitFailed.
int fail(const QString &message);

// Whether stderr is a terminal (progress may then overwrite itself).
bool errIsTerminal();

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
    std::optional<int> parse(const QStringList &args, int positional)
    {
        return parse(args, positional, positional);
    }
    // Between `fewest` and `most` positional arguments.
    std::optional<int> parse(const QStringList &args, int fewest, int most);

    // Prints "tavo <command>: <message>" and the usage line to stderr.
    int usageError(const QString &message) const;
    QString helpText() const;

    // The exit codes the command can end with, listed by --help.
    void setExitCodes(std::initializer_list<ExitCode> codes) { m_exitCodes = codes; }

    // --lenient, for commands that read a configuration file.
    void addReadingOption();
    Reading reading() const;
    // --force, for commands that put a configuration into a unit or an
    // export file: go on although the configuration check finds errors.
    void addForceOption();
    bool forced() const;
    // --trace, for commands that talk to a unit: every byte on the wire on
    // stderr (see traceLine()).
    void addTraceOption();
    bool traced() const;

private:
    QString m_command;
    QString m_synopsis;
    QCommandLineParser m_parser;
    QList<ExitCode> m_exitCodes{ExitOk, ExitFailed, ExitUsage};
};

// The bytes of a configuration file; says on stderr why not and returns
// false when it is missing, a folder or unreadable.
bool readConfigBytes(const QString &path, QByteArray &bytes);
// The configuration in a file as the editor reads it, forgivingly.
ConfigData readAsTheEditorDoes(const QString &path);
// Findings as compilers report them: "FILE:LINE: error: MESSAGE".
void printFindings(QTextStream &stream, const QString &path,
                   const std::vector<tavo::ConfigFinding> &findings);

// Reads a configuration file into `config` (which starts as a new
// configuration). Says on stderr why not and returns false when the file is
// missing, unreadable, or (read strictly) damaged.
bool loadConfig(const QString &path, ConfigData &config, Reading reading);

// The configuration check before a configuration goes into a unit or an
// export file: every finding is printed on stderr; with an error the
// command must stop (false) unless `force`.
bool passesCheck(const QString &path, const ConfigData &config, bool force);

// One line of a --trace on stderr ("+0.215 > 9600,n,8,2 FF"), on a line
// of its own whatever progress is shown.
void traceLine(const QString &line);

// Loads a configuration and builds its image into config.ConfigImage.
bool loadConfigImage(const QString &path, ConfigData &config, Reading reading);

// Whether something printed so far has not reached the standard output.
bool outputFailed();

// The end of every command: everything printed must have reached the
// standard output, else the command failed (a full disk, a closed pipe).
// Returns the exit code to end with.
int finishOutput(int code);

} // namespace cli
