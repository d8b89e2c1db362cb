#pragma once

#include "SerialEditorData.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace ByteDisplay {

// A colour as plain red, green and blue (0..255); the editor model stays
// free of QtGui.
struct Rgb {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// How bytes of one type read: the text a value is drawn as and the value a
// text stands for, the suffix after it, its colour and the label of its
// entry mode. Every type has one entry in one table (notationOf), so a
// notation is described in one place and the drawing, the typing and the
// labels cannot disagree about it.
struct Notation {
    using Type = SerialEditorData::Type;

    Type type = Type::NoMeaning;
    QStringView label;  // of the entry mode: "ASC"; empty for types nobody types in
    QStringView suffix; // after a number: "d", "h", "b"
    Rgb colour;
    // The number notations: their base, the digits of a byte with leading
    // zeros, and the bits they show of a value (hexadecimal shows 16 bits,
    // binary 8, decimal the number as it is). Base 0 for the others.
    int base = 0;
    int width = 0;
    int mask = ~0;
    // The text and value of the notations that are not numbers.
    QString (*symbolText)(int value) = nullptr;
    std::optional<int> (*symbolValue)(QStringView text) = nullptr;

    bool isNumber() const { return base != 0; }
    // The value as drawn, without separator and suffix.
    QString text(int value, bool leadingZeros = false) const;
    // The value a text stands for, or nothing. Numbers take digits of their
    // base only, in either letter case and with or without leading zeros.
    std::optional<int> value(QStringView text) const;
};

// The notation of a type. A code without a name of its own reads like
// "no meaning": no text, black.
const Notation &notationOf(SerialEditorData::Type type);

} // namespace ByteDisplay
