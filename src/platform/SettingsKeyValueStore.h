#pragma once

#include "KeyValueStore.h"

#include <QString>

#include <memory>

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
class SettingsKeyValueStore : public KeyValueStore
{
public:
    // The part of every path that the QSettings object's root stands for.
    static QString rootPath();

    // TAVO_TYPES_STORE (an INI file) when set; otherwise the registry on
    // Windows and an INI file in the user's configuration folder elsewhere.
    static std::unique_ptr<SettingsKeyValueStore> openDefault();
    static std::unique_ptr<SettingsKeyValueStore> openIniFile(const QString &fileName);

    // `typedValues`: the backend keeps value kinds itself (the registry).
    SettingsKeyValueStore(std::unique_ptr<QSettings> settings, bool typedValues);
    ~SettingsKeyValueStore() override;

    bool OpenKey(const QString &path) override;
    std::optional<QString> EnumKey(const QString &path, int index) override;
    Value QueryValue(const QString &path, const QString &name, int bufferSize) override;
    bool CreateKey(const QString &path) override;
    bool SetNumber(const QString &path, const QString &name, std::uint32_t value) override;
    bool SetText(const QString &path, const QString &name, const QString &text) override;
    void CloseKey(const QString &path) override;

private:
    std::optional<QString> group(const QString &path) const;
    bool setRaw(const QString &path, const QString &name, const QVariant &value);

    std::unique_ptr<QSettings> m_settings;
    bool m_typedValues;
};
