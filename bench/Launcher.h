#pragma once

#include <QString>
#include <QStringList>

namespace bench {

// What one start of a program measured.
struct Launch {
    QString failure;         // empty when the program ran and ended well
    double shownMs = -1;     // start to the probe's report (with a probe)
    double exitMs = 0;       // start to its end
    qint64 shownPeakKb = -1; // VmHWM when the probe reported
    qint64 maxRssKb = 0;     // the whole run's peak, from the system
};

// Starts `program` once, offscreen, and waits for it to end. Its output is
// thrown away; its errors go to `stderrPath`, whose end is quoted when it
// fails. With `probeLibrary` (the shown probe) preloaded, the program is
// expected to show a main window, report and end. `environment` entries
// ("NAME=value") are added to this process's own.
Launch launch(const QString &program, const QStringList &args, const QString &probeLibrary,
              const QStringList &environment, const QString &stderrPath);

} // namespace bench
