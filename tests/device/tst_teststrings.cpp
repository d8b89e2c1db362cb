#include "LineBench.h"
#include "TestStrings.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Event = SimulatedLink::Event;
using Type = SerialEditorData::Type;

std::array<bool, 8> checks(std::initializer_list<int> outputs)
{
    std::array<bool, 8> c{};
    for (int o : outputs)
        c[static_cast<std::size_t>(o)] = true;
    return c;
}

// Output 2 (the third) has separate codes, output 5 is in pulse mode.
ConfigData sampleConfig()
{
    ConfigData config;
    config.OnMessages[2] = code("\x01\x02\x03"_ba);
    config.OffMessages[2] = code("OFF"_ba, Type::Ascii);
    config.PulseModes[5] = true;
    config.OnMessages[5] = code("\x1BP5"_ba);
    config.OffMessages[5] = code("never"_ba);
    return config;
}

} // namespace

Q_DECLARE_METATYPE(TestStrings::Selection)

class TestTestStrings : public QObject
{
    Q_OBJECT

private slots:
    // From the user's picks to what arrives on the line: the bytes, the
    // line setting they go out at, and whether Send could be pressed.
    void composeAndSend_data()
    {
        QTest::addColumn<TestStrings::Selection>("selection");
        QTest::addColumn<int>("baudIndex");
        QTest::addColumn<int>("parityIndex");
        QTest::addColumn<bool>("sendEnabled");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("setting");

        using S = TestStrings::Selection;
        const QString plain = u"9600,n,8,1"_s;
        // Plain test strings ignore the unit's own settings.
        QTest::newRow("map all") << S{1, 0, 0, checks({0, 1, 2, 3, 4, 5, 6, 7}), true, false} << 4 << 1
                                 << true << "\xFF"_ba << plain;
        QTest::newRow("bit 1 off") << S{1, 2, 0, {}, false, true} << 0 << 0 << true << "\x00\x01"_ba << plain;
        QTest::newRow("tavo pulse output forces on")
            << S{1, 3, 5, {}, false, true} << 1 << 0 << true << "\x1BP5"_ba << u"2400,n,8,1"_s;
        QTest::newRow("tavo empty code")
            << S{1, 3, 0, {}, true, false} << 0 << 0 << false << QByteArray() << QString();
        // Neither On nor Off: nothing to say to the unit.
        QTest::newRow("mask neither")
            << S{1, 1, 1, {}, false, false} << 0 << 0 << false << QByteArray() << QString();
        QTest::newRow("bit neither") << S{1, 2, 1, {}, false, false} << 0 << 0 << false << QByteArray()
                                     << QString();
        // Composed, but the value 256 is no byte: the send fails quietly.
        QTest::newRow("mask no output")
            << S{1, 1, -1, {}, true, false} << 0 << 0 << true << QByteArray() << QString();
        // An index off its list gives a setting the port refuses.
        QTest::newRow("tavo parity off the list")
            << S{1, 3, 2, {}, true, false} << 0 << 3 << true << QByteArray() << QString();
        QTest::newRow("tavo bad baud index")
            << S{1, 3, 2, {}, true, false} << 7 << 0 << true << QByteArray() << QString();
    }

    void composeAndSend()
    {
        QFETCH(TestStrings::Selection, selection);
        QFETCH(int, baudIndex);
        QFETCH(int, parityIndex);
        QFETCH(bool, sendEnabled);
        QFETCH(QByteArray, wire);
        QFETCH(QString, setting);

        ConfigData config = sampleConfig();
        config.BaudIndex = static_cast<std::int16_t>(baudIndex);
        config.ParityIndex = static_cast<std::int16_t>(parityIndex);

        SerialEditorData message = code("stale"_ba);
        const TestStrings::Composition c = TestStrings::compose(selection, config, message);
        QCOMPARE(c.sendEnabled.value_or(false), sendEnabled);

        LineBench b;
        SimulatedLink &link = b.link;
        for (int p = 1; p <= 4; ++p)
            link.setPortKind(p, SimulatedLink::PortKind::Empty);
        // A disabled Send cannot be pressed.
        const bool sent =
            sendEnabled && TestStrings::Send(link, selection.port, selection.mode, message, config);
        QCOMPARE(sent, !wire.isEmpty());
        QVERIFY(!link.PortOpen());

        QCOMPARE(link.writtenBytes(), wire);
        if (sent) {
            QCOMPARE(link.writes().size(), std::size_t(1));
            QCOMPARE(b.writesOf(wire, setting), 1);
            QCOMPARE(link.writes().front().port, selection.port);
        }
    }

    // What the user sees: each notation of the value, and the Bit pair
    // with blanks between its three showings.
    void composedLayout_data()
    {
        QTest::addColumn<TestStrings::Selection>("selection");
        QTest::addColumn<QList<int>>("values");
        QTest::addColumn<QList<int>>("types");

        using S = TestStrings::Selection;
        QTest::newRow("map") << S{1, 0, 0, checks({1, 3}), true, false} << QList<int>{10, 10, 10}
                             << QList<int>{1, 2, 3};
        QTest::newRow("bit 5 off") << S{1, 2, 4, {}, false, true}
                                   << QList<int>{0, 5, 32, 32, 0, 5, 32, 32, 0, 5}
                                   << QList<int>{1, 1, 0, 0, 2, 2, 0, 0, 3, 3};
        QTest::newRow("mask neither empties") << S{1, 1, 0, {}, false, false} << QList<int>{} << QList<int>{};
    }

    void composedLayout()
    {
        QFETCH(TestStrings::Selection, selection);
        QFETCH(QList<int>, values);
        QFETCH(QList<int>, types);

        const ConfigData config;
        SerialEditorData message = code("previous text"_ba);
        TestStrings::compose(selection, config, message);
        QCOMPARE(message.NumberOfBytesInMessage(), values.size());
        for (int i = 0; i < values.size(); ++i) {
            QCOMPARE(message.ByteValue(i), values.at(i));
            QCOMPARE(SerialEditorData::codeOf(message.ByteType(i)), types.at(i));
        }
    }

    // A send first lets go of a port left open, holds its own port open
    // until the bytes have left (closing puts the line back to its old
    // setting), and a port that will not open takes nothing.
    void sendClosesWhateverWasOpen()
    {
        LineBench b;
        SimulatedLink &link = b.link;
        link.setPortKind(1, SimulatedLink::PortKind::Empty);
        link.setPortKind(3, SimulatedLink::PortKind::Empty);
        link.SetCommPort(3);
        link.SetPortOpen(true);
        link.clearEvents();

        const ConfigData config;
        const SerialEditorData message = code("0123456789abcd"_ba);
        QVERIFY(TestStrings::Send(link, 1, TestStrings::Tavo, message, config, &b.waiter));
        const std::vector<Event> &events = link.events();
        QCOMPARE(events.front().kind, Event::Kind::Close);
        QCOMPARE(events.front().port, 3);
        QCOMPARE(events.back().kind, Event::Kind::Close);
        QCOMPARE(events.back().port, 1);
        // 10 bits a byte at 9600 baud.
        QVERIFY(events.back().timeMs() - link.writes().front().timeMs() >= 14 * 10 * 1000 / 9600);

        link.clearEvents();
        QCOMPARE(TestStrings::Send(link, 2, TestStrings::Mask, message, config).why,
                 u"there is no port SIM2"_s);
        QVERIFY(!TestStrings::Send(link, 0, TestStrings::Mask, message, config));            // no port chosen
        QVERIFY(!TestStrings::Send(link, 5, TestStrings::Mask, message, config));            // no such port
        QVERIFY(!TestStrings::Send(link, 1, TestStrings::Tavo, SerialEditorData(), config)); // empty code
        QVERIFY(!TestStrings::Send(link, 1, 4, message, config));                            // no such mode
    }
};

QTEST_GUILESS_MAIN(TestTestStrings)
#include "tst_teststrings.moc"
