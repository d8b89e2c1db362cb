// tavo program: one unit as the programming dialog programs it, or, for a
// production line, several at once and one after another, with a record
// of each.

#include "Commands.h"
#include "ConfigData.h"
#include "Console.h"
#include "EventLoopWaiter.h"
#include "PortSlots.h"
#include "ProgramBoard.h"
#include "ProgramReport.h"
#include "ProgrammingBatch.h"
#include "QtSerialLink.h"
#include "SettingsKeyValueStore.h"
#include "SignalWatcher.h"
#include "TracingLink.h"
#include "VellTypes.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <numeric>

namespace cli {

// In UnitCommands.cpp: one run on one port, as the dialog does it.
UnitRun programOnePort(const QString &portName, const ConfigData &config, const QString &file,
                       bool showProgress, bool trace);

namespace {

struct ProgramOptions {
    QCommandLineOption port{QStringLiteral("port"),
                            QStringLiteral("A unit's system port; give it once per unit to program several "
                                           "at the same time."),
                            QStringLiteral("PORT")};
    QCommandLineOption ports{QStringLiteral("ports"), QStringLiteral("Several ports, comma separated."),
                             QStringLiteral("A,B,C")};
    QCommandLineOption log{
        QStringLiteral("log"),
        QStringLiteral("Append a record of each unit and attempt to FILE, one JSON object a "
                       "line (time, host, port, adapter, unit, config, image_sha256, result, "
                       "seconds). The file is never rewritten."),
        QStringLiteral("FILE")};
    QCommandLineOption json{
        QStringLiteral("json"),
        QStringLiteral("Print the records as a JSON array on the standard output instead of "
                       "the summary; no progress.")};
    QCommandLineOption repeat{
        QStringLiteral("repeat"),
        QStringLiteral("After each unit, wait on its port for it to go away and the next "
                       "one to answer, and program that one too, until Ctrl+C, which ends "
                       "with the summary of the whole batch.")};
};

// What a worker thread talks to: the real port and waits in its own event
// loop. With a trace, each line goes to the main thread, which prints it
// with the port in front: the console is the main thread's.
struct SerialBatchLine : BatchLine {
    QtSerialLink serial;
    TracingLink tracer;
    EventLoopWaiter events;
    bool traced;

    SerialBatchLine(const QString &port, bool trace)
        : serial(PortSlots(QStringList{port}))
        , tracer(serial,
                 [port](const QString &line) {
                     QMetaObject::invokeMethod(
                         QCoreApplication::instance(),
                         [text = port + QStringLiteral(": ") + line] { traceLine(text); },
                         Qt::QueuedConnection);
                 })
        , traced(trace)
    {
        events.watch(&serial, &QtSerialLink::inputArrived);
    }
    SerialLink &link() override { return traced ? static_cast<SerialLink &>(tracer) : serial; }
    Waiter &waiter() override { return events; }
};

// The ports of --port (each time given) and --ports, in order; a usage
// error when there are none or one is named twice.
std::optional<int> portsOf(CommandParser &cmd, const ProgramOptions &o, QStringList &ports)
{
    ports = cmd->values(o.port);
    for (const QString &port : cmd->value(o.ports).split(QLatin1Char(','), Qt::SkipEmptyParts))
        ports << port.trimmed();
    if (ports.isEmpty())
        return cmd.usageError(QStringLiteral("--port is required"));
    for (const QString &port : std::as_const(ports)) {
        if (port.trimmed().isEmpty())
            return cmd.usageError(QStringLiteral("--port needs the name of a port"));
        if (ports.count(port) > 1)
            return cmd.usageError(QStringLiteral("%1 is given twice").arg(port));
    }
    return std::nullopt;
}

std::vector<UnitRun> programTogether(const QStringList &ports, const ConfigData &config, bool repeat,
                                     bool quiet, bool trace)
{
    VellTypes types;
    if (const auto store = SettingsKeyValueStore::openDefault())
        types.CheckVellTypes(*store);
    ProgrammingBatch batch(types, config.ConfigImage, [trace](const QString &port) {
        return std::make_shared<SerialBatchLine>(port, trace);
    });
    batch.setRepeat(repeat);
    std::vector<UnitRun> runs;
    QObject::connect(&batch, &ProgrammingBatch::runFinished, &batch,
                     [&runs](int, const UnitRun &run) { runs.push_back(run); });
    std::unique_ptr<ProgramBoard> board;
    if (!quiet) {
        // A trace and a board redrawn in place would write over each other.
        board = std::make_unique<ProgramBoard>(ports, !trace && errIsTerminal());
        QObject::connect(&batch, &ProgrammingBatch::unitFound, board.get(), &ProgramBoard::unitFound);
        QObject::connect(&batch, &ProgrammingBatch::progressed, board.get(), &ProgramBoard::progressed);
        QObject::connect(&batch, &ProgrammingBatch::waiting, board.get(), &ProgramBoard::waiting);
        QObject::connect(&batch, &ProgrammingBatch::runFinished, board.get(), &ProgramBoard::runFinished);
    }
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &batch, [&batch] { batch.abort(); });
    QEventLoop loop;
    QObject::connect(&batch, &ProgrammingBatch::finished, &loop, &QEventLoop::quit);
    batch.start(ports);
    loop.exec();
    return runs;
}

// The records: into the log (each as it is added), as JSON or as the
// summary. Returns the exit code.
int report(const std::vector<UnitRun> &runs, const RunContext &context, const QString &log, bool json,
           bool summary, const QStringList &ports)
{
    int code = exitCodeOf(runs);
    // The log in the order the runs ended, as a log goes on.
    std::vector<QJsonObject> records;
    for (const UnitRun &run : runs) {
        records.push_back(runRecord(run, context));
        if (log.isEmpty())
            continue;
        if (const QString why = appendToLog(log, records.back(), context.config); !why.isEmpty()) {
            fail(QStringLiteral("%1: the record of %2 could not be written: %3").arg(log, run.port, why));
            code = code == ExitOk ? int(ExitFailed) : code;
        }
    }
    // What is printed in the order the ports were given; runs of one port
    // as they came.
    std::vector<std::size_t> order(runs.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return ports.indexOf(runs[a].port) < ports.indexOf(runs[b].port);
    });
    if (json) {
        QJsonArray array;
        for (const std::size_t i : order)
            array.append(records[i]);
        out() << QJsonDocument(array).toJson(QJsonDocument::Indented);
    } else if (summary) {
        std::vector<UnitRun> ordered;
        ordered.reserve(order.size());
        for (const std::size_t i : order)
            ordered.push_back(runs[i]);
        out() << summaryTable(ordered);
        err() << tally(runs) << Qt::endl;
    } else if (runs.size() == 1 && runs.front().programmed) {
        out() << "All sent ok" << Qt::endl;
    }
    return code;
}

} // namespace

int runProgram(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("program"), QStringLiteral("[options] FILE.OTS --port PORT [--port PORT...]"),
        QStringLiteral(
            "Downloads a configuration into the unit on PORT, as one run of the programming dialog "
            "does: find the unit, send the image, restart it. Prints \"All sent ok\" on success; on "
            "failure the dialog's message as TITLE: MESSAGE. A unit that answers as anything but a "
            "Serial Tavo gets nothing.\n\nWith several ports, the units are programmed at the same "
            "time, each exactly as one run programs it, with a line of progress per port; a summary "
            "table (port, unit, result, seconds) follows."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    const ProgramOptions o;
    cmd->addOptions({o.port, o.ports, o.log, o.json, o.repeat});
    cmd.addReadingOption();
    cmd.addForceOption();
    cmd.addTraceOption();
    cmd.setExitCodes({ExitOk, ExitFailed, ExitUsage, ExitNoTavo, ExitUnitFailed});
    if (const auto stop = cmd.parse(args, 1))
        return *stop;
    QStringList ports;
    if (const auto stop = portsOf(cmd, o, ports))
        return *stop;

    const QString file = cmd->positionalArguments().at(0);
    ConfigData config;
    if (!loadConfigImage(file, config, cmd.reading()) || !passesCheck(file, config, cmd.forced()))
        return ExitFailed;
    const QString log = cmd->value(o.log);
    if (!log.isEmpty()) {
        if (const QString why = checkLog(log, file); !why.isEmpty())
            return fail(QStringLiteral("%1: %2; nothing was programmed").arg(log, why));
    }

    const RunContext context{file, QByteArray(reinterpret_cast<const char *>(config.ConfigImage.data()),
                                              qsizetype(config.ConfigImage.size()))};
    const bool json = cmd->isSet(o.json);
    const bool together = ports.size() > 1 || cmd->isSet(o.repeat);
    const std::vector<UnitRun> runs =
        together ? programTogether(ports, config, cmd->isSet(o.repeat), json, cmd.traced())
                 : std::vector<UnitRun>{programOnePort(ports.front(), config, file, !json, cmd.traced())};
    return report(runs, context, log, json, together, ports);
}

} // namespace cli
