// The real serial stack (QSerialPort, waits in the event loop) against a
// simulated unit on a pseudo-terminal, in real time: a unit unplugged in
// the middle of a download, and a long run of downloads that must not
// leak descriptors or memory. Every wait here ends on an event from the
// port or on the protocol's own timers; nothing sleeps.
#include "VellProtocol.h"
#include "VellTypes.h"
#include "EventLoopWaiter.h"
#include "Prompter.h"
#include "QtSerialLink.h"
#include "PtyUnit.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <functional>
#include <memory>

namespace {

using Answer = Prompter::Answer;

// Records what was shown and lets the test decide each answer.
class HookedPrompter : public Prompter
{
public:
    std::function<Answer(const QString &text, const QString &title)> answer;
    QStringList shown;

    Answer Show(const QString &text, const QString &title, Icon, Buttons, Answer defaultAnswer) override
    {
        shown << title + QStringLiteral(" | ") + text;
        return answer ? answer(text, title) : defaultAnswer;
    }
};

// Passes everything on to the real link and notes, for every write after
// the unit vanished, whether it still went out.
class WatchedLink : public SerialLink
{
public:
    explicit WatchedLink(SerialLink &link)
        : m_link(link)
    {}

    bool unitGone = false;
    int writesAfterVanishing = 0;
    int writesRefusedAfterVanishing = 0;

    void SetCommPort(int port) override { m_link.SetCommPort(port); }
    int CommPort() const override { return m_link.CommPort(); }
    void SetPortOpen(bool open) override { m_link.SetPortOpen(open); }
    bool PortOpen() const override { return m_link.PortOpen(); }
    void SetSettings(const QString &settings) override { m_link.SetSettings(settings); }
    QString Settings() const override { return m_link.Settings(); }
    QByteArray Input() override { return m_link.Input(); }
    int InBufferCount() override { return m_link.InBufferCount(); }
    QString PortName(int port) const override { return m_link.PortName(port); }

    void Output(const QByteArray &bytes) override
    {
        try {
            m_link.Output(bytes);
        } catch (const SerialLinkError &) {
            writesRefusedAfterVanishing += unitGone;
            throw;
        }
        writesAfterVanishing += unitGone;
    }

private:
    SerialLink &m_link;
};

// The program's serial stack on the terminal of `unit`.
struct Stack {
    QtSerialLink link;
    EventLoopWaiter waiter;
    HookedPrompter prompter;
    VellTypes types;
    std::unique_ptr<WatchedLink> watched;
    std::unique_ptr<VellProtocol> protocol;
    QStringList progress;

    explicit Stack(const PtyUnit &unit)
        : link(PortSlots(QStringList{unit.slavePath(), QString(), QString(), QString()}))
    {
        waiter.watch(&link, &QtSerialLink::InputArrived);
        watched = std::make_unique<WatchedLink>(link);
        protocol = std::make_unique<VellProtocol>(*watched, waiter, prompter, types);
        protocol->Progress = [this](const QString &label, int) { progress << label; };
    }

    void useUnit(const PtyUnit &unit)
    {
        link.setPortSlots(PortSlots(QStringList{unit.slavePath(), QString(), QString(), QString()}));
    }
};

VellProtocol::ConfigImage imageFor(int run)
{
    VellProtocol::ConfigImage image{};
    for (int i = 0; i < VellProtocol::ImageSize; ++i)
        image[std::size_t(i)] = std::uint8_t((run * 31 + i * 7) & 0xFF);
    // The unit's own line stays 9600, no parity, so that none of the
    // programming traffic can be taken for one of its codes.
    image[9] = 2;
    image[10] = 0;
    return image;
}

QByteArray bytesOf(const VellProtocol::ConfigImage &image)
{
    return QByteArray(reinterpret_cast<const char *>(image.data()), VellProtocol::ImageSize);
}

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

class TestPtyFaults : public QObject
{
    Q_OBJECT

private slots:
    void unitUnpluggedMidDownload()
    {
        constexpr int lastBlock = 9; // the last block the unit acknowledges
        UnitConfig config;
        config.vanishAfterBlock = lastBlock;
        PtyUnit unit(config);
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(QStringLiteral("no pseudo-terminal: ") + error));
        Stack stack(unit);
        connect(&unit, &PtyUnit::Vanished, this, [&] { stack.watched->unitGone = true; });
        stack.protocol->SetConfigImage(imageFor(1));

        stack.link.SetCommPort(1);
        stack.link.SetPortOpen(true);
        QVERIFY(stack.link.PortOpen());
        QCOMPARE(stack.protocol->program_unit(), VellProtocol::ProgramResult::Finished);

        QVERIFY(stack.watched->unitGone);
        // The block after the last acknowledged one fails, with the download's
        // own message and nothing after it.
        QCOMPARE(stack.prompter.shown,
                 QStringList{QStringLiteral("Error!  %1 | No reply to download").arg(lastBlock + 1)});
        QVERIFY(!stack.progress.contains(QStringLiteral("100%")));
        QCOMPARE(stack.progress.last(), VellProtocol::ProgressText(lastBlock, 32));
        // The link closed the port when it failed, and refused every write
        // from then on: nothing went to whatever might take the port's name.
        QVERIFY(!stack.link.PortOpen());
        QVERIFY(stack.watched->writesRefusedAfterVanishing > 0);
        QCOMPARE(stack.watched->writesAfterVanishing, 0);
        QCOMPARE(unit.unit().imagesReceived(), 0);

        // Plugged in again (a new unit on a new terminal), it is found and
        // programmed as usual.
        PtyUnit again;
        QVERIFY(again.start());
        stack.useUnit(again);
        stack.prompter.shown.clear();
        stack.protocol->search_for_vell();
        const SearchSlot &slot = stack.protocol->Slots()[0];
        QCOMPARE(slot.text, QStringLiteral("Serial Tavo 1.0"));
        QVERIFY(slot.optionEnabled);
        stack.protocol->ChooseSlot(0);
        stack.protocol->SetConfigImage(imageFor(2));
        QCOMPARE(stack.protocol->ProgramChosenSlot(), VellProtocol::ProgramResult::Finished);
        QCOMPARE(stack.prompter.shown, QStringList{QStringLiteral("All sent ok | Program another tavo")});
        QCOMPARE(bytesOf(again.unit().image()), bytesOf(imageFor(2)));
        QVERIFY(!stack.link.PortOpen());
    }

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
        QString error;
        if (!unit.start(&error))
            QSKIP(qPrintable(QStringLiteral("no pseudo-terminal: ") + error));
        Stack stack(unit);
        VellProtocol &protocol = *stack.protocol;

        stack.prompter.answer = [](const QString &, const QString &) { return Answer::No; };
        protocol.SetConfigImage(imageFor(1));
        protocol.search_for_vell();
        protocol.ChooseSlot(0);
        QCOMPARE(protocol.ProgramChosenSlot(), VellProtocol::ProgramResult::Finished);
        QCOMPARE(bytesOf(unit.unit().image()), bytesOf(imageFor(1)));
        const int descriptors = openDescriptors();
        const qint64 resident = residentKb();

        QList<int> failedRuns;
        for (int run = 2; run <= Runs; ++run) {
            protocol.SetConfigImage(imageFor(run));
            stack.link.SetPortOpen(true);
            const bool ok = stack.link.PortOpen() && protocol.Configure_Vell(VellProtocol::ImageSize)
                            && protocol.restart_unit();
            stack.link.SetPortOpen(false);
            if (!ok || bytesOf(unit.unit().image()) != bytesOf(imageFor(run)))
                failedRuns << run;
        }

        QCOMPARE(failedRuns, QList<int>());
        QCOMPARE(unit.unit().imagesReceived(), Runs);
        QCOMPARE(stack.prompter.shown, QStringList{QStringLiteral("All sent ok | Program another tavo")});
        QCOMPARE(openDescriptors(), descriptors);
        // The address sanitizer holds freed memory back on purpose, so the
        // resident size only means something without it.
        if (!AddressSanitizer) {
            const qint64 grown = residentKb() - resident;
            QVERIFY2(grown < 1024, qPrintable(QStringLiteral("resident memory grew by %1 kB").arg(grown)));
        }
    }
};

QTEST_GUILESS_MAIN(TestPtyFaults)
#include "tst_ptyfaults.moc"
