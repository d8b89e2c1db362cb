// The virtual time every serial test runs on: events in order, waits that
// end on their condition, their deadline or the abort flag.
#include "VirtualWaiter.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestVirtualTime : public QObject
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
        clock.advanceTo(100);
        QCOMPARE(ran, QStringList({u"past@5"_s, u"a@10"_s, u"b@20"_s, u"c@20"_s}));
        // Scheduling in the past means "now".
        clock.schedule(50, [] {});
        QCOMPARE(clock.nextEventTime(), std::optional<VirtualClock::Time>(100ms));
    }

    void waitsEndOnConditionDeadlineOrAbort_data()
    {
        QTest::addColumn<int>("arrivalMs"); // -1: never
        QTest::addColumn<int>("abortMs");   // -1: never; 0: before the wait
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("elapsed");
        QTest::addColumn<bool>("early");

        QTest::newRow("time runs out") << -1 << -1 << true << 500 << false;
        QTest::newRow("input in time") << 120 << -1 << true << 120 << true;
        QTest::newRow("input at the deadline") << 500 << -1 << true << 500 << true;
        QTest::newRow("input too late") << 501 << -1 << true << 500 << false;
        QTest::newRow("abort") << -1 << 250 << false << 250 << false;
        QTest::newRow("abort before input") << 300 << 250 << false << 250 << false;
        QTest::newRow("aborted before the wait") << 100 << 0 << false << 0 << false;
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
            waiter.at(1000 + arrivalMs, [&] { arrived = true; });
        if (abortMs == 0)
            waiter.requestAbort();
        else if (abortMs > 0)
            waiter.at(1000 + abortMs, [&] { waiter.requestAbort(); });
        QCOMPARE(waiter.wait(500ms, [&] { return arrived; }), result);
        const auto &w = waiter.waits().front();
        QCOMPARE(w.start, 1000ms);
        QCOMPARE(w.elapsed, std::chrono::milliseconds(elapsed));
        QCOMPARE(w.endedEarly, early);
        QCOMPARE(w.aborted, !result);
        QCOMPARE(clock.now(), 1000 + elapsed);
    }
};

QTEST_GUILESS_MAIN(TestVirtualTime)
#include "tst_virtualtime.moc"
