#pragma once

#include "ConfigData.h"
#include "ScriptedPrompter.h"
#include "SimulatedLink.h"
#include "VellTypes.h"
#include "VirtualWaiter.h"

#include <QStringList>

// A serial line in virtual time: four simulated ports (all missing until a
// test puts something there), with every write, wait and message on record.
struct LineBench {
    using Kind = SimulatedLink::Event::Kind;

    VirtualClock clock;
    SimulatedLink link{clock};
    VirtualWaiter waiter{clock};
    ScriptedPrompter prompter;
    VellTypes types;
    ConfigData config;

    int writesOf(const QByteArray &bytes, const QString &settings) const
    {
        int n = 0;
        for (const SimulatedLink::Event &e : link.writes())
            n += e.bytes == bytes && e.settings == settings;
        return n;
    }
    // Events of `kind` later than `afterMs`, on `port` (0: any port).
    int eventsOf(Kind kind, qint64 afterMs = -1, int port = 0) const
    {
        int n = 0;
        for (const SimulatedLink::Event &e : link.events())
            n += e.kind == kind && e.timeMs() > afterMs && (port == 0 || e.port == port);
        return n;
    }
    // "title | text" of every message shown.
    QStringList messages() const
    {
        QStringList out;
        for (const ScriptedPrompter::Shown &s : prompter.shown())
            out << s.title + QStringLiteral(" | ") + s.text;
        return out;
    }
};

// A configured code of the given bytes, all of one type.
inline SerialEditorData code(const QByteArray &bytes,
                             SerialEditorData::Type type = SerialEditorData::Type::Hexadecimal)
{
    SerialEditorData m;
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(bytes.size()));
    for (int i = 0; i < bytes.size(); ++i) {
        m.SetByteValue(i, static_cast<std::uint8_t>(bytes.at(i)));
        m.SetByteType(i, type);
    }
    return m;
}
