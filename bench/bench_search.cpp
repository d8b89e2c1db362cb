// The search for units: a port that opens but where nothing answers (the
// slowest single port that is not answered with rubbish), and the whole
// search of the four slots, each against the floor set by the protocol's
// own waits and beside the same search in virtual time.
//
//   bench_search [--runs N] [--no-child]

#include "BenchSupport.h"
#include "EventLoopWaiter.h"
#include "PtyHosts.h"
#include "QtSerialLink.h"
#include "ScriptedPrompter.h"
#include "SimulatedLink.h"
#include "VellProtocol.h"
#include "VellTypes.h"
#include "VirtualClock.h"
#include "VirtualWaiter.h"

#include <QCoreApplication>

#include <algorithm>
#include <memory>

using namespace bench;

namespace {

constexpr double RatioTarget = 1.05;
// A slot whose port name names nothing on this machine.
const QString MissingPort = QStringLiteral("/dev/tavo-bench-no-such-port");

struct RunResult {
    QString failure;
    double totalMs = 0;
    WaitSummary waits;
    QString linkCalls;
    QStringList slotTexts;
};

QStringList slotTexts(const VellProtocol &protocol)
{
    QStringList texts;
    for (const SearchSlot &s : protocol.searchSlots())
        texts.append(s.textVisible ? s.text : QStringLiteral("(hidden)"));
    return texts;
}

// The search as the programming dialog runs it (with restarts), on a port
// where nothing is attached.
RunResult virtualSilentPort()
{
    VirtualClock clock;
    SimulatedLink link(clock);
    link.setPortKind(1, SimulatedLink::PortKind::Empty);
    VirtualWaiter virtualWaiter(clock);
    RecordingWaiter waiter(virtualWaiter, [&clock] { return clock.now() * 1'000'000; });
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(link, waiter, prompter, types);
    link.SetCommPort(1);
    link.SetPortOpen(true);

    RunResult result;
    const qint64 start = clock.now();
    if (protocol.Find_vell(true) != 0)
        result.failure = QStringLiteral("something answered on an empty port");
    result.totalMs = static_cast<double>(clock.now() - start);
    result.waits = summarize(waiter.records());
    return result;
}

std::vector<RunResult> ptySilentPort(int runs)
{
    SilentPty pty;
    QString error;
    if (!pty.start(&error))
        return {RunResult{error, 0, {}, {}, {}}};

    QtSerialLink link(PortSlots(QStringList{pty.portName()}));
    EventLoopWaiter loopWaiter;
    loopWaiter.watch(&link, &QtSerialLink::inputArrived);
    RecordingWaiter waiter(loopWaiter, monotonicNs);
    TimedLink timedLink(link);
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(timedLink, waiter, prompter, types);

    std::vector<RunResult> results;
    for (int run = 0; run < runs; ++run) {
        RunResult result;
        link.SetCommPort(1);
        link.SetPortOpen(true);
        if (!link.PortOpen()) {
            result.failure = QStringLiteral("cannot open %1: %2").arg(pty.portName(), link.lastError());
            results.push_back(result);
            break;
        }
        waiter.clear();
        timedLink.clear();
        const qint64 start = monotonicNs();
        if (protocol.Find_vell(true) != 0)
            result.failure = QStringLiteral("something answered on a silent terminal");
        result.totalMs = static_cast<double>(monotonicNs() - start) / 1e6;
        result.waits = summarize(waiter.records());
        result.linkCalls = timedLink.describe();
        link.SetPortOpen(false);
        pty.drain();
        results.push_back(result);
    }
    return results;
}

// Slot 1: a unit; slot 2: a port where nothing answers; slot 3: no port
// named; slot 4: a name that opens nothing.
RunResult virtualFourSlots()
{
    VirtualClock clock;
    SimulatedLink link(clock);
    link.attachUnit(1, instantUnit());
    link.setPortKind(2, SimulatedLink::PortKind::Empty);
    link.setPortKind(3, SimulatedLink::PortKind::Missing);
    link.setPortKind(4, SimulatedLink::PortKind::Missing);
    VirtualWaiter virtualWaiter(clock);
    RecordingWaiter waiter(virtualWaiter, [&clock] { return clock.now() * 1'000'000; });
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(link, waiter, prompter, types);

    RunResult result;
    const qint64 start = clock.now();
    protocol.search_for_vell();
    result.totalMs = static_cast<double>(clock.now() - start);
    result.waits = summarize(waiter.records());
    result.slotTexts = slotTexts(protocol);
    return result;
}

std::vector<RunResult> ptyFourSlots(UnitHost &unit, int runs, const QStringList &expectedTexts)
{
    SilentPty silent;
    QString error;
    if (!silent.start(&error))
        return {RunResult{error, 0, {}, {}, {}}};

    const PortSlots ports(QStringList{unit.portName(), silent.portName(), QString(), MissingPort});
    const VellTypes types;
    std::vector<RunResult> results;
    for (int run = 0; run < runs; ++run) {
        // A new link for every search, as a newly opened dialog has: what
        // a link learns once about the system's ports is part of the cost.
        QtSerialLink link(ports);
        EventLoopWaiter loopWaiter;
        loopWaiter.watch(&link, &QtSerialLink::inputArrived);
        RecordingWaiter waiter(loopWaiter, monotonicNs);
        TimedLink timedLink(link);
        ScriptedPrompter prompter;
        VellProtocol protocol(timedLink, waiter, prompter, types);

        RunResult result;
        const qint64 start = monotonicNs();
        protocol.search_for_vell();
        result.totalMs = static_cast<double>(monotonicNs() - start) / 1e6;
        result.waits = summarize(waiter.records());
        result.linkCalls = timedLink.describe();
        result.slotTexts = slotTexts(protocol);
        // The real ports must come out exactly as the simulated ones do,
        // or the time measured belongs to some other search.
        if (result.slotTexts != expectedTexts)
            result.failure = QStringLiteral("slots read \"%1\", expected \"%2\"")
                                 .arg(result.slotTexts.join(QStringLiteral("\", \"")),
                                      expectedTexts.join(QStringLiteral("\", \"")));
        silent.drain();
        results.push_back(result);
        if (!result.failure.isEmpty())
            break;
    }
    return results;
}

QString breakdown(const QString &label, const RunResult &r)
{
    const WaitSummary &w = r.waits;
    return QStringLiteral(
               "%1: waits without condition %2 (asked %3, %4 late), ran out %5 (asked %6, %7 late), "
               "ended early %8 (in %9); %10 outside the waits; the latest wait ended %11 late")
        .arg(label)
        .arg(w.fixedCount)
        .arg(formatMs(static_cast<double>(w.fixedAskedMs)),
             formatMs(w.fixedSpentMs - static_cast<double>(w.fixedAskedMs)))
        .arg(w.ranOutCount)
        .arg(formatMs(static_cast<double>(w.ranOutAskedMs)),
             formatMs(w.ranOutSpentMs - static_cast<double>(w.ranOutAskedMs)))
        .arg(w.earlyCount)
        .arg(formatMs(w.earlySpentMs), formatMs(r.totalMs - w.spentMs()), formatMs(w.maxLateMs));
}

void addRuns(ResultTable &table, QStringList &notes, const QString &label, const std::vector<RunResult> &runs,
             const RunResult &simulated)
{
    if (const QString why = firstFailure(runs); !why.isEmpty()) {
        table.addFailure(label, why);
        return;
    }
    const RunResult &mid = medianRun(runs);
    table.addRatio(label, mid.totalMs, static_cast<double>(mid.waits.floorMs()), RatioTarget);
    notes.append(breakdown(label, mid));
    notes.append(QStringLiteral("  link calls: ") + mid.linkCalls);
    if (mid.waits.floorMs() != simulated.waits.floorMs())
        notes.append(
            QStringLiteral("  (this floor differs from the virtual search's: other waits were made)"));
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    const int runs = runsOption(args, 5);
    const bool withChild = !hasOption(args, QStringLiteral("--no-child"));

    ResultTable silent(
        QStringLiteral(
            "Search: a port that opens but where nothing answers (Find_vell with restart), median of %1")
            .arg(runs));
    QStringList silentNotes;
    const RunResult simulatedSilent = virtualSilentPort();
    if (!simulatedSilent.failure.isEmpty())
        silent.addFailure(QStringLiteral("virtual time"), simulatedSilent.failure);
    else
        silent.addRatio(QStringLiteral("virtual time (empty simulated port)"), simulatedSilent.totalMs,
                        static_cast<double>(simulatedSilent.waits.floorMs()), 0);
    addRuns(silent, silentNotes, QStringLiteral("pty with nothing behind it"), ptySilentPort(runs),
            simulatedSilent);
    silent.addNote(
        QStringLiteral("floor: line reset (200 ms) plus, at each of the 7 settings, the probe's 7 gaps of "
                       "10 ms and the reply wait of 100 ms, which runs out: %1 waits, %2")
            .arg(simulatedSilent.waits.count())
            .arg(formatMs(static_cast<double>(simulatedSilent.waits.floorMs()))));
    for (const QString &n : silentNotes)
        silent.addNote(n);

    ResultTable four(
        QStringLiteral("Search: all four slots (a unit, a port where nothing answers, a slot without "
                       "a port, a port that cannot be opened), median of %1")
            .arg(runs));
    QStringList fourNotes;
    const RunResult simulatedFour = virtualFourSlots();
    four.addRatio(QStringLiteral("virtual time (SimulatedLink + VirtualWaiter)"), simulatedFour.totalMs,
                  static_cast<double>(simulatedFour.waits.floorMs()), 0);

    struct Mode {
        bool child;
        QString label;
    };
    std::vector<Mode> modes{{false, QStringLiteral("pty, unit in this process")}};
    if (withChild)
        modes.push_back({true, QStringLiteral("pty, unit in a child process")});
    for (const Mode &mode : modes) {
        std::unique_ptr<UnitHost> unit;
        if (mode.child)
            unit = std::make_unique<ChildUnit>(QCoreApplication::applicationDirPath()
                                               + QStringLiteral("/bench_unit"));
        else
            unit = std::make_unique<InProcessUnit>();
        QString error;
        if (!unit->start(&error)) {
            four.addFailure(mode.label, error);
            continue;
        }
        addRuns(four, fourNotes, mode.label, ptyFourSlots(*unit, runs, simulatedFour.slotTexts),
                simulatedFour);
    }
    const WaitSummary &w = simulatedFour.waits;
    four.addNote(
        QStringLiteral(
            "floor: the unit's port (line reset, probe and reply wait at the first setting, "
            "restart) plus the silent port as above; the slots without a port cost no wait. %1 waits without "
            "condition (%2), %3 that ran out (%4), %5 that end on the unit's answer")
            .arg(w.fixedCount)
            .arg(formatMs(static_cast<double>(w.fixedAskedMs)))
            .arg(w.ranOutCount)
            .arg(formatMs(static_cast<double>(w.ranOutAskedMs)))
            .arg(w.earlyCount));
    four.addNote(
        QStringLiteral("slots found: \"%1\"").arg(simulatedFour.slotTexts.join(QStringLiteral("\", \""))));
    for (const QString &n : fourNotes)
        four.addNote(n);

    return printAndExitCode({silent, four});
}
