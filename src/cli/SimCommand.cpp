// tavo sim: a simulated unit on a pseudo-terminal, for trying the editor
// and the other commands without hardware.

#include "Commands.h"
#include "Console.h"
#include "SignalWatcher.h"
#include "ConfigData.h"
#include "FileWriter.h"
#include "LineSettings.h"
#include "PtyUnit.h"

#include <QCoreApplication>

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
    const QCommandLineOption type(QStringLiteral("type"),
                                  QStringLiteral("Type code the unit answers the search with (default 22, a "
                                                 "Serial Tavo)."),
                                  QStringLiteral("CODE"));
    const QCommandLineOption version(
        QStringLiteral("version"), QStringLiteral("Firmware version (default 1.0)."), QStringLiteral("A.B"));
    const QCommandLineOption baud(
        QStringLiteral("baud"),
        QStringLiteral("The only rate the unit answers the search at (default 9600)."), QStringLiteral("N"));
    const QCommandLineOption anyBaud(QStringLiteral("any-baud"),
                                     QStringLiteral("Answer the search at any rate."));
    const QCommandLineOption startConfig(
        QStringLiteral("config"), QStringLiteral("Start with this configuration instead of an empty one."),
        QStringLiteral("FILE.OTS"));
    const QCommandLineOption imageOut(QStringLiteral("image-out"),
                                      QStringLiteral("Write each downloaded 256-byte image to FILE."),
                                      QStringLiteral("FILE"));
    const QCommandLineOption trace(QStringLiteral("trace"),
                                   QStringLiteral("Print every byte received and sent on stderr."));
    const QCommandLineOption silent(QStringLiteral("silent"),
                                    QStringLiteral("Fault: never answer the search."));
    const QCommandLineOption badCheck(QStringLiteral("bad-check"),
                                      QStringLiteral("Fault: answer the search with a wrong check byte."));
    const QCommandLineOption restartFault(
        QStringLiteral("restart-fault"),
        QStringLiteral("Fault: answer a restart not at all (silent), with a "
                       "wrong byte (wrong) or with one byte only (single)."),
        QStringLiteral("KIND"));
    const QCommandLineOption blockFault(
        QStringLiteral("block-fault"),
        QStringLiteral("Fault: answer download blocks so (silent, wrong, single)."), QStringLiteral("KIND"));
    const QCommandLineOption faultyAttempts(
        QStringLiteral("faulty-attempts"),
        QStringLiteral("Only this many attempts of each restart or block go "
                       "wrong (default: all)."),
        QStringLiteral("N"));
    const QCommandLineOption faultyBlock(QStringLiteral("faulty-block"),
                                         QStringLiteral("The block fault hits only this block (0 to 31)."),
                                         QStringLiteral("K"));
    const QCommandLineOption vanishAfter(QStringLiteral("vanish-after-block"),
                                         QStringLiteral("Fault: disappear after acknowledging this block."),
                                         QStringLiteral("K"));
    const QCommandLineOption probeDelay(QStringLiteral("probe-delay"),
                                        QStringLiteral("Answer the search after this many ms (default 2)."),
                                        QStringLiteral("MS"));
    const QCommandLineOption ackDelay(QStringLiteral("ack-delay"),
                                      QStringLiteral("Acknowledge after this many ms (default 5)."),
                                      QStringLiteral("MS"));
    const QCommandLineOption prefix(QStringLiteral("probe-prefix"),
                                    QStringLiteral("Extra bytes (hexadecimal) before the search answer."),
                                    QStringLiteral("HEX"));
    const QCommandLineOption suffix(QStringLiteral("probe-suffix"),
                                    QStringLiteral("Extra bytes (hexadecimal) after the search answer."),
                                    QStringLiteral("HEX"));
    cmd->addOptions({type, version, baud, anyBaud, startConfig, imageOut, trace, silent, badCheck,
                     restartFault, blockFault, faultyAttempts, faultyBlock, vanishAfter, probeDelay, ackDelay,
                     prefix, suffix});
    cmd.addReadingOption();
    if (const auto stop = cmd.parse(args, 0))
        return *stop;

    UnitConfig unit;
    // Each numeric option: its value, or nothing when it is not given; a
    // bad value ends the command with a usage error.
    std::optional<int> badOption;
    const auto numeric = [&](const QCommandLineOption &option, int lowest, int highest, int &target) {
        if (!cmd->isSet(option))
            return true;
        const auto n = number(cmd->value(option), lowest, highest);
        if (!n) {
            badOption = cmd.usageError(QStringLiteral("--%1 takes a number from %2 to %3")
                                           .arg(option.names().constFirst())
                                           .arg(lowest)
                                           .arg(highest));
            return false;
        }
        target = *n;
        return true;
    };
    int replyCode = unit.replyCode;
    if (!numeric(type, 0, 255, replyCode) || !numeric(faultyAttempts, 0, 1000, unit.faultyAttempts)
        || !numeric(faultyBlock, 0, 31, unit.faultyBlock)
        || !numeric(vanishAfter, 0, 31, unit.vanishAfterBlock)
        || !numeric(probeDelay, 0, 60000, unit.probeDelayMs) || !numeric(ackDelay, 0, 60000, unit.ackDelayMs)
        || !numeric(baud, 1, 1000000, unit.ownBaud))
        return *badOption;
    unit.replyCode = static_cast<std::uint8_t>(replyCode);
    if (cmd->isSet(baud) && !LineSettings::isSupportedBaud(unit.ownBaud))
        return cmd.usageError(
            QStringLiteral("--baud: %1 is not a rate a serial port offers").arg(unit.ownBaud));
    if (cmd->isSet(version) && !unit.setVersion(cmd->value(version)))
        return cmd.usageError(QStringLiteral("--version takes A.B with A and B from 0 to 255"));
    for (const auto &[option, target] :
         {std::pair{&restartFault, &unit.restartFault}, {&blockFault, &unit.blockFault}}) {
        if (!cmd->isSet(*option))
            continue;
        const auto fault = ackFault(cmd->value(*option));
        if (!fault)
            return cmd.usageError(
                QStringLiteral("--%1 takes silent, wrong or single").arg(option->names().constFirst()));
        *target = *fault;
    }
    for (const auto &[option, target] :
         {std::pair{&prefix, &unit.probePrefix}, {&suffix, &unit.probeSuffix}}) {
        if (!cmd->isSet(*option))
            continue;
        const auto bytes = hexBytes(cmd->value(*option));
        if (!bytes)
            return cmd.usageError(
                QStringLiteral("--%1 takes hexadecimal bytes").arg(option->names().constFirst()));
        *target = *bytes;
    }
    unit.anyBaud = cmd->isSet(anyBaud);
    unit.probeSilent = cmd->isSet(silent);
    unit.badCheckByte = cmd->isSet(badCheck);
    if (cmd->isSet(startConfig)) {
        ConfigData config;
        if (!loadConfigImage(cmd->value(startConfig), config, cmd.reading()))
            return ExitFailed;
        unit.image = config.ConfigImage;
    }
    const QString imagePath = cmd->value(imageOut);
    const QString configPath = cmd->value(startConfig);

    // Watching before the path is printed: whoever reads it may stop the
    // simulator at once.
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::Interrupted, &watcher, [] { QCoreApplication::exit(ExitOk); });

    PtyUnit pty(unit);
    QString why;
    if (!pty.start(&why))
        return fail(why);
    out() << pty.slavePath() << Qt::endl;

    QObject::connect(&pty, &PtyUnit::OutputsChanged, &pty,
                     [](quint8 outputs) { out() << "outputs on: " << outputsText(outputs) << Qt::endl; });
    QObject::connect(&pty, &PtyUnit::ImageReceived, &pty, [imagePath, configPath](const QByteArray &image) {
        // The file first: whoever reads the line may open the file at once.
        if (!imagePath.isEmpty()) {
            if (const auto written = FileWriter::write(imagePath, image, configPath); !written.ok())
                err() << "tavo: " << imagePath << ": " << written.error << Qt::endl;
        }
        out() << "image received" << Qt::endl;
    });
    QObject::connect(&pty, &PtyUnit::Vanished, &pty, [] {
        out() << "unit vanished" << Qt::endl;
        QCoreApplication::exit(ExitOk);
    });
    if (cmd->isSet(trace)) {
        QObject::connect(&pty, &PtyUnit::BytesReceived, &pty,
                         [](const QByteArray &bytes, const QString &settings) {
                             err() << "<- " << settings << ": " << bytes.toHex(' ').toUpper() << Qt::endl;
                         });
        QObject::connect(&pty, &PtyUnit::BytesSent, &pty, [](const QByteArray &bytes) {
            err() << "-> " << bytes.toHex(' ').toUpper() << Qt::endl;
        });
    }

    const int code = QCoreApplication::exec();
    pty.stop();
    return code;
}

} // namespace cli
