#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

// One serial message: the byte string a unit listens for, with the way the
// user entered each byte and the editing state that travels with it.
//
// A message holds at most 14 bytes in 15 slots. The fifteenth slot is
// always there so that every index from 0 to NumberOfBytesInMessage() is
// valid (the cursor may stand after the last byte). Slots beyond the
// message keep their value and type; they take part in IsTheSameAs() and
// the packed text writes one of them.
//
// Faults follow the unit's original firmware tools: an index outside 0..14
// throws std::out_of_range, a number that does not fit 16 bits throws
// std::overflow_error, and in both cases nothing has been changed.
//
// The class and its operations and properties (EmptyOut, PackedIntoString,
// UnpackFromString, SetAllDataTo, IsTheSameAs, ByteValue, ByteType,
// NumberOfBytesInMessage, CurrentByte, CurrentMode, CanDoIgnore) have the
// names the unit's original configuration tool used. They keep that
// spelling, against our lowerCamelCase habit, so that the packed text and
// the files can be traced field by field to that tool; codeOf and
// isNamedType are ours.
class SerialEditorData
{
public:
    static constexpr int SlotCount = 15;
    static constexpr int MaxBytes = 14;

    // How a byte was entered and is shown; the entry mode is one of these
    // too. The numbers are the codes in files and clipboard texts. Other
    // codes can still be stored (a pasted text is taken as it comes) and are
    // written back unchanged; only the packed text refuses them on reading.
    enum class Type : std::int16_t {
        Ascii = 0,
        Decimal = 1,
        Hexadecimal = 2,
        Binary = 3,
        Control = 4,
        NoMeaning = 5, // accepted when reading, never produced
        Ignore = 6,    // wildcard byte, matches anything the unit receives
    };
    static constexpr std::int16_t codeOf(Type type) { return static_cast<std::int16_t>(type); }
    // Whether a code is one of the named types, the ones a packed text may hold.
    static constexpr bool isNamedType(std::int16_t code) { return code >= 0 && code <= codeOf(Type::Ignore); }

    void EmptyOut();
    std::string PackedIntoString() const;
    bool UnpackFromString(std::string_view text);
    void SetAllDataTo(const SerialEditorData &other);
    bool IsTheSameAs(const SerialEditorData &other) const;

    std::int16_t ByteValue(int index) const;
    void SetByteValue(int index, std::int16_t value);
    Type ByteType(int index) const;
    void SetByteType(int index, Type type);

    std::int16_t NumberOfBytesInMessage() const { return m_count; }
    void SetNumberOfBytesInMessage(std::int16_t count) { m_count = count; }
    std::int16_t CurrentByte() const { return m_currentByte; }
    void SetCurrentByte(std::int16_t index) { m_currentByte = index; }
    Type CurrentMode() const { return m_currentMode; }
    void SetCurrentMode(Type mode) { m_currentMode = mode; }
    bool CanDoIgnore() const { return m_canDoIgnore; }
    void SetCanDoIgnore(bool allowed) { m_canDoIgnore = allowed; }

private:
    static void checkIndex(int index);

    std::array<std::int16_t, SlotCount> m_value{};
    std::array<Type, SlotCount> m_type{};
    std::int16_t m_count = 0;
    std::int16_t m_currentByte = 0;
    bool m_canDoIgnore = false;
    Type m_currentMode = Type::Ascii;
};
