#include "device/VellProtocol.h"
#include "device/VellTypes.h"
#include "mainwindow/ConfigImage.h"
#include "platform/EventLoopWaiter.h"
#include "platform/QtSerialLink.h"
#include "platform/ScriptedPrompter.h"
#include "sim/PtyUnit.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// What the program downloads for a configuration: the unit must end up
// holding exactly this image and react to the codes in it.
ConfigData sampleConfiguration()
{
    ConfigData config;
    config.BaudIndex = 4;   // 19200
    config.ParityIndex = 1; // even
    const QByteArray on("ON1"), off("OFF1");
    for (int i = 0; i < on.size(); ++i)
        config.OnMessages[0].SetByteValue(i, static_cast<std::int16_t>(on[i]));
    config.OnMessages[0].SetNumberOfBytesInMessage(static_cast<std::int16_t>(on.size()));
    for (int i = 0; i < off.size(); ++i)
        config.OffMessages[0].SetByteValue(i, static_cast<std::int16_t>(off[i]));
    config.OffMessages[0].SetNumberOfBytesInMessage(static_cast<std::int16_t>(off.size()));
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
        waiter.watch(&link, &QtSerialLink::InputArrived);
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
    void searchDownloadAndRestartOverARealPort()
    {
        PtyUnit unit;
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(u"no pseudo-terminal: "_s + error));
        QSignalSpy images(&unit, &PtyUnit::ImageReceived);
        Host host(unit.slavePath());

        QElapsedTimer clock;
        clock.start();
        host.protocol.search_for_vell();
        const qint64 searchMs = clock.elapsed();
        QCOMPARE(host.protocol.Slots()[0].text, u"Serial Tavo 1.0"_s);
        QVERIFY(host.protocol.Slots()[0].optionEnabled);
        QCOMPARE(host.protocol.Slots()[1].text, u"--------------"_s);
        QVERIFY(!host.protocol.Slots()[1].textVisible);
        qInfo("search finding the unit: %lld ms (%lld ms of it in waits, %lld ms asked for)", searchMs,
              host.waiter.waitedMs(), host.waiter.requestedMs());

        const ConfigData config = sampleConfiguration();
        host.protocol.SetConfigImage(config.ConfigImage);
        host.protocol.ChooseSlot(0);
        host.waiter.resetTotals();
        clock.restart();
        const int restartsBefore = unit.unit().restarts();
        QCOMPARE(host.protocol.ProgramChosenSlot(), 0);
        const qint64 downloadMs = clock.elapsed();
        qInfo("programming run (search, 32 blocks, restart): %lld ms (%lld ms of it in waits, %lld ms asked for)",
              downloadMs, host.waiter.waitedMs(), host.waiter.requestedMs());

        QCOMPARE(host.prompter.shown().size(), 1);
        QCOMPARE(host.prompter.shown().front().title, u"All sent ok"_s);
        QCOMPARE(images.size(), 1);
        const QByteArray received = images.front().front().toByteArray();
        QCOMPARE(received, QByteArray(reinterpret_cast<const char *>(config.ConfigImage.data()), 256));
        QCOMPARE(unit.unit().restarts(), restartsBefore + 1);
        QVERIFY(!host.link.PortOpen());

        // The unit now listens at the configured setting for its codes.
        QSignalSpy outputs(&unit, &PtyUnit::OutputsChanged);
        host.link.SetCommPort(1);
        host.link.SetPortOpen(true);
        QVERIFY(host.link.PortOpen());
        host.link.SetSettings(u"19200,e,8,1"_s);
        host.link.Output("ON1");
        host.waiter.Wait(2000, [&] { return !outputs.isEmpty(); });
        QCOMPARE(unit.unit().outputs(), 0x01);
        host.link.SetPortOpen(false);
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
        connect(&unit, &PtyUnit::BytesReceived, this, [&](const QByteArray &bytes, const QString &settings) {
            if (bytes.endsWith('L'))
                probedAt << settings;
        });
        QElapsedTimer clock;
        clock.start();
        host.protocol.search_for_vell();
        qInfo("search of a port where nothing answers: %lld ms (%lld ms of it in waits, %lld ms asked for)",
              clock.elapsed(), host.waiter.waitedMs(), host.waiter.requestedMs());
        QCOMPARE(host.protocol.Slots()[0].text, u"--------------"_s);
        QVERIFY(host.protocol.Slots()[0].textVisible);
        // The unit saw every setting of the search on the line, the rates
        // without a standard constant included, and only one pass.
        QCOMPARE(probedAt, VellProtocol::SearchSettings());
        QCOMPARE(unit.unit().restarts(), 0);
    }

    void aVanishingUnitFailsTheDownloadCleanly()
    {
        UnitConfig config;
        config.vanishAfterBlock = 4;
        PtyUnit unit(config);
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(u"no pseudo-terminal: "_s + error));
        QSignalSpy vanished(&unit, &PtyUnit::Vanished);
        Host host(unit.slavePath());
        host.link.SetCommPort(1);
        host.link.SetPortOpen(true);
        QCOMPARE(host.protocol.program_unit(), 0);
        QCOMPARE(vanished.size(), 1);
        QCOMPARE(host.prompter.shown().size(), 1);
        QCOMPARE(host.prompter.shown().front().title, u"Error!  5"_s);
        QCOMPARE(host.prompter.shown().front().text, u"No reply to download"_s);
    }
};

QTEST_GUILESS_MAIN(TestPty)
#include "tst_pty.moc"
