// tavo sim: a simulated unit on a pseudo-terminal, for trying the editor
// and the other commands without hardware.

#include "Commands.h"
#include "ConfigData.h"
#include "Console.h"
#include "FileWriter.h"
#include "LineSettings.h"
#include "PtyUnit.h"
#include "SignalWatcher.h"
#include "TracingLink.h"

#include <QCoreApplication>

#include <chrono>

namespace cli {

namespace {

// "on: 1,8" style list of the outputs that are on.
QString outputsText(quint8 outputs)
{
    QStringList on;
    for (int n = 0; n < 8; ++n) {
        if (outputs & (1u << n))
            on.append(QString::number(n + 1));
    }
    return on.isEmpty() ? QStringLiteral("none") : on.join(QLatin1Char(','));
}

std::optional<UnitAckFault> ackFault(const QString &name)
{
    if (name == QLatin1String("silent"))
        return UnitAckFault::Silent;
    if (name == QLatin1String("wrong"))
        return UnitAckFault::WrongByte;
    if (name == QLatin1String("single"))
        return UnitAckFault::SingleByte;
    return std::nullopt;
}

bool isAsciiHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

std::optional<int> number(const QString &text, int lowest, int highest)
{
    bool ok = false;
    const int n = text.toInt(&ok, 0);
    if (!ok || n < lowest || n > highest)
        return std::nullopt;
    return n;
}

// "F0 00" or "f000"; nothing for anything else (QByteArray::fromHex would
// skip what is not a digit without a word).
std::optional<QByteArray> hexBytes(QString text)
{
    text.remove(QLatin1Char(' '));
    if (text.size() % 2 != 0)
        return std::nullopt;
    for (const QChar c : std::as_const(text)) {
        if (!isAsciiHexDigit(c))
            return std::nullopt;
    }
    return QByteArray::fromHex(text.toLatin1());
}

// The options of `tavo sim`, in the order --help lists them.
struct SimOptions {
    QCommandLineOption type{QStringLiteral("type"),
                            QStringLiteral("Type code the unit answers the search with (default 22, a "
                                           "Serial Tavo)."),
                            QStringLiteral("CODE")};
    QCommandLineOption version{QStringLiteral("version"), QStringLiteral("Firmware version (default 1.0)."),
                               QStringLiteral("A.B")};
    QCommandLineOption baud{QStringLiteral("baud"),
                            QStringLiteral("The only rate the unit answers the search at (default 9600)."),
                            QStringLiteral("N")};
    QCommandLineOption anyBaud{QStringLiteral("any-baud"), QStringLiteral("Answer the search at any rate.")};
    QCommandLineOption startConfig{QStringLiteral("config"),
                                   QStringLiteral("Start with this configuration instead of an empty one."),
                                   QStringLiteral("FILE.OTS")};
    QCommandLineOption imageOut{QStringLiteral("image-out"),
                                QStringLiteral("Write each downloaded 256-byte image to FILE."),
                                QStringLiteral("FILE")};
    QCommandLineOption trace{QStringLiteral("trace"),
                             QStringLiteral("Print every byte received and sent on stderr, as the other "
                                            "commands' --trace does from the host's side: < for received "
                                            "with the line setting, > for sent.")};
    QCommandLineOption silent{QStringLiteral("silent"), QStringLiteral("Fault: never answer the search.")};
    QCommandLineOption badCheck{QStringLiteral("bad-check"),
                                QStringLiteral("Fault: answer the search with a wrong check byte.")};
    QCommandLineOption restartFault{QStringLiteral("restart-fault"),
                                    QStringLiteral("Fault: answer a restart not at all (silent), with a "
                                                   "wrong byte (wrong) or with one byte only (single)."),
                                    QStringLiteral("KIND")};
    QCommandLineOption blockFault{QStringLiteral("block-fault"),
                                  QStringLiteral("Fault: answer download blocks so (silent, wrong, single)."),
                                  QStringLiteral("KIND")};
    QCommandLineOption faultyAttempts{QStringLiteral("faulty-attempts"),
                                      QStringLiteral("Only this many attempts of each restart or block go "
                                                     "wrong (default: all)."),
                                      QStringLiteral("N")};
    QCommandLineOption faultyBlock{QStringLiteral("faulty-block"),
                                   QStringLiteral("The block fault hits only this block (0 to 31)."),
                                   QStringLiteral("K")};
    QCommandLineOption vanishAfter{QStringLiteral("vanish-after-block"),
                                   QStringLiteral("Fault: disappear after acknowledging this block."),
                                   QStringLiteral("K")};
    QCommandLineOption probeDelay{QStringLiteral("probe-delay"),
                                  QStringLiteral("Answer the search after this many ms (default 2)."),
                                  QStringLiteral("MS")};
    QCommandLineOption ackDelay{QStringLiteral("ack-delay"),
                                QStringLiteral("Acknowledge after this many ms (default 5)."),
                                QStringLiteral("MS")};
    QCommandLineOption prefix{QStringLiteral("probe-prefix"),
                              QStringLiteral("Extra bytes (hexadecimal) before the search answer."),
                              QStringLiteral("HEX")};
    QCommandLineOption suffix{QStringLiteral("probe-suffix"),
                              QStringLiteral("Extra bytes (hexadecimal) after the search answer."),
                              QStringLiteral("HEX")};

    QList<QCommandLineOption> all() const
    {
        return {type,        version,     baud,       anyBaud,      startConfig, imageOut,
                trace,       silent,      badCheck,   restartFault, blockFault,  faultyAttempts,
                faultyBlock, vanishAfter, probeDelay, ackDelay,     prefix,      suffix};
    }
};

using Option = QCommandLineOption SimOptions::*;

// The numeric settings of the unit, in the order they are checked (the
// first bad one is reported); --type, a byte, is checked before them.
struct NumericSetting {
    Option option;
    int lowest;
    int highest;
    int UnitConfig::*target;
};
constexpr NumericSetting NumericSettings[] = {
    {&SimOptions::faultyAttempts, 0, 1000, &UnitConfig::faultyAttempts},
    {&SimOptions::faultyBlock, 0, 31, &UnitConfig::faultyBlock},
    {&SimOptions::vanishAfter, 0, 31, &UnitConfig::vanishAfterBlock},
    {&SimOptions::probeDelay, 0, 60000, &UnitConfig::probeDelayMs},
    {&SimOptions::ackDelay, 0, 60000, &UnitConfig::ackDelayMs},
    {&SimOptions::baud, 1, 1000000, &UnitConfig::ownBaud},
};

// How the unit answers restarts and blocks.
constexpr std::pair<Option, UnitAckFault UnitConfig::*> AckFaults[] = {
    {&SimOptions::restartFault, &UnitConfig::restartFault},
    {&SimOptions::blockFault, &UnitConfig::blockFault},
};

// Bytes around the search answer.
constexpr std::pair<Option, QByteArray UnitConfig::*> ProbeExtras[] = {
    {&SimOptions::prefix, &UnitConfig::probePrefix},
    {&SimOptions::suffix, &UnitConfig::probeSuffix},
};

// Switches without a value.
constexpr std::pair<Option, bool UnitConfig::*> Switches[] = {
    {&SimOptions::anyBaud, &UnitConfig::anyBaud},
    {&SimOptions::silent, &UnitConfig::probeSilent},
    {&SimOptions::badCheck, &UnitConfig::badCheckByte},
};

// The value of a numeric option in `target`, left alone when the option is
// not given; a usage error for a value outside lowest to highest.
std::optional<int> readNumber(CommandParser &cmd, const QCommandLineOption &option, int lowest, int highest,
                              int &target)
{
    if (!cmd->isSet(option))
        return std::nullopt;
    const auto n = number(cmd->value(option), lowest, highest);
    if (!n)
        return cmd.usageError(QStringLiteral("--%1 takes a number from %2 to %3")
                                  .arg(option.names().constFirst())
                                  .arg(lowest)
                                  .arg(highest));
    target = *n;
    return std::nullopt;
}

// The unit the options describe, or the exit code of a usage error.
std::optional<int> readUnit(CommandParser &cmd, const SimOptions &o, UnitConfig &unit)
{
    int replyCode = unit.replyCode;
    if (const auto stop = readNumber(cmd, o.type, 0, 255, replyCode))
        return stop;
    for (const NumericSetting &setting : NumericSettings) {
        if (const auto stop =
                readNumber(cmd, o.*setting.option, setting.lowest, setting.highest, unit.*setting.target))
            return stop;
    }
    unit.replyCode = static_cast<std::uint8_t>(replyCode);
    if (cmd->isSet(o.baud) && !LineSettings::isSupportedBaud(unit.ownBaud))
        return cmd.usageError(
            QStringLiteral("--baud: %1 is not a rate a serial port offers").arg(unit.ownBaud));
    if (cmd->isSet(o.version) && !unit.setVersion(cmd->value(o.version)))
        return cmd.usageError(QStringLiteral("--version takes A.B with A and B from 0 to 255"));
    for (const auto &[option, target] : AckFaults) {
        if (!cmd->isSet(o.*option))
            continue;
        const auto fault = ackFault(cmd->value(o.*option));
        if (!fault)
            return cmd.usageError(
                QStringLiteral("--%1 takes silent, wrong or single").arg((o.*option).names().constFirst()));
        unit.*target = *fault;
    }
    for (const auto &[option, target] : ProbeExtras) {
        if (!cmd->isSet(o.*option))
            continue;
        const auto bytes = hexBytes(cmd->value(o.*option));
        if (!bytes)
            return cmd.usageError(
                QStringLiteral("--%1 takes hexadecimal bytes").arg((o.*option).names().constFirst()));
        unit.*target = *bytes;
    }
    for (const auto &[option, target] : Switches)
        unit.*target = cmd->isSet(o.*option);
    return std::nullopt;
}

// What the unit does, on stdout (and with --trace every byte on stderr).
void reportUnit(PtyUnit &pty, const QString &imagePath, const QString &configPath, bool trace)
{
    QObject::connect(&pty, &PtyUnit::outputsChanged, &pty,
                     [](quint8 outputs) { out() << "outputs on: " << outputsText(outputs) << Qt::endl; });
    QObject::connect(&pty, &PtyUnit::imageReceived, &pty, [imagePath, configPath](const QByteArray &image) {
        // The file first: whoever reads the line may open the file at once.
        if (!imagePath.isEmpty()) {
            if (const auto written = FileWriter::write(imagePath, image, configPath); !written.ok())
                err() << "tavo: " << imagePath << ": " << written.error << Qt::endl;
        }
        out() << "image received" << Qt::endl;
    });
    QObject::connect(&pty, &PtyUnit::vanished, &pty, [] {
        out() << "unit vanished" << Qt::endl;
        QCoreApplication::exit(ExitOk);
    });
    if (!trace)
        return;
    const auto start = std::chrono::steady_clock::now();
    const auto since = [start] {
        return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now()
                                                                     - start);
    };
    QObject::connect(
        &pty, &PtyUnit::bytesReceived, &pty, [since](const QByteArray &bytes, const QString &settings) {
            traceLine(
                TracingLink::line(since(), QStringLiteral("< %1 %2").arg(settings, TracingLink::hex(bytes))));
        });
    QObject::connect(&pty, &PtyUnit::bytesSent, &pty, [since](const QByteArray &bytes) {
        traceLine(TracingLink::line(since(), QStringLiteral("> ") + TracingLink::hex(bytes)));
    });
}

} // namespace

int runSim(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("sim"), QStringLiteral("[options]"),
        QStringLiteral(
            "Runs a simulated unit on a pseudo-terminal until interrupted. The first line printed is the "
            "terminal's path: give it to the editor or to the other commands as the port. Then one "
            "line per change of the outputs (\"outputs on: 1,8\") and per completed download "
            "(\"image received\")."));
    const SimOptions o;
    cmd->addOptions(o.all());
    cmd.addReadingOption();
    if (const auto stop = cmd.parse(args, 0))
        return *stop;

    UnitConfig unit;
    if (const auto stop = readUnit(cmd, o, unit))
        return *stop;
    const QString imagePath = cmd->value(o.imageOut);
    const QString configPath = cmd->value(o.startConfig);
    // Said now rather than once a host has programmed the unit. The file is
    // not made yet: whoever waits for it would take an empty one for the
    // image.
    if (const auto target = FileWriter::check(imagePath, configPath); !imagePath.isEmpty() && !target.ok())
        return fail(imagePath + QStringLiteral(": ") + target.error);
    if (cmd->isSet(o.startConfig)) {
        ConfigData config;
        if (!loadConfigImage(configPath, config, cmd.reading()))
            return ExitFailed;
        unit.image = config.ConfigImage;
    }

    // Watching before the path is printed: whoever reads it may stop the
    // simulator at once.
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &watcher, [] { QCoreApplication::exit(ExitOk); });

    PtyUnit pty(unit);
    QString why;
    if (!pty.start(&why))
        return fail(why);
    out() << pty.slavePath() << Qt::endl;
    // A simulator whose terminal nobody learns is of no use to anyone.
    if (outputFailed()) {
        pty.stop();
        return ExitFailed;
    }
    reportUnit(pty, imagePath, configPath, cmd->isSet(o.trace));

    const int code = QCoreApplication::exec();
    pty.stop();
    return code;
}

} // namespace cli
