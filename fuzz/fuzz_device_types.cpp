// The device-type store as the program finds it at start-up: the values of
// an INI file that anybody (an older version, another tool, a text editor,
// a damaged disk) may have written, in the program's INI store kept in
// memory.
//
// Invariants: start-up never crashes; every row of the table is
// well-formed (texts without NUL characters and no longer than the read
// buffer); looking a reply code up finds the first row with that code, or
// none when no row has it; a store without a table of ours gets the
// built-in rows written; and once start-up has had its say, loading the
// store again gives the same table every time.
#include "FuzzCheck.h"
#include "SettingsKeyValueStore.h"
#include "VellTypes.h"

#include <QString>
#include <QStringTokenizer>
#include <QStringView>
#include <QVariant>

#include <array>
#include <cstdint>

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
        FUZZ_CHECK(types.indexOfReply(code) == first[static_cast<std::size_t>(code)]);
    }
}

// A value as QSettings reads it from an INI line: in double quotes, a text
// as it stands; otherwise trimmed, and split into a list at commas (which
// the store takes for damage).
QVariant iniValue(QStringView text)
{
    if (text.size() >= 2 && text.startsWith(u'"') && text.endsWith(u'"'))
        return text.mid(1, text.size() - 2).toString();
    if (text.contains(u','))
        return text.toString().split(u',');
    return text.toString();
}

// The values of an INI text, for the lines that matter to the store:
// "[Section]" opens a group ("[General]" is the top), "key=value" puts a
// value in it, and a backslash in a key or a section separates subkeys.
// Escapes and QSettings' "@" forms are left out: reading the file is Qt's
// part, and what is fuzzed here is what the store and the table make of
// the values. Reading them into memory, not through a file, and looking at
// each line through views keeps every input at a fraction of a
// millisecond.
SettingsKeyValueStore::Values iniValues(const std::uint8_t *data, std::size_t size)
{
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    SettingsKeyValueStore::Values values;
    QString section;
    for (const QStringView line : QStringTokenizer(text, u'\n')) {
        const QStringView trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith(u';') || trimmed.startsWith(u'#'))
            continue;
        if (trimmed.startsWith(u'[')) {
            const qsizetype end = trimmed.indexOf(u']');
            section = trimmed.mid(1, end < 0 ? -1 : end - 1).toString().replace(u'\\', u'/');
            if (section == u"General")
                section.clear();
            continue;
        }
        const qsizetype equals = trimmed.indexOf(u'=');
        if (equals <= 0)
            continue;
        const QStringView name = trimmed.left(equals).trimmed();
        QString key;
        key.reserve(section.size() + 1 + name.size());
        // The section has no backslashes left.
        key.append(section).append(u'/').append(name);
        values.insert(key.replace(u'\\', u'/'), iniValue(trimmed.mid(equals + 1).trimmed()));
    }
    return values;
}

VellTypes startUp(KeyValueStore &store)
{
    VellTypes types;
    types.CheckVellTypes(store);
    return types;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const auto builtIn = VellTypes().rows();
    const auto store = SettingsKeyValueStore::inMemory(iniValues(data, size));
    const bool hadTable = store->openKey(VellTypes::keyPath());
    const VellTypes first = startUp(*store);
    checkRows(first);
    if (!hadTable)
        FUZZ_CHECK(first.rows() == builtIn);

    // Start-up has written the built-in rows or left the store alone; from
    // now on every start-up reads the same table.
    const VellTypes second = startUp(*store);
    checkRows(second);
    if (!hadTable)
        FUZZ_CHECK(second.rows() == builtIn);
    const VellTypes third = startUp(*store);
    FUZZ_CHECK(third.rows() == second.rows());
    return 0;
}
