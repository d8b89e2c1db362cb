#include "VirtualClock.h"

int VirtualClock::schedule(Time at, Action action)
{
    const int id = m_nextId++;
    const Key key{at < m_now ? m_now : at, id};
    m_events.emplace(key, std::move(action));
    m_keys.emplace(id, key);
    return id;
}

void VirtualClock::cancel(int id)
{
    const auto it = m_keys.find(id);
    if (it == m_keys.end())
        return;
    m_events.erase(it->second);
    m_keys.erase(it);
}

std::optional<VirtualClock::Time> VirtualClock::nextEventTime() const
{
    if (m_events.empty())
        return std::nullopt;
    return m_events.begin()->first.first;
}

bool VirtualClock::runNext()
{
    if (m_events.empty())
        return false;
    auto first = m_events.begin();
    const Key key = first->first;
    Action action = std::move(first->second);
    m_events.erase(first);
    m_keys.erase(key.second);
    if (key.first > m_now)
        m_now = key.first;
    action();
    return true;
}

void VirtualClock::advanceTo(Time time)
{
    while (!m_events.empty() && m_events.begin()->first.first <= time)
        runNext();
    if (time > m_now)
        m_now = time;
}
