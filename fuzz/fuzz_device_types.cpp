// The device-type store as the program finds it at start-up: an INI file
// that anybody (an older version, another tool, a text editor, a damaged
// disk) may have written.
//
// Invariants: start-up never crashes; every row of the table is
// well-formed (texts without NUL characters and no longer than the read
// buffer); looking a reply code up finds the first row with that code, or
// none when no row has it; a store without a table of ours gets the
// built-in rows written; and once start-up has had its say, loading the
// store again gives the same table every time.
#include "FuzzCheck.h"
#include "FuzzScratch.h"
#include "VellTypes.h"
#include "SettingsKeyValueStore.h"

#include <QCoreApplication>
#include <QFile>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace {

constexpr int TextBuffer = 255;

void checkRows(const VellTypes &types)
{
    FUZZ_CHECK(types.size() >= 1);
    std::array<int, 256> first;
    first.fill(-1);
    for (int i = 0; i < types.size(); ++i) {
        const VellType &row = types.at(i);
        FUZZ_CHECK(!row.Name.contains(QChar(u'\0')) && row.Name.size() <= TextBuffer);
        FUZZ_CHECK(!row.BootName.contains(QChar(u'\0')) && row.BootName.size() <= TextBuffer);
        if (first[row.Reply] < 0)
            first[row.Reply] = i;
    }
    // A table can have thousands of rows; every code in it, and a few that
    // are not, are enough to show the lookup at work.
    int absentTried = 0;
    for (int code = 0; code < 256; ++code) {
        if (first[static_cast<std::size_t>(code)] < 0 && absentTried++ >= 3)
            continue;
        FUZZ_CHECK(types.IndexOfReply(code) == first[static_cast<std::size_t>(code)]);
    }
}

// The INI store with its writes gathered up: the store writes the whole
// file out at every closed key (25 times when it stores the built-in
// table), which would make this target slow for no gain. Everything is
// written when the store goes away, before the next start-up opens it.
class GatheredStore : public KeyValueStore
{
public:
    explicit GatheredStore(const QString &file)
        : m_store(SettingsKeyValueStore::openIniFile(file))
    {}

    bool OpenKey(const QString &path) override { return m_store->OpenKey(path); }
    std::optional<QString> EnumKey(const QString &path, int index) override
    {
        return m_store->EnumKey(path, index);
    }
    Value QueryValue(const QString &path, const QString &name, int bufferSize) override
    {
        return m_store->QueryValue(path, name, bufferSize);
    }
    bool CreateKey(const QString &path) override { return m_store->CreateKey(path); }
    bool SetNumber(const QString &path, const QString &name, std::uint32_t value) override
    {
        return m_store->SetNumber(path, name, value);
    }
    bool SetText(const QString &path, const QString &name, const QString &text) override
    {
        return m_store->SetText(path, name, text);
    }
    void CloseKey(const QString &) override {}

private:
    std::unique_ptr<SettingsKeyValueStore> m_store;
};

VellTypes startUp(const QString &file, bool *hadTable = nullptr)
{
    GatheredStore store(file);
    if (hadTable)
        *hadTable = store.OpenKey(VellTypes::KeyPath());
    VellTypes types;
    types.CheckVellTypes(store);
    return types;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Never destroyed: Qt's own globals are gone by the time statics of
    // ours would be, and tearing the application down then crashes.
    new QCoreApplication(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // A new name each time: QSettings caches files by name and could hand
    // back what an earlier input left behind.
    static int serial = 0;
    const QString file = fuzzScratchDir().filePath(QStringLiteral("types-%1.ini").arg(++serial));
    {
        QFile f(file);
        FUZZ_CHECK(f.open(QIODevice::WriteOnly));
        FUZZ_CHECK(f.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size))
                   == static_cast<qint64>(size));
    }
    bool hadTable = false;
    const VellTypes first = startUp(file, &hadTable);
    checkRows(first);
    if (!hadTable)
        FUZZ_CHECK(first.rows() == VellTypes().rows());

    // Start-up has written the built-in rows or left the store alone; from
    // now on every start-up reads the same table.
    const VellTypes second = startUp(file);
    checkRows(second);
    if (!hadTable)
        FUZZ_CHECK(second.rows() == VellTypes().rows());
    const VellTypes third = startUp(file);
    FUZZ_CHECK(third.rows() == second.rows());

    QFile::remove(file);
    return 0;
}
