#include "PtyUnit.h"

#include <QSocketNotifier>

#include <utility>
#include <vector>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>
#endif

#ifdef Q_OS_LINUX
// In its own file: the kernel's termios2 clashes with the C library's.
int tavoPtyCustomSpeed(int fd);
#endif

namespace {

#ifdef Q_OS_UNIX
int speedOf(const termios &t, int fd)
{
#ifdef Q_OS_LINUX
    // The kernel keeps the actual rate, also for rates without a B
    // constant (14400, 28800), which cfgetospeed() cannot tell.
    const int custom = tavoPtyCustomSpeed(fd);
    if (custom > 0)
        return custom;
#else
    Q_UNUSED(fd);
#endif
    switch (cfgetospeed(&t)) {
    case B110: return 110;
    case B300: return 300;
    case B600: return 600;
    case B1200: return 1200;
    case B2400: return 2400;
    case B4800: return 4800;
    case B9600: return 9600;
    case B19200: return 19200;
    case B38400: return 38400;
    case B57600: return 57600;
    case B115200: return 115200;
    default:
        // BSD and macOS keep the rate itself in speed_t.
        return static_cast<int>(cfgetospeed(&t));
    }
}
#endif

// What the host sent `bytes` at, read at `settings` (see PtyUnit::feed()).
// A command byte read together with all of the rest of its command, at
// the data setting (which a pseudo-terminal cannot tell from no parity),
// came at the command setting before the host switched.
std::vector<std::pair<QByteArray, LineSettings>> sentAt(const QByteArray &bytes, const LineSettings &settings,
                                                        bool awaitingCommandData)
{
    const LineSettings data = UnitSimulator::DataSetting;
    const bool dataLine =
        settings.baud == data.baud && settings.dataBits == data.dataBits && settings.stopBits == data.stopBits
        && (settings.parity == data.parity || settings.parity == LineSettings::Parity::None);
    if (dataLine && !awaitingCommandData && UnitSimulator::isWholeCommand(bytes))
        return {{bytes.left(1), UnitSimulator::CommandSetting}, {bytes.mid(1), data}};
    return {{bytes, settings}};
}

} // namespace

PtyUnit::PtyUnit(const UnitConfig &config, QObject *parent)
    : QObject(parent)
    , m_line(new UnitLine(config, this))
{
    m_line->setAnswer([this](const QByteArray &bytes, const LineSettings &) { send(bytes); });
    connect(m_line, &UnitLine::outputsChanged, this, &PtyUnit::outputsChanged);
    connect(m_line, &UnitLine::imageReceived, this, &PtyUnit::imageReceived);
    connect(m_line, &UnitLine::unplugged, this, &PtyUnit::unplugged);
}

PtyUnit::~PtyUnit()
{
    stop();
}

#ifdef Q_OS_UNIX

bool PtyUnit::start(QString *error)
{
    const auto fail = [&](const QString &why) {
        if (error)
            *error = why + QStringLiteral(": ") + QString::fromLocal8Bit(strerror(errno));
        stop();
        return false;
    };
    if (m_master >= 0)
        return true;

    m_master = posix_openpt(O_RDWR | O_NOCTTY);
    if (m_master < 0)
        return fail(QStringLiteral("cannot open a pseudo-terminal"));
    if (grantpt(m_master) != 0 || unlockpt(m_master) != 0)
        return fail(QStringLiteral("cannot unlock the pseudo-terminal"));
    const char *name = ptsname(m_master);
    if (!name)
        return fail(QStringLiteral("cannot name the pseudo-terminal"));
    m_slavePath = QString::fromLocal8Bit(name);

    m_slave = ::open(name, O_RDWR | O_NOCTTY);
    if (m_slave < 0)
        return fail(QStringLiteral("cannot open %1").arg(m_slavePath));
    // Raw until the host sets its own mode: no echo, no line editing, no
    // translation of carriage returns, which would all corrupt the bytes.
    termios t{};
    if (tcgetattr(m_slave, &t) == 0) {
        cfmakeraw(&t);
        cfsetispeed(&t, B9600);
        cfsetospeed(&t, B9600);
        tcsetattr(m_slave, TCSANOW, &t);
    }
    const int flags = fcntl(m_master, F_GETFL);
    fcntl(m_master, F_SETFL, flags | O_NONBLOCK);

    m_notifier = new QSocketNotifier(m_master, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &PtyUnit::readAvailable);
    m_line->plugIn();
    return true;
}

void PtyUnit::stop()
{
    if (m_notifier) {
        m_notifier->setEnabled(false);
        m_notifier->deleteLater();
        m_notifier = nullptr;
    }
    if (m_slave >= 0)
        ::close(m_slave);
    if (m_master >= 0)
        ::close(m_master);
    m_slave = -1;
    m_master = -1;
}

QString PtyUnit::currentSettings() const
{
    if (m_slave < 0)
        return {};
    termios t{};
    if (tcgetattr(m_slave, &t) != 0)
        return {};
    LineSettings s;
    s.baud = speedOf(t, m_slave);
    switch (t.c_cflag & CSIZE) {
    case CS5: s.dataBits = 5; break;
    case CS6: s.dataBits = 6; break;
    case CS7: s.dataBits = 7; break;
    default: s.dataBits = 8; break;
    }
    s.stopBits = (t.c_cflag & CSTOPB) ? 2 : 1;
    const bool odd = (t.c_cflag & PARODD) != 0;
#ifdef CMSPAR
    if (t.c_cflag & CMSPAR) {
        s.parity = odd ? LineSettings::Parity::Mark : LineSettings::Parity::Space;
        return s.toString();
    }
#endif
    if (t.c_cflag & PARENB) {
        s.parity = odd ? LineSettings::Parity::Odd : LineSettings::Parity::Even;
        return s.toString();
    }
    if (odd) {
        s.parity = LineSettings::Parity::Odd;
        return s.toString();
    }
    // A pseudo-terminal drops the parity-enable flag whatever the host
    // sets, so no parity and even parity look the same here (odd survives
    // in its own flag). Take the reading the unit can make sense of: even
    // when it waits for the data of a command or listens for its codes at
    // even parity, none otherwise.
    s.parity = LineSettings::Parity::None;
    LineSettings even = s;
    even.parity = LineSettings::Parity::Even;
    const UnitSimulator &unit = m_line->unit();
    if ((unit.awaitingCommandData() && even.baud == 9600 && even.stopBits == 1)
        || even == UnitSimulator::configuredSettings(unit.image()))
        s.parity = LineSettings::Parity::Even;
    return s.toString();
}

void PtyUnit::readAvailable()
{
    char buffer[256];
    for (;;) {
        const ssize_t n = ::read(m_master, buffer, sizeof buffer);
        if (n > 0) {
            feed(QByteArray(buffer, static_cast<qsizetype>(n)));
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return;
        // End of file or an error: the terminal is unusable; stop watching
        // it rather than being woken for it over and over.
        if (m_notifier)
            m_notifier->setEnabled(false);
        return;
    }
}

void PtyUnit::send(const QByteArray &bytes)
{
    if (m_master < 0)
        return;
    const ssize_t written = ::write(m_master, bytes.constData(), static_cast<size_t>(bytes.size()));
    if (written > 0)
        emit bytesSent(bytes.left(written));
}

#else

bool PtyUnit::start(QString *error)
{
    if (error)
        *error = QStringLiteral("the simulated unit needs pseudo-terminals, which Windows does not have; "
                                "use a virtual null-modem pair with another simulator instead");
    return false;
}

void PtyUnit::stop()
{}

QString PtyUnit::currentSettings() const
{
    return {};
}

void PtyUnit::readAvailable()
{}

void PtyUnit::send(const QByteArray &bytes)
{
    Q_UNUSED(bytes);
}

#endif

void PtyUnit::feed(const QByteArray &bytes)
{
    // A pseudo-terminal keeps no line setting with its bytes: all the unit
    // can learn is the setting the host's end has now. A host changes it
    // only after waiting for its bytes to leave, and on a pseudo-terminal
    // that wait cannot be for us (tcdrain() returns at once), so the unit
    // must read before the wait is over.
    //
    // In the host's own thread (the tests, the editor's simulated unit)
    // it always does: the kernel makes written bytes readable at once, and
    // the event loop serves this notifier before the timer of the host's
    // wait, even when both are due. In a process of its own (tavo sim) on
    // a busy machine it may not get to run in time. Then it finds a command
    // byte and the rest of the command together, after the host's switch
    // to the data setting: sentAt() reads that as the command it is. What
    // it cannot mend is a test string read only after the host closed its
    // port, which puts back the setting the port had before.
    const QString settingsText = currentSettings();
    const auto settings = LineSettings::parse(settingsText);
    if (!settings)
        emit bytesReceived(bytes, settingsText);
    const auto parts = settings ? sentAt(bytes, *settings, unit().awaitingCommandData())
                                : std::vector<std::pair<QByteArray, LineSettings>>{};
    for (const auto &[part, partSettings] : parts) {
        emit bytesReceived(part, partSettings.toString());
        m_line->hear(part, partSettings);
    }
}

void PtyUnit::vanish()
{
    m_line->unplug();
}

void PtyUnit::unplugged()
{
    const bool wasRunning = isRunning();
    stop();
    if (wasRunning)
        emit vanished();
}
