#pragma once

#include "ByteDisplay.h"
#include "SerialEditorData.h"
#include "UndoHistory.h"

#include <QObject>
#include <QString>
#include <qnamespace.h>

#include <optional>

// Everything the message editor does, without a widget: the message and
// its cursor and selection, the keyboard (EditorKeys.cpp), the clipboard
// commands and the context-menu commands. The undo history (UndoHistory),
// the clipboard text (ClipboardCodec) and how each type of byte reads
// (Notation) are parts of their own. SerialEditor paints the model and
// feeds it events; tests drive it directly.
//
// The cursor is the message's CurrentByte and stands *before* the byte of
// that index (CurrentByte == count means after the last byte). The
// selection runs between SelectAnchor and the cursor.
//
// The state accessors (AllowEdit, SelectAnchor, EntryState,
// ForcedDisplayMode, SelectFlag, Message, HistoryTop), UseThisMessage,
// DisplayAsThisMode and the signals Changed and Cancelled have the names
// the unit's original configuration tool used. They keep that spelling,
// against our lowerCamelCase habit, so that what the editor does can be
// traced name by name to the tool its users know; the other names are ours.
class EditorModel : public QObject
{
    Q_OBJECT

public:
    // A byte range, both ends included; empty when last < first.
    struct Range {
        int first = 0;
        int last = -1;
        int size() const { return last - first + 1; }
    };

    explicit EditorModel(QObject *parent = nullptr);

    // --- state -----------------------------------------------------------
    bool AllowEdit() const { return m_allowEdit; }
    std::int16_t SelectAnchor() const { return m_selectAnchor; }
    std::int16_t EntryState() const { return m_entryState; }
    // The type every byte is shown in, or nothing when each shows its own.
    ByteDisplay::ForcedType ForcedDisplayMode() const { return m_forcedDisplayMode; }
    bool SelectFlag() const { return m_selectFlag; }
    bool leadingZeros() const { return m_leadingZeros; }
    SerialEditorData &Message() { return m_message; }
    const SerialEditorData &Message() const { return m_message; }
    int HistoryTop() const { return m_history.HistoryTop(); }

    // --- public face of the editor ----------------------------------------
    void UseThisMessage(const SerialEditorData &message, bool allowEdit);
    // -1 shows every byte in its own type, 0..4 forces one type; other
    // values are ignored.
    void DisplayAsThisMode(int mode);
    void setLeadingZeros(bool on);

    // --- undo history --------------------------------------------------
    void undo();
    void redo();
    bool canUndo() const { return m_history.canUndo(); }
    bool canRedo() const { return m_history.canRedo(); }

    // --- selection ---------------------------------------------------------
    // Whether byte `index` is drawn selected and takes a new type. While
    // the cursor is right of the anchor, the byte at the cursor is included.
    bool isSelected(int index) const;
    // False when there is nothing to act on: cursor on the anchor with the
    // select flag set. With the flag cleared the byte at the cursor counts.
    bool hasSelection() const;
    // The bytes that copy, cut, Delete and the insert commands take: the
    // smaller to the larger of cursor and anchor, both included, without
    // the position after the last byte. Nothing while a value is typed or
    // when there is no selection.
    std::optional<Range> selectionRange() const;
    // Gives the selected bytes a type (ASCII to Control) and raises Changed.
    void setSelectedType(SerialEditorData::Type type);

    // --- mouse ---------------------------------------------------------------
    // Puts the cursor before byte `position` (a click); with `extend` the
    // anchor stays where it is, so the bytes in between become selected.
    void placeCursor(int position, bool extend);

    // --- keyboard --------------------------------------------------------
    // The key-down step: navigation, value stepping, deletion, Ctrl
    // shortcuts, Escape and Enter. Returns whether the key was consumed.
    bool keyDown(int key, Qt::KeyboardModifiers modifiers);
    // The key-press step for a typed character; does nothing after a
    // key-down that consumed its key.
    void keyPress(char16_t character);

    // --- clipboard text (ClipboardCodec; the caller owns the clipboard) ---
    // The text for the clipboard, or an empty string when there is nothing
    // to copy (the caller then leaves the clipboard empty).
    QString copyText(bool wholeMessage) const;
    // Copies the selection and, when editing is allowed, removes it.
    QString cut();
    // Inserts the bytes of a clipboard text at the cursor. Returns false
    // when the text was refused whole.
    bool paste(const QString &text);

    // --- context-menu commands --------------------------------------------
    void insertControl(int value);
    void insertIgnore();
    void deleteSelection();

    // --- what the drawing shows -------------------------------------------
    int shownByteCount() const { return ByteDisplay::shownByteCount(m_message); }
    SerialEditorData::Type displayType(int index) const;
    QString cellText(int index) const;
    ByteDisplay::Rgb cellColour(int index) const;
    // The label of the entry mode (empty for a mode without one).
    QString modeLabel() const;
    QString positionLabel() const;
    // The cursor and the anchor, kept within the message whatever a caller
    // did to the message through ReturnCurrentMessage.
    int cursor() const;
    int anchor() const;

signals:
    void Changed();
    void Cancelled();
    // Anything shown has changed: message, cursor, selection or display.
    void redrawNeeded();
    // The bytes differ from what they were after the last edit or
    // UseThisMessage, whichever route the edit took: typing, the clipboard,
    // the undo history or the menu. Changed is only raised for some of
    // those, as users of the original tool know it; this is for the program's
    // own views that must follow every edit.
    void messageEdited();
    // Choosing an entry mode restarts the cursor's flashing.
    void flashRequested();

private:
    struct KeyHandlers; // the key-down step's table, in EditorKeys.cpp

    static constexpr int ByteValueLimit = 256;
    static constexpr int IgnoreValue = 63; // the code of "?", which is how a wildcard reads
    static constexpr int LastControlValue = 31;
    static std::int16_t int16(int value) { return static_cast<std::int16_t>(value); }

    int lastCursorPosition() const;
    void setCursor(int position);
    void beginEdit();
    void recordStep();
    void restoreFrom(const SerialEditorData &entry);
    void redraw();

    bool applyType(SerialEditorData::Type type);
    bool removeRange(const std::optional<Range> &range);
    void removeBytes(int first, int last);
    bool makeRoom();
    bool insertAtCursor(int value, SerialEditorData::Type type);

    void moveLeft(bool extend, bool byRun);
    void moveRight(bool extend, bool byRun);
    bool stepValue(int delta);

    // The notation of the byte whose value is being typed; nothing (and the
    // typing ends) when that byte has gone or is no number any more.
    const ByteDisplay::Notation *typedNotation();
    void typeDigit(char16_t character);
    void startTypedByte(char16_t character);
    void deleteTypedDigit();
    void finishTypedValue();
    void abandonTypedValue();

    bool m_allowEdit = false;
    std::int16_t m_selectAnchor = 0;
    std::int16_t m_entryState = 0;
    ByteDisplay::ForcedType m_forcedDisplayMode;
    bool m_selectFlag = true;
    bool m_keyHandled = false;
    bool m_leadingZeros = false;
    SerialEditorData m_message;
    SerialEditorData m_editStartCopy;
    SerialEditorData m_lastEdited; // the bytes messageEdited() last told of
    UndoHistory m_history;
};
