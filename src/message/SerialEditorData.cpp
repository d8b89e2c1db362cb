#include "SerialEditorData.h"

#include "PackedReading.h"

#include <stdexcept>

namespace {

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
    const PackedReading reading = readPackedText(text);
    switch (reading.fault) {
    case PackedReading::Fault::None: break;
    // The two faults of the message's own rules: a count that needs more
    // slots than there are, a number that does not fit 16 bits.
    case PackedReading::Fault::CountBeyondSlots: throw std::out_of_range("byte index outside 0 to 14");
    case PackedReading::Fault::NumberBeyond16Bits: throw std::overflow_error("value does not fit 16 bits");
    default: return false;
    }
    // The entry mode is the editor's own business: it is checked when
    // reading but this message keeps the mode it had.
    const SerialEditorData &read = reading.message;
    m_value = read.m_value;
    m_type = read.m_type;
    m_canDoIgnore = read.m_canDoIgnore;
    m_currentByte = read.m_currentByte;
    m_count = read.m_count;
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
