#include "editor/ByteDisplay.h"

#include "message/NumericText.h"

#include <algorithm>
#include <cstdlib>

namespace ByteDisplay {
namespace {

// Windows-1252 characters for the bytes 0x80..0x9F; the five holes of that
// code page keep their Latin-1 code.
constexpr std::array<char16_t, 32> HighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr char16_t DelCharacter = 127;

// A byte needs at most eight binary digits; one more is the digit being tried.
constexpr qsizetype MaxTypedDigits = 9;

// 0..15 for the ASCII digits and letters A..F in either case, 99 otherwise.
int asciiDigitValue(char16_t c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    return 99;
}

} // namespace

const std::array<QString, 32> &controlCharNames()
{
    static const std::array<QString, 32> names = {
        QStringLiteral("NUL"), QStringLiteral("SOH"), QStringLiteral("STX"), QStringLiteral("ETX"),
        QStringLiteral("EOT"), QStringLiteral("ENQ"), QStringLiteral("ACK"), QStringLiteral("BEL"),
        QStringLiteral("BS"),  QStringLiteral("HT"),  QStringLiteral("LF"),  QStringLiteral("VT"),
        QStringLiteral("FF"),  QStringLiteral("CR"),  QStringLiteral("SO"),  QStringLiteral("SI"),
        QStringLiteral("DLE"), QStringLiteral("DC1"), QStringLiteral("DC2"), QStringLiteral("DC3"),
        QStringLiteral("DC4"), QStringLiteral("NAK"), QStringLiteral("SYN"), QStringLiteral("ETB"),
        QStringLiteral("CAN"), QStringLiteral("EM"),  QStringLiteral("SUB"), QStringLiteral("ESC"),
        QStringLiteral("FS"),  QStringLiteral("GS"),  QStringLiteral("RS"),  QStringLiteral("US")};
    return names;
}

QString controlCharName(int value)
{
    if (value < 0 || value > 31)
        return QStringLiteral("???");
    return controlCharNames()[static_cast<std::size_t>(value)];
}

QString controlCharCaption(int value)
{
    // These captions are what users have always seen in the menu, so the
    // uneven spacing and the old spellings ("SOT", "Linfeed") stay.
    static const std::array<QString, 32> captions = {QStringLiteral("NUL   Null"),
                                                     QStringLiteral("SOH  Start of heading"),
                                                     QStringLiteral("SOT  Start of text"),
                                                     QStringLiteral("ETX   End of text"),
                                                     QStringLiteral("EOT  End of transmission"),
                                                     QStringLiteral("ENQ  Enquiry"),
                                                     QStringLiteral("ACK  Acknowledge"),
                                                     QStringLiteral("BEL   Bell"),
                                                     QStringLiteral("BS    Backspace"),
                                                     QStringLiteral("HT    Horizontal tab"),
                                                     QStringLiteral("LF     Linfeed"),
                                                     QStringLiteral("VT    Vetival tab"),
                                                     QStringLiteral("FF    Form feed"),
                                                     QStringLiteral("CR   Carriage return"),
                                                     QStringLiteral("SO   Shift out"),
                                                     QStringLiteral("SI    Shift in"),
                                                     QStringLiteral("DLE  Data link escape"),
                                                     QStringLiteral("DC1  Device control 1"),
                                                     QStringLiteral("DC2  Device control 2"),
                                                     QStringLiteral("DC3  Device control 3"),
                                                     QStringLiteral("DC4  Device control 4"),
                                                     QStringLiteral("NAK  Negative acknowledge"),
                                                     QStringLiteral("SYN  Synchronous idle"),
                                                     QStringLiteral("ETB  End of transmission block"),
                                                     QStringLiteral("CAN Cancel"),
                                                     QStringLiteral("EM    End of medium"),
                                                     QStringLiteral("SUB  Substitute"),
                                                     QStringLiteral("ESC  Escape"),
                                                     QStringLiteral("FS    File seperate"),
                                                     QStringLiteral("GS   Group seperator"),
                                                     QStringLiteral("RS   Record Seperator"),
                                                     QStringLiteral("US   Unit seperator")};
    if (value < 0 || value > 31)
        return {};
    return captions[static_cast<std::size_t>(value)];
}

int shownByteCount(const SerialEditorData &message)
{
    return std::clamp<int>(message.NumberOfBytesInMessage(), 0, SerialEditorData::SlotCount);
}

Type displayTypeOf(const SerialEditorData &message, int index, ForcedType forced)
{
    const Type own = message.ByteType(index);
    if (!forced)
        return own;
    if (own == Type::Ignore && message.CanDoIgnore())
        return Type::Ignore;
    return *forced;
}

QString valueText(int value, Type displayType, bool leadingZeros)
{
    switch (displayType) {
    case Type::Ascii: return QString(characterFor(value));
    case Type::Decimal:
        if (!leadingZeros)
            return QString::number(value);
        return (value < 0 ? QStringLiteral("-") : QString())
               + QStringLiteral("%1").arg(std::abs(value), 3, 10, QLatin1Char('0'));
    case Type::Hexadecimal: {
        // Out-of-range values from old files show as their 16-bit pattern.
        const QString digits = QString::number(value & 0xFFFF, 16).toUpper();
        return leadingZeros && digits.size() == 1 ? QLatin1Char('0') + digits : digits;
    }
    case Type::Binary: {
        const QString bits = QStringLiteral("%1").arg(value & 0xFF, 8, 2, QLatin1Char('0'));
        if (leadingZeros)
            return bits;
        const qsizetype firstOne = bits.indexOf(QLatin1Char('1'));
        return firstOne < 0 ? QStringLiteral("0") : bits.mid(firstOne);
    }
    case Type::Control: return controlCharName(value);
    case Type::Ignore: return QStringLiteral("?");
    default: return {};
    }
}

QString suffixOf(Type displayType)
{
    switch (displayType) {
    case Type::Decimal: return QStringLiteral("d");
    case Type::Hexadecimal: return QStringLiteral("h");
    case Type::Binary: return QStringLiteral("b");
    default: return {};
    }
}

Rgb colourOf(Type displayType)
{
    switch (displayType) {
    case Type::Decimal: return {0, 0, 255};
    case Type::Hexadecimal: return {255, 0, 0};
    case Type::Binary: return {255, 0, 255};
    case Type::Control: return {0, 128, 0};
    case Type::Ignore: return {255, 128, 0};
    default: return Black;
    }
}

QString cellText(const SerialEditorData &message, int index, ForcedType forced, bool leadingZeros)
{
    const Type type = displayTypeOf(message, index, forced);
    QString cell;
    if (index > 0 && (type != Type::Ascii || displayTypeOf(message, index - 1, forced) != Type::Ascii))
        cell = QStringLiteral(",");
    cell += valueText(message.ByteValue(index), type, leadingZeros);
    cell += suffixOf(type);
    return cell;
}

QString messageText(const SerialEditorData &message, ForcedType forced, bool leadingZeros)
{
    QString text;
    for (int i = 0; i < shownByteCount(message); ++i)
        text += cellText(message, i, forced, leadingZeros);
    return text;
}

QString modeLabel(Type type)
{
    const int mode = SerialEditorData::codeOf(type);
    static const std::array<QString, 5> labels = {QStringLiteral("ASC"), QStringLiteral("DEC"),
                                                  QStringLiteral("HEX"), QStringLiteral("BIN"),
                                                  QStringLiteral("CNT")};
    if (mode < 0 || mode > 4)
        return {};
    return labels[static_cast<std::size_t>(mode)];
}

QString positionLabel(const SerialEditorData &message)
{
    return QStringLiteral("%1/%2").arg(message.CurrentByte() + 1).arg(message.NumberOfBytesInMessage());
}

QChar characterFor(int value)
{
    if (value < 32)
        return QChar(DelCharacter);
    if (value >= 0x80 && value <= 0x9F)
        return QChar(HighControls[static_cast<std::size_t>(value - 0x80)]);
    if (value > 0xFFFF)
        return QChar(DelCharacter);
    return QChar(static_cast<char16_t>(value));
}

std::optional<int> byteFor(char16_t character)
{
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF))
        return character;
    const auto *found = std::find(HighControls.begin(), HighControls.end(), character);
    if (found != HighControls.end())
        return 0x80 + static_cast<int>(found - HighControls.begin());
    return std::nullopt;
}

QString typedDigits(int value, Type type)
{
    switch (type) {
    case Type::Decimal: return QString::number(value);
    case Type::Hexadecimal: return QString::number(value & 0xFFFF, 16).toUpper();
    case Type::Binary: return QString::number(value & 0xFF, 2);
    default: return {};
    }
}

std::optional<int> digitsValue(const QString &digits, Type type)
{
    if (digits.isEmpty() || digits.size() > MaxTypedDigits)
        return std::nullopt;
    const int base = type == Type::Decimal       ? 10
                     : type == Type::Hexadecimal ? 16
                     : type == Type::Binary      ? 2
                                                 : 0;
    if (base == 0)
        return std::nullopt;
    for (const QChar c : digits) {
        if (asciiDigitValue(c.unicode()) >= base)
            return std::nullopt;
    }
    // Decimal and hexadecimal go through the shared number reader ("&H" is
    // its hexadecimal prefix); binary is read most significant digit first.
    if (type == Type::Binary) {
        int v = 0;
        for (const QChar c : digits)
            v = v * 2 + (c == QLatin1Char('1') ? 1 : 0);
        return v;
    }
    const QString text = type == Type::Hexadecimal ? QStringLiteral("&H") + digits : digits;
    // Only a few digits ever reach here (a byte's worth plus the one being
    // tried), so the number always fits an int.
    return static_cast<int>(tavo::leadingNumber(text.toStdString()));
}

} // namespace ByteDisplay
