#pragma once

#include "LineSettings.h"
#include "UnitClock.h"
#include "UnitSimulator.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <set>

// A simulated unit on its serial line, alive in this thread's event loop:
// whatever comes over the line (from the host's port, or from any other
// sender wired to it) is heard at the setting it was sent at, the unit's
// answers go back to the host's end after their delay, and its pulses end
// on time. The front ends that give the host a port (PtyUnit,
// InProcessLink) and the window that shows the unit all meet here.
class UnitLine : public QObject
{
    Q_OBJECT

public:
    // Gone this long after the last answer before vanishing, so that the
    // host still reads that answer.
    static constexpr int VanishDelayMs = 50;

    // Where the unit's answers go: the host's end of the line.
    using Answer = std::function<void(const QByteArray &bytes, const LineSettings &settings)>;

    // In real time.
    explicit UnitLine(const UnitConfig &config = {}, QObject *parent = nullptr);
    // On `clock` (a VirtualClock in the tests), which must outlive the line.
    UnitLine(const UnitConfig &config, UnitClock &clock, QObject *parent = nullptr);
    ~UnitLine() override;

    UnitSimulator &unit() { return *m_unit; }
    const UnitSimulator &unit() const { return *m_unit; }
    const UnitClock &clock() const { return *m_clock; }

    void setAnswer(Answer answer) { m_answer = std::move(answer); }

    // Bytes on the line at `settings`. An unplugged unit hears nothing.
    void hear(const QByteArray &bytes, const LineSettings &settings);

    // The unit is on the line (its port can be opened).
    bool present() const { return m_plugged; }
    void unplug();
    void plugIn();

signals:
    void heard(const QByteArray &bytes, const QString &settings);
    void switched(const UnitSwitch &change);
    void outputsChanged(quint8 outputs);
    void imageReceived(const QByteArray &image);
    void unplugged();
    void pluggedIn();

private:
    void wire();
    int schedule(qint64 delayMs, std::function<void()> action);
    void unschedule(int id);
    void deliver(const UnitSimulator::Reply &reply);
    void scheduleDeadline();

    std::unique_ptr<UnitClock> m_ownClock;
    UnitClock *m_clock;
    std::unique_ptr<UnitSimulator> m_unit;
    Answer m_answer;
    bool m_plugged = true;
    // Everything this line has put on the clock, so that nothing runs once
    // the line is gone.
    std::set<int> m_scheduled;
    std::optional<int> m_deadline;
};
