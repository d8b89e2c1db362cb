#include "ConfigFile.h"
#include "OutputControl.h"
#include "RightHandToolbar.h"
#include "ScriptedPrompter.h"
#include "SerialEditor.h"
#include "SerialTavo.h"
#include "UnitServices.h"
#include "support/ConfigSamples.h"
#include "support/ScriptedCommonDialog.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>

#include <functional>

using namespace samples;
using Answer = Prompter::Answer;

using namespace Qt::StringLiterals;

namespace {

const QString Untitled = u"Serial Tavo Editor 1.0.3"_s;

struct RecordingUnits : UnitServices {
    void checkDeviceTypes() override { ++checks; }
    void showTestDialog(ConfigData &config, QWidget *) override { tested << config; }
    void showProgrammingDialog(ConfigData &config, QWidget *) override { programmed << config; }
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
        window.start(arguments);
        window.show();
        QApplication::setActiveWindow(&window);
    }
    ConfigData &config() { return window.config(); }
    QString title() const { return window.windowTitle(); }
    QString panel(const char *key) const
    {
        return window.findChild<QLabel *>(QString::fromLatin1(key))->text();
    }
    bool saveEnabled() const { return window.RightHandToolbar1()->ButtonEnable(u"SAVE"_s); }
    QToolButton *button(const char *key) const
    {
        return window.RightHandToolbar1()->findChild<QToolButton *>(QString::fromLatin1(key));
    }
    void click(const char *key) { QTest::mouseClick(button(key), Qt::LeftButton); }
    // A change as the user makes one: a click on an output's Pulse option.
    void editOutput(int n)
    {
        QTest::mouseClick(window.OutputControl1(n)->findChild<QRadioButton *>(u"OuputOperation_1"_s),
                          Qt::LeftButton);
    }
    SerialEditor *editor(int n, const char *key = "SerialEditorOn") const
    {
        return window.OutputControl1(n)->findChild<SerialEditor *>(QString::fromLatin1(key));
    }
    QString periodShown(int n) const
    {
        return window.OutputControl1(n)->findChild<QLineEdit *>(u"Text1"_s)->text();
    }
    void open(const QString &path)
    {
        dialog.setNextFileName(path);
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
    void startsUntitledOrWithTheFileNamed()
    {
        Window w;
        QCOMPARE(w.title(), Untitled);
        QCOMPARE(w.panel("FILENAME"), QString());
        QCOMPARE(w.panel("SETTINGS"), u"Tavo settings = 9600, baud, No parity, 8 Bit data, 1 Stop bit"_s);
        // The device types are checked once the window is on screen.
        QCOMPARE(w.units.checks, 0);
        QApplication::processEvents(); // the window is painted
        QApplication::processEvents(); // and then the check
        QCOMPARE(w.units.checks, 1);
        for (int n = 0; n < 8; ++n) {
            QVERIFY(!w.config().PulseModes[std::size_t(n)]);
            QCOMPARE(w.periodShown(n), u"001"_s);
        }

        // The shipped example at a path with blanks, unquoted on the command
        // line and so in pieces.
        QVERIFY(QDir(m_dir.path()).mkpath(u"path with blanks"_s));
        const QString p = path("path with blanks/demo.OTS");
        QVERIFY(QFile::copy(qEnvironmentVariable("TAVO_SOURCE_DIR") + u"/examples/demo.OTS"_s, p));
        Window named(p.split(QLatin1Char(' ')));
        QCOMPARE(named.title(), u"demo"_s);
        QCOMPARE(named.panel("FILENAME"), u"demo"_s);
        QCOMPARE(named.periodShown(1), u"005"_s);
        Window missing({p + u".old"_s});
        QCOMPARE(missing.title(), Untitled);
        QVERIFY(w.prompter.shown().isEmpty() && named.prompter.shown().isEmpty()
                && missing.prompter.shown().isEmpty());

        // TAVO_SCREENSHOT_DIR=dir saves what the window looks like there.
        const QString shots = qEnvironmentVariable("TAVO_SCREENSHOT_DIR");
        if (!shots.isEmpty()) {
            named.window.resize(named.window.sizeHint());
            QVERIFY(QDir().mkpath(shots) && named.window.grab().save(shots + u"/main-window.png"_s));
        }

        // A wider window widens the codes of both columns alike.
        named.window.resize(named.window.minimumSize());
        const int narrow = named.editor(0, "SerialEditorOff")->width();
        named.window.resize(named.window.minimumSize() + QSize(400, 0));
        for (int n = 0; n < 8; ++n)
            QCOMPARE(named.editor(n, "SerialEditorOff")->width(), narrow + 200);
        named.click("MIN");
        QVERIFY(named.window.windowState() & Qt::WindowMinimized);
    }

    void editSaveAndOpenAgain()
    {
        Window w;
        w.window.runCommand(u"NEW"_s); // unchanged: nothing to ask
        w.open(sample("original.OTS"));
        QCOMPARE(w.panel("SETTINGS"), u"Tavo settings = 19200, baud, Odd parity, 8 Bit data, 1 Stop bit"_s);
        QVERIFY(!w.saveEnabled() && w.prompter.shown().isEmpty());
        w.editOutput(0);
        QVERIFY(w.saveEnabled() && w.config().ConfigModified);
        // Out through the panels and their editors, back through a new window.
        w.dialog.setNextFileName(path("copy.OTS"));
        w.click("SAVEAS");
        QCOMPARE(w.dialog.shown().last().flags, 0x8002);
        QCOMPARE(w.dialog.shown().last().filter, u"Olvex Serial Tavo configuration File (*.OTS)|*.OTS"_s);
        QCOMPARE(w.title(), u"copy"_s);
        QVERIFY(!w.saveEnabled() && !w.config().ConfigModified);
        w.window.close();
        QVERIFY(w.prompter.shown().isEmpty() && !w.window.isVisible());

        Window fresh;
        fresh.open(path("copy.OTS"));
        QCOMPARE(fresh.dialog.shown().last().flags, 0x1000);
        ConfigData expected = varied();
        expected.PulseModes[0] = true;
        for (std::size_t n = 0; n < 8; ++n)
            QVERIFY(sameOutput(fresh.config(), expected, n));
        QCOMPARE(fresh.config().BaudIndex, 4);
        QCOMPARE(fresh.config().ParityIndex, 2);
    }

    void saveChangesPrompt_data()
    {
        // The current file was written, the command went ahead, the
        // configuration lost its name, unsaved changes remain.
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("savedGoneOnUntitledModified");
        const int yes = int(Answer::Yes), no = int(Answer::No), cancel = int(Answer::Cancel);
        const QString neu = u"NEW"_s, open = u"OPEN"_s;
        QTest::newRow("new, yes") << neu << yes << "1110";
        QTest::newRow("new, no") << neu << no << "0110";
        QTest::newRow("new, cancel") << neu << cancel << "0001";
        // Opening never touches the flag: after No the new file counts as changed.
        QTest::newRow("open, yes") << open << yes << "1100";
        QTest::newRow("open, no") << open << no << "0101";
        QTest::newRow("open, cancel") << open << cancel << "0011";
        for (const QString &exit : {u"EXITCROSS"_s, u"close"_s}) {
            QTest::addRow("%s, yes", qPrintable(exit)) << exit << yes << "1100";
            QTest::addRow("%s, no", qPrintable(exit)) << exit << no << "0101";
            QTest::addRow("%s, cancel", qPrintable(exit)) << exit << cancel << "0001";
        }
    }

    void saveChangesPrompt()
    {
        QFETCH(QString, command);
        QFETCH(int, answer);
        QFETCH(QString, savedGoneOnUntitledModified);
        const QString current = sample("current.OTS");
        Window w;
        w.open(current);
        w.editOutput(0);
        w.prompter.setNextAnswer(Answer(answer));
        w.dialog.setNextFileName(sample("other.OTS", tavo::configFileText(ConfigData())));
        if (command == QLatin1String("close"))
            w.window.close();
        else
            w.window.runCommand(command);

        QCOMPARE(w.prompter.shown().size(), 1);
        QCOMPARE(w.prompter.shown().first().text, u"Save changes?"_s);
        QCOMPARE(w.prompter.shown().first().title, u"Warning!"_s);
        QCOMPARE(w.prompter.shown().first().buttons, Prompter::Buttons::YesNoCancel);
        const bool goneOn = command == QLatin1String("NEW")    ? w.config().OnPeriods[3] == 1
                            : command == QLatin1String("OPEN") ? w.config().OnPeriods[3] == 0
                                                               : !w.window.isVisible();
        QString got;
        for (const bool b : {readAll(current) != tavo::configFileText(varied()), goneOn,
                             w.title() == Untitled, w.config().ConfigModified})
            got += b ? u'1' : u'0';
        QCOMPARE(got, savedGoneOnUntitledModified);
    }

    void settingsDialog_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("parity");
        QTest::addColumn<bool>("done");
        QTest::addColumn<QString>("shown");
        QTest::newRow("19200 even, done") << 4 << 1 << true << u"19200, baud, Even"_s;
        QTest::newRow("no change, done") << 0 << 0 << true << u"9600, baud, No"_s;
        QTest::newRow("change, cancel") << 6 << 2 << false << u"9600, baud, No"_s;
    }

    void settingsDialog()
    {
        QFETCH(int, baud);
        QFETCH(int, parity);
        QFETCH(bool, done);
        QFETCH(QString, shown);
        Window w;
        w.window.runCommand(u"NEW"_s);
        QList<bool> listsFit;
        onNextModal([&](QWidget *dialog) {
            // The lists are as big as their entries: all of them show, and
            // no empty row or wide margin.
            for (const auto *list : dialog->findChildren<QListWidget *>()) {
                const QSize inside = list->viewport()->size();
                const QSize entry(list->sizeHintForColumn(0), list->sizeHintForRow(0));
                listsFit << (inside.height() >= list->count() * entry.height()
                             && inside.height() < (list->count() + 1) * entry.height()
                             && inside.width() >= entry.width() && inside.width() < 2 * entry.width());
            }
            dialog->findChild<QListWidget *>(u"BaudrateList"_s)->setCurrentRow(baud);
            dialog->findChild<QListWidget *>(u"ParityList"_s)->setCurrentRow(parity);
            QTest::mouseClick(dialog->findChild<QPushButton *>(done ? u"Done"_s : u"Cancel"_s),
                              Qt::LeftButton);
        });
        QTest::mouseClick(w.window.findChild<QLabel *>(u"SETTINGS"_s), Qt::LeftButton);

        QCOMPARE(listsFit, QList<bool>({true, true}));
        const QString text = shown + u" parity, 8 Bit data, 1 Stop bit"_s;
        const bool modified = done && (baud || parity);
        QCOMPARE(w.panel("SETTINGS"), u"Tavo settings = "_s + text);
        QCOMPARE(w.button("SETTINGS")->toolTip(), u"Set Tavo serial port settings ("_s + text + u')');
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
        QTest::addColumn<bool>("checked"); // the check finds an error and asks first
        QTest::newRow("settings, baud 9") << u"SETTINGS"_s << 34 << QByteArray("9") << false;
        QTest::newRow("settings, parity -1") << u"SETTINGS"_s << 35 << QByteArray("-1") << false;
        QTest::newRow("export, a byte 300") << u"EXPORT"_s << 2 << QByteArray("1,0,0,0,300,1,") << true;
        QTest::newRow("download, period 256") << u"DOWNLOAD"_s << 4 << QByteArray("256") << false;
    }

    void failuresInACommandMakeTheConfigurationUntitled()
    {
        QFETCH(QString, command);
        QFETCH(int, line);
        QFETCH(QByteArray, content);
        QFETCH(bool, checked);
        Window w;
        w.open(sample("odd.OTS", withLine(tavo::configFileText(varied()), line, content)));
        QCOMPARE(w.title(), u"odd"_s); // it loads
        const auto dialogs = w.dialog.shown().size();
        w.prompter.setNextAnswer(Answer::Yes);
        w.window.runCommand(command); // and, asked to go on, the command fails without a word
        QCOMPARE(w.title(), Untitled);
        QCOMPARE(w.panel("FILENAME"), QString());
        QCOMPARE(w.prompter.shown().size(), checked ? 1 : 0);
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

        // Export proposes the configuration's name; SAVE afterwards writes
        // the configuration where it came from, then remembers the export's.
        Window e;
        e.open(p);
        e.dialog.setNextFileName(path("named.BDX"));
        e.click("EXPORT");
        QCOMPARE(e.dialog.shown().last().proposedName, path("named.BDX"));
        QCOMPARE(e.dialog.shown().last().flags, 0x8002);
        QCOMPARE(e.dialog.shown().last().filter, u"Brondel Export File (*.BDX)| *.BDX"_s);
        QCOMPARE(e.prompter.shown().last().text, path("named.BDX") + u" has been successfully exported"_s);
        QCOMPARE(e.prompter.shown().last().title, u"Successful"_s);
        QCOMPARE(readAll(path("named.BDX")).size(), 65539);
        e.editOutput(3);
        e.click("SAVE");
        QCOMPARE(readAll(p).split('\n').at(16), QByteArray("-1\r"));
        QCOMPARE(e.window.CurrentFileName(), path("named.BDX"));
    }

    void filesThatLoadOnlyInPart()
    {
        // Outputs 0 to 2 only: the panels show them, and the configuration
        // stays untitled without a word.
        const QList<QByteArray> all = tavo::configFileText(varied()).split('\n');
        Window w;
        w.open(sample("short.OTS", all.mid(0, 13).join('\n')));
        QCOMPARE(w.title(), Untitled);
        QCOMPARE(w.periodShown(2), u"072"_s);
        QCOMPARE(w.periodShown(3), u"001"_s);
        QVERIFY(w.prompter.shown().isEmpty());

        // A code of 15 bytes loads, but cannot be written back.
        const QString p = sample("long.OTS", withLine(tavo::configFileText(varied()), 2,
                                                      "15,0,0,0," + QByteArray("65,0,").repeated(15)));
        const QByteArray before = readAll(p);
        w.open(p);
        w.click("SAVE");
        QCOMPARE(readAll(p), before);
        QCOMPARE(w.prompter.shown().size(), 1);
        QCOMPARE(w.prompter.shown().first().text, u"Failed to save file, may be write protected"_s);
        QCOMPARE(w.title(), Untitled);
    }

    void unitDialogsGetTheCurrentCodes()
    {
        Window w;
        const SerialEditorData go = code("GO", SerialEditorData::Type::Ascii);
        w.editor(5)->ReturnCurrentMessage().SetAllDataTo(go);
        w.click("TEST");
        QCOMPARE(w.units.checks, 1); // before the first paint: the dialog makes sure
        QCOMPARE(w.units.tested.size(), 1);
        QVERIFY(w.units.tested.first().OnMessages[5].IsTheSameAs(go));
        w.click("DOWNLOAD");
        QCOMPARE(w.units.programmed.size(), 1);
        QCOMPARE(w.units.programmed.first().ConfigImage[16 + 15 * 5], 2);
        QCOMPARE(w.units.programmed.first().ConfigImage[17 + 15 * 5], 'G');

        SerialTavo bare; // without unit services both do their own part only
        bare.start();
        bare.runCommand(u"DOWNLOAD"_s);
        QCOMPARE(bare.config().ConfigImage[0], 1);
    }

    // The check follows the user's typing: marks on the panels, the count
    // in the status bar, and DOWNLOAD asks while there are errors.
    void checkFollowsTheEdits()
    {
        Window w;
        const auto type = [&](int n, const char *editor, const char *text) {
            auto *display = w.editor(n, editor)->findChild<QWidget *>(u"DisplayImage"_s);
            display->setFocus();
            QTest::keyClicks(display, QString::fromLatin1(text));
        };
        const auto mark = [&](int n) {
            return w.window.OutputControl1(n)->findChild<QLabel *>(u"FindingsMark"_s);
        };
        auto *count = w.window.findChild<QLabel *>(u"CHECK"_s);
        QVERIFY(!count->isVisible() && !mark(0)->isVisible());

        type(0, "SerialEditorOn", "GO");
        QCOMPARE(count->text(), u"1 warning"_s); // no Off code yet
        QVERIFY(mark(0)->isVisible() && !mark(0)->property("error").toBool());

        type(0, "SerialEditorOff", "GO");
        QCOMPARE(count->text(), u"1 error"_s);
        QVERIFY(mark(0)->property("error").toBool());
        QVERIFY(mark(0)->toolTip().contains(u"Output 1 On and Output 1 Off are the same code"_s));
        QVERIFY(!mark(1)->isVisible());

        w.prompter.setNextAnswer(Answer::No);
        w.click("DOWNLOAD");
        QVERIFY(w.units.programmed.isEmpty());
        QVERIFY(w.prompter.shown().constLast().text.startsWith(
            u"The configuration has 1 error: Output 1 On and Output 1 Off are the same code"_s));
        QVERIFY(w.prompter.shown().constLast().text.endsWith(u"Download anyway?"_s));
        w.prompter.setNextAnswer(Answer::Yes);
        w.click("DOWNLOAD");
        QCOMPARE(w.units.programmed.size(), 1);

        // A click on the count lists the findings.
        QTest::mouseClick(count, Qt::LeftButton);
        QCOMPARE(w.prompter.shown().constLast().title, u"Configuration check"_s);

        // Off becomes GOT: GO is inside it, a warning only, and nothing asks.
        type(0, "SerialEditorOff", "T");
        QCOMPARE(count->text(), u"1 warning"_s);
        const qsizetype asked = w.prompter.shown().size();
        w.click("DOWNLOAD");
        QCOMPARE(w.units.programmed.size(), 2);
        QCOMPARE(w.prompter.shown().size(), asked);

        // Undo raises no Changed; the check follows it all the same.
        QTest::keyClick(w.editor(0, "SerialEditorOff")->findChild<QWidget *>(u"DisplayImage"_s), Qt::Key_Z,
                        Qt::ControlModifier);
        QCOMPARE(count->text(), u"1 error"_s);
    }

    void shortcutsRunTheCommands_data()
    {
        QTest::addColumn<QKeySequence>("keys");
        QTest::addColumn<bool>("edited"); // output 7 changed first, else started again
        QTest::addColumn<int>("dialogs"); // file dialogs shown
        QTest::newRow("Ctrl+O opens") << QKeySequence(Qt::CTRL | Qt::Key_O) << true << 1;
        QTest::newRow("Ctrl+Shift+S saves as") << QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S) << true << 1;
        QTest::newRow("Ctrl+S saves") << QKeySequence(Qt::CTRL | Qt::Key_S) << true << 1;
        QTest::newRow("Ctrl+S, nothing to save") << QKeySequence(Qt::CTRL | Qt::Key_S) << false << 0;
        QTest::newRow("F1 is help") << QKeySequence(Qt::Key_F1) << true << 0;
        QTest::newRow("Ctrl+N starts again") << QKeySequence(Qt::CTRL | Qt::Key_N) << true << 0;
    }

    void shortcutsRunTheCommands()
    {
        QFETCH(QKeySequence, keys);
        QFETCH(bool, edited);
        QFETCH(int, dialogs);
        Window w;
        if (edited)
            w.editOutput(6);
        else
            w.window.runCommand(u"NEW"_s); // disables SAVE
        w.prompter.setNextAnswer(Answer::No);
        QTest::keySequence(&w.window, keys);
        QCOMPARE(int(w.dialog.shown().size()), dialogs);
        QCOMPARE(w.shell.opened,
                 keys == QKeySequence(Qt::Key_F1)
                     ? QStringList{QCoreApplication::applicationDirPath() + u"/Serial Tavo Editor.html"_s}
                     : QStringList());
        QCOMPARE(w.config().PulseModes[6], edited && keys != QKeySequence(Qt::CTRL | Qt::Key_N));
    }

    void helpOpensInOurOwnWindowWhereTheDesktopCannot_data()
    {
        QTest::addColumn<int>("code"); // the shell's answer
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("ownWindow");
        QTest::newRow("opened") << int(Shell::Launched) << QString() << false;
        QTest::newRow("no viewer or no browser") << int(Shell::NoAssociation) << QString() << true;
        QTest::newRow("no page") << int(Shell::FileNotFound) << u"File not found!"_s << false;
        QTest::newRow("association broken") << 27 << u"Incomplete or invalid file association!"_s << false;
    }
    // Ctrl+Tab leaves a code editor, Tab goes on through the other controls,
    // and every toolbar command that can run is on the way, after the panels.
    void everyCommandIsReachedFromTheKeyboard()
    {
        Window w;
        QVERIFY(QTest::qWaitForWindowActive(&w.window));
        QWidget *start = QApplication::focusWidget();
        QVERIFY(start);
        QCOMPARE(start->objectName(), u"DisplayImage"_s); // where the focus has always started
        const QWidget *toolbar = w.window.RightHandToolbar1();
        QList<QWidget *> visited;
        do {
            QWidget *at = QApplication::focusWidget();
            if (at == w.button("EXPORT")) // Space on a button is its click
                QTest::keyClick(at, Qt::Key_Space);
            const bool inEditor = at->objectName() == u"DisplayImage"_s;
            QTest::keyClick(at, Qt::Key_Tab, inEditor ? Qt::ControlModifier : Qt::NoModifier);
            QVERIFY(QApplication::focusWidget() != at);
            visited << QApplication::focusWidget();
        } while (QApplication::focusWidget() != start && visited.size() < 100);
        QCOMPARE(w.dialog.shown().size(), 1);

        const auto inPanel = [](const QWidget *widget) {
            for (; widget; widget = widget->parentWidget())
                if (qobject_cast<const OutputControl *>(widget))
                    return true;
            return false;
        };
        QList<QWidget *> reached;
        qsizetype lastInPanels = -1;
        for (qsizetype i = 0; i + 1 < visited.size(); ++i) { // the last is the start again
            if (visited[i]->parent() == toolbar)
                reached << visited[i];
            else if (inPanel(visited[i]))
                lastInPanels = i;
        }
        QList<QWidget *> runnable;
        for (auto *b : toolbar->findChildren<QToolButton *>())
            if (b->isVisible() && b->isEnabled())
                runnable << b;
        QCOMPARE(QSet(reached.begin(), reached.end()), QSet(runnable.begin(), runnable.end()));
        QCOMPARE(reached.size(), runnable.size());
        QVERIFY(visited.indexOf(reached.constFirst()) > lastInPanels);
    }

    void helpOpensInOurOwnWindowWhereTheDesktopCannot()
    {
        QFETCH(int, code);
        QFETCH(QString, message);
        QFETCH(bool, ownWindow);
        Window w;
        w.shell.code = code;
        w.click("HELP");
        QCOMPARE(w.prompter.shown().isEmpty() ? QString() : w.prompter.shown().constFirst().text, message);
        auto *help = w.window.findChild<QWidget *>(u"HelpWindow"_s);
        QCOMPARE(help != nullptr, ownWindow);
        if (!ownWindow)
            return;
        QVERIFY(help->isVisible() && help->isWindow());
        QCOMPARE(help->windowTitle(), u"Serial Tavo Editor help"_s);

        // The contents' link to the key table, clicked; Back and Forward.
        auto *browser = help->findChild<QTextBrowser *>(u"HelpBrowser"_s);
        QTextCursor link = browser->document()->find(u"Keys in the code editor"_s);
        link.setPosition(link.selectionStart() + 2);
        QTest::mouseClick(browser->viewport(), Qt::LeftButton, {}, browser->cursorRect(link).center());
        QCOMPARE(browser->source().fragment(), u"keys"_s);
        QVERIFY(browser->verticalScrollBar()->value() > 0);
        QTest::mouseClick(help->findChild<QToolButton *>(u"HelpBack"_s), Qt::LeftButton);
        QCOMPARE(browser->source().fragment(), QString());
        auto *forward = help->findChild<QToolButton *>(u"HelpForward"_s);
        QVERIFY(forward->isEnabled());
        QTest::mouseClick(forward, Qt::LeftButton);
        QCOMPARE(browser->source().fragment(), u"keys"_s);
        w.click("HELP"); // the same window again
        QCOMPARE(w.window.findChildren<QWidget *>(u"HelpWindow"_s).size(), 1);
    }

    void screenReadersNameEveryControl_data()
    {
        QTest::addColumn<QString>("command"); // the dialog it opens; none: the window itself
        QTest::newRow("main window") << QString();
        QTest::newRow("settings") << u"SETTINGS"_s;
        QTest::newRow("about") << u"ABOUT"_s;
        QTest::newRow("help") << u"HELP"_s;
    }
    void screenReadersNameEveryControl()
    {
        QFETCH(QString, command);
        Window w({QString::fromLocal8Bit(qgetenv("TAVO_SOURCE_DIR")) + u"/examples/demo.OTS"_s});
        w.shell.code = Shell::NoAssociation;
        // The controls a user can reach or press that a screen reader would
        // announce without a name.
        QStringList unnamed;
        QString version; // the About box's
        const auto walk = [&unnamed](QWidget *top) {
            std::function<void(QAccessibleInterface *)> visit = [&](QAccessibleInterface *a) {
                const QAccessible::Role role = a->role();
                const bool control = a->state().focusable || role == QAccessible::PushButton
                                     || role == QAccessible::RadioButton || role == QAccessible::CheckBox;
                if (control && !a->state().invisible && a->text(QAccessible::Name).trimmed().isEmpty())
                    unnamed << a->object()->objectName();
                for (int i = 0; i < a->childCount(); ++i)
                    visit(a->child(i));
            };
            visit(QAccessible::queryAccessibleInterface(top));
        };
        if (command.isEmpty()) {
            walk(&w.window);
        } else if (command == QLatin1String("HELP")) { // a window of its own
            w.window.runCommand(command);
            walk(w.window.findChild<QWidget *>(u"HelpWindow"_s));
        } else {
            onNextModal([&](QWidget *dialog) {
                walk(dialog);
                if (const auto *label = dialog->findChild<QLabel *>(u"Version"_s))
                    version = label->text();
                if (auto *ok = dialog->findChild<QPushButton *>(u"OK"_s))
                    QTest::mouseClick(ok, Qt::LeftButton);
                else
                    dialog->close();
            });
            w.click(qPrintable(command));
        }
        QCOMPARE(unnamed, QStringList());
        QCOMPARE(version, command == QLatin1String("ABOUT") ? u"Version 1.0.3"_s : QString());

        // What is read out for the first output, as the eye sees it.
        QWidget *output = w.window.OutputControl1(0);
        QWidget *on = w.editor(0)->focusProxy();
        QCOMPARE(QAccessible::queryAccessibleInterface(output)->text(QAccessible::Name), u"Output 1"_s);
        QAccessibleInterface *code = QAccessible::queryAccessibleInterface(on);
        QCOMPARE(code->text(QAccessible::Name), u"Serial code for ON, Output 1"_s);
        QCOMPARE(code->text(QAccessible::Value), u"LIGHTS ON,CR"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(w.button("NEW"))->text(QAccessible::Name),
                 u"Start new configuration"_s);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
