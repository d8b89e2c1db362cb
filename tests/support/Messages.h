#pragma once

#include "SerialEditorData.h"

#include <QByteArrayView>

#include <initializer_list>
#include <optional>
#include <utility>

// Messages for the tests, built the one way: byte by byte with their types.
namespace samples {

using Type = SerialEditorData::Type;

// A message of (value, type) pairs with the cursor after its last byte; the
// slots after it stay zero so that it survives a trip through a file
// unchanged.
inline SerialEditorData message(std::initializer_list<std::pair<int, Type>> bytes, bool canIgnore = false)
{
    SerialEditorData m;
    int i = 0;
    for (const auto &[value, type] : bytes) {
        m.SetByteValue(i, static_cast<std::int16_t>(value));
        m.SetByteType(i++, type);
    }
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(i));
    m.SetCurrentByte(static_cast<std::int16_t>(i));
    m.SetCanDoIgnore(canIgnore);
    return m;
}

// A configured code of the given bytes, all of one type, except that every
// `wildcard` byte becomes an Ignore byte.
inline SerialEditorData code(QByteArrayView bytes, Type type = Type::Hexadecimal,
                             std::optional<char> wildcard = std::nullopt)
{
    SerialEditorData m;
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(bytes.size()));
    for (int i = 0; i < bytes.size(); ++i) {
        m.SetByteValue(i, static_cast<std::uint8_t>(bytes.at(i)));
        m.SetByteType(i, bytes.at(i) == wildcard ? Type::Ignore : type);
    }
    return m;
}

} // namespace samples
