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
using namespace Qt::StringLiterals;
using Status = tavo::ConfigReadResult::Status;

class TestConfig : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }

private slots:
    // One line of a file replaced, or the file cut before it: what the
    // command line's strict check says of it, and what the editor's
    // forgiving reading makes of it. The reading goes into a configuration
    // that differs from the file in every field; it stops at the first line
    // it cannot use ("stops") and keeps everything before it, or loads the
    // file with the line's field as it was ("keeps") or written back as
    // `read`. Output 1 is on lines 2 to 5 (On/Off codes), output 2 on 6 to
    // 9 (its period is 36 in the file, its mode pulse), output 3 on 10 to
    // 13 (On/Off), the baud and parity index on 34 and 35.
    void oddLines_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("text"); // null: the file ends before the line
        QTest::addColumn<QString>("read");
        QTest::addColumn<QString>("damage"); // empty: the strict check lets it pass

        const auto row = [](const char *name, int line, const char *text, const char *read,
                            const char *damage) {
            QTest::newRow(name) << line << QByteArray(text) << QString::fromLatin1(read)
                                << QString::fromLatin1(damage);
        };
        // clang-format off
        row("whole file", 36, nullptr, "keeps", "");
        row("any header", 1, "Some Other Tool 9", "keeps", "");
        row("code without the extra pair", 2, "1,0,0,1,255,2,", "1,0,0,1,255,2,0,0,", "");
        row("extra pair of any type", 2, "1,0,0,0,65,0,99,9,", "1,0,0,0,65,0,0,0,", "");
        row("period rounded half to even", 8, "35.5", "36", "");
        row("hexadecimal period", 8, "&H1F", "31", "");
        row("True in any case", 9, "tRuE", "-1", "");
        row("mode a fraction is true", 9, "0.4", "-1", "");
        row("mode negative zero is false", 13, "-0", "0", "");
        row("baud fraction", 34, "5.5", "6", "");

        row("not a code", 2, "garbage", "keeps",
            "On code of output 1: not a code (a code is a list of numbers, each ended by a comma)");
        row("empty code line", 3, "", "keeps", "Off code of output 1: an empty line, not a code");
        row("second pair missing", 2, "2,0,0,0,65,0,", "keeps", "On code of output 1: cut short at field 7");
        row("entry mode 7", 2, "1,0,7,0,65,0,", "keeps", "On code of output 1: the entry mode (field 3) is not 0 to 6");
        row("ignore field 2", 2, "1,0,0,2,65,0,", "keeps", "On code of output 1: field 4 is neither 0 nor 1");
        row("type 7", 6, "2,0,0,0,65,0,66,7,", "keeps", "On code of output 2: byte 2 has a type that is not 0 to 6");
        row("15 bytes", 2,
            "15,0,0,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,",
            "unwritable", "On code of output 1: 15 bytes, more than the 14 a code can hold");
        row("16 bytes", 2,
            "16,0,0,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,65,0,",
            "stops", "On code of output 1: 16 bytes, more than the 14 a code can hold");
        row("negative count", 2, "-1,0,0,0,", "-1,0,0,0,", "On code of output 1: a byte count of -1");
        row("value beyond 16 bits", 2, "1,0,0,0,70000,0,", "stops", "On code of output 1: field 5 holds a number beyond 16 bits");
        row("value beyond a byte", 2, "1,0,0,0,300,0,", "1,0,0,0,300,0,0,0,",
            "On code of output 1: byte 1 is 300, which does not fit a byte");
        row("negative value", 2, "1,0,0,0,-5,0,", "1,0,0,0,-5,0,0,0,",
            "On code of output 1: byte 1 is -5, which does not fit a byte");
        row("text after the code", 2, "1,0,0,0,65,0,0,0,GARBAGE,99,hello", "1,0,0,0,65,0,0,0,",
            "On code of output 1: text after the code");
        row("blanks after the code", 2, "1,0,0,0,65,0,0,0, \t", "1,0,0,0,65,0,0,0,", "");
        row("junk in a field", 2, "1,0,0,0,6x5,0,", "1,0,0,0,6,0,0,0,", "On code of output 1: field 5 is not a number");
        row("period not a number", 4, "abc", "stops", "period of output 1: \"abc\" is not a number");
        row("period with escape sequences", 4, "\x1b]0;T\x07\xe9", "stops",
            "period of output 1: \"\\x1b]0;T\\x07\\xe9\" is not a number");
        row("period two numbers", 8, "1 2", "stops", "period of output 2: \"1 2\" is not a number");
        row("period 256", 4, "256", "256", "period of output 1 is 256; it must be 0 to 255");
        row("period rounds to 256", 4, "255.5", "256", "period of output 1 is 256; it must be 0 to 255");
        row("negative period", 8, "-1", "-1", "period of output 2 is -1; it must be 0 to 255");
        row("period beyond 16 bits", 4, "99999", "stops", "period of output 1: \"99999\" is beyond 16 bits");
        row("period rounding past 16 bits", 8, "32767.5", "stops", "period of output 2: \"32767.5\" is beyond 16 bits");
        row("mode not a boolean", 5, "maybe", "stops", "mode of output 1: \"maybe\" is neither a number nor True or False");
        row("baud index 7", 34, "7", "7", "baud rate index 7 is not one of 0 to 6");
        row("parity index 3", 35, "3", "3", "parity index 3 is not one of 0 to 2");
        row("baud index not a number", 34, "fast", "stops", "baud rate index: \"fast\" is not a number");
        row("baud index beyond 16 bits", 34, "99999", "stops", "baud rate index: \"99999\" is beyond 16 bits");
        row("text after the end", 36, "more", "keeps", "text after the 35 lines of a configuration");

        row("empty file", 1, nullptr, "stops", "the file is empty");
        // Cut after output 1's On code, before its mode, after output 1, before
        // the baud and before the parity index.
        for (const int line : {3, 5, 6, 34, 35})
            row(qPrintable(u"cut before line %1"_s.arg(line)), line, nullptr, "stops",
                qPrintable(u"line %1 is missing: a configuration has 35 lines"_s.arg(line)));
        // clang-format on
    }

    void oddLines()
    {
        QFETCH(int, line);
        QFETCH(QByteArray, text);
        QFETCH(QString, read);
        QFETCH(QString, damage);

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
        if (text.isNull())
            written = written.mid(0, line - 1) << QByteArray();
        else
            written[line - 1] = text + (line <= 35 ? "\r" : "");
        const QByteArray file = written.join('\n');

        QStringList found;
        for (const tavo::ConfigDamage &d : tavo::findConfigDamage(file))
            found << QString::number(d.line) + u": "_s + d.what;
        QCOMPARE(found.join(u" | "_s),
                 damage.isEmpty() ? QString() : QString::number(line) + u": "_s + damage);

        QVERIFY(writeBytes(path("odd.OTS"), file));
        int shown = 0;
        const auto result = tavo::readConfigFile(path("odd.OTS"), config, [&](int) { ++shown; });
        const bool loads = read != QLatin1String("stops");
        QCOMPARE(result.status, loads           ? Status::Loaded
                                : text.isNull() ? Status::MissingLine
                                                : Status::BadValue);
        QCOMPARE(result.line, loads ? 0 : line);
        QCOMPARE(shown, loads ? 8 : (line - 2) / 4);
        if (read == QLatin1String("unwritable")) { // no slot is left for the extra pair
            QVERIFY_THROWS_EXCEPTION(std::out_of_range, tavo::configFileText(config));
            return;
        }
        QList<QByteArray> expected;
        for (int l = 1; l <= 35; ++l) {
            const bool fromFile = loads ? l != line : l < line;
            expected << (l == line && loads && read != QLatin1String("keeps") ? read.toLatin1() + '\r'
                         : fromFile                                           ? fileLines[l - 1]
                                                                              : keptLines[l - 1]);
        }
        QCOMPARE(tavo::configFileText(config).split('\n').mid(0, 35), expected);
    }

    // Every damaged line is named, not only the first, up to where the file ends.
    void damageIsReportedLineByLine()
    {
        QList<QByteArray> lines = tavo::configFileText(varied()).split('\n').mid(0, 34);
        lines[1] = "x\r";
        lines[33] = "9\r";
        QStringList found;
        for (const tavo::ConfigDamage &d : tavo::findConfigDamage(lines.join('\n') + '\n'))
            found << QString::number(d.line);
        QCOMPARE(found.join(QLatin1Char(' ')), u"2 34 35"_s);
    }

    // A file far larger than any configuration is judged as a whole, not by
    // its first megabyte (where its later lines would seem missing).
    void aFileBeyondAMegabyteIsNoConfiguration()
    {
        QList<QByteArray> lines = tavo::configFileText(varied()).split('\n');
        lines[1] = QByteArray(tavo::ConfigFileMaxBytes, '1') + ",0,0,0,\r";
        QVERIFY(writeBytes(path("large.OTS"), lines.join('\n')));
        QByteArray bytes;
        QVERIFY(tavo::readConfigBytes(path("large.OTS"), bytes).ok());
        const std::vector<tavo::ConfigDamage> damage = tavo::findConfigDamage(bytes);
        QCOMPARE(damage.size(), std::size_t(1));
        QCOMPARE(damage.front().line, 1);
        QVERIFY2(damage.front().what.startsWith(u"more than 1 MB"_s), qPrintable(damage.front().what));
        // One byte less is read line by line.
        bytes.chop(1);
        QVERIFY(!tavo::findConfigDamage(bytes).front().what.startsWith(u"more than"_s));
    }

    void unreadableFilesChangeNothing()
    {
        QVERIFY(QDir(m_dir.path()).mkpath(u"folder.OTS"_s));
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
        const QString demo = qEnvironmentVariable("TAVO_SOURCE_DIR") + u"/examples/demo.OTS"_s;
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
        // Output 1's period, its On code's slot 3 and its Off code's slot 13,
        // the last slot in the image: values beyond a byte fail the build.
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<int>("pulseMask");
        QTest::addColumn<int>("byte9");
        QTest::addColumn<int>("byte10");
        QTest::addColumn<QList<int>>("output1");
        // clang-format off
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

        QCOMPARE(tavo::proposedExportName(u"/x/demo.ots"_s), u"/x/demo.BDX"_s);
        QCOMPARE(tavo::proposedExportName(u"a.OTS"_s), u"a.BDX"_s);
        QCOMPARE(tavo::proposedExportName(u".OTS"_s), QString());
        QCOMPARE(tavo::proposedExportName(QString()), QString());
    }

    void textsForTheUser()
    {
        const QString tail = u" parity, 8 Bit data, 1 Stop bit"_s;
        QCOMPARE(tavo::SerialSettingsText(7, 2), u", baud, Odd"_s + tail);
        QCOMPARE(tavo::SerialSettingsText(6, -1), u"38400, baud, "_s + tail);

        QCOMPARE(tavo::windowCaption(QString()), u"Serial Tavo Editor 1.0.3"_s);
        QCOMPARE(tavo::windowCaption(u"/a/b.c/shop lights.BDX"_s), u"shop lights"_s);
        QCOMPARE(tavo::windowCaption(u"demo.OTS"_s), u"emo"_s); // no folder
        QCOMPARE(tavo::windowCaption(u"/x/a.b"_s), QString());
#ifdef Q_OS_WIN
        QCOMPARE(tavo::windowCaption(u"C:\\x\\demo.OTS"_s), u"demo"_s);
#endif
    }

    void launchErrors_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("message"); // empty: nothing shown
        // clang-format off
        QTest::newRow("missing file") << 2 << u"File not found!"_s;
        QTest::newRow("sharing") << 15 << u"A sharing violation occurred!"_s;
        QTest::newRow("shell's sharing code") << 26 << u"Unknown error!"_s;
        QTest::newRow("no association") << 31 << QString();
        QTest::newRow("32 is a failure") << 32 << u"DLL not found!"_s;
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
        tavo::LaunchDocument(shell, prompter, u"/opt/help.html"_s);
        QCOMPARE(shell.opened, QStringList{u"/opt/help.html"_s});
        QCOMPARE(prompter.shown().size(), message.isEmpty() ? 0 : 1);
        if (!message.isEmpty()) {
            QCOMPARE(prompter.shown().first().text, message);
            QCOMPARE(prompter.shown().first().title, u"Link Launch Error"_s);
            QCOMPARE(prompter.shown().first().icon, Prompter::Icon::Critical);
        }
        QCOMPARE(DesktopShell().open(path("not there.html")), Shell::FileNotFound);
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("file");
        // clang-format off
        const QString p = u"/x/path with blanks/demo.OTS"_s;
        QTest::newRow("none") << QStringList() << QString();
        QTest::newRow("one argument") << QStringList{p} << p;
        QTest::newRow("quotes kept by the caller") << QStringList{QLatin1Char('"') + p + QLatin1Char('"')} << p;
        QTest::newRow("unquoted, in pieces") << p.split(QLatin1Char(' ')) << p;
        QTest::newRow("one quote each side only") << QStringList{u"\"\"a\"\""_s} << u"\"a\""_s;
        QTest::newRow("leading quote only") << QStringList{u"\"a"_s} << u"a"_s;
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
