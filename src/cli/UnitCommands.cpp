// tavo search, program and send: the programming and test dialogs' work on
// a console, through the same protocol code and the same real serial port.

#include "cli/Commands.h"
#include "cli/Console.h"
#include "cli/ConsolePrompter.h"
#include "cli/SignalWatcher.h"
#include "device/TestStrings.h"
#include "device/VellProtocol.h"
#include "device/VellTypes.h"
#include "mainwindow/ConfigData.h"
#include "message/SerialEditorData.h"
#include "platform/EventLoopWaiter.h"
#include "platform/PortSlots.h"
#include "platform/QtSerialLink.h"
#include "platform/SettingsKeyValueStore.h"

#include <exception>
#include <optional>

namespace cli {

namespace {

// What a command that talks to units needs: the port, waits in the event
// loop, messages on the console, the device-type table as the editor has it
// and the protocol on top. Ctrl+C aborts the protocol at its next wait.
class UnitSession
{
public:
    explicit UnitSession(const PortSlots &ports)
        : link(ports)
        , protocol(link, waiter, prompter, types)
    {
        // The same table the editor's dialogs name units from (set up the
        // same way on first use), so a slot reads the same here and there.
        if (const auto store = SettingsKeyValueStore::openDefault())
            types.CheckVellTypes(*store);
        QObject::connect(&watcher, &SignalWatcher::Interrupted, &link, [this] {
            interrupted = true;
            waiter.RequestAbort();
        });
    }

    QtSerialLink link;
    EventLoopWaiter waiter;
    ConsolePrompter prompter;
    VellTypes types;
    VellProtocol protocol;
    SignalWatcher watcher;
    bool interrupted = false;
};

QString portLabel(const QString &name)
{
    return name.isEmpty() ? QStringLiteral("none") : name;
}

// "1,8" -> outputs 1 and 8; an empty text is no output at all.
std::optional<std::array<bool, TestStrings::OutputCount>> outputList(const QString &text)
{
    std::array<bool, TestStrings::OutputCount> checked{};
    if (text.trimmed().isEmpty())
        return checked;
    for (const QString &item : text.split(QLatin1Char(','))) {
        bool ok = false;
        const int n = item.trimmed().toInt(&ok);
        if (!ok || n < 1 || n > TestStrings::OutputCount)
            return std::nullopt;
        checked[static_cast<std::size_t>(n - 1)] = true;
    }
    return checked;
}

std::optional<int> outputNumber(const QString &text)
{
    bool ok = false;
    const int n = text.trimmed().toInt(&ok);
    if (!ok || n < 1 || n > TestStrings::OutputCount)
        return std::nullopt;
    return n;
}

} // namespace

int runSearch(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("search"), QStringLiteral("[options]"),
        QStringLiteral("Searches port slots 1 to 4 for units, as the programming dialog does, and "
                       "prints one line per slot: slot N (PORT): what the dialog shows there."));
    const QCommandLineOption ports(
        QStringLiteral("ports"),
        QStringLiteral("System ports of slots 1 to 4, comma separated; an empty item "
                       "leaves a slot without a port. Default: the TAVO_PORTS "
                       "variable, else the first four ports the system lists."),
        QStringLiteral("A,B,C,D"));
    cmd->addOption(ports);
    if (const auto stop = cmd.parse(args, 0))
        return *stop;

    UnitSession session(cmd->isSet(ports) ? PortSlots::fromList(cmd->value(ports))
                                          : PortSlots::fromEnvironment());
    session.protocol.SlotSearched = [&session](int slot, const SearchSlot &found) {
        out() << "slot " << slot + 1 << " (" << portLabel(found.portName) << "): " << found.text << Qt::endl;
        // The dialog hides a port it cannot open; say why here.
        if (!found.textVisible && !found.portName.isEmpty())
            err() << "tavo: " << found.portName << ": " << session.link.lastError() << Qt::endl;
    };
    session.protocol.search_for_vell();
    if (session.interrupted)
        return fail(QStringLiteral("interrupted"));
    return ExitOk;
}

int runProgram(const QStringList &args)
{
    CommandParser cmd(QStringLiteral("program"), QStringLiteral("[options] FILE.OTS --port PORT"),
                      QStringLiteral("Downloads a configuration into the unit on PORT, as one run of the "
                                     "programming dialog does: find the unit, send the image, restart it. "
                                     "Prints \"All sent ok\" on success; on failure the dialog's message as "
                                     "TITLE: MESSAGE, and exits with 1."));
    cmd->addPositionalArgument(QStringLiteral("FILE.OTS"), QStringLiteral("Configuration file."));
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("The unit's system port."),
                                  QStringLiteral("PORT"));
    cmd->addOption(port);
    if (const auto stop = cmd.parse(args, 1))
        return *stop;
    const QString portName = cmd->value(port);
    if (portName.isEmpty())
        return cmd.usageError(QStringLiteral("--port is required"));

    const QString file = cmd->positionalArguments().at(0);
    ConfigData config;
    if (!loadConfigImage(file, config))
        return ExitFailed;

    UnitSession session(PortSlots(QStringList{portName}));
    session.protocol.SetConfigImage(config.ConfigImage);
    session.protocol.Progress = [](const QString &label, int) {
        progress(QStringLiteral("Programming: ") + label);
    };
    err() << "Programming " << portName << " with " << file << Qt::endl;
    session.protocol.ChooseSlot(0);
    try {
        session.protocol.ProgramChosenSlot();
    } catch (const std::exception &e) {
        // The port went away between writes; the dialog's handler would
        // have ended the run the same way.
        return fail(QStringLiteral("%1: %2").arg(portName, QString::fromLocal8Bit(e.what())));
    }
    endProgress();

    if (session.interrupted)
        return fail(QStringLiteral("interrupted"));
    for (const ScriptedPrompter::Shown &shown : session.prompter.shown()) {
        if (shown.title == QLatin1String("All sent ok")) {
            out() << shown.title << Qt::endl;
            return ExitOk;
        }
    }
    if (!session.link.PortOpen() && !session.link.lastError().isEmpty())
        err() << "tavo: " << portName << ": " << session.link.lastError() << Qt::endl;
    // The failure has been printed as the dialog would have shown it.
    return ExitFailed;
}

int runSend(const QStringList &args)
{
    CommandParser cmd(QStringLiteral("send"),
                      QStringLiteral("--port PORT (--map LIST | --mask N --on|--off | --bit N --on|--off | "
                                     "--code FILE.OTS --output N --on|--off)"),
                      QStringLiteral("Sends one test string, the same bytes at the same line setting as the "
                                     "test dialog's Send: Map switches the listed outputs on and the others "
                                     "off, Mask and Bit switch one output, and Code sends the On or Off code "
                                     "a configuration holds for an output, at the unit's own setting."));
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("The unit's system port."),
                                  QStringLiteral("PORT"));
    const QCommandLineOption map(QStringLiteral("map"),
                                 QStringLiteral("Map: the outputs (1 to 8, comma separated) to be on."),
                                 QStringLiteral("LIST"));
    const QCommandLineOption mask(
        QStringLiteral("mask"), QStringLiteral("Mask: the output (1 to 8) to switch."), QStringLiteral("N"));
    const QCommandLineOption bit(QStringLiteral("bit"), QStringLiteral("Bit: the output (1 to 8) to switch."),
                                 QStringLiteral("N"));
    const QCommandLineOption code(QStringLiteral("code"),
                                  QStringLiteral("Send a configured code from this configuration file."),
                                  QStringLiteral("FILE.OTS"));
    const QCommandLineOption output(QStringLiteral("output"),
                                    QStringLiteral("With --code: the output (1 to 8) whose code is sent."),
                                    QStringLiteral("N"));
    const QCommandLineOption on(QStringLiteral("on"), QStringLiteral("Switch on (the On code)."));
    const QCommandLineOption off(QStringLiteral("off"), QStringLiteral("Switch off (the Off code)."));
    cmd->addOptions({port, map, mask, bit, code, output, on, off});
    if (const auto stop = cmd.parse(args, 0))
        return *stop;

    const QString portName = cmd->value(port);
    if (portName.isEmpty())
        return cmd.usageError(QStringLiteral("--port is required"));
    const int modes =
        int(cmd->isSet(map)) + int(cmd->isSet(mask)) + int(cmd->isSet(bit)) + int(cmd->isSet(code));
    if (modes != 1)
        return cmd.usageError(QStringLiteral("give exactly one of --map, --mask, --bit and --code"));
    if (cmd->isSet(output) && !cmd->isSet(code))
        return cmd.usageError(QStringLiteral("--output goes with --code"));
    if (cmd->isSet(map) && (cmd->isSet(on) || cmd->isSet(off)))
        return cmd.usageError(
            QStringLiteral("--map lists the outputs to be on; --on and --off do not apply"));
    if (!cmd->isSet(map) && int(cmd->isSet(on)) + int(cmd->isSet(off)) != 1)
        return cmd.usageError(QStringLiteral("give either --on or --off"));

    TestStrings::Selection selection;
    selection.port = 1;
    selection.on = cmd->isSet(on);
    selection.off = cmd->isSet(off);
    ConfigData config;
    if (cmd->isSet(map)) {
        const auto checked = outputList(cmd->value(map));
        if (!checked)
            return cmd.usageError(QStringLiteral("--map takes outputs 1 to 8, comma separated"));
        selection.mode = TestStrings::Map;
        selection.checked = *checked;
    } else {
        const QCommandLineOption &which = cmd->isSet(mask) ? mask : cmd->isSet(bit) ? bit : output;
        if (cmd->isSet(code) && !cmd->isSet(output))
            return cmd.usageError(QStringLiteral("--code needs --output"));
        const auto n = outputNumber(cmd->value(which));
        if (!n)
            return cmd.usageError(
                QStringLiteral("--%1 takes an output 1 to 8").arg(which.names().constFirst()));
        selection.output = *n - 1;
        selection.mode = cmd->isSet(mask)  ? TestStrings::Mask
                         : cmd->isSet(bit) ? TestStrings::Bit
                                           : TestStrings::Tavo;
    }

    if (selection.mode == TestStrings::Tavo) {
        if (!loadConfig(cmd->value(code), config))
            return ExitFailed;
        const auto i = static_cast<std::size_t>(selection.output);
        // The dialog quietly switches to the On code here; a script asked
        // for something that does not exist and should hear about it.
        if (selection.off && config.PulseModes[i])
            return fail(
                QStringLiteral("output %1 is in pulse mode: it has no Off code").arg(selection.output + 1));
    }

    SerialEditorData message;
    const TestStrings::Composition composition = TestStrings::Compose(selection, config, message);
    if (!composition.sendEnabled.value_or(false))
        return fail(QStringLiteral("output %1 has no %2 code")
                        .arg(selection.output + 1)
                        .arg(selection.on ? QStringLiteral("On") : QStringLiteral("Off")));

    QByteArray bytes;
    try {
        bytes = TestStrings::SendBytes(selection.mode, message);
    } catch (const std::exception &) {
        return fail(QStringLiteral("the code holds a value that is not a byte"));
    }
    const QString settings = TestStrings::SendSettings(selection.mode, config).value_or(QString());

    QtSerialLink link(PortSlots(QStringList{portName}));
    EventLoopWaiter waiter;
    // The waiter keeps the port open until the bytes are on the wire: closing
    // puts the port's old line setting back at once.
    if (!TestStrings::Send(link, selection.port, selection.mode, message, config, &waiter)) {
        const QString why = link.lastError().isEmpty()
                                ? QStringLiteral("the port refused the setting %1").arg(settings)
                                : link.lastError();
        return fail(QStringLiteral("%1: nothing was sent: %2").arg(portName, why));
    }
    out() << "Sent " << bytes.toHex(' ').toUpper() << " at " << settings << Qt::endl;
    return ExitOk;
}

} // namespace cli
