// A long run of downloads over the real serial stack into a simulated unit
// on a pseudo-terminal, in real time, that must not leak descriptors or
// memory. About half a minute: a test of its own, labelled soak, so that
// a quick run can leave it out.
#include "support/PtyStack.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace ptytest;

namespace {

int openDescriptors()
{
    return int(QDir(QStringLiteral("/proc/self/fd"))
                   .entryList(QDir::NoDotAndDotDot | QDir::System | QDir::Files)
                   .size());
}

qint64 residentKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

#if defined(__SANITIZE_ADDRESS__)
constexpr bool AddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool AddressSanitizer = true;
#else
constexpr bool AddressSanitizer = false;
#endif
#else
constexpr bool AddressSanitizer = false;
#endif

} // namespace

class TestPtySoak : public QObject
{
    Q_OBJECT

private slots:
    // Fifty downloads in a row into the unit, each on a freshly opened port
    // and each image checked in the unit. Afterwards the process holds no
    // more descriptors than after the first one and hardly more memory.
    //
    // The first run goes the whole way of the "Program Tavo" button; the
    // others open the port, download, restart the unit and close the port,
    // leaving out the search that takes the button a fixed 0.4 s of
    // protocol waits per run (fifty whole runs take about 50 s).
    void fiftyDownloadsInARow()
    {
        constexpr int Runs = 50;
        UnitConfig config;
        config.ackDelayMs = 0;
        PtyUnit unit(config);
        PTY_START_OR_SKIP(unit);
        Stack stack(unit);
        VellProtocol &protocol = stack.protocol;

        protocol.setConfigImage(imageFor(1));
        protocol.search_for_vell();
        protocol.chooseSlot(0);
        QCOMPARE(protocol.programChosenSlot(), VellProtocol::ProgramResult::Finished);
        QCOMPARE(bytesOf(unit.unit().image()), bytesOf(imageFor(1)));
        const int descriptors = openDescriptors();
        const qint64 resident = residentKb();

        QList<int> failedRuns;
        for (int run = 2; run <= Runs; ++run) {
            protocol.setConfigImage(imageFor(run));
            stack.link.SetPortOpen(true);
            const bool ok = stack.link.PortOpen() && protocol.Configure_Vell(VellProtocol::ImageSize)
                            && protocol.restart_unit();
            stack.link.SetPortOpen(false);
            if (!ok || bytesOf(unit.unit().image()) != bytesOf(imageFor(run)))
                failedRuns << run;
        }

        QCOMPARE(failedRuns, QList<int>());
        QCOMPARE(unit.unit().imagesReceived(), Runs);
        QCOMPARE(stack.messages(), QStringList{QStringLiteral("All sent ok | Program another tavo")});
        QCOMPARE(openDescriptors(), descriptors);
        // The address sanitizer holds freed memory back on purpose, so the
        // resident size only means something without it.
        if (!AddressSanitizer) {
            const qint64 grown = residentKb() - resident;
            QVERIFY2(grown < 1024, qPrintable(QStringLiteral("resident memory grew by %1 kB").arg(grown)));
        }
    }
};

QTEST_GUILESS_MAIN(TestPtySoak)
#include "tst_ptysoak.moc"
