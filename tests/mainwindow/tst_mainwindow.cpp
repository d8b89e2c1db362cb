#include "ConfigSamples.h"
#include "editor/SerialEditor.h"
#include "mainwindow/ConfigFile.h"
#include "mainwindow/ConfigImage.h"
#include "mainwindow/ExportFile.h"
#include "mainwindow/RightHandToolbar.h"
#include "mainwindow/SerialTavo.h"
#include "mainwindow/UnitServices.h"
#include "outputs/OutputControl.h"
#include "platform/CommonDialog.h"
#include "platform/ScriptedPrompter.h"
#include "platform/Shell.h"

#include <QApplication>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <functional>

namespace {

using Answer = Prompter::Answer;

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

class RecordingShell : public Shell
{
public:
    int Open(const QString &path) override
    {
        opened << path;
        return code;
    }
    QStringList opened;
    int code = Shell::Launched;
};

class RecordingUnits : public UnitServices
{
public:
    void CheckDeviceTypes() override { ++checks; }
    void ShowTestDialog(ConfigData &config, QWidget *) override { tested << config; }
    void ShowProgrammingDialog(ConfigData &config, QWidget *) override { programmed << config; }
    int checks = 0;
    QList<ConfigData> tested;
    QList<ConfigData> programmed;
};

// Runs `work` on the next modal dialog as soon as it is up, so the tests
// drive real dialogs without waiting on a clock.
void onNextModal(std::function<void(QWidget *)> work)
{
    QTimer::singleShot(0, qApp, [work = std::move(work)] {
        QWidget *modal = QApplication::activeModalWidget();
        QVERIFY(modal);
        work(modal);
    });
}

struct Window {
    ScriptedPrompter prompter;
    ScriptedCommonDialog dialog;
    RecordingShell shell;
    RecordingUnits units;
    SerialTavo window{SerialTavo::Services{&prompter, &dialog, &shell, &units}};

    explicit Window(const QStringList &arguments = {})
    {
        window.Start(arguments);
        window.show();
        QApplication::setActiveWindow(&window);
    }
    ConfigData &config() { return window.Config(); }
    QString panel(const char *key) const
    {
        return window.findChild<QLabel *>(QString::fromLatin1(key))->text();
    }
    bool saveEnabled() const { return window.RightHandToolbar1()->ButtonEnable(QStringLiteral("SAVE")); }
    void click(const char *key) { QTest::mouseClick(button(key), Qt::LeftButton); }
    QToolButton *button(const char *key) const
    {
        return window.RightHandToolbar1()->findChild<QToolButton *>(QString::fromLatin1(key));
    }
    // A change as the user makes it: a click on an output's Pulse option.
    void editOutput(int n)
    {
        QTest::mouseClick(window.OutputControl1(n)->findChild<QRadioButton *>(QStringLiteral("OuputOperation_1")),
                          Qt::LeftButton);
    }
    QString periodShown(int n) const
    {
        return window.OutputControl1(n)->findChild<QLineEdit *>(QStringLiteral("Text1"))->text();
    }
    void open(const QString &path)
    {
        dialog.SetNextFileName(path);
        click("OPEN");
    }
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QString writeSample(const QString &name, const ConfigData &config = samples::varied()) const
    {
        const QString p = path(name);
        writeBytes(p, tavo::configFileText(config));
        return p;
    }

private slots:
    void startsUntitledWithANewConfiguration()
    {
        Window w;
        QCOMPARE(w.window.windowTitle(), QStringLiteral("Serial Tavo Editor 1.0.3"));
        QCOMPARE(w.panel("FILENAME"), QString());
        QCOMPARE(w.panel("SETTINGS"),
                 QStringLiteral("Tavo settings = 9600, baud, No parity, 8 Bit data, 1 Stop bit"));
        // The toolbar is filled after the configuration is reset, so the
        // settings tooltip is still the fixed one.
        QCOMPARE(w.window.RightHandToolbar1()->ButtonTooltipText(QStringLiteral("SETTINGS")),
                 QStringLiteral("Set Tavo serial port settings (9600, No parity, 8 bit data, 1 Stop bit)"));
        QCOMPARE(w.units.checks, 1);
        for (int n = 0; n < 8; ++n) {
            QCOMPARE(w.window.OutputControl1(n)->findChild<QGroupBox *>(QStringLiteral("MainFrame"))->title(),
                     QStringLiteral("Output %1").arg(n + 1));
            QVERIFY(!w.config().PulseModes[std::size_t(n)]);
            QCOMPARE(w.config().OnPeriods[std::size_t(n)], 1);
            QCOMPARE(w.periodShown(n), QStringLiteral("001"));
            QCOMPARE(w.config().OnMessages[std::size_t(n)].NumberOfBytesInMessage(), 0);
        }
        // Three groups: five from the left, three centred, four from the right.
        const char *order[] = {"NEW", "OPEN", "SAVE", "SAVEAS", "EXPORT", "SETTINGS", "TEST", "DOWNLOAD",
                               "ABOUT", "HELP", "MIN", "EXITCROSS"};
        for (int i = 0; i + 1 < 12; ++i)
            QVERIFY2(w.button(order[i])->x() < w.button(order[i + 1])->x(), order[i]);
        QVERIFY(w.button("DOWNLOAD")->x() - w.button("EXPORT")->x() > 3 * 24);
        QVERIFY(!w.button("HELP")->icon().isNull());
        QVERIFY(w.prompter.shown().isEmpty());
    }

    void commandLineOpensTheFile_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("opened");
        const QString p = m_dir.filePath(QStringLiteral("path with blanks/demo.OTS"));
        QTest::newRow("as one argument") << QStringList{p} << true;
        QTest::newRow("still quoted") << QStringList{QLatin1Char('"') + p + QLatin1Char('"')} << true;
        QTest::newRow("in pieces") << p.split(QLatin1Char(' ')) << true;
        QTest::newRow("missing file") << QStringList{p + QStringLiteral(".old")} << false;
    }

    void commandLineOpensTheFile()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, opened);
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("path with blanks")));
        writeSample(QStringLiteral("path with blanks/demo.OTS"));

        Window w(arguments);
        QCOMPARE(w.window.windowTitle(), opened ? QStringLiteral("demo") : QStringLiteral("Serial Tavo Editor 1.0.3"));
        QCOMPARE(w.panel("FILENAME"), opened ? QStringLiteral("demo") : QString());
        QCOMPARE(w.config().BaudIndex, opened ? 4 : 0);
        QCOMPARE(w.periodShown(7), opened ? QStringLiteral("252") : QStringLiteral("001"));
        QVERIFY(w.prompter.shown().isEmpty());
        QVERIFY(w.dialog.shown().isEmpty());
    }

    void saveThenOpenReproducesEverything()
    {
        const ConfigData original = samples::varied();
        Window w;
        w.open(writeSample(QStringLiteral("original.OTS"), original));
        QCOMPARE(w.window.windowTitle(), QStringLiteral("original"));
        QCOMPARE(w.panel("SETTINGS"),
                 QStringLiteral("Tavo settings = 19200, baud, Odd parity, 8 Bit data, 1 Stop bit"));

        // Everything goes through the panels and their editors on the way out.
        w.dialog.SetNextFileName(path(QStringLiteral("copy.OTS")));
        w.click("SAVEAS");
        QCOMPARE(w.dialog.shown().last().flags, 0x8002);
        QCOMPARE(w.dialog.shown().last().filter, QStringLiteral("Olvex Serial Tavo configuration File (*.OTS)|*.OTS"));
        QCOMPARE(w.window.windowTitle(), QStringLiteral("copy"));

        Window fresh;
        fresh.open(path(QStringLiteral("copy.OTS")));
        QCOMPARE(fresh.dialog.shown().last().flags, 0x1000);
        for (int n = 0; n < 8; ++n) {
            const auto i = std::size_t(n);
            QVERIFY(fresh.config().OnMessages[i].IsTheSameAs(original.OnMessages[i]));
            QVERIFY(fresh.config().OffMessages[i].IsTheSameAs(original.OffMessages[i]));
            QCOMPARE(fresh.config().OnPeriods[i], original.OnPeriods[i]);
            QCOMPARE(fresh.config().PulseModes[i], original.PulseModes[i]);
        }
        QCOMPARE(fresh.config().BaudIndex, original.BaudIndex);
        QCOMPARE(fresh.config().ParityIndex, original.ParityIndex);
    }

    void saveChangesPrompt_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("saved");    // the current file was written
        QTest::addColumn<bool>("goneOn");   // the command went ahead
        QTest::addColumn<bool>("untitled"); // the configuration lost its name
        QTest::addColumn<bool>("modified"); // unsaved changes afterwards

        const int yes = int(Answer::Yes), no = int(Answer::No), cancel = int(Answer::Cancel);
        const QString neu = QStringLiteral("NEW"), open = QStringLiteral("OPEN");
        QTest::newRow("new, yes") << neu << yes << true << true << true << false;
        QTest::newRow("new, no") << neu << no << false << true << true << false;
        QTest::newRow("new, cancel") << neu << cancel << false << false << false << true;
        // Opening never touches the flag: after No the new file counts as changed.
        QTest::newRow("open, yes") << open << yes << true << true << false << false;
        QTest::newRow("open, no") << open << no << false << true << false << true;
        QTest::newRow("open, cancel") << open << cancel << false << false << true << true;
        for (const QString &exit : {QStringLiteral("EXITCROSS"), QStringLiteral("close")}) {
            QTest::addRow("%s, yes", qPrintable(exit)) << exit << yes << true << true << false << false;
            QTest::addRow("%s, no", qPrintable(exit)) << exit << no << false << true << false << true;
            QTest::addRow("%s, cancel", qPrintable(exit)) << exit << cancel << false << false << false << true;
        }
    }

    void saveChangesPrompt()
    {
        QFETCH(QString, command);
        QFETCH(int, answer);
        QFETCH(bool, saved);
        QFETCH(bool, goneOn);
        QFETCH(bool, untitled);
        QFETCH(bool, modified);

        const QString current = writeSample(QStringLiteral("current.OTS"));
        const QString other = writeSample(QStringLiteral("other.OTS"), ConfigData());
        Window w;
        w.open(current);
        const QByteArray before = readAll(current);
        w.editOutput(0); // output 1 was On/Off in the file
        QVERIFY(w.config().ConfigModified);

        w.prompter.SetNextAnswer(Answer(answer));
        w.dialog.SetNextFileName(other);
        if (command == QLatin1String("close"))
            w.window.close();
        else
            w.window.RunCommand(command);

        QCOMPARE(w.prompter.shown().size(), 1);
        QCOMPARE(w.prompter.shown().first().text, QStringLiteral("Save changes?"));
        QCOMPARE(w.prompter.shown().first().title, QStringLiteral("Warning!"));
        QCOMPARE(w.prompter.shown().first().buttons, Prompter::Buttons::YesNoCancel);
        QCOMPARE(readAll(current) != before, saved);

        if (command == QLatin1String("NEW"))
            QCOMPARE(!w.config().PulseModes[0] && w.config().OnPeriods[3] == 1, goneOn);
        else if (command == QLatin1String("OPEN"))
            QCOMPARE(w.config().OnPeriods[3] == 0, goneOn);
        else
            QCOMPARE(!w.window.isVisible(), goneOn);

        const bool named = w.window.windowTitle() != QStringLiteral("Serial Tavo Editor 1.0.3");
        QCOMPARE(!named, untitled);
        QCOMPARE(w.config().ConfigModified, modified);
    }

    void unchangedConfigurationsAreNotAskedAbout()
    {
        Window w;
        w.window.RunCommand(QStringLiteral("NEW"));
        w.window.close();
        QVERIFY(w.prompter.shown().isEmpty());
        QVERIFY(!w.window.isVisible());
    }

    void editingEnablesSaveAndSavingDisablesIt()
    {
        Window w;
        w.window.RunCommand(QStringLiteral("NEW"));
        QVERIFY(!w.saveEnabled());
        w.editOutput(2);
        QVERIFY(w.saveEnabled());
        QVERIFY(w.config().ConfigModified);
        w.dialog.SetNextFileName(path(QStringLiteral("edited.OTS")));
        w.click("SAVE");
        QVERIFY(!w.saveEnabled());
        QVERIFY(!w.config().ConfigModified);
        QCOMPARE(w.window.windowTitle(), QStringLiteral("edited"));
    }

    void settingsDialog_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<bool>("done");
        QTest::addColumn<bool>("modified");
        QTest::addColumn<QString>("shown");
        const QString tail = QStringLiteral(" parity, 8 Bit data, 1 Stop bit");
        QTest::newRow("19200 even, done") << 4 << 1 << true << true
                                          << QStringLiteral("19200, baud, Even") + tail;
        QTest::newRow("no change, done") << 0 << 0 << true << false << QStringLiteral("9600, baud, No") + tail;
        QTest::newRow("change, cancel") << 6 << 2 << false << false << QStringLiteral("9600, baud, No") + tail;
    }

    void settingsDialog()
    {
        QFETCH(int, baud);
        QFETCH(int, parity);
        QFETCH(bool, done);
        QFETCH(bool, modified);
        QFETCH(QString, shown);

        Window w;
        w.window.RunCommand(QStringLiteral("NEW"));
        onNextModal([&](QWidget *dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("Tavo serial settings"));
            dialog->findChild<QListWidget *>(QStringLiteral("BaudrateList"))->setCurrentRow(baud);
            dialog->findChild<QListWidget *>(QStringLiteral("ParityList"))->setCurrentRow(parity);
            QTest::mouseClick(dialog->findChild<QPushButton *>(done ? QStringLiteral("Done") : QStringLiteral("Cancel")),
                              Qt::LeftButton);
        });
        // The status panel does what the button does.
        QLabel *panel = w.window.findChild<QLabel *>(QStringLiteral("SETTINGS"));
        QTest::mouseClick(panel, Qt::LeftButton);

        QCOMPARE(w.panel("SETTINGS"), QStringLiteral("Tavo settings = ") + shown);
        QCOMPARE(w.window.RightHandToolbar1()->ButtonTooltipText(QStringLiteral("SETTINGS")),
                 QStringLiteral("Set Tavo serial port settings (") + shown + QLatin1Char(')'));
        QCOMPARE(w.config().ConfigModified, modified);
        QVERIFY(!w.saveEnabled()); // settings never enable SAVE
        w.window.close();
        QCOMPARE(w.prompter.shown().size(), modified ? 1 : 0);
    }

    void failuresInACommandMakeTheConfigurationUntitled_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("settings with baud 9") << QStringLiteral("SETTINGS") << 34 << QByteArray("9");
        QTest::newRow("settings with parity -1") << QStringLiteral("SETTINGS") << 35 << QByteArray("-1");
        QTest::newRow("export of a byte 300") << QStringLiteral("EXPORT") << 2 << QByteArray("1,0,0,0,300,1,");
        QTest::newRow("download of period 256") << QStringLiteral("DOWNLOAD") << 4 << QByteArray("256");
    }

    void failuresInACommandMakeTheConfigurationUntitled()
    {
        QFETCH(QString, command);
        QFETCH(int, line);
        QFETCH(QByteArray, content);
        QList<QByteArray> lines = tavo::configFileText(samples::varied()).split('\n');
        lines[line - 1] = content + '\r';
        const QString p = path(QStringLiteral("odd.OTS"));
        QVERIFY(writeBytes(p, lines.join('\n')));

        Window w;
        w.open(p);
        QCOMPARE(w.window.windowTitle(), QStringLiteral("odd")); // it loads
        const int dialogs = int(w.dialog.shown().size());
        w.window.RunCommand(command); // and fails without showing anything
        QCOMPARE(w.window.windowTitle(), QStringLiteral("Serial Tavo Editor 1.0.3"));
        QCOMPARE(w.panel("FILENAME"), QString());
        QVERIFY(w.prompter.shown().isEmpty());
        QCOMPARE(int(w.dialog.shown().size()), dialogs);
        QVERIFY(w.units.programmed.isEmpty());
    }

    void saveUnderTheNameTheDialogLastHeld()
    {
        const QString p = writeSample(QStringLiteral("named.OTS"));
        // Opened from the command line: the dialog never saw the name, so
        // a save writes the file and leaves the configuration untitled.
        Window w({p});
        w.editOutput(0);
        w.click("SAVE");
        QVERIFY(w.dialog.shown().isEmpty());
        QCOMPARE(readAll(p).split('\n').at(4), QByteArray("-1\r")); // output 1 now pulses
        QCOMPARE(w.window.windowTitle(), QStringLiteral("Serial Tavo Editor 1.0.3"));
        w.editOutput(2);
        w.dialog.SetNextFileName(QString()); // the next save asks, and is cancelled
        w.click("SAVE");
        QCOMPARE(w.dialog.shown().size(), 1);
        QVERIFY(w.saveEnabled());

        // After an export the dialog holds the export's name: SAVE writes the
        // configuration where it came from, then remembers the export's name.
        Window e;
        e.open(p);
        e.dialog.SetNextFileName(path(QStringLiteral("named.BDX")));
        e.click("EXPORT");
        QCOMPARE(e.dialog.shown().last().proposedName, path(QStringLiteral("named.BDX")));
        e.editOutput(3);
        e.click("SAVE");
        QCOMPARE(e.window.CurrentFileName(), path(QStringLiteral("named.BDX")));
        QCOMPARE(readAll(path(QStringLiteral("named.BDX"))).size(), 65539); // not overwritten yet
    }

    void exportWritesTheImage()
    {
        Window w;
        w.open(writeSample(QStringLiteral("shop.OTS")));
        const QString target = path(QStringLiteral("shop export.BDX"));
        w.dialog.SetNextFileName(target);
        w.click("EXPORT");

        const auto &shown = w.dialog.shown().last();
        QVERIFY(shown.save);
        QCOMPARE(shown.flags, 0x8002);
        QCOMPARE(shown.filter, QStringLiteral("Brondel Export File (*.BDX)| *.BDX"));
        ConfigData expected = samples::varied();
        tavo::BuildConfigImage(expected);
        QCOMPARE(readAll(target), tavo::exportFileBytes(expected));
        QCOMPARE(w.prompter.shown().last().text, target + QStringLiteral(" has been successfully exported"));
        QCOMPARE(w.prompter.shown().last().title, QStringLiteral("Successful"));

        w.dialog.SetNextFileName(path(QStringLiteral("no folder/x.BDX")));
        w.click("EXPORT");
        QCOMPARE(w.prompter.shown().last().text, QStringLiteral("Failed to export!"));
        QCOMPARE(w.prompter.shown().last().title, QStringLiteral("Error!"));
        QCOMPARE(w.prompter.shown().last().icon, Prompter::Icon::Exclamation);
        QCOMPARE(w.window.windowTitle(), QStringLiteral("shop")); // nothing else changes
    }

    void failedSaveKeepsTheOldFile()
    {
        // A code of 15 bytes loads, but cannot be written back.
        QList<QByteArray> lines = tavo::configFileText(samples::varied()).split('\n');
        lines[1] = "15,0,0,0," + QByteArray("65,0,").repeated(15) + '\r';
        const QString p = path(QStringLiteral("long.OTS"));
        QVERIFY(writeBytes(p, lines.join('\n')));
        const QByteArray before = readAll(p);

        Window w;
        w.open(p);
        w.editOutput(4);
        w.click("SAVE");
        QCOMPARE(readAll(p), before);
        QCOMPARE(w.prompter.shown().size(), 1);
        QCOMPARE(w.prompter.shown().first().text, QStringLiteral("Failed to save file, may be write protected"));
        QCOMPARE(w.prompter.shown().first().title, QStringLiteral("Error!"));
        QCOMPARE(w.prompter.shown().first().buttons, Prompter::Buttons::Ok);
        QCOMPARE(w.window.windowTitle(), QStringLiteral("Serial Tavo Editor 1.0.3"));
        QVERIFY(w.saveEnabled());
        QVERIFY(w.config().ConfigModified);
    }

    void shortFilesLoadAsFarAsTheyGo_data()
    {
        QTest::addColumn<int>("lines");
        for (int lines = 0; lines <= 35; ++lines)
            QTest::addRow("%d lines", lines) << lines;
    }

    void shortFilesLoadAsFarAsTheyGo()
    {
        QFETCH(int, lines);
        const QList<QByteArray> all = tavo::configFileText(samples::varied()).split('\n');
        const QString p = path(QStringLiteral("short.OTS"));
        QVERIFY(writeBytes(p, all.mid(0, lines).join('\n') + (lines ? "\n" : "")));

        Window w;
        w.open(p);
        QCOMPARE(w.window.windowTitle() == QStringLiteral("short"), lines == 35);
        QVERIFY(w.prompter.shown().isEmpty());
        for (int n = 0; n < 8; ++n) {
            const bool shown = lines >= 5 + 4 * n;
            QCOMPARE(w.periodShown(n), shown ? QStringLiteral("%1").arg(n * 36, 3, 10, QLatin1Char('0'))
                                             : QStringLiteral("001"));
        }
    }

    void unitDialogsGetTheCurrentCodes()
    {
        Window w;
        SerialEditor *on = w.window.OutputControl1(5)->findChild<SerialEditor *>(QStringLiteral("SerialEditorOn"));
        on->ReturnCurrentMessage().SetAllDataTo(samples::message({{'G', 0}, {'O', 0}}));

        w.click("TEST");
        QCOMPARE(w.units.tested.size(), 1);
        QVERIFY(w.units.tested.first().OnMessages[5].IsTheSameAs(samples::message({{'G', 0}, {'O', 0}})));

        w.click("DOWNLOAD");
        QCOMPARE(w.units.programmed.size(), 1);
        const auto &image = w.units.programmed.first().ConfigImage;
        QCOMPARE(int(image[16 + 15 * 5]), 2);
        QCOMPARE(int(image[17 + 15 * 5]), int('G'));
        QCOMPARE(int(image[0]), 1);

        SerialTavo bare; // without unit services both do their own part only
        bare.Start();
        bare.RunCommand(QStringLiteral("TEST"));
        bare.RunCommand(QStringLiteral("DOWNLOAD"));
        QCOMPARE(int(bare.Config().ConfigImage[0]), 1);
    }

    void helpOpensThePageBesideTheProgram()
    {
        Window w;
        w.shell.code = Shell::FileNotFound;
        w.click("HELP");
        QCOMPARE(w.shell.opened, QStringList{QCoreApplication::applicationDirPath()
                                             + QStringLiteral("/Serial Tavo Editor.html")});
        QCOMPARE(w.prompter.shown().last().text, QStringLiteral("File not found!"));
        QCOMPARE(w.prompter.shown().last().title, QStringLiteral("Link Launch Error"));
    }

    void shortcutsRunTheCommands_data()
    {
        QTest::addColumn<QKeySequence>("keys");
        QTest::addColumn<int>("dialogs"); // file dialogs shown
        QTest::addColumn<int>("launches");
        QTest::newRow("Ctrl+O opens") << QKeySequence(Qt::CTRL | Qt::Key_O) << 1 << 0;
        QTest::newRow("Ctrl+Shift+S saves as") << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S) << 1 << 0;
        QTest::newRow("Ctrl+S saves an untitled change") << QKeySequence(Qt::CTRL | Qt::Key_S) << 1 << 0;
        QTest::newRow("F1 is help") << QKeySequence(Qt::Key_F1) << 0 << 1;
        QTest::newRow("Ctrl+N starts again") << QKeySequence(Qt::CTRL | Qt::Key_N) << 0 << 0;
    }

    void shortcutsRunTheCommands()
    {
        QFETCH(QKeySequence, keys);
        QFETCH(int, dialogs);
        QFETCH(int, launches);
        Window w;
        w.editOutput(6);
        w.prompter.SetNextAnswer(Answer::No);
        w.window.activateWindow();
        QTest::keySequence(&w.window, keys);
        QCOMPARE(int(w.dialog.shown().size()), dialogs);
        QCOMPARE(int(w.shell.opened.size()), launches);
        if (keys == QKeySequence(Qt::CTRL | Qt::Key_N))
            QVERIFY(!w.config().PulseModes[6]);
    }

    void minimiseAndAbout()
    {
        Window w;
        w.click("MIN");
        QVERIFY(w.window.windowState() & Qt::WindowMinimized);

        QString product, version;
        onNextModal([&](QWidget *about) {
            product = about->findChild<QLabel *>(QStringLiteral("Product"))->text();
            version = about->findChild<QLabel *>(QStringLiteral("Version"))->text();
            QTest::mouseClick(about->findChild<QPushButton *>(QStringLiteral("OK")), Qt::LeftButton);
        });
        w.window.RunCommand(QStringLiteral("ABOUT"));
        QCOMPARE(product, QStringLiteral("Serial Tavo Editor"));
        QCOMPARE(version, QStringLiteral("Version 1.0.3"));
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
