#pragma once

// The program's serial stack (QSerialPort, waits in the event loop) on the
// pseudo-terminal of a simulated unit, as the pseudo-terminal tests drive it.
#include "EventLoopWaiter.h"
#include "Prompter.h"
#include "PtyUnit.h"
#include "QtSerialLink.h"
#include "VellProtocol.h"
#include "VellTypes.h"

#include <QStringList>

#include <functional>
#include <memory>

namespace ptytest {

using Answer = Prompter::Answer;

// Records what was shown and lets the test decide each answer.
class HookedPrompter : public Prompter
{
public:
    std::function<Answer(const QString &text, const QString &title)> answer;
    QStringList shown;

    Answer show(const QString &text, const QString &title, Icon, Buttons, Answer defaultAnswer) override
    {
        shown << title + QStringLiteral(" | ") + text;
        return answer ? answer(text, title) : defaultAnswer;
    }
};

// Passes everything on to the real link and notes, for every write after
// the unit vanished, whether it still went out.
class WatchedLink : public SerialLink
{
public:
    explicit WatchedLink(SerialLink &link)
        : m_link(link)
    {}

    bool unitGone = false;
    int writesAfterVanishing = 0;
    int writesRefusedAfterVanishing = 0;

    void SetCommPort(int port) override { m_link.SetCommPort(port); }
    int CommPort() const override { return m_link.CommPort(); }
    void SetPortOpen(bool open) override { m_link.SetPortOpen(open); }
    bool PortOpen() const override { return m_link.PortOpen(); }
    void SetSettings(const QString &settings) override { m_link.SetSettings(settings); }
    QString Settings() const override { return m_link.Settings(); }
    QByteArray Input() override { return m_link.Input(); }
    int InBufferCount() override { return m_link.InBufferCount(); }
    QString portName(int port) const override { return m_link.portName(port); }

    void Output(const QByteArray &bytes) override
    {
        try {
            m_link.Output(bytes);
        } catch (const SerialLinkError &) {
            writesRefusedAfterVanishing += unitGone;
            throw;
        }
        writesAfterVanishing += unitGone;
    }

private:
    SerialLink &m_link;
};

// The program's serial stack on the terminal of `unit`.
struct Stack {
    QtSerialLink link;
    EventLoopWaiter waiter;
    HookedPrompter prompter;
    VellTypes types;
    std::unique_ptr<WatchedLink> watched;
    std::unique_ptr<VellProtocol> protocol;
    QStringList progress;

    explicit Stack(const PtyUnit &unit)
        : link(PortSlots(QStringList{unit.slavePath(), QString(), QString(), QString()}))
    {
        waiter.watch(&link, &QtSerialLink::inputArrived);
        watched = std::make_unique<WatchedLink>(link);
        protocol = std::make_unique<VellProtocol>(*watched, waiter, prompter, types);
        protocol->onProgress = [this](const QString &label, int) { progress << label; };
    }

    void useUnit(const PtyUnit &unit)
    {
        link.setPortSlots(PortSlots(QStringList{unit.slavePath(), QString(), QString(), QString()}));
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
