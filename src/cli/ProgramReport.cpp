#include "ProgramReport.h"

#include "Console.h"
#include "FileWriter.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QSerialPortInfo>
#include <QSysInfo>

#include <algorithm>

namespace cli {

namespace {

QJsonValue orNull(const QString &text)
{
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

// The adapter behind a port, as the system describes it: a USB adapter has
// a description and usually a serial number, a pseudo-terminal neither.
QJsonObject adapterOf(const QString &port)
{
    QSerialPortInfo info;
    const auto ports = QSerialPortInfo::availablePorts();
    for (const QSerialPortInfo &candidate : ports) {
        if (candidate.portName() == port || candidate.systemLocation() == port) {
            info = candidate;
            break;
        }
    }
    return {{QStringLiteral("description"), orNull(info.description())},
            {QStringLiteral("serial_number"), orNull(info.serialNumber())}};
}

} // namespace

QJsonObject runRecord(const UnitRun &run, const RunContext &context)
{
    return {
        {QStringLiteral("time"), run.started.toUTC().toString(Qt::ISODateWithMs)},
        {QStringLiteral("host"), QSysInfo::machineHostName()},
        {QStringLiteral("port"), run.port},
        {QStringLiteral("adapter"), adapterOf(run.port)},
        {QStringLiteral("unit"), orNull(run.unit)},
        {QStringLiteral("config"), context.config},
        {QStringLiteral("image_sha256"),
         QString::fromLatin1(QCryptographicHash::hash(context.image, QCryptographicHash::Sha256).toHex())},
        {QStringLiteral("result"), run.message},
        {QStringLiteral("seconds"), qRound(run.seconds * 1000) / 1000.0},
    };
}

QString appendToLog(const QString &log, const QJsonObject &record, const QString &config)
{
    const QByteArray line = QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n';
    return FileWriter::append(log, line, config).error;
}

QString checkLog(const QString &log, const QString &config)
{
    return FileWriter::append(log, {}, config).error;
}

int exitCodeOf(const std::vector<UnitRun> &runs)
{
    if (!runs.empty() && std::all_of(runs.begin(), runs.end(), [](const UnitRun &r) { return r.programmed; }))
        return ExitOk;
    if (std::any_of(runs.begin(), runs.end(), [](const UnitRun &r) { return r.unitFailed; }))
        return ExitUnitFailed;
    return ExitNoTavo;
}

QString resultBesidePort(const UnitRun &run)
{
    const QString named = run.port + QStringLiteral(": ");
    return run.message.startsWith(named) ? run.message.mid(named.size()) : run.message;
}

QString summaryTable(const std::vector<UnitRun> &runs)
{
    const QStringList header{QStringLiteral("port"), QStringLiteral("unit"), QStringLiteral("result"),
                             QStringLiteral("seconds")};
    std::vector<QStringList> rows{header};
    for (const UnitRun &run : runs)
        rows.push_back({run.port, run.unit.isEmpty() ? QStringLiteral("-") : run.unit, resultBesidePort(run),
                        QString::number(run.seconds, 'f', 2)});
    std::array<qsizetype, 3> widths{};
    for (const QStringList &row : rows) {
        for (std::size_t c = 0; c < widths.size(); ++c)
            widths[c] = std::max(widths[c], row.at(qsizetype(c)).size());
    }
    QString text;
    for (const QStringList &row : rows) {
        for (std::size_t c = 0; c < widths.size(); ++c)
            text += row.at(qsizetype(c)).leftJustified(widths[c] + 2);
        text += row.at(3) + QLatin1Char('\n');
    }
    return text;
}

QString tally(const std::vector<UnitRun> &runs)
{
    const auto programmed =
        std::count_if(runs.begin(), runs.end(), [](const UnitRun &r) { return r.programmed; });
    QStringList failedOn;
    for (const UnitRun &run : runs) {
        if (!run.programmed && !failedOn.contains(run.port))
            failedOn << run.port;
    }
    QString text = programmed == 1 ? QStringLiteral("1 unit programmed")
                                   : QStringLiteral("%1 units programmed").arg(programmed);
    const qsizetype failed = qsizetype(runs.size()) - programmed;
    if (failed > 0)
        text += QStringLiteral(", %1 failed (on %2)").arg(failed).arg(failedOn.join(QStringLiteral(", ")));
    return text;
}

} // namespace cli
