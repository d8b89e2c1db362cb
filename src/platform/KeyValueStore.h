#pragma once

#include <QString>

#include <cstdint>
#include <optional>

// A small hierarchical store of keys holding named 32-bit numbers and
// texts: the operations the device-type table needs from the system
// registry (open a key, list its subkeys, query a value with its kind and
// size, create a key, set a value, close the key).
//
// Paths are written as in the registry, with backslashes, relative to the
// machine's root: "Software\\Olvex\\Brondels\\Types\\3".
class KeyValueStore
{
public:
    // What a query returns besides the data. MoreData is the registry's
    // "buffer too small" answer (its code 234): the data was cut, the size
    // is the full one.
    enum class Status { Success, MoreData, NotFound, Failed };
    static constexpr int MoreDataCode = 234;

    // Number: a 32-bit number. Text: a text. Other: anything else that may
    // have been put there (binary data, lists, damaged entries).
    enum class Kind { None, Number, Text, Other };

    struct Value {
        Status status = Status::NotFound;
        Kind kind = Kind::None;
        std::uint32_t number = 0;
        // As much as fitted the buffer; may contain NUL characters.
        QString text;
        // Bytes the value occupies: 4 for a number, a text's length plus
        // its terminating NUL.
        int size = 0;
    };

    virtual ~KeyValueStore() = default;

    // True when the key exists.
    virtual bool openKey(const QString &path) = 0;
    // Name of the index-th subkey (0 upward), or nothing past the last one.
    virtual std::optional<QString> enumKey(const QString &path, int index) = 0;
    // `bufferSize` is the size the caller reads texts into, NUL included.
    virtual Value queryValue(const QString &path, const QString &name, int bufferSize) = 0;
    // Creates the key (and the keys above it) if needed; false when the
    // store cannot be written.
    virtual bool createKey(const QString &path) = 0;
    virtual bool setNumber(const QString &path, const QString &name, std::uint32_t value) = 0;
    virtual bool setText(const QString &path, const QString &name, const QString &text) = 0;
    // Writes out what was set under the key.
    virtual void closeKey(const QString &path) = 0;
};
