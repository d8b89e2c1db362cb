#pragma once

#include <QByteArray>
#include <QString>

// The one way this program writes a file: configurations, export files,
// images, logs, whatever the editor or the command line produces.
//
// Why one writer: the obvious ways each do damage somewhere. A plain
// truncate-and-write leaves half a file when the disk fills; an atomic
// replacement by renaming turns a FIFO or a device node (/dev/null, a
// serial port) into a regular file; and either happily writes the output
// over the very file the input came from. Here:
//  - a regular file (or a new one) is replaced atomically through
//    QSaveFile: a failure at any point leaves the old file byte for byte
//    and no temporary file behind; an existing file the user may not write
//    is refused, not replaced;
//  - a FIFO, a character device and "-" (standard output) are written into
//    directly, as a shell redirection would;
//  - a folder, a block device or a socket is refused;
//  - `source`, when given, names the file the data was read from; a target
//    that is that same file, by any name or link, is refused.
// A failure says why in the system's own words ("Permission denied", "No
// space left on device", "Is a directory").
namespace FileWriter {

struct Result {
    // Empty when everything was written.
    QString error;

    bool ok() const { return error.isEmpty(); }
};

// The name that stands for standard output.
inline const QString StandardOutput = QStringLiteral("-");

// Why write() would refuse `path` now, with the same words, without
// touching it: for a program that writes there later and should say so
// before it starts.
Result check(const QString &path, const QString &source = {});

// Makes `bytes` the whole content of `path`.
Result write(const QString &path, const QByteArray &bytes, const QString &source = {});

// Adds `bytes` to the end of `path` (created when missing) with a single
// write, so that two programs appending to one file (two stations sharing a
// log) never interleave their records. Never truncates or replaces.
Result append(const QString &path, const QByteArray &bytes, const QString &source = {});

} // namespace FileWriter
