#include "LineBench.h"
#include "TestStrings.h"
#include "TracingLink.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString Odd = u"9600,o,8,1"_s;
const QString Even = u"9600,e,8,1"_s;

struct Rig : LineBench {
    VellProtocol protocol{link, waiter, prompter, types};
    QList<QPair<QString, int>> progress;

    Rig()
    {
        protocol.onProgress = [this](const QString &label, int value) { progress.append({label, value}); };
    }

    // A unit on port 1, the port open, the record empty.
    UnitSimulator &open(const UnitConfig &unit = {})
    {
        UnitSimulator &attached = link.attachUnit(1, unit);
        link.SetCommPort(1);
        link.SetPortOpen(true);
        link.clearEvents();
        return attached;
    }

    // "t=200 9600,n,8,2 W ff" for writes, "t=260 R 4" for reads,
    // "t=81.818 break off" for breaks; milliseconds.
    QStringList trace() const
    {
        QStringList lines;
        for (const auto &e : link.events()) {
            const QString t = u"t="_s + QString::number(double(e.time.count()) / 1000, 'g', 10);
            if (e.kind == Kind::Write)
                lines << u"%1 %2 W %3"_s.arg(t, e.settings, QString::fromLatin1(e.bytes.toHex(' ')));
            else if (e.kind == Kind::Read)
                lines << u"%1 R %2"_s.arg(t).arg(e.bytes.size());
            else if (e.kind == Kind::BreakOn || e.kind == Kind::BreakOff)
                lines << t + (e.kind == Kind::BreakOn ? u" break on"_s : u" break off"_s);
        }
        return lines;
    }
};

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

// What goes on the line: the programming protocol and the test strings.
class TestVellProtocol : public QObject
{
    Q_OBJECT

private slots:
    // An adapter that cannot run at 110 baud gets the line reset as a break
    // as long as the 00 (nine bit times, 81.818 ms); a search rate it
    // cannot make is left out. Otherwise the wire is what it always was.
    void lineResetOnEveryAdapter_data()
    {
        QTest::addColumn<QList<int>>("refused");
        QTest::addColumn<QStringList>("head"); // the start of the trace
        QTest::addColumn<QStringList>("probedAt");

        const QStringList reset{u"t=0 110,n,8,2 W 00"_s, u"t=200 R 0"_s, u"t=200 9600,n,8,2 W ff"_s};
        const QStringList broken{u"t=0 break on"_s, u"t=81.818 break off"_s, u"t=281.818 R 0"_s,
                                 u"t=281.818 9600,n,8,2 W ff"_s};
        const QStringList all{u"9600"_s,  u"38400"_s, u"28800"_s, u"19200"_s,
                              u"14400"_s, u"4800"_s,  u"2400"_s};
        const QStringList standard{u"9600"_s, u"38400"_s, u"19200"_s, u"4800"_s, u"2400"_s};
        QTest::newRow("takes 110 baud") << QList<int>{} << reset << all;
        QTest::newRow("stops above 110 baud") << QList<int>{110} << broken << all;
        QTest::newRow("no custom rates") << QList<int>{14400, 28800} << reset << standard;
        QTest::newRow("neither") << QList<int>{110, 14400, 28800} << broken << standard;
    }

    void lineResetOnEveryAdapter()
    {
        QFETCH(QList<int>, refused);
        QFETCH(QStringList, head);
        QFETCH(QStringList, probedAt);

        Rig rig;
        rig.link.refuseRates(refused);
        UnitConfig silent;
        silent.probeSilent = true;
        rig.open(silent);
        QCOMPARE(rig.protocol.Find_vell(true), 0);
        QCOMPARE(rig.trace().mid(0, head.size()), head);
        QStringList rates;
        for (const auto &e : rig.link.writes())
            if (e.bytes == "L")
                rates << e.settings.section(u',', 0, 0);
        QCOMPARE(rates, probedAt);
    }

    // --trace: the whole exchange, one line per write, read and break.
    void traceShowsTheWholeExchange()
    {
        Rig rig;
        rig.link.refuseRates({110});
        rig.open();
        QStringList lines;
        TracingLink tracer(
            rig.link, [&lines](const QString &line) { lines << line; }, [&rig] { return rig.clock.time(); });
        VellProtocol protocol(tracer, rig.waiter, rig.prompter, rig.types);
        QCOMPARE(protocol.Find_vell(false), 22 + 256);
        const QStringList expected{
            u"+0.000 110,n,8,2 refused: SIM1 cannot run at 110 baud"_s,
            u"+0.000 break on"_s,
            u"+0.082 break off"_s,
            u"+0.282 > 9600,n,8,2 FF"_s,
            u"+0.292 > 9600,n,8,2 53"_s,
            u"+0.302 > 9600,n,8,2 45"_s,
            u"+0.312 > 9600,n,8,2 54"_s,
            u"+0.322 > 9600,n,8,2 56"_s,
            u"+0.332 > 9600,n,8,2 45"_s,
            u"+0.342 > 9600,n,8,2 4C"_s,
            u"+0.452 < 16 01 00 E8"_s,
        };
        QCOMPARE(lines, expected);
    }

    // Silence costs one pass of the seven settings; answers that are
    // rejected (check byte, unknown code) three, with a restart after each
    // when asked for. The reply is taken from the last five bytes and only
    // its first four are checked.
    void searchOutcomes_data()
    {
        QTest::addColumn<int>("kind"); // 0 answers, 1 nothing, 2 bad check byte, 3 unknown code, 4 late
        QTest::addColumn<QByteArray>("prefix");
        QTest::addColumn<QByteArray>("suffix");
        QTest::addColumn<bool>("restart");
        QTest::addColumn<bool>("found");
        QTest::addColumn<int>("probes");
        QTest::addColumn<int>("restarts");

        const QByteArray none;
        // Found with restart: the unit is restarted once it has answered.
        // clang-format off
        QTest::newRow("exactly four") << 0 << none << none << true << true << 1 << 1;
        QTest::newRow("fifth byte never examined") << 0 << none << QByteArray("\x7f") << false << true << 1 << 0;
        QTest::newRow("seven, offset two") << 0 << QByteArray("ab") << QByteArray("z") << false << true << 1 << 0;
        QTest::newRow("five with noise first") << 0 << QByteArray("\x01") << none << false << false << 21 << 0;
        QTest::newRow("seven, offset two misses") << 0 << QByteArray("a") << QByteArray("yz") << false << false << 21 << 0;
        QTest::newRow("nothing") << 1 << none << none << true << false << 7 << 0;
        QTest::newRow("answer later than the wait") << 4 << none << none << true << false << 7 << 0;
        QTest::newRow("bad check, restart") << 2 << none << none << true << false << 21 << 3;
        QTest::newRow("bad check, no restart") << 2 << none << none << false << false << 21 << 0;
        QTest::newRow("unknown code") << 3 << none << none << true << false << 21 << 3;
        // clang-format on
    }

    void searchOutcomes()
    {
        QFETCH(int, kind);
        QFETCH(QByteArray, prefix);
        QFETCH(QByteArray, suffix);
        QFETCH(bool, restart);
        QFETCH(bool, found);
        QFETCH(int, probes);
        QFETCH(int, restarts);

        Rig rig;
        UnitConfig config;
        config.probeSilent = kind == 1;
        config.badCheckByte = kind == 2;
        config.replyCode = kind == 3 ? 0x05 : 22;
        config.probeDelayMs = kind == 4 ? 150 : 2;
        config.probePrefix = prefix;
        config.probeSuffix = suffix;
        config.anyBaud = true;
        rig.open(config);
        QCOMPARE(rig.protocol.Find_vell(restart), found ? 22 + 256 : 0);

        QStringList probedAt;
        for (const auto &e : rig.link.writes())
            if (e.bytes == "L")
                probedAt << e.settings;
        QCOMPARE(probedAt.size(), probes);
        QCOMPARE(rig.writesOf("3", Odd), restarts);
        QCOMPARE(rig.writesOf("\xFF", Even), restarts);
        // Five bytes end the 100 ms wait after the probe early, four do not.
        QCOMPARE(rig.waiter.waits().at(8).requested, 100ms);
        QCOMPARE(rig.waiter.waits().at(8).endedEarly, !(prefix + suffix).isEmpty());
        // A restart without an answer waits 3 s for the unit to boot.
        if (!found && prefix.isEmpty() && suffix.isEmpty())
            QCOMPARE(rig.clock.now(), 200 + probes * 170 + restarts * 3010);
    }

    void silentPortShowsTheRowForCodeZero()
    {
        Rig rig;
        rig.types.at(7).Reply = 0;
        rig.link.setPortKind(1, SimulatedLink::PortKind::Empty);
        rig.protocol.search_for_vell();
        QCOMPARE(rig.protocol.searchSlots()[0].text, rig.types.at(7).Name);
    }

    // Restarts and blocks get four attempts each; the fourth failure shows
    // the message for it.
    void acknowledgements_data()
    {
        QTest::addColumn<bool>("download");
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("block");
        QTest::addColumn<int>("faultyAttempts");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("commands");
        QTest::addColumn<QString>("message");

        const int silent = int(UnitAckFault::Silent), wrong = int(UnitAckFault::WrongByte),
                  single = int(UnitAckFault::SingleByte);
        // clang-format off
        QTest::newRow("restart answered") << false << 0 << -1 << -1 << true << 1 << QString();
        QTest::newRow("restart silent 3 times") << false << silent << -1 << 3 << true << 4 << QString();
        QTest::newRow("restart silent 4 times") << false << silent << -1 << 4 << false << 4 << u"Error! | No reply to restart"_s;
        QTest::newRow("restart wrong 3 times") << false << wrong << -1 << 3 << true << 4 << QString();
        QTest::newRow("restart always wrong") << false << wrong << -1 << -1 << false << 4 << u"Error! | Reply fail to restart"_s;
        QTest::newRow("restart, one byte is no answer")
            << false << single << -1 << -1 << false << 4 << u"Error! | No reply to restart"_s;
        QTest::newRow("block refused") << true << wrong << 5 << -1 << false << 5 + 4 << u"Error!  5 | Reply to download failed"_s;
        QTest::newRow("block unanswered") << true << silent << 5 << -1 << false << 5 + 4 << u"Error!  5 | No reply to download"_s;
        QTest::newRow("last block unanswered")
            << true << silent << 31 << -1 << false << 31 + 4 << u"Error!  31 | No reply to download"_s;
        QTest::newRow("block, 4th attempt accepted") << true << silent << 0 << 3 << true << 32 + 3 << QString();
        QTest::newRow("block, 4th attempt fails")
            << true << silent << 0 << 4 << false << 4 << u"Error!  0 | No reply to download"_s;
        // A lone F0 is no answer, but it stays in the buffer and becomes the
        // first byte of the next attempt's answer.
        QTest::newRow("one-byte block answers") << true << single << -1 << -1 << true << 64 << QString();
        // clang-format on
    }

    void acknowledgements()
    {
        QFETCH(bool, download);
        QFETCH(int, fault);
        QFETCH(int, block);
        QFETCH(int, faultyAttempts);
        QFETCH(bool, result);
        QFETCH(int, commands);
        QFETCH(QString, message);

        Rig rig;
        UnitConfig config;
        (download ? config.blockFault : config.restartFault) = static_cast<UnitAckFault>(fault);
        config.faultyBlock = block;
        config.faultyAttempts = faultyAttempts;
        const UnitSimulator &unit = rig.open(config);
        QCOMPARE(download ? rig.protocol.Configure_Vell(256) : rig.protocol.restart_unit(), result);
        // A download the host takes for done is in the unit, whatever was
        // wrong with the acknowledgements on the way.
        if (download && result) {
            QCOMPARE(unit.imagesReceived(), 1);
            QVERIFY(unit.image() == rig.protocol.configImage());
        }
        QCOMPARE(rig.writesOf(download ? "\x11" : "3", Odd), commands);
        if (!download)
            QCOMPARE(rig.writesOf("\xFF", Even), commands);
        QCOMPARE(rig.messages(), message.isEmpty() ? QStringList() : QStringList{message});
        for (const auto &shown : rig.prompter.shown())
            QCOMPARE(shown.icon, Prompter::Icon::Exclamation);
        // Every attempt: 10 ms between command and data, then up to 500 ms.
        for (std::size_t i = 0; i < rig.waiter.waits().size(); ++i)
            QCOMPARE(rig.waiter.waits()[i].requested, i % 2 ? 500ms : 10ms);
    }

    // The command line's guard: after the search, a unit of another type
    // gets nothing more, and the run says what answered. The dialogs leave
    // it off (their user has just picked a Serial Tavo).
    void programmingRunsOnlyIntoASerialTavo_data()
    {
        QTest::addColumn<int>("reply");
        QTest::addColumn<bool>("guarded");
        QTest::addColumn<VellProtocol::ProgramResult>("result");
        QTest::addColumn<int>("blocks");

        using R = VellProtocol::ProgramResult;
        QTest::newRow("Serial Tavo") << 22 << true << R::Finished << 32;
        QTest::newRow("other type") << 0x11 << true << R::NotSerialTavo << 0;
        QTest::newRow("other type, unguarded") << 0x11 << false << R::Finished << 32;
    }

    void programmingRunsOnlyIntoASerialTavo()
    {
        QFETCH(int, reply);
        QFETCH(bool, guarded);
        QFETCH(VellProtocol::ProgramResult, result);
        QFETCH(int, blocks);

        Rig rig;
        UnitConfig config;
        config.replyCode = static_cast<std::uint8_t>(reply);
        const UnitSimulator &unit = rig.open(config);
        rig.protocol.setRequireSerialTavo(guarded);
        QCOMPARE(rig.protocol.program_unit(), result);
        QCOMPARE(rig.writesOf("\x11", Odd), blocks);
        QCOMPARE(unit.imagesReceived(), blocks ? 1 : 0);
        QCOMPARE(rig.protocol.unitText(rig.protocol.lastFound()),
                 reply == 22 ? u"Serial Tavo 1.0"_s : rig.types.at(0).Name + u"1.0"_s);
        if (result == VellProtocol::ProgramResult::NotSerialTavo) {
            // Only the search went out: no restart, no message.
            QCOMPARE(rig.writesOf("3", Odd), 0);
            QCOMPARE(rig.messages(), QStringList());
        }
    }

    void downloadSendsCheckedBlocks()
    {
        Rig rig;
        UnitSimulator &unit = rig.open();
        const VellProtocol::ConfigImage image = sampleImage();
        rig.protocol.setConfigImage(image);
        QVERIFY(rig.protocol.Configure_Vell(256));
        QCOMPARE(unit.image(), image);
        QCOMPARE(rig.link.events().front().kind, LineBench::Kind::Read);

        const auto writes = rig.link.writes();
        QCOMPARE(writes.size(), std::size_t(64));
        for (int k = 0; k < 32; ++k) {
            const auto &command = writes[static_cast<std::size_t>(2 * k)];
            const auto &data = writes[static_cast<std::size_t>(2 * k + 1)];
            QCOMPARE(command.bytes, QByteArray("\x11"));
            QCOMPARE(command.settings, Odd);
            QCOMPARE(data.settings, Even);
            QCOMPARE(data.timeMs() - command.timeMs(), 10);
        }
        // Zero, the block's number, its eight bytes, and the check byte
        // that makes them add up to 255.
        QCOMPARE(writes[1].bytes.toHex(' '), "00 00 03 0a 11 18 1f 26 2d 34 23");
        QCOMPARE(writes[63].bytes.toHex(' '), "00 1f cb d2 d9 e0 e7 ee f5 fc c4");

        // The bar trails by one block until the end.
        QCOMPARE(rig.progress.size(), 33);
        QCOMPARE(rig.progress[0], qMakePair(u"0.0%"_s, 0));
        QCOMPARE(rig.progress[2], qMakePair(u"6.3%"_s, 63));
        QCOMPARE(rig.progress[12], qMakePair(u"37.5%"_s, 375));
        QCOMPARE(rig.progress[32], qMakePair(u"100%"_s, 1000));
    }

    void lengthIsRoundedUpToWholeBlocks()
    {
        Rig rig;
        rig.open();
        QVERIFY(rig.protocol.Configure_Vell(250));
        QCOMPARE(rig.writesOf("\x11", Odd), 32);
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, rig.protocol.Configure_Vell(257));
        QCOMPARE(rig.writesOf("\x11", Odd), 64);
    }

    // Time stands still once aborted: nothing follows the abort, not even
    // at the same instant. Rows 3 and 4 run where nothing answers (ports 1
    // and 2 empty), so the search of port 1 is still going.
    void abortStopsAtOnce_data()
    {
        // 3 search of four ports, 4 programming run
        QTest::addColumn<int>("routine"); // 0 search with restarts, 1 download, 2 restart,
        QTest::addColumn<int>("abortAt");

        QTest::newRow("search, in a restart wait") << 0 << 2500;
        QTest::newRow("search, in a probe") << 0 << 215;
        QTest::newRow("download") << 1 << 200;
        QTest::newRow("restart") << 2 << 700;
        QTest::newRow("search of four ports") << 3 << 300;
        QTest::newRow("programming run, no unit answering") << 4 << 300;
    }

    void abortStopsAtOnce()
    {
        QFETCH(int, routine);
        QFETCH(int, abortAt);
        Rig rig;
        UnitConfig config;
        config.badCheckByte = routine == 0;
        config.restartFault = routine == 2 ? UnitAckFault::Silent : UnitAckFault::None;
        if (routine <= 2)
            rig.open(config);
        else
            for (int port = 1; port <= 4; ++port)
                rig.link.setPortKind(port, SimulatedLink::PortKind::Empty);
        rig.waiter.at(abortAt, [&] { rig.waiter.requestAbort(); });

        bool result = false;
        if (routine == 0)
            result = rig.protocol.Find_vell(true) != 0;
        else if (routine == 1)
            result = rig.protocol.Configure_Vell(256);
        else if (routine == 2)
            result = rig.protocol.restart_unit();
        else if (routine == 3)
            rig.protocol.search_for_vell();
        else {
            rig.protocol.chooseSlot(0);
            QCOMPARE(rig.protocol.programChosenSlot(), VellProtocol::ProgramResult::NotResponding);
        }
        QVERIFY(!result);
        QCOMPARE(rig.clock.now(), abortAt);
        QCOMPARE(rig.eventsOf(LineBench::Kind::Write, abortAt - 1), 0);
        QCOMPARE(rig.eventsOf(LineBench::Kind::Open, abortAt - 1), 0);
        QCOMPARE(rig.messages(), QStringList());
        if (routine > 2)
            QVERIFY(!rig.link.PortOpen());
    }

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
        // clang-format off
        QTest::newRow("map all") << S{1, 0, 0, checks({0, 1, 2, 3, 4, 5, 6, 7}), true, false} << 4 << 1
                                 << true << "\xFF"_ba << plain;
        QTest::newRow("bit 1 off") << S{1, 2, 0, {}, false, true} << 0 << 0 << true << "\x00\x01"_ba << plain;
        QTest::newRow("tavo pulse output forces on")
            << S{1, 3, 5, {}, false, true} << 1 << 0 << true << "\x1BP5"_ba << u"2400,n,8,1"_s;
        QTest::newRow("tavo empty code") << S{1, 3, 0, {}, true, false} << 0 << 0 << false << QByteArray() << QString();
        // Neither On nor Off: nothing to say to the unit.
        QTest::newRow("mask neither") << S{1, 1, 1, {}, false, false} << 0 << 0 << false << QByteArray() << QString();
        QTest::newRow("bit neither") << S{1, 2, 1, {}, false, false} << 0 << 0 << false << QByteArray() << QString();
        // Composed, but the value 256 is no byte: the send fails quietly.
        QTest::newRow("mask no output") << S{1, 1, -1, {}, true, false} << 0 << 0 << true << QByteArray() << QString();
        // An index off its list gives a setting the port refuses.
        QTest::newRow("tavo parity off the list") << S{1, 3, 2, {}, true, false} << 0 << 3 << true << QByteArray() << QString();
        QTest::newRow("tavo bad baud index") << S{1, 3, 2, {}, true, false} << 7 << 0 << true << QByteArray() << QString();
        // clang-format on
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

QTEST_GUILESS_MAIN(TestVellProtocol)
#include "tst_vellprotocol.moc"
