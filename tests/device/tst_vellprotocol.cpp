#include "device/VellProtocol.h"
#include "device/VellTypes.h"
#include "platform/ScriptedPrompter.h"
#include "sim/SimulatedLink.h"
#include "sim/VirtualWaiter.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Kind = SimulatedLink::Event::Kind;
using Answer = Prompter::Answer;

// A unit (or nothing) on virtual ports, with every wait, write and message
// on record.
struct Rig {
    VirtualClock clock;
    SimulatedLink link{clock};
    VirtualWaiter waiter{clock};
    ScriptedPrompter prompter;
    VellTypes types;
    VellProtocol protocol{link, waiter, prompter, types};
    QList<QPair<QString, int>> progress;

    Rig()
    {
        protocol.Progress = [this](const QString &label, int value) { progress.append({label, value}); };
    }

    UnitSimulator &openUnit(const UnitConfig &config = {})
    {
        UnitSimulator &unit = link.AttachUnit(1, config);
        link.SetCommPort(1);
        link.SetPortOpen(true);
        link.clearEvents();
        return unit;
    }

    // "t=200 9600,n,8,2 W ff" for writes, "t=260 R" for reads.
    QStringList trace() const
    {
        QStringList lines;
        for (const auto &e : link.events()) {
            if (e.kind == Kind::Write)
                lines << u"t=%1 %2 W %3"_s.arg(e.timeMs).arg(e.settings, QString::fromLatin1(e.bytes.toHex(' ')));
            else if (e.kind == Kind::Read)
                lines << u"t=%1 R %2"_s.arg(e.timeMs).arg(e.bytes.size());
        }
        return lines;
    }

    int writesOf(char byte, const QString &settings) const
    {
        int n = 0;
        for (const auto &e : link.writes())
            n += e.bytes == QByteArray(1, byte) && e.settings == settings;
        return n;
    }

    QStringList messages() const
    {
        QStringList shown;
        for (const auto &m : prompter.shown())
            shown << m.title + u" | "_s + m.text;
        return shown;
    }
};

const QString Tavo1 = u"9600,n,8,2"_s;
const QString Odd = u"9600,o,8,1"_s;
const QString Even = u"9600,e,8,1"_s;
const QString ProgramFailed = u"Error! | Program failed, Tavo will fail to operate correctly until reprogrammmed, "
                              "Try powering the tavo off/wait/on and reprogram again"_s;

VellProtocol::ConfigImage randomImage()
{
    VellProtocol::ConfigImage image{};
    for (auto &b : image)
        b = static_cast<std::uint8_t>(QRandomGenerator::global()->bounded(256));
    return image;
}

} // namespace

class TestVellProtocol : public QObject
{
    Q_OBJECT

private slots:
    void probeGoesOutByteByByte()
    {
        Rig rig;
        rig.openUnit();
        QCOMPARE(rig.protocol.Find_vell(false), 22 + 1 * 256);
        const QStringList expected{
            u"t=0 110,n,8,2 W 00"_s,      u"t=200 R 0"_s,
            u"t=200 9600,n,8,2 W ff"_s,   u"t=210 9600,n,8,2 W 53"_s, u"t=220 9600,n,8,2 W 45"_s,
            u"t=230 9600,n,8,2 W 54"_s,   u"t=240 9600,n,8,2 W 56"_s, u"t=250 9600,n,8,2 W 45"_s,
            u"t=260 R 0"_s,               u"t=260 9600,n,8,2 W 4c"_s,
            // four bytes never end the wait for five early
            u"t=370 R 4"_s,
        };
        QCOMPARE(rig.trace(), expected);
        QCOMPARE(rig.link.Settings(), Tavo1);
        QVERIFY(rig.link.PortOpen());
    }

    void probeFindsTheUnitAtItsOwnRate_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("settingsTried");
        const int order[] = {9600, 38400, 28800, 19200, 14400, 4800, 2400};
        for (int i = 0; i < 7; ++i)
            QTest::addRow("%d", order[i]) << order[i] << i + 1;
    }

    void probeFindsTheUnitAtItsOwnRate()
    {
        QFETCH(int, baud);
        QFETCH(int, settingsTried);
        Rig rig;
        UnitConfig config;
        config.ownBaud = baud;
        rig.openUnit(config);
        QCOMPARE(rig.protocol.Find_vell(false), 22 + 256);
        QCOMPARE(rig.link.Settings(), u"%1,n,8,2"_s.arg(baud));
        QCOMPARE(rig.clock.now(), 200 + settingsTried * 170);
    }

    void silencePassesOnceRejectionThrice_data()
    {
        QTest::addColumn<int>("kind"); // 0 nothing, 1 bad check byte, 2 code not in the table, 3 late
        QTest::addColumn<bool>("restart");
        QTest::addColumn<int>("passes");
        QTest::addColumn<int>("restarts");

        QTest::newRow("nothing") << 0 << true << 1 << 0;
        QTest::newRow("answer later than the wait") << 3 << true << 1 << 0;
        QTest::newRow("bad check, restart") << 1 << true << 3 << 3;
        QTest::newRow("bad check, no restart") << 1 << false << 3 << 0;
        QTest::newRow("unknown code") << 2 << true << 3 << 3;
    }

    void silencePassesOnceRejectionThrice()
    {
        QFETCH(int, kind);
        QFETCH(bool, restart);
        QFETCH(int, passes);
        QFETCH(int, restarts);

        Rig rig;
        UnitConfig config;
        config.probeSilent = kind == 0;
        config.badCheckByte = kind == 1;
        config.replyCode = kind == 2 ? 0x05 : 22;
        config.probeDelayMs = kind == 3 ? 150 : 2;
        config.anyBaud = true;
        rig.openUnit(config);
        QCOMPARE(rig.protocol.Find_vell(restart), 0);

        int probes = 0;
        for (const auto &e : rig.link.writes())
            probes += e.bytes == "L";
        QCOMPARE(probes, passes * 7);
        QCOMPARE(rig.writesOf(0x33, Odd), restarts);
        QCOMPARE(rig.writesOf('\xFF', Even), restarts);
        // A restart without an answer waits 3 s for the unit to boot.
        QCOMPARE(rig.clock.now(), 200 + passes * 7 * 170 + restarts * 3010);
        QCOMPARE(rig.waiter.requestedMs(), rig.clock.now());
    }

    void replyIsTakenFromTheLastFiveBytes_data()
    {
        QTest::addColumn<QByteArray>("prefix");
        QTest::addColumn<QByteArray>("suffix");
        QTest::addColumn<bool>("found");
        QTest::addColumn<bool>("waitEndedEarly");

        QTest::newRow("exactly four") << QByteArray() << QByteArray() << true << false;
        QTest::newRow("fifth byte never examined") << QByteArray() << QByteArray("\x7f") << true << true;
        QTest::newRow("five with noise first") << QByteArray("\x01") << QByteArray() << false << true;
        QTest::newRow("seven, offset two") << QByteArray("ab") << QByteArray("z") << true << true;
        QTest::newRow("seven, offset two misses") << QByteArray("a") << QByteArray("yz") << false << true;
    }

    void replyIsTakenFromTheLastFiveBytes()
    {
        QFETCH(QByteArray, prefix);
        QFETCH(QByteArray, suffix);
        QFETCH(bool, found);
        QFETCH(bool, waitEndedEarly);
        Rig rig;
        UnitConfig config;
        config.probePrefix = prefix;
        config.probeSuffix = suffix;
        rig.openUnit(config);
        QCOMPARE(rig.protocol.Find_vell(false), found ? 22 + 256 : 0);
        // The wait after the probe of the first setting: 200 ms reset, 7 x 10 ms.
        QCOMPARE(rig.waiter.waits().at(8).requestedMs, 100);
        QCOMPARE(rig.waiter.waits().at(8).endedEarly, waitEndedEarly);
    }

    void searchFillsTheSlots_data()
    {
        QTest::addColumn<int>("slot");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("textVisible");
        QTest::addColumn<bool>("textEnabled");
        QTest::addColumn<bool>("optionVisible");
        QTest::addColumn<bool>("optionEnabled");

        QTest::newRow("missing port") << 0 << u"--------------"_s << false << false << false << false;
        QTest::newRow("Serial Tavo") << 1 << u"Serial Tavo 1.0"_s << true << true << true << true;
        QTest::newRow("family member") << 2 << u"Unit type 2 2.1"_s << true << false << true << false;
        QTest::newRow("nothing there") << 3 << u"--------------"_s << true << false << true << false;
    }

    void searchFillsTheSlots()
    {
        QFETCH(int, slot);
        QFETCH(QString, text);
        QFETCH(bool, textVisible);
        QFETCH(bool, textEnabled);
        QFETCH(bool, optionVisible);
        QFETCH(bool, optionEnabled);

        Rig rig;
        rig.link.AttachUnit(2);
        UnitConfig other;
        other.replyCode = 0x33;
        other.versionMajor = 2;
        other.versionMinor = 1;
        rig.link.AttachUnit(3, other);
        rig.link.SetPortKind(4, SimulatedLink::PortKind::Empty);

        rig.protocol.ChooseSlot(1);
        QList<int> coveredAtStart;
        QList<QPair<int, qint64>> searched;
        rig.protocol.SlotChanged = [&](int i, const SearchSlot &s) {
            if (searched.isEmpty() && s.covered)
                coveredAtStart << i;
        };
        rig.protocol.SlotSearched = [&](int i, const SearchSlot &s) {
            QVERIFY(!s.covered);
            searched << qMakePair(i, rig.clock.now());
        };
        rig.protocol.search_for_vell();

        const SearchSlot &s = rig.protocol.Slots()[static_cast<std::size_t>(slot)];
        QCOMPARE(s.text, text);
        QCOMPARE(s.textVisible, textVisible);
        QCOMPARE(s.textEnabled, textEnabled);
        QCOMPARE(s.optionVisible, optionVisible);
        QCOMPARE(s.optionEnabled, optionEnabled);
        QCOMPARE(s.portName, u"SIM%1"_s.arg(slot + 1));
        QVERIFY(!s.covered);
        QCOMPARE(rig.protocol.ChosenSlot(), -1);
        QVERIFY(!rig.link.PortOpen());

        QCOMPARE(coveredAtStart, QList<int>({0, 1, 2, 3}));
        QCOMPARE(searched.size(), 4);
        for (int i = 0; i < 4; ++i)
            QCOMPARE(searched[i].first, i);
        // Each slot is reported when its own port is done, not at the end.
        QVERIFY(searched[1].second < searched[2].second);
        QVERIFY(searched[2].second < searched[3].second);
    }

    void versionShowsTheMaskedNumbers_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<QString>("text");

        QTest::newRow("1.0") << 1 << 0 << u"Serial Tavo 1.0"_s;
        QTest::newRow("bit 4 of the second byte") << 2 << 0x10 << u"Serial Tavo 4098.16"_s;
        QTest::newRow("all of the second byte") << 0 << 0xFF << u"Serial Tavo 4096.255"_s;
        QTest::newRow("other bits do not leak") << 0x12 << 0x0F << u"Serial Tavo 18.15"_s;
    }

    void versionShowsTheMaskedNumbers()
    {
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(QString, text);
        Rig rig;
        UnitConfig config;
        config.versionMajor = static_cast<std::uint8_t>(major);
        config.versionMinor = static_cast<std::uint8_t>(minor);
        rig.link.AttachUnit(1, config);
        rig.protocol.search_for_vell();
        QCOMPARE(rig.protocol.Slots()[0].text, text);
    }

    void silentPortShowsTheRowForCodeZero()
    {
        Rig rig;
        rig.types.at(7).Reply = 0;
        rig.link.SetPortKind(1, SimulatedLink::PortKind::Empty);
        rig.protocol.search_for_vell();
        QCOMPARE(rig.protocol.Slots()[0].text, rig.types.at(7).Name);
    }

    void restartRetries_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("faultyAttempts");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("attempts");
        QTest::addColumn<QString>("message");

        QTest::newRow("answered") << int(UnitAckFault::None) << 0 << true << 1 << QString();
        QTest::newRow("silent three times") << int(UnitAckFault::Silent) << 3 << true << 4 << QString();
        QTest::newRow("silent four times") << int(UnitAckFault::Silent) << 4 << false << 4
                                           << u"Error! | No reply to restart"_s;
        QTest::newRow("wrong three times") << int(UnitAckFault::WrongByte) << 3 << true << 4 << QString();
        QTest::newRow("always wrong") << int(UnitAckFault::WrongByte) << -1 << false << 4
                                      << u"Error! | Reply fail to restart"_s;
        QTest::newRow("one byte is no answer") << int(UnitAckFault::SingleByte) << -1 << false << 4
                                               << u"Error! | No reply to restart"_s;
    }

    void restartRetries()
    {
        QFETCH(int, fault);
        QFETCH(int, faultyAttempts);
        QFETCH(bool, result);
        QFETCH(int, attempts);
        QFETCH(QString, message);

        Rig rig;
        UnitConfig config;
        config.restartFault = static_cast<UnitAckFault>(fault);
        config.faultyAttempts = faultyAttempts;
        rig.openUnit(config);
        QCOMPARE(rig.protocol.restart_unit(), result);
        QCOMPARE(rig.writesOf(0x33, Odd), attempts);
        QCOMPARE(rig.writesOf('\xFF', Even), attempts);
        QCOMPARE(rig.messages(), message.isEmpty() ? QStringList() : QStringList{message});
        if (!message.isEmpty())
            QCOMPARE(rig.prompter.shown().front().icon, Prompter::Icon::Exclamation);
        // Every attempt: 10 ms between the bytes, then up to 500 ms.
        for (std::size_t i = 0; i < rig.waiter.waits().size(); ++i)
            QCOMPARE(rig.waiter.waits()[i].requestedMs, i % 2 ? 500 : 10);
    }

    void downloadSendsCheckedBlocks()
    {
        Rig rig;
        UnitSimulator &unit = rig.openUnit();
        const auto image = randomImage();
        rig.protocol.SetConfigImage(image);
        QVERIFY(rig.protocol.Configure_Vell(256));
        QCOMPARE(rig.protocol.BlockCount(), 32);
        QCOMPARE(unit.image(), image);

        const auto writes = rig.link.writes();
        QCOMPARE(writes.size(), std::size_t(64));
        for (int k = 0; k < 32; ++k) {
            const auto &command = writes[static_cast<std::size_t>(2 * k)];
            const auto &data = writes[static_cast<std::size_t>(2 * k + 1)];
            QCOMPARE(command.bytes, QByteArray(1, 0x11));
            QCOMPARE(command.settings, Odd);
            QCOMPARE(data.settings, Even);
            QCOMPARE(data.timeMs - command.timeMs, 10);
            QCOMPARE(data.bytes.size(), 11);
            QCOMPARE(data.bytes[0], '\0');
            QCOMPARE(static_cast<std::uint8_t>(data.bytes[1]), k);
            QCOMPARE(data.bytes.mid(2, 8), QByteArray(reinterpret_cast<const char *>(image.data()) + 8 * k, 8));
            int sum = 0;
            for (const char c : data.bytes)
                sum += static_cast<std::uint8_t>(c);
            QCOMPARE(sum % 256, 255);
        }
        QCOMPARE(rig.link.events().front().kind, Kind::Read);

        QCOMPARE(rig.progress.size(), 33);
        QCOMPARE(rig.progress[0], qMakePair(u"0.0%"_s, 0));
        QCOMPARE(rig.progress[2], qMakePair(u"6.3%"_s, 63));
        QCOMPARE(rig.progress[12], qMakePair(u"37.5%"_s, 375));
        QCOMPARE(rig.progress[31], qMakePair(u"96.9%"_s, 969));
        QCOMPARE(rig.progress[32], qMakePair(u"100%"_s, 1000));
    }

    void downloadFailures_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("block");
        QTest::addColumn<int>("faultyAttempts");
        QTest::addColumn<bool>("result");
        QTest::addColumn<int>("blockWrites");
        QTest::addColumn<QString>("message");

        QTest::newRow("refused") << int(UnitAckFault::WrongByte) << 5 << -1 << false << 5 + 4
                                 << u"Error!  5 | Reply to download failed"_s;
        QTest::newRow("unanswered") << int(UnitAckFault::Silent) << 5 << -1 << false << 5 + 4
                                    << u"Error!  5 | No reply to download"_s;
        QTest::newRow("last block") << int(UnitAckFault::Silent) << 31 << -1 << false << 31 + 4
                                    << u"Error!  31 | No reply to download"_s;
        QTest::newRow("fourth attempt accepted") << int(UnitAckFault::Silent) << 0 << 3 << true << 32 + 3
                                                 << QString();
        QTest::newRow("fourth attempt fails") << int(UnitAckFault::Silent) << 0 << 4 << false << 4
                                              << u"Error!  0 | No reply to download"_s;
        // A lone F0 is no answer, but it stays in the buffer and becomes the
        // first byte of the next attempt's answer.
        QTest::newRow("one-byte answers") << int(UnitAckFault::SingleByte) << -1 << -1 << true << 64 << QString();
    }

    void downloadFailures()
    {
        QFETCH(int, fault);
        QFETCH(int, block);
        QFETCH(int, faultyAttempts);
        QFETCH(bool, result);
        QFETCH(int, blockWrites);
        QFETCH(QString, message);

        Rig rig;
        UnitConfig config;
        config.blockFault = static_cast<UnitAckFault>(fault);
        config.faultyBlock = block;
        config.faultyAttempts = faultyAttempts;
        rig.openUnit(config);
        QCOMPARE(rig.protocol.Configure_Vell(256), result);
        QCOMPARE(rig.writesOf(0x11, Odd), blockWrites);
        QCOMPARE(rig.messages(), message.isEmpty() ? QStringList() : QStringList{message});
        QCOMPARE(rig.progress.isEmpty() ? QString() : rig.progress.last().first,
                 result ? u"100%"_s : (block > 0 ? VellProtocol::ProgressText(block - 1, 32) : QString()));
    }

    void lengthIsRoundedUpToWholeBlocks()
    {
        Rig rig;
        rig.openUnit();
        QVERIFY(rig.protocol.Configure_Vell(250));
        QCOMPARE(rig.writesOf(0x11, Odd), 32);
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, rig.protocol.Configure_Vell(257));
        QCOMPARE(rig.writesOf(0x11, Odd), 64);
    }

    void abortStopsAtOnce_data()
    {
        QTest::addColumn<int>("routine"); // 0 search with restarts, 1 download, 2 restart
        QTest::addColumn<int>("abortAt");

        QTest::newRow("search, in a restart wait") << 0 << 2500;
        QTest::newRow("search, in a probe") << 0 << 215;
        QTest::newRow("download") << 1 << 200;
        QTest::newRow("restart") << 2 << 700;
    }

    void abortStopsAtOnce()
    {
        QFETCH(int, routine);
        QFETCH(int, abortAt);
        Rig rig;
        UnitConfig config;
        config.badCheckByte = routine == 0;
        config.restartFault = routine == 2 ? UnitAckFault::Silent : UnitAckFault::None;
        rig.openUnit(config);
        rig.waiter.At(abortAt, [&] { rig.waiter.RequestAbort(); });

        bool result = true;
        if (routine == 0)
            result = rig.protocol.Find_vell(true) != 0;
        else if (routine == 1)
            result = rig.protocol.Configure_Vell(256);
        else
            result = rig.protocol.restart_unit();
        QVERIFY(!result);
        QCOMPARE(rig.clock.now(), abortAt);
        QVERIFY(rig.waiter.waits().back().aborted);
        QVERIFY(rig.link.writes().back().timeMs <= abortAt);
        QVERIFY(rig.prompter.shown().isEmpty());
    }

    void programUnitCodes_data()
    {
        QTest::addColumn<int>("setup"); // 0 closed, 1 nothing, 2 download fails, 3 restart fails, 4 ok
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("code");
        QTest::addColumn<QStringList>("messages");

        QTest::newRow("port not open") << 0 << 0 << -1 << QStringList{u"Error! | Port not open"_s};
        QTest::newRow("no unit") << 1 << 0 << -2 << QStringList{u"Error! | Tavo not responding"_s};
        QTest::newRow("download fails") << 2 << 0 << 0 << QStringList{u"Error!  3 | Reply to download failed"_s};
        QTest::newRow("restart fails") << 3 << 0 << -4
                                       << QStringList{u"Error! | No reply to restart"_s, ProgramFailed};
        QTest::newRow("done, no more") << 4 << int(Answer::No) << 0
                                       << QStringList{u"All sent ok | Program another tavo"_s};
        QTest::newRow("done, another") << 4 << int(Answer::Yes) << 1
                                       << QStringList{u"All sent ok | Program another tavo"_s};
    }

    void programUnitCodes()
    {
        QFETCH(int, setup);
        QFETCH(int, answer);
        QFETCH(int, code);
        QFETCH(QStringList, messages);

        Rig rig;
        UnitConfig config;
        config.probeSilent = setup == 1;
        if (setup == 2) {
            config.blockFault = UnitAckFault::WrongByte;
            config.faultyBlock = 3;
        }
        config.restartFault = setup == 3 ? UnitAckFault::Silent : UnitAckFault::None;
        UnitSimulator &unit = rig.openUnit(config);
        if (setup == 0)
            rig.link.SetPortOpen(false);
        const auto image = randomImage();
        rig.protocol.SetConfigImage(image);
        rig.prompter.SetNextAnswer(static_cast<Answer>(answer));

        QCOMPARE(rig.protocol.program_unit(), code);
        QCOMPARE(rig.messages(), messages);
        QCOMPARE(rig.progress.first(), qMakePair(u"0%"_s, 0));
        if (setup == 4) {
            const auto &question = rig.prompter.shown().front();
            QCOMPARE(question.icon, Prompter::Icon::Question);
            QCOMPARE(question.buttons, Prompter::Buttons::YesNo);
            QCOMPARE(question.defaultAnswer, Answer::No);
            QCOMPARE(unit.image(), image);
            // The search before the download does not restart the unit;
            // only the download is followed by one.
            QCOMPARE(rig.writesOf(0x33, Odd), 1);
            QCOMPARE(rig.link.writes().back().bytes, QByteArray(1, '\xFF'));
        }
    }

    void programAnotherRunsOnTheSamePortWithoutSearching()
    {
        Rig rig;
        UnitSimulator &unit = rig.link.AttachUnit(2);
        rig.link.AttachUnit(3);
        rig.protocol.search_for_vell();
        rig.protocol.ChooseSlot(1);
        rig.link.clearEvents();

        // Yes to "Program another tavo"; the unit is switched off meanwhile.
        struct AnotherPrompter : ScriptedPrompter {
            UnitSimulator *unit = nullptr;
            Answer Show(const QString &text, const QString &title, Icon icon, Buttons buttons,
                        Answer defaultAnswer) override
            {
                ScriptedPrompter::Show(text, title, icon, buttons, defaultAnswer);
                unit->config().probeSilent = true;
                return Answer::Yes;
            }
        } prompter;
        prompter.unit = &unit;
        VellProtocol protocol(rig.link, rig.waiter, prompter, rig.types);
        protocol.ChooseSlot(1);

        QCOMPARE(protocol.ProgramChosenSlot(), -2);
        QCOMPARE(prompter.shown().size(), 2);
        QCOMPARE(prompter.shown()[0].title, u"All sent ok"_s);
        QCOMPARE(prompter.shown()[1].text, u"Tavo not responding"_s);
        QCOMPARE(unit.imagesReceived(), 1);
        QVERIFY(!rig.link.PortOpen());
        for (const auto &e : rig.link.events())
            QCOMPARE(e.port, 2);
        // Opened for the chosen slot, then 100 ms before talking to it.
        QCOMPARE(rig.link.events().front().kind, Kind::Open);
        QCOMPARE(rig.waiter.waits()[rig.waiter.waits().size() - 1].requestedMs, 100);
    }

    void vanishingUnitFailsTheNextBlock()
    {
        Rig rig;
        UnitConfig config;
        config.vanishAfterBlock = 9;
        UnitSimulator &unit = rig.openUnit(config);
        QCOMPARE(rig.protocol.program_unit(), 0);
        QCOMPARE(rig.messages(), QStringList{u"Error!  10 | No reply to download"_s});
        QVERIFY(unit.vanished());
        QVERIFY(!rig.link.PortOpen());
    }

    void lateAcknowledgementsAreNoAnswer()
    {
        Rig rig;
        UnitConfig config;
        config.ackDelayMs = 5000;
        rig.openUnit(config);
        QVERIFY(!rig.protocol.Configure_Vell(256));
        QCOMPARE(rig.messages(), QStringList{u"Error!  0 | No reply to download"_s});
        QCOMPARE(rig.clock.now(), 4 * 510);
    }
};

QTEST_GUILESS_MAIN(TestVellProtocol)
#include "tst_vellprotocol.moc"
