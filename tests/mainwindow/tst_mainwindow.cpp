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

#include <QApplication>
#include <QDir>
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

using namespace samples;
using Answer = Prompter::Answer;

namespace {

const QString Untitled = QStringLiteral("Serial Tavo Editor 1.0.3");

struct RecordingUnits : UnitServices {
    void CheckDeviceTypes() override { ++checks; }
    void ShowTestDialog(ConfigData &config, QWidget *) override { tested << config; }
    void ShowProgrammingDialog(ConfigData &config, QWidget *) override { programmed << config; }
    int checks = 0;
    QList<ConfigData> tested, programmed;
};

// Runs `work` on the next modal dialog once it is up: real dialogs, no clock.
void onNextModal(std::function<void(QWidget *)> work)
{
    QTimer::singleShot(0, qApp, [work = std::move(work)] { work(QApplication::activeModalWidget()); });
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
    QString title() const { return window.windowTitle(); }
    QString panel(const char *key) const
    {
        return window.findChild<QLabel *>(QString::fromLatin1(key))->text();
    }
    bool saveEnabled() const { return window.RightHandToolbar1()->ButtonEnable(QStringLiteral("SAVE")); }
    QToolButton *button(const char *key) const
    {
        return window.RightHandToolbar1()->findChild<QToolButton *>(QString::fromLatin1(key));
    }
    void click(const char *key) { QTest::mouseClick(button(key), Qt::LeftButton); }
    // A change as the user makes one: a click on an output's Pulse option.
    void editOutput(int n)
    {
        QTest::mouseClick(
            window.OutputControl1(n)->findChild<QRadioButton *>(QStringLiteral("OuputOperation_1")),
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
    QString path(const char *name) const { return m_dir.filePath(QString::fromLatin1(name)); }
    QString sample(const char *name, const QByteArray &text = tavo::configFileText(varied())) const
    {
        writeBytes(path(name), text);
        return path(name);
    }

private slots:
    void startsUntitledWithANewConfiguration()
    {
        Window w;
        QCOMPARE(w.title(), Untitled);
        QCOMPARE(w.panel("FILENAME"), QString());
        QCOMPARE(w.panel("SETTINGS"),
                 QStringLiteral("Tavo settings = 9600, baud, No parity, 8 Bit data, 1 Stop bit"));
        // The toolbar is filled after the reset, so this tooltip is the fixed one.
        QCOMPARE(w.button("SETTINGS")->toolTip(),
                 QStringLiteral("Set Tavo serial port settings (9600, No parity, 8 bit data, 1 Stop bit)"));
        QCOMPARE(w.units.checks, 1);
        for (int n = 0; n < 8; ++n) {
            QVERIFY(!w.config().PulseModes[std::size_t(n)]);
            QCOMPARE(w.periodShown(n), QStringLiteral("001"));
        }
        // Five from the left, three centred, four from the right.
        const char *order[] = {"NEW",      "OPEN",  "SAVE", "SAVEAS", "EXPORT",   "SETTINGS",
                               "DOWNLOAD", "ABOUT", "HELP", "MIN",    "EXITCROSS"};
        for (int i = 0; i + 1 < 11; ++i)
            QVERIFY2(w.button(order[i])->x() < w.button(order[i + 1])->x(), order[i]);
        QVERIFY(w.button("SETTINGS")->x() - w.button("EXPORT")->x() > 2 * 24);
        QVERIFY(w.prompter.shown().isEmpty());
    }

    void commandLineOpensTheFile_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("opened");
        const QString p = m_dir.filePath(QStringLiteral("path with blanks/demo.OTS"));
        QTest::newRow("one argument") << QStringList{p} << true;
        QTest::newRow("still quoted") << QStringList{QLatin1Char('"') + p + QLatin1Char('"')} << true;
        QTest::newRow("in pieces") << p.split(QLatin1Char(' ')) << true;
        QTest::newRow("missing file") << QStringList{p + QStringLiteral(".old")} << false;
    }

    void commandLineOpensTheFile()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, opened);
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("path with blanks")));
        sample("path with blanks/demo.OTS");
        Window w(arguments);
        QCOMPARE(w.title(), opened ? QStringLiteral("demo") : Untitled);
        QCOMPARE(w.panel("FILENAME"), opened ? QStringLiteral("demo") : QString());
        QCOMPARE(w.periodShown(7), opened ? QStringLiteral("252") : QStringLiteral("001"));
        QVERIFY(w.prompter.shown().isEmpty());
    }

    void saveThenOpenReproducesEverything()
    {
        Window w;
        w.open(sample("original.OTS"));
        QCOMPARE(w.panel("SETTINGS"),
                 QStringLiteral("Tavo settings = 19200, baud, Odd parity, 8 Bit data, 1 Stop bit"));
        // Out through the panels and their editors, back through a new window.
        w.dialog.SetNextFileName(path("copy.OTS"));
        w.click("SAVEAS");
        QCOMPARE(w.dialog.shown().last().flags, 0x8002);
        QCOMPARE(w.dialog.shown().last().filter,
                 QStringLiteral("Olvex Serial Tavo configuration File (*.OTS)|*.OTS"));
        QCOMPARE(w.title(), QStringLiteral("copy"));

        Window fresh;
        fresh.open(path("copy.OTS"));
        QCOMPARE(fresh.dialog.shown().last().flags, 0x1000);
        for (std::size_t n = 0; n < 8; ++n)
            QVERIFY(sameOutput(fresh.config(), varied(), n));
        QCOMPARE(fresh.config().BaudIndex, 4);
        QCOMPARE(fresh.config().ParityIndex, 2);
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
            QTest::addRow("%s, cancel", qPrintable(exit))
                << exit << cancel << false << false << false << true;
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
        const QString current = sample("current.OTS");
        const QString other = sample("other.OTS", tavo::configFileText(ConfigData()));
        Window w;
        w.open(current);
        w.editOutput(0);
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
        QCOMPARE(readAll(current) != tavo::configFileText(varied()), saved);
        if (command == QLatin1String("NEW"))
            QCOMPARE(w.config().OnPeriods[3] == 1, goneOn);
        else if (command == QLatin1String("OPEN"))
            QCOMPARE(w.config().OnPeriods[3] == 0, goneOn);
        else
            QCOMPARE(!w.window.isVisible(), goneOn);
        QCOMPARE(w.title() == Untitled, untitled);
        QCOMPARE(w.config().ConfigModified, modified);
    }

    void editingEnablesSaveAndSavingDisablesIt()
    {
        Window w;
        w.window.RunCommand(QStringLiteral("NEW")); // unchanged: nothing to ask
        QVERIFY(!w.saveEnabled());
        w.editOutput(2);
        QVERIFY(w.saveEnabled() && w.config().ConfigModified);
        w.dialog.SetNextFileName(path("edited.OTS"));
        w.click("SAVE");
        QVERIFY(!w.saveEnabled() && !w.config().ConfigModified);
        QCOMPARE(w.title(), QStringLiteral("edited"));
        w.window.close();
        QVERIFY(w.prompter.shown().isEmpty());
        QVERIFY(!w.window.isVisible());
    }

    void settingsDialog_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<bool>("done");
        QTest::addColumn<QString>("shown");
        QTest::newRow("19200 even, done") << 4 << 1 << true << QStringLiteral("19200, baud, Even");
        QTest::newRow("no change, done") << 0 << 0 << true << QStringLiteral("9600, baud, No");
        QTest::newRow("change, cancel") << 6 << 2 << false << QStringLiteral("9600, baud, No");
    }

    void settingsDialog()
    {
        QFETCH(int, baud);
        QFETCH(int, parity);
        QFETCH(bool, done);
        QFETCH(QString, shown);
        Window w;
        w.window.RunCommand(QStringLiteral("NEW"));
        QString title;
        onNextModal([&](QWidget *dialog) {
            title = dialog->windowTitle();
            dialog->findChild<QListWidget *>(QStringLiteral("BaudrateList"))->setCurrentRow(baud);
            dialog->findChild<QListWidget *>(QStringLiteral("ParityList"))->setCurrentRow(parity);
            QTest::mouseClick(
                dialog->findChild<QPushButton *>(done ? QStringLiteral("Done") : QStringLiteral("Cancel")),
                Qt::LeftButton);
        });
        QTest::mouseClick(w.window.findChild<QLabel *>(QStringLiteral("SETTINGS")), Qt::LeftButton);

        const QString text = shown + QStringLiteral(" parity, 8 Bit data, 1 Stop bit");
        const bool modified = done && (baud || parity);
        QCOMPARE(title, QStringLiteral("Tavo serial settings"));
        QCOMPARE(w.panel("SETTINGS"), QStringLiteral("Tavo settings = ") + text);
        QCOMPARE(w.button("SETTINGS")->toolTip(),
                 QStringLiteral("Set Tavo serial port settings (") + text + u')');
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
        QTest::newRow("settings, baud 9") << QStringLiteral("SETTINGS") << 34 << QByteArray("9");
        QTest::newRow("settings, parity -1") << QStringLiteral("SETTINGS") << 35 << QByteArray("-1");
        QTest::newRow("export, a byte 300") << QStringLiteral("EXPORT") << 2 << QByteArray("1,0,0,0,300,1,");
        QTest::newRow("download, period 256") << QStringLiteral("DOWNLOAD") << 4 << QByteArray("256");
    }

    void failuresInACommandMakeTheConfigurationUntitled()
    {
        QFETCH(QString, command);
        QFETCH(int, line);
        QFETCH(QByteArray, content);
        Window w;
        w.open(sample("odd.OTS", withLine(tavo::configFileText(varied()), line, content)));
        QCOMPARE(w.title(), QStringLiteral("odd")); // it loads
        const auto dialogs = w.dialog.shown().size();
        w.window.RunCommand(command); // and the command fails without a word
        QCOMPARE(w.title(), Untitled);
        QCOMPARE(w.panel("FILENAME"), QString());
        QVERIFY(w.prompter.shown().isEmpty());
        QCOMPARE(w.dialog.shown().size(), dialogs);
        QVERIFY(w.units.programmed.isEmpty());
    }

    void saveUnderTheNameTheDialogLastHeld()
    {
        const QString p = sample("named.OTS");
        // From the command line the dialog never saw the name: SAVE writes
        // the file and leaves the configuration untitled; the next one asks.
        Window w({p});
        w.editOutput(0);
        w.click("SAVE");
        QVERIFY(w.dialog.shown().isEmpty());
        QCOMPARE(readAll(p).split('\n').at(4), QByteArray("-1\r")); // output 1 now pulses
        QCOMPARE(w.title(), Untitled);
        w.editOutput(2);
        w.click("SAVE"); // the dialog is cancelled
        QCOMPARE(w.dialog.shown().size(), 1);
        QVERIFY(w.saveEnabled());

        // After an export SAVE writes the configuration where it came from,
        // then remembers the export's name.
        Window e;
        e.open(p);
        e.dialog.SetNextFileName(path("named.BDX"));
        e.click("EXPORT");
        QCOMPARE(e.dialog.shown().last().proposedName, path("named.BDX"));
        e.editOutput(3);
        e.click("SAVE");
        QCOMPARE(readAll(p).split('\n').at(16), QByteArray("-1\r"));
        QCOMPARE(e.window.CurrentFileName(), path("named.BDX"));
        QCOMPARE(readAll(path("named.BDX")).size(), 65539);
    }

    void exportWritesTheImage()
    {
        Window w;
        w.open(sample("shop.OTS"));
        w.dialog.SetNextFileName(path("shop export.BDX"));
        w.click("EXPORT");
        QCOMPARE(w.dialog.shown().last().flags, 0x8002);
        QCOMPARE(w.dialog.shown().last().filter, QStringLiteral("Brondel Export File (*.BDX)| *.BDX"));
        ConfigData expected = varied();
        tavo::BuildConfigImage(expected);
        QCOMPARE(readAll(path("shop export.BDX")), tavo::exportFileBytes(expected));
        QCOMPARE(w.prompter.shown().last().text,
                 path("shop export.BDX") + QStringLiteral(" has been successfully exported"));
        QCOMPARE(w.prompter.shown().last().title, QStringLiteral("Successful"));

        w.dialog.SetNextFileName(path("no folder/x.BDX"));
        w.click("EXPORT");
        QCOMPARE(w.prompter.shown().last().text, QStringLiteral("Failed to export!"));
        QCOMPARE(w.prompter.shown().last().title, QStringLiteral("Error!"));
        QCOMPARE(w.prompter.shown().last().icon, Prompter::Icon::Exclamation);
        QCOMPARE(w.title(), QStringLiteral("shop"));
    }

    void failedSaveKeepsTheOldFile()
    {
        // A code of 15 bytes loads, but cannot be written back.
        const QString p = sample("long.OTS", withLine(tavo::configFileText(varied()), 2,
                                                      "15,0,0,0," + QByteArray("65,0,").repeated(15)));
        const QByteArray before = readAll(p);
        Window w;
        w.open(p);
        w.editOutput(4);
        w.click("SAVE");
        QCOMPARE(readAll(p), before);
        QCOMPARE(w.prompter.shown().size(), 1);
        QCOMPARE(w.prompter.shown().first().text,
                 QStringLiteral("Failed to save file, may be write protected"));
        QCOMPARE(w.prompter.shown().first().title, QStringLiteral("Error!"));
        QCOMPARE(w.title(), Untitled);
        QVERIFY(w.saveEnabled() && w.config().ConfigModified);
    }

    void panelsShowWhatAShortFileHeld()
    {
        const QList<QByteArray> all = tavo::configFileText(varied()).split('\n');
        Window w;
        w.open(sample("short.OTS", all.mid(0, 13).join('\n'))); // outputs 0 to 2
        QCOMPARE(w.title(), Untitled);
        QVERIFY(w.prompter.shown().isEmpty());
        QCOMPARE(w.periodShown(2), QStringLiteral("072"));
        QCOMPARE(w.periodShown(3), QStringLiteral("001"));
    }

    void unitDialogsGetTheCurrentCodes()
    {
        Window w;
        const SerialEditorData go = message({{'G', 0}, {'O', 0}});
        w.window.OutputControl1(5)
            ->findChild<SerialEditor *>(QStringLiteral("SerialEditorOn"))
            ->ReturnCurrentMessage()
            .SetAllDataTo(go);
        w.click("TEST");
        QCOMPARE(w.units.tested.size(), 1);
        QVERIFY(w.units.tested.first().OnMessages[5].IsTheSameAs(go));
        w.click("DOWNLOAD");
        QCOMPARE(w.units.programmed.size(), 1);
        QCOMPARE(w.units.programmed.first().ConfigImage[16 + 15 * 5], 2);
        QCOMPARE(w.units.programmed.first().ConfigImage[17 + 15 * 5], 'G');

        SerialTavo bare; // without unit services both do their own part only
        bare.Start();
        bare.RunCommand(QStringLiteral("DOWNLOAD"));
        QCOMPARE(bare.Config().ConfigImage[0], 1);
    }

    void shortcutsRunTheCommands_data()
    {
        QTest::addColumn<QKeySequence>("keys");
        QTest::addColumn<int>("dialogs"); // file dialogs shown
        QTest::addColumn<int>("launches");
        QTest::newRow("Ctrl+O opens") << QKeySequence(Qt::CTRL | Qt::Key_O) << 1 << 0;
        QTest::newRow("Ctrl+Shift+S saves as") << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S) << 1 << 0;
        QTest::newRow("Ctrl+S saves") << QKeySequence(Qt::CTRL | Qt::Key_S) << 1 << 0;
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
        QTest::keySequence(&w.window, keys);
        QCOMPARE(int(w.dialog.shown().size()), dialogs);
        QCOMPARE(w.shell.opened, launches ? QStringList{QCoreApplication::applicationDirPath()
                                                        + QStringLiteral("/Serial Tavo Editor.html")}
                                          : QStringList());
        QCOMPARE(w.config().PulseModes[6], keys != QKeySequence(Qt::CTRL | Qt::Key_N));
    }

    void minimiseAndAbout()
    {
        Window w;
        QString version;
        onNextModal([&](QWidget *about) {
            version = about->findChild<QLabel *>(QStringLiteral("Version"))->text();
            QTest::mouseClick(about->findChild<QPushButton *>(QStringLiteral("OK")), Qt::LeftButton);
        });
        w.click("ABOUT");
        QCOMPARE(version, QStringLiteral("Version 1.0.3"));
        w.click("MIN");
        QVERIFY(w.window.windowState() & Qt::WindowMinimized);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
