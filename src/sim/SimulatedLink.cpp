#include "SimulatedLink.h"

#include <utility>

SimulatedLink::SimulatedLink(VirtualClock &clock)
    : m_clock(clock)
{
    for (int i = 0; i < 4; ++i)
        m_ports[static_cast<std::size_t>(i)].name = QStringLiteral("SIM%1").arg(i + 1);
}

SimulatedLink::~SimulatedLink()
{
    *m_alive = false;
}

SimulatedLink::Port &SimulatedLink::port(int number)
{
    if (number < 1 || number > 4)
        throw SerialLinkError("invalid port number");
    return m_ports[static_cast<std::size_t>(number - 1)];
}

const SimulatedLink::Port &SimulatedLink::port(int number) const
{
    if (number < 1 || number > 4)
        throw SerialLinkError("invalid port number");
    return m_ports[static_cast<std::size_t>(number - 1)];
}

void SimulatedLink::setPortKind(int number, PortKind kind)
{
    Port &p = port(number);
    p.kind = kind;
    if (kind != PortKind::Unit)
        p.unit.reset();
}

UnitSimulator &SimulatedLink::attachUnit(int number, const UnitConfig &config)
{
    Port &p = port(number);
    p.kind = PortKind::Unit;
    p.unit = std::make_unique<UnitSimulator>(config);
    return *p.unit;
}

UnitSimulator *SimulatedLink::unit(int number)
{
    return port(number).unit.get();
}

void SimulatedLink::setPortName(int number, const QString &name)
{
    port(number).name = name;
}

QString SimulatedLink::portName(int number) const
{
    if (number < 1 || number > 4)
        return {};
    return port(number).name;
}

QString SimulatedLink::portDescription(int number) const
{
    if (number < 1 || number > 4)
        return {};
    switch (port(number).kind) {
    case PortKind::Missing: return {};
    case PortKind::Busy: return QStringLiteral("simulated port, in use by another program");
    case PortKind::Empty: return QStringLiteral("simulated port, nothing attached");
    case PortKind::Unit: return QStringLiteral("simulated port with a unit");
    }
    return {};
}

void SimulatedLink::record(Event::Kind kind, const QByteArray &bytes)
{
    m_events.push_back({kind, m_clock.time(), m_commPort, m_settingsText, bytes});
}

std::vector<SimulatedLink::Event> SimulatedLink::writes() const
{
    std::vector<Event> result;
    for (const Event &e : m_events) {
        if (e.kind == Event::Kind::Write)
            result.push_back(e);
    }
    return result;
}

QByteArray SimulatedLink::writtenBytes() const
{
    QByteArray all;
    for (const Event &e : m_events) {
        if (e.kind == Event::Kind::Write)
            all.append(e.bytes);
    }
    return all;
}

void SimulatedLink::SetCommPort(int number)
{
    if (m_open)
        throw SerialLinkError("the port number cannot change while the port is open");
    port(number);
    m_commPort = number;
}

void SimulatedLink::SetPortOpen(bool open)
{
    if (!open) {
        if (m_open) {
            m_open = false;
            m_input.clear();
            record(Event::Kind::Close);
        }
        return;
    }
    if (m_open)
        throw SerialLinkError("the port is already open");
    // The same words the real link finds for the user.
    m_lastError.clear();
    const Port &p = port(m_commPort);
    if (p.kind == PortKind::Missing) {
        m_lastError = QStringLiteral("there is no port %1").arg(p.name);
        return;
    }
    if (p.kind == PortKind::Busy) {
        m_lastError = QStringLiteral("%1 is in use by another program").arg(p.name);
        return;
    }
    if (const QString refused = refusal(m_settings); !refused.isEmpty()) {
        m_lastError = refused;
        return;
    }
    m_open = true;
    ++m_generation;
    m_input.clear();
    record(Event::Kind::Open);
}

void SimulatedLink::SetSettings(const QString &settings)
{
    const auto parsed = LineSettings::parse(settings);
    if (!parsed)
        throw SerialLinkError("invalid line setting");
    if (const QString refused = refusal(*parsed); m_open && !refused.isEmpty())
        throw SerialLinkError(refused.toStdString());
    m_settings = *parsed;
    m_settingsText = settings;
    record(Event::Kind::Settings);
}

QString SimulatedLink::refusal(const LineSettings &settings) const
{
    if (!m_refusedRates.contains(settings.baud))
        return {};
    return QStringLiteral("%1 cannot run at %2 baud").arg(port(m_commPort).name).arg(settings.baud);
}

void SimulatedLink::setBreakEnabled(bool on)
{
    if (!m_open)
        throw SerialLinkError("the port is not open");
    record(on ? Event::Kind::BreakOn : Event::Kind::BreakOff);
}

void SimulatedLink::Output(const QByteArray &bytes)
{
    if (!m_open)
        throw SerialLinkError("the port is not open");
    record(Event::Kind::Write, bytes);
    Port &p = port(m_commPort);
    if (!p.unit)
        return;
    const int number = m_commPort;
    const int generation = m_generation;
    for (const UnitSimulator::Reply &reply : p.unit->feed(bytes, m_settings, m_clock.now())) {
        std::weak_ptr<bool> alive = m_alive;
        m_clock.scheduleIn(reply.delayMs, [this, alive, number, generation, reply] {
            if (alive.lock())
                deliver(number, generation, reply);
        });
    }
    scheduleDeadline(number);
}

void SimulatedLink::scheduleDeadline(int number)
{
    Port &p = port(number);
    if (p.deadlineEvent)
        m_clock.cancel(p.deadlineEvent);
    p.deadlineEvent = 0;
    if (!p.unit)
        return;
    const std::optional<qint64> deadline = p.unit->nextDeadline();
    if (!deadline)
        return;
    std::weak_ptr<bool> alive = m_alive;
    p.deadlineEvent = m_clock.schedule(*deadline, [this, alive, number] {
        if (!alive.lock())
            return;
        Port &q = port(number);
        q.deadlineEvent = 0;
        if (q.unit) {
            q.unit->advanceTo(m_clock.now());
            scheduleDeadline(number);
        }
    });
}

void SimulatedLink::deliver(int number, int generation, const UnitSimulator::Reply &reply)
{
    if (m_open && m_commPort == number && (generation < 0 || m_generation == generation)) {
        if (m_settings.baud == reply.settings.baud)
            m_input.append(reply.bytes);
        else
            m_input.append(QByteArray(reply.bytes.size(), '\0'));
    }
    // The last answer is still read before the line goes dead.
    if (reply.thenVanish) {
        std::weak_ptr<bool> alive = m_alive;
        m_clock.scheduleIn(1, [this, alive, number] {
            if (alive.lock())
                vanish(number);
        });
    }
}

void SimulatedLink::vanish(int number)
{
    Port &p = port(number);
    p.kind = PortKind::Missing;
    if (m_open && m_commPort == number) {
        m_open = false;
        m_input.clear();
        record(Event::Kind::Close);
    }
}

void SimulatedLink::injectInput(int number, const QByteArray &bytes, int delayMs)
{
    UnitSimulator::Reply reply;
    reply.bytes = bytes;
    std::weak_ptr<bool> alive = m_alive;
    m_clock.scheduleIn(delayMs, [this, alive, number, reply]() mutable {
        if (!alive.lock())
            return;
        // Noise comes at whatever rate the host listens at, into whatever
        // opening of the port is current.
        reply.settings = m_settings;
        deliver(number, -1, reply);
    });
}

QByteArray SimulatedLink::Input()
{
    QByteArray bytes = std::exchange(m_input, {});
    if (m_open)
        record(Event::Kind::Read, bytes);
    return bytes;
}
