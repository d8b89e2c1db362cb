#pragma once

#include "UnitClock.h"

#include <QtGlobal>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <utility>

// A discrete-event clock for the serial tests: time stands still until a
// waiter moves it to the next scheduled event or to the end of its wait,
// so a search with three-second waits runs in microseconds and every run
// happens at exactly the same virtual times.
//
// It counts microseconds, so that a wait of a fraction of a millisecond
// (the 81.818 ms break of the line reset) is kept exactly; most of what
// happens on it is scheduled in whole milliseconds.
class VirtualClock : public UnitClock
{
public:
    using Time = std::chrono::microseconds;

    Time time() const { return m_now; }
    // The time in whole milliseconds (rounded down).
    qint64 now() const override { return std::chrono::floor<std::chrono::milliseconds>(m_now).count(); }

    // Runs `action` at virtual time `at` (not before now). Events due at
    // the same time run in the order they were scheduled. Returns an id
    // for cancel().
    int schedule(Time at, Action action);
    int schedule(qint64 atMs, Action action) { return schedule(Time(atMs * 1000), std::move(action)); }
    int scheduleIn(qint64 delayMs, Action action) override
    {
        return schedule(m_now + std::chrono::milliseconds(delayMs), std::move(action));
    }
    void cancel(int id) override;

    std::optional<Time> nextEventTime() const;
    // Moves to the earliest event and runs it; false when nothing is
    // scheduled.
    bool runNext();
    // Runs everything due up to `time` in order, then stands at `time`
    // (never goes back).
    void advanceTo(Time time);
    void advanceTo(qint64 timeMs) { advanceTo(Time(timeMs * 1000)); }

private:
    using Key = std::pair<Time, int>;
    std::map<Key, Action> m_events;
    std::map<int, Key> m_keys;
    Time m_now{0};
    int m_nextId = 1;
};
