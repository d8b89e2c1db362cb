// tavo check: codes the unit cannot tell apart, and damaged lines, found
// before a configuration reaches a unit.

#include "Commands.h"
#include "ConfigCheck.h"
#include "ConfigFile.h"
#include "Console.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace cli {

namespace {

// A damaged line is a finding like the others: the file does not say what
// the user meant there.
std::vector<tavo::ConfigFinding> findingsOf(const QString &path, const QByteArray &bytes)
{
    std::vector<tavo::ConfigFinding> findings;
    const std::vector<tavo::ConfigDamage> damage = tavo::findConfigDamage(bytes);
    findings.reserve(damage.size());
    for (const tavo::ConfigDamage &d : damage)
        findings.push_back(
            {tavo::ConfigFinding::Severity::Error, QStringLiteral("damaged"), d.line, {}, d.what, {}});
    // What could be read is checked too, as the editor would load it;
    // without saying twice what the damage already says of a line (which
    // names only the first fault of each).
    const auto restatesDamage = [&damage](const tavo::ConfigFinding &f) {
        const QString said = f.kind == u"too-long"     ? QStringLiteral("a code can hold")
                             : f.kind == u"not-a-byte" ? QStringLiteral("does not fit a byte")
                                                       : QString();
        return !said.isEmpty() && std::any_of(damage.begin(), damage.end(), [&](const tavo::ConfigDamage &d) {
            return d.line == f.line && d.what.contains(said);
        });
    };
    for (tavo::ConfigFinding &f : tavo::checkConfig(readAsTheEditorDoes(path))) {
        if (!restatesDamage(f))
            findings.push_back(std::move(f));
    }
    std::stable_sort(
        findings.begin(), findings.end(),
        [](const tavo::ConfigFinding &a, const tavo::ConfigFinding &b) { return a.line < b.line; });
    return findings;
}

QByteArray json(const std::vector<tavo::ConfigFinding> &findings)
{
    QJsonArray array;
    for (const tavo::ConfigFinding &f : findings) {
        array.append(QJsonObject{
            {QStringLiteral("severity"), f.isError() ? QStringLiteral("error") : QStringLiteral("warning")},
            {QStringLiteral("kind"), f.kind},
            {QStringLiteral("line"), f.line},
            {QStringLiteral("codes"), QJsonArray::fromStringList(f.codes)},
            {QStringLiteral("message"), f.message},
        });
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

} // namespace

int runCheck(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("check"), QStringLiteral("[options] FILE.OTS"),
        QStringLiteral("Checks a configuration for codes the unit cannot tell apart and for damaged lines, "
                       "one finding a line as compilers write them: FILE:LINE: error: MESSAGE or FILE:LINE: "
                       "warning: MESSAGE.\n\n"
                       "Errors: a damaged line (damaged); a code of more than 14 bytes (too-long); a byte "
                       "beyond 0 to 255 (not-a-byte); an On/Off output whose On and Off codes are the "
                       "same (on-equals-off); a code of Ignore bytes only (matches-anything). Warnings: two "
                       "outputs with the same code (same-code); a code inside a longer one, so that sending "
                       "the longer one switches both (inside); an On/Off output with only one of its codes "
                       "(no-off-code, no-on-code). A summary goes to the standard error."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    const QCommandLineOption asJson(
        QStringLiteral("json"), QStringLiteral("Print a JSON array of findings (severity, kind, line, codes, "
                                               "message) instead."));
    cmd->addOption(asJson);
    cmd.setExitCodes({ExitOk, ExitFailed, ExitUsage});
    if (const auto stop = cmd.parse(args, 1))
        return *stop;

    const QString path = cmd->positionalArguments().at(0);
    QByteArray bytes;
    if (!readConfigBytes(path, bytes))
        return ExitFailed;
    const std::vector<tavo::ConfigFinding> findings = findingsOf(path, bytes);
    if (cmd->isSet(asJson))
        out() << json(findings);
    else
        printFindings(out(), path, findings);
    const QString summary = tavo::findingsSummary(findings);
    err() << path << ": " << (summary.isEmpty() ? QStringLiteral("no findings") : summary) << Qt::endl;
    return tavo::errorCount(findings) > 0 ? ExitFailed : ExitOk;
}

} // namespace cli
