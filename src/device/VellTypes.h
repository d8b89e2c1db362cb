#pragma once

#include <QString>

#include <cstdint>
#include <vector>

class KeyValueStore;

// One member of the unit family: how it answers a search and what to call
// it.
struct VellType {
    std::uint8_t Type = 0;
    // The first byte of its answer to the search probe.
    std::uint8_t Reply = 0;
    // Ends in a blank, so that a version can be appended.
    QString Name;
    // Kept and stored, not used by the search.
    QString BootName;

    friend bool operator==(const VellType &, const VellType &) = default;
};

// The table of device types, indexed from 0. It starts as the 24 built-in
// rows and is mirrored in a key-value store (the registry), whose rows
// take the place of the built-in ones once they are there:
//
//   Software\Olvex\Brondels\Types          Version   number (8)
//   Software\Olvex\Brondels\Types\<row>    Name, BootName   text
//                                          Type, Reply      number
//
// Store errors are never shown: a missing key gets the built-in rows
// written, a damaged row is read as far as it goes.
class VellTypes
{
public:
    static constexpr int BuiltInCount = 24;
    static constexpr std::int32_t StoreVersion = 8;
    // The reply code of the Serial Tavo itself, the only type that can be
    // programmed.
    static constexpr int SerialTavoReply = 22;

    // What LoadVellType() returns.
    static constexpr std::int16_t RowRead = 0;
    static constexpr std::int16_t RowKeyMissing = 1;
    static constexpr std::int16_t RowIncomplete = 2;
    static constexpr std::int16_t RowFault = 3;

    static QString keyPath();

    // The built-in rows.
    VellTypes();

    int size() const { return static_cast<int>(m_rows.size()); }
    int upperBound() const { return size() - 1; }
    // Throw std::out_of_range for an index outside the table.
    const VellType &at(int index) const;
    VellType &at(int index);
    const std::vector<VellType> &rows() const { return m_rows; }

    // Index of the first row answering with `code`, or -1.
    int indexOfReply(int code) const;

    // Replaces the table by the 24 built-in rows.
    void BuildVellTypes();
    // Start-up: writes the built-in rows when the store has no table or an
    // older one, otherwise loads the stored rows.
    void CheckVellTypes(KeyValueStore &store);
    // The built-in rows, written to the store with Version.
    void StoreVellTypes(KeyValueStore &store);
    // Replaces the table by the rows the store holds.
    void LoadVellTypes(KeyValueStore &store);
    // Reads the row of subkey `name` (its number is the row index; a name
    // that is not a number means row 0), growing the table when needed.
    std::int16_t LoadVellType(KeyValueStore &store, const QString &name);

private:
    std::vector<VellType> m_rows;
};
