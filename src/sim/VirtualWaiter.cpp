#include "VirtualWaiter.h"

#include <algorithm>

bool VirtualWaiter::wait(std::chrono::microseconds duration, const std::function<bool()> &enough)
{
    Record record;
    record.start = m_clock.time();
    record.requested = duration;
    const auto finish = [&](bool early, bool aborted) {
        record.elapsed = m_clock.time() - record.start;
        record.endedEarly = early;
        record.aborted = aborted;
        m_waits.push_back(record);
        return !aborted;
    };

    if (AbortRequested())
        return finish(false, true);
    const VirtualClock::Time deadline = record.start + std::max(duration, std::chrono::microseconds(0));
    for (;;) {
        if (enough && enough())
            return finish(true, false);
        // An event due exactly at the deadline is let happen first: a reply
        // that arrives together with the time-out still counts.
        const std::optional<VirtualClock::Time> next = m_clock.nextEventTime();
        if (!next || *next > deadline) {
            m_clock.advanceTo(deadline);
            return finish(false, false);
        }
        m_clock.runNext();
        if (AbortRequested())
            return finish(false, true);
    }
}
