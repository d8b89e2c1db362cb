// tavo search, program and send: the programming and test dialogs' work on
// a console, through the same protocol code and the same real serial port.

#include "Commands.h"
#include "ConfigData.h"
#include "Console.h"
#include "ConsolePrompter.h"
#include "EventLoopWaiter.h"
#include "PortSlots.h"
#include "ProgrammingBatch.h"
#include "QtSerialLink.h"
#include "SerialEditorData.h"
#include "SettingsKeyValueStore.h"
#include "SignalWatcher.h"
#include "TestStrings.h"
#include "TracingLink.h"
#include "VellProtocol.h"
#include "VellTypes.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <exception>
#include <optional>

namespace cli {

namespace {

// What a command that talks to units needs: the port, waits in the event
// loop, messages on the console, the device-type table as the editor has it
// and the protocol on top. Ctrl+C aborts the protocol at its next wait.
// With `trace` the protocol talks through a TracingLink, so every byte on
// the wire shows on stderr.
class UnitSession
{
public:
    UnitSession(const PortSlots &ports, bool trace)
        : link(ports)
        , tracer(link, traceLine)
        , protocol(trace ? static_cast<SerialLink &>(tracer) : link, waiter, prompter, types)
    {
        // The same table the editor's dialogs name units from (set up the
        // same way on first use), so a slot reads the same here and there.
        if (const auto store = SettingsKeyValueStore::openDefault())
            types.CheckVellTypes(*store);
        QObject::connect(&watcher, &SignalWatcher::interrupted, &link, [this] {
            interrupted = true;
            waiter.requestAbort();
        });
    }

    QtSerialLink link;
    TracingLink tracer;
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

// The rates of the search's settings, "9600" to "2400" in the order tried.
QStringList searchRates()
{
    QStringList rates;
    for (const QString &setting : VellProtocol::searchSettings())
        rates.append(setting.section(QLatin1Char(','), 0, 0));
    return rates;
}

// The search setting at `rate` ("19200" gives "19200,n,8,2"); nothing
// when the search has none at that rate.
std::optional<QString> searchSettingAt(const QString &rate)
{
    const qsizetype i = searchRates().indexOf(rate.trimmed());
    if (i < 0)
        return std::nullopt;
    return VellProtocol::searchSettings().at(i);
}

// Whether a --ports list names a port beyond the last slot; empty items
// after it (a trailing comma) name none.
bool namesMoreThanSlots(const QString &list)
{
    const QStringList names = list.split(QLatin1Char(','));
    return std::any_of(names.begin() + std::min<qsizetype>(names.size(), PortSlots::Count), names.end(),
                       [](const QString &name) { return !name.trimmed().isEmpty(); });
}

QJsonObject slotRecord(int slot, const SearchSlot &found)
{
    return QJsonObject{
        {QStringLiteral("slot"), slot + 1},
        {QStringLiteral("port"), found.portName.isEmpty() ? QJsonValue() : QJsonValue(found.portName)},
        {QStringLiteral("text"), found.text},
        {QStringLiteral("found"), found.found != 0},
        {QStringLiteral("programmable"), found.optionEnabled}};
}

} // namespace

int runSearch(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("search"), QStringLiteral("[options]"),
        QStringLiteral("Searches port slots 1 to 4 for units, as the programming dialog does, and "
                       "prints one line per slot: slot N (PORT): what the dialog shows there. Why a "
                       "port could not be opened goes to the standard error."));
    const QCommandLineOption ports(
        QStringLiteral("ports"),
        QStringLiteral("System ports of slots 1 to 4, comma separated; an empty item "
                       "leaves a slot without a port. Default: the TAVO_PORTS "
                       "variable, else the first four ports the system lists."),
        QStringLiteral("A,B,C,D"));
    cmd->addOption(ports);
    const QCommandLineOption asJson(QStringLiteral("json"),
                                    QStringLiteral("Print a JSON array of the four slots (slot, port, text, "
                                                   "found, programmable) instead."));
    cmd->addOption(asJson);
    const QCommandLineOption baud(QStringLiteral("baud"),
                                  QStringLiteral("Search at this one of the seven rates only, for a unit "
                                                 "whose rate is known."),
                                  QStringLiteral("RATE"));
    cmd->addOption(baud);
    cmd.addTraceOption();
    cmd.setExitCodes({ExitOk, ExitUsage});
    if (const auto stop = cmd.parse(args, 0))
        return *stop;
    const std::optional<QString> only =
        cmd->isSet(baud) ? searchSettingAt(cmd->value(baud)) : std::optional<QString>(QString());
    if (!only)
        return cmd.usageError(QStringLiteral("--baud takes one of %1").arg(searchRates().join(u", ")));

    if (namesMoreThanSlots(cmd->value(ports)))
        return cmd.usageError(
            QStringLiteral("--ports names at most %1 ports, one per slot").arg(PortSlots::Count));
    UnitSession session(cmd->isSet(ports) ? PortSlots::fromList(cmd->value(ports))
                                          : PortSlots::fromEnvironment(),
                        cmd.traced());
    if (!only->isEmpty())
        session.protocol.setSearchSettings({*only});
    const bool json = cmd->isSet(asJson);
    QJsonArray slots_;
    session.protocol.slotSearched = [&](int slot, const SearchSlot &found) {
        // Once interrupted, the slot being searched and those after it were
        // not searched at all: they have nothing to report.
        if (session.interrupted)
            return;
        if (!found.openError.isEmpty())
            err() << "tavo: " << found.openError << Qt::endl;
        if (json)
            slots_.append(slotRecord(slot, found));
        else
            out() << "slot " << slot + 1 << " (" << portLabel(found.portName) << "): " << found.text
                  << Qt::endl;
    };
    session.protocol.search_for_vell();
    if (json)
        out() << QJsonDocument(slots_).toJson(QJsonDocument::Indented);
    return ExitOk;
}

UnitRun programOnePort(const QString &portName, const ConfigData &config, const QString &file,
                       bool showProgress, bool trace)
{
    UnitSession session(PortSlots(QStringList{portName}), trace);
    VellProtocol &protocol = session.protocol;
    protocol.setConfigImage(config.ConfigImage);
    protocol.setRequireSerialTavo(true);
    if (showProgress) {
        protocol.onProgress = [](const QString &label, int) {
            progress(QStringLiteral("Programming: ") + label);
        };
    }
    err() << "Programming " << portName << " with " << file << Qt::endl;
    protocol.chooseSlot(0);
    const QDateTime started = QDateTime::currentDateTimeUtc();
    QElapsedTimer clock;
    clock.start();
    UnitRun run;
    try {
        const VellProtocol::ProgramResult result = protocol.programChosenSlot();
        run = UnitRun::describe(portName, result, protocol, session.prompter, session.link.lastError(),
                                session.interrupted);
    } catch (const std::exception &e) {
        // The protocol handles the line's own failures; this is a program
        // error, reported rather than hidden.
        run.port = portName;
        run.unitFailed = protocol.blocksAcknowledged() > 0;
        run.message = QStringLiteral("%1: %2").arg(portName, QString::fromLocal8Bit(e.what()));
    }
    endProgress();
    run.started = started;
    run.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    // The dialog's own messages have been printed as they came ("Error!:
    // Tavo not responding"); what they did not say is said here.
    if (!run.programmed && !run.message.startsWith(QStringLiteral("Error!")))
        fail(run.message);
    return run;
}

namespace {

// The options of `tavo send`, in the order --help lists them.
struct SendOptions {
    QCommandLineOption port{QStringLiteral("port"), QStringLiteral("The unit's system port."),
                            QStringLiteral("PORT")};
    QCommandLineOption map{QStringLiteral("map"),
                           QStringLiteral("Map: the outputs (1 to 8, comma separated) to be on."),
                           QStringLiteral("LIST")};
    QCommandLineOption mask{QStringLiteral("mask"), QStringLiteral("Mask: the output (1 to 8) to switch."),
                            QStringLiteral("N")};
    QCommandLineOption bit{QStringLiteral("bit"), QStringLiteral("Bit: the output (1 to 8) to switch."),
                           QStringLiteral("N")};
    QCommandLineOption code{QStringLiteral("code"),
                            QStringLiteral("Send a configured code from this configuration file."),
                            QStringLiteral("FILE.OTS")};
    QCommandLineOption output{QStringLiteral("output"),
                              QStringLiteral("With --code: the output (1 to 8) whose code is sent."),
                              QStringLiteral("N")};
    QCommandLineOption on{QStringLiteral("on"), QStringLiteral("Switch on (the On code).")};
    QCommandLineOption off{QStringLiteral("off"), QStringLiteral("Switch off (the Off code).")};

    QList<QCommandLineOption> all() const { return {port, map, mask, bit, code, output, on, off}; }
};

// The options that do not go together, as usage errors.
std::optional<int> checkSendOptions(CommandParser &cmd, const SendOptions &o)
{
    if (cmd->value(o.port).isEmpty())
        return cmd.usageError(QStringLiteral("--port is required"));
    const int modes =
        int(cmd->isSet(o.map)) + int(cmd->isSet(o.mask)) + int(cmd->isSet(o.bit)) + int(cmd->isSet(o.code));
    if (modes != 1)
        return cmd.usageError(QStringLiteral("give exactly one of --map, --mask, --bit and --code"));
    if (cmd->isSet(o.output) && !cmd->isSet(o.code))
        return cmd.usageError(QStringLiteral("--output goes with --code"));
    if (cmd->isSet(o.map) && (cmd->isSet(o.on) || cmd->isSet(o.off)))
        return cmd.usageError(
            QStringLiteral("--map lists the outputs to be on; --on and --off do not apply"));
    if (!cmd->isSet(o.map) && int(cmd->isSet(o.on)) + int(cmd->isSet(o.off)) != 1)
        return cmd.usageError(QStringLiteral("give either --on or --off"));
    return std::nullopt;
}

// What the test dialog would have picked for these options, or the exit
// code of a usage error.
std::optional<int> readSelection(CommandParser &cmd, const SendOptions &o, TestStrings::Selection &selection)
{
    selection.port = 1;
    selection.on = cmd->isSet(o.on);
    selection.off = cmd->isSet(o.off);
    if (cmd->isSet(o.map)) {
        const auto checked = outputList(cmd->value(o.map));
        if (!checked)
            return cmd.usageError(QStringLiteral("--map takes outputs 1 to 8, comma separated"));
        selection.mode = TestStrings::Map;
        selection.checked = *checked;
        return std::nullopt;
    }
    const QCommandLineOption &which = cmd->isSet(o.mask) ? o.mask : cmd->isSet(o.bit) ? o.bit : o.output;
    if (cmd->isSet(o.code) && !cmd->isSet(o.output))
        return cmd.usageError(QStringLiteral("--code needs --output"));
    const auto n = outputNumber(cmd->value(which));
    if (!n)
        return cmd.usageError(QStringLiteral("--%1 takes an output 1 to 8").arg(which.names().constFirst()));
    selection.output = *n - 1;
    selection.mode = cmd->isSet(o.mask)  ? TestStrings::Mask
                     : cmd->isSet(o.bit) ? TestStrings::Bit
                                         : TestStrings::Tavo;
    return std::nullopt;
}

// The configuration whose code is sent; false, after saying why, when it
// cannot be read or the output has no such code.
bool loadCodeConfig(const QString &path, Reading reading, const TestStrings::Selection &selection,
                    ConfigData &config)
{
    if (!loadConfig(path, config, reading))
        return false;
    // The dialog quietly switches to the On code here; a script asked for
    // something that does not exist and should hear about it.
    if (selection.off && config.PulseModes[static_cast<std::size_t>(selection.output)]) {
        fail(QStringLiteral("output %1 is in pulse mode: it has no Off code").arg(selection.output + 1));
        return false;
    }
    return true;
}

// Sends the composed message on the port, as the dialog's Send does.
int sendOnPort(const QString &portName, const TestStrings::Selection &selection,
               const SerialEditorData &message, const ConfigData &config, const QByteArray &bytes, bool trace)
{
    const QString settings = TestStrings::sendSettings(selection.mode, config).value_or(QString());
    QtSerialLink link(PortSlots(QStringList{portName}));
    TracingLink tracer(link, traceLine);
    EventLoopWaiter waiter;
    SignalWatcher watcher;
    QObject::connect(&watcher, &SignalWatcher::interrupted, &link, [&waiter] { waiter.requestAbort(); });
    // The waiter keeps the port open until the bytes are on the wire: closing
    // puts the port's old line setting back at once.
    const TestStrings::SendResult sent =
        TestStrings::Send(trace ? static_cast<SerialLink &>(tracer) : link, selection.port, selection.mode,
                          message, config, &waiter);
    if (!sent) {
        const QString why = sent.why.isEmpty()
                                ? QStringLiteral("%1 refused the setting %2").arg(portName, settings)
                                : sent.why;
        fail(QStringLiteral("%1; nothing was sent").arg(why));
        return ExitNoTavo;
    }
    if (SignalWatcher::caught())
        return fail(QStringLiteral("interrupted; %1 closed").arg(portName));
    out() << "Sent " << bytes.toHex(' ').toUpper() << " at " << settings << Qt::endl;
    return ExitOk;
}

} // namespace

int runSend(const QStringList &args)
{
    CommandParser cmd(
        QStringLiteral("send"),
        QStringLiteral("--port PORT (--map LIST | --mask N --on|--off | --bit N --on|--off | "
                       "--code FILE.OTS --output N --on|--off)"),
        QStringLiteral("Sends one test string, the same bytes at the same line setting as the test "
                       "dialog's Send: Map switches the listed outputs on and the others off, Mask and "
                       "Bit switch one output, and Code sends the On or Off code a configuration holds "
                       "for an output, at the unit's own setting.\n\n"
                       "Map and Mask are one byte each, and the unit cannot tell them apart: a map "
                       "with exactly one output (--map 3) is the byte of --mask 3 --on, and a map of "
                       "all outputs but one (--map 1,2,4,5,6,7,8) the byte of --mask 3 --off. The "
                       "unit reads such a byte as a mask: it switches that one output and leaves the "
                       "others as they are."));
    const SendOptions o;
    cmd->addOptions(o.all());
    cmd.addReadingOption();
    cmd.addTraceOption();
    cmd.setExitCodes({ExitOk, ExitFailed, ExitUsage, ExitNoTavo});
    if (const auto stop = cmd.parse(args, 0))
        return *stop;
    if (const auto stop = checkSendOptions(cmd, o))
        return *stop;
    TestStrings::Selection selection;
    if (const auto stop = readSelection(cmd, o, selection))
        return *stop;
    ConfigData config;
    if (selection.mode == TestStrings::Tavo
        && !loadCodeConfig(cmd->value(o.code), cmd.reading(), selection, config))
        return ExitFailed;

    SerialEditorData message;
    const TestStrings::Composition composition = TestStrings::compose(selection, config, message);
    if (!composition.sendEnabled.value_or(false))
        return fail(QStringLiteral("output %1 has no %2 code")
                        .arg(selection.output + 1)
                        .arg(selection.on ? QStringLiteral("On") : QStringLiteral("Off")));
    QByteArray bytes;
    try {
        bytes = TestStrings::sendBytes(selection.mode, message);
    } catch (const std::exception &) {
        return fail(QStringLiteral("the code holds a value that is not a byte"));
    }
    return sendOnPort(cmd->value(o.port), selection, message, config, bytes, cmd.traced());
}

} // namespace cli
