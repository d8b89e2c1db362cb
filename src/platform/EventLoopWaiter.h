#pragma once

#include "Waiter.h"

#include <QObject>

class QEventLoop;

// Waits in a nested event loop, so that the window keeps painting and the
// user can still close the dialog while the protocol waits for the unit.
//
// The time-out is a precise single-shot timer (the protocol's 10 ms waits
// would stretch to 15 or more on a coarse one). A wait for "at least N
// bytes" looks at its condition whenever the event loop has handled events
// and is about to sleep, so it ends as soon as the port's input has been
// read; watch() a link's input signal to have it look at once.
class EventLoopWaiter : public QObject, public Waiter
{
    Q_OBJECT

public:
    explicit EventLoopWaiter(QObject *parent = nullptr);

    // The timer counts whole milliseconds: a wait of a fraction more lasts
    // to the next one (the 81.818 ms break, 82 ms), never less.
    bool wait(std::chrono::microseconds duration, const std::function<bool()> &enough = {}) override;

    // Ends the current wait early when `sender` emits `signal`, provided the
    // wait's condition holds by then.
    template <typename Sender, typename Signal>
    void watch(const Sender *sender, Signal signal)
    {
        connect(sender, signal, this, &EventLoopWaiter::inputMayHaveArrived);
    }

    // Totals over every wait so far, for measurements: what the protocol
    // asked for and what it actually spent waiting.
    std::chrono::milliseconds requestedMs() const { return m_requested; }
    std::chrono::milliseconds waitedMs() const { return m_waited; }

public slots:
    void inputMayHaveArrived();

protected:
    void onAbortRequested() override;

private:
    QEventLoop *m_loop = nullptr;
    const std::function<bool()> *m_enough = nullptr;
    bool m_checking = false;
    std::chrono::milliseconds m_requested{0};
    std::chrono::milliseconds m_waited{0};
};
