#include "sim/SimulatedLink.h"
#include "sim/VirtualWaiter.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QByteArray Probe("\xFFSETVEL", 7);

} // namespace

class TestSimulatedLink : public QObject
{
    Q_OBJECT

private slots:
    void clockRunsEventsInTimeThenSchedulingOrder()
    {
        VirtualClock clock;
        QStringList ran;
        clock.schedule(20, [&] { ran << u"b@%1"_s.arg(clock.now()); });
        clock.schedule(10, [&] {
            ran << u"a@%1"_s.arg(clock.now());
            clock.scheduleIn(10, [&] { ran << u"c@%1"_s.arg(clock.now()); });
        });
        const int cancelled = clock.schedule(15, [&] { ran << u"x"_s; });
        clock.schedule(5, [&] { ran << u"past@%1"_s.arg(clock.now()); });
        clock.cancel(cancelled);
        clock.advanceTo(3);
        QCOMPARE(clock.now(), 3);
        clock.advanceTo(100);
        QCOMPARE(ran, QStringList({u"past@5"_s, u"a@10"_s, u"b@20"_s, u"c@20"_s}));
        QCOMPARE(clock.now(), 100);
        // Scheduling in the past means "now".
        clock.schedule(50, [&] { ran << u"late@%1"_s.arg(clock.now()); });
        QCOMPARE(clock.nextEventTime(), std::optional<qint64>(100));
    }

    void waitsEndOnConditionDeadlineOrAbort_data()
    {
        QTest::addColumn<int>("arrivalMs"); // -1: never
        QTest::addColumn<int>("abortMs");   // -1: never
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("elapsed");
        QTest::addColumn<bool>("early");

        QTest::newRow("time runs out") << -1 << -1 << true << 500 << false;
        QTest::newRow("input in time") << 120 << -1 << true << 120 << true;
        QTest::newRow("input at the deadline") << 500 << -1 << true << 500 << true;
        QTest::newRow("input too late") << 501 << -1 << true << 500 << false;
        QTest::newRow("abort") << -1 << 250 << false << 250 << false;
        QTest::newRow("abort before input") << 300 << 250 << false << 250 << false;
    }

    void waitsEndOnConditionDeadlineOrAbort()
    {
        QFETCH(int, arrivalMs);
        QFETCH(int, abortMs);
        QFETCH(bool, result);
        QFETCH(int, elapsed);
        QFETCH(bool, early);

        VirtualClock clock;
        clock.advanceTo(1000);
        VirtualWaiter waiter(clock);
        bool arrived = false;
        if (arrivalMs >= 0)
            waiter.At(1000 + arrivalMs, [&] { arrived = true; });
        if (abortMs >= 0)
            waiter.At(1000 + abortMs, [&] { waiter.RequestAbort(); });
        QCOMPARE(waiter.Wait(500, [&] { return arrived; }), result);
        QCOMPARE(waiter.waits().size(), std::size_t(1));
        const auto &w = waiter.waits().front();
        QCOMPARE(w.startMs, 1000);
        QCOMPARE(w.requestedMs, 500);
        QCOMPARE(w.elapsedMs, elapsed);
        QCOMPARE(w.endedEarly, early);
        QCOMPARE(w.aborted, !result);
        QCOMPARE(clock.now(), 1000 + elapsed);
    }

    void answersMissTheHostThatMovedOn_data()
    {
        QTest::addColumn<QString>("hostAction"); // what the host does before the answer arrives
        QTest::addColumn<QByteArray>("received");

        const QByteArray answer("\x16\x01\x00\xE8", 4);
        QTest::newRow("stays") << u"stay"_s << answer;
        QTest::newRow("changes parity only") << u"9600,e,8,2"_s << answer;
        QTest::newRow("changes rate") << u"38400,n,8,2"_s << QByteArray(4, '\0');
        QTest::newRow("closes and reopens") << u"reopen"_s << QByteArray();
    }

    void answersMissTheHostThatMovedOn()
    {
        QFETCH(QString, hostAction);
        QFETCH(QByteArray, received);

        VirtualClock clock;
        SimulatedLink link(clock);
        UnitConfig config;
        config.probeDelayMs = 50;
        link.AttachUnit(1, config);
        link.SetCommPort(1);
        link.SetPortOpen(true);
        link.SetSettings(u"9600,n,8,2"_s);
        link.Output(Probe);
        clock.advanceTo(20);
        if (hostAction == u"reopen"_s) {
            link.SetPortOpen(false);
            link.SetPortOpen(true);
        } else if (hostAction != u"stay"_s) {
            link.SetSettings(hostAction);
        }
        clock.advanceTo(100);
        QCOMPARE(link.Input(), received);
    }

    void injectedNoiseArrivesOnTheOpenPort()
    {
        VirtualClock clock;
        SimulatedLink link(clock);
        link.SetPortKind(1, SimulatedLink::PortKind::Empty);
        link.SetCommPort(1);
        link.SetPortOpen(true);
        link.InjectInput(1, "abc", 30);
        clock.advanceTo(29);
        QCOMPARE(link.InBufferCount(), 0);
        clock.advanceTo(30);
        QCOMPARE(link.Input(), QByteArray("abc"));
    }

    void pulsesEndOnTheClockWithoutHostTraffic()
    {
        VirtualClock clock;
        SimulatedLink link(clock);
        UnitConfig config;
        config.image[8] = 0x01;      // output 1 in pulse mode
        config.image[0] = 3;         // for 3 s
        config.image[16] = 1;        // On code "!"
        config.image[17] = '!';
        UnitSimulator &unit = link.AttachUnit(1, config);
        link.SetCommPort(1);
        link.SetPortOpen(true);
        link.SetSettings(u"9600,n,8,1"_s);
        link.Output("!");
        QCOMPARE(unit.outputs(), 0x01);
        link.SetPortOpen(false);
        clock.advanceTo(2999);
        QCOMPARE(unit.outputs(), 0x01);
        clock.advanceTo(3000);
        QCOMPARE(unit.outputs(), 0x00);
    }
};

QTEST_GUILESS_MAIN(TestSimulatedLink)
#include "tst_simulatedlink.moc"
