#pragma once

#include "SerialEditorData.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

// The text that carries bytes from one message editor to another over the
// system clipboard: the marker, the number of bytes, then each byte's value
// and type, every field ended by a comma ("OLVEXBYTES2,13,4,65,0,"). Only
// text that starts with the marker is taken back, so ordinary text on the
// clipboard never turns into bytes. No clipboard here: the editor widget
// owns that, and this stays plain text in and out.
namespace ClipboardCodec {

inline const QString Marker = QStringLiteral("OLVEXBYTES");

struct Byte {
    std::int16_t value = 0;
    SerialEditorData::Type type = SerialEditorData::Type::Ascii;
    friend bool operator==(const Byte &, const Byte &) = default;
};

// The text for bytes first to last, both included, of the message.
QString encode(const SerialEditorData &message, int first, int last);

// The bytes of a clipboard text, values and types as they stand; nothing
// when the text is refused: no marker, a field without its comma, a count
// of 0, more bytes than a message has slots, or a number beyond 16 bits.
// A negative count reads as no bytes.
std::optional<QList<Byte>> decode(const QString &text);

} // namespace ClipboardCodec
