#pragma once

#include "ConfigData.h"
#include "support/VirtualLine.h"

// The shared virtual line, with a configuration to program and a count of
// events by kind.
struct LineBench : samples::VirtualLine<> {
    using Kind = SimulatedLink::Event::Kind;

    ConfigData config;

    // Events of `kind` later than `afterMs`, on `port` (0: any port).
    int eventsOf(Kind kind, qint64 afterMs = -1, int port = 0) const
    {
        int n = 0;
        for (const SimulatedLink::Event &e : link.events())
            n += e.kind == kind && e.timeMs() > afterMs && (port == 0 || e.port == port);
        return n;
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
