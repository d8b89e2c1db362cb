// The `tavo` command end to end: the real binary, its exit codes and output,
// and, over real pseudo-terminals, `tavo sim` answering `tavo search`,
// `tavo program` and `tavo send`. Nothing here sleeps: every wait is on a
// process's output or exit, with generous limits.

#include "ConfigData.h"
#include "ConfigFile.h"
#include "ConfigImage.h"
#include "ExportFile.h"
#include "SettingsKeyValueStore.h"
#include "VellTypes.h"
#include "support/ConfigSamples.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString TavoPath = QStringLiteral(TAVO_CLI_PATH);
constexpr int CommandTimeoutMs = 20000;

struct Run {
    int code = -1;
    QString out;
    QString err;
    QByteArray bytes; // stdout as it came
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

// Sets a terminal's rate and parity flag, as a program using it would.
bool setLine(const QString &tty, speed_t speed, tcflag_t parity)
{
    const int fd = ::open(tty.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd < 0)
        return false;
    termios t{};
    bool ok = tcgetattr(fd, &t) == 0 && cfsetspeed(&t, speed) == 0;
    t.c_cflag = (t.c_cflag & ~(PARENB | PARODD)) | parity;
    ok = ok && tcsetattr(fd, TCSANOW, &t) == 0;
    ::close(fd);
    return ok;
}

} // namespace

// Starts a `tavo sim` as `name`, or skips the test where there is none.
#define SIM_OR_SKIP(name, ...)                                                                               \
    const auto name = startSim(__VA_ARGS__);                                                                 \
    if (!name)                                                                                               \
    QSKIP("no pseudo-terminal for the simulated unit")

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
        env.insert(u"TAVO_TYPES_STORE"_s, path(u"types.ini"_s));
        // No display either: the editor must answer its command line without one.
        for (const char *name :
             {"TAVO_PORTS", "QT_LOGGING_RULES", "DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            env.remove(QString::fromLatin1(name));
        return env;
    }

    // A first word EDITOR runs the editor instead; a last word >FILE sends
    // stdout there.
    Run tavo(QStringList args)
    {
        QProcess p;
        p.setProcessEnvironment(environment());
        if (!args.isEmpty() && args.constLast().startsWith(u'>'))
            p.setStandardOutputFile(args.takeLast().mid(1));
        const bool editor = !args.isEmpty() && args.constFirst() == u"EDITOR"_s;
        p.start(editor ? QStringLiteral(TAVO_EDITOR_PATH) : TavoPath, editor ? args.mid(1) : args);
        const bool finished = p.waitForFinished(CommandTimeoutMs);
        if (!finished)
            p.kill();
        const bool exited = finished && p.exitStatus() == QProcess::NormalExit;
        const QByteArray out = p.readAllStandardOutput();
        return {exited ? p.exitCode() : -1, QString::fromUtf8(out),
                QString::fromUtf8(p.readAllStandardError()), out};
    }

    // A `tavo sim`; the first line it prints names its terminal.
    struct Sim : QProcess {
        QString pty;
        ~Sim() override
        {
            if (state() != QProcess::NotRunning) {
                kill();
                waitForFinished();
            }
        }
        // The next line the simulator prints, or nothing within the limit.
        QString nextLine()
        {
            QDeadlineTimer deadline(10000);
            while (!canReadLine()) {
                if (deadline.hasExpired() || !waitForReadyRead(int(deadline.remainingTime())))
                    return {};
            }
            return QString::fromUtf8(readLine()).trimmed();
        }
    };

    // Waits until `p` has written `text` to its standard error.
    static bool waitForError(QProcess &p, const QString &text)
    {
        QByteArray seen;
        QDeadlineTimer deadline(CommandTimeoutMs);
        p.setReadChannel(QProcess::StandardError);
        while (!QString::fromUtf8(seen).contains(text)) {
            if (deadline.hasExpired() || !p.waitForReadyRead(int(deadline.remainingTime())))
                return false;
            seen = (seen + p.readAll()).right(4096);
        }
        p.setReadChannel(QProcess::StandardOutput);
        return true;
    }

    std::unique_ptr<Sim> startSim(const QStringList &args)
    {
        auto sim = std::make_unique<Sim>();
        sim->setProcessEnvironment(environment());
        sim->start(TavoPath, QStringList{u"sim"_s} + args);
        sim->pty = sim->nextLine();
        return sim->pty.startsWith(u'/') ? std::move(sim) : nullptr;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY2(QFileInfo(TavoPath).isExecutable(), qPrintable(TavoPath));
        const QByteArray good = tavo::configFileText(sampleConfig());
        QVERIFY(samples::writeBytes(path(u"sample.OTS"_s), good));
        QVERIFY(samples::writeBytes(path(u"cut.OTS"_s),
                                    good.left(good.lastIndexOf("\r\n", good.size() - 3) + 2)));
        // Output 1's On and Off codes, and no more.
        QVERIFY(samples::writeBytes(path(u"cutinone.OTS"_s),
                                    good.left(good.indexOf("\r\n", good.indexOf("\r\n") + 1) + 2)));
        const QByteArray bigByte = QByteArray(good).replace("\r\n7,0,0,1,72,", "\r\n7,0,0,1,300,");
        QVERIFY(samples::writeBytes(path(u"bigbyte.OTS"_s), bigByte));
        // The same line with text after the code, the fault its damage names.
        QVERIFY(samples::writeBytes(path(u"bigjunk.OTS"_s),
                                    QByteArray(bigByte).insert(bigByte.indexOf("\r\n", 20), " junk")));
        QVERIFY(samples::writeBytes(path(u"badmode.OTS"_s),
                                    QByteArray(good).replace("\r\n-1\r\n", "\r\nmaybe\r\n")));
        ConfigData twice = sampleConfig(); // output 1's Off code the same as its On code
        twice.OffMessages[0] = twice.OnMessages[0];
        QVERIFY(samples::writeBytes(path(u"twice.OTS"_s), tavo::configFileText(twice)));
        QVERIFY(samples::writeBytes(path(u"bigperiod.OTS"_s),
                                    QByteArray(good).replace("\r\n255\r\n", "\r\n256\r\n")));
        // The device-type table the commands find, with one row renamed.
        auto store = SettingsKeyValueStore::openIniFile(path(u"types.ini"_s));
        VellTypes().StoreVellTypes(*store);
        QVERIFY(store->setText(VellTypes::keyPath() + u"\\0"_s, u"Name"_s, u"Bench Unit "_s));
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("err"); // in stderr
        QTest::addColumn<QString>("out"); // in stdout; none: a failure prints nothing there

        // Words separated by blanks; SAMPLE is a good configuration, MISSING
        // a file that is not there, EMPTY an empty word, DIR/ the test's own
        // folder, SRC/ the source tree.
        const auto row = [this](const char *name, const char *line, int code, const char *err,
                                const char *out = "") {
            const auto fill = [this](QString text) {
                return text.replace(u"SAMPLE"_s, path(u"sample.OTS"_s))
                    .replace(u"MISSING"_s, path(u"missing.OTS"_s))
                    .replace(u"DIR/"_s, m_dir.path() + u'/')
                    .replace(u"SRC/"_s, qEnvironmentVariable("TAVO_SOURCE_DIR") + u'/');
            };
            QStringList args = fill(QString::fromLatin1(line)).split(u' ', Qt::SkipEmptyParts);
            args.replaceInStrings(QRegularExpression(u"^EMPTY$"_s), QString());
            QTest::newRow(name) << args << code << fill(QString::fromLatin1(err))
                                << fill(QString::fromLatin1(out));
        };
        // clang-format off
        row("no command", "", 2, "Commands:");
        row("overview", "--help", 0, "", "Commands:");
        row("unknown command", "frob", 2, "unknown command 'frob'");
        for (const char *command : {"show", "image", "export", "search", "program", "send", "sim", "check"}) {
            QTest::addRow("%s --help", command)
                << QStringList{QString::fromLatin1(command), u"--help"_s} << 0 << QString()
                << u"Usage: tavo %1"_s.arg(QLatin1String(command));
        }
        row("show without file", "show", 2, "missing argument");
        row("show an empty file name", "show EMPTY", 2, "a file name is empty");
        row("export to an empty file name", "export SAMPLE EMPTY", 2, "a file name is empty");
        row("image with unknown option", "image SAMPLE --hex", 2, "Unknown option 'hex'");
        row("program without port", "program SAMPLE", 2, "--port is required");
        row("program with an empty port name", "program SAMPLE --port=", 2, "--port needs the name of a port");
        row("search more ports than slots", "search --ports a,b,c,d,e", 2, "--ports names at most 4 ports");
        row("send with two strings", "send --port /dev/null --map 1 --bit 2 --on", 2, "exactly one of");
        row("send map of output 9", "send --port /dev/null --map 1,9", 2, "outputs 1 to 8");
        row("send map with on", "send --port /dev/null --map 1 --on", 2, "do not apply");
        row("send bit without state", "send --port /dev/null --bit 3", 2, "--on or --off");
        row("send mask of output 0", "send --port /dev/null --mask 0 --on", 2, "output 1 to 8");
        row("send code without output", "send --port /dev/null --code SAMPLE --on", 2, "needs --output");
        row("send output without code", "send --port /dev/null --bit 1 --output 2 --on", 2, "goes with --code");
        row("sim type beyond a byte", "sim --type 256", 2, "--type takes a number from 0 to 255");
        row("sim unknown fault", "sim --restart-fault loud", 2, "silent, wrong or single");
        row("sim version beyond a byte", "sim --version 1.256", 2, "--version");
        row("sim baud no port offers", "sim --baud 1234", 2, "not a rate");
        // Said at once, not after the first download or never.
        row("sim image into a folder", "sim --image-out DIR/", 1, "Is a directory");
        row("sim image into a missing folder", "sim --image-out DIR/missing/image.bin", 1, "No such file or directory");
        row("sim image over its own configuration", "sim --config SAMPLE --image-out SAMPLE", 1,
            "is the file being read; nothing was written");
        row("sim whose terminal cannot be told", "sim >/dev/full", 1, "No space left on device");
        row("an option without its value", "search --baud --ports /dev/null", 2, "--baud needs a value");
        row("a repeated option without its value", "send --port --map --port /dev/null", 2,
            "--port needs a value");
        row("search at a rate it never tries", "search --baud 1200", 2,
            "--baud takes one of 9600, 38400, 28800, 19200, 14400, 4800, 2400");

        row("send --help tells maps from masks", "send --help", 0, "", "reads such a byte as a mask");
        row("program --help lists its exit codes", "program --help", 0, "",
            "4  the unit failed during the download or the restart");

        row("show missing file", "show MISSING", 1, "no such file");
        row("show a folder", "show DIR/", 1, "is a directory");
        row("last line cut", "image DIR/cut.OTS", 1, "cut.OTS:35: error: line 35 is missing");
        row("mode not a boolean", "image DIR/badmode.OTS", 1,
            "badmode.OTS:13: error: mode of output 3: \"maybe\" is neither a number nor True or False");
        row("show a damaged file", "show DIR/badmode.OTS", 1, "badmode.OTS:13: error");
        // --lenient reads as the editor does: the same line as a warning,
        // and the outputs before the line it cannot read.
        row("show a damaged file, lenient", "show DIR/badmode.OTS --lenient", 0,
            "DIR/badmode.OTS:13: warning: mode of output 3", "Output 1\n");
        row("image of a damaged file, lenient", "image DIR/badmode.OTS --lenient", 0, "");
        row("check a damaged file", "check DIR/badmode.OTS", 1, "", "badmode.OTS:13: error: mode of output 3");
        row("the example is clean", "check SRC/examples/demo.OTS", 0, "");
        row("period beyond a byte", "export DIR/bigperiod.OTS DIR/x.BDX", 1,
            "bigperiod.OTS:32: error: period of output 8 is 256; it must be 0 to 255");
        row("program a damaged file", "program DIR/badmode.OTS --port DIR/ttyNone", 1, "badmode.OTS:13: error");
        row("send a code of a damaged file", "send --port DIR/ttyNone --code DIR/badmode.OTS --output 1 --on",
            1, "badmode.OTS:13: error");
        row("export onto a folder", "export SAMPLE DIR/", 1, "Is a directory");
        row("program refuses an error", "program DIR/twice.OTS --port DIR/ttyNone", 1,
            "twice.OTS:2: error: Output 1 On and Output 1 Off are the same code");
        row("export refuses an error", "export DIR/twice.OTS DIR/twice.BDX", 1,
            "has 1 error the unit cannot work with; nothing was done (--force goes on anyway)");
        row("export with --force", "export DIR/twice.OTS - --force", 0, "");
        row("export onto its own configuration", "export SAMPLE SAMPLE", 1, "is the file being read; nothing was written");
        row("program a port that does not exist", "program SAMPLE --port DIR/ttyNone", 3, "there is no port");
        row("send to a port that does not exist", "send --port DIR/ttyNone --map 1", 3, "there is no port");
        // What is kept quiet otherwise: --verbose is tavo's, wherever it stands.
        row("verbose before the command", "--verbose send --port DIR/ttyNone --map 1", 3, "tavo.serial: cannot open");
        row("verbose after the command", "send --port DIR/ttyNone --map 1 --verbose", 3, "tavo.serial: cannot open");
        row("send empty code", "send --port /dev/null --code SAMPLE --output 4 --on", 1, "output 4 has no On code");
        row("send off code of a pulse output", "send --port /dev/null --code SAMPLE --output 3 --off", 1, "pulse mode");
        // Output that cannot be written fails the command.
        for (const char *line : {"image SAMPLE", "image --raw SAMPLE", "show SAMPLE", "export SAMPLE -"})
            row(line, (line + std::string(" >/dev/full")).c_str(), 1, "No space left on device");
        // The editor answers its command line without a display.
        row("editor --help", "EDITOR --help", 0, "", "Usage: serial-tavo-editor");
        row("editor --version", "EDITOR --version", 0, "", "serial-tavo-editor 1.");
        row("editor unknown option", "EDITOR --frob", 2, "Unknown option 'frob'");
        row("editor without a display", "EDITOR", 1, "no display");
        // clang-format on
    }

    void commandLine()
    {
        QFETCH(QStringList, args);
        QFETCH(int, code);
        QFETCH(QString, err);
        QFETCH(QString, out);

        const Run run = tavo(args);
        QCOMPARE(run.code, code);
        QVERIFY2(run.err.contains(err), qPrintable(run.err));
        QVERIFY2(run.out.contains(out), qPrintable(run.out));
        // A refused command line does nothing, and a failure prints no half
        // result.
        if (code != 0 && out.isEmpty())
            QCOMPARE(run.out, QString());
    }

    void showListsModesPeriodsAndSettings()
    {
        const Run run = tavo({u"show"_s, path(u"sample.OTS"_s)});
        QCOMPARE(run.code, 0);
        const QStringList lines = run.out.split(u'\n');
        QCOMPARE(lines.size(), 8 * 5 + 2); // and the empty rest after the last line end
        const QString separate = u"  Mode: Outputs use seperate On/Off serial codes"_s;
        QCOMPARE(lines.at(1), separate);
        QCOMPARE(lines.at(2), u"  Period: 1"_s);
        QCOMPARE(lines.at(3), u"  On: Hi,CR,5d,Ah,101b,?"_s);
        QCOMPARE(lines.at(4), u"  Off:"_s);
        QCOMPARE(lines.at(7), u"  Period: 0 (0.1 s)"_s);
        QCOMPARE(lines.at(9), u"  Off: OFF"_s);
        QCOMPARE(lines.at(11), u"  Mode: Output On for \"Period\" seconds after serial code received"_s);
        QCOMPARE(lines.at(12), u"  Period: 5"_s);
        QCOMPARE(lines.at(37), u"  Period: 255"_s);
        QCOMPARE(lines.at(40), u"Settings: 19200, baud, Even parity, 8 Bit data, 1 Stop bit"_s);

        // The editor never shows an output the file breaks off in, nor
        // programs its codes.
        const Run cut = tavo({u"show"_s, path(u"cutinone.OTS"_s), u"--lenient"_s});
        QCOMPARE(cut.code, 0);
        QCOMPARE(cut.out.section(u'\n', 3, 4), u"  On:\n  Off:"_s);
    }

    void imageAndExportCarryTheBuiltImage()
    {
        const QString sample = path(u"sample.OTS"_s);
        ConfigData config = sampleConfig();
        tavo::BuildConfigImage(config);
        const QByteArray image = imageBytes(config);

        // Sixteen lines of sixteen upper-case hexadecimal bytes.
        QString hex;
        for (int i = 0; i < image.size(); i += 16)
            hex += QString::fromLatin1(image.mid(i, 16).toHex(' ').toUpper()) + u'\n';
        const Run text = tavo({u"image"_s, sample});
        QCOMPARE(text.code, 0);
        QCOMPARE(text.out, hex);

        const Run raw = tavo({u"image"_s, sample, u"--raw"_s});
        QCOMPARE(raw.code, 0);
        QCOMPARE(raw.bytes, image);

        const QString bdx = path(u"sample.BDX"_s);
        QCOMPARE(tavo({u"export"_s, sample, bdx}).code, 0);
        QFile exported(bdx);
        QVERIFY(exported.open(QIODevice::ReadOnly));
        QCOMPARE(exported.readAll(), tavo::exportFileBytes(config));
    }

    void searchNamesWhatAnswers_data()
    {
        QTest::addColumn<QStringList>("simArgs");
        QTest::addColumn<QStringList>("searchArgs");
        QTest::addColumn<QString>("slot1");
        QTest::addColumn<QStringList>("traced"); // lines on stderr after their time; MISSING the third port

        QTest::newRow("other type") << QStringList{u"--type"_s, u"0x11"_s, u"--version"_s, u"2.5"_s}
                                    << QStringList() << u"Bench Unit 2.5"_s // named by the stored table
                                    << QStringList();
        QTest::newRow("nothing answers")
            << QStringList{u"--silent"_s} << QStringList() << u"--------------"_s << QStringList();
        // The whole exchange, at the one rate asked for.
        QTest::newRow("traced at 9600 only")
            << QStringList() << QStringList{u"--trace"_s, u"--baud"_s, u"9600"_s} << u"Serial Tavo 1.0"_s
            << QStringList{u"> 110,n,8,2 00"_s, u"> 9600,n,8,2 FF"_s, u"> 9600,n,8,2 4C"_s,
                           u"< 16 01 00 E8"_s,  u"> 9600,o,8,1 33"_s, u"cannot open MISSING"_s};
    }

    void searchNamesWhatAnswers()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(QStringList, searchArgs);
        QFETCH(QString, slot1);
        QFETCH(QStringList, traced);

        SIM_OR_SKIP(sim, simArgs);
        const QString missing = path(u"ttyMissing"_s);
        const Run run =
            tavo(QStringList{u"search"_s, u"--ports"_s, sim->pty + u",,"_s + missing} + searchArgs);
        QCOMPARE(run.code, 0);
        const QStringList expected{
            u"slot 1 (%1): %2"_s.arg(sim->pty, slot1),
            u"slot 2 (none): --------------"_s,
            u"slot 3 (%1): --------------"_s.arg(missing),
            u"slot 4 (none): --------------"_s,
        };
        QCOMPARE(run.out.split(u'\n', Qt::SkipEmptyParts), expected);
        // Why the missing port shows nothing.
        QVERIFY2(run.err.contains(missing), qPrintable(run.err));
        for (const QString &line : traced) {
            const QRegularExpression pattern(
                u"^\\+\\d+\\.\\d{3} "_s
                    + QRegularExpression::escape(QString(line).replace(u"MISSING"_s, missing)),
                QRegularExpression::MultilineOption);
            QVERIFY2(pattern.match(run.err).hasMatch(), qPrintable(line + u"\n"_s + run.err));
        }
        // --baud 9600: no other rate is tried.
        QVERIFY2(searchArgs.isEmpty() || !run.err.contains(u"38400"_s), qPrintable(run.err));

        // The same as JSON, for a program to read.
        if (!searchArgs.isEmpty())
            return;
        const Run json = tavo({u"search"_s, u"--json"_s, u"--ports"_s, sim->pty + u",,"_s + missing});
        const QJsonArray slots_ = QJsonDocument::fromJson(json.bytes).array();
        QCOMPARE(slots_.size(), 4);
        const QJsonObject first = slots_.at(0).toObject();
        QCOMPARE(first.value(u"port"_s).toString(), sim->pty);
        QCOMPARE(first.value(u"text"_s).toString(), slot1);
        QCOMPARE(first.value(u"found"_s).toBool(), slot1 != u"--------------"_s);
        QCOMPARE(first.value(u"programmable"_s).toBool(), slot1.startsWith(u"Serial Tavo"_s));
        QVERIFY(slots_.at(1).toObject().value(u"port"_s).isNull());
    }

    // A station with several adapters: the units at once, a summary, and
    // a record of each in the log.
    void programmingSeveralUnitsAtOnce()
    {
        SIM_OR_SKIP(a, {});
        SIM_OR_SKIP(b, {u"--type"_s, u"0x11"_s});
        SIM_OR_SKIP(c, {u"--block-fault"_s, u"wrong"_s, u"--faulty-block"_s, u"3"_s});
        const QString log = path(u"runs.jsonl"_s);
        QFile::remove(log);
        QVERIFY(samples::writeBytes(log, "{\"earlier\":true}\n")); // appended to, never rewritten
        const Run run = tavo({u"program"_s, path(u"sample.OTS"_s), u"--port"_s, a->pty, u"--ports"_s,
                              b->pty + u',' + c->pty, u"--log"_s, log});
        QCOMPARE(run.code, 4); // a unit failed during its download
        QCOMPARE(a->nextLine(), u"image received"_s);

        // The summary: a header and a line per port, in the order given.
        const QStringList table = run.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(table.size(), 4);
        QVERIFY(table.at(0).startsWith(u"port"_s));
        QVERIFY(table.at(1).startsWith(a->pty) && table.at(1).contains(u"Serial Tavo 1.0  ok"_s));
        QVERIFY(table.at(2).contains(u" 1.0\" is not a Serial Tavo; nothing was sent"_s));
        QVERIFY2(!table.at(2).contains(b->pty + u": "_s), qPrintable(table.at(2)));  // the port named once
        QVERIFY2(!run.err.contains(b->pty + u": "_s + b->pty), qPrintable(run.err)); // the port named once
        QVERIFY(table.at(3).contains(u"Error!  3: Reply to download failed"_s));
        QVERIFY2(run.err.contains(u"1 unit programmed, 2 failed"_s), qPrintable(run.err));

        QFile file(log);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = file.readAll().split('\n');
        QCOMPARE(lines.size(), 5); // the earlier line, three records, the empty rest
        QCOMPARE(lines.at(0), QByteArray("{\"earlier\":true}"));
        const QByteArray image = imageBytes(sampleConfig());
        const QString sha =
            QString::fromLatin1(QCryptographicHash::hash(image, QCryptographicHash::Sha256).toHex());
        QStringList results;
        for (int i = 1; i <= 3; ++i) {
            const QJsonObject record = QJsonDocument::fromJson(lines.at(i)).object();
            QCOMPARE(record.value(u"image_sha256"_s).toString(), sha);
            QCOMPARE(record.value(u"config"_s).toString(), path(u"sample.OTS"_s));
            QVERIFY(QDateTime::fromString(record.value(u"time"_s).toString(), Qt::ISODateWithMs).isValid());
            QVERIFY(record.contains(u"host"_s) && record.value(u"adapter"_s).isObject());
            QVERIFY(record.value(u"seconds"_s).toDouble() > 0);
            results << record.value(u"port"_s).toString() + u' ' + record.value(u"result"_s).toString();
        }
        QVERIFY(results.contains(a->pty + u" ok"_s));

        // As JSON, in the order given too (the runs end in another).
        const Run json = tavo({u"program"_s, path(u"sample.OTS"_s), u"--ports"_s,
                               a->pty + u',' + b->pty + u',' + c->pty, u"--json"_s});
        QStringList order;
        const QJsonArray records = QJsonDocument::fromJson(json.bytes).array();
        for (const auto &record : records)
            order << record.toObject().value(u"port"_s).toString();
        QCOMPARE(order, QStringList({a->pty, b->pty, c->pty}));
    }

    void exportWithoutATargetGoesBesideTheFile()
    {
        const QString bdx = path(u"sample.BDX"_s);
        QFile::remove(bdx);
        QCOMPARE(tavo({u"export"_s, path(u"sample.OTS"_s)}).code, 0);
        QVERIFY(QFileInfo(bdx).size() == tavo::ExportFileSize);
        QVERIFY(samples::writeBytes(bdx, "mine"));
        const Run refused = tavo({u"export"_s, path(u"sample.OTS"_s)});
        QCOMPARE(refused.code, 1);
        QVERIFY(refused.err.contains(u"--overwrite"_s));
        QCOMPARE(QFileInfo(bdx).size(), 4);
        QCOMPARE(tavo({u"export"_s, path(u"sample.OTS"_s), u"--overwrite"_s}).code, 0);
        QCOMPARE(QFileInfo(bdx).size(), tavo::ExportFileSize);
    }

    void programReportsTheDialogsMessages_data()
    {
        QTest::addColumn<QStringList>("simArgs");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("lastMessage");

        const auto args = [](const char *text) {
            return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
        };
        QTest::newRow("all sent") << args("--image-out IMAGE") << 0 << u"Programming: 100%"_s;
        QTest::newRow("block 5 refused")
            << args("--block-fault wrong --faulty-block 5") << 4 << u"Error!  5: Reply to download failed"_s;
        QTest::newRow("restart refused")
            << args("--restart-fault wrong") << 4
            << u"Error!: Program failed, Tavo will fail to operate correctly until "
               "reprogrammmed, Try powering the tavo off/wait/on and reprogram again"_s;
        QTest::newRow("nothing answers") << args("--silent") << 3 << u"Error!: Tavo not responding"_s;
        // Named from the table the commands find: row 0 is "Bench Unit " there.
        QTest::newRow("another type of unit")
            << args("--type 0x11") << 3
            << u"PTY: \"Bench Unit 1.0\" is not a Serial Tavo; nothing was sent"_s;
    }

    void programReportsTheDialogsMessages()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(int, code);
        QFETCH(QString, lastMessage);

        const QString imageFile = path(u"received.bin"_s);
        QFile::remove(imageFile);
        SIM_OR_SKIP(sim, simArgs.replaceInStrings(u"IMAGE"_s, imageFile));
        const Run run = tavo({u"program"_s, path(u"sample.OTS"_s), u"--port"_s, sim->pty});
        QCOMPARE(run.code, code);
        QCOMPARE(run.out, code == 0 ? u"All sent ok\n"_s : QString());
        QVERIFY2(run.err.split(u'\n', Qt::SkipEmptyParts)
                     .constLast()
                     .endsWith(lastMessage.replace(u"PTY"_s, sim->pty)),
                 qPrintable(run.err));
        if (code != 0)
            return;
        QCOMPARE(sim->nextLine(), u"image received"_s);
        QFile received(imageFile);
        QVERIFY(received.open(QIODevice::ReadOnly));
        QCOMPARE(received.readAll(), imageBytes(sampleConfig()));
    }

    void sendSwitchesTheUnitsOutputs_data()
    {
        QTest::addColumn<QList<QStringList>>("sends");
        QTest::addColumn<QString>("sent");    // what the last send reports
        QTest::addColumn<QString>("outputs"); // what the unit reports after it

        using Sends = QList<QStringList>;
        const auto send = [](const char *text) { return QString::fromLatin1(text).split(u' '); };
        QTest::newRow("map 1 and 8") << Sends{send("--map 1,8")} << u"Sent 81 at 9600,n,8,1"_s
                                     << u"outputs on: 1,8"_s;
        QTest::newRow("configured Off code")
            << Sends{send("--code CONFIG --output 2 --on"), send("--code CONFIG --output 2 --off")}
            << u"Sent 4F 46 46 at 19200,e,8,1"_s << u"outputs on: none"_s;
    }

    void sendSwitchesTheUnitsOutputs()
    {
        QFETCH(QList<QStringList>, sends);
        QFETCH(QString, sent);
        QFETCH(QString, outputs);

        // A unit with codes reads no test strings at 9600,n,8,1, so it gets
        // the configuration (the unit at 19200, even parity) only for the
        // rows that send codes.
        const QString configFile = path(u"sample.OTS"_s);
        const bool codes = sends.constLast().contains(u"--code"_s);
        SIM_OR_SKIP(sim, codes ? QStringList{u"--config"_s, configFile} : QStringList{});
        // Closing the port puts back the line setting it had, and a unit in
        // another process may get to the bytes only after that (a
        // pseudo-terminal has no line time). Let the line rest at the
        // unit's own setting, as after a program that talked to the unit.
        if (codes)
            QVERIFY(setLine(sim->pty, B19200, PARENB));

        QString line;
        for (qsizetype i = 0; i < sends.size(); ++i) {
            QStringList args = sends.at(i);
            args.replaceInStrings(u"CONFIG"_s, configFile);
            const Run run = tavo(QStringList{u"send"_s, u"--verbose"_s, u"--port"_s, sim->pty} + args);
            QCOMPARE(run.code, 0);
            // The port stays open until the bytes have left.
            QVERIFY2(run.err.contains(u"ms for the bytes to leave"_s), qPrintable(run.err));
            if (i == sends.size() - 1)
                QCOMPARE(run.out.trimmed(), sent);
            line = sim->nextLine();
            QVERIFY2(line.startsWith(u"outputs on: "_s), qPrintable(line));
        }
        QCOMPARE(line, outputs);
    }

    void checkPrintsFindingsAsCompilersDo()
    {
        const QString file = path(u"twice.OTS"_s);
        const Run text = tavo({u"check"_s, file});
        QCOMPARE(text.code, 1);
        QCOMPARE(text.err, file + u": 1 error\n"_s); // the summary
        QCOMPARE(
            text.out,
            file
                + u":2: error: Output 1 On and Output 1 Off are the same code: the unit cannot tell on from off\n"_s);
        const Run json = tavo({u"check"_s, file, u"--json"_s});
        QCOMPARE(json.code, 1);
        const QJsonArray findings = QJsonDocument::fromJson(json.bytes).array();
        QCOMPARE(findings.size(), 1);
        const QJsonObject f = findings.at(0).toObject();
        QCOMPARE(f.value(u"severity"_s).toString(), u"error"_s);
        QCOMPARE(f.value(u"kind"_s).toString(), u"on-equals-off"_s);
        QCOMPARE(f.value(u"line"_s).toInt(), 2);
        QCOMPARE(f.value(u"codes"_s).toArray(), QJsonArray({u"Output 1 On"_s, u"Output 1 Off"_s}));

        // A byte the file cannot hold is said once, as damage, and not again
        // by the check of what the editor would read.
        const Run big = tavo({u"check"_s, path(u"bigbyte.OTS"_s)});
        QCOMPARE(big.err, path(u"bigbyte.OTS"_s) + u": 1 error, 1 warning\n"_s);
        const Run junk = tavo({u"check"_s, path(u"bigjunk.OTS"_s)});
        QVERIFY2(junk.out.contains(u":2: error: Output 1 On: byte 1 is 300"_s), qPrintable(junk.out));
    }

    void interruptedProgrammingClosesThePortAndEndsBySignal()
    {
        SIM_OR_SKIP(sim, {});
        // The port's own setting before the run, which it must get back.
        const int fd = ::open(sim->pty.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        QVERIFY(fd >= 0);
        termios t{};
        QCOMPARE(tcgetattr(fd, &t), 0);
        cfsetspeed(&t, B1200);
        QCOMPARE(tcsetattr(fd, TCSANOW, &t), 0);

        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(TavoPath, {u"program"_s, path(u"sample.OTS"_s), u"--port"_s, sim->pty});
        // Well into the download, then Ctrl+C.
        QVERIFY(waitForError(p, u"Programming: 12.5%"_s));
        ::kill(pid_t(p.processId()), SIGINT);
        QVERIFY(p.waitForFinished(CommandTimeoutMs));
        QCOMPARE(p.exitStatus(), QProcess::CrashExit);
        QCOMPARE(p.exitCode(), SIGINT);
        const QString err = QString::fromUtf8(p.readAllStandardError());
        QVERIFY2(err.contains(u"tavo: interrupted after the unit on %1 had taken "_s.arg(sim->pty)),
                 qPrintable(err));
        QCOMPARE(p.readAllStandardOutput(), QByteArray());

        QCOMPARE(tcgetattr(fd, &t), 0);
        QCOMPARE(cfgetospeed(&t), speed_t(B1200));
        ::close(fd);
    }

    void interruptedSearchReportsOnlyTheSlotsItSearched()
    {
        SIM_OR_SKIP(unit, {});
        SIM_OR_SKIP(silent, {u"--silent"_s});
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(TavoPath, {u"search"_s, u"--ports"_s, unit->pty + u',' + silent->pty + u",,"_s});
        // Slot 1 is done; slot 2, where nothing answers, takes over a second.
        QVERIFY(p.waitForReadyRead(CommandTimeoutMs));
        ::kill(pid_t(p.processId()), SIGTERM);
        QVERIFY(p.waitForFinished(CommandTimeoutMs));
        QCOMPARE(p.exitStatus(), QProcess::CrashExit);
        QCOMPARE(p.exitCode(), SIGTERM);
        QCOMPARE(QString::fromUtf8(p.readAllStandardOutput()),
                 u"slot 1 (%1): Serial Tavo 1.0\n"_s.arg(unit->pty));
        QCOMPARE(QString::fromUtf8(p.readAllStandardError()), QString());
    }

    void simEndsBySignal()
    {
        SIM_OR_SKIP(sim, {});
        sim->terminate();
        QVERIFY(sim->waitForFinished(CommandTimeoutMs));
        QCOMPARE(sim->exitStatus(), QProcess::CrashExit);
        QCOMPARE(sim->exitCode(), SIGTERM);
    }
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
