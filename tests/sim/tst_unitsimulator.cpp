#include "UnitSimulator.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

LineSettings setting(const QString &text)
{
    return *LineSettings::parse(text);
}

const QByteArray Probe("\xFFSETVEL", 7);

// Bytes sent one part after another, each at its setting.
using Parts = QList<std::pair<QString, QByteArray>>;

// Sends the bytes at one setting, a millisecond apart, and collects every
// answer.
QByteArray send(UnitSimulator &unit, const QByteArray &bytes, const QString &at, qint64 &now)
{
    QByteArray answer;
    for (const char c : bytes) {
        for (const auto &r : unit.feed(static_cast<std::uint8_t>(c), setting(at), now))
            answer.append(r.bytes);
        ++now;
    }
    return answer;
}

QByteArray block(int k, const QByteArray &eight, int checkError = 0)
{
    QByteArray b;
    b.append(static_cast<char>(k >> 8));
    b.append(static_cast<char>(k & 0xFF));
    b.append(eight);
    int sum = 0;
    for (const char c : b)
        sum += static_cast<std::uint8_t>(c);
    b.append(static_cast<char>((255 - sum + checkError) & 0xFF));
    return b;
}

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

// What the unit reports switching, a line each: "mask 3 on 04 -> 14",
// the last number being all outputs afterwards.
struct SwitchLog {
    QStringList lines;

    explicit SwitchLog(UnitSimulator &unit)
    {
        unit.switched = [this](const UnitSwitch &s) {
            static const char *const causes[] = {"on-code", "off-code", "map",    "mask",
                                                 "bit",     "period",   "restart"};
            QString line = QString::fromLatin1(causes[static_cast<int>(s.cause)]);
            if (s.output >= 0)
                line += u" %1 %2"_s.arg(s.output + 1).arg(s.on ? u"on"_s : u"off"_s);
            if (!s.bytes.isEmpty())
                line += u' ' + QString::fromLatin1(s.bytes.toHex());
            if (s.pulseMs)
                line += u" for %1"_s.arg(s.pulseMs);
            lines << line + u" -> %1"_s.arg(s.outputs, 2, 16, QLatin1Char('0'));
        };
    }
};

} // namespace

class TestUnitSimulator : public QObject
{
    Q_OBJECT

private slots:
    // The probe (8 data bits, no parity, 2 stop bits) counts only when it
    // arrives whole; commands go at odd parity, their data at even, and a
    // restart also switches every output off. Each row's parts follow a map
    // that switches outputs 1 and 8 on.
    void answers_data()
    {
        QTest::addColumn<Parts>("parts");
        QTest::addColumn<QByteArray>("expected");

        const auto probe = [](const QByteArray &bytes) { return Parts{{u"9600,n,8,2"_s, bytes}}; };
        const auto command = [](int c, const QByteArray &data, const char *parities = "oe") {
            return Parts{{u"9600,%1,8,1"_s.arg(QLatin1Char(parities[0])), QByteArray(1, char(c))},
                         {u"9600,%1,8,1"_s.arg(QLatin1Char(parities[1])), data}};
        };
        const QByteArray version = hex("160100e8"), eight("12345678");
        QTest::newRow("probe") << probe(Probe) << version;
        QTest::newRow("repeated lead byte") << probe(QByteArray("\xFF\xFFSETVEL", 8)) << version;
        QTest::newRow("probe after noise") << probe(QByteArray("xyz\xFFSETVEL", 10)) << version;
        QTest::newRow("wrong letter") << probe(QByteArray("\xFFSETVAL", 7)) << QByteArray();
        QTest::newRow("missing lead byte") << probe(QByteArray("SETVEL")) << QByteArray();
        QTest::newRow("probe twice") << probe(Probe + Probe) << version + version;
        QTest::newRow("restart") << command(0x33, hex("ff")) << hex("f000");
        QTest::newRow("restart needs FF") << command(0x33, hex("fe")) << QByteArray();
        QTest::newRow("restart command at even") << command(0x33, hex("ff"), "ee") << QByteArray();
        QTest::newRow("restart data at odd") << command(0x33, hex("ff"), "oo") << QByteArray();
        QTest::newRow("good block") << command(0x11, block(7, eight)) << hex("f000");
        QTest::newRow("bad check") << command(0x11, block(7, eight, 1)) << hex("0f00");
        QTest::newRow("block past the image") << command(0x11, block(32, eight)) << hex("0f00");
        QTest::newRow("short block") << command(0x11, block(7, eight).left(10)) << QByteArray();
        QTest::newRow("unknown command") << command(0x22, block(7, eight)) << QByteArray();
    }

    void answers()
    {
        QFETCH(Parts, parts);
        QFETCH(QByteArray, expected);
        UnitSimulator unit;
        qint64 now = 0;
        send(unit, hex("81"), u"9600,n,8,1"_s, now);
        QByteArray answer;
        for (const auto &[at, bytes] : parts)
            answer += send(unit, bytes, at, now);
        QCOMPARE(answer, expected);
        const bool restarted = parts.constFirst().second == hex("33") && expected == hex("f000");
        QCOMPARE(unit.restarts(), restarted ? 1 : 0);
        QCOMPARE(unit.outputs(), restarted ? 0 : 0x81);
    }

    void testStrings_data()
    {
        // Bytes at 9600,n,8,1 with the time each is sent at, starting from
        // some outputs on; the outputs once everything has settled, and
        // what the unit reported on the way.
        QTest::addColumn<int>("initial");
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<QList<int>>("times");
        QTest::addColumn<int>("expected");
        QTest::addColumn<QStringList>("reports");

        const auto row = [](const char *name, int initial, const char *sent, const QList<int> &times,
                            int expected, const QStringList &reports) {
            QTest::newRow(name) << initial << hex(sent) << times << expected << reports;
        };
        row("map of outputs 1 and 8", 0x10, "81", {0}, 0x81, {u"map 81 -> 81"_s});
        row("mask on output 3", 0x10, "04", {0}, 0x14, {u"mask 3 on 04 -> 14"_s});
        row("mask off output 3", 0x07, "fb", {0}, 0x03, {u"mask 3 off fb -> 03"_s});
        row("bit on output 8", 0x01, "ff08", {0, 1}, 0x81, {u"bit 8 on ff08 -> 81"_s});
        row("bit off output 1", 0x03, "0001", {0, 1}, 0x02, {u"bit 1 off 0001 -> 02"_s});
        row("lone FF is all on", 0x00, "ff", {0}, 0xFF, {u"map ff -> ff"_s});
        row("lone 00 is all off", 0x5A, "00", {0}, 0x00, {u"map 00 -> 00"_s});
        row("slow second byte", 0x00, "ff03", {0, 50}, 0x03, {u"map ff -> 03"_s, u"map 03 -> 03"_s});
        row("FF then a map", 0x00, "ff30", {0, 1}, 0x30, {u"map ff -> 30"_s, u"map 30 -> 30"_s});
        row("00 then output 9 is no bit", 0x0F, "0009", {0, 1}, 0x09, {u"map 00 -> 09"_s, u"map 09 -> 09"_s});
    }

    void testStrings()
    {
        QFETCH(int, initial);
        QFETCH(QByteArray, sent);
        QFETCH(QList<int>, times);
        QFETCH(int, expected);
        QFETCH(QStringList, reports);

        UnitSimulator unit;
        unit.feed(static_cast<std::uint8_t>(initial), setting(u"9600,n,8,1"_s), -1000);
        unit.advanceTo(-500);
        const SwitchLog log(unit);
        int reported = initial;
        unit.outputsChanged = [&](std::uint8_t outputs) { reported = outputs; };
        for (qsizetype i = 0; i < sent.size(); ++i)
            unit.feed(static_cast<std::uint8_t>(sent[i]), setting(u"9600,n,8,1"_s), times[i]);
        while (const auto deadline = unit.nextDeadline())
            unit.advanceTo(*deadline);
        QCOMPARE(unit.outputs(), expected);
        QCOMPARE(reported, expected);
        QCOMPARE(log.lines, reports);
    }

    // A unit at 19200, odd parity. Output 1: On "AB", Off "CD". Output 3,
    // pulse mode, period 0 (0.1 s): On "AB" too, and an Off code it never
    // listens for. Output 5, pulse for 2 s on "Z". Each step sends bytes at
    // a time and setting (or only lets the time pass) and shows the outputs
    // and the next time the unit has something to do.
    void configuredCodesSwitchOutputs()
    {
        UnitConfig config;
        const auto setCode = [&](int offset, const QByteArray &code) {
            config.image[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(code.size());
            std::copy(code.begin(), code.end(), config.image.begin() + offset + 1);
        };
        setCode(16 + 15 * 0, "AB");
        setCode(136 + 15 * 0, "CD");
        setCode(16 + 15 * 2, "AB");
        setCode(136 + 15 * 2, "XY");
        setCode(16 + 15 * 4, "Z");
        config.image[8] = 0x04 | 0x10;
        config.image[2] = 0;
        config.image[4] = 2;
        config.image[9] = 4;  // 19200
        config.image[10] = 1; // odd
        UnitSimulator unit(config);
        const SwitchLog log(unit);
        // The outputs after bytes at a time (at the unit's own setting unless
        // said), or once the time has come.
        const auto sent = [&unit](const char *bytes, qint64 at, const QString &line = u"19200,o,8,1"_s) {
            unit.feed(QByteArray(bytes), setting(line), at);
            return unit.outputs();
        };
        const auto at = [&unit](qint64 time) {
            unit.advanceTo(time);
            return unit.outputs();
        };

        QCOMPARE(sent("xA", 0), 0);
        QCOMPARE(sent("B", 1, u"9600,o,8,1"_s), 0); // wrong setting: no match
        QCOMPARE(sent("AB", 10), 0x05);
        QCOMPARE(sent("Z", 20), 0x15);
        QCOMPARE(sent("XY", 30), 0x15);
        QCOMPARE(unit.nextDeadline(), std::optional<qint64>(110));
        QCOMPARE(unit.pulseEnd(2), std::optional<qint64>(110));
        QCOMPARE(unit.pulseEnd(4), std::optional<qint64>(2020));
        QCOMPARE(at(110), 0x11);
        QCOMPARE(sent("CD", 200), 0x10);
        QCOMPARE(at(2019), 0x10);
        QCOMPARE(at(2020), 0x00);
        QVERIFY(!unit.nextDeadline());
        QCOMPARE(log.lines, (QStringList{u"on-code 1 on 4142 -> 05"_s, u"on-code 3 on 4142 for 100 -> 05"_s,
                                         u"on-code 5 on 5a for 2000 -> 15"_s, u"period 3 off -> 11"_s,
                                         u"off-code 1 off 4344 -> 10"_s, u"period 5 off -> 00"_s}));

        // Pulled out, the unit is dead: its outputs off, its pulses over,
        // deaf to its codes. Back in, it has kept its configuration.
        sent("ABZ", 3000);
        unit.unplug();
        QCOMPARE(unit.outputs(), 0x00);
        QVERIFY(!unit.nextDeadline() && !unit.present());
        QCOMPARE(sent("AB", 3100), 0x00);
        unit.plugIn();
        QCOMPARE(sent("AB", 3200), 0x05);
    }
};

QTEST_GUILESS_MAIN(TestUnitSimulator)
#include "tst_unitsimulator.moc"
