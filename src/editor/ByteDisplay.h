#pragma once

#include "Notation.h"
#include "SerialEditorData.h"

#include <QString>

#include <optional>

// How a message reads on screen: the cells of its bytes, each the byte's
// text in its notation with a separator before it, and the labels beside
// the drawing. Pure functions, so that the editor widget and the
// command-line `tavo show` print a message identically.
namespace ByteDisplay {

using Type = SerialEditorData::Type;
// A display forced on every byte, or nothing when each byte shows in its own type.
using ForcedType = std::optional<Type>;

// The caption of the "Insert Control" item for value 0..31, spacing and
// spelling as the menu has always shown them; empty outside 0..31.
QString controlCharCaption(int value);

// The type that decides a byte's text and colour: its own type unless a
// type is forced, except that an Ignore byte stays an Ignore byte while the
// message allows them.
Type displayTypeOf(const SerialEditorData &message, int index, ForcedType forced);

// Separator, text and suffix of byte `index` as one string: a "," goes
// before a byte when it or its left neighbour is not shown as ASCII, so a
// run of ASCII bytes reads like a string and numbers stand apart.
QString cellText(const SerialEditorData &message, int index, ForcedType forced, bool leadingZeros);
// All cells of the message, one after the other.
QString messageText(const SerialEditorData &message, ForcedType forced = {}, bool leadingZeros = false);
// How many byte slots are drawn: the count, kept within the 15 slots.
int shownByteCount(const SerialEditorData &message);

// Cursor position plus one, "/", byte count: "3/5".
QString positionLabel(const SerialEditorData &message);

} // namespace ByteDisplay
