#pragma once

#include <QtGlobal>

#include <functional>

// The time a simulated unit lives in: a VirtualClock in the tests, where a
// three-second wait takes no time at all, or RealTimeClock in the program.
class UnitClock
{
public:
    using Action = std::function<void()>;

    virtual ~UnitClock() = default;

    // Milliseconds since some start; never goes back.
    virtual qint64 now() const = 0;
    // Runs `action` `delayMs` from now (at once for 0 or less, but never
    // within this call). Returns an id for cancel().
    virtual int scheduleIn(qint64 delayMs, Action action) = 0;
    // An id that has run or was never given is ignored.
    virtual void cancel(int id) = 0;
};
