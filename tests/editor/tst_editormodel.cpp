#include "ClipboardCodec.h"
#include "EditorTestUtil.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace editortest;

namespace {

enum Flags { ReadOnly = 0, Edit = 1, Ignore = 2 };

// A model holding the message written as `bytes`, cursor on byte 0.
struct Loaded {
    explicit Loaded(const QString &bytes, int flags = Edit)
    {
        model.UseThisMessage(msg(bytes, flags & Ignore), flags & Edit);
    }
    EditorModel model;
};

const char *const Full = "1d 2d 3d 4d 5d 6d 7d 8d 9d 10d 11d 12d 13d 14d";
const char *const Abcd = "97a 98a 99a 100a";
const char *const Runs = "72a 105a 13c 5d 6d";

QString pasteText(int count, int value = 65, int type = 0)
{
    QString t = ClipboardCodec::Marker + QString::number(count) + u',';
    for (int i = 0; i < count; ++i)
        t += QStringLiteral("%1,%2,").arg(value + i).arg(type);
    return t;
}

// A key script with the menu's commands mixed in: {!ctlN} inserts control
// character N, {!ignore} an Ignore byte, {!delete} deletes the selection,
// {!typeN} gives the selection type N, {!paste TEXT} pastes the text and
// {!pasteN} N bytes "ABC...".
void run(EditorModel &model, const QString &script)
{
    static const QRegularExpression command(QStringLiteral("\\{!([a-z]+)(\\d*) ?([^}]*)\\}"));
    qsizetype done = 0;
    for (auto it = command.globalMatch(script); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        runKeys(model, script.mid(done, m.capturedStart() - done));
        done = m.capturedEnd();
        const QString name = m.captured(1);
        const int n = m.captured(2).toInt();
        if (name == QLatin1String("ctl"))
            model.insertControl(n);
        else if (name == QLatin1String("ignore"))
            model.insertIgnore();
        else if (name == QLatin1String("delete"))
            model.deleteSelection();
        else if (name == QLatin1String("type"))
            model.setSelectedType(SerialEditorData::Type(n));
        else if (name == QLatin1String("paste"))
            model.paste(m.captured(2).isEmpty() ? m.captured(3) : pasteText(n));
        else
            qFatal("unknown command in a test script");
    }
    runKeys(model, script.mid(done));
}

struct EditCase {
    const char *name, *start;
    int flags;
    const char *script, *expected; // "=": the starting message, unchanged
    int cursor, anchor, changed, cancelled;
};
// clang-format off
const EditCase EditCases[] = {
    // typing
    {"ascii typing",                  "",     Edit,  "Hi",                 "Hi",       2, 2, 2, 0},
    {"ascii beyond 127",              "",     Edit,  "\u00e9\u20ac\u0416", "\u00e9\u20ac", 2, 2, 3, 0},
    {"ascii inserts at the cursor",   Abcd,   Edit,  "{Right}x",           "axbcd",    2, 2, 1, 0},
    {"decimal digits build one byte", "",     Edit,  "{C-D}123",           "123d",     0, 0, 3, 0},
    {"decimal refuses 256",           "",     Edit,  "{C-D}256",           "25d",      0, 0, 3, 0},
    {"right starts the next byte",    "",     Edit,  "{C-D}12{Right}7",    "12d,7d",   1, 1, 3, 0},
    {"left ends typing before it",    "",     Edit,  "{C-D}12{Left}7",     "7d,12d",   0, 0, 3, 0},
    {"hex either case",               "",     Edit,  "{C-H}aF",            "AFh",      0, 0, 2, 0},
    {"hex refuses G",                 "",     Edit,  "{C-H}G",             "",         0, 0, 1, 0},
    {"binary: 0 and 1, eight at most", "",    Edit,  "{C-B}1201111111",    "10111111b", 0, 0, 10, 0},
    {"backspace takes a digit",       "",     Edit,  "{C-D}12{Backspace}3", "13d",     0, 0, 4, 0},
    {"backspace takes the only digit", "",    Edit,  "{C-D}1{Backspace}",  "",         0, 0, 2, 0},
    {"delete drops the typed value",  "53a",  Edit,  "{C-D}12{Delete}",    "5",        0, 0, 3, 0},
    {"ctrl letters ignore shift",     "",     Edit,  "{C-S-H}f",           "Fh",       0, 0, 1, 0},
    {"full message refuses ascii",    Full,   Edit,  "{End}x",             "=",       14, 14, 1, 0},
    {"full message refuses decimal",  Full,   Edit,  "{C-D}9",             "=",        0, 0, 1, 0},
    // stepping values, Enter and Escape
    {"up control wraps",              "31c",  Edit,  "{Up}",               "NUL",      0, 0, 1, 0},
    {"down control wraps",            "0c",   Edit,  "{Down}",             "US",       0, 0, 1, 0},
    {"down wraps to 255",             "0d",   Edit,  "{Down}",             "255d",     0, 0, 1, 0},
    {"up on 255 gives 256",           "255d", Edit,  "{Up}",               "256d",     0, 0, 1, 0},
    {"up at the end",                 "1d",   Edit,  "{End}{Up}",          "1d",       1, 1, 1, 0},
    {"up with a selection",           "1d 2d", Edit, "{S-Right}{Up}",      "1d,2d",    1, 0, 0, 0},
    // moving and selecting
    {"shift selects",                 Abcd,   Edit,  "{S-Right}{S-Right}", "abcd",     2, 0, 0, 0},
    {"left collapses",                Abcd,   Edit,  "{End}{S-Left}{S-Left}{Left}", "abcd", 2, 2, 0, 0},
    {"right collapses",               Abcd,   Edit,  "{S-Right}{S-Right}{Right}", "abcd", 2, 2, 0, 0},
    {"home and end",                  Abcd,   Edit,  "{End}{Left}{Home}{Right}", "abcd", 1, 1, 0, 0},
    {"ctrl right by runs",            Runs,   Edit,  "{C-Right}{C-Right}", "Hi,CR,5d,6d", 3, 3, 0, 0},
    {"ctrl left by runs",             Runs,   Edit,  "{End}{C-Left}{C-Left}", "Hi,CR,5d,6d", 2, 2, 0, 0},
    // deleting
    {"delete at cursor",              Abcd,   Edit,  "{Right}{Delete}",    "acd",      1, 1, 1, 0},
    {"delete selection",              Abcd,   Edit,  "{Right}{S-Right}{Delete}", "ad", 1, 1, 1, 0},
    {"delete leftwards selection",    Abcd,   Edit,  "{End}{S-Left}{S-Left}{Delete}", "ab", 2, 2, 1, 0},
    {"backspace",                     Abcd,   Edit,  "{End}{Backspace}",   "abc",      3, 3, 1, 0},
    {"backspace selection",           Abcd,   Edit,  "{S-Right}{S-Right}{Backspace}", "d", 0, 0, 1, 0},
    {"delete command",                Abcd,   Edit,  "{Right}{S-Right}{!delete}", "ad", 1, 1, 0, 0},
    {"delete command, no selection",  Abcd,   Edit,  "{End}{!delete}",     "=",        4, 4, 0, 0},
    // byte types
    {"type with nothing to act on",   "65d 66d", Edit, "{!type0}",         "=",        0, 0, 0, 0},
    {"type the selection",            "65d 66d 67d", Edit, "{S-Right}{!type0}", "AB,67d", 1, 0, 1, 0},
    {"type, select flag cleared",     "65d 66d", Edit, "{Insert}{!type4}", "=",        0, 0, 1, 0},
    {"type while typing a value",     "65d",  Edit,  "{C-D}5{!type0}",     "5d,65d",   0, 0, 1, 0},
    {"ctrl a types the selection",    "72d 105h", Edit, "{S-Right}{C-A}",  "Hi",       1, 0, 1, 0},
    {"ctrl o types control",          "13d 10d", Edit, "{S-Right}{S-Right}{C-O}", "CR,LF", 2, 0, 0, 0},
    {"ctrl o keeps ascii entry",      "13d",  Edit,  "{S-Right}{C-O}{End}x", "CR,x",   2, 2, 1, 0},
    {"insert toggles overwrite",      "1d 2d", Edit, "{Insert}{C-D}7",     "7d,2d",    0, 0, 1, 0},
    // inserting control characters and Ignore bytes
    {"control at the cursor",         Abcd,   Edit,  "{!ctl0}",            "NUL,abcd", 1, 1, 0, 0},
    {"inserts replace the selection", Abcd,   Edit|Ignore, "{Right}{S-Right}{!ctl13}{!ignore}",
                                                                               "a,CR,?,d", 3, 3, 0, 0},
    {"ctrl i replaces the selection", Abcd,   Edit|Ignore, "{S-Right}{C-I}", "?,cd",   1, 1, 0, 0},
    {"full message refuses inserts",  Full,   Edit|Ignore, "{End}{!ctl13}{!ignore}{C-I}", "=", 14, 14, 0, 0},
    {"ignore not allowed",            "97a",  Edit,  "{End}{!ignore}{C-I}", "=",       1, 1, 0, 0},
    // undo and redo
    {"undo with only the loaded message", Abcd, Edit, "{C-Z}",             "=",        0, 0, 0, 0},
    {"undo, undo, redo",              "",     Edit,  "abc{C-Z}{C-Z}{C-Y}", "ab",       2, 2, 3, 0},
    {"undo empties the selection",    "",     Edit,  "abc{S-Left}{C-Z}",   "ab",       2, 2, 3, 0},
    {"undo keeps the entry mode",     "",     Edit,  "ab{C-H}{C-Z}7",      "a,7h",     1, 1, 3, 0},
    {"an edit drops what was undone", "",     Edit,  "ab{C-Z}z{C-Y}{C-Z}", "a",        1, 1, 3, 0},
    // pasting: read-only on purpose, as it has never looked at the edit flag
    {"paste into empty",              "",     ReadOnly, "{!paste OLVEXBYTES2,13,4,65,0,}", "CR,A", 2, 2, 0, 0},
    {"paste at the cursor",           "97a 98a", ReadOnly, "{Right}{!paste OLVEXBYTES1,5,1,}", "a,5d,b", 2, 2, 0, 0},
    {"paste with blanks in fields",   "",     ReadOnly, "{!paste OLVEXBYTES 1, 66, 0,}", "B", 1, 1, 0, 0},
    {"paste without the marker",      "97a",  ReadOnly, "{!paste 2,13,4,65,0,}", "=",  0, 0, 0, 0},
    {"paste, marker in lower case",   "97a",  ReadOnly, "{!paste olvexbytes1,65,0,}", "=", 0, 0, 0, 0},
    {"paste, no count comma",         "97a",  ReadOnly, "{!paste OLVEXBYTES}", "=",    0, 0, 0, 0},
    {"paste, count zero",             "97a",  ReadOnly, "{!paste OLVEXBYTES0,}", "=",  0, 0, 0, 0},
    {"paste, negative count",         "97a",  ReadOnly, "{!paste OLVEXBYTES-3,}", "=", 0, 0, 0, 0},
    {"paste, pair cut short",         "97a",  ReadOnly, "{!paste OLVEXBYTES2,65,0,66,}", "=", 0, 0, 0, 0},
    {"paste, value beyond 16 bits",   "97a",  ReadOnly, "{!paste OLVEXBYTES1,99999,0,}", "=", 0, 0, 0, 0},
    {"paste, count beyond 16 bits",   "97a",  ReadOnly, "{!paste OLVEXBYTES70000,65,0,}", "=", 0, 0, 0, 0},
    {"paste sixteen bytes",           "97a",  ReadOnly, "{!paste16}",      "=",        0, 0, 0, 0},
    {"paste fifteen, 14 fit",         "",     ReadOnly, "{!paste15}",      "ABCDEFGHIJKLMN", 14, 14, 0, 0},
    {"paste twelve plus five",        "1d 2d 3d 4d 5d 6d 7d 8d 9d 10d 11d 12d", ReadOnly, "{!paste5}",
                                      "AB,1d,2d,3d,4d,5d,6d,7d,8d,9d,10d,11d,12d", 2, 2, 0, 0},
    {"paste ignore refused",          "97a",  ReadOnly, "{!paste OLVEXBYTES2,65,0,63,6,}", "=", 0, 0, 0, 0},
    {"paste ignore allowed",          "97a",  Ignore, "{!paste OLVEXBYTES2,65,0,63,6,}", "A,?,a", 2, 2, 0, 0},
    {"paste keeps odd values",        "",     ReadOnly, "{!paste OLVEXBYTES1,300,1,}", "300d", 1, 1, 0, 0},
    // read-only
    {"read-only moves",               Abcd,   ReadOnly, "{End}{Left}{Left}{Right}", "abcd", 3, 3, 0, 0},
    {"read-only goes home",           Abcd,   ReadOnly, "{Right}{Right}{Home}{Right}", "abcd", 1, 1, 0, 0},
    {"read-only never selects",       Abcd,   ReadOnly, "{S-Right}{S-Right}", "abcd",  2, 2, 0, 0},
    {"read-only edits nothing",       Abcd,   ReadOnly|Ignore,
     "x{Delete}{Backspace}{Up}{C-D}1{C-I}{Insert}{Enter}{Escape}{S-Right}{!ctl13}{!ignore}{!delete}",
                                                                               "abcd",     1, 1, 0, 0},
};
// clang-format on

} // namespace

class TestEditorModel : public QObject
{
    Q_OBJECT

private slots:
    void messageText_data()
    {
        QTest::addColumn<QString>("bytes");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<int>("forced");
        QTest::addColumn<bool>("zeros");
        QTest::addColumn<QString>("expected");
        // clang-format off
        const QString everyType = QStringLiteral("5d 10h 171h 5b 0b -5d 2c 200c 63i 655");
        QTest::newRow("ascii run, control, ascii below 32, euro")
            << "72a 105a 13c 7a 128a" << false << -1 << false << "Hi,CR,\x7f\u20ac";
        QTest::newRow("numbers stand apart")
            << everyType << true << -1 << false << "5d,Ah,ABh,101b,0b,-5d,STX,???,?,";
        QTest::newRow("leading zeros")
            << everyType << true << -1 << true << "005d,0Ah,ABh,00000101b,00000000b,-005d,STX,???,?,";
        QTest::newRow("forced hex keeps ignore") << "65a 63i" << true << 2 << false << "41h,?";
        QTest::newRow("forced hex, no ignore") << "65a 63i" << false << 2 << false << "41h,3Fh";
        QTest::newRow("forced ascii joins") << "72d 105h" << false << 0 << false << "Hi";
        // clang-format on
    }
    void messageText()
    {
        QFETCH(QString, bytes);
        QFETCH(bool, canDoIgnore);
        QFETCH(int, forced);
        QFETCH(bool, zeros);
        QFETCH(QString, expected);
        const ByteDisplay::ForcedType forcedType =
            forced < 0 ? ByteDisplay::ForcedType() : SerialEditorData::Type(forced);
        QCOMPARE(ByteDisplay::messageText(msg(bytes, canDoIgnore), forcedType, zeros), expected);
    }

    // Every notation over every byte: value -> text -> value.
    void notationRoundTrip_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("zeros");
        QTest::addColumn<int>("firstKept"); // these values read back as themselves,
        QTest::addColumn<int>("lastKept");
        QTest::addColumn<int>("otherwise"); // the others as this (-1: as nothing)
        QTest::addColumn<int>("width");     // every text this long; 0: numbers without leading zeros
        // clang-format off
        QTest::newRow("ascii: below 32 shows DEL") << 0 << false << 32 << 255 << 127 << 1;
        QTest::newRow("decimal")                    << 1 << false << 0 << 255 << -1 << 0;
        QTest::newRow("decimal, leading zeros")     << 1 << true  << 0 << 255 << -1 << 3;
        QTest::newRow("hexadecimal")                << 2 << false << 0 << 255 << -1 << 0;
        QTest::newRow("hexadecimal, leading zeros") << 2 << true  << 0 << 255 << -1 << 2;
        QTest::newRow("binary")                     << 3 << false << 0 << 255 << -1 << 0;
        QTest::newRow("binary, leading zeros")      << 3 << true  << 0 << 255 << -1 << 8;
        QTest::newRow("control: names for 0 to 31") << 4 << false << 0 << 31  << -1 << -1;
        QTest::newRow("no meaning")                 << 5 << false << 1 << 0   << -1 << -1;
        QTest::newRow("ignore")                     << 6 << false << 1 << 0   << -1 << 1;
        QTest::newRow("unnamed code")               << 9 << true  << 1 << 0   << -1 << -1;
        // clang-format on
    }
    void notationRoundTrip()
    {
        QFETCH(int, type);
        QFETCH(bool, zeros);
        QFETCH(int, firstKept);
        QFETCH(int, lastKept);
        QFETCH(int, otherwise);
        QFETCH(int, width);
        const ByteDisplay::Notation &notation = ByteDisplay::notationOf(SerialEditorData::Type(type));
        for (int value = 0; value < 256; ++value) {
            const QString text = notation.text(value, zeros);
            const int back = notation.value(text).value_or(-1);
            const int expected = value >= firstKept && value <= lastKept ? value : otherwise;
            const QString trip = QStringLiteral("%1 -> \"%2\" -> %3").arg(value).arg(text);
            QCOMPARE(trip.arg(back), trip.arg(expected));
            if (width > 0)
                QCOMPARE(text.size(), width);
            else if (width == 0)
                QVERIFY2(text == QLatin1String("0") || !text.startsWith(u'0'), qPrintable(text));
        }
    }

    void edits_data()
    {
        // clang-format off
        QTest::addColumn<int>("row");
        for (int i = 0; i < int(std::size(EditCases)); ++i)
            QTest::newRow(EditCases[i].name) << i;
        // clang-format on
    }
    void edits()
    {
        QFETCH(int, row);
        const EditCase &c = EditCases[row];
        Loaded l(QString::fromUtf8(c.start), c.flags);
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        QSignalSpy cancelled(&l.model, &EditorModel::Cancelled);
        run(l.model, QString::fromUtf8(c.script));
        const QString start = text(msg(QString::fromUtf8(c.start)));
        QCOMPARE(text(l.model.Message()), qstrcmp(c.expected, "=") ? QString::fromUtf8(c.expected) : start);
        QCOMPARE(l.model.Message().CurrentByte(), c.cursor);
        QCOMPARE(l.model.SelectAnchor(), c.anchor);
        QCOMPARE(changed.count(), c.changed);
        QCOMPARE(cancelled.count(), c.cancelled);
    }

    // One undo step per edit that changed something, undone by one Undo.
    void undoSteps_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("steps");
        // clang-format off
        QTest::newRow("typed decimal") << "{C-D}7" << 1;
        QTest::newRow("delete") << "{Delete}" << 1;
        QTest::newRow("backspace") << "{End}{Backspace}" << 1;
        QTest::newRow("up") << "{Up}" << 1;
        QTest::newRow("type change") << "{S-Right}{C-O}" << 1;
        QTest::newRow("ctrl i") << "{C-I}" << 1;
        QTest::newRow("insert control") << "{!ctl7}" << 1;
        QTest::newRow("paste") << "{!paste2}" << 1;
        QTest::newRow("refused paste") << "{!paste OLVEXBYTES2,65,0,66,}" << 0;
        QTest::newRow("insert ignore, by tradition") << "{!ignore}" << 0;
        QTest::newRow("refused character") << "{C-H}G" << 0;
        QTest::newRow("same type again") << "{Right}{S-Left}{C-D}" << 0;
        QTest::newRow("three characters") << "abc" << 3;
        // clang-format on
    }
    void undoSteps()
    {
        QFETCH(QString, script);
        QFETCH(int, steps);
        Loaded l(QStringLiteral("13d 65a"), Edit | Ignore);
        const SerialEditorData before = l.model.Message();
        run(l.model, script);
        QCOMPARE(l.model.HistoryTop(), steps);
        for (int i = 0; i < steps; ++i)
            l.model.undo();
        if (steps)
            QVERIFY(l.model.Message().IsTheSameAs(before));
    }

    void selectionRule_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("selected"); // bytes drawn and typed as selected
        QTest::addColumn<QString>("copied");   // bytes the copy takes, and the cut removes
        // clang-format off
        QTest::newRow("rightwards includes the cursor byte") << "{S-Right}{S-Right}" << "012" << "012";
        QTest::newRow("leftwards stops before the anchor") << "{Right}{Right}{S-Left}{S-Left}" << "01" << "012";
        QTest::newRow("to the end") << "{Right}{S-End}" << "1234" << "123";
        QTest::newRow("empty") << "{Right}" << "" << "";
        QTest::newRow("select flag off") << "{Insert}" << "" << "0";
        QTest::newRow("while typing") << "{Insert}{C-D}4" << "" << "";
        // clang-format on
    }
    void selectionRule()
    {
        QFETCH(QString, keys);
        QFETCH(QString, selected);
        QFETCH(QString, copied);
        Loaded l(QStringLiteral("48a 49a 50a 51a"));
        runKeys(l.model, keys);
        QString got;
        for (int i = 0; i <= 4; ++i)
            got += l.model.isSelected(i) ? QString::number(i) : QString();
        QCOMPARE(got, selected);
        EditorModel target;
        target.paste(l.model.copyText(false));
        QCOMPARE(text(target.Message()), copied);
        const int before = l.model.Message().NumberOfBytesInMessage();
        l.model.cut();
        QCOMPARE(before - l.model.Message().NumberOfBytesInMessage(), copied.size());
    }

    void selectionToTheEndTypesTheSpareSlotToo()
    {
        // Shift+End puts the cursor after the last byte, right of the
        // anchor: the slot after the message is selected as well, and its new
        // type travels in the packed text's extra pair.
        Loaded l(QStringLiteral("72a 105a"));
        runKeys(l.model, QStringLiteral("{S-End}{C-H}"));
        QCOMPARE(l.model.Message().PackedIntoString(), "2,2,2,0,72,2,105,2,0,2,");
    }

    void copyPasteRoundTripAndReadOnlyCut()
    {
        Loaded from(QStringLiteral("72a 105a 13c 5d 10h 5b 63i 0c 255d 659"), Ignore); // and an unnamed type
        Loaded to(QString{}, Edit | Ignore);
        QVERIFY(to.model.paste(from.model.copyText(true)));
        QVERIFY(to.model.Message().IsTheSameAs(from.model.Message()));

        from.model.placeCursor(2, true);
        QCOMPARE(from.model.cut(), QStringLiteral("OLVEXBYTES3,72,0,105,0,13,4,"));
        QVERIFY(to.model.Message().IsTheSameAs(from.model.Message())); // read-only: copied, not cut
        QCOMPARE(EditorModel().copyText(true), QString()); // nothing to copy: the clipboard is cleared
    }

    void useThisMessageResetsEverything()
    {
        Loaded l(QStringLiteral("1d 2d"));
        runKeys(l.model, QStringLiteral("{C-H}{Right}{S-Right}{Insert}z"));
        l.model.DisplayAsThisMode(3);
        SerialEditorData other = msg(QStringLiteral("9d"));
        other.SetCurrentByte(1);
        other.SetCurrentMode(SerialEditorData::Type::Hexadecimal);
        l.model.UseThisMessage(other, true);
        const EditorModel &m = l.model;
        QCOMPARE(QList<int>({m.Message().CurrentByte(), SerialEditorData::codeOf(m.Message().CurrentMode()),
                             m.SelectAnchor(), m.ForcedDisplayMode().has_value(), m.HistoryTop(),
                             m.EntryState(), m.SelectFlag()}),
                 QList<int>({0, 0, 0, 0, 0, 0, 1}));
    }

    void noInputBreaksTheModel()
    {
        // Random keys, commands and clipboard texts on messages with counts
        // nobody should write. Any out-of-range slot access throws, which
        // fails the test.
        QRandomGenerator rng(20240601);
        const QStringList keys =
            QStringLiteral("{Left} {S-Right} {C-Left} {Home} {S-End} {Up} {Down} {Delete} "
                           "{Backspace} {Insert} {C-A} {C-D} {C-H} {C-B} {C-O} {C-I} {C-Z} "
                           "{C-Y} {!ignore} {!delete} {!type4} 0 7 1 a F G ? \t \r \x01 \u20AC")
                .split(u' ');
        const std::array<int, 6> counts = {0, 3, 14, 15, -4, 200};
        for (int round = 0; round < 200; ++round) {
            EditorModel model;
            SerialEditorData start = msg(QString::fromUtf8(Full), rng.bounded(2) == 1);
            start.SetNumberOfBytesInMessage(static_cast<std::int16_t>(counts[rng.bounded(6)]));
            model.UseThisMessage(start, rng.bounded(5) != 0);
            for (int step = 0; step < 60; ++step) {
                const int what = rng.bounded(5);
                if (what == 0)
                    model.paste(pasteText(rng.bounded(18), rng.bounded(-10, 400), rng.bounded(-1, 9)));
                else if (what == 1)
                    model.placeCursor(rng.bounded(-3, 20), rng.bounded(2) == 1);
                else if (what == 2) {
                    model.insertControl(rng.bounded(-1, 33));
                    model.cut();
                } else
                    run(model, keys.at(rng.bounded(keys.size())));
                if (rng.bounded(20) == 0)
                    model.Message().SetCurrentByte(static_cast<std::int16_t>(rng.bounded(-5, 30)));
                for (int i = 0; i < model.shownByteCount(); ++i)
                    model.cellText(i);
                QVERIFY(model.cursor() >= 0 && model.cursor() <= 14);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestEditorModel)
#include "tst_editormodel.moc"
