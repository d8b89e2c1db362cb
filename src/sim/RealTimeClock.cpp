#include "RealTimeClock.h"

#include <QTimer>

#include <algorithm>
#include <limits>

RealTimeClock::RealTimeClock(QObject *parent)
    : QObject(parent)
{
    m_clock.start();
}

RealTimeClock::~RealTimeClock() = default;

int RealTimeClock::scheduleIn(qint64 delayMs, Action action)
{
    const int id = m_nextId++;
    auto *timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, [this, id, timer, action = std::move(action)] {
        m_timers.erase(id);
        timer->deleteLater();
        action();
    });
    m_timers.emplace(id, timer);
    const qint64 limit = std::numeric_limits<int>::max();
    timer->start(static_cast<int>(std::clamp<qint64>(delayMs, 0, limit)));
    return id;
}

void RealTimeClock::cancel(int id)
{
    const auto it = m_timers.find(id);
    if (it == m_timers.end())
        return;
    delete it->second;
    m_timers.erase(it);
}
