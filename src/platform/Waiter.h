#pragma once

#include <chrono>
#include <functional>

// The waits of the serial protocol: "wait up to N ms, or until enough bytes
// have arrived, or until the user gives up".
//
// Durations are in microseconds: most waits are whole milliseconds, but the
// break that stands in for the line reset lasts as long as nine bits at
// 110 baud, 81.818 ms, and the virtual clock of the tests keeps it exact.
//
// The program waits in a nested event loop so that the window stays
// responsive; the tests advance a virtual clock instead, so that a search
// with three-second restart waits runs in microseconds.
class Waiter
{
public:
    virtual ~Waiter() = default;

    // Returns after `duration`, or as soon as `enough` (checked at the start
    // and whenever input may have arrived) returns true, or at once when an
    // abort has been requested. Returns false only when aborted.
    virtual bool wait(std::chrono::microseconds duration, const std::function<bool()> &enough = {}) = 0;

    // The form-level abort flag: once set, every wait returns at once. It
    // is usually set from a slot that runs inside a wait (the dialog being
    // closed), so a waiter gets the chance to end the wait in progress.
    void requestAbort()
    {
        m_abortRequested = true;
        onAbortRequested();
    }
    void clearAbort() { m_abortRequested = false; }
    bool AbortRequested() const { return m_abortRequested; }

protected:
    virtual void onAbortRequested() {}

private:
    bool m_abortRequested = false;
};
