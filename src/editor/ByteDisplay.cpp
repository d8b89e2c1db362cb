#include "editor/ByteDisplay.h"

#include <algorithm>
#include <array>

namespace ByteDisplay {

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

QString cellText(const SerialEditorData &message, int index, ForcedType forced, bool leadingZeros)
{
    const Notation &notation = notationOf(displayTypeOf(message, index, forced));
    QString cell;
    if (index > 0
        && (notation.type != Type::Ascii || displayTypeOf(message, index - 1, forced) != Type::Ascii))
        cell = QStringLiteral(",");
    cell += notation.text(message.ByteValue(index), leadingZeros);
    cell += notation.suffix;
    return cell;
}

QString messageText(const SerialEditorData &message, ForcedType forced, bool leadingZeros)
{
    QString text;
    for (int i = 0; i < shownByteCount(message); ++i)
        text += cellText(message, i, forced, leadingZeros);
    return text;
}

QString positionLabel(const SerialEditorData &message)
{
    return QStringLiteral("%1/%2").arg(message.CurrentByte() + 1).arg(message.NumberOfBytesInMessage());
}

} // namespace ByteDisplay
