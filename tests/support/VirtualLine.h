#pragma once

#include "ScriptedPrompter.h"
#include "SimulatedLink.h"
#include "VellTypes.h"
#include "VirtualWaiter.h"

#include <QStringList>

namespace samples {

// "title | text" of every message shown.
inline QStringList shownMessages(const ScriptedPrompter &prompter)
{
    QStringList out;
    for (const ScriptedPrompter::Shown &s : prompter.shown())
        out << s.title + QStringLiteral(" | ") + s.text;
    return out;
}

// A serial line in virtual time: four simulated ports (all missing until a
// test puts something there), with every write, wait and message on
// record. `Link` may be a SimulatedLink that misbehaves in its own way.
template <typename Link = SimulatedLink>
struct VirtualLine {
    VirtualClock clock;
    Link link{clock};
    VirtualWaiter waiter{clock};
    ScriptedPrompter prompter;
    VellTypes types;

    // Writes of exactly `bytes` at `settings`, on `port` (0: any port).
    int writesOf(const QByteArray &bytes, const QString &settings, int port = 0) const
    {
        int n = 0;
        for (const SimulatedLink::Event &e : link.writes())
            n += e.bytes == bytes && e.settings == settings && (port == 0 || e.port == port);
        return n;
    }

    QStringList messages() const { return shownMessages(prompter); }
};

} // namespace samples
