// Saves and exports that cannot complete, driven through the real window:
// what the user is told, what happens to the file already there, and that
// nothing half-written is left behind.
#include "ConfigFile.h"
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

using namespace Qt::StringLiterals;

namespace {

// Every file and folder under `root` with its size, to see that a failed
// save neither left a temporary file nor changed anything else.
QStringList listing(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        entries << QDir(root).relativeFilePath(it.filePath()) + u' '
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
            lines << m.title + u" | "_s + m.text + u" | "_s + QString::number(int(m.icon));
        lines << u"name: "_s + window.CurrentFileName() << u"caption: "_s + window.windowTitle()
              << u"modified: %1"_s.arg(const_cast<SerialTavo &>(window).config().ConfigModified);
        return lines.join(QLatin1Char('\n')).toUtf8();
    }
};

} // namespace

class TestFileFaults : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }

private slots:
    void init() { QVERIFY(QDir(m_dir.path()).removeRecursively() && QDir().mkpath(m_dir.path())); }

    // SAVE of the named configuration writes it under its own name; SAVEAS
    // and EXPORT write where the user says. A target ending in "/" is a
    // folder with a file in it; a file size limit (in bytes) is big enough
    // to start the new file, too small to finish it.
    void writesThatCannotCompleteKeepWhatWasThere_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("sizeLimit");

        const auto row = [](const char *name, const char *command, const char *target, int sizeLimit = 0) {
            QTest::newRow(name) << QString::fromLatin1(command) << QString::fromLatin1(target) << sizeLimit;
        };
        row("save over a folder", "SAVEAS", "folder.OTS/");
        row("save into a missing folder", "SAVEAS", "no such folder/x.OTS");
        row("save past the file size limit", "SAVE", "current.OTS", 200);
        row("export over a folder", "EXPORT", "folder.BDX/");
        row("export into a missing folder", "EXPORT", "no such folder/x.BDX");
        row("export past the file size limit", "EXPORT", "current.BDX", 4096);
    }

    void writesThatCannotCompleteKeepWhatWasThere()
    {
        QFETCH(QString, command);
        QFETCH(QString, target);
        QFETCH(int, sizeLimit);
        const bool saving = command != u"EXPORT"_s;

        // The configuration being edited comes from a file, so it has a name
        // a failed save must forget and a failed export must keep. That file
        // carries a line after the 35 the program writes: any rewrite of it
        // would drop the line.
        const QString opened = path(u"current.OTS"_s);
        const QByteArray original = tavo::configFileText(samples::varied()) + "kept by hand\r\n";
        QVERIFY(samples::writeBytes(opened, original));
        const bool folder = target.endsWith(u'/');
        target = path(target);
        if (folder)
            QVERIFY(QDir().mkpath(target) && samples::writeBytes(target + u"inside.txt"_s, "inside"));
        else if (QFileInfo(target).dir().exists() && !QFileInfo::exists(target))
            QVERIFY(samples::writeBytes(target, "a file from before"));
        const QByteArray targetBefore = samples::readAll(target);

        Window w;
        w.dialog.setNextFileName(opened);
        w.window.runCommand(u"OPEN"_s);
        QCOMPARE(w.window.CurrentFileName(), opened);
        w.window.config().ConfigModified = true;
        w.dialog.setNextFileName(target);
        const QStringList before = listing(m_dir.path());

        testsupport::ChildConditions conditions;
        conditions.fileSizeLimit = sizeLimit;
        const testsupport::ChildResult child = testsupport::runInChild(conditions, [&] {
            w.window.runCommand(command);
            return w.outcome();
        });
        QVERIFY(child.returned);
        // Only a failed save makes the configuration untitled; both leave
        // the unsaved changes marked.
        const QString message = saving ? u"Error! | Failed to save file, may be write protected | "_s
                                       : u"Error! | Failed to export! | "_s;
        QCOMPARE(QString::fromUtf8(*child.returned).split(QLatin1Char('\n')),
                 QStringList({message + QString::number(int(Prompter::Icon::Exclamation)),
                              u"name: "_s + (saving ? QString() : opened),
                              u"caption: "_s + (saving ? tavo::productCaption() : u"current"_s),
                              u"modified: 1"_s}));
        QCOMPARE(listing(m_dir.path()), before);
        QCOMPARE(samples::readAll(opened), original);
        QCOMPARE(samples::readAll(target), targetBefore);
        QCOMPARE(QFileInfo(target).isDir(), folder);
    }
};

QTEST_MAIN(TestFileFaults)
#include "tst_filefaults.moc"
