#include "ProgrammingBatch.h"

#include "Logging.h"
#include "ScriptedPrompter.h"
#include "SerialLink.h"
#include "Waiter.h"

#include <QElapsedTimer>
#include <QThread>

#include <chrono>

using namespace std::chrono_literals;

namespace {

// How far an interrupted run got, so that the operator knows whether the
// unit still works.
QString interruption(const QString &port, int acknowledged)
{
    const int blocks = VellProtocol::ImageSize / 8;
    if (acknowledged == 0)
        return QStringLiteral(
                   "interrupted before the unit on %1 had taken any of the configuration; %1 closed")
            .arg(port);
    if (acknowledged < blocks)
        return QStringLiteral("interrupted after the unit on %1 had taken %2 of %3 blocks; it will not work "
                              "correctly until it is programmed again; %1 closed")
            .arg(port)
            .arg(acknowledged)
            .arg(blocks);
    return QStringLiteral(
               "interrupted after the download, before the unit on %1 confirmed its restart; %1 closed")
        .arg(port);
}

// The last message box with only an OK button, as "TITLE: MESSAGE".
QString lastMessage(const ScriptedPrompter &prompter)
{
    const QList<ScriptedPrompter::Shown> &shown = prompter.shown();
    const auto last = std::find_if(shown.crbegin(), shown.crend(), [](const ScriptedPrompter::Shown &s) {
        return s.buttons == Prompter::Buttons::Ok;
    });
    return last == shown.crend() ? QString() : last->title + QStringLiteral(": ") + last->text;
}

bool allSent(const ScriptedPrompter &prompter)
{
    const QList<ScriptedPrompter::Shown> &shown = prompter.shown();
    return std::any_of(shown.begin(), shown.end(),
                       [](const auto &s) { return s.title == QLatin1String("All sent ok"); });
}

// One port's worker, living in a thread of its own.
class BatchWorker : public QObject
{
    Q_OBJECT

public:
    BatchWorker(int index, QString port, const VellTypes &types, const VellProtocol::ConfigImage &image,
                BatchLineFactory factory, bool repeat)
        : m_index(index)
        , m_port(std::move(port))
        , m_types(types)
        , m_image(image)
        , m_factory(std::move(factory))
        , m_repeat(repeat)
    {}

    void run();
    // The user gave up: abort() came, or the waiter was told directly.
    bool aborted() const { return m_aborted || (m_line && m_line->waiter().AbortRequested()); }
    void abort()
    {
        m_aborted = true;
        if (m_line)
            m_line->waiter().requestAbort();
    }

signals:
    void unitFound(int port, const QString &unit);
    void progressed(int port, int permille);
    void waiting(int port, const QString &what);
    void runFinished(int port, const UnitRun &run);
    void ended();

private:
    UnitRun programOnce(VellProtocol &protocol, ScriptedPrompter &prompter);
    bool awaitNextUnit(VellProtocol &protocol);
    // Asks the open port until the search's answer is (or is not) there.
    bool pollUntil(VellProtocol &protocol, bool answering, const QString &what);
    bool awaitPort(VellProtocol &protocol);

    int m_index;
    QString m_port;
    const VellTypes &m_types;
    VellProtocol::ConfigImage m_image;
    BatchLineFactory m_factory;
    bool m_repeat;
    bool m_aborted = false;
    // The port has been open in this worker.
    bool m_portWorked = false;
    std::shared_ptr<BatchLine> m_line;
};

void BatchWorker::run()
{
    m_line = m_factory(m_port);
    if (m_aborted)
        m_line->waiter().requestAbort();
    ScriptedPrompter prompter; // answers "Program another tavo" with No
    VellProtocol protocol(m_line->link(), m_line->waiter(), prompter, m_types);
    protocol.setConfigImage(m_image);
    protocol.setRequireSerialTavo(true);
    do {
        const UnitRun run = programOnce(protocol, prompter);
        emit runFinished(m_index, run);
    } while (m_repeat && !aborted() && awaitNextUnit(protocol));
    if (m_line->link().PortOpen())
        m_line->link().SetPortOpen(false);
    m_line.reset();
    emit ended();
}

UnitRun BatchWorker::programOnce(VellProtocol &protocol, ScriptedPrompter &prompter)
{
    prompter.clear();
    bool announced = false;
    protocol.onProgress = [&](const QString &, int value) {
        // The first block's progress comes after the search has found the
        // unit: name it then.
        if (!announced && protocol.lastFound() != 0) {
            announced = true;
            emit unitFound(m_index, protocol.unitText(protocol.lastFound()));
        }
        // The "0%" before the search is no progress of a download yet.
        if (announced)
            emit progressed(m_index, value);
    };
    const QDateTime started = QDateTime::currentDateTimeUtc();
    QElapsedTimer clock;
    clock.start();
    VellProtocol::ProgramResult result = VellProtocol::ProgramResult::NotResponding;
    protocol.chooseSlot(0);
    try {
        result = protocol.programChosenSlot();
    } catch (const std::exception &e) {
        qCWarning(lcSerial) << "programming" << m_port << "abandoned:" << e.what();
    }
    m_portWorked = m_portWorked || result != VellProtocol::ProgramResult::PortNotOpen;
    UnitRun run =
        UnitRun::describe(m_port, result, protocol, prompter, m_line->link().lastError(), aborted());
    run.started = started;
    run.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    return run;
}

bool BatchWorker::awaitNextUnit(VellProtocol &protocol)
{
    if (!m_portWorked)
        return false;
    protocol.set_active_port();
    const bool next = pollUntil(protocol, false, QStringLiteral("waiting for the unit to go away"))
                      && pollUntil(protocol, true, QStringLiteral("waiting for the next unit"));
    if (m_line->link().PortOpen())
        m_line->link().SetPortOpen(false);
    return next && !aborted();
}

bool BatchWorker::pollUntil(VellProtocol &protocol, bool answering, const QString &what)
{
    emit waiting(m_index, what);
    for (;;) {
        if (aborted())
            return false;
        if (!m_line->link().PortOpen()) {
            // A port that never opened (a wrong name, no permission) does
            // not heal by waiting; one that worked and went was pulled out.
            // A unit that answers once it is back may be the one that was
            // programmed, still on its cable: it has to go away as before.
            if (!m_portWorked || !awaitPort(protocol))
                return false;
            emit waiting(m_index, what);
            continue;
        }
        m_portWorked = true;
        const bool answered = protocol.Find_vell(false) != 0;
        // A search cut short by the user found nothing, which says nothing.
        if (aborted())
            return false;
        if (answered == answering)
            return true;
        // A unit being plugged in needs a moment before it answers reliably.
        if (!m_line->waiter().wait(500ms))
            return false;
    }
}

// The adapter was pulled, or the port went away with the unit: a station
// goes on once it is back, as it does for the next unit.
bool BatchWorker::awaitPort(VellProtocol &protocol)
{
    qCInfo(lcSerial) << m_port << "is gone:" << m_line->link().lastError();
    emit waiting(m_index, QStringLiteral("the port is gone; waiting for it to come back"));
    while (!aborted()) {
        if (!m_line->waiter().wait(500ms))
            return false;
        protocol.set_active_port();
        if (m_line->link().PortOpen())
            return true;
    }
    return false;
}

} // namespace

UnitRun UnitRun::describe(const QString &port, VellProtocol::ProgramResult result,
                          const VellProtocol &protocol, const ScriptedPrompter &prompter,
                          const QString &linkError, bool interrupted)
{
    using Result = VellProtocol::ProgramResult;
    UnitRun run;
    run.port = port;
    run.result = result;
    run.interrupted = interrupted;
    if (protocol.lastFound() != 0)
        run.unit = protocol.unitText(protocol.lastFound());
    if (interrupted) {
        run.unitFailed = protocol.blocksAcknowledged() > 0;
        run.message = interruption(port, protocol.blocksAcknowledged());
        return run;
    }
    switch (result) {
    case Result::Finished:
    case Result::ProgramAnother:
        run.programmed = allSent(prompter);
        run.unitFailed = !run.programmed;
        run.message = run.programmed ? QStringLiteral("ok") : lastMessage(prompter);
        break;
    case Result::PortNotOpen: run.message = linkError.isEmpty() ? lastMessage(prompter) : linkError; break;
    case Result::NotResponding: run.message = lastMessage(prompter); break;
    case Result::NotSerialTavo:
        run.message = QStringLiteral("%1: \"%2\" is not a Serial Tavo; nothing was sent").arg(port, run.unit);
        break;
    case Result::RestartFailed:
        run.unitFailed = true;
        run.message = lastMessage(prompter);
        break;
    }
    return run;
}

ProgrammingBatch::ProgrammingBatch(const VellTypes &types, const VellProtocol::ConfigImage &image,
                                   BatchLineFactory factory, QObject *parent)
    : QObject(parent)
    , m_types(types)
    , m_image(image)
    , m_factory(std::move(factory))
{
    qRegisterMetaType<UnitRun>();
}

ProgrammingBatch::~ProgrammingBatch()
{
    abort();
    // A worker's thread ends when its run does; only then may its objects
    // go, from here.
    for (std::size_t i = 0; i < m_threads.size(); ++i) {
        m_threads[i]->wait();
        delete m_threads[i];
        delete m_workers[i];
    }
}

void ProgrammingBatch::start(const QStringList &ports)
{
    for (int i = 0; i < ports.size(); ++i) {
        auto *worker = new BatchWorker(i, ports.at(i), m_types, m_image, m_factory, m_repeat);
        // The thread runs the worker and ends with it. Its event dispatcher
        // serves the waits' nested event loops, which also deliver abort().
        QThread *thread = QThread::create([worker] { worker->run(); });
        worker->moveToThread(thread);
        connect(worker, &BatchWorker::unitFound, this, &ProgrammingBatch::unitFound);
        connect(worker, &BatchWorker::progressed, this, &ProgrammingBatch::progressed);
        connect(worker, &BatchWorker::waiting, this, &ProgrammingBatch::waiting);
        connect(worker, &BatchWorker::runFinished, this, &ProgrammingBatch::runFinished);
        connect(worker, &BatchWorker::ended, this, &ProgrammingBatch::workerEnded);
        m_threads.push_back(thread);
        m_workers.push_back(worker);
        ++m_running;
        thread->start();
    }
}

void ProgrammingBatch::abort()
{
    // Into each worker's own thread: its waiter belongs there.
    for (std::size_t i = 0; i < m_workers.size(); ++i) {
        if (m_threads[i]->isRunning())
            QMetaObject::invokeMethod(static_cast<BatchWorker *>(m_workers[i]), &BatchWorker::abort,
                                      Qt::QueuedConnection);
    }
}

void ProgrammingBatch::workerEnded()
{
    if (--m_running == 0)
        emit finished();
}

#include "ProgrammingBatch.moc"
