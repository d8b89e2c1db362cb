#include "EditorTestUtil.h"
#include "SerialEditor.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDir>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace editortest;

namespace {

constexpr QSize PanelSize(289, 25); // what the output panels give every editor

// An editor on screen (offscreen), focused, holding `m`.
struct Shown {
    explicit Shown(const SerialEditorData &m, bool allowEdit = true)
    {
        editor.UseThisMessage(m, allowEdit);
        editor.resize(PanelSize);
        editor.show();
        editor.activateWindow();
        display = editor.findChild<QWidget *>(QStringLiteral("DisplayImage"));
        display->setFocus();
        QApplication::processEvents();
    }
    QAction *action(const QString &name) { return menu()->findChild<QAction *>(name); }
    QMenu *menu() { return editor.contextMenu(); }
    QString label(const char *name) const { return editor.findChild<QLabel *>(QLatin1String(name))->text(); }
    QString shown() const { return text(editor.model().Message()); }
    void keys(const QString &script)
    {
        for (const KeyStroke &k : parseKeys(script))
            QTest::keyClick(display, static_cast<Qt::Key>(k.key), k.modifiers);
    }
    // Where byte `index` starts on the drawing while it is not scrolled.
    int cellLeft(int index) const
    {
        int x = SerialEditor::TextMargin;
        for (int i = 0; i < index; ++i)
            x += QFontMetrics(display->font()).horizontalAdvance(editor.model().cellText(i));
        return x;
    }
    QRect cell(int index) const
    {
        return {cellLeft(index), 0, cellLeft(index + 1) - cellLeft(index), display->height()};
    }
    void rightClick()
    {
        const QPoint at(1, display->height() / 2);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, display->mapToGlobal(at));
        QApplication::sendEvent(display, &event);
    }
    void click(int x, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(display, Qt::LeftButton, modifiers, QPoint(x, display->height() / 2));
    }

    SerialEditor editor;
    QWidget *display = nullptr;
};

// Whether a pixel in the area comes close to the colour: text is
// antialiased, so strokes only approach their colour. The type colours
// differ by at least 128 in some channel.
bool hasColour(const QImage &image, const QRect &area, QColor colour)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (std::abs(c.red() - colour.red()) <= 40 && std::abs(c.green() - colour.green()) <= 40
                && std::abs(c.blue() - colour.blue()) <= 40)
                return true;
        }
    }
    return false;
}

} // namespace

class TestSerialEditor : public QObject
{
    Q_OBJECT

private slots:
    // Also the screenshot: set TAVO_SCREENSHOT_DIR to keep it.
    void typedMessageIsDrawnInTheTypeColours()
    {
        SerialEditorData empty;
        empty.SetCanDoIgnore(true);
        Shown s(empty);
        QTest::keyClicks(s.display, QStringLiteral("Hi"));
        s.rightClick();
        s.action(QStringLiteral("MenuControlChars13"))->trigger();
        s.menu()->close();
        s.keys(QStringLiteral("{C-D}5{Right}{C-H}a{Right}{C-B}101{Right}{C-I}"));

        QCOMPARE(s.shown(), QStringLiteral("Hi,CR,5d,Ah,101b,?"));
        QCOMPARE(s.label("ByteCounts") + s.label("ByteMode"), QStringLiteral("8/7BIN"));
        const QList<QColor> colours = {Qt::black,          Qt::black,         QColor(0, 128, 0),
                                       QColor(0, 0, 255),  QColor(255, 0, 0), QColor(255, 0, 255),
                                       QColor(255, 128, 0)};
        const QImage image = s.display->grab().toImage();
        const QString dir = qEnvironmentVariable("TAVO_SCREENSHOT_DIR");
        if (!dir.isEmpty())
            QVERIFY(s.editor.grab().save(QDir(dir).filePath(QStringLiteral("serial-editor.png"))));
        for (int i = 0; i < colours.size(); ++i) {
            // Each cell, separator included, is in its own colour and no other.
            QVERIFY2(hasColour(image, s.cell(i), colours[i]), qPrintable(QString::number(i)));
            for (const QColor &other : colours) {
                if (other != colours[i] && other != Qt::black)
                    QVERIFY2(!hasColour(image, s.cell(i), other), qPrintable(QString::number(i)));
            }
        }
        // The cursor stands after the last cell, in the colour of the entry mode.
        QVERIFY(hasColour(image, QRect(s.cellLeft(7), 0, 3, s.display->height()), QColor(255, 0, 255)));
        QVERIFY(!s.editor.findChild<QScrollBar *>(QStringLiteral("OffsetBar"))->isEnabled()); // it all fits
    }

    void menuStateFollowsTheEditor_data()
    {
        // Enabled items, in the order CharType0 MenuControlChars0 MenuIgnore
        // MenuUndo MenuRedo MenuCopy MenuCopyAll MenuCut MenuPaste MenuDelete.
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<bool>("canDoIgnore");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("enabled");
        // clang-format off
        QTest::newRow("nothing selected") << true << false << "" << "0100001010";
        QTest::newRow("selection") << true << true << "{S-Right}" << "1110011111";
        QTest::newRow("after an edit") << true << false << "x" << "0101001010";
        QTest::newRow("after an undo") << true << false << "x{C-Z}" << "0100101010";
        QTest::newRow("read-only") << false << true << "{S-Right}{Right}" << "0000001000";
        // clang-format on
    }
    void menuStateFollowsTheEditor()
    {
        QFETCH(bool, allowEdit);
        QFETCH(bool, canDoIgnore);
        QFETCH(QString, keys);
        QFETCH(QString, enabled);
        Shown s(msg(QStringLiteral("65a 66a"), canDoIgnore), allowEdit);
        s.keys(keys);
        s.rightClick();
        QString got;
        for (const char *name : {"CharType0", "MenuControlChars0", "MenuIgnore", "MenuUndo", "MenuRedo",
                                 "MenuCopy", "MenuCopyAll", "MenuCut", "MenuPaste", "MenuDelete"})
            got += s.action(QLatin1String(name))->isEnabled() ? u'1' : u'0';
        s.menu()->close();
        QCOMPARE(got, enabled);
    }

    void displayModeAndLeadingZeros()
    {
        Shown s(msg(QStringLiteral("5d 63i"), true));
        s.editor.DisplayAsThisMode(2);
        for (int k = 0; k < 6; ++k)
            QCOMPARE(s.action(QStringLiteral("MenuDisplayForce%1").arg(k))->isChecked(), k == 3);
        QCOMPARE(s.editor.model().cellText(0) + s.editor.model().cellText(1), QStringLiteral("5h,?"));
        QCOMPARE(s.label("ByteMode"), QStringLiteral("HEX")); // a forced display is the entry mode
        s.keys(QStringLiteral("{S-Right}{C-H}{C-O}"));        // and the type shortcuts are off
        QCOMPARE(s.shown(), QStringLiteral("5d,?"));
        QCOMPARE(s.editor.ReturnCurrentMessage().CurrentMode(), SerialEditorData::Type::Ascii);

        s.action(QStringLiteral("MenuZeros"))->trigger();
        QCOMPARE(s.editor.model().cellText(0), QStringLiteral("05h"));
        s.action(QStringLiteral("MenuDisplayForce0"))->trigger();
        QCOMPARE(s.editor.model().cellText(0), QStringLiteral("005d"));
        s.editor.ReturnCurrentMessage().SetCurrentMode(
            SerialEditorData::Type{9}); // no label: the old one stays
        s.editor.Display();
        QCOMPARE(s.label("ByteMode"), QStringLiteral("ASC"));
    }

    void clipboardBetweenEditors()
    {
        QClipboard *clipboard = QGuiApplication::clipboard();
        Shown from(msg(QStringLiteral("72a 105a 13c")));
        Shown to(msg(QStringLiteral("33a")));
        clipboard->setText(QStringLiteral("something else"));
        QTest::keyClick(from.display, Qt::Key_C, Qt::ControlModifier); // nothing selected
        QCOMPARE(clipboard->text(), QString());

        from.keys(QStringLiteral("{S-End}"));
        from.action(QStringLiteral("MenuCopy"))->trigger();
        QCOMPARE(clipboard->text(), QStringLiteral("OLVEXBYTES3,72,0,105,0,13,4,"));
        to.action(QStringLiteral("MenuPaste"))->trigger();
        QCOMPARE(to.shown(), QStringLiteral("Hi,CR,!"));

        from.keys(QStringLiteral("{Home}{S-Right}"));
        QTest::keyClick(from.display, Qt::Key_X, Qt::ControlModifier);
        QCOMPARE(from.shown(), QStringLiteral("CR"));
        QCOMPARE(clipboard->text(), QStringLiteral("OLVEXBYTES2,72,0,105,0,"));
        Shown readOnly(msg(QString{}), false);
        QTest::keyClick(readOnly.display, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(readOnly.shown(), QString());
    }

    void mouseSelectsWhiteOnTheTypeColour()
    {
        Shown s(msg(QStringLiteral("100d 100d 100d 100d")));
        s.click(s.cellLeft(1) + 2); // nearest the boundary before byte 1
        s.click(s.cellLeft(3) + 2, Qt::ShiftModifier);
        QCOMPARE(s.editor.model().SelectAnchor(), 1);
        QCOMPARE(s.editor.model().Message().CurrentByte(), 3);
        // Bytes 1 to 3 are selected; byte 3 is under the cursor and stays plain.
        const QImage image = s.display->grab().toImage();
        const int top = (s.display->height() - QFontMetrics(s.display->font()).height()) / 2;
        QString boxed;
        for (int cell = 0; cell < 4; ++cell) {
            int n = 0;
            for (int x = s.cellLeft(cell); x < s.cellLeft(cell + 1); ++x)
                n += image.pixelColor(x, top + 1) == QColor(0, 0, 255) ? 1 : 0;
            boxed += n > s.cell(cell).width() / 2 ? u'1' : u'0';
        }
        QCOMPARE(boxed, QStringLiteral("0110"));
        QVERIFY(hasColour(image, s.cell(1), Qt::white));
        s.click(s.display->width() - 2);
        QCOMPARE(s.editor.model().Message().CurrentByte(), 4);
    }

    void longMessagesScrollToTheCursor()
    {
        Shown s(msg(QStringLiteral("1b 2b 3b 4b 5b 6b 7b 8b 9b 10b 11b 12b 13b 14b")));
        auto *bar = s.editor.findChild<QScrollBar *>(QStringLiteral("OffsetBar"));
        s.action(QStringLiteral("MenuZeros"))->trigger();
        QVERIFY(bar->isEnabled());
        s.keys(QStringLiteral("{End}"));
        // The cursor (black: ASCII entry) is drawn inside the visible part.
        const int caretX = s.cellLeft(14) - bar->value() * 8;
        QVERIFY(caretX >= 0 && caretX + 2 <= s.display->width());
        QVERIFY(hasColour(s.display->grab().toImage(), QRect(caretX, 0, 2, s.display->height()), Qt::black));
        s.keys(QStringLiteral("{Home}"));
        QCOMPARE(bar->value(), 0);
    }

    void tabStaysAndCtrlTabLeaves_data()
    {
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<QKeyCombination>("keys");
        QTest::addColumn<QString>("focus"); // the widget that has the focus afterwards
        // clang-format off
        const auto ctrl = Qt::ControlModifier, shift = Qt::ShiftModifier;
        QTest::newRow("Tab") << true << QKeyCombination(Qt::Key_Tab) << "DisplayImage";
        QTest::newRow("Shift+Tab") << true << (shift | Qt::Key_Backtab) << "DisplayImage";
        QTest::newRow("Ctrl+Tab") << true << (ctrl | Qt::Key_Tab) << "after";
        QTest::newRow("Ctrl+Shift+Tab") << true << (ctrl | shift | Qt::Key_Backtab) << "before";
        QTest::newRow("Ctrl+Shift+Tab as Tab") << true << (ctrl | shift | Qt::Key_Tab) << "before";
        QTest::newRow("read-only, Tab") << false << QKeyCombination(Qt::Key_Tab) << "after";
        QTest::newRow("read-only, Ctrl+Shift+Tab") << false << (ctrl | shift | Qt::Key_Backtab) << "before";
        // clang-format on
    }
    void tabStaysAndCtrlTabLeaves()
    {
        QFETCH(bool, allowEdit);
        QFETCH(QKeyCombination, keys);
        QFETCH(QString, focus);
        // The editor between two text fields, in the focus order.
        QWidget window;
        auto *layout = new QHBoxLayout(&window);
        layout->addWidget(new QLineEdit(&window));
        auto *editor = new SerialEditor(&window);
        layout->addWidget(editor);
        layout->addWidget(new QLineEdit(&window));
        layout->itemAt(0)->widget()->setObjectName(QStringLiteral("before"));
        layout->itemAt(2)->widget()->setObjectName(QStringLiteral("after"));
        editor->UseThisMessage(msg(QStringLiteral("65a")), allowEdit);
        window.show();
        QApplication::setActiveWindow(&window);
        editor->setFocus();
        QSignalSpy changed(editor, &SerialEditor::Changed);

        QTest::keyClick(QApplication::focusWidget(), keys.key(), keys.keyboardModifiers());
        QCOMPARE(QApplication::focusWidget()->objectName(), focus);
        QCOMPARE(text(editor->model().Message()), QStringLiteral("A"));
        QCOMPARE(changed.count(), 0);
    }

    void screenReadersReadTheCodeAsDrawn_data()
    {
        QTest::addColumn<bool>("allowEdit");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("cursor"); // in characters of the text
        QTest::addColumn<QString>("selected");
        // clang-format off
        QTest::newRow("loaded") << true << "" << "Hi,CR" << 0 << "";
        QTest::newRow("after a separator") << true << "{Right}{Right}" << "Hi,CR" << 3 << "";
        QTest::newRow("at the end") << true << "{End}" << "Hi,CR" << 5 << "";
        QTest::newRow("selection") << true << "{S-Right}{S-Right}" << "Hi,CR" << 3 << "Hi";
        QTest::newRow("a value typed") << true << "{End}{C-D}12" << "Hi,CR,12d" << 8 << "";
        QTest::newRow("read-only") << false << "{End}x" << "Hi,CR" << 5 << "";
        // clang-format on
    }
    void screenReadersReadTheCodeAsDrawn()
    {
        QFETCH(bool, allowEdit);
        QFETCH(QString, keys);
        QFETCH(QString, text);
        QFETCH(int, cursor);
        QFETCH(QString, selected);
        Shown s(msg(QStringLiteral("72a 105a 13c")), allowEdit);
        s.keys(keys);
        QAccessibleInterface *shown = QAccessible::queryAccessibleInterface(s.display);
        QCOMPARE(shown->role(), QAccessible::EditableText);
        QCOMPARE(shown->state().readOnly, !allowEdit);
        QCOMPARE(shown->text(QAccessible::Value), text);
        QAccessibleTextInterface *t = shown->textInterface();
        QCOMPARE(t->text(0, t->characterCount()), text);
        QCOMPARE(t->cursorPosition(), cursor);
        int start = 0, end = 0;
        t->selection(0, &start, &end);
        QCOMPARE(t->text(start, end), selected);
        QCOMPARE(t->selectionCount(), selected.isEmpty() ? 0 : 1);
        // Where the reader points is where the characters are drawn.
        QCOMPARE(t->offsetAtPoint(t->characterRect(1).center()), 1);
        t->setCursorPosition(int(text.size()));
        QCOMPARE(s.editor.model().cursor(), s.editor.model().shownByteCount());
    }

    // Its own name, else its frame's title, else its tooltip.
    void screenReadersNameTheEditor()
    {
        QGroupBox box(QStringLiteral("Serial message"));
        auto *editor = new SerialEditor(&box);
        editor->SetToolTipText(QStringLiteral("Serial code to turn output On"));
        const auto name = [editor] {
            return QAccessible::queryAccessibleInterface(editor->focusProxy())->text(QAccessible::Name);
        };
        editor->setAccessibleName(QStringLiteral("Serial code for ON, Output 1"));
        QCOMPARE(name(), QStringLiteral("Serial code for ON, Output 1"));
        editor->setAccessibleName(QString());
        QCOMPARE(name(), QStringLiteral("Serial message"));
        box.setTitle(QString());
        QCOMPARE(name(), QStringLiteral("Serial code to turn output On"));
    }

    void keysReachTheModelOnceAndTheLayoutFits()
    {
        Shown s(msg(QStringLiteral("65a")));
        QSignalSpy changed(&s.editor, &SerialEditor::Changed);
        QSignalSpy cancelled(&s.editor, &SerialEditor::Cancelled);
        s.keys(QStringLiteral("{Enter}{Escape}{C-A}{Backspace}"));
        QCOMPARE(changed.count(), 3);
        QCOMPARE(cancelled.count(), 1);
        // Neither Ctrl+A's letter nor Backspace's control code becomes a byte.
        QCOMPARE(s.shown(), QStringLiteral("A"));
        s.editor.ReturnCurrentMessage().SetByteValue(0, 66); // the editor's own message
        QCOMPARE(s.editor.model().cellText(0), QStringLiteral("B"));

        QVERIFY(s.editor.minimumSizeHint().height() <= PanelSize.height());
        QVERIFY(s.display->height() >= QFontMetrics(s.display->font()).height());
        const QRect labels =
            s.editor.findChild<QLabel *>(QStringLiteral("ByteMode"))
                ->geometry()
                .united(s.editor.findChild<QLabel *>(QStringLiteral("ByteCounts"))->geometry());
        QVERIFY(!labels.intersects(s.display->geometry()) && s.editor.rect().contains(labels));
        s.editor.SetToolTipText(QStringLiteral("On code"));
        QCOMPARE(s.display->toolTip(), QStringLiteral("On code"));
    }
};

QTEST_MAIN(TestSerialEditor)
#include "tst_serialeditor.moc"
