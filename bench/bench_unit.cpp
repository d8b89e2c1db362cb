// A simulated unit that answers at once, on a pseudo-terminal of its own,
// for the benchmarks that want the unit outside the host's process.
//
// Prints "pty PATH" once the terminal is ready and "image HEX" for every
// complete download; ends when its standard input closes (its parent is
// done or gone).

#include "PtyHosts.h"
#include "PtyUnit.h"
#include "UnitSimulator.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);

    PtyUnit unit(bench::instantUnit());
    QString error;
    if (!unit.start(&error)) {
        std::fprintf(stderr, "bench_unit: %s\n", qPrintable(error));
        return 1;
    }
    QObject::connect(&unit, &PtyUnit::imageReceived, &app, [](const QByteArray &image) {
        std::printf("image %s\n", image.toHex().constData());
        std::fflush(stdout);
    });

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&input] {
        char buffer[64];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
            input.setEnabled(false);
            QCoreApplication::quit();
        }
    });

    std::printf("pty %s\n", qPrintable(unit.slavePath()));
    std::fflush(stdout);
    return app.exec();
}
