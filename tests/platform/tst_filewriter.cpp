// The one file writer: what it does to each kind of target, and that a
// write that fails says why in the system's words and changes nothing.

#include "FileWriter.h"
#include "support/ChildProcess.h"
#include "support/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using samples::readAll;
using samples::writeBytes;

namespace {

const QByteArray OldBytes = "the old file\r\n";
const QByteArray NewBytes = QByteArray(3000, 'n');

// Names and sizes of everything in a folder: a failed write must leave no
// temporary file behind.
QStringList listing(const QString &folder)
{
    QStringList names;
    for (const QFileInfo &info : QDir(folder).entryInfoList(
             QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name))
        names << info.fileName() + u' ' + QString::number(info.isFile() ? info.size() : -1);
    return names;
}

enum class Target {
    NewFile,
    OldFile,
    LinkToOldFile,
    Fifo,
    NullDevice,
    Folder,
    InMissingFolder,
    SourceItself,
    SourceThroughLink,
    SourceThroughHardLink,
};

} // namespace

class TestFileWriter : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString path(const QString &name) const { return m_dir.filePath(name); }

private slots:
    void eachKindOfTarget_data()
    {
        QTest::addColumn<Target>("target");
        QTest::addColumn<QString>("error"); // empty: written

        QTest::newRow("new file") << Target::NewFile << QString();
        QTest::newRow("old file replaced") << Target::OldFile << QString();
        QTest::newRow("link to a file") << Target::LinkToOldFile << QString();
        QTest::newRow("FIFO") << Target::Fifo << QString();
        QTest::newRow("null device") << Target::NullDevice << QString();
        QTest::newRow("folder") << Target::Folder << u"Is a directory"_s;
        QTest::newRow("missing folder") << Target::InMissingFolder << u"No such file or directory"_s;
        const QString refusal = u"is the file being read; nothing was written"_s;
        QTest::newRow("the file being read") << Target::SourceItself << refusal;
        QTest::newRow("it through a link") << Target::SourceThroughLink << refusal;
        QTest::newRow("it through a hard link") << Target::SourceThroughHardLink << refusal;
    }

    void eachKindOfTarget()
    {
        QFETCH(Target, target);
        QFETCH(QString, error);

        QTemporaryDir dir;
        const QString old = dir.filePath(u"old.OTS"_s);
        QVERIFY(writeBytes(old, OldBytes));
        QString name = dir.filePath(u"target"_s);
        QString source;
        int fifo = -1;
        switch (target) {
        case Target::NewFile: break;
        case Target::OldFile: name = old; break;
        case Target::LinkToOldFile: QVERIFY(QFile::link(old, name)); break;
        case Target::Fifo:
            QCOMPARE(mkfifo(name.toLocal8Bit().constData(), 0600), 0);
            // Held open for reading (and writing, so that opening it neither
            // blocks here nor there); the bytes wait in the pipe.
            fifo = ::open(name.toLocal8Bit().constData(), O_RDWR | O_NONBLOCK);
            QVERIFY(fifo >= 0);
            break;
        case Target::NullDevice:
            // A null device of the test's own: were the writer to replace a
            // device node, it would not be the system's.
            if (::mknod(name.toLocal8Bit().constData(), S_IFCHR | 0666, makedev(1, 3)) != 0)
                QSKIP("cannot make a device node here (needs root)");
            break;
        case Target::Folder: QVERIFY(QDir(dir.path()).mkdir(u"target"_s)); break;
        case Target::InMissingFolder: name = dir.filePath(u"missing/target"_s); break;
        case Target::SourceItself: name = source = old; break;
        case Target::SourceThroughLink:
            source = old;
            QVERIFY(QFile::link(old, name));
            break;
        case Target::SourceThroughHardLink:
            source = old;
            QCOMPARE(::link(old.toLocal8Bit().constData(), name.toLocal8Bit().constData()), 0);
            break;
        }
        const QStringList before = listing(dir.path());

        const FileWriter::Result result = FileWriter::write(name, NewBytes, source);
        QCOMPARE(result.error, error);
        if (!error.isEmpty()) {
            QCOMPARE(readAll(old), OldBytes);
            QCOMPARE(listing(dir.path()), before);
            return;
        }
        switch (target) {
        case Target::Fifo: {
            QByteArray received(NewBytes.size() + 1, '\0');
            const auto n = ::read(fifo, received.data(), std::size_t(received.size()));
            ::close(fifo);
            QCOMPARE(received.left(n < 0 ? 0 : n), NewBytes);
            QVERIFY(QFileInfo(name).exists() && !QFileInfo(name).isFile());
            break;
        }
        case Target::NullDevice: QVERIFY(!QFileInfo(name).isFile()); break;
        case Target::LinkToOldFile:
            QVERIFY(QFileInfo(name).isSymLink());
            QCOMPARE(readAll(old), NewBytes);
            break;
        default: QCOMPARE(readAll(name), NewBytes); break;
        }
    }

    // Only the administrator gets to replace a file its owner may not write
    // (anybody else is refused); it stays read-only.
    void aReadOnlyFileStaysReadOnly()
    {
        if (::geteuid() != 0)
            QSKIP("only the administrator may replace a read-only file");
        const QString name = path(u"readonly.OTS"_s);
        QVERIFY(writeBytes(name, OldBytes));
        QCOMPARE(::chmod(name.toLocal8Bit().constData(), 0444), 0);
        QVERIFY(FileWriter::write(name, NewBytes).ok());
        struct stat st {
        };
        QCOMPARE(::stat(name.toLocal8Bit().constData(), &st), 0);
        QCOMPARE(st.st_mode & 07777, mode_t(0444));
        QCOMPARE(readAll(name), NewBytes);
    }

    // Failures that need conditions of their own: each runs in a child,
    // which replaces old.OTS and reports what is left.
    void failuresLeaveTheOldFile_data()
    {
        QTest::addColumn<int>("condition");
        QTest::addColumn<QString>("target"); // in the test's folder
        QTest::addColumn<QString>("error");

        QTest::newRow("read-only folder") << 0 << u"locked/old.OTS"_s << u"Permission denied"_s;
        QTest::newRow("file the user may not write") << 0 << u"open/theirs.OTS"_s << u"Permission denied"_s;
        QTest::newRow("file size limit") << 1 << u"open/old.OTS"_s << u"File too large"_s;
        QTest::newRow("full disk") << 2 << u"disk/old.OTS"_s << u"No space left on device"_s;
    }

    void failuresLeaveTheOldFile()
    {
        QFETCH(int, condition);
        QFETCH(QString, target);
        QFETCH(QString, error);

        // Folders the unprivileged user can see into: "locked" it may not
        // write, "open" it may; "theirs.OTS" is root's.
        QTemporaryDir dir;
        QVERIFY(QFile::setPermissions(dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                      | QFileDevice::ExeOwner | QFileDevice::ReadOther
                                                      | QFileDevice::ExeOther));
        for (const char *folder : {"locked", "open", "disk"})
            QVERIFY(QDir(dir.path()).mkdir(QString::fromLatin1(folder)));
        for (const char *file : {"locked/old.OTS", "open/old.OTS", "open/theirs.OTS"})
            QVERIFY(writeBytes(dir.filePath(QString::fromLatin1(file)), OldBytes));
        for (const auto &[name, mode] :
             {std::pair{"locked", 0555}, {"open", 0777}, {"open/old.OTS", 0666}, {"locked/old.OTS", 0666}})
            ::chmod(dir.filePath(QString::fromLatin1(name)).toLocal8Bit().constData(), mode_t(mode));

        testsupport::ChildConditions conditions;
        conditions.asNobody = condition == 0;
        conditions.fileSizeLimit = condition == 1 ? 1000 : 0;
        if (condition == 2)
            conditions.smallDiskAt = dir.filePath(u"disk"_s);
        const QString file = dir.filePath(target);
        const QString folder = QFileInfo(file).absolutePath();

        const testsupport::ChildResult child = testsupport::runInChild(conditions, [&] {
            if (condition == 2) {
                // The old file on the fresh disk, then the disk filled up.
                writeBytes(file, OldBytes);
                QFile filler(folder + u"/filler"_s);
                if (filler.open(QIODevice::WriteOnly)) {
                    while (filler.write(QByteArray(1024, 'f')) > 0 && filler.flush()) {
                    }
                }
            }
            // What must not change is reported as part of the error.
            const QStringList before = listing(folder);
            QString why = FileWriter::write(file, NewBytes).error;
            if (readAll(file) != OldBytes)
                why += u" (and the old file changed)"_s;
            if (listing(folder) != before)
                why += u" (and the folder changed)"_s;
            return why.toUtf8();
        });
        if (child.unavailable)
            QSKIP("this condition cannot be made here (needs root)");
        QVERIFY(child.returned);
        QCOMPARE(QString::fromUtf8(*child.returned), error);
    }

    void appendingAddsAndNeverReplaces()
    {
        QTemporaryDir dir;
        const QString log = dir.filePath(u"runs.jsonl"_s);
        QVERIFY(FileWriter::append(log, "one\n").ok());
        QVERIFY(FileWriter::append(log, "two\n").ok());
        QCOMPARE(readAll(log), QByteArray("one\ntwo\n"));
        // Nor onto the file being read.
        QCOMPARE(FileWriter::append(log, "three\n", log).error,
                 u"is the file being read; nothing was written"_s);
        QCOMPARE(FileWriter::append(dir.path(), "x").error, u"Is a directory"_s);
        QCOMPARE(readAll(log), QByteArray("one\ntwo\n"));
    }
};

QTEST_GUILESS_MAIN(TestFileWriter)
#include "tst_filewriter.moc"
