#include "DialogBench.h"
#include "device/DeviceUnitServices.h"
#include "device/VellComms.h"
#include "platform/SettingsKeyValueStore.h"

#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

using Kind = SimulatedLink::Event::Kind;
using Shown = ScriptedPrompter::Shown;

const QString ProgramFailed = u"Program failed, Tavo will fail to operate correctly until reprogrammmed, Try "
                              u"powering the tavo off/wait/on and reprogram again"_s;

VellProtocol::ConfigImage sampleImage()
{
    VellProtocol::ConfigImage image{};
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<std::uint8_t>(i * 7 + 3);
    return image;
}

QStringList texts(const QList<Shown> &shown)
{
    QStringList out;
    for (const Shown &s : shown)
        out << s.title + u" | "_s + s.text;
    return out;
}

// A Serial Tavo on port 2, ready to be programmed with the sample image.
struct Programming : DialogBench {
    VellComms dialog{config, parts()};
    UnitSimulator &unit = link.AttachUnit(2);

    Programming() { config.ConfigImage = sampleImage(); }

    bool chooseAndProgram()
    {
        if (!dialog.isVisible() && !activate(dialog))
            return false;
        click(dialog, u"Option1_1"_s);
        if (!child<QPushButton>(dialog, u"ProgramVell"_s)->isEnabled())
            return false;
        link.clearEvents();
        click(dialog, u"ProgramVell"_s);
        return true;
    }
};

} // namespace

class TestVellComms : public QObject
{
    Q_OBJECT

private slots:
    void slotShowsWhatAnswered_data()
    {
        QTest::addColumn<int>("kind"); // 0 missing, 1 empty, 2 unit
        QTest::addColumn<int>("reply");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QString>("text"); // "#" stands for the type table's name of `reply`
        QTest::addColumn<bool>("shown");
        QTest::addColumn<bool>("choosable");

        QTest::newRow("serial tavo") << 2 << 22 << 3 << u"Serial Tavo 1.3"_s << true << true;
        // Bit 4 of the second version byte shows in the first number too.
        QTest::newRow("version mask") << 2 << 22 << 0x12 << u"Serial Tavo 4097.18"_s << true << true;
        QTest::newRow("other type") << 2 << 0x33 << 7 << u"#1.7"_s << true << false;
        QTest::newRow("nothing answers") << 1 << 0 << 0 << u"--------------"_s << true << false;
        QTest::newRow("port will not open") << 0 << 0 << 0 << u"--------------"_s << false << false;
    }

    void slotShowsWhatAnswered()
    {
        QFETCH(int, kind);
        QFETCH(int, reply);
        QFETCH(int, minor);
        QFETCH(QString, text);
        QFETCH(bool, shown);
        QFETCH(bool, choosable);

        DialogBench bench;
        bench.link.SetPortKind(2, SimulatedLink::PortKind(kind));
        if (kind == 2) {
            UnitConfig unit;
            unit.replyCode = static_cast<std::uint8_t>(reply);
            unit.versionMinor = static_cast<std::uint8_t>(minor);
            bench.link.AttachUnit(2, unit);
        }
        bench.link.SetPortName(2, u"/dev/ttyUSB7"_s);
        if (text.startsWith(u'#'))
            text.replace(u"#"_s, bench.types.at(bench.types.IndexOfReply(reply)).Name);

        VellComms dialog(bench.config, bench.parts());
        QVERIFY(activate(dialog));
        const auto *type = child<QLineEdit>(dialog, u"VellType1"_s);
        const auto *option = child<QRadioButton>(dialog, u"Option1_1"_s);
        QCOMPARE(type->text(), text);
        QCOMPARE(type->isVisible(), shown);
        QCOMPARE(type->isEnabled(), choosable);
        QCOMPARE(option->isVisible(), shown);
        QCOMPARE(option->isEnabled(), choosable);
        QVERIFY(!child<QFrame>(dialog, u"Blanking1"_s)->isVisible());
        QCOMPARE(child<QLabel>(dialog, u"PortName1"_s)->text(), u"/dev/ttyUSB7"_s);
        QCOMPARE(child<QLabel>(dialog, u"PortName1"_s)->toolTip(), bench.link.PortDescription(2));
        QVERIFY(!bench.link.PortOpen());
        QVERIFY(!child<QPushButton>(dialog, u"ProgramVell"_s)->isEnabled());
        QVERIFY(bench.prompter.shown().isEmpty());
    }

    void everyActivationSearchesAgainAndClearsTheChoice()
    {
        Programming p;
        QVERIFY(activate(p.dialog));
        QVERIFY(saveScreenshot(p.dialog, u"vellcomms.png"_s));
        click(p.dialog, u"Option1_1"_s);
        QVERIFY(child<QRadioButton>(p.dialog, u"Option1_1"_s)->isChecked());
        QVERIFY(child<QPushButton>(p.dialog, u"ProgramVell"_s)->isEnabled());

        p.dialog.hide();
        QVERIFY(activate(p.dialog));
        QCOMPARE(p.opensOf(2), 2);
        QVERIFY(!child<QRadioButton>(p.dialog, u"Option1_1"_s)->isChecked());
        QVERIFY(!child<QPushButton>(p.dialog, u"ProgramVell"_s)->isEnabled());

        // The search button does the same without hiding.
        click(p.dialog, u"Option1_1"_s);
        click(p.dialog, u"Command1"_s);
        QCOMPARE(p.opensOf(2), 3);
        QVERIFY(!child<QRadioButton>(p.dialog, u"Option1_1"_s)->isChecked());
        QVERIFY(!child<QPushButton>(p.dialog, u"ProgramVell"_s)->isEnabled());
    }

    void programmingDownloadsTheImage()
    {
        Programming p;
        QVERIFY(activate(p.dialog));
        // Half-way through the blocks the progress panel covers the slots.
        bool midway = false;
        p.waiter.At(p.clock.now() + 640, [&p, &midway] {
            const int value = child<QProgressBar>(p.dialog, u"ProgressBar1"_s)->value();
            midway = child<QFrame>(p.dialog, u"PleaseWait"_s)->isVisible() && value > 0 && value < 1000
                     && child<QLabel>(p.dialog, u"Label2"_s)->text()
                            == QString::number(value / 10.0, 'f', 1) + u'%'
                     && saveScreenshot(p.dialog, u"vellcomms-programming.png"_s);
        });
        QVERIFY(p.chooseAndProgram());
        QVERIFY(midway);
        QCOMPARE(p.unit.imagesReceived(), 1);
        QVERIFY(p.unit.image() == sampleImage());
        QCOMPARE(child<QLabel>(p.dialog, u"Label2"_s)->text(), u"100%"_s);
        QCOMPARE(child<QProgressBar>(p.dialog, u"ProgressBar1"_s)->value(), 1000);
        QCOMPARE(texts(p.prompter.shown()), QStringList{u"All sent ok | Program another tavo"_s});
        const Shown &question = p.prompter.shown().first();
        QCOMPARE(question.buttons, Prompter::Buttons::YesNo);
        QCOMPARE(question.defaultAnswer, Prompter::Answer::No);
        QVERIFY(!p.dialog.isVisible());
        QVERIFY(!p.link.PortOpen());
        // Only the chosen port was used: no new search.
        QCOMPARE(p.link.events().front().kind, Kind::Open);
        for (const SimulatedLink::Event &e : p.link.events())
            QCOMPARE(e.port, 2);
    }

    void programAnotherRunsAgainWithoutSearching()
    {
        Programming p;
        p.prompter.SetNextAnswer(Prompter::Answer::Yes);
        // The first unit is taken away once programmed; nothing answers then.
        p.unit.ImageReceived = [&p](const UnitSimulator::Image &) { p.unit.config().probeSilent = true; };
        QVERIFY(p.chooseAndProgram());
        QCOMPARE(texts(p.prompter.shown()),
                 (QStringList{u"All sent ok | Program another tavo"_s, u"Error! | Tavo not responding"_s}));
        QCOMPARE(p.unit.imagesReceived(), 1);
        QCOMPARE(p.opensOf(1) + p.opensOf(3) + p.opensOf(4), 0);
        QCOMPARE(p.opensOf(2), 2);
        QVERIFY(!p.dialog.isVisible());
        QVERIFY(!p.link.PortOpen());
    }

    // Each failure shows its own message and nothing after it, except that
    // a unit that will not restart after a full download is reported as
    // badly programmed.
    void failuresShowTheirOwnMessages_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<QStringList>("messages");

        QTest::newRow("block unanswered") << 0 << QStringList{u"Error!  5 | No reply to download"_s};
        QTest::newRow("block refused") << 1 << QStringList{u"Error!  5 | Reply to download failed"_s};
        QTest::newRow("restart unanswered")
            << 2 << QStringList{u"Error! | No reply to restart"_s, u"Error! | "_s + ProgramFailed};
        QTest::newRow("restart refused")
            << 3 << QStringList{u"Error! | Reply fail to restart"_s, u"Error! | "_s + ProgramFailed};
        QTest::newRow("unit silent") << 4 << QStringList{u"Error! | Tavo not responding"_s};
        QTest::newRow("port gone") << 5 << QStringList{u"Error! | Port not open"_s};
    }

    void failuresShowTheirOwnMessages()
    {
        QFETCH(int, fault);
        QFETCH(QStringList, messages);

        Programming p;
        QVERIFY(activate(p.dialog));
        UnitConfig &c = p.unit.config();
        c.faultyBlock = 5;
        switch (fault) {
        case 0:
            c.blockFault = UnitAckFault::Silent;
            break;
        case 1:
            c.blockFault = UnitAckFault::WrongByte;
            break;
        case 2:
            c.restartFault = UnitAckFault::Silent;
            break;
        case 3:
            c.restartFault = UnitAckFault::WrongByte;
            break;
        case 4:
            c.probeSilent = true;
            break;
        case 5:
            p.link.SetPortKind(2, SimulatedLink::PortKind::Missing);
            break;
        }
        click(p.dialog, u"Option1_1"_s);
        click(p.dialog, u"ProgramVell"_s);
        QCOMPARE(texts(p.prompter.shown()), messages);
        for (const Shown &s : p.prompter.shown())
            QCOMPARE(s.icon, Prompter::Icon::Exclamation);
        QVERIFY(!p.dialog.isVisible());
        QVERIFY(!p.link.PortOpen());
    }

    // However the dialog is closed in the middle of a wait, the routine
    // stops there: nothing more goes out, nothing is reported, the port
    // is closed.
    void closingDuringAWaitStopsAtOnce_data()
    {
        QTest::addColumn<int>("how"); // 0 Cancel, 1 Escape, 2 window close, 3 deleted
        QTest::addColumn<bool>("programming");
        QTest::addColumn<int>("atMs"); // after the search starts / the button is pressed

        QTest::newRow("cancel in search") << 0 << false << 250;
        QTest::newRow("escape in search") << 1 << false << 1700;
        QTest::newRow("close in search") << 2 << false << 40;
        QTest::newRow("deleted in search") << 3 << false << 900;
        QTest::newRow("cancel in download") << 0 << true << 600;
        QTest::newRow("close while the port settles") << 2 << true << 30;
        QTest::newRow("deleted in download") << 3 << true << 650;
    }

    void closingDuringAWaitStopsAtOnce()
    {
        QFETCH(int, how);
        QFETCH(bool, programming);
        QFETCH(int, atMs);

        DialogBench bench;
        bench.link.SetPortKind(1, SimulatedLink::PortKind::Empty);
        UnitSimulator &unit = bench.link.AttachUnit(2);
        bench.link.SetPortKind(3, SimulatedLink::PortKind::Empty);
        auto *dialog = new VellComms(bench.config, bench.parts());
        const QPointer<VellComms> guard(dialog);
        const auto closeIt = [dialog, how] {
            switch (how) {
            case 0:
                click(*dialog, u"Command2"_s);
                break;
            case 1:
                QTest::keyClick(dialog, Qt::Key_Escape);
                break;
            case 2:
                dialog->close();
                break;
            case 3:
                delete dialog;
                break;
            }
        };
        if (programming) {
            QVERIFY(activate(*dialog));
            click(*dialog, u"Option1_1"_s);
        }
        const qint64 at = bench.clock.now() + atMs;
        bench.waiter.At(at, closeIt);
        if (programming) {
            click(*dialog, u"ProgramVell"_s);
        } else {
            dialog->show();
            QCoreApplication::processEvents();
        }

        QCOMPARE(bench.clock.now(), at);
        QCOMPARE(bench.eventsAfter(at - 1, Kind::Write), 0);
        QCOMPARE(bench.eventsAfter(at - 1, Kind::Open), 0);
        QVERIFY(!bench.link.PortOpen());
        QVERIFY(bench.prompter.shown().isEmpty());
        QCOMPARE(unit.imagesReceived(), 0);
        QVERIFY(bench.waiter.waits().back().aborted);
        QCOMPARE(guard.isNull(), how == 3);
        if (guard)
            QVERIFY(!guard->isVisible());
        delete guard.data();
    }

    // The editor's side: the device types come from the store, and the
    // programming dialog runs modally on the services' own link.
    void servicesRunTheDialogModally()
    {
        QTemporaryDir dir;
        const auto store = SettingsKeyValueStore::openIniFile(dir.filePath(u"types.ini"_s));
        DialogBench bench;
        bench.link.AttachUnit(3);
        DeviceUnitServices services(bench.link, bench.waiter, bench.prompter, *store);
        services.CheckDeviceTypes();
        QCOMPARE(store->QueryValue(VellTypes::KeyPath(), u"Version"_s, 4).number, 8u);

        QString found;
        services.DialogOpened = [&found](UnitDialog &dialog) {
            QObject::connect(&dialog, &UnitDialog::SearchFinished, &dialog, [&dialog, &found] {
                found = child<QLineEdit>(dialog, u"VellType2"_s)->text();
                click(dialog, u"Command2"_s);
            });
        };
        services.ShowProgrammingDialog(bench.config, nullptr);
        QCOMPARE(found, u"Serial Tavo 1.0"_s);
        QVERIFY(!bench.link.PortOpen());
    }
};

QTEST_MAIN(TestVellComms)
#include "tst_vellcomms.moc"
