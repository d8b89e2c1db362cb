#pragma once

#include "ConfigData.h"
#include "VellProtocol.h"
#include "support/Messages.h"
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

using samples::code;

// An image to download: every byte different from its neighbours.
inline VellProtocol::ConfigImage sampleImage()
{
    VellProtocol::ConfigImage image{};
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<std::uint8_t>(i * 7 + 3);
    return image;
}
