#include "SignalWatcher.h"

#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};
volatile std::sig_atomic_t caughtSignal = 0;

extern "C" void onSignal(int number)
{
    const int savedErrno = errno;
    caughtSignal = number;
    const char byte = static_cast<char>(number);
    // Nothing to do if the pipe is full: a signal is already on its way.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{
    if (signalPipe[0] >= 0 || ::pipe(signalPipe) != 0)
        return;
    for (int fd : signalPipe) {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }

    struct sigaction action {
    };
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    // Restart interrupted system calls: the event loop and the serial
    // port's reads should not see EINTR because of us.
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);

    m_notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalWatcher::readSignal);
}

SignalWatcher::~SignalWatcher()
{
    if (!m_notifier)
        return;
    // Back to the default handlers: a second Ctrl+C while the process winds
    // down ends it as usual.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    delete m_notifier;
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

void SignalWatcher::readSignal()
{
    char byte = 0;
    while (::read(signalPipe[0], &byte, 1) == 1)
        emit interrupted(static_cast<unsigned char>(byte));
}

int SignalWatcher::caught()
{
    return caughtSignal;
}

void SignalWatcher::endByCaughtSignal()
{
    const int number = caughtSignal;
    if (number == 0)
        return;
    std::signal(number, SIG_DFL);
    std::raise(number);
}

#else

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{}

SignalWatcher::~SignalWatcher() = default;

void SignalWatcher::readSignal()
{}

int SignalWatcher::caught()
{
    return 0;
}

void SignalWatcher::endByCaughtSignal()
{}

#endif
