#pragma once

#include "message/SerialEditorData.h"

#include <QString>

#include <array>
#include <optional>

// How a message reads on screen: the text, suffix, separator and colour of
// every byte. Pure functions, so that the editor widget and the command-line
// `tavo show` print a message identically.
namespace ByteDisplay {

// A colour as plain red, green and blue (0..255); the editor model stays
// free of QtGui.
struct Rgb {
    int red = 0;
    int green = 0;
    int blue = 0;
    friend bool operator==(const Rgb &, const Rgb &) = default;
};

constexpr Rgb Black{0, 0, 0};
constexpr Rgb White{255, 255, 255};

// The short names "NUL" to "US", indexed by byte value.
const std::array<QString, 32> &controlCharNames();
// The short name for 0..31, "???" for any other value.
QString controlCharName(int value);
// The caption of the "Insert Control" item for value 0..31, spacing and
// spelling as the menu has always shown them; empty outside 0..31.
QString controlCharCaption(int value);

using Type = SerialEditorData::Type;
// A display forced on every byte, or nothing when each byte shows in its own type.
using ForcedType = std::optional<Type>;

// The type that decides a byte's text and colour: its own type unless a
// type is forced, except that an Ignore byte stays an Ignore byte while the
// message allows them.
Type displayTypeOf(const SerialEditorData &message, int index, ForcedType forced);

// The value written in a display type, without separator and suffix.
QString valueText(int value, Type displayType, bool leadingZeros);
// "d", "h", "b" for the number types, empty otherwise.
QString suffixOf(Type displayType);
Rgb colourOf(Type displayType);

// Separator, text and suffix of byte `index` as one string: a "," goes
// before a byte when it or its left neighbour is not shown as ASCII, so a
// run of ASCII bytes reads like a string and numbers stand apart.
QString cellText(const SerialEditorData &message, int index, ForcedType forced, bool leadingZeros);
// All cells of the message, one after the other.
QString messageText(const SerialEditorData &message, ForcedType forced = {}, bool leadingZeros = false);
// How many byte slots are drawn: the count, kept within the 15 slots.
int shownByteCount(const SerialEditorData &message);

// "ASC", "DEC", "HEX", "BIN" or "CNT" for modes 0..4; empty for any other
// mode (the label then keeps what it showed).
QString modeLabel(Type mode);
// Cursor position plus one, "/", byte count: "3/5".
QString positionLabel(const SerialEditorData &message);

// The character a byte value stands for in ASCII display (Windows-1252, the
// code page the units' owners type on); values below 32 give character 127.
QChar characterFor(int value);
// The byte a typed character stands for, or nothing when the character has
// no single-byte code.
std::optional<int> byteFor(char16_t character);

// Digits of a value typed as Decimal (1), Hexadecimal (2) or Binary (3),
// without leading zeros; and the reverse. digitsValue() gives nothing for a
// digit that does not belong to the type, or for more than nine digits.
QString typedDigits(int value, Type type);
std::optional<int> digitsValue(const QString &digits, Type type);

} // namespace ByteDisplay
