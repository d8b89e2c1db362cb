// Preloaded (LD_PRELOAD) into a program by bench_startup, so that the
// program is measured exactly as it is built, with no option added for it.
//
// Once the first main window of the program has painted, the probe writes
// "shown <monotonic ns> <VmHWM kB>" to the file descriptor named by
// TAVO_BENCH_PROBE_FD and ends the program's event loop.

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QMainWindow>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace {

qint64 peakMemoryKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            QByteArray value = line.mid(6).trimmed();
            value.chop(3); // " kB"
            return value.trimmed().toLongLong();
        }
    }
    return -1;
}

class ShownProbe : public QObject
{
public:
    explicit ShownProbe(int fd, QObject *parent)
        : QObject(parent)
        , m_fd(fd)
    {}

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (!m_seen && event->type() == QEvent::Paint && watched->isWidgetType()) {
            const QWidget *window = static_cast<QWidget *>(watched)->window();
            if (qobject_cast<const QMainWindow *>(window)) {
                m_seen = true;
                // A paint pass covers the whole window in one go; the next
                // turn of the loop comes after it has been put on screen.
                QTimer::singleShot(0, this, &ShownProbe::report);
            }
        }
        return false;
    }

private:
    void report()
    {
        const qint64 now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                               std::chrono::steady_clock::now().time_since_epoch())
                               .count();
        char line[96];
        const int n = std::snprintf(line, sizeof line, "shown %lld %lld\n", static_cast<long long>(now),
                                    static_cast<long long>(peakMemoryKb()));
        if (n > 0 && ::write(m_fd, line, static_cast<size_t>(n)) < 0)
            std::perror("shown probe");
        ::close(m_fd);
        // exit(), not quit(): a window asked to close might first ask
        // whether to save.
        QCoreApplication::exit(0);
    }

    int m_fd;
    bool m_seen = false;
};

void installShownProbe()
{
    bool ok = false;
    const int fd = qEnvironmentVariableIntValue("TAVO_BENCH_PROBE_FD", &ok);
    if (!ok || !qobject_cast<QCoreApplication *>(QCoreApplication::instance()))
        return;
    QCoreApplication *app = QCoreApplication::instance();
    app->installEventFilter(new ShownProbe(fd, app));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(installShownProbe)
