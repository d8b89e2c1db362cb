// Baseline for the editor's start-up: a Qt widgets program that shows an
// empty main window and does nothing else.

#include <QApplication>
#include <QMainWindow>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QMainWindow window;
    window.show();
    return app.exec();
}
