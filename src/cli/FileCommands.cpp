// tavo show, image and export: what a configuration file holds and what the
// unit gets from it, without a display and without a unit.

#include "ByteDisplay.h"
#include "Commands.h"
#include "ConfigData.h"
#include "Console.h"
#include "ExportFile.h"
#include "FileWriter.h"
#include "SerialSettings.h"

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

} // namespace

int runShow(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("show"), QStringLiteral("[options] FILE.OTS"),
        QStringLiteral("Shows the eight outputs of a configuration (mode, period, On and Off codes "
                       "as the editor draws them) and the unit's serial settings."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    cmd.addReadingOption();
    if (const auto stop = cmd.parse(args, 1))
        return *stop;

    ConfigData config;
    if (!loadConfig(cmd->positionalArguments().at(0), config, cmd.reading()))
        return ExitFailed;

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
        QStringLiteral("export"), QStringLiteral("[options] FILE.OTS OUT.BDX"),
        QStringLiteral("Writes the export file (.BDX) of a configuration, as the editor's Export "
                       "does. An existing file is replaced whole or not at all; a FIFO or a device is "
                       "written into, and - is the standard output. The configuration file itself is "
                       "never written over."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    cmd->addPositionalArgument(QStringLiteral("OUT.BDX"), QStringLiteral("Export file to write, or -."));
    cmd.addReadingOption();
    cmd.addForceOption();
    if (const auto stop = cmd.parse(args, 2))
        return *stop;

    const QString source = cmd->positionalArguments().at(0);
    ConfigData config;
    if (!loadConfigImage(source, config, cmd.reading()) || !passesCheck(source, config, cmd.forced()))
        return ExitFailed;
    const QString target = cmd->positionalArguments().at(1);
    if (const auto written = tavo::writeExportFile(target, config, source); !written.ok())
        return fail(QStringLiteral("%1: %2").arg(target, written.error));
    return ExitOk;
}

} // namespace cli
