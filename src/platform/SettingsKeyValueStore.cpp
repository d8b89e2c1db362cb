#include "SettingsKeyValueStore.h"

#include <QSettings>
#include <QStringList>
#include <QVariant>

#include <algorithm>

namespace {

const QLatin1String NumberPrefix("dword:");
const QLatin1String TextPrefix("sz:");

// Registry sizes count bytes of the program's 8-bit code page plus the NUL.
int textSize(const QString &text)
{
    return static_cast<int>(text.size()) + 1;
}

KeyValueStore::Value textValue(const QString &text, int bufferSize)
{
    KeyValueStore::Value v;
    v.kind = KeyValueStore::Kind::Text;
    v.size = textSize(text);
    if (bufferSize >= 0 && v.size > bufferSize) {
        v.status = KeyValueStore::Status::MoreData;
        v.text = text.left(bufferSize);
    } else {
        v.status = KeyValueStore::Status::Success;
        v.text = text;
    }
    return v;
}

KeyValueStore::Value numberValue(std::uint32_t number)
{
    KeyValueStore::Value v;
    v.status = KeyValueStore::Status::Success;
    v.kind = KeyValueStore::Kind::Number;
    v.number = number;
    v.size = 4;
    return v;
}

KeyValueStore::Value otherValue(int size)
{
    KeyValueStore::Value v;
    v.status = KeyValueStore::Status::Success;
    v.kind = KeyValueStore::Kind::Other;
    v.size = size;
    return v;
}

bool isHexDigit(QChar c)
{
    return (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
           || (c >= QLatin1Char('a') && c <= QLatin1Char('f'))
           || (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
}

// An INI value: only our own two prefixed forms count.
KeyValueStore::Value decodePrefixed(const QVariant &raw, int bufferSize)
{
    if (raw.typeId() != QMetaType::QString)
        return otherValue(static_cast<int>(raw.toByteArray().size()));
    const QString s = raw.toString();
    if (s.startsWith(NumberPrefix)) {
        const QStringView digits = QStringView(s).mid(NumberPrefix.size());
        if (digits.size() == 8 && std::all_of(digits.begin(), digits.end(), isHexDigit))
            return numberValue(digits.toUInt(nullptr, 16));
        return otherValue(static_cast<int>(s.size()));
    }
    if (s.startsWith(TextPrefix))
        return textValue(s.mid(TextPrefix.size()), bufferSize);
    return otherValue(static_cast<int>(s.size()));
}

// A registry value as QSettings hands it over.
KeyValueStore::Value decodeTyped(const QVariant &raw, int bufferSize)
{
    switch (raw.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt: return numberValue(raw.toUInt());
    case QMetaType::QString: return textValue(raw.toString(), bufferSize);
    case QMetaType::LongLong:
    case QMetaType::ULongLong: return otherValue(8);
    default: return otherValue(static_cast<int>(raw.toByteArray().size()));
    }
}

} // namespace

QString SettingsKeyValueStore::rootPath()
{
    return QStringLiteral("Software\\Olvex\\Brondels");
}

std::unique_ptr<SettingsKeyValueStore> SettingsKeyValueStore::openIniFile(const QString &fileName)
{
    return std::make_unique<SettingsKeyValueStore>(
        std::make_unique<QSettings>(fileName, QSettings::IniFormat), false);
}

std::unique_ptr<SettingsKeyValueStore> SettingsKeyValueStore::openDefault()
{
    const QString override = qEnvironmentVariable("TAVO_TYPES_STORE");
    if (!override.isEmpty())
        return openIniFile(override);
#ifdef Q_OS_WIN
    auto machine = std::make_unique<QSettings>(QStringLiteral("HKEY_LOCAL_MACHINE\\") + rootPath(),
                                               QSettings::NativeFormat);
    if (machine->isWritable())
        return std::make_unique<SettingsKeyValueStore>(std::move(machine), true);
    // Without administrator rights the machine key is read-only; the table
    // then lives with the user, as the program must still be able to
    // write the built-in rows on its first run.
    return std::make_unique<SettingsKeyValueStore>(
        std::make_unique<QSettings>(QStringLiteral("HKEY_CURRENT_USER\\") + rootPath(),
                                    QSettings::NativeFormat),
        true);
#else
    return std::make_unique<SettingsKeyValueStore>(
        std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Olvex"),
                                    QStringLiteral("Brondels")),
        false);
#endif
}

SettingsKeyValueStore::SettingsKeyValueStore(std::unique_ptr<QSettings> settings, bool typedValues)
    : m_settings(std::move(settings))
    , m_typedValues(typedValues)
{}

SettingsKeyValueStore::~SettingsKeyValueStore()
{
    m_settings->sync();
}

std::optional<QString> SettingsKeyValueStore::group(const QString &path) const
{
    const QString root = rootPath();
    if (path.compare(root, Qt::CaseInsensitive) == 0)
        return QString();
    if (path.size() <= root.size() + 1 || !path.startsWith(root, Qt::CaseInsensitive)
        || path.at(root.size()) != QLatin1Char('\\'))
        return std::nullopt;
    QString rest = path.mid(root.size() + 1);
    rest.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return rest;
}

bool SettingsKeyValueStore::OpenKey(const QString &path)
{
    const auto g = group(path);
    if (!g)
        return false;
    m_settings->beginGroup(*g);
    const bool exists = !m_settings->allKeys().isEmpty();
    m_settings->endGroup();
    return exists;
}

std::optional<QString> SettingsKeyValueStore::EnumKey(const QString &path, int index)
{
    const auto g = group(path);
    if (!g || index < 0)
        return std::nullopt;
    m_settings->beginGroup(*g);
    QStringList names = m_settings->childGroups();
    m_settings->endGroup();
    // The registry lists subkeys by name, ignoring letter case; keep that
    // order so that which of two rows with the same index wins is the same
    // everywhere.
    std::sort(names.begin(), names.end(),
              [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    if (index >= names.size())
        return std::nullopt;
    return names.at(index);
}

KeyValueStore::Value SettingsKeyValueStore::QueryValue(const QString &path, const QString &name,
                                                       int bufferSize)
{
    const auto g = group(path);
    if (!g || name.isEmpty())
        return {};
    m_settings->beginGroup(*g);
    const bool present = m_settings->contains(name);
    const QVariant raw = present ? m_settings->value(name) : QVariant();
    m_settings->endGroup();
    if (!present)
        return {};
    return m_typedValues ? decodeTyped(raw, bufferSize) : decodePrefixed(raw, bufferSize);
}

bool SettingsKeyValueStore::CreateKey(const QString &path)
{
    // QSettings makes groups as values are put into them.
    return group(path).has_value() && m_settings->isWritable();
}

bool SettingsKeyValueStore::setRaw(const QString &path, const QString &name, const QVariant &value)
{
    const auto g = group(path);
    if (!g || name.isEmpty() || !m_settings->isWritable())
        return false;
    m_settings->beginGroup(*g);
    m_settings->setValue(name, value);
    m_settings->endGroup();
    return true;
}

bool SettingsKeyValueStore::SetNumber(const QString &path, const QString &name, std::uint32_t value)
{
    if (m_typedValues)
        return setRaw(path, name, static_cast<int>(value));
    return setRaw(path, name,
                  QString(NumberPrefix + QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0'))));
}

bool SettingsKeyValueStore::SetText(const QString &path, const QString &name, const QString &text)
{
    return setRaw(path, name, m_typedValues ? text : QString(TextPrefix + text));
}

void SettingsKeyValueStore::CloseKey(const QString &path)
{
    Q_UNUSED(path);
    m_settings->sync();
}
