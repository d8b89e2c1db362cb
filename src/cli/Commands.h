#pragma once

#include <QString>
#include <QStringList>

// The commands of `tavo`. Each takes the words after its name and returns
// the process exit code (see cli::ExitCode).
namespace cli {

int runShow(const QStringList &args);
int runImage(const QStringList &args);
int runExport(const QStringList &args);
int runSearch(const QStringList &args);
int runProgram(const QStringList &args);
int runSend(const QStringList &args);
int runSim(const QStringList &args);
int runCheck(const QStringList &args);
int runPorts(const QStringList &args);

struct Command {
    const char *name;
    const char *summary;
    int (*run)(const QStringList &args);
};

} // namespace cli
