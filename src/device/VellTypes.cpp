#include "VellTypes.h"

#include "KeyValueStore.h"
#include "Logging.h"
#include "NumericText.h"

#include <QByteArray>

#include <stdexcept>
#include <string_view>

namespace {

constexpr int TextBufferSize = 255;
constexpr int NumberBufferSize = 4;

// QString, not QLatin1String: the table is read value by value, four per
// row at every start, and a literal QString is never copied to the heap.
const QString VersionValue = QStringLiteral("Version");
const QString TypeValue = QStringLiteral("Type");
const QString ReplyValue = QStringLiteral("Reply");
const QString NameValue = QStringLiteral("Name");
const QString BootNameValue = QStringLiteral("BootName");

bool answered(const KeyValueStore::Value &v)
{
    return v.status == KeyValueStore::Status::Success || v.status == KeyValueStore::Status::MoreData;
}

// A 32-bit number value of exactly four bytes, or nothing.
std::optional<std::uint32_t> readNumber(KeyValueStore &store, const QString &key, const QString &name)
{
    const KeyValueStore::Value v = store.queryValue(key, name, NumberBufferSize);
    if (!answered(v) || v.kind != KeyValueStore::Kind::Number || v.size != 4)
        return std::nullopt;
    return v.number;
}

std::optional<QString> readText(KeyValueStore &store, const QString &key, const QString &name)
{
    const KeyValueStore::Value v = store.queryValue(key, name, TextBufferSize);
    if (!answered(v) || v.kind != KeyValueStore::Kind::Text || v.size < 1)
        return std::nullopt;
    const qsizetype nul = v.text.indexOf(QChar(u'\0'));
    return nul < 0 ? v.text : v.text.left(nul);
}

} // namespace

QString VellTypes::keyPath()
{
    return QStringLiteral("Software\\Olvex\\Brondels\\Types");
}

VellTypes::VellTypes()
{
    BuildVellTypes();
}

const VellType &VellTypes::at(int index) const
{
    if (index < 0 || index >= size())
        throw std::out_of_range("device type index out of range");
    return m_rows[static_cast<std::size_t>(index)];
}

VellType &VellTypes::at(int index)
{
    if (index < 0 || index >= size())
        throw std::out_of_range("device type index out of range");
    return m_rows[static_cast<std::size_t>(index)];
}

int VellTypes::indexOfReply(int code) const
{
    for (int i = 0; i < size(); ++i) {
        if (m_rows[static_cast<std::size_t>(i)].Reply == code)
            return i;
    }
    return -1;
}

void VellTypes::BuildVellTypes()
{
    // Built once: every start-up, and every table written, begins with the
    // same rows.
    static const std::vector<VellType> builtIn = [] {
        // Reply codes of the rows after the first fourteen (which answer
        // with 0x11, 0x22, ... 0xEE).
        static constexpr std::uint8_t LaterReplies[] = {30, 29, 28, 32, 33, 35, 36, 37, 21, 22};
        std::vector<VellType> rows(BuiltInCount);
        for (int i = 0; i < BuiltInCount; ++i) {
            VellType &row = rows[static_cast<std::size_t>(i)];
            // Type 11 was never given to a unit.
            row.Type = static_cast<std::uint8_t>(i <= 10 ? i : i + 1);
            row.Reply = static_cast<std::uint8_t>(i <= 13 ? 17 * (i + 1) : LaterReplies[i - 14]);
            row.Name = QStringLiteral("Unit type %1 ").arg(row.Type);
            row.BootName = QStringLiteral("Unit type %1 boot").arg(row.Type);
        }
        VellType &tavo = rows[BuiltInCount - 1];
        tavo.Name = QStringLiteral("Serial Tavo ");
        tavo.BootName = QStringLiteral("Serial Tavo boot");
        return rows;
    }();
    m_rows = builtIn;
}

void VellTypes::CheckVellTypes(KeyValueStore &store)
{
    const QString key = keyPath();
    if (!store.openKey(key)) {
        StoreVellTypes(store);
        return;
    }
    const KeyValueStore::Value version = store.queryValue(key, VersionValue, NumberBufferSize);
    // Anything but a number leaves the table as it is: a store someone else
    // has written is not overwritten on a guess.
    if (!answered(version) || version.kind != KeyValueStore::Kind::Number)
        return;
    store.closeKey(key);
    if (version.size != 4)
        return;
    if (static_cast<std::int32_t>(version.number) < StoreVersion)
        StoreVellTypes(store);
    else
        LoadVellTypes(store);
}

void VellTypes::StoreVellTypes(KeyValueStore &store)
{
    BuildVellTypes();
    const QString key = keyPath();
    store.createKey(key);
    store.setNumber(key, VersionValue, StoreVersion);
    store.closeKey(key);
    for (int i = 0; i < size(); ++i) {
        const VellType &row = m_rows[static_cast<std::size_t>(i)];
        const QString rowKey = key + QLatin1Char('\\') + QString::number(i);
        store.createKey(rowKey);
        store.setText(rowKey, NameValue, row.Name);
        store.setText(rowKey, BootNameValue, row.BootName);
        store.setNumber(rowKey, TypeValue, row.Type);
        store.setNumber(rowKey, ReplyValue, row.Reply);
        store.closeKey(rowKey);
    }
}

void VellTypes::LoadVellTypes(KeyValueStore &store)
{
    m_rows.assign(1, VellType{});
    const QString key = keyPath();
    if (!store.openKey(key)) {
        StoreVellTypes(store);
        return;
    }
    for (int index = 0;; ++index) {
        const std::optional<QString> name = store.enumKey(key, index);
        if (!name)
            break;
        LoadVellType(store, *name);
    }
    store.closeKey(key);
}

std::int16_t VellTypes::LoadVellType(KeyValueStore &store, const QString &name)
{
    try {
        // Subkey names are read the way numbers in the files are: the
        // number the name starts with ("x" is 0, "7b" is 7).
        const QByteArray latin = name.toLatin1();
        const int index = tavo::leadingInt16(std::string_view(latin.constData(), latin.size()));
        const QString rowKey = keyPath() + QLatin1Char('\\') + name;
        if (!store.openKey(rowKey))
            return RowKeyMissing;
        if (index > upperBound())
            m_rows.resize(static_cast<std::size_t>(index) + 1);
        VellType &row = at(index);

        const auto type = readNumber(store, rowKey, TypeValue);
        if (!type)
            return RowIncomplete;
        row.Type = static_cast<std::uint8_t>(*type & 0xFF);
        const auto reply = readNumber(store, rowKey, ReplyValue);
        if (!reply)
            return RowIncomplete;
        row.Reply = static_cast<std::uint8_t>(*reply & 0xFF);
        const auto displayName = readText(store, rowKey, NameValue);
        if (!displayName)
            return RowIncomplete;
        row.Name = *displayName;
        const auto bootName = readText(store, rowKey, BootNameValue);
        if (!bootName)
            return RowIncomplete;
        row.BootName = *bootName;
        store.closeKey(rowKey);
        return RowRead;
    } catch (const std::exception &e) {
        // A name beyond 16 bits or below 0 cannot be a row; the row is
        // skipped like any other damaged entry.
        qCInfo(lcFile) << "device type" << name << "skipped:" << e.what();
        return RowFault;
    }
}
