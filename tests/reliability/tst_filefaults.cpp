// Saves and exports that cannot complete, driven through the real window:
// what the user is told, what happens to the file already there, and that
// nothing half-written is left behind.
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
};

QTEST_MAIN(TestFileFaults)
#include "tst_filefaults.moc"
