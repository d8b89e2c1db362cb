#include "EventLoopWaiter.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>

EventLoopWaiter::EventLoopWaiter(QObject *parent)
    : QObject(parent)
{}

bool EventLoopWaiter::wait(std::chrono::microseconds duration, const std::function<bool()> &enough)
{
    if (AbortRequested())
        return false;
    const auto timeout =
        std::max(std::chrono::ceil<std::chrono::milliseconds>(duration), std::chrono::milliseconds(0));
    m_requested += timeout;
    if (enough && enough())
        return true;

    QElapsedTimer clock;
    clock.start();

    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);

    // The routines are not re-entrant, but a slot run during this wait may
    // still start another one (a second click); keep the outer wait's state
    // so that it carries on afterwards.
    QEventLoop *const outerLoop = m_loop;
    const std::function<bool()> *const outerEnough = m_enough;
    m_loop = &loop;
    m_enough = enough ? &enough : nullptr;

    // Whatever made the condition true (a port's input notifier, a slot
    // of the caller's), it was an event: look again each time the loop has
    // handled its events and is about to sleep. Callers then cannot forget
    // to connect their link, and watch() only makes the look come sooner.
    QMetaObject::Connection idle;
    if (m_enough) {
        if (QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance())
            idle = connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this,
                           &EventLoopWaiter::inputMayHaveArrived);
    }

    timer.start(timeout);
    loop.exec();
    disconnect(idle);

    m_loop = outerLoop;
    m_enough = outerEnough;
    m_waited += std::chrono::milliseconds(clock.elapsed());
    // An abort must end the outer wait too, not only the innermost one.
    if (AbortRequested() && m_loop)
        m_loop->quit();
    return !AbortRequested();
}

void EventLoopWaiter::inputMayHaveArrived()
{
    // Reading the byte count may itself pull bytes in and emit the input
    // signal again; one check at a time is enough.
    if (!m_loop || !m_enough || m_checking)
        return;
    m_checking = true;
    const bool done = (*m_enough)();
    m_checking = false;
    if (done && m_loop)
        m_loop->quit();
}

void EventLoopWaiter::onAbortRequested()
{
    if (m_loop)
        m_loop->quit();
}
