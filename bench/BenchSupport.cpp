#include "BenchSupport.h"

#include <QFile>
#include <QTextStream>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace bench {

RecordingWaiter::RecordingWaiter(Waiter &inner, std::function<qint64()> nowNs)
    : m_inner(inner)
    , m_nowNs(std::move(nowNs))
{}

bool RecordingWaiter::wait(std::chrono::microseconds duration, const std::function<bool()> &enough)
{
    Record record;
    // The program's timer counts whole milliseconds; only the break of an
    // adapter that cannot run at 110 baud asks for a fraction more.
    record.requestedMs = std::chrono::ceil<std::chrono::milliseconds>(duration);
    record.conditional = static_cast<bool>(enough);
    const qint64 start = m_nowNs();
    bool ok = false;
    if (enough) {
        // Watch the condition through the inner waiter's own checks rather
        // than asking it again afterwards: one more look at the port would
        // itself cost time and could pull in bytes that came too late.
        const std::function<bool()> watched = [&] {
            const bool met = enough();
            record.conditionMet = record.conditionMet || met;
            return met;
        };
        ok = m_inner.wait(duration, watched);
    } else {
        ok = m_inner.wait(duration);
    }
    record.elapsedMs = static_cast<double>(m_nowNs() - start) / 1e6;
    m_records.push_back(record);
    return ok;
}

WaitSummary summarize(const std::vector<RecordingWaiter::Record> &records)
{
    WaitSummary s;
    for (const RecordingWaiter::Record &r : records) {
        const qint64 askedMs = r.requestedMs.count();
        if (!r.conditional || !r.conditionMet)
            s.maxLateMs = std::max(s.maxLateMs, r.elapsedMs - static_cast<double>(askedMs));
        if (!r.conditional) {
            ++s.fixedCount;
            s.fixedAskedMs += askedMs;
            s.fixedSpentMs += r.elapsedMs;
        } else if (!r.conditionMet) {
            ++s.ranOutCount;
            s.ranOutAskedMs += askedMs;
            s.ranOutSpentMs += r.elapsedMs;
        } else {
            ++s.earlyCount;
            s.earlyAskedMs += askedMs;
            s.earlySpentMs += r.elapsedMs;
        }
    }
    return s;
}

template <typename F>
auto TimedLink::timed(Op op, F &&call) const
{
    Tally &t = m_tallies[static_cast<std::size_t>(op)];
    ++t.calls;
    const qint64 start = monotonicNs();
    // The time is noted also when the call throws.
    struct Stop {
        Tally &t;
        qint64 start;
        ~Stop() { t.ns += monotonicNs() - start; }
    } stop{t, start};
    return call();
}

void TimedLink::SetCommPort(int port)
{
    timed(CommPortOp, [&] { m_inner.SetCommPort(port); });
}

void TimedLink::SetPortOpen(bool open)
{
    timed(open ? Open : Close, [&] { m_inner.SetPortOpen(open); });
}

void TimedLink::SetSettings(const QString &settings)
{
    timed(SettingsOp, [&] { m_inner.SetSettings(settings); });
}

void TimedLink::Output(const QByteArray &bytes)
{
    timed(OutputOp, [&] { m_inner.Output(bytes); });
}

QByteArray TimedLink::Input()
{
    return timed(InputOp, [&] { return m_inner.Input(); });
}

int TimedLink::InBufferCount()
{
    return timed(Count, [&] { return m_inner.InBufferCount(); });
}

QString TimedLink::portName(int port) const
{
    return timed(Name, [&] { return m_inner.portName(port); });
}

QString TimedLink::portDescription(int port) const
{
    return timed(Description, [&] { return m_inner.portDescription(port); });
}

QString TimedLink::describe() const
{
    static const char *const names[OpCount] = {"port number", "open",  "close",     "setting",    "write",
                                               "read",        "count", "port name", "description"};
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < m_tallies.size(); ++i) {
        if (m_tallies[i].calls > 0)
            order.push_back(i);
    }
    std::sort(order.begin(), order.end(),
              [this](std::size_t a, std::size_t b) { return m_tallies[a].ns > m_tallies[b].ns; });
    QStringList parts;
    for (std::size_t i : order) {
        parts.append(QStringLiteral("%1 %2x %3")
                         .arg(QLatin1String(names[i]))
                         .arg(m_tallies[i].calls)
                         .arg(formatMs(static_cast<double>(m_tallies[i].ns) / 1e6)));
    }
    return parts.join(QStringLiteral(", "));
}

double median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const std::size_t mid = values.size() / 2;
    if (values.size() % 2 == 1)
        return values[mid];
    return (values[mid - 1] + values[mid]) / 2;
}

std::optional<qint64> statusFieldKb(const QByteArray &statusText, const char *field)
{
    const QByteArray key = QByteArray(field) + ':';
    for (const QByteArray &line : statusText.split('\n')) {
        if (!line.startsWith(key))
            continue;
        QByteArray rest = line.mid(key.size()).trimmed();
        if (!rest.endsWith(" kB"))
            return std::nullopt;
        rest.chop(3);
        bool ok = false;
        const qint64 kb = rest.trimmed().toLongLong(&ok);
        if (!ok || kb < 0)
            return std::nullopt;
        return kb;
    }
    return std::nullopt;
}

std::optional<qint64> ownPeakMemoryKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return std::nullopt;
    // /proc files report a size of 0; read until the end instead.
    return statusFieldKb(status.readAll(), "VmHWM");
}

qint64 monotonicNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

QString formatMs(double ms)
{
    return QStringLiteral("%1 ms").arg(ms, 0, 'f', ms < 100 ? 2 : 1);
}

QString formatMb(double kb)
{
    return QStringLiteral("%1 MB").arg(kb / 1024.0, 0, 'f', 1);
}

ResultTable::ResultTable(QString title, QString referenceHeader)
    : m_title(std::move(title))
    , m_referenceHeader(std::move(referenceHeader))
{}

void ResultTable::addRatio(const QString &measure, double measuredMs, double referenceMs, double maxRatio)
{
    Row row;
    row.measure = measure;
    row.measured = formatMs(measuredMs);
    row.reference = formatMs(referenceMs);
    if (referenceMs > 0) {
        const double ratio = measuredMs / referenceMs;
        row.comparison = QString::number(ratio, 'f', 3);
        if (maxRatio > 0) {
            row.target = QStringLiteral("<= %1").arg(maxRatio, 0, 'f', 2);
            row.verdict = ratio <= maxRatio ? Verdict::Met : Verdict::Missed;
        }
    } else {
        row.comparison = QStringLiteral("-");
    }
    m_rows.push_back(row);
}

void ResultTable::addExtraMemory(const QString &measure, double measuredKb, double referenceKb,
                                 double maxExtraKb)
{
    Row row;
    row.measure = measure;
    row.measured = formatMb(measuredKb);
    row.reference = formatMb(referenceKb);
    const double extra = measuredKb - referenceKb;
    row.comparison = (extra >= 0 ? QStringLiteral("+") : QString()) + formatMb(extra);
    if (maxExtraKb > 0) {
        row.target = QStringLiteral("<= +") + formatMb(maxExtraKb);
        row.verdict = extra <= maxExtraKb ? Verdict::Met : Verdict::Missed;
    }
    m_rows.push_back(row);
}

void ResultTable::addBelow(const QString &measure, double measuredMs, double limitMs)
{
    Row row;
    row.measure = measure;
    row.measured = formatMs(measuredMs);
    row.reference = QStringLiteral("-");
    row.comparison = QStringLiteral("-");
    if (limitMs > 0) {
        row.target = QStringLiteral("< ") + formatMs(limitMs);
        row.verdict = measuredMs < limitMs ? Verdict::Met : Verdict::Missed;
    }
    m_rows.push_back(row);
}

void ResultTable::addFailure(const QString &measure, const QString &why)
{
    Row row;
    row.measure = measure;
    row.measured = QStringLiteral("-");
    row.reference = QStringLiteral("-");
    row.comparison = QStringLiteral("-");
    row.target = why;
    row.verdict = Verdict::Failed;
    m_rows.push_back(row);
}

QString ResultTable::render() const
{
    const QStringList header = {QStringLiteral("measure"), QStringLiteral("measured"),
                                m_referenceHeader,         QStringLiteral("ratio"),
                                QStringLiteral("target"),  QStringLiteral("result")};
    std::vector<QStringList> cells;
    cells.push_back(header);
    for (const Row &r : m_rows) {
        QString verdict;
        switch (r.verdict) {
        case Verdict::None: break;
        case Verdict::Met: verdict = QStringLiteral("met"); break;
        case Verdict::Missed: verdict = QStringLiteral("MISSED"); break;
        case Verdict::Failed: verdict = QStringLiteral("FAILED"); break;
        }
        cells.push_back({r.measure, r.measured, r.reference, r.comparison, r.target, verdict});
    }
    std::vector<qsizetype> widths(header.size(), 0);
    for (const QStringList &line : cells) {
        for (qsizetype i = 0; i < line.size(); ++i)
            widths[static_cast<std::size_t>(i)] =
                std::max(widths[static_cast<std::size_t>(i)], line[i].size());
    }

    QString out;
    out += m_title + QLatin1Char('\n');
    bool first = true;
    for (const QStringList &line : cells) {
        QString text;
        for (qsizetype i = 0; i < line.size(); ++i) {
            const int width = static_cast<int>(widths[static_cast<std::size_t>(i)]);
            // Names to the left, figures to the right, as one reads them.
            text += (i == 0 || i >= 4) ? line[i].leftJustified(width) : line[i].rightJustified(width);
            if (i + 1 < line.size())
                text += QStringLiteral("  ");
        }
        out += QStringLiteral("  ") + text.trimmed() + QLatin1Char('\n');
        if (first) {
            qsizetype total = 0;
            for (qsizetype w : widths)
                total += w + 2;
            out += QStringLiteral("  ") + QString(total - 2, QLatin1Char('-')) + QLatin1Char('\n');
            first = false;
        }
    }
    for (const QString &note : m_notes)
        out += QStringLiteral("  ") + note + QLatin1Char('\n');
    return out;
}

bool ResultTable::anyMissed() const
{
    return std::any_of(m_rows.begin(), m_rows.end(),
                       [](const Row &r) { return r.verdict == Verdict::Missed; });
}

bool ResultTable::anyFailed() const
{
    return std::any_of(m_rows.begin(), m_rows.end(),
                       [](const Row &r) { return r.verdict == Verdict::Failed; });
}

int runsOption(const QStringList &arguments, int fallback)
{
    bool ok = false;
    const int runs = optionValue(arguments, QStringLiteral("--runs")).toInt(&ok);
    return ok && runs >= 1 ? runs : fallback;
}

bool hasOption(const QStringList &arguments, const QString &name)
{
    return arguments.contains(name);
}

QString optionValue(const QStringList &arguments, const QString &name)
{
    const qsizetype i = arguments.indexOf(name);
    if (i < 0 || i + 1 >= arguments.size())
        return {};
    return arguments.at(i + 1);
}

int printAndExitCode(const std::vector<ResultTable> &tables)
{
    QTextStream out(stdout);
    bool missed = false;
    bool failed = false;
    for (const ResultTable &t : tables) {
        out << t.render() << '\n';
        missed = missed || t.anyMissed();
        failed = failed || t.anyFailed();
    }
    out.flush();
    return failed ? 2 : missed ? 1 : 0;
}

} // namespace bench
