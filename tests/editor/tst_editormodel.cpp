#include "EditorTestUtil.h"
#include "editor/ByteDisplay.h"
#include "editor/EditorModel.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace editortest;
using Type = SerialEditorData::Type;

namespace {

// A model holding `spec`, editable unless told otherwise, cursor on byte 0.
struct Loaded {
    explicit Loaded(const QString &spec, bool canDoIgnore = false, bool allowEdit = true)
    {
        model.UseThisMessage(msg(spec, canDoIgnore), allowEdit);
    }
    EditorModel model;
};

QString fullMessage()
{
    return QStringLiteral("1d 2d 3d 4d 5d 6d 7d 8d 9d 10d 11d 12d 13d 14d");
}

QString pasteText(int count, int value = 65, int type = 0)
{
    QString t = EditorModel::ClipboardMarker + QString::number(count) + QLatin1Char(',');
    for (int i = 0; i < count; ++i)
        t += QStringLiteral("%1,%2,").arg(value + i).arg(type);
    return t;
}

} // namespace

class TestEditorModel : public QObject
{
    Q_OBJECT

private slots:
    // --- how bytes read --------------------------------------------------------

    void valueText_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("plain");
        QTest::addColumn<QString>("zeros");
        QTest::newRow("decimal") << 5 << 1 << "5"
                                 << "005";
        QTest::newRow("decimal 255") << 255 << 1 << "255"
                                     << "255";
        QTest::newRow("hex one digit") << 10 << 2 << "A"
                                       << "0A";
        QTest::newRow("hex two digits") << 171 << 2 << "AB"
                                        << "AB";
        QTest::newRow("binary") << 5 << 3 << "101"
                                << "00000101";
        QTest::newRow("binary zero") << 0 << 3 << "0"
                                     << "00000000";
        QTest::newRow("control") << 13 << 4 << "CR"
                                 << "CR";
        QTest::newRow("control STX") << 2 << 4 << "STX"
                                     << "STX";
        QTest::newRow("control out of range") << 200 << 4 << "???"
                                              << "???";
        QTest::newRow("control negative") << -1 << 4 << "???"
                                          << "???";
        QTest::newRow("ascii") << 65 << 0 << "A"
                               << "A";
        QTest::newRow("ascii below 32") << 7 << 0 << QString(QChar(127)) << QString(QChar(127));
        QTest::newRow("ascii euro") << 128 << 0 << QString(QChar(0x20AC)) << QString(QChar(0x20AC));
        QTest::newRow("no meaning") << 65 << 5 << ""
                                    << "";
        QTest::newRow("ignore") << 63 << 6 << "?"
                                << "?";
        QTest::newRow("unknown type") << 65 << 9 << ""
                                      << "";
        QTest::newRow("decimal from a file, negative") << -5 << 1 << "-5"
                                                       << "-005";
    }
    void valueText()
    {
        QFETCH(int, value);
        QFETCH(int, type);
        QFETCH(QString, plain);
        QFETCH(QString, zeros);
        QCOMPARE(ByteDisplay::valueText(value, type, false), plain);
        QCOMPARE(ByteDisplay::valueText(value, type, true), zeros);
    }

    void typedDigitsReadBackForEveryByte()
    {
        for (int type : {1, 2, 3}) {
            for (int v = 0; v < 256; ++v) {
                QCOMPARE(ByteDisplay::digitsValue(ByteDisplay::typedDigits(v, type), type), v);
                QCOMPARE(ByteDisplay::digitsValue(ByteDisplay::valueText(v, type, true), type), v);
            }
        }
        QVERIFY(!ByteDisplay::digitsValue(QStringLiteral("12"), 3));
        QVERIFY(!ByteDisplay::digitsValue(QStringLiteral("G"), 2));
        QVERIFY(!ByteDisplay::digitsValue(QStringLiteral("1234567890123"), 1));
    }

    void charactersMapToBytesBothWays()
    {
        for (int v = 32; v < 256; ++v)
            QCOMPARE(ByteDisplay::byteFor(ByteDisplay::characterFor(v).unicode()), v);
        QVERIFY(!ByteDisplay::byteFor(u'\u0416')); // no single-byte code
    }

    void messageText_data()
    {
        QTest::addColumn<QString>("spec");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<int>("forced");
        QTest::addColumn<bool>("zeros");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ascii run then control") << "72a 105a 13c" << false << -1 << false << "Hi,CR";
        QTest::newRow("numbers stand apart") << "5d 10h 5b 63i" << true << -1 << false << "5d,Ah,101b,?";
        QTest::newRow("leading zeros") << "5d 10h 5b" << false << -1 << true << "005d,0Ah,00000101b";
        QTest::newRow("control after ascii") << "65a 0c 66a" << false << -1 << false << "A,NUL,B";
        QTest::newRow("forced hex keeps ignore") << "65a 63i" << true << 2 << false << "41h,?";
        QTest::newRow("forced hex, ignore not allowed") << "65a 63i" << false << 2 << false << "41h,3Fh";
        QTest::newRow("forced ascii joins") << "72d 105h" << false << 0 << false << "Hi";
        QTest::newRow("empty") << "" << false << -1 << false << "";
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

    void coloursAndLabels()
    {
        const std::array<ByteDisplay::Rgb, 7> colours = {
            {{0, 0, 0}, {0, 0, 255}, {255, 0, 0}, {255, 0, 255}, {0, 128, 0}, {0, 0, 0}, {255, 128, 0}}};
        for (int type = 0; type < 7; ++type)
            QCOMPARE(ByteDisplay::colourOf(type), colours[static_cast<std::size_t>(type)]);

        Loaded l(QStringLiteral("1d 2d 3d 4d 5d"));
        QCOMPARE(l.model.modeLabel(), QStringLiteral("ASC"));
        runKeys(l.model, QStringLiteral("{Right}{Right}{C-B}"));
        QCOMPARE(l.model.positionLabel(), QStringLiteral("3/5"));
        QCOMPARE(l.model.modeLabel(), QStringLiteral("BIN"));
        l.model.DisplayAsThisMode(4); // a forced display names the entry mode
        QCOMPARE(l.model.modeLabel(), QStringLiteral("CNT"));
        l.model.Message().SetCurrentMode(9);
        l.model.DisplayAsThisMode(-1);
        QCOMPARE(l.model.modeLabel(), QString());
    }

    // --- keyboard --------------------------------------------------------------

    void keys_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("cursor");
        QTest::addColumn<int>("anchor");

        const QString abcd = QStringLiteral("97a 98a 99a 100a");
        QTest::newRow("ascii typing") << "" << true << "Hi"
                                      << "Hi" << 2 << 2;
        QTest::newRow("ascii inserts at the cursor") << abcd << true << "{Right}x"
                                                     << "axbcd" << 2 << 2;
        QTest::newRow("decimal digits build one byte") << "" << true << "{C-D}123"
                                                       << "123d" << 0 << 0;
        QTest::newRow("decimal refuses 256") << "" << true << "{C-D}256"
                                             << "25d" << 0 << 0;
        QTest::newRow("decimal leading zero") << "" << true << "{C-D}05"
                                              << "5d" << 0 << 0;
        QTest::newRow("right starts the next byte") << "" << true << "{C-D}12{Right}7"
                                                    << "12d,7d" << 1 << 1;
        QTest::newRow("left ends typing before it") << "" << true << "{C-D}12{Left}7"
                                                    << "7d,12d" << 0 << 0;
        QTest::newRow("hex either case") << "" << true << "{C-H}aF"
                                         << "AFh" << 0 << 0;
        QTest::newRow("hex refuses G") << "" << true << "{C-H}G"
                                       << "" << 0 << 0;
        QTest::newRow("hex refuses a third digit") << "" << true << "{C-H}FF1"
                                                   << "FFh" << 0 << 0;
        QTest::newRow("binary drops other digits") << "" << true << "{C-B}1012"
                                                   << "101b" << 0 << 0;
        QTest::newRow("binary stops at eight bits") << "" << true << "{C-B}111111111"
                                                    << "11111111b" << 0 << 0;
        QTest::newRow("non-digit in decimal") << "" << true << "{C-D}x"
                                              << "" << 0 << 0;
        QTest::newRow("backspace takes a digit") << "" << true << "{C-D}12{Backspace}3"
                                                 << "13d" << 0 << 0;
        QTest::newRow("backspace takes the only digit") << "" << true << "{C-D}1{Backspace}"
                                                        << "" << 0 << 0;
        QTest::newRow("delete drops the typed value") << "53a" << true << "{C-D}12{Delete}"
                                                      << "5" << 0 << 0;
        QTest::newRow("ctrl letters ignore shift") << "" << true << "{C-S-H}f"
                                                   << "Fh" << 0 << 0;
        QTest::newRow("up") << "41d" << true << "{Up}"
                            << "42d" << 0 << 0;
        QTest::newRow("up control wraps") << "31c" << true << "{Up}"
                                          << "NUL" << 0 << 0;
        QTest::newRow("down control wraps") << "0c" << true << "{Down}"
                                            << "US" << 0 << 0;
        QTest::newRow("down wraps to 255") << "0d" << true << "{Down}"
                                           << "255d" << 0 << 0;
        QTest::newRow("up wraps to 0") << "255d" << true << "{Up}"
                                       << "0d" << 0 << 0;
        QTest::newRow("up at the end") << "1d" << true << "{End}{Up}"
                                       << "1d" << 1 << 1;
        QTest::newRow("up with a selection") << "1d 2d" << true << "{S-Right}{Up}"
                                             << "1d,2d" << 1 << 0;
        QTest::newRow("shift selects") << abcd << true << "{S-Right}{S-Right}"
                                       << "abcd" << 2 << 0;
        QTest::newRow("left collapses") << abcd << true << "{End}{S-Left}{S-Left}{Left}"
                                        << "abcd" << 2 << 2;
        QTest::newRow("right collapses") << abcd << true << "{S-Right}{S-Right}{Right}"
                                         << "abcd" << 2 << 2;
        QTest::newRow("home and end") << abcd << true << "{End}{Left}{Home}{Right}"
                                      << "abcd" << 1 << 1;
        QTest::newRow("shift end selects") << abcd << true << "{Right}{S-End}"
                                           << "abcd" << 4 << 1;
        QTest::newRow("right stops at the end") << "1d" << true << "{Right}{Right}{Right}"
                                                << "1d" << 1 << 1;
        QTest::newRow("left stops at the start") << "1d" << true << "{Left}"
                                                 << "1d" << 0 << 0;
        QTest::newRow("ctrl right by runs") << "72a 105a 13c 5d 6d" << true << "{C-Right}"
                                            << "Hi,CR,5d,6d" << 2 << 2;
        QTest::newRow("ctrl right twice") << "72a 105a 13c 5d 6d" << true << "{C-Right}{C-Right}"
                                          << "Hi,CR,5d,6d" << 3 << 3;
        QTest::newRow("ctrl left by runs") << "72a 105a 13c 5d 6d" << true << "{End}{C-Left}{C-Left}"
                                           << "Hi,CR,5d,6d" << 2 << 2;
        QTest::newRow("delete at cursor") << abcd << true << "{Right}{Delete}"
                                          << "acd" << 1 << 1;
        QTest::newRow("delete selection") << abcd << true << "{Right}{S-Right}{Delete}"
                                          << "ad" << 1 << 1;
        QTest::newRow("delete backwards selection") << abcd << true << "{End}{S-Left}{S-Left}{Delete}"
                                                    << "ab" << 2 << 2;
        QTest::newRow("delete at end") << abcd << true << "{End}{Delete}"
                                       << "abcd" << 4 << 4;
        QTest::newRow("backspace") << abcd << true << "{End}{Backspace}"
                                   << "abc" << 3 << 3;
        QTest::newRow("backspace at start") << abcd << true << "{Backspace}"
                                            << "abcd" << 0 << 0;
        QTest::newRow("backspace selection") << abcd << true << "{S-Right}{S-Right}{Backspace}"
                                             << "d" << 0 << 0;
        QTest::newRow("ctrl a types selection") << "72d 105h" << true << "{S-Right}{C-A}"
                                                << "Hi" << 1 << 0;
        QTest::newRow("ctrl d without selection") << "72a" << true << "{C-D}"
                                                  << "H" << 0 << 0;
        QTest::newRow("ctrl o types control") << "13d 10d" << true << "{S-Right}{S-Right}{C-O}"
                                              << "CR,LF" << 2 << 0;
        QTest::newRow("ctrl o keeps ascii entry") << "13d" << true << "{S-Right}{C-O}{End}x"
                                                  << "CR,x" << 2 << 2;
        QTest::newRow("ctrl i without ignore") << "1d" << true << "{C-I}"
                                               << "1d" << 0 << 0;
        QTest::newRow("insert toggles overwrite") << "1d 2d" << true << "{Insert}{C-D}7"
                                                  << "7d,2d" << 0 << 0;
        QTest::newRow("full message refuses")
            << fullMessage() << true << "{End}x" << ByteDisplay::messageText(msg(fullMessage())) << 14 << 14;
        QTest::newRow("full message, decimal")
            << fullMessage() << true << "{C-D}9" << ByteDisplay::messageText(msg(fullMessage())) << 0 << 0;
        QTest::newRow("tab and page keys") << abcd << true << "{Tab}{PageUp}{PageDown}"
                                           << "abcd" << 0 << 0;
        QTest::newRow("read-only moves") << abcd << false << "{Right}{Right}{Left}"
                                         << "abcd" << 1 << 1;
        QTest::newRow("read-only never selects") << abcd << false << "{S-Right}{S-Right}"
                                                 << "abcd" << 2 << 2;
        QTest::newRow("read-only ctrl moves by runs") << "72a 105a 13c" << false << "{C-Right}"
                                                      << "Hi,CR" << 2 << 2;
        QTest::newRow("read-only edits nothing")
            << abcd << false << "x{Delete}{Backspace}{Up}{C-D}1{C-I}{Insert}"
            << "abcd" << 0 << 0;
    }
    void keys()
    {
        QFETCH(QString, start);
        QFETCH(bool, allowEdit);
        QFETCH(QString, keys);
        QFETCH(QString, expected);
        QFETCH(int, cursor);
        QFETCH(int, anchor);
        Loaded l(start, false, allowEdit);
        runKeys(l.model, keys);
        QCOMPARE(text(l.model.Message()), expected);
        QCOMPARE(l.model.Message().CurrentByte(), cursor);
        QCOMPARE(l.model.SelectAnchor(), anchor);
    }

    void keySignals_data()
    {
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("changed");
        QTest::addColumn<int>("cancelled");
        QTest::addColumn<bool>("consumed");
        QTest::newRow("enter") << true << "{Enter}" << 1 << 0 << true;
        QTest::newRow("escape") << true << "{Escape}" << 0 << 1 << true;
        QTest::newRow("ctrl a") << true << "{C-A}" << 1 << 0 << false;
        QTest::newRow("ctrl d is silent") << true << "{C-D}" << 0 << 0 << false;
        QTest::newRow("ctrl o is silent") << true << "{C-O}" << 0 << 0 << false;
        QTest::newRow("up") << true << "{Up}" << 1 << 0 << true;
        QTest::newRow("delete") << true << "{Delete}" << 1 << 0 << true;
        QTest::newRow("backspace") << true << "{Backspace}" << 1 << 0 << false;
        QTest::newRow("typed character") << true << "x" << 1 << 0 << false;
        QTest::newRow("refused character still reports") << true << "{C-H}G" << 1 << 0 << false;
        QTest::newRow("moving") << true << "{Right}" << 0 << 0 << true;
        QTest::newRow("read-only enter") << false << "{Enter}" << 0 << 0 << false;
        QTest::newRow("read-only escape") << false << "{Escape}" << 0 << 0 << false;
    }
    void keySignals()
    {
        QFETCH(bool, allowEdit);
        QFETCH(QString, keys);
        QFETCH(int, changed);
        QFETCH(int, cancelled);
        QFETCH(bool, consumed);
        Loaded l(QStringLiteral("65a 66a"), false, allowEdit);
        QSignalSpy changedSpy(&l.model, &EditorModel::Changed);
        QSignalSpy cancelledSpy(&l.model, &EditorModel::Cancelled);
        const KeyStroke last = parseKeys(keys).constLast();
        runKeys(l.model, keys);
        QCOMPARE(changedSpy.count(), changed);
        QCOMPARE(cancelledSpy.count(), cancelled);
        QCOMPARE(l.model.keyDown(last.key, last.modifiers), consumed);
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

    void ctrlIInsertsIgnoreOverTheSelection()
    {
        Loaded l(QStringLiteral("97a 98a 99a"), true);
        runKeys(l.model, QStringLiteral("{Right}{S-Right}{C-I}"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("a,?"));
        QCOMPARE(l.model.Message().ByteValue(1), 63);
        QCOMPARE(l.model.Message().CurrentByte(), 2);
    }

    void endNeverPassesSlotFourteen()
    {
        SerialEditorData fifteen = msg(fullMessage());
        fifteen.SetNumberOfBytesInMessage(15);
        for (const SerialEditorData &m : {msg(fullMessage()), fifteen}) {
            EditorModel model;
            model.UseThisMessage(m, true);
            runKeys(model, QStringLiteral("{End}{Right}"));
            QCOMPARE(model.Message().CurrentByte(), 14);
        }
    }

    // --- undo history ----------------------------------------------------------

    void undoAndRedo()
    {
        Loaded l(QString{});
        l.model.Undo(); // only the loaded message: nothing to undo
        QCOMPARE(l.model.HistoryTop(), 0);

        runKeys(l.model, QStringLiteral("abc"));
        QCOMPARE(l.model.HistoryTop(), 3);
        runKeys(l.model, QStringLiteral("{Left}{C-A}{C-H}G")); // none of these changes a byte
        QCOMPARE(l.model.HistoryTop(), 3);

        runKeys(l.model, QStringLiteral("{C-Z}"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("ab"));
        l.model.Undo();
        QCOMPARE(text(l.model.Message()), QStringLiteral("a"));
        QCOMPARE(l.model.Message().CurrentByte(), 1);
        runKeys(l.model, QStringLiteral("{C-Y}"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("ab"));
        QCOMPARE(l.model.HistoryPos(), 2);

        // A new edit after an undo drops what was undone.
        l.model.Undo();
        runKeys(l.model, QStringLiteral("{C-A}z"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("az"));
        l.model.Redo();
        QCOMPARE(text(l.model.Message()), QStringLiteral("az"));
        QCOMPARE(l.model.HistoryTop(), 2);
    }

    void undoKeepsTheEntryModeAndEmptiesTheSelection()
    {
        Loaded l(QStringLiteral("1d 2d 3d"));
        runKeys(l.model, QStringLiteral("{Delete}{C-H}{S-Right}"));
        l.model.Undo();
        QCOMPARE(text(l.model.Message()), QStringLiteral("1d,2d,3d"));
        QCOMPARE(l.model.Message().CurrentMode(), 2);
        QCOMPARE(l.model.SelectAnchor(), l.model.Message().CurrentByte());
    }

    void everyEditIsOneStep_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::newRow("delete") << "{Delete}";
        QTest::newRow("backspace") << "{End}{Backspace}";
        QTest::newRow("up") << "{Up}";
        QTest::newRow("type change") << "{S-Right}{C-O}";
        QTest::newRow("typed decimal") << "{C-D}7";
        QTest::newRow("ctrl i") << "{C-I}";
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
        QTest::addColumn<int>("anchor");
        QTest::addColumn<int>("cursor");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<QString>("copied");
        QTest::newRow("rightwards includes the cursor byte") << 0 << 2 << "012"
                                                             << "012";
        QTest::newRow("leftwards stops before the anchor") << 2 << 0 << "01"
                                                           << "012";
        QTest::newRow("to the end") << 1 << 4 << "1234"
                                    << "123";
        QTest::newRow("empty") << 1 << 1 << ""
                               << "";
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
        for (int i = 0; i <= 4; ++i) {
            if (l.model.isSelected(i))
                got += QString::number(i);
        }
        QCOMPARE(got, selected);
        // The copy takes its own range; Cut and Delete take the same one.
        const QString clip = l.model.CopyText(false);
        EditorModel target;
        target.UseThisMessage(msg(QString{}), true);
        target.Paste(clip);
        QCOMPARE(text(target.Message()), copied);
        l.model.Cut();
        QCOMPARE(text(l.model.Message()).size(), 4 - copied.size());
    }

    void setSelectedType()
    {
        Loaded l(QStringLiteral("65d 66d 67d"));
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        l.model.SetSelectedType(0); // nothing to act on
        QCOMPARE(changed.count(), 0);
        l.model.placeCursor(1, true);
        l.model.SetSelectedType(0);
        QCOMPARE(text(l.model.Message()), QStringLiteral("AB,67d"));
        QCOMPARE(changed.count(), 1);

        // Select flag cleared: the cursor byte is something to act on, yet
        // the drawn selection is empty, and Changed is still raised.
        runKeys(l.model, QStringLiteral("{Home}{Insert}"));
        l.model.SetSelectedType(4);
        QCOMPARE(text(l.model.Message()), QStringLiteral("AB,67d"));
        QCOMPARE(changed.count(), 2);

        runKeys(l.model, QStringLiteral("{Insert}{C-D}5"));
        l.model.SetSelectedType(0); // a value is being typed
        QCOMPARE(l.model.Message().ByteType(0), Type::Decimal);
    }

    // --- clipboard --------------------------------------------------------------

    void copyText_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::addColumn<bool>("whole");
        QTest::addColumn<QString>("expected");
        QTest::newRow("whole") << "" << true << "OLVEXBYTES2,13,4,65,0,";
        QTest::newRow("nothing selected") << "" << false << "";
        QTest::newRow("selection to the end") << "{S-End}" << false << "OLVEXBYTES2,13,4,65,0,";
        QTest::newRow("select flag off") << "{Insert}" << false << "OLVEXBYTES1,13,4,";
        QTest::newRow("while typing") << "{Insert}{C-D}4" << false << "";
    }
    void copyText()
    {
        QFETCH(QString, keys);
        QFETCH(bool, whole);
        QFETCH(QString, expected);
        Loaded l(QStringLiteral("13c 65a"));
        runKeys(l.model, keys);
        QCOMPARE(l.model.CopyText(whole), expected);
        QCOMPARE(Loaded(QString{}).model.CopyText(true), QString());
    }

    void paste_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<QString>("clip");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("cursor");

        QTest::newRow("into empty") << "" << false << "OLVEXBYTES2,13,4,65,0,"
                                    << "CR,A" << 2;
        QTest::newRow("at the cursor") << "97a 98a" << false << "OLVEXBYTES1,5,1,"
                                       << "5d,ab" << 1;
        QTest::newRow("blanks in fields") << "" << false << "OLVEXBYTES 1, 66, 0,"
                                          << "B" << 1;
        QTest::newRow("no marker") << "97a" << false << "2,13,4,65,0,"
                                   << "a" << 0;
        QTest::newRow("marker in lower case") << "97a" << false << "olvexbytes1,65,0,"
                                              << "a" << 0;
        QTest::newRow("no count comma") << "97a" << false << "OLVEXBYTES"
                                        << "a" << 0;
        QTest::newRow("count zero") << "97a" << false << "OLVEXBYTES0,"
                                    << "a" << 0;
        QTest::newRow("negative count") << "97a" << false << "OLVEXBYTES-3,"
                                        << "a" << 0;
        QTest::newRow("pair cut short") << "97a" << false << "OLVEXBYTES2,65,0,66,"
                                        << "a" << 0;
        QTest::newRow("value beyond 16 bits") << "97a" << false << "OLVEXBYTES1,99999,0,"
                                              << "a" << 0;
        QTest::newRow("count beyond 16 bits") << "97a" << false << "OLVEXBYTES70000,65,0,"
                                              << "a" << 0;
        QTest::newRow("sixteen bytes") << "97a" << false << pasteText(16) << "a" << 0;
        QTest::newRow("fifteen bytes, fourteen fit")
            << "" << false << pasteText(15) << "ABCDEFGHIJKLMN" << 14;
        QTest::newRow("twelve plus five") << "1d 2d 3d 4d 5d 6d 7d 8d 9d 10d 11d 12d" << false << pasteText(5)
                                          << "AB,1d,2d,3d,4d,5d,6d,7d,8d,9d,10d,11d,12d" << 2;
        QTest::newRow("ignore refused") << "97a" << false << "OLVEXBYTES2,65,0,63,6,"
                                        << "a" << 0;
        QTest::newRow("ignore allowed") << "97a" << true << "OLVEXBYTES2,65,0,63,6,"
                                        << "A,?,a" << 2;
        QTest::newRow("odd values kept") << "" << false << "OLVEXBYTES1,300,1,"
                                         << "300d" << 1;
    }
    void paste()
    {
        QFETCH(QString, start);
        QFETCH(bool, canDoIgnore);
        QFETCH(QString, clip);
        QFETCH(QString, expected);
        QFETCH(int, cursor);
        // Read-only on purpose: pasting has never looked at the edit flag,
        // and it never reports Changed.
        Loaded l(start, canDoIgnore, false);
        QSignalSpy changed(&l.model, &EditorModel::Changed);
        l.model.Paste(clip);
        QCOMPARE(text(l.model.Message()), expected);
        QCOMPARE(l.model.Message().CurrentByte(), cursor);
        QCOMPARE(l.model.HistoryTop(), expected == text(msg(start)) ? 0 : 1);
        QCOMPARE(changed.count(), 0);
    }

    void copyAndPasteRoundTrip()
    {
        Loaded from(QStringLiteral("72a 105a 13c 5d 10h 5b 63i 0c 255d"), true);
        Loaded to(QString{}, true);
        QVERIFY(to.model.Paste(from.model.CopyText(true)));
        QVERIFY(to.model.Message().IsTheSameAs(from.model.Message()));
    }

    void cutInReadOnlyOnlyCopies()
    {
        Loaded l(QStringLiteral("97a 98a"), false, false);
        l.model.placeCursor(0, false);
        l.model.placeCursor(2, true);
        QCOMPARE(l.model.Cut(), QStringLiteral("OLVEXBYTES2,97,0,98,0,"));
        QCOMPARE(text(l.model.Message()), QStringLiteral("ab"));
    }

    // --- context-menu commands -------------------------------------------------

    void insertCommands()
    {
        Loaded l(QStringLiteral("97a 98a 99a 100a"), true);
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
    }

    void insertCommandsRefused_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<int>("command"); // 0 control, 1 ignore, 2 delete
        QTest::newRow("control into a full message") << fullMessage() << true << true << 0;
        QTest::newRow("ignore into a full message") << fullMessage() << true << true << 1;
        QTest::newRow("ignore not allowed") << "97a" << false << true << 1;
        QTest::newRow("control read-only") << "97a" << true << false << 0;
        QTest::newRow("ignore read-only") << "97a" << true << false << 1;
        QTest::newRow("delete read-only") << "97a" << true << false << 2;
        QTest::newRow("delete without selection") << "97a" << true << true << 2;
    }
    void insertCommandsRefused()
    {
        QFETCH(QString, start);
        QFETCH(bool, canDoIgnore);
        QFETCH(bool, allowEdit);
        QFETCH(int, command);
        Loaded l(start, canDoIgnore, allowEdit);
        if (command == 2)
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
        QCOMPARE(l.model.Message().CurrentByte(), 0);
        QCOMPARE(l.model.Message().CurrentMode(), 0);
        QCOMPARE(l.model.SelectAnchor(), 0);
        QCOMPARE(l.model.ForcedDisplayMode(), -1);
        QVERIFY(l.model.SelectFlag());
        QCOMPARE(l.model.HistoryTop(), 0);
        QCOMPARE(l.model.EntryState(), 0);
        l.model.Message().SetByteValue(0, 8); // the editor's own message
        QCOMPARE(text(l.model.Message()), QStringLiteral("8d"));
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
        for (int round = 0; round < 200; ++round) {
            EditorModel model;
            SerialEditorData start = msg(fullMessage(), rng.bounded(2) == 1);
            const std::array<int, 6> counts = {0, 3, 14, 15, -4, 200};
            start.SetNumberOfBytesInMessage(static_cast<std::int16_t>(counts[rng.bounded(6)]));
            model.UseThisMessage(start, rng.bounded(5) != 0);
            for (int step = 0; step < 60; ++step) {
                switch (rng.bounded(8)) {
                case 0:
                case 1:
                case 2: {
                    const Qt::KeyboardModifiers mods = rng.bounded(2) ? Qt::ControlModifier : Qt::NoModifier;
                    model.keyDown(keys[rng.bounded(keys.size())],
                                  mods | (rng.bounded(3) == 0 ? Qt::ShiftModifier : Qt::NoModifier));
                    break;
                }
                case 3:
                case 4:
                    model.keyDown(0, Qt::NoModifier);
                    model.keyPress(chars.at(rng.bounded(chars.size())).unicode());
                    break;
                case 5:
                    model.Paste(pasteText(rng.bounded(18), rng.bounded(-10, 400), rng.bounded(-1, 9)));
                    break;
                case 6:
                    model.placeCursor(rng.bounded(-3, 20), rng.bounded(2) == 1);
                    break;
                default:
                    model.InsertControl(rng.bounded(-1, 33));
                    model.InsertIgnore();
                    model.Cut();
                    model.Undo();
                    break;
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
