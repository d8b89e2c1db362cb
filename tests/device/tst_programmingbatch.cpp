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
    // come, and programs that one; abort ends the wait.
    void repeatProgramsTheNextUnit()
    {
        const VellTypes types;
        Lines lines;
        lines.prepare = [](SimLine &line) {
            // The first unit is unplugged at 5 s, the next plugged in at
            // 9 s, and the operator stops at 30 s.
            line.virtualWaiter.at(5000,
                                  [&line] { line.simulated.setPortKind(1, SimulatedLink::PortKind::Empty); });
            line.virtualWaiter.at(9000, [&line] { line.simulated.attachUnit(1); });
            line.virtualWaiter.at(30000, [&line] { line.virtualWaiter.requestAbort(); });
        };
        ProgrammingBatch batch(types, sampleImage(), lines.factory({}));
        batch.setRepeat(true);
        QSignalSpy finished(&batch, &ProgrammingBatch::finished);
        QSignalSpy runs(&batch, &ProgrammingBatch::runFinished);
        QSignalSpy waiting(&batch, &ProgrammingBatch::waiting);
        batch.start({u"A"_s});
        QVERIFY(finished.wait(20000));

        QCOMPARE(runs.size(), 2);
        for (const QList<QVariant> &args : std::as_const(runs))
            QVERIFY(args.at(1).value<UnitRun>().programmed);
        QStringList said;
        for (const QList<QVariant> &args : std::as_const(waiting))
            said << args.at(1).toString();
        QCOMPARE(said, QStringList({u"waiting for the unit to go away"_s, u"waiting for the next unit"_s,
                                    u"waiting for the unit to go away"_s}));
        QCOMPARE(lines.byPort[u"A"_s]->simulated.unit(1)->imagesReceived(), 1); // the second unit's
        QVERIFY(!lines.byPort[u"A"_s]->simulated.PortOpen());
    }

    // With repeat, a pulled adapter is waited for; the unit that answers
    // once it is back may be the one programmed, so it has to go away
    // first. A port that never opened ends the worker instead.
    void repeatAndAPortThatGoes_data()
    {
        QTest::addColumn<bool>("everOpen");
        QTest::addColumn<int>("runs");
        QTest::addColumn<QStringList>("said"); // what the worker waited for, in order

        const QString away = u"waiting for the unit to go away"_s;
        QTest::newRow("pulled and put back")
            << true << 2
            << QStringList{away, u"the port is gone; waiting for it to come back"_s, away,
                           u"waiting for the next unit"_s, away};
        QTest::newRow("never there") << false << 1 << QStringList();
    }

    void repeatAndAPortThatGoes()
    {
        QFETCH(bool, everOpen);
        QFETCH(int, runs);
        QFETCH(QStringList, said);

        const VellTypes types;
        Lines lines;
        lines.prepare = [everOpen](SimLine &line) {
            if (!everOpen) {
                line.simulated.vanish(1);
                return;
            }
            // Pulled at 5 s and put back at 9 s with the unit on it; that
            // unit is taken off at 12 s and the next one plugged in at 15 s.
            line.virtualWaiter.at(5000, [&line] { line.simulated.vanish(1); });
            line.virtualWaiter.at(9000, [&line] { line.simulated.attachUnit(1); });
            line.virtualWaiter.at(12000,
                                  [&line] { line.simulated.setPortKind(1, SimulatedLink::PortKind::Empty); });
            line.virtualWaiter.at(15000, [&line] { line.simulated.attachUnit(1); });
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
        QCOMPARE(ran.constLast().at(1).value<UnitRun>().programmed, everOpen);
        QStringList waited;
        for (const QList<QVariant> &args : std::as_const(waiting))
            waited << args.at(1).toString();
        QCOMPARE(waited, said);
    }
};

QTEST_GUILESS_MAIN(TestProgrammingBatch)
#include "tst_programmingbatch.moc"
