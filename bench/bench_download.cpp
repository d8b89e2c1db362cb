// One complete programming run (search without restart, 32 blocks,
// restart) over a pseudo-terminal, against the floor set by the protocol's
// own waits; the same run in virtual time; and how long the event loop
// goes without a turn while a download runs.
//
//   bench_download [--runs N] [--no-child]

#include "BenchSupport.h"
#include "EventLoopWaiter.h"
#include "PtyHosts.h"
#include "QtSerialLink.h"
#include "ScriptedPrompter.h"
#include "SimulatedLink.h"
#include "UnitSimulator.h"
#include "VellProtocol.h"
#include "VellTypes.h"
#include "VirtualClock.h"
#include "VirtualWaiter.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <ctime>
#include <memory>
#include <sys/resource.h>

using namespace bench;

namespace {

constexpr double RatioTarget = 1.05;
constexpr double GapTargetMs = 20;

VellProtocol::ConfigImage benchImage()
{
    // Every byte different from its neighbours, so that a block sent in
    // the wrong place shows up in the comparison afterwards.
    VellProtocol::ConfigImage image{};
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<std::uint8_t>((i * 37 + 11) & 0xFF);
    return image;
}

QByteArray imageBytes(const VellProtocol::ConfigImage &image)
{
    return QByteArray(reinterpret_cast<const char *>(image.data()), static_cast<qsizetype>(image.size()));
}

struct RunResult {
    QString failure; // empty when the run programmed the unit
    double totalMs = 0;
    WaitSummary waits;
    QString linkCalls;
    double maxGapMs = 0;
    double maxCpuMs = 0;
    // Times the system took the CPU away from the program while it wanted
    // to run: each one can stretch a wait or a gap by a time slice.
    long preemptions = 0;
};

// program_unit answers 0 both for a finished run and for a failed download
// (after its message), so the messages tell them apart.
QString outcome(VellProtocol::ProgramResult code, const ScriptedPrompter &prompter)
{
    if (code != VellProtocol::ProgramResult::Finished)
        return QStringLiteral("programming ended with code %1").arg(int(code));
    if (prompter.shown().size() != 1 || prompter.shown().first().title != QStringLiteral("All sent ok")) {
        const QString said =
            prompter.shown().isEmpty()
                ? QStringLiteral("nothing")
                : prompter.shown().first().title + QStringLiteral(": ") + prompter.shown().first().text;
        return QStringLiteral("the run did not finish cleanly (it said %1)").arg(said);
    }
    return {};
}

RunResult virtualRun()
{
    VirtualClock clock;
    SimulatedLink link(clock);
    UnitSimulator &unit = link.attachUnit(1, instantUnit());
    VirtualWaiter virtualWaiter(clock);
    RecordingWaiter waiter(virtualWaiter, [&clock] { return clock.now() * 1'000'000; });
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(link, waiter, prompter, types);
    protocol.setConfigImage(benchImage());
    link.SetCommPort(1);
    link.SetPortOpen(true);

    RunResult result;
    const qint64 start = clock.now();
    const VellProtocol::ProgramResult code = protocol.program_unit();
    result.totalMs = static_cast<double>(clock.now() - start);
    result.waits = summarize(waiter.records());
    result.failure = outcome(code, prompter);
    if (result.failure.isEmpty() && (unit.imagesReceived() != 1 || unit.image() != benchImage()))
        result.failure = QStringLiteral("the simulated unit did not receive the image");
    return result;
}

// Watches the turns of the event loop with a repeating timer: the time
// between two of its timeouts is how long the loop (and with it painting
// and the user's clicks) had to wait. At interval 0 the timer is due at
// every turn and keeps the loop spinning; at 1 ms the loop sleeps between
// turns as it does in use, so the system has no reason to take the CPU
// away from a busy process.
class LoopWatch
{
public:
    explicit LoopWatch(int intervalMs)
    {
        m_timer.setInterval(intervalMs);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { turn(); });
    }

    void start()
    {
        m_maxGapNs = 0;
        m_maxCpuNs = 0;
        m_last = monotonicNs();
        m_lastCpu = threadCpuNs();
        m_timer.start();
    }

    void stop()
    {
        // The stretch after the last turn counts too: it ended the run.
        turn();
        m_timer.stop();
    }

    double maxGapMs() const { return static_cast<double>(m_maxGapNs) / 1e6; }
    // The most processor time this thread used between two turns: the
    // part of a gap that is our own work, whatever the machine's load.
    double maxCpuMs() const { return static_cast<double>(m_maxCpuNs) / 1e6; }

private:
    static qint64 threadCpuNs()
    {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return qint64(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
    }

    void turn()
    {
        const qint64 now = monotonicNs();
        const qint64 cpu = threadCpuNs();
        m_maxGapNs = std::max(m_maxGapNs, now - m_last);
        m_maxCpuNs = std::max(m_maxCpuNs, cpu - m_lastCpu);
        m_last = now;
        m_lastCpu = cpu;
    }

    QTimer m_timer;
    qint64 m_last = 0;
    qint64 m_lastCpu = 0;
    qint64 m_maxGapNs = 0;
    qint64 m_maxCpuNs = 0;
};

long involuntarySwitches()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nivcsw;
}

constexpr int NoWatch = -1;

// `runs` programming runs, one after another on the same open port, as a
// production line programs unit after unit; the event loop watched with a
// timer of `watchIntervalMs` unless NoWatch.
std::vector<RunResult> ptyRuns(UnitHost &host, int runs, int watchIntervalMs)
{
    const bool watchLoop = watchIntervalMs != NoWatch;
    std::vector<RunResult> results;
    QtSerialLink link(PortSlots(QStringList{host.portName()}));
    EventLoopWaiter loopWaiter;
    loopWaiter.watch(&link, &QtSerialLink::inputArrived);
    RecordingWaiter waiter(loopWaiter, monotonicNs);
    TimedLink timedLink(link);
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(timedLink, waiter, prompter, types);
    protocol.setConfigImage(benchImage());
    link.SetCommPort(1);
    link.SetPortOpen(true);
    if (!link.PortOpen()) {
        RunResult failed;
        failed.failure = QStringLiteral("cannot open %1: %2").arg(host.portName(), link.lastError());
        return {failed};
    }

    LoopWatch watch(watchLoop ? watchIntervalMs : 0);
    for (int run = 0; run < runs; ++run) {
        waiter.clear();
        timedLink.clear();
        prompter.clear();
        const int imagesBefore = host.imagesReceived();

        RunResult result;
        if (watchLoop)
            watch.start();
        const long switchesBefore = involuntarySwitches();
        const qint64 start = monotonicNs();
        const VellProtocol::ProgramResult code = protocol.program_unit();
        result.totalMs = static_cast<double>(monotonicNs() - start) / 1e6;
        result.preemptions = involuntarySwitches() - switchesBefore;
        if (watchLoop) {
            watch.stop();
            result.maxGapMs = watch.maxGapMs();
            result.maxCpuMs = watch.maxCpuMs();
        }
        result.waits = summarize(waiter.records());
        result.linkCalls = timedLink.describe();
        result.failure = outcome(code, prompter);
        if (result.failure.isEmpty()
            && (!host.waitForImages(imagesBefore + 1) || host.lastImage() != imageBytes(benchImage())))
            result.failure = QStringLiteral("the unit did not receive the image");
        results.push_back(result);
        if (!result.failure.isEmpty())
            break;
    }
    return results;
}

QString breakdown(const QString &label, const RunResult &r)
{
    const WaitSummary &w = r.waits;
    const double outside = r.totalMs - w.spentMs();
    return QStringLiteral(
               "%1: %2 fixed waits asked %3, took %4 (%5 late, at most %11 each); %6 waits ended "
               "early on the answer "
               "in %7 (%8 each); %9 waits ran out; %10 outside the waits; taken off the CPU %12 times")
        .arg(label)
        .arg(w.fixedCount)
        .arg(formatMs(static_cast<double>(w.fixedAskedMs)), formatMs(w.fixedSpentMs),
             formatMs(w.fixedSpentMs - static_cast<double>(w.fixedAskedMs)))
        .arg(w.earlyCount)
        .arg(formatMs(w.earlySpentMs), formatMs(w.earlyCount ? w.earlySpentMs / w.earlyCount : 0.0))
        .arg(w.ranOutCount)
        .arg(formatMs(outside), formatMs(w.maxLateMs))
        .arg(r.preemptions);
}

std::unique_ptr<UnitHost> makeHost(bool child, QString *error)
{
    std::unique_ptr<UnitHost> host;
    if (child)
        host = std::make_unique<ChildUnit>(QCoreApplication::applicationDirPath()
                                           + QStringLiteral("/bench_unit"));
    else
        host = std::make_unique<InProcessUnit>();
    if (!host->start(error))
        return nullptr;
    return host;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const int runs = runsOption(args, 5);
    const bool withChild = !hasOption(args, QStringLiteral("--no-child"));

    ResultTable download(
        QStringLiteral(
            "Download: one programming run (search without restart, 32 blocks, restart), median of %1")
            .arg(runs));
    ResultTable loop(
        QStringLiteral("Responsiveness: longest gap between two turns of the event loop during a "
                       "programming run, worst of %1")
            .arg(runs),
        QStringLiteral("-"));

    const RunResult simulated = virtualRun();
    if (!simulated.failure.isEmpty())
        download.addFailure(QStringLiteral("virtual time"), simulated.failure);
    else
        download.addRatio(QStringLiteral("virtual time (SimulatedLink + VirtualWaiter)"), simulated.totalMs,
                          static_cast<double>(simulated.waits.floorMs()), 0);

    struct Mode {
        bool child;
        QString label;
    };
    std::vector<Mode> modes{{false, QStringLiteral("pty, unit in this process")}};
    if (withChild)
        modes.push_back({true, QStringLiteral("pty, unit in a child process")});

    QStringList breakdowns;
    for (const Mode &mode : modes) {
        QString error;
        const std::unique_ptr<UnitHost> host = makeHost(mode.child, &error);
        if (!host) {
            download.addFailure(mode.label, error);
            loop.addFailure(mode.label, error);
            continue;
        }
        const std::vector<RunResult> timed = ptyRuns(*host, runs, NoWatch);
        if (const QString why = firstFailure(timed); !why.isEmpty()) {
            download.addFailure(mode.label, why);
        } else {
            const RunResult &mid = medianRun(timed);
            download.addRatio(mode.label, mid.totalMs, static_cast<double>(mid.waits.floorMs()), RatioTarget);
            breakdowns.append(breakdown(mode.label, mid));
            breakdowns.append(QStringLiteral("  link calls: ") + mid.linkCalls);
            if (mid.waits.floorMs() != simulated.waits.floorMs())
                breakdowns.append(QStringLiteral("  (this floor differs from the virtual run's: the pty run "
                                                 "needed other waits, look for retries)"));
        }

        // Further series with the loop watched: the watching timer itself
        // changes how the loop runs, which must not colour the timings
        // above.
        for (const int interval : {0, 1}) {
            const QString label =
                mode.label
                + (interval == 0 ? QStringLiteral(", zero-interval timer") : QStringLiteral(", 1 ms timer"));
            const std::vector<RunResult> watched = ptyRuns(*host, runs, interval);
            if (const QString why = firstFailure(watched); !why.isEmpty()) {
                loop.addFailure(label, why);
                continue;
            }
            std::vector<double> gaps;
            std::vector<double> preemptions;
            double maxCpu = 0;
            for (const RunResult &r : watched) {
                gaps.push_back(r.maxGapMs);
                preemptions.push_back(static_cast<double>(r.preemptions));
                maxCpu = std::max(maxCpu, r.maxCpuMs);
            }
            loop.addBelow(label, *std::max_element(gaps.begin(), gaps.end()), GapTargetMs);
            loop.addNote(
                QStringLiteral("%1: median of the runs' longest gaps %2; most processor time used between "
                               "two turns %3; taken off the CPU %4 times a run")
                    .arg(label, formatMs(median(gaps)), formatMs(maxCpu))
                    .arg(median(preemptions)));
        }
    }

    const WaitSummary &w = simulated.waits;
    download.addNote(
        QStringLiteral("floor: the waits without a condition, at their full length (%1 of them, %2: "
                       "line reset 200 ms, 7 probe gaps, 32 block gaps and 1 restart gap of 10 ms), plus "
                       "the waits whose condition never held (%3 of them, %4: the probe's reply wait ends "
                       "early only at 5 bytes, and the unit answers with 4). The unit answers at once, so "
                       "the waits that end on its answers add nothing; the virtual-time run takes exactly "
                       "the floor.")
            .arg(w.fixedCount)
            .arg(formatMs(static_cast<double>(w.fixedAskedMs)))
            .arg(w.ranOutCount)
            .arg(formatMs(static_cast<double>(w.ranOutAskedMs))));
    for (const QString &line : breakdowns)
        download.addNote(line);
    download.addNote(
        QStringLiteral("host: QtSerialLink + EventLoopWaiter; unit: PtyUnit answering at once, on this "
                       "thread's event loop or in a child process (bench_unit)"));
    loop.addNote(
        QStringLiteral("a repeating QTimer notes the time since its last timeout; at interval 0 it is due at "
                       "every turn and keeps the loop spinning, at 1 ms the loop sleeps between turns"));

    return printAndExitCode({download, loop});
}
