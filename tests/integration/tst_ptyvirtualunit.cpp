// The Virtual unit window on a unit behind a real pseudo-terminal, with the
// editor's dialogs on QSerialPort and event-loop waits: what the window
// shows comes from the unit as the event loop serves it, also inside the
// waits of a modal dialog. Every wait ends on the window's own state.
#include "PtyUnit.h"
#include "support/PtyStack.h"
#include "virtualunit/Desk.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestPtyVirtualUnit : public QObject
{
    Q_OBJECT

private slots:
    void downloadThenTestSend()
    {
        PtyUnit pty;
        PTY_START_OR_SKIP(pty);
        QtSerialLink link(ptytest::slotsFor(pty));
        EventLoopWaiter waiter;
        waiter.watch(&link, &QtSerialLink::inputArrived);
        Desk desk(link, waiter, pty.line(), u"on "_s + pty.slavePath());

        desk.download();
        QCOMPARE(desk.prompter.shown().size(), 1);
        QCOMPARE(desk.prompter.shown().front().title, u"All sent ok"_s);
        QVERIFY(desk.label(u"Holding"_s).startsWith(u"Holds: programmed from demo.OTS"_s));

        // TEST with the code of output 1 On: the lamp lights while the
        // dialog is still open.
        bool litMeanwhile = false;
        desk.command("TEST", [&](UnitDialog &dialog) {
            click(dialog, u"Option1_0"_s);
            click(dialog, u"Send"_s);
            litMeanwhile = waiter.wait(2s, [&] { return desk.lit() == 0x01; }) && desk.lit() == 0x01;
            click(dialog, u"Done"_s);
        });
        QVERIFY(litMeanwhile);
        QCOMPARE(desk.lastHistory(), u"LIGHTS ON,CR -> output 1 on"_s);
    }
};

QTEST_MAIN(TestPtyVirtualUnit)
#include "tst_ptyvirtualunit.moc"
