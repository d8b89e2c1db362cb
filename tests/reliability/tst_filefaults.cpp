// Saves and exports that cannot complete, driven through the real window:
// what the user is told, what happens to the file already there, and that
// nothing half-written is left behind. Then unusual numbers in a
// configuration file, and what each one does to the configuration.
#include "ConfigFile.h"
#include "ExportFile.h"
#include "Product.h"
#include "ScriptedPrompter.h"
#include "SerialTavo.h"
#include "support/ChildProcess.h"
#include "support/ConfigSamples.h"
#include "support/ScriptedCommonDialog.h"

#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

namespace {

enum class Fault { DirectoryInPlace, MissingFolder, FileSizeLimit };

// Every file and folder under `root` with its size, to see that a failed
// save neither left a temporary file nor changed anything else.
QStringList listing(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        entries << QDir(root).relativeFilePath(it.filePath()) + QLatin1Char(' ')
                       + QString::number(it.fileInfo().isDir() ? -1 : it.fileInfo().size());
    }
    entries.sort();
    return entries;
}

struct Window {
    ScriptedPrompter prompter;
    ScriptedCommonDialog dialog;
    SerialTavo window{SerialTavo::Services{&prompter, &dialog, nullptr, nullptr}};

    Window() { window.start(); }

    // What a failed command may touch, a line each: the messages shown
    // ("title | text | icon"), the configuration's name, the caption and
    // whether it is marked modified.
    QByteArray outcome() const
    {
        QStringList lines;
        for (const auto &m : prompter.shown())
            lines << m.title + QStringLiteral(" | ") + m.text + QStringLiteral(" | ")
                         + QString::number(int(m.icon));
        lines << QStringLiteral("name: ") + window.CurrentFileName()
              << QStringLiteral("caption: ") + window.windowTitle()
              << QStringLiteral("modified: %1").arg(const_cast<SerialTavo &>(window).config().ConfigModified);
        return lines.join(QLatin1Char('\n')).toUtf8();
    }
};

const QString Exclamation = QString::number(int(Prompter::Icon::Exclamation));

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }

private slots:
    void init() { QVERIFY(QDir(m_dir.path()).removeRecursively() && QDir().mkpath(m_dir.path())); }

    void writesThatCannotCompleteKeepWhatWasThere_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("message");

        const QString save =
            QStringLiteral("Error! | Failed to save file, may be write protected | ") + Exclamation;
        const QString exported = QStringLiteral("Error! | Failed to export! | ") + Exclamation;
        for (const QString &command : {QStringLiteral("SAVE"), QStringLiteral("EXPORT")}) {
            const QString &message = command == QLatin1String("SAVE") ? save : exported;
            QTest::addRow("%s over a folder", qPrintable(command))
                << command << Fault::DirectoryInPlace << message;
            QTest::addRow("%s into a missing folder", qPrintable(command))
                << command << Fault::MissingFolder << message;
            QTest::addRow("%s past the file size limit", qPrintable(command))
                << command << Fault::FileSizeLimit << message;
        }
    }

    void writesThatCannotCompleteKeepWhatWasThere()
    {
        QFETCH(QString, command);
        QFETCH(Fault, fault);
        QFETCH(QString, message);
        const bool saving = command == QLatin1String("SAVE");

        // The configuration being edited comes from a file, so it has a name
        // a failed save must forget and a failed export must keep. That file
        // carries a line after the 35 the program writes: any rewrite of it
        // would drop the line.
        const QString opened = path(QStringLiteral("current.OTS"));
        const QByteArray original = tavo::configFileText(samples::varied()) + "kept by hand\r\n";
        QVERIFY(samples::writeBytes(opened, original));
        QString target;
        testsupport::ChildConditions conditions;
        switch (fault) {
        case Fault::DirectoryInPlace:
            target = path(saving ? QStringLiteral("folder.OTS") : QStringLiteral("folder.BDX"));
            QVERIFY(QDir().mkpath(target));
            QVERIFY(samples::writeBytes(target + QStringLiteral("/inside.txt"), "inside"));
            break;
        case Fault::MissingFolder:
            target = path(QStringLiteral("no such folder/x.")
                          + (saving ? QStringLiteral("OTS") : QStringLiteral("BDX")));
            break;
        case Fault::FileSizeLimit:
            // Big enough to start the new file, too small to finish it.
            target = saving ? opened : path(QStringLiteral("current.BDX"));
            conditions.fileSizeLimit = saving ? 200 : 4096;
            if (!saving)
                QVERIFY(samples::writeBytes(target, "an export from before"));
            break;
        }
        const QByteArray targetBefore = samples::readAll(target);

        Window w;
        w.dialog.setNextFileName(opened);
        w.window.runCommand(QStringLiteral("OPEN"));
        QCOMPARE(w.window.CurrentFileName(), opened);
        w.window.config().ConfigModified = true;
        // SAVE of a named configuration writes it under its own name; for the
        // other faults the user picks the bad name in Save As.
        const QString run = saving && fault != Fault::FileSizeLimit ? QStringLiteral("SAVEAS") : command;
        if (run != QLatin1String("SAVE"))
            w.dialog.setNextFileName(target);
        const QStringList before = listing(m_dir.path());

        const testsupport::ChildResult child = testsupport::runInChild(conditions, [&] {
            w.window.runCommand(run);
            return w.outcome();
        });
        QVERIFY(child.returned);
        // Only a failed save makes the configuration untitled; both leave
        // the unsaved changes marked.
        QCOMPARE(QString::fromUtf8(*child.returned).split(QLatin1Char('\n')),
                 QStringList({message, QStringLiteral("name: ") + (saving ? QString() : opened),
                              QStringLiteral("caption: ")
                                  + (saving ? tavo::productCaption() : QStringLiteral("current")),
                              QStringLiteral("modified: 1")}));
        QCOMPARE(listing(m_dir.path()), before);
        QCOMPARE(samples::readAll(opened), original);
        QCOMPARE(samples::readAll(target), targetBefore);
        QCOMPARE(QFileInfo(target).isDir(), fault == Fault::DirectoryInPlace);
    }

    // Numbers a hand-edited or damaged file may hold, one line replaced in a
    // file that is otherwise whole, read into a new configuration. The table
    // names the line, what is there, whether the file still loads, and the
    // value the line's field ends up with (a line that stops the reading
    // leaves its field as it was: zero).
    void unusualNumbers_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("loads");
        QTest::addColumn<int>("value");

        // Line 8 is the period of output 1 (36 in the file), line 9 its mode
        // (pulse), line 6 its On code, line 34 the baud index (4).
        QTest::newRow("period at the top of 16 bits") << 8 << QByteArray("32767") << true << 32767;
        QTest::newRow("period rounding up past 16 bits") << 8 << QByteArray("32767.5") << false << 0;
        QTest::newRow("period rounding down into 16 bits") << 8 << QByteArray("-32768.5") << true << -32768;
        QTest::newRow("period below 16 bits") << 8 << QByteArray("-32769") << false << 0;
        QTest::newRow("period huge") << 8 << QByteArray("1e300") << false << 0;
        QTest::newRow("period beyond a double") << 8 << QByteArray("1e999") << false << 0;
        QTest::newRow("period negative") << 8 << QByteArray("-1") << true << -1;
        QTest::newRow("period half rounds to even") << 8 << QByteArray("0.5") << true << 0;
        QTest::newRow("period minus half") << 8 << QByteArray("-.5") << true << 0;
        QTest::newRow("period with exponent") << 8 << QByteArray("1.5e2") << true << 150;
        QTest::newRow("period with a D exponent") << 8 << QByteArray("2D1") << true << 20;
        QTest::newRow("period words") << 8 << QByteArray("nan") << false << 0;
        QTest::newRow("period two numbers") << 8 << QByteArray("1 2") << false << 0;
        QTest::newRow("mode fraction is true") << 9 << QByteArray("0.4") << true << 1;
        QTest::newRow("mode negative zero is false") << 9 << QByteArray("-0") << true << 0;
        QTest::newRow("mode too small to be a number is false") << 9 << QByteArray("1e-999") << true << 0;
        QTest::newRow("mode -1 with blanks") << 9 << QByteArray("  -1  ") << true << 1;
        QTest::newRow("mode huge") << 9 << QByteArray("1e300") << true << 1;
        QTest::newRow("mode a word") << 9 << QByteArray("on") << false << 0;
        QTest::newRow("baud huge") << 34 << QByteArray("99999") << false << 0;
        QTest::newRow("baud fraction") << 34 << QByteArray("5.5") << true << 6;
        // On code lines: the value of the first byte.
        QTest::newRow("code byte at the bottom of 16 bits")
            << 6 << QByteArray("1,0,0,0,-32768,1,") << true << -32768;
        QTest::newRow("code byte past 16 bits") << 6 << QByteArray("1,0,0,0,1e5,1,") << false << 0;
        QTest::newRow("code byte with text after it") << 6 << QByteArray("1,0,0,0,65x,1,") << true << 65;
        QTest::newRow("code count with a fraction") << 6 << QByteArray("0.6,0,0,0,7,1,") << true << 7;
        QTest::newRow("code count negative") << 6 << QByteArray("-3,0,0,0,") << true << 0;
        QTest::newRow("code count past 16 bits") << 6 << QByteArray("65536,0,0,0,") << false << 0;
    }

    void unusualNumbers()
    {
        QFETCH(int, line);
        QFETCH(QByteArray, content);
        QFETCH(bool, loads);
        QFETCH(int, value);

        const ConfigData inFile = samples::varied();
        QList<QByteArray> lines = tavo::configFileText(inFile).split('\n');
        lines[line - 1] = content + '\r';
        const QString file = path(QStringLiteral("unusual.OTS"));
        QVERIFY(samples::writeBytes(file, lines.join('\n')));

        ConfigData config;
        const tavo::ConfigReadResult result = tavo::readConfigFile(file, config);
        QCOMPARE(result.ok(), loads);
        if (!loads) {
            QCOMPARE(result.status, tavo::ConfigReadResult::BadValue);
            QCOMPARE(result.line, line);
        }
        switch (line) {
        case 6: QCOMPARE(config.OnMessages[1].ByteValue(0), value); break;
        case 8: QCOMPARE(config.OnPeriods[1], value); break;
        case 9: QCOMPARE(int(config.PulseModes[1]), value); break;
        case 34: QCOMPARE(config.BaudIndex, value); break;
        }
        // Everything before the line is the file's; everything after it is
        // the file's when the file loads and untouched when it does not.
        const ConfigData untouched;
        for (int n = 0; n < ConfigData::OutputCount; ++n) {
            if (n == 1)
                continue;
            const bool read = loads || 2 + 4 * n < line;
            QVERIFY(samples::sameOutput(config, read ? inFile : untouched, n));
        }
        QCOMPARE(config.ParityIndex, loads ? inFile.ParityIndex : untouched.ParityIndex);
    }
};

QTEST_MAIN(TestFileFaults)
#include "tst_filefaults.moc"
