#pragma once

#include <QDir>
#include <QTemporaryDir>

// A scratch folder for targets that go through files. In memory where the
// system offers it: the program saves atomically and flushes every save to
// the disk, which on a real disk would make each input take milliseconds.
inline QTemporaryDir &fuzzScratchDir()
{
    static QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists()
                                 ? QStringLiteral("/dev/shm/tavo-fuzz-XXXXXX")
                                 : QDir::tempPath() + QStringLiteral("/tavo-fuzz-XXXXXX"));
    return dir;
}
