// A unit that floods the line with garbage, in virtual time: the search
// must give up on it within its passes, and a download or restart it
// garbles must end with the message for it.
#include "VellProtocol.h"
#include "support/VirtualLine.h"

#include <QTest>

#include <algorithm>
#include <functional>

namespace {

constexpr int FloodPeriodMs = 3;

// A line on which garbage from the unit on port 1 starts to pour in, once a
// chosen write has gone out, and never stops.
class FloodedLine : public SimulatedLink
{
public:
    FloodedLine(VirtualClock &clock)
        : SimulatedLink(clock)
        , m_clock(clock)
    {}

    QByteArray pattern;
    std::function<bool(const QByteArray &bytes, const QString &settings)> startsFlood;

    bool flooding() const { return m_flooding; }

    void Output(const QByteArray &bytes) override
    {
        SimulatedLink::Output(bytes);
        if (!m_flooding && startsFlood && startsFlood(bytes, Settings()))
            startFlood();
    }

    void startFlood()
    {
        m_flooding = true;
        scheduleNext(1);
    }

private:
    void scheduleNext(int delayMs)
    {
        m_clock.scheduleIn(delayMs, [this] {
            injectInput(1, pattern.mid(m_next++ % pattern.size(), 1));
            scheduleNext(FloodPeriodMs);
        });
    }

    VirtualClock &m_clock;
    bool m_flooding = false;
    qsizetype m_next = 0;
};

struct Rig : samples::VirtualLine<FloodedLine> {
    VellProtocol protocol{link, waiter, prompter, types};
    QStringList progress;

    Rig()
    {
        protocol.onProgress = [this](const QString &label, int) { progress << label; };
    }
};

} // namespace

class TestLineFaults : public QObject
{
    Q_OBJECT

private slots:
    void searchGivesUpOnGarbage_data()
    {
        QTest::addColumn<QByteArray>("pattern");
        QTest::newRow("the unit's answer with a bad check byte") << QByteArray("\x16\x01\x00\xE7", 4);
        // Every four bytes in a row add up to 255, but none starts with a
        // code of the device-type table.
        QTest::newRow("checked answers from no known unit") << QByteArray("\x01\x02\x03\xF9", 4);
    }

    void searchGivesUpOnGarbage()
    {
        QFETCH(QByteArray, pattern);
        Rig rig;
        UnitConfig config;
        config.probeSilent = true; // it babbles instead of answering
        rig.link.attachUnit(1, config);
        rig.link.setPortKind(2, SimulatedLink::PortKind::Empty);
        rig.link.pattern = pattern;
        rig.link.startFlood();

        rig.protocol.search_for_vell();

        // Rejected answers: three passes of seven settings, with a restart
        // after each; then the other ports were searched, quietly.
        QCOMPARE(rig.writesOf("L", QStringLiteral("2400,n,8,2"), 1), 3);
        QCOMPARE(rig.writesOf("3", VellProtocol::commandSetting(), 1), 3);
        QCOMPARE(rig.protocol.searchSlots()[0].found, 0);
        QCOMPARE(rig.protocol.searchSlots()[0].text, VellProtocol::nothingFound());
        QVERIFY(!rig.protocol.searchSlots()[1].covered);
        QVERIFY(rig.prompter.shown().isEmpty());
    }

    void garbageDuringTheDownloadFailsIt_data()
    {
        QTest::addColumn<int>("floodAtBlock"); // -1: at the restart after the download
        QTest::addColumn<int>("code");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<int>("blocksSent");

        const QString bad = QStringLiteral("Reply to download failed");
        QTest::newRow("first block") << 0 << 0 << QStringList{QStringLiteral("Error!  0 | ") + bad} << 4;
        QTest::newRow("block 10") << 10 << 0 << QStringList{QStringLiteral("Error!  10 | ") + bad} << 14;
        QTest::newRow("last block") << 31 << 0 << QStringList{QStringLiteral("Error!  31 | ") + bad} << 35;
        QTest::newRow("restart after the download")
            << -1 << -4
            << QStringList{QStringLiteral("Error! | Reply fail to restart"),
                           QStringLiteral(
                               "Error! | Program failed, Tavo will fail to operate correctly until "
                               "reprogrammmed, Try powering the tavo off/wait/on and reprogram again")}
            << 32;
    }

    void garbageDuringTheDownloadFailsIt()
    {
        QFETCH(int, floodAtBlock);
        QFETCH(int, code);
        QFETCH(QStringList, messages);
        QFETCH(int, blocksSent);

        Rig rig;
        UnitSimulator &unit = rig.link.attachUnit(1);
        rig.link.pattern = QByteArray("\x0F\x55\xAA", 3);
        // The garbage starts with the command byte of the exchange, so it is
        // there before the unit can answer. (Started any later, the unit's
        // acknowledgement would still be waiting in the buffer for the next
        // attempt, which the program does not flush, and the block would
        // pass on its second try.)
        int blocksSeen = 0;
        rig.link.startsFlood = [&](const QByteArray &bytes, const QString &settings) {
            if (settings == VellProtocol::dataSetting() && bytes.size() == 11)
                ++blocksSeen;
            if (settings != VellProtocol::commandSetting())
                return false;
            if (floodAtBlock >= 0)
                return bytes == "\x11" && blocksSeen == floodAtBlock;
            return bytes == "3" && blocksSeen == 32;
        };
        rig.link.SetCommPort(1);
        rig.link.SetPortOpen(true);

        QCOMPARE(int(rig.protocol.program_unit()), code);
        QVERIFY(rig.link.flooding());
        QCOMPARE(rig.messages(), messages);
        QCOMPARE(rig.writesOf("\x11", VellProtocol::commandSetting()), blocksSent);
        // The bar never claims a download that did not happen.
        QCOMPARE(rig.progress.contains(QStringLiteral("100%")), floodAtBlock < 0);
        // The unit itself got every block it was sent; only its answers were
        // lost in the garbage. After the last block it has the whole image,
        // though the program reports the download as failed.
        QCOMPARE(unit.imagesReceived(), floodAtBlock < 0 || floodAtBlock == 31 ? 1 : 0);
        // Each attempt ends as soon as two bytes are in, so garbage makes a
        // failure quick rather than slow.
        const auto longest =
            std::max_element(rig.waiter.waits().begin(), rig.waiter.waits().end(),
                             [](const auto &a, const auto &b) { return a.elapsed < b.elapsed; });
        QVERIFY(longest->elapsed <= std::chrono::milliseconds(200));
    }
};

QTEST_GUILESS_MAIN(TestLineFaults)
#include "tst_linefaults.moc"
