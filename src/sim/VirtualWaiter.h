#pragma once

#include "VirtualClock.h"
#include "Waiter.h"

#include <vector>

// A Waiter on a VirtualClock. Each wait runs the clock's events (replies
// of a simulated unit, scripted user actions) until its condition holds,
// the abort flag is set or its time is up, and is recorded so that tests
// can check every wait the protocol made.
class VirtualWaiter : public Waiter
{
public:
    struct Record {
        VirtualClock::Time start{0}; // a reading of the clock
        std::chrono::microseconds requested{0};
        std::chrono::microseconds elapsed{0};
        // The wait ended because its condition held (possibly right at
        // the deadline), not because the time ran out.
        bool endedEarly = false;
        bool aborted = false;
    };

    explicit VirtualWaiter(VirtualClock &clock)
        : m_clock(clock)
    {}

    bool wait(std::chrono::microseconds duration, const std::function<bool()> &enough = {}) override;

    // Runs `action` at virtual time `atMs`, inside whatever wait is in
    // progress then, the way a click or a closed window arrives while the
    // program waits ("close the dialog at t = 2500 ms").
    void at(qint64 atMs, VirtualClock::Action action) { m_clock.schedule(atMs, std::move(action)); }

    VirtualClock &clock() { return m_clock; }
    const std::vector<Record> &waits() const { return m_waits; }
    void clearWaits() { m_waits.clear(); }

private:
    VirtualClock &m_clock;
    std::vector<Record> m_waits;
};
