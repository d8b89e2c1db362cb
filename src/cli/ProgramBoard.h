#pragma once

#include "ProgrammingBatch.h"

#include <QObject>
#include <QStringList>

#include <vector>

// The progress of several units being programmed at once, on stderr. On a
// terminal one line per port, redrawn in place: port, unit, bar, percent
// (or what the port is waiting for, or how its run ended). In a pipe or a
// log, plain lines as things happen: the unit found, every quarter of the
// download, the result.
namespace cli {

class ProgramBoard : public QObject
{
    Q_OBJECT

public:
    // `inPlace`: redraw the lines on a terminal; else plain lines.
    ProgramBoard(const QStringList &ports, bool inPlace, QObject *parent = nullptr);

    void unitFound(int port, const QString &unit);
    void progressed(int port, int permille);
    void waiting(int port, const QString &what);
    void runFinished(int port, const UnitRun &run);

private:
    struct Row {
        QString port;
        QString unit;
        int permille = -1; // -1: no download going on
        QString state = QStringLiteral("searching");
    };

    void redraw();
    void say(int port, const QString &text);
    QString line(const Row &row) const;

    std::vector<Row> m_rows;
    qsizetype m_portWidth = 4;
    bool m_terminal;
    bool m_drawn = false;
};

} // namespace cli
