#include "VirtualWaiter.h"

#include <algorithm>

bool VirtualWaiter::wait(std::chrono::milliseconds duration, const std::function<bool()> &enough)
{
    Record record;
    record.startMs = m_clock.now();
    record.requestedMs = duration;
    const auto finish = [&](bool early, bool aborted) {
        record.elapsedMs = std::chrono::milliseconds(m_clock.now() - record.startMs);
        record.endedEarly = early;
        record.aborted = aborted;
        m_waits.push_back(record);
        return !aborted;
    };

    if (AbortRequested())
        return finish(false, true);
    const qint64 deadline = record.startMs + std::max<qint64>(duration.count(), 0);
    for (;;) {
        if (enough && enough())
            return finish(true, false);
        // An event due exactly at the deadline is let happen first: a reply
        // that arrives together with the time-out still counts.
        const std::optional<qint64> next = m_clock.nextEventTime();
        if (!next || *next > deadline) {
            m_clock.advanceTo(deadline);
            return finish(false, false);
        }
        m_clock.runNext();
        if (AbortRequested())
            return finish(false, true);
    }
}
