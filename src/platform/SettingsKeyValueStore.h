#pragma once

#include "KeyValueStore.h"

#include <QMap>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>
#include <utility>

class QSettings;

// KeyValueStore on QSettings.
//
// On Windows this is the registry itself (HKEY_LOCAL_MACHINE, or
// HKEY_CURRENT_USER when the machine key may not be written), where the
// registry keeps the kind of every value. Elsewhere it is an INI file, in
// which every value is a text; there a kind prefix tells them apart:
//
//   [Types]
//   Version=dword:00000008
//   23\Name=sz:Serial Tavo
//
// A value without a known prefix (edited by hand, damaged) reads as kind
// Other, so whoever reads it treats it as malformed instead of guessing.
//
// Without a QSettings object the store keeps its values in memory, in the
// form an INI file holds them, and writes them nowhere: the same store
// where the file would only cost time (the tests, the fuzz targets).
//
// One thread at a time: even reading reuses the store's own buffers.
class SettingsKeyValueStore : public KeyValueStore
{
public:
    // Keys as QSettings writes them, with slashes ("Types/23/Name"), and
    // values as QSettings reads them from an INI file.
    using Values = QMap<QString, QVariant>;

    // The part of every path that the QSettings object's root stands for.
    static QString rootPath();

    // TAVO_TYPES_STORE (an INI file) when set; otherwise the registry on
    // Windows and an INI file in the user's configuration folder elsewhere.
    static std::unique_ptr<SettingsKeyValueStore> openDefault();
    static std::unique_ptr<SettingsKeyValueStore> openIniFile(const QString &fileName);
    // A store in memory that starts with `values`, as if read from an INI
    // file.
    static std::unique_ptr<SettingsKeyValueStore> inMemory(const Values &values = {});

    // `typedValues`: the backend keeps value kinds itself (the registry).
    // Without `settings` the values live in memory.
    SettingsKeyValueStore(std::unique_ptr<QSettings> settings, bool typedValues);
    ~SettingsKeyValueStore() override;

    bool openKey(const QString &path) override;
    std::optional<QString> enumKey(const QString &path, int index) override;
    Value queryValue(const QString &path, const QString &name, int bufferSize) override;
    bool createKey(const QString &path) override;
    bool setNumber(const QString &path, const QString &name, std::uint32_t value) override;
    bool setText(const QString &path, const QString &name, const QString &text) override;
    void closeKey(const QString &path) override;

private:
    std::optional<QString> group(const QString &path) const;
    // The key of a value in memory, built in a buffer that this and
    // hasKeysUnder() reuse: valid until either is called again.
    const QString &memoryKey(const QString &group, const QString &name) const;
    bool setRaw(const QString &path, const QString &name, const QVariant &value);

    // What the store holds under a group ("Types/23"; empty for the root),
    // in QSettings or in memory.
    bool hasKeysUnder(const QString &group) const;
    QStringList childGroups(const QString &group) const;
    std::optional<QVariant> rawValue(const QString &group, const QString &name) const;
    bool writable() const;

    std::unique_ptr<QSettings> m_settings;
    bool m_typedValues;
    Values m_memory;
    // The key EnumKey listed last and its subkeys in order, kept until the
    // store changes: the table is read by asking for subkey 0, 1, 2, ...
    std::optional<std::pair<QString, QStringList>> m_listed;
    // The path group() was asked for last and its answer.
    mutable std::optional<std::pair<QString, std::optional<QString>>> m_lastGroup;
    // Where memoryKey() builds its keys.
    mutable QString m_keyBuffer;
};
