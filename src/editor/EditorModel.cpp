#include "editor/EditorModel.h"

#include "editor/ClipboardCodec.h"

#include <algorithm>

namespace {

using Type = SerialEditorData::Type;

constexpr int ByteValueLimit = 256;
constexpr int IgnoreValue = 63; // the code of "?", which is how a wildcard reads
constexpr int LastControlValue = 31;

std::int16_t int16(int value)
{
    return static_cast<std::int16_t>(value);
}

bool isNumberType(Type type)
{
    return ByteDisplay::notationOf(type).isNumber();
}

} // namespace

EditorModel::EditorModel(QObject *parent)
    : QObject(parent)
{}

// --- public face ------------------------------------------------------------

void EditorModel::UseThisMessage(const SerialEditorData &message, bool allowEdit)
{
    // SetAllDataTo leaves our entry mode alone; it is set to ASCII below.
    m_message.SetAllDataTo(message);
    m_message.SetCurrentByte(0);
    m_allowEdit = allowEdit;
    m_selectAnchor = 0;
    m_entryState = 0;
    m_message.SetCurrentMode(Type::Ascii);
    m_forcedDisplayMode.reset();
    m_selectFlag = true;
    redraw();
    m_history.reset(m_message);
}

void EditorModel::DisplayAsThisMode(int mode)
{
    if (mode < -1 || mode > SerialEditorData::codeOf(Type::Control))
        return;
    m_forcedDisplayMode = mode == -1 ? ByteDisplay::ForcedType() : Type(mode);
    redraw();
}

void EditorModel::SetLeadingZeros(bool on)
{
    m_leadingZeros = on;
    redraw();
}

// --- undo history -----------------------------------------------------------

void EditorModel::beginEdit()
{
    m_editStartCopy.SetAllDataTo(m_message);
}

void EditorModel::recordStep()
{
    m_history.record(m_message, m_editStartCopy);
}

void EditorModel::restoreFrom(const SerialEditorData &entry)
{
    m_message.SetAllDataTo(entry);
    m_entryState = 0;
    setCursor(m_message.CurrentByte());
    m_selectAnchor = int16(cursor());
    redraw();
}

void EditorModel::Undo()
{
    if (const SerialEditorData *entry = m_history.undo())
        restoreFrom(*entry);
}

void EditorModel::Redo()
{
    if (const SerialEditorData *entry = m_history.redo())
        restoreFrom(*entry);
}

// --- cursor and selection ---------------------------------------------------

int EditorModel::lastCursorPosition() const
{
    // After the last byte, but never beyond slot 14: a full message has its
    // cursor on the spare fifteenth slot.
    return std::clamp<int>(m_message.NumberOfBytesInMessage(), 0, SerialEditorData::MaxBytes);
}

int EditorModel::cursor() const
{
    return std::clamp<int>(m_message.CurrentByte(), 0, lastCursorPosition());
}

int EditorModel::anchor() const
{
    return std::clamp<int>(m_selectAnchor, 0, lastCursorPosition());
}

void EditorModel::setCursor(int position)
{
    m_message.SetCurrentByte(int16(std::clamp(position, 0, lastCursorPosition())));
}

bool EditorModel::isSelected(int index) const
{
    if (m_entryState != 0)
        return false;
    const int c = cursor();
    const int a = anchor();
    if (c > a)
        return index >= a && index <= c;
    return index >= c && index <= a - 1;
}

bool EditorModel::hasSelection() const
{
    return !(cursor() == anchor() && m_selectFlag);
}

std::optional<EditorModel::Range> EditorModel::selectionRange() const
{
    if (m_entryState > 0 || !hasSelection())
        return std::nullopt;
    Range r{std::min(cursor(), anchor()), std::max(cursor(), anchor())};
    if (r.last == shownByteCount())
        --r.last;
    return r;
}

bool EditorModel::applyType(Type type)
{
    if (m_entryState != 0 || !hasSelection())
        return false;
    // While the cursor stands after the last byte the selection reaches the
    // spare slot after the message, and that slot takes the type too: it is
    // written into the packed text's extra pair, so files keep it.
    for (int i = 0; i < SerialEditorData::SlotCount; ++i) {
        if (isSelected(i))
            m_message.SetByteType(i, type);
    }
    return true;
}

void EditorModel::SetSelectedType(Type type)
{
    const int code = SerialEditorData::codeOf(type);
    if (code < SerialEditorData::codeOf(Type::Ascii) || code > SerialEditorData::codeOf(Type::Control))
        return;
    beginEdit();
    if (!applyType(type))
        return;
    recordStep();
    emit Changed();
    redraw();
}

void EditorModel::placeCursor(int position, bool extend)
{
    m_entryState = 0;
    setCursor(position);
    if (!extend)
        m_selectAnchor = int16(cursor());
    redraw();
}

// --- removing and inserting bytes -------------------------------------------

void EditorModel::removeBytes(int first, int last)
{
    const int count = shownByteCount();
    first = std::max(first, 0);
    last = std::min(last, count - 1);
    if (last < first)
        return;
    const int removed = last - first + 1;
    for (int i = first; i + removed < count; ++i) {
        m_message.SetByteValue(i, m_message.ByteValue(i + removed));
        m_message.SetByteType(i, m_message.ByteType(i + removed));
    }
    m_message.SetNumberOfBytesInMessage(int16(count - removed));
    setCursor(first);
    m_selectAnchor = int16(cursor());
}

bool EditorModel::removeRange(const std::optional<Range> &range)
{
    if (!range || range->size() <= 0)
        return false;
    removeBytes(range->first, range->last);
    return true;
}

bool EditorModel::makeRoom()
{
    const int count = m_message.NumberOfBytesInMessage();
    if (count <= 0) {
        m_message.SetNumberOfBytesInMessage(1);
        setCursor(0);
        return true;
    }
    if (count >= SerialEditorData::MaxBytes)
        return false;
    const int c = cursor();
    for (int i = count; i > c; --i) {
        m_message.SetByteValue(i, m_message.ByteValue(i - 1));
        m_message.SetByteType(i, m_message.ByteType(i - 1));
    }
    m_message.SetNumberOfBytesInMessage(int16(count + 1));
    return true;
}

bool EditorModel::insertAtCursor(int value, Type type)
{
    if (!makeRoom())
        return false;
    const int c = cursor();
    m_message.SetByteValue(c, int16(value));
    m_message.SetByteType(c, type);
    setCursor(c + 1);
    m_selectAnchor = int16(cursor());
    return true;
}

// --- keyboard ---------------------------------------------------------------

void EditorModel::finishTypedValue()
{
    m_entryState = 0;
}

void EditorModel::moveLeft(bool extend, bool byRun)
{
    const int c = cursor();
    if (m_entryState != 0) {
        // The cursor already stands before the byte being typed, so leaving
        // the value to the left only ends the typing.
        finishTypedValue();
        return;
    }
    // Without Shift or Ctrl a selection collapses onto its left edge, as it
    // does in any text field.
    if (!extend && c != anchor()) {
        setCursor(std::min(c, anchor()));
        return;
    }
    if (c == 0)
        return;
    int to = c - 1;
    if (byRun) {
        // Ctrl jumps to the start of the run of bytes shown in one type, the
        // way Ctrl+Left jumps over a word.
        const Type type = displayType(to);
        while (to > 0 && displayType(to - 1) == type)
            --to;
    }
    setCursor(to);
}

void EditorModel::moveRight(bool extend, bool byRun)
{
    const int c = cursor();
    if (m_entryState != 0) {
        // Done with the typed value: step past it, ready for the next byte.
        finishTypedValue();
        setCursor(c + 1);
        return;
    }
    if (!extend && c != anchor()) {
        setCursor(std::max(c, anchor()));
        return;
    }
    int to = c + 1;
    if (byRun && c < shownByteCount()) {
        const Type type = displayType(c);
        while (to < shownByteCount() && displayType(to) == type)
            ++to;
    }
    setCursor(to);
}

bool EditorModel::stepValue(int delta)
{
    m_keyHandled = true;
    // Stepping acts on the byte at the cursor only, never on a selection.
    if (hasSelection())
        return false;
    m_selectAnchor = int16(cursor());
    const int c = cursor();
    if (c >= shownByteCount())
        return true;
    const bool control = m_message.ByteType(c) == Type::Control;
    int value = m_message.ByteValue(c) + delta;
    // Only control bytes wrap upwards: Up on 255 gives 256, which the
    // drawing shows as out of range ("100h") and the image builder refuses,
    // so the unit never receives a silently wrapped value.
    if (delta > 0 && control && value > LastControlValue)
        value = 0;
    if (value < 0)
        value = control ? LastControlValue : ByteValueLimit - 1;
    m_message.SetByteValue(c, int16(value));
    return true;
}

void EditorModel::chooseEntryType(Type type, bool setsEntryMode)
{
    applyType(type);
    if (setsEntryMode) {
        m_message.SetCurrentMode(type);
        emit flashRequested();
    }
}

bool EditorModel::keyDown(int key, Qt::KeyboardModifiers modifiers)
{
    beginEdit();
    m_keyHandled = false;
    const bool ctrl = modifiers.testFlag(Qt::ControlModifier);
    // A read-only editor moves its cursor but never selects.
    const bool shift = modifiers.testFlag(Qt::ShiftModifier) && m_allowEdit;
    bool changed = false;
    bool cancelled = false;
    bool redrawn = false;

    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_Right:
        m_keyHandled = true;
        if (key == Qt::Key_Left)
            moveLeft(shift || ctrl, ctrl);
        else
            moveRight(shift || ctrl, ctrl);
        if (!shift)
            m_selectAnchor = int16(cursor());
        redrawn = true;
        break;
    case Qt::Key_Home:
        m_keyHandled = true;
        setCursor(0);
        m_entryState = 0;
        if (!shift)
            m_selectAnchor = 0;
        redrawn = true;
        break;
    case Qt::Key_End:
        m_keyHandled = true;
        setCursor(m_message.NumberOfBytesInMessage());
        m_entryState = 0;
        if (!shift)
            m_selectAnchor = int16(cursor());
        redrawn = true;
        break;
    default: break;
    }

    if (!m_keyHandled && m_allowEdit) {
        switch (key) {
        case Qt::Key_Up:
        case Qt::Key_Down: changed = redrawn = stepValue(key == Qt::Key_Up ? 1 : -1); break;
        case Qt::Key_Delete: {
            if (m_entryState != 0) {
                // Delete throws away the value being typed.
                removeBytes(cursor(), cursor());
                m_entryState = 0;
            } else if (!removeRange(selectionRange()) && cursor() < shownByteCount()) {
                removeBytes(cursor(), cursor());
            }
            m_keyHandled = true;
            m_selectAnchor = int16(cursor());
            changed = redrawn = true;
            break;
        }
        case Qt::Key_Backspace:
            if (m_entryState != 0) {
                deleteTypedDigit();
            } else if (!removeRange(selectionRange()) && cursor() > 0) {
                removeBytes(cursor() - 1, cursor() - 1);
            }
            m_selectAnchor = int16(cursor());
            changed = redrawn = true;
            break;
        case Qt::Key_A:
        case Qt::Key_D:
        case Qt::Key_H:
        case Qt::Key_B:
            if (ctrl && !m_forcedDisplayMode) {
                const Type type = key == Qt::Key_A   ? Type::Ascii
                                  : key == Qt::Key_D ? Type::Decimal
                                  : key == Qt::Key_H ? Type::Hexadecimal
                                                     : Type::Binary;
                chooseEntryType(type, true);
                // Only ASCII reports a change; the others have always been
                // silent, and the panels around us rely on neither.
                changed = key == Qt::Key_A;
                redrawn = true;
            }
            break;
        case Qt::Key_O:
            // Control is a type for existing bytes only: nothing is typed as
            // a control character, so the entry mode stays.
            if (ctrl && !m_forcedDisplayMode) {
                chooseEntryType(Type::Control, false);
                redrawn = true;
            }
            break;
        case Qt::Key_I:
            if (ctrl && m_entryState == 0) {
                m_keyHandled = true;
                if (m_message.CanDoIgnore()) {
                    removeRange(selectionRange());
                    insertAtCursor(IgnoreValue, Type::Ignore);
                }
                redrawn = true;
            }
            break;
        case Qt::Key_Z:
        case Qt::Key_Y:
            // The usual undo and redo keys (Ctrl+Z; Ctrl+Y or Ctrl+Shift+Z);
            // they restore history entries, so they must not record one.
            if (ctrl) {
                m_keyHandled = true;
                if (key == Qt::Key_Z && !shift)
                    Undo();
                else
                    Redo();
                return true;
            }
            break;
        case Qt::Key_Insert:
            if (!ctrl && !shift) {
                m_selectFlag = !m_selectFlag;
                m_keyHandled = true;
                m_selectAnchor = int16(cursor());
                redrawn = true;
            }
            break;
        case Qt::Key_Escape:
            m_keyHandled = true;
            cancelled = true;
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            m_keyHandled = true;
            changed = true;
            break;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown: m_keyHandled = true; break;
        default: break;
        }
    }

    // Recording comes before the signals: a listener may load another
    // message into us, and that must not end up in the fresh history.
    if (m_allowEdit)
        recordStep();
    if (cancelled)
        emit Cancelled();
    if (changed)
        emit Changed();
    if (redrawn)
        redraw();
    return m_keyHandled;
}

void EditorModel::keyPress(char16_t character)
{
    if (m_keyHandled || !m_allowEdit)
        return;
    beginEdit();
    if (m_entryState != 0)
        typeDigit(character);
    else
        startTypedByte(character);
    recordStep();
    emit Changed();
    redraw();
}

void EditorModel::typeDigit(char16_t character)
{
    const int c = cursor();
    if (c >= shownByteCount() || !isNumberType(m_message.ByteType(c))) {
        // The byte being typed has gone (or changed type) under us.
        m_entryState = 0;
        return;
    }
    const ByteDisplay::Notation &notation = ByteDisplay::notationOf(m_message.ByteType(c));
    const QString digits = notation.text(m_message.ByteValue(c));
    const auto value = notation.value(digits.left(m_entryState - 1) + QChar(character));
    // A digit that would take the value past a byte is refused; the value
    // stays as it was and the user can still type Backspace or move on.
    if (!value || *value >= ByteValueLimit)
        return;
    m_message.SetByteValue(c, int16(*value));
    m_entryState = int16(notation.text(*value).size() + 1);
}

void EditorModel::startTypedByte(char16_t character)
{
    const Type mode = m_message.CurrentMode();
    const ByteDisplay::Notation &notation = ByteDisplay::notationOf(mode);
    const auto value = notation.value(QStringView(&character, 1));
    if (mode == Type::Ascii) {
        if (character != u'\t' && character != u'\r' && value)
            insertAtCursor(*value, Type::Ascii);
        return;
    }
    if (!notation.isNumber() || !value)
        return;
    removeRange(selectionRange());
    if (!makeRoom())
        return;
    // The cursor stays on the new byte while its value is being typed.
    const int c = cursor();
    m_message.SetByteValue(c, int16(*value));
    m_message.SetByteType(c, mode);
    m_selectAnchor = int16(c);
    m_entryState = int16(notation.text(*value).size() + 1);
}

void EditorModel::deleteTypedDigit()
{
    const int c = cursor();
    if (c >= shownByteCount() || !isNumberType(m_message.ByteType(c))) {
        m_entryState = 0;
        return;
    }
    const ByteDisplay::Notation &notation = ByteDisplay::notationOf(m_message.ByteType(c));
    QString digits = notation.text(m_message.ByteValue(c)).left(m_entryState - 1);
    digits.chop(1);
    if (digits.isEmpty()) {
        // Taking back the only digit takes back the byte it started.
        abandonTypedValue();
        return;
    }
    const int value = notation.value(digits).value_or(0);
    m_message.SetByteValue(c, int16(value));
    m_entryState = int16(digits.size() + 1);
}

void EditorModel::abandonTypedValue()
{
    removeBytes(cursor(), cursor());
    m_entryState = 0;
}

// --- clipboard --------------------------------------------------------------

QString EditorModel::CopyText(bool wholeMessage) const
{
    std::optional<Range> range;
    if (wholeMessage) {
        if (shownByteCount() > 0)
            range = Range{0, shownByteCount() - 1};
    } else {
        range = selectionRange();
    }
    if (!range)
        return {};
    return ClipboardCodec::encode(m_message, range->first, range->last);
}

QString EditorModel::Cut()
{
    const QString text = CopyText(false);
    if (!m_allowEdit || text.isEmpty())
        return text;
    beginEdit();
    removeRange(selectionRange());
    recordStep();
    redraw();
    return text;
}

bool EditorModel::Paste(const QString &text)
{
    // Every check comes before the first change, so a refused text leaves
    // the message as it was.
    const auto bytes = ClipboardCodec::decode(text);
    if (!bytes)
        return false;
    beginEdit();
    const auto isIgnore = [](const ClipboardCodec::Byte &byte) { return byte.type == Type::Ignore; };
    if (!m_message.CanDoIgnore() && std::any_of(bytes->begin(), bytes->end(), isIgnore))
        return false;
    // Bytes that find no room are dropped one by one; the rest go in.
    for (const ClipboardCodec::Byte &byte : *bytes)
        insertAtCursor(byte.value, byte.type);
    recordStep();
    redraw();
    return true;
}

// --- context-menu commands --------------------------------------------------

void EditorModel::InsertControl(int value)
{
    if (!m_allowEdit || value < 0 || value > LastControlValue)
        return;
    beginEdit();
    finishTypedValue();
    removeRange(selectionRange());
    insertAtCursor(value, Type::Control);
    recordStep();
    redraw();
}

void EditorModel::InsertIgnore()
{
    if (!m_allowEdit || !m_message.CanDoIgnore())
        return;
    // Deliberately outside the undo history, as this command has always been.
    finishTypedValue();
    removeRange(selectionRange());
    insertAtCursor(IgnoreValue, Type::Ignore);
    redraw();
}

void EditorModel::DeleteSelection()
{
    if (!m_allowEdit)
        return;
    beginEdit();
    finishTypedValue();
    removeRange(selectionRange());
    m_selectAnchor = int16(cursor());
    recordStep();
    redraw();
}

// --- what the drawing shows -------------------------------------------------

SerialEditorData::Type EditorModel::displayType(int index) const
{
    return ByteDisplay::displayTypeOf(m_message, index, m_forcedDisplayMode);
}

QString EditorModel::cellText(int index) const
{
    return ByteDisplay::cellText(m_message, index, m_forcedDisplayMode, m_leadingZeros);
}

ByteDisplay::Rgb EditorModel::cellColour(int index) const
{
    return ByteDisplay::notationOf(displayType(index)).colour;
}

QString EditorModel::modeLabel() const
{
    return ByteDisplay::notationOf(m_forcedDisplayMode.value_or(m_message.CurrentMode())).label.toString();
}

QString EditorModel::positionLabel() const
{
    return ByteDisplay::positionLabel(m_message);
}
