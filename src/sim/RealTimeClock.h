#pragma once

#include "UnitClock.h"

#include <QElapsedTimer>
#include <QObject>

#include <map>

class QTimer;

// A UnitClock on the thread's event loop: each action waits on a precise
// single-shot timer, so it runs inside whatever loop turns then, the
// nested loops of the protocol's waits and of modal dialogs included.
class RealTimeClock : public QObject, public UnitClock
{
    Q_OBJECT

public:
    explicit RealTimeClock(QObject *parent = nullptr);
    ~RealTimeClock() override;

    qint64 now() const override { return m_clock.elapsed(); }
    int scheduleIn(qint64 delayMs, Action action) override;
    void cancel(int id) override;

private:
    QElapsedTimer m_clock;
    std::map<int, QTimer *> m_timers;
    int m_nextId = 1;
};
