#include "ConfigCheck.h"

#include <algorithm>

namespace tavo {

namespace {

using Type = SerialEditorData::Type;
using Severity = ConfigFinding::Severity;

// One code of the configuration and where it stands.
struct Code {
    int output = 0; // 0 to 7
    bool on = true;
    const SerialEditorData *message = nullptr;
    int length = 0;

    QString name() const
    {
        return QStringLiteral("Output %1 %2")
            .arg(output + 1)
            .arg(on ? QStringLiteral("On") : QStringLiteral("Off"));
    }
    int line() const { return codeLine(output, on); }
    bool isIgnore(int i) const { return message->ByteType(i) == Type::Ignore; }
    int value(int i) const { return message->ByteValue(i); }
};

// The bytes a code has for the unit: a count beyond the slots (a damaged
// file read leniently) is cut to what a code can hold.
int lengthOf(const SerialEditorData &message)
{
    return std::clamp(static_cast<int>(message.NumberOfBytesInMessage()), 0, SerialEditorData::MaxBytes);
}

bool coversAt(const Code &a, const Code &b, int offset)
{
    for (int i = 0; i < a.length; ++i) {
        if (a.isIgnore(i))
            continue;
        if (b.isIgnore(offset + i) || a.value(i) != b.value(offset + i))
            return false;
    }
    return true;
}

bool coversSomewhere(const Code &a, const Code &b)
{
    for (int offset = 0; offset + a.length <= b.length; ++offset) {
        if (coversAt(a, b, offset))
            return true;
    }
    return false;
}

bool ignoreOnly(const Code &code)
{
    for (int i = 0; i < code.length; ++i) {
        if (!code.isIgnore(i))
            return false;
    }
    return true;
}

ConfigFinding finding(Severity severity, const char *kind, std::vector<const Code *> codes,
                      const QString &message)
{
    std::sort(codes.begin(), codes.end(), [](const Code *a, const Code *b) { return a->line() < b->line(); });
    ConfigFinding f{severity, QString::fromLatin1(kind), codes.front()->line(), {}, message, {}};
    for (const Code *code : codes) {
        f.codes << code->name();
        if (std::find(f.outputs.begin(), f.outputs.end(), code->output) == f.outputs.end())
            f.outputs.push_back(code->output);
    }
    return f;
}

// An On/Off output with only one of its two codes.
void missingCodes(const ConfigData &config, std::vector<ConfigFinding> &findings)
{
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        if (config.PulseModes[i])
            continue;
        const bool on = lengthOf(config.OnMessages[i]) > 0;
        const bool off = lengthOf(config.OffMessages[i]) > 0;
        if (on == off)
            continue;
        const QString output = QStringLiteral("Output %1").arg(n + 1);
        ConfigFinding f{Severity::Warning, {}, codeLine(n, !on), {output}, {}, {n}};
        if (on) {
            f.kind = QStringLiteral("no-off-code");
            f.message =
                output
                + QStringLiteral(" has an On code but no Off code: once on, it cannot be switched off");
        } else {
            f.kind = QStringLiteral("no-on-code");
            f.message = output + QStringLiteral(" has an Off code but no On code: it cannot be switched on");
        }
        findings.push_back(f);
    }
}

// A code longer than its record in the image (a damaged file read
// leniently): its length byte would make the unit read one byte past it.
void tooLongCodes(const ConfigData &config, std::vector<ConfigFinding> &findings)
{
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        for (const bool on : {true, false}) {
            const SerialEditorData &message = on ? config.OnMessages[i] : config.OffMessages[i];
            // A pulse output's Off record is not written from its code.
            if (message.NumberOfBytesInMessage() <= SerialEditorData::MaxBytes
                || (!on && config.PulseModes[i]))
                continue;
            const Code code{n, on, &message, SerialEditorData::MaxBytes};
            findings.push_back(
                finding(Severity::Error, "too-long", {&code},
                        QStringLiteral("%1 has %2 bytes, more than the %3 a code can hold: the "
                                       "unit would read one byte past it")
                            .arg(code.name())
                            .arg(message.NumberOfBytesInMessage())
                            .arg(SerialEditorData::MaxBytes)));
        }
    }
}

std::vector<Code> codesOf(const ConfigData &config)
{
    std::vector<Code> codes;
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        codes.push_back({n, true, &config.OnMessages[i], lengthOf(config.OnMessages[i])});
        // A pulse output never listens for its Off code.
        if (!config.PulseModes[i])
            codes.push_back({n, false, &config.OffMessages[i], lengthOf(config.OffMessages[i])});
    }
    std::erase_if(codes, [](const Code &code) { return code.length == 0; });
    return codes;
}

// A value beyond 0 to 255 in any of a code's 14 slots: stepped up past 255,
// pasted from clipboard text made elsewhere, or left in a slot from a byte
// since deleted (the image carries every slot). The image cannot be built,
// so DOWNLOAD and EXPORT fail; the check says why before they are tried.
void bytesThatDoNotFit(const ConfigData &config, std::vector<ConfigFinding> &findings)
{
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto o = static_cast<std::size_t>(n);
        for (const bool on : {true, false}) {
            // A pulse output's Off record is not written from its code.
            if (!on && config.PulseModes[o])
                continue;
            const SerialEditorData &message = on ? config.OnMessages[o] : config.OffMessages[o];
            const Code code{n, on, &message, lengthOf(message)};
            for (int i = 0; i < SerialEditorData::MaxBytes; ++i) {
                const int value = code.value(i);
                if (value >= 0 && value <= 0xFF)
                    continue;
                const QString where =
                    i < code.length
                        ? QStringLiteral("byte %1 is %2").arg(i + 1).arg(value)
                        : QStringLiteral("slot %1 still holds %2 from a deleted byte").arg(i + 1).arg(value);
                findings.push_back(finding(Severity::Error, "not-a-byte", {&code},
                                           QStringLiteral("%1: %2, which does not fit a byte: the "
                                                          "configuration cannot be downloaded or exported")
                                               .arg(code.name(), where)));
                break;
            }
        }
    }
}

// Two codes of one length: the same code if either covers the other.
void sameLength(const Code &a, const Code &b, std::vector<ConfigFinding> &findings)
{
    if (!coversAt(a, b, 0) && !coversAt(b, a, 0))
        return;
    const QString both = QStringLiteral("%1 and %2 are the same code").arg(a.name(), b.name());
    if (a.output == b.output)
        findings.push_back(finding(Severity::Error, "on-equals-off", {&a, &b},
                                   both + QStringLiteral(": the unit cannot tell on from off")));
    else
        findings.push_back(finding(Severity::Warning, "same-code", {&a, &b},
                                   both + QStringLiteral(": sending it switches both outputs")));
}

void inside(const Code &shorter, const Code &longer, std::vector<ConfigFinding> &findings)
{
    if (!coversSomewhere(shorter, longer))
        return;
    findings.push_back(finding(
        Severity::Warning, "inside", {&shorter, &longer},
        QStringLiteral("%1 is inside %2: sending %2 also sends %1").arg(shorter.name(), longer.name())));
}

} // namespace

int codeLine(int output, bool on)
{
    return 2 + 4 * output + (on ? 0 : 1);
}

std::vector<ConfigFinding> checkConfig(const ConfigData &config)
{
    std::vector<ConfigFinding> findings;
    missingCodes(config, findings);
    tooLongCodes(config, findings);
    bytesThatDoNotFit(config, findings);
    std::vector<Code> codes = codesOf(config);
    // A code of Ignore bytes only is wrong on its own; compared with the
    // others it would be found inside every one of them as well.
    for (const Code &code : codes) {
        if (ignoreOnly(code))
            findings.push_back(
                finding(Severity::Error, "matches-anything", {&code},
                        code.name()
                            + QStringLiteral(" is Ignore bytes only: it matches anything the unit "
                                             "receives")));
    }
    std::erase_if(codes, ignoreOnly);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        for (std::size_t j = i + 1; j < codes.size(); ++j) {
            const Code &a = codes[i];
            const Code &b = codes[j];
            if (a.length == b.length)
                sameLength(a, b, findings);
            else if (a.length < b.length)
                inside(a, b, findings);
            else
                inside(b, a, findings);
        }
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const ConfigFinding &a, const ConfigFinding &b) { return a.line < b.line; });
    return findings;
}

int errorCount(const std::vector<ConfigFinding> &findings)
{
    return static_cast<int>(
        std::count_if(findings.begin(), findings.end(), [](const auto &f) { return f.isError(); }));
}

QString findingsSummary(const std::vector<ConfigFinding> &findings)
{
    const int errors = errorCount(findings);
    const int warnings = static_cast<int>(findings.size()) - errors;
    QStringList parts;
    if (errors > 0)
        parts << (errors == 1 ? QStringLiteral("1 error") : QStringLiteral("%1 errors").arg(errors));
    if (warnings > 0)
        parts << (warnings == 1 ? QStringLiteral("1 warning") : QStringLiteral("%1 warnings").arg(warnings));
    return parts.join(QStringLiteral(", "));
}

} // namespace tavo
