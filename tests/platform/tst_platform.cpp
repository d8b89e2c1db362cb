#include "EventLoopWaiter.h"
#include "LineSettings.h"
#include "PortSlots.h"
#include "QtSerialLink.h"
#include "SettingsKeyValueStore.h"
#include "support/ChildProcess.h"
#include "support/Files.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QSerialPort>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <grp.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestPlatform : public QObject
{
    Q_OBJECT

    using Kind = KeyValueStore::Kind;
    using Status = KeyValueStore::Status;
    const QString Types = u"Software\\Olvex\\Brondels\\Types"_s;

private slots:
    void portSlotsKeepExplicitNamesOverTheSystemList()
    {
        // The editor puts its simulated unit into slot 1 before anything
        // has listed the system's ports; the later listing must not undo it.
        PortSlots system = PortSlots::systemDefault();
        system.setName(1, u"/dev/pts/sim"_s);
        QCOMPARE(system.name(1), u"/dev/pts/sim"_s);
        QCOMPARE(system.names().constFirst(), u"/dev/pts/sim"_s);

        const PortSlots listed = PortSlots::fromList(u"A, ,C"_s);
        QCOMPARE(listed.names(), QStringList({u"A"_s, QString(), u"C"_s, QString()}));
        QCOMPARE(listed.name(0), QString());
        QCOMPARE(listed.name(5), QString());
    }

    void lineSettingsParse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("normalised"); // empty: not a setting

        QTest::newRow("line reset") << u"110,n,8,2"_s << u"110,n,8,2"_s;
        QTest::newRow("non-standard 14400") << u"14400,n,8,2"_s << u"14400,n,8,2"_s;
        QTest::newRow("upper-case parity") << u"38400,E,7,1"_s << u"38400,e,7,1"_s;
        QTest::newRow("mark, 5 bits") << u"2400,m,5,2"_s << u"2400,m,5,2"_s;
        QTest::newRow("space") << u"4800,s,6,1"_s << u"4800,s,6,1"_s;
        QTest::newRow("unknown rate") << u"9601,n,8,1"_s << u""_s;
        QTest::newRow("signed rate") << u"+9600,n,8,1"_s << u""_s;
        QTest::newRow("blank") << u"9600, n,8,1"_s << u""_s;
        QTest::newRow("parity word") << u"9600,no,8,1"_s << u""_s;
        QTest::newRow("4 data bits") << u"9600,n,4,1"_s << u""_s;
        QTest::newRow("9 data bits") << u"9600,n,9,1"_s << u""_s;
        QTest::newRow("1.5 stop bits") << u"9600,n,8,1.5"_s << u""_s;
        QTest::newRow("3 stop bits") << u"9600,n,8,3"_s << u""_s;
        QTest::newRow("three fields") << u"9600,n,8"_s << u""_s;
        QTest::newRow("five fields") << u"9600,n,8,1,"_s << u""_s;
        QTest::newRow("unknown index gives no rate") << u",n,8,1"_s << u""_s;
        QTest::newRow("empty") << u""_s << u""_s;
    }

    void lineSettingsParse()
    {
        QFETCH(QString, text);
        QFETCH(QString, normalised);
        const auto parsed = LineSettings::parse(text);
        QCOMPARE(parsed ? parsed->toString() : QString(), normalised);
    }

    void storeKeepsNumbersAndTextsApart_data()
    {
        // A raw INI line under [Types] and what a query must make of it.
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("kind");
        QTest::addColumn<uint>("number");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("size");

        // clang-format off
        QTest::newRow("number") << u"Value=dword:0000001c"_s << int(Kind::Number) << 28u << u""_s << 4;
        QTest::newRow("upper-case hex") << u"Value=dword:FFFFFFFF"_s << int(Kind::Number) << 0xFFFFFFFFu << u""_s << 4;
        QTest::newRow("text") << u"Value=\"sz:Serial Tavo \""_s << int(Kind::Text) << 0u << u"Serial Tavo "_s << 13;
        QTest::newRow("text that looks like a number") << u"Value=sz:8"_s << int(Kind::Text) << 0u << u"8"_s << 2;
        QTest::newRow("empty text") << u"Value=sz:"_s << int(Kind::Text) << 0u << u""_s << 1;
        QTest::newRow("bare number") << u"Value=8"_s << int(Kind::Other) << 0u << u""_s << 1;
        QTest::newRow("short hex") << u"Value=dword:8"_s << int(Kind::Other) << 0u << u""_s << 7;
        QTest::newRow("bad hex") << u"Value=dword:0000000g"_s << int(Kind::Other) << 0u << u""_s << 14;
        QTest::newRow("list") << u"Value=sz:a, b"_s << int(Kind::Other) << 0u << u""_s << -1;
        QTest::newRow("byte array") << u"Value=@ByteArray(xyz)"_s << int(Kind::Other) << 0u << u""_s << 3;
        QTest::newRow("broken variant") << u"Value=@Variant(\\0\\0\\0\\x7f)"_s << int(Kind::Other) << 0u << u""_s << -1;
        // clang-format on
    }

    void storeKeepsNumbersAndTextsApart()
    {
        QFETCH(QString, line);
        QFETCH(int, kind);
        QFETCH(uint, number);
        QFETCH(QString, text);
        QFETCH(int, size);

        QTemporaryDir dir;
        const QString file = dir.filePath(u"types.ini"_s);
        QVERIFY(samples::writeBytes(file, "[Types]\n" + line.toLatin1() + "\n"));
        auto store = SettingsKeyValueStore::openIniFile(file);
        const KeyValueStore::Value v = store->queryValue(Types, u"Value"_s, 255);
        QCOMPARE(v.status, Status::Success);
        QCOMPARE(int(v.kind), kind);
        QCOMPARE(v.number, number);
        QCOMPARE(v.text, text);
        if (size >= 0)
            QCOMPARE(v.size, size);
    }

    void storeRoundTripsThroughTheFile()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(u"types.ini"_s);
        const QString row = Types + u"\\12"_s;
        {
            auto store = SettingsKeyValueStore::openIniFile(file);
            QVERIFY(store->createKey(row));
            QVERIFY(store->setNumber(Types, u"Version"_s, 8));
            QVERIFY(store->setText(row, u"Name"_s, u" a, b = c "_s));
            QVERIFY(store->setNumber(row, u"Reply"_s, 0xEE));
            store->closeKey(row);
        }
        auto store = SettingsKeyValueStore::openIniFile(file);
        QVERIFY(store->openKey(Types) && store->openKey(row));
        QVERIFY(!store->openKey(Types + u"\\13"_s));
        QCOMPARE(store->queryValue(Types, u"Version"_s, 4).number, 8u);
        const auto name = store->queryValue(row, u"Name"_s, 255);
        QCOMPARE(name.kind, Kind::Text);
        QCOMPARE(name.text, u" a, b = c "_s);
        QCOMPARE(store->queryValue(row, u"Reply"_s, 4).number, 0xEEu);
        QCOMPARE(store->queryValue(row, u"Type"_s, 4).status, Status::NotFound);

        // Texts longer than the buffer come back cut, saying how long they are.
        store->setText(Types, u"Name"_s, QString(300, QLatin1Char('x')));
        const auto cut = store->queryValue(Types, u"Name"_s, 255);
        QCOMPARE(cut.status, Status::MoreData);
        QCOMPARE(cut.size, 301);
        QCOMPARE(cut.text.size(), 255);
    }

    void subkeysAreListedByNameIgnoringCase_data()
    {
        QTest::addColumn<bool>("inMemory");
        QTest::newRow("INI file") << false;
        QTest::newRow("in memory") << true;
    }

    void subkeysAreListedByNameIgnoringCase()
    {
        QFETCH(bool, inMemory);
        QTemporaryDir dir;
        const QString file = dir.filePath(u"types.ini"_s);
        QVERIFY(samples::writeBytes(
            file, "[Types]\n10\\Type=dword:00000001\nB\\Type=dword:00000001\n2\\Type=dword:00000001\n"
                  "a\\Type=dword:00000001\n0\\Type=dword:00000001\n10\\Name=dword:00000001\n"));
        // The same values, as QSettings reads them from that file.
        SettingsKeyValueStore::Values values;
        for (const char *key : {"10/Type", "B/Type", "2/Type", "a/Type", "0/Type", "10/Name"})
            values.insert(u"Types/"_s + QLatin1String(key), u"dword:00000001"_s);
        auto store =
            inMemory ? SettingsKeyValueStore::inMemory(values) : SettingsKeyValueStore::openIniFile(file);
        QStringList names;
        for (int i = 0;; ++i) {
            const auto name = store->enumKey(Types, i);
            if (!name)
                break;
            names.append(*name);
        }
        QCOMPARE(names, QStringList({u"0"_s, u"10"_s, u"2"_s, u"a"_s, u"B"_s}));
        QVERIFY(!store->enumKey(Types, -1));
        // A subkey written since is listed too.
        QVERIFY(store->setNumber(Types + u"\\1"_s, u"Type"_s, 1));
        QCOMPARE(store->enumKey(Types, 1), u"1"_s);
        QCOMPARE(store->enumKey(Types, 5), u"B"_s);
    }

    // Every wait here would last a minute; what ends it decides the result.
    void eventLoopWaitEndsEarly_data()
    {
        QTest::addColumn<int>("how");
        QTest::addColumn<bool>("result");

        // Nobody tells the waiter: the condition just turns true in the
        // course of an event, as when a port's notifier fills its buffer.
        QTest::newRow("condition met by an event") << 0 << true;
        QTest::newRow("abort from a slot") << 1 << false;
        QTest::newRow("abort in a nested wait") << 2 << false;
    }

    void eventLoopWaitEndsEarly()
    {
        QFETCH(int, how);
        QFETCH(bool, result);
        EventLoopWaiter waiter;
        bool arrived = false;
        bool inner = true;
        QTimer::singleShot(1, &waiter, [&] {
            if (how == 0) {
                arrived = true;
            } else if (how == 1) {
                waiter.requestAbort();
            } else {
                QTimer::singleShot(0, &waiter, [&] { waiter.requestAbort(); });
                inner = waiter.wait(60s);
            }
        });
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(waiter.wait(60s, [&] { return arrived; }), result);
        QVERIFY(clock.elapsed() < 60000);
        QCOMPARE(inner, how != 2);
        if (result)
            return;
        // Once set, the flag stops every later wait before it starts.
        QVERIFY(!waiter.wait(60s, [] { return true; }));
        waiter.clearAbort();
        QVERIFY(waiter.wait(60s, [] { return true; }));
    }

    // A port another program holds, and one the user may not open: each
    // says so, and what to do about it.
    void portThatCannotBeOpenedSaysWhy()
    {
#ifdef Q_OS_UNIX
        const int master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
            QSKIP("no pseudo-terminal here");
        const QString slave = QString::fromLocal8Bit(ptsname(master));
        // As a serial adapter's device is: the group dialout may read and
        // write it, nobody else (needs root; otherwise the terminal keeps
        // its own group).
        if (const struct group *dialout = getgrnam("dialout")) [[maybe_unused]]
            const int changed = ::chown(slave.toLocal8Bit().constData(), uid_t(-1), dialout->gr_gid);
        ::chmod(slave.toLocal8Bit().constData(), 0660);
        const struct group *g = getgrgid(QFileInfo(slave).groupId());
        const QString group = g ? QString::fromLocal8Bit(g->gr_name) : QString();

        QSerialPort other(slave);
        QVERIFY(other.open(QIODevice::ReadWrite));
        QtSerialLink link(PortSlots(QStringList{slave}));
        link.SetPortOpen(true);
        QVERIFY(!link.PortOpen());
        QCOMPARE(link.lastError(), slave + u" is in use by another program"_s);
        other.close();

        testsupport::ChildConditions asNobody;
        asNobody.asNobody = true;
        const testsupport::ChildResult child = testsupport::runInChild(asNobody, [&] {
            QtSerialLink mine(PortSlots(QStringList{slave}));
            mine.SetPortOpen(true);
            return mine.lastError().toUtf8();
        });
        ::close(master);
        if (child.unavailable)
            QSKIP("cannot run as another user here");
        QVERIFY(child.returned);
        if (group.isEmpty() || group == u"root"_s)
            QSKIP("the terminal's group gives no access to add");
        QCOMPARE(
            QString::fromUtf8(*child.returned),
            u"you may not open %1: add your user to the group %2 (sudo usermod -aG %2 $USER), then log in again"_s
                .arg(slave, group));
#else
        QSKIP("pseudo-terminals are a Unix thing");
#endif
    }
};

QTEST_GUILESS_MAIN(TestPlatform)
#include "tst_platform.moc"
