#pragma once

#include "UnitClock.h"

#include <QtGlobal>

#include <functional>
#include <map>
#include <optional>
#include <utility>

// A discrete-event clock for the serial tests: time stands still until a
// waiter moves it to the next scheduled event or to the end of its wait,
// so a search with three-second waits runs in microseconds and every run
// happens at exactly the same virtual times.
class VirtualClock : public UnitClock
{
public:
    qint64 now() const override { return m_now; }

    // Runs `action` at virtual time `atMs` (not before now). Events due at
    // the same time run in the order they were scheduled. Returns an id
    // for cancel().
    int schedule(qint64 atMs, Action action);
    int scheduleIn(qint64 delayMs, Action action) override
    {
        return schedule(m_now + delayMs, std::move(action));
    }
    void cancel(int id) override;

    std::optional<qint64> nextEventTime() const;
    // Moves to the earliest event and runs it; false when nothing is
    // scheduled.
    bool runNext();
    // Runs everything due up to `timeMs` in order, then stands at `timeMs`
    // (never goes back).
    void advanceTo(qint64 timeMs);

private:
    using Key = std::pair<qint64, int>;
    std::map<Key, Action> m_events;
    std::map<int, Key> m_keys;
    qint64 m_now = 0;
    int m_nextId = 1;
};
