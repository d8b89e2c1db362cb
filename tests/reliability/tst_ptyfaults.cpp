// The real serial stack (QSerialPort, waits in the event loop) against a
// simulated unit on a pseudo-terminal, in real time: a unit unplugged in
// the middle of a download. Every wait here ends on an event from the
// port or on the protocol's own timers; nothing sleeps.
#include "support/PtyStack.h"

#include <QTest>

using namespace ptytest;

class TestPtyFaults : public QObject
{
    Q_OBJECT

private slots:
    void unitUnpluggedMidDownload()
    {
        constexpr int lastBlock = 9; // the last block the unit acknowledges
        UnitConfig config;
        config.vanishAfterBlock = lastBlock;
        PtyUnit unit(config);
        PTY_START_OR_SKIP(unit);
        Stack stack(unit);
        connect(&unit, &PtyUnit::vanished, this, [&] { stack.link.unitGone = true; });
        stack.protocol.setConfigImage(imageFor(1));

        stack.link.SetCommPort(1);
        stack.link.SetPortOpen(true);
        QVERIFY(stack.link.PortOpen());
        QCOMPARE(stack.protocol.program_unit(), VellProtocol::ProgramResult::Finished);

        QVERIFY(stack.link.unitGone);
        // The block after the last acknowledged one fails, with the download's
        // own message and nothing after it.
        QCOMPARE(stack.messages(),
                 QStringList{QStringLiteral("Error!  %1 | No reply to download").arg(lastBlock + 1)});
        QVERIFY(!stack.progress.contains(QStringLiteral("100%")));
        QCOMPARE(stack.progress.last(), VellProtocol::progressText(lastBlock, 32));
        // The link closed the port when it failed, and refused every write
        // from then on: nothing went to whatever might take the port's name.
        QVERIFY(!stack.link.PortOpen());
        QVERIFY(stack.link.writesRefusedAfterVanishing > 0);
        QCOMPARE(stack.link.writesAfterVanishing, 0);
        QCOMPARE(unit.unit().imagesReceived(), 0);

        // Plugged in again (a new unit on a new terminal), it is found and
        // programmed as usual.
        PtyUnit again;
        QVERIFY(again.start());
        stack.link.setPortSlots(slotsFor(again));
        stack.prompter.clear();
        stack.protocol.search_for_vell();
        const SearchSlot &slot = stack.protocol.searchSlots()[0];
        QCOMPARE(slot.text, QStringLiteral("Serial Tavo 1.0"));
        QVERIFY(slot.optionEnabled);
        stack.protocol.chooseSlot(0);
        stack.protocol.setConfigImage(imageFor(2));
        QCOMPARE(stack.protocol.programChosenSlot(), VellProtocol::ProgramResult::Finished);
        QCOMPARE(stack.messages(), QStringList{QStringLiteral("All sent ok | Program another tavo")});
        QCOMPARE(bytesOf(again.unit().image()), bytesOf(imageFor(2)));
        QVERIFY(!stack.link.PortOpen());
    }
};

QTEST_GUILESS_MAIN(TestPtyFaults)
#include "tst_ptyfaults.moc"
