// The Virtual unit window on a unit behind a real pseudo-terminal, with the
// editor's dialogs on QSerialPort and event-loop waits: what the window
// shows comes from the unit as the event loop serves it, also inside the
// waits of a modal dialog. Every wait ends on the window's own state.
#include "DeviceUnitServices.h"
#include "EventLoopWaiter.h"
#include "PtyUnit.h"
#include "QtSerialLink.h"
#include "RightHandToolbar.h"
#include "ScriptedPrompter.h"
#include "SerialTavo.h"
#include "SettingsKeyValueStore.h"
#include "SimulatedUnit.h"
#include "UnitDialog.h"
#include "UnitLamps.h"
#include "VirtualUnitWindow.h"
#include "support/ConfigSamples.h"
#include "support/ScriptedCommonDialog.h"

#include <QAbstractButton>
#include <QLabel>
#include <QListWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestPtyVirtualUnit : public QObject
{
    Q_OBJECT

    static void click(QObject &parent, const QString &name)
    {
        QTest::mouseClick(parent.findChild<QAbstractButton *>(name), Qt::LeftButton);
    }

private slots:
    void downloadThenTestSend()
    {
        PtyUnit pty;
        QString error;
        if (!pty.start(&error))
            QSKIP(qPrintable(u"no pseudo-terminal: "_s + error));
        QtSerialLink link(PortSlots({pty.slavePath(), QString(), QString(), QString()}));
        EventLoopWaiter waiter;
        waiter.watch(&link, &QtSerialLink::inputArrived);
        ScriptedPrompter prompter;
        ScriptedCommonDialog files;
        samples::RecordingShell shell;
        const auto store = SettingsKeyValueStore::inMemory();
        DeviceUnitServices units(link, waiter, prompter, *store);
        SerialTavo window(SerialTavo::Services{&prompter, &files, &shell, &units});
        window.start({qEnvironmentVariable("TAVO_SOURCE_DIR") + u"/examples/demo.OTS"_s});
        window.show();
        const auto unit = openVirtualUnit(pty.line(), u"on "_s + pty.slavePath(), window, units);
        unit->show();
        const Lamp *lamp1 = unit->findChild<Lamp *>(u"Lamp1"_s);

        // DOWNLOAD, then TEST with the code of output 1 On; both dialogs
        // act once their search is over.
        bool litMeanwhile = false;
        const auto run = [&](const char *key, const QStringList &clicks) {
            units.dialogOpened = [&, clicks](UnitDialog &dialog) {
                connect(
                    &dialog, &UnitDialog::searchFinished, &dialog,
                    [&, clicks] {
                        QTimer::singleShot(0, &dialog, [&, clicks] {
                            for (const QString &name : clicks)
                                click(dialog, name);
                            if (dialog.isVisible()) {
                                litMeanwhile =
                                    waiter.wait(2s, [&] { return lamp1->isLit(); }) && lamp1->isLit();
                                click(dialog, u"Done"_s);
                            }
                        });
                    },
                    Qt::SingleShotConnection);
            };
            click(*window.RightHandToolbar1(), QString::fromLatin1(key));
        };
        run("DOWNLOAD", {u"Option1_0"_s, u"ProgramVell"_s});
        QCOMPARE(prompter.shown().size(), 1);
        QCOMPARE(prompter.shown().front().title, u"All sent ok"_s);
        QVERIFY(
            unit->findChild<QLabel *>(u"Holding"_s)->text().startsWith(u"Holds: programmed from demo.OTS"_s));

        run("TEST", {u"Option1_0"_s, u"Send"_s});
        QVERIFY(litMeanwhile);
        const auto *history = unit->findChild<QListWidget *>(u"History"_s);
        QCOMPARE(history->item(history->count() - 1)->text().mid(10), u"LIGHTS ON,CR -> output 1 on"_s);
    }
};

QTEST_MAIN(TestPtyVirtualUnit)
#include "tst_ptyvirtualunit.moc"
