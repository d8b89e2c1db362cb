#include "NumericText.h"
#include "SerialEditorData.h"
#include "support/Messages.h"

#include <QTest>

#include <stdexcept>

namespace {

using samples::message;
using Type = SerialEditorData::Type;

QString packed(const SerialEditorData &m)
{
    return QString::fromStdString(m.PackedIntoString());
}

} // namespace

class TestMessage : public QObject
{
    Q_OBJECT

private slots:
    void packsCountCursorModeIgnoreAndOneExtraPair()
    {
        SerialEditorData m = message({{13, Type::Control}, {65, Type::Ascii}}, true);
        QCOMPARE(packed(m), QStringLiteral("2,2,0,1,13,4,65,0,0,0,"));
        m.SetCurrentMode(Type::Binary);
        m.SetByteValue(2, -7); // the slot after the message travels too, unnamed type and all
        m.SetByteType(2, Type{9});
        QCOMPARE(packed(m), QStringLiteral("2,2,3,1,13,4,65,0,-7,9,"));

        for (int i = 0; i < SerialEditorData::SlotCount; ++i)
            m.SetByteValue(i, static_cast<std::int16_t>(100 + i));
        m.SetNumberOfBytesInMessage(14); // fifteen pairs, the last from slot 14
        QVERIFY(packed(m).endsWith(QStringLiteral(",113,0,114,0,")));
        m.SetNumberOfBytesInMessage(15); // only reading the slot after it faults
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, m.PackedIntoString());
    }

    // What the configuration reader makes of each code line is in the
    // configuration tests; here is what only the message shows: the fault
    // each bad number raises, and what it does with the entry mode.
    void unpacking_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("outcome");  // ok, refused, or the fault raised
        QTest::addColumn<QString>("repacked"); // with mode 0; empty: not repacked
        // clang-format off

        const QString unchanged = QStringLiteral("1,1,0,1,99,2,0,0,"); // the message before each row
        QTest::newRow("empty message") << "0,0,0,0," << "ok" << "0,0,0,0,0,0,";
        QTest::newRow("trailing rubbish ignored") << "1,1,0,0,65,0,junk" << "ok" << "1,1,0,0,65,0,0,0,";
        QTest::newRow("lenient numbers") << " 1x,&H1,2.5,0,&H41,6.4," << "ok" << "1,1,0,0,65,6,0,0,";

        QTest::newRow("no final comma") << "0,0,0,0" << "refused" << unchanged;
        QTest::newRow("mode -1") << "1,0,-1,0,65,0," << "refused" << unchanged;
        QTest::newRow("ignore field blank") << "1,0,0, 1,65,0," << "refused" << unchanged;
        QTest::newRow("type field unterminated") << "1,0,0,0,65,0" << "refused" << unchanged;

        QTest::newRow("count 16 writes past the slots")
            << QStringLiteral("16,0,0,0,") + QStringLiteral("1,0,").repeated(16) << "range" << unchanged;
        QTest::newRow("value beyond 16 bits") << "1,0,0,0,40000,0," << "overflow" << unchanged;
        QTest::newRow("count beyond 16 bits") << "&H10000,0,0,0," << "overflow" << unchanged;
        // clang-format on
    }

    void unpacking()
    {
        QFETCH(QString, text);
        QFETCH(QString, outcome);
        QFETCH(QString, repacked);

        SerialEditorData m = message({{99, Type::Hexadecimal}}, true);
        m.SetCurrentMode(Type::Control);
        QString got;
        try {
            got = m.UnpackFromString(text.toStdString()) ? QStringLiteral("ok") : QStringLiteral("refused");
        } catch (const std::overflow_error &) {
            got = QStringLiteral("overflow");
        } catch (const std::out_of_range &) {
            got = QStringLiteral("range");
        }
        QCOMPARE(got, outcome);
        QCOMPARE(m.CurrentMode(), Type::Control); // never taken from the text
        m.SetCurrentMode(Type::Ascii);
        if (!repacked.isEmpty())
            QCOMPARE(packed(m), repacked);
    }

    void indexesOutsideTheSlotsFault()
    {
        SerialEditorData m;
        for (const int index : {-1, 15}) {
            QVERIFY_THROWS_EXCEPTION(std::out_of_range, m.ByteValue(index));
            QVERIFY_THROWS_EXCEPTION(std::out_of_range, m.SetByteType(index, Type::Decimal));
        }
        QVERIFY(m.IsTheSameAs(SerialEditorData()));
    }

    void emptyOutKeepsTheTypesOfLaterSlots()
    {
        SerialEditorData m = message({{1, Type::Decimal}, {2, Type::Hexadecimal}, {3, Type::Binary}}, true);
        m.SetCurrentMode(Type::Hexadecimal);
        m.EmptyOut();
        QCOMPARE(packed(m), QStringLiteral("0,0,0,0,0,0,"));
        m.SetNumberOfBytesInMessage(3);
        QCOMPARE(packed(m), QStringLiteral("3,0,0,0,0,0,0,2,0,3,0,0,"));
    }

    void copyAndCompareIgnoreCursorAndMode()
    {
        const SerialEditorData source = message({{72, Type::Ascii}, {105, Type::Ascii}}, true);
        SerialEditorData target;
        target.SetCurrentMode(Type::Binary);
        target.SetAllDataTo(source);
        QCOMPARE(target.CurrentMode(), Type::Binary);
        QCOMPARE(target.CurrentByte(), 2);
        target.SetCurrentByte(0);
        QVERIFY(target.IsTheSameAs(source)); // the cursor is not part of the message

        target.SetByteType(14, Type::Ignore); // beyond the count, still compared
        QVERIFY(!target.IsTheSameAs(source));
        target.SetByteType(14, Type::Ascii);
        target.SetCanDoIgnore(false);
        QVERIFY(!target.IsTheSameAs(source));
    }

    // Every reader of outside text goes through these: the lenient leading
    // number (packed fields, spinner text), the whole-line number and
    // boolean (configuration files) and the 16-bit rounding.
    void numbers_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("leading");
        QTest::addColumn<bool>("whole");      // wholeNumber() accepts it
        QTest::addColumn<QString>("int16");   // leadingInt16(), or "overflow"
        QTest::addColumn<QString>("boolean"); // wholeBoolean(): "1", "0" or "-" for none
        // clang-format off
        QTest::newRow("plain") << "42" << 42.0 << true << "42" << "1";
        QTest::newRow("blanks around") << "  -7 " << -7.0 << true << "-7" << "1";
        QTest::newRow("zero") << "0" << 0.0 << true << "0" << "0";
        QTest::newRow("half to even down") << "2.5" << 2.5 << true << "2" << "1";
        QTest::newRow("half to even up") << "3.5" << 3.5 << true << "4" << "1";
        QTest::newRow("negative half") << "-2.5" << -2.5 << true << "-2" << "1";
        QTest::newRow("hex lower") << "&hff" << 255.0 << true << "255" << "1";
        QTest::newRow("octal") << "&O17" << 15.0 << true << "15" << "1";
        QTest::newRow("text after") << "12abc" << 12.0 << false << "12" << "-";
        QTest::newRow("no number") << "abc" << 0.0 << false << "0" << "-";
        QTest::newRow("empty") << "" << 0.0 << false << "0" << "-";
        QTest::newRow("sign only") << "-" << 0.0 << false << "0" << "-";
        QTest::newRow("bare &H") << "&H" << 0.0 << false << "0" << "-";
        QTest::newRow("dangling exponent") << "5e" << 5.0 << false << "5" << "-";
        QTest::newRow("top of 16 bits") << "32767.4" << 32767.4 << true << "32767" << "1";
        QTest::newRow("rounding to the bottom") << "-32768.5" << -32768.5 << true << "-32768" << "1";
        QTest::newRow("below 16 bits") << "-32769" << -32769.0 << true << "overflow" << "1";
        QTest::newRow("beyond a double") << "1e999" << qInf() << true << "overflow" << "1";
        QTest::newRow("too small for a double") << "1e-999" << 0.0 << true << "0" << "0";
        QTest::newRow("no digit before the point") << "-.5" << -0.5 << true << "0" << "1";
        QTest::newRow("exponent") << "1.5e2" << 150.0 << true << "150" << "1";
        QTest::newRow("D exponent") << "2D1" << 20.0 << true << "20" << "1";
        QTest::newRow("not a number") << "nan" << 0.0 << false << "0" << "-";
        QTest::newRow("word in capitals") << " TRUE " << 0.0 << false << "0" << "1";
        QTest::newRow("word false") << "false" << 0.0 << false << "0" << "0";
        QTest::newRow("other word") << "yes" << 0.0 << false << "0" << "-";
        // clang-format on
    }

    void numbers()
    {
        QFETCH(QString, text);
        QFETCH(double, leading);
        QFETCH(bool, whole);
        QFETCH(QString, int16);
        QFETCH(QString, boolean);
        const std::string s = text.toStdString();
        QCOMPARE(tavo::leadingNumber(s), leading);
        QCOMPARE(tavo::wholeNumber(s).has_value(), whole);
        if (int16 == QLatin1String("overflow"))
            QVERIFY_THROWS_EXCEPTION(std::overflow_error, tavo::leadingInt16(s));
        else
            QCOMPARE(tavo::leadingInt16(s), int16.toInt());
        const std::optional<bool> b = tavo::wholeBoolean(s);
        QCOMPARE(b ? QString::number(*b) : QStringLiteral("-"), boolean);
    }
};

QTEST_APPLESS_MAIN(TestMessage)
#include "tst_message.moc"
