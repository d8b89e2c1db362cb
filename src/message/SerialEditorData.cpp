#include "message/SerialEditorData.h"

#include "message/NumericText.h"

#include <stdexcept>

namespace {

// Reads comma-terminated fields. A field without its closing comma is a
// malformed text: the writer always terminates every field, the last one too.
class FieldReader
{
public:
    explicit FieldReader(std::string_view text)
        : m_text(text)
    {}

    bool next(std::string_view &field)
    {
        const std::size_t comma = m_text.find(',', m_pos);
        if (comma == std::string_view::npos)
            return false;
        field = m_text.substr(m_pos, comma - m_pos);
        m_pos = comma + 1;
        return true;
    }

private:
    std::string_view m_text;
    std::size_t m_pos = 0;
};

void appendField(std::string &out, int value)
{
    out += std::to_string(value);
    out += ',';
}

} // namespace

void SerialEditorData::checkIndex(int index)
{
    if (index < 0 || index >= SlotCount)
        throw std::out_of_range("byte index outside 0 to 14");
}

std::int16_t SerialEditorData::ByteValue(int index) const
{
    checkIndex(index);
    return m_value[static_cast<std::size_t>(index)];
}

void SerialEditorData::SetByteValue(int index, std::int16_t value)
{
    checkIndex(index);
    m_value[static_cast<std::size_t>(index)] = value;
}

SerialEditorData::Type SerialEditorData::ByteType(int index) const
{
    checkIndex(index);
    return m_type[static_cast<std::size_t>(index)];
}

void SerialEditorData::SetByteType(int index, Type type)
{
    checkIndex(index);
    m_type[static_cast<std::size_t>(index)] = type;
}

void SerialEditorData::EmptyOut()
{
    m_value.fill(0);
    // Only the first type is reset: the other slots keep their codes, so an
    // emptied message is not necessarily the same as a new one.
    m_type[0] = Type::Ascii;
    m_count = 0;
    m_currentByte = 0;
    m_currentMode = Type::Ascii;
    m_canDoIgnore = false;
}

std::string SerialEditorData::PackedIntoString() const
{
    std::string out;
    appendField(out, m_count);
    appendField(out, m_currentByte);
    appendField(out, codeOf(m_currentMode));
    out += m_canDoIgnore ? "1," : "0,";
    // One pair more than the message has bytes: the slot after the last
    // byte is written too, and readers skip it. Reading the slots goes
    // through ByteValue() so a count outside the slots faults like any
    // other bad index instead of reading past the arrays.
    for (int i = 0; i <= m_count; ++i) {
        appendField(out, ByteValue(i));
        appendField(out, codeOf(ByteType(i)));
    }
    return out;
}

bool SerialEditorData::UnpackFromString(std::string_view text)
{
    if (text.empty())
        return false;

    SerialEditorData scratch;
    FieldReader reader(text);
    std::string_view field;

    if (!reader.next(field))
        return false;
    scratch.m_count = tavo::leadingInt16(field);
    if (!reader.next(field))
        return false;
    scratch.m_currentByte = tavo::leadingInt16(field);
    if (!reader.next(field))
        return false;
    const std::int16_t mode = tavo::leadingInt16(field);
    if (!isNamedType(mode))
        return false;
    scratch.m_currentMode = Type{mode};
    if (!reader.next(field))
        return false;
    if (field == "1")
        scratch.m_canDoIgnore = true;
    else if (field == "0")
        scratch.m_canDoIgnore = false;
    else
        return false;

    for (int k = 1; k <= scratch.m_count; ++k) {
        if (!reader.next(field))
            return false;
        const std::int16_t value = tavo::leadingInt16(field);
        scratch.SetByteValue(k - 1, value); // a count above 15 faults here
        if (!reader.next(field))
            return false;
        const std::int16_t type = tavo::leadingInt16(field);
        if (!isNamedType(type))
            return false;
        scratch.SetByteType(k - 1, Type{type});
    }

    // The entry mode is the editor's own business: it is checked above but
    // this message keeps the mode it had.
    m_value = scratch.m_value;
    m_type = scratch.m_type;
    m_canDoIgnore = scratch.m_canDoIgnore;
    m_currentByte = scratch.m_currentByte;
    m_count = scratch.m_count;
    return true;
}

void SerialEditorData::SetAllDataTo(const SerialEditorData &other)
{
    // Deliberately leaves CurrentMode alone, like UnpackFromString().
    m_value = other.m_value;
    m_type = other.m_type;
    m_canDoIgnore = other.m_canDoIgnore;
    m_currentByte = other.m_currentByte;
    m_count = other.m_count;
}

bool SerialEditorData::IsTheSameAs(const SerialEditorData &other) const
{
    return m_value == other.m_value && m_type == other.m_type && m_canDoIgnore == other.m_canDoIgnore
           && m_count == other.m_count;
}
