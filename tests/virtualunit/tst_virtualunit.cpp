// The Virtual unit window beside the editor, with the unit in port slot 1
// of this process on a virtual clock: the editor's own dialogs program and
// test it, the window's buttons talk to it, and its fault switches make it
// fail while a dialog runs.
#include "ConfigImage.h"
#include "Desk.h"
#include "InProcessLink.h"
#include "OutputControl.h"
#include "SerialEditor.h"

#include <QComboBox>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

const QString ProgramFailed =
    u"Error! | Program failed, Tavo will fail to operate correctly until reprogrammmed, "
    u"Try powering the tavo off/wait/on and reprogram again"_s;

// The unit in port slot 1 of this process, on a virtual clock.
struct InProcess {
    VirtualClock clock;
    VirtualWaiter waiter{clock};
    UnitLine line{UnitConfig{}, clock};
    InProcessLink link{line};
};

struct VirtualDesk : InProcess, Desk {
    VirtualDesk()
        : Desk(link, waiter, line, u"in this program, port slot 1"_s)
    {}
};

} // namespace

class TestVirtualUnit : public QObject
{
    Q_OBJECT

private slots:
    // The window's buttons, or Send in the TEST dialog, send a code as a
    // sender on the unit's line would; the lamps, the bytes received and the
    // history follow at once, a pulse ending on time.
    void sendsSwitchTheLamps_data()
    {
        QTest::addColumn<bool>("inDialog");
        QTest::addColumn<QStringList>("clicks"); // in the dialog: after choosing slot 1
        QTest::addColumn<int>("lit");
        QTest::addColumn<QString>("history"); // what was received -> what it did
        QTest::addColumn<QString>("at");      // the line setting it was received at

        QTest::newRow("on") << false << QStringList{u"On1"_s} << 0x01 << u"LIGHTS ON,CR -> output 1 on"_s
                            << u"19200,e,8,1"_s;
        QTest::newRow("on then off") << false << QStringList{u"On1"_s, u"Off1"_s} << 0x00
                                     << u"LIGHTS OFF,CR -> output 1 off"_s << u"19200,e,8,1"_s;
        QTest::newRow("pulse") << false << QStringList{u"On2"_s} << 0x02
                               << u"STX,DOOR,1h,ETX -> output 2 on for 5 s"_s << u"19200,e,8,1"_s;
        // The dialog opens on the configured code of output 1, On.
        QTest::newRow("TEST, configured code")
            << true << QStringList() << 0x01 << u"LIGHTS ON,CR -> output 1 on"_s << u"19200,e,8,1"_s;
        QTest::newRow("TEST, map") << true
                                   << QStringList{u"ModeOption0"_s, u"WhichCheck0"_s, u"WhichCheck7"_s}
                                   << 0x81 << u"81h -> map: outputs 1, 8 on, the others off"_s
                                   << u"9600,n,8,1"_s;
        QTest::newRow("TEST, bit") << true << QStringList{u"ModeOption2"_s, u"WhichOption7"_s} << 0x80
                                   << u"FFh,BS -> bit: output 8 on"_s << u"9600,n,8,1"_s;
    }

    void sendsSwitchTheLamps()
    {
        QFETCH(bool, inDialog);
        QFETCH(QStringList, clicks);
        QFETCH(int, lit);
        QFETCH(QString, history);
        QFETCH(QString, at);

        VirtualDesk desk;
        QCOMPARE(desk.label(u"Holding"_s), u"Holds: nothing programmed yet"_s);
        desk.download();
        QCOMPARE(desk.prompter.shown().size(), 1);
        QVERIFY(desk.label(u"Holding"_s).startsWith(u"Holds: programmed from demo.OTS at "_s));
        QCOMPARE(desk.label(u"Listening"_s), u"Listens for its codes at 19200,e,8,1"_s);

        int litMeanwhile = -1;
        QString historyMeanwhile;
        if (inDialog) {
            desk.command("TEST", [&](UnitDialog &dialog) {
                click(dialog, u"Option1_0"_s);
                for (const QString &name : clicks)
                    click(dialog, name);
                click(dialog, u"Send"_s);
                litMeanwhile = desk.lit();
                historyMeanwhile = desk.lastHistory();
                click(dialog, u"Done"_s);
            });
        } else {
            for (const QString &name : clicks)
                desk.clickUnit(name);
            litMeanwhile = desk.lit();
            historyMeanwhile = desk.lastHistory();
        }
        QCOMPARE(litMeanwhile, lit);
        QCOMPARE(historyMeanwhile, history);
        QCOMPARE(desk.label(u"ReceivedAt"_s),
                 u"at "_s + at + u", recognised: "_s + history.section(u" -> "_s, 1));
        // The recognised code is marked in the bytes received.
        const EditorModel &received = child<SerialEditor>(*desk.unit, u"ReceivedBytes"_s)->model();
        QVERIFY(received.isSelected(0) && received.isSelected(received.shownByteCount() - 1));

        // A pulse counts down and ends by itself.
        if (lit & 0x02) {
            QCOMPARE(child<Lamp>(*desk.unit, u"Lamp2"_s)->remaining(), u"5.0 s"_s);
            desk.clock.advanceTo(desk.clock.now() + 5000);
            QCOMPARE(desk.lit(), 0);
            QCOMPARE(desk.lastHistory(), u"output 2 off: its period is over"_s);
        }

        // TAVO_SCREENSHOT_DIR=dir keeps the editor with the unit beside it
        // after a DOWNLOAD and a TEST send.
        const QString shots = qEnvironmentVariable("TAVO_SCREENSHOT_DIR");
        if (!shots.isEmpty() && inDialog && clicks.isEmpty()) {
            const QPixmap editor = desk.window.grab();
            const QPixmap unit = desk.unit->grab();
            QPixmap both(editor.width() + 12 + unit.width(), std::max(editor.height(), unit.height()));
            both.fill(desk.unit->palette().color(QPalette::Window).darker(115));
            QPainter(&both).drawPixmap(0, 0, editor);
            QPainter(&both).drawPixmap(editor.width() + 12, 0, unit);
            QVERIFY(QDir().mkpath(shots) && both.save(shots + u"/virtual-unit.png"_s));
        }
    }

    // An edit after the download: the unit holds an older configuration
    // than the editor shows, and says so; the buttons send what is shown.
    void anEditLeavesTheUnitBehind()
    {
        VirtualDesk desk;
        const auto *note = child<QLabel>(*desk.unit, u"Note"_s);
        const auto *off = child<QPushButton>(*desk.unit, u"Off1"_s);
        QVERIFY(note->isVisible()); // nothing programmed yet
        desk.download();
        QVERIFY(!note->isVisible());
        QVERIFY(off->isEnabled());

        QTest::mouseClick(desk.window.OutputControl1(0)->findChild<QRadioButton *>(u"OuputOperation_1"_s),
                          Qt::LeftButton);
        QVERIFY(note->isVisible());
        QVERIFY(note->text().startsWith(u"The unit holds an older configuration than the editor shows"_s));
        QVERIFY(!off->isEnabled()); // pulse mode: no Off code
        desk.download();
        QVERIFY(!note->isVisible());
    }

    // A download the editor did not make (tavo program on the unit's
    // terminal) is named as another program's, not as the open file's.
    void aDownloadFromAnotherProgram()
    {
        VirtualDesk desk;
        ScriptedPrompter prompter;
        const VellTypes types;
        VellProtocol other(desk.link, desk.waiter, prompter, types);
        ConfigData empty;
        tavo::BuildConfigImage(empty);
        other.setConfigImage(empty.ConfigImage);
        other.chooseSlot(0);
        QCOMPARE(other.programChosenSlot(), VellProtocol::ProgramResult::Finished);

        QVERIFY(desk.label(u"Holding"_s).startsWith(u"Holds: programmed by another program at "_s));
        QVERIFY(desk.label(u"Note"_s).startsWith(u"The unit holds a configuration from another program"_s));
        desk.download();
        QVERIFY(desk.label(u"Holding"_s).startsWith(u"Holds: programmed from demo.OTS at "_s));
    }

    // Closed, the window is only hidden; the status bar button shows it
    // again, with the unit it showed before.
    void aClosedWindowComesBack()
    {
        VirtualDesk desk;
        desk.download();
        QVERIFY(desk.unit->close());
        QVERIFY(!desk.unit->isVisible());
        QTest::mouseClick(child<QToolButton>(desk.window, u"VirtualUnitButton"_s), Qt::LeftButton);
        QVERIFY(desk.unit->isVisible());
        QVERIFY(!child<QLabel>(*desk.unit, u"Note"_s)->isVisible()); // still programmed
    }

    // Each switch, thrown after the dialog's search found the unit, makes
    // the programming run fail with its own messages; the unit has not
    // taken the configuration.
    void faultSwitchesShowEveryFailure_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<int>("choice"); // for a list: the entry to choose
        QTest::addColumn<QStringList>("messages");

        const QString notResponding = u"Error! | Tavo not responding"_s;
        // clang-format off
        QTest::newRow("silent") << u"FaultSilent"_s << 0 << QStringList{notResponding};
        QTest::newRow("wrong check byte") << u"FaultCheckByte"_s << 0 << QStringList{notResponding};
        QTest::newRow("blocks refused") << u"FaultBlocks"_s << 1 << QStringList{u"Error!  0 | Reply to download failed"_s};
        QTest::newRow("blocks unanswered") << u"FaultBlocks"_s << 2 << QStringList{u"Error!  0 | No reply to download"_s};
        QTest::newRow("restart refused")
            << u"FaultRestart"_s << 1 << QStringList{u"Error! | Reply fail to restart"_s, ProgramFailed};
        QTest::newRow("restart unanswered")
            << u"FaultRestart"_s << 2 << QStringList{u"Error! | No reply to restart"_s, ProgramFailed};
        QTest::newRow("unplugged after block 8") << u"FaultVanish"_s << 0 << QStringList{u"Error!  9 | No reply to download"_s};
        QTest::newRow("unplugged by hand") << u"Plug"_s << 0 << QStringList{u"Error! | Port not open"_s};
        // clang-format on
    }

    void faultSwitchesShowEveryFailure()
    {
        QFETCH(QString, control);
        QFETCH(int, choice);
        QFETCH(QStringList, messages);

        VirtualDesk desk;
        desk.download([&] {
            if (auto *list = desk.unit->findChild<QComboBox *>(control)) {
                for (int i = 0; i < choice; ++i)
                    QTest::keyClick(list, Qt::Key_Down);
            } else {
                desk.clickUnit(control);
            }
        });
        QCOMPARE(desk.messages(), messages);
        QCOMPARE(desk.line.unit().imagesReceived(), control.startsWith(u"FaultRestart"_s) ? 1 : 0);
    }
};

QTEST_MAIN(TestVirtualUnit)
#include "tst_virtualunit.moc"
