// The program's serial stack over real ports: the simulated unit on a
// pseudo-terminal, QSerialPort, waits in the event loop.
#include "support/PtyStack.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace ptytest;

class TestPty : public QObject
{
    Q_OBJECT

private slots:
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
        PTY_START_OR_SKIP(unit);
        Stack stack(unit);
        stack.link.SetCommPort(1);
        stack.link.SetPortOpen(true);
        QSignalSpy outputs(&unit, &PtyUnit::outputsChanged);

        stack.link.SetSettings(VellProtocol::commandSetting());
        stack.link.Output(command.left(1));
        stack.link.SetSettings(VellProtocol::dataSetting());
        stack.link.Output(command.mid(1));
        QVERIFY(stack.waiter.wait(2s, [&] { return stack.link.InBufferCount() >= 2; }));
        QCOMPARE(stack.link.Input().left(1), QByteArray(1, char(VellProtocol::Acknowledge)));
        QVERIFY(outputs.isEmpty());
    }

    // The unit sees every setting of the search on the line, the rates
    // without a standard constant included, and only one pass.
    void searchOfASilentPort()
    {
        UnitConfig config;
        config.probeSilent = true;
        PtyUnit unit(config);
        PTY_START_OR_SKIP(unit);
        Stack stack(unit);
        QStringList probedAt;
        connect(&unit, &PtyUnit::bytesReceived, this, [&](const QByteArray &bytes, const QString &settings) {
            if (bytes.endsWith('L'))
                probedAt << settings;
        });
        stack.protocol.search_for_vell();
        QCOMPARE(stack.protocol.searchSlots()[0].text, u"--------------"_s);
        QCOMPARE(probedAt, VellProtocol::searchSettings());
        QCOMPARE(unit.unit().restarts(), 0);
    }
};

QTEST_GUILESS_MAIN(TestPty)
#include "tst_pty.moc"
