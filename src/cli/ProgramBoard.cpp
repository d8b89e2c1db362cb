#include "ProgramBoard.h"

#include "Console.h"
#include "ProgramReport.h"

namespace cli {

namespace {

constexpr int BarWidth = 20;

QString bar(int permille)
{
    const int filled = permille * BarWidth / 1000;
    return QLatin1Char('[') + QString(filled, QLatin1Char('#')) + QString(BarWidth - filled, QLatin1Char('-'))
           + QLatin1Char(']');
}

QString percent(int permille)
{
    return QStringLiteral("%1%").arg(permille / 10.0, 0, 'f', 1);
}

} // namespace

ProgramBoard::ProgramBoard(const QStringList &ports, bool inPlace, QObject *parent)
    : QObject(parent)
    , m_terminal(inPlace)
{
    for (const QString &port : ports) {
        m_rows.push_back({port, {}, -1, QStringLiteral("searching")});
        m_portWidth = std::max(m_portWidth, port.size());
    }
    if (m_terminal)
        redraw();
}

QString ProgramBoard::line(const Row &row) const
{
    const QString unit = (row.unit.isEmpty() ? QStringLiteral("-") : row.unit).leftJustified(18);
    const QString status =
        row.permille >= 0 ? bar(row.permille) + QLatin1Char(' ') + percent(row.permille) : row.state;
    return row.port.leftJustified(m_portWidth + 2) + unit + status;
}

void ProgramBoard::redraw()
{
    QTextStream &e = err();
    // Back to the board's first line, then every line anew.
    if (m_drawn)
        e << "\x1b[" << m_rows.size() << 'A';
    for (const Row &row : m_rows)
        e << '\r' << line(row) << "\x1b[K\n";
    e.flush();
    m_drawn = true;
}

void ProgramBoard::say(int port, const QString &text)
{
    if (m_terminal)
        redraw();
    else
        err() << m_rows[std::size_t(port)].port << ": " << text << Qt::endl;
}

void ProgramBoard::unitFound(int port, const QString &unit)
{
    Row &row = m_rows[std::size_t(port)];
    row.unit = unit;
    row.permille = 0;
    say(port, unit + QStringLiteral(" found, programming"));
}

void ProgramBoard::progressed(int port, int permille)
{
    Row &row = m_rows[std::size_t(port)];
    const int before = row.permille;
    row.permille = permille;
    // A pipe gets a line for every quarter, not for every block.
    if (m_terminal || before / 250 != permille / 250)
        say(port, percent(permille));
}

void ProgramBoard::waiting(int port, const QString &what)
{
    Row &row = m_rows[std::size_t(port)];
    row.permille = -1;
    row.state = what;
    say(port, what);
}

void ProgramBoard::runFinished(int port, const UnitRun &run)
{
    Row &row = m_rows[std::size_t(port)];
    row.permille = -1;
    row.unit = run.unit;
    row.state = QStringLiteral("%1 (%2 s)").arg(resultBesidePort(run)).arg(run.seconds, 0, 'f', 1);
    say(port, row.state);
}

} // namespace cli
