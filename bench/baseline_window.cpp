// Baseline for the editor's start-up: a Qt widgets program that shows an
// empty main window and does nothing else. With --text the window holds one
// short label: the difference is what the first text of any window costs
// (the font system starting up, one font loaded, a few glyphs drawn).

#include <QApplication>
#include <QLabel>
#include <QMainWindow>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QMainWindow window;
    if (QApplication::arguments().contains(QStringLiteral("--text")))
        window.setCentralWidget(new QLabel(QStringLiteral("Output 1")));
    window.show();
    return app.exec();
}
