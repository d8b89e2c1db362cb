#include "ConfigImage.h"
#include "EventLoopWaiter.h"
#include "PtyUnit.h"
#include "QtSerialLink.h"
#include "ScriptedPrompter.h"
#include "VellProtocol.h"
#include "device/LineBench.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// What the program downloads for a configuration: the unit must end up
// holding exactly this image and react to the codes in it.
ConfigData sampleConfiguration()
{
    ConfigData config;
    config.BaudIndex = 4;   // 19200
    config.ParityIndex = 1; // even
    config.OnMessages[0] = code("ON1");
    config.OffMessages[0] = code("OFF1");
    config.OnPeriods[3] = 7;
    config.PulseModes[3] = true;
    tavo::BuildConfigImage(config);
    return config;
}

struct Host {
    explicit Host(const QString &port)
        : link(PortSlots({port, QString(), QString(), QString()}))
        , protocol(link, waiter, prompter, types)
    {
        waiter.watch(&link, &QtSerialLink::inputArrived);
    }

    QtSerialLink link;
    EventLoopWaiter waiter;
    ScriptedPrompter prompter;
    VellTypes types;
    VellProtocol protocol;
};

} // namespace

class TestPty : public QObject
{
    Q_OBJECT

private slots:
    // The unit is found, programmed and restarted over a real port, and
    // then listens at the setting it was given for its codes.
    void programmingRunOverARealPort()
    {
        PtyUnit unit;
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(u"no pseudo-terminal: "_s + error));
        Host host(unit.slavePath());
        const ConfigData config = sampleConfiguration();
        host.protocol.setConfigImage(config.ConfigImage);
        host.link.SetCommPort(1);
        host.link.SetPortOpen(true);

        QElapsedTimer clock;
        clock.start();
        QCOMPARE(host.protocol.program_unit(), VellProtocol::ProgramResult::Finished);
        qInfo("programming run (search, 32 blocks, restart): %lld ms (%lld ms of it in waits, %lld ms asked "
              "for)",
              clock.elapsed(), qint64(host.waiter.waitedMs().count()),
              qint64(host.waiter.requestedMs().count()));
        QCOMPARE(host.prompter.shown().size(), 1);
        QCOMPARE(host.prompter.shown().front().title, u"All sent ok"_s);
        QVERIFY(unit.unit().image() == config.ConfigImage);
        QCOMPARE(unit.unit().restarts(), 1);

        QSignalSpy outputs(&unit, &PtyUnit::outputsChanged);
        host.link.SetSettings(u"19200,e,8,1"_s);
        host.link.Output("ON1");
        host.waiter.wait(2s, [&] { return !outputs.isEmpty(); });
        QCOMPARE(unit.unit().outputs(), 0x01);
    }

    // A unit in a process of its own may get to a command byte only after
    // the host has switched to the data setting, 10 ms after writing it.
    // Here the host writes both parts before the unit reads at all: the
    // unit must still take the command, and no test string.
    void commandReadAfterTheSwitchToData_data()
    {
        QTest::addColumn<QByteArray>("command"); // the command byte, then the rest
        QTest::newRow("restart") << QByteArray("\x33\xFF", 2);
        QTest::newRow("block") << QByteArray(1, '\x11') + VellProtocol::downloadBlock({}, 3);
    }

    void commandReadAfterTheSwitchToData()
    {
        QFETCH(QByteArray, command);
        PtyUnit unit;
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(u"no pseudo-terminal: "_s + error));
        Host host(unit.slavePath());
        host.link.SetCommPort(1);
        host.link.SetPortOpen(true);
        QSignalSpy outputs(&unit, &PtyUnit::outputsChanged);

        host.link.SetSettings(VellProtocol::commandSetting());
        host.link.Output(command.left(1));
        host.link.SetSettings(VellProtocol::dataSetting());
        host.link.Output(command.mid(1));
        QVERIFY(host.waiter.wait(2s, [&] { return host.link.InBufferCount() >= 2; }));
        QCOMPARE(host.link.Input().left(1), QByteArray(1, char(VellProtocol::Acknowledge)));
        QVERIFY(outputs.isEmpty());
    }

    void searchOfASilentPort()
    {
        UnitConfig config;
        config.probeSilent = true;
        PtyUnit unit(config);
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(u"no pseudo-terminal: "_s + error));
        Host host(unit.slavePath());
        QStringList probedAt;
        connect(&unit, &PtyUnit::bytesReceived, this, [&](const QByteArray &bytes, const QString &settings) {
            if (bytes.endsWith('L'))
                probedAt << settings;
        });
        QElapsedTimer clock;
        clock.start();
        host.protocol.search_for_vell();
        qInfo("search of a port where nothing answers: %lld ms (%lld ms of it in waits, %lld ms asked for)",
              clock.elapsed(), qint64(host.waiter.waitedMs().count()),
              qint64(host.waiter.requestedMs().count()));
        QCOMPARE(host.protocol.searchSlots()[0].text, u"--------------"_s);
        // The unit saw every setting of the search on the line, the rates
        // without a standard constant included, and only one pass.
        QCOMPARE(probedAt, VellProtocol::searchSettings());
        QCOMPARE(unit.unit().restarts(), 0);
    }
};

QTEST_GUILESS_MAIN(TestPty)
#include "tst_pty.moc"
