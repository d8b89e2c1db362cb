#include "DialogBench.h"
#include "device/SerialTestForm.h"
#include "editor/SerialEditor.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

using namespace Qt::StringLiterals;

namespace {

using Type = SerialEditorData::Type;

SerialEditorData code(const QByteArray &bytes)
{
    SerialEditorData m;
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(bytes.size()));
    for (int i = 0; i < bytes.size(); ++i) {
        m.SetByteValue(i, static_cast<std::uint8_t>(bytes.at(i)));
        m.SetByteType(i, Type::Hexadecimal);
    }
    return m;
}

// A Serial Tavo on port 3. Output 1 has On and Off codes, output 4 is in
// pulse mode; the unit listens for its codes at 19200 baud, even parity.
struct Configured : DialogBench {
    Configured()
    {
        link.AttachUnit(3);
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
};

QPushButton *sendButton(SerialTestForm &form)
{
    return child<QPushButton>(form, u"Send"_s);
}

} // namespace

class TestSerialTestForm : public QObject
{
    Q_OBJECT

private slots:
    // The clicks of a user, from the found unit's port to the bytes that
    // arrive at it.
    void sendPutsTheComposedBytesOnTheWire_data()
    {
        QTest::addColumn<QStringList>("clicks");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("setting");

        QTest::newRow("map 1 and 8") << QStringList{u"ModeOption0"_s, u"WhichCheck0"_s, u"WhichCheck7"_s}
                                     << "\x81"_ba << u"9600,n,8,1"_s;
        QTest::newRow("mask 3 off") << QStringList{u"ModeOption1"_s, u"WhichOption2"_s, u"OnOffOption1"_s}
                                    << "\xFB"_ba << u"9600,n,8,1"_s;
        QTest::newRow("mask 3 on") << QStringList{u"ModeOption1"_s, u"WhichOption2"_s} << "\x04"_ba
                                   << u"9600,n,8,1"_s;
        QTest::newRow("bit 8 on") << QStringList{u"ModeOption2"_s, u"WhichOption7"_s} << "\xFF\x08"_ba
                                  << u"9600,n,8,1"_s;
        QTest::newRow("tavo off code")
            << QStringList{u"WhichOption1"_s, u"OnOffOption1"_s} << "OFF1"_ba << u"19200,e,8,1"_s;
        QTest::newRow("tavo pulse output")
            << QStringList{u"OnOffOption1"_s, u"WhichOption4"_s} << "\x02P4"_ba << u"19200,e,8,1"_s;
    }

    void sendPutsTheComposedBytesOnTheWire()
    {
        QFETCH(QStringList, clicks);
        QFETCH(QByteArray, wire);
        QFETCH(QString, setting);

        TestBench b;
        QVERIFY(activate(b.form));
        QVERIFY(!sendButton(b.form)->isEnabled());
        click(b.form, u"Option1_2"_s);
        QCOMPARE(b.form.Port(), 3);
        for (const QString &name : clicks) {
            // Only what the mode shows can be clicked by a user.
            QVERIFY2(child<QWidget>(b.form, name)->isVisible(), qPrintable(name));
            click(b.form, name);
        }
        QVERIFY(sendButton(b.form)->isEnabled());
        b.link.clearEvents();
        click(b.form, u"Send"_s);

        const std::vector<SimulatedLink::Event> writes = b.link.writes();
        QCOMPARE(writes.size(), std::size_t(1));
        QCOMPARE(writes[0].bytes, wire);
        QCOMPARE(writes[0].settings, setting);
        QCOMPARE(writes[0].port, 3);
        QVERIFY(!b.link.PortOpen());
    }

    // Send needs a port and something to send.
    void sendStaysDisabled_data()
    {
        QTest::addColumn<bool>("choosePort");
        QTest::addColumn<QStringList>("clicks");

        QTest::newRow("no port, tavo") << false << QStringList{u"WhichOption1"_s};
        QTest::newRow("no port, map") << false << QStringList{u"ModeOption0"_s, u"WhichCheck2"_s};
        QTest::newRow("no port, mask") << false << QStringList{u"ModeOption1"_s};
        QTest::newRow("no port, bit") << false << QStringList{u"ModeOption2"_s};
        QTest::newRow("empty on code") << true << QStringList{u"WhichOption6"_s};
        QTest::newRow("empty off code") << true << QStringList{u"OnOffOption1"_s};
    }

    void sendStaysDisabled()
    {
        QFETCH(bool, choosePort);
        QFETCH(QStringList, clicks);

        TestBench b;
        QVERIFY(activate(b.form));
        if (choosePort)
            click(b.form, u"Option1_2"_s);
        for (const QString &name : clicks)
            click(b.form, name);
        QVERIFY(!sendButton(b.form)->isEnabled());
    }

    void pulseOutputHidesOffAndForcesOn()
    {
        TestBench b;
        QVERIFY(activate(b.form));
        auto *on = child<QRadioButton>(b.form, u"OnOffOption0"_s);
        auto *off = child<QRadioButton>(b.form, u"OnOffOption1"_s);
        click(b.form, u"OnOffOption1"_s);
        click(b.form, u"WhichOption4"_s);
        QVERIFY(!off->isVisible());
        QVERIFY(on->isChecked());
        SerialEditor *editor = child<SerialEditor>(b.form, u"SerialEditor1"_s);
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
        QVERIFY(child<QRadioButton>(b.form, u"Option1_2"_s)->isEnabled());
        QVERIFY(!child<QRadioButton>(b.form, u"Option1_0"_s)->isVisible());
        QCOMPARE(child<QRadioButton>(b.form, u"WhichOption7"_s)->text(), u"1"_s);
        QCOMPARE(child<QGroupBox>(b.form, u"OnOffFrame"_s)->title(), u"Switch  Output"_s);
    }

    void doneDuringTheSearchStopsIt()
    {
        TestBench b;
        b.link.SetPortKind(1, SimulatedLink::PortKind::Empty);
        b.waiter.At(500, [&b] { click(b.form, u"Done"_s); });
        QVERIFY(activate(b.form));
        QCOMPARE(b.clock.now(), 500);
        QCOMPARE(b.eventsAfter(499, SimulatedLink::Event::Kind::Write), 0);
        QCOMPARE(b.opensOf(3), 0);
        QVERIFY(!b.link.PortOpen());
        QVERIFY(!b.form.isVisible());
        QVERIFY(!sendButton(b.form)->isEnabled());
    }
};

QTEST_MAIN(TestSerialTestForm)
#include "tst_serialtestform.moc"
