#include "mainwindow/Product.h"
#include "mainwindow/SerialTavo.h"
#include "mainwindow/ToolbarIcons.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Serial Tavo Editor"));
    QApplication::setApplicationVersion(tavo::versionText());
    QApplication::setWindowIcon(tavo::applicationIcon());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Configuration editor for the Serial Tavo output unit."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("Configuration (.OTS) to open."),
                                 QStringLiteral("[file]"));
    parser.process(app);

    SerialTavo window;
    window.Start(parser.positionalArguments());
    window.show();
    return app.exec();
}
