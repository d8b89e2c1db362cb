#include "FileWriter.h"

#include "Logging.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <fcntl.h>
#include <io.h>
#endif

namespace FileWriter {

namespace {

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

Result failed(const QString &path, const QString &why)
{
    qCInfo(lcFile) << "not written:" << path << why;
    return {why};
}

QString sameFileRefusal()
{
    return QStringLiteral("is the file being read; nothing was written");
}

// Writes all of `bytes` to an open descriptor, through short writes and
// interruptions. Returns 0 or the errno of the failure.
int writeAll(int fd, const QByteArray &bytes)
{
    const char *data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
#ifdef Q_OS_UNIX
        const auto n = ::write(fd, data, static_cast<size_t>(left));
#else
        const auto n = ::_write(fd, data, static_cast<unsigned>(left));
#endif
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        data += n;
        left -= n;
    }
    return 0;
}

Result toStandardOutput(const QByteArray &bytes)
{
    // Whatever the program has printed through stdio goes first.
    std::fflush(stdout);
#ifdef Q_OS_WIN
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    if (const int error = writeAll(fileno(stdout), bytes))
        return failed(StandardOutput, systemError(error));
    return {};
}

#ifdef Q_OS_UNIX
// The mode of a file its owner may not write, which only the administrator
// gets past (everybody else is refused before it is replaced); nothing for
// any other file.
std::optional<QFileDevice::Permissions> readOnlyMode(const QString &path)
{
    const QFileInfo old(path);
    if (::geteuid() != 0 || !old.exists() || old.permissions().testFlag(QFileDevice::WriteOwner))
        return std::nullopt;
    // The mode bits only: the "User" flags say what this process may do.
    return old.permissions() & ~(QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser);
}
#endif

// The old file stays as it was whatever fails: QSaveFile writes a new file
// beside it and renames it into place only once it is complete. (It also
// follows a symbolic link to the file it points at, and keeps the old
// file's permissions.)
Result replaceRegularFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return failed(path, file.errorString());
#ifdef Q_OS_UNIX
    // Straight to the temporary file's descriptor: a failed write then says
    // why in the system's words, which Qt's buffered write does not keep
    // for every error (a file size limit comes back as "Unknown error").
    if (const int error = writeAll(file.handle(), bytes)) {
        file.cancelWriting();
        return failed(path, systemError(error));
    }
    // QSaveFile adds the owner's write permission, which it needs itself;
    // a read-only file stays read-only.
    if (const auto mode = readOnlyMode(path); mode && !file.setPermissions(*mode)) {
        const QString why = file.errorString();
        file.cancelWriting();
        return failed(path, why);
    }
#else
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        const QString why = file.errorString();
        file.cancelWriting();
        return failed(path, why);
    }
#endif
    if (!file.commit())
        return failed(path, file.errorString());
    return {};
}

#ifdef Q_OS_UNIX

bool sameFile(const struct stat &a, const QString &other)
{
    struct stat b {
    };
    return !other.isEmpty() && ::stat(QFile::encodeName(other).constData(), &b) == 0 && a.st_dev == b.st_dev
           && a.st_ino == b.st_ino;
}

// What is there under `path` and whether it may be written: nothing when
// the write may go ahead, otherwise why not. `special` tells whether it is
// something to write into rather than to replace.
std::optional<QString> refusal(const QString &path, const QString &source, bool &special)
{
    special = false;
    struct stat st {
    };
    if (::stat(QFile::encodeName(path).constData(), &st) != 0) {
        // Nothing there yet (or a link to nothing) is the common case; a
        // path through a missing folder or a non-folder says so itself.
        if (errno == ENOENT) {
            const QFileInfo info(path);
            if (!info.isSymLink() && !QFileInfo(info.absolutePath()).isDir())
                return systemError(ENOENT);
            return std::nullopt;
        }
        return systemError(errno);
    }
    if (S_ISDIR(st.st_mode))
        return systemError(EISDIR);
    if (sameFile(st, source))
        return sameFileRefusal();
    if (S_ISFIFO(st.st_mode) || S_ISCHR(st.st_mode)) {
        special = true;
        return std::nullopt;
    }
    if (!S_ISREG(st.st_mode))
        return QStringLiteral("is neither a file nor a character device; nothing was written");
    // Replacing goes by renaming, which the file's own permissions do not
    // stop; the user protected it for a reason.
    if (::access(QFile::encodeName(path).constData(), W_OK) != 0)
        return systemError(errno);
    return std::nullopt;
}

Result intoSpecialFile(const QString &path, const QByteArray &bytes)
{
    // No O_CREAT: it is there already. O_NOCTTY: a terminal given as the
    // target must not become this process's controlling terminal.
    const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return failed(path, systemError(errno));
    const int error = writeAll(fd, bytes);
    const int closeError = ::close(fd) == 0 ? 0 : errno;
    if (error || closeError)
        return failed(path, systemError(error ? error : closeError));
    return {};
}

#else

std::optional<QString> refusal(const QString &path, const QString &source, bool &special)
{
    special = false;
    const QFileInfo info(path);
    if (info.isDir())
        return QStringLiteral("Is a directory");
    if (!source.isEmpty() && info.exists()
        && info.canonicalFilePath().compare(QFileInfo(source).canonicalFilePath(), Qt::CaseInsensitive) == 0)
        return sameFileRefusal();
    if (info.exists() && !info.isWritable())
        return QStringLiteral("Permission denied");
    return std::nullopt;
}

Result intoSpecialFile(const QString &path, const QByteArray &bytes)
{
    return replaceRegularFile(path, bytes);
}

#endif

} // namespace

Result check(const QString &path, const QString &source)
{
    if (path == StandardOutput)
        return {};
    bool special = false;
    if (const auto why = refusal(path, source, special))
        return {*why};
    // A new file needs a folder that takes one.
    const QFileInfo info(path);
    if (!special && !info.exists() && !QFileInfo(info.absolutePath()).isWritable())
        return {QStringLiteral("Permission denied")};
    return {};
}

Result write(const QString &path, const QByteArray &bytes, const QString &source)
{
    if (path == StandardOutput)
        return toStandardOutput(bytes);
    bool special = false;
    if (const auto why = refusal(path, source, special))
        return failed(path, *why);
    return special ? intoSpecialFile(path, bytes) : replaceRegularFile(path, bytes);
}

Result append(const QString &path, const QByteArray &bytes, const QString &source)
{
    if (path == StandardOutput)
        return toStandardOutput(bytes);
    bool special = false;
    if (const auto why = refusal(path, source, special))
        return failed(path, *why);
#ifdef Q_OS_UNIX
    const int fd = ::open(QFile::encodeName(path).constData(),
                          O_WRONLY | O_APPEND | O_CREAT | O_NOCTTY | O_CLOEXEC, 0666);
    if (fd < 0)
        return failed(path, systemError(errno));
    // One write call: with O_APPEND the kernel puts the whole record at the
    // end in one piece, whoever else appends at the same moment.
    const auto n = ::write(fd, bytes.constData(), static_cast<size_t>(bytes.size()));
    const int error = n < 0 ? errno : (n != bytes.size() ? ENOSPC : 0);
    const int closeError = ::close(fd) == 0 ? 0 : errno;
    if (error || closeError)
        return failed(path, systemError(error ? error : closeError));
    return {};
#else
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write(bytes) != bytes.size()
        || !file.flush())
        return failed(path, file.errorString());
    return {};
#endif
}

} // namespace FileWriter
