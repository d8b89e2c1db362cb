#pragma once

#include "ProgrammingBatch.h"

#include <QJsonObject>
#include <QString>

#include <vector>

// What `tavo program` says about the units it programmed: the record of
// each run (in the log and as JSON), the summary table and the exit code.
namespace cli {

// The facts of one run that go into the record besides the run itself.
struct RunContext {
    QString config;   // the configuration's path as given
    QByteArray image; // the 256 bytes sent
};

// One run as a JSON object: time (UTC, ISO 8601), host, port, adapter
// (description and serial number where the system knows them), unit (or
// null), config, image_sha256, result ("ok" or the failure as printed),
// seconds.
QJsonObject runRecord(const UnitRun &run, const RunContext &context);

// Appends the record as one line to the log with a single write, so that
// two stations appending to one file never interleave. Empty when written,
// else why not.
QString appendToLog(const QString &log, const QJsonObject &record, const QString &config);
// Whether the log can be appended to at all, before any unit is touched.
QString checkLog(const QString &log, const QString &config);

// 0 when every run programmed its unit; else 4 when a unit failed during
// its download or restart; else 3 (nothing to program, or not a Serial
// Tavo).
int exitCodeOf(const std::vector<UnitRun> &runs);

// The run's result on a line that names its port already: the message
// without the port's name in front, where the link's or the unit's words
// begin with it.
QString resultBesidePort(const UnitRun &run);

// port, unit, result, seconds: one line per run, columns aligned.
QString summaryTable(const std::vector<UnitRun> &runs);
// "3 units programmed, 1 failed (on /dev/ttyUSB1)".
QString tally(const std::vector<UnitRun> &runs);

} // namespace cli
