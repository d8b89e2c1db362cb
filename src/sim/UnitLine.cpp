#include "UnitLine.h"

#include "RealTimeClock.h"

UnitLine::UnitLine(const UnitConfig &config, QObject *parent)
    : QObject(parent)
    , m_ownClock(std::make_unique<RealTimeClock>())
    , m_clock(m_ownClock.get())
    , m_unit(std::make_unique<UnitSimulator>(config))
{
    wire();
}

UnitLine::UnitLine(const UnitConfig &config, UnitClock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(&clock)
    , m_unit(std::make_unique<UnitSimulator>(config))
{
    wire();
}

UnitLine::~UnitLine()
{
    for (const int id : m_scheduled)
        m_clock->cancel(id);
}

void UnitLine::wire()
{
    m_unit->switched = [this](const UnitSwitch &change) { emit switched(change); };
    m_unit->outputsChanged = [this](std::uint8_t outputs) { emit outputsChanged(outputs); };
    m_unit->imageReceived = [this](const UnitSimulator::Image &image) {
        emit imageReceived(
            QByteArray(reinterpret_cast<const char *>(image.data()), UnitSimulator::ImageSize));
    };
}

int UnitLine::schedule(qint64 delayMs, std::function<void()> action)
{
    // The clock never runs an action inside scheduleIn(), so the id is
    // known by the time it does.
    auto id = std::make_shared<int>(0);
    *id = m_clock->scheduleIn(delayMs, [this, id, action = std::move(action)] {
        m_scheduled.erase(*id);
        action();
    });
    m_scheduled.insert(*id);
    return *id;
}

void UnitLine::unschedule(int id)
{
    m_clock->cancel(id);
    m_scheduled.erase(id);
}

void UnitLine::hear(const QByteArray &bytes, const LineSettings &settings)
{
    if (!m_unit->present())
        return;
    emit heard(bytes, settings.toString());
    for (const UnitSimulator::Reply &reply : m_unit->feed(bytes, settings, m_clock->now()))
        schedule(reply.delayMs, [this, reply] { deliver(reply); });
    scheduleDeadline();
}

void UnitLine::deliver(const UnitSimulator::Reply &reply)
{
    if (!m_plugged)
        return;
    if (m_answer)
        m_answer(reply.bytes, reply.settings);
    if (reply.thenVanish)
        schedule(VanishDelayMs, [this] { unplug(); });
}

void UnitLine::scheduleDeadline()
{
    if (m_deadline)
        unschedule(*m_deadline);
    m_deadline.reset();
    const std::optional<qint64> deadline = m_unit->nextDeadline();
    if (!deadline)
        return;
    m_deadline = schedule(*deadline - m_clock->now(), [this] {
        m_deadline.reset();
        m_unit->advanceTo(m_clock->now());
        scheduleDeadline();
    });
}

void UnitLine::unplug()
{
    if (!m_plugged)
        return;
    m_plugged = false;
    m_unit->unplug();
    scheduleDeadline();
    emit unplugged();
}

void UnitLine::plugIn()
{
    if (m_plugged)
        return;
    m_plugged = true;
    m_unit->plugIn();
    emit pluggedIn();
}
