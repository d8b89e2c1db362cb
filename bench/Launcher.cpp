#include "Launcher.h"

#include "BenchSupport.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace bench {

namespace {

constexpr int LaunchTimeoutMs = 30000;
// Where the probe writes its report in the started program.
constexpr int ProbeFd = 3;

QString tail(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromLocal8Bit(f.readAll()).trimmed();
    return text.right(300);
}

} // namespace

Launch launch(const QString &program, const QStringList &args, const QString &probeLibrary,
              const QStringList &environment, const QString &stderrPath)
{
    Launch result;
    std::vector<std::string> argStrings{program.toStdString()};
    for (const QString &a : args)
        argStrings.push_back(a.toStdString());
    std::vector<char *> argv;
    argv.reserve(argStrings.size() + 1);
    for (std::string &s : argStrings)
        argv.push_back(s.data());
    argv.push_back(nullptr);

    std::vector<std::string> envStrings;
    for (char **e = environ; *e; ++e) {
        const std::string entry(*e);
        if (entry.rfind("LD_PRELOAD=", 0) == 0 || entry.rfind("QT_QPA_PLATFORM=", 0) == 0
            || entry.rfind("TAVO_BENCH_PROBE_FD=", 0) == 0)
            continue;
        envStrings.push_back(entry);
    }
    envStrings.emplace_back("QT_QPA_PLATFORM=offscreen");
    if (!probeLibrary.isEmpty()) {
        envStrings.push_back("LD_PRELOAD=" + probeLibrary.toStdString());
        envStrings.push_back("TAVO_BENCH_PROBE_FD=" + std::to_string(ProbeFd));
    }
    for (const QString &e : environment)
        envStrings.push_back(e.toStdString());
    std::vector<char *> envp;
    envp.reserve(envStrings.size() + 1);
    for (std::string &s : envStrings)
        envp.push_back(s.data());
    envp.push_back(nullptr);

    int probe[2] = {-1, -1};
    if (pipe2(probe, O_CLOEXEC) != 0) {
        result.failure = QStringLiteral("pipe: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return result;
    }
    const std::string errPath = stderrPath.toStdString();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    if (!probeLibrary.isEmpty())
        posix_spawn_file_actions_adddup2(&actions, probe[1], ProbeFd);

    pid_t pid = 0;
    const qint64 start = monotonicNs();
    const int spawnError = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(probe[1]);
    if (spawnError != 0) {
        ::close(probe[0]);
        result.failure = QStringLiteral("cannot start %1: %2")
                             .arg(program, QString::fromLocal8Bit(std::strerror(spawnError)));
        return result;
    }

    // The probe's line, then end of file when the program is gone.
    QByteArray report;
    bool timedOut = false;
    for (;;) {
        pollfd p{probe[0], POLLIN, 0};
        const int ready = ::poll(&p, 1, LaunchTimeoutMs);
        if (ready == 0) {
            timedOut = true;
            ::kill(pid, SIGKILL);
            break;
        }
        if (ready < 0 && errno == EINTR)
            continue;
        char buffer[128];
        const ssize_t n = ::read(probe[0], buffer, sizeof buffer);
        if (n <= 0)
            break;
        report.append(buffer, n);
    }
    ::close(probe[0]);

    int status = 0;
    rusage usage{};
    while (::wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    result.exitMs = static_cast<double>(monotonicNs() - start) / 1e6;
    result.maxRssKb = usage.ru_maxrss; // kB on Linux

    if (timedOut) {
        result.failure =
            QStringLiteral("%1 did not finish within %2 s").arg(program).arg(LaunchTimeoutMs / 1000);
        return result;
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        result.failure =
            QStringLiteral("%1 failed (status %2): %3").arg(program).arg(status).arg(tail(stderrPath));
        return result;
    }
    if (!probeLibrary.isEmpty()) {
        const QList<QByteArray> fields = report.trimmed().split(' ');
        if (fields.size() != 3 || fields[0] != "shown") {
            result.failure = QStringLiteral("%1 never showed its main window (probe said \"%2\")")
                                 .arg(program, QString::fromLatin1(report.trimmed()));
            return result;
        }
        result.shownMs = static_cast<double>(fields[1].toLongLong() - start) / 1e6;
        result.shownPeakKb = fields[2].toLongLong();
    }
    return result;
}

} // namespace bench
