// The `tavo` command end to end: the real binary, its exit codes and output,
// and, over real pseudo-terminals, `tavo sim` answering `tavo search`,
// `tavo program` and `tavo send`. Nothing here sleeps: every wait is on a
// process's output or exit, with generous limits.

#include "device/VellTypes.h"
#include "mainwindow/ConfigData.h"
#include "mainwindow/ConfigFile.h"
#include "mainwindow/ConfigImage.h"
#include "platform/SettingsKeyValueStore.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

const QString TavoPath = QStringLiteral(TAVO_CLI_PATH);
constexpr int CommandTimeoutMs = 20000;

struct Run {
    int code = -1;
    QString out;
    QString err;
};

SerialEditorData message(const char *packed)
{
    SerialEditorData m;
    if (!m.UnpackFromString(packed))
        qFatal("bad packed message in the test: %s", packed);
    return m;
}

// Output 1: Hi,CR,5d,Ah,101b,? / nothing; output 2 ON / OFF with period 0;
// output 3 in pulse mode; the unit at 19200, even parity.
ConfigData sampleConfig()
{
    ConfigData c;
    c.OnPeriods.fill(1);
    c.OnMessages[0] = message("7,0,0,1,72,0,105,0,13,4,5,1,10,2,5,3,0,6,0,0,");
    c.OnMessages[1] = message("2,0,0,0,79,0,78,0,0,0,");
    c.OffMessages[1] = message("3,0,0,0,79,0,70,0,70,0,0,0,");
    c.OnPeriods[1] = 0;
    c.OnMessages[2] = message("1,0,1,0,200,1,0,0,");
    c.PulseModes[2] = true;
    c.OnPeriods[2] = 5;
    c.OnPeriods[7] = 255;
    c.BaudIndex = 4;
    c.ParityIndex = 1;
    return c;
}

QByteArray imageBytes(ConfigData config)
{
    tavo::BuildConfigImage(config);
    return QByteArray(reinterpret_cast<const char *>(config.ConfigImage.data()), ConfigData::ImageSize);
}

} // namespace

class TestCli : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString path(const QString &name) const { return m_dir.filePath(name); }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        // The device-type table goes to a file of the test's own.
        env.insert(QStringLiteral("TAVO_TYPES_STORE"), path(QStringLiteral("types.ini")));
        env.remove(QStringLiteral("TAVO_PORTS"));
        return env;
    }

    Run tavo(const QStringList &args)
    {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(TavoPath, args);
        const bool finished = p.waitForFinished(CommandTimeoutMs);
        if (!finished)
            p.kill();
        const bool exited = finished && p.exitStatus() == QProcess::NormalExit;
        return {exited ? p.exitCode() : -1, QString::fromUtf8(p.readAllStandardOutput()),
                QString::fromUtf8(p.readAllStandardError())};
    }

    QString writeConfig(const QString &name, const ConfigData &config)
    {
        const QString file = path(name);
        if (!tavo::writeConfigFile(file, config))
            qFatal("cannot write %s", qPrintable(file));
        return file;
    }

    // A `tavo sim` whose stdout is read line by line.
    class Sim
    {
    public:
        Sim(const QStringList &args, const QProcessEnvironment &env)
        {
            m_process.setProcessEnvironment(env);
            m_process.start(TavoPath, QStringList{QStringLiteral("sim")} + args);
            m_pty = nextLine();
        }
        ~Sim()
        {
            if (m_process.state() != QProcess::NotRunning) {
                m_process.kill();
                m_process.waitForFinished();
            }
        }

        QString pty() const { return m_pty; }
        QProcess &process() { return m_process; }

        // The next line the simulator prints, or nothing within the limit.
        QString nextLine(int timeoutMs = 10000)
        {
            QDeadlineTimer deadline(timeoutMs);
            while (!m_process.canReadLine()) {
                if (deadline.hasExpired() || !m_process.waitForReadyRead(int(deadline.remainingTime())))
                    return {};
            }
            return QString::fromUtf8(m_process.readLine()).trimmed();
        }

    private:
        QProcess m_process;
        QString m_pty;
    };

    std::unique_ptr<Sim> startSim(const QStringList &args)
    {
        auto sim = std::make_unique<Sim>(args, environment());
        if (!sim->pty().startsWith(u'/'))
            return nullptr;
        return sim;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY2(QFileInfo(TavoPath).isExecutable(), qPrintable(TavoPath));
        writeConfig(QStringLiteral("sample.OTS"), sampleConfig());
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("errorText"); // in stderr; for 0, in stdout

        // Words separated by blanks; SAMPLE is a good configuration, MISSING
        // a file that is not there, DIR/ the test's own folder.
        const auto row = [this](const char *name, const char *line, int code, const char *text) {
            QStringList args = QString::fromLatin1(line).split(u' ', Qt::SkipEmptyParts);
            args.replaceInStrings(QStringLiteral("SAMPLE"), path(QStringLiteral("sample.OTS")));
            args.replaceInStrings(QStringLiteral("MISSING"), path(QStringLiteral("missing.OTS")));
            args.replaceInStrings(QStringLiteral("DIR/"), path(QString()));
            QTest::newRow(name) << args << code << QString::fromLatin1(text);
        };
        row("no command", "", 2, "Commands:");
        row("overview", "--help", 0, "Commands:");
        row("unknown command", "frob", 2, "unknown command 'frob'");
        for (const char *command : {"show", "image", "export", "search", "program", "send", "sim"}) {
            QTest::addRow("%s --help", command)
                << QStringList{QString::fromLatin1(command), QStringLiteral("--help")} << 0
                << QStringLiteral("Usage: tavo %1").arg(QLatin1String(command));
        }
        row("show without file", "show", 2, "missing argument");
        row("show with two files", "show SAMPLE SAMPLE", 2, "unexpected argument");
        row("image with unknown option", "image SAMPLE --hex", 2, "Unknown option 'hex'");
        row("export without target", "export SAMPLE", 2, "missing argument");
        row("program without port", "program SAMPLE", 2, "--port is required");
        row("send without a string", "send --port /dev/null", 2, "exactly one of");
        row("send with two strings", "send --port /dev/null --map 1 --bit 2 --on", 2, "exactly one of");
        row("send map of output 9", "send --port /dev/null --map 1,9", 2, "outputs 1 to 8");
        row("send map with on", "send --port /dev/null --map 1 --on", 2, "do not apply");
        row("send bit without state", "send --port /dev/null --bit 3", 2, "--on or --off");
        row("send bit on and off", "send --port /dev/null --bit 3 --on --off", 2, "--on or --off");
        row("send mask of output 0", "send --port /dev/null --mask 0 --on", 2, "output 1 to 8");
        row("send code without output", "send --port /dev/null --code SAMPLE --on", 2, "needs --output");
        row("send output without code", "send --port /dev/null --bit 1 --output 2 --on", 2,
            "goes with --code");
        row("sim type beyond a byte", "sim --type 256", 2, "--type takes a number from 0 to 255");
        row("sim unknown fault", "sim --restart-fault loud", 2, "silent, wrong or single");
        row("sim version beyond a byte", "sim --version 1.256", 2, "--version");
        row("sim odd hex prefix", "sim --probe-prefix F", 2, "hexadecimal");
        row("sim baud no port offers", "sim --baud 1234", 2, "not a rate");

        row("show missing file", "show MISSING", 1, "no such file");
        row("image missing file", "image MISSING", 1, "no such file");
        row("export missing file", "export MISSING DIR/x.BDX", 1, "no such file");
        row("program missing file", "program MISSING --port /dev/null", 1, "no such file");
        row("send code from missing file", "send --port /dev/null --code MISSING --output 1 --on", 1,
            "no such file");
        row("sim with missing configuration", "sim --config MISSING", 1, "no such file");
        row("export into a missing folder", "export SAMPLE DIR/nowhere/x.BDX", 1, "cannot be written");
        row("program a port that does not exist", "program SAMPLE --port DIR/ttyNone", 1,
            "Error!: Port not open");
        row("send empty code", "send --port /dev/null --code SAMPLE --output 4 --on", 1,
            "output 4 has no On code");
        row("send off code of a pulse output", "send --port /dev/null --code SAMPLE --output 3 --off", 1,
            "pulse mode");
    }

    void commandLine()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QString, errorText);

        const Run run = tavo(args);
        QCOMPARE(run.code, code);
        if (code == 0) {
            QVERIFY2(run.out.contains(errorText), qPrintable(run.out));
        } else {
            QVERIFY2(run.err.contains(errorText), qPrintable(run.err));
            // A refused command line does nothing, and a failure prints no
            // half result.
            QCOMPARE(run.out, QString());
        }
    }

    void damagedFilesFail_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("why");

        const QByteArray good = tavo::configFileText(sampleConfig());
        QTest::newRow("last line cut") << good.left(good.lastIndexOf("\r\n", good.size() - 3) + 2)
                                       << QStringLiteral("line 35 is missing");
        QByteArray badMode = good;
        badMode.replace("\r\n-1\r\n", "\r\nmaybe\r\n");
        QTest::newRow("mode not a boolean") << badMode << QStringLiteral("line 13 does not hold");
        QByteArray bigPeriod = good;
        bigPeriod.replace("\r\n255\r\n", "\r\n256\r\n");
        QTest::newRow("period beyond a byte") << bigPeriod << QStringLiteral("does not fit in a byte");
    }

    void damagedFilesFail()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, why);

        const QString file = path(QStringLiteral("damaged.OTS"));
        QFile f(file);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(text);
        f.close();
        const Run run = tavo({QStringLiteral("image"), file});
        QCOMPARE(run.code, 1);
        QVERIFY2(run.err.contains(why), qPrintable(run.err));
    }

    void showDrawsCodesAsTheEditor_data()
    {
        QTest::addColumn<QByteArray>("packed");
        QTest::addColumn<QString>("drawn");

        QTest::newRow("text, control, numbers, ignore")
            << QByteArray("7,0,0,1,72,0,105,0,13,4,5,1,10,2,5,3,0,6,0,0,")
            << QStringLiteral("Hi,CR,5d,Ah,101b,?");
        QTest::newRow("control beyond 31") << QByteArray("1,0,0,0,200,4,0,0,") << QStringLiteral("???");
        QTest::newRow("ignore byte not allowed") << QByteArray("1,0,0,0,65,6,0,0,") << QStringLiteral("?");
        QTest::newRow("ASCII below 32") << QByteArray("2,0,0,0,7,0,65,0,0,0,")
                                        << QStringLiteral("\x7f"
                                                          "A");
        QTest::newRow("Latin-1 text") << QByteArray("1,0,0,0,233,0,0,0,") << QStringLiteral("\u00e9");
        QTest::newRow("empty") << QByteArray("0,0,0,0,0,0,") << QString();
    }

    void showDrawsCodesAsTheEditor()
    {
        QFETCH(QByteArray, packed);
        QFETCH(QString, drawn);

        ConfigData config = sampleConfig();
        config.OnMessages[5] = message(packed.constData());
        config.OffMessages[6] = message(packed.constData());
        const Run run = tavo({QStringLiteral("show"), writeConfig(QStringLiteral("show.OTS"), config)});
        QCOMPARE(run.code, 0);

        const QStringList lines = run.out.split(u'\n');
        const auto at = [&](int output, int field) { return lines.value(output * 5 + field); };
        const auto code = [](const char *label, const QString &text) {
            return QStringLiteral("  %1:").arg(QLatin1String(label))
                   + (text.isEmpty() ? QString() : u' ' + text);
        };
        QCOMPARE(at(5, 0), QStringLiteral("Output 6"));
        QCOMPARE(at(5, 3), code("On", drawn));
        QCOMPARE(at(6, 4), code("Off", drawn));
    }

    void showListsModesPeriodsAndSettings()
    {
        const Run run = tavo({QStringLiteral("show"), path(QStringLiteral("sample.OTS"))});
        QCOMPARE(run.code, 0);
        const QStringList lines = run.out.split(u'\n');
        QCOMPARE(lines.size(), 8 * 5 + 2); // and the empty rest after the last line end
        const QString separate = QStringLiteral("  Mode: Outputs use seperate On/Off serial codes");
        QCOMPARE(lines.at(1), separate);
        QCOMPARE(lines.at(2), QStringLiteral("  Period: 1"));
        QCOMPARE(lines.at(3), QStringLiteral("  On: Hi,CR,5d,Ah,101b,?"));
        QCOMPARE(lines.at(4), QStringLiteral("  Off:"));
        QCOMPARE(lines.at(7), QStringLiteral("  Period: 0 (0.1 s)"));
        QCOMPARE(lines.at(9), QStringLiteral("  Off: OFF"));
        QCOMPARE(lines.at(11),
                 QStringLiteral("  Mode: Output On for \"Period\" seconds after serial code received"));
        QCOMPARE(lines.at(12), QStringLiteral("  Period: 5"));
        QCOMPARE(lines.at(37), QStringLiteral("  Period: 255"));
        QCOMPARE(lines.at(40), QStringLiteral("Settings: 19200, baud, Even parity, 8 Bit data, 1 Stop bit"));
    }

    void imageAndExportCarryTheBuiltImage()
    {
        const QString sample = path(QStringLiteral("sample.OTS"));
        const QByteArray expected = imageBytes(sampleConfig());
        // Spot checks that do not lean on the image builder: periods, mode
        // mask, baud and parity codes, and output 1's On code.
        QCOMPARE(expected.left(11).toHex(' '), QByteArray("01 00 05 01 01 01 01 ff 04 04 02"));
        QCOMPARE(expected.mid(16, 4).toHex(' '), QByteArray("07 48 69 0d"));

        const Run hex = tavo({QStringLiteral("image"), sample});
        QCOMPARE(hex.code, 0);
        const QStringList lines = hex.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 16);
        QByteArray parsed;
        for (const QString &line : lines) {
            QCOMPARE(line.size(), 16 * 3 - 1);
            QCOMPARE(line, line.toUpper());
            QCOMPARE(line.split(u' ').size(), 16);
            parsed += QByteArray::fromHex(line.toLatin1());
        }
        QCOMPARE(parsed, expected);

        QProcess raw;
        raw.setProcessEnvironment(environment());
        raw.start(TavoPath, {QStringLiteral("image"), sample, QStringLiteral("--raw")});
        QVERIFY(raw.waitForFinished(CommandTimeoutMs));
        QCOMPARE(raw.exitCode(), 0);
        QCOMPARE(raw.readAllStandardOutput(), expected);

        const QString bdx = path(QStringLiteral("sample.BDX"));
        QCOMPARE(tavo({QStringLiteral("export"), sample, bdx}).code, 0);
        QFile exported(bdx);
        QVERIFY(exported.open(QIODevice::ReadOnly));
        const QByteArray bytes = exported.readAll();
        QCOMPARE(bytes.size(), 65539);
        QCOMPARE(int(static_cast<unsigned char>(bytes.at(0))), 24);
        QCOMPARE(bytes.mid(1, 256), expected);
        QCOMPARE(bytes.mid(257), QByteArray(65539 - 257, '\0'));
    }

    // ---- over pseudo-terminals -------------------------------------------

    void searchNamesWhatAnswers_data()
    {
        QTest::addColumn<QStringList>("simArgs");
        QTest::addColumn<QString>("slot1");

        const VellTypes types;
        const QString firstName = types.at(types.IndexOfReply(0x11)).Name;
        QTest::newRow("Serial Tavo") << QStringList{} << QStringLiteral("Serial Tavo 1.0");
        QTest::newRow("version bit 4 of the second byte")
            << QStringList{QStringLiteral("--version"), QStringLiteral("1.16")}
            << QStringLiteral("Serial Tavo 4097.16");
        QTest::newRow("other type") << QStringList{QStringLiteral("--type"), QStringLiteral("0x11"),
                                                   QStringLiteral("--version"), QStringLiteral("2.5")}
                                    << firstName + QStringLiteral("2.5");
        QTest::newRow("answers at 2400 only") << QStringList{QStringLiteral("--baud"), QStringLiteral("2400")}
                                              << QStringLiteral("Serial Tavo 1.0");
        QTest::newRow("answer inside noise")
            << QStringList{QStringLiteral("--probe-prefix"), QStringLiteral("0102"),
                           QStringLiteral("--probe-suffix"), QStringLiteral("03")}
            << QStringLiteral("Serial Tavo 1.0");
        QTest::newRow("nothing answers")
            << QStringList{QStringLiteral("--silent")} << QStringLiteral("--------------");
    }

    void searchNamesWhatAnswers()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(QString, slot1);

        const auto sim = startSim(simArgs);
        if (!sim)
            QSKIP("no pseudo-terminal for the simulated unit");
        const QString missing = path(QStringLiteral("ttyMissing"));
        const Run run = tavo({QStringLiteral("search"), QStringLiteral("--ports"),
                              sim->pty() + QStringLiteral(",,") + missing});
        QCOMPARE(run.code, 0);
        const QStringList expected{
            QStringLiteral("slot 1 (%1): %2").arg(sim->pty(), slot1),
            QStringLiteral("slot 2 (none): --------------"),
            QStringLiteral("slot 3 (%1): --------------").arg(missing),
            QStringLiteral("slot 4 (none): --------------"),
        };
        QCOMPARE(run.out.split(u'\n', Qt::SkipEmptyParts), expected);
        // Why the missing port shows nothing.
        QVERIFY2(run.err.contains(missing), qPrintable(run.err));
    }

    void searchUsesTheStoredTypeTable()
    {
        {
            auto store = SettingsKeyValueStore::openIniFile(path(QStringLiteral("types.ini")));
            VellTypes types;
            types.StoreVellTypes(*store);
            const QString row = VellTypes::KeyPath() + QStringLiteral("\\%1").arg(types.IndexOfReply(0x11));
            QVERIFY(store->SetText(row, QStringLiteral("Name"), QStringLiteral("Bench Unit ")));
            store->CloseKey(row);
        }
        const auto sim = startSim({QStringLiteral("--type"), QStringLiteral("17")});
        if (!sim)
            QSKIP("no pseudo-terminal for the simulated unit");
        const Run run = tavo({QStringLiteral("search"), QStringLiteral("--ports"), sim->pty()});
        QFile::remove(path(QStringLiteral("types.ini")));
        QCOMPARE(run.code, 0);
        QCOMPARE(run.out.section(u'\n', 0, 0), QStringLiteral("slot 1 (%1): Bench Unit 1.0").arg(sim->pty()));
    }

    void programDownloadsTheImage()
    {
        const QString imageFile = path(QStringLiteral("received.bin"));
        QFile::remove(imageFile);
        const auto sim = startSim({QStringLiteral("--image-out"), imageFile});
        if (!sim)
            QSKIP("no pseudo-terminal for the simulated unit");

        const Run run = tavo({QStringLiteral("program"), path(QStringLiteral("sample.OTS")),
                              QStringLiteral("--port"), sim->pty()});
        QCOMPARE(run.code, 0);
        QCOMPARE(run.out, QStringLiteral("All sent ok\n"));
        QVERIFY2(run.err.contains(QStringLiteral("100%")), qPrintable(run.err));
        QCOMPARE(sim->nextLine(), QStringLiteral("image received"));
        QFile received(imageFile);
        QVERIFY(received.open(QIODevice::ReadOnly));
        QCOMPARE(received.readAll(), imageBytes(sampleConfig()));
    }

    void programReportsTheDialogsMessages_data()
    {
        QTest::addColumn<QStringList>("simArgs");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("lastMessage");

        const auto args = [](const char *text) { return QString::fromLatin1(text).split(u' '); };
        QTest::newRow("no unit") << args("--silent") << 1 << QStringLiteral("Error!: Tavo not responding");
        QTest::newRow("block 5 refused") << args("--block-fault wrong --faulty-block 5") << 1
                                         << QStringLiteral("Error!  5: Reply to download failed");
        QTest::newRow("unit gone after block 10")
            << args("--vanish-after-block 10") << 1 << QStringLiteral("Error!  11: No reply to download");
        QTest::newRow("fourth attempt accepted")
            << args("--block-fault wrong --faulty-block 7 --faulty-attempts 3") << 0 << QString();
        QTest::newRow("restart refused after the download")
            << args("--restart-fault wrong") << 1
            << QStringLiteral(
                   "Error!: Program failed, Tavo will fail to operate correctly until reprogrammmed, "
                   "Try powering the tavo off/wait/on and reprogram again");
    }

    void programReportsTheDialogsMessages()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(int, code);
        QFETCH(QString, lastMessage);

        const auto sim = startSim(simArgs);
        if (!sim)
            QSKIP("no pseudo-terminal for the simulated unit");
        const Run run = tavo({QStringLiteral("program"), path(QStringLiteral("sample.OTS")),
                              QStringLiteral("--port"), sim->pty()});
        QCOMPARE(run.code, code);
        if (code == 0) {
            QCOMPARE(run.out, QStringLiteral("All sent ok\n"));
            return;
        }
        QCOMPARE(run.out, QString());
        const QStringList errLines = run.err.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(errLines.constLast(), lastMessage);
    }

    void sendSwitchesTheUnitsOutputs_data()
    {
        QTest::addColumn<QList<QStringList>>("sends");
        QTest::addColumn<QString>("sent");    // what the last send reports
        QTest::addColumn<QString>("outputs"); // what the unit reports after it

        using Sends = QList<QStringList>;
        const auto send = [](const char *text) { return QString::fromLatin1(text).split(u' '); };
        QTest::newRow("map 1 and 8") << Sends{send("--map 1,8")} << QStringLiteral("Sent 81 at 9600,n,8,1")
                                     << QStringLiteral("outputs on: 1,8");
        QTest::newRow("map nothing") << Sends{send("--map 2"),
                                              QStringList{QStringLiteral("--map"), QString()}}
                                     << QStringLiteral("Sent 00 at 9600,n,8,1")
                                     << QStringLiteral("outputs on: none");
        QTest::newRow("mask 3 on") << Sends{send("--mask 3 --on")} << QStringLiteral("Sent 04 at 9600,n,8,1")
                                   << QStringLiteral("outputs on: 3");
        QTest::newRow("mask 3 off") << Sends{send("--map 2,3"), send("--mask 3 --off")}
                                    << QStringLiteral("Sent FB at 9600,n,8,1")
                                    << QStringLiteral("outputs on: 2");
        QTest::newRow("bit 8 on") << Sends{send("--bit 8 --on")} << QStringLiteral("Sent FF 08 at 9600,n,8,1")
                                  << QStringLiteral("outputs on: 8");
        QTest::newRow("bit 1 off") << Sends{send("--map 1,2"), send("--bit 1 --off")}
                                   << QStringLiteral("Sent 00 01 at 9600,n,8,1")
                                   << QStringLiteral("outputs on: 2");
        QTest::newRow("configured On code")
            << Sends{send("--code CONFIG --output 2 --on")} << QStringLiteral("Sent 4F 4E at 19200,e,8,1")
            << QStringLiteral("outputs on: 2");
        QTest::newRow("configured Off code")
            << Sends{send("--code CONFIG --output 2 --on"), send("--code CONFIG --output 2 --off")}
            << QStringLiteral("Sent 4F 46 46 at 19200,e,8,1") << QStringLiteral("outputs on: none");
    }

    void sendSwitchesTheUnitsOutputs()
    {
        QFETCH(QList<QStringList>, sends);
        QFETCH(QString, sent);
        QFETCH(QString, outputs);

        // A unit with codes reads no test strings at 9600,n,8,1, so it gets
        // the configuration (the unit at 19200, even parity) only for the
        // rows that send codes. Those catch a send that closes the port,
        // and so resets the line, before the unit has read its bytes.
        const QString configFile = path(QStringLiteral("sample.OTS"));
        const bool codes = sends.constLast().contains(QStringLiteral("--code"));
        const auto sim =
            startSim(codes ? QStringList{QStringLiteral("--config"), configFile} : QStringList{});
        if (!sim)
            QSKIP("no pseudo-terminal for the simulated unit");

        QString line;
        for (qsizetype i = 0; i < sends.size(); ++i) {
            QStringList args = sends.at(i);
            args.replaceInStrings(QStringLiteral("CONFIG"), configFile);
            const Run run =
                tavo(QStringList{QStringLiteral("send"), QStringLiteral("--port"), sim->pty()} + args);
            QCOMPARE(run.code, 0);
            if (i == sends.size() - 1)
                QCOMPARE(run.out.trimmed(), sent);
            line = sim->nextLine();
            QVERIFY2(line.startsWith(QStringLiteral("outputs on: ")), qPrintable(line));
        }
        QCOMPARE(line, outputs);
    }

    void simEndsCleanlyOnTermination()
    {
        const auto sim = startSim({});
        if (!sim)
            QSKIP("no pseudo-terminal for the simulated unit");
        QVERIFY(QFileInfo::exists(sim->pty()));
        sim->process().terminate();
        QVERIFY(sim->process().waitForFinished(CommandTimeoutMs));
        QCOMPARE(sim->process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim->process().exitCode(), 0);
        // The terminal went with it.
        QVERIFY(!QFileInfo::exists(sim->pty()));
    }
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
