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

// A key the way QSettings keeps it: without empty parts, so without
// leading, trailing or doubled slashes.
QString normalizedKey(const QString &key)
{
    const QLatin1Char slash('/');
    if (!key.startsWith(slash) && !key.endsWith(slash) && !key.contains(QLatin1String("//")))
        return key;
    return key.split(slash, Qt::SkipEmptyParts).join(slash);
}

QString keyIn(const QString &group, const QString &name)
{
    return normalizedKey(group.isEmpty() ? name : group + QLatin1Char('/') + name);
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

std::unique_ptr<SettingsKeyValueStore> SettingsKeyValueStore::inMemory(const Values &values)
{
    auto store = std::make_unique<SettingsKeyValueStore>(nullptr, false);
    for (auto it = values.begin(); it != values.end(); ++it) {
        const QString key = normalizedKey(it.key());
        if (!key.isEmpty())
            store->m_memory.insert(key, it.value());
    }
    return store;
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
    if (m_settings)
        m_settings->sync();
}

bool SettingsKeyValueStore::hasKeysUnder(const QString &group) const
{
    if (m_settings) {
        m_settings->beginGroup(group);
        const bool any = !m_settings->allKeys().isEmpty();
        m_settings->endGroup();
        return any;
    }
    const QString normal = normalizedKey(group);
    if (normal.isEmpty())
        return !m_memory.isEmpty();
    // The first key at or after "group/" is under the group if any is.
    m_keyBuffer.resize(0);
    m_keyBuffer.append(normal).append(QLatin1Char('/'));
    const auto next = m_memory.lowerBound(m_keyBuffer);
    return next != m_memory.end() && next.key().startsWith(m_keyBuffer);
}

QStringList SettingsKeyValueStore::childGroups(const QString &group) const
{
    if (m_settings) {
        m_settings->beginGroup(group);
        QStringList names = m_settings->childGroups();
        m_settings->endGroup();
        return names;
    }
    QString prefix = normalizedKey(group);
    if (!prefix.isEmpty())
        prefix += QLatin1Char('/');
    // Keys with the same first part lie next to each other in the map.
    QStringList names;
    for (auto it = m_memory.lowerBound(prefix); it != m_memory.end() && it.key().startsWith(prefix); ++it) {
        const QStringView rest = QStringView(it.key()).mid(prefix.size());
        const qsizetype slash = rest.indexOf(QLatin1Char('/'));
        if (slash > 0 && (names.isEmpty() || names.constLast() != rest.left(slash)))
            names.append(rest.left(slash).toString());
    }
    return names;
}

std::optional<QVariant> SettingsKeyValueStore::rawValue(const QString &group, const QString &name) const
{
    if (m_settings) {
        m_settings->beginGroup(group);
        const bool present = m_settings->contains(name);
        const QVariant raw = present ? m_settings->value(name) : QVariant();
        m_settings->endGroup();
        return present ? std::optional(raw) : std::nullopt;
    }
    const auto it = m_memory.constFind(memoryKey(group, name));
    return it == m_memory.cend() ? std::nullopt : std::optional(it.value());
}

bool SettingsKeyValueStore::writable() const
{
    return !m_settings || m_settings->isWritable();
}

std::optional<QString> SettingsKeyValueStore::group(const QString &path) const
{
    // The table is read by opening a row's key and asking for its four
    // values, all under the same path.
    if (m_lastGroup && m_lastGroup->first == path)
        return m_lastGroup->second;
    const QString root = rootPath();
    std::optional<QString> found;
    if (path.compare(root, Qt::CaseInsensitive) == 0) {
        found.emplace();
    } else if (path.size() > root.size() + 1 && path.startsWith(root, Qt::CaseInsensitive)
               && path.at(root.size()) == QLatin1Char('\\')) {
        found = path.mid(root.size() + 1);
        found->replace(QLatin1Char('\\'), QLatin1Char('/'));
    }
    m_lastGroup.emplace(path, found);
    return found;
}

const QString &SettingsKeyValueStore::memoryKey(const QString &group, const QString &name) const
{
    // Built in place: looking a value up should not cost an allocation.
    m_keyBuffer.resize(0);
    if (!group.isEmpty())
        m_keyBuffer.append(group).append(QLatin1Char('/'));
    m_keyBuffer.append(name);
    m_keyBuffer = normalizedKey(m_keyBuffer);
    return m_keyBuffer;
}

bool SettingsKeyValueStore::openKey(const QString &path)
{
    const auto g = group(path);
    return g && hasKeysUnder(*g);
}

std::optional<QString> SettingsKeyValueStore::enumKey(const QString &path, int index)
{
    const auto g = group(path);
    if (!g || index < 0)
        return std::nullopt;
    if (!m_listed || m_listed->first != *g) {
        QStringList names = childGroups(*g);
        // The registry lists subkeys by name, ignoring letter case; keep
        // that order so that which of two rows with the same index wins is
        // the same everywhere.
        std::sort(names.begin(), names.end(),
                  [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
        m_listed.emplace(*g, std::move(names));
    }
    const QStringList &names = m_listed->second;
    if (index >= names.size())
        return std::nullopt;
    return names.at(index);
}

KeyValueStore::Value SettingsKeyValueStore::queryValue(const QString &path, const QString &name,
                                                       int bufferSize)
{
    const auto g = group(path);
    if (!g || name.isEmpty())
        return {};
    const std::optional<QVariant> raw = rawValue(*g, name);
    if (!raw)
        return {};
    return m_typedValues ? decodeTyped(*raw, bufferSize) : decodePrefixed(*raw, bufferSize);
}

bool SettingsKeyValueStore::createKey(const QString &path)
{
    // QSettings makes groups as values are put into them.
    return group(path).has_value() && writable();
}

bool SettingsKeyValueStore::setRaw(const QString &path, const QString &name, const QVariant &value)
{
    const auto g = group(path);
    if (!g || name.isEmpty() || !writable())
        return false;
    m_listed.reset();
    if (!m_settings) {
        m_memory.insert(keyIn(*g, name), value);
        return true;
    }
    m_settings->beginGroup(*g);
    m_settings->setValue(name, value);
    m_settings->endGroup();
    return true;
}

bool SettingsKeyValueStore::setNumber(const QString &path, const QString &name, std::uint32_t value)
{
    if (m_typedValues)
        return setRaw(path, name, static_cast<int>(value));
    return setRaw(path, name,
                  QString(NumberPrefix + QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0'))));
}

bool SettingsKeyValueStore::setText(const QString &path, const QString &name, const QString &text)
{
    return setRaw(path, name, m_typedValues ? text : QString(TextPrefix + text));
}

void SettingsKeyValueStore::closeKey(const QString &path)
{
    Q_UNUSED(path);
    // Writing out reads the file again, with whatever others put there.
    if (m_settings) {
        m_settings->sync();
        m_listed.reset();
    }
}
