#include "SettingsKeyValueStore.h"
#include "VellTypes.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString Types = u"Software\\Olvex\\Brondels\\Types"_s;

QString rowKey(const QString &name)
{
    return Types + u"\\"_s + name;
}

void writeRow(KeyValueStore &store, const QString &name, int type, int reply, const QString &display)
{
    store.setNumber(rowKey(name), u"Type"_s, static_cast<std::uint32_t>(type));
    store.setNumber(rowKey(name), u"Reply"_s, static_cast<std::uint32_t>(reply));
    store.setText(rowKey(name), u"Name"_s, display);
    store.setText(rowKey(name), u"BootName"_s, display + u"boot"_s);
}

} // namespace

class TestVellTypes : public QObject
{
    Q_OBJECT

private slots:
    // The INI store without its file: every closed key would write the
    // whole file out, and the file itself is the platform test's business.
    void init() { m_store = SettingsKeyValueStore::inMemory(); }

    void builtInTable()
    {
        const int replies[24] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC,
                                 0xDD, 0xEE, 30,   29,   28,   32,   33,   35,   36,   37,   21,   22};
        VellTypes table;
        QCOMPARE(table.size(), 24);
        for (int i = 0; i < 24; ++i) {
            QCOMPARE(table.at(i).Type, i < 11 ? i : i + 1); // no type 11
            QCOMPARE(table.at(i).Reply, replies[i]);
            QVERIFY(table.at(i).Name.endsWith(u' ')); // room for the version
            QVERIFY(!table.at(i).BootName.isEmpty());
        }
        QCOMPARE(table.at(23).Name, u"Serial Tavo "_s);
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, table.at(24));

        // A reply code names the first row that has it.
        QCOMPARE(table.indexOfReply(0), -1);
        QCOMPARE(table.indexOfReply(0xFF), -1);
        table.at(5).Reply = 22;
        QCOMPARE(table.indexOfReply(22), 5);
    }

    void startUp_data()
    {
        QTest::addColumn<QVariant>("version"); // stored before start-up; none: no key at all
        QTest::addColumn<bool>("load");        // LoadVellTypes instead of CheckVellTypes
        QTest::addColumn<int>("outcome");      // 0 built-in rows written, 1 stored rows read, 2 nothing

        QTest::newRow("no key") << QVariant() << false << 0;
        QTest::newRow("no key, load") << QVariant() << true << 0;
        QTest::newRow("older") << QVariant(7) << false << 0;
        QTest::newRow("negative is older") << QVariant(-1) << false << 0;
        QTest::newRow("current") << QVariant(8) << false << 1;
        QTest::newRow("newer") << QVariant(9) << false << 1;
        QTest::newRow("version not a number") << QVariant(u"8"_s) << false << 2;
    }

    void startUp()
    {
        QFETCH(QVariant, version);
        QFETCH(bool, load);
        QFETCH(int, outcome);
        KeyValueStore &store = *m_store;
        if (version.isValid()) {
            VellTypes().StoreVellTypes(store);
            if (version.typeId() == QMetaType::QString)
                store.setText(Types, u"Version"_s, version.toString());
            else
                store.setNumber(Types, u"Version"_s, static_cast<std::uint32_t>(version.toInt()));
            writeRow(store, u"23"_s, 24, 0x5A, u"Renamed "_s);
        }
        VellTypes table;
        table.at(3).Name = u"in memory "_s;
        load ? table.LoadVellTypes(store) : table.CheckVellTypes(store);

        QCOMPARE(table.size(), 24);
        // Row 11 went through the store and back, or was never touched.
        QCOMPARE(table.at(11), VellTypes().at(11));
        QCOMPARE(table.at(3).Name == u"in memory "_s, outcome == 2);
        QCOMPARE(table.at(23).Name, outcome == 1 ? u"Renamed "_s : u"Serial Tavo "_s);
        QCOMPARE(store.queryValue(rowKey(u"23"_s), u"Reply"_s, 4).number, outcome == 0 ? 22u : 0x5Au);
        if (outcome == 0) {
            QCOMPARE(store.queryValue(Types, u"Version"_s, 4).number, 8u);
            int subkeys = 0;
            while (store.enumKey(Types, subkeys))
                ++subkeys;
            QCOMPARE(subkeys, 24);
        }
    }

    void subkeyNamesAreReadAsNumbers_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("row"); // -1: nowhere
        QTest::addColumn<int>("size");

        QTest::newRow("not a number") << u"x"_s << 0 << 24;
        QTest::newRow("leading number") << u"7b"_s << 7 << 24;
        QTest::newRow("fraction rounds") << u"2.5"_s << 2 << 24;
        QTest::newRow("past the table") << u"30"_s << 30 << 31;
        QTest::newRow("hexadecimal") << u"&H1F"_s << 31 << 32;
        QTest::newRow("negative") << u"-1"_s << -1 << 24;
        QTest::newRow("beyond 16 bits") << u"99999"_s << -1 << 24;
    }

    void subkeyNamesAreReadAsNumbers()
    {
        QFETCH(QString, name);
        QFETCH(int, row);
        QFETCH(int, size);
        VellTypes().StoreVellTypes(*m_store);
        writeRow(*m_store, name, 77, 0x5B, u"Odd key "_s);
        VellTypes table;
        table.LoadVellTypes(*m_store);
        QCOMPARE(table.size(), size);
        QCOMPARE(table.indexOfReply(0x5B), row);
        if (row >= 0)
            QCOMPARE(table.at(row).Name, u"Odd key "_s);
        // Rows no subkey names stay empty and answer to code 0 only.
        for (int i = 24; i < size; ++i) {
            if (i != row)
                QCOMPARE(table.at(i), VellType{});
        }
        QCOMPARE(table.indexOfReply(0), size > 24 ? 24 : -1);
    }

    // A value of the wrong kind, or none, ends the reading of its row: the
    // fields before it are kept, the rest stay empty.
    void aBadValueEndsItsRow_data()
    {
        QTest::addColumn<int>("bad"); // Type, Reply, Name, BootName
        QTest::addColumn<bool>("missing");

        QTest::newRow("Type as text") << 0 << false;
        QTest::newRow("Reply missing") << 1 << true;
        QTest::newRow("Reply as text") << 1 << false;
        QTest::newRow("Name as number") << 2 << false;
        QTest::newRow("BootName as number") << 3 << false;
    }

    void aBadValueEndsItsRow()
    {
        QFETCH(int, bad);
        QFETCH(bool, missing);
        const QStringList names{u"Type"_s, u"Reply"_s, u"Name"_s, u"BootName"_s};
        for (int i = 0; i < 4; ++i) {
            if (i == bad && missing)
                continue;
            if ((i < 2) != (i == bad))
                m_store->setNumber(rowKey(u"4"_s), names[i], static_cast<std::uint32_t>(200 + i));
            else
                m_store->setText(rowKey(u"4"_s), names[i], u"Stored "_s);
        }
        VellTypes table;
        table.LoadVellTypes(*m_store);
        const VellType &row = table.at(4);
        QCOMPARE(row.Type, bad > 0 ? 200 : 0);
        QCOMPARE(row.Reply, bad > 1 ? 201 : 0);
        QCOMPARE(row.Name, bad > 2 ? u"Stored "_s : QString());
        QCOMPARE(row.BootName, QString());
    }

    void textsStopAtTheirFirstNul()
    {
        VellTypes().StoreVellTypes(*m_store);
        m_store->setText(rowKey(u"2"_s), u"Name"_s, u"Short "_s + QChar(u'\0') + u"hidden"_s);
        VellTypes table;
        table.LoadVellTypes(*m_store);
        QCOMPARE(table.at(2).Name, u"Short "_s);
    }

private:
    std::unique_ptr<KeyValueStore> m_store;
};

QTEST_GUILESS_MAIN(TestVellTypes)
#include "tst_velltypes.moc"
