#pragma once

#include "VellProtocol.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class QThread;
class ScriptedPrompter;
class SerialLink;
class VellTypes;
class Waiter;

// What one programming run on one port came to, in the words the command
// line prints and logs.
struct UnitRun {
    QString port;
    // What answered the search ("Serial Tavo 1.3"); empty when nothing did.
    QString unit;
    VellProtocol::ProgramResult result = VellProtocol::ProgramResult::NotResponding;
    bool programmed = false; // "All sent ok": the unit holds the image
    bool unitFailed = false; // the unit failed during the download or the restart
    bool interrupted = false;
    // "ok", or why not as the command line prints it ("Error!  5: Reply to
    // download failed", "/dev/ttyUSB0 is in use by another program").
    QString message;
    QDateTime started; // UTC
    double seconds = 0;

    // How a programming run ended, from what the protocol returned and
    // showed: shared by the one-port command and the batch.
    static UnitRun describe(const QString &port, VellProtocol::ProgramResult result,
                            const VellProtocol &protocol, const ScriptedPrompter &prompter,
                            const QString &linkError, bool interrupted);
};

Q_DECLARE_METATYPE(UnitRun)

// The line of one port as its worker uses it: the link and its waits. The
// command line makes QtSerialLink and EventLoopWaiter; tests make a
// simulated unit on a virtual clock of its own.
class BatchLine
{
public:
    virtual ~BatchLine() = default;
    virtual SerialLink &link() = 0;
    virtual Waiter &waiter() = 0;
};
// Called in the worker's thread, so that the line's objects live there.
using BatchLineFactory = std::function<std::shared_ptr<BatchLine>(const QString &port)>;

// Programs the units on several ports at the same time, for a production
// line with an adapter per unit. Each port gets a thread of its own with
// its own link, event loop and protocol, so that each wire carries exactly
// what one programming run carries (the same bytes, settings and waits)
// and a slow or silent unit holds up nobody else.
//
// With repeat, a worker that has programmed its unit (or failed to) waits
// for that unit to go away and the next one to answer, and programs that
// one: the command line's "Program another tavo", without a keyboard.
//
// The signals arrive in the thread that owns the batch, port being the
// index in the list given to start().
class ProgrammingBatch : public QObject
{
    Q_OBJECT

public:
    ProgrammingBatch(const VellTypes &types, const VellProtocol::ConfigImage &image, BatchLineFactory factory,
                     QObject *parent = nullptr);
    // Stops what still runs and waits for the threads.
    ~ProgrammingBatch() override;

    void setRepeat(bool repeat) { m_repeat = repeat; }
    void start(const QStringList &ports);
    // Every worker stops at its next wait; its run ends as interrupted.
    void abort();
    bool isRunning() const { return m_running > 0; }

signals:
    void unitFound(int port, const QString &unit);
    void progressed(int port, int permille);
    // Between units when repeating: "waiting for the unit to go away", ...
    void waiting(int port, const QString &what);
    void runFinished(int port, const UnitRun &run);
    // Every worker has ended.
    void finished();

private:
    void workerEnded();

    const VellTypes &m_types;
    VellProtocol::ConfigImage m_image;
    BatchLineFactory m_factory;
    bool m_repeat = false;
    int m_running = 0;
    std::vector<QThread *> m_threads;
    std::vector<QObject *> m_workers;
};
