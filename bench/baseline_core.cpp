// Baseline for the command-line tool: a Qt program without a GUI that
// starts its event loop and ends at once.

#include <QCoreApplication>
#include <QTimer>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTimer::singleShot(0, &app, &QCoreApplication::quit);
    return app.exec();
}
