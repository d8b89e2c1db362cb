#include "message/NumericText.h"
#include "message/SerialEditorData.h"

#include <QTest>

#include <stdexcept>

namespace {

using Type = SerialEditorData::Type;

SerialEditorData make(std::initializer_list<std::pair<int, int>> bytes, int cursor = 0, bool ignore = false)
{
    SerialEditorData m;
    int i = 0;
    for (const auto &[value, type] : bytes) {
        m.SetByteValue(i, static_cast<std::int16_t>(value));
        m.SetByteType(i, static_cast<std::int16_t>(type));
        ++i;
    }
    m.SetNumberOfBytesInMessage(static_cast<std::int16_t>(i));
    m.SetCurrentByte(static_cast<std::int16_t>(cursor));
    m.SetCanDoIgnore(ignore);
    return m;
}

QString packed(const SerialEditorData &m) { return QString::fromStdString(m.PackedIntoString()); }

} // namespace

class TestMessage : public QObject
{
    Q_OBJECT

private slots:
    void packsCountCursorModeIgnoreAndOneExtraPair()
    {
        SerialEditorData m = make({{13, Type::Control}, {65, Type::Ascii}}, 2, true);
        QCOMPARE(packed(m), QStringLiteral("2,2,0,1,13,4,65,0,0,0,"));
        QCOMPARE(packed(SerialEditorData()), QStringLiteral("0,0,0,0,0,0,"));

        m.SetCurrentMode(3);
        m.SetByteValue(2, -7);
        m.SetByteType(2, Type::Binary);
        QCOMPARE(packed(m), QStringLiteral("2,2,3,1,13,4,65,0,-7,3,"));
    }

    void fullMessageWritesTheFifteenthSlot()
    {
        SerialEditorData m;
        for (int i = 0; i < SerialEditorData::SlotCount; ++i) {
            m.SetByteValue(i, static_cast<std::int16_t>(100 + i));
            m.SetByteType(i, Type::Decimal);
        }
        m.SetNumberOfBytesInMessage(14);
        const QString text = packed(m);
        QCOMPARE(text.count(QLatin1Char(',')), 4 + 2 * 15);
        QVERIFY(text.endsWith(QStringLiteral("114,1,")));
    }

    void unpacking_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("repacked"); // what the message packs to afterwards

        const QString unchanged = QStringLiteral("1,0,0,0,99,2,0,0,"); // the message before each row
        QTest::newRow("empty message") << "0,0,0,0," << true << "0,0,0,0,0,0,";
        QTest::newRow("one hex byte, no extra pair") << "1,0,0,1,255,2," << true << "1,0,0,1,255,2,0,0,";
        QTest::newRow("values not range-checked") << "2,1,0,0,300,1,-5,1," << true << "2,1,0,0,300,1,-5,1,0,0,";
        QTest::newRow("trailing rubbish ignored") << "1,1,0,0,65,0,junk" << true << "1,1,0,0,65,0,0,0,";
        QTest::newRow("negative count reads no pairs") << "-2,0,0,0," << true << "-2,0,0,0,";
        QTest::newRow("count 15 uses every slot")
            << "15,0,0,0,1,0,2,0,3,0,4,0,5,0,6,0,7,0,8,0,9,0,10,0,11,0,12,0,13,0,14,0,15,0," << true
            << QString();
        QTest::newRow("lenient numbers") << " 1x,&H1,2.5,0,&H41,6.4," << true << "1,1,0,0,65,6,0,0,";

        QTest::newRow("empty text") << "" << false << unchanged;
        QTest::newRow("no final comma") << "0,0,0,0" << false << unchanged;
        QTest::newRow("mode 7") << "1,0,7,0,65,0," << false << unchanged;
        QTest::newRow("mode -1") << "1,0,-1,0,65,0," << false << unchanged;
        QTest::newRow("ignore field 2") << "1,0,0,2,65,0," << false << unchanged;
        QTest::newRow("ignore field blank") << "1,0,0, 1,65,0," << false << unchanged;
        QTest::newRow("second pair missing") << "2,0,0,0,65,0," << false << unchanged;
        QTest::newRow("type 7") << "1,0,0,0,65,7," << false << unchanged;
        QTest::newRow("type field unterminated") << "1,0,0,0,65,0" << false << unchanged;
    }

    void unpacking()
    {
        QFETCH(QString, text);
        QFETCH(bool, accepted);
        QFETCH(QString, repacked);

        SerialEditorData m = make({{99, Type::Hexadecimal}});
        m.SetCurrentMode(4);
        QCOMPARE(m.UnpackFromString(text.toStdString()), accepted);
        QCOMPARE(m.CurrentMode(), 4); // never taken from the text
        if (!repacked.isEmpty()) {
            m.SetCurrentMode(0);
            QCOMPARE(packed(m), repacked);
        }
    }

    void faultsLeaveTheMessageUnchanged_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("overflow"); // else out of range
        QTest::newRow("count 16 writes past the slots") << QString(QStringLiteral("16,0,0,0,") + QStringLiteral("1,0,").repeated(16)) << false;
        QTest::newRow("value beyond 16 bits") << "1,0,0,0,40000,0," << true;
        QTest::newRow("count beyond 16 bits") << "99999,0,0,0," << true;
        QTest::newRow("huge exponent") << "1,0,0,0,1e999,0," << true;
        QTest::newRow("hex beyond 16 bits") << "&H10000,0,0,0," << true;
    }

    void faultsLeaveTheMessageUnchanged()
    {
        QFETCH(QString, text);
        QFETCH(bool, overflow);
        SerialEditorData m = make({{7, Type::Binary}, {8, Type::Control}}, 1, true);
        const SerialEditorData before = m;
        try {
            m.UnpackFromString(text.toStdString());
            QFAIL("no fault raised");
        } catch (const std::overflow_error &) {
            QVERIFY(overflow);
        } catch (const std::out_of_range &) {
            QVERIFY(!overflow);
        }
        QVERIFY(m.IsTheSameAs(before));
        QCOMPARE(m.CurrentByte(), before.CurrentByte());
    }

    void indexesOutsideTheSlotsFault()
    {
        SerialEditorData m;
        for (const int index : {-1, 15, 32767}) {
            QVERIFY_THROWS_EXCEPTION(std::out_of_range, m.ByteValue(index));
            QVERIFY_THROWS_EXCEPTION(std::out_of_range, m.SetByteType(index, 1));
        }
        QVERIFY(m.IsTheSameAs(SerialEditorData()));
        m.SetNumberOfBytesInMessage(15); // only reading the slot after it faults
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, m.PackedIntoString());
    }

    void emptyOutKeepsTheTypesOfLaterSlots()
    {
        SerialEditorData m = make({{1, Type::Decimal}, {2, Type::Hexadecimal}, {3, Type::Binary}}, 3, true);
        m.SetCurrentMode(2);
        m.EmptyOut();
        QCOMPARE(m.NumberOfBytesInMessage(), 0);
        QCOMPARE(m.CurrentByte(), 0);
        QCOMPARE(m.CurrentMode(), 0);
        QCOMPARE(m.CanDoIgnore(), false);
        QCOMPARE(m.ByteType(0), Type::Ascii);
        QCOMPARE(m.ByteType(1), Type::Hexadecimal);
        QCOMPARE(m.ByteType(2), Type::Binary);
        QCOMPARE(m.ByteValue(2), 0);
        QVERIFY(!m.IsTheSameAs(SerialEditorData()));
    }

    void copyAndCompareIgnoreCursorAndMode()
    {
        const SerialEditorData source = make({{72, Type::Ascii}, {105, Type::Ascii}}, 1, true);
        SerialEditorData target;
        target.SetCurrentMode(3);
        target.SetAllDataTo(source);
        QCOMPARE(target.CurrentMode(), 3);
        QCOMPARE(target.CurrentByte(), 1);
        QVERIFY(target.IsTheSameAs(source));

        target.SetCurrentByte(0);
        QVERIFY(target.IsTheSameAs(source)); // the cursor is not part of the message

        target.SetByteType(14, Type::Ignore); // beyond the count, still compared
        QVERIFY(!target.IsTheSameAs(source));
        target.SetByteType(14, Type::Ascii);
        target.SetCanDoIgnore(false);
        QVERIFY(!target.IsTheSameAs(source));
    }

    void packedTextRoundTrips()
    {
        SerialEditorData m = make({{0, Type::Control}, {255, Type::Hexadecimal}, {63, Type::Ignore}, {5, Type::Binary}}, 4, true);
        m.SetCurrentMode(2);
        SerialEditorData back;
        QVERIFY(back.UnpackFromString(m.PackedIntoString()));
        QVERIFY(back.IsTheSameAs(m));
        QCOMPARE(back.CurrentByte(), m.CurrentByte());
    }

    void numberScanning_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("leading");
        QTest::addColumn<bool>("whole");
        QTest::newRow("plain") << "42" << 42.0 << true;
        QTest::newRow("blanks around") << "  -7 " << -7.0 << true;
        QTest::newRow("fraction") << "2.5" << 2.5 << true;
        QTest::newRow("leading dot") << ".5" << 0.5 << true;
        QTest::newRow("exponent") << "1e3" << 1000.0 << true;
        QTest::newRow("d exponent") << "2D2" << 200.0 << true;
        QTest::newRow("hex") << "&HFF" << 255.0 << true;
        QTest::newRow("hex lower") << "&hff" << 255.0 << true;
        QTest::newRow("octal") << "&O17" << 15.0 << true;
        QTest::newRow("text after") << "12abc" << 12.0 << false;
        QTest::newRow("no number") << "abc" << 0.0 << false;
        QTest::newRow("empty") << "" << 0.0 << false;
        QTest::newRow("sign only") << "-" << 0.0 << false;
        QTest::newRow("bare &H") << "&H" << 0.0 << false;
        QTest::newRow("dangling exponent") << "5e" << 5.0 << false;
    }

    void numberScanning()
    {
        QFETCH(QString, text);
        QFETCH(double, leading);
        QFETCH(bool, whole);
        const std::string s = text.toStdString();
        QCOMPARE(tavo::leadingNumber(s), leading);
        QCOMPARE(tavo::wholeNumber(s).has_value(), whole);
    }

    void roundingIsHalfToEvenWithinSixteenBits()
    {
        QCOMPARE(tavo::roundToInt16(2.5), 2);
        QCOMPARE(tavo::roundToInt16(3.5), 4);
        QCOMPARE(tavo::roundToInt16(-2.5), -2);
        QCOMPARE(tavo::roundToInt16(-3.5), -4);
        QCOMPARE(tavo::roundToInt16(2.4999), 2);
        QCOMPARE(tavo::roundToInt16(32767.4), 32767);
        QCOMPARE(tavo::roundToInt16(-32768.5), -32768);
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, tavo::roundToInt16(32767.5));
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, tavo::roundToInt16(-32769.0));
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, tavo::roundToInt16(std::numeric_limits<double>::quiet_NaN()));
    }

    void booleans()
    {
        QCOMPARE(tavo::wholeBoolean("-1"), std::optional<bool>(true));
        QCOMPARE(tavo::wholeBoolean("1"), std::optional<bool>(true));
        QCOMPARE(tavo::wholeBoolean("0"), std::optional<bool>(false));
        QCOMPARE(tavo::wholeBoolean(" TRUE "), std::optional<bool>(true));
        QCOMPARE(tavo::wholeBoolean("false"), std::optional<bool>(false));
        QCOMPARE(tavo::wholeBoolean("yes"), std::optional<bool>());
        QCOMPARE(tavo::wholeBoolean(""), std::optional<bool>());
    }
};

QTEST_APPLESS_MAIN(TestMessage)
#include "tst_message.moc"
