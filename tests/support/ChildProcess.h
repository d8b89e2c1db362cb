#pragma once

// Runs a piece of a test in a forked child under conditions the test
// process itself must not be put in: a file size limit, an unprivileged
// user, a small file system that fills up. What the piece returns comes
// back to the parent as bytes.

#include <QByteArray>
#include <QFile>
#include <QString>

#include <functional>
#include <optional>

#ifdef Q_OS_UNIX
#include <csignal>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace testsupport {

struct ChildConditions {
    // Files may grow to this many bytes (0: no limit); a write past it fails
    // with "File too large" instead of killing the child.
    long long fileSizeLimit = 0;
    // Run as the unprivileged user "nobody", so that permissions apply
    // even when the tests run as root.
    bool asNobody = false;
    // Mount a fresh file system of `smallDiskBytes` over this folder, seen
    // by the child only (needs root).
    QString smallDiskAt;
    long long smallDiskBytes = 16 * 1024;
};

// What became of the child: what `work` returned, or why it did not run.
struct ChildResult {
    std::optional<QByteArray> returned;
    // The conditions cannot be had here (not root, no such user): skip.
    bool unavailable = false;
};

#ifdef Q_OS_UNIX

namespace detail {

constexpr int Unavailable = 77;

inline bool setUp(const ChildConditions &conditions)
{
    std::signal(SIGXFSZ, SIG_IGN);
    if (conditions.fileSizeLimit > 0) {
        const rlimit limit{rlim_t(conditions.fileSizeLimit), rlim_t(conditions.fileSizeLimit)};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return false;
    }
    if (!conditions.smallDiskAt.isEmpty()) {
        const QByteArray options = "size=" + QByteArray::number(conditions.smallDiskBytes);
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0
            || mount("tavo-test", conditions.smallDiskAt.toLocal8Bit().constData(), "tmpfs", 0,
                     options.constData())
                   != 0)
            return false;
    }
    if (conditions.asNobody) {
        constexpr uid_t Nobody = 65534;
        if (setgroups(0, nullptr) != 0 || setgid(Nobody) != 0 || setuid(Nobody) != 0)
            return false;
    }
    return true;
}

} // namespace detail

inline ChildResult runInChild(const ChildConditions &conditions, const std::function<QByteArray()> &work)
{
    int fds[2];
    if (pipe(fds) != 0)
        return {};
    const pid_t pid = fork();
    if (pid < 0)
        return {};
    if (pid == 0) {
        ::close(fds[0]);
        if (!detail::setUp(conditions))
            _exit(detail::Unavailable);
        QFile out;
        const bool sent = out.open(fds[1], QIODevice::WriteOnly) && out.write(work()) >= 0 && out.flush();
        // _exit: the child must not run the parent's exit handlers.
        _exit(sent ? 0 : 3);
    }
    ::close(fds[1]);
    QFile in;
    const QByteArray report = in.open(fds[0], QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    ::close(fds[0]);
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return {};
    if (WEXITSTATUS(status) == detail::Unavailable)
        return {std::nullopt, true};
    if (WEXITSTATUS(status) != 0)
        return {};
    return {report, false};
}

#else

inline ChildResult runInChild(const ChildConditions &, const std::function<QByteArray()> &)
{
    return {std::nullopt, true};
}

#endif

} // namespace testsupport
