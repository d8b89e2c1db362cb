#include "DialogBench.h"
#include "SerialEditor.h"
#include "SerialTestForm.h"

#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

using namespace Qt::StringLiterals;

namespace {

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

class TestSerialTestForm : public QObject
{
    Q_OBJECT

private slots:
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
        QCOMPARE(child<QGroupBox>(b.form, u"OnOffFrame"_s)->title(), u"Switch  Output"_s);
    }

    void doneDuringTheSearchStopsIt()
    {
        TestBench b;
        b.link.setPortKind(1, SimulatedLink::PortKind::Empty);
        b.waiter.at(500, [&b] { click(b.form, u"Done"_s); });
        QVERIFY(activate(b.form));
        QCOMPARE(b.clock.now(), 500);
        QCOMPARE(b.eventsOf(LineBench::Kind::Write, 499), 0);
        QCOMPARE(b.eventsOf(LineBench::Kind::Open, -1, 3), 0);
        QVERIFY(!b.link.PortOpen());
        QVERIFY(!b.form.isVisible());
        QVERIFY(!b.sendEnabled());
    }
};

QTEST_MAIN(TestSerialTestForm)
#include "tst_serialtestform.moc"
