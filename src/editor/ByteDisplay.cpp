#include "ByteDisplay.h"

#include <algorithm>
#include <array>

namespace ByteDisplay {
namespace {

// These captions are what users have always seen in the menu, so the
// uneven spacing and the old spellings ("SOT", "Linfeed") stay.
constexpr std::array<QStringView, 32> ControlCaptions = {u"NUL   Null",
                                                         u"SOH  Start of heading",
                                                         u"SOT  Start of text",
                                                         u"ETX   End of text",
                                                         u"EOT  End of transmission",
                                                         u"ENQ  Enquiry",
                                                         u"ACK  Acknowledge",
                                                         u"BEL   Bell",
                                                         u"BS    Backspace",
                                                         u"HT    Horizontal tab",
                                                         u"LF     Linfeed",
                                                         u"VT    Vetival tab",
                                                         u"FF    Form feed",
                                                         u"CR   Carriage return",
                                                         u"SO   Shift out",
                                                         u"SI    Shift in",
                                                         u"DLE  Data link escape",
                                                         u"DC1  Device control 1",
                                                         u"DC2  Device control 2",
                                                         u"DC3  Device control 3",
                                                         u"DC4  Device control 4",
                                                         u"NAK  Negative acknowledge",
                                                         u"SYN  Synchronous idle",
                                                         u"ETB  End of transmission block",
                                                         u"CAN Cancel",
                                                         u"EM    End of medium",
                                                         u"SUB  Substitute",
                                                         u"ESC  Escape",
                                                         u"FS    File seperate",
                                                         u"GS   Group seperator",
                                                         u"RS   Record Seperator",
                                                         u"US   Unit seperator"};

} // namespace

QString controlCharCaption(int value)
{
    if (value < 0 || value >= static_cast<int>(ControlCaptions.size()))
        return {};
    return ControlCaptions[static_cast<std::size_t>(value)].toString();
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
