#include "ConfigFile.h"
#include "ConfigImage.h"
#include "DocumentLauncher.h"
#include "ExportFile.h"
#include "FileNames.h"
#include "ScriptedPrompter.h"
#include "SerialSettings.h"
#include "support/ConfigSamples.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <set>
#include <stdexcept>

using namespace samples;
using Status = tavo::ConfigReadResult::Status;

class TestConfig : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }

private slots:
    // One line of a file replaced, or the file cut before it, read into a
    // configuration that differs from the file in every field. The reading
    // stops at the first line it cannot use and keeps everything before
    // it; the fields from there on keep what they held. A line that loads
    // is written back as `readsAs` (null: its field keeps what it held).
    // Output 2 is on lines 6 to 9 (its period is 36 in the file, its mode
    // pulse), output 3 on lines 10 to 13 (On/Off), the baud index on 34.
    void readingStopsAtTheFirstUnusableLine_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("content"); // null: the file ends before the line
        QTest::addColumn<bool>("loads");
        QTest::addColumn<QByteArray>("readsAs");

        const auto row = [](const char *name, int line, const char *content, bool loads,
                            const char *readsAs = nullptr) {
            QTest::newRow(name) << line << QByteArray(content) << loads << QByteArray(readsAs);
        };
        row("empty file", 1, nullptr, false);
        row("cut after output 1's On code", 3, nullptr, false);
        row("cut before output 1's mode", 5, nullptr, false);
        row("cut after output 1", 6, nullptr, false);
        row("cut before the baud index", 34, nullptr, false);
        row("cut before the parity index", 35, nullptr, false);
        row("whole file", 36, nullptr, true);

        row("any header", 1, "Something else", true);
        row("On code not a code", 10, "hello", true);
        row("On code longer than its slots", 10,
            "16,0,0,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,", false);
        row("code byte beyond 16 bits", 6, "1,0,0,0,1e5,1,", false);
        row("period negative", 8, "-1", true, "-1");
        row("period rounded half to even", 8, "35.5", true, "36");
        row("period not a number", 8, "ten", false);
        row("period two numbers", 8, "1 2", false);
        row("period rounding past 16 bits", 8, "32767.5", false);
        row("mode True in any case", 9, "tRuE", true, "-1");
        row("mode fraction is true", 9, "0.4", true, "-1");
        row("mode negative zero is false", 13, "-0", true, "0");
        row("mode a word", 9, "on", false);
        row("baud outside the list", 34, "9", true, "9");
        row("baud fraction", 34, "5.5", true, "6");
        row("baud beyond 16 bits", 34, "99999", false);
    }

    void readingStopsAtTheFirstUnusableLine()
    {
        QFETCH(int, line);
        QFETCH(QByteArray, content);
        QFETCH(bool, loads);
        QFETCH(QByteArray, readsAs);

        const ConfigData inFile = varied();
        ConfigData config;
        for (std::size_t n = 0; n < 8; ++n) {
            config.OnMessages[n] = config.OffMessages[n] = code("k");
            config.OnPeriods[n] = 9;
            config.PulseModes[n] = !inFile.PulseModes[n];
        }
        config.BaudIndex = config.ParityIndex = 1;
        const QList<QByteArray> fileLines = tavo::configFileText(inFile).split('\n');
        const QList<QByteArray> keptLines = tavo::configFileText(config).split('\n');
        QList<QByteArray> written = fileLines;
        if (content.isNull())
            written = written.mid(0, line - 1) << QByteArray();
        else
            written[line - 1] = content + '\r';
        QVERIFY(writeBytes(path("odd.OTS"), written.join('\n')));

        int shown = 0;
        const auto result = tavo::readConfigFile(path("odd.OTS"), config, [&](int) { ++shown; });
        QCOMPARE(result.status, loads              ? Status::Loaded
                                : content.isNull() ? Status::MissingLine
                                                   : Status::BadValue);
        QCOMPARE(result.line, loads ? 0 : line);
        QCOMPARE(shown, loads ? 8 : (line - 2) / 4);
        QList<QByteArray> expected;
        for (int l = 1; l <= 35; ++l) {
            const bool fromFile = loads ? l != line : l < line;
            expected << (l == line && !readsAs.isNull() ? readsAs + '\r'
                         : fromFile                     ? fileLines[l - 1]
                                                        : keptLines[l - 1]);
        }
        QCOMPARE(tavo::configFileText(config).split('\n').mid(0, 35), expected);
    }

    // What the command line's strict reading refuses, and what it lets pass
    // because it means one thing. Line 2 is output 1's On code, 3 its Off
    // code, 4 its period, 5 its mode; 34 and 35 the baud and parity index.
    void damagedLinesAreNamed_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("text"); // null: the file ends before the line
        QTest::addColumn<QString>("damage");  // empty: not damage

        const auto row = [](const char *name, int line, const char *text, const char *damage) {
            QTest::newRow(name) << line << QByteArray(text) << QString::fromLatin1(damage);
        };
        row("any header", 1, "Some Other Tool 9", "");
        row("no extra pair", 2, "1,0,0,1,255,2,", "");
        row("extra pair of any type", 2, "1,0,0,0,65,0,99,9,", "");
        row("fraction", 4, "2.5", "");
        row("hexadecimal period", 4, "&H1F", "");
        row("True in any case", 5, "tRuE", "");
        row("mode number", 5, "1", "");

        row("not a code", 2, "garbage",
            "On code of output 1: not a code (a code is a list of numbers, each ended by a comma)");
        row("empty code line", 3, "", "Off code of output 1: an empty line, not a code");
        row("second pair missing", 2, "2,0,0,0,65,0,", "On code of output 1: cut short at field 7");
        row("entry mode 7", 2, "1,0,7,0,65,0,",
            "On code of output 1: the entry mode (field 3) is not 0 to 6");
        row("ignore field 2", 2, "1,0,0,2,65,0,", "On code of output 1: field 4 is neither 0 nor 1");
        row("type 7", 6, "2,0,0,0,65,0,66,7,", "On code of output 2: byte 2 has a type that is not 0 to 6");
        row("15 bytes", 2,
            "15,0,0,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,",
            "On code of output 1: 15 bytes, more than the 14 a code can hold");
        row("16 bytes", 2,
            "16,0,0,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,",
            "On code of output 1: 16 bytes, more than the 14 a code can hold");
        row("negative count", 2, "-1,0,0,0,", "On code of output 1: a byte count of -1");
        row("value beyond 16 bits", 2, "1,0,0,0,70000,0,",
            "On code of output 1: field 5 holds a number beyond 16 bits");
        row("value beyond a byte", 2, "1,0,0,0,300,0,",
            "On code of output 1: byte 1 is 300, which does not fit a byte");
        row("negative value", 2, "1,0,0,0,-5,0,",
            "On code of output 1: byte 1 is -5, which does not fit a byte");
        row("junk in a field", 2, "1,0,0,0,6x5,0,", "On code of output 1: field 5 is not a number");
        row("period not a number", 4, "abc", "period of output 1: \"abc\" is not a number");
        row("period 256", 4, "256", "period of output 1 is 256; it must be 0 to 255");
        row("period rounds to 256", 4, "255.5", "period of output 1 is 256; it must be 0 to 255");
        row("negative period", 8, "-1", "period of output 2 is -1; it must be 0 to 255");
        row("period beyond 16 bits", 4, "99999", "period of output 1: \"99999\" is beyond 16 bits");
        row("mode not a boolean", 5, "maybe",
            "mode of output 1: \"maybe\" is neither a number nor True or False");
        row("baud index 7", 34, "7", "baud rate index 7 is not one of 0 to 6");
        row("parity index 3", 35, "3", "parity index 3 is not one of 0 to 2");
        row("baud index not a number", 34, "fast", "baud rate index: \"fast\" is not a number");
        row("text after the end", 36, "more", "text after the 35 lines of a configuration");
        row("cut short", 20, nullptr, "line 20 is missing: a configuration has 35 lines");
        row("empty", 1, nullptr, "the file is empty");
    }

    void damagedLinesAreNamed()
    {
        QFETCH(int, line);
        QFETCH(QByteArray, text);
        QFETCH(QString, damage);

        QList<QByteArray> lines = tavo::configFileText(varied()).split('\n');
        if (text.isNull())
            lines = lines.mid(0, line - 1) << QByteArray();
        else
            lines[line - 1] = text + (line <= 35 ? "\r" : "");
        QStringList found;
        for (const tavo::ConfigDamage &d : tavo::findConfigDamage(lines.join('\n')))
            found << QString::number(d.line) + QStringLiteral(": ") + d.what;
        QCOMPARE(found, damage.isEmpty()
                            ? QStringList()
                            : QStringList{QString::number(line) + QStringLiteral(": ") + damage});
    }

    // Every damaged line is named, not only the first, up to where the file ends.
    void damageIsReportedLineByLine()
    {
        QList<QByteArray> lines = tavo::configFileText(varied()).split('\n').mid(0, 34);
        lines[1] = "x\r";
        lines[33] = "9\r";
        QList<int> found;
        for (const tavo::ConfigDamage &d : tavo::findConfigDamage(lines.join('\n') + '\n'))
            found << d.line;
        QCOMPARE(found, (QList<int>{2, 34, 35}));
    }

    void unreadableFilesChangeNothing()
    {
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("folder.OTS")));
        ConfigData config = varied();
        QCOMPARE(tavo::readConfigFile(path("missing.OTS"), config).status, Status::NotFound);
        QCOMPARE(tavo::readConfigFile(path("folder.OTS"), config).status, Status::IsFolder);
        QCOMPARE(tavo::configFileText(config), tavo::configFileText(varied()));

        QByteArray unix = tavo::configFileText(varied()).replace("\r\n", "\n");
        unix.chop(1); // line feeds alone and nothing after the last line also do
        QVERIFY(writeBytes(path("unix.OTS"), unix));
        QVERIFY(tavo::readConfigFile(path("unix.OTS"), config).ok());
    }

    // The example shipped in examples/demo.OTS: a shop's lighting and door
    // controller using both modes and every kind of byte.
    void demoIsACompleteFileThatUsesEveryFeature()
    {
        const QString demo = qEnvironmentVariable("TAVO_SOURCE_DIR") + QStringLiteral("/examples/demo.OTS");
        ConfigData c;
        QVERIFY(tavo::readConfigFile(demo, c).ok());
        QVERIFY(tavo::writeConfigFile(path("demo.OTS"), c).ok());
        QCOMPARE(readAll(path("demo.OTS")), readAll(demo)); // as this program writes it
        std::set<int> types;
        std::set<bool> modes;
        for (std::size_t n = 0; n < 8; ++n) {
            modes.insert(c.PulseModes[n]);
            for (const SerialEditorData *m : {&c.OnMessages[n], &c.OffMessages[n]})
                for (int i = 0; i < m->NumberOfBytesInMessage(); ++i)
                    types.insert(SerialEditorData::codeOf(m->ByteType(i)));
        }
        QCOMPARE(types, (std::set<int>{0, 1, 2, 3, 4, 6}));
        QCOMPARE(modes.size(), std::size_t(2));
    }

    void image_data()
    {
        // clang-format off
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<int>("pulseMask");
        QTest::addColumn<int>("byte9");
        QTest::addColumn<int>("byte10");
        // Output 1's period, its On code's slot 3 and its Off code's slot 13,
        // the last slot in the image: values beyond a byte fail the build.
        QTest::addColumn<QList<int>>("output1");
        const int codes[] = {2, 0, 1, 3, 4, 5, 6};
        const QList<int> asIs = {0, 0, 0};
        for (int b = 0; b < 7; ++b)
            QTest::addRow("baud index %d", b) << b << 0 << 0 << codes[b] << 0 << asIs;
        QTest::newRow("even, all pulse") << 3 << 1 << 0xFF << 3 << 2 << asIs;
        QTest::newRow("odd, outputs 1 and 8 pulse") << 6 << 2 << 0x81 << 6 << 1 << asIs;
        // Indexes outside the lists repeat the byte before.
        QTest::newRow("baud 7 repeats the mask") << 7 << 2 << 0x24 << 0x24 << 1 << asIs;
        QTest::newRow("baud -1 repeats the mask") << -1 << 0 << 0x10 << 0x10 << 0 << asIs;
        QTest::newRow("parity 3 repeats the baud code") << 4 << 3 << 0 << 4 << 4 << asIs;
        QTest::newRow("both outside") << 9 << 5 << 0x42 << 0x42 << 0x42 << asIs;
        QTest::newRow("255 fits") << 0 << 0 << 0 << 2 << 0 << QList<int>{255, 255, 255};
        QTest::newRow("period 256") << 0 << 0 << 0 << 2 << 0 << QList<int>{256, 0, 0};
        QTest::newRow("period -1") << 0 << 0 << 0 << 2 << 0 << QList<int>{-1, 0, 0};
        QTest::newRow("On byte 300") << 0 << 0 << 0 << 2 << 0 << QList<int>{0, 300, 0};
        QTest::newRow("Off byte -5") << 0 << 0 << 0 << 2 << 0 << QList<int>{0, 0, -5};
        // clang-format on
    }

    void image()
    {
        QFETCH(int, baud);
        QFETCH(int, parity);
        QFETCH(int, pulseMask);
        QFETCH(int, byte9);
        QFETCH(int, byte10);
        QFETCH(QList<int>, output1);
        ConfigData c = varied();
        for (std::size_t n = 0; n < 8; ++n)
            c.PulseModes[n] = (pulseMask >> n) & 1;
        c.BaudIndex = std::int16_t(baud);
        c.ParityIndex = std::int16_t(parity);
        c.OnPeriods[0] = std::int16_t(output1[0]);
        c.OnMessages[0].SetByteValue(3, std::int16_t(output1[1]));
        c.OffMessages[0].SetByteValue(13, std::int16_t(output1[2]));
        c.ConfigImage.fill(0xAA); // to see what is left alone
        QList<int> collated, expectedCollation{0, 1, 2, 3, 4, 5, 6, 7};
        const bool fits =
            std::all_of(output1.begin(), output1.end(), [](int v) { return v >= 0 && v <= 255; });
        try {
            tavo::BuildConfigImage(c, [&](int n) { collated << n; });
        } catch (const std::overflow_error &) {
            QVERIFY(!fits);
            return;
        }
        QVERIFY(fits);

        const auto &img = c.ConfigImage;
        QCOMPARE(img[8], pulseMask);
        QCOMPARE(img[9], byte9);
        QCOMPARE(img[10], byte10);
        for (std::size_t i = 11; i < 16; ++i)
            QCOMPARE(img[i], 0xAA);
        for (std::size_t n = 0; n < 8; ++n) {
            const bool pulse = (pulseMask >> n) & 1;
            if (!pulse)
                expectedCollation << int(n);
            QCOMPARE(img[n], c.OnPeriods[n]);
            QCOMPARE(img[16 + 15 * n], c.OnMessages[n].NumberOfBytesInMessage());
            QCOMPARE(img[136 + 15 * n], pulse ? 0 : c.OffMessages[n].NumberOfBytesInMessage());
            for (std::size_t k = 0; k < 14; ++k) { // all 14 slots, whatever the length
                QCOMPARE(img[17 + 15 * n + k], c.OnMessages[n].ByteValue(int(k)));
                QCOMPARE(img[137 + 15 * n + k], pulse ? 0xAA : c.OffMessages[n].ByteValue(int(k)));
            }
        }
        QCOMPARE(collated, expectedCollation);
    }

    void exportFile()
    {
        ConfigData c = varied();
        tavo::BuildConfigImage(c);
        QVERIFY(writeBytes(path("demo.BDX"), QByteArray(70000, 'x'))); // longer than an export
        QVERIFY(tavo::writeExportFile(path("demo.BDX"), c).ok());
        const QByteArray bytes = readAll(path("demo.BDX"));
        QCOMPARE(bytes.size(), 65539);
        QCOMPARE(bytes.at(0), 24);
        QCOMPARE(bytes.mid(1, 256), QByteArray(reinterpret_cast<const char *>(c.ConfigImage.data()), 256));
        QCOMPARE(bytes.mid(257).count('\0'), 65539 - 257);

        QCOMPARE(tavo::proposedExportName(QStringLiteral("/x/demo.ots")), QStringLiteral("/x/demo.BDX"));
        QCOMPARE(tavo::proposedExportName(QStringLiteral("a.OTS")), QStringLiteral("a.BDX"));
        QCOMPARE(tavo::proposedExportName(QStringLiteral(".OTS")), QString());
        QCOMPARE(tavo::proposedExportName(QString()), QString());
    }

    void textsForTheUser()
    {
        const QString tail = QStringLiteral(" parity, 8 Bit data, 1 Stop bit");
        QCOMPARE(tavo::SerialSettingsText(4, 1), QStringLiteral("19200, baud, Even") + tail);
        QCOMPARE(tavo::SerialSettingsText(7, 2), QStringLiteral(", baud, Odd") + tail);
        QCOMPARE(tavo::SerialSettingsText(6, -1), QStringLiteral("38400, baud, ") + tail);

        QCOMPARE(tavo::windowCaption(QString()), QStringLiteral("Serial Tavo Editor 1.0.3"));
        QCOMPARE(tavo::windowCaption(QStringLiteral("/a/b.c/shop lights.BDX")),
                 QStringLiteral("shop lights"));
        QCOMPARE(tavo::windowCaption(QStringLiteral("demo.OTS")), QStringLiteral("emo")); // no folder
        QCOMPARE(tavo::windowCaption(QStringLiteral("/x/a.b")), QString());
#ifdef Q_OS_WIN
        QCOMPARE(tavo::windowCaption(QStringLiteral("C:\\x\\demo.OTS")), QStringLiteral("demo"));
#endif
    }

    void launchErrors_data()
    {
        // clang-format off
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message"); // empty: nothing shown
        QTest::newRow("missing file") << 2 << QStringLiteral("File not found!");
        QTest::newRow("sharing") << 15 << QStringLiteral("A sharing violation occurred!");
        QTest::newRow("shell's sharing code") << 26 << QStringLiteral("Unknown error!");
        QTest::newRow("no association") << 31 << QString();
        QTest::newRow("32 is a failure") << 32 << QStringLiteral("DLL not found!");
        QTest::newRow("33 is success") << 33 << QString();
        // clang-format on
    }

    void launchErrors()
    {
        QFETCH(int, code);
        QFETCH(QString, message);
        RecordingShell shell;
        shell.code = code;
        ScriptedPrompter prompter;
        tavo::LaunchDocument(shell, prompter, QStringLiteral("/opt/help.html"));
        QCOMPARE(shell.opened, QStringList{QStringLiteral("/opt/help.html")});
        QCOMPARE(prompter.shown().size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QCOMPARE(prompter.shown().first().text, message);
            QCOMPARE(prompter.shown().first().title, QStringLiteral("Link Launch Error"));
            QCOMPARE(prompter.shown().first().icon, Prompter::Icon::Critical);
        }
        QCOMPARE(DesktopShell().open(path("not there.html")), Shell::FileNotFound);
    }

    void commandLine_data()
    {
        // clang-format off
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("file");
        const QString p = QStringLiteral("/x/path with blanks/demo.OTS");
        QTest::newRow("none") << QStringList() << QString();
        QTest::newRow("one argument") << QStringList{p} << p;
        QTest::newRow("quotes kept by the caller") << QStringList{QLatin1Char('"') + p + QLatin1Char('"')} << p;
        QTest::newRow("unquoted, in pieces") << p.split(QLatin1Char(' ')) << p;
        QTest::newRow("one quote each side only") << QStringList{QStringLiteral("\"\"a\"\"")} << QStringLiteral("\"a\"");
        QTest::newRow("leading quote only") << QStringList{QStringLiteral("\"a")} << QStringLiteral("a");
        // clang-format on
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
