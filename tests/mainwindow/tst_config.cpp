#include "ConfigSamples.h"
#include "mainwindow/ConfigFile.h"
#include "mainwindow/ConfigImage.h"
#include "mainwindow/DocumentLauncher.h"
#include "mainwindow/ExportFile.h"
#include "mainwindow/FileNames.h"
#include "mainwindow/Product.h"
#include "mainwindow/SerialSettings.h"
#include "platform/ScriptedPrompter.h"
#include "platform/Shell.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <stdexcept>

namespace {

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// The first `count` CR LF lines of `text`.
QByteArray firstLines(const QByteArray &text, int count)
{
    QByteArray out;
    const QList<QByteArray> lines = text.split('\n');
    for (int i = 0; i < count; ++i)
        out += lines.at(i) + '\n';
    return out;
}

QByteArray replaceLine(const QByteArray &text, int lineNumber, const QByteArray &content)
{
    QList<QByteArray> lines = text.split('\n');
    lines[lineNumber - 1] = content + '\r';
    return lines.join('\n');
}

class RecordingShell : public Shell
{
public:
    explicit RecordingShell(int code) : m_code(code) {}
    int Open(const QString &path) override
    {
        opened << path;
        return m_code;
    }
    QStringList opened;

private:
    int m_code;
};

} // namespace

class TestConfig : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }

private slots:
    void saveThenOpenReproducesEverything()
    {
        const ConfigData saved = samples::varied();
        QVERIFY(tavo::writeConfigFile(path(QStringLiteral("round.OTS")), saved));

        const QByteArray text = readAll(path(QStringLiteral("round.OTS")));
        QCOMPARE(text.count("\r\n"), tavo::ConfigFileLineCount);
        QCOMPARE(text.count('\n'), tavo::ConfigFileLineCount);
        QVERIFY(text.startsWith(tavo::configFileHeader() + "\r\n"));

        ConfigData loaded; // a different starting point: every field must be read
        loaded.BaudIndex = 1;
        loaded.ParityIndex = 1;
        loaded.OnPeriods.fill(99);
        QList<int> shown;
        const auto result = tavo::readConfigFile(path(QStringLiteral("round.OTS")), loaded,
                                                 [&](int n) { shown << n; });
        QVERIFY(result.ok());
        QCOMPARE(shown, (QList<int>{0, 1, 2, 3, 4, 5, 6, 7}));
        for (int n = 0; n < ConfigData::OutputCount; ++n)
            QVERIFY2(samples::sameOutput(saved, loaded, n), qPrintable(QString::number(n)));
        QCOMPARE(loaded.BaudIndex, saved.BaudIndex);
        QCOMPARE(loaded.ParityIndex, saved.ParityIndex);
    }

    void filesCutShortLoadWhatCameBefore_data()
    {
        QTest::addColumn<int>("lines");
        for (int lines = 0; lines <= tavo::ConfigFileLineCount; ++lines)
            QTest::addRow("%d lines", lines) << lines;
    }

    void filesCutShortLoadWhatCameBefore()
    {
        QFETCH(int, lines);
        const ConfigData inFile = samples::varied();
        const QByteArray full = tavo::configFileText(inFile);
        QVERIFY(writeBytes(path(QStringLiteral("short.OTS")), firstLines(full, lines)));

        const ConfigData before;
        ConfigData config = before;
        QList<int> shown;
        const auto result = tavo::readConfigFile(path(QStringLiteral("short.OTS")), config,
                                                 [&](int n) { shown << n; });

        if (lines == tavo::ConfigFileLineCount) {
            QVERIFY(result.ok());
        } else {
            QCOMPARE(result.status, tavo::ConfigReadResult::MissingLine);
            QCOMPARE(result.line, lines + 1);
        }
        const int completeOutputs = qBound(0, (lines - 1) / 4, ConfigData::OutputCount);
        QCOMPARE(shown.size(), completeOutputs);
        for (int n = 0; n < ConfigData::OutputCount; ++n) {
            const auto i = static_cast<std::size_t>(n);
            const int first = 2 + 4 * n; // the output's On code line
            QCOMPARE(config.OnMessages[i].IsTheSameAs(inFile.OnMessages[i]), lines >= first
                     || inFile.OnMessages[i].IsTheSameAs(before.OnMessages[i]));
            QCOMPARE(config.OnPeriods[i], lines >= first + 2 ? inFile.OnPeriods[i] : before.OnPeriods[i]);
            QCOMPARE(config.PulseModes[i], lines >= first + 3 ? inFile.PulseModes[i] : before.PulseModes[i]);
        }
        QCOMPARE(config.BaudIndex, lines >= 34 ? inFile.BaudIndex : before.BaudIndex);
        QCOMPARE(config.ParityIndex, lines >= 35 ? inFile.ParityIndex : before.ParityIndex);
    }

    void malformedLines_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("period2"); // OnPeriods[2] afterwards
        QTest::addColumn<bool>("pulse2"); // PulseModes[2] afterwards

        // Output 2 (lines 10 to 13) is in On/Off mode with period 72 in the file.
        const int ok = tavo::ConfigReadResult::Loaded;
        const int bad = tavo::ConfigReadResult::BadValue;
        QTest::newRow("any header") << 1 << QByteArray("Something else entirely") << ok << 72 << false;
        QTest::newRow("empty header") << 1 << QByteArray() << ok << 72 << false;
        QTest::newRow("period with fraction rounds to even") << 12 << QByteArray("2.5") << ok << 2 << false;
        QTest::newRow("period with blanks") << 12 << QByteArray("  9 ") << ok << 9 << false;
        QTest::newRow("period in hex notation") << 12 << QByteArray("&H10") << ok << 16 << false;
        QTest::newRow("period not a number") << 12 << QByteArray("ten") << bad << 0 << false;
        QTest::newRow("period half a number") << 12 << QByteArray("12abc") << bad << 0 << false;
        QTest::newRow("period empty") << 12 << QByteArray() << bad << 0 << false;
        QTest::newRow("period beyond 16 bits") << 12 << QByteArray("40000") << bad << 0 << false;
        QTest::newRow("mode word True") << 13 << QByteArray("True") << ok << 72 << true;
        QTest::newRow("mode word in capitals") << 13 << QByteArray("TRUE") << ok << 72 << true;
        QTest::newRow("mode number 1") << 13 << QByteArray("1") << ok << 72 << true;
        QTest::newRow("mode word False") << 13 << QByteArray("false") << ok << 72 << false;
        QTest::newRow("mode 0") << 13 << QByteArray("0") << ok << 72 << false;
        QTest::newRow("mode word yes") << 13 << QByteArray("yes") << bad << 72 << false;
        QTest::newRow("On code not a message is passed over") << 10 << QByteArray("hello") << ok << 72 << false;
        QTest::newRow("On code with a bad type is passed over") << 10 << QByteArray("1,0,0,0,65,9,") << ok << 72
                                                                << false;
        QTest::newRow("On code longer than its slots") << 10 << QByteArray("20,0,0,0," + QByteArray("1,0,").repeated(20))
                                                       << bad << 0 << false;
        QTest::newRow("On code value beyond 16 bits") << 10 << QByteArray("1,0,0,0,99999,0,") << bad << 0 << false;
        QTest::newRow("baud not a number") << 34 << QByteArray("fast") << bad << 72 << false;
        QTest::newRow("parity beyond 16 bits") << 35 << QByteArray("-40000") << bad << 72 << false;
        QTest::newRow("baud out of the list still loads") << 34 << QByteArray("9") << ok << 72 << false;
    }

    void malformedLines()
    {
        QFETCH(int, line);
        QFETCH(QByteArray, content);
        QFETCH(int, status);
        QFETCH(int, period2);
        QFETCH(bool, pulse2);

        const ConfigData inFile = samples::varied();
        QVERIFY(writeBytes(path(QStringLiteral("bad.OTS")),
                           replaceLine(tavo::configFileText(inFile), line, content)));
        ConfigData config;
        const auto result = tavo::readConfigFile(path(QStringLiteral("bad.OTS")), config);
        QCOMPARE(int(result.status), status);
        if (status != tavo::ConfigReadResult::Loaded)
            QCOMPARE(result.line, line);
        QCOMPARE(config.OnPeriods[2], period2);
        QCOMPARE(config.PulseModes[2], pulse2);
        // A message line that is passed over leaves that message as it was,
        // and the next one still loads.
        if (line == 10 && status == tavo::ConfigReadResult::Loaded) {
            QVERIFY(config.OnMessages[2].IsTheSameAs(SerialEditorData()));
            QVERIFY(config.OffMessages[2].IsTheSameAs(inFile.OffMessages[2]));
        }
    }

    void filesThatCannotBeReadChangeNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("status");
        QTest::newRow("missing") << QStringLiteral("nothing here.OTS") << int(tavo::ConfigReadResult::NotFound);
        QTest::newRow("a folder") << QStringLiteral("folder.OTS") << int(tavo::ConfigReadResult::NotFound);
        QTest::newRow("empty") << QStringLiteral("empty.OTS") << int(tavo::ConfigReadResult::MissingLine);
    }

    void filesThatCannotBeReadChangeNothing()
    {
        QFETCH(QString, name);
        QFETCH(int, status);
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("folder.OTS")));
        QVERIFY(writeBytes(path(QStringLiteral("empty.OTS")), {}));
        ConfigData config = samples::varied();
        const auto result = tavo::readConfigFile(path(name), config);
        QCOMPARE(int(result.status), status);
        const ConfigData expected = samples::varied();
        for (int n = 0; n < ConfigData::OutputCount; ++n)
            QVERIFY(samples::sameOutput(config, expected, n));
    }

    void linesEndedByLineFeedAloneLoad()
    {
        QByteArray text = tavo::configFileText(samples::varied());
        text.replace("\r\n", "\n");
        text.chop(1); // and no line end after the last line
        QVERIFY(writeBytes(path(QStringLiteral("unix.OTS")), text));
        ConfigData config;
        QVERIFY(tavo::readConfigFile(path(QStringLiteral("unix.OTS")), config).ok());
        QCOMPARE(config.ParityIndex, 2);
        QVERIFY(samples::sameOutput(config, samples::varied(), 3));
    }

    void failedSaveLeavesTheOldFile()
    {
        const QString target = path(QStringLiteral("keep.OTS"));
        const QByteArray old("the old file\r\n");
        QVERIFY(writeBytes(target, old));

        ConfigData broken = samples::varied();
        broken.OffMessages[6].SetNumberOfBytesInMessage(20); // packing it faults
        QVERIFY(!tavo::writeConfigFile(target, broken));
        QCOMPARE(readAll(target), old);

        QVERIFY(!tavo::writeConfigFile(path(QStringLiteral("no such folder/x.OTS")), samples::varied()));
        QVERIFY(!tavo::writeConfigFile(path(QStringLiteral("folder.OTS")), samples::varied()));
    }

    void image_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<int>("pulseMask");
        QTest::addColumn<int>("byte9");
        QTest::addColumn<int>("byte10");

        const int baudCodes[] = {2, 0, 1, 3, 4, 5, 6};
        for (int b = 0; b < 7; ++b)
            QTest::addRow("baud index %d", b) << b << 0 << 0 << baudCodes[b] << 0;
        QTest::newRow("even parity") << 0 << 1 << 0 << 2 << 2;
        QTest::newRow("odd parity") << 0 << 2 << 0 << 2 << 1;
        QTest::newRow("all pulse") << 3 << 1 << 0xFF << 3 << 2;
        QTest::newRow("outputs 1 and 8 pulse") << 6 << 0 << 0x81 << 6 << 0;
        // Out-of-list indexes repeat the byte before.
        QTest::newRow("baud index 7 repeats the mask") << 7 << 2 << 0x24 << 0x24 << 1;
        QTest::newRow("negative baud index") << -1 << 0 << 0x10 << 0x10 << 0;
        QTest::newRow("parity index 3 repeats the baud code") << 4 << 3 << 0 << 4 << 4;
        QTest::newRow("both out of the lists") << 9 << 5 << 0x42 << 0x42 << 0x42;
    }

    void image()
    {
        QFETCH(int, baud);
        QFETCH(int, parity);
        QFETCH(int, pulseMask);
        QFETCH(int, byte9);
        QFETCH(int, byte10);

        ConfigData c = samples::varied();
        for (int n = 0; n < 8; ++n)
            c.PulseModes[static_cast<std::size_t>(n)] = (pulseMask >> n) & 1;
        c.BaudIndex = static_cast<std::int16_t>(baud);
        c.ParityIndex = static_cast<std::int16_t>(parity);
        c.ConfigImage.fill(0xAA); // to see what is left alone

        QList<int> collated;
        tavo::BuildConfigImage(c, [&](int n) { collated << n; });
        const auto &img = c.ConfigImage;

        for (int n = 0; n < 8; ++n)
            QCOMPARE(int(img[static_cast<std::size_t>(n)]), n * 36);
        QCOMPARE(int(img[8]), pulseMask);
        QCOMPARE(int(img[9]), byte9);
        QCOMPARE(int(img[10]), byte10);
        for (int i = 11; i < 16; ++i)
            QCOMPARE(int(img[static_cast<std::size_t>(i)]), 0xAA);

        QList<int> expectedCollation{0, 1, 2, 3, 4, 5, 6, 7};
        for (int n = 0; n < 8; ++n) {
            const auto i = static_cast<std::size_t>(n);
            const bool pulse = (pulseMask >> n) & 1;
            if (!pulse)
                expectedCollation << n;
            const std::size_t on = 16 + 15 * i;
            QCOMPARE(int(img[on]), int(c.OnMessages[i].NumberOfBytesInMessage()));
            for (int k = 0; k < 14; ++k)
                QCOMPARE(int(img[on + 1 + std::size_t(k)]), int(c.OnMessages[i].ByteValue(k)));
            const std::size_t off = 136 + 15 * i;
            QCOMPARE(int(img[off]), pulse ? 0 : int(c.OffMessages[i].NumberOfBytesInMessage()));
            for (int k = 0; k < 14; ++k)
                QCOMPARE(int(img[off + 1 + std::size_t(k)]), pulse ? 0xAA : int(c.OffMessages[i].ByteValue(k)));
        }
        QCOMPARE(collated, expectedCollation);
    }

    void imageRefusesValuesBeyondAByte_data()
    {
        QTest::addColumn<int>("period");
        QTest::addColumn<int>("onByte");
        QTest::addColumn<int>("offByte");
        QTest::addColumn<int>("faultAt"); // image index of the value that does not fit; -1 none

        QTest::newRow("period 256") << 256 << 0 << 0 << 0;
        QTest::newRow("period -1") << -1 << 0 << 0 << 0;
        QTest::newRow("On byte 300") << 1 << 300 << 0 << 16 + 1 + 3;
        QTest::newRow("Off byte -5") << 1 << 0 << -5 << 136 + 1 + 13;
        QTest::newRow("255 fits") << 255 << 255 << 255 << -1;
    }

    void imageRefusesValuesBeyondAByte()
    {
        QFETCH(int, period);
        QFETCH(int, onByte);
        QFETCH(int, offByte);
        QFETCH(int, faultAt);

        ConfigData c;
        c.OnPeriods[0] = static_cast<std::int16_t>(period);
        c.OnMessages[0].SetByteValue(3, static_cast<std::int16_t>(onByte));
        c.OffMessages[0].SetByteValue(13, static_cast<std::int16_t>(offByte));
        c.ConfigImage.fill(0xAA);
        bool overflowed = false;
        try {
            tavo::BuildConfigImage(c);
        } catch (const std::overflow_error &) {
            overflowed = true;
        }
        QCOMPARE(overflowed, faultAt >= 0);
        if (!overflowed)
            return;
        // What came before the fault was written; the fault and what follows were not.
        QCOMPARE(int(c.ConfigImage[std::size_t(faultAt)]), 0xAA);
        QCOMPARE(int(c.ConfigImage[std::size_t(faultAt + 1)]), 0xAA);
        if (faultAt > 0)
            QCOMPARE(int(c.ConfigImage[std::size_t(faultAt - 1)]), 0);
    }

    void exportFile()
    {
        ConfigData c = samples::varied();
        tavo::BuildConfigImage(c);
        const QString target = path(QStringLiteral("demo.BDX"));
        QVERIFY(writeBytes(target, QByteArray(70000, 'x'))); // longer than an export
        QVERIFY(tavo::writeExportFile(target, c));

        const QByteArray bytes = readAll(target);
        QCOMPARE(bytes.size(), 65539);
        QCOMPARE(int(std::uint8_t(bytes.at(0))), 24);
        for (int i = 0; i < 256; ++i)
            QCOMPARE(std::uint8_t(bytes.at(1 + i)), c.ConfigImage[std::size_t(i)]);
        QCOMPARE(bytes.mid(257).count('\0'), 65539 - 257);

        QVERIFY(!tavo::writeExportFile(path(QStringLiteral("no such folder/x.BDX")), c));
    }

    void proposedExportName_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("proposed");
        QTest::newRow("untitled") << QString() << QString();
        QTest::newRow("folder and name") << QStringLiteral("/x/demo.OTS") << QStringLiteral("/x/demo.BDX");
        QTest::newRow("lower-case extension") << QStringLiteral("/x/demo.ots") << QStringLiteral("/x/demo.BDX");
        QTest::newRow("five characters") << QStringLiteral("a.OTS") << QStringLiteral("a.BDX");
        QTest::newRow("four characters") << QStringLiteral(".OTS") << QString();
        QTest::newRow("an export path") << QStringLiteral("/x/demo.BDX") << QStringLiteral("/x/demo.BDX");
    }

    void proposedExportName()
    {
        QFETCH(QString, current);
        QFETCH(QString, proposed);
        QCOMPARE(tavo::proposedExportName(current), proposed);
    }

    void settingsText_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<QString>("text");
        const QString tail = QStringLiteral(" parity, 8 Bit data, 1 Stop bit");
        QTest::newRow("defaults") << 0 << 0 << QStringLiteral("9600, baud, No") + tail;
        QTest::newRow("19200 even") << 4 << 1 << QStringLiteral("19200, baud, Even") + tail;
        QTest::newRow("38400 odd") << 6 << 2 << QStringLiteral("38400, baud, Odd") + tail;
        QTest::newRow("2400") << 1 << 0 << QStringLiteral("2400, baud, No") + tail;
        QTest::newRow("baud 7") << 7 << 0 << QStringLiteral(", baud, No") + tail;
        QTest::newRow("parity -1") << 3 << -1 << QStringLiteral("14400, baud, ") + tail;
    }

    void settingsText()
    {
        QFETCH(int, baud);
        QFETCH(int, parity);
        QFETCH(QString, text);
        QCOMPARE(tavo::SerialSettingsText(baud, parity), text);
    }

    void launchErrors_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message"); // empty: nothing shown
        QTest::newRow("missing file") << 2 << QStringLiteral("File not found!");
        QTest::newRow("path") << 3 << QStringLiteral("Path not found!");
        QTest::newRow("access") << 5 << QStringLiteral("Access denied!");
        QTest::newRow("memory") << 8 << QStringLiteral("Out of memory!");
        QTest::newRow("exe") << 11 << QStringLiteral("Invalid EXE file or error in EXE image!");
        QTest::newRow("sharing") << 15 << QStringLiteral("A sharing violation occurred!");
        QTest::newRow("shell's sharing code") << 26 << QStringLiteral("Unknown error!");
        QTest::newRow("association") << 27 << QStringLiteral("Incomplete or invalid file association!");
        QTest::newRow("dde timeout") << 28 << QStringLiteral("DDE Time out!");
        QTest::newRow("dde failed") << 29 << QStringLiteral("DDE transaction failed!");
        QTest::newRow("dde busy") << 30 << QStringLiteral("DDE busy!");
        QTest::newRow("no association") << 31 << QString();
        QTest::newRow("32 is a failure") << 32 << QStringLiteral("DLL not found!");
        QTest::newRow("zero") << 0 << QStringLiteral("Unknown error!");
        QTest::newRow("33 is success") << 33 << QString();
        QTest::newRow("desktop success") << Shell::Launched << QString();
    }

    void launchErrors()
    {
        QFETCH(int, code);
        QFETCH(QString, message);
        RecordingShell shell(code);
        ScriptedPrompter prompter;
        tavo::LaunchDocument(shell, prompter, QStringLiteral("/opt/help.html"));
        QCOMPARE(shell.opened, QStringList{QStringLiteral("/opt/help.html")});
        QCOMPARE(prompter.shown().size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QCOMPARE(prompter.shown().first().text, message);
            QCOMPARE(prompter.shown().first().title, QStringLiteral("Link Launch Error"));
            QCOMPARE(prompter.shown().first().icon, Prompter::Icon::Critical);
            QCOMPARE(prompter.shown().first().buttons, Prompter::Buttons::Ok);
        }
    }

    void desktopShellReportsAMissingFile()
    {
        DesktopShell shell;
        QCOMPARE(shell.Open(path(QStringLiteral("not there.html"))), Shell::FileNotFound);
    }

    void captions_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("caption");
        QTest::newRow("untitled") << QString() << QStringLiteral("Serial Tavo Editor 1.0.3");
        QTest::newRow("absolute") << QStringLiteral("/home/me/shop lights.OTS") << QStringLiteral("shop lights");
        QTest::newRow("only the last folder counts") << QStringLiteral("a/b.c/d.OTS") << QStringLiteral("d");
        QTest::newRow("any four-character ending") << QStringLiteral("/x/demo.BDX") << QStringLiteral("demo");
        QTest::newRow("no folder drops a character") << QStringLiteral("demo.OTS") << QStringLiteral("emo");
        QTest::newRow("too short for an extension") << QStringLiteral("/x/a.b") << QString();
#ifdef Q_OS_WIN
        QTest::newRow("backslash") << QStringLiteral("C:\\x\\demo.OTS") << QStringLiteral("demo");
#else
        QTest::newRow("backslash is a character here") << QStringLiteral("C:\\x\\demo.OTS")
                                                       << QStringLiteral(":\\x\\demo");
#endif
    }

    void captions()
    {
        QFETCH(QString, file);
        QFETCH(QString, caption);
        QCOMPARE(tavo::windowCaption(file), caption);
        QCOMPARE(tavo::productCaption(), QStringLiteral("Serial Tavo Editor ") + tavo::versionText());
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("file");
        QTest::newRow("none") << QStringList() << QString();
        QTest::newRow("plain") << QStringList{QStringLiteral("/x/demo.OTS")} << QStringLiteral("/x/demo.OTS");
        QTest::newRow("blanks in one argument") << QStringList{QStringLiteral("/x/path with blanks/demo.OTS")}
                                                << QStringLiteral("/x/path with blanks/demo.OTS");
        QTest::newRow("quotes kept by the caller")
            << QStringList{QStringLiteral("\"/x/path with blanks/demo.OTS\"")}
            << QStringLiteral("/x/path with blanks/demo.OTS");
        QTest::newRow("unquoted blanks in pieces")
            << QStringList{QStringLiteral("/x/path"), QStringLiteral("with"), QStringLiteral("blanks.OTS")}
            << QStringLiteral("/x/path with blanks.OTS");
        QTest::newRow("only one quote each side") << QStringList{QStringLiteral("\"\"a.OTS\"\"")}
                                                  << QStringLiteral("\"a.OTS\"");
        QTest::newRow("leading quote only") << QStringList{QStringLiteral("\"a.OTS")} << QStringLiteral("a.OTS");
        QTest::newRow("just a quote") << QStringList{QStringLiteral("\"")} << QString();
    }

    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, file);
        QCOMPARE(tavo::configFileFromArguments(arguments), file);
    }
};

QTEST_GUILESS_MAIN(TestConfig)
#include "tst_config.moc"
