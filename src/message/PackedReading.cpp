#include "PackedReading.h"

#include "NumericText.h"

#include <stdexcept>

namespace {

// Reads comma-terminated fields and converts them. A field without its
// closing comma is a malformed text: the writer always terminates every
// field, the last one too.
class FieldReader
{
public:
    FieldReader(std::string_view text, PackedReading &reading)
        : m_text(text)
        , m_reading(reading)
    {}

    // The next field's text; false (and the fault noted) when it is not
    // closed.
    bool next(std::string_view &field)
    {
        ++m_field;
        const std::size_t comma = m_text.find(',', m_pos);
        if (comma == std::string_view::npos)
            return fail(PackedReading::Fault::FieldNotClosed);
        field = m_text.substr(m_pos, comma - m_pos);
        m_pos = comma + 1;
        return true;
    }

    // The next field as a number, read as leniently as the editor always
    // has ("12abc" is 12, "" is 0), halves rounded to even.
    bool number(std::int16_t &value)
    {
        std::string_view field;
        if (!next(field))
            return false;
        if (m_reading.looseField == 0 && !tavo::wholeNumber(field))
            m_reading.looseField = m_field;
        try {
            value = tavo::leadingInt16(field);
        } catch (const std::overflow_error &) {
            return fail(PackedReading::Fault::NumberBeyond16Bits);
        }
        return true;
    }

    std::string_view rest() const { return m_text.substr(m_pos); }

    bool fail(PackedReading::Fault fault)
    {
        m_reading.fault = fault;
        m_reading.field = m_field;
        return false;
    }

private:
    std::string_view m_text;
    PackedReading &m_reading;
    std::size_t m_pos = 0;
    int m_field = 0;
};

bool readHead(FieldReader &reader, SerialEditorData &message)
{
    std::int16_t count = 0;
    std::int16_t cursor = 0;
    std::int16_t mode = 0;
    if (!reader.number(count) || !reader.number(cursor) || !reader.number(mode))
        return false;
    if (!SerialEditorData::isNamedType(mode))
        return reader.fail(PackedReading::Fault::ModeOutOfRange);
    std::string_view ignore;
    if (!reader.next(ignore))
        return false;
    if (ignore != "1" && ignore != "0")
        return reader.fail(PackedReading::Fault::IgnoreFieldInvalid);
    message.SetNumberOfBytesInMessage(count);
    message.SetCurrentByte(cursor);
    message.SetCurrentMode(SerialEditorData::Type{mode});
    message.SetCanDoIgnore(ignore == "1");
    return true;
}

// The value and type of each byte. Only `count` pairs are read: whatever
// follows (the extra pair the writer adds) is not looked at.
bool readBytes(FieldReader &reader, PackedReading &reading)
{
    SerialEditorData &message = reading.message;
    for (int k = 0; k < message.NumberOfBytesInMessage(); ++k) {
        std::int16_t value = 0;
        if (!reader.number(value))
            return false;
        if (k >= SerialEditorData::SlotCount)
            return reader.fail(PackedReading::Fault::CountBeyondSlots);
        message.SetByteValue(k, value);
        std::int16_t type = 0;
        if (!reader.number(type))
            return false;
        message.SetByteType(k, SerialEditorData::Type{type});
        if (!SerialEditorData::isNamedType(type)) {
            reading.byteIndex = k;
            return reader.fail(PackedReading::Fault::TypeOutOfRange);
        }
    }
    return true;
}

} // namespace

PackedReading readPackedText(std::string_view text)
{
    PackedReading reading;
    if (text.empty()) {
        reading.fault = PackedReading::Fault::Empty;
        return reading;
    }
    FieldReader reader(text, reading);
    if (readHead(reader, reading.message) && readBytes(reader, reading))
        reading.rest = reader.rest();
    return reading;
}
