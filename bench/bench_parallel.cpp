// Several units programmed at once: four units, each in a child process on
// a pseudo-terminal of its own (as real units are, independent of the
// host), against one unit programmed alone. The command line's promise is
// that four at once take at most 1.1 times as long as one: each port has a
// thread, a link and an event loop of its own, and a unit's waits hold up
// nobody else.
//
//   bench_parallel [--runs N]

#include "BenchSupport.h"
#include "EventLoopWaiter.h"
#include "PortSlots.h"
#include "ProgrammingBatch.h"
#include "PtyHosts.h"
#include "QtSerialLink.h"
#include "VellTypes.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <memory>
#include <vector>

using namespace bench;

namespace {

constexpr double RatioTarget = 1.1;
constexpr int Units = 4;

struct SerialLine : BatchLine {
    QtSerialLink serial;
    EventLoopWaiter events;
    explicit SerialLine(const QString &port)
        : serial(PortSlots(QStringList{port}))
    {
        events.watch(&serial, &QtSerialLink::inputArrived);
    }
    SerialLink &link() override { return serial; }
    Waiter &waiter() override { return events; }
};

VellProtocol::ConfigImage benchImage()
{
    VellProtocol::ConfigImage image{};
    for (std::size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<std::uint8_t>(255 - i);
    return image;
}

struct RunResult {
    double totalMs = 0;
    QString failure;
};

// One batch over `hosts`: from the start to the last unit's end.
RunResult batchRun(const std::vector<std::unique_ptr<UnitHost>> &hosts, const VellTypes &types)
{
    QStringList ports;
    std::vector<int> before;
    for (const auto &host : hosts) {
        ports << host->portName();
        before.push_back(host->imagesReceived());
    }
    ProgrammingBatch batch(types, benchImage(),
                           [](const QString &port) { return std::make_shared<SerialLine>(port); });
    RunResult result;
    QObject::connect(&batch, &ProgrammingBatch::runFinished, &batch, [&result](int, const UnitRun &run) {
        if (!run.programmed && result.failure.isEmpty())
            result.failure = run.port + QStringLiteral(": ") + run.message;
    });
    QEventLoop loop;
    QObject::connect(&batch, &ProgrammingBatch::finished, &loop, &QEventLoop::quit);
    const qint64 start = monotonicNs();
    batch.start(ports);
    loop.exec();
    result.totalMs = static_cast<double>(monotonicNs() - start) / 1e6;
    for (std::size_t i = 0; i < hosts.size() && result.failure.isEmpty(); ++i) {
        if (!hosts[i]->waitForImages(before[i] + 1))
            result.failure = hosts[i]->portName() + QStringLiteral(": the unit did not receive the image");
    }
    return result;
}

std::vector<RunResult> series(const std::vector<std::unique_ptr<UnitHost>> &hosts, const VellTypes &types,
                              int runs)
{
    std::vector<RunResult> results;
    for (int run = 0; run < runs; ++run) {
        results.push_back(batchRun(hosts, types));
        if (!results.back().failure.isEmpty())
            break;
    }
    return results;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int runs = runsOption(QCoreApplication::arguments(), 5);
    ResultTable table(QStringLiteral("Several units at once: a whole programming run (search, 32 blocks, "
                                     "restart) per unit, units in child processes, median of %1")
                          .arg(runs),
                      QStringLiteral("one unit"));
    const VellTypes types;
    std::vector<std::unique_ptr<UnitHost>> hosts;
    for (int i = 0; i < Units; ++i) {
        auto host = std::make_unique<ChildUnit>(QCoreApplication::applicationDirPath()
                                                + QStringLiteral("/bench_unit"));
        QString error;
        if (!host->start(&error)) {
            table.addFailure(QStringLiteral("units"), error);
            return printAndExitCode({table});
        }
        hosts.push_back(std::move(host));
    }
    std::vector<std::unique_ptr<UnitHost>> first;
    first.push_back(std::move(hosts.front()));
    const std::vector<RunResult> alone = series(first, types, runs);
    hosts.front() = std::move(first.front());
    const std::vector<RunResult> together = series(hosts, types, runs);

    if (const QString why = firstFailure(alone); !why.isEmpty()) {
        table.addFailure(QStringLiteral("one unit"), why);
    } else if (const QString why4 = firstFailure(together); !why4.isEmpty()) {
        table.addFailure(QStringLiteral("four units at once"), why4);
    } else {
        const double oneMs = medianRun(alone).totalMs;
        table.addRatio(QStringLiteral("one unit, in a batch of one"), oneMs, oneMs, 0);
        table.addRatio(QStringLiteral("four units at once"), medianRun(together).totalMs, oneMs, RatioTarget);
    }
    return printAndExitCode({table});
}
