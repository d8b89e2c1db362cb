#include "device/VellTypes.h"
#include "platform/SettingsKeyValueStore.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Kind = KeyValueStore::Kind;

const QString Types = u"Software\\Olvex\\Brondels\\Types"_s;

QString rowKey(const QString &name) { return Types + u"\\"_s + name; }

void writeRow(KeyValueStore &store, const QString &name, int type, int reply, const QString &display,
              const QString &boot)
{
    store.SetNumber(rowKey(name), u"Type"_s, static_cast<std::uint32_t>(type));
    store.SetNumber(rowKey(name), u"Reply"_s, static_cast<std::uint32_t>(reply));
    store.SetText(rowKey(name), u"Name"_s, display);
    store.SetText(rowKey(name), u"BootName"_s, boot);
}

} // namespace

class TestVellTypes : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_file = m_dir->filePath(u"types.ini"_s);
    }

    void builtInRows_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("reply");

        const int replies[24] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC,
                                 0xDD, 0xEE, 30,   29,   28,   32,   33,   35,   36,   37,   21,   22};
        const int types[24] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
        for (int i = 0; i < 24; ++i)
            QTest::addRow("row %d", i) << i << types[i] << replies[i];
    }

    void builtInRows()
    {
        QFETCH(int, row);
        QFETCH(int, type);
        QFETCH(int, reply);
        const VellTypes table;
        QCOMPARE(table.size(), 24);
        QCOMPARE(table.at(row).Type, type);
        QCOMPARE(table.at(row).Reply, reply);
        QVERIFY(table.at(row).Name.endsWith(u' '));
        QVERIFY(!table.at(row).BootName.isEmpty());
        if (row == 23)
            QCOMPARE(table.at(row).Name, u"Serial Tavo "_s);
    }

    void lookupTakesTheFirstRowWithTheCode()
    {
        VellTypes table;
        QCOMPARE(table.IndexOfReply(22), 23);
        QCOMPARE(table.IndexOfReply(0x11), 0);
        QCOMPARE(table.IndexOfReply(0), -1);
        QCOMPARE(table.IndexOfReply(0xFF), -1);
        table.at(5).Reply = 22;
        QCOMPARE(table.IndexOfReply(22), 5);
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, table.at(24));
    }

    void emptyStoreGetsTheBuiltInTable()
    {
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes table;
        table.at(3).Name = u"changed in memory"_s;
        table.CheckVellTypes(*store);
        QCOMPARE(table.rows(), VellTypes().rows());

        QCOMPARE(store->QueryValue(Types, u"Version"_s, 4).number, 8u);
        QStringList names;
        for (int i = 0; const auto name = store->EnumKey(Types, i); ++i)
            names.append(*name);
        QCOMPARE(names.size(), 24);
        const auto tavo = store->QueryValue(rowKey(u"23"_s), u"Name"_s, 255);
        QCOMPARE(tavo.kind, Kind::Text);
        QCOMPARE(tavo.text, u"Serial Tavo "_s);
        QCOMPARE(store->QueryValue(rowKey(u"23"_s), u"Reply"_s, 4).number, 22u);
        QCOMPARE(store->QueryValue(rowKey(u"11"_s), u"Type"_s, 4).number, 12u);
    }

    void storedVersionDecides_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<bool>("storedRowsUsed");

        QTest::newRow("older") << 7 << false;
        QTest::newRow("negative is older") << -1 << false;
        QTest::newRow("current") << 8 << true;
        QTest::newRow("newer") << 9 << true;
    }

    void storedVersionDecides()
    {
        QFETCH(int, version);
        QFETCH(bool, storedRowsUsed);
        {
            auto store = SettingsKeyValueStore::openIniFile(m_file);
            VellTypes().StoreVellTypes(*store);
            store->SetNumber(Types, u"Version"_s, static_cast<std::uint32_t>(version));
            writeRow(*store, u"23"_s, 24, 0x5A, u"Renamed "_s, u"Renamed boot"_s);
        }
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes table;
        table.CheckVellTypes(*store);
        QCOMPARE(table.size(), 24);
        QCOMPARE(table.at(23).Name, storedRowsUsed ? u"Renamed "_s : u"Serial Tavo "_s);
        QCOMPARE(table.at(23).Reply, storedRowsUsed ? 0x5A : 22);
        // A rewrite puts the built-in row back into the store as well.
        QCOMPARE(store->QueryValue(rowKey(u"23"_s), u"Reply"_s, 4).number, storedRowsUsed ? 0x5Au : 22u);
        QCOMPARE(store->QueryValue(Types, u"Version"_s, 4).number,
                 storedRowsUsed ? static_cast<std::uint32_t>(version) : 8u);
    }

    void aVersionThatIsNotANumberLeavesEverythingAlone()
    {
        {
            auto store = SettingsKeyValueStore::openIniFile(m_file);
            writeRow(*store, u"0"_s, 99, 99, u"Stored "_s, u"Stored boot"_s);
            store->SetText(Types, u"Version"_s, u"8"_s);
        }
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes table;
        table.at(0).Name = u"kept "_s;
        table.CheckVellTypes(*store);
        QCOMPARE(table.at(0).Name, u"kept "_s);
        QCOMPARE(table.size(), 24);
        QCOMPARE(store->QueryValue(rowKey(u"1"_s), u"Type"_s, 4).status, KeyValueStore::Status::NotFound);
    }

    void extraSubkeyGrowsTheTable()
    {
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes().StoreVellTypes(*store);
        writeRow(*store, u"30"_s, 40, 0x42, u"Late member "_s, u"Late boot"_s);
        VellTypes table;
        table.CheckVellTypes(*store);
        QCOMPARE(table.size(), 31);
        QCOMPARE(table.at(30).Name, u"Late member "_s);
        QCOMPARE(table.IndexOfReply(0x42), 30);
        for (int i = 24; i < 30; ++i)
            QCOMPARE(table.at(i), VellType{});
        // Empty rows answer to code 0 only.
        QCOMPARE(table.IndexOfReply(0), 24);
        QCOMPARE(table.at(23).Name, u"Serial Tavo "_s);
    }

    void subkeyNamesAreReadAsNumbers_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("row");   // -1: nowhere
        QTest::addColumn<int>("size");

        QTest::newRow("not a number") << u"x"_s << 0 << 24;
        QTest::newRow("leading number") << u"7b"_s << 7 << 24;
        QTest::newRow("hexadecimal") << u"&H1F"_s << 31 << 32;
        QTest::newRow("fraction rounds") << u"2.5"_s << 2 << 24;
        QTest::newRow("negative") << u"-1"_s << -1 << 24;
        QTest::newRow("beyond 16 bits") << u"99999"_s << -1 << 24;
    }

    void subkeyNamesAreReadAsNumbers()
    {
        QFETCH(QString, name);
        QFETCH(int, row);
        QFETCH(int, size);
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes().StoreVellTypes(*store);
        writeRow(*store, name, 77, 0x5B, u"Odd key "_s, u"Odd boot"_s);
        VellTypes table;
        table.LoadVellTypes(*store);
        QCOMPARE(table.size(), size);
        QCOMPARE(table.IndexOfReply(0x5B), row);
        if (row >= 0)
            QCOMPARE(table.at(row).Name, u"Odd key "_s);
    }

    void aDamagedValueEndsItsRow_data()
    {
        // The value replaced by something that is not of its kind, and the
        // fields that must still have been read before it.
        QTest::addColumn<QString>("value");
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<int>("fieldsRead");

        QTest::newRow("Type as text") << u"Type"_s << QByteArray("sz:5") << 0;
        QTest::newRow("Reply missing") << u"Reply"_s << QByteArray() << 1;
        QTest::newRow("Reply unreadable") << u"Reply"_s << QByteArray("22") << 1;
        QTest::newRow("Name as number") << u"Name"_s << QByteArray("dword:00000001") << 2;
        QTest::newRow("BootName list") << u"BootName"_s << QByteArray("sz:a, b") << 3;
    }

    void aDamagedValueEndsItsRow()
    {
        QFETCH(QString, value);
        QFETCH(QByteArray, raw);
        QFETCH(int, fieldsRead);
        {
            auto store = SettingsKeyValueStore::openIniFile(m_file);
            VellTypes().StoreVellTypes(*store);
            writeRow(*store, u"4"_s, 200, 0x99, u"Stored "_s, u"Stored boot"_s);
        }
        // Damage the file by hand, as an editor would.
        QSettings ini(m_file, QSettings::IniFormat);
        const QString key = u"Types/4/"_s + value;
        if (raw.isEmpty())
            ini.remove(key);
        else
            ini.setValue(key, raw.contains(',') ? QVariant(QString::fromLatin1(raw).split(u", "_s))
                                                 : QVariant(QString::fromLatin1(raw)));
        ini.sync();

        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes table;
        table.LoadVellTypes(*store);
        const VellType &row = table.at(4);
        QCOMPARE(row.Type, fieldsRead > 0 ? 200 : 0);
        QCOMPARE(row.Reply, fieldsRead > 1 ? 0x99 : 0);
        QCOMPARE(row.Name, fieldsRead > 2 ? u"Stored "_s : QString());
        QCOMPARE(row.BootName, QString());
        // The rows around it are untouched.
        QCOMPARE(table.at(3), VellTypes().at(3));
        QCOMPARE(table.at(5), VellTypes().at(5));
    }

    void textsStopAtTheirFirstNul()
    {
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes().StoreVellTypes(*store);
        store->SetText(rowKey(u"2"_s), u"Name"_s, u"Short "_s + QChar(u'\0') + u"hidden"_s);
        VellTypes table;
        table.LoadVellTypes(*store);
        QCOMPARE(table.at(2).Name, u"Short "_s);
        QCOMPARE(table.at(2).BootName, VellTypes().at(2).BootName);
    }

    void loadWithoutAKeyWritesTheBuiltInTable()
    {
        auto store = SettingsKeyValueStore::openIniFile(m_file);
        VellTypes table;
        table.LoadVellTypes(*store);
        QCOMPARE(table.rows(), VellTypes().rows());
        QVERIFY(store->OpenKey(rowKey(u"23"_s)));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_file;
};

QTEST_GUILESS_MAIN(TestVellTypes)
#include "tst_velltypes.moc"
