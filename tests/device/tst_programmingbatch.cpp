// Several units programmed at once, each port in a thread of its own: on
// virtual clocks, one per port, so that each wire can be compared with a
// run of one unit alone.

#include "LineBench.h"
#include "ProgrammingBatch.h"

#include <QMutex>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// One port: a unit on a clock of its own.
struct SimLine : BatchLine {
    VirtualClock clock;
    SimulatedLink simulated{clock};
    VirtualWaiter virtualWaiter{clock};

    explicit SimLine(const UnitConfig &unit) { simulated.attachUnit(1, unit); }
    SerialLink &link() override { return simulated; }
    Waiter &waiter() override { return virtualWaiter; }

    // Every write with its time and setting, the way the wire saw it.
    QStringList trace() const
    {
        QStringList lines;
        for (const SimulatedLink::Event &e : simulated.writes())
            lines << u"%1 %2 %3"_s.arg(e.time.count()).arg(e.settings, QString::fromLatin1(e.bytes.toHex()));
        return lines;
    }
};

// The factory the batch calls in each worker's thread; it keeps the lines
// so that the test can look at them afterwards.
struct Lines {
    QMutex mutex;
    QHash<QString, std::shared_ptr<SimLine>> byPort;
    std::function<void(SimLine &)> prepare = [](SimLine &) {};

    BatchLineFactory factory(const QHash<QString, UnitConfig> &units)
    {
        return [this, units](const QString &port) {
            auto line = std::make_shared<SimLine>(units.value(port));
            prepare(*line);
            const QMutexLocker lock(&mutex);
            byPort.insert(port, line);
            return line;
        };
    }
};

// The same run with one unit, in this thread: what each wire must show.
QStringList aloneTrace(const UnitConfig &unit)
{
    SimLine line(unit);
    ScriptedPrompter prompter;
    const VellTypes types;
    VellProtocol protocol(line.simulated, line.virtualWaiter, prompter, types);
    protocol.setConfigImage(sampleImage());
    protocol.setRequireSerialTavo(true);
    protocol.chooseSlot(0);
    protocol.programChosenSlot();
    return line.trace();
}

} // namespace

class TestProgrammingBatch : public QObject
{
    Q_OBJECT

private slots:
    void eachWireCarriesWhatOneRunCarries()
    {
        UnitConfig good, refusing, other;
        refusing.blockFault = UnitAckFault::WrongByte;
        refusing.faultyBlock = 9;
        other.replyCode = 0x11;
        const QHash<QString, UnitConfig> units{
            {u"A"_s, good}, {u"B"_s, refusing}, {u"C"_s, other}, {u"D"_s, good}};

        const VellTypes types;
        Lines lines;
        ProgrammingBatch batch(types, sampleImage(), lines.factory(units));
        QSignalSpy finished(&batch, &ProgrammingBatch::finished);
        QSignalSpy runs(&batch, &ProgrammingBatch::runFinished);
        batch.start({u"A"_s, u"B"_s, u"C"_s, u"D"_s});
        QVERIFY(finished.wait(20000));

        QCOMPARE(runs.size(), 4);
        QHash<QString, UnitRun> byPort;
        for (const QList<QVariant> &args : std::as_const(runs))
            byPort.insert(args.at(1).value<UnitRun>().port, args.at(1).value<UnitRun>());
        QCOMPARE(byPort[u"A"_s].message, u"ok"_s);
        QVERIFY(byPort[u"A"_s].programmed);
        QCOMPARE(byPort[u"B"_s].message, u"Error!  9: Reply to download failed"_s);
        QVERIFY(byPort[u"B"_s].unitFailed);
        QCOMPARE(byPort[u"C"_s].message,
                 u"C: \"%1\" is not a Serial Tavo; nothing was sent"_s.arg(types.at(0).Name + u"1.0"_s));
        QVERIFY(!byPort[u"C"_s].unitFailed && !byPort[u"C"_s].programmed);

        for (const QString &port : units.keys()) {
            QCOMPARE(lines.byPort[port]->trace(), aloneTrace(units[port]));
            const bool programmed = byPort[port].programmed;
            QCOMPARE(lines.byPort[port]->simulated.unit(1)->imagesReceived(), programmed ? 1 : 0);
        }
    }

    // With repeat, a worker waits for its unit to go and the next one to
    // come, and programs that one; abort (at 30 s) ends the wait. A pulled
    // adapter is waited for, and the unit that answers once it is back may
    // be the one programmed, so it has to go away first. A port that never
    // opened ends the worker instead.
    void repeat_data()
    {
        QTest::addColumn<QStringList>("events"); // "MS what": at MS, the port is pulled, empty or has a unit
        QTest::addColumn<int>("runs");
        QTest::addColumn<bool>("lastProgrammed");
        QTest::addColumn<QStringList>("said"); // what the worker waited for, in order

        const QString away = u"waiting for the unit to go away"_s, next = u"waiting for the next unit"_s;
        QTest::newRow("the next unit")
            << QStringList{u"5000 empty"_s, u"9000 unit"_s} << 2 << true << QStringList{away, next, away};
        QTest::newRow("pulled and put back")
            << QStringList{u"5000 pulled"_s, u"9000 unit"_s, u"12000 empty"_s, u"15000 unit"_s} << 2 << true
            << QStringList{away, u"the port is gone; waiting for it to come back"_s, away, next, away};
        QTest::newRow("never there") << QStringList{u"0 pulled"_s} << 1 << false << QStringList();
    }

    void repeat()
    {
        QFETCH(QStringList, events);
        QFETCH(int, runs);
        QFETCH(bool, lastProgrammed);
        QFETCH(QStringList, said);

        const VellTypes types;
        Lines lines;
        lines.prepare = [&events](SimLine &line) {
            for (const QString &event : std::as_const(events)) {
                const QString what = event.section(u' ', 1);
                const auto happen = [&line, what] {
                    if (what == u"pulled"_s)
                        line.simulated.vanish(1);
                    else if (what == u"empty"_s)
                        line.simulated.setPortKind(1, SimulatedLink::PortKind::Empty);
                    else
                        line.simulated.attachUnit(1);
                };
                if (const int ms = event.section(u' ', 0, 0).toInt(); ms == 0)
                    happen();
                else
                    line.virtualWaiter.at(ms, happen);
            }
            line.virtualWaiter.at(30000, [&line] { line.virtualWaiter.requestAbort(); });
        };
        ProgrammingBatch batch(types, sampleImage(), lines.factory({}));
        batch.setRepeat(true);
        QSignalSpy finished(&batch, &ProgrammingBatch::finished);
        QSignalSpy ran(&batch, &ProgrammingBatch::runFinished);
        QSignalSpy waiting(&batch, &ProgrammingBatch::waiting);
        batch.start({u"A"_s});
        QVERIFY(finished.wait(20000));

        QCOMPARE(ran.size(), runs);
        for (const QList<QVariant> &args : std::as_const(ran))
            QCOMPARE(args.at(1).value<UnitRun>().programmed, lastProgrammed);
        QStringList waited;
        for (const QList<QVariant> &args : std::as_const(waiting))
            waited << args.at(1).toString();
        QCOMPARE(waited, said);
        SimLine &line = *lines.byPort[u"A"_s];
        QCOMPARE(line.simulated.unit(1)->imagesReceived(), lastProgrammed ? 1 : 0); // the last unit's
        QVERIFY(!line.simulated.PortOpen());
    }
};

QTEST_GUILESS_MAIN(TestProgrammingBatch)
#include "tst_programmingbatch.moc"
