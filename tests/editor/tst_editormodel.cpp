#include "EditorTestUtil.h"
#include "editor/ByteDisplay.h"
#include "editor/EditorModel.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace editortest;
using Type = SerialEditorData::Type;

namespace {

// A model holding `spec`, cursor on byte 0.
struct Loaded {
    explicit Loaded(const QString &spec, bool canDoIgnore = false, bool allowEdit = true)
    {
        model.UseThisMessage(msg(spec, canDoIgnore), allowEdit);
    }
    EditorModel model;
};

const char *const Full = "1d 2d 3d 4d 5d 6d 7d 8d 9d 10d 11d 12d 13d 14d";
const char *const Abcd = "97a 98a 99a 100a";
const char *const Runs = "72a 105a 13c 5d 6d";

QString pasteText(int count, int value = 65, int type = 0)
{
    QString t = EditorModel::ClipboardMarker + QString::number(count) + QLatin1Char(',');
    for (int i = 0; i < count; ++i)
        t += QStringLiteral("%1,%2,").arg(value + i).arg(type);
    return t;
}

// "=" stands for "the starting message, unchanged".
QString expectedText(const char *expected, const char *start)
{
    return QLatin1String(expected) == QLatin1String("=") ? text(msg(QString::fromUtf8(start)))
                                                         : QString::fromUtf8(expected);
}

struct KeyCase {
    const char *name, *start;
    bool allowEdit;
    const char *keys, *expected;
    int cursor, anchor;
};
// clang-format off
const KeyCase KeyCases[] = {
    {"ascii typing",                  "",     true,  "Hi",                 "Hi",       2, 2},
    {"ascii inserts at the cursor",   Abcd,   true,  "{Right}x",           "axbcd",    2, 2},
    {"decimal digits build one byte", "",     true,  "{C-D}123",           "123d",     0, 0},
    {"decimal refuses 256",           "",     true,  "{C-D}256",           "25d",      0, 0},
    {"right starts the next byte",    "",     true,  "{C-D}12{Right}7",    "12d,7d",   1, 1},
    {"left ends typing before it",    "",     true,  "{C-D}12{Left}7",     "7d,12d",   0, 0},
    {"hex either case",               "",     true,  "{C-H}aF",            "AFh",      0, 0},
    {"hex refuses G",                 "",     true,  "{C-H}G",             "",         0, 0},
    {"binary: 0 and 1, eight at most", "",    true,  "{C-B}1201111111",    "10111111b", 0, 0},
    {"backspace takes a digit",       "",     true,  "{C-D}12{Backspace}3", "13d",     0, 0},
    {"backspace takes the only digit", "",    true,  "{C-D}1{Backspace}",  "",         0, 0},
    {"delete drops the typed value",  "53a",  true,  "{C-D}12{Delete}",    "5",        0, 0},
    {"ctrl letters ignore shift",     "",     true,  "{C-S-H}f",           "Fh",       0, 0},
    {"up control wraps",              "31c",  true,  "{Up}",               "NUL",      0, 0},
    {"down control wraps",            "0c",   true,  "{Down}",             "US",       0, 0},
    {"down wraps to 255",             "0d",   true,  "{Down}",             "255d",     0, 0},
    {"up on 255 gives 256",           "255d", true,  "{Up}",               "256d",     0, 0},
    {"up at the end",                 "1d",   true,  "{End}{Up}",          "1d",       1, 1},
    {"up with a selection",           "1d 2d", true, "{S-Right}{Up}",      "1d,2d",    1, 0},
    {"shift selects",                 Abcd,   true,  "{S-Right}{S-Right}", "abcd",     2, 0},
    {"left collapses",                Abcd,   true,  "{End}{S-Left}{S-Left}{Left}", "abcd", 2, 2},
    {"right collapses",               Abcd,   true,  "{S-Right}{S-Right}{Right}", "abcd", 2, 2},
    {"home and end",                  Abcd,   true,  "{End}{Left}{Home}{Right}", "abcd", 1, 1},
    {"ctrl right by runs",            Runs,   true,  "{C-Right}{C-Right}", "Hi,CR,5d,6d", 3, 3},
    {"ctrl left by runs",             Runs,   true,  "{End}{C-Left}{C-Left}", "Hi,CR,5d,6d", 2, 2},
    {"delete at cursor",              Abcd,   true,  "{Right}{Delete}",    "acd",      1, 1},
    {"delete selection",              Abcd,   true,  "{Right}{S-Right}{Delete}", "ad", 1, 1},
    {"delete leftwards selection",    Abcd,   true,  "{End}{S-Left}{S-Left}{Delete}", "ab", 2, 2},
    {"backspace",                     Abcd,   true,  "{End}{Backspace}",   "abc",      3, 3},
    {"backspace selection",           Abcd,   true,  "{S-Right}{S-Right}{Backspace}", "d", 0, 0},
    {"ctrl a types the selection",    "72d 105h", true, "{S-Right}{C-A}",  "Hi",       1, 0},
    {"ctrl o types control",          "13d 10d", true, "{S-Right}{S-Right}{C-O}", "CR,LF", 2, 0},
    {"ctrl o keeps ascii entry",      "13d",  true,  "{S-Right}{C-O}{End}x", "CR,x",   2, 2},
    {"insert toggles overwrite",      "1d 2d", true, "{Insert}{C-D}7",     "7d,2d",    0, 0},
    {"full message refuses ascii",    Full,   true,  "{End}x",             "=",       14, 14},
    {"full message refuses decimal",  Full,   true,  "{C-D}9",             "=",        0, 0},
    {"read-only moves",               Abcd,   false, "{Right}{Right}{Left}", "abcd",   1, 1},
    {"read-only never selects",       Abcd,   false, "{S-Right}{S-Right}", "abcd",     2, 2},
    {"read-only edits nothing",       Abcd,   false, "x{Delete}{Backspace}{Up}{C-D}1{C-I}{Insert}", "abcd", 0, 0},
};

struct PasteCase {
    const char *name, *start;
    bool canDoIgnore;
    QString clip;
    const char *expected;
    int cursor;
};
const PasteCase PasteCases[] = {
    {"into empty",           "",    false, QStringLiteral("OLVEXBYTES2,13,4,65,0,"), "CR,A", 2},
    {"at the cursor",        "97a", false, QStringLiteral("OLVEXBYTES1,5,1,"),       "5d,a", 1},
    {"blanks in fields",     "",    false, QStringLiteral("OLVEXBYTES 1, 66, 0,"),   "B",    1},
    {"no marker",            "97a", false, QStringLiteral("2,13,4,65,0,"),           "=",    0},
    {"marker in lower case", "97a", false, QStringLiteral("olvexbytes1,65,0,"),      "=",    0},
    {"no count comma",       "97a", false, QStringLiteral("OLVEXBYTES"),             "=",    0},
    {"count zero",           "97a", false, QStringLiteral("OLVEXBYTES0,"),           "=",    0},
    {"negative count",       "97a", false, QStringLiteral("OLVEXBYTES-3,"),          "=",    0},
    {"pair cut short",       "97a", false, QStringLiteral("OLVEXBYTES2,65,0,66,"),   "=",    0},
    {"value beyond 16 bits", "97a", false, QStringLiteral("OLVEXBYTES1,99999,0,"),   "=",    0},
    {"count beyond 16 bits", "97a", false, QStringLiteral("OLVEXBYTES70000,65,0,"),  "=",    0},
    {"sixteen bytes",        "97a", false, pasteText(16),                            "=",    0},
    {"fifteen, 14 fit",      "",    false, pasteText(15),              "ABCDEFGHIJKLMN", 14},
    {"twelve plus five",     "1d 2d 3d 4d 5d 6d 7d 8d 9d 10d 11d 12d", false, pasteText(5),
                             "AB,1d,2d,3d,4d,5d,6d,7d,8d,9d,10d,11d,12d", 2},
    {"ignore refused",       "97a", false, QStringLiteral("OLVEXBYTES2,65,0,63,6,"), "=",     0},
    {"ignore allowed",       "97a", true,  QStringLiteral("OLVEXBYTES2,65,0,63,6,"), "A,?,a", 2},
    {"odd values kept",      "",    false, QStringLiteral("OLVEXBYTES1,300,1,"),     "300d",  1},
};
// clang-format on

} // namespace

class TestEditorModel : public QObject
{
    Q_OBJECT

private slots:
    // --- how bytes read --------------------------------------------------------

    void valueText_data()
    {
        // clang-format off
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("plainAndZeros");
        QTest::newRow("decimal") << 5 << 1 << "5|005";
        QTest::newRow("decimal from a file") << -5 << 1 << "-5|-005";
        QTest::newRow("hex") << 10 << 2 << "A|0A";
        QTest::newRow("hex two digits") << 171 << 2 << "AB|AB";
        QTest::newRow("binary") << 5 << 3 << "101|00000101";
        QTest::newRow("binary zero") << 0 << 3 << "0|00000000";
        QTest::newRow("control") << 2 << 4 << "STX|STX";
        QTest::newRow("control out of range") << 200 << 4 << "???|???";
        QTest::newRow("ascii below 32") << 7 << 0 << "\x7f|\x7f";
        QTest::newRow("ascii euro") << 128 << 0 << "\u20ac|\u20ac";
        QTest::newRow("no meaning") << 65 << 5 << "|";
        QTest::newRow("ignore") << 63 << 6 << "?|?";
        // clang-format on
    }
    void valueText()
    {
        QFETCH(int, value);
        QFETCH(int, type);
        QFETCH(QString, plainAndZeros);
        QCOMPARE(ByteDisplay::valueText(value, type, false) + u'|'
                     + ByteDisplay::valueText(value, type, true),
                 plainAndZeros);
    }

    void typedDigitsAndCharactersReadBack()
    {
        for (int type : {1, 2, 3}) {
            for (int v = 0; v < 256; ++v) {
                QCOMPARE(ByteDisplay::digitsValue(ByteDisplay::typedDigits(v, type), type), v);
                QCOMPARE(ByteDisplay::digitsValue(ByteDisplay::valueText(v, type, true), type), v);
            }
        }
        QVERIFY(!ByteDisplay::digitsValue(QStringLiteral("12"), 3));
        QVERIFY(!ByteDisplay::digitsValue(QStringLiteral("1234567890123"), 1));
        for (int v = 32; v < 256; ++v)
            QCOMPARE(ByteDisplay::byteFor(ByteDisplay::characterFor(v).unicode()), v);
        QVERIFY(!ByteDisplay::byteFor(u'\u0416')); // no single-byte code
    }

    void messageText_data()
    {
        // clang-format off
        QTest::addColumn<QString>("spec");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<int>("forced");
        QTest::addColumn<bool>("zeros");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ascii run, control") << "72a 105a 13c" << false << -1 << false << "Hi,CR";
        QTest::newRow("numbers stand apart") << "5d 10h 5b 63i" << true << -1 << false << "5d,Ah,101b,?";
        QTest::newRow("leading zeros") << "5d 10h 5b" << false << -1 << true << "005d,0Ah,00000101b";
        QTest::newRow("control between ascii") << "65a 0c 66a" << false << -1 << false << "A,NUL,B";
        QTest::newRow("forced hex keeps ignore") << "65a 63i" << true << 2 << false << "41h,?";
        QTest::newRow("forced hex, no ignore") << "65a 63i" << false << 2 << false << "41h,3Fh";
        QTest::newRow("forced ascii joins") << "72d 105h" << false << 0 << false << "Hi";
        // clang-format on
    }
    void messageText()
    {
        QFETCH(QString, spec);
        QFETCH(bool, canDoIgnore);
        QFETCH(int, forced);
        QFETCH(bool, zeros);
        QFETCH(QString, expected);
        QCOMPARE(ByteDisplay::messageText(msg(spec, canDoIgnore), forced, zeros), expected);
    }

    void labels()
    {
        Loaded l(QStringLiteral("1d 2d 3d 4d 5d"));
        runKeys(l.model, QStringLiteral("{Right}{Right}{C-B}"));
        QCOMPARE(l.model.positionLabel(), QStringLiteral("3/5"));
        QCOMPARE(l.model.modeLabel(), QStringLiteral("BIN"));
        l.model.DisplayAsThisMode(4); // a forced display is the entry mode
        QCOMPARE(l.model.modeLabel(), QStringLiteral("CNT"));
        l.model.Message().SetCurrentMode(9);
        l.model.DisplayAsThisMode(-1);
        QCOMPARE(l.model.modeLabel(), QString());
    }

    // --- keyboard --------------------------------------------------------------

    void keys_data()
    {
        // clang-format off
        QTest::addColumn<int>("row");
        for (int i = 0; i < int(std::size(KeyCases)); ++i)
            QTest::newRow(KeyCases[i].name) << i;
        // clang-format on
    }
    void keys()
    {
        QFETCH(int, row);
        const KeyCase &c = KeyCases[row];
        Loaded l(QString::fromUtf8(c.start), false, c.allowEdit);
        runKeys(l.model, QString::fromUtf8(c.keys));
        QCOMPARE(text(l.model.Message()), expectedText(c.expected, c.start));
        QCOMPARE(l.model.Message().CurrentByte(), c.cursor);
        QCOMPARE(l.model.SelectAnchor(), c.anchor);
    }

    void keySignals_data()
    {
        // clang-format off
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("changedCancelledConsumed");
        QTest::newRow("enter") << true << "{Enter}" << "101";
        QTest::newRow("escape") << true << "{Escape}" << "011";
        QTest::newRow("ctrl a") << true << "{C-A}" << "100";
        QTest::newRow("ctrl d is silent") << true << "{C-D}" << "000";
        QTest::newRow("ctrl o is silent") << true << "{C-O}" << "000";
        QTest::newRow("up") << true << "{Up}" << "101";
        QTest::newRow("delete") << true << "{Delete}" << "101";
        QTest::newRow("backspace") << true << "{Backspace}" << "100";
        QTest::newRow("typed character") << true << "x" << "100";
        QTest::newRow("refused character") << true << "{C-H}G" << "100";
        QTest::newRow("moving") << true << "{Right}" << "001";
        QTest::newRow("read-only enter") << false << "{Enter}" << "000";
        QTest::newRow("read-only escape") << false << "{Escape}" << "000";
        // clang-format on
    }
    void keySignals()
    {
        QFETCH(bool, allowEdit);
        QFETCH(QString, keys);
        QFETCH(QString, changedCancelledConsumed);
        Loaded l(QStringLiteral("65a 66a"), false, allowEdit);
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        QSignalSpy cancelled(&l.model, &EditorModel::Cancelled);
        runKeys(l.model, keys);
        QString got = QString::number(changed.count()) + QString::number(cancelled.count());
        const KeyStroke last = parseKeys(keys).constLast();
        got += l.model.keyDown(last.key, last.modifiers) ? u'1' : u'0';
        QCOMPARE(got, changedCancelledConsumed);
    }

    void ctrlShortcutsNeedIndividualDisplay()
    {
        Loaded l(QStringLiteral("65a"));
        runKeys(l.model, QStringLiteral("{S-Right}"));
        l.model.DisplayAsThisMode(2);
        runKeys(l.model, QStringLiteral("{C-D}{C-O}"));
        QCOMPARE(l.model.Message().ByteType(0), Type::Ascii);
        QCOMPARE(l.model.Message().CurrentMode(), 0);
    }

    // --- undo history ----------------------------------------------------------

    void undoAndRedo()
    {
        Loaded l(QString{});
        l.model.Undo();                                           // only the loaded message: nothing to undo
        runKeys(l.model, QStringLiteral("abc{Left}{C-A}{C-H}G")); // the last four change no byte
        QCOMPARE(l.model.HistoryTop(), 3);

        runKeys(l.model, QStringLiteral("{S-Left}{C-Z}"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("ab"));
        QCOMPARE(l.model.Message().CurrentMode(), 2); // not part of the history
        QCOMPARE(l.model.SelectAnchor(), l.model.Message().CurrentByte());
        l.model.Undo();
        QCOMPARE(text(l.model.Message()), QStringLiteral("a"));
        runKeys(l.model, QStringLiteral("{C-Y}"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("ab"));

        // A new edit after an undo drops what was undone.
        l.model.Undo();
        runKeys(l.model, QStringLiteral("{C-A}z"));
        l.model.Redo();
        QCOMPARE(text(l.model.Message()), QStringLiteral("az"));
        QCOMPARE(l.model.HistoryTop(), 2);
    }

    void everyEditIsOneStep_data()
    {
        // clang-format off
        QTest::addColumn<QString>("keys");
        QTest::newRow("delete") << "{Delete}";
        QTest::newRow("backspace") << "{End}{Backspace}";
        QTest::newRow("up") << "{Up}";
        QTest::newRow("type change") << "{S-Right}{C-O}";
        QTest::newRow("typed decimal") << "{C-D}7";
        QTest::newRow("ctrl i") << "{C-I}";
        // clang-format on
    }
    void everyEditIsOneStep()
    {
        QFETCH(QString, keys);
        Loaded l(QStringLiteral("13d 65a"), true);
        const SerialEditorData before = l.model.Message();
        runKeys(l.model, keys);
        QVERIFY(!l.model.Message().IsTheSameAs(before));
        QCOMPARE(l.model.HistoryTop(), 1);
        l.model.Undo();
        QVERIFY(l.model.Message().IsTheSameAs(before));
    }

    // --- selection and types ---------------------------------------------------

    void selectionRule_data()
    {
        // clang-format off
        QTest::addColumn<int>("anchor");
        QTest::addColumn<int>("cursor");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<QString>("copied");
        QTest::newRow("rightwards includes the cursor byte") << 0 << 2 << "012" << "012";
        QTest::newRow("leftwards stops before the anchor") << 2 << 0 << "01" << "012";
        QTest::newRow("to the end") << 1 << 4 << "1234" << "123";
        QTest::newRow("empty") << 1 << 1 << "" << "";
        // clang-format on
    }
    void selectionRule()
    {
        QFETCH(int, anchor);
        QFETCH(int, cursor);
        QFETCH(QString, selected);
        QFETCH(QString, copied);
        Loaded l(QStringLiteral("48a 49a 50a 51a"));
        l.model.placeCursor(anchor, false);
        l.model.placeCursor(cursor, true);
        QString got;
        for (int i = 0; i <= 4; ++i)
            got += l.model.isSelected(i) ? QString::number(i) : QString();
        QCOMPARE(got, selected);
        // The copy takes its own range; Cut takes the same one.
        EditorModel target;
        target.Paste(l.model.CopyText(false));
        QCOMPARE(text(target.Message()), copied);
        l.model.Cut();
        QCOMPARE(text(l.model.Message()).size(), 4 - copied.size());
    }

    void setSelectedType()
    {
        Loaded l(QStringLiteral("65d 66d 67d"));
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        l.model.SetSelectedType(0); // nothing to act on
        l.model.placeCursor(1, true);
        l.model.SetSelectedType(0);
        QCOMPARE(text(l.model.Message()), QStringLiteral("AB,67d"));
        QCOMPARE(changed.count(), 1);

        // Select flag cleared: there is something to act on, yet the drawn
        // selection is empty; Changed is raised all the same.
        runKeys(l.model, QStringLiteral("{Home}{Insert}"));
        l.model.SetSelectedType(4);
        QCOMPARE(text(l.model.Message()), QStringLiteral("AB,67d"));
        QCOMPARE(changed.count(), 2);

        runKeys(l.model, QStringLiteral("{Insert}{C-D}5"));
        l.model.SetSelectedType(0); // a value is being typed
        QCOMPARE(l.model.Message().ByteType(0), Type::Decimal);
    }

    void selectionToTheEndTypesTheSpareSlotToo()
    {
        // Home then Shift+End puts the cursor after the last byte, right of
        // the anchor: the slot after the message is selected as well, and its
        // new type travels in the packed text's extra pair.
        Loaded l(QStringLiteral("72a 105a"));
        runKeys(l.model, QStringLiteral("{Home}{S-End}{C-H}"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("48h,69h"));
        QCOMPARE(l.model.Message().ByteType(2), Type::Hexadecimal);
        QVERIFY(QString::fromStdString(l.model.Message().PackedIntoString()).endsWith(QStringLiteral(",0,2,")));
    }

    // --- clipboard --------------------------------------------------------------

    void copyText_data()
    {
        // clang-format off
        QTest::addColumn<QString>("keys");
        QTest::addColumn<bool>("whole");
        QTest::addColumn<QString>("expected");
        QTest::newRow("whole") << "" << true << "OLVEXBYTES2,13,4,65,0,";
        QTest::newRow("nothing selected") << "" << false << "";
        QTest::newRow("selection to the end") << "{S-End}" << false << "OLVEXBYTES2,13,4,65,0,";
        QTest::newRow("select flag off") << "{Insert}" << false << "OLVEXBYTES1,13,4,";
        QTest::newRow("while typing") << "{Insert}{C-D}4" << false << "";
        // clang-format on
    }
    void copyText()
    {
        QFETCH(QString, keys);
        QFETCH(bool, whole);
        QFETCH(QString, expected);
        Loaded l(QStringLiteral("13c 65a"));
        runKeys(l.model, keys);
        QCOMPARE(l.model.CopyText(whole), expected);
        QCOMPARE(EditorModel().CopyText(true), QString());
    }

    void paste_data()
    {
        // clang-format off
        QTest::addColumn<int>("row");
        for (int i = 0; i < int(std::size(PasteCases)); ++i)
            QTest::newRow(PasteCases[i].name) << i;
        // clang-format on
    }
    void paste()
    {
        QFETCH(int, row);
        const PasteCase &c = PasteCases[row];
        // Read-only on purpose: pasting has never looked at the edit flag,
        // and it never reports Changed.
        Loaded l(QString::fromUtf8(c.start), c.canDoIgnore, false);
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        l.model.Paste(c.clip);
        const QString expected = expectedText(c.expected, c.start);
        QCOMPARE(text(l.model.Message()), expected);
        QCOMPARE(l.model.Message().CurrentByte(), c.cursor);
        QCOMPARE(l.model.HistoryTop(), expected == text(msg(QString::fromUtf8(c.start))) ? 0 : 1);
        QCOMPARE(changed.count(), 0);
    }

    void copyPasteRoundTripAndReadOnlyCut()
    {
        Loaded from(QStringLiteral("72a 105a 13c 5d 10h 5b 63i 0c 255d"), true, false);
        Loaded to(QString{}, true);
        QVERIFY(to.model.Paste(from.model.CopyText(true)));
        QVERIFY(to.model.Message().IsTheSameAs(from.model.Message()));

        from.model.placeCursor(2, true);
        QCOMPARE(from.model.Cut(), QStringLiteral("OLVEXBYTES3,72,0,105,0,13,4,"));
        QVERIFY(to.model.Message().IsTheSameAs(from.model.Message())); // read-only: copied, not cut
    }

    // --- context-menu commands -------------------------------------------------

    void insertCommands()
    {
        Loaded l(QString::fromUtf8(Abcd), true);
        l.model.InsertControl(0);
        QCOMPARE(text(l.model.Message()), QStringLiteral("NUL,abcd"));
        QCOMPARE(l.model.Message().ByteValue(0), 0);
        QCOMPARE(l.model.HistoryTop(), 1);

        // The selection gives way to the inserted byte.
        l.model.placeCursor(2, false);
        l.model.placeCursor(3, true);
        l.model.InsertControl(13);
        QCOMPARE(text(l.model.Message()), QStringLiteral("NUL,a,CR,d"));
        QCOMPARE(l.model.Message().CurrentByte(), 3);

        l.model.InsertIgnore(); // no undo step, by tradition
        QCOMPARE(text(l.model.Message()), QStringLiteral("NUL,a,CR,?,d"));
        QCOMPARE(l.model.HistoryTop(), 2);

        l.model.placeCursor(0, false);
        l.model.placeCursor(2, true);
        l.model.DeleteSelection();
        QCOMPARE(text(l.model.Message()), QStringLiteral("?,d"));
        runKeys(l.model, QStringLiteral("{S-Right}{C-I}")); // Ctrl+I replaces the selection too
        QCOMPARE(text(l.model.Message()), QStringLiteral("?"));
        QCOMPARE(l.model.Message().ByteType(0), Type::Ignore);
    }

    void insertCommandsRefused_data()
    {
        // clang-format off
        QTest::addColumn<QString>("start");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<int>("command"); // 0 control, 1 ignore, 2 delete
        QTest::newRow("control into a full message") << Full << true << true << 0;
        QTest::newRow("ignore into a full message") << Full << true << true << 1;
        QTest::newRow("ignore not allowed") << "97a" << false << true << 1;
        QTest::newRow("control read-only") << "97a" << true << false << 0;
        QTest::newRow("ignore read-only") << "97a" << true << false << 1;
        QTest::newRow("delete read-only") << "97a" << true << false << 2;
        QTest::newRow("delete without selection") << "97a" << true << true << 2;
        // clang-format on
    }
    void insertCommandsRefused()
    {
        QFETCH(QString, start);
        QFETCH(bool, canDoIgnore);
        QFETCH(bool, allowEdit);
        QFETCH(int, command);
        Loaded l(start, canDoIgnore, allowEdit);
        runKeys(l.model, QStringLiteral("{End}"));
        const SerialEditorData before = l.model.Message();
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        if (command == 0)
            l.model.InsertControl(13);
        else if (command == 1)
            l.model.InsertIgnore();
        else
            l.model.DeleteSelection();
        QVERIFY(l.model.Message().IsTheSameAs(before));
        QCOMPARE(l.model.HistoryTop(), 0);
        QCOMPARE(changed.count(), 0);
    }

    void useThisMessageResetsEverything()
    {
        Loaded l(QStringLiteral("1d 2d"));
        runKeys(l.model, QStringLiteral("{C-H}{Right}{S-Right}{Insert}z"));
        l.model.DisplayAsThisMode(3);
        SerialEditorData other = msg(QStringLiteral("9d"));
        other.SetCurrentByte(1);
        other.SetCurrentMode(2);
        l.model.UseThisMessage(other, true);
        const EditorModel &m = l.model;
        QCOMPARE(QList<int>({m.Message().CurrentByte(), m.Message().CurrentMode(), m.SelectAnchor(),
                             m.ForcedDisplayMode(), m.HistoryTop(), m.EntryState()}),
                 QList<int>({0, 0, 0, -1, 0, 0}));
        QVERIFY(m.SelectFlag());
    }

    // --- robustness ------------------------------------------------------------

    void noInputBreaksTheModel()
    {
        // Random keys, characters, commands and clipboard texts on messages
        // with counts nobody should write. Any out-of-range slot access
        // throws, which fails the test.
        QRandomGenerator rng(20240601);
        const QList<int> keys = {Qt::Key_Left, Qt::Key_Right,  Qt::Key_Home,      Qt::Key_End,    Qt::Key_Up,
                                 Qt::Key_Down, Qt::Key_Delete, Qt::Key_Backspace, Qt::Key_Insert, Qt::Key_A,
                                 Qt::Key_D,    Qt::Key_H,      Qt::Key_B,         Qt::Key_O,      Qt::Key_I,
                                 Qt::Key_Z,    Qt::Key_Y};
        const QString chars = QStringLiteral("0123456789abcdefGx ?\t\r\x01\u20AC\u0416");
        const std::array<int, 6> counts = {0, 3, 14, 15, -4, 200};
        for (int round = 0; round < 200; ++round) {
            EditorModel model;
            SerialEditorData start = msg(QString::fromUtf8(Full), rng.bounded(2) == 1);
            start.SetNumberOfBytesInMessage(static_cast<std::int16_t>(counts[rng.bounded(6)]));
            model.UseThisMessage(start, rng.bounded(5) != 0);
            for (int step = 0; step < 60; ++step) {
                const int what = rng.bounded(8);
                if (what < 3) {
                    model.keyDown(keys[rng.bounded(keys.size())],
                                  Qt::KeyboardModifiers(rng.bounded(4) << 25));
                } else if (what < 5) {
                    model.keyDown(0, Qt::NoModifier);
                    model.keyPress(chars.at(rng.bounded(chars.size())).unicode());
                } else if (what == 5) {
                    model.Paste(pasteText(rng.bounded(18), rng.bounded(-10, 400), rng.bounded(-1, 9)));
                } else if (what == 6) {
                    model.placeCursor(rng.bounded(-3, 20), rng.bounded(2) == 1);
                } else {
                    model.InsertControl(rng.bounded(-1, 33));
                    model.InsertIgnore();
                    model.Cut();
                    model.Undo();
                }
                if (rng.bounded(20) == 0)
                    model.Message().SetCurrentByte(static_cast<std::int16_t>(rng.bounded(-5, 30)));
                for (int i = 0; i < model.shownByteCount(); ++i)
                    model.cellText(i);
                QVERIFY(model.cursor() >= 0 && model.cursor() <= 14);
                QVERIFY(model.Message().NumberOfBytesInMessage() <= 200);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestEditorModel)
#include "tst_editormodel.moc"
