// tavo show, image and export: what a configuration file holds and what the
// unit gets from it, without a display and without a unit.

#include "ByteDisplay.h"
#include "Commands.h"
#include "ConfigData.h"
#include "Console.h"
#include "ExportFile.h"
#include "FileWriter.h"
#include "SerialSettings.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace cli {

namespace {

QString modeText(bool pulse)
{
    return pulse ? QStringLiteral("Output On for \"Period\" seconds after serial code received")
                 : QStringLiteral("Outputs use seperate On/Off serial codes");
}

QString periodText(int period)
{
    // The unit reads 0 as a tenth of a second, which nobody guesses.
    return period == 0 ? QStringLiteral("0 (0.1 s)") : QString::number(period);
}

// "  On: Hi,CR,5d", or "  On:" alone for an empty code (no trailing blank).
QString codeLine(const char *label, const SerialEditorData &message)
{
    const QString text = ByteDisplay::messageText(message);
    QString line = QStringLiteral("  %1:").arg(QLatin1String(label));
    if (!text.isEmpty())
        line += QLatin1Char(' ') + text;
    return line;
}

// A code as text (as the editor draws it) and as the bytes the unit gets,
// with null for each Ignore byte.
QJsonObject codeJson(const SerialEditorData &message)
{
    QJsonArray bytes;
    for (int i = 0; i < message.NumberOfBytesInMessage() && i < SerialEditorData::MaxBytes; ++i) {
        if (message.ByteType(i) == SerialEditorData::Type::Ignore)
            bytes.append(QJsonValue());
        else
            bytes.append(message.ByteValue(i));
    }
    return {{QStringLiteral("text"), ByteDisplay::messageText(message)}, {QStringLiteral("bytes"), bytes}};
}

QJsonObject configJson(const ConfigData &config)
{
    QJsonArray outputs;
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        QJsonObject output{{QStringLiteral("output"), n + 1},
                           {QStringLiteral("mode"),
                            config.PulseModes[i] ? QStringLiteral("pulse") : QStringLiteral("on-off")},
                           {QStringLiteral("period"), config.OnPeriods[i]},
                           {QStringLiteral("on"), codeJson(config.OnMessages[i])}};
        // A pulse output has no Off code the unit listens for.
        output.insert(QStringLiteral("off"),
                      config.PulseModes[i] ? QJsonValue() : QJsonValue(codeJson(config.OffMessages[i])));
        outputs.append(output);
    }
    const auto index = [](int i, int count) { return i >= 0 && i < count; };
    const QStringList parities{QStringLiteral("none"), QStringLiteral("even"), QStringLiteral("odd")};
    QJsonObject settings{{QStringLiteral("text"), tavo::SerialSettingsText(config)}};
    settings.insert(QStringLiteral("baud"), index(config.BaudIndex, int(tavo::BaudRates.size()))
                                                ? QJsonValue(tavo::BaudRates[std::size_t(config.BaudIndex)])
                                                : QJsonValue());
    settings.insert(QStringLiteral("parity"), index(config.ParityIndex, int(parities.size()))
                                                  ? QJsonValue(parities.at(config.ParityIndex))
                                                  : QJsonValue());
    return {{QStringLiteral("outputs"), outputs}, {QStringLiteral("settings"), settings}};
}

} // namespace

int runShow(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("show"), QStringLiteral("[options] FILE.OTS"),
        QStringLiteral("Shows the eight outputs of a configuration (mode, period, On and Off codes "
                       "as the editor draws them) and the unit's serial settings."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    const QCommandLineOption asJson(
        QStringLiteral("json"), QStringLiteral("Print a JSON object (outputs with mode, period and codes, "
                                               "settings) instead."));
    cmd->addOption(asJson);
    cmd.addReadingOption();
    if (const auto stop = cmd.parse(args, 1))
        return *stop;

    ConfigData config;
    if (!loadConfig(cmd->positionalArguments().at(0), config, cmd.reading()))
        return ExitFailed;
    if (cmd->isSet(asJson)) {
        out() << QJsonDocument(configJson(config)).toJson(QJsonDocument::Indented);
        return ExitOk;
    }

    QTextStream &o = out();
    for (int n = 0; n < ConfigData::OutputCount; ++n) {
        const auto i = static_cast<std::size_t>(n);
        o << "Output " << n + 1 << '\n';
        o << "  Mode: " << modeText(config.PulseModes[i]) << '\n';
        o << "  Period: " << periodText(config.OnPeriods[i]) << '\n';
        o << codeLine("On", config.OnMessages[i]) << '\n';
        o << codeLine("Off", config.OffMessages[i]) << '\n';
    }
    o << "Settings: " << tavo::SerialSettingsText(config) << Qt::endl;
    return ExitOk;
}

int runImage(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("image"), QStringLiteral("[options] FILE.OTS"),
        QStringLiteral("Prints the 256-byte configuration image that would be downloaded into the "
                       "unit: 16 lines of 16 bytes in hexadecimal."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    const QCommandLineOption raw(QStringLiteral("raw"), QStringLiteral("Write the 256 bytes themselves."));
    cmd->addOption(raw);
    cmd.addReadingOption();
    if (const auto stop = cmd.parse(args, 1))
        return *stop;

    ConfigData config;
    if (!loadConfigImage(cmd->positionalArguments().at(0), config, cmd.reading()))
        return ExitFailed;
    const auto &image = config.ConfigImage;
    const QByteArray bytes(reinterpret_cast<const char *>(image.data()),
                           static_cast<qsizetype>(image.size()));

    if (cmd->isSet(raw)) {
        if (const auto written = FileWriter::write(FileWriter::StandardOutput, bytes); !written.ok())
            return fail(QStringLiteral("the output could not be written: ") + written.error);
        return ExitOk;
    }

    for (qsizetype row = 0; row < bytes.size(); row += 16)
        out() << bytes.mid(row, 16).toHex(' ').toUpper() << '\n';
    out().flush();
    return ExitOk;
}

int runExport(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("export"), QStringLiteral("[options] FILE.OTS [OUT.BDX]"),
        QStringLiteral("Writes the export file (.BDX) of a configuration, as the editor's Export "
                       "does. An existing file is replaced whole or not at all; a FIFO or a device is "
                       "written into, and - is the standard output. The configuration file itself is "
                       "never written over. Without OUT.BDX the file goes beside FILE.OTS under the name "
                       "the editor proposes (its last three letters BDX), never over an existing file "
                       "unless --overwrite is given."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    cmd->addPositionalArgument(QStringLiteral("OUT.BDX"), QStringLiteral("Export file to write, or -."),
                               QStringLiteral("[OUT.BDX]"));
    const QCommandLineOption overwrite(QStringLiteral("overwrite"),
                                       QStringLiteral("Without OUT.BDX: replace the file beside FILE.OTS."));
    cmd->addOption(overwrite);
    cmd.addReadingOption();
    cmd.addForceOption();
    if (const auto stop = cmd.parse(args, 1, 2))
        return *stop;

    const QString source = cmd->positionalArguments().at(0);
    const bool named = cmd->positionalArguments().size() == 2;
    const QString target = named ? cmd->positionalArguments().at(1) : tavo::proposedExportName(source);
    if (target.isEmpty())
        return cmd.usageError(QStringLiteral("%1 is too short a name to derive OUT.BDX from").arg(source));
    if (!named && !cmd->isSet(overwrite) && QFileInfo::exists(target))
        return fail(QStringLiteral("%1 exists; nothing was written (--overwrite replaces it)").arg(target));
    ConfigData config;
    if (!loadConfigImage(source, config, cmd.reading()) || !passesCheck(source, config, cmd.forced()))
        return ExitFailed;
    if (const auto written = tavo::writeExportFile(target, config, source); !written.ok())
        return fail(QStringLiteral("%1: %2").arg(target, written.error));
    if (!named)
        err() << "Exported " << target << Qt::endl;
    return ExitOk;
}

} // namespace cli
