#include "TestStrings.h"

#include "ConfigData.h"
#include "LineSettings.h"
#include "Logging.h"
#include "SerialEditorData.h"
#include "SerialLink.h"
#include "SerialSettings.h"
#include "Waiter.h"

#include <stdexcept>

namespace TestStrings {

namespace {

using Type = SerialEditorData::Type;

constexpr std::int16_t StateOn = 255;
constexpr std::int16_t StateOff = 0;
constexpr std::int16_t Blank = 32;

// Map and Mask show their one byte three times, in the notations a user
// checks a bit pattern with.
void threeNotations(SerialEditorData &message, std::int16_t value)
{
    message.SetNumberOfBytesInMessage(3);
    const Type types[] = {Type::Decimal, Type::Hexadecimal, Type::Binary};
    for (int i = 0; i < 3; ++i) {
        message.SetByteValue(i, value);
        message.SetByteType(i, types[i]);
    }
}

Composition composeMap(const Selection &selection, SerialEditorData &message)
{
    std::int16_t value = 0;
    for (int i = 0; i < OutputCount; ++i) {
        if (selection.checked[static_cast<std::size_t>(i)])
            value = static_cast<std::int16_t>(value + (1 << i));
    }
    message.EmptyOut();
    threeNotations(message, value);
    return {selection.port >= 1, std::nullopt, false};
}

Composition composeMask(const Selection &selection, SerialEditorData &message)
{
    // With no output chosen the "bit" is 256, which is no byte: the send
    // then fails and sends nothing.
    const std::int16_t bit = selection.output >= 0 && selection.output < OutputCount
                                 ? std::int16_t(1 << selection.output)
                                 : std::int16_t(256);
    const std::int16_t value = selection.off ? std::int16_t(bit ^ 255) : bit;
    message.EmptyOut();
    if (!selection.on && !selection.off)
        return {false, std::nullopt, false};
    threeNotations(message, value);
    return {selection.port >= 1, std::nullopt, false};
}

Composition composeBit(const Selection &selection, SerialEditorData &message)
{
    message.EmptyOut();
    const auto output = static_cast<std::int16_t>(selection.output + 1);
    std::int16_t state = 0;
    if (selection.on)
        state = StateOn;
    else if (selection.off)
        state = StateOff;
    else
        return {false, std::nullopt, false};

    // The pair is shown three times, in decimal, hexadecimal and binary,
    // with two blanks between the pairs; only the first pair is sent.
    struct Cell {
        std::int16_t value;
        Type type;
    };
    const Cell cells[] = {{state, Type::Decimal}, {output, Type::Decimal},    {Blank, Type::Ascii},
                          {Blank, Type::Ascii},   {state, Type::Hexadecimal}, {output, Type::Hexadecimal},
                          {Blank, Type::Ascii},   {Blank, Type::Ascii},       {state, Type::Binary},
                          {output, Type::Binary}};
    message.SetNumberOfBytesInMessage(static_cast<std::int16_t>(std::size(cells)));
    for (int i = 0; i < static_cast<int>(std::size(cells)); ++i) {
        message.SetByteValue(i, cells[i].value);
        message.SetByteType(i, cells[i].type);
    }
    return {selection.port >= 1, std::nullopt, false};
}

Composition composeTavo(Selection &selection, const ConfigData &config, SerialEditorData &message)
{
    const int s = selection.output;
    if (s < 0)
        return {};
    Composition result;
    // An output past the eighth is a program error, not a user's choice.
    const bool pulse = config.PulseModes.at(static_cast<std::size_t>(s));
    if (pulse) {
        // A pulse output has no Off code to test.
        selection.on = true;
        selection.off = false;
    }
    result.offVisible = !pulse;

    if (selection.on) {
        message.SetAllDataTo(config.OnMessages.at(static_cast<std::size_t>(s)));
    } else if (!selection.off) {
        message.EmptyOut();
        return result;
    } else {
        message.SetAllDataTo(config.OffMessages.at(static_cast<std::size_t>(s)));
    }
    result.loaded = true;
    result.sendEnabled = selection.port >= 1 && message.NumberOfBytesInMessage() > 0;
    return result;
}

} // namespace

Composition compose(Selection &selection, const ConfigData &config, SerialEditorData &message)
{
    switch (selection.mode) {
    case Map: return composeMap(selection, message);
    case Mask: return composeMask(selection, message);
    case Bit: return composeBit(selection, message);
    case Tavo: return composeTavo(selection, config, message);
    default: return {};
    }
}

QString unitSettings(int baudIndex, int parityIndex)
{
    QString text;
    if (baudIndex >= 0 && baudIndex < static_cast<int>(tavo::BaudRates.size()))
        text += QString::number(tavo::BaudRates[static_cast<std::size_t>(baudIndex)]) + QLatin1Char(',');
    static constexpr char ParityLetters[] = {'n', 'e', 'o'};
    if (parityIndex >= 0 && parityIndex < static_cast<int>(std::size(ParityLetters)))
        text += QLatin1Char(ParityLetters[parityIndex]);
    return text + QStringLiteral(",8,1");
}

std::optional<QString> sendSettings(int mode, const ConfigData &config)
{
    switch (mode) {
    case Map:
    case Mask:
    case Bit: return QStringLiteral("9600,n,8,1");
    case Tavo: return unitSettings(config.BaudIndex, config.ParityIndex);
    default: return std::nullopt;
    }
}

int sendCount(int mode, const SerialEditorData &message)
{
    switch (mode) {
    case Map:
    case Mask: return 1;
    case Bit: return 2;
    case Tavo: return message.NumberOfBytesInMessage();
    default: return 0;
    }
}

QByteArray sendBytes(int mode, const SerialEditorData &message)
{
    const int n = sendCount(mode, message);
    if (n <= 0)
        throw std::out_of_range("no bytes to send");
    QByteArray bytes(n, '\0');
    for (int i = 0; i < n; ++i) {
        // A wildcard byte goes out as the value it happens to hold.
        const std::int16_t value = message.ByteValue(i);
        if (value < 0 || value > 255)
            throw std::overflow_error("test byte value out of range");
        bytes[i] = static_cast<char>(value);
    }
    return bytes;
}

std::chrono::milliseconds drainMs(int count, const QString &settings)
{
    constexpr std::chrono::milliseconds Settle{20};
    if (count <= 0)
        return {};
    const LineSettings s = LineSettings::parse(settings).value_or(LineSettings{});
    const int bitsPerByte = 1 + s.dataBits + (s.parity == LineSettings::Parity::None ? 0 : 1) + s.stopBits;
    const qint64 bits = qint64(count) * bitsPerByte;
    return std::chrono::milliseconds((bits * 1000 + s.baud - 1) / s.baud) + Settle;
}

namespace {

// Opens the port, writes and lets the bytes leave; throws SerialLinkError
// with the reason when the port cannot be had at the setting.
void sendOnOpenPort(SerialLink &link, int port, const QString &settings, const QByteArray &bytes,
                    Waiter *drain)
{
    link.SetCommPort(port);
    link.SetSettings(settings);
    link.SetPortOpen(true);
    if (!link.PortOpen())
        throw SerialLinkError(link.lastError().toStdString());
    link.Output(bytes);
    if (!drain)
        return;
    const std::chrono::milliseconds held = drainMs(static_cast<int>(bytes.size()), settings);
    qCDebug(lcSerial) << "holding port" << port << "open" << held.count() << "ms for the bytes to leave";
    drain->wait(held);
}

} // namespace

SendResult Send(SerialLink &link, int port, int mode, const SerialEditorData &message,
                const ConfigData &config, Waiter *drain)
{
    SendResult result;
    try {
        if (link.PortOpen())
            link.SetPortOpen(false);
        const std::optional<QString> settings = sendSettings(mode, config);
        if (port >= 1 && settings) {
            sendOnOpenPort(link, port, *settings, sendBytes(mode, message), drain);
            result.sent = true;
        }
    } catch (const SerialLinkError &e) {
        // The user sees the unit not react, and this says why.
        result.why = QString::fromLocal8Bit(e.what());
        qCInfo(lcSerial) << "test string for port" << port << "not sent:" << e.what();
    } catch (const std::exception &e) {
        qCInfo(lcSerial) << "no test string in the message for mode" << mode << "-" << e.what();
    }
    try {
        if (link.PortOpen())
            link.SetPortOpen(false);
    } catch (const std::exception &e) {
        qCInfo(lcSerial) << "port" << port << "not closed after a test string:" << e.what();
    }
    return result;
}

} // namespace TestStrings
