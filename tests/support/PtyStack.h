#pragma once

// The program's serial stack (QSerialPort, waits in the event loop) on the
// pseudo-terminal of a simulated unit, as the pseudo-terminal tests drive it.
#include "EventLoopWaiter.h"
#include "PtyUnit.h"
#include "QtSerialLink.h"
#include "VellProtocol.h"
#include "VellTypes.h"
#include "support/VirtualLine.h"

#include <QStringList>

// Starts the simulated unit `unit`, or skips the test where the system has
// no pseudo-terminals.
#define PTY_START_OR_SKIP(unit)                                                                              \
    do {                                                                                                     \
        if (QString error; !(unit).start(&error))                                                            \
            QSKIP(qPrintable(QStringLiteral("no pseudo-terminal: ") + error));                               \
    } while (false)

namespace ptytest {

// The real link, noting for every write after the unit vanished whether
// it still went out.
class WatchedLink : public QtSerialLink
{
public:
    using QtSerialLink::QtSerialLink;

    bool unitGone = false;
    int writesAfterVanishing = 0;
    int writesRefusedAfterVanishing = 0;

    void Output(const QByteArray &bytes) override
    {
        try {
            QtSerialLink::Output(bytes);
        } catch (const SerialLinkError &) {
            writesRefusedAfterVanishing += unitGone;
            throw;
        }
        writesAfterVanishing += unitGone;
    }
};

inline PortSlots slotsFor(const PtyUnit &unit)
{
    return PortSlots(QStringList{unit.slavePath(), QString(), QString(), QString()});
}

// The program's serial stack on the terminal of `unit`, in port slot 1.
struct Stack {
    WatchedLink link;
    EventLoopWaiter waiter;
    ScriptedPrompter prompter;
    VellTypes types;
    VellProtocol protocol{link, waiter, prompter, types};
    QStringList progress;

    QStringList messages() const { return samples::shownMessages(prompter); }

    explicit Stack(const PtyUnit &unit)
        : link(slotsFor(unit))
    {
        waiter.watch(&link, &QtSerialLink::inputArrived);
        protocol.onProgress = [this](const QString &label, int) { progress << label; };
    }
};

inline VellProtocol::ConfigImage imageFor(int run)
{
    VellProtocol::ConfigImage image{};
    for (int i = 0; i < VellProtocol::ImageSize; ++i)
        image[std::size_t(i)] = std::uint8_t((run * 31 + i * 7) & 0xFF);
    // The unit's own line stays 9600, no parity, so that none of the
    // programming traffic can be taken for one of its codes.
    image[9] = 2;
    image[10] = 0;
    return image;
}

inline QByteArray bytesOf(const VellProtocol::ConfigImage &image)
{
    return QByteArray(reinterpret_cast<const char *>(image.data()), VellProtocol::ImageSize);
}

} // namespace ptytest
