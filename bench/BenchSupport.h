#pragma once

#include "SerialLink.h"
#include "Waiter.h"

#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <vector>

// What the benchmark programs share: a waiter that notes every wait the
// protocol makes, the floor worked out from those notes, medians, memory
// figures from /proc and the result tables they print.
namespace bench {

// Passes every wait on to another waiter and notes what it asked for, how
// long it really took and whether it ended because its condition held.
// The clock is a parameter so that the same notes come out of a run on the
// virtual clock (where they give the floor exactly) and of a real one.
class RecordingWaiter : public Waiter
{
public:
    struct Record {
        std::chrono::milliseconds requestedMs{0};
        // A wait for "enough bytes", which can end before its time.
        bool conditional = false;
        // Its condition held at some check, so it ended early.
        bool conditionMet = false;
        // Measured on the clock of the run.
        double elapsedMs = 0;
    };

    // `nowNs` reads the clock the waits run on, in nanoseconds.
    RecordingWaiter(Waiter &inner, std::function<qint64()> nowNs);

    bool wait(std::chrono::microseconds duration, const std::function<bool()> &enough = {}) override;

    const std::vector<Record> &records() const { return m_records; }
    void clear() { m_records.clear(); }

protected:
    void onAbortRequested() override { m_inner.requestAbort(); }

private:
    Waiter &m_inner;
    std::function<qint64()> m_nowNs;
    std::vector<Record> m_records;
};

// The waits of one run, in three kinds:
//  - fixed: no condition, they can only run their full length (the gaps
//    between bytes, the line reset, the restart's boot time);
//  - ran out: a condition that never held, so they too ran their full
//    length (the reply wait on a port where nothing answers);
//  - ended early: the condition held, the unit answered.
// The floor of a run is what the first two kinds asked for: the time an
// ideal host with exact timers would need against a unit that answers in
// no time at all. Everything above it is overhead of ours or of the line.
struct WaitSummary {
    int fixedCount = 0;
    qint64 fixedAskedMs = 0;
    double fixedSpentMs = 0;
    // The latest any wait of the first two kinds ended after its time.
    double maxLateMs = 0;
    int ranOutCount = 0;
    qint64 ranOutAskedMs = 0;
    double ranOutSpentMs = 0;
    int earlyCount = 0;
    qint64 earlyAskedMs = 0;
    double earlySpentMs = 0;

    qint64 floorMs() const { return fixedAskedMs + ranOutAskedMs; }
    double spentMs() const { return fixedSpentMs + ranOutSpentMs + earlySpentMs; }
    int count() const { return fixedCount + ranOutCount + earlyCount; }
};

WaitSummary summarize(const std::vector<RecordingWaiter::Record> &records);

// Passes every call on to another link and notes how often each kind of
// call was made and how long it took, to show where the time outside the
// waits goes (opening a port, asking the system for its description...).
class TimedLink : public SerialLink
{
public:
    enum Op { CommPortOp, Open, Close, SettingsOp, OutputOp, InputOp, Count, Name, Description, OpCount };
    struct Tally {
        int calls = 0;
        qint64 ns = 0;
    };

    explicit TimedLink(SerialLink &inner)
        : m_inner(inner)
    {}

    void SetCommPort(int port) override;
    int CommPort() const override { return m_inner.CommPort(); }
    void SetPortOpen(bool open) override;
    bool PortOpen() const override { return m_inner.PortOpen(); }
    void SetSettings(const QString &settings) override;
    QString Settings() const override { return m_inner.Settings(); }
    void setBreakEnabled(bool on) override { m_inner.setBreakEnabled(on); }
    void Output(const QByteArray &bytes) override;
    QByteArray Input() override;
    int InBufferCount() override;
    QString portName(int port) const override;
    QString portDescription(int port) const override;

    const Tally &tally(Op op) const { return m_tallies[static_cast<std::size_t>(op)]; }
    void clear() { m_tallies = {}; }
    // "open 4x 3.10 ms, description 4x 80.2 ms, ..." for the calls made,
    // costliest first.
    QString describe() const;

private:
    template <typename F>
    auto timed(Op op, F &&call) const;

    SerialLink &m_inner;
    mutable std::array<Tally, OpCount> m_tallies{};
};

// The middle value (the mean of the two middle ones for an even count);
// 0 for none.
double median(std::vector<double> values);

// The first failure among repeated runs (each with a `failure` text), or
// "no run" when there were none; empty when every run succeeded.
template <typename Run>
QString firstFailure(const std::vector<Run> &results)
{
    for (const Run &r : results) {
        if (!r.failure.isEmpty())
            return r.failure;
    }
    return results.empty() ? QStringLiteral("no run") : QString();
}

// The run with the median `totalMs`, so that a breakdown printed beside the
// median figure belongs to it. `results` must not be empty.
template <typename Run>
const Run &medianRun(const std::vector<Run> &results)
{
    std::vector<const Run *> sorted;
    sorted.reserve(results.size());
    for (const Run &r : results)
        sorted.push_back(&r);
    std::sort(sorted.begin(), sorted.end(),
              [](const Run *a, const Run *b) { return a->totalMs < b->totalMs; });
    return *sorted[(sorted.size() - 1) / 2];
}

// A "Name:   1234 kB" field of a /proc/<pid>/status text, in kB.
std::optional<qint64> statusFieldKb(const QByteArray &statusText, const char *field);
// The peak resident memory of this process so far (VmHWM), in kB.
std::optional<qint64> ownPeakMemoryKb();

// A nanosecond reading of the system's monotonic clock, comparable
// between processes (what QElapsedTimer and steady_clock use on Linux).
qint64 monotonicNs();

QString formatMs(double ms);
QString formatMb(double kb);

// One printed table: each row a measured value beside its floor (or
// baseline), the ratio or difference between them, and the target.
class ResultTable
{
public:
    enum class Verdict { None, Met, Missed, Failed };

    explicit ResultTable(QString title, QString referenceHeader = QStringLiteral("floor"));

    // measured / reference, met when at most `maxRatio` (no target when 0).
    void addRatio(const QString &measure, double measuredMs, double referenceMs, double maxRatio);
    // measured - reference, met when at most `maxExtraKb` (memory).
    void addExtraMemory(const QString &measure, double measuredKb, double referenceKb, double maxExtraKb);
    // measured alone, met when below `limitMs` (no target when 0).
    void addBelow(const QString &measure, double measuredMs, double limitMs);
    // A measurement that could not be made, and why.
    void addFailure(const QString &measure, const QString &why);
    void addNote(const QString &note) { m_notes.append(note); }

    QString render() const;
    bool anyMissed() const;
    bool anyFailed() const;

    struct Row {
        QString measure;
        QString measured;
        QString reference;
        QString comparison;
        QString target;
        Verdict verdict = Verdict::None;
    };
    const std::vector<Row> &rows() const { return m_rows; }

private:
    QString m_title;
    QString m_referenceHeader;
    std::vector<Row> m_rows;
    QStringList m_notes;
};

// --runs N from the command line, `fallback` when absent or not a number
// of at least 1.
int runsOption(const QStringList &arguments, int fallback);
bool hasOption(const QStringList &arguments, const QString &name);
// The value after `name` ("--tavo PATH"), empty when absent.
QString optionValue(const QStringList &arguments, const QString &name);

// Prints the table to stdout and returns the program's exit code:
// 2 when a measurement failed, 1 when a target was missed, else 0.
int printAndExitCode(const std::vector<ResultTable> &tables);

} // namespace bench
