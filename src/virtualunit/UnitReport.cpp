#include "UnitReport.h"

#include "ByteDisplay.h"

#include <QStringList>

#include <algorithm>
#include <vector>

namespace {

using Type = SerialEditorData::Type;

constexpr std::uint8_t SerialTavoCode = 22;

Type guessedType(std::uint8_t byte)
{
    if (byte < 32)
        return Type::Control;
    if (byte < 127)
        return Type::Ascii;
    return Type::Hexadecimal;
}

// The configured codes, longest first, so that a code inside a longer one
// does not take the longer one's bytes.
std::vector<const SerialEditorData *> codesOf(const ConfigData &config)
{
    std::vector<const SerialEditorData *> codes;
    for (std::size_t n = 0; n < config.OnMessages.size(); ++n) {
        for (const SerialEditorData *code : {&config.OnMessages[n], &config.OffMessages[n]}) {
            if (code->NumberOfBytesInMessage() > 0
                && code->NumberOfBytesInMessage() <= SerialEditorData::MaxBytes)
                codes.push_back(code);
        }
    }
    std::stable_sort(codes.begin(), codes.end(), [](const SerialEditorData *a, const SerialEditorData *b) {
        return a->NumberOfBytesInMessage() > b->NumberOfBytesInMessage();
    });
    return codes;
}

bool holdsAt(const QByteArray &bytes, qsizetype at, const SerialEditorData &code)
{
    const int length = code.NumberOfBytesInMessage();
    if (at + length > bytes.size())
        return false;
    for (int i = 0; i < length; ++i) {
        const bool any = code.ByteType(i) == Type::Ignore;
        if (!any && static_cast<std::uint8_t>(bytes.at(at + i)) != code.ByteValue(i))
            return false;
    }
    return true;
}

QString outputList(std::uint8_t map)
{
    QStringList on;
    for (int n = 0; n < 8; ++n) {
        if (map & (1u << n))
            on << QString::number(n + 1);
    }
    return on.join(QStringLiteral(", "));
}

QString mapText(std::uint8_t map)
{
    if (map == 0)
        return QStringLiteral("map: all outputs off");
    if (map == 0xFF)
        return QStringLiteral("map: all outputs on");
    const QString list = outputList(map);
    return QStringLiteral("map: %1 %2 on, the others off")
        .arg(list.contains(QLatin1Char(',')) ? QStringLiteral("outputs") : QStringLiteral("output"), list);
}

QString periodText(int ms)
{
    return ms < 1000 ? QStringLiteral("%1 s").arg(ms / 1000.0, 0, 'f', 1)
                     : QStringLiteral("%1 s").arg(ms / 1000);
}

// Bytes a font cannot show become the sign the code editor draws for them.
QString printable(QString text)
{
    for (QChar &c : text) {
        if (!c.isPrint())
            c = QChar(0x2302);
    }
    return text;
}

} // namespace

namespace UnitReport {

SerialEditorData typedBytes(const QByteArray &received, const ConfigData &config)
{
    const QByteArray bytes = received.right(SerialEditorData::MaxBytes);
    SerialEditorData message;
    message.SetNumberOfBytesInMessage(static_cast<std::int16_t>(bytes.size()));
    std::vector<bool> typed(static_cast<std::size_t>(bytes.size()), false);
    for (int i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<std::uint8_t>(bytes.at(i));
        message.SetByteValue(i, byte);
        message.SetByteType(i, guessedType(byte));
    }
    for (const SerialEditorData *code : codesOf(config)) {
        const int length = code->NumberOfBytesInMessage();
        for (int at = 0; at + length <= bytes.size(); ++at) {
            const auto first = typed.begin() + at;
            if (std::any_of(first, first + length, [](bool b) { return b; }) || !holdsAt(bytes, at, *code))
                continue;
            for (int i = 0; i < length; ++i) {
                // A wildcard of the code shows what actually came.
                if (code->ByteType(i) != Type::Ignore)
                    message.SetByteType(at + i, code->ByteType(i));
            }
            std::fill(first, first + length, true);
        }
    }
    return message;
}

QString switchText(const UnitSwitch &change)
{
    using Cause = UnitSwitch::Cause;
    const QString output = QString::number(change.output + 1);
    const QString state = change.on ? QStringLiteral("on") : QStringLiteral("off");
    switch (change.cause) {
    case Cause::OnCode:
        return change.pulseMs > 0
                   ? QStringLiteral("output %1 on for %2").arg(output, periodText(change.pulseMs))
                   : QStringLiteral("output %1 on").arg(output);
    case Cause::OffCode: return QStringLiteral("output %1 off").arg(output);
    case Cause::Map:
        return mapText(change.bytes.isEmpty() ? change.outputs
                                              : static_cast<std::uint8_t>(change.bytes.front()));
    case Cause::Mask: return QStringLiteral("mask: output %1 %2").arg(output, state);
    case Cause::Bit: return QStringLiteral("bit: output %1 %2").arg(output, state);
    case Cause::PeriodOver: return QStringLiteral("output %1 off: its period is over").arg(output);
    case Cause::Restart: return QStringLiteral("restart: all outputs off");
    }
    return {};
}

QString historyLine(const QTime &time, const UnitSwitch &change, const ConfigData &config)
{
    if (change.bytes.isEmpty())
        return historyLine(time, switchText(change));
    const QString bytes = printable(ByteDisplay::messageText(typedBytes(change.bytes, config)));
    return historyLine(time, bytes + QStringLiteral(" -> ") + switchText(change));
}

QString historyLine(const QTime &time, const QString &event)
{
    return time.toString(QStringLiteral("HH:mm:ss")) + QStringLiteral("  ") + event;
}

QString remainingText(qint64 ms)
{
    // Rounded up: a pulse that has 50 ms left is not over.
    const qint64 tenths = (std::max<qint64>(ms, 0) + 99) / 100;
    return QStringLiteral("%1.%2 s").arg(tenths / 10).arg(tenths % 10);
}

QString identity(const UnitConfig &config)
{
    const QString name =
        config.replyCode == SerialTavoCode ? QStringLiteral("Serial Tavo") : QStringLiteral("Unit");
    return QStringLiteral("%1 %2.%3 (type code %4)")
        .arg(name)
        .arg(config.versionMajor)
        .arg(config.versionMinor)
        .arg(config.replyCode);
}

} // namespace UnitReport
