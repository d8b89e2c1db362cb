#include "DeviceUnitServices.h"
#include "DialogBench.h"
#include "PortChooser.h"
#include "QtSerialLink.h"
#include "SerialEditor.h"
#include "SerialTestForm.h"
#include "SettingsKeyValueStore.h"
#include "VellComms.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString AllSent = u"All sent ok | Program another tavo"_s;
const QString ProgramFailed =
    u"Error! | Program failed, Tavo will fail to operate correctly until reprogrammmed, "
    u"Try powering the tavo off/wait/on and reprogram again"_s;

// A Serial Tavo on port 2, ready to be programmed with the sample image.
struct Programming : DialogBench {
    VellComms dialog{config, parts()};
    UnitSimulator &unit = link.attachUnit(2);

    Programming() { config.ConfigImage = sampleImage(); }

    bool programEnabled() { return child<QPushButton>(dialog, u"ProgramVell"_s)->isEnabled(); }
    bool chosen() { return child<QRadioButton>(dialog, u"Option1_1"_s)->isChecked(); }
};

// A Serial Tavo on port 3. Output 1 has On and Off codes, output 4 is in
// pulse mode; the unit listens for its codes at 19200 baud, even parity.
struct Configured : DialogBench {
    Configured()
    {
        link.attachUnit(3);
        config.OnMessages[1] = code("ON1"_ba);
        config.OffMessages[1] = code("OFF1"_ba);
        config.PulseModes[4] = true;
        config.OnMessages[4] = code("\x02P4"_ba);
        config.BaudIndex = 4;
        config.ParityIndex = 1;
    }
};

struct TestBench : Configured {
    SerialTestForm form{config, parts()};

    bool sendEnabled() { return child<QPushButton>(form, u"Send"_s)->isEnabled(); }
};

} // namespace

// The programming dialog and the test dialog, from the user's clicks.
class TestVellComms : public QObject
{
    Q_OBJECT

private slots:
    void slotShowsWhatAnswered_data()
    {
        QTest::addColumn<int>("kind"); // SimulatedLink::PortKind: 0 missing, 1 empty, 2 unit, 3 busy
        QTest::addColumn<int>("reply");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QString>("text"); // "#" stands for the type table's name of `reply`
        QTest::addColumn<bool>("shown");
        QTest::addColumn<bool>("choosable");
        QTest::addColumn<QString>("problem"); // below the slots: why the port did not open

        QTest::newRow("serial tavo") << 2 << 22 << 3 << u"Serial Tavo 1.3"_s << true << true << QString();
        // Bit 4 of the second version byte shows in the first number too.
        QTest::newRow("version mask")
            << 2 << 22 << 0x12 << u"Serial Tavo 4097.18"_s << true << true << QString();
        QTest::newRow("other type") << 2 << 0x33 << 7 << u"#1.7"_s << true << false << QString();
        QTest::newRow("nothing answers") << 1 << 0 << 0 << u"--------------"_s << true << false << QString();
        QTest::newRow("port missing") << 0 << 0 << 0 << u"--------------"_s << false << false
                                      << u"Slot 2: there is no port /dev/ttyUSB7"_s;
        QTest::newRow("port busy") << 3 << 0 << 0 << u"--------------"_s << false << false
                                   << u"Slot 2: /dev/ttyUSB7 is in use by another program"_s;
    }

    void slotShowsWhatAnswered()
    {
        QFETCH(int, kind);
        QFETCH(int, reply);
        QFETCH(int, minor);
        QFETCH(QString, text);
        QFETCH(bool, shown);
        QFETCH(bool, choosable);
        QFETCH(QString, problem);

        DialogBench bench;
        bench.link.setPortKind(2, SimulatedLink::PortKind(kind));
        if (kind == 2) {
            UnitConfig unit;
            unit.replyCode = static_cast<std::uint8_t>(reply);
            unit.versionMinor = static_cast<std::uint8_t>(minor);
            bench.link.attachUnit(2, unit);
        }
        bench.link.setPortName(2, u"/dev/ttyUSB7"_s);
        text.replace(u"#"_s, bench.types.at(std::max(0, bench.types.indexOfReply(reply))).Name);

        VellComms dialog(bench.config, bench.parts());
        QVERIFY(activate(dialog));
        const auto *type = child<QLineEdit>(dialog, u"VellType1"_s);
        const auto *option = child<QRadioButton>(dialog, u"Option1_1"_s);
        QCOMPARE(type->text(), text);
        QCOMPARE(type->isVisible(), shown);
        QCOMPARE(option->isVisible(), shown);
        QCOMPARE(type->isEnabled(), choosable);
        QCOMPARE(option->isEnabled(), choosable);
        QCOMPARE(child<QLabel>(dialog, u"PortName1"_s)->text(), u"/dev/ttyUSB7"_s);
        // The other slots' ports are missing in this bench; only slot 2's
        // line is this row's.
        const auto *problems = child<QLabel>(dialog, u"PortProblems"_s);
        const QStringList lines = problems->text().split(u'\n').filter(u"Slot 2:"_s);
        QCOMPARE(lines, problem.isEmpty() ? QStringList() : QStringList{problem});
        QVERIFY(problems->isVisible());
        QVERIFY(!bench.link.PortOpen());
        QVERIFY(bench.prompter.shown().isEmpty());
    }

    void everyActivationSearchesAgainAndClearsTheChoice()
    {
        Programming p;
        // Each slot is uncovered as soon as its own port is done: while
        // port 2 is searched, only the missing port 1 shows.
        QList<bool> coveredDuringPort2;
        p.waiter.at(100, [&] {
            for (int i = 0; i < 4; ++i)
                coveredDuringPort2 << child<QFrame>(p.dialog, u"Blanking%1"_s.arg(i))->isVisible();
        });
        QVERIFY(activate(p.dialog));
        QCOMPARE(coveredDuringPort2, (QList<bool>{false, true, true, true}));
        QVERIFY(!child<QFrame>(p.dialog, u"Blanking1"_s)->isVisible());
        QVERIFY(saveScreenshot(p.dialog, u"vellcomms.png"_s));
        QVERIFY(!p.programEnabled());
        click(p.dialog, u"Option1_1"_s);
        QVERIFY(p.chosen() && p.programEnabled());

        p.dialog.hide();
        QVERIFY(activate(p.dialog));
        QCOMPARE(p.eventsOf(LineBench::Kind::Open, -1, 2), 2);
        QVERIFY(!p.chosen() && !p.programEnabled());

        // The search button does the same without hiding.
        click(p.dialog, u"Option1_1"_s);
        click(p.dialog, u"Command1"_s);
        QCOMPARE(p.eventsOf(LineBench::Kind::Open, -1, 2), 3);
        QVERIFY(!p.chosen() && !p.programEnabled());
    }

    // From the click on "Program Tavo" to the messages: each failure shows
    // its own and nothing after it, except that a unit that will not
    // restart after a full download is reported as badly programmed.
    // Either way the dialog closes and so does the port; no new search.
    void programmingRun_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<int>("images");
        QTest::addColumn<int>("opens");

        QTest::newRow("all sent") << 0 << QStringList{AllSent} << 1 << 1;
        // Yes to "Program another tavo", but nothing answers any more.
        QTest::newRow("another") << 1 << QStringList{AllSent, u"Error! | Tavo not responding"_s} << 1 << 2;
        QTest::newRow("block refused")
            << 2 << QStringList{u"Error!  5 | Reply to download failed"_s} << 0 << 1;
        QTest::newRow("restart refused")
            << 3 << QStringList{u"Error! | Reply fail to restart"_s, ProgramFailed} << 1 << 1;
        QTest::newRow("unit silent") << 4 << QStringList{u"Error! | Tavo not responding"_s} << 0 << 1;
        QTest::newRow("port gone") << 5 << QStringList{u"Error! | Port not open"_s} << 0 << 0;
        // The adapter pulled out after block 5: the download's message, and
        // the dialog finds the unit again once it is back.
        QTest::newRow("unplugged") << 6 << QStringList{u"Error!  6 | No reply to download"_s} << 0 << 1;
    }

    void programmingRun()
    {
        QFETCH(int, fault);
        QFETCH(QStringList, messages);
        QFETCH(int, images);
        QFETCH(int, opens);

        Programming p;
        QVERIFY(activate(p.dialog));
        UnitConfig &c = p.unit.config();
        if (fault == 1) {
            p.prompter.setNextAnswer(Prompter::Answer::Yes);
            p.unit.imageReceived = [&c](const UnitSimulator::Image &) { c.probeSilent = true; };
        }
        c.faultyBlock = 5;
        c.blockFault = fault == 2 ? UnitAckFault::WrongByte : UnitAckFault::None;
        c.restartFault = fault == 3 ? UnitAckFault::WrongByte : UnitAckFault::None;
        c.probeSilent = fault == 4;
        c.vanishAfterBlock = fault == 6 ? 5 : -1;
        if (fault == 5)
            p.link.setPortKind(2, SimulatedLink::PortKind::Missing);

        // Half-way through the blocks the progress panel covers the slots.
        bool midway = false;
        p.waiter.at(p.clock.now() + 640, [&p, &midway] {
            const int value = child<QProgressBar>(p.dialog, u"ProgressBar1"_s)->value();
            midway = child<QFrame>(p.dialog, u"PleaseWait"_s)->isVisible() && value > 0 && value < 1000
                     && child<QLabel>(p.dialog, u"Label2"_s)->text()
                            == QString::number(value / 10.0, 'f', 1) + u'%'
                     && saveScreenshot(p.dialog, u"vellcomms-programming.png"_s);
        });
        click(p.dialog, u"Option1_1"_s);
        p.link.clearEvents();
        p.waiter.clearWaits();
        click(p.dialog, u"ProgramVell"_s);

        QCOMPARE(p.messages(), messages);
        for (const auto &shown : p.prompter.shown())
            QCOMPARE(shown.icon, shown.title == u"All sent ok"_s ? Prompter::Icon::Question
                                                                 : Prompter::Icon::Exclamation);
        const UnitSimulator *unit = p.link.unit(2); // gone with the port
        QCOMPARE(unit ? unit->imagesReceived() : 0, images);
        QCOMPARE(p.eventsOf(LineBench::Kind::Open), opens);
        QCOMPARE(p.eventsOf(LineBench::Kind::Open, -1, 2), opens);
        QVERIFY(!p.dialog.isVisible());
        QVERIFY(!p.link.PortOpen());
        if (fault == 6) {
            p.link.attachUnit(2);
            QVERIFY(activate(p.dialog));
            QCOMPARE(child<QLineEdit>(p.dialog, u"VellType1"_s)->text(), u"Serial Tavo 1.0"_s);
            click(p.dialog, u"Option1_1"_s);
            QVERIFY(p.programEnabled());
        }
        if (fault != 0)
            return;
        QVERIFY(midway);
        QVERIFY(p.unit.image() == sampleImage());
        QCOMPARE(child<QLabel>(p.dialog, u"Label2"_s)->text(), u"100%"_s);
        QCOMPARE(child<QProgressBar>(p.dialog, u"ProgressBar1"_s)->value(), 1000);
        const auto &question = p.prompter.shown().first();
        QCOMPARE(question.buttons, Prompter::Buttons::YesNo);
        QCOMPARE(question.defaultAnswer, Prompter::Answer::No);
        // The opened port settles for 100 ms; the search before the download
        // restarts nothing, so the only restart is the one after it.
        QCOMPARE(p.waiter.waits().front().requested, 100ms);
        QCOMPARE(p.writesOf("3", u"9600,o,8,1"_s), 1);
    }

    // However a dialog is closed in the middle of a wait, the routine
    // stops there: nothing more goes out, nothing is reported, the port
    // is closed.
    void closingDuringAWaitStopsAtOnce_data()
    {
        QTest::addColumn<QString>("how"); // a button to click, Escape, close or delete
        QTest::addColumn<bool>("test");   // the test dialog, else the programming dialog
        QTest::addColumn<bool>("programming");
        QTest::addColumn<int>("atMs"); // after the search starts / the button is pressed

        QTest::newRow("cancel in search") << u"Command2"_s << false << false << 250;
        QTest::newRow("escape in search") << u"Escape"_s << false << false << 1700;
        QTest::newRow("close in search") << u"close"_s << false << false << 40;
        QTest::newRow("deleted in search") << u"delete"_s << false << false << 900;
        QTest::newRow("cancel in download") << u"Command2"_s << false << true << 600;
        QTest::newRow("close while the port settles") << u"close"_s << false << true << 30;
        QTest::newRow("deleted in download") << u"delete"_s << false << true << 650;
        QTest::newRow("done in the test dialog's search") << u"Done"_s << true << false << 500;
    }

    void closingDuringAWaitStopsAtOnce()
    {
        QFETCH(QString, how);
        QFETCH(bool, test);
        QFETCH(bool, programming);
        QFETCH(int, atMs);

        DialogBench bench;
        bench.link.setPortKind(1, SimulatedLink::PortKind::Empty);
        UnitSimulator &unit = bench.link.attachUnit(2);
        bench.link.setPortKind(3, SimulatedLink::PortKind::Empty);
        UnitDialog *dialog = test ? static_cast<UnitDialog *>(new SerialTestForm(bench.config, bench.parts()))
                                  : new VellComms(bench.config, bench.parts());
        const QPointer<UnitDialog> guard(dialog);
        if (programming) {
            QVERIFY(activate(*dialog));
            click(*dialog, u"Option1_1"_s);
        }
        const qint64 at = bench.clock.now() + atMs;
        bench.waiter.at(at, [dialog, how] {
            if (how == u"Escape"_s)
                QTest::keyClick(dialog, Qt::Key_Escape);
            else if (how == u"close"_s)
                dialog->close();
            else if (how == u"delete"_s)
                delete dialog;
            else
                click(*dialog, how);
        });
        if (programming) {
            click(*dialog, u"ProgramVell"_s);
        } else {
            dialog->show();
            QCoreApplication::processEvents();
        }

        QCOMPARE(bench.clock.now(), at);
        QCOMPARE(bench.eventsOf(LineBench::Kind::Write, at - 1), 0);
        QCOMPARE(bench.eventsOf(LineBench::Kind::Open, at - 1), 0);
        QVERIFY(!bench.link.PortOpen());
        QVERIFY(bench.prompter.shown().isEmpty());
        QCOMPARE(unit.imagesReceived(), 0);
        QCOMPARE(guard.isNull(), how == u"delete"_s);
        if (guard)
            QVERIFY(!guard->isVisible());
        delete guard.data();
    }

    // The slots take the ports present at each search, adapters first, and
    // the user can put any port into any slot; slots named at the start
    // stay. (No port named here exists: every opening fails at once.)
    void slotsFollowThePortsPresentAndTheUsersChoice_data()
    {
        QTest::addColumn<QStringList>("present"); // at the next search; "*" marks an adapter
        QTest::addColumn<QString>("named");       // --ports
        QTest::addColumn<QList<int>>("picks");    // Down presses in each slot's choice; none: no chooser
        QTest::addColumn<QStringList>("searched");

        const QString none = u"(no port)"_s;
        const QStringList before{u"tst-s0"_s, u"*tst-usb0"_s};
        QTest::newRow("as they were")
            << before << QString() << QList<int>{} << QStringList{u"tst-usb0"_s, u"tst-s0"_s, none, none};
        QTest::newRow("adapter plugged in")
            << QStringList{u"tst-s0"_s, u"*tst-usb0"_s, u"*tst-usb10"_s, u"*tst-usb2"_s} << QString()
            << QList<int>{} << QStringList{u"tst-usb0"_s, u"tst-usb2"_s, u"tst-usb10"_s, u"tst-s0"_s};
        QTest::newRow("adapter pulled out") << QStringList{u"tst-s0"_s} << QString() << QList<int>{}
                                            << QStringList{u"tst-s0"_s, none, none, none};
        // Automatic, No port, then the ports present: the adapter, tst-s0.
        QTest::newRow("tst-s0 chosen for slot 1") << before << QString() << QList<int>{3, 0, 0, 0}
                                                  << QStringList{u"tst-s0"_s, u"tst-usb0"_s, none, none};
        QTest::newRow("slot 2 left empty") << before << QString() << QList<int>{0, 1, 0, 0}
                                           << QStringList{u"tst-usb0"_s, none, u"tst-s0"_s, none};
        QTest::newRow("named at the start")
            << before << u"A,,C"_s << QList<int>{} << QStringList{u"A"_s, none, u"C"_s, none};
    }

    void slotsFollowThePortsPresentAndTheUsersChoice()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, named);
        QFETCH(QList<int>, picks);
        QFETCH(QStringList, searched);

        QList<PortSlots::SystemPort> system;
        const auto plug = [&system](const QStringList &ports) {
            system.clear();
            for (QString name : ports) {
                const bool adapter = name.startsWith(u'*');
                system.append({name.remove(u'*'), QString(), adapter ? u"USB serial"_s : QString(), adapter});
            }
        };
        plug({u"tst-s0"_s, u"*tst-usb0"_s});
        QtSerialLink link(named.isEmpty() ? PortSlots::systemDefault([&system] { return system; })
                                          : PortSlots::fromList(named));
        DialogBench bench;
        VellComms dialog(bench.config, {link, bench.waiter, bench.prompter, bench.types});
        QVERIFY(activate(dialog));
        QCOMPARE(child<QPushButton>(dialog, u"ChoosePorts"_s)->isEnabled(), named.isEmpty());

        plug(present);
        if (picks.isEmpty()) {
            click(dialog, u"Command1"_s);
        } else {
            click(dialog, u"ChoosePorts"_s);
            auto *chooser = child<PortChooser>(dialog, u"PortChooser"_s);
            for (int slot = 0; slot < picks.size(); ++slot) {
                auto *choice = child<QComboBox>(*chooser, u"PortChoice%1"_s.arg(slot));
                QCOMPARE(choice->count(), 2 + present.size());
                for (int i = 0; i < picks.at(slot); ++i)
                    QTest::keyClick(choice, Qt::Key_Down);
            }
            QVERIFY(saveScreenshot(*chooser, u"portchooser.png"_s));
            QSignalSpy finished(&dialog, &UnitDialog::searchFinished);
            QTest::mouseClick(child<QDialogButtonBox>(*chooser, QString())->button(QDialogButtonBox::Ok),
                              Qt::LeftButton);
            QCoreApplication::processEvents(); // the search follows the chooser's closing
            QCOMPARE(finished.count(), 1);
            QVERIFY(saveScreenshot(dialog, u"vellcomms-ports.png"_s));
        }
        QStringList shown;
        for (int slot = 0; slot < 4; ++slot)
            shown << child<QLabel>(dialog, u"PortName%1"_s.arg(slot))->text();
        QCOMPARE(shown, searched);
        QVERIFY(child<QLabel>(dialog, u"PortProblems"_s)
                    ->text()
                    .startsWith(u"Slot 1: there is no port "_s + searched.at(0)));
    }

    // The clicks of a user, from the mode's controls and the found unit's
    // port to the bytes that arrive at it.
    void sendPutsTheComposedBytesOnTheWire_data()
    {
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("setting");

        QTest::newRow("map 1 and 8") << QStringList{u"ModeOption0"_s, u"WhichCheck0"_s, u"WhichCheck7"_s}
                                     << "\x81"_ba << u"9600,n,8,1"_s;
        QTest::newRow("mask 3 off") << QStringList{u"ModeOption1"_s, u"WhichOption2"_s, u"OnOffOption1"_s}
                                    << "\xFB"_ba << u"9600,n,8,1"_s;
        QTest::newRow("bit 8 on") << QStringList{u"ModeOption2"_s, u"WhichOption7"_s} << "\xFF\x08"_ba
                                  << u"9600,n,8,1"_s;
        QTest::newRow("tavo off code")
            << QStringList{u"WhichOption1"_s, u"OnOffOption1"_s} << "OFF1"_ba << u"19200,e,8,1"_s;
    }

    void sendPutsTheComposedBytesOnTheWire()
    {
        QFETCH(QStringList, clicks);
        QFETCH(QByteArray, wire);
        QFETCH(QString, setting);

        TestBench b;
        QVERIFY(activate(b.form));
        for (const QString &name : clicks) {
            // Only what the mode shows can be clicked by a user.
            QVERIFY2(child<QWidget>(b.form, name)->isVisible(), qPrintable(name));
            click(b.form, name);
        }
        QVERIFY(!b.sendEnabled()); // no port chosen yet
        click(b.form, u"Option1_2"_s);
        QVERIFY(b.sendEnabled());
        b.link.clearEvents();
        click(b.form, u"Send"_s);

        const std::vector<SimulatedLink::Event> writes = b.link.writes();
        QCOMPARE(writes.size(), std::size_t(1));
        QCOMPARE(writes[0].bytes, wire);
        QCOMPARE(writes[0].settings, setting);
        QCOMPARE(writes[0].port, 3);
        QVERIFY(!b.link.PortOpen());
    }

    // A unit whose rate the adapter cannot make gets nothing in Tavo mode,
    // and the dialog says why below the slots until a send goes out.
    void sendAtARateTheAdapterLacksSaysWhy()
    {
        TestBench b;
        b.link.refuseRates({19200});
        QVERIFY(activate(b.form));
        click(b.form, u"WhichOption1"_s);
        click(b.form, u"Option1_2"_s);
        b.link.clearEvents();
        click(b.form, u"Send"_s);
        QVERIFY(b.link.writes().empty());
        const auto *problems = child<QLabel>(b.form, u"PortProblems"_s);
        QVERIFY(problems->isVisible());
        QCOMPARE(problems->text().split(u'\n').constLast(), u"Send: SIM3 cannot run at 19200 baud"_s);
        QCoreApplication::processEvents(); // the dialog grows to the new line
        QVERIFY(saveScreenshot(b.form, u"serialtest-refused.png"_s));

        click(b.form, u"ModeOption2"_s);
        click(b.form, u"Send"_s);
        QCOMPARE(b.link.writes().size(), std::size_t(1));
        QVERIFY(!problems->text().contains(u"Send:"_s));
    }

    void pulseOutputHidesOffAndForcesOn()
    {
        TestBench b;
        QVERIFY(activate(b.form));
        auto *on = child<QRadioButton>(b.form, u"OnOffOption0"_s);
        auto *off = child<QRadioButton>(b.form, u"OnOffOption1"_s);
        SerialEditor *editor = child<SerialEditor>(b.form, u"SerialEditor1"_s);
        click(b.form, u"OnOffOption1"_s);
        click(b.form, u"WhichOption4"_s);
        QVERIFY(!off->isVisible() && on->isChecked());
        QVERIFY(editor->ReturnCurrentMessage().IsTheSameAs(b.config.OnMessages[4]));

        // Back on an output with two codes, Off can be chosen again.
        click(b.form, u"WhichOption1"_s);
        QVERIFY(off->isVisible());
        click(b.form, u"OnOffOption1"_s);
        QVERIFY(editor->ReturnCurrentMessage().IsTheSameAs(b.config.OffMessages[1]));
    }

    void searchFindsTheUnitAndShowsTheSettings()
    {
        TestBench b;
        QCOMPARE(child<QLabel>(b.form, u"SerialSettingLabel"_s)->text(),
                 u"19200, baud, Even parity, 8 Bit data, 1 Stop bit"_s);
        QVERIFY(activate(b.form));
        QVERIFY(saveScreenshot(b.form, u"serialtest.png"_s));
        QCOMPARE(child<QLabel>(b.form, u"VellType2"_s)->text(), u"Serial Tavo 1.0"_s);
        // Captions kept as units' owners know them: the eighth output's
        // button reads "1", the frame has two blanks.
        QCOMPARE(child<QRadioButton>(b.form, u"WhichOption7"_s)->text(), u"1"_s);
        // A screen reader, which cannot see where it stands, says which it is.
        QCOMPARE(child<QRadioButton>(b.form, u"WhichOption7"_s)->accessibleName(), u"Output 8"_s);
        QCOMPARE(child<QGroupBox>(b.form, u"OnOffFrame"_s)->title(), u"Switch  Output"_s);
    }

    // The editor's side: the device types come from the store, and the
    // programming dialog runs modally on the services' own link.
    void servicesRunTheDialogModally()
    {
        QTemporaryDir dir;
        const auto store = SettingsKeyValueStore::openIniFile(dir.filePath(u"types.ini"_s));
        DialogBench bench;
        bench.link.attachUnit(3);
        DeviceUnitServices services(bench.link, bench.waiter, bench.prompter, *store);
        services.checkDeviceTypes();
        QCOMPARE(store->queryValue(VellTypes::keyPath(), u"Version"_s, 4).number, 8u);

        QString found;
        services.dialogOpened = [&found](UnitDialog &dialog) {
            QObject::connect(&dialog, &UnitDialog::searchFinished, &dialog, [&dialog, &found] {
                found = child<QLineEdit>(dialog, u"VellType2"_s)->text();
                click(dialog, u"Command2"_s);
            });
        };
        services.showProgrammingDialog(bench.config, nullptr);
        QCOMPARE(found, u"Serial Tavo 1.0"_s);
        QVERIFY(!bench.link.PortOpen());
    }
};

QTEST_MAIN(TestVellComms)
#include "tst_vellcomms.moc"
