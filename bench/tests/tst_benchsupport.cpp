// The figures the benchmarks print rest on two things of their own: the
// floor worked out from the waits a run made, and the verdicts of the
// tables. Both are checked here on the virtual clock, never on real time.

#include "BenchSupport.h"
#include "Launcher.h"
#include "PtyHosts.h"
#include "VellProtocol.h"
#include "support/VirtualLine.h"

#include <QTemporaryDir>
#include <QTest>

using namespace bench;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A line in virtual time whose waits are noted as the benchmarks note them.
struct Rig : samples::VirtualLine<> {
    RecordingWaiter recorder{waiter, [this] { return clock.now() * 1'000'000; }};
    VellProtocol protocol{link, recorder, prompter, types};
};

} // namespace

class TestBenchSupport : public QObject
{
    Q_OBJECT

private slots:
    void waitsAreSortedByHowTheyEnded_data()
    {
        QTest::addColumn<bool>("withCondition");
        QTest::addColumn<int>("arrivalMs"); // -1: nothing arrives
        QTest::addColumn<int>("abortMs");   // -1: no abort
        QTest::addColumn<bool>("conditionMet");
        QTest::addColumn<double>("elapsedMs");

        QTest::newRow("no condition, input arrives") << false << 20 << -1 << false << 100.0;
        QTest::newRow("condition met early") << true << 20 << -1 << true << 20.0;
        QTest::newRow("condition met at the deadline") << true << 100 << -1 << true << 100.0;
        QTest::newRow("condition never met") << true << -1 << -1 << false << 100.0;
        QTest::newRow("aborted") << false << -1 << 30 << false << 30.0;
    }

    void waitsAreSortedByHowTheyEnded()
    {
        QFETCH(bool, withCondition);
        QFETCH(int, arrivalMs);
        QFETCH(int, abortMs);
        QFETCH(bool, conditionMet);
        QFETCH(double, elapsedMs);

        Rig rig;
        bool arrived = false;
        if (arrivalMs >= 0)
            rig.clock.schedule(arrivalMs, [&] { arrived = true; });
        if (abortMs >= 0)
            rig.clock.schedule(abortMs, [&] { rig.recorder.requestAbort(); });
        const std::function<bool()> enough = [&] { return arrived; };
        QCOMPARE(rig.recorder.wait(100ms, withCondition ? enough : std::function<bool()>()), abortMs < 0);

        QCOMPARE(rig.recorder.records().size(), std::size_t(1));
        const RecordingWaiter::Record &r = rig.recorder.records().front();
        QCOMPARE(r.requestedMs, 100ms);
        QCOMPARE(r.conditional, withCondition);
        QCOMPARE(r.conditionMet, conditionMet);
        QCOMPARE(r.elapsedMs, elapsedMs);
    }

    // The floor worked out from a run's waits must be what the run takes
    // on the virtual clock when the unit answers at once; with a slower
    // unit the difference is exactly the time spent on its answers.
    void floorIsTheVirtualRunsTime_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<int>("answerDelayMs");
        QTest::addColumn<qint64>("floorMs");

        // Reset 200, probe 7 x 10 and its reply wait of 100 (asking for 5
        // bytes, given 4), 32 blocks x 10, restart 10.
        QTest::newRow("programming run") << u"program"_s << 0 << qint64(700);
        QTest::newRow("programming run, slow unit") << u"program"_s << 5 << qint64(700);
        // Reset 200, then 7 x (70 + 100).
        QTest::newRow("port where nothing answers") << u"silent"_s << 0 << qint64(1390);
        // The unit's port: reset, probe, reply wait, restart (380), plus
        // the silent port.
        QTest::newRow("four slots") << u"four"_s << 0 << qint64(1770);
        // Three passes of rejected answers, each followed by the restart
        // without answer: 200 + 3 x 7 x 170 + 3 x (10 + 3000).
        QTest::newRow("rejected answers") << u"rejected"_s << 0 << qint64(12800);
    }

    void floorIsTheVirtualRunsTime()
    {
        QFETCH(QString, scenario);
        QFETCH(int, answerDelayMs);
        QFETCH(qint64, floorMs);

        Rig rig;
        UnitConfig unit = instantUnit();
        unit.probeDelayMs = answerDelayMs;
        unit.ackDelayMs = answerDelayMs;
        unit.badCheckByte = scenario == u"rejected"_s;
        if (scenario == u"silent"_s) {
            rig.link.setPortKind(1, SimulatedLink::PortKind::Empty);
        } else {
            rig.link.attachUnit(1, unit);
            rig.link.setPortKind(2, SimulatedLink::PortKind::Empty);
        }

        if (scenario == u"four"_s) {
            rig.protocol.search_for_vell();
        } else {
            rig.link.SetCommPort(1);
            rig.link.SetPortOpen(true);
            if (scenario == u"program"_s)
                QCOMPARE(rig.protocol.program_unit(), VellProtocol::ProgramResult::Finished);
            else
                QCOMPARE(rig.protocol.Find_vell(true), 0);
        }

        const WaitSummary s = summarize(rig.recorder.records());
        QCOMPARE(s.count(), int(rig.recorder.records().size()));
        QCOMPARE(s.floorMs(), floorMs);
        QCOMPARE(static_cast<double>(rig.clock.now()), static_cast<double>(s.floorMs()) + s.earlySpentMs);
        QCOMPARE(s.spentMs(), static_cast<double>(rig.clock.now()));
        if (answerDelayMs == 0)
            QCOMPARE(s.earlySpentMs, 0.0);
        else
            QVERIFY(s.earlySpentMs > 0);
    }

    void linkCallsAreCountedAlsoWhenTheyFail()
    {
        Rig rig;
        rig.link.setPortKind(1, SimulatedLink::PortKind::Empty);
        TimedLink timed(rig.link);
        timed.SetCommPort(1);
        timed.SetPortOpen(true);
        QVERIFY(timed.PortOpen());
        QVERIFY_THROWS_EXCEPTION(SerialLinkError, timed.SetCommPort(2));
        timed.Output(QByteArray(3, 'x'));
        timed.SetPortOpen(false);
        QList<int> calls; // port number, open, close, write, read
        for (const auto op : {TimedLink::CommPortOp, TimedLink::Open, TimedLink::Close, TimedLink::OutputOp,
                              TimedLink::InputOp})
            calls << timed.tally(op).calls;
        QCOMPARE(calls, (QList<int>{2, 1, 1, 1, 0}));
        QVERIFY(timed.describe().contains(u"port number 2x"_s));
        QVERIFY(!timed.describe().contains(u"read"_s));
        QCOMPARE(rig.link.writtenBytes(), QByteArray(3, 'x'));
    }

    // The start-up figures are only as good as the launcher's account of
    // what the program did: a program that never showed its window, or
    // failed, must not pass as a fast start.
    void launchTellsHowTheProgramEnded_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<bool>("withProbe");
        QTest::addColumn<QString>("failure"); // empty: none

        QTest::newRow("missing program") << u"/nonexistent/tavo-bench"_s << false << u"cannot start"_s;
        QTest::newRow("failing program") << u"/bin/false"_s << false << u"failed"_s;
        QTest::newRow("program that ends") << u"/bin/true"_s << false << QString();
        QTest::newRow("window shown") << QStringLiteral(TAVO_BENCH_WINDOW_BASELINE) << true << QString();
        QTest::newRow("no window ever shown")
            << QStringLiteral(TAVO_BENCH_CORE_BASELINE) << true << u"never showed its main window"_s;
    }

    void launchTellsHowTheProgramEnded()
    {
        QFETCH(QString, program);
        QFETCH(bool, withProbe);
        QFETCH(QString, failure);

        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const Launch l = launch(program, {}, withProbe ? QStringLiteral(TAVO_BENCH_PROBE) : QString(), {},
                                dir.filePath(u"stderr.txt"_s));
        if (!failure.isEmpty()) {
            QVERIFY2(l.failure.contains(failure), qPrintable(l.failure));
            return;
        }
        QVERIFY2(l.failure.isEmpty(), qPrintable(l.failure));
        QVERIFY(l.exitMs > 0);
        QVERIFY(l.maxRssKb > 0);
        if (withProbe) {
            QVERIFY(l.shownMs > 0);
            QVERIFY(l.shownMs <= l.exitMs);
            QVERIFY(l.shownPeakKb > 0);
            QVERIFY(l.shownPeakKb <= l.maxRssKb);
        } else {
            QCOMPARE(l.shownMs, -1.0);
        }
    }

    void median_data()
    {
        QTest::addColumn<std::vector<double>>("values");
        QTest::addColumn<double>("expected");

        QTest::newRow("none") << std::vector<double>{} << 0.0;
        QTest::newRow("one") << std::vector<double>{7} << 7.0;
        QTest::newRow("odd, unsorted") << std::vector<double>{9, 1, 5} << 5.0;
        QTest::newRow("even") << std::vector<double>{4, 1, 3, 10} << 3.5;
    }

    void median()
    {
        QFETCH(std::vector<double>, values);
        QFETCH(double, expected);
        QCOMPARE(bench::median(values), expected);
    }

    void statusField_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<qint64>("expected"); // -1: none

        const QByteArray status =
            "Name:\tserial-tavo\nVmPeak:\t  400000 kB\nVmHWM:\t   31952 kB\nVmRSS:\t 30000 kB\n";
        QTest::newRow("present") << status << qint64(31952);
        QTest::newRow("missing") << QByteArray("VmRSS:\t 30000 kB\n") << qint64(-1);
        QTest::newRow("longer name only") << QByteArray("VmHWMx:\t 5 kB\n") << qint64(-1);
        QTest::newRow("no unit") << QByteArray("VmHWM:\t 5\n") << qint64(-1);
        QTest::newRow("not a number") << QByteArray("VmHWM:\t lots kB\n") << qint64(-1);
        QTest::newRow("last line, no newline") << QByteArray("Name: x\nVmHWM: 12 kB") << qint64(12);
    }

    void statusField()
    {
        QFETCH(QByteArray, text);
        QFETCH(qint64, expected);
        const std::optional<qint64> kb = statusFieldKb(text, "VmHWM");
        QCOMPARE(kb.value_or(-1), expected);
    }

    void verdicts_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<double>("measured");
        QTest::addColumn<double>("reference");
        QTest::addColumn<double>("target");
        QTest::addColumn<int>("verdict");

        using V = ResultTable::Verdict;
        QTest::newRow("ratio at the target") << u"ratio"_s << 630.0 << 600.0 << 1.05 << int(V::Met);
        QTest::newRow("ratio just over") << u"ratio"_s << 630.5 << 600.0 << 1.05 << int(V::Missed);
        QTest::newRow("ratio without target") << u"ratio"_s << 900.0 << 600.0 << 0.0 << int(V::None);
        QTest::newRow("ratio to nothing") << u"ratio"_s << 900.0 << 0.0 << 1.05 << int(V::None);
        QTest::newRow("memory at the limit") << u"memory"_s << 40960.0 << 20480.0 << 20480.0 << int(V::Met);
        QTest::newRow("memory over") << u"memory"_s << 40961.0 << 20480.0 << 20480.0 << int(V::Missed);
        QTest::newRow("memory below baseline") << u"memory"_s << 100.0 << 20480.0 << 20480.0 << int(V::Met);
        QTest::newRow("gap below") << u"below"_s << 19.9 << 0.0 << 20.0 << int(V::Met);
        QTest::newRow("gap at the limit") << u"below"_s << 20.0 << 0.0 << 20.0 << int(V::Missed);
        QTest::newRow("measurement failed") << u"failure"_s << 0.0 << 0.0 << 0.0 << int(V::Failed);
    }

    // Each verdict shows in the table and in its summary; a failed
    // measurement says why on its own line.
    void verdicts()
    {
        QFETCH(QString, kind);
        QFETCH(double, measured);
        QFETCH(double, reference);
        QFETCH(double, target);
        QFETCH(int, verdict);

        ResultTable table(u"t"_s);
        table.addRatio(u"virtual"_s, 1, 1, 0);
        if (kind == u"ratio"_s)
            table.addRatio(u"probe"_s, measured, reference, target);
        else if (kind == u"memory"_s)
            table.addExtraMemory(u"probe"_s, measured, reference, target);
        else if (kind == u"below"_s)
            table.addBelow(u"probe"_s, measured, target);
        else
            table.addFailure(u"probe"_s, u"cannot open /dev/pts/9"_s);
        QCOMPARE(int(table.rows().back().verdict), verdict);
        QCOMPARE(table.anyMissed(), verdict == int(ResultTable::Verdict::Missed));
        QCOMPARE(table.anyFailed(), verdict == int(ResultTable::Verdict::Failed));
        const QString row = table.render().split(u'\n').filter(u"probe"_s).value(0);
        QCOMPARE(row.contains(u"MISSED"_s), table.anyMissed());
        QCOMPARE(row.contains(u"FAILED"_s) && row.contains(u"cannot open /dev/pts/9"_s), table.anyFailed());
    }
};

QTEST_GUILESS_MAIN(TestBenchSupport)
#include "tst_benchsupport.moc"
